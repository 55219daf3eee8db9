// Holds a file open as a program does that uses it: others can read it, but neither write nor delete it.
//
//   hold-file FILE STOP     prints "held", and lets FILE go when the file STOP is there, at most two minutes later
#include <windows.h>

#include <cstdio>

namespace {

constexpr int kTries = 1200;
constexpr DWORD kPauseMilliseconds = 100;

bool exists(const wchar_t* path) {
  return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 3) return 2;
  const HANDLE file =
      CreateFileW(arguments[1], GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 1;
  std::puts("held");
  std::fflush(stdout);
  for (int i = 0; i < kTries && !exists(arguments[2]); ++i) Sleep(kPauseMilliseconds);
  CloseHandle(file);
  return 0;
}
