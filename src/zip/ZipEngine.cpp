#include "zip/ZipEngine.h"

#include <string>

#include "platform/FileSystem.h"
#include "platform/Module.h"
#include "platform/Win32Error.h"

namespace qev {
namespace {

constexpr wchar_t kFileName[] = L"VANTO5.DLL";

UniqueModule loadLibrary() {
  const std::wstring beside = parentFolderName(modulePath()) + L"\\" + kFileName;
  if (GetFileAttributesW(beside.c_str()) != INVALID_FILE_ATTRIBUTES) {
    return UniqueModule(LoadLibraryExW(beside.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  }
  return UniqueModule(LoadLibraryW(kFileName));
}

template <typename Function>
void findCall(const UniqueModule& library, const char* name, Function& call) {
  call = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library.get(), name)));
  if (!call)
    throw AutomationError(kEntryPointNotFound, std::wstring(name, name + strlen(name)) + L" (" + kFileName + L")");
}

}  // namespace

ZipEngine loadZipEngine() {
  ZipEngine engine;
  engine.library = loadLibrary();
  if (!engine.library) {
    const bool missing = GetLastError() == ERROR_MOD_NOT_FOUND || GetLastError() == ERROR_FILE_NOT_FOUND;
    throw AutomationError(missing ? kFileNotFound : kCannotLoadLibrary, kFileName);
  }
  findCall(engine.library, "ZpInit", engine.ZpInit);
  findCall(engine.library, "ZpSetOptions", engine.ZpSetOptions);
  findCall(engine.library, "ZpArchive", engine.ZpArchive);
  return engine;
}

}  // namespace qev
