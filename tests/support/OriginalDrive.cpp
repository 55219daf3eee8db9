#include "support/OriginalDrive.h"

#include <windows.h>

#include <filesystem>
#include <system_error>

namespace qev::test {

bool OriginalDrive::isThere() const {
  return GetFileAttributesW(L"R:\\") != INVALID_FILE_ATTRIBUTES;
}

void OriginalDrive::empty() const {
  if (!isThere()) return;
  std::error_code ignored;  // listing a root folder without entries fails
  for (const auto& entry : std::filesystem::recursive_directory_iterator(L"R:\\", ignored)) {
    SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  for (const auto& entry : std::filesystem::directory_iterator(L"R:\\", ignored)) {
    std::filesystem::remove_all(entry.path(), ignored);
  }
}

}  // namespace qev::test
