#include "restore/FPRestaura.h"

#include <utility>

#include "controls/WindowParts.h"
#include "platform/FlagScope.h"
#include "record/RunLog.h"
#include "resources/resource.h"
#include "settings/SettingsStore.h"

namespace qev {
namespace {

constexpr UINT kFirstTickMilliseconds = 100;
constexpr UINT kNextTickMilliseconds = 2000;  // after a cancelled run: time to close the window instead

}  // namespace

FPRestaura::FPRestaura(Platform& platform, const HostSettings& host, FormSession& session, RestoreChoice choice,
                       std::function<void()> shown, CUnzipFiles::EngineLoader loadEngine)
    : RunWindow(L"FPRESTAURA", platform, host, session,
                {.timer = FPRestaura_Tiempo,
                 .picture = FPRestaura_P,
                 .heading = FPRestaura_Label1,
                 .outcomePicture = FPRestaura_ImgResultado,
                 .outcomeLine = FPRestaura_ESalida,
                 .result = FPRestaura_TResultado,
                 .progress = FPRestaura_Progreso,
                 .accept = FPRestaura_BAceptar}),
      choice_(std::move(choice)),
      shown_(std::move(shown)),
      loadEngine_(std::move(loadEngine)) {}

void FPRestaura::load() {
  dress(L"RESTAURAR");
  waitingLine_ = textOf(control(FPRestaura_ESalida));
  setText(FPRestaura_TOrigen, choice_.Archivo);
  setText(FPRestaura_TDestino, choice_.Destino);
  startTimer(kFirstTickMilliseconds);
  if (shown_) shown_();
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

void FPRestaura::showTesting(bool testing) {
  setText(FPRestaura_ESalida, testing ? L"Comprobando la copia de seguridad..." : waitingLine_);
  UpdateWindow(window());
}

void FPRestaura::showResult() {
  restored_ = true;
  showProgress(kProgressSteps);
  shownText_ = L"La copia de seguridad se ha restaurado correctamente.\r\n\r\nOrigen:" + choice_.Archivo +
               L"\r\nDestino: " + choice_.Destino;
  endTimer();
  showOutcome(L"BACKUPOK", L"Copia de Seguridad restaurada con éxito", shownText_);
  platform().sound.beep();
}

// Whatever the run could not go on after: the message tells it, and there is no result. The user goes back to the
// dialog and may try again.
void FPRestaura::showError(std::int32_t number, const std::wstring& text) {
  errorNumber_ = number;
  shownText_ = text;
  endTimer();
  setBusy(false);
  atEdge([&] { tell(text, message::kOk | message::kExclamation); });
  showOutcome(nullptr, L"Se han producido errores", L"");
}

}  // namespace qev
