// The modal window in which a restore happens: from where to where, how far, and how it ended. It starts the run by
// itself soon after it is shown.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "controls/RunWindow.h"
#include "platform/Platform.h"
#include "restore/RestaurarCopia.h"
#include "zip/CUnzipFiles.h"

namespace qev {

class FPRestaura final : public RunWindow, private RestoreRunView {
 public:
  // `shown` is called when the window is about to appear. REQUIRES: the references outlive the window.
  FPRestaura(Platform& platform, const HostSettings& host, FormSession& session, RestoreChoice choice,
             std::function<void()> shown, CUnzipFiles::EngineLoader loadEngine = loadUnzipEngine);

  // Whether the run came to its result, which closes the dialog behind the window.
  bool restored() const { return restored_; }

 private:
  // RunWindow
  void load() override;
  void Tiempo_Timer() override;
  const wchar_t* workInHand() const override;
  bool mustBegin() const override { return false; }  // until then the data is as it was

  // RestoreRunView
  void showProgress(std::optional<int> permille) override { setProgress(permille); }
  void showTesting(bool testing) override;
  bool closeAsked() const override { return isCloseAsked(); }

  void showResult(const std::wstring& text);
  void showError(const std::wstring& text);

  RestoreChoice choice_;
  std::function<void()> shown_;
  CUnzipFiles::EngineLoader loadEngine_;
  std::wstring waitingLine_;  // what ESalida says while a run is under way
  bool restored_ = false;
};

}  // namespace qev
