#include "backup/ArchiveProgress.h"

#include <algorithm>
#include <cwctype>
#include <string_view>
#include <utility>

#include "platform/FileSystem.h"

namespace qev {
namespace {

std::wstring lowered(std::wstring_view text) {
  std::wstring out(text);
  for (wchar_t& c : out) c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
  return out;
}

// The name under which the engine stores a path: no drive or share, no leading slash, "/" between folders.
std::wstring nameInArchive(const std::wstring& path) {
  std::wstring name = lowered(path.substr(driveName(path).size()));
  std::replace(name.begin(), name.end(), L'\\', L'/');
  name.erase(0, std::min(name.find_first_not_of(L'/'), name.size()));
  return name;
}

}  // namespace

void ArchiveProgress::expect(const std::wstring& path, std::uint64_t size) {
  std::uint64_t& known = sizes_[nameInArchive(path)];
  total_ = total_ - known + size;
  known = size;
}

int ArchiveProgress::permille() const {
  return total_ == 0 ? 0 : static_cast<int>(1000.0 * static_cast<double>(done()) / static_cast<double>(total_));
}

bool ArchiveProgress::event(const EngineEvent& event) {
  const std::uint64_t before = done_;
  std::visit([this](const auto& told) { take(told); }, event);
  return done_ > before;
}

std::uint64_t ArchiveProgress::sizeOf(const std::wstring& name) const {
  const auto known = sizes_.find(lowered(name));
  return known == sizes_.end() ? 0 : known->second;
}

void ArchiveProgress::take(const EntryEnded& entry) {
  current_ = 0;
  const auto known = sizes_.find(lowered(entry.name));
  if (known != sizes_.end()) ended_ += std::exchange(known->second, 0);
  advance(0);
}

void ArchiveProgress::advance(std::uint64_t ofCurrent) {
  done_ = std::max(done_, ended_ + ofCurrent);
}

}  // namespace qev
