// The file of an engine: where it comes from at run time, and its calls by name.
#pragma once

#include <string>

#include "platform/Handle.h"
#include "platform/NewFile.h"

namespace qev {

// An engine that is loaded until this goes out of scope.
class EngineLibrary {
 public:
  // None.
  EngineLibrary() = default;

  // Loads the file of that name ("VANTO5.DLL"): the one beside this library, else the one that the system's search
  // finds. Throws 53 when there is none, 48 when it cannot be loaded (of another architecture, damaged); the
  // description names the file. LoadLibraryExW.
  explicit EngineLibrary(const std::wstring& fileName);

  // Points `call` at the exported function. Throws 453 when there is none; the description names both. GetProcAddress.
  template <typename Function>
  void find(const char* name, Function& call) const {
    call = reinterpret_cast<Function>(address(name));
  }

  // How long the engine's runs wait for places that others hold; the system's patience until this is called. An engine
  // that cannot be told has its own.
  void setPatience(const Patience& patience) const;

 private:
  void* address(const char* name) const;

  std::wstring fileName_;
  UniqueModule module_;
};

}  // namespace qev
