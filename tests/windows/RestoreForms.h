// The restore dialog and its window for a test: real windows, keys, conversions, files and engine, on settings,
// messages and choosers of the test's own, and a drive A: whose disks the test inserts.
#pragma once

#include <map>
#include <optional>

#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "restore/FRestaurar.h"
#include "support/DiskDrive.h"
#include "support/OriginalDrive.h"
#include "support/ZipWriter.h"
#include "windows/FormTest.h"

namespace qev::test {

class RestoreForms : public FormTest {
 protected:
  static constexpr wchar_t kCaption[] = L"Restaurar Copia";
  static constexpr wchar_t kOriginal[] = L"  Carpeta Origen";
  static constexpr std::uint32_t kYesNoInformationNo = 324;

  void SetUp() override {
    FormTest::SetUp();
    emptyWorkFolder();
  }

  void TearDown() override { emptyWorkFolder(); }

  // --- sets ---

  static std::string header(const std::string& program = "Gestion de prueba", const std::string& date = "16/11/2026",
                            const std::string& total = "1", const std::string& number = "1",
                            const std::string& directory = "C:") {
    return "Programa : " + program + ";Fecha Creaci\xF3n : " + date + ";Total de Vol\xFAmenes :" + total +
           ";N\xFAmero de Vol\xFAmen :" + number + ";Directorio : " + directory + ";\r\n";
  }

  // Two files, one of them in a folder, of January 2005.
  static std::string archive() {
    return zipOf({storedEntry("clientes.txt", "clientes"), deflatedEntry("Datos/facturas.txt", "facturas de enero")});
  }

  std::wstring putSet(const std::string& bytes, const std::wstring& name = L"copia.qev") const {
    folder_.write(name, bytes);
    return folder_ / name;
  }

  std::wstring target() const { return folder_ / L"destino"; }

  // --- the dialog ---

  // Runs the dialog, and the window after it, while `user` does what a user would.
  void run(const std::function<void(HWND form)>& user) { runOn(platform_, user); }

  void runOn(Platform& platform, const std::function<void(HWND form)>& user) {
    const auto show = [&] { FRestaurar(platform, host_, session_, loadEngine_).showModal(); };
    use(kCaption, FRestaurar_TNombre, show, [&](HWND form) {
      toFront(form);
      user(form);
    });
  }

  // The same, and then presses BCancelar.
  void runAndCancel(const std::function<void(HWND form)>& user) {
    run([&](HWND form) {
      user(form);
      click(form, FRestaurar_BCancelar);
    });
  }

  // Loads a set.
  void load(HWND form, const std::wstring& set) {
    fake_.fileChooser.willAnswer({set});
    EXPECT_TRUE(pressAccessKey(form, 'C', [&] { return textOf(form, FRestaurar_TNombre) == set; }))
        << "the set is not taken";
  }

  void chooseFolder(HWND form, const std::wstring& folder) {
    enter(form, FRestaurar_TTipo, L"Ubicación Alternativa");
    EXPECT_TRUE(waitFor([&] { return IsWindowEnabled(GetDlgItem(form, FRestaurar_BCarpeta)) != FALSE; }));
    fake_.folderChooser.willAnswer({folder});
    click(form, FRestaurar_BCarpeta);
    EXPECT_TRUE(waitFor([&] { return textOf(form, FRestaurar_TDestino) == folder; }));
  }

  // The restore window, when its run has ended.
  static HWND ended() { return endedRun(FPRestaura_TResultado, FPRestaura_BAceptar); }

  // Loads a set and presses BRestaurar for another folder.
  void begin(HWND form, const std::wstring& set) { begin(form, set, target()); }
  void begin(HWND form, const std::wstring& set, const std::wstring& folder) {
    load(form, set);
    chooseFolder(form, folder);
    click(form, FRestaurar_BRestaurar);
  }

  // Leaves the restore window when its run has ended; what it said.
  static std::wstring closeRun() {
    const HWND window = ended();
    const std::wstring result = textOf(window, FPRestaura_TResultado);
    click(window, FPRestaura_BAceptar);
    return result;
  }

  // Restores a set to a folder, or to where it came from without one, and returns what the window said.
  std::wstring restore(
      const std::wstring& set, const std::optional<std::wstring>& folder,
      const std::function<void(HWND)>& look = [](HWND) {}, bool keepFolders = true) {
    std::wstring result;
    run([&](HWND form) {
      load(form, set);
      if (folder) chooseFolder(form, *folder);
      if (!keepFolders) click(form, FRestaurar_TEstructura);
      click(form, FRestaurar_BRestaurar);
      const HWND window = ended();
      if (!window) return;
      result = textOf(window, FPRestaura_TResultado);
      look(window);
      click(window, FPRestaura_BAceptar);
      if (result.empty()) leave(form);
    });
    return result;
  }

  // The dialog is there again: closes it.
  static void leave(HWND form) {
    EXPECT_TRUE(waitFor([form] { return IsWindowVisible(form) && IsWindowEnabled(form); }))
        << "no dialog to go back to";
    click(form, FRestaurar_BCancelar);
  }

  static std::wstring success(const std::wstring& set, const std::wstring& destination) {
    return L"La copia de seguridad se ha restaurado correctamente.\r\n\r\nOrigen:" + set + L"\r\nDestino: " +
           destination;
  }

  // --- the work folder ---

  static std::wstring temp() { return systemPlatform().workFolder.path() + L"\\temp"; }

  static std::vector<std::wstring> workFiles() {
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(temp())) names.push_back(entry.path().filename());
    return names;
  }

  static void emptyWorkFolder() {
    for (const auto& entry : std::filesystem::directory_iterator(temp())) std::filesystem::remove(entry.path());
  }

  DiskDrive files_{system_.files};
  Platform platform_ = with(system_, fake_.registry, files_, messages_, fake_.sound, fake_.folderChooser,
                            fake_.textPrompt, fake_.fileChooser);
  CUnzipFiles::EngineLoader loadEngine_ = loadUnzipEngine;
};

}  // namespace qev::test
