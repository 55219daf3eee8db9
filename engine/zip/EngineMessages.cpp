// What the zip engine has to say about its messages.
#include "ZipParts.h"

namespace qev::engine::messages {

// The sources announce here that they leave their temporary file behind, which this engine never does.
size_t finish(char* text, size_t length, bool) {
  constexpr char leftBehind[] = "\tzip warning: new zip file left as: ";
  constexpr size_t size = sizeof leftBehind - 1;
  return length > size && memcmp(text, leftBehind, size) == 0 ? 0 : length;
}

void warn(const char* text, const char* detail) {
  startLine();
  write("\tzip warning: ");
  write(text);
  write(detail);
  write("\n");
}

// Formatted text of the sources; a single dot is progress.
int printFormatted(const char* pattern, va_list arguments) {
  if (strcmp(pattern, ".") == 0) {
    writeDot();
    return 1;
  }
  return format(pattern, arguments);
}

}  // namespace qev::engine::messages
