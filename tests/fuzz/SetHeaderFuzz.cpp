// The header of a backup set: any bytes as a set file.
#include <cmath>

#include "fuzz/Fuzz.h"
#include "set/SetFile.h"
#include "set/Volumes.h"
#include "support/FakePlatform.h"
#include "support/MemoryPeak.h"

namespace qev::test {
namespace {

constexpr std::size_t kMostMemory = 24u << 20;  // bytes; the buffer, and a line of one MiB in its several forms
constexpr std::size_t kMostTransfer = 1u << 20;
constexpr std::size_t kLongRun = 3u << 20;

const std::wstring kTitle = L"Gestion";
const std::wstring kCopy = L"C:\\Trabajo\\temp\\copia.zip";
const std::wstring kPayload = L"C:\\Trabajo\\temp\\payload.zip";
const SpanishLocale kLocale{};

// The bytes of an input as a file.
class BytesReader : public FileReader {
 public:
  explicit BytesReader(std::string_view bytes) : content_(bytes) {}
  std::size_t read(std::span<std::byte> buffer) override {
    const std::size_t got = content_.read(position_, buffer);
    position_ += got;
    return got;
  }
  std::uint64_t size() const override { return content_.size(); }
  void seek(std::uint64_t position) override { position_ = position; }

 private:
  FileContent content_;
  std::uint64_t position_ = 0;
};

// A set file in memory and what looks at it.
struct Sandbox {
  explicit Sandbox(std::string_view bytes) { fake.files.put(kCopy, bytes); }

  Platform& platform() { return fake.platform(); }
  std::string bytes() const { return fake.files.bytes(kCopy); }
  bool tidy() const {
    return fake.files.openReaders() == 0 && fake.files.openReplacements() == 0 &&
           fake.files.largestTransfer() <= kMostTransfer;
  }

  FakePlatform fake;
};

std::vector<std::wstring> fieldsOf(const std::wstring& line) {
  std::vector<std::wstring> fields;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::wstring::npos; begin = end + 1) {
    end = line.find(L';', begin);
    fields.push_back(line.substr(begin, end - begin));
  }
  return fields;
}

// The text of a field from a character on, counted from 1.
std::wstring from(const std::wstring& field, std::size_t position) {
  return field.size() < position ? std::wstring() : field.substr(position - 1);
}

bool hasLabels(const std::wstring& line) {
  const auto fields = fieldsOf(line);
  return fields.size() >= 4 && fields[1].starts_with(L"Fecha Creación : ") &&
         fields[2].starts_with(L"Total de Volúmenes :") && fields[3].starts_with(L"Número de Volúmen :");
}

// A header in UTF-8 is told by its labels.
std::wstring decoded(std::string_view bytes) {
  const std::wstring text = kLocale.textFromAnsi(bytes);
  if (!bytes.starts_with(SetHeader::kBeginning) || hasLabels(text)) return text;
  const std::wstring other = textOfUtf8(bytes);
  return hasLabels(other) ? other : text;
}

std::wstring firstItem(std::string_view bytes) {
  const auto first = bytes.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  bytes.remove_prefix(first);
  const bool quoted = bytes[0] == '"';
  if (quoted) bytes.remove_prefix(1);
  return decoded(bytes.substr(0, bytes.find_first_of(quoted ? "\"" : ",\r\n")));
}

bool isParseError(std::int32_t number) {
  return number == kSubscriptOutOfRange || number == kTypeMismatch || number == kOverflow;
}

// What a line that was taken says, read another way.
void requireValuesOf(const std::wstring& line, const SetHeader& header) {
  const auto fields = fieldsOf(line);
  require(fields.size() >= 5, "a header that is taken has five fields");
  require(header.program == from(fields[0], 12), "the title begins at character 12");
  require(header.creationDate == kLocale.dateFromText(from(fields[1], 17)), "the date begins at character 17");
  require(header.totalVolumes == kLocale.toInt16(from(fields[2], 21)), "the total begins at character 21");
  require(header.volumeNumber == kLocale.toInt16(from(fields[3], 20)), "the number begins at character 20");
  require(header.directory == from(fields[4], 14), "the directory begins at character 14");
  require(errorOf([&] { calendarDay(header.creationDate); }) == 0, "the date lies in the calendar");
}

// Written again and read again a header keeps its values; day and month change places, and the second time back.
void requireRoundTrip(SetHeader header) {
  SetHeader again = header;
  for (int turn = 0; turn < 2; ++turn) again = SetHeader::parse(again.line(kLocale), kLocale);
  header.creationDate.days = std::trunc(header.creationDate.days);
  require(again == header, "a header that is written reads back");
}

void tryCheck(std::string_view bytes) {
  const std::wstring item = firstItem(bytes);
  SetCheck check;
  const std::int32_t error = errorOf([&] {
    BytesReader reader(bytes);
    check = checkSet(reader, kTitle, kLocale);
  });
  const bool ours = !item.empty() && from(fieldsOf(item)[0], 12) == kTitle;
  require(error == 0 || (ours && isParseError(error)), "only a header with the host's title can fail to be read");
  require(error != 0 || check.header.has_value() == ours, "a set is told by its title");
  if (check.header) requireValuesOf(item, *check.header);
}

// The header that an action answers, or the number of the error that it ends in.
struct Outcome {
  std::int32_t error = 0;
  std::optional<SetHeader> header;
  bool operator==(const Outcome&) const = default;
};

template <typename Action>
Outcome outcomeOf(const Action& action) {
  Outcome outcome;
  outcome.error = errorOf([&] { outcome.header = action(); });
  return outcome;
}

Outcome parsed(const std::wstring& line) {
  return outcomeOf([&] { return SetHeader::parse(line, kLocale); });
}

// What is said to read back does, and whatever a title holds nothing but that is said.
void tryReadingBack(const SetHeader& header) {
  std::string bytes;
  if (errorOf([&] { bytes = header.bytes(kLocale); }) != 0) return;
  BytesReader reader(bytes);
  SetCheck check;
  const bool isRead = errorOf([&] { check = checkSet(reader, header.program, kLocale); }) == 0;
  const bool isSame = isRead && check.header && check.header->totalVolumes == header.totalVolumes &&
                      check.header->volumeNumber == header.volumeNumber && check.header->directory == header.directory;
  require(readsBack(header, kLocale) == isSame, "what reads back is told from what does not");
}

void tryLine(const std::wstring& line) {
  const auto [error, header] = parsed(line);
  require(error == 0 || isParseError(error), "a line is taken or refused with 9, 13 or 6");
  if (!header) return;
  requireValuesOf(line, *header);
  requireRoundTrip(*header);
  tryReadingBack(*header);
}

// The two ways to the payload: off the file itself, and into another file.
void tryPayload(std::string_view bytes, std::string_view payload, const Outcome& expected) {
  Sandbox strip(bytes);
  stripHeader(strip.platform(), kCopy);
  require(strip.bytes() == payload && strip.tidy(), "a first line comes off, whatever it is");

  Sandbox extract(bytes);
  require(outcomeOf([&] { return extractPayload(extract.platform(), kCopy, kPayload); }) == expected,
          "the header of a file is read as its line is");
  require(extract.bytes() == bytes && extract.tidy(), "an extraction leaves the set alone");
  require(extract.fake.files.bytes(kPayload) == (expected.header ? payload : "<none>"),
          "it gives the payload or nothing");
}

void tryHeaderBefore(std::string_view bytes) {
  Sandbox box(bytes);
  writeHeader(box.platform(), kCopy, {kTitle, Date{46000}, 3, 2, L"C:"});
  require(box.bytes().ends_with(bytes), "a header goes before the content");
  const auto header = checkSet(box.platform(), kCopy, kTitle).header;
  require(header.has_value(), "what gets a header is a set");
  require(header->totalVolumes == 3 && header->volumeNumber == 2 && header->directory == L"C:",
          "it gives what was written");
  stripHeader(box.platform(), kCopy);
  require(box.bytes() == bytes, "a header that was written comes off again");
}

void tryVolumes(std::string_view bytes, std::string_view payload, Outcome expected) {
  Sandbox box(bytes);
  const std::uint64_t pieceSize = payload.size() / 3 + 1;
  const auto pieces = static_cast<std::int16_t>((payload.size() + pieceSize - 1) / pieceSize);
  if (expected.header) expected.header->totalVolumes = pieces;
  require(outcomeOf([&] { return splitIntoVolumes(box.platform(), kCopy, pieceSize); }) == expected,
          "a set is cut where its header is taken, and its total is the number of pieces");
  if (expected.header) stripHeader(box.platform(), kCopy);
  require(box.bytes() == (expected.header ? payload : bytes),
          "pieces joined give the payload; else the file stays as it was");
  require(box.tidy(), "nothing stays open");
}

// The same bytes with MiBs behind them that have no line end: memory must not grow with a file.
void tryLongLine(std::string_view bytes) {
  FileContent content(bytes);
  content.appendRun('x', kLongRun);
  Sandbox box("");
  box.fake.files.putContent(kCopy, std::move(content));
  const MemoryPeak peak;
  errorOf([&] { (void)checkSet(box.platform(), kCopy, kTitle); });
  errorOf([&] { (void)extractPayload(box.platform(), kCopy, kPayload); });
  require(peak.bytes() < kMostMemory && box.tidy(), "memory does not grow with a file");
}

std::string header(const std::string& title, const std::string& date, const std::string& total,
                   const std::string& number, const std::string& directory) {
  return "Programa : " + title + ";Fecha Creaci\xF3n : " + date + ";Total de Vol\xFAmenes :" + total +
         ";N\xFAmero de Vol\xFAmen :" + number + ";Directorio : " + directory + ";";
}

}  // namespace

std::vector<std::string> seeds() {
  using namespace std::string_literals;
  const std::string archive = "PK\x03\x04\r\n;,\"\0\xFF\x1A\n\rPK\r\nfin"s;
  const std::string good = header("Gestion", "16/11/2026", "1", "1", "C:");
  return {
      good + "\r\n" + archive,
      good + "\r\n",
      good,
      good + good + "\r\n" + archive,
      " \t" + good + "\r\n" + archive,
      "\"" + good + "\"\r\n" + archive,
      header("Gestion", "5/11/2026 10:30", "3", "2", "\\\\servidor\\datos") + "\r\n" + archive,
      header("Gestion", "11-05-26", "32767", "-1", "C:\\x\\..\\..") + "\r\n" + archive,
      header("Gestion", "29/02/1896", "0", "1", "") + "\r\n" + archive,
      header("Gestion", "10:30", "1.234,5", "1e3", "C:") + "\r\n" + archive,
      header("Gestion", "ayer", "1", "1", "C:") + "\r\n" + archive,
      header("Gestion", "16/11/2026", "uno", "1", "C:") + "\r\n" + archive,
      header("Gestion", "16/11/2026", "40000", "1", "C:") + "\r\n" + archive,
      header("Gestion, S.A.", "16/11/2026", "1", "1", "C:") + "\r\n" + archive,
      header("Otra;cosa", "16/11/2026", "1", "1", "C:") + "\r\n" + archive,
      utf8Of(kLocale.textFromAnsi(header("Gesti\xF3n", "16/11/2026", "1", "1", "C:"))) + "\r\n" + archive,
      utf8Of(kLocale.textFromAnsi(good)) + "\r\n" + archive,
      "Programa : Gestion;Fecha Creaci\xF3n : 16/11/2026;Total",
      "Programa : Gestion\r" + archive,
      archive,
      "\r\n",
  };
}

void tryInput(std::string_view bytes) {
  const auto lineEnd = bytes.find("\r\n");
  const std::wstring line = decoded(bytes.substr(0, lineEnd));
  const std::string_view payload = lineEnd == std::string_view::npos ? "" : bytes.substr(lineEnd + 2);
  tryCheck(bytes);
  tryLine(line);
  tryLine(textOf(bytes));

  // Every work on the file takes a buffer of one MiB; a share of the inputs is enough for it.
  if (bytes.size() % 16 != 0) return;
  const Outcome expected = parsed(line);
  tryPayload(bytes, payload, expected);
  tryHeaderBefore(bytes);
  tryVolumes(bytes, payload, expected);
  if (bytes.size() % 256 == 0) tryLongLine(bytes);
}

}  // namespace qev::test
