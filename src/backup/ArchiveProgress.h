// How far an archive run is, in bytes, told from the engine's messages. A line "  adding: Prog/Datos/gestion.db" begins
// a file; each "." behind the name stands for one more MiB of it; remarks such as "(160 bytes security)" and
// "(deflated 60%)" say nothing; the end of the line ends it. "updating: " and "freshening: " begin files likewise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace qev {

class ArchiveProgress {
 public:
  // Tells of a file that will be archived: its path ("C:\Prog\Datos\a.txt") and its length in bytes. The same path told
  // again replaces the length.
  void expect(const std::wstring& path, std::uint64_t size);

  // Takes the next piece of engine text, cut anywhere. Files that were not expected count for nothing.
  void message(std::wstring_view text);

  // Bytes archived so far, never more than total() and never less than before.
  std::uint64_t done() const { return done_ < total_ ? done_ : total_; }
  std::uint64_t total() const { return total_; }

  // done() in thousandths of total(); 0 when nothing is expected.
  int permille() const;

 private:
  void character(wchar_t c);
  void matchName();
  void endLine();
  void advance();

  std::unordered_map<std::wstring, std::uint64_t> sizes_;  // by name in the archive, in lower case; 0 once archived
  std::size_t longestName_ = 0;
  std::uint64_t total_ = 0;
  std::uint64_t finished_ = 0;  // bytes of files whose line has ended
  std::uint64_t done_ = 0;

  std::wstring line_;          // the line so far, as much of it as the longest name may need
  std::size_t nameStart_ = 0;  // where its name begins; 0 while none has begun
  std::wstring name_;          // the longest expected name that the line has shown so far
  bool inDots_ = false;        // only dots, blanks and remarks since that name
  bool inRemark_ = false;      // between the parentheses of a remark
  std::uint64_t dots_ = 0;     // dots since that name
};

}  // namespace qev
