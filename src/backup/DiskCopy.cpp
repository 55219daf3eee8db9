#include "backup/DiskCopy.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>

#include "platform/AutomationError.h"
#include "set/Volumes.h"

namespace qev {
namespace {

constexpr std::int32_t kNoDrive = -1;
constexpr std::uint32_t kBetweenTries = 200;  // milliseconds
constexpr std::int32_t kNeededBytes = static_cast<std::int32_t>(kVolumeBytes) + 1;

constexpr wchar_t kInsertDisk[] = L"Introduzca un disco formateado para continuar";
constexpr wchar_t kDiskNotEmpty[] =
    L"El disco no esta vacio o contiene sectores defectuosos, inserte otro disco por favor";
constexpr wchar_t kNotReady[] = L"El disco no está preparado, ¿Reintentar?";

}  // namespace

DiskCopy::DiskCopy(Platform& platform, std::wstring title, std::function<void(const std::wstring&)> showProgress,
                   std::function<bool()> stopAsked)
    : platform_(platform),
      title_(std::move(title)),
      showProgress_(std::move(showProgress)),
      stopAsked_(std::move(stopAsked)) {}

bool DiskCopy::run(const std::wstring& workingPath, const std::wstring& displayPath, bool isSafe) {
  isSafe_ = isSafe;
  if (driveName(displayPath) != kFloppyDrive) return true;
  const int total = splitIntoVolumes(platform_, workingPath, kVolumeBytes).totalVolumes;
  try {
    platform_.files.deleteFile(workingPath, false);
  } catch (const AutomationError&) {  // a working copy left over is asked about by the next run
  }
  const std::wstring target = std::wstring(kFloppyDrive) + L"\\" + fileNamePart(displayPath);
  for (int disk = 1; disk <= total; ++disk) {
    if (ask(kInsertDisk, message::kOkCancel | message::kInformation) == Answer::Cancel) return false;
    const DiskOutcome outcome = writeDisk(disk, total, target);
    if (outcome == DiskOutcome::Cancelled) return false;
    if (outcome == DiskOutcome::Skipped) skip(disk, total);
  }
  return true;
}

void DiskCopy::skip(int disk, int total) {
  const std::wstring text = L"El disco " + std::to_wstring(disk) + L" de " + std::to_wstring(total) +
                            L" no se ha escrito: a la copia le falta esa parte";
  if (isSafe_) throw AutomationError(kDiskNotReady, L"QevBackup", text);
  notes_.push_back(text);
}

// Every other error than "not ready" tries the same disk again without a question: the user sees the drive, changes the
// disk, and the measuring of the next one goes on.
DiskCopy::DiskOutcome DiskCopy::writeDisk(int disk, int total, const std::wstring& target) {
  while (true) {
    showProgress_(L" Copiando disco " + std::to_wstring(disk) + L" de " + std::to_wstring(total) + L"...");
    if (!findRoom()) return DiskOutcome::Cancelled;
    const auto error = copyError(workingPiece(platform_.workFolder, disk), target);
    if (!error) return DiskOutcome::Written;
    const bool notReady = *error == kDiskNotReady;
    if (notReady && ask(kNotReady, message::kYesNo | message::kCritical) == Answer::No) return DiskOutcome::Skipped;
    platform_.eventLoop.pause(kBetweenTries);
    if (stopAsked_()) return DiskOutcome::Cancelled;
  }
}

// True once the disk in the drive has room for a volume, false when the user gives up.
bool DiskCopy::findRoom() {
  while (true) {
    const std::int32_t bytes = freeBytesOrNone();
    if (bytes == kNoDrive) return false;
    if (bytes >= kNeededBytes) return true;
    if (ask(kDiskNotEmpty, message::kOkCancel | message::kInformation) == Answer::Cancel) return false;
  }
}

// A drive too large to be counted is no floppy: it has no room for a volume.
std::int32_t DiskCopy::freeBytesOrNone() {
  try {
    return freeBytes(kFloppyDrive);
  } catch (const AutomationError&) {
    return 0;
  }
}

std::int32_t DiskCopy::freeBytes(const std::wstring& drive) {
  std::optional<DiskFreeSpace> space = platform_.drives.freeSpace(drive);
  while (!space) {
    if (ask(kNotReady, message::kYesNo | message::kCritical) == Answer::No) return kNoDrive;
    space = platform_.drives.freeSpace(drive);
  }
  // In this order, each product checked: that is where 32-bit arithmetic overflows.
  std::int64_t bytes = space->freeClusters;
  for (const std::int64_t factor : {std::int64_t{space->sectorsPerCluster}, std::int64_t{space->bytesPerSector}}) {
    if (factor != 0 && bytes > std::numeric_limits<std::int32_t>::max() / factor) throw AutomationError(kOverflow);
    bytes *= factor;
  }
  return static_cast<std::int32_t>(bytes);
}

// In safe mode a disk that does not read as it was written is emptied again, so that the next try finds room.
std::optional<std::int32_t> DiskCopy::copyError(const std::wstring& piece, const std::wstring& target) {
  try {
    platform_.files.copyFile(piece, target);
    if (!isSafe_) return std::nullopt;
    platform_.files.flush(target);
    if (isEqual(piece, target)) return std::nullopt;
    platform_.files.deleteFile(target, true);
    return kDeviceInputOutput;
  } catch (const AutomationError& error) {
    return error.number();
  }
}

bool DiskCopy::isEqual(const std::wstring& piece, const std::wstring& target) {
  constexpr std::size_t atOnce = 1 << 16;
  const auto written = platform_.files.openForReading(piece);
  const auto found = platform_.files.openForReading(target);
  if (written->size() != found->size()) return false;
  std::vector<std::byte> a(atOnce), b(atOnce);
  while (const std::size_t got = written->read(a)) {
    std::size_t filled = 0;
    while (filled < got) {
      const std::size_t more = found->read(std::span(b).subspan(filled, got - filled));
      if (more == 0) return false;
      filled += more;
    }
    if (!std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(got), b.begin())) return false;
    platform_.eventLoop.yield();
  }
  return true;
}

Answer DiskCopy::ask(const wchar_t* text, std::uint32_t style) {
  return platform_.messages.show(text, title_, style);
}

}  // namespace qev
