// The exported functions: options and callbacks in, one run of the unzip sources, its code out.
#include "Vanto6.h"

#include <cstring>

#include "UnzipParts.h"

namespace qev::engine {
namespace {

wchar_t archivePath[longestPath + 1];
wchar_t extractionFolder[longestPath + 1];

// ---- One run at a time

void endRun() {
  output::end();
  answers::end();
  places::end();
  archive::end();
  messages::end();
  memory::end();
}

void abandonRun() {
  messages::begin(nullptr);
  answers::begin(USERFUNCTION{});
  endRun();
}

// ---- What is asked for

int refuseArchive(const char* name) {
  messages::write("error:  cannot find archive ");
  messages::write(name != nullptr ? name : "");
  messages::write("\n");
  return UZ_NOZIP;
}

// The names of a list in UTF-8, ended by a null pointer; null if there are none. Answers false if there is no memory.
bool collect(int count, char** names, char**& list) {
  list = nullptr;
  if (count <= 0 || names == nullptr) return true;
  auto** const result = static_cast<char**>(qevCalloc(static_cast<size_t>(count) + 1, sizeof(char*)));
  if (result == nullptr) return false;
  size_t used = 0;
  for (int at = 0; at < count; ++at) {
    if (names[at] == nullptr || names[at][0] == '\0') continue;
    result[used] = names::utf8FromAnsi(names[at]);
    if (result[used++] == nullptr) return false;
  }
  if (used > 0) list = result;
  return true;
}

QevRequest requestOf(const DCL& options) {
  QevRequest request{};
  request.onlyNewer = options.ExtractOnlyNewer != 0 || options.nUflag != 0;
  request.blanksToUnderscores = options.SpaceToUnderscore != 0;
  request.quiet = options.fQuiet <= 0 ? 0 : options.fQuiet == 1 ? 1 : 2;
  request.toPrint = options.ncflag != 0;
  request.test = options.ntflag != 0;
  request.list = options.nvflag != 0 && options.ntflag == 0 && options.ncflag == 0;
  request.comment = options.nzflag != 0;
  request.junkFolders = options.ndflag == 0;
  request.overwrite = options.noflag != 0;
  request.convertLines = options.naflag != 0;
  request.ignoreCase = options.C_flag != 0;
  return request;
}

int unzip(int ifnc, char** ifnv, int xfnc, char** xfnv, const DCL& options, USERFUNCTION& functions) {
  const char* const name = options.lpszZipFN;
  if (name == nullptr || name[0] == '\0' || names::fullPath(name, archivePath) == 0) return refuseArchive(name);
  const char* const folder = options.lpszExtractDir;
  if (names::fullPath(folder != nullptr && folder[0] != '\0' ? folder : ".", extractionFolder) == 0) {
    messages::write("error:  the extraction folder is no path\n");
    return UZ_DISK;
  }
  QevRequest request = requestOf(options);
  request.archive = names::utf8FromAnsi(name);
  if (request.archive == nullptr || !collect(ifnc, ifnv, request.wanted) || !collect(xfnc, xfnv, request.unwanted)) {
    return UZ_MEM;
  }
  archive::begin(request.archive, archivePath);
  places::begin(extractionFolder);

  state::restore();
  QevTotals totals{};
  const int code = qevRunSources(&request, &totals);
  functions.TotalSizeComp = bounded(totals.packedSize);
  functions.TotalSize = bounded(totals.size);
  functions.CompFactor = totals.factor;
  functions.NumMembers = totals.entries;
  functions.cchComment = totals.comment;
  return code;
}

}  // namespace
}  // namespace qev::engine

using namespace qev::engine;

extern "C" {

int WINAPI Wiz_SingleEntryUnzip(int ifnc, char** ifnv, int xfnc, char** xfnv, DCL* options, USERFUNCTION* functions) {
  if (!turn::take(reinterpret_cast<ULONG_PTR>(__builtin_frame_address(0)), abandonRun)) return UZ_BUSY;
  const turn::Guard guard(abandonRun);
  if (options == nullptr || functions == nullptr) return UZ_NOZIP;
  if (!memory::begin()) return UZ_MEM;
  outcome::begin();
  messages::begin(functions->print);
  answers::begin(*functions);
  output::begin();
  const int code = unzip(ifnc, ifnv, xfnc, xfnv, *options, *functions);
  endRun();
  return outcome::gravest(code);
}

int WINAPI UzpVersion2(UZPVER* version) {
  if (version == nullptr || version->structlen != sizeof(UZPVER)) return 1;
  version->flag = 0;
  memset(version->betalevel, 0, sizeof version->betalevel);
  memset(version->date, 0, sizeof version->date);
  memset(version->zlib_version, 0, sizeof version->zlib_version);
  strcpy(version->date, "20 April 2009");
  version->unzip = UZPVERSION{6, 0, 0, 0};
  version->zipinfo = UZPVERSION{0, 0, 0, 0};
  version->os2dll = UZPVERSION{0, 0, 0, 0};
  version->windll = UZPVERSION{6, 0, 0, 0};
  return 0;
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID terminating) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(instance);
    return state::capture();
  }
  if (reason == DLL_PROCESS_DETACH && terminating == nullptr) state::release();
  return TRUE;
}
}
