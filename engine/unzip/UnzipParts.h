// The parts of the unzip engine that serve one run of the unzip sources, and the order in which a run uses them.
//
//   memory, messages, answers, archive, places, output   begin() in this order, end() in reverse
//   state                                                 restore() before each run
//   qevRunSources()                                       calls the sources, and comes back whatever they do
//
// A part's end() undoes everything that the run left in it. No function here throws, and none that calls back into the
// sources holds anything to destroy (see common/Engine.h).
#pragma once

#include <windows.h>

#include <cstddef>

#include "EngineSources.h"
#include "Vanto6.h"
#include "common/Engine.h"

namespace qev::engine {

constexpr size_t longestPath = 32767;  // characters, the system's limit

// A size for the host: 4294967295 stands for that and more.
inline unsigned long bounded(unsigned long long size) {
  return size < 0xFFFFFFFFu ? static_cast<unsigned long>(size) : 0xFFFFFFFFu;
}

namespace messages {

// Prints "error:  NAME:  REASON" or "warning:  NAME:  REASON" on a line of its own; `name` is UTF-8.
void report(const char* kind, const char* name, const char* reason);

// Likewise, with the system's words for an error of its own behind the reason.
void reportError(const char* name, const char* reason, DWORD error);

}  // namespace messages

// The code of a run, beside that of the sources.
namespace outcome {

void begin();
void raise(int code);

// The gravest of `code` and what was raised.
int gravest(int code);

}  // namespace outcome

namespace answers {

// Takes the callbacks of the run.
void begin(const USERFUNCTION& functions);
void end();

// An entry has been restored or tested: the service callback hears of it before the next one, or in the end.
void restored(const char* name, unsigned long long size);

}  // namespace answers

namespace names {

// A text of the ANSI code page as UTF-8, in the memory of the run; null if there is none.
char* utf8FromAnsi(const char* text);

// A UTF-8 text in the ANSI code page; what this cannot express becomes "?". Writes at most `size` bytes with the ending
// zero.
void ansiFromUtf8(const char* text, char* to, size_t size);

// Whether `length` bytes are UTF-8.
bool isUtf8(const char* text, size_t length);

// A UTF-8 name as UTF-16; one that is not UTF-8 is taken for ANSI. Answers its length; 0 if it does not fit.
size_t wideFromName(const char* name, wchar_t* to, size_t size);

// The full path that a text of the ANSI code page names, with the prefix that makes the system take it as it is
// (\\?\). `to` has room for longestPath + 1 characters. Answers its length; 0 if it has none.
size_t fullPath(const char* text, wchar_t* to);

}  // namespace names

namespace archive {

// The archive's name as the sources know it, and its full path.
void begin(const char* name, const wchar_t* path);

// Closes it.
void end();

}  // namespace archive

namespace places {

// Sets the extraction folder: a full path by names::fullPath.
void begin(const wchar_t* folder);

// Forgets the places of the run.
void end();

// The place of the current entry.
const wchar_t* current();

// The name of the folder that it is in, with the last separator: the first characters of current().
size_t currentFolderLength();

}  // namespace places

namespace output {

// Nothing is open.
void begin();

// Closes what is open and deletes the file that has not found its place.
void end();

// Prints what is known of the last entry, if its line has still to be ended.
void reportLast();

}  // namespace output

namespace times {

// When an entry was last written: its UTC time (extra field 0x5455), else its DOS time, which is local. Answers false
// if it has neither.
bool ofEntry(const QevEntry& entry, FILETIME& written);

// Whether the time is known to the second only to an even one.
bool isCoarse(const QevEntry& entry);

}  // namespace times

}  // namespace qev::engine
