// The directory of a zip archive, read without the engine: names, lengths and checksums of what the archive holds, for
// telling how far a run of the engine has come and whether it holds what it should. APPNOTE 4.3.12 (central
// directory), 4.3.14 to 4.3.16 (end records), 4.5.3 (Zip64).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileSystem.h"

namespace qev {

struct ZipDirectoryEntry {
  std::string name;        // bytes as they stand, in whatever code page
  std::uint64_t size = 0;  // bytes, unpacked
  std::uint32_t crc = 0;   // CRC-32 of them
};

// Most entries and bytes of names that are read: what says to have more is taken for something else.
inline constexpr std::uint64_t kMostDirectoryEntries = 2'000'000;
inline constexpr std::uint64_t kMostNameBytes = 128 << 20;

// The entries in the order of the directory. The archive may begin anywhere in the file, as that of a backup set does;
// it must end with it. Nothing where there is no directory, or one that contradicts itself: no content of a file makes
// this throw, read out of bounds or take more memory than the limits above allow. Throws what the reader throws. Leaves
// the reader somewhere.
std::optional<std::vector<ZipDirectoryEntry>> readZipDirectory(FileReader& reader);

// Where in the file the archive begins by its own account, that is where the offsets of its directory count from:
// behind the header in a set that is whole. Bytes that were lost before the directory, or are too many, shift it.
// Nothing where there is no directory. Throws what the reader throws. Leaves the reader somewhere.
[[nodiscard]] std::optional<std::uint64_t> zipArchiveBegin(FileReader& reader);

// Whether a file ends as an archive does: with the end record and the comment that it announces. Throws what the reader
// throws. Leaves the reader somewhere.
bool endsWithZipEnd(FileReader& reader);

}  // namespace qev
