/* An entry of the archive: whole, or not at all. Compiled with the sources' own header. */
#include "zip.h"

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
  }
  return code;
}
