// The zip engine's three calls, and where they come from at run time.
#pragma once

#include "engine/Vanto5.h"
#include "zip/EngineLibrary.h"

namespace qev {

// The calls of one loaded engine. `library` keeps them valid.
struct ZipEngine {
  decltype(&::ZpInit) ZpInit = nullptr;
  decltype(&::ZpSetOptions) ZpSetOptions = nullptr;
  decltype(&::ZpArchive) ZpArchive = nullptr;
  EngineLibrary library;
};

// Loads VANTO5.DLL as EngineLibrary does, and throws what that throws: 53, 48, 453.
ZipEngine loadZipEngine();

}  // namespace qev
