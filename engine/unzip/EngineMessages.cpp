// What the unzip engine has to say about its messages: they are UTF-8 inside, and ANSI outside.
#include <cstdio>
#include <cstring>

#include "UnzipParts.h"

namespace qev::engine::messages {

namespace {

void toAnsi(char* text, size_t& length) {
  bool foreign = false;
  for (size_t at = 0; at < length; ++at) foreign = foreign || static_cast<unsigned char>(text[at]) >= 0x80;
  if (!foreign || !names::isUtf8(text, length)) return;
  static wchar_t wide[longest];
  const int count = MultiByteToWideChar(CP_UTF8, 0, text, static_cast<int>(length), wide, longest);
  // No code page needs more bytes for a character than UTF-8 does.
  const int size = WideCharToMultiByte(CP_ACP, 0, wide, count, text, static_cast<int>(length), nullptr, nullptr);
  if (size > 0) length = static_cast<size_t>(size);
}

}  // namespace

// The sources pad names with blanks.
size_t finish(char* text, size_t length, bool whole) {
  const size_t ending = whole ? 2 : 0;
  size_t used = length - ending;
  while (used > 0 && text[used - 1] == ' ') --used;
  if (!whole && used < length) ++used;
  if (whole) memmove(text + used, "\r\n", ending);
  used += ending;
  toAnsi(text, used);
  return used;
}

void report(const char* kind, const char* name, const char* reason) {
  char shown[3 * longest / 4];
  startLine();
  write(kind);
  write(":  ");
  write(qevPrintable(name, shown, sizeof shown));
  write(":  ");
  write(reason);
  write("\n");
}

void reportError(const char* name, const char* reason, DWORD error) {
  char text[200];
  const char* const words = strerror(errnoOf(error));
  _snprintf(text, sizeof text - 1, "%s (%s, error %lu)", reason, words, error);
  text[sizeof text - 1] = '\0';
  report("error", name, text);
}

}  // namespace qev::engine::messages

using namespace qev::engine;

extern "C" {

void qevPrint(const char* text, size_t size, int onNewLine, int endLine) {
  if (onNewLine) messages::startLine();
  messages::write(text, size);
  if (endLine) messages::startLine();
}

void qevPrintRaw(const char* bytes, size_t size) {
  messages::sendRaw(bytes, size);
}

int qevSprintf(char* to, const char* format, ...) {
  const size_t known = qevRoomAt(to);
  const size_t room = known != 0 ? known : 1 << 16;
  va_list arguments;
  va_start(arguments, format);
  const int length = _vsnprintf(to, room, format, arguments);
  va_end(arguments);
  if (length >= 0 && static_cast<size_t>(length) < room) return length;
  to[room - 1] = '\0';
  return static_cast<int>(room - 1);
}
}
