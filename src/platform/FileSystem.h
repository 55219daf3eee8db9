// Files and folders. Paths are texts as the host writes them; relative ones count from the process's current folder.
// Every function that can fail throws AutomationError with the number that the Win32 code maps to: 53 file not found,
// 58 exists, 61 disk full, 70 permission denied or in use, 71 disk not ready, 75 path/file access, 76 path not found,
// 57 any other device error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Value.h"

namespace qev {

class FileReader {
 public:
  virtual ~FileReader() = default;

  // Reads up to buffer.size() bytes from the present position; returns how many, 0 only at the end of the file.
  // ReadFile.
  [[nodiscard]] virtual std::size_t read(std::span<std::byte> buffer) = 0;

  // Length of the file in bytes. GetFileSizeEx.
  [[nodiscard]] virtual std::uint64_t size() const = 0;

  // Sets the position, in bytes from the beginning. SetFilePointerEx.
  virtual void seek(std::uint64_t position) = 0;
};

// Whether a deletion waits for the name, which is taken while another program has the deleted file open.
enum class FreeName : std::uint8_t { Awaited, NotAwaited };

// The creation time of a file that takes a name, by which retention tells the newest sets.
enum class CreationTime : std::uint8_t {
  Kept,  // a file that is rewritten has that of the one it replaces
  Now,   // of a new file. Windows gives one the creation time of a file that had its name within the last 15 seconds,
         // when it gets the name: the time is set afterwards. Where that fails, nothing else does. SetFileTime
};

// A file being written beside the one it will replace. Until commit() the old file stands untouched under its name; the
// destructor of an uncommitted replacement removes what was written.
class FileReplacement {
 public:
  virtual ~FileReplacement() = default;

  virtual void write(std::span<const std::byte> bytes) = 0;

  // Where what is written stands until commit().
  [[nodiscard]] virtual std::wstring path() const = 0;

  // Ends the writing: what was written is on the disk. Until commit() everybody can read it at path(), and nobody can
  // write it. FlushFileBuffers; CreateFileW sharing reading and deleting.
  virtual void seal() = 0;

  // Flushes what was written to the disk and puts it under the name in one step, read-only old files too. Readers of
  // the old file must be closed; while somebody else holds it, the windows get their messages, for 30 seconds in all.
  // With `longestWait` it is that many milliseconds at the most, and no messages. FlushFileBuffers; MoveFileExW with
  // MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH.
  virtual void commit(std::optional<std::uint32_t> longestWait = {}, CreationTime created = CreationTime::Kept) = 0;
};

// A file that a walk comes by.
struct WalkedFile {
  std::wstring path;          // the folder as it was given, and the names below it as they stand
  std::uint64_t size = 0;     // bytes
  std::uint64_t written = 0;  // the last write, in units of 100 ns: to be compared with another walk's
  bool isHidden = false;      // hidden or of the system: itself, or a folder on its way
};

// A folder that a walk has not looked into, or not to its end.
struct WalkGap {
  enum class Reason {
    Unreadable,  // it cannot be listed, or its listing broke off: `number`
    LeadsBack,   // the same folder as one that the walk is in already
  };
  Reason reason = Reason::Unreadable;
  std::wstring folder;  // with its last backslash
  std::int32_t number = 0;
};

struct WalkVisitor {
  std::function<void(const WalkedFile&)> file;
  std::function<void(const WalkGap&)> gap;  // may be none: gaps are passed over
};

// A file as its folder lists it.
struct ListedFile {
  std::wstring path;  // the folder as it was given, and the file's name
  Date created;       // local time, whole seconds
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  [[nodiscard]] virtual bool fileExists(const std::wstring& path) const = 0;
  [[nodiscard]] virtual bool folderExists(const std::wstring& path) const = 0;

  // Creates one folder; its parent must exist. Throws 58 when something of that name exists. CreateDirectoryW.
  virtual void createFolder(const std::wstring& path) = 0;

  // Deletes a file; with `force` read-only ones too (else they are refused with 70). Where another program still has it
  // open, waits until its name is free, as long as commit() does, unless the name is not awaited. DeleteFileW.
  virtual void deleteFile(const std::wstring& path, bool force, FreeName name = FreeName::Awaited) = 0;

  // Copies a file over an existing one; the windows get their messages meanwhile. A half-written copy is removed when
  // the copy fails. CopyFileW.
  virtual void copyFile(const std::wstring& from, const std::wstring& to) = 0;

  // Throws 70 when a file cannot be replaced because somebody has it open, after having waited for two seconds; nothing
  // where there is none. CreateFileW with DELETE.
  virtual void requireReplaceable(const std::wstring& path) = 0;

  // What was written to a file is on its disk when this returns. FlushFileBuffers.
  virtual void flush(const std::wstring& path) = 0;

  // Gives a file another name in its folder; a file that has it goes, read-only ones too. All that in one step, and on
  // the disk when it returns; after a failure both are as they were. MoveFileExW with MOVEFILE_REPLACE_EXISTING |
  // MOVEFILE_WRITE_THROUGH.
  virtual void moveFile(const std::wstring& from, const std::wstring& to) = 0;

  // Opens for reading, shared with readers; throws 53 or 76 when there is none. CreateFileW.
  [[nodiscard]] virtual std::unique_ptr<FileReader> openForReading(const std::wstring& path) = 0;

  // The same of a file that others may be working with: it is shared with writers and deleters too, and ranges of bytes
  // that somebody has locked are read all the same. CreateFileW, ReadFile; CreateFileMappingW.
  [[nodiscard]] virtual std::unique_ptr<FileReader> openLive(const std::wstring& path) = 0;

  // A path in the folder of `path`, of a name that no other file has and that says whose it is: filesIn and walkFiles
  // pass over a file of it, and removeLeftOvers deletes it when this process is gone.
  [[nodiscard]] virtual std::wstring unfinishedName(const std::wstring& path) const = 0;

  // Begins a new file that takes the place of `path` at commit(). The new file stands in the same folder meanwhile.
  virtual std::unique_ptr<FileReplacement> replaceFile(const std::wstring& path) = 0;

  // Tells of every file below `folder` (with its last backslash), subfolders and hidden ones included, and of every
  // folder that it could not look into; a missing `folder` is one, 76. Linked folders are walked as others are, but not
  // into a folder that they lie in, the ones above `folder` among them. What replacements are writing or have left is
  // passed over, and so are, in the root of a volume, the system's own "System Volume Information" and "$RECYCLE.BIN".
  // Throws what the visitor throws, and nothing else. FindFirstFileExW, FindNextFileW; GetFileInformationByHandle of
  // links.
  virtual void walkFiles(const std::wstring& folder, const WalkVisitor& visitor) const = 0;

  // Deletes what replacements of processes that are gone have left in `folder`; what cannot be deleted stays, and that
  // is no error. The next replacement in a folder does so too.
  virtual void removeLeftOvers(const std::wstring& folder) = 0;

  // The files that lie directly in `folder` (with or without its last backslash), hidden and system ones too, but none
  // that a replacement is writing or has left, in the order in which the file system enumerates them. `created` is what
  // the scripting file-system object gives as DateCreated: the creation time that the file system keeps, in local time
  // by the present difference to UTC, its fraction of a second dropped. Throws 76 when there is no such folder, and
  // when the listing ends in an error. FindFirstFileExW, FindNextFileW, FileTimeToLocalFileTime,
  // SystemTimeToVariantTime.
  [[nodiscard]] virtual std::vector<ListedFile> filesIn(const std::wstring& folder) const = 0;

  // Length of a file in bytes, 0 when there is none. GetFileAttributesExW.
  [[nodiscard]] virtual std::uint64_t fileSize(const std::wstring& path) const = 0;
};

// What the scripting file-system object answers, from the text alone.

// The folder that holds `path`: "C:\Prog" for "C:\Prog\Datos" and for "C:\Prog\Datos\", "C:\" for "C:\Prog", "" for a
// drive, a drive's root or a bare name. UNC: the share "\\server\share" has no parent.
[[nodiscard]] std::wstring parentFolderName(const std::wstring& path);

// Whether a path means the same place whatever folder and drive are current: "C:\Prog", "\\server\share\Prog".
[[nodiscard]] bool isFullPath(const std::wstring& path);

// "C:" for "C:\Prog" (letter case as written), "\\server\share" for a UNC path, "" for a path without a drive.
[[nodiscard]] std::wstring driveName(const std::wstring& path);

// The last part of `path`, a trailing backslash ignored: "Backup16-11-26.qev".
[[nodiscard]] std::wstring fileNamePart(const std::wstring& path);

}  // namespace qev
