#include "backup/HacerCopia.h"

#include <exception>

#include "backup/DiskCopy.h"
#include "backup/SetBuild.h"
#include "record/RunLog.h"
#include "schedule/CalcularProximaCopia.h"
#include "set/LastSet.h"
#include "set/Volumes.h"

namespace qev {
namespace {

constexpr wchar_t kLine[] = L"\r\n";
RunRecord::Kind recordKind(std::uint8_t backupKind) {
  switch (backupKind) {
    case kManual: return RunRecord::Kind::Manual;
    case kAutomatic: return RunRecord::Kind::Automatic;
    case kScheduled: return RunRecord::Kind::Scheduled;
    default: return RunRecord::Kind::Other;
  }
}

}  // namespace

BackupRun::BackupRun(Platform& platform, HostSettings host, std::uint8_t kind, SettingsStore& settings,
                     BackupRunView& view, CZipFiles::EngineLoader loadEngine, CUnzipFiles::EngineLoader loadTester)
    : platform_(platform),
      host_(std::move(host)),
      kind_(kind),
      settings_(settings),
      view_(view),
      loadEngine_(std::move(loadEngine)),
      loadTester_(std::move(loadTester)) {}

void BackupRun::HacerCopia(const std::wstring& RutaDestino) {
  displayPath_ = RutaDestino;
  record_.kind = recordKind(kind_);
  record_.title = host_.title;
  record_.set = displayPath_;
  record_.data = host_.dataFolder;
  record_.start = platform_.clock.now();
  RunLog log(platform_);
  if (log.begin(record_)) record_.notes.add(kInterruptedBefore);
  run();
  record_.end = platform_.clock.now();
  log.end(record_);
}

void BackupRun::run() {
  view_.showBusy(true);
  try {
    const Outcome outcome = makeSet();
    if (outcome == Outcome::Made) finishSuccessfulRun();
    if (outcome == Outcome::Refused) record_.result = RunRecord::Result::Refused;
    if (outcome == Outcome::Cancelled) {
      fail(0, L"");
      record_.result = RunRecord::Result::Cancelled;
    }
  } catch (const AutomationError& error) {
    fail(error.number(), error.description());
  } catch (const std::exception&) {
    fail(kOutOfMemory, describeError(kOutOfMemory));
  }
}

BackupRun::Outcome BackupRun::makeSet() {
  choosePaths();
  const auto lock = platform_.processes.lock(lockName(L"copia", platform_.locale.upper(workingPath_)), 0);
  if (!lock) throw AutomationError(kPermissionDenied, L"QevBackup", L"Otra copia de seguridad está en marcha");
  if (!mayReplace()) {
    view_.stopTimer();
    view_.showBusy(false);
    view_.close();
    return Outcome::Refused;
  }
  view_.showOrigin(L" Datos del programa");
  view_.showDestination(L" " + displayPath_);
  view_.showResult(L" Realizando copia de seguridad...");
  buildSet();
  if (!toFloppy()) setLastSet(workingPath_);
  view_.showBusy(false);
  if (!copyToDisks()) return Outcome::Cancelled;
  succeed();
  return Outcome::Made;
}

// A scheduled or manual set may be named relative to the current folder; one of the host's own backup folder may not:
// where that folder is not told, it would lie wherever the host happens to be.
void BackupRun::choosePaths() {
  safe_ = settings_.safeMode();
  record_.safeMode = safe_;
  if (kind_ == kAutomatic && !isFullPath(displayPath_)) throw AutomationError(kPathNotFound, displayPath_);
  places_ = DataPlaces::of(host_.dataFolder, host_.title);
  workingPath_ = toFloppy() ? workingCopy(platform_.workFolder) : displayPath_;
}

bool BackupRun::toFloppy() const {
  return driveName(displayPath_) == kFloppyDrive;
}

// For a floppy this asks about the working copy left over from an earlier run. The old set stays until the new one
// takes its place; but where it lies among the data, and safe mode does not hold on to it, it would be archived.
bool BackupRun::mayReplace() {
  if (!platform_.files.fileExists(workingPath_)) return true;
  const wchar_t* question = kind_ == kManual ? L"El nombre del archivo seleccionado ya existe, ¿Desea reemplazarlo?"
                                             : L"Hoy ya se ha realizado una copia de seguridad, ¿Desea reemplazarla?";
  if (platform_.messages.show(question, host_.title, message::kYesNo | message::kQuestion) != Answer::Yes) return false;
  if (!safe_ && isWithin(platform_.locale, workingPath_, places_.folder))
    platform_.files.deleteFile(workingPath_, true);
  return true;
}

void BackupRun::buildSet() {
  SetBuild(platform_, {host_, places_, workingPath_, safe_}, view_, record_, loadEngine_, loadTester_).run();
}

bool BackupRun::copyToDisks() {
  DiskCopy disks(
      platform_, host_.title, [this](const std::wstring& text) { view_.showResult(text); },
      [this] { return view_.closeAsked(); });
  const bool done = disks.run(workingPath_, displayPath_, safe_);
  for (const std::wstring& note : disks.notes()) record_.notes.add(note);
  return done;
}

void BackupRun::succeed() {
  settings_.write(L"Estado", std::wstring(L"Ultima copia de seguridad realizada correctamente"));
  settings_.write(L"UltimaCopia", momentText(platform_.clock.now()));
  record_.result = RunRecord::Result::Success;
  record_.shown = std::wstring(L" La copia de seguridad se ha realizado correctamente.") + kLine +
                  L" Origen: Datos del programa " + host_.title + kLine + L" Destino: " + displayPath_;
  view_.showSuccess(record_.shown);
  platform_.sound.beep();
  view_.stopTimer();
}

void BackupRun::finishSuccessfulRun() {
  if (numericSetting(L"Copia") == 2) CalcularProximaCopia(settings_, platform_.clock, platform_.locale);
  const bool unattended = kind_ == kAutomatic || kind_ == kScheduled;
  if (unattended && numericSetting(L"Cerrar") == 1) view_.close();
}

// Whatever else fails here must not hide the failure that is to be shown.
void BackupRun::fail(std::int32_t number, const std::wstring& description) {
  const std::wstring error = L"Error: " + std::to_wstring(number) + L"-" + description;
  const std::wstring text = failureText(error);
  record_.result = RunRecord::Result::Failure;
  record_.shown = text;
  if (number != 0) record_.errorNumber = number;
  record_.errorText = description;
  view_.showBusy(false);
  view_.showFailure(text);
  try {
    settings_.write(L"Estado", text);
  } catch (const std::exception&) {
  }
  platform_.sound.beep();
  view_.stopTimer();
}

std::wstring BackupRun::failureText(const std::wstring& error) {
  try {
    if (numericSetting(L"Copia") > 1) return retryText(error);
  } catch (const std::exception&) {  // no next moment can be told: the plain text serves
  }
  return L"No se ha podido realizar la copia de seguridad de " + host_.title + L"." + kLine + kLine + L"Destino: " +
         displayPath_ + kLine + L"Fecha/Hora: " + momentText(platform_.clock.now()) + kLine + error;
}

// With scheduled backups on: when the next one will be tried.
std::wstring BackupRun::retryText(const std::wstring& error) {
  CalcularProximaCopia(settings_, platform_.clock, platform_.locale);
  const Date stored = storedMoment(settings_.read(L"ProximaCopia"), platform_.locale);
  const Date next = stored == Date{} ? platform_.clock.now() : stored;
  return L"Se ha intentado realizar la copia de seguridad de " + host_.title + L" sin éxito." + kLine + kLine +
         L"Destino: " + displayPath_ + kLine + error + kLine + kLine + L"La próxima copia de seguridad" +
         L" se realizará el día " + dayText(next) + L" a las " + timeText(next);
}

double BackupRun::numericSetting(const std::wstring& name) const {
  return numericValue(settings_.read(name));
}

}  // namespace qev
