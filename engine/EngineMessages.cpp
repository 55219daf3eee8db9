// Everything that the sources print, line by line, to the print callback.
#include "Engine.h"

namespace qev::engine::messages {

namespace {

ZPPRINT printer = nullptr;
char line[ZP_MAXIMUM_MESSAGE + 1];  // one more for the zero byte that follows the message
size_t used = 0;

// The sources announce here that they leave their temporary file behind, which this engine never does.
constexpr char leftBehind[] = "\tzip warning: new zip file left as: ";

void newLine() {
  if (used + 2 > ZP_MAXIMUM_MESSAGE) send();
  line[used++] = '\r';
  line[used++] = '\n';
  if (used > sizeof leftBehind && memcmp(line, leftBehind, sizeof leftBehind - 1) == 0) used = 0;
  send();
}

void add(const char* text, size_t length) {
  while (length > 0) {
    if (used == ZP_MAXIMUM_MESSAGE) send();
    const size_t room = ZP_MAXIMUM_MESSAGE - used;
    const size_t part = length < room ? length : room;
    memcpy(line + used, text, part);
    used += part;
    text += part;
    length -= part;
  }
}

}  // namespace

void begin(ZPPRINT print) {
  printer = print;
  used = 0;
}

void end() {
  send();
  printer = nullptr;
}

void send() {
  if (used == 0) return;
  line[used] = '\0';
  const auto length = static_cast<unsigned long>(used);
  used = 0;
  if (printer != nullptr) printer(line, length);
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

// One dot of the sources' progress display: the file's name goes out before the first, and each goes out at once.
void writeDot() {
  if (used > 0) {
    if (line[used - 1] != ' ') add(" ", 1);
    send();
  }
  add(".", 1);
  send();
}

void warn(const char* text, const char* detail) {
  if (used > 0) newLine();
  constexpr char prefix[] = "\tzip warning: ";
  write(prefix, sizeof prefix - 1);
  write(text, strlen(text));
  write(detail, strlen(detail));
  newLine();
}

// Formatted text is built on the stack; what is longer than any message of the sources is cut.
int format(const char* pattern, va_list arguments) {
  char text[3 * ZP_MAXIMUM_MESSAGE];
  const int length = _vsnprintf(text, sizeof text - 1, pattern, arguments);
  text[sizeof text - 1] = '\0';
  const size_t size = length >= 0 ? static_cast<size_t>(length) : strlen(text);
  if (size == 1 && text[0] == '.') {
    writeDot();
  } else {
    write(text, size);
  }
  return static_cast<int>(size);
}

}  // namespace qev::engine::messages
