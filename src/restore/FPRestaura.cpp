#include "restore/FPRestaura.h"

#include <utility>

#include "controls/WindowParts.h"
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
  try {
    choice_.safe = SettingsStore(platform().registry, host().settingsKey).safeMode();
    RestoreRunView& view = *this;
    RestoreRun run(platform(), host(), view, choice_, loadEngine_);
    if (run.RestaurarCopia() == RestoreRun::Outcome::Restored) {
      showResult(run.record().shown);
    } else {
      choice_.bareDisks = run.bareDisks();
      startTimer(kNextTickMilliseconds);
    }
  } catch (const AutomationError& error) {
    showError(error.description());
  } catch (const std::exception&) {
    showError(describeError(kOutOfMemory));
  }
}

const wchar_t* FPRestaura::workInHand() const {
  return L"Se están restaurando los datos de una copia de seguridad. Espere a que termine, por favor.";
}

void FPRestaura::showTesting(bool testing) {
  setText(FPRestaura_ESalida, testing ? L"Comprobando la copia de seguridad..." : waitingLine_);
  UpdateWindow(window());
}

void FPRestaura::showResult(const std::wstring& text) {
  restored_ = true;
  showProgress(kProgressSteps);
  endTimer();
  showOutcome(L"BACKUPOK", L"Copia de Seguridad restaurada con éxito", text);
  platform().sound.beep();
}

// Whatever the run could not go on after: the message tells it, and there is no result. The user goes back to the
// dialog and may try again.
void FPRestaura::showError(const std::wstring& text) {
  endTimer();
  setBusy(false);
  atEdge([&] { tell(text, message::kOk | message::kExclamation); });
  showOutcome(nullptr, L"Se han producido errores", L"");
  stayOpen();
}

}  // namespace qev
