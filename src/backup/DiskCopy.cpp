#include "backup/DiskCopy.h"

#include <limits>

#include "platform/AutomationError.h"
#include "set/Volumes.h"

namespace qev {
namespace {

constexpr std::int32_t kNoDrive = -1;
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

bool DiskCopy::run(const std::wstring& workingPath, const std::wstring& displayPath) {
  if (driveName(displayPath) != kFloppyDrive) return true;
  const int total = splitIntoVolumes(platform_, workingPath, kVolumeBytes).totalVolumes;
  try {
    platform_.files.deleteFile(workingPath, false);
  } catch (const AutomationError&) {  // a working copy left over is asked about by the next run
  }
  const std::wstring target = std::wstring(kFloppyDrive) + L"\\" + fileNamePart(displayPath);
  for (int disk = 1; disk <= total; ++disk) {
    if (ask(kInsertDisk, message::kOkCancel | message::kInformation) == Answer::Cancel) return false;
    if (writeDisk(disk, total, target) == DiskOutcome::Cancelled) return false;
  }
  return true;
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
    platform_.eventLoop.yield();
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

std::optional<std::int32_t> DiskCopy::copyError(const std::wstring& piece, const std::wstring& target) {
  try {
    platform_.files.copyFile(piece, target);
    return std::nullopt;
  } catch (const AutomationError& error) {
    return error.number();
  }
}

Answer DiskCopy::ask(const wchar_t* text, std::uint32_t style) {
  return platform_.messages.show(text, title_, style);
}

}  // namespace qev
