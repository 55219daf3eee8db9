// How far the test of an archive is, in bytes, told from the engine's messages: a line "    testing: name … OK" for
// each entry, in the order of the archive's directory, and in the line of a large one "." for each MiB (UZPRINT in
// engine/Vanto6.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zip/ZipDirectory.h"

namespace qev {

class TestProgress {
 public:
  // The archive that is tested.
  explicit TestProgress(const std::vector<ZipDirectoryEntry>& entries);

  // Takes the next piece of engine text, cut anywhere.
  void message(std::wstring_view text);

  // Bytes of all entries; of those tested so far: never more, and never less than before.
  std::uint64_t total() const { return before_.back(); }
  std::uint64_t done() const { return done_; }

 private:
  void character(wchar_t c);

  std::vector<std::uint64_t> before_;  // of each entry, the bytes before it; at the end, all
  std::size_t current_ = 0;            // entries whose line has ended
  std::uint64_t done_ = 0;
  std::uint64_t dots_ = 0;  // at the end of the line so far
  std::wstring line_;       // its beginning
};

}  // namespace qev
