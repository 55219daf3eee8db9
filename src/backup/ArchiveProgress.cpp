#include "backup/ArchiveProgress.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <utility>

#include "platform/FileSystem.h"

namespace qev {
namespace {

constexpr std::array<std::wstring_view, 3> kBeginnings = {L"  adding: ", L"updating: ", L"freshening: "};
constexpr std::uint64_t kBytesPerDot = 1 << 20;
constexpr std::size_t kLongestBeginning = 16;

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
  const std::wstring name = nameInArchive(path);
  longestName_ = std::max(longestName_, name.size());
  std::uint64_t& known = sizes_[name];
  total_ = total_ - known + size;
  known = size;
}

void ArchiveProgress::message(std::wstring_view text) {
  for (const wchar_t c : text) character(c);
}

int ArchiveProgress::permille() const {
  return total_ == 0 ? 0 : static_cast<int>(1000.0 * static_cast<double>(done()) / static_cast<double>(total_));
}

void ArchiveProgress::character(wchar_t c) {
  if (c == L'\n' || c == L'\r') return endLine();
  if (nameStart_ == 0) {
    if (line_.size() < kLongestBeginning) line_ += c;
    const bool begun = std::find(kBeginnings.begin(), kBeginnings.end(), line_) != kBeginnings.end();
    if (begun) nameStart_ = line_.size();
    return;
  }
  // A name ends before a blank or a dot; but names hold blanks and dots too, so the longest that is known decides.
  // Between the name and its dots stand remarks in parentheses, such as "(160 bytes security)".
  if (c == L' ' || c == L'.') matchName();
  if (line_.size() <= nameStart_ + longestName_) line_ += c;
  if (inRemark_) {
    inRemark_ = c != L')';
    return;
  }
  if (c == L'.' && inDots_) {
    ++dots_;
    advance();
  }
  inRemark_ = inDots_ && c == L'(';
  inDots_ = inDots_ && (c == L' ' || c == L'.' || c == L'(');
}

void ArchiveProgress::matchName() {
  if (line_.size() > nameStart_ + longestName_) return;
  std::wstring shown = lowered(std::wstring_view(line_).substr(nameStart_));
  if (!sizes_.contains(shown)) return;
  name_ = std::move(shown);
  inDots_ = true;
  inRemark_ = false;
  dots_ = 0;
}

void ArchiveProgress::endLine() {
  if (nameStart_ > 0) matchName();
  // Other text behind the name: it only begins the name of a file that was not expected.
  if (!name_.empty() && inDots_) finished_ += std::exchange(sizes_[name_], 0);
  line_.clear();
  nameStart_ = 0;
  name_.clear();
  inDots_ = false;
  inRemark_ = false;
  dots_ = 0;
  advance();
}

// A longer name may take the dots of a shorter one away again; what was told stays told.
void ArchiveProgress::advance() {
  const std::uint64_t current = name_.empty() ? 0 : std::min(dots_ * kBytesPerDot, sizes_[name_]);
  done_ = std::max(done_, finished_ + current);
}

}  // namespace qev
