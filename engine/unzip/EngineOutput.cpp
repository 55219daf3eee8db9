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

constinit NewFile file;                                // beside the place, once there is one
constinit wchar_t cleanFolder[longestPath + 1] = L"";  // the last that left-overs were removed from

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

// Answers whether `code` is none of an error.
bool done(DWORD code) {
  return code == ERROR_SUCCESS || fail("cannot write", code);
}

bool makeTemporary() {
  const wchar_t* const place = places::current();
  const size_t folder = places::currentFolderLength();
  if (wcsncmp(cleanFolder, place, folder) != 0 || cleanFolder[folder] != 0) {
    NewFile::removeLeftOvers(place);
    wmemcpy(cleanFolder, place, folder);
    cleanFolder[folder] = 0;
  }
  const DWORD code = file.create(place);
  return code == ERROR_SUCCESS || fail("cannot create a file", code);
}

// Reserves the room that a large entry says it needs: what cannot fit fails before the disk is full.
bool reserve() {
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(declared);
  const LARGE_INTEGER start{};
  if (end.QuadPart < 0) return fail("cannot write", ERROR_DISK_FULL);
  if (SetFilePointerEx(file.handle(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.handle()) &&
      SetFilePointerEx(file.handle(), start, nullptr, FILE_BEGIN)) {
    return true;
  }
  return fail("cannot write", GetLastError());
}

bool spill() {
  const size_t size = used;
  used = 0;
  return done(file.write(buffer, size));
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
  const DWORD code = file.createAt(places::current());
  if (code == ERROR_FILE_EXISTS || code == ERROR_ACCESS_DENIED || code == ERROR_DELETE_PENDING) return false;
  if (code != ERROR_SUCCESS) {
    fail("cannot create the file", code);
    return true;
  }
  if (!spill()) {
    file.discard();
    return true;
  }
  dress(file.handle(), entry);
  file.close();
  return true;
}

// Moves the new file to its place, over what is there. Waiting for the disk after each of many small files would take
// minutes: they are not.
void replace(bool isLarge) {
  const wchar_t* const place = places::current();
  const DWORD code = file.commit(place, isLarge, patience::left());
  if (code == ERROR_SUCCESS) return;
  const DWORD attributes = GetFileAttributesW(place);
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  const bool isFolder = exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  fail(isFolder ? "a folder is in the place of the file"
       : exists ? "cannot replace the file"
                : "cannot create the file",
       code);
}

void commit(const QevEntry& entry) {
  const bool isLarge = file.isOpen();
  if (!isLarge && (writeNew(entry) || !makeTemporary())) return;
  if (!spill() || !done(SetEndOfFile(file.handle()) ? ERROR_SUCCESS : GetLastError())) return file.discard();
  dress(file.handle(), entry);
  replace(isLarge);
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
  cleanFolder[0] = 0;
  patience::begin();
  failure = damage = nullptr;
  countedEntry = -1;
}

void end() {
  file.discard();
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
      const bool isFirst = !file.isOpen();
      if (isFirst && !makeTemporary()) return;
      if (isFirst) file.deleteIfKilled();
      if ((isFirst && !reserve()) || !spill()) return file.discard();
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
  file.discard();
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
