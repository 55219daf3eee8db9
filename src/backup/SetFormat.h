// The backup set: one file that holds the zip archive of a host's data behind one line of text that says what it is.
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
// The header is in the system's single-byte code page, one byte a character; under code page 1252 the line
// "Programa : Gestion;Fecha Creación : 16/11/2026;Total de Volúmenes :1;Número de Volúmen :1;Directorio : C:;" begins
//
//   50 72 6F 67 72 61 6D 61 20 3A 20 47 65 73 74 69 6F 6E 3B 46 65 63 68 61 20 43 72 65 61 63 69 F3 6E 20 3A 20 ...
//
// A reader cuts the line at every ";" and takes each value from a fixed character of its field, counted from 1: title
// 12, date 17, total 21, number 20, directory 14. The labels are not looked at. A title must not hold ";" or a line
// end; nothing checks it, and the fields after a ";" in a title are read from the wrong places.
//
// The date is written as "mm-dd-yyyy", read back as the user's locale reads it, and only then written as a short date.
// Where the day comes first, days up to 12 change places with the month: 5 November is written as 11 May. Sets in use
// carry such dates, so it stays.
//
// Sizes: a header that this library writes is some 150 bytes. A reader looks at the first MiB of a line and passes over
// the rest, so no file can make it hold more. Payloads have no limit; they are streamed through a buffer of one MiB.
//
// Every file is rewritten beside its old self and put in its place in one step: whatever fails, and whenever, the name
// holds the old bytes or the new ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "automation/LibraryState.h"
#include "platform/Platform.h"

namespace qev {

// What a look at the beginning of a file finds.
struct SetCheck {
  bool matches = false;  // the file is a set of this host program
  std::wstring program;  // the title that its header names; whatever stands there when it is no set
};

class SetFormat {
 public:
  // Bytes of a volume: what a disk of 1.44 MB takes.
  static constexpr std::uint64_t kVolumeBytes = 1'440'000;

  // REQUIRES: `platform` and `state` outlive the object. `state.title` is the title written and compared,
  // `state.currentSet` the values that the operations below share.
  SetFormat(Platform& platform, LibraryState& state) : platform_(platform), state_(state) {}

  // "Backup16-11-26.qev" for the local day of `date`: the name of automatic and scheduled sets.
  std::wstring datedFileName(Date date) const;

  // The work folder's "\temp\copia.zip", where an archive for disks is built and joined.
  std::wstring workingCopy() const;

  // The work folder's "\temp\copia.zip<number>", number counted from 1.
  std::wstring workingPiece(int number) const;

  // The header line, without its line end. Throws 13 when the locale cannot read back the date.
  std::wstring headerLine(Date date, std::int16_t total, std::int16_t number, const std::wstring& directory) const;

  // Puts a header line before the content of a file. A file that does not exist is created with the header alone; one
  // that has a header gets a second. Throws file-system errors, a file that cannot be read included.
  void writeHeader(const std::wstring& path, Date date, std::int16_t total, std::int16_t number,
                   const std::wstring& directory);

  // Takes the first line and its CR LF off a file; one without CR LF is all first line and becomes empty, one that does
  // not exist is created empty. With `parse` the line becomes the current set first: where that fails the file stays as
  // it was. Throws file-system errors and, with `parse`, what parseHeader throws.
  void stripHeader(const std::wstring& path, bool parse);

  // Writes the payload of a set to `target` and makes its header line the current set; the set itself is only read, so
  // it stays what it is whatever fails, and may lie on a disk that cannot be written. `copied`, where there is one, is
  // told the bytes written so far, about once per MiB; what it throws ends the copy. Throws 53 or 76 when there is no
  // set, what parseHeader throws, before a byte is written, and other file-system errors; no target is left then.
  void extractPayload(const std::wstring& path, const std::wstring& target,
                      const std::function<void(std::uint64_t)>& copied = nullptr);

  // Makes a header line, without its line end, the current set: all of its values or, on an error, none. Throws 9 for a
  // missing field, 13 for a field that is no date or number, 6 for a number beyond 16 bits.
  void parseHeader(const std::wstring& line);

  // Whether a file is a set of this host program: its first item, read as delimited text is (blanks before it skipped,
  // up to a comma or line end, or between quotation marks), must have the host's title from character 12 of its first
  // field, letter case included. A match becomes the current set. Throws 53 or 76 when there is no file, other
  // file-system errors, and for a match what parseHeader throws.
  SetCheck checkSet(const std::wstring& path);

  // Cuts the payload of a set into pieces of `pieceSize` bytes, the last one shorter: work folder + "\temp\" + file
  // name + number, without header. The header becomes the current set, its total the number of pieces; the set itself
  // gets a header with that total. Then joinVolumes(). Throws what parseHeader throws, 11 for a piece size of 0 and 6
  // for more than 32,767 pieces, all before a byte is written, and file-system errors. At every moment the set is
  // whole.
  void splitIntoVolumes(const std::wstring& path, std::uint64_t pieceSize);

  // Takes the header lines off the pieces workingPiece(1) to workingPiece(current total) and makes workingCopy() of
  // what remains, one after another, as a set of one volume with the current date and directory. A piece that has no
  // header line, as those on disks, is taken whole; a missing one counts as an empty one. Throws file-system errors.
  void joinVolumes();

 private:
  struct FirstLine;

  bool beginsWithHeader(const std::wstring& path) const;
  std::unique_ptr<FileReader> openIfPresent(const std::wstring& path) const;
  std::string headerBytes(Date date, std::int16_t total, std::int16_t number, const std::wstring& directory) const;
  CurrentSet parsed(const std::wstring& line) const;

  // Makes the file at `path` anew: `header`, then what remains of `content`, which may be none and is closed.
  void rewrite(const std::wstring& path, std::string_view header, std::unique_ptr<FileReader> content,
               std::span<std::byte> buffer);
  void writePieces(const std::wstring& path, FileReader& content, std::uint64_t pieceSize, std::span<std::byte> buffer);

  Platform& platform_;
  LibraryState& state_;
};

}  // namespace qev
