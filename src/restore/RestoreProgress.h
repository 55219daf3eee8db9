// How far the extraction of an archive is, in bytes, told from the engine's messages: a line for each entry, in the
// order of the archive's directory, and behind the name of a large one "." for each MiB (UZPRINT in engine/Vanto6.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zip/ZipDirectory.h"

namespace qev {

class RestoreProgress {
 public:
  RestoreProgress() = default;

  // The archive that is extracted.
  explicit RestoreProgress(const std::vector<ZipDirectoryEntry>& entries);

  // Takes the next piece of engine text, cut anywhere. Lines of other names count for nothing.
  void message(std::wstring_view text);

  // Bytes of all entries; of those extracted so far: never more, and never less than before.
  std::uint64_t total() const { return total_; }
  std::uint64_t done() const { return done_; }

 private:
  struct Entry {
    std::wstring name;         // what of it reads the same in every code page
    std::uint64_t before = 0;  // bytes of the entries before it
    std::uint64_t size = 0;
  };

  void character(wchar_t c);
  void add(wchar_t c);
  bool begin(std::uint64_t smallest);
  void endLine();
  void advance(std::uint64_t done);

  std::vector<Entry> entries_;
  std::size_t next_ = 0;  // the entry whose line is expected
  std::uint64_t total_ = 0;
  std::uint64_t done_ = 0;

  // The line so far, up to the length that any line of interest has. What may be a name is looked for when it has
  // grown, not with each blank, of which a name may have many.
  std::size_t length_ = 0;   // characters
  std::wstring beginning_;   // the first of them, which tell whether a name follows
  std::wstring name_;        // what of the others reads the same in every code page
  bool isSearched_ = false;  // no large entry has that name
  bool inDots_ = false;      // the line names entry next_, and dots follow
  std::uint64_t dots_ = 0;
};

}  // namespace qev
