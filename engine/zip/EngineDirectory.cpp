// The end of the archive: central directory and end record (APPNOTE 4.3.12, 4.3.16).
//
// The sources count the directory's bytes by adding up the lengths of the names in the ANSI code page, but write the
// names in UTF-8, which are longer: the size in their end record would be wrong for every name with an accent. Here the
// size is what has been written.
#include "ZipParts.h"

struct zlist;

extern "C" {
// Of the sources.
extern QevStream* y;     // the archive being written
extern int force_zip64;  // 1 makes entries Zip64 whatever their size, -1 leaves that to their size
int putcentral(zlist* entry);
int putend(unsigned __int64 count, unsigned __int64 size, unsigned __int64 offset, size_t commentLength, char* comment);
}

namespace {

__int64 directoryStart = 0;
__int64 directoryEnd = -1;  // where the next header is expected; anywhere else a directory begins

}  // namespace

namespace qev::engine::directory {

void begin() {
  directoryEnd = -1;
}

}  // namespace qev::engine::directory

extern "C" {

// In the place of the sources' putcentral: writes the header of an entry.
int qevPutcentral(zlist* entry) {
  const __int64 position = qevTell(y);
  if (position != directoryEnd) directoryStart = position;
  force_zip64 = -1;  // was for the last entry only
  const int code = putcentral(entry);
  directoryEnd = qevTell(y);
  return code;
}

// In the place of the sources' putend: writes the end record.
int qevPutend(unsigned __int64 count, unsigned __int64 size, unsigned __int64 offset, size_t commentLength,
              char* comment) {
  if (count > 0 && qevTell(y) == directoryEnd) {
    size = static_cast<unsigned __int64>(directoryEnd - directoryStart);
    offset = static_cast<unsigned __int64>(directoryStart);
  }
  return putend(count, size, offset, commentLength, comment);
}
}
