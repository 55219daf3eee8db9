// The volumes of a set that goes over floppy disks: the set is cut into pieces in the work folder, and pieces are
// joined to a set there. At every moment the set that is cut is whole.
//
// REQUIRES, of each: `platform` outlives the call.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Platform.h"
#include "set/SetHeader.h"

namespace qev {

// The drive whose sets go over disks. The comparison with a path's drive is exact, letter case included.
inline constexpr wchar_t kFloppyDrive[] = L"A:";

// Bytes of a volume: what a disk of 1.44 MB takes.
inline constexpr std::uint64_t kVolumeBytes = 1'440'000;

// The work folder's "\temp\copia.zip", where an archive for disks is built and joined.
[[nodiscard]] std::wstring workingCopy(WorkFolder& workFolder);

// The work folder's "\temp\copia.zip<number>", number counted from 1.
[[nodiscard]] std::wstring workingPiece(WorkFolder& workFolder, int number);

// Cuts the payload of a set into pieces of `pieceSize` bytes, the last one shorter: work folder + "\temp\" + file name
// + number, each with a header of its own. Answers the set's header, its total the number of pieces; the set itself
// gets it too. Then joinVolumes() with it, after which the pieces of the working copy are bare. Throws what
// SetHeader::parse throws, 11 for a piece size of 0 and 6 for more than 32,767 pieces, all before a byte is written,
// and file-system errors.
[[nodiscard]] SetHeader splitIntoVolumes(Platform& platform, const std::wstring& path, std::uint64_t pieceSize);

// Takes the header lines off the pieces workingPiece(1) to workingPiece(total of `set`) and makes workingCopy() of what
// remains, one after another, as a set of one volume with the program, date and directory of `set`. A piece that has
// no header line, as those on disks, is taken whole; a missing one counts as an empty one. Throws file-system errors.
void joinVolumes(Platform& platform, const SetHeader& set);

}  // namespace qev
