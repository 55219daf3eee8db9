// The engines alone, to be timed.
//
//   BareEngine [-q] [-u] [-level N] ROOT ARCHIVE NAME...     archives the names, with their subfolders
//   BareEngine [-q] -x FOLDER ARCHIVE                        extracts an archive to FOLDER
//
// ROOT may be "" for the current folder. Prints the engine's messages (not with -q) and, at the end, its code, how many
// messages it sent and the milliseconds of the call. Ends with the engine's code.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Vanto5.h"
#include "Vanto6.h"

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

HMODULE load(const wchar_t* name) {
  const HMODULE engine = LoadLibraryW(name);
  if (engine == nullptr) fprintf(stderr, "%ls: error %lu\n", name, GetLastError());
  return engine;
}

template <typename Call>
int timed(Call call) {
  LARGE_INTEGER frequency, before, after;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&before);
  const int code = call();
  QueryPerformanceCounter(&after);
  const double milliseconds =
      1000.0 * static_cast<double>(after.QuadPart - before.QuadPart) / static_cast<double>(frequency.QuadPart);
  printf("code %d, %lu messages, %.0f ms\n", code, messageCount, milliseconds);
  return code;
}

int archive(ZPOPT& options, char* name, std::vector<char*> names) {
  const HMODULE engine = load(L"VANTO5.DLL");
  if (engine == nullptr) return 3;
  const auto init = exported<decltype(&ZpInit)>(engine, "ZpInit");
  const auto setOptions = exported<decltype(&ZpSetOptions)>(engine, "ZpSetOptions");
  const auto archiveNames = exported<decltype(&ZpArchive)>(engine, "ZpArchive");
  if (init == nullptr || setOptions == nullptr || archiveNames == nullptr) return 3;

  ZIPUSERFUNCTIONS functions{print, nullptr, nullptr};
  init(&functions);
  setOptions(&options);
  const int code = timed([&] { return archiveNames(static_cast<int>(names.size()), name, names.data()); });
  FreeLibrary(engine);
  return code;
}

int extract(char* folder, char* name) {
  const HMODULE engine = load(L"VANTO6.DLL");
  if (engine == nullptr) return 3;
  const auto unzip = exported<decltype(&Wiz_SingleEntryUnzip)>(engine, "Wiz_SingleEntryUnzip");
  if (unzip == nullptr) return 3;

  DCL options{};
  options.ndflag = options.noflag = 1;
  options.lpszZipFN = name;
  options.lpszExtractDir = folder;
  USERFUNCTION functions{};
  functions.print = print;
  char* none[1]{};
  const int code = timed([&] { return unzip(0, none, 0, none, &options, &functions); });
  FreeLibrary(engine);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  ZPOPT options{};
  options.fRecurse = 2;
  bool extracts = false;
  int next = 1;
  for (; next < argc && argv[next][0] == '-'; ++next) {
    if (strcmp(argv[next], "-q") == 0) quiet = true;
    if (strcmp(argv[next], "-u") == 0) options.fUpdate = 1;
    if (strcmp(argv[next], "-x") == 0) extracts = true;
    if (strcmp(argv[next], "-level") == 0 && next + 1 < argc) options.fLevel = argv[++next][0];
  }
  if (argc - next < (extracts ? 2 : 3)) {
    fputs("BareEngine [-q] [-u] [-level N] ROOT ARCHIVE NAME...\nBareEngine [-q] -x FOLDER ARCHIVE\n", stderr);
    return 2;
  }
  if (extracts) return extract(argv[next], argv[next + 1]);
  options.szRootDir = argv[next];
  return archive(options, argv[next + 1], std::vector<char*>(argv + next + 2, argv + argc));
}
