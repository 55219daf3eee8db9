// Conversions and text building that the sources do in ways that are too slow, too small, or made for a console.
#include "EngineTexts.h"

#include "ZipParts.h"

extern "C" {
extern char errbuf[];                       // the sources' buffer for error texts
extern const unsigned qevErrbufSize;        // its size
char* wchar_to_utf8_string(wchar_t* name);  // of the sources
}

namespace qev::engine::texts {

namespace {

constexpr unsigned long firstSupplementary = 0x10000;
constexpr size_t escapeLength = 6;  // "#Uxxxx"

bool isHighSurrogate(unsigned long unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(unsigned long unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

unsigned long combined(unsigned long high, unsigned long low) {
  return firstSupplementary + ((high - 0xD800) << 10) + (low - 0xDC00);
}

size_t putCharacter(unsigned long character, char* to) {
  if (character < 0x80) {
    to[0] = static_cast<char>(character);
    return 1;
  }
  const size_t size = character < 0x800 ? 2 : character < firstSupplementary ? 3 : 4;
  for (size_t at = size - 1; at > 0; --at) {
    to[at] = static_cast<char>(0x80 | (character & 0x3F));
    character >>= 6;
  }
  constexpr unsigned leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
  to[0] = static_cast<char>(leads[size] | character);
  return size;
}

// The character at `text`, and how many bytes it has; a byte that begins none stands for itself.
unsigned long characterAt(const char* text, size_t length, size_t& size) {
  const auto byte = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned lead = byte(0);
  size = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 && lead < 0xF0 ? 3 : lead >= 0xC2 && lead < 0xE0 ? 2 : 1;
  if (size > length) size = 1;
  if (size == 1) return lead;
  unsigned long character = lead & (0x7Fu >> size);
  for (size_t at = 1; at < size; ++at) {
    if ((byte(at) & 0xC0) != 0x80) {
      size = 1;
      return lead;
    }
    character = character << 6 | (byte(at) & 0x3Fu);
  }
  constexpr unsigned long smallest[] = {0, 0, 0x80, 0x800, firstSupplementary};
  if (character >= smallest[size] && character <= 0x10FFFF) return character;
  size = 1;
  return lead;
}

// The UTF-16 units of a character.
size_t unitsOf(unsigned long character, wchar_t (&units)[2]) {
  if (character < firstSupplementary) {
    units[0] = static_cast<wchar_t>(character);
    return 1;
  }
  units[0] = static_cast<wchar_t>(0xD800 + ((character - firstSupplementary) >> 10));
  units[1] = static_cast<wchar_t>(0xDC00 + ((character - firstSupplementary) & 0x3FF));
  return 2;
}

size_t unitToAnsi(wchar_t unit, char* to) {
  BOOL replaced = FALSE;
  const int size = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, &unit, 1, to, escapeLength, nullptr, &replaced);
  if (size > 0 && !replaced) return static_cast<size_t>(size);
  constexpr char digits[] = "0123456789abcdef";
  to[0] = '#';
  to[1] = 'U';
  for (size_t at = 0; at < 4; ++at) to[2 + at] = digits[unit >> (12 - 4 * at) & 0xF];
  return escapeLength;
}

// Whether the bytes of the sources are the caller's.
bool callerTakesUtf8() {
  return GetACP() == CP_UTF8;
}

}  // namespace

size_t narrow(const wchar_t* wide, char* to) {
  char* at = to;
  for (; *wide != 0; ++wide) {
    const bool isPair = isHighSurrogate(*wide) && isLowSurrogate(wide[1]);
    at += putCharacter(isPair ? combined(wide[0], wide[1]) : *wide, at);
    if (isPair) ++wide;
  }
  *at = '\0';
  return static_cast<size_t>(at - to);
}

size_t widen(const char* text, wchar_t* to, size_t room) {
  size_t left = strlen(text);
  size_t length = 0;
  while (left > 0) {
    size_t size = 0;
    wchar_t units[2];
    const size_t count = unitsOf(characterAt(text, left, size), units);
    if (length + count >= room) break;
    wmemcpy(to + length, units, count);
    length += count;
    text += size;
    left -= size;
  }
  to[length] = 0;
  return length;
}

size_t widened(const char* text) {
  size_t left = strlen(text);
  size_t length = 0;
  while (left > 0) {
    size_t size = 0;
    wchar_t units[2];
    length += unitsOf(characterAt(text, left, size), units);
    text += size;
    left -= size;
  }
  return length;
}

size_t toAnsi(const char* text, size_t length, char* to, size_t room, size_t& used) {
  const bool isSame = callerTakesUtf8();
  size_t written = 0;
  used = 0;
  while (used < length) {
    size_t size = 0;
    const unsigned long character = characterAt(text + used, length - used, size);
    const bool isForeign = size > 1;
    if (written + (isForeign ? 2 * escapeLength : 1) > room) break;
    if (!isForeign || isSame) {
      memcpy(to + written, text + used, size);
      written += size;
    } else {
      wchar_t units[2];
      const size_t count = unitsOf(character, units);
      for (size_t at = 0; at < count; ++at) written += unitToAnsi(units[at], to + written);
    }
    used += size;
  }
  return written;
}

}  // namespace qev::engine::texts

using namespace qev::engine;

namespace {

// The name with "#Uxxxx" in the place of each surrogate that stands alone; UTF-8 has no form for it.
wchar_t* withoutLoneSurrogates(const wchar_t* name) {
  auto* const whole = static_cast<wchar_t*>(qevMalloc((wcslen(name) * 6 + 1) * sizeof(wchar_t)));
  if (whole == nullptr) return nullptr;
  wchar_t* to = whole;
  for (; *name != 0; ++name) {
    const bool isSurrogate = texts::isHighSurrogate(*name) || texts::isLowSurrogate(*name);
    if (texts::isHighSurrogate(*name) && texts::isLowSurrogate(name[1])) {
      *to++ = *name++;
      *to++ = *name;
    } else if (isSurrogate) {
      to += swprintf(to, 7, L"#U%04x", *name);
    } else {
      *to++ = *name;
    }
  }
  *to = 0;
  return whole;
}

}  // namespace

extern "C" {

// What the sources mean by the code page: see EngineTexts.h. As MultiByteToWideChar, of a text that ends with a zero.
int qevWiden(const char* text, wchar_t* to, int room) {
  if (room == 0) return static_cast<int>(texts::widened(text) + 1);
  return static_cast<int>(texts::widen(text, to, static_cast<size_t>(room)) + 1);
}

// The sources' conversion from UTF-16, a unit in each element, or a whole character.
char* wide_to_local_string(unsigned long* wide) {
  if (wide == nullptr) return nullptr;
  size_t length = 0;
  while (wide[length] != 0) ++length;
  auto* const text = static_cast<char*>(qevMalloc(length * 4 + 1));
  if (text == nullptr) return nullptr;
  char* to = text;
  for (size_t at = 0; at < length; ++at) {
    const bool isPair = texts::isHighSurrogate(wide[at]) && texts::isLowSurrogate(wide[at + 1]);
    to += texts::putCharacter(isPair ? texts::combined(wide[at], wide[at + 1]) : wide[at], to);
    if (isPair) ++at;
  }
  *to = '\0';
  return text;
}

// In the place of the sources' conversion for the name that an entry is stored by: a name that is pure ASCII needs no
// second form. (The sources leave it out for new entries, but not for those that they update.)
char* qevUtf8OfForeign(wchar_t* name) {
  bool isAscii = true;
  for (const wchar_t* at = name; at != nullptr && *at != 0; ++at) isAscii = isAscii && *at <= 0x7F;
  if (isAscii) return nullptr;
  wchar_t* const storable = withoutLoneSurrogates(name);
  if (storable == nullptr) return nullptr;
  if (wcscmp(storable, name) != 0) {
    files::missed("name stored with escapes: ", name);
  }
  char* const text = wchar_to_utf8_string(storable);
  qevFree(storable);
  return text;
}

// The sources take "[" for the beginning of a pattern. In a name of a file it is a character like any other.
wchar_t* isshexpw(wchar_t* name) {
  return wcspbrk(name, L"*?");
}

// The sources' conversion for the console; messages here go to a window.
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
