#include "backup/SetFormat.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "platform/AutomationError.h"

namespace qev {
namespace {

constexpr std::size_t kBufferBytes = 1 << 20;
constexpr std::size_t kLongestLine = 1 << 20;  // bytes of a line that are looked at
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeaderBeginning = "Programa : ";

std::vector<std::byte> makeBuffer() {
  return std::vector<std::byte>(kBufferBytes);
}

std::string_view asText(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::span<const std::byte> asBytes(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

// Copies at most `count` bytes; returns how many there were. Windows that wait for their messages get them in between.
std::uint64_t copyBytes(FileReader& from, FileReplacement& to, std::uint64_t count, std::span<std::byte> buffer,
                        EventLoop& eventLoop) {
  std::uint64_t copied = 0;
  while (copied < count) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), count - copied));
    const std::size_t got = from.read(buffer.first(wanted));
    if (got == 0) break;
    to.write(buffer.first(got));
    copied += got;
    eventLoop.yield();
  }
  return copied;
}

// `copied`, where there is one, is told the bytes so far, once for each buffer.
void copyRest(FileReader& from, FileReplacement& to, std::span<std::byte> buffer, EventLoop& eventLoop,
              const std::function<void(std::uint64_t)>& copied = nullptr) {
  std::uint64_t sum = 0;
  while (const std::uint64_t got = copyBytes(from, to, buffer.size(), buffer, eventLoop)) {
    sum += got;
    if (copied) copied(sum);
  }
}

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
  for (std::size_t looked = 0; looked < kLongestLine;) {
    const std::size_t got = reader.read(buffer);
    if (got == 0) break;
    looked += got;
    for (const char c : asText(std::span(buffer).first(got))) {
      if (!item.take(c)) return item.text();
    }
  }
  return item.text();
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

std::int16_t volumeCount(std::uint64_t length, std::uint64_t pieceSize) {
  if (pieceSize == 0) throw AutomationError(kDivisionByZero);
  const std::uint64_t count = length / pieceSize + (length % pieceSize > 0 ? 1 : 0);
  if (count > static_cast<std::uint64_t>(std::numeric_limits<std::int16_t>::max())) throw AutomationError(kOverflow);
  return static_cast<std::int16_t>(count);
}

}  // namespace

// The first line of a file: its first bytes, no more than asked for, and where the next line begins.
struct SetFormat::FirstLine {
  std::string text;
  std::uint64_t next = 0;

  // Leaves the reader somewhere behind the line.
  static FirstLine read(FileReader& reader, std::size_t longest, std::span<std::byte> buffer);

 private:
  void add(std::string_view bytes, std::size_t longest) { text.append(bytes.substr(0, longest - text.size())); }
};

SetFormat::FirstLine SetFormat::FirstLine::read(FileReader& reader, std::size_t longest, std::span<std::byte> buffer) {
  FirstLine line;
  bool heldReturn = false;  // the last byte so far is CR, and whether it ends the line is not known yet
  for (;;) {
    const auto bytes = asText(buffer.first(reader.read(buffer)));
    if (heldReturn && bytes.starts_with('\n')) {
      ++line.next;
      return line;
    }
    if (heldReturn) line.add("\r", longest);
    if (bytes.empty()) return line;
    const auto end = bytes.find(kLineEnd);
    if (end != std::string_view::npos) {
      line.add(bytes.substr(0, end), longest);
      line.next += end + kLineEnd.size();
      return line;
    }
    heldReturn = bytes.back() == '\r';
    line.add(bytes.substr(0, bytes.size() - (heldReturn ? 1 : 0)), longest);
    line.next += bytes.size();
  }
}

std::wstring SetFormat::datedFileName(Date date) const {
  return L"Backup" + fileDayText(date) + L".qev";
}

std::wstring SetFormat::workingCopy() const {
  return platform_.workFolder.path() + L"\\temp\\copia.zip";
}

std::wstring SetFormat::workingPiece(int number) const {
  return workingCopy() + std::to_wstring(number);
}

std::wstring SetFormat::headerLine(Date date, std::int16_t total, std::int16_t number,
                                   const std::wstring& directory) const {
  const Locale& locale = platform_.locale;
  const Date exchanged = locale.dateFromText(locale.format(date, L"mm-dd-yyyy"));
  return L"Programa : " + state_.title + L";Fecha Creación : " + locale.shortDateText(exchanged) +
         L";Total de Volúmenes :" + std::to_wstring(total) + L";Número de Volúmen :" + std::to_wstring(number) +
         L";Directorio : " + directory + L";";
}

void SetFormat::writeHeader(const std::wstring& path, Date date, std::int16_t total, std::int16_t number,
                            const std::wstring& directory) {
  const std::string header = headerBytes(date, total, number, directory);
  auto buffer = makeBuffer();
  rewrite(path, header, openIfPresent(path), buffer);
}

void SetFormat::stripHeader(const std::wstring& path, bool parse) {
  auto buffer = makeBuffer();
  auto content = openIfPresent(path);
  FirstLine line;
  if (content) line = FirstLine::read(*content, parse ? kLongestLine : 0, buffer);
  if (parse) parseHeader(platform_.locale.textFromAnsi(line.text));
  if (content) content->seek(line.next);
  rewrite(path, {}, std::move(content), buffer);
}

void SetFormat::extractPayload(const std::wstring& path, const std::wstring& target,
                               const std::function<void(std::uint64_t)>& copied) {
  auto buffer = makeBuffer();
  const auto content = platform_.files.openForReading(path);
  const FirstLine line = FirstLine::read(*content, kLongestLine, buffer);
  parseHeader(platform_.locale.textFromAnsi(line.text));
  content->seek(line.next);
  const auto payload = platform_.files.replaceFile(target);
  copyRest(*content, *payload, buffer, platform_.eventLoop, copied);
  payload->commit();
}

void SetFormat::parseHeader(const std::wstring& line) {
  state_.currentSet = parsed(line);
}

SetCheck SetFormat::checkSet(const std::wstring& path) {
  const auto reader = platform_.files.openForReading(path);
  const std::wstring item = platform_.locale.textFromAnsi(readFirstItem(*reader));
  if (item.empty()) return {};
  SetCheck check;
  check.program = HeaderFields(item).next(kProgramPosition);
  check.matches = check.program == state_.title;
  if (check.matches) parseHeader(item);
  return check;
}

void SetFormat::splitIntoVolumes(const std::wstring& path, std::uint64_t pieceSize) {
  auto buffer = makeBuffer();
  auto content = openIfPresent(path);
  FirstLine line;
  if (content) line = FirstLine::read(*content, kLongestLine, buffer);
  parseHeader(platform_.locale.textFromAnsi(line.text));

  CurrentSet& set = state_.currentSet;
  const std::uint64_t length = content ? content->size() - line.next : 0;
  set.totalVolumes = volumeCount(length, pieceSize);
  const std::string header = headerBytes(set.creationDate, set.totalVolumes, set.volumeNumber, set.directory);

  // The header stays on the set until its successor is complete, so that no failure leaves a bare archive behind.
  if (content) {
    content->seek(line.next);
    writePieces(path, *content, pieceSize, buffer);
    content->seek(line.next);
  }
  rewrite(path, header, std::move(content), buffer);
  joinVolumes();
}

void SetFormat::joinVolumes() {
  const CurrentSet& set = state_.currentSet;
  for (int i = 1; i <= set.totalVolumes; ++i) {
    if (beginsWithHeader(workingPiece(i))) stripHeader(workingPiece(i), false);
  }

  auto buffer = makeBuffer();
  const auto joined = platform_.files.replaceFile(workingCopy());
  joined->write(asBytes(headerBytes(set.creationDate, 1, 1, set.directory)));
  for (int i = 1; i <= set.totalVolumes; ++i) {
    if (const auto piece = openIfPresent(workingPiece(i))) copyRest(*piece, *joined, buffer, platform_.eventLoop);
  }
  joined->commit();
}

// The pieces on disks are bare: to look for the end of a first line in one would cost the archive the bytes before it.
bool SetFormat::beginsWithHeader(const std::wstring& path) const {
  std::string beginning(kHeaderBeginning.size(), '\0');
  const auto piece = openIfPresent(path);
  if (piece) beginning.resize(piece->read(std::as_writable_bytes(std::span(beginning))));
  return beginning == kHeaderBeginning;
}

// A missing file reads as an empty one. One that exists but cannot be read must not: it would be replaced by the little
// that is about to be written, and its content be lost.
std::unique_ptr<FileReader> SetFormat::openIfPresent(const std::wstring& path) const {
  try {
    return platform_.files.openForReading(path);
  } catch (const AutomationError& error) {
    if (error.number() != kFileNotFound && error.number() != kPathNotFound) throw;
    return nullptr;
  }
}

std::string SetFormat::headerBytes(Date date, std::int16_t total, std::int16_t number,
                                   const std::wstring& directory) const {
  std::string bytes = platform_.locale.ansiFromText(headerLine(date, total, number, directory));
  bytes += kLineEnd;
  return bytes;
}

CurrentSet SetFormat::parsed(const std::wstring& line) const {
  const Locale& locale = platform_.locale;
  HeaderFields fields(line);
  CurrentSet set;
  set.program = fields.next(kProgramPosition);
  set.creationDate = locale.dateFromText(fields.next(kDatePosition));
  set.totalVolumes = locale.toInt16(fields.next(kTotalPosition));
  set.volumeNumber = locale.toInt16(fields.next(kNumberPosition));
  set.directory = fields.next(kDirectoryPosition);
  return set;
}

void SetFormat::rewrite(const std::wstring& path, std::string_view header, std::unique_ptr<FileReader> content,
                        std::span<std::byte> buffer) {
  const auto replacement = platform_.files.replaceFile(path);
  if (!header.empty()) replacement->write(asBytes(header));
  if (content) copyRest(*content, *replacement, buffer, platform_.eventLoop);
  content.reset();
  replacement->commit();
}

void SetFormat::writePieces(const std::wstring& path, FileReader& content, std::uint64_t pieceSize,
                            std::span<std::byte> buffer) {
  const CurrentSet& set = state_.currentSet;
  const std::wstring stem = platform_.workFolder.path() + L"\\temp\\" + fileNamePart(path);
  for (int i = 1; i <= set.totalVolumes; ++i) {
    const auto number = static_cast<std::int16_t>(i);
    const auto piece = platform_.files.replaceFile(stem + std::to_wstring(i));
    piece->write(asBytes(headerBytes(set.creationDate, set.totalVolumes, number, set.directory)));
    copyBytes(content, *piece, pieceSize, buffer, platform_.eventLoop);
    piece->commit();
  }
}

}  // namespace qev
