// What of an engine's messages says something: the lines that are neither the usual one of an entry nor a frame around
// them. Gathered while the messages come, in bounded memory, whatever the length of the run.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qev {

// The first item of every list of CZipFiles, handed to the engine with the others: the list is never empty, and the
// engine always reports one name that matches nothing. That is no remark.
inline constexpr wchar_t kPlaceholder[] = L"querty";

class EngineRemarks {
 public:
  static constexpr std::size_t kMostLines = 200;
  static constexpr std::size_t kLongestLine = 300;  // characters; the rest of a longer line is dropped

  // Takes the next piece of engine text, cut anywhere. Lines of both engines are known (ZPPRINT in engine/Vanto5.h,
  // UZPRINT in engine/Vanto6.h).
  void message(std::wstring_view text);

  // The remarks so far, a line each, trimmed, in their order; a line that has not ended yet is none. No more than
  // kMostLines of them.
  const std::vector<std::wstring>& lines() const { return lines_; }

  // How many remarks there were, kept or not.
  std::size_t count() const { return count_; }

  // The remarks in one line, at most `longest` characters of them, "..." behind a text that was cut. Empty without any.
  std::wstring inOneLine(std::size_t longest) const;

 private:
  void add(std::wstring_view part);
  void endLine();

  std::wstring line_;
  std::wstring tail_;  // the last characters of a line that is longer than what is kept
  std::vector<std::wstring> lines_;
  std::size_t count_ = 0;
};

}  // namespace qev
