#include "EngineNames.h"

#include "ZipParts.h"

namespace qev::engine::names {

namespace {

bool add(List& list, const char* prefix, const char* text) {
  const size_t prefixLength = strlen(prefix);
  auto* const name = static_cast<Name*>(qevMalloc(sizeof(Name) + prefixLength + strlen(text)));
  if (name == nullptr) return false;
  memcpy(name->text, prefix, prefixLength);
  strcpy(name->text + prefixLength, text);
  name->next = nullptr;
  (list.last != nullptr ? list.last->next : list.first) = name;
  list.last = name;
  ++list.count;
  return true;
}

const char* filePart(const char* name) {
  const char* part = name;
  for (const char* at = name; *at != '\0'; at = CharNextExA(CP_ACP, at, 0)) {
    if (*at == '/' || *at == '\\' || *at == ':') part = at + 1;
  }
  return part;
}

bool selectsByName(const char* pattern) {
  return strpbrk(pattern, "*?") != nullptr && strcmp(pattern, "*") != 0 && strcmp(pattern, "*.*") != 0;
}

bool isDots(const wchar_t* name) {
  return wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0;
}

// Whether `folder` (with its separator) has a file that the pattern's last part matches.
bool matches(const char* folder, const char* pattern) {
  char* const whole = static_cast<char*>(qevMalloc(strlen(folder) + strlen(pattern) + 1));
  if (whole == nullptr) return false;
  strcat(strcpy(whole, folder), pattern);
  WIN32_FIND_DATAW data;
  const Scan scan(FindFirstFileW(paths::native(whole), &data));
  qevFree(whole);
  if (!scan) return false;
  bool found = false;
  do {
    found = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
  } while (!found && FindNextFileW(scan.get(), &data));
  return found;
}

// Adds the pattern for each subfolder of `folder` (with its separator), at any depth. A subfolder whose name the code
// page cannot express cannot be named to the sources.
bool addSubfolders(List& list, const char* folder, const char* pattern, int depth) {
  constexpr int deepest = 256;
  if (depth > deepest) return true;
  char* const whole = static_cast<char*>(qevMalloc(strlen(folder) + 2));
  if (whole == nullptr) return false;
  strcat(strcpy(whole, folder), "*");
  WIN32_FIND_DATAW data;
  const Scan scan(FindFirstFileExW(paths::native(whole), FindExInfoBasic, &data, FindExSearchNameMatch, nullptr,
                                   FIND_FIRST_EX_LARGE_FETCH));
  qevFree(whole);
  if (!scan) return true;
  bool done = true;
  do {
    constexpr DWORD passedOver = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const bool isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!isFolder || isDots(data.cFileName) || (data.dwFileAttributes & passedOver) != 0) continue;
    const size_t size = strlen(folder) + 3 * wcslen(data.cFileName) + 2;
    char* const inner = static_cast<char*>(qevMalloc(size));
    if (inner == nullptr) return false;
    strcpy(inner, folder);
    BOOL replaced = FALSE;
    const size_t used = strlen(inner);
    if (WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, data.cFileName, -1, inner + used,
                            static_cast<int>(size - used - 1), nullptr, &replaced) == 0 ||
        replaced) {
      messages::warn("pattern not applied in folder: ", paths::forMessage(data.cFileName));
    } else {
      strcat(inner, "\\");
      if (matches(inner, pattern)) done = add(list, inner, pattern);
      done = done && addSubfolders(list, inner, pattern, depth + 1);
    }
    qevFree(inner);
  } while (done && FindNextFileW(scan.get(), &data));
  return done;
}

}  // namespace

bool collect(int count, char** names, bool recurse, List& list) {
  for (int at = 0; at < count; ++at) {
    const char* const name = names != nullptr ? names[at] : nullptr;
    if (name == nullptr || name[0] == '\0') continue;
    if (!add(list, strcmp(name, "-") == 0 || name[0] == '@' ? ".\\" : "", name)) return false;
    const char* const pattern = filePart(name);
    if (!recurse || !selectsByName(pattern)) continue;
    const size_t length = static_cast<size_t>(pattern - name);
    char* const folder = static_cast<char*>(qevMalloc(length + 1));
    if (folder == nullptr) return false;
    memcpy(folder, name, length);
    folder[length] = '\0';
    const bool plain = strpbrk(folder, "*?") == nullptr;
    const bool done = !plain || addSubfolders(list, folder, pattern, 0);
    qevFree(folder);
    if (!done) return false;
  }
  return true;
}

}  // namespace qev::engine::names
