// Names: UTF-8 in the sources, UTF-16 for the system, ANSI for the host.
#include <cstring>

#include "UnzipParts.h"
#include "UnzipShim.h"

namespace qev::engine::names {

namespace {

// A text of a code page as UTF-16, in the memory of the run; null if there is none.
wchar_t* wideOf(const char* text, UINT codePage) {
  const int length = MultiByteToWideChar(codePage, 0, text, -1, nullptr, 0);
  if (length <= 0) return nullptr;
  auto* const wide = static_cast<wchar_t*>(qevMalloc(static_cast<size_t>(length) * sizeof(wchar_t)));
  if (wide != nullptr) MultiByteToWideChar(codePage, 0, text, -1, wide, length);
  return wide;
}

char* utf8From(const char* text, UINT codePage) {
  wchar_t* const wide = wideOf(text, codePage);
  if (wide == nullptr) return nullptr;
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  auto* const result = static_cast<char*>(qevMalloc(static_cast<size_t>(size)));
  if (result != nullptr) WideCharToMultiByte(CP_UTF8, 0, wide, -1, result, size, nullptr, nullptr);
  qevFree(wide);
  return result;
}

}  // namespace

char* utf8FromAnsi(const char* text) {
  return utf8From(text, CP_ACP);
}

bool isUtf8(const char* text, size_t length) {
  return length == 0 ||
         MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, static_cast<int>(length), nullptr, 0) > 0;
}

void ansiFromUtf8(const char* text, char* to, size_t size) {
  wchar_t* const wide = wideOf(text, isUtf8(text, strlen(text)) ? CP_UTF8 : CP_ACP);
  to[0] = '\0';
  if (wide == nullptr) return;
  if (WideCharToMultiByte(CP_ACP, 0, wide, -1, to, static_cast<int>(size), nullptr, nullptr) == 0) to[size - 1] = '\0';
  qevFree(wide);
}

size_t wideFromName(const char* name, wchar_t* to, size_t size) {
  const UINT codePage = isUtf8(name, strlen(name)) ? CP_UTF8 : CP_ACP;
  const int length = MultiByteToWideChar(codePage, 0, name, -1, to, static_cast<int>(size));
  return length > 0 ? static_cast<size_t>(length - 1) : 0;
}

size_t fullPath(const char* text, wchar_t* to) {
  static wchar_t wide[longestPath + 1];
  static wchar_t full[longestPath + 16];
  if (MultiByteToWideChar(CP_ACP, 0, text, -1, wide, longestPath) == 0) return 0;
  const DWORD length = GetFullPathNameW(wide, longestPath, full, nullptr);
  if (length == 0 || length >= longestPath - 8) return 0;
  to[0] = 0;
  const wchar_t* rest = full;
  if (wcsncmp(full, L"\\\\?\\", 4) != 0 && wcsncmp(full, L"\\\\.\\", 4) != 0) {
    const bool isShare = full[0] == L'\\' && full[1] == L'\\';
    wcscpy(to, isShare ? L"\\\\?\\UNC\\" : L"\\\\?\\");
    if (isShare) rest += 2;
  }
  wcscat(to, rest);
  return wcslen(to);
}

}  // namespace qev::engine::names

using namespace qev::engine;

extern "C" {

char* qevForeignToUtf8(const char* name, int isOem) {
  if (names::isUtf8(name, strlen(name))) return nullptr;
  return names::utf8From(name, isOem ? CP_OEMCP : CP_ACP);
}

char* qevCleanUtf8(const char* name) {
  return names::utf8From(name, names::isUtf8(name, strlen(name)) ? CP_UTF8 : CP_ACP);
}

void qevAnsiToUtf8(char* to, const char* text) {
  char* const converted = names::utf8FromAnsi(text);
  const size_t room = 3 * strlen(text);
  strncpy(to, converted != nullptr ? converted : text, room);
  to[room] = '\0';
  qevFree(converted);
}

char* qevPrintable(const char* name, char* to, size_t size) {
  constexpr char cut[] = "...";
  size_t used = 0;
  for (const auto* at = reinterpret_cast<const unsigned char*>(name); *at != 0; ++at) {
    if (used + 2 + sizeof cut > size) {
      while (used > 0 && (static_cast<unsigned char>(to[used - 1]) & 0xC0) == 0x80) --used;
      if (used > 0 && static_cast<unsigned char>(to[used - 1]) >= 0xC0) --used;
      strcpy(to + used, cut);
      return to;
    }
    if (*at < ' ') {
      to[used++] = '^';
      to[used++] = static_cast<char>('@' + *at);
    } else {
      to[used++] = static_cast<char>(*at);
    }
  }
  to[used] = '\0';
  return to;
}
}
