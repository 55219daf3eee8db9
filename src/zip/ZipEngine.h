// The zip engine's three calls, and where they come from at run time.
#pragma once

#include "engine/Vanto5.h"
#include "platform/Handle.h"

namespace qev {

// The calls of one loaded engine. `library` keeps them valid.
struct ZipEngine {
  decltype(&::ZpInit) ZpInit = nullptr;
  decltype(&::ZpSetOptions) ZpSetOptions = nullptr;
  decltype(&::ZpArchive) ZpArchive = nullptr;
  UniqueModule library;
};

// Loads VANTO5.DLL: the one beside this library, else the one that the system's search finds. Throws 53 when there is
// none, 48 when it cannot be loaded (of another architecture, damaged), 453 when it lacks one of the calls; the
// description names the file. LoadLibraryExW, GetProcAddress.
ZipEngine loadZipEngine();

}  // namespace qev
