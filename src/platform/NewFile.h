// The one way in which a file takes another's place, for the library and for both engines: it is written beside the
// place, flushed, and takes the name in one step. Until then the old file stands untouched under its name.
//
// Nothing here throws, allocates or has a destructor: the engines leave a run by a jump. Functions answer a Win32 code,
// ERROR_SUCCESS when it is done. Paths are as CreateFileW takes them, of any length with the prefix \\?\.
//
// A file that is being written is named qev<machine>-<process>-<start>-<number>.tmp, all in hexadecimal digits: a hash
// of the computer's name with its domain (8; GetComputerNameExW with ComputerNamePhysicalDnsFullyQualified, as the
// short names of two may be equal; that of GetComputerNameW where it has none), the process's id, the time at which it
// began (GetProcessTimes, 16), and a number of its own. So whoever finds one can tell whether the run that wrote it is
// gone. Earlier versions named them qev<process>-<number>.tmp (decimal) and ~qev<number>.tmp (8 hexadecimal digits).
#pragma once

#include <windows.h>

#include <cstddef>

namespace qev {

// How long whoever wants a name waits for it, and what it calls meanwhile, every 50 ms at least: `giveMessages`, which
// may be null, gives the windows of this thread their messages.
struct Patience {
  DWORD milliseconds = 30'000;
  void(WINAPI* giveMessages)(void* context) = nullptr;
  void* context = nullptr;
};

class NewFile {
 public:
  static constexpr std::size_t kLongestPath = 32'767;  // characters

  // Makes an empty file in the folder of `place`, open for this process alone, for reading and writing. A relative
  // place counts from the folder that is current now. REQUIRES: none is open. CreateFileW with CREATE_NEW.
  [[nodiscard]] DWORD create(const wchar_t* place);

  // The same at `path` itself, where nothing is there: ERROR_FILE_EXISTS.
  [[nodiscard]] DWORD createAt(const wchar_t* path);

  // From now on the system deletes the file if it ends this process: SetFileInformationByHandle with
  // FileDispositionInfo, which commit() takes back. Only where that works as documented for local disks: on NTFS, ReFS
  // and FAT of this machine, as the open file itself tells. Elsewhere a killed run leaves the file, and removeLeftOvers
  // finds it. For files that take long to write.
  void deleteIfKilled();

  // Ends the writing: what was written is on the disk, everybody can read it at path(), and nobody can write it until
  // commit() or discard(). Whoever looks into what has just been written is waited for. After a failure the file is
  // gone. FlushFileBuffers.
  [[nodiscard]] DWORD seal(const Patience& patience);

  bool isOpen() const { return file_ != nullptr; }
  HANDLE handle() const { return file_; }
  const wchar_t* path() const { return path_; }

  // Writes at the file's position. ERROR_DISK_FULL also where the system takes nothing more without an error.
  [[nodiscard]] DWORD write(const void* from, std::size_t size);

  // Closes the file and moves it to the name of `place`, in its own folder, over what is there (see moveIntoPlace); a
  // sealed one is moved first. `isDurable`: it is on the disk before it takes the place. After a failure the file is
  // gone.
  [[nodiscard]] DWORD commit(const wchar_t* place, bool isDurable, Patience& patience);

  // Closes the file, which stays where it was made.
  void close();

  // Closes and deletes what has not taken its place.
  void discard();

  // A name of this process for a file in the folder of `place` that is being written, in `to`. No two calls answer the
  // same.
  [[nodiscard]] static DWORD unfinishedName(const wchar_t* place, wchar_t (&to)[kLongestPath + 1]);

  // Deletes what runs that are gone have left in the folder of `place`, if nobody has it open. What is of a process
  // that lives stays, and so does what may not be deleted. What is of another machine stays for a day after its last
  // write; on a share, so does what an earlier version named without a machine.
  static void removeLeftOvers(const wchar_t* place);

  // Whether a file of this name (without folder) is one that is being written, or was by a run that is gone.
  static bool isName(const wchar_t* name);

 private:
  HANDLE file_ = nullptr;
  bool isFleeting_ = false;  // it is deleted when it is closed
  bool isSealed_ = false;    // it is open for reading
  wchar_t path_[kLongestPath + 1] = {};
};

// A process as those names tell it: <machine>-<process>-<start>.
struct ProcessName {
  wchar_t text[40] = L"";
};

// This process.
[[nodiscard]] ProcessName processName();

// Whether the process of that name is gone for certain: one of another machine, one that may not be asked and a text
// that is no such name may live. OpenProcess, GetExitCodeProcess, GetProcessTimes.
[[nodiscard]] bool isProcessGone(const wchar_t* name);

// Gives a file the name of another in its folder, or a new one. A file that has the name goes, read-only ones too; all
// that in one step. While the reason of a failure can pass, it is tried again after growing pauses, as long as
// `patience` lasts: the name is held by another program, mapped, or of a file that is being deleted. After a failure
// both files are as they were. What was waited for is taken from patience.milliseconds, which keeps a second for the
// next. `isDurable`: it is on the disk when this returns. MoveFileExW.
[[nodiscard]] DWORD moveIntoPlace(const wchar_t* file, const wchar_t* place, bool isDurable, Patience& patience);

// Waits until nobody has a file open who would keep it from being deleted or replaced. What it answers is of the last
// try. CreateFileW with DELETE.
[[nodiscard]] DWORD waitUntilUnused(const wchar_t* path, const Patience& patience);

// Deletes a file, with `force` a read-only one too, and waits until its name is free: another program may have it open
// and let it be deleted, and until that is closed nothing else gets the name. ERROR_SUCCESS also where it is still not
// free in the end. DeleteFileW.
[[nodiscard]] DWORD deleteAndFreeName(const wchar_t* path, bool force, Patience& patience);

}  // namespace qev
