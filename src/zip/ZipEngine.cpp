#include "zip/ZipEngine.h"

namespace qev {

ZipEngine loadZipEngine() {
  ZipEngine engine;
  engine.library = EngineLibrary(L"VANTO5.DLL");
  engine.library.find("ZpInit", engine.ZpInit);
  engine.library.find("ZpSetOptions", engine.ZpSetOptions);
  engine.library.find("ZpArchive", engine.ZpArchive);
  return engine;
}

}  // namespace qev
