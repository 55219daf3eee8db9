// Spreads a finished set over formatted floppy disks, asking for one after the other.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace qev {

class DiskCopy {
 public:
  // `title` is that of the questions. REQUIRES: `platform` outlives the object. `showProgress` shows a text while a
  // disk is written; `stopAsked` says whether the user has asked to close the window, which ends the tries with a disk
  // that keeps failing.
  DiskCopy(Platform& platform, std::wstring title, std::function<void(const std::wstring&)> showProgress,
           std::function<bool()> stopAsked);

  // Cuts the set at `workingPath` into volumes, deletes it, and writes the volumes to disks under the file name of
  // `displayPath`. True when the set is on its destination, at once where that is not a floppy; false when the user has
  // cancelled a disk. A disk given up with "No" after it was not ready is skipped, and counts as written. Throws what
  // cutting the set throws, before any disk is asked for; the set stays at `workingPath` then.
  //
  // With `isSafe` a skipped disk throws 71, and each disk is flushed and compared with its piece: one that differs is
  // written again.
  bool run(const std::wstring& workingPath, const std::wstring& displayPath, bool isSafe);

  // What is to be known of the disks that were written: those that were skipped.
  const std::vector<std::wstring>& notes() const { return notes_; }

  // Free bytes of a drive ("A:"), -1 when the drive is not ready and the user gives up. Throws 6 (overflow) when they
  // do not fit 32 bits with sign. GetDiskFreeSpaceA.
  std::int32_t freeBytes(const std::wstring& drive);

 private:
  enum class DiskOutcome { Written, Skipped, Cancelled };

  DiskOutcome writeDisk(int disk, int total, const std::wstring& target);
  void skip(int disk, int total);
  bool findRoom();
  std::int32_t freeBytesOrNone();
  std::optional<std::int32_t> copyError(const std::wstring& piece, const std::wstring& target);
  bool isEqual(const std::wstring& piece, const std::wstring& target);
  Answer ask(const wchar_t* text, std::uint32_t style);

  Platform& platform_;
  const std::wstring title_;
  std::function<void(const std::wstring&)> showProgress_;
  std::function<bool()> stopAsked_;
  bool isSafe_ = false;
  std::vector<std::wstring> notes_;
};

}  // namespace qev
