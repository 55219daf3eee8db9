// The listing of an archive as lines of fixed columns, and the entries read back from it.
//
// A listing is empty, or a header line and one line for each entry. Every line has 130 characters, blanks where nothing
// stands, and ends with CR LF. Columns count from 1:
//
//   header   1- 50  "Nombre:"     103-106  "Tama"       112-115  "Fech"      121-124  "Hora"
//   entry    1-100  name          101-107  size         110-117  mm/dd/yy    120-124  hh:mm
//
// A field holds the first characters of a longer text; of the size it holds the last 7 digits, blanks before them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Locale.h"
#include "zip/ArchiveEngine.h"

namespace qev {

// What a line tells of an entry.
struct ListedEntry {
  std::wstring FileName;      // trimmed
  std::int32_t FileSize = 0;  // bytes
  std::wstring mDate;         // "mm/dd/yy"
  std::wstring mTime;         // "hh:mm"
  bool operator==(const ListedEntry&) const = default;
};

// Writes the lines of one listing.
class ListingLines {
 public:
  // Adds the line of an entry, the header line before the first one.
  void add(const EngineEntry& entry);

  const std::wstring& text() const { return text_; }

 private:
  std::wstring text_;
  bool headerWritten_ = false;
};

// The entry of one line, its CR LF not included. Columns beyond the end of a shorter line are empty. Throws 13 when the
// column of the size holds no number, 6 when it holds one beyond 32 bits.
ListedEntry listedEntry(const std::wstring& line, const Locale& locale);

// The lines of a listing without the header line, and without what follows the last CR LF.
std::vector<std::wstring> entryLines(const std::wstring& listing);

}  // namespace qev
