/* An entry of the archive: whole, or not at all. Compiled with the sources' own header. */
#include "zip.h"

/* The sources write the present length of a file over that of its entry before they know whether it can be read. */
struct Length {
  struct zlist far* entry;
  uzoff_t length;
};

static struct Length* lengths;
static size_t lengthCount;

/* In the place of the sources' readzipfile, which reads the directory of the archive that is there. */
int qevReadzipfile(void) {
  struct zlist far* entry;
  const int code = readzipfile();

  lengthCount = 0;
  lengths = code == ZE_OK ? qevMalloc((zcount + 1) * sizeof *lengths) : NULL;
  for (entry = zfiles; entry != NULL && lengths != NULL && lengthCount < zcount; entry = entry->nxt) {
    lengths[lengthCount].entry = entry;
    lengths[lengthCount++].length = entry->len;
  }
  return code == ZE_OK && lengths == NULL ? ZE_MEM : code;
}

static void restoreLength(struct zlist far* entry) {
  size_t at;
  for (at = 0; at < lengthCount; ++at) {
    if (lengths[at].entry == entry) entry->len = lengths[at].length;
  }
}

/* In the place of the sources' zipup, which takes a file that cannot be read any further for one that has ended. Its
 * entry is taken back, and the sources are told what they are told of a file that they cannot open; an older entry of
 * the file, in an archive that is updated, stays as it was. */
int qevZipup(struct zlist far* entry) {
  const struct zlist before = *entry;
  const __int64 start = qevTell(y);
  const uzoff_t written = tempzn;
  const uzoff_t writtenHere = bytes_this_split;
  char* const extra = qevMalloc(before.ext);
  char* const centralExtra = qevMalloc(before.cext);
  int code;

  if (extra == NULL || centralExtra == NULL) return ZE_MEM;
  memcpy(extra, before.extra, before.ext);
  memcpy(centralExtra, before.cextra, before.cext);
  qevEntryBegins();
  code = zipup(entry);
  if (!qevEntryEnds(entry->znamew) && code == ZE_OK) {
    qevTakeBack(y, start);
    tempzn = written;
    bytes_this_split = writtenHere;
    mesg_line_started = 1;
    code = ZE_OPEN;
  }
  if (code == ZE_OK) {
    qevFree(extra);
    qevFree(centralExtra);
  } else {
    *entry = before;
    entry->extra = extra;
    entry->cextra = centralExtra;
    restoreLength(entry);
  }
  return code;
}
