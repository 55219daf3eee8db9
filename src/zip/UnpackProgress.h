// How far the unzip engine is with an archive, in bytes: while it restores, and while it tests.
#pragma once

#include <cstdint>
#include <vector>

#include "zip/ArchiveEngine.h"
#include "zip/ZipDirectory.h"

namespace qev {

class UnpackProgress {
 public:
  // An archive of these entries.
  explicit UnpackProgress(const std::vector<ZipDirectoryEntry>& entries);

  // Takes the next event of the run. True when done() has grown.
  bool event(const EngineEvent& event);

  // Bytes of all entries, unpacked; of those done so far: never more, and never less than before.
  std::uint64_t total() const { return total_; }
  std::uint64_t done() const { return done_; }

 private:
  std::uint64_t total_ = 0;
  std::uint64_t ended_ = 0;  // bytes of the entries that have ended
  std::uint64_t done_ = 0;
};

}  // namespace qev
