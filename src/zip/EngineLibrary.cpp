#include "zip/EngineLibrary.h"

#include <cstring>

#include "platform/AutomationError.h"
#include "platform/FileSystem.h"
#include "platform/Handle.h"

namespace qev {
namespace {

UniqueModule loadModule(const std::wstring& fileName) {
  const std::wstring beside = parentFolderName(modulePath()) + L"\\" + fileName;
  if (GetFileAttributesW(beside.c_str()) != INVALID_FILE_ATTRIBUTES) {
    return UniqueModule(LoadLibraryExW(beside.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  }
  return UniqueModule(LoadLibraryW(fileName.c_str()));
}

}  // namespace

EngineLibrary::EngineLibrary(const std::wstring& fileName) : fileName_(fileName), module_(loadModule(fileName)) {
  if (module_) return;
  const DWORD error = GetLastError();
  const bool missing = error == ERROR_MOD_NOT_FOUND || error == ERROR_FILE_NOT_FOUND;
  throw AutomationError(missing ? kFileNotFound : kCannotLoadLibrary, fileName);
}

void* EngineLibrary::address(const char* name) const {
  const auto found = reinterpret_cast<void*>(GetProcAddress(module_.get(), name));
  if (found) return found;
  throw AutomationError(kEntryPointNotFound, std::wstring(name, name + std::strlen(name)) + L" (" + fileName_ + L")");
}

}  // namespace qev
