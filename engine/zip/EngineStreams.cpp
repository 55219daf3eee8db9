// The streams of the sources: files read and written through one large buffer each, the messages, and the answers.
//
// The sources write an entry's header, then its data, and then go back to write the header again with its sizes. While
// both places are in the buffer this costs no call of the system; a header that has left the buffer is written in place
// without disturbing it.
#include <new>

#include "ZipParts.h"

enum class StreamKind { file, messages, answers };

struct QevStream {
  StreamKind kind = StreamKind::file;
  HANDLE handle = INVALID_HANDLE_VALUE;
  unsigned char* buffer = nullptr;
  ULONGLONG bufferAt = 0;  // offset in the file of the buffer's first byte
  size_t bufferUsed = 0;   // bytes of the buffer that are valid
  bool dirty = false;      // these bytes are still to be written
  ULONGLONG position = 0;  // offset in the file of the next byte
  bool failed = false;
  bool atEnd = false;
  bool isArchiveProbe = false;
  bool endsHere = false;  // what lies behind the position when it is closed is no part of the file
  QevStream* next = nullptr;
};

QevStream qevMessages{StreamKind::messages};
QevStream qevAnswers{StreamKind::answers};

namespace qev::engine {

namespace messages {
int printFormatted(const char* pattern, va_list arguments);
void say(const char* text, size_t length);
}  // namespace messages

namespace streams {

namespace {

constexpr size_t bufferSize = 1 << 20;  // bytes
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

QevStream* open = nullptr;
bool writingArchive = false;

// The new archive, and the path that the sources know it by, "" before they have asked for one.
constinit NewFile archive;
constinit wchar_t archiveAlias[NewFile::kLongestPath + 1] = L"";

bool isNewArchive(const wchar_t* path) {
  return archiveAlias[0] != 0 && wcscmp(path, archiveAlias) == 0;
}

bool fail(QevStream* stream, DWORD error) {
  stream->failed = true;
  errno = errnoOf(error);
  return false;
}

bool writeAt(QevStream* stream, ULONGLONG offset, const void* data, size_t size) {
  const auto* from = static_cast<const unsigned char*>(data);
  while (size > 0) {
    OVERLAPPED at{};
    at.Offset = static_cast<DWORD>(offset);
    at.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD written = 0;
    if (!WriteFile(stream->handle, from, static_cast<DWORD>(size), &written, &at)) return fail(stream, GetLastError());
    if (written == 0) return fail(stream, ERROR_DISK_FULL);
    from += written;
    offset += written;
    size -= written;
  }
  return true;
}

bool flush(QevStream* stream) {
  if (!stream->dirty) return true;
  stream->dirty = false;
  const size_t size = stream->bufferUsed;
  stream->bufferUsed = 0;
  return writeAt(stream, stream->bufferAt, stream->buffer, size);
}

bool write(QevStream* stream, const unsigned char* from, size_t size) {
  if (stream->failed) return false;
  if (!stream->dirty) {
    stream->bufferAt = stream->position;
    stream->bufferUsed = 0;
    stream->dirty = true;
  }
  while (size > 0) {
    if (stream->position + size <= stream->bufferAt) {
      if (!writeAt(stream, stream->position, from, size)) return false;
      stream->position += size;
      return true;
    }
    const bool inside = stream->position >= stream->bufferAt &&
                        stream->position - stream->bufferAt <= stream->bufferUsed &&
                        stream->position - stream->bufferAt < bufferSize;
    if (!inside) {
      if (!flush(stream)) return false;
      stream->bufferAt = stream->position;
      stream->dirty = true;
    }
    const size_t at = static_cast<size_t>(stream->position - stream->bufferAt);
    const size_t part = size < bufferSize - at ? size : bufferSize - at;
    memcpy(stream->buffer + at, from, part);
    if (at + part > stream->bufferUsed) stream->bufferUsed = at + part;
    stream->position += part;
    from += part;
    size -= part;
  }
  return true;
}

// Makes the bytes at the position readable in the buffer; answers how many there are.
size_t fill(QevStream* stream) {
  if (stream->dirty && !flush(stream)) return 0;
  if (stream->position >= stream->bufferAt && stream->position - stream->bufferAt < stream->bufferUsed) {
    return stream->bufferUsed - static_cast<size_t>(stream->position - stream->bufferAt);
  }
  OVERLAPPED at{};
  at.Offset = static_cast<DWORD>(stream->position);
  at.OffsetHigh = static_cast<DWORD>(stream->position >> 32);
  DWORD got = 0;
  stream->bufferUsed = 0;
  if (!ReadFile(stream->handle, stream->buffer, bufferSize, &got, &at) && GetLastError() != ERROR_HANDLE_EOF) {
    fail(stream, GetLastError());
    return 0;
  }
  stream->bufferAt = stream->position;
  stream->bufferUsed = got;
  if (got == 0) stream->atEnd = true;
  return got;
}

struct Access {
  DWORD rights;
  DWORD disposition;
  DWORD flags;
  bool probe;
};

// How the sources' open modes translate. They open the archive for writing only to learn whether it can be written: an
// archive that exists is left as it is, and one that does not is gone again when it is closed.
Access accessFor(const char* mode, const wchar_t* path) {
  const bool update = strchr(mode, '+') != nullptr;
  if (mode[0] == 'r') return {GENERIC_READ | (update ? GENERIC_WRITE : 0u), OPEN_EXISTING, 0, false};
  if (!paths::isArchive(path)) return {GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, 0, false};
  if (GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES) return {GENERIC_WRITE, OPEN_EXISTING, 0, true};
  return {GENERIC_WRITE | DELETE, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, true};
}

// Cuts off what was written behind the position and taken back.
bool cutOff(QevStream* stream) {
  FILE_END_OF_FILE_INFO end;
  end.EndOfFile.QuadPart = static_cast<LONGLONG>(stream->position);
  if (SetFileInformationByHandle(stream->handle, FileEndOfFileInfo, &end, sizeof end)) return true;
  return fail(stream, GetLastError());
}

// The new archive stays open until it takes its place.
bool close(QevStream* stream) {
  if (stream->handle == INVALID_HANDLE_VALUE) return false;
  stream->failed = !flush(stream) || stream->failed;
  if (stream->endsHere && !stream->failed) cutOff(stream);
  if (stream->handle != archive.handle()) CloseHandle(stream->handle);
  stream->handle = INVALID_HANDLE_VALUE;
  return !stream->failed;
}

HANDLE openHandle(const wchar_t* path, const Access& access) {
  if (access.disposition == CREATE_ALWAYS && isNewArchive(path)) {
    const DWORD code = archive.create(path);
    SetLastError(code);
    if (code != ERROR_SUCCESS) return INVALID_HANDLE_VALUE;
    archive.deleteIfKilled();
    writingArchive = true;
    return archive.handle();
  }
  const DWORD sharing = access.rights == GENERIC_READ ? shareAll : FILE_SHARE_READ | FILE_SHARE_DELETE;
  return CreateFileW(path, access.rights, sharing, nullptr, access.disposition, FILE_ATTRIBUTE_NORMAL | access.flags,
                     nullptr);
}

}  // namespace

void begin() {
  patience::begin();
  open = nullptr;
  archiveAlias[0] = 0;
  writingArchive = false;
  qevMessages = QevStream{StreamKind::messages};
  qevAnswers = QevStream{StreamKind::answers};
}

void end() {
  for (QevStream* stream = open; stream != nullptr; stream = stream->next) {
    stream->dirty = stream->endsHere = false;
    close(stream);
  }
  open = nullptr;
  archive.discard();
  archiveAlias[0] = 0;
  writingArchive = false;
}

bool writing() {
  return writingArchive;
}

void expectArchive(const wchar_t* path) {
  wcsncpy(archiveAlias, path, NewFile::kLongestPath);
}

DWORD placeArchive(const wchar_t* place) {
  // A new archive in place of none can be made again; one that takes another's place cannot.
  const bool isDurable = GetFileAttributesW(place) != INVALID_FILE_ATTRIBUTES;
  return archive.isOpen() ? archive.commit(place, isDurable, patience::left()) : ERROR_FILE_NOT_FOUND;
}

bool dropArchive(const wchar_t* path) {
  if (!isNewArchive(path)) return false;
  archive.discard();
  return true;
}

// The system may let a privileged process write to a file that is marked read-only; an archive so marked is meant to
// stay.
bool isProtectedArchive(const wchar_t* path) {
  const DWORD attributes = GetFileAttributesW(path);
  return paths::isArchive(path) && attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

QevStream* openFile(const char* name, const char* mode) {
  const wchar_t* const path = paths::native(name);
  const Access access = accessFor(mode, path);
  if (access.rights != GENERIC_READ && isProtectedArchive(path)) {
    errno = EACCES;
    return nullptr;
  }
  void* const memory = qevMalloc(sizeof(QevStream));
  auto* const buffer = access.probe ? nullptr : static_cast<unsigned char*>(qevMalloc(bufferSize));
  if (memory == nullptr || (buffer == nullptr && !access.probe)) return nullptr;
  const HANDLE handle = openHandle(path, access);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    qevFree(buffer);
    qevFree(memory);
    errno = errnoOf(error);
    return nullptr;
  }
  auto* const stream = new (memory) QevStream;
  stream->handle = handle;
  stream->buffer = buffer;
  stream->isArchiveProbe = access.probe;
  stream->next = open;
  open = stream;
  return stream;
}

bool closeFile(QevStream* stream) {
  // A stream that is closed stays in the list: after an error the sources may close one twice.
  const bool whole = close(stream);
  qevFree(stream->buffer);
  stream->buffer = nullptr;
  return whole;
}

}  // namespace streams
}  // namespace qev::engine

using namespace qev::engine;

extern "C" {

QevStream* qevFopen(const char* path, const char* mode) {
  return streams::openFile(path, mode);
}

int qevFclose(QevStream* stream) {
  if (stream == nullptr || stream->kind != StreamKind::file) return 0;
  return streams::closeFile(stream) ? 0 : EOF;
}

size_t qevFwrite(const void* from, size_t size, size_t count, QevStream* stream) {
  if (stream->kind == StreamKind::messages) {
    messages::say(static_cast<const char*>(from), size * count);
    return count;
  }
  if (stream->buffer == nullptr || !streams::write(stream, static_cast<const unsigned char*>(from), size * count)) {
    return 0;
  }
  return count;
}

size_t qevFread(void* to, size_t size, size_t count, QevStream* stream) {
  if (stream->kind != StreamKind::file || stream->buffer == nullptr || size == 0) return 0;
  auto* at = static_cast<unsigned char*>(to);
  size_t left = size * count;
  while (left > 0) {
    const size_t available = streams::fill(stream);
    if (available == 0) break;
    const size_t part = left < available ? left : available;
    memcpy(at, stream->buffer + (stream->position - stream->bufferAt), part);
    stream->position += part;
    at += part;
    left -= part;
  }
  return (size * count - left) / size;
}

int qevGetc(QevStream* stream) {
  unsigned char character = 0;
  return qevFread(&character, 1, 1, stream) == 1 ? character : EOF;
}

int qevUngetc(int character, QevStream* stream) {
  if (character == EOF || stream->position == 0) return EOF;
  --stream->position;
  stream->atEnd = false;
  return character;
}

int qevPutc(int character, QevStream* stream) {
  const char text = static_cast<char>(character);
  if (stream->kind != StreamKind::messages) return qevFwrite(&text, 1, 1, stream) == 1 ? character : EOF;
  if (text == '.') {
    messages::writeDot();
  } else if (text != ' ') {  // the blank before the first dot comes with that dot, if there is one
    messages::write(&text, 1);
  }
  return character;
}

int qevFputs(const char* text, QevStream* stream) {
  return qevFwrite(text, 1, strlen(text), stream) == strlen(text) ? 0 : EOF;
}

int qevFprintf(QevStream* stream, const char* format, ...) {
  if (stream->kind != StreamKind::messages) return -1;  // the sources print to no other stream
  va_list arguments;
  va_start(arguments, format);
  const int length = messages::printFormatted(format, arguments);
  va_end(arguments);
  return length;
}

int qevPrintf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = messages::printFormatted(format, arguments);
  va_end(arguments);
  return length;
}

void qevPerror(const char* text) {
  qevPrintf("%s: %s\n", text, strerror(errno));
}

int qevFflush(QevStream*) {
  return 0;
}  // lines go out when they are complete, files when they are closed

int qevSeek(QevStream* stream, __int64 offset, int origin) {
  if (stream->kind != StreamKind::file || stream->handle == INVALID_HANDLE_VALUE) return -1;
  __int64 base = 0;
  if (origin == SEEK_CUR) base = static_cast<__int64>(stream->position);
  if (origin == SEEK_END) {
    LARGE_INTEGER size{};
    if (!streams::flush(stream) || !GetFileSizeEx(stream->handle, &size)) return -1;
    base = size.QuadPart;
  }
  if (base + offset < 0) return -1;
  stream->position = static_cast<ULONGLONG>(base + offset);
  stream->atEnd = false;
  return 0;
}

void qevTakeBack(QevStream* stream, __int64 position) {
  qevSeek(stream, position, SEEK_SET);
  stream->endsHere = true;
}

__int64 qevTell(QevStream* stream) {
  return static_cast<__int64>(stream->position);
}

int qevError(QevStream* stream) {
  return stream->failed;
}

int qevEndOfFile(QevStream* stream) {
  return stream->atEnd;
}

void qevClearError(QevStream* stream) {
  stream->failed = stream->atEnd = false;
}

// The sources' names for seeking in a stream of more than 2 GiB.
int zfseeko(QevStream* stream, __int64 offset, int origin) {
  return qevSeek(stream, offset, origin);
}

__int64 zftello(QevStream* stream) {
  return qevTell(stream);
}
}
