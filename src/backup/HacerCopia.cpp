#include "backup/HacerCopia.h"

#include <exception>

#include "backup/ArchiveProgress.h"
#include "backup/DiskCopy.h"
#include "record/RunLog.h"
#include "schedule/CalcularProximaCopia.h"
#include "set/SetFile.h"
#include "set/Volumes.h"
#include "zip/ArchiveCheck.h"

namespace qev {
namespace {

constexpr wchar_t kLine[] = L"\r\n";
constexpr wchar_t kUnproven[] = L".nueva";
constexpr int kWholeBar = 1000;
constexpr int kArchivingSafely = 750;       // of the bar, in safe mode; the test has the rest
constexpr std::size_t kLongestRemark = 80;  // characters: more does not fit beside the failure's other lines

// The last line of the engine's messages that says something.
std::wstring lastLine(const std::wstring& messages) {
  const auto end = messages.find_last_not_of(L"\r\n\t ");
  if (end == std::wstring::npos) return {};
  const auto begin = messages.find_last_of(L"\r\n", end);
  const auto from = begin == std::wstring::npos ? 0 : begin + 1;
  const auto text = messages.find_first_not_of(L"\t ", from);
  return messages.substr(text, end - text + 1);
}

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
      zip_(platform.locale, platform.eventLoop, std::move(loadEngine)),
      loadTester_(std::move(loadTester)) {}

void BackupRun::HacerCopia(const std::wstring& RutaDestino) {
  displayPath_ = RutaDestino;
  record_.kind = recordKind(kind_);
  record_.title = host_.title;
  record_.set = displayPath_;
  record_.data = host_.dataFolder;
  record_.start = platform_.clock.now();
  run();
  record_.end = platform_.clock.now();
  RunLog(platform_).add(record_);
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
  const bool toFloppy = driveName(displayPath_) == kFloppyDrive;
  workingPath_ = toFloppy ? workingCopy(platform_.workFolder) : displayPath_;
  safe_ = settings_.safeMode();
  buildPath_ = safe_ ? workingPath_ + kUnproven : workingPath_;
  zip_.setZipFileName(buildPath_);
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
  view_.showBusy(false);
  if (!copyToDisks()) return Outcome::Cancelled;
  succeed();
  return Outcome::Made;
}

// For a floppy this asks about the working copy left over from an earlier run. In safe mode it stays until the new set
// takes its place.
bool BackupRun::mayReplace() {
  if (!platform_.files.fileExists(workingPath_)) return true;
  const wchar_t* question = kind_ == kManual ? L"El nombre del archivo seleccionado ya existe, ¿Desea reemplazarlo?"
                                             : L"Hoy ya se ha realizado una copia de seguridad, ¿Desea reemplazarla?";
  if (platform_.messages.show(question, host_.title, message::kYesNo | message::kQuestion) == Answer::No) return false;
  if (!safe_) platform_.files.deleteFile(workingPath_, true);
  return true;
}

// The folder two levels above the data folder.
std::wstring BackupRun::programFolder() const {
  return parentFolderName(parentFolderName(host_.dataFolder));
}

// What fails before the header is on, or in safe mode before the set is proven, leaves nothing under the name of a set.
void BackupRun::buildSet() {
  if (safe_ && platform_.files.fileExists(buildPath_)) platform_.files.deleteFile(buildPath_, true);
  try {
    archive();
    stamp();
    noteContents();
    if (!safe_) return;
    prove();
    platform_.files.moveFile(buildPath_, workingPath_);
  } catch (...) {
    try {
      if (platform_.files.fileExists(buildPath_)) platform_.files.deleteFile(buildPath_, true);
    } catch (const AutomationError&) {  // the error that led here is the one to show
    }
    throw;
  }
}

void BackupRun::archive() {
  if (safe_ && !platform_.files.folderExists(host_.dataFolder)) {
    throw AutomationError(kPathNotFound, host_.dataFolder);
  }
  const std::wstring utilities = programFolder() + L"\\Util.mde";
  const std::wstring hostSettings = programFolder() + L"\\" + host_.title + L".ini";

  ArchiveProgress progress;
  platform_.files.walkFiles(host_.dataFolder,
                            [&](const std::wstring& path, std::uint64_t size) { progress.expect(path, size); });
  for (const std::wstring& path : {utilities, hostSettings}) {
    if (platform_.files.fileExists(path)) progress.expect(path, platform_.files.fileSize(path));
  }
  zip_.onEvent = [&](const EngineEvent& event) {
    record_.remarks.event(event);
    if (progress.event(event))
      view_.showProgress(progress.permille() * (safe_ ? kArchivingSafely : kWholeBar) / kWholeBar);
  };

  zip_.AddFile(host_.dataFolder + L"*.*");
  zip_.AddFile(utilities);
  zip_.AddFile(hostSettings);
  zip_.setRecurseFolders(true);
  zip_.setUpdatingZip(false);
  record_.engineCode = zip_.MakeZipFile();
  zip_.onEvent = nullptr;
  if (safe_) requireWhole(*record_.engineCode);
  // Otherwise the engine's code is not looked at: files that it had to skip leave a set that is good for all others.
  // Without any archive there is nothing to make a set of.
  if (!platform_.files.fileExists(buildPath_)) {
    throw AutomationError(kFileNotFound, workingPath_ + L" (" + lastLine(zip_.GetLastMessage()) + L")")
        .from(L"RvZipFiles::MakeZipFile");
  }
}

// No code but 0 is one of an archive that holds everything.
void BackupRun::requireWhole(std::int32_t code) const {
  if (code == kZipDone) return;
  throw AutomationError(code, L"RvZipFiles::MakeZipFile",
                        L"Copia incompleta: " + record_.remarks.inOneLine(kLongestRemark));
}

void BackupRun::stamp() {
  writeHeader(platform_, zip_.ZipFileName(), {host_.title, platform_.clock.now(), 1, 1, driveName(host_.dataFolder)});
}

std::optional<std::vector<ZipDirectoryEntry>> BackupRun::contents() {
  const auto reader = platform_.files.openForReading(buildPath_);
  record_.setBytes = reader->size();
  return readZipDirectory(*reader);
}

// For the record alone: what cannot be read is not told.
void BackupRun::noteContents() {
  try {
    if (const auto entries = contents()) record_.count(*entries);
  } catch (const std::exception&) {
  }
}

// The set is tested where it is: it is these bytes that take the old one's place. Of the header line before the archive
// the engine has a remark, which is none. An archive without entries is no backup, however sound.
void BackupRun::prove() {
  record_.proven = false;
  view_.showResult(L" Comprobando la copia de seguridad...");
  const auto entries = contents().value_or(std::vector<ZipDirectoryEntry>());
  ArchiveCheck check(platform_, loadTester_, buildPath_, entries);
  check.onProgress = [&](std::uint64_t done) {
    const double part = check.total() == 0 ? 1 : static_cast<double>(done) / static_cast<double>(check.total());
    view_.showProgress(kArchivingSafely + static_cast<int>((kWholeBar - kArchivingSafely) * part));
  };
  std::int32_t code = check.run();
  if (ArchiveCheck::isSound(code) && entries.empty()) code = kUnzipNoArchive;
  record_.proven = ArchiveCheck::isSound(code);
  if (*record_.proven) return;
  record_.engineCode = code;
  record_.remarks.add(check.remarks());
  throw AutomationError(code, L"RvUnZipFiles::Test", L"Copia dañada: " + check.remarks().inOneLine(kLongestRemark));
}

bool BackupRun::copyToDisks() {
  DiskCopy disks(
      platform_, host_.title, [this](const std::wstring& text) { view_.showResult(text); },
      [this] { return view_.closeAsked(); });
  return disks.run(workingPath_, displayPath_);
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
