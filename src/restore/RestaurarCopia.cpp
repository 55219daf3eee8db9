#include "restore/RestaurarCopia.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "record/RunLog.h"
#include "set/SetFile.h"
#include "set/Volumes.h"
#include "zip/ArchiveCheck.h"
#include "zip/UnpackProgress.h"

namespace qev {
namespace {

constexpr wchar_t kSource[] = L"FPRestaura::RestaurarCopia";
constexpr wchar_t kPayloadName[] = L"restaurar";
constexpr wchar_t kPayloadExtension[] = L".zip";
constexpr std::string_view kFirstSlice = "PK\x03\x04";  // APPNOTE 4.3.7

AutomationError refusal(const std::wstring& text) {
  return AutomationError(kInvalidCall, kSource, text);
}

bool hasParentPart(const std::wstring& path) {
  std::size_t begin = 0;
  while (begin <= path.size()) {
    const std::size_t end = std::min(path.find_first_of(L"\\/", begin), path.size());
    if (path.substr(begin, end - begin) == L"..") return true;
    begin = end + 1;
  }
  return false;
}

// A place that data can have come from: a drive or a share, or a folder of them.
bool isPlace(const std::wstring& directory) {
  constexpr std::size_t longest = 247;  // what a folder's path may have
  return !driveName(directory).empty() && directory.size() <= longest && !hasParentPart(directory) &&
         directory.find_first_of(L"*?\"<>|") == std::wstring::npos;
}

// The engine's text as a message box can show it: what it remarks alone where the whole is too much.
std::wstring shownMessages(const std::wstring& messages, const EngineRemarks& remarks) {
  constexpr std::size_t mostLines = 30;
  constexpr std::size_t mostCharacters = 4000;
  if (std::count(messages.begin(), messages.end(), L'\n') <= static_cast<std::ptrdiff_t>(2 * mostLines) &&
      messages.size() <= mostCharacters) {
    return messages;
  }
  std::wstring shown;
  std::size_t lines = 0;
  for (const std::wstring& line : remarks.lines()) {
    if (++lines > mostLines || shown.size() + line.size() > mostCharacters) return shown + L"...";
    shown.append(line) += L"\r\n";
  }
  return shown;
}

// Removes a file when it goes.
class TemporaryFile {
 public:
  TemporaryFile(FileSystem& files, std::wstring path) : files_(files), path_(std::move(path)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    try {
      if (files_.fileExists(path_)) files_.deleteFile(path_, true, FreeName::NotAwaited);
    } catch (const AutomationError&) {  // the next run removes it
    }
  }

  const std::wstring& path() const { return path_; }

 private:
  FileSystem& files_;
  const std::wstring path_;
};

// Keeps a run in the log for the length of a scope.
class LoggedRun {
 public:
  // REQUIRES: platform and record outlive the scope.
  LoggedRun(Platform& platform, RunRecord& record) : platform_(platform), record_(record) {
    if (RunLog(platform_).begin(record_)) record_.notes.add(kInterruptedBefore);
  }
  LoggedRun(const LoggedRun&) = delete;
  LoggedRun& operator=(const LoggedRun&) = delete;
  ~LoggedRun() {
    record_.end = platform_.clock.now();
    RunLog(platform_).end(record_);
  }

 private:
  Platform& platform_;
  RunRecord& record_;
};

}  // namespace

AutomationError setError(const AutomationError& error, const std::wstring& set) {
  const auto number = error.number();
  const bool ofHeader = number == kSubscriptOutOfRange || number == kTypeMismatch || number == kOverflow;
  if (!ofHeader) return error;
  return {number, kSource, L"La cabecera de la copia de seguridad no es válida (" + error.description() + L"): " + set};
}

std::wstring foreignSetText(const std::wstring& title) {
  return L"Esta Copia de Seguridad no es del programa " + title;
}

RestoreRun::RestoreRun(Platform& platform, HostSettings host, RestoreRunView& view, RestoreChoice choice,
                       CUnzipFiles::EngineLoader loadEngine)
    : platform_(platform),
      host_(std::move(host)),
      view_(view),
      choice_(std::move(choice)),
      loadEngine_(std::move(loadEngine)),
      bareDisks_(choice_.bareDisks) {
  record_.kind = RunRecord::Kind::Restore;
  record_.title = host_.title;
  record_.set = choice_.Archivo;
  record_.data = choice_.Destino;
  record_.safeMode = choice_.safe;
}

RestoreRun::Outcome RestoreRun::RestaurarCopia() {
  record_.start = platform_.clock.now();
  const LoggedRun logged(platform_, record_);
  try {
    const Outcome outcome = restore();
    noteEnd(outcome);
    return outcome;
  } catch (const AutomationError& error) {
    const AutomationError told = setError(error, choice_.Archivo);
    noteError(told.number(), told.description());
    throw told;
  } catch (const std::exception&) {
    noteError(kOutOfMemory, describeError(kOutOfMemory));
    throw;
  }
}

RestoreRun::Outcome RestoreRun::restore() {
  removeLeftOvers();
  SetHeader set = readSet();
  if (!bareDisks_ && set.totalVolumes == 1) {
    extract(choice_.Archivo);
    return Outcome::Restored;
  }
  if (!gatherDisks(set)) return Outcome::Cancelled;
  const TemporaryFile joined(platform_.files, workingCopy(platform_.workFolder));
  joinVolumes(platform_, set);
  extract(joined.path());
  return Outcome::Restored;
}

void RestoreRun::noteEnd(Outcome outcome) {
  record_.result = RunRecord::Result::Cancelled;
  if (outcome != Outcome::Restored) return;
  record_.result = RunRecord::Result::Success;
  record_.shown = L"La copia de seguridad se ha restaurado correctamente.\r\n\r\nOrigen:" + choice_.Archivo +
                  L"\r\nDestino: " + choice_.Destino;
}

void RestoreRun::noteError(std::int32_t number, const std::wstring& text) {
  record_.result = RunRecord::Result::Failure;
  record_.errorNumber = number;
  record_.errorText = record_.shown = text;
}

// Those of a run that is under way in another process are in use, and stay.
void RestoreRun::removeLeftOvers() const {
  const std::wstring folder = parentFolderName(workingCopy(platform_.workFolder));
  platform_.files.removeLeftOvers(folder);
  for (const ListedFile& file : platform_.files.filesIn(folder)) {
    const std::wstring name = fileNamePart(file.path);
    const bool payload = name.starts_with(kPayloadName) && name.ends_with(kPayloadExtension);
    if (payload) TemporaryFile(platform_.files, file.path);
  }
}

// Of a set on several disks any disk may be in the drive now, or none: it is what the dialog has read.
SetHeader RestoreRun::readSet() {
  if (choice_.set && choice_.set->totalVolumes != 1) {
    SetHeader set = *choice_.set;
    set.program = host_.title;  // as the dialog has found; the host may have given itself another title since
    return set;
  }
  if (!bareDisks_) {
    if (const auto header = checkSet(platform_, choice_.Archivo, host_.title).header) return *header;
    bareDisks_ = isBareSlice();
  }
  if (!bareDisks_) throw refusal(foreignSetText(host_.title) + L": " + choice_.Archivo);
  return {host_.title, platform_.clock.now(), 0, 1, driveName(host_.dataFolder)};
}

// The disks of a set that a backup run has spread hold bare slices of the archive: nothing but the beginning of the
// first tells that it is one.
bool RestoreRun::isBareSlice() const {
  if (!platform_.locale.equalIgnoringCase(driveName(choice_.Archivo), kFloppyDrive)) return false;
  std::string beginning(kFirstSlice.size(), '\0');
  const auto reader = platform_.files.openForReading(choice_.Archivo);
  beginning.resize(reader->read(std::as_writable_bytes(std::span(beginning))));
  return beginning == kFirstSlice;
}

// False when the user gives up. Pieces of an earlier run must not stand in for disks that are skipped.
bool RestoreRun::gatherDisks(SetHeader& set) {
  const int most = bareDisks_ ? std::numeric_limits<std::int16_t>::max() : set.totalVolumes;
  int gathered = 0;
  for (bool last = false; gathered < most && !last;) {
    const int number = ++gathered;
    const std::wstring piece = workingPiece(platform_.workFolder, number);
    if (platform_.files.fileExists(piece)) platform_.files.deleteFile(piece, true);
    const std::wstring request = L"Introduzca el disco " + std::to_wstring(number) + L" para continuar";
    if (ask(request, message::kOkCancel | message::kInformation) == Answer::Cancel) return false;
    if (!gatherDisk(number)) return false;
    last = bareDisks_ && endsArchive(number);
  }
  if (bareDisks_) set.totalVolumes = static_cast<std::int16_t>(gathered);
  return true;
}

// What is wrong with a disk is said, but the user decides. True also when the disk is skipped.
bool RestoreRun::gatherDisk(int number) {
  while (true) {
    const std::wstring wrong = L"Este no es el disco número " + std::to_wstring(number) + L" , inserte el correcto";
    if (!isDisk(number) && ask(wrong, message::kOkCancel | message::kInformation) == Answer::Cancel) return false;
    const auto error = copyError(workingPiece(platform_.workFolder, number));
    if (!error) return true;
    if (error->number() == kDiskFull) throw *error;  // it is the work folder that has no room: no disk changes that
    const bool notReady = error->number() == kDiskNotReady;
    if (notReady &&
        ask(L"El disco no está insertado, ¿Reintentar?", message::kYesNo | message::kCritical) == Answer::No) {
      return true;
    }
    platform_.eventLoop.yield();
    if (view_.closeAsked()) return false;
  }
}

// Whether the disk in the drive is the one asked for. Of an empty drive the copy tells, with a question of its own.
bool RestoreRun::isDisk(int number) {
  try {
    const auto header = checkSet(platform_, choice_.Archivo, host_.title).header;
    return header && header->volumeNumber == number;
  } catch (const AutomationError& error) {
    return error.number() == kDiskNotReady;
  }
}

std::optional<AutomationError> RestoreRun::copyError(const std::wstring& piece) {
  try {
    platform_.files.copyFile(choice_.Archivo, piece);
    return std::nullopt;
  } catch (const AutomationError& error) {
    return error;
  }
}

// Of slices without header the last is the one that is shorter, or that ends as an archive does.
bool RestoreRun::endsArchive(int number) const {
  const std::wstring piece = workingPiece(platform_.workFolder, number);
  if (!platform_.files.fileExists(piece)) return false;
  if (platform_.files.fileSize(piece) < kVolumeBytes) return true;
  return endsWithZipEnd(*platform_.files.openForReading(piece));
}

void RestoreRun::extract(const std::wstring& set) {
  std::optional<std::vector<ZipDirectoryEntry>> directory;
  {
    const auto reader = platform_.files.openForReading(set);
    directory = readZipDirectory(*reader);
  }
  const bool isKnown = directory.has_value();
  const auto entries = std::move(directory).value_or(std::vector<ZipDirectoryEntry>());
  if (isKnown) record_.count(entries);
  UnpackProgress progress(entries);
  const std::uint64_t toCopy = platform_.files.fileSize(set);
  record_.setBytes = toCopy;
  const double toTest = choice_.safe ? static_cast<double>(progress.total()) : 0;
  const double total = static_cast<double>(toCopy) + toTest + static_cast<double>(progress.total());
  double tested = 0;
  const auto show = [&](std::uint64_t copied) {
    const double done = static_cast<double>(copied) + tested + static_cast<double>(progress.done());
    view_.showProgress(isKnown && total > 0 ? std::optional(static_cast<int>(1000.0 * done / total)) : std::nullopt);
  };

  const TemporaryFile payload(platform_.files, payloadPath());
  const SetHeader header = extractPayload(platform_, set, payload.path(), show);
  if (header.program != host_.title) throw refusal(foreignSetText(host_.title) + L": " + set);

  const std::wstring folder = extractionFolder(header);
  const auto inUse = platform_.files.openForReading(payload.path());  // no other run may take it for left over
  if (choice_.safe) {
    prove(payload.path(), set, entries, [&](std::uint64_t bytes) {
      tested = static_cast<double>(bytes);
      show(toCopy);
    });
    tested = toTest;
  }

  EngineRemarks remarks;
  CUnzipFiles zip(platform_, loadEngine_);
  zip.onEvent = [&](const EngineEvent& event) {
    remarks.event(event);
    record_.remarks.event(event);
    if (progress.event(event)) show(toCopy);
  };
  zip.setZipFileName(payload.path());
  zip.setExtractDir(folder);
  zip.setHonorDirectories(choice_.keepFolders);
  const std::int32_t code = zip.Unzip();
  record_.engineCode = std::max(code, record_.engineCode.value_or(0));
  if (code != 0) platform_.messages.tell(shownMessages(zip.GetLastMessage(), remarks), L"", message::kOk);
}

// Nothing has been written yet where the data is.
void RestoreRun::prove(const std::wstring& payload, const std::wstring& set,
                       const std::vector<ZipDirectoryEntry>& entries,
                       const std::function<void(std::uint64_t)>& tested) {
  constexpr std::size_t longestRemark = 1000;  // characters
  record_.proven = false;
  view_.showTesting(true);
  ArchiveCheck check(platform_, loadEngine_, payload, entries);
  check.onProgress = tested;
  const std::int32_t code = check.run();
  record_.engineCode = code;
  record_.remarks.add(check.remarks());
  if (!ArchiveCheck::isSound(code)) {
    throw refusal(
        L"La copia de seguridad está dañada. No se ha restaurado nada: los datos siguen como estaban.\r\n\r\n" + set +
        L"\r\n\r\n" + std::to_wstring(code) + L"-" + check.remarks().inOneLine(longestRemark));
  }
  record_.proven = true;
  view_.showTesting(false);
}

std::wstring RestoreRun::extractionFolder(const SetHeader& set) const {
  if (!choice_.originalLocation) return choice_.Destino;
  const std::wstring& directory = set.directory;
  if (!isPlace(directory)) {
    throw refusal(L"El directorio de origen que indica la copia de seguridad no es válido (" +
                  directory.substr(0, 300) + L"): " + choice_.Archivo);
  }
  return directory + L"\\";
}

// Of this process alone: other hosts may restore at the same time.
std::wstring RestoreRun::payloadPath() const {
  return parentFolderName(workingCopy(platform_.workFolder)) + L"\\" + kPayloadName +
         std::to_wstring(platform_.processes.id()) + kPayloadExtension;
}

Answer RestoreRun::ask(const std::wstring& text, std::uint32_t style) const {
  return platform_.messages.show(text, host_.title, style);
}

}  // namespace qev
