// The header line of a backup set. A set is one file that holds the zip archive of a host's data behind one line of
// text that says what it is:
//
//   set     = header CR LF payload
//   header  = "Programa : "           title      ";"     the host program's title
//             "Fecha Creación : "     date       ";"     regional short date, no time
//             "Total de Volúmenes :"  total      ";"     decimal, no sign, no leading zeros
//             "Número de Volúmen :"   number     ";"     decimal, counted from 1
//             "Directorio : "         directory  ";"     drive of the data folder: "C:"
//   CR LF   = 0D 0A
//   payload = the bytes of the zip archive; in a volume, a piece of them
//
// The header is in the system's single-byte code page, one byte a character (Locale::headerBytes: a process whose code
// page is UTF-8 writes that of the system's locale); under code page 1252 the line
// "Programa : Gestion;Fecha Creación : 16/11/2026;Total de Volúmenes :1;Número de Volúmen :1;Directorio : C:;" begins
//
//   50 72 6F 67 72 61 6D 61 20 3A 20 47 65 73 74 69 6F 6E 3B 46 65 63 68 61 20 43 72 65 61 63 69 F3 6E 20 3A 20 ...
//
// A reader cuts the line at every ";" and takes each value from a fixed character of its field, counted from 1: title
// 12, date 17, total 21, number 20, directory 14. The labels tell the code page and nothing else: it is the first of
// the reader's own, UTF-8 (as written by earlier versions in processes of that code page) and 1252 in which the labels
// of date, total and number are the ones above, and the reader's own where they are so in none.
//
// A title must not hold ";", "," or a line end: the fields after a ";" are read from the wrong places, and checkSet
// reads up to a ",". Nor may title or directory hold a character that the code page lacks. readsBack() tells.
//
// The date is written as "mm-dd-yyyy", read back as the user's locale reads it, and only then written as a short date.
// Where the day comes first, days up to 12 change places with the month: 5 November is written as 11 May. Sets in use
// carry such dates, so it stays.
//
// A header that this library writes is some 150 bytes. A reader looks at the first MiB of a line and passes over the
// rest, so no file can make it hold more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "platform/Locale.h"

namespace qev {

struct SetHeader {
  static constexpr std::string_view kBeginning = "Programa : ";
  static constexpr std::string_view kLineEnd = "\r\n";
  static constexpr std::size_t kLongestLine = 1 << 20;  // bytes of a line that are looked at

  std::wstring program;
  Date creationDate;
  std::int16_t totalVolumes = 0;
  std::int16_t volumeNumber = 0;
  std::wstring directory;

  // The values of a header line without its line end. Throws 9 for a missing field, 13 for a field that is no date or
  // number, 6 for a number beyond 16 bits.
  [[nodiscard]] static SetHeader parse(const std::wstring& line, const Locale& locale);

  // The same of a line as it stands in a file.
  [[nodiscard]] static SetHeader parse(std::string_view bytes, const Locale& locale);

  // The header line, without its line end. Throws 13 when the locale cannot read back the date.
  [[nodiscard]] std::wstring line(const Locale& locale) const;

  // The line as it stands in a file, with its line end. Locale::headerBytes.
  [[nodiscard]] std::string bytes(const Locale& locale) const;

  bool operator==(const SetHeader&) const = default;
};

// What a look at the beginning of a file finds.
struct SetCheck {
  std::wstring program;             // the title that its header names; whatever stands there when it is no set
  std::optional<SetHeader> header;  // of a set of this host program; nothing for any other file
};

// Looks whether a file is a set of the host program with that title: its first item, read as delimited text is (blanks
// before it skipped, up to a comma or line end, or between quotation marks), must have the title from character 12 of
// its first field, letter case included. Reads no more than it needs, from the reader's present position. Throws what
// the reader throws, and for a match what SetHeader::parse throws.
[[nodiscard]] SetCheck checkSet(FileReader& reader, const std::wstring& title, const Locale& locale);

// Whether a set with that header is one for the restore dialog of the same host program: what checkSet finds in its
// bytes has its title, total, number and directory. (The date is not compared: day and month may change places.) Throws
// 13 when the locale cannot read back the date.
[[nodiscard]] bool readsBack(const SetHeader& header, const Locale& locale);

// Whether the file that the reader stands at the beginning of is such a set with that header. Throws what the reader
// throws.
[[nodiscard]] bool readsBack(FileReader& reader, const SetHeader& header, const Locale& locale);

}  // namespace qev
