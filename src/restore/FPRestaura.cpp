#include "restore/FPRestaura.h"

#include <commctrl.h>

#include <utility>

#include "platform/FlagScope.h"
#include "record/RunLog.h"
#include "resources/resource.h"
#include "settings/SettingsStore.h"

namespace qev {
namespace {

constexpr UINT kFirstTickMilliseconds = 100;
constexpr UINT kNextTickMilliseconds = 2000;  // after a cancelled run: time to close the window instead
constexpr int kProgressSteps = 1000;

}  // namespace

FPRestaura::FPRestaura(Platform& platform, const HostSettings& host, FormSession& session, RestoreChoice choice,
                       std::function<void()> shown, CUnzipFiles::EngineLoader loadEngine)
    : ModalForm(L"FPRESTAURA", platform, host, session),
      choice_(std::move(choice)),
      shown_(std::move(shown)),
      loadEngine_(std::move(loadEngine)) {}

void FPRestaura::load() {
  BAceptar_ = control(FPRestaura_BAceptar);
  Progreso_ = control(FPRestaura_Progreso);
  if (!host().title.empty()) SetWindowTextW(window(), host().title.c_str());
  heading_.attach(window(), FPRestaura_P, FPRestaura_Label1, derivedFont(150, true), L"RESTAURAR");
  outcomeFont_ = derivedFont(100, true);
  SendMessageW(control(FPRestaura_ESalida), WM_SETFONT, reinterpret_cast<WPARAM>(outcomeFont_.get()), FALSE);
  buttonIcon_ = Picture(L"ACEPTAR").icon(GetSystemMetrics(SM_CXSMICON));
  SendMessageW(BAceptar_, BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(buttonIcon_.get()));
  SendMessageW(Progreso_, PBM_SETRANGE32, 0, kProgressSteps);

  wchar_t waiting[100] = L"";
  GetWindowTextW(control(FPRestaura_ESalida), waiting, 100);
  waitingLine_ = waiting;
  showBusy(true);
  setText(FPRestaura_TOrigen, choice_.Archivo);
  setText(FPRestaura_TDestino, choice_.Destino);
  startTimer(kFirstTickMilliseconds);
  if (shown_) shown_();
}

void FPRestaura::startTimer(UINT milliseconds) const {
  if (!SetTimer(window(), FPRestaura_Tiempo, milliseconds, nullptr)) throw AutomationError(kOutOfMemory);
}

void FPRestaura::timer(UINT_PTR id) {
  if (id == FPRestaura_Tiempo) Tiempo_Timer();
}

// The run works on the values of its start: while the engine lets messages through, the host may assign others. A run
// that the user has cancelled begins again with the next tick.
void FPRestaura::Tiempo_Timer() {
  if (running_) return;
  {
    const FlagScope running(running_);
    showForm();
    std::optional<RestoreRun> run;
    const Date start = platform().clock.now();
    const RunRecord::Result result = restore(run);
    if (run) writeRecord(run->record(), start, result);
  }
  if (closeAsked_) closeForm();
}

RunRecord::Result FPRestaura::restore(std::optional<RestoreRun>& run) {
  try {
    choice_.safe = SettingsStore(platform().registry, host().settingsKey).safeMode();
    RestoreRunView& view = *this;
    run.emplace(platform(), host(), view, choice_, loadEngine_);
    if (run->RestaurarCopia() == RestoreRun::Outcome::Restored) {
      showResult();
      return RunRecord::Result::Success;
    }
    choice_.bareDisks = run->bareDisks();
    startTimer(kNextTickMilliseconds);
    return RunRecord::Result::Cancelled;
  } catch (const AutomationError& error) {
    showError(error.number(), error.description());
  } catch (const std::exception&) {
    showError(kOutOfMemory, describeError(kOutOfMemory));
  }
  return RunRecord::Result::Failure;
}

void FPRestaura::writeRecord(RunRecord record, Date start, RunRecord::Result result) const {
  record.start = start;
  record.end = platform().clock.now();
  record.result = result;
  record.shown = shownText_;
  record.errorNumber = errorNumber_;
  if (errorNumber_) record.errorText = shownText_;
  RunLog(platform()).add(record);
}

void FPRestaura::command(int id) {
  if (id == FPRestaura_BAceptar) BAceptar_Click();
}

void FPRestaura::BAceptar_Click() {
  if (mayClose()) closeForm();
}

// The engine works on this thread: the window must not go while it does.
bool FPRestaura::mayClose() {
  closeAsked_ = true;
  return !running_;
}

void FPRestaura::showBusy(bool busy) {
  busy_ = busy;
  SetCursor(LoadCursorW(nullptr, busy ? IDC_WAIT : IDC_ARROW));
}

// Painting costs more than many a file: the bar moves a few times a second, and at the end.
void FPRestaura::showProgress(std::optional<int> permille) {
  constexpr ULONGLONG pauseMilliseconds = 50;
  ShowWindow(Progreso_, permille ? SW_SHOWNA : SW_HIDE);
  if (!permille) return;
  const std::uint64_t now = platform().clock.ticks();
  if (*permille < kProgressSteps && now - progressShownAt_ < pauseMilliseconds) return;
  progressShownAt_ = now;
  SendMessageW(Progreso_, PBM_SETPOS, static_cast<WPARAM>(*permille), 0);
}

void FPRestaura::showTesting(bool testing) {
  setText(FPRestaura_ESalida, testing ? L"Comprobando la copia de seguridad..." : waitingLine_);
  UpdateWindow(window());
}

void FPRestaura::showResult() {
  restored_ = true;
  showProgress(kProgressSteps);
  shownText_ = L"La copia de seguridad se ha restaurado correctamente.\r\n\r\nOrigen:" + choice_.Archivo +
               L"\r\nDestino: " + choice_.Destino;
  endRun(L"BACKUPOK", L"Copia de Seguridad restaurada con éxito", shownText_);
  platform().sound.beep();
}

// Whatever the run could not go on after: the message tells it, and there is no result. The user goes back to the
// dialog and may try again.
void FPRestaura::showError(std::int32_t number, const std::wstring& text) {
  errorNumber_ = number;
  shownText_ = text;
  KillTimer(window(), FPRestaura_Tiempo);
  showBusy(false);
  atEdge([&] { platform().messages.tell(text, host().title, message::kOk | message::kExclamation); });
  endRun(nullptr, L"Se han producido errores", L"");
}

void FPRestaura::endRun(const wchar_t* picture, const wchar_t* line, const std::wstring& text) {
  KillTimer(window(), FPRestaura_Tiempo);
  try {
    if (picture) ImgResultado_ = Picture(picture);
  } catch (const std::exception&) {  // the texts tell the outcome without it
  }
  InvalidateRect(control(FPRestaura_ImgResultado), nullptr, TRUE);
  setText(FPRestaura_ESalida, line);
  setText(FPRestaura_TResultado, text);
  EnableWindow(BAceptar_, TRUE);
  SendMessageW(window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(BAceptar_), TRUE);
  showBusy(false);
}

void FPRestaura::drawItem(int id, HDC dc, const RECT& area) {
  if (heading_.drawItem(id, dc, area)) return;
  FillRect(dc, &area, GetSysColorBrush(COLOR_BTNFACE));
  ImgResultado_.draw(dc, area);
}

}  // namespace qev
