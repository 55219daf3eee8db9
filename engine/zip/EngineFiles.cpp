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
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "EngineTexts.h"
#include "ZipParts.h"

extern "C" {
// Of the sources: 1 makes entries Zip64 whatever their size, -1 leaves that to their size.
extern int force_zip64;
extern int translate_eol;  // the sources change the ends of lines while they read
}

namespace qev::engine {

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

// One that is open; those behind it are of the folders around its own.
struct Walk {
  Walk* next;
  Scan scan;
  bool isBehindLink;  // a folder on the way to it, or its own, is a link
  bool isBroken;
  size_t prefixLength;
  wchar_t prefix[1];  // the name of the folder, with its separator
};

Walk* walks = nullptr;
bool somethingMissed = false;

void keepEntry(const Walk* walk, const WIN32_FIND_DATAW& data) {
  keep({walk->prefix, walk->prefixLength}, data.cFileName, factsOf(data));
}

// The name of the folder that a scan's pattern ("C:/Datos/sub/*.*") lists, without its last separator; "C:/" keeps it.
// The memory is the run's; null if there is none.
wchar_t* folderOf(const wchar_t* pattern) {
  auto* const folder = static_cast<wchar_t*>(qevMalloc((wcslen(pattern) + 1) * sizeof(wchar_t)));
  if (folder == nullptr) return nullptr;
  wcscpy(folder, pattern);
  size_t length = wcslen(folder);
  const auto isSeparator = [&](size_t at) { return folder[at] == L'/' || folder[at] == L'\\'; };
  while (length > 0 && !isSeparator(length - 1)) --length;
  while (length > 1 && isSeparator(length - 1) && folder[length - 2] != L':') --length;
  folder[length] = 0;
  return folder;
}

// ---- Links

// Which folder a path leads to: the same one by any path.
struct Identity {
  DWORD volume;
  DWORD high;
  DWORD low;

  bool operator==(const Identity&) const = default;
};

bool identify(const wchar_t* path, Identity& identity) {
  const File folder(CreateFileW(path, 0, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION facts;
  if (!folder || !GetFileInformationByHandle(folder.get(), &facts)) return false;
  identity = {facts.dwVolumeSerialNumber, facts.nFileIndexHigh, facts.nFileIndexLow};
  return facts.nFileIndexHigh != 0 || facts.nFileIndexLow != 0;
}

// Of the folders around one that is entered through a link, by their paths: most of them are asked for again.
std::unordered_map<std::wstring, std::optional<Identity>> identities;

std::optional<Identity> identityOf(const std::wstring& path) {
  const auto told = identities.find(path);
  if (told != identities.end()) return told->second;
  Identity identity;
  const auto found = identify(path.c_str(), identity) ? std::optional(identity) : std::nullopt;
  identities.emplace(path, found);
  return found;
}

bool isLink(const wchar_t* folder) {
  const Facts* const told = find(folder);
  return told != nullptr && (told->attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Whether a folder is one of those on the way to it. Only behind a link that can be. What a system does not tell apart
// is entered; the length of a path ends that.
bool leadsBack(const wchar_t* folder) {
  try {
    const std::wstring path = paths::native(folder);
    const auto own = identityOf(path);
    const size_t root = paths::rootLength(path.c_str());
    if (!own || root == 0) return false;
    for (size_t end = path.find_last_of(L'\\'); end != std::wstring::npos; end = path.find_last_of(L'\\', end - 1)) {
      const bool isRoot = end < root;
      if (identityOf(isRoot ? path.substr(0, root) : path.substr(0, end)) == own) return path.size() > root;
      if (isRoot) break;
    }
  } catch (const std::bad_alloc&) {
  }
  return false;
}

// ---- Folders that are the system's own

bool isOfSystem(const WIN32_FIND_DATAW& data) {
  constexpr DWORD attributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  return (data.dwFileAttributes & attributes) == attributes &&
         (_wcsicmp(data.cFileName, L"System Volume Information") == 0 ||
          _wcsicmp(data.cFileName, L"$RECYCLE.BIN") == 0);
}

const wchar_t* withoutPrefix(const wchar_t* path) {
  return wcsncmp(path, L"\\\\?\\", 4) == 0 ? path + 4 : path;
}

// Whether a walk is through the root of a volume, mounted in a folder or not.
bool isOfRoot(const Walk* walk) {
  try {
    std::wstring path = paths::native(walk->prefix);
    if (paths::rootLength(path.c_str()) == path.size()) return true;
    path += L'\\';
    std::wstring root(path.size() + 1, 0);
    if (!GetVolumePathNameW(path.c_str(), root.data(), static_cast<DWORD>(root.size()))) return false;
    return CompareStringOrdinal(withoutPrefix(root.c_str()), -1, withoutPrefix(path.c_str()), -1, TRUE) == CSTR_EQUAL;
  } catch (const std::bad_alloc&) {
    return false;
  }
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
  ULONGLONG size = 0;      // bytes, when it was opened
  ULONGLONG position = 0;  // of the next byte that is read
  DWORD error = 0;         // why nothing more can be read
};

Input inputs[mostFiles];

// What reading the file of the last entry has told.
struct Outcome {
  bool changedSize = false;
  DWORD error = 0;  // why it could not be read to its end
};

Outcome outcome;
bool archiving = false;  // an entry is under way

// The file whose properties were asked last while archiving: the sources open it next.
File pending;
DWORD pendingError = 0;
ULONGLONG pendingSize = 0;
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
constexpr ULONGLONG closeToHeader = 0xF0000000u;
constexpr ULONGLONG mostOfSmallHeader = 0xFF000000u;  // bytes that fit when packed, whatever they are

void chooseHeader(ULONGLONG size) {
  force_zip64 = size >= closeToHeader && size <= 0xFFFFFFFFu ? 1 : -1;
}

FILETIME fileTime(const LARGE_INTEGER& ticks) {
  return {ticks.LowPart, static_cast<DWORD>(ticks.HighPart)};
}

// Answers a Win32 code.
DWORD sizeOf(HANDLE file, ULONGLONG& size) {
  LARGE_INTEGER found;
  if (!GetFileSizeEx(file, &found)) return GetLastError();
  size = static_cast<ULONGLONG>(found.QuadPart);
  return ERROR_SUCCESS;
}

// What is true of the open file now. (GetFileInformationByHandle would answer in one call, but asks the volume for its
// serial number, too, which some systems are slow at.)
void refresh(HANDLE file, Facts& facts) {
  FILE_BASIC_INFO basic;
  sizeOf(file, facts.size);
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
  pendingSize = facts.size;
  return true;
}

int addInput(File file, ULONGLONG size) {
  for (int at = 0; at < mostFiles; ++at) {
    if (inputs[at].file) continue;
    inputs[at] = {std::move(file), size};
    return firstFile + at;
  }
  errno = EMFILE;
  return -1;
}

// Reads at the file's position, `got` bytes; none at its end. Answers a Win32 code.
DWORD readPlainly(const Input& input, void* to, DWORD size, DWORD& got) {
  OVERLAPPED at{};
  at.Offset = static_cast<DWORD>(input.position);
  at.OffsetHigh = static_cast<DWORD>(input.position >> 32);
  if (ReadFile(input.file.get(), to, size, &got, &at)) return ERROR_SUCCESS;
  got = 0;
  const DWORD code = GetLastError();
  return code == ERROR_HANDLE_EOF ? ERROR_SUCCESS : code;
}

// The same through a view of the file: ranges that another program has locked do not bind those (LockFile). A page that
// cannot be had would raise an exception here; where the system copies it, that is an error (ReadProcessMemory).
DWORD readMapped(const Input& input, void* to, DWORD size, DWORD& got) {
  constexpr ULONGLONG granularity = 1 << 16;  // of views, on every Windows
  got = 0;
  ULONGLONG end = 0;
  const DWORD code = sizeOf(input.file.get(), end);
  if (code != ERROR_SUCCESS || input.position >= end) return code;
  const auto part = static_cast<DWORD>(size < end - input.position ? size : end - input.position);
  const Section section(CreateFileMappingW(input.file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  if (!section) return GetLastError();
  const ULONGLONG start = input.position / granularity * granularity;
  const auto before = static_cast<SIZE_T>(input.position - start);
  const View view(MapViewOfFile(section.get(), FILE_MAP_READ, static_cast<DWORD>(start >> 32),
                                static_cast<DWORD>(start), before + part));
  if (!view) return GetLastError();
  SIZE_T copied = 0;
  const auto* const from = static_cast<const char*>(view.get()) + before;
  if (!ReadProcessMemory(GetCurrentProcess(), from, to, part, &copied)) return GetLastError();
  if (copied != part) return ERROR_READ_FAULT;
  got = part;
  return ERROR_SUCCESS;
}

// Whether the file ends here, before the length that it had: if it is no shorter now, it does not.
DWORD atEnd(const Input& input) {
  ULONGLONG end = 0;
  if (input.position >= input.size) return ERROR_SUCCESS;
  const DWORD code = sizeOf(input.file.get(), end);
  if (code != ERROR_SUCCESS || input.position >= end) return code;
  return ERROR_READ_FAULT;
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
  somethingMissed = archiving = false;
  outcome = {};
  volume.known = false;
  if (privileges) takePrivilege(L"SeBackupPrivilege");
}

void end() {
  dropPending();
  for (Input& input : inputs) input = {};
  while (walks != nullptr) findClose(walks);
  known = {};
  identities = {};
  returnPrivilege();
}

void missed(const char* text, const wchar_t* name) {
  somethingMissed = true;
  messages::warn(text, name);
}

bool incomplete() {
  return somethingMissed;
}

bool leavingOut() {
  return archiving && outcome.error != 0;
}

bool leftOut() {
  return !archiving && outcome.error != 0;
}

void beginEntry() {
  archiving = true;
  outcome = {};
}

bool endEntry(const wchar_t* name) {
  archiving = false;
  for (Input& input : inputs) input = {};
  if (outcome.error != 0) errno = errnoOf(outcome.error);
  if (outcome.error == 0 && outcome.changedSize && translate_eol == 0 && name != nullptr) {
    messages::warn("file size changed while it was read: ", name);
  }
  return outcome.error == 0;
}

int openInput(const wchar_t* name) {
  const bool isPending = wcscmp(name, pendingName) == 0 && !pendingIsFolder;
  File file = isPending ? std::move(pending) : openToRead(paths::native(name));
  if (!file) {
    errno = errnoOf(isPending ? pendingError : GetLastError());
    return -1;
  }
  ULONGLONG size = pendingSize;
  const DWORD code = isPending ? ERROR_SUCCESS : sizeOf(file.get(), size);
  if (code != ERROR_SUCCESS) {
    errno = errnoOf(code);
    return -1;
  }
  return addInput(std::move(file), size);
}

// To the sources a file that cannot be read any further has ended; what becomes of its entry is decided when they are
// done with it.
int read(int file, void* to, unsigned size) {
  Input& input = inputs[file - firstFile];
  if (input.error != 0) return 0;
  DWORD got = 0;
  input.error = readPlainly(input, to, size, got);
  if (input.error == ERROR_LOCK_VIOLATION) input.error = readMapped(input, to, size, got);
  if (input.error == ERROR_SUCCESS && got == 0 && size > 0) input.error = atEnd(input);
  input.position += got;
  const bool outgrew = input.size < closeToHeader && input.position > mostOfSmallHeader;
  if (outgrew) input.error = ERROR_FILE_TOO_LARGE;
  if (input.error != 0) outcome.error = input.error;
  outcome.changedSize = input.position != input.size;
  return input.error != 0 ? 0 : static_cast<int>(got);
}

void closeInput(int file) {
  inputs[file - firstFile].file.reset();
}

// A folder that cannot be listed. The sources pass over it as if it were empty, and try folders that need not be there
// when they look for the beginning of a pattern.
void tellUnlisted(const wchar_t* folder, DWORD error) {
  const Facts* const told = find(folder);
  const bool isThere = told != nullptr && (told->attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const int reason = errnoOf(error);
  if (!isThere && (reason == ENOENT || reason == ENOTDIR)) return;
  if (error == ERROR_FILE_NOT_FOUND) {  // the root of a volume lists not even itself when it is empty
    const File opened(CreateFileW(paths::native(folder), FILE_LIST_DIRECTORY, shareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (opened) return;
  }
  missed("could not list folder: ", folder);
}

Walk* beginWalk(const wchar_t* pattern, const wchar_t* folder, WIN32_FIND_DATAW* data) {
  const bool isBehindLink = (walks != nullptr && walks->isBehindLink) || isLink(folder);
  if (isBehindLink && leadsBack(folder)) {
    messages::warn("folder leads back to itself: ", folder);
    SetLastError(ERROR_NO_MORE_FILES);
    return nullptr;
  }
  size_t prefixLength = wcslen(pattern);
  while (prefixLength > 0 && pattern[prefixLength - 1] != L'/' && pattern[prefixLength - 1] != L'\\') --prefixLength;
  void* const memory = qevCalloc(1, sizeof(Walk) + prefixLength * sizeof(wchar_t));
  if (memory == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    tellUnlisted(folder, ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  Scan scan(FindFirstFileExW(paths::native(pattern), FindExInfoBasic, data, FindExSearchNameMatch, nullptr,
                             FIND_FIRST_EX_LARGE_FETCH));
  if (!scan) {
    const DWORD error = GetLastError();
    qevFree(memory);
    tellUnlisted(folder, error);
    SetLastError(error);
    return nullptr;
  }
  auto* const walk = new (memory) Walk{walks, std::move(scan), isBehindLink, false, prefixLength, {}};
  wmemcpy(walk->prefix, pattern, prefixLength);
  walk->prefix[prefixLength] = 0;
  return walks = walk;
}

// What is no data: the system's own in the root of a volume, and what runs are writing or have left.
bool isPassedOver(const Walk* walk, const WIN32_FIND_DATAW& data) {
  const bool isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isFolder ? isOfSystem(data) && isOfRoot(walk) : NewFile::isName(data.cFileName);
}

BOOL findNext(Walk* walk, WIN32_FIND_DATAW* data) {
  while (FindNextFileW(walk->scan.get(), data)) {
    keepEntry(walk, *data);
    if (!isPassedOver(walk, *data)) return TRUE;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_NO_MORE_FILES || walk->isBroken) return FALSE;
  walk->isBroken = true;
  wchar_t* const folder = folderOf(walk->prefix);
  missed("could not list folder to its end: ", folder != nullptr ? folder : walk->prefix);
  qevFree(folder);
  SetLastError(error);
  return FALSE;
}

HANDLE findFirst(const wchar_t* pattern, WIN32_FIND_DATAW* data) {
  wchar_t* const folder = folderOf(pattern);
  if (folder == nullptr) {
    missed("could not list folder: ", pattern);
    return INVALID_HANDLE_VALUE;
  }
  Walk* const walk = beginWalk(pattern, folder, data);
  const DWORD error = GetLastError();
  qevFree(folder);
  SetLastError(error);
  if (walk == nullptr) return INVALID_HANDLE_VALUE;
  keepEntry(walk, *data);
  if (!isPassedOver(walk, *data) || findNext(walk, data)) return walk;
  findClose(walk);
  return INVALID_HANDLE_VALUE;
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

}  // namespace files
}  // namespace qev::engine

using namespace qev::engine;

extern "C" {

int qevOpenInputW(const wchar_t* name) {
  return files::openInput(name);
}

int qevOpenInput(const char* name) {
  static wchar_t wide[32768];
  texts::widen(name, wide, 32768);
  return files::openInput(wide);
}

int qevRead(int file, void* to, unsigned size) {
  return files::read(file, to, size);
}

int qevClose(int file) {
  files::closeInput(file);
  return 0;
}

void qevEntryBegins(void) {
  files::beginEntry();
}

int qevEntryEnds(const wchar_t* name) {
  return files::endEntry(name) ? 1 : 0;
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
  wchar_t wide[MAX_PATH + 2] = L"\\";
  if (root != nullptr) texts::widen(root, wide, MAX_PATH + 1);
  if (label == nullptr) return qevVolumeW(wide, longestName, flags);
  wchar_t name[MAX_PATH + 1];
  if (!GetVolumeInformationW(wide, name, MAX_PATH + 1, nullptr, longestName, flags, nullptr, 0)) return FALSE;
  if (wcslen(name) * texts::bytesPerUnit >= labelSize) return FALSE;
  texts::narrow(name, label);
  return TRUE;
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
