#include "zip/EngineLines.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace qev {
namespace {

constexpr std::uint64_t kBytesPerDot = 1 << 20;
constexpr std::wstring_view kTested = L"    testing: ";

struct Beginning {
  std::wstring_view text;
  bool isArchived;  // the end of the line ends the entry
};
constexpr std::array<Beginning, 6> kEntries = {{{L"  adding: ", true},
                                                {L"updating: ", true},
                                                {L"freshening: ", true},
                                                {L"  inflating: ", false},
                                                {L" extracting: ", false},
                                                {kTested, false}}};
constexpr std::array<std::wstring_view, 3> kFrames = {L"   creating: ", L"Archive: ", L"No errors detected in "};

const Beginning* beginningOf(std::wstring_view line) {
  const auto found =
      std::ranges::find_if(kEntries, [&](const Beginning& entry) { return line.starts_with(entry.text); });
  return found == kEntries.end() ? nullptr : &*found;
}

std::wstring_view withoutBlanksBehind(std::wstring_view text) {
  return text.substr(0, text.find_last_not_of(L" \t") + 1);
}

// A remark that the zip engine puts behind a name.
bool isBehindName(std::wstring_view words) {
  return words.starts_with(L"deflated ") || words.starts_with(L"stored ") || words.ends_with(L" bytes security");
}

// The name in the line of an entry. A name may hold blanks, dots and parentheses: only the remarks at the end go.
std::wstring nameIn(std::wstring_view line, const Beginning& entry) {
  std::wstring_view name = withoutBlanksBehind(line.substr(entry.text.size()));
  while (entry.isArchived && name.ends_with(L')')) {
    const auto open = name.rfind(L" (");
    if (open == std::wstring_view::npos || !isBehindName(name.substr(open + 2, name.size() - open - 3))) break;
    name = withoutBlanksBehind(name.substr(0, open));
  }
  return std::wstring(name);
}

// What a line remarks, without blanks around it; nothing for the usual lines, and for dots alone, which are progress.
std::optional<std::wstring> remarkIn(std::wstring_view line) {
  line = withoutBlanksBehind(line);
  if (line.find_first_not_of(L" \t.") == std::wstring_view::npos) return std::nullopt;
  const Beginning* const entry = beginningOf(line);
  if (entry && (entry->text != kTested || line.ends_with(L"OK"))) return std::nullopt;
  if (line.ends_with(std::wstring(L"name not matched: ") + kPlaceholder)) return std::nullopt;
  if (std::ranges::any_of(kFrames, [&](std::wstring_view frame) { return line.starts_with(frame); }))
    return std::nullopt;
  return std::wstring(line.substr(line.find_first_not_of(L" \t")));
}

}  // namespace

void EngineLines::print(const std::wstring& message) {
  client_.text(message);
  if (message == L"." && beginningOf(line_)) {
    dot();
  } else {
    std::wstring_view rest = message;
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find_first_of(L"\r\n"), rest.size());
      add(rest.substr(0, end));
      if (end == rest.size()) break;
      endLine();
      rest.remove_prefix(end + 1);
    }
  }
  client_.yield();
}

void EngineLines::add(std::wstring_view part) {
  line_ += part.substr(0, kLongestLine - line_.size());
}

// A dot comes alone, and only behind the name of an entry: in a name dots do not come alone.
void EngineLines::dot() {
  begin();
  client_.event(BytesDone{++dots_ * kBytesPerDot});
}

void EngineLines::begin() {
  if (std::exchange(begun_, true)) return;
  dots_ = 0;
  client_.event(EntryBegun{nameIn(line_, *beginningOf(line_))});
}

void EngineLines::endLine() {
  const std::wstring line = std::exchange(line_, {});
  const bool begun = std::exchange(begun_, false);
  const Beginning* const entry = beginningOf(line);
  if (entry) {
    std::wstring name = nameIn(line, *entry);
    if (!begun) {
      dots_ = 0;
      client_.event(EntryBegun{name});
    }
    if (entry->isArchived) client_.event(EntryEnded{std::move(name), std::nullopt});
  }
  if (auto remark = remarkIn(line)) client_.event(Remark{*std::move(remark)});
}

void EngineLines::ended(const std::wstring& name, std::uint64_t size) {
  client_.event(EntryEnded{name, std::max(size, std::exchange(dots_, 0) * kBytesPerDot)});
  client_.yield();
}

}  // namespace qev
