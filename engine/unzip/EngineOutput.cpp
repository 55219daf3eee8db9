// The file of the current entry. It is unpacked into memory; what does not fit goes into a new file beside its place.
// Once length and checksum are right it takes its place.
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "UnzipParts.h"

namespace qev::engine::output {

namespace {

constexpr size_t bufferSize = 1 << 20;  // bytes
constexpr unsigned long long bytesPerDot = 1 << 20;
constexpr size_t longestReport = 65536;

unsigned char* buffer = nullptr;  // the run's memory
size_t used = 0;
bool isOpen = false;
unsigned long long declared = 0;  // bytes that the entry says it has

HANDLE file = INVALID_HANDLE_VALUE;  // the new file beside the place, once there is one
wchar_t temporary[longestPath + 1];  // its path
bool isFleeting = false;             // it is deleted when it is closed

const char* failure = nullptr;  // what could not be done, and why
DWORD failureError = 0;

// What the entry has yielded so far, and where in the archive it is.
long long countedEntry = -1;
unsigned long long counted = 0;
unsigned long long dots = 0;
bool isTooMuch = false;

// What is to be said of an entry that was damaged, once the sources have ended its line.
const char* damage = nullptr;
char damagedName[longestReport];

bool fail(const char* what, DWORD error) {
  if (failure == nullptr) {
    failure = what;
    failureError = error;
  }
  return false;
}

bool writeAll(HANDLE handle, const unsigned char* from, size_t size) {
  while (size > 0) {
    DWORD written = 0;
    if (!WriteFile(handle, from, static_cast<DWORD>(size), &written, nullptr)) {
      return fail("cannot write", GetLastError());
    }
    if (written == 0) return fail("cannot write", ERROR_DISK_FULL);
    from += written;
    size -= written;
  }
  return true;
}

// Whether the new file is to be deleted when it is closed, by the system too if it ends this process. Where the file's
// system cannot do that, a killed run leaves the file behind. SetFileInformationByHandle.
bool deleteWhenClosed(bool isDeleted) {
  FILE_DISPOSITION_INFO disposition{isDeleted};
  return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition);
}

bool makeTemporary() {
  static DWORD serial = GetTickCount() ^ GetCurrentProcessId() << 16;  // others may restore here too
  const size_t folder = places::currentFolderLength();
  if (folder + 16 > longestPath) return fail("cannot create a file", ERROR_FILENAME_EXCED_RANGE);
  wmemcpy(temporary, places::current(), folder);
  for (int attempt = 0; attempt < 1000; ++attempt) {
    _snwprintf(temporary + folder, 17, L"~qev%08lx.tmp", static_cast<unsigned long>(++serial));
    file = CreateFileW(temporary, GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      isFleeting = deleteWhenClosed(true);
      return true;
    }
    if (GetLastError() != ERROR_FILE_EXISTS) break;
  }
  return fail("cannot create a file", GetLastError());
}

void dropTemporary() {
  if (file == INVALID_HANDLE_VALUE) return;
  CloseHandle(file);
  file = INVALID_HANDLE_VALUE;
  DeleteFileW(temporary);
}

// Reserves the room that a large entry says it needs: what cannot fit fails before the disk is full.
bool reserve() {
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(declared);
  const LARGE_INTEGER start{};
  if (end.QuadPart < 0) return fail("cannot write", ERROR_DISK_FULL);
  if (SetFilePointerEx(file, end, nullptr, FILE_BEGIN) && SetEndOfFile(file) &&
      SetFilePointerEx(file, start, nullptr, FILE_BEGIN)) {
    return true;
  }
  return fail("cannot write", GetLastError());
}

bool spill() {
  const bool done = writeAll(file, buffer, used);
  used = 0;
  return done;
}

// Time and attributes of the entry for an open file. A read-only file can still be renamed.
void dress(HANDLE handle, const QevEntry& entry) {
  FILE_BASIC_INFO basic{};
  FILETIME written;
  if (times::ofEntry(entry, written)) {
    basic.LastWriteTime.LowPart = written.dwLowDateTime;
    basic.LastWriteTime.HighPart = static_cast<LONG>(written.dwHighDateTime);
  }
  basic.FileAttributes = entry.attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                             FILE_ATTRIBUTE_ARCHIVE);
  if (!SetFileInformationByHandle(handle, FileBasicInfo, &basic, sizeof basic)) {
    messages::reportError(entry.name, "its time and attributes cannot be set", GetLastError());
    outcome::raise(UZ_WARN);
  }
}

// Writes a file that is whole in memory straight to its place, if nothing is there. Answers false if something is.
bool writeNew(const QevEntry& entry) {
  const HANDLE handle = CreateFileW(places::current(), GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                    nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_EXISTS || error == ERROR_ACCESS_DENIED) return false;
    fail("cannot create the file", error);
    return true;
  }
  const bool done = writeAll(handle, buffer, used);
  if (done) dress(handle, entry);
  CloseHandle(handle);
  if (!done) DeleteFileW(places::current());
  return true;
}

// Moves the new file to its place, over what is there.
void replace() {
  const wchar_t* const place = places::current();
  if (moveIntoPlace(temporary, place)) return;
  DWORD error = GetLastError();
  const DWORD attributes = GetFileAttributesW(place);
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  if (exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    fail("a folder is in the place of the file", error);
  } else if (exists && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    SetFileAttributesW(place, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    if (moveIntoPlace(temporary, place)) return;
    error = GetLastError();
    SetFileAttributesW(place, attributes);
  }
  DeleteFileW(temporary);
  fail(exists ? "cannot replace the file" : "cannot create the file", error);
}

void commit(const QevEntry& entry) {
  const bool isLarge = file != INVALID_HANDLE_VALUE;
  if (!isLarge && (writeNew(entry) || !makeTemporary())) return;
  if (!spill() || !SetEndOfFile(file)) {
    fail("cannot write", GetLastError());
    return dropTemporary();
  }
  dress(file, entry);
  if (isLarge) FlushFileBuffers(file);  // waiting for the disk after each of many small files would take minutes
  if (isFleeting && !deleteWhenClosed(false)) {
    fail("cannot write", GetLastError());
    return dropTemporary();
  }
  CloseHandle(file);
  file = INVALID_HANDLE_VALUE;
  replace();
}

void rememberDamage(const QevEntry& entry, const char* what) {
  damage = what;
  strncpy(damagedName, entry.name, sizeof damagedName - 1);
  outcome::raise(UZ_ERR);
}

}  // namespace

void begin() {
  buffer = nullptr;
  isOpen = false;
  file = INVALID_HANDLE_VALUE;
  failure = damage = nullptr;
  countedEntry = -1;
}

void end() {
  dropTemporary();
  reportLast();
}

void reportLast() {
  if (damage != nullptr) messages::report("error", damagedName, damage);
  damage = nullptr;
}

bool open(unsigned long long size) {
  if (buffer == nullptr) buffer = static_cast<unsigned char*>(qevMalloc(bufferSize));
  used = 0;
  countedEntry = -1;
  counted = 0;
  isTooMuch = false;
  declared = size;
  isOpen = buffer != nullptr;
  failure = nullptr;
  return isOpen;
}

void write(const unsigned char* data, size_t size) {
  if (failure != nullptr || !isOpen) return;
  while (size > 0) {
    if (used == bufferSize) {
      const bool isFirst = file == INVALID_HANDLE_VALUE;
      if (isFirst && !makeTemporary()) return;
      if ((isFirst && !reserve()) || !spill()) return dropTemporary();
    }
    const size_t part = size < bufferSize - used ? size : bufferSize - used;
    memcpy(buffer + used, data, part);
    used += part;
    data += part;
    size -= part;
  }
}

void close(const QevEntry& entry, unsigned long checksum, bool convertedLines) {
  if (!isOpen) return;
  isOpen = false;
  const bool isWhole = convertedLines || (counted == entry.size && !isTooMuch);
  if (failure == nullptr && isWhole && checksum == entry.checksum) {
    commit(entry);
    if (failure == nullptr) return answers::restored(entry.name, entry.size);
  }
  dropTemporary();
  if (failure != nullptr) {
    messages::reportError(entry.name, failure, failureError);
    outcome::raise(UZ_DISK);
  } else {
    rememberDamage(entry, isTooMuch  ? "not restored: it is longer than it says"
                          : !isWhole ? "not restored: it is shorter than it says"
                                     : "not restored: it is damaged");
  }
}

QevYield count(const QevEntry& entry, long long where, size_t size, bool showsProgress) {
  if (where != countedEntry) {
    countedEntry = where;
    counted = dots = 0;
    isTooMuch = false;
  }
  if (isOpen && failure != nullptr) return qevYieldUnwanted;
  counted += size;
  if (counted > entry.size) {
    if (!isTooMuch && !isOpen) rememberDamage(entry, "damaged: it is longer than it says");
    isTooMuch = true;
    return qevYieldTooMuch;
  }
  const bool isLong = entry.size > bytesPerDot;
  if (showsProgress && isLong && counted / bytesPerDot > dots) {
    ++dots;
    messages::writeDot();
  }
  return qevYieldGood;
}

int newness(const QevEntry& entry) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  FILETIME written;
  if (!GetFileAttributesExW(places::current(), GetFileExInfoStandard, &data)) return -1;
  if (!times::ofEntry(entry, written)) return 0;
  const auto ticks = [](const FILETIME& time) {
    return static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  };
  // The archive may have rounded the time up to the next second or two.
  const ULONGLONG slack = times::isCoarse(entry) ? 20000000 : 10000000;
  return ticks(data.ftLastWriteTime) + slack > ticks(written) ? 1 : 0;
}

}  // namespace qev::engine::output

using namespace qev::engine;

extern "C" {

int qevIsNewer(const QevEntry* entry) {
  return output::newness(*entry);
}

int qevOpenOutput(unsigned long long size) {
  return output::open(size);
}

void qevWriteOutput(const void* data, size_t size) {
  output::write(static_cast<const unsigned char*>(data), size);
}

void qevCloseOutput(const QevEntry* entry, unsigned long checksum, int convertedLines) {
  output::close(*entry, checksum, convertedLines != 0);
}

QevYield qevCountOutput(const QevEntry* entry, long long where, size_t size, int showsProgress) {
  return output::count(*entry, where, size, showsProgress != 0);
}
}
