#include "zip/ListingLines.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr std::size_t kLineLength = 130;
constexpr wchar_t kLineEnd[] = L"\r\n";

// Puts as much of a text as its field takes into a line; columns count from 1.
void place(std::wstring& line, std::size_t column, std::size_t width, std::wstring_view text) {
  const std::wstring_view shown = text.substr(0, width);
  std::copy(shown.begin(), shown.end(), line.begin() + static_cast<std::ptrdiff_t>(column - 1));
}

std::wstring lastCharacters(const std::wstring& text, std::size_t count) {
  return text.substr(text.size() - count);
}

std::wstring twoDigits(unsigned number) {
  return lastCharacters(L"0" + std::to_wstring(number), 2);
}

std::wstring headerLine() {
  std::wstring line(kLineLength, L' ');
  place(line, 1, 50, L"Nombre:");
  place(line, 103, 4, L"Tamaño");
  place(line, 112, 4, L"Fecha");
  place(line, 121, 4, L"Hora");
  return line;
}

std::wstring entryLine(const EngineEntry& entry) {
  std::wstring line(kLineLength, L' ');
  place(line, 1, 100, entry.name);
  place(line, 101, 7, lastCharacters(std::wstring(8, L' ') + std::to_wstring(entry.size), 7));
  place(line, 110, 3, twoDigits(entry.month) + L"/");
  place(line, 113, 3, twoDigits(entry.day) + L"/");
  place(line, 116, 2, twoDigits(entry.year));
  place(line, 120, 5, twoDigits(entry.hour) + L":" + twoDigits(entry.minute));
  return line;
}

std::wstring columns(const std::wstring& line, std::size_t first, std::size_t last) {
  return first > line.size() ? std::wstring() : line.substr(first - 1, last - first + 1);
}

std::wstring trimmed(const std::wstring& text) {
  const std::size_t first = text.find_first_not_of(L' ');
  return first == std::wstring::npos ? std::wstring() : text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

std::int32_t int32(const std::wstring& text, const Locale& locale) {
  const double number = std::nearbyint(locale.toDouble(text));
  using Limits = std::numeric_limits<std::int32_t>;
  if (!(number >= Limits::min() && number <= Limits::max())) throw AutomationError(kOverflow);
  return static_cast<std::int32_t>(number);
}

}  // namespace

void ListingLines::add(const EngineEntry& entry) {
  if (!headerWritten_) text_ += headerLine() + kLineEnd;
  headerWritten_ = true;
  text_ += entryLine(entry) + kLineEnd;
}

ListedEntry listedEntry(const std::wstring& line, const Locale& locale) {
  return {trimmed(columns(line, 1, 100)), int32(trimmed(columns(line, 101, 107)), locale), columns(line, 110, 117),
          columns(line, 120, 124)};
}

std::vector<std::wstring> entryLines(const std::wstring& listing) {
  std::vector<std::wstring> lines;
  std::size_t begin = listing.find(kLineEnd);
  while (begin != std::wstring::npos) {
    begin += 2;
    const std::size_t end = listing.find(kLineEnd, begin);
    if (end != std::wstring::npos) lines.push_back(listing.substr(begin, end - begin));
    begin = end;
  }
  return lines;
}

}  // namespace qev
