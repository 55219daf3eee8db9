#include "backup/FBackup.h"

#include "resources/resource.h"

namespace qev {
namespace {

constexpr UINT kTickMilliseconds = 100;

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
    : RunWindow(L"FBACKUP", platform, host, session,
                {.timer = FBackup_Tiempo,
                 .picture = FBackup_Image2,
                 .heading = FBackup_Label1,
                 .outcomePicture = FBackup_ImgResultado,
                 .outcomeLine = FBackup_ESalida,
                 .result = FBackup_TResultado,
                 .progress = FBackup_Progreso,
                 .accept = FBackup_BAceptar}),
      loadEngine_(std::move(loadEngine)),
      loadTester_(std::move(loadTester)) {}

void FBackup::load() {
  TOrigen_ = &textBox(FBackup_TOrigen, L"TOrigen");
  TDestino_ = &textBox(FBackup_TDestino, L"TDestino");
  dress(L"IMAGEN");
  showPicture(FBackup_ImgResultado, L"REALIZANDO");
  textBox(FBackup_Metodo, L"Metodo").setText(methodText(session().BackupKind));
  startTimer(kTickMilliseconds);
}

// The run works on the values of its start: while the engine lets messages through, the host may assign others.
void FBackup::Tiempo_Timer() {
  const HostSettings atStart = host();
  SettingsStore settings(platform().registry, atStart.settingsKey);
  try {
    BackupRun(platform(), atStart, session().BackupKind, settings, *this, loadEngine_, loadTester_)
        .HacerCopia(RutaDestino);
  } catch (const std::exception&) {  // out of memory even for the failure text: the window must not stay locked
    stopTimer();
    showFailure(L"");
  }
}

const wchar_t* FBackup::workInHand() const {
  return L"Se está haciendo la copia de seguridad de los datos. Espere a que termine, por favor.";
}

void FBackup::unload() {
  TOrigen_ = TDestino_ = nullptr;  // a run may still be writing to them
  session().finished = true;
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

void FBackup::showSuccess(const std::wstring& text) {
  setProgress(kProgressSteps);
  showOutcome(L"BACKUPOK", L"  Copia de Seguridad realizada con éxito", text);
}

void FBackup::showFailure(const std::wstring& text) {
  showOutcome(L"BACKUPERROR", L"  Se han producido errores", text);
  stayOpen();
}

}  // namespace qev
