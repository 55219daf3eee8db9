#include "EngineNames.h"

#include "EngineTexts.h"
#include "ZipParts.h"

namespace qev::engine::names {

namespace {

bool isSeparator(wchar_t character) {
  return character == L'/' || character == L'\\';
}

bool isPattern(const wchar_t* name) {
  return wcspbrk(name, L"*?") != nullptr;
}

bool add(List& list, const wchar_t* prefix, const wchar_t* text) {
  const size_t room = (wcslen(prefix) + wcslen(text)) * texts::bytesPerUnit;
  auto* const name = static_cast<Name*>(qevMalloc(sizeof(Name) + room));
  if (name == nullptr) return false;
  texts::narrow(text, name->text + texts::narrow(prefix, name->text));
  name->next = nullptr;
  (list.last != nullptr ? list.last->next : list.first) = name;
  list.last = name;
  ++list.count;
  return true;
}

// Cuts the dots and blanks off the end of the part that ends at `end`, unless there is a file of that very name.
void cutPart(wchar_t* name, wchar_t*& end) {
  wchar_t* start = end;
  while (start > name && !isSeparator(start[-1]) && start[-1] != L':') --start;
  wchar_t* kept = end;
  while (kept > start && (kept[-1] == L'.' || kept[-1] == L' ')) --kept;
  if (kept == end || kept == start) return;  // nothing to cut, or "." and ".."
  const wchar_t next = *end;
  *end = 0;
  const bool isThere = GetFileAttributesW(paths::native(name)) != INVALID_FILE_ATTRIBUTES;
  *end = next;
  if (isThere) return;
  wmemmove(kept, end, wcslen(end) + 1);
  end = kept;
}

// Each part in turn, up to the first that is a pattern. Behind \\?\ every part stands as it is.
void cutParts(wchar_t* name) {
  if (wcsncmp(name, L"\\\\?\\", 4) == 0) return;
  for (wchar_t* end = name; *end != 0; ++end) {
    while (*end != 0 && !isSeparator(*end)) ++end;
    const wchar_t* const pattern = wcspbrk(name, L"*?");
    if (pattern != nullptr && end > pattern) return;
    cutPart(name, end);
    if (*end == 0) return;
  }
}

wchar_t* copy(const wchar_t* text, size_t length, size_t room) {
  auto* const whole = static_cast<wchar_t*>(qevMalloc((length + room + 1) * sizeof(wchar_t)));
  if (whole == nullptr) return nullptr;
  wmemcpy(whole, text, length);
  whole[length] = 0;
  return whole;
}

const wchar_t* filePart(const wchar_t* name) {
  const wchar_t* part = name;
  for (const wchar_t* at = name; *at != 0; ++at) {
    if (isSeparator(*at) || *at == L':') part = at + 1;
  }
  return part;
}

bool selectsByName(const wchar_t* pattern) {
  return isPattern(pattern) && wcscmp(pattern, L"*") != 0 && wcscmp(pattern, L"*.*") != 0;
}

bool isDots(const wchar_t* name) {
  return wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0;
}

// Whether `folder` (with its separator) has a file that the pattern's last part matches.
bool matches(const wchar_t* folder, const wchar_t* pattern) {
  wchar_t* const whole = copy(folder, wcslen(folder), wcslen(pattern));
  if (whole == nullptr) return false;
  wcscat(whole, pattern);
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

struct Search {
  List& list;
  const wchar_t* pattern;
  bool hidden;
};

// Adds the pattern for each subfolder of `folder` (with its separator), at any depth.
bool addSubfolders(const Search& search, const wchar_t* folder, int depth) {
  constexpr int deepest = 256;
  if (depth > deepest) return true;
  wchar_t* const whole = copy(folder, wcslen(folder), 1);
  if (whole == nullptr) return false;
  wcscat(whole, L"*");
  WIN32_FIND_DATAW data;
  const HANDLE scan = qevFindFirst(whole, &data);
  qevFree(whole);
  if (scan == INVALID_HANDLE_VALUE) return true;
  bool done = true;
  do {
    const DWORD passedOver = search.hidden ? 0 : FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const bool isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!isFolder || isDots(data.cFileName) || (data.dwFileAttributes & passedOver) != 0) continue;
    wchar_t* const inner = copy(folder, wcslen(folder), wcslen(data.cFileName) + 1);
    done = inner != nullptr;
    if (!done) break;
    wcscat(wcscat(inner, data.cFileName), L"\\");
    if (matches(inner, search.pattern)) done = add(search.list, inner, search.pattern);
    done = done && addSubfolders(search, inner, depth + 1);
    qevFree(inner);
  } while (done && qevFindNext(scan, &data));
  qevFindClose(scan);
  return done;
}

bool addOne(const wchar_t* name, bool recurse, bool hidden, List& list) {
  const bool isSpecial = wcscmp(name, L"-") == 0 || name[0] == L'@';
  if (!add(list, isSpecial ? L".\\" : L"", name)) return false;
  const wchar_t* const pattern = filePart(name);
  if (!recurse || !selectsByName(pattern)) return true;
  wchar_t* const folder = copy(name, static_cast<size_t>(pattern - name), 0);
  if (folder == nullptr) return false;
  const bool done = isPattern(folder) || addSubfolders({list, pattern, hidden}, folder, 0);
  qevFree(folder);
  return done;
}

}  // namespace

bool collect(int count, const wchar_t* const* names, bool recurse, bool hidden, List& list) {
  for (int at = 0; at < count; ++at) {
    const wchar_t* const handedOver = names != nullptr ? names[at] : nullptr;
    if (handedOver == nullptr || handedOver[0] == 0) continue;
    wchar_t* const name = copy(handedOver, wcslen(handedOver), 0);
    if (name == nullptr) return false;
    cutParts(name);
    const bool done = addOne(name, recurse, hidden, list);
    qevFree(name);
    if (!done) return false;
  }
  return true;
}

}  // namespace qev::engine::names
