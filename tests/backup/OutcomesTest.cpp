// What a run says and leaves: situations, each in safe mode and without it. In every one there is a set of the day
// before, and the user wants it replaced. The engine archives what the fake disk holds, but for what a situation does
// to it.
#include <gmock/gmock.h>

#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "backup/DataFiles.h"
#include "backup/HacerCopia.h"
#include "support/FakePlatform.h"
#include "support/RecordingView.h"
#include "support/ScriptedEngine.h"
#include "support/ZipWriter.h"
#include "values/Utf8.h"
#include "zip/ZipDirectory.h"

namespace qev::test {
namespace {

using testing::HasSubstr;

constexpr wchar_t kTarget[] = L"D:\\Copias\\Backup16-11-26.qev";
constexpr wchar_t kLog[] = L"C:\\Trabajo\\registro.log";
constexpr char kOld[] = "la copia de antes";
const std::wstring kData = L"C:\\Prog\\Datos\\Emp01\\";
const std::wstring kBase = kData + L"clientes.db";

// A host, its data and an engine.
struct Scene {
  Scene() {
    host.title = L"Gestion";
    host.dataFolder = kData;
    host.settingsKey = L"Software\\Gestion";
    fake.files.put(kBase, std::string(600, 'c'));
    fake.files.put(kData + L"Año\\facturas.db", std::string(300, 'f'));
    fake.files.put(L"C:\\Prog\\Util.mde", "utilidades");
    fake.files.put(L"C:\\Prog\\Gestion.ini", "ajustes");
    fake.files.put(kTarget, kOld);
    engine.work = [this] { return archive(); };
    tester.work = [this] { return testCode; };
  }

  // All that the engine finds, as it is when the engine reads it.
  int archive() {
    ++archives;
    if (whileReading) whileReading();
    std::vector<ZipEntry> entries;
    const auto add = [&](const std::wstring& path) {
      if (!fake.files.fileExists(path) || passedOver.contains(path)) return;
      for (const ZipEntry& entry : entries) {
        if (entry.name == nameInArchive(path)) return;  // as the engine does with a file that is named twice
      }
      entries.push_back(storedEntry(nameInArchive(path), fake.files.bytes(path)));
      if (corrupted == path) entries.back().checksum ^= 1;
    };
    fake.files.walkFiles(host.dataFolder, {.file =
                                               [&](const WalkedFile& file) {
                                                 if (!file.isHidden || engine.request.system == 1) add(file.path);
                                               },
                                           .gap = nullptr});
    add(engine.request.names.at(2));
    add(engine.request.names.at(3));
    if (!entries.empty()) fake.files.put(engine.request.archive, zipOf(entries));
    engine.say(says);
    if (afterReading) afterReading();
    return entries.empty() ? 12 : code;
  }

  FakePlatform fake;
  HostSettings host;
  ScriptedZip engine;
  ScriptedUnzip tester;
  RecordingView view;
  std::wstring target = kTarget;
  std::vector<Answer> answers = {Answer::Yes};
  std::set<std::wstring> passedOver;  // by the engine
  std::wstring corrupted;             // the archive holds something else of this file
  std::wstring says;
  int code = 0;
  int testCode = 1;
  int archives = 0;
  std::function<void()> whileReading;
  std::function<void()> afterReading;
};

enum class Under { Old, New };

struct Outcome {
  std::wstring error;  // what follows "Error: "; empty for a success
  Under under;         // what stands under the set's name
  std::string record;  // what the record says, among other things
};

struct Situation {
  const char* name;
  std::function<void(Scene&)> arrange;
  Outcome safe;
  Outcome plain;
};

void PrintTo(const Situation& situation, std::ostream* out) {
  *out << situation.name;
}

std::function<void()> writes(Scene& scene, const std::wstring& path, const std::string& bytes) {
  return [&scene, path, bytes] { scene.fake.files.put(path, bytes); };
}

const std::vector<Situation>& situations() {
  const Outcome done{L"", Under::New, "  Resultado: correcto\r\n"};
  static const std::vector<Situation> all = {
      {"NothingUnusual", [](Scene&) {}, done, done},
      {"AHostWithoutUtilitiesAndSettings",
       [](Scene& s) {
         s.fake.files.deleteFile(L"C:\\Prog\\Util.mde", true);
         s.fake.files.deleteFile(L"C:\\Prog\\Gestion.ini", true);
         s.says = L"\tzip warning: name not matched: C:\\Prog\\Util.mde\r\n";
       },
       done, done},
      {"ADatabaseThatIsWrittenAllTheWhile",
       [](Scene& s) {
         s.fake.files.put(kBase, std::string(20 << 20, 'c'));
         s.afterReading = [&s] { s.fake.files.put(kBase, std::string(20 << 20, static_cast<char>('d' + s.archives))); };
         s.fake.processes.users[kBase] = {L"Gestion"};
       },
       {L"75-Copia incompleta: clientes.db ha cambiado durante la copia (abierto por Gestion)", Under::Old,
        "Comprobada: no"},
       {L"", Under::New, "    | C:\\Prog\\Datos\\Emp01\\clientes.db ha cambiado durante la copia\r\n"}},
      {"ASmallFileThatIsWrittenOnce",
       [](Scene& s) {
         s.afterReading = [&s] {
           if (s.archives == 1) s.fake.files.put(kData + L"Año\\facturas.db", std::string(300, 'g'));
         };
       },
       {L"", Under::New, "    | La copia se repite una vez\r\n"},
       {L"", Under::New, "facturas.db ha cambiado durante la copia\r\n"}},
      {"ASmallFileThatIsWrittenAllTheWhile",
       [](Scene& s) {
         s.afterReading = [&s] { s.fake.files.put(kBase, std::string(600, static_cast<char>('d' + s.archives))); };
       },
       {L"75-Copia incompleta: ", Under::Old, "ha cambiado durante la copia\r\n"},
       {L"", Under::New, "ha cambiado durante la copia\r\n"}},
      {"AFileThatGrows",
       [](Scene& s) {
         s.afterReading = [&s] { s.fake.files.put(kBase, std::string(700u + static_cast<unsigned>(s.archives), 'c')); };
       },
       {L"75-Copia incompleta: ", Under::Old, "ha cambiado durante la copia\r\n"},
       {L"", Under::New, "ha cambiado durante la copia\r\n"}},
      {"AFileThatVanishesMeanwhile",
       [](Scene& s) {
         s.afterReading = [&s] {
           if (s.fake.files.fileExists(kBase)) s.fake.files.deleteFile(kBase, true);
         };
       },
       {L"", Under::New, "clientes.db est\xC3\xA1 en la copia, pero ya no en los datos\r\n"},
       {L"", Under::New, "clientes.db est\xC3\xA1 en la copia, pero ya no en los datos\r\n"}},
      {"AFileThatComesMeanwhile",
       [](Scene& s) { s.afterReading = writes(s, kData + L"nuevo.db", "nuevo"); },
       {L"", Under::New, "nuevo.db no est\xC3\xA1 en la copia\r\n"},
       {L"", Under::New, "nuevo.db no est\xC3\xA1 en la copia\r\n"}},
      {"AFileThatTheEngineCannotRead",
       [](Scene& s) {
         s.passedOver = {kBase};
         s.fake.files.makeUnreadable(kBase);
         s.says = L"\tzip warning: could not open for reading: Prog/Datos/Emp01/clientes.db\r\n";
         s.code = 18;
       },
       {L"70-Copia incompleta: clientes.db no se ha podido leer", Under::Old,
        "    | zip warning: could not open for reading: Prog/Datos/Emp01/clientes.db\r\n"},
       {L"", Under::New, "clientes.db no est\xC3\xA1 en la copia\r\n"}},
      {"AFileThatTheEngineDropsWithoutAWord",
       [](Scene& s) { s.passedOver = {kBase}; },
       {L"53-Copia incompleta: clientes.db no está en la copia", Under::Old, "no est\xC3\xA1 en la copia\r\n"},
       {L"", Under::New, "clientes.db no est\xC3\xA1 en la copia\r\n"}},
      {"UtilitiesThatTheEngineDropsWithoutAWord",
       [](Scene& s) {
         s.passedOver = {L"C:\\Prog\\Util.mde", L"C:\\Prog\\Gestion.ini"};
       },
       {L"53-Copia incompleta: C:\\Prog\\Util.mde no está en la copia (y 1 más)", Under::Old, "Util.mde no est"},
       {L"", Under::New, "C:\\Prog\\Gestion.ini no est\xC3\xA1 en la copia\r\n"}},
      {"AnEntryThatIsNotTheFile",
       [](Scene& s) { s.corrupted = kBase; },
       {L"75-Copia incompleta: clientes.db ha cambiado durante la copia", Under::Old, "ha cambiado"},
       done},
      {"AnEntryThatTheTestFindsDamaged",
       [](Scene& s) { s.testCode = 2; },
       {L"2-Copia dañada: la estructura del archivo está dañada", Under::Old, "Comprobada: no"},
       done},
      {"AHiddenFile",
       [](Scene& s) { s.fake.files.makeHidden(kBase); },
       done,
       {L"", Under::New, "clientes.db no est\xC3\xA1 en la copia: es un archivo oculto o del sistema\r\n"}},
      {"AFolderThatCannotBeListed",
       [](Scene& s) {
         s.fake.files.makeGap({WalkGap::Reason::Unreadable, kData + L"Enlace\\", kPathNotFound});
       },
       {L"76-No se ha encontrado la ruta de acceso: " + kData + L"Enlace\\", Under::Old, "con errores"},
       {L"", Under::New, "Enlace\\ no se ha podido leer\r\n"}},
      {"AFolderThatCannotBeListedAnyMore",
       [](Scene& s) {
         s.afterReading = [&s] {
           s.fake.files.makeGap({WalkGap::Reason::Unreadable, kData + L"Red\\", kPermissionDenied});
         };
       },
       {L"70-Copia incompleta: Red\\ no se ha podido leer", Under::Old, "con errores"},
       {L"", Under::New, "Red\\ no se ha podido leer\r\n"}},
      {"ALinkThatLeadsBackUp",
       [](Scene& s) {
         s.fake.files.makeGap({WalkGap::Reason::LeadsBack, kData + L"Todo\\", 0});
       },
       {L"", Under::New, "Todo\\ enlaza con una carpeta que la contiene: no se ha entrado en ella\r\n"},
       {L"", Under::New, "Todo\\ enlaza con una carpeta que la contiene: no se ha entrado en ella\r\n"}},
      {"ADataFolderWithoutFiles",
       [](Scene& s) {
         s.fake.files.deleteFile(kBase, true);
         s.fake.files.deleteFile(kData + L"Año\\facturas.db", true);
       },
       {L"53-La carpeta de datos no contiene ningún archivo: " + kData, Under::Old, "con errores"},
       {L"", Under::New, "La carpeta de datos no contiene ning\xC3\xBAn archivo"}},
      {"ADataFolderThatIsNotThere",
       [](Scene& s) { s.host.dataFolder = L"C:\\Prog\\Datos\\Emp09\\"; },
       {L"76-", Under::Old, "con errores"},
       {L"76-", Under::Old, "con errores"}},
      {"ADataFolderThatNobodyHasTold",
       [](Scene& s) {
         s.host.dataFolder = L"";
         s.answers = {};
       },
       {L"76-", Under::Old, "con errores"},
       {L"76-", Under::Old, "con errores"}},
      {"ADataFolderWithoutItsLastBackslash", [](Scene& s) { s.host.dataFolder.pop_back(); }, done, done},
      {"ATitleThatTheHeaderCannotKeep",
       [](Scene& s) { s.host.title = L"Gestion; S.A."; },
       {L"13-La cabecera no se lee como se ha escrito: el título «Gestion; S.A.»", Under::Old, "con errores"},
       {L"", Under::New, "La cabecera no se lee como se ha escrito"}},
      {"ATitleWithAComma",
       [](Scene& s) { s.host.title = L"Gestion, S.A."; },
       {L"13-", Under::Old, "con errores"},
       {L"", Under::New, "La cabecera no se lee como se ha escrito"}},
      {"TwoNamesOfWhichTheEngineKeepsOne",
       [](Scene& s) {
         s.fake.files.put(kData + L"\xD83D.txt", "uno");
         s.fake.files.put(kData + L"\xD83E.txt", "dos");
         s.passedOver = {kData + L"\xD83E.txt"};
       },
       {L"53-Copia incompleta: ", Under::Old, "no est\xC3\xA1 en la copia\r\n"},
       {L"", Under::New, "no est\xC3\xA1 en la copia\r\n"}},
      {"NoEngine",
       [](Scene& s) { s.engine.onLoad = [] { throw AutomationError(kFileNotFound, L"VANTO5.DLL"); }; },
       {L"53-No se ha encontrado el archivo: VANTO5.DLL", Under::Old, "con errores"},
       {L"53-No se ha encontrado el archivo: VANTO5.DLL", Under::Old, "con errores"}},
      {"NoEngineThatTests",
       [](Scene& s) { s.tester.onLoad = [] { throw AutomationError(kFileNotFound, L"VANTO6.DLL"); }; },
       {L"53-No se ha encontrado el archivo: VANTO6.DLL", Under::Old, "Comprobada: no"},
       done},
      {"AnotherRunToTheSameTarget",
       [](Scene& s) {
         s.fake.processes.busy = true;
         s.answers = {};
       },
       {L"70-Otra copia de seguridad está en marcha", Under::Old, ""},
       {L"70-Otra copia de seguridad está en marcha", Under::Old, ""}},
      {"ATargetThatMayNotBeWritten",
       [](Scene& s) { s.fake.files.denyWriting(kTarget, kPermissionDenied); },
       {L"70-", Under::Old, "con errores"},
       {L"70-", Under::Old, "con errores"}},
      {"ATargetFolderThatIsNotThere",
       [](Scene& s) {
         s.target = L"E:\\Fuera\\Backup16-11-26.qev";
         s.answers = {};
       },
       {L"76-", Under::Old, "con errores"},
       {L"76-", Under::Old, "con errores"}},
      {"ADiskWithoutRoom",
       [](Scene& s) {
         s.afterReading = [&s] {
           s.fake.files.capacity = 0;
           s.fake.drives.volume->freeBytes = 0;
         };
       },
       {L"61-Disco lleno. Lo comprimido queda, sin cabecera, en ", Under::Old, ""},
       {L"61-Disco lleno. Lo comprimido queda, sin cabecera, en ", Under::Old, ""}},
      {"AFileSystemThatTakesNoSuchLength",
       [](Scene& s) {
         s.fake.drives.volume = VolumeFacts{L"FAT32", std::uint64_t{1} << 34};
         s.engine.work = [&s] {
           s.engine.say(L"zip I/O error: No space left on device\r\n");
           return 14;
         };
       },
       {L"61-El disco está formateado como FAT32", Under::Old, "con errores"},
       {L"61-El disco está formateado como FAT32", Under::Old, "con errores"}},
      {"ADataFolderThatIsAWholeDrive",
       [](Scene& s) {
         s.host.dataFolder = L"E:\\";
         s.fake.files.put(L"E:\\clientes.db", "clientes");
         s.fake.files.put(L"E:\\Util.mde", "utilidades");
         s.afterReading = [] {};
       },
       done, done},
      {"UtilitiesThatCannotBeReached",
       [](Scene& s) { s.fake.files.makeUnreadable(L"C:\\Prog\\Util.mde", kDeviceInputOutput); },
       {L"57-Copia incompleta: C:\\Prog\\Util.mde no se ha podido leer", Under::Old, "con errores"},
       done},
      {"AnAnswerThatIsNoYes",
       [](Scene& s) { s.answers = {Answer::Cancel}; },
       {L"", Under::Old, "no realizado"},
       {L"", Under::Old, "no realizado"}},
  };
  return all;
}

class Outcomes : public testing::TestWithParam<Situation> {
 protected:
  static void expectOutcome(bool isSafe, const Outcome& expected) {
    Scene scene;
    if (isSafe) scene.fake.registry.put(scene.host.settingsKey, L"Verificar", std::int32_t{1});
    GetParam().arrange(scene);
    scene.fake.messages.willAnswer(scene.answers);
    SettingsStore settings{scene.fake.registry, scene.host.settingsKey};
    BackupRun(scene.fake.platform(), scene.host, kAutomatic, settings, scene.view, scene.engine.loader(),
              scene.tester.loader())
        .HacerCopia(scene.target);
    if (expected.error.empty()) {
      EXPECT_EQ(scene.view.failure, L"");
      EXPECT_EQ(scene.view.succeeded, expected.under == Under::New);
    } else {
      EXPECT_THAT(utf8(scene.view.failure), HasSubstr("\r\nError: " + utf8(expected.error)));
    }
    const std::string under = scene.fake.files.bytes(kTarget);
    if (expected.under == Under::New) {
      expectSet(scene, isSafe);
    } else {
      EXPECT_EQ(under, kOld);
    }
    EXPECT_THAT(scene.fake.files.bytes(kLog), HasSubstr(expected.record));
    EXPECT_EQ(scene.fake.files.openReaders() + scene.fake.files.openReplacements(), 0u);
    for (const std::wstring& name : scene.fake.files.list(L"D:\\Copias")) {
      const bool isTold = scene.view.failure.find(name) != std::wstring::npos;
      EXPECT_TRUE(name == fileNamePart(kTarget) || isTold) << utf8(name) << " is left beside the set";
    }
  }

  // In safe mode: every file, as it is.
  static void expectSet(Scene& scene, bool isSafe) {
    const auto reader = scene.fake.files.openForReading(kTarget);
    const auto entries = readZipDirectory(*reader);
    ASSERT_TRUE(entries);
    if (!isSafe) return;
    std::set<std::string> expected, found;
    const DataPlaces places = DataPlaces::of(scene.host.dataFolder, scene.host.title);
    for (const DataFile& file : findData(scene.fake.platform(), places, kTarget, [] {}).files) {
      expected.insert(file.name + " " + std::to_string(checksumOf(scene.fake.files.bytes(file.path))));
    }
    for (const ZipDirectoryEntry& entry : *entries) found.insert(entry.name + " " + std::to_string(entry.crc));
    EXPECT_EQ(found, expected);
  }
};

TEST_P(Outcomes, InSafeMode) {
  expectOutcome(true, GetParam().safe);
}

TEST_P(Outcomes, WithoutIt) {
  expectOutcome(false, GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(Of, Outcomes, testing::ValuesIn(situations()),
                         [](const testing::TestParamInfo<Situation>& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace qev::test
