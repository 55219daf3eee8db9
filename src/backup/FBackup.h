// The modal window in which a backup run happens: what kind, from where to where, how far, and how it ended. It starts
// the run by itself soon after it is shown.
//
// Caller: set FormSession::BackupKind and RutaDestino, then showModal(). When that returns the window has closed,
// FormSession::finished is true, and the settings Estado and UltimaCopia tell the outcome.
#pragma once

#include <string>

#include "backup/HacerCopia.h"
#include "controls/HeadingBand.h"
#include "controls/ModalForm.h"
#include "controls/UTextBox.h"
#include "platform/Platform.h"
#include "resources/Picture.h"
#include "zip/CZipFiles.h"

namespace qev {

class FBackup final : public ModalForm, private BackupRunView {
 public:
  // REQUIRES: all references outlive the window.
  FBackup(Platform& platform, const HostSettings& host, FormSession& session,
          CZipFiles::EngineLoader loadEngine = loadZipEngine, CUnzipFiles::EngineLoader loadTester = loadUnzipEngine);

  std::wstring RutaDestino;  // target path of the run

 private:
  // ModalForm
  void load() override;
  void timer(UINT_PTR id) override;
  void command(int id) override;
  bool mayClose() override;
  void unload() override;
  void drawItem(int id, HDC dc, const RECT& area) override;
  HBRUSH colours(int id, HDC dc) override { return heading_.colours(id, dc); }
  void paint(HDC dc) override { heading_.paint(dc); }
  bool busy() const override { return busy_; }

  // BackupRunView
  void showBusy(bool busy) override;
  void showOrigin(const std::wstring& text) override;
  void showDestination(const std::wstring& text) override;
  void showResult(const std::wstring& text) override;
  void showProgress(int permille) override;
  void showSuccess(const std::wstring& text) override;
  void showFailure(const std::wstring& text) override;
  void stopTimer() override;
  void close() override;
  bool closeAsked() const override { return closeAsked_; }

  void Tiempo_Timer();
  void BAceptar_Click();
  void showOutcome(const wchar_t* picture, const wchar_t* line, const std::wstring& text);

  CZipFiles::EngineLoader loadEngine_;
  CUnzipFiles::EngineLoader loadTester_;
  UTextBox* Metodo_ = nullptr;
  UTextBox* TOrigen_ = nullptr;
  UTextBox* TDestino_ = nullptr;
  HWND TResultado_ = nullptr;
  HWND ESalida_ = nullptr;
  HWND BAceptar_ = nullptr;
  HWND Progreso_ = nullptr;
  HeadingBand heading_;
  Picture ImgResultado_;
  UniqueFont outcomeFont_;
  UniqueIcon buttonIcon_;
  ULONGLONG progressShownAt_ = 0;  // system ticks, milliseconds
  bool busy_ = false;
  bool running_ = false;     // a tick that arrives during a run starts nothing
  bool closeAsked_ = false;  // during a run: close when it is over
};

}  // namespace qev
