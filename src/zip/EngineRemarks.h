// What an engine remarked in a run, in bounded memory whatever the length of the run.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "zip/ArchiveEngine.h"

namespace qev {

class EngineRemarks {
 public:
  static constexpr std::size_t kMostLines = 200;
  static constexpr std::size_t kLongestLine = 300;  // characters; the rest of a longer line is dropped

  // Takes the next event; those that are no remark count for nothing.
  void event(const EngineEvent& event);

  // Takes a line as it stands.
  void add(std::wstring_view line);

  // Takes what another run remarked.
  void add(const EngineRemarks& others);

  // The remarks so far in their order, no more than kMostLines of them.
  const std::vector<std::wstring>& lines() const { return lines_; }

  // How many remarks there were, kept or not.
  std::size_t count() const { return count_; }

  // The remarks in one line, at most `longest` characters of them, "..." behind a text that was cut. Empty without any.
  std::wstring inOneLine(std::size_t longest) const;

 private:
  void keep(std::wstring_view line);

  std::vector<std::wstring> lines_;
  std::size_t count_ = 0;
};

}  // namespace qev
