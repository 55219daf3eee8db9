// The zip reader: its properties, what it hands to an engine (one that records), what the engine's callbacks do, and
// archives of several makers listed and extracted by the real engine.
#include "zip/CUnzipFiles.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/FileSystem.h"
#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#include "support/RealInput.h"
#include "support/RecordingEngine.h"
#include "support/RecordingUnzipEngine.h"
#include "support/Screenshot.h"
#include "support/TemporaryFolder.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Names = std::vector<std::wstring>;

struct Event {
  std::wstring FileName;
  std::int32_t FileSize = 0;
  std::wstring mDate;
  std::wstring mTime;
  bool operator==(const Event&) const = default;
};

std::string utf8(const std::wstring& text) {
  const auto bytes = fs::path(text).u8string();
  return {bytes.begin(), bytes.end()};
}

// A zip reader with services that record, and the system's locale.
class UnzipTest : public testing::Test {
 protected:
  void collectEvents(CUnzipFiles& unzip) {
    unzip.ListFile = [this](const std::wstring& name, std::int32_t size, const std::wstring& date,
                            const std::wstring& time) {
      events.push_back({name, size, date, time});
    };
  }

  LocaleWindows locale;
  FakePlatform fakes;
  Platform platform = with(fakes.platform(), locale);
  std::vector<Event> events;
};

class CUnzipFilesTest : public UnzipTest {
 protected:
  CUnzipFilesTest() { collectEvents(unzip); }

  // Runs `work` as the engine's part of an extraction, of a listing.
  std::int32_t extractWhile(const std::function<void()>& work) {
    engine.whileUnzipping = [=] {
      work();
      return 0;
    };
    return unzip.Unzip();
  }
  void listWhile(const std::function<void()>& work) {
    engine.whileUnzipping = [=] {
      work();
      return 0;
    };
    unzip.ListZipFile();
  }

  RecordingUnzipEngine engine;
  CUnzipFiles unzip{platform, engine.loader()};
};

// --- The properties ---

TEST_F(CUnzipFilesTest, ANewObjectHonoursFoldersAndLetterCaseAndHasNothingElseSet) {
  EXPECT_EQ(unzip.MessageLevel(), 0);
  EXPECT_FALSE(unzip.WriteToStdOut());
  EXPECT_TRUE(unzip.HonorDirectories());
  EXPECT_FALSE(unzip.Verbose());
  EXPECT_TRUE(unzip.CaseSensitive());
  EXPECT_EQ(unzip.Privilege(), 0);
  EXPECT_EQ(unzip.ZipFileName(), L"");
  EXPECT_EQ(unzip.ExtractDir(), L"");
}

TEST_F(CUnzipFilesTest, PropertiesReadBackAsWritten) {
  unzip.setMessageLevel(-2);
  unzip.setPrivilege(70000);
  unzip.setZipFileName(L"C:\\Copias\\Año.qev");
  unzip.setExtractDir(L"d:\\Ñandú\\");
  unzip.setWriteToStdOut(true);
  unzip.setHonorDirectories(false);
  unzip.setVerbose(true);
  unzip.setCaseSensitive(false);
  EXPECT_EQ(unzip.MessageLevel(), -2);
  EXPECT_EQ(unzip.Privilege(), 70000);
  EXPECT_EQ(unzip.ZipFileName(), L"C:\\Copias\\Año.qev");
  EXPECT_EQ(unzip.ExtractDir(), L"d:\\Ñandú\\");
  EXPECT_TRUE(unzip.WriteToStdOut());
  EXPECT_FALSE(unzip.HonorDirectories());
  EXPECT_TRUE(unzip.Verbose());
  EXPECT_FALSE(unzip.CaseSensitive());

  unzip.setWriteToStdOut(false);
  unzip.setHonorDirectories(true);
  unzip.setVerbose(false);
  unzip.setCaseSensitive(true);
  EXPECT_FALSE(unzip.WriteToStdOut());
  EXPECT_TRUE(unzip.HonorDirectories());
  EXPECT_FALSE(unzip.Verbose());
  EXPECT_TRUE(unzip.CaseSensitive());
}

// --- What the engine is handed ---

std::vector<int> flagsOf(const DCL& options) {
  const int* const first = &options.ExtractOnlyNewer;
  return {first, first + 15};
}

TEST_F(CUnzipFilesTest, TheCallsComeInTheirOrderAndTheAnswerOfTheSecondIsNotUsed) {
  EXPECT_EQ(unzip.Unzip(), 0);
  EXPECT_THAT(engine.calls, ElementsAre("load", "UzpVersion2", "Wiz_SingleEntryUnzip"));
  unzip.ListZipFile();
  EXPECT_THAT(engine.calls, SizeIs(6));
}

TEST_F(CUnzipFilesTest, TheVersionRecordIs64BytesLongWithTextsOfBlanksEndedByAZero) {
  unzip.Unzip();
  EXPECT_EQ(engine.version.structlen, 64u);
  EXPECT_EQ(std::string(engine.version.betalevel, 10), std::string(9, ' ') + '\0');
  EXPECT_EQ(std::string(engine.version.date, 20), std::string(19, ' ') + '\0');
  EXPECT_EQ(std::string(engine.version.zlib_version, 10), std::string(9, ' ') + '\0');
}

TEST_F(CUnzipFilesTest, ANewObjectExtractsOverExistingFilesWithTheFoldersStored) {
  unzip.Unzip();
  //                                                Only Sp Ask Quiet nc nt nv nU nz nd no na ZI C  Priv
  EXPECT_THAT(flagsOf(engine.options), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0));
}

TEST_F(CUnzipFilesTest, ATestSetsTheFlagOfTestsAndNothingThatWrites) {
  engine.whileUnzipping = [] { return 2; };
  EXPECT_EQ(unzip.Test(), 2);
  EXPECT_THAT(flagsOf(engine.options), ElementsAre(0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0));
}

TEST_F(CUnzipFilesTest, AnErrorOfATestNamesItsMember) {
  CUnzipFiles without(platform,
                      []() -> std::unique_ptr<UnzipEngine> { throw AutomationError(kFileNotFound, L"VANTO6.DLL"); });
  const AutomationError error = errorOf([&] { return without.Test(); });
  EXPECT_EQ(error.number(), 53);
  EXPECT_EQ(error.source(), L"RvUnZipFiles::Test");
}

TEST_F(CUnzipFilesTest, ANewObjectListsWithoutTheOverwriteFlag) {
  unzip.ListZipFile();
  EXPECT_THAT(flagsOf(engine.options), ElementsAre(0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 1, 0));
}

TEST_F(CUnzipFilesTest, EachPropertyReachesItsFieldInBothModes) {
  unzip.setMessageLevel(2);
  unzip.setWriteToStdOut(true);
  unzip.setHonorDirectories(false);
  unzip.setVerbose(true);
  unzip.setCaseSensitive(false);
  unzip.setPrivilege(3);
  unzip.Unzip();
  EXPECT_THAT(flagsOf(engine.options), ElementsAre(0, 0, 0, 2, 1, 0, 0, 0, 0, 0, 1, 0, 1, 0, 3));
  unzip.ListZipFile();
  EXPECT_THAT(flagsOf(engine.options), ElementsAre(0, 0, 0, 2, 1, 0, 1, 0, 0, 0, 0, 0, 1, 0, 3));
}

TEST_F(CUnzipFilesTest, PathsReachTheEngineInTheCodePage) {
  unzip.setZipFileName(L"C:\\Copias\\Año.qev");
  unzip.setExtractDir(L"D:\\Ñandú");
  unzip.Unzip();
  EXPECT_EQ(engine.archive, "C:\\Copias\\A\xf1o.qev");
  EXPECT_EQ(engine.folder,
            "D:\\\xd1"
            "and\xfa");
  unzip.ListZipFile();
  EXPECT_EQ(engine.archive, "C:\\Copias\\A\xf1o.qev");
}

TEST_F(CUnzipFilesTest, BothListsHave100EmptySlotsAndCount0) {
  unzip.Unzip();
  EXPECT_EQ(engine.includeCount, 0);
  EXPECT_EQ(engine.excludeCount, 0);
  EXPECT_THAT(engine.included, AllOf(SizeIs(100), Each(std::optional<std::string>())));
  EXPECT_THAT(engine.excluded, AllOf(SizeIs(100), Each(std::optional<std::string>())));
}

TEST_F(CUnzipFilesTest, AllCallbacksButTheSoundAreThereAndTheTotalsAreZero) {
  unzip.Unzip();
  EXPECT_TRUE(engine.functions.print);
  EXPECT_FALSE(engine.functions.sound);
  EXPECT_TRUE(engine.functions.replace);
  EXPECT_TRUE(engine.functions.password);
  EXPECT_TRUE(engine.functions.SendApplicationMessage);
  EXPECT_TRUE(engine.functions.ServCallBk);
  EXPECT_EQ(engine.functions.TotalSizeComp, 0u);
  EXPECT_EQ(engine.functions.TotalSize, 0u);
  EXPECT_EQ(engine.functions.CompFactor, 0u);
  EXPECT_EQ(engine.functions.NumMembers, 0u);
  EXPECT_EQ(engine.functions.cchComment, 0u);
}

TEST_F(CUnzipFilesTest, UnzipWithTwoEmptyTextsKeepsThePropertiesSetBefore) {
  unzip.setZipFileName(L"C:\\a.zip");
  unzip.setExtractDir(L"C:\\Datos");
  unzip.Unzip(L"", L"");
  EXPECT_EQ(unzip.ZipFileName(), L"C:\\a.zip");
  EXPECT_EQ(unzip.ExtractDir(), L"C:\\Datos");
  EXPECT_EQ(engine.archive, "C:\\a.zip");
  EXPECT_EQ(engine.folder, "C:\\Datos");
}

TEST_F(CUnzipFilesTest, AnArgumentThatIsNotEmptyReplacesItsPropertyAlone) {
  unzip.setZipFileName(L"C:\\a.zip");
  unzip.setExtractDir(L"C:\\Datos");
  unzip.Unzip(L"C:\\b.zip");
  EXPECT_EQ(unzip.ZipFileName(), L"C:\\b.zip");
  EXPECT_EQ(unzip.ExtractDir(), L"C:\\Datos");
  unzip.Unzip(L"", L"C:\\Otra");
  EXPECT_EQ(engine.archive, "C:\\b.zip");
  EXPECT_EQ(engine.folder, "C:\\Otra");
}

TEST_F(CUnzipFilesTest, AnArgumentMayBeThePropertyItself) {
  unzip.setZipFileName(L"C:\\a.zip");
  unzip.Unzip(unzip.ZipFileName(), unzip.ZipFileName());
  EXPECT_EQ(engine.folder, "C:\\a.zip");
}

TEST_F(CUnzipFilesTest, TheEnginesCodeIsTheResultAndNoFailureIsRaised) {
  engine.whileUnzipping = [] { return 51; };
  EXPECT_EQ(unzip.Unzip(), 51);
  EXPECT_NO_THROW(unzip.ListZipFile());
}

// --- Messages ---

TEST_F(CUnzipFilesTest, EachMessageIsFollowedByALineFeed) {
  extractWhile([&] {
    EXPECT_EQ(engine.say("  inflating: A\xf1o.txt\r\n"), 0);
    EXPECT_EQ(engine.say(""), 0);
    EXPECT_EQ(engine.say("fin"), 0);
  });
  EXPECT_EQ(unzip.GetLastMessage(), L"  inflating: Año.txt\r\n\n\nfin\n");
}

TEST_F(CUnzipFilesTest, AMessageIsAsLongAsTheEngineSays) {
  extractWhile([&] {
    std::string buffer = "abcdef";
    engine.functions.print(buffer.data(), 3);
    std::string withZero("x\0y", 3);
    engine.functions.print(withZero.data(), 3);
  });
  EXPECT_EQ(unzip.GetLastMessage(), std::wstring(L"abc\nx\0y\n", 8));
}

TEST_F(CUnzipFilesTest, EachRunBeginsWithoutMessagesWhicheverOfTheTwoClassesRan) {
  RecordingEngine zipEngine;
  CZipFiles zip(locale, fakes.eventLoop, zipEngine.loader());
  zipEngine.whileArchiving = [&](const std::string&) {
    zipEngine.say("adding");
    return 0;
  };
  zip.MakeZipFile();
  EXPECT_EQ(unzip.GetLastMessage(), L"adding");
  extractWhile([&] { engine.say("inflating"); });
  EXPECT_EQ(zip.GetLastMessage(), L"inflating\n");
  listWhile([] {});
  EXPECT_EQ(unzip.GetLastMessage(), L"");
}

TEST_F(CUnzipFilesTest, WhatTheEngineTellsIsHandedOnAndThenWaitingWindowMessagesAreLetThrough) {
  std::vector<EngineEvent> heard;
  std::vector<int> yieldsBefore;
  unzip.onEvent = [&](const EngineEvent& event) {
    heard.push_back(event);
    yieldsBefore.push_back(fakes.eventLoop.yields);
  };
  extractWhile([&] {
    engine.say("  inflating: A\xf1o.db ");
    engine.say(".");
    engine.serve("A\xf1o.db");
  });
  EXPECT_THAT(heard, ElementsAre(EntryBegun{L"Año.db"}, BytesDone{1 << 20}, EntryEnded{L"Año.db", 1 << 20}));
  EXPECT_THAT(yieldsBefore, ElementsAre(1, 1, 2));
  EXPECT_EQ(fakes.eventLoop.yields, 3);
}

TEST_F(CUnzipFilesTest, TheServiceCallbackNeverStopsTheRunAndLetsWindowMessagesThroughInQuietRunsToo) {
  extractWhile([&] { EXPECT_EQ(engine.serve("a.txt"), 0); });
  EXPECT_EQ(fakes.eventLoop.yields, 1);
}

// --- The question about existing files ---

TEST_F(CUnzipFilesTest, TheReplaceQuestionHasTheStyleNumber483) {
  fakes.messages.willAnswer({Answer::Yes});
  extractWhile([&] { engine.mayReplace("Datos/A\xf1o.txt"); });
  EXPECT_THAT(fakes.messages.shown, ElementsAre(FakeMessages::Shown{L"¿ Reemplazar Datos/Año.txt ?", L"Unzip", 483}));
}

TEST_F(CUnzipFilesTest, TheAnswersAreTheEnginesCodesYes102No100Cancel104) {
  fakes.messages.willAnswer({Answer::Yes, Answer::No, Answer::Cancel});
  std::vector<int> answers;
  extractWhile([&] {
    for (int i = 0; i < 3; ++i) answers.push_back(engine.mayReplace("a.txt"));
  });
  EXPECT_THAT(answers, ElementsAre(102, 100, 104));
}

TEST_F(CUnzipFilesTest, TheReplaceQuestionNamesTheEntryUpToItsFirstZeroByte) {
  fakes.messages.willAnswer({Answer::No});
  extractWhile([&] { engine.mayReplace(std::string("a.txt\0resto", 11)); });
  EXPECT_EQ(fakes.messages.shown.at(0).text, L"¿ Reemplazar a.txt ?");
}

TEST_F(CUnzipFilesTest, OnTheScreenTheReplaceQuestionHasThreeButtonsAndEnterIsNo) {
  std::thread hands([] {
    HWND box = nullptr;
    for (int i = 0; i < 1000 && !box; ++i) {
      Sleep(20);
      box = FindWindowW(nullptr, L"Unzip");
    }
    ASSERT_TRUE(box) << "no box came up";
    Sleep(200);
    EXPECT_TRUE(GetDlgItem(box, IDYES) && GetDlgItem(box, IDNO) && GetDlgItem(box, IDCANCEL));
    saveScreenshot(box, L"UnzipReplace");
    press(box, VK_RETURN);
  });
  CUnzipFiles real(systemPlatform(), engine.loader());
  int answer = 0;
  engine.whileUnzipping = [&] {
    answer = engine.mayReplace("Datos/A\xf1o.txt");
    return 0;
  };
  real.Unzip();
  hands.join();
  EXPECT_EQ(answer, 100);
}

// --- The password ---

TEST_F(CUnzipFilesTest, ThePasswordIsAskedForAndHandedOverInTheCodePageEndedByAZero) {
  fakes.textPrompt.willAnswer({L"año"});
  RecordingUnzipEngine::Password got;
  extractWhile([&] { got = engine.askPassword(8); });
  EXPECT_THAT(fakes.textPrompt.shown, ElementsAre(FakeTextPrompt::Shown{L"Please Enter The Password!", L"Unzip"}));
  EXPECT_EQ(got.answer, 0);
  EXPECT_EQ(got.buffer, std::string("a\xf1o\0????", 8));
}

TEST_F(CUnzipFilesTest, APasswordLongerThanTheBufferIsCutToItsSize) {
  fakes.textPrompt.willAnswer({L"12345678", L"1234567", L"123", L"1"});
  std::vector<std::string> buffers;
  extractWhile([&] {
    buffers.push_back(engine.askPassword(8).buffer);
    buffers.push_back(engine.askPassword(8).buffer);
    buffers.push_back(engine.askPassword(1).buffer);
    EXPECT_EQ(engine.askPassword(0).answer, 0);
  });
  const std::string seven("1234567\0", 8);
  EXPECT_THAT(buffers, ElementsAre(seven, seven, std::string(1, '\0')));
}

TEST_F(CUnzipFilesTest, ASecondPasswordRequestAfterAnEmptyAnswerInTheSameRunIsNotShownToTheUser) {
  fakes.textPrompt.willAnswer({L""});
  extractWhile([&] {
    for (int i = 0; i < 3; ++i) {
      const auto got = engine.askPassword(4);
      EXPECT_EQ(got.answer, 0);
      EXPECT_EQ(got.buffer, "????");
    }
  });
  EXPECT_THAT(fakes.textPrompt.shown, SizeIs(1));
}

TEST_F(CUnzipFilesTest, CancellingThePasswordPromptIsAnEmptyAnswer) {
  fakes.textPrompt.willAnswer({std::nullopt});
  extractWhile([&] {
    EXPECT_EQ(engine.askPassword(4).buffer, "????");
    EXPECT_EQ(engine.askPassword(4).answer, 0);
  });
  EXPECT_THAT(fakes.textPrompt.shown, SizeIs(1));
}

TEST_F(CUnzipFilesTest, TheNextRunAsksForThePasswordAgain) {
  fakes.textPrompt.willAnswer({L"", L"clave"});
  extractWhile([&] { engine.askPassword(); });
  extractWhile([&] { EXPECT_EQ(engine.askPassword(8).buffer, std::string("clave\0??", 8)); });
}

// --- Listings ---

TEST_F(CUnzipFilesTest, AnArchiveWithNoEntriesRaisesNoEvent) {
  unzip.ListZipFile();
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(CUnzipFilesTest, EachEntryRaisesOneEventInArchiveOrder) {
  listWhile([&] {
    EXPECT_EQ(engine.tellEntry("Datos/A\xf1o.txt", 12, 12, 31, 99, 23, 59), 0);
    EXPECT_EQ(engine.tellEntry("Datos/", 0, 1, 1, 80, 0, 0), 0);
    EXPECT_EQ(engine.tellEntry("a.txt", 9999999, 2, 3, 4, 5, 6), 0);
  });
  EXPECT_THAT(events,
              ElementsAre(Event{L"Datos/Año.txt", 12, L"12/31/99", L"23:59"},
                          Event{L"Datos/", 0, L"01/01/80", L"00:00"}, Event{L"a.txt", 9999999, L"02/03/04", L"05:06"}));
}

TEST_F(CUnzipFilesTest, AnEntryDated5January2005At907IsReportedWithMonthFirstAndLeadingZeros) {
  listWhile([&] {
    engine.tellEntry("a", 1, 1, 5, 5, 9, 7);
    engine.tellEntry("b", 1, 1, 5, 2005, 9, 7);  // engines of other generations give the whole year
  });
  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(events[0].mDate, L"01/05/05");
  EXPECT_EQ(events[0].mTime, L"09:07");
  EXPECT_EQ(events[1].mDate, L"01/05/05");
}

TEST_F(CUnzipFilesTest, AnEntryNameLongerThan100CharactersIsCutTo100InListFile) {
  const std::string name = std::string(99, 'x') + "yz";
  listWhile([&] {
    engine.tellEntry(name, 7);
    engine.tellEntry(std::string(5000, 'w'), 8);
  });
  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(events[0].FileName, std::wstring(99, L'x') + L"y");
  EXPECT_EQ(events[0].FileSize, 7);
  EXPECT_EQ(events[1].FileName, std::wstring(100, L'w'));
}

TEST_F(CUnzipFilesTest, ASizeAbove9999999KeepsOnlyItsLast7DigitsInTheListing) {
  listWhile([&] {
    engine.tellEntry("a", 10000000);
    engine.tellEntry("b", 123456789);
  });
  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(events[0].FileSize, 0);
  EXPECT_EQ(events[1].FileSize, 3456789);
}

TEST_F(CUnzipFilesTest, ASizeColumnThatIsNoNumberIsATypeMismatchThatLeavesListZipFile) {
  const AutomationError error = errorOf([&] {
    listWhile([&] {
      engine.tellEntry("bueno.txt");
      engine.tellEntry("partido\r\nen dos");
    });
  });
  EXPECT_EQ(error.number(), 13);
  EXPECT_NE(error.source(), L"CodeModule::VBUnzip") << "the engine's run was over";
  EXPECT_THAT(events, SizeIs(1));
}

TEST_F(CUnzipFilesTest, TheNextListingDoesNotRepeatTheOneBefore) {
  listWhile([&] { engine.tellEntry("a"); });
  listWhile([&] { engine.tellEntry("b"); });
  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(events[1].FileName, L"b");
}

TEST_F(CUnzipFilesTest, WhatAListFileHandlerThrowsIsPassedOnAsItIs) {
  unzip.ListFile = [](const std::wstring&, std::int32_t, const std::wstring&, const std::wstring&) {
    throw AutomationError(kDiskFull, L"aquí");
  };
  const AutomationError error = errorOf([&] { listWhile([&] { engine.tellEntry("a"); }); });
  EXPECT_EQ(error.number(), 61);
  EXPECT_EQ(error.source(), AutomationError(kDiskFull).source());
}

TEST_F(CUnzipFilesTest, AListFileHandlerMayListAnotherArchive) {
  CUnzipFiles other(platform, engine.loader());
  collectEvents(other);
  unzip.ListFile = [&](const std::wstring&, std::int32_t, const std::wstring&, const std::wstring&) {
    other.ListZipFile();
  };
  listWhile([&] { engine.tellEntry("a"); });
  EXPECT_THAT(events, SizeIs(1));
}

TEST_F(CUnzipFilesTest, WithoutAHandlerAListingIsStillRead) {
  unzip.ListFile = nullptr;
  EXPECT_NO_THROW(listWhile([&] { engine.tellEntry("a"); }));
  EXPECT_EQ(errorOf([&] { listWhile([&] { engine.tellEntry("a\r\nb"); }); }).number(), 13);
}

// --- Errors of a run ---

TEST_F(CUnzipFilesTest, AnErrorOfARunHasTheSourceOfUnzipAndInAListingThatOfTheRun) {
  CUnzipFiles without(platform,
                      []() -> std::unique_ptr<UnzipEngine> { throw AutomationError(kFileNotFound, L"VANTO6.DLL"); });
  const AutomationError fromUnzip = errorOf([&] { without.Unzip(); });
  EXPECT_EQ(fromUnzip.number(), 53);
  EXPECT_EQ(fromUnzip.source(), L"RvUnZipFiles::Unzip");
  EXPECT_EQ(fromUnzip.description(), describeError(53) + L": VANTO6.DLL");
  const AutomationError fromListing = errorOf([&] { without.ListZipFile(); });
  EXPECT_EQ(fromListing.number(), 53);
  EXPECT_EQ(fromListing.source(), L"CodeModule::VBUnzip");
}

TEST_F(CUnzipFilesTest, AnErrorInACallbackWaitsUntilTheEngineHasReturnedAndTheFirstOneCounts) {
  unzip.onEvent = [](const EngineEvent& event) {
    if (event == EngineEvent(Remark{L"malo"})) throw AutomationError(kOverflow);
    if (event == EngineEvent(Remark{L"peor"})) throw AutomationError(kDiskFull);
  };
  bool reachedTheEnd = false;
  const AutomationError error = errorOf([&] {
    extractWhile([&] {
      EXPECT_EQ(engine.say("malo\r\n"), 0);
      EXPECT_EQ(engine.say("peor\r\n"), 0);
      reachedTheEnd = true;
    });
  });
  EXPECT_TRUE(reachedTheEnd);
  EXPECT_EQ(error.number(), 6);
  EXPECT_EQ(error.source(), L"RvUnZipFiles::Unzip");
}

TEST_F(CUnzipFilesTest, NoCallbackLetsAnErrorCrossTheEnginesFrames) {
  fakes.eventLoop.onYield = [] { throw AutomationError(kOverflow); };
  fakes.messages.onShow = [](const FakeMessages::Shown&) { throw AutomationError(kOverflow); };
  EXPECT_EQ(errorOf([&] { extractWhile([&] { EXPECT_EQ(engine.serve("a"), 0); }); }).number(), 6);
  EXPECT_EQ(errorOf([&] { extractWhile([&] { EXPECT_EQ(engine.mayReplace("a"), 100); }); }).number(), 6);

  class Broken : public TextPrompt {
    std::optional<std::wstring> ask(const std::wstring&, const std::wstring&) override {
      throw AutomationError(kOutOfMemory);
    }
  } broken;
  Platform withBroken = with(platform, broken);
  CUnzipFiles other(withBroken, engine.loader());
  engine.whileUnzipping = [&] {
    EXPECT_EQ(engine.askPassword(4).buffer, "????");
    return 0;
  };
  EXPECT_EQ(errorOf([&] { other.Unzip(); }).number(), 7);
}

TEST_F(CUnzipFilesTest, ErrorsOfOtherKindsAreRaisedAsTheyAre) {
  unzip.onEvent = [](const EngineEvent&) { throw std::runtime_error("otro"); };
  EXPECT_THROW(extractWhile([&] { engine.say("x\r\n"); }), std::runtime_error);
}

TEST_F(CUnzipFilesTest, ARunWithinARunIsRefusedAndTheOuterOneGoesOn) {
  CUnzipFiles other(platform, engine.loader());
  std::int32_t refused = 0;
  std::wstring source;
  fakes.eventLoop.onYield = [&] {
    const AutomationError error = errorOf([&] { other.Unzip(); });
    refused = error.number();
    source = error.source();
  };
  extractWhile([&] { engine.say("uno"); });
  EXPECT_EQ(refused, 70);
  EXPECT_EQ(source, L"RvUnZipFiles::Unzip");
  EXPECT_EQ(unzip.GetLastMessage(), L"uno\n");
  EXPECT_EQ(engine.calls.size(), 3u);
}

TEST_F(CUnzipFilesTest, AfterARunTheCallbacksWorkForNobody) {
  unzip.Unzip();
  EXPECT_EQ(engine.say("tarde"), 0);
  EXPECT_EQ(engine.mayReplace("a"), 100);
  EXPECT_EQ(engine.tellEntry("a"), 0);
  EXPECT_EQ(engine.serve("a"), 0);
  EXPECT_EQ(engine.askPassword(4).buffer, "????");
  EXPECT_EQ(unzip.GetLastMessage(), L"");
}

// --- The real engine ---

std::string bytesOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// What a test tells of a file: its bytes, and the file's time and its read-only mark.
struct Found {
  bool isFolder = false;
  std::string bytes;
  fs::file_time_type time;
  bool isReadOnly = false;
};

std::map<std::wstring, Found> treeAt(const fs::path& root) {
  std::map<std::wstring, Found> found;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    Found one;
    one.isFolder = entry.is_directory();
    if (!one.isFolder) {
      one.bytes = bytesOf(entry.path());
      one.time = entry.last_write_time();
      one.isReadOnly = (GetFileAttributesW(entry.path().c_str()) & FILE_ATTRIBUTE_READONLY) != 0;
    }
    found[entry.path().lexically_relative(root).wstring()] = one;
  }
  return found;
}

class UnzipWithTheEngineTest : public UnzipTest {
 protected:
  UnzipWithTheEngineTest() {
    collectEvents(unzip);
    unzip.setZipFileName(folder / L"copia.zip");
    unzip.setExtractDir(folder / L"Destino");
  }
  ~UnzipWithTheEngineTest() override {
    for (const auto& [name, found] : treeAt(folder.path())) {
      if (found.isReadOnly) SetFileAttributesW((folder / name).c_str(), FILE_ATTRIBUTE_NORMAL);
    }
  }

  void archive(const std::vector<ZipEntry>& entries) const { folder.write(L"copia.zip", zipOf(entries)); }

  TemporaryFolder folder;
  CUnzipFiles unzip{platform};
};

TEST_F(UnzipWithTheEngineTest, ATestOfAGoodArchiveAnswersZeroAndWritesNothing) {
  archive({storedEntry("a.txt", "hola"), folderEntry("Datos/"), deflatedEntry("Datos/b.txt", std::string(70000, 'b')),
           runEntry("Datos/grande.db", 'g', 5 << 20)});
  std::vector<EngineEvent> told;
  unzip.onEvent = [&](const EngineEvent& event) { told.push_back(event); };
  EXPECT_EQ(unzip.Test(), UZ_OK);
  EXPECT_FALSE(fs::exists(folder / L"Destino"));
  EXPECT_THAT(folder.list(), ElementsAre(L"copia.zip"));
  EXPECT_THAT(told, Contains(EngineEvent(BytesDone{5 << 20})));
}

TEST_F(UnzipWithTheEngineTest, ATestFindsAByteThatIsWrongInAnyEntry) {
  const std::string good = zipOf({storedEntry("a.txt", "hola"), deflatedEntry("b.txt", std::string(70000, 'b')),
                                  storedEntry("c.txt", "el contenido")});
  for (const std::string& content : {std::string("hola"), std::string("el contenido")}) {
    std::string bad = good;
    bad[bad.find(content)] ^= 1;
    folder.write(L"copia.zip", bad);
    EXPECT_EQ(unzip.Test(), UZ_ERR) << content;
  }
  folder.write(L"copia.zip", good.substr(0, good.size() / 2));
  EXPECT_GT(unzip.Test(), UZ_WARN);
}

TEST_F(UnzipWithTheEngineTest, ATestOfASetBehindItsHeaderLineFindsTheSame) {
  const std::string header = "Programa : Gestion;Directorio : C:;\r\n";
  const std::string good =
      header + zipOf({storedEntry("a.txt", "hola"), deflatedEntry("b.txt", std::string(70000, 'b'))});
  folder.write(L"copia.zip", good);
  EXPECT_EQ(unzip.Test(), UZ_WARN) << "the bytes before the archive are remarked";
  std::string bad = good;
  bad[bad.find("hola")] ^= 1;
  folder.write(L"copia.zip", bad);
  EXPECT_EQ(unzip.Test(), UZ_ERR);
}

TEST_F(UnzipWithTheEngineTest, ListsEveryEntry) {
  archive({storedEntry("a.txt", "hola"), folderEntry("Datos/"), deflatedEntry("Datos/b.txt", std::string(70000, 'b'))});
  unzip.ListZipFile();
  EXPECT_THAT(events, ElementsAre(Event{L"a.txt", 4, L"01/05/05", L"09:08"}, Event{L"Datos/", 0, L"01/05/05", L"09:08"},
                                  Event{L"Datos/b.txt", 70000, L"01/05/05", L"09:08"}));
  EXPECT_FALSE(fs::exists(folder / L"Destino"));
}

TEST_F(UnzipWithTheEngineTest, ListsAnArchiveWithNoEntriesWithoutAnEvent) {
  archive({});
  unzip.ListZipFile();
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(UnzipWithTheEngineTest, ListsLongNamesAndLargeSizesCut) {
  ZipEntry large = storedEntry("grande", "x");
  large.size = large.packedSize = 23456789;
  archive({storedEntry(std::string(150, 'n'), "x"), large});
  unzip.ListZipFile();
  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(events[0].FileName, std::wstring(100, L'n'));
  EXPECT_EQ(events[1].FileSize, 3456789);
}

TEST_F(UnzipWithTheEngineTest, ExtractsOverExistingFilesWithoutAskingReadOnlyOnesToo) {
  archive({storedEntry("a.txt", "nuevo"), storedEntry("Datos/b.txt", "nuevo")});
  folder.write(L"Destino\\a.txt", "viejo y más largo");
  SetFileAttributesW((folder / L"Destino\\a.txt").c_str(), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(unzip.Unzip(L"", L""), 0) << utf8(unzip.GetLastMessage());
  EXPECT_EQ(folder.bytes(L"Destino\\a.txt"), "nuevo");
  EXPECT_EQ(folder.bytes(L"Destino\\Datos\\b.txt"), "nuevo");
  EXPECT_THAT(utf8(unzip.GetLastMessage()), HasSubstr(" extracting: a.txt\r\n\n"));
}

TEST_F(UnzipWithTheEngineTest, WithoutFoldersAllFilesGoIntoTheFolderItself) {
  archive({storedEntry("Datos/Sub/a.txt", "a")});
  unzip.setHonorDirectories(false);
  EXPECT_EQ(unzip.Unzip(), 0);
  EXPECT_EQ(folder.list(L"Destino"), Names{L"a.txt"});
}

TEST_F(UnzipWithTheEngineTest, ExtractsToTheMessageTextWhenToldTo) {
  archive({storedEntry("a.txt", "hola")});
  unzip.setWriteToStdOut(true);
  unzip.setMessageLevel(1);
  EXPECT_EQ(unzip.Unzip(), 0);
  EXPECT_THAT(utf8(unzip.GetLastMessage()), HasSubstr("hola"));
  EXPECT_FALSE(fs::exists(folder / L"Destino"));
}

TEST_F(UnzipWithTheEngineTest, AnArchiveThatIsMissingEmptyOrNoneIsTheEnginesCodeAndAMessage) {
  EXPECT_EQ(unzip.Unzip(), UZ_NOZIP);
  EXPECT_THAT(utf8(unzip.GetLastMessage()), HasSubstr("copia.zip"));
  EXPECT_NO_THROW(unzip.ListZipFile());
  folder.write(L"copia.zip", "");
  EXPECT_EQ(unzip.Unzip(), UZ_NOZIP);
  folder.write(L"copia.zip", std::string(5000, 'x'));
  EXPECT_EQ(unzip.Unzip(), UZ_NOZIP);
  EXPECT_NE(unzip.GetLastMessage(), L"");
  EXPECT_NO_THROW(unzip.ListZipFile());
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(UnzipWithTheEngineTest, TheEngineIsUnloadedWhenTheRunIsOver) {
  archive({storedEntry("a.txt", "hola")});
  bool loadedDuringTheRun = false;
  unzip.onEvent = [&](const EngineEvent&) { loadedDuringTheRun = GetModuleHandleW(L"VANTO6.DLL") != nullptr; };
  unzip.Unzip();
  EXPECT_TRUE(loadedDuringTheRun);
  EXPECT_EQ(GetModuleHandleW(L"VANTO6.DLL"), nullptr);
}

TEST_F(UnzipWithTheEngineTest, AFailureInAMessageHandlerLeavesTheEngineReadyForTheNextRun) {
  archive({storedEntry("a.txt", "hola"), storedEntry("b.txt", "hola")});
  unzip.onEvent = [](const EngineEvent&) { throw AutomationError(kTypeMismatch); };
  EXPECT_EQ(errorOf([&] { unzip.Unzip(); }).source(), L"RvUnZipFiles::Unzip");
  unzip.onEvent = nullptr;
  EXPECT_EQ(unzip.Unzip(), 0);
  EXPECT_EQ(folder.list(L"Destino"), (Names{L"a.txt", L"b.txt"}));
}

TEST_F(UnzipWithTheEngineTest, AnEntryNameWithALineEndIsListedInOneLine) {
  archive({storedEntry("a\r\nb.txt", "x"), storedEntry("c.txt", "y")});
  unzip.ListZipFile();
  ASSERT_THAT(events, SizeIs(2));
  EXPECT_EQ(events[0].FileName, L"a^M^Jb.txt");
}

TEST_F(UnzipWithTheEngineTest, AnEmptyPasswordIsAskedForOnceAndTheOtherEntriesAreRestored) {
  archive({encryptedEntry("a.txt", "secreto", "clave"), encryptedEntry("b.txt", "secreto", "clave"),
           storedEntry("c.txt", "libre")});
  fakes.textPrompt.willAnswer({L""});
  EXPECT_EQ(unzip.Unzip(), UZ_BADPWD);
  EXPECT_EQ(folder.list(L"Destino"), Names{L"c.txt"});
  EXPECT_THAT(fakes.textPrompt.shown, SizeIs(1));
}

TEST_F(UnzipWithTheEngineTest, AWrongPasswordIsTheEnginesCodeAndItsMessageNamesTheEntry) {
  archive({encryptedEntry("a.txt", "secreto", "clave")});
  fakes.textPrompt.willAnswer({L"otra"});
  EXPECT_NE(unzip.Unzip(), 0);
  EXPECT_THAT(utf8(unzip.GetLastMessage()), HasSubstr("a.txt"));
  EXPECT_FALSE(fs::exists(folder / L"Destino\\a.txt"));
}

// --- Archives by other programs (tests/archives/make_archives.py), beside the test program ---

struct Maker {
  const wchar_t* archive;
  const wchar_t* password = nullptr;
};

void PrintTo(const Maker& maker, std::ostream* out) {
  *out << utf8(maker.archive);
}

class ArchiveOfAnotherProgram : public UnzipWithTheEngineTest, public testing::WithParamInterface<Maker> {
 protected:
  static fs::path made() { return fs::path(parentFolderName(modulePath())) / L"archives"; }

  void SetUp() override {
    ASSERT_TRUE(fs::exists(made() / GetParam().archive));
    unzip.setZipFileName((made() / GetParam().archive).wstring());
  }

  void expectTheTree(const std::map<std::wstring, Found>& restored) const {
    const auto tree = treeAt(made() / L"tree");
    ASSERT_GT(tree.size(), 6u);
    Names names, expected;
    for (const auto& [name, found] : restored) names.push_back(name);
    for (const auto& [name, found] : tree) expected.push_back(name);
    EXPECT_EQ(names, expected);
    for (const auto& [name, found] : tree) {
      if (!restored.contains(name) || found.isFolder) continue;
      const Found& back = restored.at(name);
      EXPECT_TRUE(back.bytes == found.bytes) << utf8(name);
      EXPECT_LE(std::chrono::abs(back.time - found.time), std::chrono::seconds(2)) << utf8(name);
      EXPECT_EQ(back.isReadOnly, found.isReadOnly) << utf8(name);
    }
  }
};

class ReadableArchive : public ArchiveOfAnotherProgram {};

TEST_P(ReadableArchive, IsListed) {
  unzip.ListZipFile();
  const auto names = [&] {
    Names all;
    for (const Event& event : events) all.push_back(event.FileName);
    return all;
  }();
  EXPECT_THAT(names, testing::IsSupersetOf({L"a.txt", L"vacío.txt", L"Datos/gestión.db",
                                            L"Datos/Sub Año/más hondo/Ñandú ÁÉÍÓÚ.txt", L"Datos/\?\?/\?\?.txt"}));
  const auto size = fs::file_size(made() / L"tree" / L"Datos" / L"gestión.db");
  EXPECT_THAT(events, testing::Contains(testing::Field(&Event::FileSize, static_cast<std::int32_t>(size))));
  EXPECT_THAT(fakes.textPrompt.shown, IsEmpty()) << "a listing needs no password";
}

TEST_P(ReadableArchive, IsRestoredWithNamesBytesDatesAndReadOnlyMarks) {
  if (GetParam().password) fakes.textPrompt.willAnswer({GetParam().password});
  EXPECT_EQ(unzip.Unzip(), 0) << utf8(unzip.GetLastMessage());
  expectTheTree(treeAt(folder / L"Destino"));
}

INSTANTIATE_TEST_SUITE_P(Makers, ReadableArchive,
                         testing::Values(Maker{L"7zip-deflate.zip"}, Maker{L"7zip-store.zip"}, Maker{L"7zip-utf8.zip"},
                                         Maker{L"7zip-deflate64.zip"}, Maker{L"7zip-zipcrypto-clave.zip", L"clave"},
                                         Maker{L"info-zip-deflate.zip"}, Maker{L"info-zip-store.zip"},
                                         Maker{L"info-zip-zip64.zip"}, Maker{L"info-zip-contraseña.zip", L"contraseña"},
                                         Maker{L"info-zip-streamed.zip"},
                                         Maker{L"info-zip-streamed-clave.zip", L"clave"}, Maker{L"python-deflate.zip"},
                                         Maker{L"python-store.zip"}, Maker{L"python-zip64.zip"},
                                         Maker{L"python-streamed.zip"}, Maker{L"python-streamed-zip64.zip"}));

class ArchiveOfAnUnknownKind : public ArchiveOfAnotherProgram {};

TEST_P(ArchiveOfAnUnknownKind, NamesWhatTheEngineDoesNotKnowAndRestoresNothingWrong) {
  if (GetParam().password) fakes.textPrompt.willAnswer({GetParam().password});
  const std::int32_t code = unzip.Unzip();
  EXPECT_EQ(code, UZ_UNSUP) << utf8(unzip.GetLastMessage());
  EXPECT_THAT(utf8(unzip.GetLastMessage()), HasSubstr("gestión.db"));
  const auto tree = treeAt(made() / L"tree");
  const auto restored = treeAt(folder / L"Destino");
  EXPECT_FALSE(restored.contains(L"Datos\\gestión.db"));
  for (const auto& [name, found] : restored) {
    ASSERT_TRUE(tree.contains(name)) << utf8(name);
    EXPECT_TRUE(found.bytes == tree.at(name).bytes) << utf8(name);
  }
}

INSTANTIATE_TEST_SUITE_P(Makers, ArchiveOfAnUnknownKind,
                         testing::Values(Maker{L"7zip-aes-clave.zip"}, Maker{L"7zip-bzip2.zip"},
                                         Maker{L"7zip-lzma.zip"}, Maker{L"python-bzip2.zip"},
                                         Maker{L"python-lzma.zip"}));

}  // namespace
}  // namespace qev::test
