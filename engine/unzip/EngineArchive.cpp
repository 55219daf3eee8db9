// The archive: read through one large buffer.
#include <cstring>

#include "UnzipParts.h"
#include "UnzipShim.h"

namespace qev::engine::archive {

namespace {

constexpr size_t bufferSize = 256 * 1024;  // bytes
constexpr int fileNumber = 3;              // the numbers below belong to the standard streams
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

const char* knownName = nullptr;
const wchar_t* path = nullptr;
File file;
unsigned char* buffer = nullptr;
ULONGLONG bufferAt = 0;  // offset in the archive of the buffer's first byte
size_t bufferUsed = 0;
ULONGLONG position = 0;  // offset of the next byte

bool isArchive(const char* name) {
  return strcmp(name, knownName) == 0;
}

// Makes the bytes at the position readable in the buffer; answers how many there are, -1 on error.
int fill() {
  if (position >= bufferAt && position - bufferAt < bufferUsed) {
    return static_cast<int>(bufferUsed - static_cast<size_t>(position - bufferAt));
  }
  OVERLAPPED at{};
  at.Offset = static_cast<DWORD>(position);
  at.OffsetHigh = static_cast<DWORD>(position >> 32);
  DWORD got = 0;
  bufferUsed = 0;
  if (!ReadFile(file.get(), buffer, bufferSize, &got, &at) && GetLastError() != ERROR_HANDLE_EOF) {
    errno = errnoOf(GetLastError());
    return -1;
  }
  bufferAt = position;
  bufferUsed = got;
  return static_cast<int>(got);
}

}  // namespace

void begin(const char* name, const wchar_t* archivePath) {
  knownName = name;
  path = archivePath;
  buffer = nullptr;
}

void end() {
  file.reset();
}

int open(const char* name) {
  if (!isArchive(name)) {
    errno = ENOENT;
    return -1;
  }
  if (buffer == nullptr) buffer = static_cast<unsigned char*>(qevMalloc(bufferSize));
  if (buffer == nullptr) return -1;
  file.reset(CreateFileW(path, GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    errno = errnoOf(GetLastError());
    return -1;
  }
  bufferUsed = 0;
  position = 0;
  return fileNumber;
}

int read(void* to, size_t size) {
  size_t done = 0;
  while (done < size) {
    const int available = fill();
    if (available < 0) return -1;
    if (available == 0) break;
    const size_t wanted = size - done;
    const size_t part = wanted < static_cast<size_t>(available) ? wanted : static_cast<size_t>(available);
    memcpy(static_cast<unsigned char*>(to) + done, buffer + (position - bufferAt), part);
    position += part;
    done += part;
  }
  return static_cast<int>(done);
}

__int64 seek(__int64 offset, int origin) {
  __int64 base = 0;
  if (origin == SEEK_CUR) base = static_cast<__int64>(position);
  if (origin == SEEK_END) {
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.get(), &size)) return -1;
    base = size.QuadPart;
  }
  if (base + offset < 0) return -1;
  position = static_cast<ULONGLONG>(base + offset);
  return base + offset;
}

}  // namespace qev::engine::archive

using namespace qev::engine;

extern "C" {

long long qevArchiveSize(const char* name) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!archive::isArchive(name) || !GetFileAttributesExW(archive::path, GetFileExInfoStandard, &data)) return -1;
  if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return -1;
  return static_cast<long long>(static_cast<ULONGLONG>(data.nFileSizeHigh) << 32 | data.nFileSizeLow);
}

int qevOpenArchive(const char* name) {
  return archive::open(name);
}

int qevReadArchive(int, void* to, unsigned size) {
  return archive::read(to, size);
}

__int64 qevSeekArchive(int, __int64 offset, int origin) {
  return archive::seek(offset, origin);
}

int qevCloseArchive(int) {
  archive::end();
  return 0;
}
}
