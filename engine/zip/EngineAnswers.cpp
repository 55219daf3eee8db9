// The two questions that the sources ask: a password, and the archive's comment.
#include "ZipParts.h"

namespace qev::engine::answers {

namespace {

ZPCOMMENT commentCallback = nullptr;
ZPPASSWORD passwordCallback = nullptr;
const char* archiveName = nullptr;
char comment[ZP_COMMENT_BUFFER];
const char* commentAt = nullptr;  // null until asked

}  // namespace

void begin(ZPCOMMENT askComment) {
  commentCallback = askComment;
  commentAt = nullptr;
  memset(comment, 0, sizeof comment);
}

void password(ZPPASSWORD askPassword, const char* archive) {
  passwordCallback = askPassword;
  archiveName = archive;
}

// The next line of the comment; the sources take a line with a single dot for its end.
char* nextLine(char* to, int size) {
  if (size < 3) return nullptr;
  if (commentAt == nullptr) {
    if (commentCallback != nullptr) commentCallback(comment);
    comment[sizeof comment - 1] = '\0';
    commentAt = comment;
  }
  if (*commentAt == '\0') {
    strcpy(to, ".\n");
    return to;
  }
  const size_t room = static_cast<size_t>(size) - 2;
  const size_t length = strcspn(commentAt, "\r\n");
  const size_t part = length < room ? length : room;
  memcpy(to, commentAt, part);
  to[part] = '\n';
  to[part + 1] = '\0';
  commentAt += part;
  if (part == length) {
    if (*commentAt == '\r') ++commentAt;
    if (*commentAt == '\n') ++commentAt;
  }
  return to;
}

char* askPassword(const char* prompt, char* to, int size) {
  if (passwordCallback == nullptr || passwordCallback(to, size, prompt, archiveName) != 0) return nullptr;
  to[size - 1] = '\0';
  return to;
}

}  // namespace qev::engine::answers

using namespace qev::engine;

extern "C" {

char* qevFgets(char* to, int size, QevStream* stream) {
  return stream == &qevAnswers ? answers::nextLine(to, size) : nullptr;
}

// The sources' password prompt.
char* getp(const char* prompt, char* to, int size) {
  return answers::askPassword(prompt, to, size);
}
}
