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

  // RestoreRunView
  void showProgress(std::optional<int> permille) override { setProgress(permille); }
  void showTesting(bool testing) override;
  bool closeAsked() const override { return closeAsked_; }

  RunRecord::Result restore(std::optional<RestoreRun>& run);
  void writeRecord(RunRecord record, Date start, RunRecord::Result result) const;
  void showResult();
  void showError(std::int32_t number, const std::wstring& text);

  RestoreChoice choice_;
  std::function<void()> shown_;
  CUnzipFiles::EngineLoader loadEngine_;
  std::wstring waitingLine_;  // what ESalida says while a run is under way
  std::wstring shownText_;    // what the run ended with, for the log
  std::optional<std::int32_t> errorNumber_;
  bool restored_ = false;
};

}  // namespace qev
