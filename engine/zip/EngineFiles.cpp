// The files that are archived.
//
// The sources ask the system for each file's properties again and again: while they collect names, while they choose
// among them, and when they archive. Here each file costs one open and one close, and the walk of the folders is the
// only other thing that the system is asked for:
// - what a folder scan tells about an entry (attributes, size, times) is kept, and answers all questions up to the
// moment
//   at which the entry is archived;
// - at that moment the file is opened for reading, and its current size, times and security come from this one handle,
//   which the sources then read from.
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>

#include "ZipParts.h"

extern "C" {
// Of the sources: 1 makes entries Zip64 whatever their size, -1 leaves that to their size.
extern int force_zip64;
void zipwarn(const char* text, const char* detail);
}

namespace qev::engine {

namespace memory {
void release(void* block);
}

namespace files {

namespace {

constexpr int firstFile = 3;  // the numbers below belong to the standard streams
constexpr int mostFiles = 8;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// What is known of a file or folder.
struct Facts {
  DWORD attributes;
  FILETIME written;
  FILETIME accessed;
  FILETIME created;
  ULONGLONG size;
};

// ---- What scans told

// By names with forward slashes, none of them doubled or at the end.
std::unordered_map<std::wstring, Facts> known;

std::wstring keyOf(std::wstring_view folder, std::wstring_view name) {
  std::wstring key;
  key.reserve(folder.size() + name.size());
  for (const std::wstring_view part : {folder, name}) {
    for (const wchar_t character : part) {
      const bool isSlash = character == L'\\' || character == L'/';
      const bool isDoubled = isSlash && key.size() > 1 && key.back() == L'/';
      if (!isDoubled) key += isSlash ? L'/' : character;
    }
  }
  if (key.size() > 1 && key.back() == L'/') key.pop_back();
  return key;
}

// Without memory nothing is kept; the system is then asked again.
void keep(std::wstring_view folder, const wchar_t* name, const Facts& facts) {
  try {
    known[keyOf(folder, name)] = facts;
  } catch (const std::bad_alloc&) {
  }
}

const Facts* find(const wchar_t* name) {
  try {
    const auto found = known.find(keyOf(L"", name));
    return found != known.end() ? &found->second : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

template <typename Data>
Facts factsOf(const Data& data) {
  return {data.dwFileAttributes, data.ftLastWriteTime, data.ftLastAccessTime, data.ftCreationTime,
          static_cast<ULONGLONG>(data.nFileSizeHigh) << 32 | data.nFileSizeLow};
}

// What is known of a name, asking the system if no scan told.
bool lookUp(const wchar_t* name, Facts& facts) {
  if (const Facts* const told = find(name)) {
    facts = *told;
    return true;
  }
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(paths::native(name), GetFileExInfoStandard, &data)) {
    errno = errnoOf(GetLastError());
    return false;
  }
  facts = factsOf(data);
  keep(L"", name, facts);
  return true;
}

// ---- Folder scans

struct Walk {
  Walk* next;
  Scan scan;
  size_t prefixLength;
  wchar_t prefix[1];
};

Walk* walks = nullptr;
bool somethingMissed = false;

void keepEntry(const Walk* walk, const WIN32_FIND_DATAW& data) {
  keep({walk->prefix, walk->prefixLength}, data.cFileName, factsOf(data));
}

void findClose(Walk* walk) {
  for (Walk** link = &walks; *link != nullptr; link = &(*link)->next) {
    if (*link != walk) continue;
    *link = walk->next;
    walk->~Walk();
    return qevFree(walk);
  }
}

// ---- The file being archived

struct Input {
  File file;
  bool failed = false;
};

Input inputs[mostFiles];

// The file whose properties were asked last while archiving: the sources open it next.
File pending;
DWORD pendingError = 0;
bool pendingIsFolder = false;
wchar_t pendingName[32768];

void dropPending() {
  pending.reset();
  pendingName[0] = 0;
}

File openToRead(const wchar_t* path) {
  return File(CreateFileW(path, GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

// An entry of 4 GiB and more needs a larger header, which the sources choose by the file's size; they give up the
// archive when a file a little smaller grows or deflates to more. So files that come close get the larger header, too.
void chooseHeader(ULONGLONG size) {
  force_zip64 = size >= 0xF0000000u && size <= 0xFFFFFFFFu ? 1 : -1;
}

FILETIME fileTime(const LARGE_INTEGER& ticks) {
  return {ticks.LowPart, static_cast<DWORD>(ticks.HighPart)};
}

// What is true of the open file now. (GetFileInformationByHandle would answer in one call, but asks the volume for its
// serial number, too, which some systems are slow at.)
void refresh(HANDLE file, Facts& facts) {
  FILE_BASIC_INFO basic;
  LARGE_INTEGER size;
  if (GetFileSizeEx(file, &size)) facts.size = static_cast<ULONGLONG>(size.QuadPart);
  if (!GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic)) return;
  facts.attributes = basic.FileAttributes;
  facts.written = fileTime(basic.LastWriteTime);
  facts.accessed = fileTime(basic.LastAccessTime);
  facts.created = fileTime(basic.CreationTime);
}

bool openPending(const wchar_t* name, Facts& facts) {
  dropPending();
  if (!lookUp(name, facts)) return false;
  wcsncpy(pendingName, name, sizeof pendingName / sizeof pendingName[0] - 1);
  pendingIsFolder = (facts.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  chooseHeader(0);
  if (pendingIsFolder) return true;
  pending = openToRead(paths::native(name));
  if (!pending) {
    pendingError = GetLastError();
    return true;  // the sources find out, and say so, when they open it
  }
  refresh(pending.get(), facts);
  chooseHeader(facts.size);
  return true;
}

int addInput(File file) {
  for (int at = 0; at < mostFiles; ++at) {
    if (inputs[at].file) continue;
    inputs[at] = {std::move(file), false};
    return firstFile + at;
  }
  errno = EMFILE;
  return -1;
}

// ---- Volumes

// The volume asked about last: the sources ask for every file, and few runs span volumes.
struct Volume {
  wchar_t root[MAX_PATH + 2];
  bool known;
  bool answered;
  DWORD longestName;
  DWORD flags;
  bool keepsLocalTime;
};

Volume volume;

// A volume that does not answer counts as one with long names, without security, with UTC times.
const Volume& volumeOf(const wchar_t* root) {
  if (volume.known && wcscmp(volume.root, root) == 0) return volume;
  volume = Volume{};
  wcsncpy(volume.root, root, MAX_PATH + 1);
  wchar_t system[MAX_PATH + 1] = L"";
  volume.answered = GetVolumeInformationW(root[0] != 0 ? root : nullptr, nullptr, 0, nullptr, &volume.longestName,
                                          &volume.flags, system, MAX_PATH) != FALSE;
  if (!volume.answered) volume.longestName = 255, volume.flags = 0;
  _wcsupr(system);
  volume.keepsLocalTime =
      wcsncmp(system, L"FAT", 3) == 0 || wcsncmp(system, L"VFAT", 4) == 0 || wcsncmp(system, L"HPFS", 4) == 0;
  volume.known = true;
  return volume;
}

// The root of the volume that a full path is on.
void rootOf(const wchar_t* path, wchar_t (&root)[MAX_PATH + 2]) {
  if (wcsncmp(path, L"\\\\?\\UNC\\", 8) == 0) {
    path += 8;
    root[0] = root[1] = L'\\';
  } else if (wcsncmp(path, L"\\\\?\\", 4) == 0) {
    path += 4;
    root[0] = 0;
  } else if (path[0] == L'\\' && path[1] == L'\\') {
    path += 2;
    root[0] = root[1] = L'\\';
  } else {
    root[0] = 0;
  }
  if (root[0] == 0) {
    const wchar_t drive[] = {path[0], L':', L'\\', 0};
    wcscpy(root, path[0] != 0 && path[1] == L':' ? drive : L"\\");
    return;
  }
  size_t length = 2;
  int separators = 0;
  for (; *path != 0 && length < MAX_PATH; ++path) {
    if (*path == L'\\' && ++separators == 2) break;
    root[length++] = *path;
  }
  root[length++] = L'\\';
  root[length] = 0;
}

// ---- Times

constexpr ULONGLONG ticksPerSecond = 10000000;
constexpr ULONGLONG unixEpoch = 116444736000000000;  // 1970-01-01 in ticks since 1601

time_t unixTime(const FILETIME& time) {
  const ULONGLONG ticks = static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  if (ticks < unixEpoch) return 0;
  const ULONGLONG seconds = (ticks - unixEpoch) / ticksPerSecond;
  return seconds > 0xFFFFFFFFu ? static_cast<time_t>(0xFFFFFFFFu) : static_cast<time_t>(seconds);
}

// FAT stores local time, and the system's conversion of it to UTC uses today's daylight saving, not that of the date.
time_t unixTimeFromLocal(const FILETIME& time) {
  FILETIME local;
  SYSTEMTIME parts;
  FileTimeToLocalFileTime(&time, &local);
  FileTimeToSystemTime(&local, &parts);
  struct tm broken {};
  broken.tm_year = parts.wYear - 1900;
  broken.tm_mon = parts.wMonth - 1;
  broken.tm_mday = parts.wDay;
  broken.tm_hour = parts.wHour;
  broken.tm_min = parts.wMinute;
  broken.tm_sec = parts.wSecond;
  broken.tm_isdst = -1;
  return mktime(&broken);
}

void describe(const wchar_t* name, const Facts& facts, struct _stati64* result) {
  const wchar_t* const path = paths::native(name);
  wchar_t root[MAX_PATH + 2];
  rootOf(path, root);
  memset(result, 0, sizeof *result);
  // The sources leave out of the archive the file that looks like the archive in all these fields.
  result->st_ino = paths::isArchive(path) ? 1 : 0;
  result->st_nlink = 1;
  const bool isFolder = (facts.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool isReadOnly = (facts.attributes & FILE_ATTRIBUTE_READONLY) != 0;
  result->st_mode = static_cast<unsigned short>((isFolder ? _S_IFDIR | _S_IEXEC : _S_IFREG) | _S_IREAD |
                                                (isReadOnly ? 0 : _S_IWRITE));
  result->st_size = isFolder ? 0 : static_cast<__int64>(facts.size);
  const auto convert = volumeOf(root).keepsLocalTime ? unixTimeFromLocal : unixTime;
  const auto isSet = [](const FILETIME& time) { return time.dwLowDateTime != 0 || time.dwHighDateTime != 0; };
  result->st_mtime = convert(facts.written);
  result->st_atime = isSet(facts.accessed) ? convert(facts.accessed) : result->st_mtime;
  result->st_ctime = isSet(facts.created) ? convert(facts.created) : result->st_mtime;
}

// ---- Privileges

Token token;
TOKEN_PRIVILEGES formerPrivileges;
bool readsSystemAcl = false;

void takePrivilege(const wchar_t* name) {
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &opened)) return;
  token.reset(opened);
  TOKEN_PRIVILEGES wanted{};
  wanted.PrivilegeCount = 1;
  wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  DWORD size = sizeof formerPrivileges;
  formerPrivileges.PrivilegeCount = 0;
  readsSystemAcl =
      LookupPrivilegeValueW(nullptr, name, &wanted.Privileges[0].Luid) &&
      AdjustTokenPrivileges(token.get(), FALSE, &wanted, sizeof formerPrivileges, &formerPrivileges, &size) &&
      GetLastError() == ERROR_SUCCESS;
}

void returnPrivilege() {
  if (!token) return;
  if (formerPrivileges.PrivilegeCount > 0) {
    AdjustTokenPrivileges(token.get(), FALSE, &formerPrivileges, 0, nullptr, nullptr);
  }
  token.reset();
  readsSystemAcl = false;
}

}  // namespace

void begin(bool privileges) {
  somethingMissed = false;
  volume.known = false;
  if (privileges) takePrivilege(L"SeBackupPrivilege");
}

void end() {
  dropPending();
  for (Input& input : inputs) input = {};
  while (walks != nullptr) findClose(walks);
  known = {};
  returnPrivilege();
}

bool incomplete() {
  return somethingMissed;
}

int openInput(const wchar_t* name) {
  const bool isPending = wcscmp(name, pendingName) == 0 && !pendingIsFolder;
  File file = isPending ? std::move(pending) : openToRead(paths::native(name));
  if (!file) {
    errno = errnoOf(isPending ? pendingError : GetLastError());
    return -1;
  }
  return addInput(std::move(file));
}

int read(int file, void* to, unsigned size) {
  Input& input = inputs[file - firstFile];
  DWORD got = 0;
  if (ReadFile(input.file.get(), to, size, &got, nullptr)) return static_cast<int>(got);
  const DWORD error = GetLastError();
  if (error == ERROR_HANDLE_EOF) return 0;
  errno = errnoOf(error);
  if (!input.failed) {
    input.failed = true;
    somethingMissed = true;
    zipwarn("could not read to the end of the file: ", strerror(errno));
  }
  return -1;
}

void closeInput(int file) {
  inputs[file - firstFile].file.reset();
}

HANDLE findFirst(const wchar_t* pattern, WIN32_FIND_DATAW* data) {
  size_t prefixLength = wcslen(pattern);
  while (prefixLength > 0 && pattern[prefixLength - 1] != L'/' && pattern[prefixLength - 1] != L'\\') --prefixLength;
  void* const memory = qevMalloc(sizeof(Walk) + prefixLength * sizeof(wchar_t));
  if (memory == nullptr) return INVALID_HANDLE_VALUE;
  Scan scan(FindFirstFileExW(paths::native(pattern), FindExInfoBasic, data, FindExSearchNameMatch, nullptr,
                             FIND_FIRST_EX_LARGE_FETCH));
  if (!scan) {
    const DWORD error = GetLastError();
    qevFree(memory);
    const int reason = errnoOf(error);
    if (reason != ENOENT && reason != ENOTDIR) {
      // The sources pass over a folder that cannot be listed as if it were empty.
      somethingMissed = true;
      char folder[ZP_MAXIMUM_MESSAGE];
      strcpy(folder, paths::forMessage(pattern));
      zipwarn("could not list folder: ", folder);
    }
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  }
  auto* const walk = new (memory) Walk{walks, std::move(scan), prefixLength, {}};
  wmemcpy(walk->prefix, pattern, prefixLength);
  walks = walk;
  keepEntry(walk, *data);
  return walk;
}

BOOL findNext(Walk* walk, WIN32_FIND_DATAW* data) {
  if (!FindNextFileW(walk->scan.get(), data)) return FALSE;
  keepEntry(walk, *data);
  return TRUE;
}

bool stat(const wchar_t* name, struct _stati64* result) {
  Facts facts;
  if (!(streams::writing() ? openPending(name, facts) : lookUp(name, facts))) return false;
  describe(name, facts, result);
  return true;
}

DWORD volumeFlagsOfCurrent() {
  wchar_t root[MAX_PATH + 2];
  rootOf(paths::native(pendingName), root);
  return volumeOf(root).flags;
}

BOOL securityOfCurrent(void* buffer, DWORD* size) {
  SECURITY_INFORMATION wanted = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
  File own;
  if (readsSystemAcl) wanted |= SACL_SECURITY_INFORMATION;
  if (!pending || readsSystemAcl) {
    own.reset(CreateFileW(paths::native(pendingName), READ_CONTROL | (readsSystemAcl ? ACCESS_SYSTEM_SECURITY : 0),
                          shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!own) return FALSE;
  }
  const BOOL got = GetKernelObjectSecurity(own ? own.get() : pending.get(), wanted, buffer, *size, size);
  if (got) *size = GetSecurityDescriptorLength(buffer);
  return got;
}

bool widen(const char* name, wchar_t* to, int room) {
  return MultiByteToWideChar(CP_ACP, 0, name, -1, to, room) != 0;
}

}  // namespace files
}  // namespace qev::engine

using namespace qev::engine;

extern "C" {

int qevOpenInputW(const wchar_t* name) {
  return files::openInput(name);
}

int qevOpenInput(const char* name) {
  static wchar_t wide[32768];
  return files::widen(name, wide, 32768) ? files::openInput(wide) : -1;
}

int qevRead(int file, void* to, unsigned size) {
  return files::read(file, to, size);
}

int qevClose(int file) {
  files::closeInput(file);
  return 0;
}

HANDLE qevFindFirst(const wchar_t* pattern, WIN32_FIND_DATAW* data) {
  return files::findFirst(pattern, data);
}

BOOL qevFindNext(HANDLE scan, WIN32_FIND_DATAW* data) {
  return files::findNext(static_cast<files::Walk*>(scan), data);
}

BOOL qevFindClose(HANDLE scan) {
  files::findClose(static_cast<files::Walk*>(scan));
  return TRUE;
}

DWORD qevAttributes(const wchar_t* name) {
  files::Facts facts;
  return files::lookUp(name, facts) ? facts.attributes : INVALID_FILE_ATTRIBUTES;
}

BOOL qevSetAttributes(const wchar_t* name, DWORD attributes) {
  return SetFileAttributesW(paths::native(name), attributes);
}

int qevStatW(const wchar_t* name, struct _stati64* result) {
  return files::stat(name, result) ? 0 : -1;
}

// The sources ask in this form about the archive only; nothing is kept of it.
int qevStat(const char* name, struct _stati64* result) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(paths::native(name), GetFileExInfoStandard, &data)) {
    errno = errnoOf(GetLastError());
    return -1;
  }
  static wchar_t wide[32768];
  wcsncpy(wide, paths::native(name), 32767);
  files::describe(wide, files::factsOf(data), result);
  return 0;
}

// The sources' own names for the two, which would open the file once more for its times.
int zstat_zipwin32(const char* name, struct _stati64* result) {
  return qevStat(name, result);
}

int zstat_zipwin32w(const wchar_t* name, struct _stati64* result) {
  return qevStatW(name, result);
}

BOOL qevVolumeW(const wchar_t* root, DWORD* longestName, DWORD* flags) {
  wchar_t full[MAX_PATH + 2];
  wchar_t path[MAX_PATH + 2];
  wcsncpy(path, paths::native(root), MAX_PATH + 1);
  path[MAX_PATH + 1] = 0;
  files::rootOf(path, full);
  const files::Volume& volume = files::volumeOf(full);
  if (longestName != nullptr) *longestName = volume.longestName;
  if (flags != nullptr) *flags = volume.flags;
  return TRUE;
}

BOOL qevVolume(const char* root, char* label, DWORD labelSize, DWORD* longestName, DWORD* flags) {
  if (label != nullptr) {
    return GetVolumeInformationA(root, label, labelSize, nullptr, longestName, flags, nullptr, 0);
  }
  wchar_t wide[MAX_PATH + 2] = L"\\";
  if (root != nullptr) files::widen(root, wide, MAX_PATH + 1);
  return qevVolumeW(wide, longestName, flags);
}

// The archive is not deleted to make room for the new one: qevRename replaces it.
int qevUnlink(const char* name) {
  const wchar_t* const path = paths::native(name);
  if (paths::isArchive(path) || streams::dropArchive(path) || DeleteFileW(path)) return 0;
  errno = errnoOf(GetLastError());
  return -1;
}

// The sources rename nothing but the new archive.
int qevRename(const char*, const char* to) {
  const DWORD code = streams::placeArchive(paths::native(to));
  if (code == ERROR_SUCCESS) return 0;
  errno = errnoOf(code);
  return -1;
}

int qevRmdir(const char* name) {
  if (RemoveDirectoryW(paths::native(name))) return 0;
  errno = errnoOf(GetLastError());
  return -1;
}

int qevUtime(const char* name, const struct utimbuf* times) {
  const File file(CreateFileW(paths::native(name), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return -1;
  const auto ticks = [](time_t time) {
    const ULONGLONG value = static_cast<ULONGLONG>(time) * files::ticksPerSecond + files::unixEpoch;
    return FILETIME{static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
  };
  const FILETIME accessed = ticks(times->actime);
  const FILETIME written = ticks(times->modtime);
  return SetFileTime(file.get(), nullptr, &accessed, &written) ? 0 : -1;
}

// The sources ask for a name of the new archive, and mean it to be free. This one serves as it is: the file gets
// another.
char* qevMktemp(char* name) {
  streams::expectArchive(paths::native(name));
  return name;
}
}
