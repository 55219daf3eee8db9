#include "zip/EngineLibrary.h"

#include <cstring>

#include "engine/Vanto6.h"
#include "platform/AutomationError.h"
#include "platform/FileSystemWindows.h"
#include "platform/Module.h"

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
  const DWORD error = GetLastError();
  if (module_) {
    setPatience(systemPatience());
    return;
  }
  const bool missing = error == ERROR_MOD_NOT_FOUND || error == ERROR_FILE_NOT_FOUND;
  throw AutomationError(missing ? kFileNotFound : kCannotLoadLibrary, fileName);
}

void EngineLibrary::setPatience(const Patience& patience) const {
  const auto set = reinterpret_cast<void*>(GetProcAddress(module_.get(), "QevSetPatience"));
  if (!set) return;
  reinterpret_cast<decltype(&QevSetPatience)>(set)(patience.milliseconds, patience.giveMessages, patience.context);
}

void* EngineLibrary::address(const char* name) const {
  const auto found = reinterpret_cast<void*>(GetProcAddress(module_.get(), name));
  if (found) return found;
  throw AutomationError(kEntryPointNotFound, std::wstring(name, name + std::strlen(name)) + L" (" + fileName_ + L")");
}

}  // namespace qev
