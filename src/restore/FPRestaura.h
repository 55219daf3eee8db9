// The modal window in which a restore happens: from where to where, how far, and how it ended. It starts the run by
// itself soon after it is shown.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "controls/HeadingBand.h"
#include "controls/ModalForm.h"
#include "platform/Platform.h"
#include "resources/Picture.h"
#include "restore/RestaurarCopia.h"
#include "zip/CUnzipFiles.h"

namespace qev {

class FPRestaura final : public ModalForm, private RestoreRunView {
 public:
  // `shown` is called when the window is about to appear. REQUIRES: the references outlive the window.
  FPRestaura(Platform& platform, const HostSettings& host, FormSession& session, RestoreChoice choice,
             std::function<void()> shown, CUnzipFiles::EngineLoader loadEngine = loadUnzipEngine);

  // Whether the run came to its result, which closes the dialog behind the window.
  bool restored() const { return restored_; }

 private:
  // ModalForm
  void load() override;
  void timer(UINT_PTR id) override;
  void command(int id) override;
  bool mayClose() override;
  void drawItem(int id, HDC dc, const RECT& area) override;
  HBRUSH colours(int id, HDC dc) override { return heading_.colours(id, dc); }
  void paint(HDC dc) override { heading_.paint(dc); }
  bool busy() const override { return busy_; }

  // RestoreRunView
  void showProgress(std::optional<int> permille) override;
  void showTesting(bool testing) override;
  bool closeAsked() const override { return closeAsked_; }

  void Tiempo_Timer();
  RunRecord::Result restore(std::optional<RestoreRun>& run);
  void writeRecord(RunRecord record, Date start, RunRecord::Result result) const;
  void BAceptar_Click();
  void startTimer(UINT milliseconds) const;
  void showResult();
  void showError(std::int32_t number, const std::wstring& text);
  void endRun(const wchar_t* picture, const wchar_t* line, const std::wstring& text);
  void showBusy(bool busy);

  RestoreChoice choice_;
  std::function<void()> shown_;
  CUnzipFiles::EngineLoader loadEngine_;
  HWND BAceptar_ = nullptr;
  HWND Progreso_ = nullptr;
  HeadingBand heading_;
  Picture ImgResultado_;
  UniqueFont outcomeFont_;
  UniqueIcon buttonIcon_;
  std::wstring waitingLine_;  // what ESalida says while a run is under way
  std::wstring shownText_;    // what the run ended with, for the log
  std::optional<std::int32_t> errorNumber_;
  ULONGLONG progressShownAt_ = 0;  // system ticks, milliseconds
  bool busy_ = false;
  bool running_ = false;     // a tick that arrives during a run starts nothing
  bool closeAsked_ = false;  // during a run: close when it is over
  bool restored_ = false;
};

}  // namespace qev
