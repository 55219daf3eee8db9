#include "support/DiskDrive.h"

#include <utility>

namespace qev::test {
namespace {

bool onDrive(const std::wstring& path) {
  return driveName(path) == L"A:";
}

}  // namespace

void DiskDrive::failCopiesTo(const std::wstring& part, std::vector<ErrorNumber> numbers) {
  failures_[part] = std::move(numbers);
}

bool DiskDrive::fileExists(const std::wstring& path) const {
  return !absent(path) && files_.fileExists(at(path));
}

void DiskDrive::copyFile(const std::wstring& from, const std::wstring& to) {
  requireDisk(from);
  for (auto& [part, numbers] : failures_) {
    if (to.find(part) == std::wstring::npos || numbers.empty()) continue;
    const ErrorNumber number = numbers.front();
    numbers.erase(numbers.begin());
    throw AutomationError(number, to);
  }
  requireDisk(to);
  files_.copyFile(at(from), at(to));
}

std::unique_ptr<FileReader> DiskDrive::openForReading(const std::wstring& path) {
  requireDisk(path);
  return files_.openForReading(at(path));
}

std::unique_ptr<FileReplacement> DiskDrive::replaceFile(const std::wstring& path) {
  if (denied && path.find(*denied) != std::wstring::npos) throw AutomationError(kDiskFull, path);
  return files_.replaceFile(path);
}

std::uint64_t DiskDrive::fileSize(const std::wstring& path) const {
  return absent(path) ? 0 : files_.fileSize(at(path));
}

bool DiskDrive::absent(const std::wstring& path) const {
  return onDrive(path) && !disk_;
}

void DiskDrive::requireDisk(const std::wstring& path) const {
  if (absent(path)) throw AutomationError(kDiskNotReady, path);
}

std::wstring DiskDrive::at(const std::wstring& path) const {
  return onDrive(path) ? *disk_ + path.substr(2) : path;
}

}  // namespace qev::test
