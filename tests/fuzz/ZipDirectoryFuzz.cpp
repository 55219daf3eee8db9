// The directory of an archive: any bytes as a file, and archives of any entries.
#include "zip/ZipDirectory.h"

#include <algorithm>
#include <cstring>

#include "fuzz/Fuzz.h"
#include "support/MemoryPeak.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

using Entries = std::optional<std::vector<ZipDirectoryEntry>>;

constexpr std::size_t kEntryBytes = 46;
constexpr std::uint64_t kMostTail = 22 + 0xffff + 20 + 56;  // bytes of the end records

// A file in memory that gives so many bytes a call at the most.
class MemoryReader : public FileReader {
 public:
  MemoryReader(std::string_view bytes, std::size_t most) : bytes_(bytes), most_(most) {}

  std::size_t read(std::span<std::byte> buffer) override {
    const auto from = bytes_.substr(static_cast<std::size_t>(std::min<std::uint64_t>(position_, bytes_.size())));
    const std::size_t got = std::min({from.size(), buffer.size(), most_});
    if (got > 0) std::memcpy(buffer.data(), from.data(), got);
    position_ += got;
    bytesRead += got;
    return got;
  }
  std::uint64_t size() const override { return bytes_.size(); }
  void seek(std::uint64_t position) override { position_ = position; }

  std::uint64_t bytesRead = 0;

 private:
  std::string_view bytes_;
  std::size_t most_;
  std::uint64_t position_ = 0;
};

Entries entriesOf(std::string_view file, std::size_t most = std::string_view::npos) {
  MemoryReader reader(file, most);
  return readZipDirectory(reader);
}

bool same(const Entries& a, const Entries& b) {
  const auto equal = [](const ZipDirectoryEntry& x, const ZipDirectoryEntry& y) {
    return x.name == y.name && x.size == y.size;
  };
  if (!a || !b) return a.has_value() == b.has_value();
  return std::equal(a->begin(), a->end(), b->begin(), b->end(), equal);
}

void tryFile(std::string_view file, std::size_t most) {
  Entries entries;
  MemoryReader reader(file, std::string_view::npos);
  const MemoryPeak peak;
  entries = readZipDirectory(reader);
  require(peak.bytes() <= 65536 + 16 * file.size(), "memory is bounded by the file, whatever it announces");
  require(reader.bytesRead <= kMostTail + file.size(), "nothing but the end and the directory is read, and that once");

  MemoryReader end(file, most);
  const bool endsAsArchive = endsWithZipEnd(end);
  require(same(entries, entriesOf(file, most)), "however short the reads, the entries are the same");
  if (!entries) return;
  require(endsAsArchive, "what has a directory ends as an archive does");
  require(entries->size() <= file.size() / kEntryBytes, "there are no more entries than have room");
  for (const auto& entry : *entries) {
    require(file.find(entry.name) != std::string_view::npos, "a name stands in the file");
  }
}

ZipEntry entryOf(Input& input) {
  const std::uint8_t flags = input.byte();
  const std::string name = input.bytes(input.byte());
  ZipEntry entry = storedEntry(name, input.bytes(flags % 16));
  entry.isZip64 = (flags & 0x10) != 0;
  entry.descriptorFollows = (flags & 0x20) != 0;
  if ((flags & 0x40) != 0) entry.directoryExtra = extraField(0x5455, input.bytes(input.byte() % 32));
  if ((flags & 0x80) != 0) entry.size = input.number(entry.isZip64 ? 8 : 4);
  entry.comment = input.bytes(input.byte() % 32);
  return entry;
}

void tryArchive(Input input) {
  ZipLayout layout;
  const std::uint8_t flags = input.byte();
  layout.isZip64 = flags % 2 != 0;
  layout.before = input.bytes(flags % 32);
  layout.comment = input.bytes(input.byte());
  std::vector<ZipEntry> written;
  while (!input.empty() && written.size() < 20) written.push_back(entryOf(input));
  const std::string file = zipOf(written, layout);

  // An end record in the comment, and a larger one before the end record, are as good as the archive's own.
  if (layout.comment.find("PK\5\6") != std::string::npos) return;
  if (!layout.isZip64 && file.find("PK\6\7") != std::string::npos) return;
  const Entries entries = entriesOf(file);
  require(entries && entries->size() == written.size(), "an archive that was written is read");
  for (std::size_t i = 0; i < written.size(); ++i) {
    require((*entries)[i].name == written[i].name && (*entries)[i].size == written[i].size,
            "its entries have the names and lengths that were written");
  }
  require(same(entries, entriesOf("Programa : x;\r\n" + file)), "bytes before an archive change nothing");
  const bool hasOneEnd = file.find("PK\5\6") == file.rfind("PK\5\6");
  require(!hasOneEnd || !entriesOf(file + "x"), "bytes behind an archive make it none");
}

// Inputs as tryInput takes them apart.
std::string fileSeed(const std::string& file) {
  return '\7' + file;
}

}  // namespace

std::vector<std::string> seeds() {
  using namespace std::string_literals;
  ZipEntry large = storedEntry("grande", "x");
  large.isZip64 = true;
  large.size = std::uint64_t{5} << 30;
  ZipEntry extra = storedEntry("Datos\\a\xF1o.txt", "dos");
  extra.directoryExtra = extraField(0x5455, "12345");
  extra.comment = "nota";
  const std::vector<ZipEntry> entries{storedEntry("uno", "1"), extra, large, folderEntry("carpeta/")};
  ZipLayout counted;
  counted.entryCount = 65535;
  const std::string plain = zipOf(entries);
  return {
      fileSeed(plain),
      fileSeed(zipOf(entries, {.before = "Programa : x;\r\n"})),
      fileSeed(zipOf(entries, {.comment = "comentario"})),
      fileSeed(zipOf(entries, {.isZip64 = true})),
      fileSeed(zipOf(entries, counted)),
      fileSeed(zipOf({})),
      fileSeed(plain.substr(0, plain.size() - 1)),
      fileSeed(plain.substr(plain.size() - 60)),
      fileSeed("PK\3\4"),
      "\x80\0\0\0\3uno\0"s,
      "\x80\1\4nota\x54\3dos\x05tiempo1234\0"s,
      "\x80\7\0\xF0\5cinco\2ab\1\2\3\4\5\6\7\x08\3fin"s,
  };
}

void tryInput(std::string_view bytes) {
  Input input(bytes);
  const std::uint8_t kind = input.byte();
  if (kind >= 0x80) return tryArchive(input);
  tryFile(input.rest(), kind + 1u);
}

}  // namespace qev::test
