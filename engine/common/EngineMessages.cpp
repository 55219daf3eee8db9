// Everything that the sources print, line by line, to the print callback.
#include <cstdio>
#include <cstring>

#include "Engine.h"

namespace qev::engine::messages {

namespace {

Print printer = nullptr;
char line[longest + 1];  // one more for the zero byte that follows the message
size_t used = 0;
bool begun = false;  // part of the current line has been sent

void sendText(bool whole) {
  const size_t length = finish(line, used, whole);
  used = 0;
  begun = !whole;
  if (length == 0) return;
  line[length] = '\0';
  if (printer != nullptr) printer(line, static_cast<unsigned long>(length));
}

void newLine() {
  if (used + 2 > longest) send();
  line[used++] = '\r';
  line[used++] = '\n';
  sendText(true);
}

void add(const char* text, size_t length) {
  while (length > 0) {
    if (used == longest) send();
    const size_t room = longest - used;
    const size_t part = length < room ? length : room;
    memcpy(line + used, text, part);
    used += part;
    text += part;
    length -= part;
  }
}

}  // namespace

void begin(Print print) {
  printer = print;
  used = 0;
  begun = false;
}

void end() {
  send();
  printer = nullptr;
}

void send() {
  if (used > 0) sendText(false);
}

void sendRaw(const char* bytes, size_t length) {
  send();
  while (length > 0) {
    const size_t part = length < longest ? length : longest;
    memcpy(line, bytes, part);
    line[part] = '\0';
    if (printer != nullptr) printer(line, static_cast<unsigned long>(part));
    bytes += part;
    length -= part;
  }
}

void write(const char* text, size_t length) {
  while (length > 0) {
    const void* const end = memchr(text, '\n', length);
    const size_t part = end != nullptr ? static_cast<size_t>(static_cast<const char*>(end) - text) : length;
    add(text, part);
    if (end == nullptr) return;
    newLine();
    text += part + 1;
    length -= part + 1;
  }
}

void write(const char* text) {
  write(text, strlen(text));
}

void startLine() {
  if (used > 0 || begun) newLine();
}

void writeDot() {
  if (used > 0) {
    if (line[used - 1] != ' ') add(" ", 1);
    send();
  }
  add(".", 1);
  send();
}

int format(const char* pattern, va_list arguments) {
  char text[3 * longest];
  const int length = _vsnprintf(text, sizeof text - 1, pattern, arguments);
  text[sizeof text - 1] = '\0';
  const size_t size = length >= 0 ? static_cast<size_t>(length) : strlen(text);
  write(text, size);
  return static_cast<int>(size);
}

}  // namespace qev::engine::messages
