// The parts of the zip engine that serve one run of the zip sources, and the order in which a run uses them.
//
//   memory, messages, paths, streams, files   begin() in this order, end() in reverse
//   state                                      restore() before each run
//   qevRun()                                   calls the sources, and comes back whatever they do
//
// A part's end() undoes everything that the run left in it. No function here throws, and none that calls back into the
// sources holds anything to destroy (see common/Engine.h).
#pragma once

#include <windows.h>

#include <cstddef>

#include "Vanto5.h"
#include "ZipShim.h"
#include "common/Engine.h"

namespace qev::engine {

namespace messages {

// `quiet`: warn() prints nothing.
void begin(bool quiet);

// Prints "zip warning: <text><name>" on a line of its own.
void warn(const char* text, const wchar_t* name);

// Prints a text of the sources, which is UTF-8, in the ANSI code page.
void say(const char* text, size_t length);

}  // namespace messages

namespace answers {

// What stdin is to the sources: the archive comment, asked from `comment` when the sources read it.
void begin(ZPCOMMENT comment);

// What the password prompt is to the sources. `archive` is passed to the callback.
void password(ZPPASSWORD password, const char* archive);

}  // namespace answers

namespace paths {

// Sets the folder that relative names start from (a full path), and the full path of the archive.
void begin(const wchar_t* root, const wchar_t* archivePath);

// The full path that a name of the sources stands for, each part taken as it stands, but for "." and "..", and of any
// length: with the prefix \\?\. Valid until the next call.
const wchar_t* native(const wchar_t* name);
const wchar_t* native(const char* name);

// How much of a path given by native() names its drive or share, with the separator; 0 if it has neither.
size_t rootLength(const wchar_t* path);

// Whether a path given by native() is the archive's.
bool isArchive(const wchar_t* path);

}  // namespace paths

namespace streams {

void begin();

// Closes what is open and deletes the new archive, if it has not taken its place.
void end();

// Whether the sources have begun to write the new archive.
bool writing();

// The sources will write the new archive under this name, beside its place as a rule. What gone runs have left there
// goes.
void expectArchive(const wchar_t* path);

// Moves the new archive to its place. Answers a Win32 code.
DWORD placeArchive(const wchar_t* place);

// Deletes the new archive, if that is its name.
bool dropArchive(const wchar_t* path);

}  // namespace streams

namespace files {

// `privileges`: read security with the backup privileges of the process, where it has them.
void begin(bool privileges);

// Closes files and scans that are still open, and gives the privileges back.
void end();

// Prints "zip warning: <text><name>"; the run's code will tell that something is missing in the archive.
void missed(const char* text, const wchar_t* name);

// Whether something was missed although the sources went on.
bool incomplete();

// Whether a part of the file that is being archived could not be read, so that its entry will be left out; and whether
// the last entry was.
bool leavingOut();
bool leftOut();

// Of the entry that is being archived: the flags of its volume (GetVolumeInformation), and its security descriptor.
// `size`: bytes of the buffer in, of the descriptor out. Answers FALSE, with the reason in GetLastError, if it cannot
// be had.
DWORD volumeFlagsOfCurrent();
BOOL securityOfCurrent(void* buffer, DWORD* size);

}  // namespace files

namespace security {

// Forgets the remembered descriptor.
void begin();

}  // namespace security

namespace directory {

void begin();

}  // namespace directory

}  // namespace qev::engine

extern "C" {

// Of the sources: 0 when names are UTF-16, 1 when they are not, -1 to find out. They would find out from the attributes
// of the current folder, and be wrong in the root of a drive.
extern int no_win32_wide;

// The sources' main function.
int zipmain(int argc, char** argv);
}
