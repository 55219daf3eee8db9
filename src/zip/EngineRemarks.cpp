#include "zip/EngineRemarks.h"

#include <algorithm>
#include <array>

namespace qev {
namespace {

constexpr std::array<std::wstring_view, 8> kUsual = {
    L"  adding: ",    L"updating: ",    L"freshening: ", L"  inflating: ",
    L" extracting: ", L"   creating: ", L"Archive: ",    L"No errors detected in "};
constexpr std::wstring_view kTesting = L"    testing: ";
constexpr std::wstring_view kGood = L"OK";
constexpr std::wstring_view kUnmatched = L"name not matched: ";
constexpr std::size_t kTail = 64;  // characters

bool isUsual(std::wstring_view line, std::wstring_view tail) {
  if (line.starts_with(kTesting)) return (tail.empty() ? line : tail).ends_with(kGood);
  if (line.ends_with(std::wstring(kUnmatched) + kPlaceholder)) return true;
  return std::any_of(kUsual.begin(), kUsual.end(), [&](std::wstring_view usual) { return line.starts_with(usual); });
}

std::wstring_view withoutBlanksAround(std::wstring_view text) {
  const auto begin = text.find_first_not_of(L" \t.");  // dots alone are progress
  if (begin == std::wstring_view::npos) return {};
  const auto from = text.find_first_not_of(L" \t");
  return text.substr(from, text.find_last_not_of(L" \t") - from + 1);
}

}  // namespace

void EngineRemarks::message(std::wstring_view text) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(L"\r\n"), text.size());
    add(text.substr(0, end));
    if (end == text.size()) return;
    endLine();
    text.remove_prefix(end + 1);
  }
}

void EngineRemarks::add(std::wstring_view part) {
  const std::size_t kept = std::min(part.size(), kLongestLine - line_.size());
  line_ += part.substr(0, kept);
  part.remove_prefix(kept);
  if (part.empty()) return;
  tail_ += part.substr(part.size() - std::min(part.size(), kTail));
  if (tail_.size() > kTail) tail_.erase(0, tail_.size() - kTail);
}

void EngineRemarks::endLine() {
  while (!line_.empty() && tail_.empty() && line_.back() == L' ') line_.pop_back();
  while (!tail_.empty() && tail_.back() == L' ') tail_.pop_back();
  const std::wstring_view said = withoutBlanksAround(line_);
  if (!said.empty() && !isUsual(line_, tail_)) {
    ++count_;
    if (lines_.size() < kMostLines) lines_.emplace_back(said);
  }
  line_.clear();
  tail_.clear();
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
