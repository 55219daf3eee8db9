// The listing of an archive: any text as a listing, and listings of any entries.
#include "zip/ListingLines.h"

#include "fuzz/Fuzz.h"
#include "support/SpanishLocale.h"

namespace qev::test {
namespace {

constexpr std::size_t kLineLength = 130;
constexpr wchar_t kLineEnd[] = L"\r\n";

bool isTrimmed(const std::wstring& text) {
  return text.empty() || (text.front() != L' ' && text.back() != L' ');
}

std::wstring twoDigits(unsigned number) {
  return {static_cast<wchar_t>(L'0' + number / 10 % 10), static_cast<wchar_t>(L'0' + number % 10)};
}

void tryLine(const std::wstring& line) {
  ListedEntry entry;
  const std::int32_t error = errorOf([&] { entry = listedEntry(line, SpanishLocale()); });
  require(error == 0 || error == kTypeMismatch || error == kOverflow, "a line is taken or refused with 13 or 6");
  if (error != 0) return;
  require(entry.FileName.size() <= 100 && isTrimmed(entry.FileName),
          "a name is trimmed and has 100 characters at most");
  require(line.substr(0, 100).find(entry.FileName) != std::wstring::npos, "a name stands in its columns");
  require(line.size() > 100, "a line that is taken reaches the column of the size");
  require(entry.mDate == (line.size() < 110 ? L"" : line.substr(109, 8)), "the date is columns 110 to 117");
  require(entry.mTime == (line.size() < 120 ? L"" : line.substr(119, 5)), "the time is columns 120 to 124");
}

// Lines put together again are the listing, from its first line end to its last.
void tryListing(const std::wstring& listing) {
  const std::vector<std::wstring> lines = entryLines(listing);
  const auto first = listing.find(kLineEnd);
  const auto last = listing.rfind(kLineEnd);
  std::wstring joined;
  for (const std::wstring& line : lines) {
    require(line.find(kLineEnd) == std::wstring::npos, "a line holds no line end");
    joined += line + kLineEnd;
    tryLine(line);
  }
  require(joined == (first == std::wstring::npos ? L"" : listing.substr(first + 2, last - first)),
          "lines together are the listing without its first and last piece");
}

EngineEntry entryOf(Input& input) {
  EngineEntry entry;
  const std::size_t length = input.byte();
  entry.size = static_cast<std::uint32_t>(input.number(4));
  entry.month = input.byte();
  entry.day = input.byte();
  entry.year = static_cast<unsigned>(input.number(4));
  entry.hour = input.byte();
  entry.minute = static_cast<unsigned>(input.number(4));
  entry.name = textOf(input.bytes(length));
  return entry;
}

ListedEntry expectedOf(const EngineEntry& entry) {
  const std::wstring date = twoDigits(entry.month) + L"/" + twoDigits(entry.day) + L"/" + twoDigits(entry.year);
  return {trimmed(entry.name.substr(0, 100)), static_cast<std::int32_t>(entry.size % 10'000'000), date,
          twoDigits(entry.hour) + L":" + twoDigits(entry.minute)};
}

void tryEntries(std::string_view bytes) {
  std::vector<EngineEntry> entries;
  ListingLines lines;
  bool lineEndInName = false;
  for (Input input(bytes); !input.empty();) {
    entries.push_back(entryOf(input));
    lines.add(entries.back());
    lineEndInName = lineEndInName || entries.back().name.substr(0, 100).find(kLineEnd) != std::wstring::npos;
  }
  const std::size_t lineCount = entries.empty() ? 0 : entries.size() + 1;
  require(lines.text().size() == lineCount * (kLineLength + 2), "every line has 130 characters and a line end");
  tryListing(lines.text());
  if (lineEndInName) return;

  const std::vector<std::wstring> found = entryLines(lines.text());
  require(found.size() == entries.size(), "every entry has a line");
  for (std::size_t i = 0; i < entries.size(); ++i) {
    require(listedEntry(found[i], SpanishLocale()) == expectedOf(entries[i]), "an entry that was listed reads back");
  }
}

std::string line(const std::string& name, const std::string& size, const std::string& date, const std::string& time) {
  std::string text(kLineLength, ' ');
  text.replace(0, name.size(), name).replace(100, size.size(), size);
  return text.replace(109, date.size(), date).replace(119, time.size(), time) + "\r\n";
}

std::string entry(const std::string& name, const std::string& numbers) {
  return static_cast<char>(name.size()) + numbers + name;
}

}  // namespace

std::vector<std::string> seeds() {
  using namespace std::string_literals;
  const std::string header = line("Nombre:", "  Tama", "  Fech", "  Hora");
  const std::string good = line("Datos/a\xF1o.txt", "1234567", "01/05/05", "09:07");
  const std::string numbers = "\x39\x30\0\0\1\5\xD5\7\0\0\x09\7\0\0\0"s;
  return {
      header + good + good,
      header + good + "resto",
      header + line("corta", "", "", "") + "\r\n" + good,
      header + line("a", "   -1,5", "", "") + line("b", " 1e9999", "", "") + line("c", "9999e20", "", ""),
      header + line("", "      0", "01/05/05", "09:07").substr(0, 107) + "\r\n",
      "\r\n\r\n\r\n",
      "a\rb\nc",
      entry("Datos/a.txt", numbers),
      entry("Datos/a.txt", numbers) + entry(std::string(200, 'x'), "\xFF\xFF\xFF\xFF" + numbers.substr(4)),
      entry(" a\r\nb ", numbers) + entry("", numbers),
  };
}

void tryInput(std::string_view bytes) {
  tryListing(textOf(bytes));
  tryLine(textOf(bytes));
  tryEntries(bytes);
}

}  // namespace qev::test
