// Which file a name means. Relative names start from the run's root folder, whatever the current folder of the process
// is or becomes. The full path has the prefix \\?\, behind which the system takes every part as it stands: at any
// length, with a dot or a blank at its end, and where it looks like a device ("nul.txt").
#include "EngineTexts.h"
#include "ZipParts.h"

namespace qev::engine::paths {

namespace {

constexpr size_t longestPath = 32767;  // characters, the system's limit

wchar_t rootFolder[longestPath + 1];
wchar_t archive[longestPath + 16];  // as native() gives it

wchar_t joined[2 * longestPath + 8];
wchar_t absolute[longestPath + 8];
wchar_t full[2 * longestPath + 24];
wchar_t converted[longestPath + 1];

bool isSeparator(wchar_t character) {
  return character == L'/' || character == L'\\';
}

// Two separators begin the name of a share, or of a device (//?/, //./).
bool beginsTwice(const wchar_t* name) {
  return isSeparator(name[0]) && isSeparator(name[1]);
}

bool isDevicePath(const wchar_t* name) {
  return beginsTwice(name) && (name[2] == L'?' || name[2] == L'.') && isSeparator(name[3]);
}

bool hasDrive(const wchar_t* name) {
  return name[0] != 0 && name[1] == L':';
}

const wchar_t* pastPart(const wchar_t* name) {
  while (*name != 0 && !isSeparator(*name)) ++name;
  return name;
}

const wchar_t* pastSeparators(const wchar_t* name) {
  while (isSeparator(*name)) ++name;
  return name;
}

// The length of what names the drive ("C:") or the share ("\\server\share").
size_t driveLength(const wchar_t* path) {
  if (hasDrive(path)) return 2;
  if (!beginsTwice(path)) return 0;
  const wchar_t* const share = pastSeparators(pastPart(path + 2));
  return static_cast<size_t>(pastPart(share) - path);
}

// Puts the root before a name that does not say where it starts.
const wchar_t* anchor(const wchar_t* name) {
  if (rootFolder[0] == 0 || hasDrive(name) || beginsTwice(name)) return name;
  const size_t length = isSeparator(name[0]) ? driveLength(rootFolder) : wcslen(rootFolder);
  if (length + 1 + wcslen(name) >= sizeof joined / sizeof joined[0]) return name;
  wmemcpy(joined, rootFolder, length);
  joined[length] = L'\\';
  wcscpy(joined + length + 1, name);
  return joined;
}

// Copies a path as it stands, with the system's separators.
const wchar_t* copyPlain(const wchar_t* path) {
  wchar_t* to = full;
  for (; *path != 0 && to < full + longestPath; ++path) *to++ = isSeparator(*path) ? L'\\' : *path;
  *to = 0;
  return full;
}

// Copies the drive or share behind the prefix, with its separator; answers where the path goes on.
wchar_t* copyDrive(const wchar_t*& path) {
  const bool isShare = !hasDrive(path);
  wchar_t* to = wcscpy(full, isShare ? L"\\\\?\\UNC" : L"\\\\?\\") + (isShare ? 7 : 4);
  const wchar_t* const end = path + driveLength(path);
  if (isShare) ++path;
  for (; path < end; ++path) {
    if (isSeparator(*path) && to[-1] == L'\\') continue;
    *to++ = isSeparator(*path) ? L'\\' : *path;
  }
  *to++ = L'\\';
  return to;
}

// Copies the parts of a path to `start`, behind a separator; "." and ".." are resolved by their words.
void copyParts(const wchar_t* path, wchar_t* const start) {
  wchar_t* to = start;
  for (path = pastSeparators(path); *path != 0; path = pastSeparators(path)) {
    const wchar_t* const end = pastPart(path);
    const size_t length = static_cast<size_t>(end - path);
    const bool isUp = length == 2 && path[0] == L'.' && path[1] == L'.';
    if (isUp) {
      while (to > start && to[-1] != L'\\') --to;
      if (to > start) --to;
    } else if (length != 1 || path[0] != L'.') {
      if (to > start) *to++ = L'\\';
      to = wmemcpy(to, path, length) + length;
    }
    path = end;
  }
  *to = 0;
}

}  // namespace

void begin(const wchar_t* root, const wchar_t* archivePath) {
  wcsncpy(rootFolder, root, longestPath);
  wcsncpy(archive, native(archivePath), longestPath + 15);
}

const wchar_t* native(const wchar_t* name) {
  const wchar_t* path = anchor(name);
  if (isDevicePath(path)) return copyPlain(path);
  const bool isAbsolute = hasDrive(path) ? isSeparator(path[2]) : beginsTwice(path);
  if (!isAbsolute) {  // "C:name" starts from a current folder
    const DWORD length = GetFullPathNameW(path, longestPath, absolute, nullptr);
    if (length == 0 || length >= longestPath || isDevicePath(absolute)) return copyPlain(path);
    path = absolute;
  }
  if (wcslen(path) >= 2 * longestPath) return copyPlain(path);
  wchar_t* const parts = copyDrive(path);
  copyParts(path, parts);
  return full;
}

const wchar_t* native(const char* name) {
  texts::widen(name, converted, longestPath + 1);
  return native(converted);
}

size_t rootLength(const wchar_t* path) {
  constexpr size_t prefix = 4;
  const bool isShare = wcsncmp(path, L"\\\\?\\UNC\\", 8) == 0;
  if (!isShare) return wcsncmp(path, L"\\\\?\\", prefix) == 0 && hasDrive(path + prefix) ? prefix + 3 : 0;
  const wchar_t* const share = pastSeparators(pastPart(path + 8));
  const wchar_t* const end = pastPart(share);
  return static_cast<size_t>(end - path) + (*end != 0 ? 1 : 0);
}

bool isArchive(const wchar_t* path) {
  return CompareStringOrdinal(path, -1, archive, -1, TRUE) == CSTR_EQUAL;
}

}  // namespace qev::engine::paths
