// One restore run with files, clock, messages and an engine of the test's own: what is extracted where, what is asked,
// and what is left, whatever fails.
#include "restore/RestaurarCopia.h"

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "set/Volumes.h"
#include "support/ErrorOf.h"
#include "support/FakePlatform.h"
#include "support/ScriptedEngine.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr wchar_t kSet[] = L"D:\\Copias\\copia.qev";
constexpr wchar_t kOnDisk[] = L"A:\\copia.qev";
constexpr wchar_t kPayload[] = L"C:\\Trabajo\\temp\\restaurar4711.zip";  // the number of the fake process
constexpr wchar_t kCopy[] = L"C:\\Trabajo\\temp\\copia.zip";

std::string header(int total = 1, int number = 1, const std::string& program = "Gestion",
                   const std::string& directory = "C:") {
  return "Programa : " + program + ";Fecha Creaci\xF3n : 16/11/2026;Total de Vol\xFAmenes :" + std::to_string(total) +
         ";N\xFAmero de Vol\xFAmen :" + std::to_string(number) + ";Directorio : " + directory + ";\r\n";
}

std::string archive() {
  return zipOf({storedEntry("clientes.txt", std::string(600, 'c')), storedEntry("otro.txt", std::string(400, 'o'))});
}

class RecordingRestoreView : public RestoreRunView {
 public:
  void showProgress(std::optional<int> permille) override { progress.push_back(permille.value_or(-1)); }
  void showTesting(bool isTesting) override { testing.push_back(isTesting); }
  bool closeAsked() const override { return wantsToClose; }

  std::vector<int> progress;
  std::vector<bool> testing;
  bool wantsToClose = false;
};

class RestaurarCopiaTest : public testing::Test {
 protected:
  RestaurarCopiaTest() {
    host.title = L"Gestion";
    host.dataFolder = L"C:\\Prog\\Datos\\Emp01\\";
    choice.Archivo = kSet;
    choice.Destino = L"  Carpeta Origen";
    fake.files.put(kSet, header() + archive());
    fake.files.putFolder(L"A:\\");
    engine.work = [this] {
      requests.push_back(engine.request);
      payloads.push_back(fake.files.bytes(engine.request.archive));
      engine.say(L" extracting: clientes.txt\r\n");
      engine.ended(L"clientes.txt", 600);
      engine.say(L" extracting: otro.txt\r\n");
      engine.ended(L"otro.txt", 400);
      return code;
    };
  }

  RestoreRun::Outcome run() {
    RestoreRun restore(fake.platform(), host, view, choice, engine.loader());
    const auto keep = [&] {
      record = restore.record();
      bareDisks = restore.bareDisks();
    };
    try {
      const auto outcome = restore.RestaurarCopia();
      keep();
      return outcome;
    } catch (...) {
      keep();
      throw;
    }
  }

  AutomationError failure() {
    return errorOf([this] { run(); });
  }

  // Nothing of the run is left but what was there before.
  void expectTidy() const {
    EXPECT_FALSE(fake.files.fileExists(kPayload));
    EXPECT_FALSE(fake.files.fileExists(kCopy));
    EXPECT_EQ(fake.files.openReaders() + fake.files.openReplacements(), 0u);
  }

  std::vector<std::wstring> asked() const {
    std::vector<std::wstring> texts;
    for (const auto& shown : fake.messages.shown) texts.push_back(shown.text);
    return texts;
  }

  FakePlatform fake;
  HostSettings host;
  RecordingRestoreView view;
  RestoreChoice choice;
  ScriptedUnzip engine;
  int code = kUnzipDone;
  std::vector<UnzipRequest> requests;
  std::vector<std::string> payloads;  // what the engine was given
  RunRecord record;
  bool bareDisks = false;
};

// --- One volume ---

TEST_F(RestaurarCopiaTest, TheArchiveIsExtractedFromACopyWithoutHeaderToTheDriveThatTheSetNames) {
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].mode, UnzipMode::Extract);
  EXPECT_EQ(requests[0].archive, kPayload);
  EXPECT_EQ(requests[0].folder, L"C:\\");
  EXPECT_EQ(requests[0].keepFolders, 1);
  EXPECT_THAT(payloads, ElementsAre(archive()));
  EXPECT_EQ(fake.files.bytes(kSet), header() + archive()) << "the set is only read";
  EXPECT_THAT(fake.messages.shown, IsEmpty());
  expectTidy();
}

TEST_F(RestaurarCopiaTest, ASetOfDriveDGoesToTheRootOfDriveD) {
  fake.files.put(kSet, header(1, 1, "Gestion", "D:") + archive());
  run();
  EXPECT_EQ(requests.at(0).folder, L"D:\\");
}

TEST_F(RestaurarCopiaTest, AnotherPlaceIsTakenAsItStandsAndFoldersAreLeftOutWhereTheUserSaysSo) {
  choice.originalLocation = choice.keepFolders = false;
  choice.Destino = L"E:\\Otra";
  run();
  EXPECT_EQ(requests.at(0).folder, L"E:\\Otra");
  EXPECT_EQ(requests.at(0).keepFolders, 0);
}

TEST_F(RestaurarCopiaTest, TheBarNeverFallsAndComesToItsEnd) {
  run();
  EXPECT_TRUE(std::ranges::is_sorted(view.progress));
  EXPECT_EQ(view.progress.back(), 1000);
}

TEST_F(RestaurarCopiaTest, TheRecordTellsTheSetItsFilesAndTheEnginesCode) {
  run();
  EXPECT_EQ(record.kind, RunRecord::Kind::Restore);
  EXPECT_EQ(record.title, L"Gestion");
  EXPECT_EQ(record.set, kSet);
  EXPECT_EQ(record.files, 2u);
  EXPECT_EQ(record.bytes, 1000u);
  EXPECT_EQ(record.setBytes, (header() + archive()).size());
  EXPECT_EQ(record.engineCode, kUnzipDone);
  EXPECT_EQ(record.proven, std::nullopt);
}

TEST_F(RestaurarCopiaTest, AFailureOfTheEngineIsToldAsItSaidItAndCountsAsRestored) {
  fake.messages.willAnswer({Answer::Ok});
  engine.work = [this] {
    engine.say(L"error:  clientes.txt:  no hay sitio\r\n");
    return 50;
  };
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  EXPECT_THAT(fake.messages.shown,
              ElementsAre(FakeMessages::Shown{L"error:  clientes.txt:  no hay sitio\r\n\n", L"", message::kOk}));
  EXPECT_EQ(record.engineCode, 50);
  EXPECT_THAT(record.remarks.lines(), ElementsAre(L"error:  clientes.txt:  no hay sitio"));
  expectTidy();
}

TEST_F(RestaurarCopiaTest, ManyRemarksAreCountedAllInTheRecordAndShownUpToThirty) {
  fake.messages.willAnswer({Answer::Ok});
  engine.work = [this] {
    for (int i = 0; i < 700; ++i) engine.say(L"error:  " + std::to_wstring(i) + L".db:  no\r\n");
    return 2;
  };
  run();
  EXPECT_EQ(record.remarks.count(), 700u);
  EXPECT_EQ(std::ranges::count(asked().at(0), L'\n'), 30);
  EXPECT_TRUE(asked().at(0).ends_with(L"..."));
}

TEST_F(RestaurarCopiaTest, WhatAKilledRunLeftInTheWorkFolderGoesFirst) {
  fake.files.put(L"C:\\Trabajo\\temp\\restaurar99.zip", "resto");
  fake.files.put(L"C:\\Trabajo\\temp\\otro.zip", "de otro");
  run();
  EXPECT_FALSE(fake.files.fileExists(L"C:\\Trabajo\\temp\\restaurar99.zip"));
  EXPECT_TRUE(fake.files.fileExists(L"C:\\Trabajo\\temp\\otro.zip"));
}

// --- What is no set ---

TEST_F(RestaurarCopiaTest, WhatIsNoSetOfThisProgramIsRefusedBeforeTheEngineRuns) {
  for (const std::string& bytes : {header(1, 1, "Otro") + archive(), header(1, 1, "gestion") + archive(), archive(),
                                   std::string(), std::string(5000, 'x')}) {
    fake.files.put(kSet, bytes);
    EXPECT_EQ(failure().description(), std::wstring(L"Esta Copia de Seguridad no es del programa Gestion: ") + kSet);
    EXPECT_EQ(fake.files.bytes(kSet), bytes);
    expectTidy();
  }
  EXPECT_EQ(engine.runs, 0);
}

TEST_F(RestaurarCopiaTest, AMissingSetIs53AndAHeaderThatCannotBeReadSaysWhatIsWrongWithWhichFile) {
  fake.files.deleteFile(kSet, true);
  EXPECT_EQ(failure().number(), kFileNotFound);
  std::string broken = header() + archive();
  broken.replace(broken.find("16/11/2026"), 10, "esto no es");
  fake.files.put(kSet, broken);
  const AutomationError error = failure();
  EXPECT_EQ(error.number(), kTypeMismatch);
  EXPECT_THAT(error.description(), HasSubstr(L"La cabecera de la copia de seguridad no es v\u00e1lida"));
  EXPECT_THAT(error.description(), HasSubstr(kSet));
  EXPECT_EQ(engine.runs, 0);
}

TEST_F(RestaurarCopiaTest, APlaceThatIsNoneIsRefused) {
  for (const char* directory : {"", " ", "Datos", "C:\\x\\..\\..", "..", "C:\\*"}) {
    fake.files.put(kSet, header(1, 1, "Gestion", directory) + archive());
    EXPECT_THAT(failure().description(), HasSubstr(L"El directorio de origen que indica la copia de seguridad"));
    expectTidy();
  }
  EXPECT_EQ(engine.runs, 0);
}

// --- Faults ---

TEST_F(RestaurarCopiaTest, WhateverFileOperationFailsTheSetStaysAndNothingIsLeft) {
  run();
  const std::size_t operations = fake.files.calls();
  std::size_t failures = 0;
  for (std::size_t failing = 1; failing <= operations; ++failing) {
    fake.files.failAt(failing, kDeviceInputOutput);
    const auto number = numberOf([this] { run(); });
    fake.files.failAt(0);
    EXPECT_TRUE(number == 0 || number == kDeviceInputOutput) << number;
    failures += number != 0;
    EXPECT_EQ(fake.files.bytes(kSet), header() + archive()) << "operation " << failing;
    EXPECT_EQ(fake.files.openReaders() + fake.files.openReplacements(), 0u) << "operation " << failing;
  }
  EXPECT_GT(failures, 5u);
}

// --- The log ---

constexpr wchar_t kLog[] = L"C:\\Trabajo\\registro.log";

TEST_F(RestaurarCopiaTest, TheRunIsInTheLogFromItsBeginningOnAndOnceWhenItHasEnded) {
  std::string atWork;
  const auto work = engine.work;
  engine.work = [&] {
    atWork = fake.files.bytes(kLog);
    return work();
  };
  run();
  EXPECT_THAT(atWork, HasSubstr(" Restauraci\xC3\xB3n: Gestion\r\n  Resultado: en marcha\r\n  Proceso: "));
  EXPECT_THAT(atWork, HasSubstr("  Copia: D:\\Copias\\copia.qev\r\n"));
  const std::string log = fake.files.bytes(kLog);
  EXPECT_THAT(log, HasSubstr("  Resultado: correcto\r\n"));
  EXPECT_THAT(log, HasSubstr("    | La copia de seguridad se ha restaurado correctamente.\r\n    | Origen:D:"));
  EXPECT_THAT(log, Not(HasSubstr("en marcha")));
  EXPECT_EQ(log.find("=== "), log.rfind("=== "));
}

TEST_F(RestaurarCopiaTest, TheLogTellsThatTheRunBeforeWasInterruptedAndWhetherThisOneIsSafe) {
  fake.processes.gone = {L"0000feed-2f-0000000000000007"};
  fake.files.put(kLog,
                 "=== 15-11-2026 09:00:00 Copia: Gestion\r\n  Resultado: en marcha\r\n"
                 "  Proceso: 0000feed-2f-0000000000000007\r\n\r\n");
  choice.safe = true;
  run();
  std::string log = fake.files.bytes(kLog);
  EXPECT_THAT(log, HasSubstr("  Resultado: interrumpido: el programa termin\xC3\xB3 antes que la copia\r\n"));
  EXPECT_THAT(
      log,
      HasSubstr("    | La copia o la restauraci\xC3\xB3n anterior de este programa no lleg\xC3\xB3 a terminar\r\n"));
  EXPECT_THAT(log, HasSubstr("  Modo seguro: s\xC3\xAD\r\n"));
  choice.safe = false;
  fake.files.deleteFile(kLog, true);
  run();
  log = fake.files.bytes(kLog);
  EXPECT_THAT(log, Not(HasSubstr("anterior")));
  EXPECT_THAT(log, HasSubstr("  Modo seguro: no\r\n"));
}

TEST_F(RestaurarCopiaTest, TheLogTellsTheErrorThatEndedTheRun) {
  fake.files.makeUnreadable(kSet, kDiskNotReady);
  failure();
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Resultado: con errores\r\n"));
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("\r\n  Error: 71-El disco no est\xC3\xA1 preparado"));
  EXPECT_THAT(fake.files.bytes(kLog), Not(HasSubstr("en marcha")));
}

TEST_F(RestaurarCopiaTest, ARunThatTheUserCancelsAtADiskIsInTheLogAsSuch) {
  choice.Archivo = kOnDisk;
  choice.set = SetHeader{L"Gestion", fake.clock.now(), 2, 1, L"C:"};
  fake.messages.willAnswer({Answer::Cancel});
  EXPECT_EQ(run(), RestoreRun::Outcome::Cancelled);
  EXPECT_THAT(fake.files.bytes(kLog), HasSubstr("  Resultado: cancelado por el usuario\r\n"));
}

TEST_F(RestaurarCopiaTest, AnEngineThatCannotBeLoadedOrThatThrowsEndsTheRunAndNothingIsLeft) {
  engine.onLoad = [] { throw AutomationError(kFileNotFound, L"VANTO6.DLL"); };
  EXPECT_THAT(failure().description(), HasSubstr(L"VANTO6.DLL"));
  expectTidy();
  engine.onLoad = nullptr;
  engine.work = []() -> int { throw std::bad_alloc(); };
  EXPECT_THROW(run(), std::bad_alloc);
  expectTidy();
}

TEST_F(RestaurarCopiaTest, AFullWorkFolderIsToldAndNothingIsExtracted) {
  std::uint64_t taken = 10;
  for (const std::wstring& path : fake.files.paths()) taken += fake.files.content(path).size();
  fake.files.capacity = taken;
  EXPECT_EQ(failure().number(), kDiskFull);
  EXPECT_EQ(engine.runs, 0);
  expectTidy();
}

// --- Safe mode ---

TEST_F(RestaurarCopiaTest, InSafeModeTheArchiveIsTestedFirst) {
  choice.safe = true;
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  ASSERT_THAT(requests, SizeIs(2));
  EXPECT_EQ(requests[0].mode, UnzipMode::Test);
  EXPECT_EQ(requests[1].mode, UnzipMode::Extract);
  EXPECT_EQ(payloads[0], payloads[1]);
  EXPECT_THAT(view.testing, ElementsAre(true, false));
  EXPECT_TRUE(std::ranges::is_sorted(view.progress));
  EXPECT_EQ(view.progress.back(), 1000);
  EXPECT_EQ(record.proven, true);
}

TEST_F(RestaurarCopiaTest, InSafeModeOfADamagedArchiveNothingIsRestored) {
  choice.safe = true;
  for (const int found : {2, 3, 9, 51, 81, 82}) {
    requests.clear();
    engine.work = [this, found] {
      requests.push_back(engine.request);
      engine.say(L"    testing: otro.txt   bad CRC 6faa2d8e\r\n");
      return found;
    };
    EXPECT_THAT(failure().description(), HasSubstr(L"No se ha restaurado nada: los datos siguen como estaban."));
    ASSERT_THAT(requests, SizeIs(1));
    EXPECT_EQ(requests[0].mode, UnzipMode::Test);
    EXPECT_EQ(record.proven, false);
    EXPECT_EQ(record.engineCode, found);
    EXPECT_THAT(record.remarks.lines(), ElementsAre(L"testing: otro.txt   bad CRC 6faa2d8e"));
    expectTidy();
  }
}

// --- Disks ---

class RestaurarDiscosTest : public RestaurarCopiaTest {
 protected:
  RestaurarDiscosTest() {
    choice.Archivo = kOnDisk;
    const std::string bytes = archive();
    for (int i = 0; i < 3; ++i)
      slices.push_back(bytes.substr(static_cast<std::size_t>(i) * 400, i == 2 ? 99'999 : 400));
    for (int i = 0; i < 3; ++i) disks.push_back(header(3, i + 1) + slices[static_cast<std::size_t>(i)]);
    insert(0);
    choice.set = SetHeader{L"Gestion", moment(2026, 11, 16), 3, 1, L"C:"};
    fake.messages.onShow = [this](const FakeMessages::Shown& shown) {
      for (std::size_t i = 0; i < disks.size(); ++i) {
        if (shown.text == L"Introduzca el disco " + std::to_wstring(i + 1) + L" para continuar") insert(i);
      }
      if (onAsk) onAsk(shown.text);
    };
  }

  void insert(std::size_t disk) { fake.files.put(kOnDisk, disks[disk]); }

  std::vector<std::string> slices;
  std::vector<std::string> disks;
  std::function<void(const std::wstring&)> onAsk;
};

TEST_F(RestaurarDiscosTest, EachDiskIsAskedForAndTheirSlicesAreJoined) {
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  EXPECT_THAT(asked(), ElementsAre(L"Introduzca el disco 1 para continuar", L"Introduzca el disco 2 para continuar",
                                   L"Introduzca el disco 3 para continuar"));
  EXPECT_THAT(fake.messages.shown,
              Each(testing::Field(&FakeMessages::Shown::style, message::kOkCancel | message::kInformation)));
  EXPECT_THAT(payloads, ElementsAre(archive()));
  expectTidy();
}

TEST_F(RestaurarDiscosTest, CancelAtAnyDiskEndsTheRunWithoutAResult) {
  for (std::size_t disk = 0; disk < 3; ++disk) {
    std::vector<Answer> answers(disk, Answer::Ok);
    answers.push_back(Answer::Cancel);
    fake.messages.willAnswer(answers);
    EXPECT_EQ(run(), RestoreRun::Outcome::Cancelled);
  }
  EXPECT_EQ(engine.runs, 0);
}

TEST_F(RestaurarDiscosTest, AWrongDiskIsToldAndTakenAllTheSameWhenTheUserSaysSo) {
  disks[1] = header(3, 2, "Otro") + slices[1];
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  EXPECT_EQ(asked().at(2), L"Este no es el disco n\u00famero 2 , inserte el correcto");
  EXPECT_THAT(payloads, ElementsAre(archive()));
}

TEST_F(RestaurarDiscosTest, ANoToTheNotReadyPromptForDisk2StillJoinsPieces1And3) {
  const std::wstring piece2 = std::wstring(kCopy) + L"2";
  fake.files.put(piece2, "de otra copia");
  fake.files.failCopiesTo(piece2, {kDiskNotReady});
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::No, Answer::Ok});
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  EXPECT_EQ(asked().at(2), L"El disco no est\u00e1 insertado, \u00bfReintentar?");
  EXPECT_THAT(payloads, ElementsAre(slices[0] + slices[2]));
}

TEST_F(RestaurarDiscosTest, OtherErrorsOfACopyAreTriedAgainUntilTheUserClosesTheWindow) {
  const std::wstring piece1 = std::wstring(kCopy) + L"1";
  fake.files.failCopiesTo(piece1, {kDeviceInputOutput, kPermissionDenied});
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Ok});
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  fake.files.failCopiesTo(piece1, {kDeviceInputOutput});
  view.wantsToClose = true;
  fake.messages.willAnswer({Answer::Ok});
  EXPECT_EQ(run(), RestoreRun::Outcome::Cancelled);
}

TEST_F(RestaurarDiscosTest, AFullWorkFolderIsNoMatterOfTheDisk) {
  fake.files.failCopiesTo(std::wstring(kCopy) + L"1", {kDiskFull});
  fake.messages.willAnswer({Answer::Ok});
  EXPECT_EQ(failure().number(), kDiskFull);
}

TEST_F(RestaurarDiscosTest, DisksWithoutHeadersAreGatheredUntilTheArchiveEndsAndThatIsKnownToTheNextRun) {
  choice.set.reset();
  const std::string bytes = "PK\x03\x04" + std::string(kVolumeBytes - 4, 'x');
  disks = {bytes, bytes, "fin"};
  insert(0);
  const std::wstring wrong = L"Este no es el disco n\u00famero ";
  fake.messages.willAnswer({Answer::Ok, Answer::Ok, Answer::Ok, Answer::Cancel});
  EXPECT_EQ(run(), RestoreRun::Outcome::Cancelled);
  EXPECT_TRUE(bareDisks);
  EXPECT_EQ(asked().at(1), wrong + L"1 , inserte el correcto");
  choice.bareDisks = bareDisks;
  fake.messages.willAnswer(std::vector<Answer>(6, Answer::Ok));
  EXPECT_EQ(run(), RestoreRun::Outcome::Restored);
  ASSERT_THAT(payloads, SizeIs(1));
  EXPECT_TRUE(payloads[0] == bytes + bytes + "fin");
}

}  // namespace
}  // namespace qev::test
