// What the zip engine has to say about its messages: whatever comes from the sources leaves in the ANSI code page.
#include "EngineTexts.h"
#include "ZipParts.h"

extern "C" {
extern int mesg_line_started;  // of the sources: the line that they print has begun
}

namespace qev::engine::messages {

namespace {

bool isQuiet = false;

bool beginsWith(const char* text, size_t length, const char* beginning) {
  const size_t size = strlen(beginning);
  return length >= size && memcmp(text, beginning, size) == 0;
}

}  // namespace

void begin(bool quiet) {
  isQuiet = quiet;
}

// The sources announce here that they leave their temporary file behind, which this engine never does. And they know
// one reason only for an entry that they leave out.
size_t finish(char* text, size_t length, bool) {
  constexpr char unopened[] = "\tzip warning: could not open for reading: ";
  constexpr char unread[] = "\tzip warning: could not read: ";
  constexpr size_t shorter = sizeof unopened - sizeof unread;
  if (beginsWith(text, length, "\tzip warning: new zip file left as: ")) return 0;
  if (!files::leftOut() || !beginsWith(text, length, unopened)) return length;
  memcpy(text, unread, sizeof unread - 1);
  memmove(text + sizeof unread - 1, text + sizeof unopened - 1, length - (sizeof unopened - 1));
  return length - shorter;
}

void say(const char* text, size_t length) {
  char part[1024];
  while (length > 0) {
    size_t used = 0;
    const size_t size = texts::toAnsi(text, length, part, sizeof part, used);
    write(part, size);
    text += used;
    length -= used;
  }
}

void warn(const char* text, const wchar_t* name) {
  if (isQuiet) return;
  startLine();
  mesg_line_started = 0;
  write("\tzip warning: ");
  write(text);
  auto* const detail = static_cast<char*>(qevMalloc(wcslen(name) * texts::bytesPerUnit + 1));
  if (detail != nullptr) say(detail, texts::narrow(name, detail));
  qevFree(detail);
  write("\n");
}

// Formatted text of the sources; a single dot is progress. Of an entry that will be left out they say nothing more.
int printFormatted(const char* pattern, va_list arguments) {
  if (files::leavingOut()) return 0;
  if (strcmp(pattern, ".") == 0) {
    writeDot();
    return 1;
  }
  static char text[1 << 17];  // a path of any length, and words around it
  const int length = _vsnprintf(text, sizeof text - 1, pattern, arguments);
  text[sizeof text - 1] = '\0';
  say(text, length >= 0 ? static_cast<size_t>(length) : strlen(text));
  return length;
}

}  // namespace qev::engine::messages
