#include "backup/FBackup.h"

#include <commctrl.h>

#include "resources/resource.h"

namespace qev {
namespace {

constexpr UINT kTickMilliseconds = 100;
constexpr int kProgressSteps = 1000;

const wchar_t* methodText(std::uint8_t kind) {
  switch (kind) {
    case kManual: return L" Copia de Seguridad Manual";
    case kAutomatic: return L" Copia de Seguridad Automática";
    case kScheduled: return L" Copia de Seguridad Programada";
    default: return L"";
  }
}

}  // namespace

FBackup::FBackup(Platform& platform, const HostSettings& host, FormSession& session, CZipFiles::EngineLoader loadEngine,
                 CUnzipFiles::EngineLoader loadTester)
    : ModalForm(L"FBACKUP", platform, host, session),
      loadEngine_(std::move(loadEngine)),
      loadTester_(std::move(loadTester)) {}

void FBackup::load() {
  Metodo_ = &textBox(FBackup_Metodo, L"Metodo");
  TOrigen_ = &textBox(FBackup_TOrigen, L"TOrigen");
  TDestino_ = &textBox(FBackup_TDestino, L"TDestino");
  TResultado_ = control(FBackup_TResultado);
  ESalida_ = control(FBackup_ESalida);
  BAceptar_ = control(FBackup_BAceptar);
  Progreso_ = control(FBackup_Progreso);

  if (!host().title.empty()) SetWindowTextW(window(), host().title.c_str());
  ImgResultado_ = Picture(L"REALIZANDO");
  heading_.attach(window(), FBackup_Image2, FBackup_Label1, derivedFont(150, true));
  outcomeFont_ = derivedFont(100, true);
  SendMessageW(ESalida_, WM_SETFONT, reinterpret_cast<WPARAM>(outcomeFont_.get()), FALSE);
  buttonIcon_ = Picture(L"ACEPTAR").icon(GetSystemMetrics(SM_CXSMICON));
  SendMessageW(BAceptar_, BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(buttonIcon_.get()));
  SendMessageW(Progreso_, PBM_SETRANGE32, 0, kProgressSteps);

  showBusy(true);
  Metodo_->setText(methodText(session().BackupKind));
  if (!SetTimer(window(), FBackup_Tiempo, kTickMilliseconds, nullptr)) throw AutomationError(kOutOfMemory);
}

void FBackup::timer(UINT_PTR id) {
  if (id == FBackup_Tiempo) Tiempo_Timer();
}

// The run works on the values of its start: while the engine lets messages through, the host may assign others.
void FBackup::Tiempo_Timer() {
  if (running_) return;
  running_ = true;
  showForm();
  const HostSettings atStart = host();
  SettingsStore settings(platform().registry, atStart.settingsKey);
  try {
    BackupRun(platform(), atStart, session().BackupKind, settings, *this, loadEngine_, loadTester_)
        .HacerCopia(RutaDestino);
  } catch (const std::exception&) {  // out of memory even for the failure text: the window must not stay locked
    stopTimer();
    showFailure(L"");
  }
  running_ = false;
  if (closeAsked_) closeForm();
}

void FBackup::command(int id) {
  if (id == FBackup_BAceptar) BAceptar_Click();
}

void FBackup::BAceptar_Click() {
  if (mayClose()) closeForm();
}

// The engine works on this thread: the window must not go while it does.
bool FBackup::mayClose() {
  closeAsked_ = true;
  return !running_;
}

void FBackup::unload() {
  Metodo_ = TOrigen_ = TDestino_ = nullptr;  // a run may still be writing to them
  session().finished = true;
}

void FBackup::showBusy(bool busy) {
  busy_ = busy;
  SetCursor(LoadCursorW(nullptr, busy ? IDC_WAIT : IDC_ARROW));
}

void FBackup::showOrigin(const std::wstring& text) {
  if (TOrigen_) TOrigen_->setText(text);
}

void FBackup::showDestination(const std::wstring& text) {
  if (TDestino_) TDestino_->setText(text);
}

void FBackup::showResult(const std::wstring& text) {
  setText(FBackup_TResultado, text);
  UpdateWindow(window());
}

// Painting costs more than many a file: the bar moves a few times a second, and at the end.
void FBackup::showProgress(int permille) {
  constexpr ULONGLONG pauseMilliseconds = 50;
  const std::uint64_t now = platform().clock.ticks();
  if (permille < kProgressSteps && now - progressShownAt_ < pauseMilliseconds) return;
  progressShownAt_ = now;
  SendMessageW(Progreso_, PBM_SETPOS, static_cast<WPARAM>(permille), 0);
}

void FBackup::showSuccess(const std::wstring& text) {
  showProgress(kProgressSteps);
  showOutcome(L"BACKUPOK", L"  Copia de Seguridad realizada con éxito", text);
}

void FBackup::showFailure(const std::wstring& text) {
  showOutcome(L"BACKUPERROR", L"  Se han producido errores", text);
}

void FBackup::showOutcome(const wchar_t* picture, const wchar_t* line, const std::wstring& text) {
  try {
    ImgResultado_ = Picture(picture);
  } catch (const std::exception&) {  // the texts tell the outcome without it
  }
  InvalidateRect(control(FBackup_ImgResultado), nullptr, TRUE);
  setText(FBackup_ESalida, line);
  setText(FBackup_TResultado, text);
  EnableWindow(BAceptar_, TRUE);
  SendMessageW(window(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(BAceptar_), TRUE);
  showBusy(false);
}

void FBackup::stopTimer() {
  KillTimer(window(), FBackup_Tiempo);
}

void FBackup::close() {
  closeAsked_ = true;  // the run that asks for it is about to end
}

void FBackup::drawItem(int id, HDC dc, const RECT& area) {
  if (heading_.drawItem(id, dc, area)) return;
  FillRect(dc, &area, GetSysColorBrush(COLOR_BTNFACE));
  ImgResultado_.draw(dc, area);
}

}  // namespace qev
