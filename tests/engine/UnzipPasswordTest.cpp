// Passwords that the unzip engine tries in several forms (the ANSI code page, the OEM one, UTF-8): the one byte that a
// form is tested by is right by chance once in 256 times, and here it always is.
#include <windows.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "UnzipFixture.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

constexpr std::size_t headerSize = 12;
constexpr std::size_t checkAt = 11;

const std::wstring typed = L"contrase\u00f1a";

std::string inCodePage(const std::wstring& text, UINT page) {
  std::string bytes(3 * text.size(), '\0');
  const int length = WideCharToMultiByte(page, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                         static_cast<int>(bytes.size()), nullptr, nullptr);
  return bytes.substr(0, static_cast<std::size_t>(length));
}

const std::string ansiForm = inCodePage(typed, CP_ACP);
const std::string oemForm = inCodePage(typed, CP_OEMCP);
const std::string utf8Form = inCodePage(typed, CP_UTF8);

// The cipher of APPNOTE 6.1.
class Cipher {
 public:
  explicit Cipher(const std::string& password) {
    for (const char character : password) feed(character);
  }

  std::string encode(const std::string& plain) {
    std::string bytes;
    for (const char character : plain) {
      bytes += static_cast<char>(character ^ mask());
      feed(character);
    }
    return bytes;
  }

  std::string decode(const std::string& bytes) {
    std::string plain;
    for (const char character : bytes) {
      plain += static_cast<char>(character ^ mask());
      feed(plain.back());
    }
    return plain;
  }

 private:
  static std::array<std::uint32_t, 256> checksums() {
    std::array<std::uint32_t, 256> values{};
    for (std::uint32_t byte = 0; byte < values.size(); ++byte) {
      std::uint32_t value = byte;
      for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320u : 0u);
      values[byte] = value;
    }
    return values;
  }

  static std::uint32_t updated(std::uint32_t checksum, std::uint32_t byte) {
    static const auto table = checksums();
    return checksum >> 8 ^ table[(checksum ^ byte) & 0xFF];
  }

  char mask() const {
    const std::uint32_t mixed = (keys_[2] & 0xFFFF) | 2;
    return static_cast<char>(mixed * (mixed ^ 1) >> 8);
  }

  void feed(char byte) {
    keys_[0] = updated(keys_[0], static_cast<unsigned char>(byte));
    keys_[1] = (keys_[1] + (keys_[0] & 0xFF)) * 134775813u + 1;
    keys_[2] = updated(keys_[2], keys_[1] >> 24);
  }

  std::array<std::uint32_t, 3> keys_{305419896u, 591751049u, 878082192u};
};

char checkOf(const ZipEntry& entry) {
  return static_cast<char>(entry.descriptorFollows ? entry.dosTime >> 8 : entry.checksum >> 24);
}

bool passes(const std::string& header, const std::string& password, char check) {
  return Cipher(password).decode(header)[checkAt] == check;
}

// An entry encrypted with `password`, with a header that the other passwords seem right for too.
ZipEntry ambiguous(ZipEntry entry, const std::string& password, const std::vector<std::string>& others) {
  const char check = checkOf(entry);
  for (std::uint64_t number = 0;; ++number) {
    const std::string plain = littleEndian(number, checkAt) + check;
    const std::string header = Cipher(password).encode(plain);
    const auto seemsRight = [&](const std::string& other) { return passes(header, other, check); };
    if (!std::all_of(others.begin(), others.end(), seemsRight)) continue;
    entry.packed = Cipher(password).encode(plain + entry.packed);
    entry.packedSize += headerSize;
    entry.flags |= 1;
    return entry;
  }
}

// Content that spans several buffers of the sources.
const std::string longText = someText(100000);

class UnzipPasswordTest : public testing::Test {
 protected:
  void SetUp() override {
    folder.make(L"destino");
    engine.password = ansiForm;
  }

  std::wstring restored(const std::wstring& name) const { return folder.wide(L"destino\\" + name); }

  int run(const std::vector<ZipEntry>& entries, const ZipLayout& layout = {}) {
    folder.write(L"copia.zip", zipOf(entries, layout));
    return engine.run(folder / "copia.zip", folder / "destino");
  }

  // Extracts an entry encrypted with `password` between two others, and expects it whole and nothing said of it.
  void expectRestored(const ZipEntry& plain, const std::string& password, const std::vector<std::string>& others) {
    const ZipEntry first = ambiguous(storedEntry("a.txt", "uno"), ansiForm, {});
    const ZipEntry last = ambiguous(deflatedEntry("z.txt", "tres"), utf8Form, {ansiForm});
    EXPECT_EQ(run({first, ambiguous(plain, password, others), last}), UZ_OK) << engine.messages();
    const std::string did = plain.method == 0 ? " extracting: " : "  inflating: ";
    EXPECT_EQ(engine.messages(), " extracting: a.txt\r\n" + did + plain.name + "\r\n  inflating: z.txt\r\n");
    EXPECT_EQ(contentOf(restored(L"a.txt")), "uno");
    EXPECT_EQ(contentOf(restored(L"m.txt")), longText);
    EXPECT_EQ(contentOf(restored(L"z.txt")), "tres");
    EXPECT_EQ(folder.list(L"destino").size(), 3u);
    EXPECT_EQ(engine.passwordQuestions, std::vector<std::string>{"a.txt"});
    EXPECT_EQ(engine.served, Served({{"a.txt", 3}, {"m.txt", longText.size()}, {"z.txt", 4}}));
  }

  Folder folder;
  UnzipEngine engine;
};

TEST_F(UnzipPasswordTest, TheFormsOfThesePasswordsDiffer) {
  EXPECT_NE(ansiForm, oemForm);
  EXPECT_NE(ansiForm, utf8Form);
  EXPECT_NE(oemForm, utf8Form);
}

TEST_F(UnzipPasswordTest, StoredEntryOfAFormIsRestoredThoughAnEarlierFormSeemsRight) {
  expectRestored(storedEntry("m.txt", longText), oemForm, {ansiForm});
  expectRestored(storedEntry("m.txt", longText), utf8Form, {ansiForm});
  expectRestored(storedEntry("m.txt", longText), utf8Form, {oemForm});
  expectRestored(storedEntry("m.txt", longText), utf8Form, {ansiForm, oemForm});
}

TEST_F(UnzipPasswordTest, DeflatedEntryOfAFormIsRestoredThoughAnEarlierFormSeemsRight) {
  expectRestored(deflatedEntry("m.txt", longText), oemForm, {ansiForm});
  expectRestored(deflatedEntry("m.txt", longText), utf8Form, {ansiForm});
  expectRestored(deflatedEntry("m.txt", longText), utf8Form, {oemForm});
  expectRestored(deflatedEntry("m.txt", longText), utf8Form, {ansiForm, oemForm});
}

TEST_F(UnzipPasswordTest, EntryOfAFormIsRestoredThoughLaterFormsSeemRight) {
  expectRestored(storedEntry("m.txt", longText), ansiForm, {oemForm, utf8Form});
  expectRestored(deflatedEntry("m.txt", longText), oemForm, {ansiForm, utf8Form});
}

TEST_F(UnzipPasswordTest, EntryWithItsChecksumBehindItIsRestoredThoughAnEarlierFormSeemsRight) {
  ZipEntry entry = deflatedEntry("m.txt", longText);
  entry.descriptorFollows = true;
  expectRestored(entry, utf8Form, {ansiForm, oemForm});
}

TEST_F(UnzipPasswordTest, EntryBehindOtherBytesIsRestoredThoughAnEarlierFormSeemsRight) {
  const ZipEntry entry = ambiguous(deflatedEntry("m.txt", longText), utf8Form, {ansiForm});
  EXPECT_LE(run({entry}, {std::string(9000, '#'), "", false, {}, {}}), UZ_WARN) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"m.txt")), longText);
}

TEST_F(UnzipPasswordTest, EmptyEntryOfAnotherFormIsRestored) {
  EXPECT_EQ(run({ambiguous(storedEntry("m.txt", ""), utf8Form, {ansiForm, oemForm})}), UZ_OK) << engine.messages();
  EXPECT_EQ(contentOf(restored(L"m.txt")), "");
}

TEST_F(UnzipPasswordTest, EntryIsTestedWithTheRightFormThoughAnEarlierFormSeemsRight) {
  engine.options.ntflag = 1;
  EXPECT_EQ(run({ambiguous(storedEntry("a.txt", longText), utf8Form, {ansiForm, oemForm}),
                 ambiguous(deflatedEntry("b.txt", longText), oemForm, {ansiForm})}),
            UZ_OK);
  EXPECT_TRUE(engine.said("    testing: a.txt                    OK\r\n")) << engine.messages();
  EXPECT_TRUE(engine.said("    testing: b.txt                    OK\r\n")) << engine.messages();
  EXPECT_FALSE(engine.said("bad CRC")) << engine.messages();
  EXPECT_EQ(engine.passwordQuestions.size(), 1u);
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(UnzipPasswordTest, EntryIsPrintedWithTheRightFormThoughAnEarlierFormSeemsRight) {
  engine.options.ncflag = 1;
  engine.options.fQuiet = 2;
  EXPECT_EQ(run({ambiguous(storedEntry("a.txt", longText), utf8Form, {ansiForm, oemForm})}), UZ_OK);
  EXPECT_EQ(engine.messages(), longText);
}

TEST_F(UnzipPasswordTest, EntryIsListedWithoutAnyQuestion) {
  folder.write(L"copia.zip", zipOf({ambiguous(storedEntry("a.txt", longText), utf8Form, {ansiForm})}));
  EXPECT_EQ(engine.list(folder / "copia.zip"), UZ_OK);
  ASSERT_EQ(engine.listed.size(), 1u);
  EXPECT_EQ(engine.listed[0].encrypted, 'E');
  EXPECT_EQ(engine.listed[0].packedSize, longText.size());
  EXPECT_TRUE(engine.passwordQuestions.empty());
}

TEST_F(UnzipPasswordTest, PasswordThatIsWrongThoughSeveralFormsSeemRightIsABadChecksumOnce) {
  folder.write(L"destino\\a.txt", "antes");
  for (const ZipEntry& plain : {storedEntry("a.txt", longText), deflatedEntry("a.txt", longText)}) {
    const ZipEntry entry = ambiguous(plain, "clave", {ansiForm, utf8Form});
    EXPECT_EQ(run({entry, storedEntry("b.txt", "b")}), UZ_ERR);
    if (plain.method == 0) {
      const std::string said = engine.messages();
      const std::size_t at = said.find("bad CRC");
      EXPECT_NE(at, std::string::npos) << said;
      EXPECT_EQ(said.find("bad CRC", at + 1), std::string::npos) << said;
      EXPECT_TRUE(engine.said("(may instead be incorrect password)")) << said;
    }
    EXPECT_TRUE(engine.said("error:  a.txt:  not restored: it is ")) << engine.messages();
    EXPECT_EQ(contentOf(restored(L"a.txt")), "antes");
    EXPECT_EQ(contentOf(restored(L"b.txt")), "b");
    EXPECT_EQ(folder.list(L"destino").size(), 2u);
    EXPECT_EQ(engine.served, Served({{"b.txt", 1}}));
    EXPECT_EQ(engine.passwordQuestions.size(), 1u);
  }
}

TEST_F(UnzipPasswordTest, PasswordThatIsWrongInEveryFormIsReportedAsSuch) {
  ZipEntry entry = ambiguous(storedEntry("a.txt", longText), "clave", {});
  const std::string header = entry.packed.substr(0, headerSize);
  for (const std::string& form : {ansiForm, oemForm, utf8Form}) ASSERT_FALSE(passes(header, form, checkOf(entry)));
  EXPECT_EQ(run({entry, storedEntry("b.txt", "b")}), UZ_BADPWD);
  EXPECT_TRUE(engine.said("incorrect password")) << engine.messages();
  EXPECT_FALSE(engine.said("bad CRC")) << engine.messages();
  EXPECT_EQ(folder.list(L"destino"), std::vector<std::wstring>{L"b.txt"});
}

TEST_F(UnzipPasswordTest, EntryThatIsLongerThanItSaysIsNoRightOneInAnyForm) {
  ZipEntry plain = deflatedEntry("a.txt", longText);
  plain.size = 10;
  EXPECT_EQ(run({ambiguous(plain, utf8Form, {ansiForm, oemForm})}), UZ_ERR);
  EXPECT_TRUE(engine.said("error:  a.txt:  not restored: it is longer than it says\r\n")) << engine.messages();
  EXPECT_TRUE(folder.list(L"destino").empty());
}

TEST_F(UnzipPasswordTest, DamagedEntryIsReportedOnce) {
  ZipEntry entry = ambiguous(storedEntry("a.txt", longText), utf8Form, {ansiForm, oemForm});
  entry.packed[50000] = static_cast<char>(entry.packed[50000] ^ 1);
  EXPECT_EQ(run({entry, storedEntry("b.txt", "b")}), UZ_ERR);
  EXPECT_TRUE(engine.said("error:  a.txt:  not restored: it is damaged\r\n")) << engine.messages();
  EXPECT_EQ(folder.list(L"destino"), std::vector<std::wstring>{L"b.txt"});
}

}  // namespace
}  // namespace qev::test
