// Writes zip archives byte by byte (APPNOTE 4.3), right ones and wrong ones: each field can be set to what a test
// needs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qev::test {

// CRC-32 of some bytes.
std::uint32_t checksumOf(const std::string& content);

// A deflate stream (RFC 1951) of `count` bytes of one value: fixed Huffman codes, one literal and copies of it. About a
// thousandth of `count` in length.
std::string deflatedRun(char value, std::uint64_t count);

// A deflate stream that holds some bytes in stored blocks.
std::string deflatedAsIs(const std::string& content);

// Traditional PKWARE encryption (APPNOTE 6.1) of packed bytes; the header's last byte is `check`.
std::string encrypted(const std::string& packed, const std::string& password, std::uint8_t check);

// An extra field: its number and its bytes.
std::string extraField(std::uint16_t number, const std::string& bytes);

// A number of `size` bytes, the lowest first.
std::string littleEndian(std::uint64_t value, int size);

struct ZipEntry {
  std::string name;
  std::string packed;  // the bytes as stored
  std::uint16_t method = 0;
  std::uint16_t flags = 0;
  std::uint32_t checksum = 0;
  std::uint64_t size = 0;              // declared, unpacked
  std::uint64_t packedSize = 0;        // declared
  std::uint32_t dosTime = 0x32254900;  // 5 January 2005, 9:08
  std::uint32_t attributes = 0x20;     // external: DOS in the low byte, a Unix mode in the high half
  std::uint16_t madeBy = 20;           // high byte: the system (0 DOS, 3 Unix, 11 NTFS); low byte: the version
  std::uint16_t neededVersion = 20;
  std::string localExtra;
  std::string directoryExtra;
  std::string comment;
  std::optional<std::string> localName;      // where it differs
  std::optional<std::uint64_t> localOffset;  // where the directory says the entry is
  bool descriptorFollows = false;            // sizes and checksum behind the data, with signature (flag bit 3)
  bool isZip64 = false;                      // sizes in the extra field 1
};

// An entry that is right in every field.
ZipEntry storedEntry(const std::string& name, const std::string& content);
ZipEntry deflatedEntry(const std::string& name, const std::string& content);
ZipEntry runEntry(const std::string& name, char value, std::uint64_t count);
ZipEntry encryptedEntry(const std::string& name, const std::string& content, const std::string& password);
ZipEntry folderEntry(const std::string& name);

struct ZipLayout {
  std::string before;  // bytes before the archive
  std::string comment;
  bool isZip64 = false;                     // with the larger end record
  std::optional<std::uint64_t> entryCount;  // where the end record is to say something else
  std::optional<std::uint64_t> directoryOffset;
};

// The archive's bytes.
std::string zipOf(const std::vector<ZipEntry>& entries, const ZipLayout& layout = {});

}  // namespace qev::test
