#include "backup/SetBuild.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "backup/ArchiveProgress.h"
#include "backup/EngineTexts.h"
#include "set/SetFile.h"
#include "zip/ArchiveCheck.h"

namespace qev {
namespace {

// Of the bar, in safe mode.
constexpr int kArchived = 500;
constexpr int kCompared = 700;
constexpr int kWholeBar = 1000;

// Deletes a file when it goes, if it is there.
class Leftover {
 public:
  Leftover(FileSystem& files, const std::wstring& path) : files_(files), path_(path) {}
  Leftover(const Leftover&) = delete;
  Leftover& operator=(const Leftover&) = delete;
  ~Leftover() { remove(); }

  void remove() noexcept {
    try {
      if (files_.fileExists(path_)) files_.deleteFile(path_, true, FreeName::NotAwaited);
    } catch (const std::exception&) {  // its name tells the next run that it may go
    }
  }

 private:
  FileSystem& files_;
  const std::wstring& path_;
};

bool contains(const std::wstring& text, const wchar_t* part) {
  return text.find(part) != std::wstring::npos;
}

// Whether a few small files are all that differs: to do it all again may well be enough.
bool areFewAndSmall(const Differences& differences) {
  constexpr std::size_t mostFiles = 10;
  constexpr std::uint64_t mostBytes = 16 << 20;
  std::uint64_t bytes = 0;
  for (const Difference& difference : differences) bytes += difference.bytes;
  const bool canPass = std::ranges::none_of(
      differences, [](const Difference& one) { return one.reason == Difference::Reason::Unreadable; });
  return canPass && differences.size() <= mostFiles && bytes <= mostBytes;
}

// FAT32 refuses what is too long for it as if there were no room.
bool isTooLongFor(const VolumeFacts& volume) {
  constexpr std::uint64_t clearlyRoom = 64 << 20;
  return volume.fileSystem.starts_with(L"FAT") && volume.freeBytes >= clearlyRoom;
}

}  // namespace

SetBuild::SetBuild(Platform& platform, Job job, BackupRunView& view, RunRecord& record,
                   CZipFiles::EngineLoader loadEngine, CUnzipFiles::EngineLoader loadTester)
    : platform_(platform),
      job_(std::move(job)),
      view_(view),
      record_(record),
      zip_(platform.locale, platform.eventLoop, std::move(loadEngine)),
      loadTester_(std::move(loadTester)) {
  zip_.AddFile(job_.places.folder + L"*.*");
  zip_.AddFile(job_.places.utilities);
  zip_.AddFile(job_.places.settings);
  zip_.setRecurseFolders(true);
  zip_.setUpdatingZip(false);
  zip_.setHiddenFiles(job_.isSafe);
}

void SetBuild::run() {
  prepare();
  bool isLastTry = false;
  while (true) {
    try {
      if (build(isLastTry)) break;
      isLastTry = true;
    } catch (const AutomationError& error) {
      if (!canMakeRoom(error)) throw explained(error);
      makeRoom();
    }
  }
  Leftover(platform_.files, keptArchive(job_.target)).remove();
}

// Whether the target can be written is asked for by beginning to.
void SetBuild::prepare() {
  if (!platform_.files.folderExists(job_.places.folder)) throw AutomationError(kPathNotFound, job_.places.folder);
  const std::wstring ofEarlierVersions = job_.target + L".nueva";
  Leftover(platform_.files, ofEarlierVersions).remove();
  platform_.files.replaceFile(job_.target);
  platform_.files.requireReplaceable(job_.target);
}

// Without safe mode the old set goes where there is no room for two, if what it takes is enough then. An archive and
// the set that is made of it stand side by side for a while; one that did not fit is larger than the room was.
bool SetBuild::canMakeRoom(const AutomationError& error) const {
  if (error.number() != kDiskFull || job_.isSafe || !platform_.files.fileExists(job_.target)) return false;
  const auto volume = platform_.drives.volumeOf(parentFolderName(job_.target));
  if (!volume || isTooLongFor(*volume)) return false;
  const std::uint64_t old = platform_.files.fileSize(job_.target);
  if (archiveBytes_ == 0) return old >= volume->freeBytes;
  return volume->freeBytes + old + platform_.files.fileSize(archivePath_) >= 2 * archiveBytes_;
}

void SetBuild::makeRoom() {
  platform_.files.deleteFile(job_.target, true);
  record_.notes.add(L"No había sitio para las dos copias: la anterior se ha borrado antes de terminar la nueva");
}

// False when it is worth another try.
bool SetBuild::build(bool isLastTry) {
  const DataFiles data = lookAtData();
  requireSound(data);
  requireRoom(data);
  archivePath_ = platform_.files.unfinishedName(job_.target);
  Leftover leftover(platform_.files, archivePath_);
  archive(data);
  const SetHeader header{job_.host.title, platform_.clock.now(), 1, 1, driveName(job_.places.folder)};
  const auto set = stamp(header);
  leftover.remove();
  const Entries entries = contentsOf(set->path());
  if (!job_.isSafe) {
    noteDifferences(data, entries);
    checkHeader(set->path(), header);
  } else {
    if (!isAsTheData(entries, isLastTry)) return false;
    checkHeader(set->path(), header);
    test(set->path(), entries);
  }
  set->commit({}, CreationTime::Now);
  return true;
}

DataFiles SetBuild::lookAtData() {
  return findData(platform_, job_.places, job_.target, [this] { step(); });
}

// A folder that cannot be listed is told once more when the archive is compared; in safe mode it does not come to that.
void SetBuild::requireSound(const DataFiles& data) {
  for (const WalkGap& gap : data.gaps) {
    if (gap.reason == WalkGap::Reason::LeadsBack) {
      record_.notes.add(gap.folder + L" enlaza con una carpeta que la contiene: no se ha entrado en ella");
    } else if (job_.isSafe) {
      throw AutomationError(static_cast<ErrorNumber>(gap.number), gap.folder);
    }
  }
  if (data.inFolder > 0) return;
  const std::wstring text = L"La carpeta de datos no contiene ningún archivo: " + job_.places.folder;
  if (job_.isSafe) throw AutomationError(kFileNotFound, L"QevBackup", text);
  record_.notes.add(text);
}

// No archive is smaller than a thousandth of its data (RFC 1951: 258 bytes in two bits at best), and each entry takes
// two headers.
void SetBuild::requireRoom(const DataFiles& data) const {
  constexpr std::uint64_t densest = 1032;
  constexpr std::uint64_t headers = 76;
  const auto volume = platform_.drives.volumeOf(parentFolderName(job_.target));
  if (!volume) return;
  const std::uint64_t freed = job_.isSafe ? 0 : platform_.files.fileSize(job_.target);
  if (volume->freeBytes + freed < data.bytes / densest + headers * data.files.size()) {
    throw AutomationError(kDiskFull, job_.target);
  }
}

void SetBuild::archive(const DataFiles& data) {
  ArchiveProgress progress;
  for (const DataFile& file : data.files) progress.expect(file.path, file.size);
  zip_.setZipFileName(archivePath_);
  zip_.onEvent = [&](const EngineEvent& event) {
    hear(event);
    if (progress.event(event)) showPart(0, job_.isSafe ? kArchived : kWholeBar, progress.done(), progress.total());
  };
  record_.engineCode = zip_.MakeZipFile();
  zip_.onEvent = nullptr;
  if (!platform_.files.fileExists(archivePath_)) explainMissingArchive();
  archiveBytes_ = platform_.files.fileSize(archivePath_);
}

// That a file is not there which need not be is no remark.
void SetBuild::hear(const EngineEvent& event) {
  if (const auto* const remark = std::get_if<Remark>(&event); remark && contains(remark->line, L"name not matched: ")) {
    for (const std::wstring& path : {job_.places.utilities, job_.places.settings}) {
      if (remark->line.ends_with(fileNamePart(path)) && !platform_.files.fileExists(path)) return;
    }
  }
  record_.remarks.event(event);
}

void SetBuild::explainMissingArchive() const {
  const std::int32_t code = record_.engineCode.value_or(0);
  const std::wstring said = zip_.GetLastMessage();
  const ErrorNumber number = contains(said, L"No space left")         ? kDiskFull
                             : contains(said, L"Permission denied")   ? kPermissionDenied
                             : contains(said, L"No such file")        ? kPathNotFound
                             : contains(said, L"Not enough space")    ? kOutOfMemory
                             : code == 4                              ? kOutOfMemory
                             : code == 10 || code == 14 || code == 15 ? kDeviceInputOutput
                                                                      : kFileNotFound;
  throw AutomationError(number, job_.target + L" (" + zipCodeText(code) + L")").from(L"RvZipFiles::MakeZipFile");
}

AutomationError SetBuild::explained(const AutomationError& error) const {
  if (error.number() != kDiskFull) return error;
  const auto volume = platform_.drives.volumeOf(parentFolderName(job_.target));
  if (!volume || !isTooLongFor(*volume)) return error;
  return {error.number(), error.source(),
          L"El disco está formateado como " + volume->fileSystem +
              L", que no admite archivos de 4 GB o más; use un disco con exFAT o NTFS: " + job_.target};
}

// An archive that has gone is an error: a set of a header alone is none.
std::unique_ptr<FileReplacement> SetBuild::stamp(const SetHeader& header) {
  try {
    return beginSet(platform_, archivePath_, job_.target, header);
  } catch (const AutomationError& error) {
    if (canMakeRoom(error) || !keepArchive()) throw;
    throw AutomationError(error.number(), error.source(),
                          error.description() + L". Lo comprimido queda, sin cabecera, en " + keptArchive(job_.target));
  }
}

bool SetBuild::keepArchive() {
  try {
    platform_.files.moveFile(archivePath_, keptArchive(job_.target));
    return true;
  } catch (const AutomationError&) {
    return false;
  }
}

SetBuild::Entries SetBuild::contentsOf(const std::wstring& path) {
  try {
    const auto reader = platform_.files.openForReading(path);
    record_.setBytes = reader->size();
    auto entries = readZipDirectory(*reader);
    if (entries) record_.count(*entries);
    return std::move(entries).value_or(Entries());
  } catch (const AutomationError& error) {
    if (job_.isSafe) throw;
    record_.notes.add(L"No se ha podido leer la copia: " + error.description());
    return {};
  }
}

// What has changed between the two looks shows in its moment even where its length is the same.
void SetBuild::noteDifferences(const DataFiles& before, const Entries& entries) {
  const DataFiles after = lookAtData();
  Differences differences = SetComparison(platform_, entries).byDirectory(after);
  for (const DataFile& file : changedBetween(before, after)) {
    const bool isTold = std::ranges::any_of(differences, [&](const Difference& one) { return one.path == file.path; });
    if (!isTold) differences.push_back({Difference::Reason::Changed, file.path, file.size, kPathFileAccess, {}});
  }
  for (const Difference& difference : differences) record_.notes.add(difference.text());
}

bool SetBuild::isAsTheData(const Entries& entries, bool isLastTry) {
  record_.proven = false;
  view_.showResult(L" Comprobando la copia de seguridad...");
  const DataFiles data = lookAtData();
  const Differences differences = SetComparison(platform_, entries).byContent(data, [&](std::uint64_t read) {
    showPart(kArchived, kCompared, read, data.bytes);
    step();
  });
  const std::int32_t code = record_.engineCode.value_or(kZipDone);
  if (differences.empty() && code == kZipDone) return true;
  if (differences.empty()) {
    throw AutomationError(code, L"RvZipFiles::MakeZipFile", L"Copia incompleta: " + zipCodeText(code));
  }
  for (const Difference& difference : differences) record_.notes.add(difference.text());
  if (!isLastTry && areFewAndSmall(differences)) {
    record_.notes.add(L"La copia se repite una vez");
    view_.showResult(L" Realizando copia de seguridad...");
    return false;
  }
  throw AutomationError(differences.front().number, L"RvZipFiles::MakeZipFile",
                        L"Copia incompleta: " + inOneLine(differences, job_.places.folder));
}

void SetBuild::checkHeader(const std::wstring& path, const SetHeader& header) {
  if (readsBack(*platform_.files.openForReading(path), header, platform_.locale)) return;
  const std::wstring text = L"La cabecera no se lee como se ha escrito: el título «" + job_.host.title +
                            L"» no puede llevar «;», «,» ni letras ajenas a la página de códigos del sistema";
  if (job_.isSafe) throw AutomationError(kTypeMismatch, L"QevBackup", text);
  record_.notes.add(text);
}

// The set is tested where it is: it is these bytes that take the old one's place. Of the header line before the archive
// the engine has a remark, which is none. An archive without entries is no backup, however sound.
void SetBuild::test(const std::wstring& path, const Entries& entries) {
  ArchiveCheck check(platform_, loadTester_, path, entries);
  check.onProgress = [&](std::uint64_t done) { showPart(kCompared, kWholeBar, done, check.total()); };
  std::int32_t code = check.run();
  if (ArchiveCheck::isSound(code) && entries.empty()) code = kUnzipNoArchive;
  record_.proven = ArchiveCheck::isSound(code);
  if (*record_.proven) return;
  record_.engineCode = code;
  record_.remarks.add(check.remarks());
  throw AutomationError(code, L"RvUnZipFiles::Test", L"Copia dañada: " + testCodeText(code));
}

// The bar never falls: a second try begins where the first one has come to.
void SetBuild::showPart(int from, int to, std::uint64_t done, std::uint64_t total) {
  const double part = total == 0 ? 1 : std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  shown_ = std::max(shown_, from + static_cast<int>((to - from) * part));
  view_.showProgress(shown_);
}

// The windows get their messages, twenty times a second.
void SetBuild::step() {
  constexpr std::uint64_t between = 50;  // milliseconds
  const std::uint64_t now = platform_.clock.ticks();
  if (now - lastStep_ < between) return;
  lastStep_ = now;
  platform_.eventLoop.yield();
}

}  // namespace qev
