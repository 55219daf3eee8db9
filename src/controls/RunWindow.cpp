#include "controls/RunWindow.h"

#include <commctrl.h>

#include "platform/AutomationError.h"
#include "platform/FlagScope.h"

namespace qev {

// A quit message that comes after the first one has been taken, and before the first tick, ends the modal loop.
void RunWindow::showModal() {
  quit_.emplace();
  do {
    ModalForm::showModal();
  } while (mustBegin() && !begun_ && quit_->take());
  quit_.reset();
}

void RunWindow::dress(const wchar_t* picture) {
  if (!title().empty()) SetWindowTextW(window(), title().c_str());
  showHeading(controls_.picture, controls_.heading, picture);
  outcomeFont_ = derivedFont(100, true);
  SendMessageW(control(controls_.outcomeLine), WM_SETFONT, reinterpret_cast<WPARAM>(outcomeFont_.get()), FALSE);
  showIcon(controls_.accept, L"ACEPTAR");
  SendMessageW(control(controls_.progress), PBM_SETRANGE32, 0, kProgressSteps);
  setBusy(true);
}

void RunWindow::startTimer(UINT milliseconds) const {
  if (!SetTimer(window(), static_cast<UINT_PTR>(controls_.timer), milliseconds, nullptr)) {
    throw AutomationError(kOutOfMemory);
  }
}

void RunWindow::endTimer() const {
  KillTimer(window(), static_cast<UINT_PTR>(controls_.timer));
}

void RunWindow::timer(UINT_PTR id) {
  if (id == static_cast<UINT_PTR>(controls_.timer) && !running_) work();
}

void RunWindow::work() {
  begun_ = true;
  staysOpen_ = false;
  if (quit_->any()) askToClose();
  {
    const FlagScope running(running_);
    showForm();
    const auto kept = platform().session.keep(window(), workInHand());
    Tiempo_Timer();
  }
  if (quit_->take() && !staysOpen_) askToClose();
  if (closeAsked_) closeForm();
}

void RunWindow::command(int id) {
  if (id == controls_.accept && mayClose()) closeForm();
}

// The engine works on this thread: the window must not go while it does.
bool RunWindow::mayClose() {
  closeAsked_ = true;
  return !running_ && (begun_ || !mustBegin());
}

void RunWindow::setBusy(bool busy) {
  busy_ = busy;
  SetCursor(LoadCursorW(nullptr, busy ? IDC_WAIT : IDC_ARROW));
}

void RunWindow::setProgress(std::optional<int> permille) {
  const HWND bar = control(controls_.progress);
  ShowWindow(bar, permille ? SW_SHOWNA : SW_HIDE);
  if (!permille) return;
  constexpr std::uint64_t pauseMilliseconds = 50;
  const std::uint64_t now = platform().clock.ticks();
  if (*permille < kProgressSteps && now - progressShownAt_ < pauseMilliseconds) return;
  progressShownAt_ = now;
  SendMessageW(bar, PBM_SETPOS, static_cast<WPARAM>(*permille), 0);
}

void RunWindow::stayOpen() {
  closeAsked_ = false;
  staysOpen_ = true;
}

void RunWindow::showOutcome(const wchar_t* picture, const wchar_t* line, const std::wstring& text) {
  try {
    if (picture) showPicture(controls_.outcomePicture, picture);
  } catch (const std::exception&) {  // the texts tell the outcome without it
  }
  setText(controls_.outcomeLine, line);
  setText(controls_.result, text);
  const HWND accept = control(controls_.accept);
  EnableWindow(accept, TRUE);
  SendMessageW(window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(accept), TRUE);
  setBusy(false);
}

}  // namespace qev
