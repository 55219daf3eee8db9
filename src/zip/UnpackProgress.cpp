#include "zip/UnpackProgress.h"

#include <algorithm>
#include <limits>

namespace qev {
namespace {

// Sizes come from archives of anybody.
std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
  return b > std::numeric_limits<std::uint64_t>::max() - a ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

}  // namespace

UnpackProgress::UnpackProgress(const std::vector<ZipDirectoryEntry>& entries) {
  for (const ZipDirectoryEntry& entry : entries) total_ = sum(total_, entry.size);
}

bool UnpackProgress::event(const EngineEvent& event) {
  const std::uint64_t before = done_;
  std::uint64_t ofEntry = 0;
  if (const auto* const done = std::get_if<BytesDone>(&event)) ofEntry = done->bytes;
  if (const auto* const entry = std::get_if<EntryEnded>(&event)) ended_ = sum(ended_, entry->bytes.value_or(0));
  done_ = std::max(done_, std::min(total_, sum(ended_, ofEntry)));
  return done_ > before;
}

}  // namespace qev
