// What VANTO5.DLL archives is the data: files under their very names, whole or not at all, and nothing that is missing
// goes without a word.
#include <windows.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "EngineFixture.h"
#include "Imports.h"
#include "UnzipFixture.h"
#include "support/ProcessUse.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

// ---- What the system answers in place of the truth

bool endsWith(const std::wstring& text, const std::wstring& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::wstring pathOf(HANDLE file) {
  wchar_t path[4096];
  const DWORD length = GetFinalPathNameByHandleW(file, path, 4096, 0);
  return {path, length};
}

// How reading goes wrong, of files whose path ends in `file`.
struct BadReads {
  std::wstring file;
  ULONGLONG from = 0;  // the first byte that fails
  ULONGLONG to = ~0ull;
  DWORD error = ERROR_CRC;  // 0: the file seems to end there
  bool mappedToo = false;
  bool sizeToo = false;                    // once a byte has failed
  std::function<void()> before = nullptr;  // called once, before the first byte is read
  HANDLE last = nullptr;                   // the file that was read last, and whether it is the one
  bool isIt = false;
};
BadReads badReads;

bool hasFailed = false;

// Files are read from their beginnings on.
bool isBad(HANDLE file, ULONGLONG start) {
  if (start == 0 || file != badReads.last) badReads.isIt = endsWith(pathOf(file), badReads.file);
  badReads.last = file;
  return badReads.isIt;
}

BOOL WINAPI readBadly(HANDLE file, void* to, DWORD size, DWORD* got, OVERLAPPED* at) {
  const ULONGLONG start = at != nullptr ? static_cast<ULONGLONG>(at->OffsetHigh) << 32 | at->Offset : 0;
  if (!isBad(file, start)) return ReadFile(file, to, size, got, at);
  if (badReads.before) std::exchange(badReads.before, nullptr)();
  if (start + size <= badReads.from || start >= badReads.to) return ReadFile(file, to, size, got, at);
  hasFailed = true;
  *got = 0;
  SetLastError(badReads.error);
  return badReads.error == 0;
}

BOOL WINAPI tellNoSize(HANDLE file, LARGE_INTEGER* size) {
  if (!hasFailed || !badReads.sizeToo) return GetFileSizeEx(file, size);
  SetLastError(ERROR_NETNAME_DELETED);
  return FALSE;
}

BOOL WINAPI copyBadly(HANDLE process, const void* from, void* to, SIZE_T size, SIZE_T* copied) {
  if (!badReads.mappedToo) return ReadProcessMemory(process, from, to, size, copied);
  SetLastError(ERROR_PARTIAL_COPY);
  return FALSE;
}

// Folders that lead elsewhere: a path that holds `first` is one that holds `second` in its place, as often as it does.
// Scans show the folders of these names as links.
std::vector<std::pair<std::wstring, std::wstring>> detours;
// What scans show, and what they end with.
std::map<std::wstring, std::wstring> shownNames;
std::map<std::wstring, DWORD> brokenFolders;  // by the end of their path: the scan ends after its first entries
std::map<std::wstring, DWORD> closedFolders;  // by the end of the pattern: the scan does not begin
std::map<HANDLE, DWORD> brokenScans;
std::wstring volumeRoot;

std::wstring truePath(std::wstring path) {
  for (bool changed = true; changed;) {
    changed = false;
    for (const auto& [name, target] : detours) {
      const size_t at = path.find(name);
      if (at == std::wstring::npos) continue;
      const size_t end = at + name.size();
      if (end != path.size() && path[end] != L'\\') continue;
      path.replace(at, name.size(), target);
      changed = true;
    }
    for (const auto& [real, shown] : shownNames) {
      const size_t at = path.find(shown);
      if (at == std::wstring::npos) continue;
      path.replace(at, shown.size(), real);
      changed = true;
    }
  }
  return path;
}

HANDLE WINAPI createElsewhere(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                              DWORD disposition, DWORD flags, HANDLE model) {
  return CreateFileW(truePath(path).c_str(), access, share, security, disposition, flags, model);
}

void show(WIN32_FIND_DATAW& data) {
  const auto shown = shownNames.find(data.cFileName);
  if (shown != shownNames.end()) wcscpy(data.cFileName, shown->second.c_str());
  for (const auto& [name, target] : detours) {
    const bool isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isFolder && endsWith(name, std::wstring(L"\\") + data.cFileName)) {
      data.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    }
  }
}

HANDLE WINAPI scanElsewhere(const wchar_t* pattern, FINDEX_INFO_LEVELS level, void* data, FINDEX_SEARCH_OPS search,
                            void* filter, DWORD flags) {
  for (const auto& [end, error] : closedFolders) {
    if (!endsWith(pattern, end)) continue;
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  }
  const HANDLE scan = FindFirstFileExW(truePath(pattern).c_str(), level, data, search, filter, flags);
  if (scan == INVALID_HANDLE_VALUE) return scan;
  show(*static_cast<WIN32_FIND_DATAW*>(data));
  for (const auto& [end, error] : brokenFolders) {
    if (endsWith(pattern, end)) brokenScans[scan] = error;
  }
  return scan;
}

BOOL WINAPI nextElsewhere(HANDLE scan, WIN32_FIND_DATAW* data) {
  const auto broken = brokenScans.find(scan);
  if (!FindNextFileW(scan, data) || (broken != brokenScans.end() && data->cFileName[0] != L'.')) {
    if (broken == brokenScans.end()) return FALSE;
    SetLastError(broken->second);
    brokenScans.erase(broken);
    return FALSE;
  }
  show(*data);
  return TRUE;
}

BOOL WINAPI rootElsewhere(const wchar_t* path, wchar_t* root, DWORD size) {
  if (volumeRoot.empty()) return GetVolumePathNameW(path, root, size);
  wcsncpy(root, volumeRoot.c_str(), size);
  return TRUE;
}

// ---- The fixture

class ZipDataTest : public testing::Test {
 protected:
  ZipDataTest() {
    folder.make(L"destino");
    folder.make(L"Datos");
    engine.options.fRecurse = 2;
    engine.options.szRootDir = root_;
    badReads = {};
    detours.clear();
    shownNames.clear();
    brokenFolders.clear();
    closedFolders.clear();
    brokenScans.clear();
    volumeRoot.clear();
  }

  // The archived name of a file in the test's folder.
  std::string stored(const std::wstring& relative) const {
    std::string name = utf8(folder.wide(relative)).substr(3);
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
  }

  std::string everything() const { return folder / "Datos\\*.*"; }
  std::string target() const { return folder / "destino\\copia.zip"; }

  int archive() { return engine.run(target(), {everything()}); }

  // The entries that are files, by their names from the test's folder on.
  std::map<std::string, Entry> files() const {
    const std::string before = stored(L"") + "/";
    std::map<std::string, Entry> found;
    for (const auto& [name, entry] : entriesOf(target())) {
      if (name.back() != '/') found[name.rfind(before, 0) == 0 ? name.substr(before.size()) : name] = entry;
    }
    return found;
  }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : files()) all.push_back(entry.first);
    return all;
  }

  void expectContent(const std::string& name, const std::string& content) const {
    const auto entries = files();
    const auto found = entries.find(name);
    ASSERT_NE(found, entries.end()) << name;
    EXPECT_EQ(found->second.size, content.size()) << name;
    EXPECT_EQ(found->second.checksum, checksumOf(content)) << name;
  }

  // Every entry unpacks to what its checksum says, for a reader that starts anew.
  void expectSound() const {
    UnzipEngine unzip;
    unzip.options.ntflag = 1;
    EXPECT_EQ(unzip.run(target(), folder / "destino"), UZ_OK) << unzip.messages();
  }

  // Writes to a file that somebody has open.
  void rewrite(const std::wstring& relative, const std::string& content) const {
    const HANDLE file = CreateFileW(folder.wide(relative).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr));
    EXPECT_TRUE(SetEndOfFile(file));
    CloseHandle(file);
  }

  void readBadly(const std::wstring& file, ULONGLONG from, DWORD error) {
    badReads = {.file = file, .from = from, .error = error};
    hasFailed = false;
    import("ReadFile", test::readBadly);
    import("ReadProcessMemory", copyBadly);
  }

  void scanElsewhere() {
    import("CreateFileW", createElsewhere);
    import("FindFirstFileExW", test::scanElsewhere);
    import("FindNextFileW", nextElsewhere);
  }

  template <typename Function>
  void import(const char* name, Function* replacement) {
    imports.push_back(std::make_unique<Import>(engine.module(), name, replacement));
  }

  Folder folder;
  Engine engine;
  std::vector<std::unique_ptr<Import>> imports;  // they go before the engine does

 private:
  char root_[2] = "\\";
};

// ---- Names

TEST_F(ZipDataTest, ABracketInAPathIsNoPattern) {
  folder.write(L"B [v2]\\Util.mde", "bien");
  folder.write(L"B [v2]\\lista[1].ini", "lista");
  folder.write(L"B v\\Util.mde", "ajeno");
  folder.write(L"B 2\\Util.mde", "ajeno");
  ASSERT_EQ(engine.run(target(), {folder / "B [v2]\\Util.mde", folder / "B [v2]\\lista[1].ini"}), ZP_OK)
      << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"B [v2]/Util.mde", "B [v2]/lista[1].ini"}));
  expectContent("B [v2]/Util.mde", "bien");
  ASSERT_EQ(engine.run(target(), {folder / "B [v2]\\*.mde", folder / "B [v2]\\lista[1].*"}), ZP_OK);
  EXPECT_EQ(names(), (std::vector<std::string>{"B [v2]/Util.mde", "B [v2]/lista[1].ini"}));
}

TEST_F(ZipDataTest, StarsAndQuestionMarksStayPatterns) {
  folder.write(L"Datos\\[a]1.db", "1");
  folder.write(L"Datos\\[a]22.db", "2");
  folder.write(L"Datos\\a.db", "3");
  ASSERT_EQ(engine.run(target(), {folder / "Datos\\[a]?.*"}), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/[a]1.db"}));
}

// In the ANSI code page the name of the folder would be a pattern that the others match.
TEST_F(ZipDataTest, AFolderOutsideTheCodePageIsItselfAndNoPattern) {
  folder.write(L"\u65e5\\Datos\\a.txt", "suyo");
  folder.write(L"x\\Datos\\a.txt", "ajeno");
  folder.write(L"y\\Datos\\a.txt", "ajeno");
  EXPECT_EQ(engine.run(folder / "destino\\nada.zip", {ansi(folder.wide(L"\u65e5\\Datos\\*.*"))}), ZP_OK)
      << "the test's folders tell nothing";
  EXPECT_EQ(engine.runWide(folder.wide(L"destino\\copia.zip"), {folder.wide(L"\u65e5\\Datos\\*.*")}), ZP_OK)
      << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{utf8(L"\u65e5/Datos/a.txt")}));
  expectContent(utf8(L"\u65e5/Datos/a.txt"), "suyo");
}

TEST_F(ZipDataTest, AnArchiveAndARootMayBeOutsideTheCodePage) {
  folder.write(L"ra\u00edz \u65e5\\sub\\a.txt", "a");
  folder.make(L"copias \u65e5");
  ASSERT_EQ(engine.runWide(folder.wide(L"copias \u65e5\\\u672c"), {L"*.*"}, folder.wide(L"ra\u00edz \u65e5")), ZP_OK)
      << engine.messages();
  EXPECT_EQ(folder.list(L"copias \u65e5"), (std::vector<std::wstring>{L"\u672c.zip"}));
  ASSERT_TRUE(MoveFileW(folder.wide(L"copias \u65e5\\\u672c.zip").c_str(), folder.wide(L"destino\\copia.zip").c_str()));
  EXPECT_EQ(names(), (std::vector<std::string>{"sub/a.txt"}));
}

TEST_F(ZipDataTest, AWideRunTakesTheRootOfTheOptionsWhereNoneIsGiven) {
  folder.write(L"Datos\\a.txt", "a");
  std::string root = folder / "Datos";
  engine.options.szRootDir = root.data();
  ASSERT_EQ(engine.runWide(folder.wide(L"destino\\copia.zip"), {L"a.txt"}), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"a.txt"}));
}

TEST_F(ZipDataTest, NamesThatAreOneInTheCodePageAreTwoInTheArchive) {
  const std::vector<std::wstring> all = {L"\u65e5.txt",      L"#U65e5.txt",    L"\U0001F600.db",
                                         L"#Ud83d#Ude00.db", L"\u65e5\\a.txt", L"#U65e5\\a.txt"};
  for (const std::wstring& name : all) folder.write(L"Datos\\" + name, "soy " + utf8(name));
  ASSERT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(files().size(), all.size());
  for (std::wstring name : all) {
    const std::string content = "soy " + utf8(name);
    std::replace(name.begin(), name.end(), L'\\', L'/');
    expectContent("Datos/" + utf8(name), content);
  }
  EXPECT_TRUE(engine.said("#U65e5.txt")) << engine.messages();
  expectSound();
}

TEST_F(ZipDataTest, NamesThatUtf8HasNoFormForAreStoredApartAndTold) {
  folder.write(L"Datos\\x1.txt", "uno");
  folder.write(L"Datos\\x2.txt", "dos");
  shownNames = {{L"x1.txt", std::wstring(L"z\xD800") + L".txt"}, {L"x2.txt", std::wstring(L"z\xD801") + L".txt"}};
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OPEN) << engine.messages();
  EXPECT_TRUE(engine.said("\tzip warning: name stored with escapes: " + stored(L"Datos\\z#Ud800.txt") + "\r\n"))
      << engine.messages();
  expectContent("Datos/z#Ud800.txt", "uno");
  expectContent("Datos/z#Ud801.txt", "dos");
}

TEST_F(ZipDataTest, FilesNamedLikeDevicesOrEndingInADotOrABlankAreThemselves) {
  const std::vector<std::wstring> all = {L"nul.txt",    L"con",     L"aux.db", L"COM1",    L"a",
                                         L"a.",         L"a ",      L"a. .",   L"prn\\x",  L"carpeta.\\y",
                                         L"carpeta\\y", L"lpt9 .x", L"conin$", L"b \\nul", L"puntos..."};
  for (const std::wstring& name : all) folder.write(L"Datos\\" + name, "soy " + utf8(name));
  ASSERT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(files().size(), all.size()) << engine.messages();
  for (std::wstring name : all) {
    const std::string content = "soy " + utf8(name);
    std::replace(name.begin(), name.end(), L'\\', L'/');
    expectContent("Datos/" + utf8(name), content);
  }
}

TEST_F(ZipDataTest, ANameHandedOverIsCutAsTheSystemCutsIt) {
  folder.write(L"Datos\\a.txt", "a");
  folder.write(L"Datos\\b", "b");
  for (const char* const name : {"Datos.\\*.*", "Datos \\.\\*.*", "destino\\..\\Datos\\\\*.*", "Datos. .\\?*"}) {
    DeleteFileA(target().c_str());
    ASSERT_EQ(engine.run(target(), {folder / name}), ZP_OK) << name << ": " << engine.messages();
    EXPECT_EQ(entriesOf(target()).size(), 2u) << name;
  }
  EXPECT_EQ(engine.run(folder / "destino\\b.zip", {folder / "Datos. .\\*."}), ZP_OK) << engine.messages();
  EXPECT_EQ(entriesOf(folder / "destino\\b.zip").size(), 1u) << "the pattern takes names without a dot";
  folder.write(L"Datos.\\c.txt", "otra");
  DeleteFileA(target().c_str());
  ASSERT_EQ(engine.run(target(), {folder / "Datos.\\*.*", folder / "Datos\\b."}), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos./c.txt", "Datos/b"}));
}

TEST_F(ZipDataTest, AnArchiveIsUpdatedUnderNamesOfEveryKind) {
  folder.write(L"Datos\\\u65e5\U0001F600\u00f1.txt", "viejo");
  folder.write(L"Datos\\#U65e5.txt", "otro");
  ASSERT_EQ(archive(), ZP_OK);
  folder.write(L"Datos\\\u65e5\U0001F600\u00f1.txt", "nuevo");
  ASSERT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(files().size(), 2u);
  expectContent(utf8(L"Datos/\u65e5\U0001F600\u00f1.txt"), "nuevo");
}

// ---- Whole files

constexpr size_t largeSize = 1600000;  // more than the engine holds in memory

TEST_F(ZipDataTest, AFileThatCannotBeReadToItsEndIsLeftOut) {
  const std::string large = someText(largeSize);
  for (const char level : {'0', '6'}) {
    for (const wchar_t* const bad : {L"a.db", L"m.db", L"z.db"}) {
      for (const ULONGLONG from : {0ull, 1500000ull}) {
        SCOPED_TRACE(std::string(1, level) + " " + utf8(bad) + " " + std::to_string(from));
        folder.clear(L"Datos");
        for (const wchar_t* const name : {L"a.db", L"b.txt", L"m.db", L"n.txt", L"z.db"}) {
          folder.write(std::wstring(L"Datos\\") + name, wcscmp(name, bad) == 0 ? large : "corto");
        }
        engine.options.fLevel = level;
        DeleteFileA(target().c_str());
        readBadly(bad, from, ERROR_CRC);
        EXPECT_EQ(archive(), ZP_OPEN);
        imports.clear();
        EXPECT_TRUE(engine.said("\r\nzip warning: Input/output error\r\n\tzip warning: could not read: " +
                                stored(std::wstring(L"Datos\\") + bad) + "\r\n"))
            << engine.messages();
        EXPECT_FALSE(engine.said("could not open")) << engine.messages();
        const size_t line = engine.messages().find("  adding: " + stored(std::wstring(L"Datos\\") + bad));
        ASSERT_NE(line, std::string::npos);
        const std::string its = engine.messages().substr(line, engine.messages().find("\r\n", line) - line);
        EXPECT_EQ(its.find("%"), std::string::npos) << its;
        EXPECT_EQ(files().size(), 4u);
        EXPECT_EQ(files().count("Datos/" + utf8(bad)), 0u);
        expectContent("Datos/b.txt", "corto");
        expectSound();

        // Not a byte of it is in the archive.
        const size_t size = readFile(target()).size();
        DeleteFileW(folder.wide(std::wstring(L"Datos\\") + bad).c_str());
        DeleteFileA(target().c_str());
        ASSERT_EQ(archive(), ZP_OK);
        EXPECT_EQ(readFile(target()).size(), size);
      }
    }
  }
}

TEST_F(ZipDataTest, WhereNothingCanBeReadTheArchiveIsEmptyAndSound) {
  folder.write(L"Datos\\a.db", someText(100000));
  readBadly(L"a.db", 50000, ERROR_NETNAME_DELETED);
  EXPECT_EQ(archive(), ZP_OPEN) << engine.messages();
  EXPECT_EQ(entriesOf(target()).size(), 0u);
}

TEST_F(ZipDataTest, TheOldEntryOfAFileThatCannotBeReadStaysInAnUpdatedArchive) {
  folder.write(L"Datos\\a.db", someText(200000));
  folder.write(L"Datos\\b.db", "b");
  ASSERT_EQ(archive(), ZP_OK);
  folder.write(L"Datos\\a.db", someText(300000));
  folder.write(L"Datos\\b.db", "be");
  readBadly(L"a.db", 250000, ERROR_CRC);
  EXPECT_EQ(archive(), ZP_OPEN);
  EXPECT_TRUE(engine.said("will just copy entry over: " + stored(L"Datos\\a.db"))) << engine.messages();
  expectContent("Datos/a.db", someText(200000));
  expectContent("Datos/b.db", "be");
  expectSound();
}

TEST_F(ZipDataTest, GrowingAnArchiveLeavesNoBytesOfAFileThatCannotBeRead) {
  folder.write(L"Datos\\a.txt", "a");
  ASSERT_EQ(archive(), ZP_OK);
  folder.write(L"Datos\\b.db", someText(largeSize));
  folder.write(L"Datos\\c.txt", "c");
  engine.options.fGrow = 1;
  readBadly(L"b.db", 1500000, ERROR_CRC);
  EXPECT_EQ(engine.run(target(), {folder / "Datos\\c.txt", folder / "Datos\\b.db"}), ZP_OPEN) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.txt", "Datos/c.txt"}));
  EXPECT_LT(readFile(target()).size(), 4096u);
  expectSound();
}

TEST_F(ZipDataTest, ARangeThatIsLockedElsewhereIsReadThroughAView) {
  const std::string content = someText(largeSize + 12345);
  folder.write(L"Datos\\a.db", content);
  for (const ULONGLONG from : {0ull, 65536ull, 200001ull, 1611000ull}) {
    readBadly(L"a.db", from, ERROR_LOCK_VIOLATION);
    badReads.to = from + 1000;
    DeleteFileA(target().c_str());
    EXPECT_EQ(archive(), ZP_OK) << engine.messages();
    EXPECT_FALSE(engine.said("warning")) << engine.messages();
    expectContent("Datos/a.db", content);
    imports.clear();
  }
}

TEST_F(ZipDataTest, ALockedRangeThatCannotBeHadThroughAViewIsAFileLeftOut) {
  folder.write(L"Datos\\a.db", someText(300000));
  folder.write(L"Datos\\b.txt", "b");
  readBadly(L"a.db", 100000, ERROR_LOCK_VIOLATION);
  badReads.mappedToo = true;
  EXPECT_EQ(archive(), ZP_OPEN);
  EXPECT_TRUE(engine.said("could not read: " + stored(L"Datos\\a.db"))) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/b.txt"}));
}

TEST_F(ZipDataTest, AFileThatSeemsToEndTooEarlyIsLeftOut) {
  folder.write(L"Datos\\a.db", someText(300000));
  folder.write(L"Datos\\b.txt", "b");
  for (const bool tellsItsSize : {true, false}) {
    readBadly(L"a.db", 100000, ERROR_SUCCESS);
    badReads.sizeToo = !tellsItsSize;
    import("GetFileSizeEx", tellNoSize);
    DeleteFileA(target().c_str());
    EXPECT_EQ(archive(), ZP_OPEN);
    EXPECT_TRUE(engine.said("could not read: " + stored(L"Datos\\a.db"))) << engine.messages();
    EXPECT_EQ(names(), (std::vector<std::string>{"Datos/b.txt"}));
    imports.clear();
  }
}

TEST_F(ZipDataTest, AFileThatShrinksWhileItIsReadIsArchivedAsItIsThenAndTold) {
  const std::string content = someText(largeSize);
  folder.write(L"Datos\\a.db", content);
  folder.write(L"Datos\\b.txt", "b");
  readBadly(L"a.db", ~0ull - 1000000, ERROR_CRC);
  badReads.before = [&] { rewrite(L"Datos\\a.db", content.substr(0, 123456)); };
  EXPECT_EQ(archive(), ZP_OK);
  EXPECT_TRUE(engine.said("\tzip warning: file size changed while it was read: " + stored(L"Datos\\a.db") + "\r\n"))
      << engine.messages();
  expectContent("Datos/a.db", content.substr(0, 123456));
  expectContent("Datos/b.txt", "b");
  expectSound();
}

TEST_F(ZipDataTest, AFileThatGrowsWhileItIsReadIsArchivedAsItIsThenAndTold) {
  const std::string content = someText(largeSize);
  for (const size_t before : {size_t{0}, size_t{5}, size_t{70000}}) {
    folder.write(L"Datos\\a.db", content.substr(0, before));
    readBadly(L"a.db", ~0ull - 10000000, ERROR_CRC);
    badReads.before = [&] { rewrite(L"Datos\\a.db", content); };
    EXPECT_EQ(archive(), ZP_OK) << engine.messages();
    EXPECT_TRUE(engine.said("file size changed while it was read: ")) << engine.messages();
    imports.clear();
    expectContent("Datos/a.db", content);
    expectSound();
  }
}

// ---- Links

// The scan shows a folder as a link; where it leads, its name is no part of the path.
TEST_F(ZipDataTest, AFolderThatLeadsBackIsNotEnteredAndToldOnce) {
  folder.write(L"Datos\\a.txt", "a");
  folder.write(L"Datos\\sub\\b.txt", "b");
  folder.make(L"Datos\\sub\\vuelta");
  detours = {{L"\\sub\\vuelta", L""}};
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.txt", "Datos/sub/b.txt"}));
  const std::string told = "\tzip warning: folder leads back to itself: ";
  const std::string messages = engine.messages();
  const size_t at = messages.find(told);
  ASSERT_NE(at, std::string::npos) << messages;
  EXPECT_EQ(messages.find(told, at + 1), std::string::npos) << messages;
  EXPECT_EQ(messages.compare(messages.find("\r\n", at) - 17, 17, "/Datos/sub/vuelta"), 0) << messages;
}

TEST_F(ZipDataTest, ManyFoldersThatLeadBackMakeNoMore) {
  folder.write(L"Datos\\a.txt", "a");
  for (int at = 0; at < 20; ++at) {
    const std::wstring name = L"\\vuelta" + std::to_wstring(at) + L"x";
    folder.make(L"Datos" + name);
    detours.emplace_back(name, L"");
  }
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.txt"}));
}

TEST_F(ZipDataTest, AFolderThatLeadsAboveTheDataIsNotEntered) {
  folder.write(L"Datos\\a.txt", "a");
  folder.make(L"Datos\\arriba");
  detours = {{L"\\Datos\\arriba", L""}};
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.txt"}));
  EXPECT_TRUE(engine.said("leads back")) << engine.messages();
}

// A link out of the data, and from there back in: what lies out there is data, once.
TEST_F(ZipDataTest, ALinkElsewhereIsFollowedAndItsWayBackIsNot) {
  folder.write(L"Datos\\a.txt", "a");
  folder.make(L"Datos\\fuera");
  folder.write(L"ajena\\c.txt", "c");
  folder.make(L"ajena\\dentro");
  detours = {{L"\\Datos\\fuera", L"\\ajena"}, {L"\\ajena\\dentro", L"\\Datos"}};
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.txt", "Datos/fuera/c.txt"}));
}

// The data is reached through a link, and holds one to a folder around it that is not on that way.
TEST_F(ZipDataTest, BehindALinkAPlainFolderMayLeadBackToo) {
  folder.write(L"x\\real\\Datos\\a.txt", "a");
  folder.write(L"x\\x.txt", "x");
  folder.make(L"x\\real\\Datos\\arriba");
  folder.make(L"puerta");
  detours = {{L"\\puerta", L"\\x\\real"}, {L"\\real\\Datos\\arriba", L""}};
  scanElsewhere();
  EXPECT_EQ(engine.run(target(), {folder / "puerta\\Datos\\*.*"}), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"puerta/Datos/a.txt", "puerta/Datos/arriba/x.txt"}));
  EXPECT_TRUE(engine.said("leads back to itself")) << engine.messages();
}

TEST_F(ZipDataTest, TwoLinksToOneFolderAreBothFollowed) {
  folder.make(L"Datos\\uno");
  folder.make(L"Datos\\dos");
  folder.write(L"ajena\\c.txt", "c");
  detours = {{L"\\Datos\\uno", L"\\ajena"}, {L"\\Datos\\dos", L"\\ajena"}};
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/dos/c.txt", "Datos/uno/c.txt"}));
  EXPECT_FALSE(engine.said("warning")) << engine.messages();
}

TEST_F(ZipDataTest, APatternBySubfoldersDoesNotGoInCirclesEither) {
  folder.write(L"Datos\\a.mdb", "a");
  folder.write(L"Datos\\sub\\b.mdb", "b");
  folder.make(L"Datos\\sub\\unox");
  folder.make(L"Datos\\sub\\dosx");
  detours = {{L"\\sub\\unox", L""}, {L"\\sub\\dosx", L""}};
  scanElsewhere();
  EXPECT_EQ(engine.run(target(), {folder / "Datos\\*.mdb"}), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.mdb", "Datos/sub/b.mdb"}));
}

// QEV_LINKED_FOLDER names a folder that the test's surroundings provide. Its "datos" holds a.txt, two links to itself,
// one to the folder around it, and one to "ajena2", which holds c.txt.
TEST_F(ZipDataTest, LinksOfTheSystemAreTakenLikeThat) {
  const char* const linked = getenv("QEV_LINKED_FOLDER");
  if (linked == nullptr) GTEST_SKIP() << "QEV_LINKED_FOLDER names no folder";
  std::string root = linked;
  engine.options.szRootDir = root.data();
  EXPECT_EQ(engine.run(target(), {"datos\\*.*"}), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"datos/a.txt", "datos/fuera/c.txt"})) << engine.messages();
  for (const char* const link : {"datos/uno", "datos/dos", "datos/arriba"}) {
    EXPECT_TRUE(engine.said(std::string("folder leads back to itself: ") + link)) << engine.messages();
  }
}

// ---- Folders that do not tell what they hold

TEST_F(ZipDataTest, AScanThatBreaksOffIsTold) {
  folder.write(L"Datos\\a.txt", "a");
  folder.write(L"Datos\\sub\\b.txt", "b");
  brokenFolders = {{L"\\sub\\*.*", ERROR_NETNAME_DELETED}};
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OPEN);
  EXPECT_TRUE(engine.said("\tzip warning: could not list folder to its end: ")) << engine.messages();
  EXPECT_TRUE(engine.said("/Datos/sub\r\n")) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.txt"}));
}

TEST_F(ZipDataTest, AFolderThatCannotBeOpenedIsTold) {
  for (const DWORD error : {ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_BAD_NETPATH, ERROR_INVALID_NAME,
                            ERROR_CANT_RESOLVE_FILENAME}) {
    folder.write(L"Datos\\a.txt", "a");
    folder.write(L"Datos\\sub\\b.txt", "b");
    closedFolders = {{L"\\sub\\*.*", error}};
    scanElsewhere();
    DeleteFileA(target().c_str());
    EXPECT_EQ(archive(), ZP_OPEN) << error;
    EXPECT_TRUE(engine.said("\tzip warning: could not list folder: ")) << error << engine.messages();
    EXPECT_TRUE(engine.said("/Datos/sub\r\n")) << engine.messages();
    EXPECT_EQ(names(), (std::vector<std::string>{"Datos/a.txt"}));
    imports.clear();
  }
}

// The root of a volume that is mounted in a folder lists nothing at all when it is empty.
TEST_F(ZipDataTest, AnEmptyVolumeInAFolderIsAnEmptyFolder) {
  folder.write(L"Datos\\a.txt", "a");
  folder.make(L"Datos\\sub");
  closedFolders = {{L"\\sub\\*.*", ERROR_FILE_NOT_FOUND}};
  scanElsewhere();
  EXPECT_EQ(archive(), ZP_OK) << engine.messages();
  EXPECT_FALSE(engine.said("warning")) << engine.messages();
}

TEST_F(ZipDataTest, FoldersOfTheSystemBelowTheRootOfAVolumeArePassedOverInSilence) {
  constexpr DWORD hidden = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  for (const std::wstring above : {L"Datos\\", L"Datos\\sub\\"}) {
    for (const wchar_t* const name : {L"System Volume Information", L"$RECYCLE.BIN", L"Mía"}) {
      folder.write(above + name + L"\\s.dat", "s");
      ASSERT_TRUE(SetFileAttributesW(folder.wide(above + name).c_str(), hidden));
      ASSERT_EQ(GetFileAttributesW(folder.wide(above + name).c_str()) & hidden, hidden);
    }
  }
  folder.write(L"Datos\\sub\\visible\\$Recycle.bin\\s.dat", "s");
  volumeRoot = folder.wide(L"Datos") + L"\\";
  import("GetVolumePathNameW", rootElsewhere);
  engine.options.fSystem = 1;
  EXPECT_EQ(archive(), ZP_OK);
  EXPECT_FALSE(engine.said("warning")) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{
                         utf8(L"Datos/Mía/s.dat"), "Datos/sub/$RECYCLE.BIN/s.dat", utf8(L"Datos/sub/Mía/s.dat"),
                         "Datos/sub/System Volume Information/s.dat", "Datos/sub/visible/$Recycle.bin/s.dat"}));
  engine.options.fSystem = 0;
  DeleteFileA(target().c_str());
  EXPECT_EQ(archive(), ZP_OK);
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/sub/visible/$Recycle.bin/s.dat"}));
}

TEST_F(ZipDataTest, HiddenFoldersAreSearchedByPatternWhereHiddenFilesAreTaken) {
  folder.write(L"Datos\\oculta\\a.mdb", "a");
  ASSERT_TRUE(SetFileAttributesW(folder.wide(L"Datos\\oculta").c_str(), FILE_ATTRIBUTE_HIDDEN));
  EXPECT_EQ(engine.run(target(), {folder / "Datos\\*.mdb"}), ZP_NONE);
  engine.options.fSystem = 1;
  EXPECT_EQ(engine.run(target(), {folder / "Datos\\*.mdb"}), ZP_OK) << engine.messages();
  EXPECT_EQ(names(), (std::vector<std::string>{"Datos/oculta/a.mdb"}));
}

// ---- Called again

TEST_F(ZipDataTest, RunsThatLeaveFilesOutLeaveNothingBehind) {
  folder.write(L"Datos\\a.db", someText(200000));
  folder.write(L"Datos\\b.db", someText(200000));
  folder.write(L"Datos\\c.txt", "c");
  folder.write(L"Datos\\rota\\d.txt", "d");
  folder.make(L"Datos\\sub\\vuelta");
  detours = {{L"\\sub\\vuelta", L""}};
  brokenFolders = {{L"\\rota\\*.*", ERROR_NETNAME_DELETED}};
  readBadly(L"a.db", 100000, ERROR_CRC);
  scanElsewhere();
  const auto round = [&] {
    DeleteFileA(target().c_str());
    badReads = {.file = L"a.db", .from = 100000, .error = ERROR_CRC};
    EXPECT_EQ(archive(), ZP_OPEN);
    DeleteFileA(target().c_str());
    badReads = {.file = L"b.db", .from = 100000, .to = 100001, .error = ERROR_LOCK_VIOLATION};
    EXPECT_EQ(archive(), ZP_OPEN);
    DeleteFileA(target().c_str());
    badReads.mappedToo = true;
    EXPECT_EQ(engine.runWide(folder.wide(L"destino\\copia.zip"), {folder.wide(L"Datos\\*.*")}), ZP_OPEN);
  };
  for (int warmUp = 0; warmUp < 3; ++warmUp) round();
  const DWORD handles = handleCount();
  const size_t heap = processHeapInUse();
  const SIZE_T memory = memoryInUse();
  for (int times = 0; times < 20; ++times) round();
  EXPECT_LE(handleCount(), handles + handlesOfTheSystem);
  EXPECT_LT(processHeapInUse(), heap + 4096);
  EXPECT_LT(memoryInUse(), memory + (2u << 20));
  EXPECT_EQ(folder.list(L"destino"), (std::vector<std::wstring>{L"copia.zip"}));
}

}  // namespace
}  // namespace qev::test
