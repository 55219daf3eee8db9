// The modal window in which a backup run happens: what kind, from where to where, how far, and how it ended. It starts
// the run by itself soon after it is shown.
//
// Caller: set FormSession::BackupKind and RutaDestino, then showModal(). When that returns the window has closed,
// FormSession::finished is true, and the settings Estado and UltimaCopia tell the outcome.
#pragma once

#include <string>

#include "backup/HacerCopia.h"
#include "controls/RunWindow.h"
#include "controls/UTextBox.h"
#include "platform/Platform.h"
#include "zip/CZipFiles.h"

namespace qev {

class FBackup final : public RunWindow, private BackupRunView {
 public:
  // REQUIRES: all references outlive the window.
  FBackup(Platform& platform, const HostSettings& host, FormSession& session,
          CZipFiles::EngineLoader loadEngine = loadZipEngine, CUnzipFiles::EngineLoader loadTester = loadUnzipEngine);

  std::wstring RutaDestino;  // target path of the run

 private:
  // RunWindow
  void load() override;
  void unload() override;
  void Tiempo_Timer() override;
  const wchar_t* workInHand() const override;
  bool mustBegin() const override { return true; }  // a host that asks for a backup gets one

  // BackupRunView
  void showBusy(bool busy) override { setBusy(busy); }
  void showOrigin(const std::wstring& text) override;
  void showDestination(const std::wstring& text) override;
  void showResult(const std::wstring& text) override;
  void showProgress(int permille) override { setProgress(permille); }
  void showSuccess(const std::wstring& text) override;
  void showFailure(const std::wstring& text) override;
  void stopTimer() override { endTimer(); }
  void close() override { askToClose(); }  // the run that asks for it is about to end
  bool closeAsked() const override { return isCloseAsked(); }

  CZipFiles::EngineLoader loadEngine_;
  CUnzipFiles::EngineLoader loadTester_;
  UTextBox* TOrigen_ = nullptr;
  UTextBox* TDestino_ = nullptr;
};

}  // namespace qev
