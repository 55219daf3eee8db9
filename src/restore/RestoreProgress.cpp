#include "restore/RestoreProgress.h"

#include <algorithm>
#include <array>
#include <limits>

namespace qev {
namespace {

constexpr std::array<std::wstring_view, 2> kBeginnings = {L"  inflating: ", L" extracting: "};
constexpr std::size_t kBeginningLength = kBeginnings[0].size();
static_assert(kBeginnings[1].size() == kBeginningLength);
constexpr std::uint64_t kBytesPerDot = 1 << 20;
constexpr std::size_t kLongestLine = 70'000;  // characters; names have 16-bit lengths
constexpr std::size_t kLookAhead = 1000;      // entries that may have been passed over without a line

// The engine shows names in the ANSI code page, the directory has them in whatever its maker used: what they have in
// common are the characters of ASCII, but for those that stand for others and those that are shown another way.
bool readsTheSame(unsigned c) {
  return c > ' ' && c < 0x7f && c != '?' && c != '^' && c != '\\' && c != '/';
}

std::wstring commonPart(const std::string& name) {
  std::wstring common;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (readsTheSame(byte)) common += static_cast<wchar_t>(byte);
  }
  return common;
}

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
  return b > std::numeric_limits<std::uint64_t>::max() - a ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

}  // namespace

RestoreProgress::RestoreProgress(const std::vector<ZipDirectoryEntry>& entries) {
  entries_.reserve(entries.size());
  for (const ZipDirectoryEntry& entry : entries) {
    entries_.push_back({commonPart(entry.name), total_, entry.size});
    total_ = sum(total_, entry.size);
  }
}

void RestoreProgress::message(std::wstring_view text) {
  for (const wchar_t c : text) character(c);
}

void RestoreProgress::character(wchar_t c) {
  if (c == L'\n' || c == L'\r') return endLine();
  if (inDots_) {
    if (c != L'.') return;
    const Entry& entry = entries_[next_];
    advance(sum(entry.before, std::min(++dots_ * kBytesPerDot, entry.size)));
    return;
  }
  add(c);
  // Behind the name of an entry that is large enough stands a blank, and dots follow.
  if (c == L' ' && !isSearched_ && begin(kBytesPerDot + 1)) inDots_ = true;
}

void RestoreProgress::add(wchar_t c) {
  if (length_ == kLongestLine) return;
  ++length_;
  if (length_ <= kBeginningLength) {
    beginning_ += c;
  } else if (readsTheSame(static_cast<unsigned>(c))) {
    name_ += c;
    isSearched_ = false;
  }
}

// Whether the line names an entry of so many bytes or more, which is next_ then.
bool RestoreProgress::begin(std::uint64_t smallest) {
  if (length_ <= kBeginningLength || std::ranges::find(kBeginnings, beginning_) == kBeginnings.end()) return false;
  isSearched_ = true;
  const std::size_t end = std::min(entries_.size(), next_ + kLookAhead);
  for (std::size_t i = next_; i < end; ++i) {
    if (entries_[i].name != name_ || entries_[i].size < smallest) continue;
    next_ = i;
    advance(entries_[i].before);
    return true;
  }
  return false;
}

void RestoreProgress::endLine() {
  if (inDots_ || begin(0)) {
    advance(sum(entries_[next_].before, entries_[next_].size));
    ++next_;
  }
  length_ = 0;
  beginning_.clear();
  name_.clear();
  isSearched_ = false;
  inDots_ = false;
  dots_ = 0;
}

void RestoreProgress::advance(std::uint64_t done) {
  done_ = std::max(done_, std::min(done, total_));
}

}  // namespace qev
