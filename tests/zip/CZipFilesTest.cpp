// The zip writer: its list and properties, what it hands to an engine (one that records), what the engine's callbacks
// do, where the engine is loaded from, and whole archives made by the real engine and read back.
#include "zip/CZipFiles.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/FileSystem.h"
#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#include "support/RecordingEngine.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"
#include "zip/LastMessage.h"

namespace qev::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::int32_t kAlreadyListed = static_cast<std::int32_t>(0x800407D1u);
constexpr std::int32_t kNotListed = static_cast<std::int32_t>(0x800407D2u);

std::string utf8(const std::wstring& text) {
  std::string bytes(text.size() * 3, '\0');
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                       static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

// --- The list and the properties ---

class CZipFilesTest : public testing::Test {
 protected:
  LocaleWindows locale;
  FakeEventLoop eventLoop;
  RecordingEngine engine;
  CZipFiles zip{locale, eventLoop, engine.loader()};

  // Makes the archive while the engine hands one message to the print callback.
  void makeWithMessage(std::string buffer, unsigned long length) {
    engine.whileArchiving = [&](const std::string&) {
      answer = engine.callbacks.print(buffer.data(), length);
      return 0;
    };
    zip.MakeZipFile();
  }

  int answer = -1;
};

TEST_F(CZipFilesTest, ANewObjectHasNoFilesASingleBackslashAsRootAndAllThreeBooleansFalse) {
  EXPECT_EQ(zip.ZipFileCount(), 0);
  EXPECT_EQ(zip.RootDirectory(), L"\\");
  EXPECT_FALSE(zip.RecurseFolders());
  EXPECT_FALSE(zip.Encrypted());
  EXPECT_FALSE(zip.UpdatingZip());
  EXPECT_EQ(zip.ZipFileName(), L"");
}

TEST_F(CZipFilesTest, PropertiesReadBackAsWritten) {
  zip.setZipFileName(L"C:\\Copias\\Año.qev");
  zip.setRootDirectory(L"c:\\prog\\ñandú");
  zip.setRecurseFolders(true);
  zip.setEncrypted(true);
  zip.setUpdatingZip(true);
  EXPECT_EQ(zip.ZipFileName(), L"C:\\Copias\\Año.qev");
  EXPECT_EQ(zip.RootDirectory(), L"c:\\prog\\ñandú");
  EXPECT_TRUE(zip.RecurseFolders());
  EXPECT_TRUE(zip.Encrypted());
  EXPECT_TRUE(zip.UpdatingZip());

  zip.setRecurseFolders(false);
  zip.setEncrypted(false);
  zip.setUpdatingZip(false);
  EXPECT_FALSE(zip.RecurseFolders());
  EXPECT_FALSE(zip.Encrypted());
  EXPECT_FALSE(zip.UpdatingZip());
}

TEST_F(CZipFilesTest, EachBooleanIsItsOwn) {
  zip.setEncrypted(true);
  EXPECT_FALSE(zip.RecurseFolders());
  EXPECT_FALSE(zip.UpdatingZip());
  zip.setEncrypted(false);
  zip.setUpdatingZip(true);
  EXPECT_FALSE(zip.RecurseFolders());
  EXPECT_FALSE(zip.Encrypted());
}

TEST_F(CZipFilesTest, TheCountIsOfTheNamesAddedThePlaceholderNotCounted) {
  zip.AddFile(L"C:\\a.txt");
  zip.AddFile(L"C:\\b.txt");
  EXPECT_EQ(zip.ZipFileCount(), 2);
  zip.RemoveFile(L"C:\\a.txt");
  EXPECT_EQ(zip.ZipFileCount(), 1);
}

TEST_F(CZipFilesTest, ANameThatIsListedIsRefusedAndTheListStays) {
  zip.AddFile(L"C:\\a.txt");
  const AutomationError error = errorOf([&] { zip.AddFile(L"C:\\a.txt"); });
  EXPECT_EQ(error.number(), kAlreadyListed);
  EXPECT_EQ(error.source(), L"RvZip::AddFile");
  EXPECT_EQ(error.description(), L"File is already in Zip List");
  EXPECT_EQ(zip.ZipFileCount(), 1);
}

TEST_F(CZipFilesTest, ANameThatDiffersFromAListedOneOnlyInLetterCaseIsADuplicate) {
  zip.AddFile(L"C:\\Datos\\Año.txt");
  EXPECT_EQ(errorOf([&] { zip.AddFile(L"c:\\DATOS\\AÑO.TXT"); }).number(), kAlreadyListed);
  EXPECT_EQ(zip.ZipFileCount(), 1);
}

TEST_F(CZipFilesTest, NamesThatDifferInMoreThanLetterCaseAreNoDuplicates) {
  for (const wchar_t* name : {L"ano", L"año", L"año ", L"a-b", L"ab", L"a'b", L"a_b", L"a b"}) zip.AddFile(name);
  EXPECT_EQ(zip.ZipFileCount(), 8);
}

TEST_F(CZipFilesTest, ThePlaceholderCannotBeAddedAgain) {
  EXPECT_EQ(errorOf([&] { zip.AddFile(L"Querty"); }).number(), kAlreadyListed);
}

TEST_F(CZipFilesTest, RemovingANameThatIsNotListedIsRefusedAndTheListStays) {
  zip.AddFile(L"C:\\a.txt");
  const AutomationError error = errorOf([&] { zip.RemoveFile(L"C:\\b.txt"); });
  EXPECT_EQ(error.number(), kNotListed);
  EXPECT_EQ(error.source(), L"RvZip::RemoveFile");
  EXPECT_EQ(error.description(), L"File is not in Zip List");
  EXPECT_EQ(zip.ZipFileCount(), 1);
}

TEST_F(CZipFilesTest, ANameIsRemovedWhateverItsLetterCaseAndCanBeAddedAgain) {
  zip.AddFile(L"C:\\a.txt");
  zip.RemoveFile(L"c:\\A.TXT");
  EXPECT_EQ(zip.ZipFileCount(), 0);
  zip.AddFile(L"C:\\a.txt");
  EXPECT_EQ(zip.ZipFileCount(), 1);
}

TEST_F(CZipFilesTest, ARefusedNameLeavesNoErrorForTheNextOne) {
  zip.AddFile(L"a");
  EXPECT_THROW(zip.AddFile(L"a"), AutomationError);
  EXPECT_NO_THROW(zip.AddFile(L"b"));
}

// --- What the engine is handed ---

TEST_F(CZipFilesTest, TheEngineIsGivenItsCallbacksThenItsOptionsThenTheListInThisOrder) {
  zip.MakeZipFile();
  EXPECT_THAT(engine.calls, ElementsAre("load", "ZpInit", "ZpSetOptions", "ZpArchive"));
  EXPECT_TRUE(engine.callbacks.print);
  EXPECT_TRUE(engine.callbacks.password);
  EXPECT_TRUE(engine.callbacks.comment);
}

TEST_F(CZipFilesTest, EveryFlagIsZeroWithoutRecursionAndUpdate) {
  zip.MakeZipFile();
  std::array<BOOL, 27> flags{};
  std::memcpy(flags.data(), &engine.options, sizeof flags);
  EXPECT_THAT(flags, Each(0));
}

TEST_F(CZipFilesTest, RecurseFoldersPassesTwoAndNotOneAsTheRecurseOptionAndTouchesNoOtherFlag) {
  zip.setRecurseFolders(true);
  zip.MakeZipFile();
  std::array<BOOL, 27> flags{};
  std::memcpy(flags.data(), &engine.options, sizeof flags);
  std::array<BOOL, 27> expected{};
  expected[13] = 2;
  EXPECT_EQ(flags, expected);
}

TEST_F(CZipFilesTest, UpdatingZipPassesOneAsTheUpdateOptionAndTouchesNoOtherFlag) {
  zip.setUpdatingZip(true);
  zip.MakeZipFile();
  std::array<BOOL, 27> flags{};
  std::memcpy(flags.data(), &engine.options, sizeof flags);
  std::array<BOOL, 27> expected{};
  expected[18] = 1;
  EXPECT_EQ(flags, expected);
}

TEST_F(CZipFilesTest, EncryptedIsNeverHandedOver) {
  zip.setEncrypted(true);
  zip.MakeZipFile();
  EXPECT_EQ(engine.options.fEncrypt, 0);
  EXPECT_EQ(engine.options.fEncryption, 0);
}

TEST_F(CZipFilesTest, TheLevelIsZeroAndTheDateAnEmptyText) {
  zip.MakeZipFile();
  EXPECT_EQ(engine.options.fLevel, 0);
  EXPECT_EQ(engine.date, "");
  EXPECT_EQ(engine.root, "\\");
}

TEST_F(CZipFilesTest, ARootWrittenInLowerCaseReachesTheEngineInCapitalsAndReadsBackAsWritten) {
  zip.setRootDirectory(L"c:\\prog\\año");
  zip.MakeZipFile();
  EXPECT_EQ(engine.root, "C:\\PROG\\A\xD1O");
  EXPECT_EQ(zip.RootDirectory(), L"c:\\prog\\año");
}

TEST_F(CZipFilesTest, ThePlaceholderIsHandedOverFirstAndTheNamesFollowInTheOrderOfAdding) {
  zip.setZipFileName(L"C:\\Copias\\Año.qev");
  zip.AddFile(L"C:\\z.txt");
  zip.AddFile(L"C:\\ñ*.*");
  zip.AddFile(L"C:\\a.txt");
  zip.MakeZipFile();
  EXPECT_THAT(engine.names(), ElementsAre("querty", "C:\\z.txt", "C:\\\xF1*.*", "C:\\a.txt"));
  EXPECT_EQ(engine.count, 4);
  EXPECT_EQ(engine.archive, "C:\\Copias\\A\xF1o.qev");
}

TEST_F(CZipFilesTest, AListWithoutNamesHandsOverThePlaceholderAlone) {
  zip.MakeZipFile();
  EXPECT_THAT(engine.names(), ElementsAre("querty"));
}

TEST_F(CZipFilesTest, SlotsBeyondTheCountAreEmptyTexts) {
  zip.AddFile(L"C:\\a.txt");
  zip.MakeZipFile();
  ASSERT_EQ(engine.slots.size(), 100u);
  for (std::size_t i = 2; i < engine.slots.size(); ++i) EXPECT_EQ(engine.slots[i], "") << "slot " << i;
}

TEST_F(CZipFilesTest, PathsInTheCodePageAreHandedOverInItEvenWhereTheEngineTakesOthers) {
  engine.takesWideNames = true;
  zip.AddFile(L"C:\\Año 1 €\\*.*");
  zip.MakeZipFile();
  EXPECT_THAT(engine.calls, ElementsAre("load", "ZpInit", "ZpSetOptions", "ZpArchive"));
}

// "ā" is a letter of its own, and no "a" with something over it.
TEST_F(CZipFilesTest, PathsOutsideTheCodePageAreHandedOverWhole) {
  engine.takesWideNames = true;
  zip.setZipFileName(L"C:\\Copias\\a.zip");
  zip.setRootDirectory(L"C:\\ra\u00edz");
  for (const wchar_t* const name : {L"C:\\\u65e5\\*.*", L"C:\\\u0101\\a.db"}) {
    engine.calls.clear();
    zip.AddFile(name);
    zip.MakeZipFile();
    EXPECT_THAT(engine.calls, ElementsAre("load", "ZpInit", "ZpSetOptions", "QevArchive"));
    EXPECT_THAT(engine.wide, ElementsAre(L"C:\\Copias\\a.zip", L"C:\\RA\u00cdZ", L"querty", name));
    zip.RemoveFile(name);
  }
  zip.setZipFileName(L"C:\\\u65e5.zip");
  zip.MakeZipFile();
  EXPECT_THAT(engine.wide, ElementsAre(L"C:\\\u65e5.zip", L"C:\\RA\u00cdZ", L"querty"));
  zip.setZipFileName(L"C:\\a.zip");
  zip.setRootDirectory(L"C:\\\u65e5");
  zip.MakeZipFile();
  EXPECT_THAT(engine.wide, ElementsAre(L"C:\\a.zip", L"C:\\\u65e5", L"querty"));
}

TEST_F(CZipFilesTest, WhereAnEngineTakesNoOtherPathsTheyLeadNowhere) {
  zip.setZipFileName(L"C:\\\u0101.zip");
  zip.setRootDirectory(L"C:\\\u65e5");
  zip.AddFile(L"C:\\\u65e5\\*.*");
  zip.MakeZipFile();
  EXPECT_EQ(engine.archive, "C:\\|.zip");
  EXPECT_EQ(engine.root, "C:\\|");
  EXPECT_THAT(engine.names(), ElementsAre("querty", "C:\\|\\*.*"));
}

TEST_F(CZipFilesTest, NinetyNineNamesAreHandedOver) {
  for (int i = 1; i <= 99; ++i) zip.AddFile(L"C:\\" + std::to_wstring(i));
  EXPECT_EQ(zip.MakeZipFile(), 0);
  EXPECT_EQ(engine.count, 100);
  EXPECT_EQ(engine.names().front(), "querty");
  EXPECT_EQ(engine.names().back(), "C:\\99");
}

TEST_F(CZipFilesTest, AHundredNamesFailBeforeTheEngineIsTouched) {
  for (int i = 1; i <= 100; ++i) zip.AddFile(L"C:\\" + std::to_wstring(i));
  const AutomationError error = errorOf([&] { zip.MakeZipFile(); });
  EXPECT_EQ(error.number(), 9);
  EXPECT_EQ(error.source(), L"RvZipFiles::MakeZipFile");
  EXPECT_EQ(error.description(), describeError(9));
  EXPECT_THAT(engine.calls, IsEmpty());
  EXPECT_EQ(zip.ZipFileCount(), 100);
}

TEST_F(CZipFilesTest, ANameTooManyCanBeTakenOffAgain) {
  for (int i = 1; i <= 100; ++i) zip.AddFile(L"C:\\" + std::to_wstring(i));
  EXPECT_THROW(zip.MakeZipFile(), AutomationError);
  zip.RemoveFile(L"C:\\100");
  EXPECT_EQ(zip.MakeZipFile(), 0);
}

TEST_F(CZipFilesTest, TheEnginesCodeIsTheResultAndIsNotRaised) {
  engine.whileArchiving = [](const std::string&) { return 15; };
  EXPECT_EQ(zip.MakeZipFile(), 15);
}

TEST_F(CZipFilesTest, ARemovedNameIsNotHandedOver) {
  zip.AddFile(L"C:\\a.txt");
  zip.AddFile(L"C:\\b.txt");
  zip.RemoveFile(L"C:\\a.txt");
  zip.MakeZipFile();
  EXPECT_THAT(engine.names(), ElementsAre("querty", "C:\\b.txt"));
}

TEST_F(CZipFilesTest, TheListAndTheOptionsServeTheNextRunToo) {
  zip.AddFile(L"C:\\a.txt");
  zip.setRecurseFolders(true);
  zip.MakeZipFile();
  zip.MakeZipFile();
  EXPECT_THAT(engine.names(), ElementsAre("querty", "C:\\a.txt"));
  EXPECT_EQ(engine.options.fRecurse, 2);
}

// --- The callbacks ---

TEST_F(CZipFilesTest, AMessageIsCopiedUpToAndIncludingThePositionThatTheLengthNames) {
  makeWithMessage("abcdef", 2);
  EXPECT_EQ(zip.GetLastMessage(), L"abc");
  EXPECT_EQ(answer, 0);
}

TEST_F(CZipFilesTest, AMessageEndsAtItsFirstZeroByte) {
  makeWithMessage(std::string("ab\0cd", 5), 4);
  EXPECT_EQ(zip.GetLastMessage(), L"ab");
}

TEST_F(CZipFilesTest, AMessageMayStartWithAZeroByte) {
  makeWithMessage(std::string("\0ab", 3), 2);
  EXPECT_EQ(zip.GetLastMessage(), L"");
  EXPECT_EQ(eventLoop.yields, 1);
}

TEST_F(CZipFilesTest, AMessageIsReadInTheAnsiCodePage) {
  makeWithMessage("a\xF1o\r\n", 5);
  EXPECT_EQ(zip.GetLastMessage(), L"año\r\n");
}

TEST_F(CZipFilesTest, AMessageThatFillsThe4097CharactersOfTheBufferIsTaken) {
  makeWithMessage(std::string(4098, 'x'), 4096);
  EXPECT_EQ(zip.GetLastMessage(), std::wstring(4097, L'x'));
}

TEST_F(CZipFilesTest, AMessageBeyondThe4097CharactersOfTheBufferIsSubscriptOutOfRange) {
  const AutomationError error = errorOf([&] { makeWithMessage(std::string(4099, 'x'), 4097); });
  EXPECT_EQ(error.number(), 9);
  EXPECT_EQ(error.source(), L"RvZipFiles::MakeZipFile");
}

TEST_F(CZipFilesTest, ALengthBeyondTheBufferDoesNoHarmWhenAZeroByteComesFirst) {
  makeWithMessage(std::string("corto\0", 6), 100000);
  EXPECT_EQ(zip.GetLastMessage(), L"corto");
}

TEST_F(CZipFilesTest, EachMessageIsAppendedAndYieldsToTheEventLoopOnce) {
  engine.whileArchiving = [&](const std::string&) {
    engine.say("uno\r\n");
    EXPECT_EQ(eventLoop.yields, 1);
    engine.say("dos\r\n");
    EXPECT_EQ(eventLoop.yields, 2);
    return 0;
  };
  zip.MakeZipFile();
  EXPECT_EQ(zip.GetLastMessage(), L"uno\r\ndos\r\n");
  EXPECT_EQ(eventLoop.yields, 2);
}

TEST_F(CZipFilesTest, TheMessagesOfARunTakeThePlaceOfThoseOfTheRunBefore) {
  makeWithMessage("uno", 3);
  makeWithMessage("dos", 3);
  EXPECT_EQ(zip.GetLastMessage(), L"dos");
}

TEST_F(CZipFilesTest, TheMessagesAreOneTextForAllArchiveObjects) {
  makeWithMessage("de otro objeto", 14);
  const CZipFiles other(locale, eventLoop, engine.loader());
  EXPECT_EQ(other.GetLastMessage(), L"de otro objeto");
  lastMessage() = L"del lector";
  EXPECT_EQ(zip.GetLastMessage(), L"del lector");
}

TEST_F(CZipFilesTest, ARunRefusedForItsListKeepsTheMessagesOfTheRunBefore) {
  makeWithMessage("antes", 5);
  for (int i = 1; i <= 100; ++i) zip.AddFile(std::to_wstring(i));
  EXPECT_THROW(zip.MakeZipFile(), AutomationError);
  EXPECT_EQ(zip.GetLastMessage(), L"antes");
}

TEST_F(CZipFilesTest, ThePasswordIsRefusedWithOneAndItsBufferIsNotTouched) {
  char buffer[] = "intacto";
  engine.whileArchiving = [&](const std::string&) {
    EXPECT_EQ(engine.callbacks.password(buffer, sizeof buffer, "Enter password: ", "copia.zip"), 1);
    return 0;
  };
  zip.MakeZipFile();
  EXPECT_STREQ(buffer, "intacto");
}

TEST_F(CZipFilesTest, TheCommentIsEmptiedByAZeroInItsFirstByteAlone) {
  std::string buffer(4097, 'c');
  engine.whileArchiving = [&](const std::string&) {
    engine.callbacks.comment(buffer.data());
    return 0;
  };
  zip.MakeZipFile();
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(buffer.substr(1), std::string(4096, 'c'));
}

TEST_F(CZipFilesTest, AHandlerHearsWhatTheEngineTellsBeforeTheEventLoopDoes) {
  std::vector<EngineEvent> heard;
  zip.onEvent = [&](const EngineEvent& event) {
    EXPECT_EQ(eventLoop.yields, 1) << "one message has gone before";
    EXPECT_EQ(zip.GetLastMessage(), L"  adding: a.txt (stored 0%)\r\n");
    heard.push_back(event);
  };
  engine.whileArchiving = [&](const std::string&) {
    engine.say("  adding: a.txt");
    engine.say(" (stored 0%)\r\n");
    return 0;
  };
  zip.MakeZipFile();
  EXPECT_THAT(heard, ElementsAre(EntryBegun{L"a.txt"}, EntryEnded{L"a.txt", std::nullopt}));
}

TEST_F(CZipFilesTest, WhatAHandlerThrowsComesOutOfMakeZipFileOnceTheEngineHasReturned) {
  bool engineReturned = false;
  zip.onEvent = [](const EngineEvent&) { throw AutomationError(13, L"Otro", L"No coinciden los tipos"); };
  engine.whileArchiving = [&](const std::string&) {
    engine.say("uno\r\n");
    engine.say("dos\r\n");
    engineReturned = true;
    return 0;
  };
  const AutomationError error = errorOf([&] { zip.MakeZipFile(); });
  EXPECT_TRUE(engineReturned);
  EXPECT_EQ(error.number(), 13);
  EXPECT_EQ(error.source(), L"RvZipFiles::MakeZipFile");
  EXPECT_EQ(error.description(), L"No coinciden los tipos");
  EXPECT_EQ(zip.GetLastMessage(), L"uno\r\ndos\r\n");
}

TEST_F(CZipFilesTest, TheFirstOfSeveralFailuresIsTheOneThatComesOut) {
  int number = 0;
  zip.onEvent = [&](const EngineEvent&) { throw AutomationError(++number, L"", L""); };
  engine.whileArchiving = [&](const std::string&) {
    engine.say("uno\r\n");
    engine.say("dos\r\n");
    return 0;
  };
  EXPECT_EQ(errorOf([&] { zip.MakeZipFile(); }).number(), 1);
}

TEST_F(CZipFilesTest, AfterAFailureInAMessageTheNextRunIsWhole) {
  zip.onEvent = [](const EngineEvent&) { throw AutomationError(kTypeMismatch); };
  EXPECT_THROW(makeWithMessage("uno\n", 4), AutomationError);
  zip.onEvent = nullptr;
  EXPECT_NO_THROW(makeWithMessage("dos", 3));
  EXPECT_EQ(zip.GetLastMessage(), L"dos");
}

TEST_F(CZipFilesTest, WhatTheEventLoopThrowsComesOutToo) {
  eventLoop.onYield = [] { throw AutomationError(kOutOfMemory); };
  EXPECT_EQ(errorOf([&] { makeWithMessage("uno", 3); }).number(), 7);
}

TEST_F(CZipFilesTest, ARunFromWithinAMessageIsRefusedAndTheRunUnderWayGoesOn) {
  CZipFiles other(locale, eventLoop, engine.loader());
  std::optional<AutomationError> refused;
  eventLoop.onYield = [&] { refused = errorOf([&] { other.MakeZipFile(); }); };
  engine.whileArchiving = [&](const std::string&) {
    engine.say("uno");
    eventLoop.onYield = nullptr;
    engine.say("dos");
    return 18;
  };
  EXPECT_EQ(zip.MakeZipFile(), 18);
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->number(), 70);
  EXPECT_EQ(refused->source(), L"RvZipFiles::MakeZipFile");
  EXPECT_EQ(zip.GetLastMessage(), L"unodos");
  EXPECT_THAT(engine.calls, ElementsAre("load", "ZpInit", "ZpSetOptions", "ZpArchive"));
}

TEST_F(CZipFilesTest, AnEngineThatSpeaksAfterItsRunIsNotHeard) {
  makeWithMessage("uno", 3);
  engine.say("tarde");
  EXPECT_EQ(zip.GetLastMessage(), L"uno");
}

TEST_F(CZipFilesTest, AnEngineThatCannotBeLoadedIsAnErrorOfMakeZipFileAndTheNextRunMayFindIt) {
  bool present = false;
  CZipFiles late(locale, eventLoop, [&] {
    if (!present) throw AutomationError(kFileNotFound, L"VANTO5.DLL");
    return engine.loader()();
  });
  const AutomationError error = errorOf([&] { late.MakeZipFile(); });
  EXPECT_EQ(error.number(), 53);
  EXPECT_EQ(error.source(), L"RvZipFiles::MakeZipFile");
  present = true;
  EXPECT_EQ(late.MakeZipFile(), 0);
}

// --- Where the engine is loaded from ---

constexpr char kAnswerVariable[] = "QEV_ENGINE_PROBE";

// Not a test of its own: the tests below run a copy of this program in a folder of theirs to see what loading comes to
// there. It writes "code <n>" or "error <number>|<source>|<description>" to the file that the variable names.
TEST(ZipEngineProbe, DISABLED_AnswersWhatLoadingTheEngineComesTo) {
  const char* answerFile = std::getenv(kAnswerVariable);
  ASSERT_TRUE(answerFile) << "run by other tests only";
  LocaleWindows locale;
  FakeEventLoop eventLoop;
  CZipFiles zip(locale, eventLoop);
  zip.setZipFileName(L"prueba.zip");
  std::string answer;
  try {
    answer = "code " + std::to_string(zip.MakeZipFile());
  } catch (const AutomationError& error) {
    answer = "error " + std::to_string(error.number()) + "|" + utf8(error.source()) + "|" + utf8(error.description());
  }
  FILE* file = std::fopen(answerFile, "wb");
  ASSERT_TRUE(file);
  std::fwrite(answer.data(), 1, answer.size(), file);
  std::fclose(file);
}

class LoadZipEngineTest : public testing::Test {
 protected:
  LoadZipEngineTest() {
    folder.makeFolder(L"programa");
    folder.makeFolder(L"actual");
    if (!CopyFileW(modulePath().c_str(), (folder / L"programa\\prueba.exe").c_str(), TRUE)) {
      throw std::runtime_error("the test program cannot be copied");
    }
  }

  static std::string engineBytes() {
    const std::wstring path = parentFolderName(modulePath()) + L"\\VANTO5.DLL";
    const auto file = UniqueFile(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                             FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) throw std::runtime_error("VANTO5.DLL is not beside the test program");
    std::string bytes(GetFileSize(file.get(), nullptr), '\0');
    DWORD count = 0;
    ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
    return bytes;
  }

  // What MakeZipFile comes to in a process whose program lies in "programa" and whose current folder is "actual".
  std::string probe() {
    SetEnvironmentVariableA(kAnswerVariable, utf8(folder / L"respuesta.txt").c_str());
    std::wstring command = L"\"" + (folder / L"programa\\prueba.exe") +
                           L"\" --gtest_also_run_disabled_tests --gtest_filter=ZipEngineProbe.*";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    PROCESS_INFORMATION process{};
    const bool started = CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                        (folder / L"actual").c_str(), &startup, &process);
    SetEnvironmentVariableA(kAnswerVariable, nullptr);
    if (!started) return "not started";
    const UniqueKernelHandle running(process.hProcess);
    const UniqueKernelHandle thread(process.hThread);
    if (WaitForSingleObject(process.hProcess, 60000) != WAIT_OBJECT_0) {
      TerminateProcess(process.hProcess, 1);
      return "did not end";
    }
    return folder.bytes(L"respuesta.txt");
  }

  TemporaryFolder folder;
};

const std::string kMissing = "error 53|RvZipFiles::MakeZipFile|" + utf8(describeError(53)) + ": VANTO5.DLL";
const std::string kBroken = "error 48|RvZipFiles::MakeZipFile|" + utf8(describeError(48)) + ": VANTO5.DLL";
constexpr char kNothingToDo[] = "code 12";  // the placeholder matches nothing

TEST_F(LoadZipEngineTest, TheEngineBesideThisLibraryIsLoaded) {
  folder.write(L"programa\\VANTO5.DLL", engineBytes());
  EXPECT_EQ(probe(), kNothingToDo);
}

TEST_F(LoadZipEngineTest, WithoutOneBesideThisLibraryTheSystemsSearchFindsTheEngine) {
  folder.write(L"actual\\VANTO5.DLL", engineBytes());
  EXPECT_EQ(probe(), kNothingToDo);
}

TEST_F(LoadZipEngineTest, TheEngineBesideThisLibraryGoesBeforeTheOneThatTheSystemFinds) {
  folder.write(L"programa\\VANTO5.DLL", engineBytes());
  folder.write(L"actual\\VANTO5.DLL", "no es una biblioteca");
  EXPECT_EQ(probe(), kNothingToDo);
}

TEST_F(LoadZipEngineTest, AMissingEngineIs53AndTheDescriptionNamesTheFile) {
  EXPECT_EQ(probe(), kMissing);
}

TEST_F(LoadZipEngineTest, AFileThatIsNoLibraryIs48AndTheDescriptionNamesTheFile) {
  folder.write(L"programa\\VANTO5.DLL", "no es una biblioteca");
  EXPECT_EQ(probe(), kBroken);
}

TEST_F(LoadZipEngineTest, AnEmptyFileIs48) {
  folder.write(L"programa\\VANTO5.DLL", "");
  EXPECT_EQ(probe(), kBroken);
}

TEST_F(LoadZipEngineTest, ABrokenEngineBesideThisLibraryIsNotPassedOverForAnother) {
  folder.write(L"programa\\VANTO5.DLL", "no es una biblioteca");
  folder.write(L"actual\\VANTO5.DLL", engineBytes());
  EXPECT_EQ(probe(), kBroken);
}

TEST_F(LoadZipEngineTest, AnEngineForAnotherProcessorIs48) {
  std::string bytes = engineBytes();
  std::uint32_t header = 0;
  std::memcpy(&header, bytes.data() + 0x3C, sizeof header);
  const std::uint16_t other = 0x01C4;  // IMAGE_FILE_MACHINE_ARMNT
  std::memcpy(bytes.data() + header + 4, &other, sizeof other);
  folder.write(L"programa\\VANTO5.DLL", bytes);
  EXPECT_EQ(probe(), kBroken);
}

TEST_F(LoadZipEngineTest, AnEngineWithoutOneOfTheCallsIs453AndTheDescriptionNamesCallAndFile) {
  std::string bytes = engineBytes();
  const auto name = bytes.find(std::string("ZpSetOptions\0", 13));
  ASSERT_NE(name, std::string::npos);
  bytes[name + 11] = 't';  // the names stay in their order, by which exports are searched
  folder.write(L"programa\\VANTO5.DLL", bytes);
  EXPECT_EQ(probe(), "error 453|RvZipFiles::MakeZipFile|" + utf8(describeError(453)) + ": ZpSetOptions (VANTO5.DLL)");
}

// --- Archives by the real engine, read back ---

constexpr std::uint16_t kEncryptedFlag = 1;
constexpr std::uint16_t kUtf8Flag = 1 << 11;

struct ArchiveEntry {
  std::uint16_t flags = 0;
  std::uint16_t method = 0;
  std::uint32_t checksum = 0;
  std::uint32_t size = 0;
};

// The central directory of an archive without 64-bit extensions: its entries by their names, and its comment.
class CentralDirectory {
 public:
  explicit CentralDirectory(const std::string& bytes) : bytes_(bytes) {
    const auto end = bytes.rfind("PK\5\6");
    if (end == std::string::npos) throw std::runtime_error("no archive");
    std::size_t at = number(end + 16, 4);
    for (std::size_t left = number(end + 10, 2); left > 0; --left) at = readEntry(at);
    if (at != end) throw std::runtime_error("the directory does not end where the end record begins");
    comment = bytes.substr(end + 22);
  }

  std::map<std::string, ArchiveEntry> entries;
  std::string comment;

 private:
  std::size_t readEntry(std::size_t at) {
    if (bytes_.compare(at, 4, "PK\1\2") != 0) throw std::runtime_error("no directory entry");
    ArchiveEntry entry;
    entry.flags = static_cast<std::uint16_t>(number(at + 8, 2));
    entry.method = static_cast<std::uint16_t>(number(at + 10, 2));
    entry.checksum = number(at + 16, 4);
    entry.size = number(at + 24, 4);
    const std::size_t name = number(at + 28, 2);
    entries[bytes_.substr(at + 46, name)] = entry;
    return at + 46 + name + number(at + 30, 2) + number(at + 32, 2);
  }

  std::uint32_t number(std::size_t at, std::size_t size) const {
    std::uint32_t value = 0;
    for (std::size_t i = size; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes_.at(at + i));
    return value;
  }

  const std::string& bytes_;
};

std::uint32_t checksumOf(std::string_view content) {
  std::uint32_t value = 0xFFFFFFFFu;
  for (const char c : content) {
    value ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320u : 0u);
  }
  return ~value;
}

class ZipRoundTripTest : public testing::Test {
 protected:
  ZipRoundTripTest() {
    folder.makeFolder(L"Destino");
    folder.write(L"Datos\\a.txt", "hola");
    folder.write(L"Datos\\Clientes\\Año 2026\\ñandú.txt", "pájaro");
    folder.write(L"Datos\\vacío.txt", "");
    zip.setZipFileName(target);
    zip.setRecurseFolders(true);
  }

  std::wstring everything() const { return folder / L"Datos\\*.*"; }

  std::map<std::string, ArchiveEntry> entries() const {
    archive_ = folder.bytes(L"Destino\\copia.zip");
    return CentralDirectory(archive_).entries;
  }

  // The name under which a file of the folder, named by its full path, is stored.
  std::string stored(const std::wstring& relative) const {
    std::string name = utf8((folder / relative).substr(3));
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
  }

  // Whether the archive holds the file under `name` with this content.
  static bool holds(const std::map<std::string, ArchiveEntry>& all, const std::string& name, std::string_view content) {
    const auto entry = all.find(name);
    return entry != all.end() && entry->second.size == content.size() && entry->second.checksum == checksumOf(content);
  }

  LocaleWindows locale;
  FakeEventLoop eventLoop;
  TemporaryFolder folder;
  std::wstring target = folder / L"Destino\\copia.zip";
  CZipFiles zip{locale, eventLoop};

 private:
  mutable std::string archive_;
};

TEST_F(ZipRoundTripTest, RecursionStoresEveryFileOfEverySubfolder) {
  zip.AddFile(everything());
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  EXPECT_TRUE(holds(all, stored(L"Datos\\a.txt"), "hola"));
  EXPECT_TRUE(holds(all, stored(L"Datos\\Clientes\\Año 2026\\ñandú.txt"), "pájaro"));
  EXPECT_TRUE(holds(all, stored(L"Datos\\vacío.txt"), ""));
}

TEST_F(ZipRoundTripTest, WithoutRecursionSubfoldersAreLeftOut) {
  zip.setRecurseFolders(false);
  zip.AddFile(everything());
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  EXPECT_TRUE(all.contains(stored(L"Datos\\a.txt")));
  EXPECT_FALSE(all.contains(stored(L"Datos\\Clientes\\Año 2026\\ñandú.txt")));
}

TEST_F(ZipRoundTripTest, NamesWithAccentsAreMarkedAsUtf8) {
  zip.AddFile(everything());
  zip.MakeZipFile();
  const auto all = entries();
  EXPECT_TRUE(all.at(stored(L"Datos\\vacío.txt")).flags & kUtf8Flag);
  EXPECT_FALSE(all.at(stored(L"Datos\\a.txt")).flags & kUtf8Flag);
}

TEST_F(ZipRoundTripTest, RelativeNamesAreFoundAndStoredRelativeToTheRootWhateverItsLetterCase) {
  zip.setRootDirectory(locale.upper(folder.path()));
  zip.AddFile(L"Datos\\*.*");
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  EXPECT_TRUE(holds(all, "Datos/a.txt", "hola"));
  EXPECT_TRUE(holds(all, utf8(L"Datos/Clientes/Año 2026/ñandú.txt"), "pájaro"));
}

TEST_F(ZipRoundTripTest, TheCurrentFolderOfTheProcessStaysWhatItWas) {
  std::array<wchar_t, 1024> before{}, after{};
  GetCurrentDirectoryW(static_cast<DWORD>(before.size()), before.data());
  zip.setRootDirectory(folder.path());
  zip.AddFile(L"Datos\\*.*");
  zip.MakeZipFile();
  GetCurrentDirectoryW(static_cast<DWORD>(after.size()), after.data());
  EXPECT_STREQ(before.data(), after.data());
}

TEST_F(ZipRoundTripTest, EncryptedReadsBackTrueAndTheArchiveIsNotEncrypted) {
  zip.setEncrypted(true);
  zip.AddFile(everything());
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK);
  EXPECT_TRUE(zip.Encrypted());
  for (const auto& [name, entry] : entries()) EXPECT_FALSE(entry.flags & kEncryptedFlag) << name;
}

TEST_F(ZipRoundTripTest, TheArchiveHasNoComment) {
  zip.AddFile(everything());
  zip.MakeZipFile();
  const std::string bytes = folder.bytes(L"Destino\\copia.zip");
  EXPECT_EQ(CentralDirectory(bytes).comment, "");
}

TEST_F(ZipRoundTripTest, ThePlaceholderIsReportedAsANameThatMatchesNothing) {
  zip.AddFile(everything());
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK);
  EXPECT_THAT(utf8(zip.GetLastMessage()), HasSubstr("name not matched: querty"));
}

TEST_F(ZipRoundTripTest, AUpdateReplacesWhatIsNewerAddsWhatIsNewAndKeepsTheRest) {
  zip.AddFile(everything());
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK);
  folder.write(L"Datos\\nuevo.txt", "nuevo");
  folder.write(L"Datos\\a.txt", "cambiado");
  SYSTEMTIME later{};
  GetSystemTime(&later);
  later.wYear += 1;
  later.wDay = 1;
  FILETIME time{};
  SystemTimeToFileTime(&later, &time);
  {
    const auto file = UniqueFile(CreateFileW((folder / L"Datos\\a.txt").c_str(), GENERIC_WRITE, 0, nullptr,
                                             OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(SetFileTime(file.get(), nullptr, nullptr, &time));
  }
  DeleteFileW((folder / L"Datos\\vacío.txt").c_str());
  zip.setUpdatingZip(true);
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  EXPECT_TRUE(holds(all, stored(L"Datos\\a.txt"), "cambiado"));
  EXPECT_TRUE(holds(all, stored(L"Datos\\nuevo.txt"), "nuevo"));
  EXPECT_TRUE(all.contains(stored(L"Datos\\vacío.txt")));
}

TEST_F(ZipRoundTripTest, AFileOpenExclusivelyElsewhereIsSkippedWithAMessageAndEverythingElseIsStored) {
  folder.write(L"Datos\\ocupado.txt", "ocupado");
  const auto lock = UniqueFile(CreateFileW((folder / L"Datos\\ocupado.txt").c_str(), GENERIC_READ, 0, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(lock);
  zip.AddFile(everything());
  EXPECT_EQ(zip.MakeZipFile(), ZP_OPEN);
  EXPECT_THAT(utf8(zip.GetLastMessage()), HasSubstr("ocupado.txt"));
  const auto all = entries();
  EXPECT_FALSE(all.contains(stored(L"Datos\\ocupado.txt")));
  EXPECT_TRUE(holds(all, stored(L"Datos\\a.txt"), "hola"));
  EXPECT_TRUE(holds(all, stored(L"Datos\\Clientes\\Año 2026\\ñandú.txt"), "pájaro"));
}

TEST_F(ZipRoundTripTest, AReadOnlyFileIsStoredAndStays) {
  SetFileAttributesW((folder / L"Datos\\a.txt").c_str(), FILE_ATTRIBUTE_READONLY);
  zip.AddFile(everything());
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK);
  EXPECT_TRUE(holds(entries(), stored(L"Datos\\a.txt"), "hola"));
  EXPECT_EQ(folder.bytes(L"Datos\\a.txt"), "hola");
}

TEST_F(ZipRoundTripTest, ADataFolderThatIsGoneIsToldByCodeAndMessageAndTheOtherFilesAreStored) {
  folder.write(L"Util.mde", "utilidades");
  zip.AddFile(folder / L"Borrada\\*.*");
  zip.AddFile(folder / L"Util.mde");
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK);
  EXPECT_THAT(utf8(zip.GetLastMessage()), HasSubstr("Borrada"));
  EXPECT_TRUE(holds(entries(), stored(L"Util.mde"), "utilidades"));
}

TEST_F(ZipRoundTripTest, WithNothingToArchiveTheCodeIs12TheMessageStaysAndThereIsNoArchive) {
  zip.AddFile(folder / L"Borrada\\*.*");
  EXPECT_EQ(zip.MakeZipFile(), ZP_NONE);
  EXPECT_THAT(utf8(zip.GetLastMessage()), HasSubstr("Borrada"));
  EXPECT_THAT(folder.list(L"Destino"), IsEmpty());
}

TEST_F(ZipRoundTripTest, AnEmptyDataFolderDoesNoHarm) {
  folder.makeFolder(L"Vacía");
  folder.write(L"Util.mde", "utilidades");
  zip.AddFile(folder / L"Vacía\\*.*");
  zip.AddFile(folder / L"Util.mde");
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK);
  EXPECT_TRUE(holds(entries(), stored(L"Util.mde"), "utilidades"));
}

TEST_F(ZipRoundTripTest, ADataFolderWithoutItsLastBackslashNamesNothingAndThatIsItsMessage) {
  zip.AddFile(folder / L"Datos*.*");
  folder.write(L"Util.mde", "utilidades");
  zip.AddFile(folder / L"Util.mde");
  const int code = zip.MakeZipFile();
  EXPECT_EQ(code, ZP_OK) << utf8(zip.GetLastMessage());
  EXPECT_TRUE(holds(entries(), stored(L"Util.mde"), "utilidades"));
}

// A data folder one level below the root of its drive makes such a name of the utility database: "C:\\Util.mde".
TEST_F(ZipRoundTripTest, ADoubledBackslashInANameStillFindsTheFile) {
  folder.write(L"Util.mde", "utilidades");
  zip.AddFile(folder / L"\\Util.mde");
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all.begin()->second.checksum, checksumOf("utilidades"));
}

TEST_F(ZipRoundTripTest, AMissingTargetFolderIsACodeAndAMessageAndTheEngineServesTheNextRun) {
  zip.AddFile(everything());
  zip.setZipFileName(folder / L"Ninguna\\copia.zip");
  EXPECT_EQ(zip.MakeZipFile(), ZP_CREAT);
  EXPECT_THAT(zip.GetLastMessage(), Not(IsEmpty()));
  zip.setZipFileName(target);
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK);
}

TEST_F(ZipRoundTripTest, AFullDiskIsACodeAndAMessageAndLeavesNothingBehind) {
  const auto disk = smallDisk();
  if (!disk) GTEST_SKIP() << kNoSmallDisk;
  std::string noise(4 << 20, '\0');
  std::uint32_t state = 1;
  for (char& c : noise) c = static_cast<char>((state = state * 1664525u + 1013904223u) >> 24);
  folder.write(L"Datos\\grande.db", noise);
  const std::wstring archive = *disk + L"\\copia.zip";
  zip.AddFile(everything());
  zip.setZipFileName(archive);
  const int code = zip.MakeZipFile();
  EXPECT_TRUE(code == ZP_WRITE || code == ZP_TEMP) << code;
  EXPECT_THAT(zip.GetLastMessage(), Not(IsEmpty()));
  EXPECT_EQ(GetFileAttributesW(archive.c_str()), INVALID_FILE_ATTRIBUTES);
  zip.setZipFileName(target);
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK);
}

TEST_F(ZipRoundTripTest, NamesOutsideTheAnsiCodePageThatAPatternFindsAreStored) {
  folder.write(L"Datos\\日本.txt", "japonés");
  folder.write(L"Datos\\Ωmega\\б.txt", "cirílico");
  zip.AddFile(everything());
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  EXPECT_TRUE(holds(all, stored(L"Datos\\日本.txt"), "japonés"));
  EXPECT_TRUE(holds(all, stored(L"Datos\\Ωmega\\б.txt"), "cirílico"));
}

TEST_F(ZipRoundTripTest, ANameOutsideTheAnsiCodePageThatIsNamedItselfIsStoredAndIsNoPattern) {
  folder.write(L"Otros\\日本.txt", "japonés");
  folder.write(L"Otros\\xx.txt", "ajeno");
  zip.AddFile(folder / L"Otros\\日本.txt");
  zip.AddFile(everything());
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  EXPECT_TRUE(holds(all, stored(L"Datos\\a.txt"), "hola"));
  EXPECT_TRUE(holds(all, stored(L"Otros\\日本.txt"), "japonés"));
  EXPECT_EQ(all.count(stored(L"Otros\\xx.txt")), 0u);
}

TEST_F(ZipRoundTripTest, PathsOfMoreThan260CharactersAreStored) {
  std::wstring deep = L"Datos";
  while (deep.size() < 300) deep += L"\\" + std::wstring(40, L'h');
  folder.write(deep + L"\\hondo.txt", "hondo");
  zip.AddFile(everything());
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  EXPECT_TRUE(holds(entries(), stored(deep + L"\\hondo.txt"), "hondo"));
}

TEST_F(ZipRoundTripTest, NinetyNineNamesAreArchived) {
  for (int i = 1; i <= 99; ++i) {
    const std::wstring name = L"Muchos\\" + std::to_wstring(i) + L".txt";
    folder.write(name, std::to_string(i));
    zip.AddFile(folder / name);
  }
  ASSERT_EQ(zip.MakeZipFile(), ZP_OK) << utf8(zip.GetLastMessage());
  const auto all = entries();
  for (int i = 1; i <= 99; ++i) {
    EXPECT_TRUE(holds(all, stored(L"Muchos\\" + std::to_wstring(i) + L".txt"), std::to_string(i))) << i;
  }
}

TEST_F(ZipRoundTripTest, AHundredNamesMakeMakeZipFileFailBeforeAnyArchiveIsWritten) {
  for (int i = 1; i <= 100; ++i) zip.AddFile(folder / L"Datos\\" + std::to_wstring(i));
  EXPECT_THROW(zip.MakeZipFile(), AutomationError);
  EXPECT_THAT(folder.list(L"Destino"), IsEmpty());
}

TEST_F(ZipRoundTripTest, EveryMessageYieldsToTheEventLoop) {
  zip.AddFile(everything());
  zip.MakeZipFile();
  const std::wstring said = zip.GetLastMessage();
  EXPECT_GE(eventLoop.yields, 4);  // the placeholder and the three files at least
  EXPECT_EQ(eventLoop.yields, std::ranges::count(said, L'\n'));
}

TEST_F(ZipRoundTripTest, AFailureInAMessageHandlerLeavesTheEngineReadyForTheNextRun) {
  zip.AddFile(everything());
  zip.onEvent = [](const EngineEvent&) { throw AutomationError(kTypeMismatch); };
  EXPECT_THROW(zip.MakeZipFile(), AutomationError);
  zip.onEvent = nullptr;
  EXPECT_EQ(zip.MakeZipFile(), ZP_OK);
  EXPECT_TRUE(holds(entries(), stored(L"Datos\\a.txt"), "hola"));
}

TEST_F(ZipRoundTripTest, TheEngineIsUnloadedWhenTheRunIsOver) {
  zip.AddFile(everything());
  bool loadedDuringTheRun = false;
  zip.onEvent = [&](const EngineEvent&) { loadedDuringTheRun = GetModuleHandleW(L"VANTO5.DLL") != nullptr; };
  zip.MakeZipFile();
  EXPECT_TRUE(loadedDuringTheRun);
  EXPECT_EQ(GetModuleHandleW(L"VANTO5.DLL"), nullptr);
}

}  // namespace
}  // namespace qev::test
