#include "set/SetFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "support/ErrorOf.h"
#include "support/GoldenSet.h"
#include "support/MemoryPeak.h"

namespace qev::test {
namespace {

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
constexpr std::size_t kMostMemory = 24u << 20;  // bytes; the buffer, and a line of one MiB in its several forms

class SetFileTest : public testing::Test, protected SetBox {};

TEST_F(SetFileTest, DatedNameIsBackupAndTheDayOfTheRun) {
  EXPECT_EQ(datedSetName(moment(2026, 11, 16, 23, 59)), L"Backup16-11-26.qev");
  EXPECT_EQ(datedSetName(moment(2031, 2, 3)), L"Backup03-02-31.qev");
}

TEST_F(SetFileTest, CheckingAFileReadsItAlone) {
  put(golden("3", "2") + kArchive);
  EXPECT_EQ(check().header, goldenHeader(3, 2));
  EXPECT_EQ(bytes(), golden("3", "2") + kArchive);
  EXPECT_EQ(fake.files.openReaders(), 0u);
}

TEST_F(SetFileTest, AMissingFileRaises53AndAnUnreadableOneItsError) {
  fake.files.putFolder(L"C:\\Copias");
  EXPECT_EQ(numberOf([&] { (void)check(); }), 53);
  put(golden());
  fake.files.makeUnreadable(kSetPath, kDiskNotReady);
  EXPECT_EQ(numberOf([&] { (void)check(); }), 71);
}

// --- writing the header ---

TEST_F(SetFileTest, HeaderGoesBeforeAnArchiveThatStaysByteForByte) {
  put(kArchive);
  write();
  EXPECT_EQ(bytes(), golden() + kArchive);
}

TEST_F(SetFileTest, WritingAHeaderOntoAFileThatDoesNotExistCreatesTheHeaderAndCrLfOnly) {
  fake.files.putFolder(L"C:\\Copias");
  write();
  EXPECT_EQ(bytes(), golden());
}

TEST_F(SetFileTest, WritingAHeaderIntoAFolderThatDoesNotExistRaises76) {
  EXPECT_EQ(numberOf([&] { write(); }), 76);
  EXPECT_FALSE(fake.files.fileExists(kSetPath));
}

TEST_F(SetFileTest, AHeaderOntoAHeaderIsASecondOne) {
  put(kArchive);
  write();
  write();
  EXPECT_EQ(bytes(), golden() + golden() + kArchive);
}

TEST_F(SetFileTest, AFileThatCannotBeReadIsNotReplacedByABareHeader) {
  put(kArchive);
  fake.files.makeUnreadable(kSetPath);
  EXPECT_EQ(numberOf([&] { write(); }), 70);
  EXPECT_EQ(numberOf([&] { strip(); }), 70);
  EXPECT_EQ(bytes(), kArchive);
}

TEST_F(SetFileTest, AFullDiskLeavesTheArchiveAsItWas) {
  put(kArchive);
  fake.files.capacity = 2 * kArchive.size() + golden().size() - 1;
  EXPECT_EQ(numberOf([&] { write(); }), 61);
  EXPECT_EQ(bytes(), kArchive);
}

// --- taking the header off ---

TEST_F(SetFileTest, StrippingAFileWithoutCrLfLeavesAnEmptyFile) {
  for (const std::string& content : {"sin fin de linea"s, "solo\nLF"s, "solo\rCR"s, "al final\r"s, "\n\r"s, ""s}) {
    put(content);
    strip();
    EXPECT_EQ(bytes(), "") << content;
  }
}

TEST_F(SetFileTest, OnlyTheFirstCrLfEndsTheLine) {
  put("a\r\r\nb\r\nc\r\n");
  strip();
  EXPECT_EQ(bytes(), "b\r\nc\r\n");
  put("\r\nresto");
  strip();
  EXPECT_EQ(bytes(), "resto");
}

TEST_F(SetFileTest, TheLineEndIsFoundWhereverTheReadsCutIt) {
  constexpr std::size_t mib = 1 << 20;
  for (const std::size_t length : {mib - 2, mib - 1, mib, mib + 1, 2 * mib - 1}) {
    put(std::string(length, 'x') + "\r\n" + kArchive);
    strip();
    EXPECT_EQ(bytes(), kArchive) << length;
    put(std::string(length, 'x') + "\r\r\n" + kArchive);
    strip();
    EXPECT_EQ(bytes(), kArchive) << length;
    put(std::string(length, 'x') + "\r");
    strip();
    EXPECT_EQ(bytes(), "") << length;
  }
}

TEST_F(SetFileTest, StrippingAFileThatDoesNotExistCreatesAnEmptyOne) {
  fake.files.putFolder(L"C:\\Copias");
  strip();
  EXPECT_EQ(bytes(), "");
}

TEST_F(SetFileTest, WritingAndStrippingAreInverse) {
  for (const std::string& content : {""s, "x"s, kArchive, std::string(3'000'000, '\r')}) {
    put(content);
    write();
    EXPECT_EQ(extract(), goldenHeader());
    EXPECT_TRUE(bytes(kWorkingCopy) == content);
    strip();
    EXPECT_TRUE(bytes() == content);
  }
}

struct BrokenHeader {
  const char* name;
  std::string line;
  std::int32_t error;
};

class BrokenHeaders : public SetFileTest, public testing::WithParamInterface<BrokenHeader> {};

TEST_P(BrokenHeaders, RaisesAndLeavesTheFile) {
  const std::string content = GetParam().line + "\r\n" + kArchive;
  put(content);
  EXPECT_EQ(numberOf([&] { (void)split(4, kSetPath); }), GetParam().error);
  EXPECT_TRUE(bytes() == content);
  EXPECT_EQ(numberOf([&] { (void)SetHeader::parse(GetParam().line, fake.locale); }), GetParam().error);
  EXPECT_EQ(numberOf([&] { (void)extract(); }), GetParam().error);
  EXPECT_EQ(fake.files.paths().size(), 1u);
  EXPECT_EQ(fake.files.openReaders(), 0u);
}

const std::string kDigits(300'000, '9');
const std::string kToDate = "Programa : Gestion;Fecha Creaci\xF3n : 16/11/2026;";
const std::string kToTotal = kToDate + "Total de Vol\xFAmenes :1;";

INSTANTIATE_TEST_SUITE_P(
    SetFile, BrokenHeaders,
    testing::Values(
        BrokenHeader{"NothingAtAll", "", 9}, BrokenHeader{"OneField", "Programa : Gestion", 9},
        BrokenHeader{"OneFieldClosed", "Programa : Gestion;", 13}, BrokenHeader{"NoTotal", kToDate, 13},
        BrokenHeader{"NoTotalField", kToDate.substr(0, kToDate.size() - 1), 9}, BrokenHeader{"NoNumber", kToTotal, 13},
        BrokenHeader{"NoNumberField", kToTotal.substr(0, kToTotal.size() - 1), 9},
        BrokenHeader{"NoDirectoryField", kToTotal + "N\xFAmero de Vol\xFAmen :1", 9},
        BrokenHeader{"OnlySemicolons", ";;;;;;;;", 13},
        BrokenHeader{"DateThatIsNone", "Programa : Gestion;Fecha Creaci\xF3n : 31/02/2026;a;b;c;", 13},
        BrokenHeader{"DateOf300000Digits", "Programa : Gestion;Fecha Creaci\xF3n : " + kDigits + ";a;b;c;", 13},
        BrokenHeader{"TotalOf300000Digits", kToDate + "Total de Vol\xFAmenes :" + kDigits + ";a;b;", 6},
        BrokenHeader{"NumberOf300000Digits", kToTotal + "N\xFAmero de Vol\xFAmen :" + kDigits + ";b;", 6},
        BrokenHeader{"TotalBeyond16Bits", kToDate + "Total de Vol\xFAmenes :32768;N\xFAmero de Vol\xFAmen :1;b;", 6},
        BrokenHeader{"TotalThatIsNoNumber", kToDate + "Total de Vol\xFAmenes :uno;N\xFAmero de Vol\xFAmen :1;b;", 13},
        BrokenHeader{"NumberThatIsNone", kToTotal + "N\xFAmero de Vol\xFAmen :1a;b;", 13},
        BrokenHeader{"BytesOfAnArchive", kArchive.substr(0, 4) + std::string(200, '\0'), 9}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(SetFileTest, FieldsBehindTheFirstMiBOfALineAreMissing) {
  const std::string content = "Programa : " + std::string(2'000'000, 'x') + golden() + kArchive;
  put(content);
  EXPECT_EQ(numberOf([&] { (void)extract(); }), 9);
  EXPECT_TRUE(bytes() == content);
}

// --- taking the payload out ---

TEST_F(SetFileTest, ThePayloadIsWrittenBesideTheSetWhichKeepsItsBytes) {
  put(golden("3", "2") + kArchive);
  std::vector<std::uint64_t> told;
  const SetHeader header =
      extractPayload(fake.platform(), kSetPath, kWorkingCopy, [&](std::uint64_t copied) { told.push_back(copied); });
  EXPECT_EQ(bytes(kWorkingCopy), kArchive);
  EXPECT_EQ(bytes(), golden("3", "2") + kArchive);
  EXPECT_EQ(header, goldenHeader(3, 2));
  ASSERT_FALSE(told.empty());
  EXPECT_EQ(told.back(), kArchive.size());
}

TEST_F(SetFileTest, ThePayloadOfASetWithoutAnyIsEmpty) {
  put(golden());
  EXPECT_EQ(extract(), goldenHeader());
  EXPECT_EQ(bytes(kWorkingCopy), "");
}

TEST_F(SetFileTest, APayloadOfWhatIsNoSetIsNotWritten) {
  fake.files.putFolder(L"C:\\Copias");
  EXPECT_EQ(numberOf([&] { (void)extract(); }), 53);
  put(kArchive);
  EXPECT_EQ(numberOf([&] { (void)extract(); }), 9);
  put("");
  EXPECT_EQ(numberOf([&] { (void)extract(); }), 9);
  EXPECT_FALSE(fake.files.fileExists(kWorkingCopy));
}

TEST_F(SetFileTest, APayloadThatADiskHasNoRoomForLeavesNothingBehind) {
  put(golden() + std::string(5000, 'x'));
  fake.files.putFolder(L"C:\\Trabajo\\temp");
  fake.files.capacity = 1000;
  EXPECT_EQ(numberOf([&] { (void)extract(); }), 61);
  EXPECT_FALSE(fake.files.fileExists(kWorkingCopy));
  EXPECT_EQ(bytes(), golden() + std::string(5000, 'x'));
}

// --- faults: whatever call fails, the name holds the old bytes or the new ones ---

struct Operation {
  const char* name;
  std::function<void(SetBox&)> prepare;
  std::function<void(SetBox&)> run;
};

class EveryFault : public testing::TestWithParam<Operation> {
 protected:
  using Files = std::map<std::wstring, std::string>;

  static Files allOf(const SetBox& box) {
    Files files;
    for (const std::wstring& path : box.fake.files.paths()) files[path] = box.bytes(path);
    return files;
  }

  // Runs the operation with one call failing; false once it ends without meeting the failure.
  static bool runFailingAt(SetBox& box, std::size_t call) {
    box.fake.files.failAt(call);
    try {
      GetParam().run(box);
      return false;
    } catch (const AutomationError& error) {
      EXPECT_EQ(error.number(), 57) << "call " << call;
      return true;
    }
  }

  // A file that existed holds what it held, or something that keeps its archive whole.
  static bool isWhole(const std::wstring& path, const std::string& before, const std::string& now, const Files& after) {
    if (now == before || (after.contains(path) && now == after.at(path))) return true;
    return path == kWorkingCopy && now.ends_with("\r\n" + kArchive) && now.starts_with("Programa : Gestion;");
  }
};

TEST_P(EveryFault, LeavesTheOldBytesOrTheNewOnesUnderEveryName) {
  SetBox done;
  GetParam().prepare(done);
  ASSERT_FALSE(runFailingAt(done, 0));
  const Files after = allOf(done);
  std::size_t call = 1;
  for (;; ++call) {
    SetBox box;
    GetParam().prepare(box);
    const Files before = allOf(box);
    const bool failed = runFailingAt(box, call);
    EXPECT_EQ(box.fake.files.openReaders(), 0u);
    EXPECT_EQ(box.fake.files.openReplacements(), 0u);
    const Files now = allOf(box);
    for (const auto& [path, bytes] : before) {
      ASSERT_TRUE(now.contains(path)) << "call " << call;
      EXPECT_TRUE(isWhole(path, bytes, now.at(path), after)) << "call " << call << ": " << now.at(path);
    }
    for (const auto& [path, bytes] : now) EXPECT_TRUE(after.contains(path)) << "call " << call << ": " << bytes;
    if (!failed) {
      EXPECT_EQ(now, after);
      break;
    }
    ASSERT_LT(call, 1000u);
  }
  EXPECT_GT(call, 2u);
}

const auto kSet = [](SetBox& box) { box.put(golden("2", "1") + kArchive); };
const auto kSetInTheWorkFolder = [](SetBox& box) { box.put(golden("2", "1") + kArchive, kWorkingCopy); };
const auto kPieces = [](SetBox& box) {
  box.put(golden("2", "1") + "uno\r\n", box.piece(1));
  box.put(golden("2", "2") + "dos\r\n", box.piece(2));
  box.put("de antes", kWorkingCopy);
};

INSTANTIATE_TEST_SUITE_P(
    SetFile, EveryFault,
    testing::Values(Operation{"WriteHeader", [](SetBox& box) { box.put(kArchive); }, &SetBox::write},
                    Operation{"WriteHeaderOntoNothing", [](SetBox& box) { box.fake.files.putFolder(L"C:\\Copias"); },
                              &SetBox::write},
                    Operation{"StripHeader", kSet, &SetBox::strip},
                    Operation{"StripAFileWithoutLineEnd", [](SetBox& box) { box.put(std::string(3'000'000, 'x')); },
                              &SetBox::strip},
                    Operation{"ExtractPayload", kSet, &SetBox::extract},
                    Operation{"CheckSet", kSet, [](SetBox& box) { EXPECT_TRUE(box.check().header); }},
                    Operation{"SplitTheWorkingCopy", kSetInTheWorkFolder, [](SetBox& box) { (void)box.split(9); }},
                    Operation{"SplitASetOfAnotherName", kSet, [](SetBox& box) { (void)box.split(9, kSetPath); }},
                    Operation{"JoinVolumes", kPieces, [](SetBox& box) { box.join(2); }}),
    [](const auto& tested) { return tested.param.name; });

// --- size: a set of many GB costs what a small one costs ---

class LargeSets : public SetFileTest {
 protected:
  // Runs `action` and looks at what it held.
  void bounded(const std::function<void()>& action) {
    const MemoryPeak peak;
    action();
    EXPECT_LT(peak.bytes(), kMostMemory);
    EXPECT_LE(fake.files.largestTransfer(), std::size_t{1} << 20);
  }

  std::string beginning(const std::wstring& path, std::size_t length) {
    std::string bytes(length, '\0');
    bytes.resize(fake.files.content(path).read(0, std::as_writable_bytes(std::span(bytes))));
    return bytes;
  }
};

TEST_F(LargeSets, AHeaderGoesOnAndOffAnArchiveOf5GiBThroughABoundedBuffer) {
  fake.files.putRun(kSetPath, 'z', 5 * kGiB);
  bounded([&] { write(); });
  EXPECT_EQ(fake.files.fileSize(kSetPath), 5 * kGiB + golden().size());
  EXPECT_EQ(beginning(kSetPath, golden().size() + 1), golden() + "z");
  bounded([&] { EXPECT_EQ(extract(), goldenHeader()); });
  EXPECT_EQ(fake.files.fileSize(kWorkingCopy), 5 * kGiB);
  bounded([&] { strip(); });
  EXPECT_EQ(fake.files.fileSize(kSetPath), 5 * kGiB);
  EXPECT_EQ(beginning(kSetPath, 1), "z");
}

TEST_F(LargeSets, ASetOf5GiBIsSplitAndJoinedThroughABoundedBuffer) {
  FileContent content{golden()};
  content.appendRun('z', 5 * kGiB + 1);
  fake.files.putContent(kWorkingCopy, std::move(content));
  bounded([&] { (void)split(2 * kGiB); });
  EXPECT_EQ(fake.files.fileSize(kWorkingCopy + L"1"), 2 * kGiB);
  EXPECT_EQ(fake.files.fileSize(kWorkingCopy + L"2"), 2 * kGiB);
  EXPECT_EQ(fake.files.fileSize(kWorkingCopy + L"3"), kGiB + 1);
  EXPECT_EQ(fake.files.fileSize(kWorkingCopy), 5 * kGiB + 1 + golden().size());
  EXPECT_EQ(beginning(kWorkingCopy, golden().size()), golden());
}

TEST_F(LargeSets, AGiBWithoutLineEndIsStrippedToAnEmptyFile) {
  fake.files.putRun(kSetPath, 'x', kGiB);
  bounded([&] { strip(); });
  EXPECT_EQ(fake.files.fileSize(kSetPath), 0u);
}

TEST_F(LargeSets, AGiBWithoutLineEndCannotBeParsedAndStays) {
  fake.files.putRun(kSetPath, 'x', kGiB);
  bounded([&] { EXPECT_EQ(numberOf([&] { (void)extract(); }), 9); });
  bounded([&] { EXPECT_EQ(numberOf([&] { (void)split(kVolumeBytes, kSetPath); }), 9); });
  EXPECT_EQ(fake.files.fileSize(kSetPath), kGiB);
}

TEST_F(LargeSets, AHeaderWhoseLastFieldIsAGiBLongIsPassedOver) {
  FileContent content{headerLine()};
  content.appendRun('x', kGiB);
  content.append("\r\n" + kArchive);
  fake.files.putContent(kSetPath, std::move(content));
  bounded([&] { EXPECT_EQ(extract(), goldenHeader()); });
  EXPECT_EQ(bytes(kWorkingCopy), kArchive);
}

}  // namespace
}  // namespace qev::test
