// What a run says and leaves with real files and real engines: places and names that hosts have, each in safe mode and
// without it.
#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "backup/DataFiles.h"
#include "backup/HacerCopia.h"
#include "platform/Handle.h"
#include "support/FakePlatform.h"
#include "support/RecordingView.h"
#include "support/TemporaryFolder.h"
#include "support/ZipWriter.h"
#include "values/Utf8.h"
#include "zip/ZipDirectory.h"

namespace qev::test {
namespace {

using testing::HasSubstr;

// A host below a folder of its own.
struct Place {
  TemporaryFolder folder;
  std::wstring program = L"Prog";            // its folder
  std::wstring inner = L"\\Datos\\Emp01\\";  // the data folder in it
  std::wstring title = L"Gestion";
  std::function<std::wstring(std::wstring)> told = [](std::wstring path) { return path; };  // how the host writes it
  UniqueFile held;
  bool isMade = false;

  void makeBase();

  std::wstring data() const { return folder / (program + inner); }

  // A file of any name, as it stands.
  void write(const std::wstring& name, const std::string& bytes) const {
    const std::wstring path = L"\\\\?\\" + data() + name;
    for (std::size_t at = path.find(L'\\', 7); at != path.npos; at = path.find(L'\\', at + 1)) {
      CreateDirectoryW(path.substr(0, at).c_str(), nullptr);
    }
    const UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    DWORD written = 0;
    EXPECT_TRUE(file && WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        << utf8(path);
  }
};

// What every host has.
void Place::makeBase() {
  if (std::exchange(isMade, true)) return;
  write(L"gestion.db", std::string(100'000, 'g'));
  folder.write(program + L"\\Util.mde", "utilidades");
}

struct Result {
  std::wstring error;  // what follows "Error: "; empty for a success
  std::string record;  // what the record says, among other things
};

struct Situation {
  const char* name;
  std::function<void(Place&)> arrange;
  Result safe;
  Result plain;
};

void PrintTo(const Situation& situation, std::ostream* out) {
  *out << situation.name;
}

const std::vector<Situation>& situations() {
  const Result done{L"", "Resultado: correcto"};
  static const std::vector<Situation> all = {
      {"AFolderWithBrackets", [](Place& p) { p.program = L"B [v2]"; }, done, done},
      {"ADataFolderWithBrackets", [](Place& p) { p.inner = L"\\Datos [2026]\\Emp[1]\\"; }, done, done},
      {"AFolderOutsideTheCodePage", [](Place& p) { p.program = L"Prog\u0141\u65e5"; }, done, done},
      {"AFolderWithEveryOtherSign", [](Place& p) { p.program = L"Prog (x86) & C\u00eda, S.A. #1 {a} 100%"; }, done,
       done},
      {"WithoutTheLastBackslash",
       [](Place& p) { p.told = [](std::wstring path) { return path.substr(0, path.size() - 1); }; }, done, done},
      {"WithForwardSlashes",
       [](Place& p) {
         p.told = [](std::wstring path) {
           std::ranges::replace(path, L'\\', L'/');
           return path;
         };
       },
       done, done},
      {"InOtherLetterCase",
       [](Place& p) {
         p.told = [](std::wstring path) {
           for (wchar_t& c : path) c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
           return path;
         };
       },
       done, done},
      {"NamesOutsideTheCodePage",
       [](Place& p) {
         p.write(L"\u65e5.txt", "sol");
         p.write(L"#U65e5.txt", "otro");
         p.write(L"\u0141\u00f3d\u017a\\\u0416.db", "lodz");
       },
       done, done},
      {"NamesOfDevicesAndWithDotsAtTheirEnd",
       [](Place& p) {
         for (const wchar_t* name : {L"nul.txt", L"con", L"aux.db", L"a.", L"b "}) p.write(name, utf8(name));
       },
       done, done},
      {"APathBeyond260Characters",
       [](Place& p) {
         p.write(std::wstring(100, L'x') + L"\\" + std::wstring(100, L'y') + L"\\" + std::wstring(100, L'z') + L".db",
                 "lejos");
       },
       done, done},
      {"ManySmallAndOneEmptyFile",
       [](Place& p) {
         for (int i = 0; i < 300; ++i) p.write(L"n\\" + std::to_wstring(i), std::to_string(i));
         p.write(L"vac\u00edo", "");
       },
       done, done},
      {"AHiddenFile",
       [](Place& p) {
         p.write(L"oculto.db", "oculto");
         SetFileAttributesW((p.data() + L"oculto.db").c_str(), FILE_ATTRIBUTE_HIDDEN);
       },
       done,
       {L"", "oculto.db no est\xC3\xA1 en la copia: es un archivo oculto o del sistema\r\n"}},
      {"AHiddenFolder",
       [](Place& p) {
         p.write(L"Oculta\\x.db", "oculto");
         SetFileAttributesW((p.data() + L"Oculta").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
       },
       done,
       {L"", "Oculta\\x.db no est\xC3\xA1 en la copia: es un archivo oculto o del sistema\r\n"}},
      {"WhatAnotherRunIsWritingAmongTheData",
       [](Place& p) { p.write(L"Sub\\qev0badcafe-ffff-0123456789abcdef-1.tmp", "a medias"); }, done, done},
      {"AFileThatNobodyMayOpen",
       [](Place& p) {
         p.makeBase();
         p.held.reset(
             CreateFileW((p.data() + L"gestion.db").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
       },
       {L"70-Copia incompleta: gestion.db no se ha podido leer", "could not open for reading"},
       {L"", "gestion.db no est\xC3\xA1 en la copia\r\n"}},
      {"ADataFolderWithoutFiles",
       [](Place& p) {
         p.makeBase();
         DeleteFileW((p.data() + L"gestion.db").c_str());
       },
       {L"53-La carpeta de datos no contiene ning\u00fan archivo", "con errores"},
       {L"", "La carpeta de datos no contiene ning\xC3\xBAn archivo"}},
      {"ATitleWithASemicolon",
       [](Place& p) { p.title = L"Gestion; S.A."; },
       {L"13-La cabecera no se lee como se ha escrito", "con errores"},
       {L"", "La cabecera no se lee como se ha escrito"}},
      {"ATitleWithAnAccent", [](Place& p) { p.title = L"Gesti\u00f3n"; }, done, done},
  };
  return all;
}

class RealOutcomes : public testing::TestWithParam<Situation> {
 protected:
  static void expectResult(bool isSafe, const Result& expected) {
    Place place;
    GetParam().arrange(place);
    place.makeBase();
    place.folder.makeFolder(L"copias");
    place.folder.makeFolder(L"trabajo\\temp");

    FakePlatform fake;
    fake.workFolder.folder = place.folder / L"trabajo";
    if (isSafe) fake.registry.put(L"Clave", L"Verificar", std::int32_t{1});
    HostSettings host;
    host.title = place.title;
    host.settingsKey = L"Clave";
    host.dataFolder = place.told(place.data());
    Platform platform = with(systemPlatform(), fake.registry, fake.messages, fake.workFolder, fake.sound);
    SettingsStore settings(fake.registry, host.settingsKey);
    RecordingView view;
    const std::wstring target = place.folder / L"copias\\copia.qev";
    BackupRun(platform, host, kAutomatic, settings, view).HacerCopia(target);

    if (expected.error.empty()) {
      EXPECT_EQ(utf8(view.failure), "");
      if (isSafe || expected.record.starts_with("Resultado")) expectAll(platform, host, target);
    } else {
      EXPECT_THAT(utf8(view.failure), HasSubstr("Error: " + utf8(expected.error)));
      EXPECT_TRUE(place.folder.list(L"copias").empty());
    }
    EXPECT_THAT(place.folder.bytes(L"trabajo\\registro.log"), HasSubstr(expected.record));
  }

  // The set holds each file, as it is.
  static void expectAll(Platform& platform, const HostSettings& host, const std::wstring& target) {
    std::set<std::string> files, entries;
    for (const DataFile& file : findData(platform, DataPlaces::of(host.dataFolder, host.title), target, [] {}).files) {
      std::string bytes(file.size, '\0');
      EXPECT_EQ(platform.files.openLive(file.path)->read(std::as_writable_bytes(std::span(bytes))), bytes.size());
      files.insert(file.name + " " + std::to_string(checksumOf(bytes)));
    }
    const auto reader = platform.files.openForReading(target);
    const auto listed = readZipDirectory(*reader);
    ASSERT_TRUE(listed);
    for (const ZipDirectoryEntry& entry : *listed) {
      if (!entry.name.ends_with('/')) entries.insert(entry.name + " " + std::to_string(entry.crc));
    }
    EXPECT_EQ(entries, files);
    EXPECT_GT(files.size(), 1u);
  }
};

TEST_P(RealOutcomes, InSafeMode) {
  expectResult(true, GetParam().safe);
}

TEST_P(RealOutcomes, WithoutIt) {
  expectResult(false, GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(Of, RealOutcomes, testing::ValuesIn(situations()),
                         [](const testing::TestParamInfo<Situation>& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace qev::test
