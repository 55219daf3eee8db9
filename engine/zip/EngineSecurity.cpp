// The security descriptors that the sources store beside each entry, on volumes that have them.
//
// They come from the handle that the file is read through. Most files of a folder have the same descriptor, so the
// compressed form of the last one is remembered.
#include "ZipParts.h"

#define IZ_PACKED __attribute__((packed))  // as in the sources' win32/osdep.h
extern "C" {
#include "win32/nt.h"
}

extern "C" unsigned long memcompress(char* to, unsigned long toSize, char* from, unsigned long fromSize);

namespace qev::engine::security {

namespace {

constexpr size_t longest = 4096;  // bytes of a descriptor worth remembering

char lastPlain[longest];
unsigned long lastPlainSize = 0;
char lastPacked[longest + 64];
unsigned long lastPackedSize = 0;

}  // namespace

void begin() {
  lastPlainSize = lastPackedSize = 0;
}

unsigned long compress(char* to, unsigned long toSize, char* from, unsigned long fromSize) {
  if (fromSize == lastPlainSize && lastPackedSize <= toSize && memcmp(from, lastPlain, fromSize) == 0) {
    memcpy(to, lastPacked, lastPackedSize);
    return lastPackedSize;
  }
  const unsigned long size = memcompress(to, toSize, from, fromSize);
  if (fromSize <= sizeof lastPlain && size <= sizeof lastPacked) {
    memcpy(lastPlain, from, fromSize);
    memcpy(lastPacked, to, size);
    lastPlainSize = fromSize;
    lastPackedSize = size;
  }
  return size;
}

}  // namespace qev::engine::security

using namespace qev::engine;

extern "C" {

unsigned long qevCompressMemory(char* to, unsigned long toSize, char* from, unsigned long fromSize) {
  return security::compress(to, toSize, from, fromSize);
}

// The sources' names for the two questions. They ask about the entry whose properties they have just asked for.
BOOL ZipGetVolumeCaps(char*, char*, PVOLUMECAPS caps) {
  memset(caps, 0, sizeof *caps);
  caps->bValid = TRUE;
  caps->dwFileSystemFlags = files::volumeFlagsOfCurrent();
  return TRUE;
}

BOOL SecurityGet(char*, PVOLUMECAPS, unsigned char* buffer, DWORD* size) {
  return files::securityOfCurrent(buffer, size);
}
}
