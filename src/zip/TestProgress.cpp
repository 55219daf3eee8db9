#include "zip/TestProgress.h"

#include <algorithm>
#include <limits>

namespace qev {
namespace {

constexpr std::wstring_view kBeginning = L"    testing: ";
constexpr std::uint64_t kBytesPerDot = 1 << 20;

}  // namespace

TestProgress::TestProgress(const std::vector<ZipDirectoryEntry>& entries) : before_{0} {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  before_.reserve(entries.size() + 1);
  for (const ZipDirectoryEntry& entry : entries) {
    const std::uint64_t before = before_.back();
    before_.push_back(entry.size > most - before ? most : before + entry.size);
  }
}

void TestProgress::message(std::wstring_view text) {
  for (const wchar_t c : text) character(c);
}

// Dots of a name are in its middle, or followed by what the line ends with; those that count stand at the end.
void TestProgress::character(wchar_t c) {
  const std::size_t last = before_.size() - 1;
  if (c == L'\n' || c == L'\r') {
    if (line_ == kBeginning && current_ < last) ++current_;
    line_.clear();
    dots_ = 0;
    done_ = std::max(done_, before_[current_]);
    return;
  }
  if (line_.size() < kBeginning.size()) {
    line_ += c;
    return;
  }
  dots_ = c == L'.' ? dots_ + 1 : 0;
  if (line_ != kBeginning || current_ == last || dots_ == 0) return;
  const std::uint64_t size = before_[current_ + 1] - before_[current_];
  done_ = std::max(done_, before_[current_] + std::min(dots_ * kBytesPerDot, size));
}

}  // namespace qev
