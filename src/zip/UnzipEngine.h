// The unzip engine's two calls, and where they come from at run time.
#pragma once

#include "engine/Vanto6.h"
#include "zip/EngineLibrary.h"

namespace qev {

// The calls of one loaded engine. `library` keeps them valid.
struct UnzipEngine {
  decltype(&::UzpVersion2) UzpVersion2 = nullptr;
  decltype(&::Wiz_SingleEntryUnzip) Wiz_SingleEntryUnzip = nullptr;
  EngineLibrary library;
};

// Loads VANTO6.DLL as EngineLibrary does, and throws what that throws: 53, 48, 453.
UnzipEngine loadUnzipEngine();

}  // namespace qev
