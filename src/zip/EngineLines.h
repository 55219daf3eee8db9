// What both engines print, read once: the lines of their messages as events. Known are the lines of ZPPRINT in
// engine/Vanto5.h and of UZPRINT in engine/Vanto6.h:
//
//   "  adding: Datos/a.txt (deflated 60%)"     begins and ends an entry; "updating: ", "freshening: " likewise
//   "  inflating: Datos/a.txt"                 begins one; " extracting: " and "    testing: " likewise
//   "  adding: Datos/big.db "  "."  "."  …     a large entry: its line in pieces, one "." for each MiB
//
// Between the name of an archived file and the end of its line stand remarks in parentheses. Every other line that says
// something is a remark; so is the line of a tested entry that does not end in "OK".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "zip/ArchiveEngine.h"

namespace qev {

// The first item of every list of CZipFiles, handed to the engine with the others: the list is never empty, and the
// engine always reports one name that matches nothing. That is no remark.
inline constexpr wchar_t kPlaceholder[] = L"querty";

class EngineLines {
 public:
  // Characters of a line that are looked at; the rest of a longer one is dropped.
  static constexpr std::size_t kLongestLine = 1 << 18;

  // REQUIRES: `client` outlives the object.
  explicit EngineLines(EngineClient& client) : client_(client) {}

  // Takes the next message, as the engine's print callback brings it: hands it to the client, and then its events.
  void print(const std::wstring& message);

  // Takes what the unzip engine says of an entry that is done: its size in bytes, 4294967295 for that and more.
  void ended(const std::wstring& name, std::uint64_t size);

 private:
  void add(std::wstring_view part);
  void dot();
  void begin();
  void endLine();

  EngineClient& client_;
  std::wstring line_;       // so far, without its dots
  bool begun_ = false;      // the line's entry has been told
  std::uint64_t dots_ = 0;  // of the last entry that began
};

}  // namespace qev
