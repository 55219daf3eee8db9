// The comparison of an archive with the data that it is to hold.
//
// It tells what differs. Where it reads the data again (byContent), all of these readings come after all readings of
// the archiver, so where nothing differs, every file stood unchanged at the moment between the two: the archive is the
// data of that one moment. That its entries hold the bytes of their checksums is for the test of the archive to say.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "backup/DataFiles.h"
#include "platform/Platform.h"
#include "zip/ZipDirectory.h"

namespace qev {

struct Difference {
  enum class Reason {
    Missing,     // a file that is not in the archive
    Hidden,      // the same, hidden or of the system
    Changed,     // a file that is not what the archive holds
    Unreadable,  // a file or folder that cannot be read: `number`
    Gone,        // an entry whose file is not there any more
  };
  Reason reason = Reason::Missing;
  std::wstring path;
  std::uint64_t bytes = 0;
  std::int32_t number = 0;
  std::vector<std::wstring> users;  // programs that have the file open

  // "C:\Prog\Datos\a.db ha cambiado durante la copia (abierto por Gestion)"
  [[nodiscard]] std::wstring text() const;
};

using Differences = std::vector<Difference>;

class SetComparison {
 public:
  // REQUIRES: both outlive the object.
  SetComparison(Platform& platform, const std::vector<ZipDirectoryEntry>& entries);

  // Compares names and lengths, from the directory and the walk alone.
  [[nodiscard]] Differences byDirectory(const DataFiles& data) const;

  // Compares names, lengths and CRC-32, reading every file again, shared with whoever works with it. `read` is called
  // with the bytes read so far, at each file and about once per MiB; what it throws ends the comparison.
  [[nodiscard]] Differences byContent(const DataFiles& data, const std::function<void(std::uint64_t)>& read) const;

 private:
  // Says what differs between a file and its entry, which may be none.
  using Judge = std::function<std::optional<Difference>(const DataFile&, const ZipDirectoryEntry*)>;

  [[nodiscard]] Differences compare(const DataFiles& data, const Judge& judge) const;
  void tellUsers(Differences& differences) const;

  Platform& platform_;
  const std::vector<ZipDirectoryEntry>& entries_;
};

// Of many differences what a window has room for: the first one, its path counted from `folder` where it lies there and
// without its beginning where it is long, and how many more there are.
[[nodiscard]] std::wstring inOneLine(const Differences& differences, const std::wstring& folder);

}  // namespace qev
