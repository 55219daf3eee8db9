// The archive engines as the DLLs VANTO5.DLL and VANTO6.DLL: their functions, records, callbacks and code pages, and
// nothing of them elsewhere in the library.
#pragma once

#include <memory>
#include <string>

#include "engine/Vanto5.h"
#include "engine/Vanto6.h"
#include "platform/Handle.h"
#include "platform/NewFile.h"
#include "zip/ArchiveEngine.h"

namespace qev {

// An engine's file, loaded until this goes out of scope.
class EngineLibrary {
 public:
  // None.
  EngineLibrary() = default;

  // Loads the file of that name ("VANTO5.DLL"). Throws what loadZipEngine says.
  explicit EngineLibrary(const std::wstring& fileName);

  // Points `call` at the exported function. Throws 453 when there is none.
  template <typename Function>
  void find(const char* name, Function& call) const {
    call = reinterpret_cast<Function>(address(name));
  }

  // The same, with null where there is none: of an older engine.
  template <typename Function>
  void findIfAny(const char* name, Function& call) const {
    call = reinterpret_cast<Function>(addressIfAny(name));
  }

  // Says how long the runs to come wait for a place that others hold, and who is called meanwhile. An engine that
  // cannot be told has its own patience.
  void setPatience(const Patience& patience) const;

 private:
  void* address(const char* name) const;
  void* addressIfAny(const char* name) const;

  std::wstring fileName_;
  UniqueModule module_;
};

// The functions of the two engines. `library` keeps them valid; the tests' engines need none. An older engine has no
// QevArchive.
struct ZipFunctions {
  decltype(&::ZpInit) ZpInit = nullptr;
  decltype(&::ZpSetOptions) ZpSetOptions = nullptr;
  decltype(&::ZpArchive) ZpArchive = nullptr;
  EngineLibrary library;
  decltype(&::QevArchive) QevArchive = nullptr;
};

struct UnzipFunctions {
  decltype(&::UzpVersion2) UzpVersion2 = nullptr;
  decltype(&::Wiz_SingleEntryUnzip) Wiz_SingleEntryUnzip = nullptr;
  EngineLibrary library;
};

// An engine of these functions. Its run() makes one call of each, in the order of the struct, with texts in the ANSI
// code page; it throws 9 when the engine prints more at once than a message may have. Where a path of a zip run has
// characters outside the code page, QevArchive is called in the place of ZpArchive; where there is none, these
// characters become "|", which is in no name and no pattern, so that the path leads nowhere.
std::unique_ptr<ZipEngine> engineOf(ZipFunctions functions);
std::unique_ptr<UnzipEngine> engineOf(UnzipFunctions functions);

}  // namespace qev
