// Archives that want to do harm, or that time has damaged: each is refused or made harmless, nothing is ever written
// outside the extraction folder, and no file that was there is lost.
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "UnzipFixture.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

class UnzipSafetyTest : public testing::Test {
 protected:
  void SetUp() override { folder.make(L"dentro\\destino"); }

  // Whatever the archive was, the extraction folder is the only thing that changed.
  void TearDown() override {
    EXPECT_EQ(folder.list(L""), (std::vector<std::wstring>{L"copia.zip", L"dentro"})) << engine.messages();
    EXPECT_EQ(folder.list(L"dentro"), std::vector<std::wstring>{L"destino"}) << engine.messages();
    for (const wchar_t* path : {L"C:\\fuera.txt", L"C:\\windows\\fuera.txt", L"Z:\\fuera.txt", L"\\fuera.txt"}) {
      EXPECT_EQ(GetFileAttributesW(path), INVALID_FILE_ATTRIBUTES) << utf8(path);
    }
  }

  std::wstring restored(const std::wstring& name) const { return folder.wide(L"dentro\\destino\\" + name); }
  std::vector<std::wstring> files() const { return folder.list(L"dentro\\destino"); }

  int extractBytes(const std::string& bytes) {
    folder.write(L"copia.zip", bytes);
    return engine.run(folder / "copia.zip", folder / "dentro\\destino");
  }
  int extract(const std::vector<ZipEntry>& entries, const ZipLayout& layout = {}) {
    return extractBytes(zipOf(entries, layout));
  }

  // The archive's one entry of this name is not restored, is named, and the entry that follows is restored.
  void expectRefused(const std::string& name, const std::string& reason) {
    EXPECT_EQ(extract({storedEntry(name, "malo"), storedEntry("bueno.txt", "bueno")}), UZ_ERR) << name;
    EXPECT_TRUE(engine.said(reason)) << name << "\n" << engine.messages();
    EXPECT_EQ(files(), std::vector<std::wstring>{L"bueno.txt"}) << name << "\n" << engine.messages();
    DeleteFileW(restored(L"bueno.txt").c_str());
  }

  // The entry is restored under another name, which is told.
  void expectRenamed(const std::string& name, const std::wstring& expected) {
    EXPECT_EQ(extract({storedEntry(name, "raro")}), UZ_WARN) << name << "\n" << engine.messages();
    EXPECT_FALSE(engine.messages().empty());
    const std::vector<std::wstring> found = files();
    EXPECT_EQ(found, std::vector<std::wstring>{expected.substr(0, expected.find(L'\\'))}) << name << "\n"
                                                                                          << engine.messages();
    if (exists(restored(expected))) {
      EXPECT_EQ(contentOf(restored(expected)), "raro");
    }
    DeleteFileW(restored(expected).c_str());
    if (expected.find(L'\\') != std::wstring::npos) {
      RemoveDirectoryW(restored(expected.substr(0, expected.find(L'\\'))).c_str());
    }
    EXPECT_TRUE(files().empty()) << name;
  }

  Folder folder;
  UnzipEngine engine;
};

// ---- Names
// -----------------------------------------------------------------------------------------------------------

TEST_F(UnzipSafetyTest, PathsThatLeadUpwardsAreRefused) {
  for (const char* name : {"../fuera.txt", "../../fuera.txt", "a/../../fuera.txt", "a/../b.txt", "a/..", "..",
                           "..\\fuera.txt", "a\\..\\..\\fuera.txt", "/../fuera.txt", "./../fuera.txt", "../",
                           "...//fuera.txt", "... /fuera.txt", ".. /fuera.txt", ". ./fuera.txt", "..../fuera.txt"}) {
    SCOPED_TRACE(name);
    extract({storedEntry(name, "malo"), storedEntry("bueno.txt", "bueno")});
    EXPECT_GE(extract({storedEntry(name, "malo"), storedEntry("bueno.txt", "bueno")}), UZ_ERR);
    EXPECT_TRUE(engine.said("its path leads upwards")) << engine.messages();
    EXPECT_EQ(contentOf(restored(L"bueno.txt")), "bueno");
    EXPECT_FALSE(exists(restored(L"fuera.txt")));
  }
}

TEST_F(UnzipSafetyTest, UpwardPathsInUnicodePathFieldsAreRefused) {
  ZipEntry entry = storedEntry("inocente.txt", "malo");
  entry.localExtra = entry.directoryExtra =
      extraField(0x7075, '\1' + littleEndian(checksumOf(entry.name), 4) + "../fuera.txt");
  EXPECT_EQ(extract({entry}), UZ_ERR);
  EXPECT_TRUE(files().empty()) << engine.messages();
}

TEST_F(UnzipSafetyTest, UpwardPathsThatTheLocalHeaderHidesAreRefused) {
  ZipEntry entry = storedEntry("../fuera.txt", "malo");
  entry.localName = "inocente.txt";
  EXPECT_GE(extract({entry}), UZ_ERR);
  ZipEntry other = storedEntry("inocente.txt", "malo");
  other.localName = "../fuera.txt";
  extract({other});
  EXPECT_TRUE(engine.said("mismatching")) << engine.messages();
  EXPECT_EQ(files(), std::vector<std::wstring>{L"inocente.txt"});
}

TEST_F(UnzipSafetyTest, UpwardPathsInOverlongUtf8AreNoPaths) {
  ZipEntry entry = storedEntry("\xc0\xae\xc0\xae/fuera.txt", "malo");
  entry.flags = 0x800;
  extract({entry});
  EXPECT_LE(files().size(), 1u) << engine.messages();
}

TEST_F(UnzipSafetyTest, AbsolutePathsStayBelowTheExtractionFolder) {
  expectRenamed("/fuera.txt", L"fuera.txt");
  expectRenamed("///fuera.txt", L"fuera.txt");
  expectRenamed("\\fuera.txt", L"fuera.txt");
  expectRenamed("/windows/fuera.txt", L"windows\\fuera.txt");
}

TEST_F(UnzipSafetyTest, DriveLettersBecomePartOfTheName) {
  expectRenamed("C:fuera.txt", L"C_fuera.txt");
  expectRenamed("C:/fuera.txt", L"C_\\fuera.txt");
  expectRenamed("Z:\\fuera.txt", L"Z_\\fuera.txt");
  expectRefused("C:/../fuera.txt", "leads upwards");
}

TEST_F(UnzipSafetyTest, NetworkAndDevicePathsStayBelowTheExtractionFolder) {
  EXPECT_EQ(extract({storedEntry("//servidor/fuera.txt", "x"), storedEntry("\\\\servidor\\fuera2.txt", "x"),
                     storedEntry("\\\\?\\C:\\fuera.txt", "x"), storedEntry("\\\\.\\C:", "x")}),
            UZ_WARN)
      << engine.messages();
  EXPECT_TRUE(exists(restored(L"servidor\\fuera.txt")));
  EXPECT_TRUE(exists(restored(L"servidor\\fuera2.txt")));
  EXPECT_TRUE(exists(restored(L"_\\C_\\fuera.txt"))) << engine.messages();
}

TEST_F(UnzipSafetyTest, AlternateDataStreamsBecomePartOfTheName) {
  folder.write(L"dentro\\destino\\a.txt", "bueno");
  EXPECT_EQ(extract({storedEntry("a.txt:oculto", "malo"), storedEntry("b.txt::$DATA", "malo")}), UZ_WARN);
  EXPECT_EQ(contentOf(restored(L"a.txt")), "bueno");
  EXPECT_EQ(files(), (std::vector<std::wstring>{L"a.txt", L"a.txt_oculto", L"b.txt__$DATA"}));
}

TEST_F(UnzipSafetyTest, ReservedDeviceNamesGetAnUnderscore) {
  expectRenamed("CON", L"_CON");
  expectRenamed("nul", L"_nul");
  expectRenamed("COM1.txt", L"_COM1.txt");
  expectRenamed("Lpt9.tar.gz", L"_Lpt9.tar.gz");
  expectRenamed("aux /x.txt", L"aux_\\x.txt");
  expectRenamed("prn .txt", L"_prn .txt");
  expectRenamed("CONIN$", L"_CONIN$");
  expectRenamed("com\xc2\xb9", L"_com\u00b9");
  expectRenamed("nul/x.txt", L"_nul\\x.txt");
}

TEST_F(UnzipSafetyTest, NamesThatOnlyBeginLikeADeviceAreLeftAlone) {
  EXPECT_EQ(extract({storedEntry("CONTAR.txt", "x"), storedEntry("nulo", "x"), storedEntry("COM10", "x"),
                     storedEntry("COMA.txt", "x"), storedEntry("x.con", "x")}),
            UZ_OK)
      << engine.messages();
  EXPECT_EQ(files().size(), 5u);
}

TEST_F(UnzipSafetyTest, DotsAndBlanksThatTheSystemWouldCutOffBecomeUnderscores) {
  expectRenamed("a.txt.", L"a.txt_");
  expectRenamed("a.txt ", L"a.txt_");
  expectRenamed("a.txt. .", L"a.txt. _");
  expectRenamed("Datos./x.txt", L"Datos_\\x.txt");
  expectRenamed(" ", L"_");
}

TEST_F(UnzipSafetyTest, CharactersThatTheSystemCannotStoreBecomeUnderscores) {
  expectRenamed("a*b?.txt", L"a_b_.txt");
  expectRenamed("<a>|\"b\"", L"_a___b_");
  expectRenamed("a\x01\x1f\nb", L"a___b");
}

TEST_F(UnzipSafetyTest, BackslashesSeparateFolders) {
  extract({storedEntry("Datos\\Sub\\a.txt", "x"), storedEntry("Datos\\Sub/b.txt", "x")});
  EXPECT_TRUE(exists(restored(L"Datos\\Sub\\a.txt"))) << engine.messages();
  EXPECT_TRUE(exists(restored(L"Datos\\Sub\\b.txt"))) << engine.messages();
}

TEST_F(UnzipSafetyTest, NamesThatDifferInLetterCaseOnlyDoNotReplaceOneAnother) {
  EXPECT_EQ(extract({storedEntry("A\xc3\xb1o.txt", "primero"), storedEntry("a\xc3\x91O.TXT", "segundo"),
                     storedEntry("Datos/x", "uno"), storedEntry("DATOS/X", "dos"), storedEntry("a:b", "tres"),
                     storedEntry("a_b", "cuatro")}),
            UZ_ERR);
  EXPECT_TRUE(engine.said("an earlier entry has the same path")) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"A\u00f1o.txt")), "primero");
  EXPECT_EQ(contentOf(restored(L"Datos\\x")), "uno");
  EXPECT_EQ(contentOf(restored(L"a_b")), "tres");
  EXPECT_EQ(files().size(), 3u);
}

TEST_F(UnzipSafetyTest, OfTwoEntriesOfOneNameTheLaterOneCountsWithAWarning) {
  EXPECT_EQ(extract({storedEntry("a.txt", "primero"), storedEntry("a.txt", "segundo")}), UZ_WARN);
  EXPECT_EQ(contentOf(restored(L"a.txt")), "segundo");
  EXPECT_TRUE(engine.said("more than once")) << engine.messages();
}

TEST_F(UnzipSafetyTest, JunkedPathsDoNotReplaceOneAnother) {
  engine.options.ndflag = 0;
  EXPECT_EQ(extract({storedEntry("a/x.txt", "primero"), storedEntry("b/x.txt", "segundo")}), UZ_ERR);
  EXPECT_EQ(contentOf(restored(L"x.txt")), "primero");
  EXPECT_EQ(extract({storedEntry("../y.txt", "y")}), UZ_OK) << "without folders there is no upward path";
  EXPECT_EQ(extract({storedEntry("a/..", "y")}), UZ_ERR);
}

TEST_F(UnzipSafetyTest, NamesOf64KibibytesAreRefused) {
  expectRefused(std::string(65535, 'x'), "error");
  expectRefused(std::string(40000, 'x'), "error");
  std::string deep;
  for (int depth = 0; depth < 16000; ++depth) deep += "ab/";
  EXPECT_GE(extract({storedEntry(deep + "x", "malo"), storedEntry("bueno.txt", "bueno")}), UZ_ERR);
  EXPECT_EQ(contentOf(restored(L"bueno.txt")), "bueno");
}

TEST_F(UnzipSafetyTest, PartsLongerThanTheSystemAllowsAreNamed) {
  EXPECT_GE(extract({storedEntry(std::string(300, 'x'), "malo"), storedEntry("bueno.txt", "bueno")}), UZ_ERR);
  EXPECT_TRUE(engine.said("error:  xxx")) << engine.messages();
  EXPECT_EQ(files(), std::vector<std::wstring>{L"bueno.txt"});
}

TEST_F(UnzipSafetyTest, EntriesWithoutANameAreRefused) {
  EXPECT_GE(extract({storedEntry("", "malo"), storedEntry("bueno.txt", "bueno")}), UZ_WARN);
  EXPECT_EQ(files(), std::vector<std::wstring>{L"bueno.txt"}) << engine.messages();
  for (const char* name : {"/", "//", ".", "./", "\\", "./."}) {
    extract({storedEntry(name, "malo")});
    EXPECT_EQ(files(), std::vector<std::wstring>{L"bueno.txt"}) << name;
  }
}

TEST_F(UnzipSafetyTest, NamesWithAZeroByteStayInside) {
  extract({storedEntry(std::string("a.txt\0../../fuera.txt", 21), "x")});
  EXPECT_LE(files().size(), 1u) << engine.messages();
}

TEST_F(UnzipSafetyTest, BrokenUtf8IsTakenForTheCodePage) {
  ZipEntry entry = storedEntry("a\xff\xfe\xed\xa0\x80.txt", "x");
  entry.flags = 0x800;
  entry.localExtra = entry.directoryExtra = extraField(0x9999, "x");
  EXPECT_LE(extract({entry, storedEntry("bueno.txt", "b")}), UZ_ERR);
  EXPECT_EQ(contentOf(restored(L"bueno.txt")), "b") << engine.messages();
}

// ---- Links
// -----------------------------------------------------------------------------------------------------------

TEST_F(UnzipSafetyTest, LinksAndDevicesInTheArchiveAreRefused) {
  for (const unsigned mode : {0120777u, 0010644u, 0020666u, 0060666u, 0140777u}) {
    ZipEntry link = storedEntry("enlace", "..\\..");
    link.madeBy = 0x0314;
    link.attributes = mode << 16;
    EXPECT_EQ(extract({link, storedEntry("enlace/fuera.txt", "x")}), UZ_ERR) << mode;
    EXPECT_TRUE(engine.said("it is a link or a device")) << engine.messages();
    EXPECT_FALSE(exists(folder.wide(L"fuera.txt")));
  }
}

// QEV_LINKED_FOLDER names a folder that the test's surroundings provide. It holds "destino\enlace", a link to the
// folder "ajena" beside "destino", which is empty.
TEST_F(UnzipSafetyTest, ExistingLinksBelowTheExtractionFolderAreNotFollowed) {
  extract({storedEntry("enlace/a.txt", "malo"), folderEntry("enlace/Sub/"), storedEntry("b.txt", "bueno")});
  const char* const linked = getenv("QEV_LINKED_FOLDER");
  if (linked == nullptr) GTEST_SKIP() << "QEV_LINKED_FOLDER names no folder";
  const std::string there = linked;
  for (const char* left : {"ajena\\enlace\\a.txt", "ajena\\b.txt", "destino\\b.txt"}) {
    DeleteFileA((there + "\\" + left).c_str());
  }
  for (const char* left : {"ajena\\enlace\\Sub", "ajena\\enlace"}) RemoveDirectoryA((there + "\\" + left).c_str());
  EXPECT_EQ(engine.run(folder / "copia.zip", there + "\\destino"), UZ_ERR);
  EXPECT_TRUE(engine.said("error:  enlace/a.txt:  refused: a folder of its path is a link")) << engine.messages();
  EXPECT_TRUE(RemoveDirectoryA((there + "\\ajena").c_str())) << "something was written behind the link";
  CreateDirectoryA((there + "\\ajena").c_str(), nullptr);
  EXPECT_EQ(readFile(there + "\\destino\\b.txt"), "bueno");
  EXPECT_EQ(engine.run(folder / "copia.zip", there + "\\destino\\enlace"), UZ_OK)
      << "the extraction folder itself may be a link: " << engine.messages();
}

// ---- Bombs
// -----------------------------------------------------------------------------------------------------------

TEST_F(UnzipSafetyTest, EntriesThatShareOneBodyAreABomb) {
  ZipEntry kernel = runEntry("a", 'x', 1 << 20);
  ZipEntry again = kernel;
  again.name = "b";
  again.localOffset = 0;
  again.packed.clear();
  EXPECT_EQ(extract({kernel, again}), UZ_BOMB);
  EXPECT_TRUE(engine.said("overlapped")) << engine.messages();
}

TEST_F(UnzipSafetyTest, EntriesThatQuoteOneAnotherAreABomb) {
  // Each entry's data is a stored block that holds the next entry's local header, and then runs into that entry.
  const ZipEntry kernel = runEntry("c", 'x', 1 << 16);
  const std::string inner = zipOf({kernel});
  const std::string innerHeader = inner.substr(0, 30 + 1);
  ZipEntry outer;
  outer.name = "b";
  outer.method = 8;
  outer.packed = '\0' + littleEndian(innerHeader.size(), 2) + littleEndian(~innerHeader.size() & 0xFFFF, 2);
  const std::string content = innerHeader + std::string(1 << 16, 'x');
  outer.checksum = checksumOf(content);
  outer.size = content.size();
  outer.packedSize = outer.packed.size() + innerHeader.size() + kernel.packed.size();
  EXPECT_EQ(extract({outer, kernel}), UZ_BOMB) << engine.messages();
}

TEST_F(UnzipSafetyTest, ManyEntriesThatQuoteOneAnotherAreABombInZip64Too) {
  // As above, many deep: each file's data quotes the header of the next one and all that follows.
  for (const bool isZip64 : {false, true}) {
    std::vector<ZipEntry> entries = {runEntry("n", 'x', 1 << 16)};
    std::string content(1 << 16, 'x');
    std::string rest = entries[0].packed;
    for (char name = 'm'; name >= 'a'; --name) {
      const ZipEntry& next = entries.front();
      const std::string bytes = zipOf({next});
      const std::string header = bytes.substr(0, bytes.find(next.packed.empty() ? rest : next.packed));
      ZipEntry outer;
      outer.name = std::string(1, name);
      outer.method = 8;
      outer.isZip64 = isZip64;
      outer.packed = '\0' + littleEndian(header.size(), 2) + littleEndian(~header.size() & 0xFFFF, 2);
      content = header + content;
      rest = outer.packed + header + rest;
      outer.checksum = checksumOf(content);
      outer.size = content.size();
      outer.packedSize = rest.size();
      entries.insert(entries.begin(), outer);
    }
    EXPECT_EQ(extract(entries, {"", "", isZip64, {}, {}}), UZ_BOMB) << engine.messages();
    EXPECT_TRUE(engine.said("overlapped")) << engine.messages();
  }
}

TEST_F(UnzipSafetyTest, EntriesThatQuoteOneAnotherInExtraFieldsAreABomb) {
  // An entry's local extra field is declared so long that it takes in the header of the entry that follows: both have
  // the same data.
  const ZipEntry kernel = runEntry("b", 'x', 1 << 16);
  const std::size_t header = 30 + kernel.name.size();
  ZipEntry outer = kernel;
  outer.name = "a";
  outer.packed = littleEndian(0x9999, 2) + littleEndian(header, 2);  // begins the field; the header is its bytes
  std::string bytes = zipOf({outer, kernel});
  bytes[28] = static_cast<char>(4 + header);  // length of the first local header's extra field
  EXPECT_EQ(extractBytes(bytes), UZ_BOMB) << engine.messages();
  EXPECT_TRUE(engine.said("overlapped")) << engine.messages();
}

TEST_F(UnzipSafetyTest, AnArchiveInAnArchiveIsAFileLikeAnyOther) {
  const std::string inner = zipOf({runEntry("bomba.db", 'x', 1 << 20)});
  EXPECT_EQ(extract({storedEntry("dentro.zip", inner)}), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"dentro.zip")), inner);
  EXPECT_EQ(files().size(), 1u);
}

TEST_F(UnzipSafetyTest, NamesWithLineEndsAreOneLineForEveryCallback) {
  const std::string name = "a\r\nb\x1b[2J.txt";
  extract({storedEntry(name, "x")});
  EXPECT_EQ(engine.served, Served({{"a^M^Jb^[[2J.txt", 1}}));
  engine.list(folder / "copia.zip");
  ASSERT_EQ(engine.listed.size(), 1u);
  EXPECT_EQ(engine.listed[0].name, "a^M^Jb^[[2J.txt");
  engine.options.noflag = 0;
  engine.run(folder / "copia.zip", folder / "dentro\\destino");
  EXPECT_EQ(engine.replaceQuestions, std::vector<std::string>{"a^M^Jb^[[2J.txt"});
}

TEST_F(UnzipSafetyTest, EntriesInsideTheDirectoryAreABomb) {
  ZipEntry entry = storedEntry("a", "PK\3\4");
  ZipEntry second = storedEntry("b", "x");
  second.localOffset = zipOf({entry, second}).find("PK\1\2") + 1;
  EXPECT_GE(extract({entry, second}), UZ_ERR) << engine.messages();
}

TEST_F(UnzipSafetyTest, AnEntryThatYieldsMoreThanItSaysIsStopped) {
  ZipEntry bomb = runEntry("a.db", 'x', 64 << 20);
  bomb.size = 100;
  int calls = 0;
  engine.whilePrinting = [&] { ++calls; };
  EXPECT_EQ(extract({bomb, storedEntry("b.txt", "b")}), UZ_ERR);
  EXPECT_TRUE(engine.said("error:  a.db:  not restored: it is longer than it says")) << engine.messages();
  EXPECT_EQ(files(), std::vector<std::wstring>{L"b.txt"});
  EXPECT_LT(calls, 10);
  engine.options.ntflag = 1;
  EXPECT_EQ(extract({bomb}), UZ_ERR) << engine.messages();
}

TEST_F(UnzipSafetyTest, AnEntryThatYieldsLessThanItSaysIsNotRestored) {
  folder.write(L"dentro\\destino\\a.db", "bueno");
  ZipEntry entry = runEntry("a.db", 'x', 1000);
  entry.size = 5000000;
  EXPECT_EQ(extract({entry, storedEntry("b.txt", "b")}), UZ_ERR);
  EXPECT_TRUE(engine.said("error:  a.db:  not restored: it is shorter than it says")) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"a.db")), "bueno");
}

TEST_F(UnzipSafetyTest, SizesBeyondAllDisksAreAnswered) {
  for (const std::uint64_t size : {0x7FFFFFFFFFFFFFFFull, 0xFFFFFFFFFFFFFFFEull, 1ull << 50}) {
    ZipEntry entry = runEntry("a.db", 'x', 2 << 20);
    entry.isZip64 = true;
    entry.size = size;
    EXPECT_NE(extract({entry, storedEntry("b.txt", "b")}), UZ_OK);
    EXPECT_EQ(files(), std::vector<std::wstring>{L"b.txt"}) << engine.messages();
  }
}

TEST_F(UnzipSafetyTest, PackedSizesThatLieAreAnswered) {
  for (const std::uint64_t size : {0ull, 1ull, 4000ull, 0xFFFFFFFEull}) {
    ZipEntry entry = runEntry("a.db", 'x', 100000);
    entry.packedSize = size;
    const int code = extract({entry});
    const bool isThere = exists(restored(L"a.db"));
    EXPECT_TRUE(isThere || code != UZ_OK) << size;
    EXPECT_TRUE(!isThere || contentOf(restored(L"a.db")) == std::string(100000, 'x')) << size;
    DeleteFileW(restored(L"a.db").c_str());
  }
  for (const std::uint64_t size : {0ull, 11ull}) {
    ZipEntry entry = encryptedEntry("a.txt", "x", "clave");
    entry.packedSize = size;
    engine.password = "clave";
    EXPECT_NE(extract({entry}), UZ_OK) << size;
  }
}

TEST_F(UnzipSafetyTest, CountsAndOffsetsThatLieAreAnswered) {
  const std::vector<ZipEntry> entries = {storedEntry("a.txt", "a"), storedEntry("b.txt", "b")};
  for (const std::uint64_t count : {0ull, 1ull, 3ull, 65535ull}) {
    EXPECT_NE(extract(entries, {"", "", false, count, {}}), UZ_OK) << count;
    EXPECT_NE(extract(entries, {"", "", true, count, {}}), UZ_OK) << count;
  }
  for (const std::uint64_t offset : {0ull, 1ull, 100000ull, 0xFFFFFFFEull}) {
    EXPECT_NE(extract(entries, {"", "", false, {}, offset}), UZ_OK) << offset;
    EXPECT_NE(extract(entries, {"", "", true, {}, offset}), UZ_OK) << offset;
  }
  for (const std::uint64_t offset : {1ull, 100ull, 0x7FFFFFFFull, 0xFFFFFFFEull}) {
    std::vector<ZipEntry> wrong = entries;
    wrong[0].localOffset = offset;
    EXPECT_NE(extract(wrong), UZ_OK) << offset;
  }
}

// ---- Damage
// ----------------------------------------------------------------------------------------------------------

TEST_F(UnzipSafetyTest, DamagedEntryLeavesTheGoodFileThatIsThere) {
  for (const std::size_t size : {std::size_t{100}, std::size_t{3000000}}) {
    const std::string good = someText(size);
    folder.write(L"dentro\\destino\\a.db", good);
    SetFileAttributesW(restored(L"a.db").c_str(), FILE_ATTRIBUTE_READONLY);
    ZipEntry broken = deflatedEntry("a.db", someText(size + 1));
    broken.packed[broken.packed.size() / 2] ^= 1;
    EXPECT_EQ(extract({broken, storedEntry("b.txt", "b")}), UZ_ERR);
    EXPECT_TRUE(engine.said("bad CRC")) << engine.messages();
    EXPECT_TRUE(engine.said("error:  a.db:  not restored")) << engine.messages();
    EXPECT_TRUE(contentOf(restored(L"a.db")) == good);
    EXPECT_EQ(contentOf(restored(L"b.txt")), "b");
    EXPECT_EQ(files().size(), 2u);
    SetFileAttributesW(restored(L"a.db").c_str(), FILE_ATTRIBUTE_NORMAL);
  }
}

TEST_F(UnzipSafetyTest, GarbageInEveryMethodIsAnswered) {
  std::string garbage = someText(5000);
  for (std::size_t at = 0; at < garbage.size(); ++at) garbage[at] = static_cast<char>(at * 7919 >> 3);
  for (std::uint16_t method = 0; method < 100; ++method) {
    ZipEntry entry = storedEntry("a.db", garbage);
    entry.method = method;
    entry.checksum ^= 1;
    entry.size = 20000;
    EXPECT_NE(extract({entry, storedEntry("b.txt", "b")}), UZ_OK) << method;
    EXPECT_EQ(files(), std::vector<std::wstring>{L"b.txt"}) << method << engine.messages();
  }
}

TEST_F(UnzipSafetyTest, MethodsThatTheEngineDoesNotKnowAreNamedAndTheOthersRestored) {
  for (const std::uint16_t method :
       {std::uint16_t{12}, std::uint16_t{14}, std::uint16_t{93}, std::uint16_t{95}, std::uint16_t{98}}) {
    ZipEntry entry = storedEntry("a.db", "x");
    entry.method = method;
    EXPECT_EQ(extract({entry, storedEntry("b.txt", "b")}), UZ_UNSUP) << method;
    EXPECT_TRUE(engine.said("skipping: a.db") && engine.said("supported")) << engine.messages();
    EXPECT_EQ(files(), std::vector<std::wstring>{L"b.txt"});
  }
  ZipEntry newer = storedEntry("a.db", "x");
  newer.neededVersion = 63;
  EXPECT_EQ(extract({newer, storedEntry("b.txt", "b")}), UZ_UNSUP);
  EXPECT_TRUE(engine.said("a.db")) << engine.messages();
}

TEST_F(UnzipSafetyTest, BrokenExtraFieldsAreHarmless) {
  const std::vector<std::string> fields = {"\1",
                                           "\1\0\xff\xff",
                                           extraField(1, ""),
                                           extraField(1, "1234"),
                                           extraField(0x5455, ""),
                                           extraField(0x5455, "\7"),
                                           extraField(0x7075, ""),
                                           extraField(0x7075, "\1abcd"),
                                           extraField(0x7075, "\2abcdx"),
                                           extraField(0x000a, "x"),
                                           extraField(0x4453, "\1\0\0\0\0"),
                                           extraField(0x7855, ""),
                                           extraField(0x000d, "12"),
                                           extraField(0x4d63, "x"),
                                           extraField(0x000c, "x"),
                                           extraField(0x4d49, "x"),
                                           std::string(60000, '\xff')};
  for (const std::string& field : fields) {
    ZipEntry entry = storedEntry("a.txt", "hola");
    entry.localExtra = entry.directoryExtra = field;
    EXPECT_LE(extract({entry}), UZ_ERR);
    entry.isZip64 = true;
    extract({entry});
    engine.options.ntflag = engine.options.naflag = 1;
    extract({entry});
    engine.options.ntflag = engine.options.naflag = 0;
    engine.list(folder / "copia.zip");
  }
}

// An archive with most of what archives have, small enough to be damaged everywhere.
std::vector<ZipEntry> smallArchive() {
  ZipEntry described = runEntry("d/b", 'b', 300);
  described.descriptorFollows = true;
  ZipEntry foreign = storedEntry("c_", "contenido");
  foreign.localExtra = foreign.directoryExtra =
      extraField(0x7075, '\1' + littleEndian(checksumOf(foreign.name), 4) + "\xc3\xb1") +
      extraField(0x5455, '\1' + littleEndian(1000000000, 4));
  return {storedEntry("a", "hola"), described, foreign};
}

// The same as it should be restored: contents by their paths; that of a folder ends with a separator.
using Tree = std::map<std::wstring, std::string>;
const Tree smallTree = {{L"a", "hola"}, {L"d\\", ""}, {L"d\\b", std::string(300, 'b')}, {L"\u00f1", "contenido"}};

Tree treeOf(const Folder& folder, const std::wstring& top, const std::wstring& prefix = L"") {
  Tree tree;
  for (const std::wstring& name : folder.list(top)) {
    const std::wstring path = folder.wide(top + L"\\" + name);
    if ((GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      tree[prefix + name] = contentOf(path);
    } else {
      tree[prefix + name + L"\\"] = "";
      tree.merge(treeOf(folder, top + L"\\" + name, prefix + name + L"\\"));
    }
  }
  return tree;
}

bool isFolder(const std::wstring& path) {
  return path.back() == L'\\';
}

// Whether a file has the whole content of one of the entries.
bool isWhole(const std::string& content) {
  return content == "hola" || content == std::string(300, 'b') || content == "contenido";
}

void expectOnlyWholeFiles(const Folder& folder, const std::wstring& relative) {
  for (const auto& [name, content] : treeOf(folder, relative)) {
    EXPECT_TRUE(isFolder(name) || isWhole(content)) << utf8(name) << ": " << content.size() << " bytes";
  }
}

TEST_F(UnzipSafetyTest, TruncationAtEveryByteIsAnsweredAndLeavesNoBrokenFile) {
  const std::string whole = zipOf(smallArchive());
  ASSERT_EQ(extractBytes(whole), UZ_OK) << engine.messages();
  ASSERT_EQ(files().size(), 3u);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_NE(extractBytes(whole.substr(0, size)), UZ_OK) << size;
    EXPECT_NE(engine.list(folder / "copia.zip"), UZ_OK) << size;
  }
  expectOnlyWholeFiles(folder, L"dentro\\destino");
}

TEST_F(UnzipSafetyTest, BytesMissingFromTheFrontAreAnswered) {
  const std::string whole = zipOf(smallArchive());
  for (std::size_t size = 1; size < whole.size(); ++size) {
    EXPECT_NE(extractBytes(whole.substr(size)), UZ_OK) << size;
  }
  expectOnlyWholeFiles(folder, L"dentro\\destino");
}

// The harm that was done, empty if none was: all is there as it was; or the code says that it is not, and each file
// that is there is the whole of an entry, each of another, under its own name or one that no entry has.
std::string harmOf(const Tree& tree, int code) {
  if (tree == smallTree) return "";
  std::string harm = code == UZ_OK ? "code 0 " : "";
  std::set<std::string> seen;
  for (const auto& [name, content] : tree) {
    if (isFolder(name)) continue;
    const auto own = smallTree.find(name);
    if (!isWhole(content) || (own != smallTree.end() && own->second != content)) harm += "broken " + utf8(name);
    if (!seen.insert(content).second) harm += "twice " + utf8(name);
  }
  return harm;
}

TEST_F(UnzipSafetyTest, EveryFlippedBitIsHarmless) {
  const std::string whole = zipOf(smallArchive());
  const std::size_t second = whole.find("PK\3\4", 4);
  std::vector<std::size_t> headers;  // of the directory
  for (std::size_t at = 0; (at = whole.find("PK\1\2", at)) != std::string::npos; ++at) headers.push_back(at);
  ASSERT_EQ(headers.size(), 3u);
  // The bits that do harm today, and what it is.
  std::map<std::size_t, std::string> harmful;
  // The attribute of a volume label: the entry is said to be skipped, and the code is that of a complete run.
  for (const std::size_t header : headers) harmful[(header + 38) * 8 + 3] = "code 0 ";
  // A local header that no longer says that its sizes follow the data: the file comes out empty, with an error.
  harmful[(second + 6) * 8 + 3] = "broken d\\b";
  // An entry without a name, which gets that of the entry before it, with a warning.
  harmful[(headers[2] + 28) * 8 + 1] = "broken d\\b";
  for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
    std::string damaged = whole;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
    folder.clear(L"dentro");
    folder.make(L"dentro\\destino");
    const int code = extractBytes(damaged);
    EXPECT_NE(code, UZ_BUSY);
    EXPECT_EQ(harmOf(treeOf(folder, L"dentro\\destino"), code), harmful.count(bit) != 0 ? harmful[bit] : "")
        << "bit " << bit % 8 << " of byte " << bit / 8 << ", code " << code << "\n"
        << engine.messages();
    EXPECT_EQ(folder.list(L"dentro").size(), 1u);
  }
}

TEST_F(UnzipSafetyTest, ArchivesInsideOtherBytesAreHarmless) {
  const std::string whole = zipOf(smallArchive());
  for (const std::string& before : {std::string("PK\3\4"), whole, std::string(70000, 'P'), zipOf({})}) {
    EXPECT_GE(extractBytes(before + whole), UZ_OK);
    expectOnlyWholeFiles(folder, L"dentro\\destino");
    extractBytes(whole + before);
  }
  extractBytes(std::string(100000, 'P') + "PK\5\6");
  extractBytes("");
  EXPECT_EQ(extractBytes(""), UZ_NOZIP);
}

}  // namespace
}  // namespace qev::test
