// What the callbacks of the host are asked and told.
#include <cstring>

#include "UnzipParts.h"

namespace qev::engine {

namespace outcome {

namespace {
int raised = 0;
}

void begin() {
  raised = 0;
}

void raise(int code) {
  if (code > raised) raised = code;
}

int gravest(int code) {
  return code > raised ? code : raised;
}

}  // namespace outcome

namespace answers {

namespace {

constexpr size_t longestName = 32768;  // bytes of a name for a callback

USERFUNCTION callbacks{};
char shownName[longestName];
bool isDone = false;  // an entry is, and has not been told
char doneName[longestName];
unsigned long long doneSize = 0;

// A name as the callbacks get it: in the ANSI code page, control characters as "^A".
void show(const char* name, char* to) {
  static char printable[longestName];
  names::ansiFromUtf8(qevPrintable(name, printable, sizeof printable), to, longestName);
}

// Tells the service callback of the last entry. Answers false if it ends the run.
bool tellDone() {
  if (!isDone) return true;
  isDone = false;
  return callbacks.ServCallBk(doneName, bounded(doneSize)) == 0;
}

}  // namespace

void begin(const USERFUNCTION& functions) {
  callbacks = functions;
  isDone = false;
}

void end() {
  if (!tellDone()) outcome::raise(UZ_STOPPED);
  callbacks = USERFUNCTION{};
}

void restored(const char* name, unsigned long long size) {
  isDone = callbacks.ServCallBk != nullptr;
  if (!isDone) return;
  show(name, doneName);
  doneSize = size;
}

}  // namespace answers
}  // namespace qev::engine

using namespace qev::engine;
using namespace qev::engine::answers;

extern "C" {

void qevRaise(int code) {
  outcome::raise(code);
}

void qevTested(const char* name, unsigned long long size, unsigned long long yielded) {
  if (yielded == size) return restored(name, size);
  if (yielded > size) return;  // has been reported when it showed
  messages::report("error", name, "damaged: it is shorter than it says");
  outcome::raise(UZ_ERR);
}

int qevNextEntry() {
  output::reportLast();
  return tellDone() ? 1 : 0;
}

int qevAskReplace(const char* name) {
  if (callbacks.replace == nullptr) return UZ_REPLACE_NONE;
  show(name, shownName);
  const int answer = callbacks.replace(shownName);
  return answer >= UZ_REPLACE_YES && answer <= UZ_REPLACE_NONE ? answer : static_cast<int>(UZ_REPLACE_NO);
}

int qevAskPassword(char* to, int size, const char* name) {
  memset(to, 0, static_cast<size_t>(size));
  if (callbacks.password == nullptr) return 0;
  messages::startLine();
  show(name, shownName);
  const int answer = callbacks.password(to, size, "Enter password: ", shownName);
  to[size - 1] = '\0';
  return answer == 0 && to[0] != '\0';
}

void qevListEntry(unsigned long long size, unsigned long long packedSize, unsigned factor, unsigned month, unsigned day,
                  unsigned year, unsigned hour, unsigned minute, char check, const char* name, const char* method,
                  unsigned long checksum, char encrypted) {
  if (callbacks.SendApplicationMessage == nullptr) return;
  show(name, shownName);
  char methodName[16];
  strncpy(methodName, method, sizeof methodName - 1);
  methodName[sizeof methodName - 1] = '\0';
  // The sources take 12 bytes off the size of an encrypted entry, however small.
  if (encrypted == 'E' && packedSize > 0xFFFFFFFFFFFFFF00u) packedSize = 0;
  callbacks.SendApplicationMessage(bounded(size), bounded(packedSize), factor, month, day, year % 100, hour, minute,
                                   check, shownName, methodName, checksum, encrypted);
}
}
