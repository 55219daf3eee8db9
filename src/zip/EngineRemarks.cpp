#include "zip/EngineRemarks.h"

namespace qev {

void EngineRemarks::event(const EngineEvent& event) {
  const auto* const remark = std::get_if<Remark>(&event);
  if (remark) add(remark->line);
}

void EngineRemarks::add(std::wstring_view line) {
  ++count_;
  keep(line);
}

void EngineRemarks::add(const EngineRemarks& others) {
  count_ += others.count_;
  for (const std::wstring& line : others.lines_) keep(line);
}

void EngineRemarks::keep(std::wstring_view line) {
  if (lines_.size() < kMostLines) lines_.emplace_back(line.substr(0, kLongestLine));
}

std::wstring EngineRemarks::inOneLine(std::size_t longest) const {
  std::wstring text;
  for (const std::wstring& line : lines_) {
    if (!text.empty()) text += L"; ";
    text += line;
    if (text.size() > longest) break;
  }
  if (text.size() <= longest) return text;
  constexpr std::wstring_view cut = L"...";
  text.resize(longest > cut.size() ? longest - cut.size() : 0);
  return text.append(cut.substr(0, longest));
}

}  // namespace qev
