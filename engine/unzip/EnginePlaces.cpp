// Where each entry goes: below the extraction folder, or nowhere.
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <new>
#include <unordered_map>

#include "SafeName.h"
#include "UnzipParts.h"

namespace qev::engine::places {

namespace {

wchar_t rootFolder[longestPath + 1];
bool rootIsThere = false;
wchar_t place[longestPath + 1];  // the root, a separator, and the parts of the name
size_t placeLength = 0;
size_t folderLength = 0;  // of the folder that the place is in, with its separator

// ---- Paths that the run has met

// Paths in capitals, and the names that led to them, all by their hashes.
using Table = std::unordered_map<uint64_t, uint64_t>;

Table files;
Table folders;

uint64_t hashOf(const void* data, size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  uint64_t hash = 14695981039346656037u;
  for (size_t at = 0; at < size; ++at) hash = (hash ^ bytes[at]) * 1099511628211u;
  return hash != 0 ? hash : 1;
}

uint64_t pathHash(size_t length) {
  static wchar_t capitals[longestPath + 1];
  const int count = LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, place, static_cast<int>(length), capitals,
                                  static_cast<int>(longestPath), nullptr, nullptr, 0);
  return hashOf(count > 0 ? capitals : place, (count > 0 ? static_cast<size_t>(count) : length) * sizeof(wchar_t));
}

// The name under which a path was met before, 0 if it was not; then it is kept with this one. Without memory the run
// ends.
uint64_t meet(Table& table, uint64_t path, uint64_t name) {
  try {
    const auto [known, isNew] = table.try_emplace(path, name);
    return isNew ? 0 : known->second;
  } catch (const std::bad_alloc&) {
  }
  qevExit(UZ_MEM);
}

// ---- Folders

enum FolderOrigin : uint64_t { unknown, found, made };

// Whether an existing folder that is more than that leads elsewhere: it is a link or mount point. (A folder whose files
// are kept elsewhere until they are read is none.) A system that does not tell the kind is not trusted.
bool leadsElsewhere(const wchar_t* path) {
  WIN32_FIND_DATAW data;
  if (!Scan(FindFirstFileW(path, &data))) return true;
  return data.dwReserved0 == 0 || IsReparseTagNameSurrogate(data.dwReserved0);
}

// Makes the folder that the first `length` characters of the place name, or finds it; prints why it cannot.
FolderOrigin makeFolder(const char* name, size_t length) {
  const wchar_t following = place[length];
  place[length] = 0;
  FolderOrigin origin = unknown;
  if (CreateDirectoryW(place, nullptr)) {
    origin = made;
  } else {
    const DWORD error = GetLastError();
    const DWORD attributes = GetFileAttributesW(place);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
      messages::reportError(name, "cannot create folder", error);
      outcome::raise(UZ_DISK);
    } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      messages::report("error", name, "a file is in the place of the folder");
    } else if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && leadsElsewhere(place)) {
      messages::report("error", name, "refused: a folder of its path is a link");
    } else {
      origin = found;
    }
  }
  place[length] = following;
  return origin;
}

FolderOrigin ensureFolder(const char* name, size_t length, bool& isNew) {
  const uint64_t path = pathHash(length);
  if (const auto known = folders.find(path); known != folders.end()) return static_cast<FolderOrigin>(known->second);
  const FolderOrigin origin = makeFolder(name, length);
  if (origin == unknown) return unknown;
  isNew = origin == made;
  meet(folders, path, origin);
  return origin;
}

// Makes the extraction folder and those above it, where they are missing.
void ensureRoot() {
  if (rootIsThere) return;
  const DWORD attributes = GetFileAttributesW(rootFolder);
  rootIsThere = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  DWORD error = ERROR_SUCCESS;
  for (wchar_t* at = rootFolder + 7; !rootIsThere && *at != 0; ++at) {  // behind "\\?\C:\"
    if (at[1] != 0 && at[1] != L'\\') continue;
    const wchar_t following = at[1];
    at[1] = 0;
    error = CreateDirectoryW(rootFolder, nullptr) ? ERROR_SUCCESS : GetLastError();
    at[1] = following;
  }
  if (rootIsThere || error == ERROR_SUCCESS) {
    rootIsThere = true;
    return;
  }
  static char shown[3 * longestPath];
  WideCharToMultiByte(CP_UTF8, 0, rootFolder + 4, -1, shown, sizeof shown, nullptr, nullptr);
  messages::reportError(shown, "cannot create the extraction folder", error);
  qevExit(UZ_DISK);
}

// ---- Names

struct Mapping {
  const char* name;  // as the sources have it
  bool isChanged;
  bool isFolder;
};

bool isSeparator(wchar_t character) {
  return character == L'/' || character == L'\\';
}

// Prints why an entry is refused, and answers false.
bool refuse(const char* name, const char* reason) {
  messages::report("error", name, reason);
  return false;
}

// Sets the place to the extraction folder; answers where the parts of a name begin.
size_t startPlace() {
  placeLength = wcslen(rootFolder);
  wmemcpy(place, rootFolder, placeLength);
  if (place[placeLength - 1] != L'\\') place[placeLength++] = L'\\';
  return placeLength;
}

// Appends the parts of a name to the place, made safe. Prints why it cannot.
bool append(const QevName& name, const wchar_t* wide, size_t length, Mapping& mapping) {
  static wchar_t part[longestPath + 2];
  const size_t start = placeLength;
  for (size_t at = 0, end = 0; at < length; at = end + 1) {
    end = at;
    while (end < length && !isSeparator(wide[end])) ++end;
    if (name.junkFolders && end < length) continue;
    size_t size = end - at;
    wmemcpy(part, wide + at, size);
    const Part outcome = makeSafe(part, size);
    if (outcome == Part::refused) return refuse(mapping.name, "refused: its path leads upwards");
    if (outcome == Part::nothing) continue;
    if (outcome == Part::changed) mapping.isChanged = true;
    if (placeLength + size + 2 > longestPath) return refuse(mapping.name, "refused: its path is too long");
    if (placeLength > start) place[placeLength++] = L'\\';
    wmemcpy(place + placeLength, part, size);
    placeLength += size;
  }
  place[placeLength] = 0;
  return true;
}

// Makes the folders that lead to the place, from `start` on, and the place itself if it is one; `lastIsNew`: it was
// not there before.
bool makeFolders(const Mapping& mapping, size_t start, bool& lastIsNew) {
  folderLength = start;
  for (size_t at = start; at <= placeLength; ++at) {
    const bool isEnd = at == placeLength;
    if (isEnd ? !mapping.isFolder || at == start : place[at] != L'\\') continue;
    lastIsNew = false;
    if (ensureFolder(mapping.name, at, lastIsNew) == unknown) return false;
    folderLength = at + 1;
  }
  return true;
}

// A path that an earlier entry took: of the same name, the later one counts; of another, the earlier one stays.
QevMapped claim(const Mapping& mapping) {
  const uint64_t own = hashOf(mapping.name, strlen(mapping.name));
  const uint64_t earlier = meet(files, pathHash(placeLength), own);
  if (earlier != 0 && earlier != own) {
    refuse(mapping.name, "refused: an earlier entry has the same path");
    return qevMappedNot;
  }
  if (earlier != 0) messages::report("warning", mapping.name, "the archive has this entry more than once");
  if (mapping.isChanged) {
    static char shown[3 * longestPath];
    WideCharToMultiByte(CP_UTF8, 0, place + folderLength, -1, shown, sizeof shown, nullptr, nullptr);
    static char reason[3 * longestPath + 32];
    strcat(strcpy(reason, "restored as "), shown);
    messages::report("warning", mapping.name, reason);
  }
  return earlier != 0 || mapping.isChanged ? qevMappedFileChanged : qevMappedFile;
}

void tellFolder(const char* name) {
  static char shown[4096];
  messages::startLine();
  messages::write("   creating: ");
  messages::write(qevPrintable(name, shown, sizeof shown));
  messages::write("\n");
}

// Whether an entry can be restored at all. Prints why not.
bool isPlain(const QevName& name, const wchar_t* wide, size_t& length) {
  if (name.isCut) return refuse(name.text, "refused: its name is too long");
  if ((name.attributes & qevSpecial) != 0) return refuse(name.text, "refused: it is a link or a device");
  if (name.text[0] == '\0') return refuse(name.text, "refused: it has no name");
  length = names::wideFromName(name.text, const_cast<wchar_t*>(wide), longestPath);
  return length != 0 || refuse(name.text, "refused: its name is too long");
}

QevMapped mapFolder(const QevName& name, const Mapping& mapping, bool isNew) {
  if (mapping.isChanged) {
    messages::report("warning", name.text, "restored under another name");
    outcome::raise(UZ_WARN);
  }
  if (!isNew) return qevMappedNothing;
  if (!name.isQuiet) tellFolder(name.text);
  return qevMappedNewFolder;
}

QevMapped map(const QevName& name) {
  static wchar_t wide[longestPath + 1];
  size_t length = 0;
  if (!isPlain(name, wide, length)) return qevMappedNot;
  Mapping mapping{name.text, isSeparator(wide[0]), name.isFolder != 0};
  while (length > 0 && isSeparator(wide[length - 1])) {
    mapping.isFolder = true;
    --length;
  }
  for (size_t at = 0; name.blanksToUnderscores && at < length; ++at) {
    if (wide[at] == L' ') wide[at] = L'_';
  }
  if (mapping.isFolder && name.junkFolders) return qevMappedNothing;
  const size_t start = startPlace();
  if (!append(name, wide, length, mapping)) return qevMappedNot;
  if (placeLength == start && !mapping.isFolder) {
    refuse(name.text, "refused: it has no name");
    return qevMappedNot;
  }
  ensureRoot();
  bool isNew = false;
  if (!makeFolders(mapping, start, isNew)) return qevMappedNot;
  return mapping.isFolder ? mapFolder(name, mapping, isNew) : claim(mapping);
}

}  // namespace

void begin(const wchar_t* folder) {
  wcsncpy(rootFolder, folder, longestPath);
  rootFolder[longestPath] = 0;
  size_t length = wcslen(rootFolder);
  while (length > 7 && rootFolder[length - 1] == L'\\') rootFolder[--length] = 0;
  rootIsThere = false;
}

void end() {
  files = {};
  folders = {};
}

const wchar_t* current() {
  return place;
}

size_t currentFolderLength() {
  return folderLength;
}

}  // namespace qev::engine::places

using namespace qev::engine;

namespace {

struct Folder {
  bool isDated;
  FILETIME written;
  DWORD attributes;
  wchar_t path[1];
};

}  // namespace

extern "C" {

QevMapped qevMapName(const QevName* name) {
  return places::map(*name);
}

void* qevRememberFolder(const QevEntry* entry) {
  const wchar_t* const path = places::current();
  auto* const folder = static_cast<Folder*>(qevMalloc(sizeof(Folder) + wcslen(path) * sizeof(wchar_t)));
  if (folder == nullptr) return nullptr;
  wcscpy(folder->path, path);
  folder->isDated = times::ofEntry(*entry, folder->written);
  folder->attributes = entry->attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  return folder;
}

int qevFinishFolder(void* remembered) {
  const auto* const folder = static_cast<const Folder*>(remembered);
  File handle(CreateFileW(folder->path, FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!handle) return 0;
  const BOOL isDated = !folder->isDated || SetFileTime(handle.get(), nullptr, nullptr, &folder->written);
  handle.reset();
  const BOOL isMarked =
      folder->attributes == 0 || SetFileAttributesW(folder->path, folder->attributes | FILE_ATTRIBUTE_DIRECTORY);
  return isDated && isMarked;
}

unsigned qevAttributesOf(unsigned long external, int host, int hasUnixAttributes) {
  constexpr unsigned dosAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                     FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_ARCHIVE;
  constexpr unsigned typeMask = 0170000, folderType = 0040000, fileType = 0100000, ownerWrites = 0200;
  constexpr int unix = 3, macintosh = 19;  // makers whose files have an owner's rights
  unsigned attributes = external & dosAttributes;
  if (hasUnixAttributes) {
    const unsigned mode = external >> 16;
    const unsigned type = mode & typeMask;
    if (type == folderType) attributes |= FILE_ATTRIBUTE_DIRECTORY;
    if (type != folderType && type != fileType && type != 0) attributes |= qevSpecial;
    const bool hasRights = host == unix || host == macintosh;
    if (hasRights && (mode & 0777) != 0 && (mode & ownerWrites) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) attributes |= FILE_ATTRIBUTE_ARCHIVE;
  return attributes;
}
}
