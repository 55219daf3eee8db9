// What both engines are made of: a heap, messages and a state of the sources' own for each run, and one run at a time.
//
// No function here throws. The sources leave a run from anywhere by qevExit, a jump over their frames, so no function
// that calls back into them holds anything to destroy.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>

#include "EngineHandle.h"
#include "EngineMemory.h"
#include "EngineRun.h"
#include "platform/NewFile.h"

namespace qev::engine {

namespace memory {

// Makes the heap of the run. Answers false if there is no memory.
bool begin();

// Frees whatever the run still holds.
void end();

}  // namespace memory

namespace messages {

// Most characters that one call of a print callback carries.
constexpr size_t longest = 4096;

using Print = int(WINAPI*)(char* message, unsigned long length);

// Sends the messages of the run to `print`, which may be null.
void begin(Print print);

// Sends what is left of an unfinished line.
void end();

// Adds text to the current line; each line is sent when it is complete, with CR LF for its end.
void write(const char* text, size_t length);
void write(const char* text);

// Adds formatted text, and answers its length. What is longer than any message of the sources is cut.
int format(const char* pattern, va_list arguments);

// One dot of a progress display: what the line has so far goes out before the first, and each goes out at once.
void writeDot();

// Ends the current line, if one has begun.
void startLine();

// Sends the unfinished line, so that the caller gets the processor now.
void send();

// Sends bytes that are no message, as they are.
void sendRaw(const char* bytes, size_t length);

// Of each engine: its last word on a text that is about to be sent. `whole`: it ends with CR LF. Answers the length of
// the text, which it may shorten in place; 0 keeps it back.
size_t finish(char* text, size_t length, bool whole);

}  // namespace messages

namespace state {

// Remembers the initial values of the sources' static data. Answers false if the image is not laid out as expected.
bool capture();

// Gives all static data of the sources their initial values.
void restore();

// Frees what capture() made.
void release();

}  // namespace state

namespace turn {

// Takes the engine for a run whose frame is at `frame`; answers false while another run has it. A run that was left by
// an exception of its host, past the engine's frames, still counts as one: it is over when the same thread comes back
// with a stack that no longer reaches its frame. `abandon` then ends it.
bool take(ULONG_PTR frame, void (*abandon)());

void giveBack();

bool isTaken();

// Calls `end` and gives the engine back however its block is left, an exception thrown by a callback included.
class Guard {
 public:
  explicit Guard(void (*end)()) : end_(end) {}
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() {
    end_();
    giveBack();
  }

 private:
  void (*end_)();
};

}  // namespace turn

// errno for a Windows error code.
int errnoOf(DWORD error);

namespace patience {

// Each run begins with what QevSetPatience has set.
void begin();

// What is left to this run of the time that it may wait for places that others hold.
Patience& left();

}  // namespace patience

}  // namespace qev::engine
