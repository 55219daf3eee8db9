#include "backup/HacerCopia.h"

#include <exception>

#include "backup/ArchiveProgress.h"
#include "backup/DiskCopy.h"
#include "schedule/CalcularProximaCopia.h"

namespace qev {
namespace {

constexpr wchar_t kMoment[] = L"dd-mm-yyyy hh:nn";
constexpr wchar_t kLine[] = L"\r\n";

// The last line of the engine's messages that says something.
std::wstring lastLine(const std::wstring& messages) {
  const auto end = messages.find_last_not_of(L"\r\n\t ");
  if (end == std::wstring::npos) return {};
  const auto begin = messages.find_last_of(L"\r\n", end);
  const auto from = begin == std::wstring::npos ? 0 : begin + 1;
  const auto text = messages.find_first_not_of(L"\t ", from);
  return messages.substr(text, end - text + 1);
}

}  // namespace

BackupRun::BackupRun(Platform& platform, LibraryState& state, SettingsStore& settings, BackupRunView& view,
                     CZipFiles::EngineLoader loadEngine)
    : platform_(platform),
      state_(state),
      settings_(settings),
      view_(view),
      sets_(platform, state),
      zip_(platform.locale, platform.eventLoop, std::move(loadEngine)) {}

void BackupRun::HacerCopia(const std::wstring& RutaDestino) {
  displayPath_ = RutaDestino;
  view_.showBusy(true);
  try {
    const Outcome outcome = makeSet();
    if (outcome == Outcome::Made) finishSuccessfulRun();
    if (outcome == Outcome::Cancelled) fail(0, L"");
  } catch (const AutomationError& error) {
    fail(error.number(), error.description());
  } catch (const std::exception&) {
    fail(kOutOfMemory, describeError(kOutOfMemory));
  }
}

BackupRun::Outcome BackupRun::makeSet() {
  const bool toFloppy = driveName(displayPath_) == kFloppyDrive;
  workingPath_ = toFloppy ? sets_.workingCopy() : displayPath_;
  zip_.setZipFileName(workingPath_);
  if (!mayReplace()) {
    view_.stopTimer();
    view_.showBusy(false);
    view_.close();
    return Outcome::Refused;
  }
  view_.showOrigin(L" Datos del programa");
  view_.showDestination(L" " + displayPath_);
  view_.showResult(L" Realizando copia de seguridad...");
  archiveAndStamp();
  view_.showBusy(false);
  if (!copyToDisks()) return Outcome::Cancelled;
  succeed();
  return Outcome::Made;
}

// For a floppy this asks about the working copy left over from an earlier run.
bool BackupRun::mayReplace() {
  if (!platform_.files.fileExists(workingPath_)) return true;
  const wchar_t* question = state_.BackupKind == kManual
                                ? L"El nombre del archivo seleccionado ya existe, ¿Desea reemplazarlo?"
                                : L"Hoy ya se ha realizado una copia de seguridad, ¿Desea reemplazarla?";
  if (platform_.messages.show(question, state_.title, message::kYesNo | message::kQuestion) == Answer::No) return false;
  platform_.files.deleteFile(workingPath_, true);
  return true;
}

// The folder two levels above the data folder.
std::wstring BackupRun::programFolder() const {
  return parentFolderName(parentFolderName(state_.dataFolder));
}

// What fails before the header is on leaves nothing under the name of a set.
void BackupRun::archiveAndStamp() {
  try {
    archive();
    stamp();
  } catch (...) {
    try {
      if (platform_.files.fileExists(workingPath_)) platform_.files.deleteFile(workingPath_, true);
    } catch (const AutomationError&) {  // the error that led here is the one to show
    }
    throw;
  }
}

void BackupRun::archive() {
  const std::wstring utilities = programFolder() + L"\\Util.mde";
  const std::wstring hostSettings = programFolder() + L"\\" + state_.title + L".ini";

  ArchiveProgress progress;
  platform_.files.walkFiles(state_.dataFolder,
                            [&](const std::wstring& path, std::uint64_t size) { progress.expect(path, size); });
  for (const std::wstring& path : {utilities, hostSettings}) {
    if (platform_.files.fileExists(path)) progress.expect(path, platform_.files.fileSize(path));
  }
  zip_.onMessage = [&](const std::wstring& text) {
    progress.message(text);
    view_.showProgress(progress.permille());
  };

  zip_.AddFile(state_.dataFolder + L"*.*");
  zip_.AddFile(utilities);
  zip_.AddFile(hostSettings);
  zip_.setRecurseFolders(true);
  zip_.setUpdatingZip(false);
  zip_.MakeZipFile();
  zip_.onMessage = nullptr;
  // The engine's code is not looked at: files that it had to skip leave a set that is good for all others. Without any
  // archive there is nothing to make a set of.
  if (!platform_.files.fileExists(workingPath_)) {
    throw AutomationError(kFileNotFound, workingPath_ + L" (" + lastLine(zip_.GetLastMessage()) + L")")
        .from(L"RvZipFiles::MakeZipFile");
  }
}

void BackupRun::stamp() {
  sets_.writeHeader(zip_.ZipFileName(), platform_.clock.now(), 1, 1, driveName(state_.dataFolder));
}

bool BackupRun::copyToDisks() {
  DiskCopy disks(
      platform_, state_, [this](const std::wstring& text) { view_.showResult(text); },
      [this] { return view_.closeAsked(); });
  return disks.run(workingPath_, displayPath_);
}

void BackupRun::succeed() {
  settings_.write(L"Estado", std::wstring(L"Ultima copia de seguridad realizada correctamente"));
  settings_.write(L"UltimaCopia", formatted(platform_.clock.now(), kMoment));
  view_.showSuccess(std::wstring(L" La copia de seguridad se ha realizado correctamente.") + kLine +
                    L" Origen: Datos del programa " + state_.title + kLine + L" Destino: " + displayPath_);
  platform_.sound.beep();
  view_.stopTimer();
}

void BackupRun::finishSuccessfulRun() {
  if (numericSetting(L"Copia") == 2) CalcularProximaCopia(settings_, platform_.clock, platform_.locale);
  const bool unattended = state_.BackupKind == kAutomatic || state_.BackupKind == kScheduled;
  if (unattended && numericSetting(L"Cerrar") == 1) view_.close();
}

// Whatever else fails here must not hide the failure that is to be shown.
void BackupRun::fail(std::int32_t number, const std::wstring& description) {
  const std::wstring error = L"Error: " + std::to_wstring(number) + L"-" + description;
  const std::wstring text = failureText(error);
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
  return L"No se ha podido realizar la copia de seguridad de " + state_.title + L"." + kLine + kLine + L"Destino: " +
         displayPath_ + kLine + L"Fecha/Hora: " + formatted(platform_.clock.now(), kMoment) + kLine + error;
}

// With scheduled backups on: when the next one will be tried.
std::wstring BackupRun::retryText(const std::wstring& error) {
  CalcularProximaCopia(settings_, platform_.clock, platform_.locale);
  const std::wstring stored = platform_.locale.toText(settings_.read(L"ProximaCopia"));
  const Date next = stored.empty() ? platform_.clock.now() : platform_.locale.dateFromText(stored);
  return L"Se ha intentado realizar la copia de seguridad de " + state_.title + L" sin éxito." + kLine + kLine +
         L"Destino: " + displayPath_ + kLine + error + kLine + kLine + L"La próxima copia de seguridad" +
         L" se realizará el día " + formatted(next, L"dd-mm-yyyy") + L" a las " + formatted(next, L"hh:nn");
}

double BackupRun::numericSetting(const std::wstring& name) const {
  return numericValue(settings_.read(name));
}

std::wstring BackupRun::formatted(Date date, const wchar_t* pattern) const {
  return platform_.locale.format(date, pattern);
}

}  // namespace qev
