#include "SafeName.h"

#include <cwchar>

namespace qev::engine {

namespace {

constexpr wchar_t deviceNames[][8] = {L"CON", L"PRN", L"AUX", L"NUL", L"CLOCK$", L"CONIN$", L"CONOUT$"};
constexpr wchar_t portNames[][8] = {L"COM", L"LPT"};
constexpr wchar_t portDigits[] = L"0123456789\u00b9\u00b2\u00b3";

wchar_t capital(wchar_t character) {
  return character >= L'a' && character <= L'z' ? static_cast<wchar_t>(character - L'a' + L'A') : character;
}

// Whether `text` begins with `name`, in any letter case; its `length` is taken as given.
bool begins(const wchar_t* text, size_t length, const wchar_t* name) {
  const size_t size = wcslen(name);
  if (length < size) return false;
  for (size_t at = 0; at < size; ++at) {
    if (capital(text[at]) != name[at]) return false;
  }
  return true;
}

bool namesDevice(const wchar_t* part, size_t length) {
  size_t stem = 0;
  while (stem < length && part[stem] != L'.') ++stem;
  while (stem > 0 && part[stem - 1] == L' ') --stem;
  for (const auto& name : deviceNames) {
    if (stem == wcslen(name) && begins(part, stem, name)) return true;
  }
  for (const auto& name : portNames) {
    if (stem == 4 && begins(part, stem, name) && wcschr(portDigits, part[3]) != nullptr) return true;
  }
  return false;
}

bool isForbidden(wchar_t character) {
  return character < L' ' || wcschr(L"<>:\"|?*", character) != nullptr;
}

bool isCutOff(wchar_t character) {
  return character == L'.' || character == L' ';
}

// Whether the part is of dots and blanks only, with a dot among them.
bool isDots(const wchar_t* part, size_t length) {
  bool dot = false;
  for (size_t at = 0; at < length; ++at) {
    if (!isCutOff(part[at])) return false;
    dot = dot || part[at] == L'.';
  }
  return dot;
}

}  // namespace

Part makeSafe(wchar_t* part, size_t& length) {
  if (length == 0 || (length == 1 && part[0] == L'.')) return Part::nothing;
  if (isDots(part, length)) return Part::refused;
  bool changed = false;
  for (size_t at = 0; at < length; ++at) {
    const bool last = at + 1 == length;
    if (!isForbidden(part[at]) && !(last && isCutOff(part[at]))) continue;
    part[at] = L'_';
    changed = true;
  }
  if (namesDevice(part, length)) {
    wmemmove(part + 1, part, length);
    part[0] = L'_';
    ++length;
    changed = true;
  }
  return changed ? Part::changed : Part::kept;
}

}  // namespace qev::engine
