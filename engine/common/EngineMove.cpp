#include "Engine.h"

namespace qev::engine {
namespace {

bool mayBeFreeSoon(DWORD error, const wchar_t* place) {
  if (error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION) return true;
  if (error != ERROR_ACCESS_DENIED) return false;
  const DWORD attributes = GetFileAttributesW(place);
  return attributes == INVALID_FILE_ATTRIBUTES ||
         (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) == 0;
}

}  // namespace

bool moveIntoPlace(const wchar_t* file, const wchar_t* place) {
  constexpr int tries = 6;
  constexpr DWORD pauseMilliseconds = 200;
  for (int i = 1;; ++i) {
    if (MoveFileExW(file, place, MOVEFILE_REPLACE_EXISTING)) return true;
    const DWORD error = GetLastError();
    const bool again = i < tries && mayBeFreeSoon(error, place);
    SetLastError(error);
    if (!again) return false;
    Sleep(pauseMilliseconds);
  }
}

}  // namespace qev::engine
