// How far an archive run is, in bytes, told from what the engine says of its entries.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "zip/ArchiveEngine.h"

namespace qev {

class ArchiveProgress {
 public:
  // Tells of a file that will be archived: its path ("C:\Prog\Datos\a.txt") and its length in bytes. The same path told
  // again replaces the length.
  void expect(const std::wstring& path, std::uint64_t size);

  // Takes the next event of the run. Files that were not expected count for nothing. True when done() has grown.
  bool event(const EngineEvent& event);

  // Bytes archived so far, never more than total() and never less than before.
  std::uint64_t done() const { return done_ < total_ ? done_ : total_; }
  std::uint64_t total() const { return total_; }

  // done() in thousandths of total(); 0 when nothing is expected.
  int permille() const;

 private:
  std::uint64_t sizeOf(const std::wstring& name) const;
  void take(const EntryBegun& entry) { current_ = sizeOf(entry.name); }
  void take(const BytesDone& done) { advance(done.bytes < current_ ? done.bytes : current_); }
  void take(const EntryEnded& entry);
  void take(const Remark&) {}
  void advance(std::uint64_t ofCurrent);

  std::unordered_map<std::wstring, std::uint64_t> sizes_;  // by name in the archive, in lower case; 0 once archived
  std::uint64_t total_ = 0;
  std::uint64_t ended_ = 0;    // bytes of the entries that have ended
  std::uint64_t current_ = 0;  // bytes of the one that has begun
  std::uint64_t done_ = 0;
};

}  // namespace qev
