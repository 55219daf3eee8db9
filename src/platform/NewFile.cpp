#include "platform/NewFile.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <iterator>

namespace qev {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

DWORD result(BOOL done) {
  return done ? ERROR_SUCCESS : GetLastError();
}

using LongPath = wchar_t[NewFile::kLongestPath + 1];

std::size_t folderLength(const wchar_t* path) {
  std::size_t length = wcslen(path);
  while (length > 0 && path[length - 1] != L'\\') --length;
  return length;
}

// A path in full and in the form that has no limit but this one: the name of a file that is being written is longer
// than that of its place may be. Room for such a name is left. GetFullPathNameW.
DWORD fullPathOf(const wchar_t* path, LongPath& to) {
  constexpr wchar_t local[] = L"\\\\?\\";
  constexpr wchar_t share[] = L"\\\\?\\UNC";
  constexpr DWORD before = 7, behind = MAX_PATH;  // characters
  const bool isWhole = wcsncmp(path, local, 4) == 0;
  wchar_t* full = to + (isWhole ? 0 : before);
  const DWORD room = NewFile::kLongestPath - before - behind;
  const std::size_t length = isWhole ? wcslen(path) : GetFullPathNameW(path, room, full, nullptr);
  if (length == 0) return GetLastError();
  if (length >= room) return ERROR_FILENAME_EXCED_RANGE;
  if (isWhole) {
    wcscpy(to, path);
  } else if (full[0] == L'\\' && full[1] == L'\\') {
    full = wmemcpy(full + 1 - 7, share, 7);
  } else {
    full = wmemcpy(full - 4, local, 4);
  }
  wmemmove(to, full, wcslen(full) + 1);
  return ERROR_SUCCESS;
}

// Its folder, with the last separator.
DWORD folderOf(const wchar_t* path, LongPath& to, std::size_t& length) {
  const DWORD code = fullPathOf(path, to);
  if (code != ERROR_SUCCESS) return code;
  length = folderLength(to);
  to[length] = 0;
  return ERROR_SUCCESS;
}

// The path of `place` in the folder of `file`. A relative place may mean another folder than when the file was made.
DWORD placeBeside(const wchar_t* file, const wchar_t* place, LongPath& to) {
  const DWORD code = fullPathOf(place, to);
  if (code != ERROR_SUCCESS) return code;
  const wchar_t* const name = to + folderLength(to);
  const std::size_t folder = folderLength(file), nameLength = wcslen(name);
  if (folder + nameLength > NewFile::kLongestPath) return ERROR_FILENAME_EXCED_RANGE;
  wmemmove(to + folder, name, nameLength + 1);
  wmemcpy(to, file, folder);
  return ERROR_SUCCESS;
}

// --- Waiting

// The tries of one move or deletion.
class Tries {
 public:
  explicit Tries(const Patience& patience) : patience_(patience), left_(patience.milliseconds) {}

  // Waits before the next one, longer each time. False when the time is up.
  bool again() {
    constexpr DWORD longestPause = 2'000;
    constexpr DWORD betweenMessages = 50;
    if (left_ == 0) return false;
    const ULONGLONG start = GetTickCount64();
    const DWORD pause = pause_ < left_ ? pause_ : left_;
    ULONGLONG waited = 0;
    for (; waited < pause; waited = GetTickCount64() - start) {
      Sleep(pause - waited < betweenMessages ? static_cast<DWORD>(pause - waited) : betweenMessages);
      if (patience_.giveMessages != nullptr) patience_.giveMessages(patience_.context);
    }
    left_ = waited < left_ ? left_ - static_cast<DWORD>(waited) : 0;
    pause_ = pause_ * 2 < longestPause ? pause_ * 2 : longestPause;
    return true;
  }

  DWORD left() const { return left_; }

 private:
  const Patience& patience_;
  DWORD left_;
  DWORD pause_ = 20;  // milliseconds
};

bool isWritable(const wchar_t* folder) {
  const HANDLE handle =
      CreateFileW(folder, FILE_ADD_FILE, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  return handle != INVALID_HANDLE_VALUE;
}

// What keeps this user from deleting a file: its rights by one code, who has it open by another.
DWORD obstacleToDeleting(const wchar_t* path) {
  const HANDLE handle =
      CreateFileW(path, DELETE, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  const DWORD code = result(handle != INVALID_HANDLE_VALUE);
  if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  return code;
}

// Whether what has kept a file from its place can pass. Access is denied for good by a folder in the place, by a
// read-only file, and by the rights to the file or to the folder; for a while by another program's handle and by a
// deletion that waits for one.
bool mayPass(DWORD code, const wchar_t* place) {
  if (code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION || code == ERROR_DELETE_PENDING ||
      code == ERROR_USER_MAPPED_FILE) {
    return true;
  }
  if (code != ERROR_ACCESS_DENIED) return false;
  const DWORD attributes = GetFileAttributesW(place);
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  if (exists && (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) != 0) return false;
  if (exists && obstacleToDeleting(place) == ERROR_ACCESS_DENIED) return false;
  std::size_t length = 0;
  LongPath folder;
  if (folderOf(place, folder, length) != ERROR_SUCCESS) return false;
  return isWritable(folder);
}

// Whether a name that was deleted is not free yet. Most systems let nobody see such a file; some do.
bool isBeingDeleted(const wchar_t* path) {
  if (GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES) return true;
  const DWORD code = GetLastError();
  return code == ERROR_ACCESS_DENIED || code == ERROR_DELETE_PENDING;
}

// Makes a read-only file writable for the length of a scope, and read-only again if it is still there then.
class Writable {
 public:
  explicit Writable(const wchar_t* path) : path_(path), attributes_(GetFileAttributesW(path)) {
    constexpr DWORD kinds = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY;
    isChanged_ = attributes_ != INVALID_FILE_ATTRIBUTES && (attributes_ & kinds) == FILE_ATTRIBUTE_READONLY &&
                 SetFileAttributesW(path, attributes_ & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  }

  void takeBack() const {
    if (isChanged_) SetFileAttributesW(path_, attributes_);
  }

 private:
  const wchar_t* path_;
  DWORD attributes_;
  bool isChanged_ = false;
};

// --- Names

std::uint32_t thisMachine() {
  static std::atomic<std::uint32_t> known{0};
  if (known != 0) return known;
  constexpr DWORD room = 512;  // characters; a name and its domain have 255
  wchar_t name[room] = L"";
  DWORD length = room;
  if (!GetComputerNameExW(ComputerNamePhysicalDnsFullyQualified, name, &length) || length == 0) {
    length = room;
    if (!GetComputerNameW(name, &length)) length = 0;
  }
  std::uint32_t hash = 2166136261u;  // FNV-1a
  for (DWORD at = 0; at < length; ++at) hash = (hash ^ name[at]) * 16777619u;
  return known = hash | 1;
}

// When a process began, in units of 100 ns; 0 where that cannot be had.
std::uint64_t startOf(HANDLE process) {
  FILETIME start{}, end{}, kernel{}, user{};
  if (!GetProcessTimes(process, &start, &end, &kernel, &user)) return 0;
  return std::uint64_t{start.dwHighDateTime} << 32 | start.dwLowDateTime;
}

// Whether a process of that id, and of that start where one is told, lives. One that may not be asked does.
bool lives(DWORD id, std::uint64_t start) {
  const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id);
  if (process == nullptr) return GetLastError() != ERROR_INVALID_PARAMETER;
  DWORD code = STILL_ACTIVE;
  const bool isIt = GetProcessId(process) == id && (!GetExitCodeProcess(process, &code) || code == STILL_ACTIVE);
  const std::uint64_t began = startOf(process);
  CloseHandle(process);
  return isIt && (start == 0 || began == 0 || began == start);
}

// The name of a file that is being written, by this version or an earlier one; or that of a process alone.
struct Name {
  enum class Kind { other, own, ofProcess, ofNobody, process };
  Kind kind = Kind::other;
  std::uint64_t machine = 0;
  std::uint64_t process = 0;
  std::uint64_t start = 0;

  explicit Name(const wchar_t* name) : at_(name) {
    std::uint64_t number = 0;
    if (text(L"qev") && ofProcess() && text(L"-") && digits(16, 1, 8, number) && text(L".tmp") && *at_ == 0) {
      kind = Kind::own;
    } else if (at_ = name; ofProcess() && *at_ == 0) {
      kind = Kind::process;
    } else if (at_ = name; text(L"qev") && digits(10, 1, 10, process) && text(L"-") && digits(10, 1, 10, number) &&
                           text(L".tmp") && *at_ == 0) {
      kind = Kind::ofProcess;
    } else if (at_ = name; text(L"~qev") && digits(16, 8, 8, number) && text(L".tmp") && *at_ == 0) {
      kind = Kind::ofNobody;
    }
  }

  bool tellsStart() const { return kind == Kind::own || kind == Kind::process; }
  bool isOfOtherMachine() const { return tellsStart() && machine != thisMachine(); }

  // REQUIRES: it is of this machine, as far as it tells.
  bool isOfLivingRun() const {
    return kind != Kind::ofNobody && lives(static_cast<DWORD>(process), tellsStart() ? start : 0);
  }

 private:
  bool ofProcess() {
    return digits(16, 8, 8, machine) && text(L"-") && digits(16, 1, 8, process) && text(L"-") &&
           digits(16, 16, 16, start);
  }

  bool text(const wchar_t* wanted) {
    const std::size_t length = wcslen(wanted);
    if (wcsncmp(at_, wanted, length) != 0) return false;
    at_ += length;
    return true;
  }

  bool digits(unsigned base, int fewest, int most, std::uint64_t& value) {
    int count = 0;
    for (value = 0; count < most; ++count, ++at_) {
      const unsigned digit = *at_ >= L'0' && *at_ <= L'9'   ? *at_ - L'0'
                             : *at_ >= L'a' && *at_ <= L'f' ? *at_ - L'a' + 10u
                                                            : base;
      if (digit >= base) break;
      value = value * base + digit;
    }
    return count >= fewest;
  }

  const wchar_t* at_;
};

// --- Volumes

// Whether a file lies on another machine, whatever drive or link led there. The first call succeeds for such files
// alone, but not with every redirector. GetFileInformationByHandleEx with FileRemoteProtocolInfo;
// GetFinalPathNameByHandleW.
bool isOnShare(HANDLE file) {
  FILE_REMOTE_PROTOCOL_INFO protocol{};
  if (GetFileInformationByHandleEx(file, FileRemoteProtocolInfo, &protocol, sizeof protocol)) return true;
  constexpr wchar_t share[] = L"\\\\?\\UNC\\";
  LongPath path;
  const DWORD length = GetFinalPathNameByHandleW(file, path, NewFile::kLongestPath, FILE_NAME_OPENED | VOLUME_NAME_DOS);
  return length > 0 && length < NewFile::kLongestPath && wcsncmp(path, share, wcslen(share)) == 0;
}

// Whether a deletion that is asked for on an open file can be taken back until it is closed: that is so on the disks of
// this machine, and not with every redirector or foreign file system.
bool takesBackDeletion(HANDLE file) {
  wchar_t system[MAX_PATH + 1] = L"";
  if (isOnShare(file) ||
      !GetVolumeInformationByHandleW(file, nullptr, 0, nullptr, nullptr, nullptr, system, MAX_PATH + 1)) {
    return false;
  }
  for (const wchar_t* known : {L"NTFS", L"ReFS", L"FAT", L"FAT32", L"exFAT"}) {
    if (_wcsicmp(system, known) == 0) return true;
  }
  return false;
}

bool deleteWhenClosed(HANDLE file, bool isDeleted) {
  FILE_DISPOSITION_INFO disposition{isDeleted};
  return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition);
}

// Read-only ones too.
bool closeAndDelete(HANDLE file) {
  FILE_BASIC_INFO plain{};
  plain.FileAttributes = FILE_ATTRIBUTE_NORMAL;
  SetFileInformationByHandle(file, FileBasicInfo, &plain, sizeof plain);
  const bool isDeleted = deleteWhenClosed(file, true);
  CloseHandle(file);
  return isDeleted;
}

bool isOlderThanADay(const FILETIME& time) {
  constexpr ULONGLONG day = 24ull * 60 * 60 * 10'000'000;  // in units of 100 ns
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const auto units = [](const FILETIME& of) { return ULONGLONG{of.dwHighDateTime} << 32 | of.dwLowDateTime; };
  return units(now) > units(time) && units(now) - units(time) > day;
}

enum class Fate { stays, goesFromThisMachine, goes };

// What the name and the age of a file that is being written say. On a share an earlier version's may be of another
// machine, whose processes nobody here can look at: a day is longer than any run leaves one closed.
Fate fateOf(const WIN32_FIND_DATAW& found) {
  const Name name(found.cFileName);
  const bool isOld = isOlderThanADay(found.ftLastWriteTime);
  if (name.kind == Name::Kind::other) return Fate::stays;
  if (name.isOfOtherMachine()) return isOld ? Fate::goes : Fate::stays;
  if (name.isOfLivingRun()) return Fate::stays;
  return name.kind == Name::Kind::own || isOld ? Fate::goes : Fate::goesFromThisMachine;
}

// One that somebody has open may be of a run after all.
void deleteUnused(const wchar_t* path, Fate fate) {
  if (fate == Fate::stays) return;
  const HANDLE file = CreateFileW(path, DELETE | FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  if (fate == Fate::goesFromThisMachine && isOnShare(file)) {
    CloseHandle(file);
  } else {
    closeAndDelete(file);
  }
}

}  // namespace

DWORD NewFile::createAt(const wchar_t* path) {
  if (path != path_) {
    if (wcslen(path) > kLongestPath) return ERROR_FILENAME_EXCED_RANGE;
    wcscpy(path_, path);
  }
  const HANDLE file =
      CreateFileW(path_, GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  file_ = file;
  isFleeting_ = isSealed_ = false;
  return ERROR_SUCCESS;
}

DWORD NewFile::unfinishedName(const wchar_t* place, wchar_t (&to)[kLongestPath + 1]) {
  static std::atomic<unsigned> counter{0};
  std::size_t folder = 0;
  const DWORD code = folderOf(place, to, folder);
  if (code != ERROR_SUCCESS) return code;
  _snwprintf(to + folder, MAX_PATH, L"qev%ls-%x.tmp", processName().text, counter++);
  return ERROR_SUCCESS;
}

DWORD NewFile::create(const wchar_t* place) {
  constexpr int kMostRefused = 8;  // a name whose last file is still being deleted is refused; the next may be free
  DWORD code = ERROR_SUCCESS;
  for (int refused = 0; refused < kMostRefused;) {
    code = unfinishedName(place, path_);
    if (code != ERROR_SUCCESS) break;
    code = createAt(path_);
    if (code == ERROR_FILE_EXISTS) continue;
    if (code != ERROR_ACCESS_DENIED && code != ERROR_DELETE_PENDING) break;
    ++refused;
  }
  return code;
}

void NewFile::deleteIfKilled() {
  isFleeting_ = takesBackDeletion(file_) && deleteWhenClosed(file_, true);
}

DWORD NewFile::write(const void* from, std::size_t size) {
  const auto* at = static_cast<const char*>(from);
  while (size > 0) {
    const DWORD wanted = size < 0x40000000 ? static_cast<DWORD>(size) : 0x40000000;
    DWORD written = 0;
    if (!WriteFile(file_, at, wanted, &written, nullptr)) return GetLastError();
    if (written == 0) return ERROR_DISK_FULL;
    at += written;
    size -= written;
  }
  return ERROR_SUCCESS;
}

// Reading is shared with everybody who shares deleting, so that the file can be moved while it is open.
DWORD NewFile::seal(const Patience& patience) {
  DWORD code = result(FlushFileBuffers(file_));
  if (code == ERROR_SUCCESS && isFleeting_) code = result(deleteWhenClosed(file_, false));
  if (code != ERROR_SUCCESS) return discard(), code;
  isFleeting_ = false;
  close();
  HANDLE file = INVALID_HANDLE_VALUE;
  Tries tries(patience);
  do {
    file = CreateFileW(path_, GENERIC_READ | FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    code = result(file != INVALID_HANDLE_VALUE);
  } while (code == ERROR_SHARING_VIOLATION && tries.again());
  if (code != ERROR_SUCCESS) return DeleteFileW(path_), code;
  file_ = file;
  isSealed_ = true;
  return ERROR_SUCCESS;
}

DWORD NewFile::commit(const wchar_t* place, bool isDurable, Patience& patience) {
  LongPath beside;
  DWORD code = placeBeside(path_, place, beside);
  if (code == ERROR_SUCCESS && isSealed_) {
    code = moveIntoPlace(path_, beside, isDurable, patience);
    if (code == ERROR_SUCCESS) return close(), code;
  }
  if (code == ERROR_SUCCESS && isDurable) code = result(FlushFileBuffers(file_));
  if (code == ERROR_SUCCESS && isFleeting_) code = result(deleteWhenClosed(file_, false));
  if (code != ERROR_SUCCESS) return discard(), code;
  close();
  code = moveIntoPlace(path_, beside, isDurable, patience);
  if (code == ERROR_SUCCESS) return code;
  SetFileAttributesW(path_, FILE_ATTRIBUTE_NORMAL);
  DeleteFileW(path_);
  return code;
}

void NewFile::close() {
  CloseHandle(file_);
  file_ = nullptr;
}

void NewFile::discard() {
  if (file_ == nullptr) return;
  const HANDLE file = file_;
  file_ = nullptr;
  if (!closeAndDelete(file)) DeleteFileW(path_);
}

void NewFile::removeLeftOvers(const wchar_t* place) {
  std::size_t folder = 0;
  LongPath path;
  if (folderOf(place, path, folder) != ERROR_SUCCESS) return;
  wcscpy(path + folder, L"*qev*.tmp");
  WIN32_FIND_DATAW found;
  const HANDLE find =
      FindFirstFileExW(path, FindExInfoBasic, &found, FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || !isName(found.cFileName)) continue;
    wcscpy(path + folder, found.cFileName);
    deleteUnused(path, fateOf(found));
  } while (FindNextFileW(find, &found));
  FindClose(find);
}

bool NewFile::isName(const wchar_t* name) {
  const auto kind = Name(name).kind;
  return kind != Name::Kind::other && kind != Name::Kind::process;
}

ProcessName processName() {
  ProcessName name;
  _snwprintf(name.text, std::size(name.text) - 1, L"%08x-%lx-%016I64x", static_cast<unsigned>(thisMachine()),
             GetCurrentProcessId(), startOf(GetCurrentProcess()));
  return name;
}

bool isProcessGone(const wchar_t* name) {
  const Name process(name);
  return process.kind == Name::Kind::process && !process.isOfOtherMachine() && !process.isOfLivingRun();
}

DWORD moveIntoPlace(const wchar_t* file, const wchar_t* place, bool isDurable, Patience& patience) {
  constexpr DWORD kept = 1'000;  // milliseconds, for the next file of a run
  const DWORD flags = MOVEFILE_REPLACE_EXISTING | (isDurable ? MOVEFILE_WRITE_THROUGH : 0);
  Tries tries(patience);
  DWORD code = ERROR_SUCCESS;
  do {
    const Writable old(place);
    code = result(MoveFileExW(file, place, flags));
    const bool isOver = code == ERROR_SUCCESS || !mayPass(code, place);
    if (code != ERROR_SUCCESS) old.takeBack();
    if (isOver) break;
  } while (tries.again());
  if (patience.milliseconds > kept) patience.milliseconds = tries.left() > kept ? tries.left() : kept;
  return code;
}

DWORD waitUntilUnused(const wchar_t* path, const Patience& patience) {
  DWORD code = obstacleToDeleting(path);
  for (Tries tries(patience); code == ERROR_SHARING_VIOLATION && tries.again();) code = obstacleToDeleting(path);
  return code;
}

DWORD deleteAndFreeName(const wchar_t* path, bool force, Patience& patience) {
  DWORD code = result(DeleteFileW(path));
  if (code == ERROR_ACCESS_DENIED && force) {
    const Writable old(path);
    code = result(DeleteFileW(path));
    if (code != ERROR_SUCCESS) old.takeBack();
  }
  if (code != ERROR_SUCCESS) return code;
  for (Tries tries(patience); isBeingDeleted(path) && tries.again();) {
  }
  return ERROR_SUCCESS;
}

}  // namespace qev
