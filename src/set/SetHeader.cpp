#include "set/SetHeader.h"

#include <algorithm>
#include <array>
#include <span>

#include "platform/AutomationError.h"

namespace qev {
namespace {

// Takes the characters of a text file's first item one by one.
class FirstItem {
 public:
  // False once the item has ended; the character that ends it is no part of it.
  bool take(char c) {
    if (state_ == State::Before && (c == ' ' || c == '\t')) return true;
    if (state_ == State::Before) {
      state_ = c == '"' ? State::Quoted : State::Plain;
      if (state_ == State::Quoted) return true;
    }
    const bool ends = state_ == State::Quoted ? c == '"' : c == ',' || c == '\r' || c == '\n';
    if (!ends) text_ += c;
    return !ends;
  }

  const std::string& text() const { return text_; }

 private:
  enum class State { Before, Plain, Quoted };
  State state_ = State::Before;
  std::string text_;
};

// Reads no more of the file than it needs: it may lie on a slow disk.
std::string readFirstItem(FileReader& reader) {
  FirstItem item;
  std::array<std::byte, 4096> buffer{};
  for (std::size_t looked = 0; looked < SetHeader::kLongestLine;) {
    const std::size_t got = reader.read(buffer);
    if (got == 0) break;
    looked += got;
    for (const std::byte byte : std::span(buffer).first(got)) {
      if (!item.take(static_cast<char>(byte))) return item.text();
    }
  }
  return item.text();
}

std::string firstItemOf(std::string_view bytes) {
  FirstItem item;
  for (const char c : bytes) {
    if (!item.take(c)) break;
  }
  return item.text();
}

constexpr std::wstring_view kDateLabel = L"Fecha Creación : ";
constexpr std::wstring_view kTotalLabel = L"Total de Volúmenes :";
constexpr std::wstring_view kNumberLabel = L"Número de Volúmen :";

// Whether the labels with accented letters stand where they should.
bool labelsFit(std::wstring_view line) {
  for (const auto label : {kDateLabel, kTotalLabel, kNumberLabel}) {
    const auto end = line.find(L';');
    if (end == std::wstring_view::npos) return false;
    line.remove_prefix(end + 1);
    if (!line.starts_with(label)) return false;
  }
  return true;
}

// The text of a header, or of the beginning of a file that may be one. Another host of this machine may have written it
// in another code page; the accented letters of the labels tell. Where they fit in none, it counts as one of this host.
std::wstring headerText(std::string_view bytes, const Locale& locale) {
  std::wstring text = locale.textFrom(CodePage::Sets, bytes);
  if (!bytes.starts_with(SetHeader::kBeginning) || labelsFit(text)) return text;
  for (const CodePage page : {CodePage::Process, CodePage::Utf8, CodePage::Western}) {
    if (std::wstring other = locale.textFrom(page, bytes); labelsFit(other)) return other;
  }
  return text;
}

// The fields of a header line, cut at ";".
class HeaderFields {
 public:
  explicit HeaderFields(std::wstring_view line) : rest_(line), atEnd_(line.empty()) {}

  // The next field from `position`, counted from 1, to its end; empty where it is shorter. Throws 9 when there is no
  // field.
  std::wstring next(std::size_t position) {
    if (atEnd_) throw AutomationError(kSubscriptOutOfRange);
    const auto end = rest_.find(L';');
    const auto field = rest_.substr(0, end);
    atEnd_ = end == std::wstring_view::npos;
    rest_.remove_prefix(atEnd_ ? rest_.size() : end + 1);
    return std::wstring(field.substr(std::min(position - 1, field.size())));
  }

 private:
  std::wstring_view rest_;
  bool atEnd_;
};

// Where each value begins in its field.
constexpr std::size_t kProgramPosition = 12;
constexpr std::size_t kDatePosition = 17;
constexpr std::size_t kTotalPosition = 21;
constexpr std::size_t kNumberPosition = 20;
constexpr std::size_t kDirectoryPosition = 14;

}  // namespace

SetHeader SetHeader::parse(const std::wstring& line, const Locale& locale) {
  HeaderFields fields(line);
  SetHeader header;
  header.program = fields.next(kProgramPosition);
  header.creationDate = locale.dateFromText(fields.next(kDatePosition));
  header.totalVolumes = locale.toInt16(fields.next(kTotalPosition));
  header.volumeNumber = locale.toInt16(fields.next(kNumberPosition));
  header.directory = fields.next(kDirectoryPosition);
  return header;
}

SetHeader SetHeader::parse(std::string_view bytes, const Locale& locale) {
  return parse(headerText(bytes, locale), locale);
}

std::wstring SetHeader::line(const Locale& locale) const {
  const Date exchanged = locale.dateFromText(locale.format(creationDate, L"mm-dd-yyyy"));
  std::wstring line = L"Programa : " + program;
  line.append(L";").append(kDateLabel).append(locale.shortDateText(exchanged));
  line.append(L";").append(kTotalLabel).append(std::to_wstring(totalVolumes));
  line.append(L";").append(kNumberLabel).append(std::to_wstring(volumeNumber));
  return line.append(L";Directorio : ").append(directory).append(L";");
}

std::string SetHeader::bytes(const Locale& locale) const {
  return locale.headerBytes(line(locale)).append(kLineEnd);
}

namespace {

SetCheck checkItem(std::string_view bytes, const std::wstring& title, const Locale& locale) {
  const std::wstring item = headerText(bytes, locale);
  if (item.empty()) return {};
  SetCheck check{HeaderFields(item).next(kProgramPosition), std::nullopt};
  if (check.program == title) check.header = SetHeader::parse(item, locale);
  return check;
}

bool isFoundAgain(std::string_view item, const SetHeader& written, const Locale& locale) {
  try {
    const auto read = checkItem(item, written.program, locale).header;
    return read && read->totalVolumes == written.totalVolumes && read->volumeNumber == written.volumeNumber &&
           read->directory == written.directory;
  } catch (const AutomationError&) {  // a field that is missing or cannot be one
    return false;
  }
}

}  // namespace

SetCheck checkSet(FileReader& reader, const std::wstring& title, const Locale& locale) {
  return checkItem(readFirstItem(reader), title, locale);
}

bool readsBack(const SetHeader& header, const Locale& locale) {
  return isFoundAgain(firstItemOf(header.bytes(locale)), header, locale);
}

bool readsBack(FileReader& reader, const SetHeader& header, const Locale& locale) {
  return isFoundAgain(readFirstItem(reader), header, locale);
}

}  // namespace qev
