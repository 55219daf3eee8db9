// The engine alone: archives the given names, to be timed.
//
//   BareEngine [-q] [-u] [-level N] ROOT ARCHIVE NAME...
//
// ROOT may be "" for the current folder. Names are archived with their subfolders. Prints the engine's messages (not
// with -q) and, at the end, its code, how many messages it sent and the milliseconds of the call. Ends with the
// engine's code.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Vanto5.h"

namespace {

bool quiet = false;
unsigned long messageCount = 0;

int WINAPI print(char* message, unsigned long length) {
  ++messageCount;
  if (!quiet) fwrite(message, 1, length, stdout);
  return 0;
}

template <typename Function>
Function exported(HMODULE engine, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(engine, name)));
}

}  // namespace

int main(int argc, char** argv) {
  ZPOPT options{};
  options.fRecurse = 2;
  int next = 1;
  for (; next < argc && argv[next][0] == '-'; ++next) {
    if (strcmp(argv[next], "-q") == 0) quiet = true;
    if (strcmp(argv[next], "-u") == 0) options.fUpdate = 1;
    if (strcmp(argv[next], "-level") == 0 && next + 1 < argc) options.fLevel = argv[++next][0];
  }
  if (argc - next < 3) {
    fputs("BareEngine [-q] [-u] [-level N] ROOT ARCHIVE NAME...\n", stderr);
    return 2;
  }
  const HMODULE engine = LoadLibraryW(L"VANTO5.DLL");
  if (engine == nullptr) {
    fprintf(stderr, "VANTO5.DLL: error %lu\n", GetLastError());
    return 3;
  }
  const auto init = exported<decltype(&ZpInit)>(engine, "ZpInit");
  const auto setOptions = exported<decltype(&ZpSetOptions)>(engine, "ZpSetOptions");
  const auto archive = exported<decltype(&ZpArchive)>(engine, "ZpArchive");
  if (init == nullptr || setOptions == nullptr || archive == nullptr) return 3;

  ZIPUSERFUNCTIONS functions{print, nullptr, nullptr};
  options.szRootDir = argv[next];
  init(&functions);
  setOptions(&options);
  std::vector<char*> names(argv + next + 2, argv + argc);
  LARGE_INTEGER frequency, before, after;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&before);
  const int code = archive(static_cast<int>(names.size()), argv[next + 1], names.data());
  QueryPerformanceCounter(&after);
  const double milliseconds =
      1000.0 * static_cast<double>(after.QuadPart - before.QuadPart) / static_cast<double>(frequency.QuadPart);
  printf("code %d, %lu messages, %.0f ms\n", code, messageCount, milliseconds);
  FreeLibrary(engine);
  return code;
}
