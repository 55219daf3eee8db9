#include "support/ZipWriter.h"

#include <algorithm>
#include <array>

namespace qev::test {
namespace {

const std::array<std::uint32_t, 256>& checksumTable() {
  static const auto table = [] {
    std::array<std::uint32_t, 256> values{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
      std::uint32_t value = byte;
      for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320u : 0u);
      values[byte] = value;
    }
    return values;
  }();
  return table;
}

std::uint32_t updated(std::uint32_t checksum, unsigned char byte) {
  return checksum >> 8 ^ checksumTable().data()[(checksum ^ byte) & 0xFF];
}

// Bits of a deflate stream, the first in the lowest bit of the first byte.
class Bits {
 public:
  void number(unsigned value, int count) {
    for (int bit = 0; bit < count; ++bit) add(value >> bit & 1);
  }
  void code(unsigned value, int count) {
    for (int bit = count; bit-- > 0;) add(value >> bit & 1);
  }
  const std::string& bytes() const { return bytes_; }

 private:
  void add(unsigned bit) {
    if (used_ == 0) bytes_ += '\0';
    bytes_.back() = static_cast<char>(static_cast<unsigned char>(bytes_.back()) | bit << used_);
    used_ = (used_ + 1) % 8;
  }

  std::string bytes_;
  int used_ = 0;
};

class Keys {
 public:
  explicit Keys(const std::string& password) {
    for (const char character : password) feed(static_cast<unsigned char>(character));
  }
  char encode(char plain) {
    const unsigned mixed = (keys_[2] & 0xFFFF) | 2;
    const auto mask = static_cast<unsigned char>(mixed * (mixed ^ 1) >> 8);
    feed(static_cast<unsigned char>(plain));
    return static_cast<char>(plain ^ mask);
  }

 private:
  void feed(unsigned char byte) {
    keys_[0] = updated(keys_[0], byte);
    keys_[1] = (keys_[1] + (keys_[0] & 0xFF)) * 134775813u + 1;
    keys_[2] = updated(keys_[2], static_cast<unsigned char>(keys_[1] >> 24));
  }

  std::array<std::uint32_t, 3> keys_{305419896u, 591751049u, 878082192u};
};

std::string sizesOf(const ZipEntry& entry, bool inDirectory) {
  if (!entry.isZip64) {
    return littleEndian(entry.checksum, 4) + littleEndian(std::min<std::uint64_t>(entry.packedSize, 0xFFFFFFFF), 4) +
           littleEndian(std::min<std::uint64_t>(entry.size, 0xFFFFFFFF), 4);
  }
  if (entry.descriptorFollows && !inDirectory) return littleEndian(0, 4) + littleEndian(0xFFFFFFFFFFFFFFFF, 8);
  return littleEndian(entry.checksum, 4) + littleEndian(0xFFFFFFFFFFFFFFFF, 8);
}

std::string zip64Field(const ZipEntry& entry) {
  return entry.isZip64 ? extraField(1, littleEndian(entry.size, 8) + littleEndian(entry.packedSize, 8)) : "";
}

std::string localHeader(const ZipEntry& entry) {
  const std::string& name = entry.localName ? *entry.localName : entry.name;
  const std::string extra = zip64Field(entry) + entry.localExtra;
  ZipEntry shown = entry;
  if (entry.descriptorFollows) shown.checksum = 0, shown.size = shown.packedSize = 0;
  return "PK\3\4" + littleEndian(entry.neededVersion, 2) +
         littleEndian(entry.flags | (entry.descriptorFollows ? 8 : 0), 2) + littleEndian(entry.method, 2) +
         littleEndian(entry.dosTime, 4) + sizesOf(shown, false) + littleEndian(name.size(), 2) +
         littleEndian(extra.size(), 2) + name + extra;
}

std::string descriptor(const ZipEntry& entry) {
  if (!entry.descriptorFollows) return "";
  const int size = entry.isZip64 ? 8 : 4;
  return "PK\7\10" + littleEndian(entry.checksum, 4) + littleEndian(entry.packedSize, size) +
         littleEndian(entry.size, size);
}

std::string directoryHeader(const ZipEntry& entry, std::uint64_t offset) {
  const std::string extra = zip64Field(entry) + entry.directoryExtra;
  return "PK\1\2" + littleEndian(entry.madeBy, 2) + littleEndian(entry.neededVersion, 2) +
         littleEndian(entry.flags | (entry.descriptorFollows ? 8 : 0), 2) + littleEndian(entry.method, 2) +
         littleEndian(entry.dosTime, 4) + sizesOf(entry, true) + littleEndian(entry.name.size(), 2) +
         littleEndian(extra.size(), 2) + littleEndian(entry.comment.size(), 2) + littleEndian(0, 4) +
         littleEndian(entry.attributes, 4) + littleEndian(offset, 4) + entry.name + extra + entry.comment;
}

}  // namespace

std::uint32_t checksumOf(const std::string& content) {
  std::uint32_t value = 0xFFFFFFFFu;
  for (const char character : content) value = updated(value, static_cast<unsigned char>(character));
  return ~value;
}

std::string littleEndian(std::uint64_t value, int size) {
  std::string bytes;
  for (int at = 0; at < size; ++at) bytes += static_cast<char>(value >> 8 * at & 0xFF);
  return bytes;
}

std::string extraField(std::uint16_t number, const std::string& bytes) {
  return littleEndian(number, 2) + littleEndian(bytes.size(), 2) + bytes;
}

std::string deflatedRun(char value, std::uint64_t count) {
  Bits bits;
  bits.number(1, 1);  // the last block
  bits.number(1, 2);  // fixed codes
  const auto literal = [&] {
    const auto byte = static_cast<unsigned char>(value);
    byte < 144 ? bits.code(48u + byte, 8) : bits.code(400u + byte - 144u, 9);
  };
  if (count > 0) literal(), --count;
  for (; count >= 258; count -= 258) {
    bits.code(197, 8);  // length 258
    bits.code(0, 5);    // distance 1
  }
  for (; count > 0; --count) literal();
  bits.code(0, 7);  // the end
  return bits.bytes();
}

std::string deflatedAsIs(const std::string& content) {
  std::string stream;
  std::size_t at = 0;
  do {
    const std::size_t size = std::min<std::size_t>(content.size() - at, 65535);
    stream += at + size == content.size() ? '\1' : '\0';
    stream += littleEndian(size, 2) + littleEndian(~size & 0xFFFF, 2) + content.substr(at, size);
    at += size;
  } while (at < content.size());
  return stream;
}

std::string encrypted(const std::string& packed, const std::string& password, std::uint8_t check) {
  Keys keys(password);
  std::string bytes;
  for (const char character : std::string("hdr-random!") + static_cast<char>(check) + packed) {
    bytes += keys.encode(character);
  }
  return bytes;
}

ZipEntry storedEntry(const std::string& name, const std::string& content) {
  ZipEntry entry;
  entry.name = name;
  entry.packed = content;
  entry.checksum = checksumOf(content);
  entry.size = entry.packedSize = content.size();
  return entry;
}

ZipEntry deflatedEntry(const std::string& name, const std::string& content) {
  ZipEntry entry = storedEntry(name, content);
  entry.method = 8;
  entry.packed = deflatedAsIs(content);
  entry.packedSize = entry.packed.size();
  return entry;
}

ZipEntry runEntry(const std::string& name, char value, std::uint64_t count) {
  ZipEntry entry;
  entry.name = name;
  entry.method = 8;
  entry.packed = deflatedRun(value, count);
  entry.packedSize = entry.packed.size();
  entry.size = count;
  std::uint32_t checksum = 0xFFFFFFFFu;
  for (std::uint64_t at = 0; at < count; ++at) checksum = updated(checksum, static_cast<unsigned char>(value));
  entry.checksum = ~checksum;
  return entry;
}

ZipEntry encryptedEntry(const std::string& name, const std::string& content, const std::string& password) {
  ZipEntry entry = storedEntry(name, content);
  entry.flags |= 1;
  entry.packed = encrypted(content, password, static_cast<std::uint8_t>(entry.checksum >> 24));
  entry.packedSize = entry.packed.size();
  return entry;
}

ZipEntry folderEntry(const std::string& name) {
  ZipEntry entry = storedEntry(name, "");
  entry.attributes = 0x10;
  return entry;
}

std::string zipOf(const std::vector<ZipEntry>& entries, const ZipLayout& layout) {
  std::string bytes = layout.before;
  std::string directory;
  for (const ZipEntry& entry : entries) {
    const std::uint64_t offset = entry.localOffset ? *entry.localOffset : bytes.size() - layout.before.size();
    bytes += localHeader(entry) + entry.packed + descriptor(entry);
    directory += directoryHeader(entry, offset);
  }
  const std::uint64_t start = layout.directoryOffset ? *layout.directoryOffset : bytes.size() - layout.before.size();
  const std::uint64_t count = layout.entryCount ? *layout.entryCount : entries.size();
  bytes += directory;
  if (layout.isZip64) {
    const std::uint64_t record = bytes.size() - layout.before.size();
    bytes += "PK\6\6" + littleEndian(44, 8) + littleEndian(45, 2) + littleEndian(45, 2) + littleEndian(0, 8) +
             littleEndian(count, 8) + littleEndian(count, 8) + littleEndian(directory.size(), 8) +
             littleEndian(start, 8);
    bytes += "PK\6\7" + littleEndian(0, 4) + littleEndian(record, 8) + littleEndian(1, 4);
    bytes += "PK\5\6" + littleEndian(0, 4) + littleEndian(0xFFFFFFFF, 4) + littleEndian(0xFFFFFFFFFFFFFFFF, 8);
  } else {
    bytes += "PK\5\6" + littleEndian(0, 4) + littleEndian(count, 2) + littleEndian(count, 2) +
             littleEndian(directory.size(), 4) + littleEndian(start, 4);
  }
  return bytes + littleEndian(layout.comment.size(), 2) + layout.comment;
}

}  // namespace qev::test
