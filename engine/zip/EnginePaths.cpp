// Which file a name means. Relative names start from the run's root folder, whatever the current folder of the process
// is or becomes; and a full path longer than the classic limit gets the prefix that lifts it (\\?\).
#include "ZipParts.h"

namespace qev::engine::paths {

namespace {

constexpr size_t longestPath = 32767;  // characters, the system's limit
constexpr size_t classicLimit = 240;   // leaves room for a file name in the 260 of MAX_PATH

wchar_t rootFolder[longestPath + 1];
wchar_t archive[longestPath + 1];
size_t archiveFolderLength = 0;  // with the separator
char archiveFolderName[3 * MAX_PATH];
size_t archiveFolderNameLength = 0;

wchar_t joined[2 * longestPath + 8];
wchar_t full[longestPath + 16];
wchar_t converted[longestPath + 1];

bool isSeparator(wchar_t character) {
  return character == L'/' || character == L'\\';
}

size_t rootDriveLength() {
  if (rootFolder[0] != 0 && rootFolder[1] == L':') return 2;
  if (!isSeparator(rootFolder[0]) || !isSeparator(rootFolder[1])) return 0;
  size_t length = 2;  // \\server\share
  for (int part = 0; part < 2 && rootFolder[length] != 0; ++part) {
    if (part == 1) ++length;
    while (rootFolder[length] != 0 && !isSeparator(rootFolder[length])) ++length;
  }
  return length;
}

// Puts the root before a name that does not say where it starts.
const wchar_t* anchor(const wchar_t* name) {
  const bool hasDrive = name[0] != 0 && name[1] == L':';
  const bool isUnc = isSeparator(name[0]) && isSeparator(name[1]);
  if (rootFolder[0] == 0 || hasDrive || isUnc) return name;
  size_t length = rootDriveLength();
  if (!isSeparator(name[0])) length = wcslen(rootFolder);
  if (length + 1 + wcslen(name) >= sizeof joined / sizeof joined[0]) return name;
  wmemcpy(joined, rootFolder, length);
  if (length > 0 && !isSeparator(joined[length - 1]) && !isSeparator(name[0])) joined[length++] = L'\\';
  wcscpy(joined + length, name);
  return joined;
}

void copyBounded(wchar_t* to, const wchar_t* from) {
  wcsncpy(to, from, longestPath);
  to[longestPath] = 0;
}

}  // namespace

void begin(const wchar_t* root, const char* archiveName, const wchar_t* archivePath) {
  copyBounded(rootFolder, root);
  copyBounded(archive, archivePath);
  const wchar_t* const lastPart = wcsrchr(archive, L'\\');
  archiveFolderLength = lastPart != nullptr ? static_cast<size_t>(lastPart + 1 - archive) : 0;
  const char* end = archiveName;
  for (const char* at = archiveName; *at != '\0'; at = CharNextExA(CP_ACP, at, 0)) {
    if (*at == '/' || *at == '\\') end = at + 1;
  }
  archiveFolderNameLength = static_cast<size_t>(end - archiveName);
  if (archiveFolderNameLength >= sizeof archiveFolderName) archiveFolderNameLength = 0;
  memcpy(archiveFolderName, archiveName, archiveFolderNameLength);
  for (size_t at = 0; at < archiveFolderNameLength; ++at) {
    if (archiveFolderName[at] == '\\') archiveFolderName[at] = '/';
  }
}

const wchar_t* native(const wchar_t* name) {
  const wchar_t* const anchored = anchor(name);
  if (wcslen(anchored) < classicLimit && anchored != joined) {
    // Short and complete: the system takes it as it is, but for the doubled separators that the sources make.
    wchar_t* to = full;
    for (const wchar_t* from = anchored; *from != 0; ++from) {
      const wchar_t character = *from == L'/' ? L'\\' : *from;
      const bool doubled = character == L'\\' && to > full + 1 && to[-1] == L'\\';
      if (!doubled) *to++ = character;
    }
    *to = 0;
    return full;
  }
  wchar_t* const at = full + 8;
  const DWORD length = GetFullPathNameW(anchored, longestPath, at, nullptr);
  if (length == 0 || length >= longestPath) return anchored;
  if (length < classicLimit || wcsncmp(at, L"\\\\?\\", 4) == 0) return at;
  if (at[0] == L'\\' && at[1] == L'\\') {
    wmemcpy(at - 6, L"\\\\?\\UNC", 7);  // its last character takes the place of the first backslash
    return at - 6;
  }
  wmemcpy(at - 4, L"\\\\?\\", 4);
  return at - 4;
}

const wchar_t* native(const char* name) {
  size_t length = 0;
  if (archiveFolderNameLength > 0 && strncmp(name, archiveFolderName, archiveFolderNameLength) == 0 &&
      strchr(name + archiveFolderNameLength, '/') == nullptr) {
    // In the archive's folder, whose real name the code page may not be able to express.
    wmemcpy(converted, archive, archiveFolderLength);
    length = archiveFolderLength;
    name += archiveFolderNameLength;
  }
  const int room = static_cast<int>(longestPath + 1 - length);
  if (MultiByteToWideChar(CP_ACP, 0, name, -1, converted + length, room) == 0) converted[0] = 0;
  return native(converted);
}

bool isArchive(const wchar_t* path) {
  static const wchar_t prefix[] = L"\\\\?\\";
  const wchar_t* left = path;
  const wchar_t* right = archive;
  if (wcsncmp(left, prefix, 4) == 0) left += 4;
  if (wcsncmp(right, prefix, 4) == 0) right += 4;
  return CompareStringOrdinal(left, -1, right, -1, TRUE) == CSTR_EQUAL;
}

const char* forMessage(const wchar_t* path) {
  static char text[ZP_MAXIMUM_MESSAGE];
  if (WideCharToMultiByte(CP_ACP, 0, path, -1, text, sizeof text, nullptr, nullptr) == 0) text[sizeof text - 1] = '\0';
  return text;
}

}  // namespace qev::engine::paths
