#include "zip/UnzipEngine.h"

namespace qev {

UnzipEngine loadUnzipEngine() {
  UnzipEngine engine;
  engine.library = EngineLibrary(L"VANTO6.DLL");
  engine.library.find("UzpVersion2", engine.UzpVersion2);
  engine.library.find("Wiz_SingleEntryUnzip", engine.Wiz_SingleEntryUnzip);
  return engine;
}

}  // namespace qev
