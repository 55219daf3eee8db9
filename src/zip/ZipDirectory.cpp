#include "zip/ZipDirectory.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace qev {
namespace {

constexpr std::uint32_t kEntrySignature = 0x02014b50;
constexpr std::uint32_t kEndSignature = 0x06054b50;
constexpr std::uint32_t kZip64EndSignature = 0x06064b50;
constexpr std::uint32_t kZip64LocatorSignature = 0x07064b50;

constexpr std::size_t kEntryBytes = 46;
constexpr std::size_t kEndBytes = 22;
constexpr std::size_t kZip64EndBytes = 56;
constexpr std::size_t kZip64LocatorBytes = 20;
constexpr std::size_t kLongestComment = 0xffff;

constexpr std::uint16_t kZip64Field = 1;
constexpr std::uint32_t kInZip64Field = 0xffffffff;

// A number of some bytes, the lowest first. REQUIRES: they lie within `bytes`.
std::uint64_t number(std::string_view bytes, std::size_t position, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = size; i > 0; --i) value = value << 8 | static_cast<unsigned char>(bytes[position + i - 1]);
  return value;
}

std::uint32_t signatureOf(std::string_view bytes) {
  return bytes.size() < 4 ? 0 : static_cast<std::uint32_t>(number(bytes, 0, 4));
}

// Bytes of the file from `position`; fewer at its end.
std::string bytesAt(FileReader& reader, std::uint64_t position, std::size_t count) {
  std::string bytes(count, '\0');
  reader.seek(position);
  std::size_t filled = 0;
  while (filled < count) {
    const std::size_t got = reader.read(std::as_writable_bytes(std::span(bytes)).subspan(filled));
    if (got == 0) break;
    filled += got;
  }
  bytes.resize(filled);
  return bytes;
}

// Where the directory stands in the file, and how much of it there is.
struct Directory {
  std::uint64_t archiveBegin = 0;  // by the offset that the end record gives
  std::uint64_t begin = 0;
  std::uint64_t size = 0;
  std::uint64_t entries = 0;
};

// A directory that says to end where its end record begins. What the record gives as its offset counts from the
// beginning of the archive, which need not be that of the file.
std::optional<Directory> directoryBefore(std::uint64_t end, std::uint64_t size, std::uint64_t offset,
                                         std::uint64_t entries) {
  if (size > end || offset > end - size) return std::nullopt;
  if (entries > kMostDirectoryEntries || entries > size / kEntryBytes) return std::nullopt;
  const std::uint64_t begin = end - size;
  return Directory{begin - offset, begin, size, entries};
}

std::optional<Directory> zip64Directory(FileReader& reader, std::uint64_t endRecord) {
  if (endRecord < kZip64LocatorBytes + kZip64EndBytes) return std::nullopt;
  const std::string locator = bytesAt(reader, endRecord - kZip64LocatorBytes, kZip64LocatorBytes);
  if (locator.size() < kZip64LocatorBytes || signatureOf(locator) != kZip64LocatorSignature) return std::nullopt;
  // The record stands right before its locator, wherever that says it is: bytes before the archive shift it.
  const std::uint64_t begin = endRecord - kZip64LocatorBytes - kZip64EndBytes;
  const std::string record = bytesAt(reader, begin, kZip64EndBytes);
  if (record.size() < kZip64EndBytes || signatureOf(record) != kZip64EndSignature) return std::nullopt;
  return directoryBefore(begin, number(record, 40, 8), number(record, 48, 8), number(record, 32, 8));
}

// The end record that the file ends with, its comment included, and where it begins.
struct EndRecord {
  std::string bytes;
  std::uint64_t begin = 0;
};

std::optional<EndRecord> findEnd(FileReader& reader) {
  const std::uint64_t fileSize = reader.size();
  const auto tailSize = static_cast<std::size_t>(std::min<std::uint64_t>(fileSize, kEndBytes + kLongestComment));
  const std::string tail = bytesAt(reader, fileSize - tailSize, tailSize);
  if (tail.size() < kEndBytes) return std::nullopt;
  for (std::size_t at = tail.size() - kEndBytes + 1; at-- > 0;) {
    const auto record = std::string_view(tail).substr(at);
    if (signatureOf(record) != kEndSignature || number(record, 20, 2) != record.size() - kEndBytes) continue;
    return EndRecord{std::string(record), fileSize - tailSize + at};
  }
  return std::nullopt;
}

std::optional<Directory> findDirectory(FileReader& reader) {
  const auto end = findEnd(reader);
  if (!end) return std::nullopt;
  if (const auto larger = zip64Directory(reader, end->begin)) return larger;
  return directoryBefore(end->begin, number(end->bytes, 12, 4), number(end->bytes, 16, 4), number(end->bytes, 10, 2));
}

// The unpacked length of an entry from its extra fields, where the entry itself has no room for it.
std::optional<std::uint64_t> zip64Size(std::string_view extra) {
  while (extra.size() >= 4) {
    const auto field = static_cast<std::uint16_t>(number(extra, 0, 2));
    const auto size = static_cast<std::size_t>(number(extra, 2, 2));
    if (size > extra.size() - 4) break;
    if (field == kZip64Field) return size >= 8 ? std::optional(number(extra, 4, 8)) : std::nullopt;
    extra.remove_prefix(4 + size);
  }
  return std::nullopt;
}

// The bytes of the directory, handed out in order through a buffer.
class DirectoryBytes {
 public:
  DirectoryBytes(FileReader& reader, const Directory& directory)
      : reader_(reader), next_(directory.begin), left_(directory.size) {}

  // The next `count` bytes, valid until the next call; fewer where the directory ends.
  std::string_view take(std::size_t count) {
    if (buffer_.size() - used_ < count) fill(count);
    const auto bytes = std::string_view(buffer_).substr(used_, count);
    used_ += bytes.size();
    return bytes;
  }

 private:
  void fill(std::size_t count) {
    constexpr std::size_t bufferBytes = 1 << 18;  // more than the largest entry
    buffer_.erase(0, used_);
    used_ = 0;
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(left_, std::max(bufferBytes, count) - buffer_.size()));
    const std::string more = bytesAt(reader_, next_, wanted);
    next_ += more.size();
    left_ = more.size() < wanted ? 0 : left_ - more.size();
    buffer_ += more;
  }

  FileReader& reader_;
  std::uint64_t next_;
  std::uint64_t left_;
  std::string buffer_;
  std::size_t used_ = 0;
};

}  // namespace

std::optional<std::vector<ZipDirectoryEntry>> readZipDirectory(FileReader& reader) {
  const auto directory = findDirectory(reader);
  if (!directory) return std::nullopt;
  DirectoryBytes bytes(reader, *directory);
  std::vector<ZipDirectoryEntry> entries;
  std::uint64_t nameBytes = 0;
  for (std::uint64_t i = 0; i < directory->entries; ++i) {
    const auto fixed = bytes.take(kEntryBytes);
    if (fixed.size() < kEntryBytes || signatureOf(fixed) != kEntrySignature) return std::nullopt;
    const std::uint64_t size = number(fixed, 24, 4);
    const auto nameSize = static_cast<std::size_t>(number(fixed, 28, 2));
    const auto extraSize = static_cast<std::size_t>(number(fixed, 30, 2));
    const auto commentSize = static_cast<std::size_t>(number(fixed, 32, 2));
    const auto rest = bytes.take(nameSize + extraSize + commentSize);
    nameBytes += nameSize;
    if (rest.size() < nameSize + extraSize + commentSize || nameBytes > kMostNameBytes) return std::nullopt;
    const auto larger = size == kInZip64Field ? zip64Size(rest.substr(nameSize, extraSize)) : std::nullopt;
    entries.push_back({std::string(rest.substr(0, nameSize)), larger.value_or(size),
                       static_cast<std::uint32_t>(number(fixed, 16, 4))});
  }
  return entries;
}

std::optional<std::uint64_t> zipArchiveBegin(FileReader& reader) {
  const auto directory = findDirectory(reader);
  return directory ? std::optional(directory->archiveBegin) : std::nullopt;
}

bool endsWithZipEnd(FileReader& reader) {
  return findEnd(reader).has_value();
}

}  // namespace qev
