// Conversions and text building that the sources do in ways that are too slow, too small, or made for a console.
#include "ZipParts.h"

extern "C" {
extern char errbuf[];                       // the sources' buffer for error texts
extern const unsigned qevErrbufSize;        // its size
extern int unicode_escape_all;              // of the sources: write every foreign character as an escape
char* wchar_to_utf8_string(wchar_t* name);  // of the sources
char* wide_char_to_escape_string(unsigned long character);  // of the sources
}

using namespace qev::engine;

extern "C" {

// The sources' conversion from UTF-16 to the code page: what the code page lacks becomes "#Uxxxx".
char* wide_to_local_string(unsigned long* wide) {
  if (wide == nullptr) return nullptr;
  size_t length = 0;
  while (wide[length] != 0) ++length;
  auto* const text = static_cast<char*>(qevMalloc(length * 9 + 1));
  if (text == nullptr) return nullptr;
  char* to = text;
  for (size_t at = 0; at < length; ++at) {
    if (wide[at] < 0x80) {
      *to++ = static_cast<char>(wide[at]);
      continue;
    }
    const auto unit = static_cast<wchar_t>(wide[at]);
    BOOL replaced = FALSE;
    int size = 0;
    if (!unicode_escape_all && wide[at] <= 0xFFFF) {
      size = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, &unit, 1, to, 8, nullptr, &replaced);
    }
    if (size > 0 && !replaced) {
      to += size;
      continue;
    }
    char* const escape = wide_char_to_escape_string(wide[at]);
    const size_t escapeLength = strlen(escape);
    memcpy(to, escape, escapeLength < 9 ? escapeLength : 9);
    to += escapeLength < 9 ? escapeLength : 9;
    qevFree(escape);
  }
  *to = '\0';
  return text;
}

// In the place of the sources' conversion for the name that an entry is stored by: a name that is pure ASCII needs no
// second form. (The sources leave it out for new entries, but not for those that they update.)
char* qevUtf8OfForeign(wchar_t* name) {
  for (const wchar_t* at = name; at != nullptr && *at != 0; ++at) {
    if (*at > 0x7F) return wchar_to_utf8_string(name);
  }
  return nullptr;
}

// The sources' conversion for the console; messages here go to a window and stay in the ANSI code page.
char* local_to_oem_string(char* to, char* from) {
  if (to != from) strcpy(to, from);
  return to;
}

int qevSprintf(char* to, const char* format, ...) {
  const size_t room = to == errbuf ? qevErrbufSize : 1 << 16;
  va_list arguments;
  va_start(arguments, format);
  const int length = _vsnprintf(to, room, format, arguments);
  va_end(arguments);
  if (to == errbuf) to[room - 1] = '\0';
  return length >= 0 ? length : static_cast<int>(room - 1);
}

char* qevStrcat(char* to, const char* from) {
  const size_t used = strlen(to);
  const size_t size = strlen(from);
  if (to == errbuf && used + size >= qevErrbufSize) return to;
  memcpy(to + used, from, size + 1);
  return to;
}
}
