/* Stands between the unzip sources and the engine: sets their options, and is the system that they run on. Compiled as
 * they are, with their headers. */
#include "EngineSources.h"

#include "EnginePasswords.h"
#include "windll/windll.h"

void* pG;

static int inData;     /* what is printed now is an entry's data */
static zusz_t yielded; /* bytes of the current entry so far */

/* Texts that the sources expect from their shell. */
ZCONST char CentSigMsg[] = "error:  expected central file header signature not found (file #%lu).\n";
ZCONST char EndSigMsg[] = "warning:  didn't find end-of-central-dir signature at end of central dir.\n";
ZCONST char SeekMsg[] = "error [%s]:  attempt to seek before beginning of zipfile\n%s";
ZCONST char FilenameNotMatched[] = "caution: filename not matched:  %s\n";
ZCONST char ExclFilenameNotMatched[] = "caution: excluded filename not matched:  %s\n";
ZCONST char ReportMsg[] = "  (the archive is damaged)\n";
ZCONST char Zipnfo[] = "zipinfo";

/* And a table: the lowest bits, by their number. */
ZCONST unsigned mask_bits[17] = {0x0000, 0x0001, 0x0003, 0x0007, 0x000f, 0x001f, 0x003f, 0x007f, 0x00ff,
                                 0x01ff, 0x03ff, 0x07ff, 0x0fff, 0x1fff, 0x3fff, 0x7fff, 0xffff};

/* ---- A run ---- */

static int WINAPI replace(char* name, unsigned size) {
  (void)size;
  return qevAskReplace(name);
}

static void WINAPI listEntry(unsigned long long size, unsigned long long packedSize, unsigned factor, unsigned month,
                             unsigned day, unsigned year, unsigned hour, unsigned minute, char check, const char* name,
                             const char* method, unsigned long crc, char encrypted) {
  (void)name; /* filtered for display */
  qevListEntry(size, packedSize, factor, month, day, year, hour, minute, check, G.filename, method, crc, encrypted);
}

static QevCallbacks callbacks;

static void setLists(const struct QevRequest* request) {
  static char* none[] = {NULL};
  G.pfnames = request->wanted != NULL ? request->wanted : (char**)fnames;
  G.pxnames = request->unwanted != NULL ? request->unwanted : none;
  G.filespecs = G.xfilespecs = 0;
  while (request->wanted != NULL && G.pfnames[G.filespecs] != NULL) ++G.filespecs;
  while (G.pxnames[G.xfilespecs] != NULL) ++G.xfilespecs;
  G.process_all_files = G.filespecs == 0 && G.xfilespecs == 0;
}

static int run(void* argument) {
  const struct QevRequest* const request = argument;
  globalsCtor();
  inData = 0;
  qevBeginPasswords();
  memset(&callbacks, 0, sizeof callbacks);
  callbacks.replace = replace;
  callbacks.SendApplicationMessage = listEntry;
  G.lpUserFunctions = &callbacks;
  G.wildzipfn = (char*)request->archive;
  setLists(request);
  uO.uflag = request->onlyNewer;
  uO.sflag = request->blanksToUnderscores;
  uO.qflag = request->quiet;
  uO.cflag = request->toPrint;
  uO.tflag = request->test;
  uO.vflag = request->list;
  uO.zflag = request->comment;
  uO.jflag = request->junkFolders;
  uO.overwrite_all = request->overwrite;
  uO.aflag = request->convertLines;
  uO.C_flag = request->ignoreCase;
  G.extract_flag = !request->list && !request->test && !request->toPrint;
  G.create_dirs = 1;
  return process_zipfiles();
}

int qevRunSources(const struct QevRequest* request, struct QevTotals* totals) {
  const int code = qevRun(run, (void*)request);
  totals->packedSize = callbacks.TotalSizeComp;
  totals->size = callbacks.TotalSize;
  totals->factor = callbacks.CompFactor;
  totals->entries = callbacks.NumMembers;
  totals->comment = callbacks.cchComment;
  return code;
}

/* ---- Messages ---- */

int UZ_EXP UzpMessagePrnt(zvoid* globals, uch* text, ulg size, int flags) {
  (void)globals;
  if (qevIsTrial() && G.incnt >= 0) return 0; /* below 0: the archive cannot be read, which ends the run */
  if (inData) {
    qevPrintRaw((const char*)text, size);
  } else if (!MSG_NO_WDLL(flags)) {
    qevPrint((const char*)text, size, MSG_LNEWLN(flags) != 0, MSG_TNEWLN(flags) != 0);
  }
  return 0;
}

int win_fprintf(void* globals, QevStream* stream, unsigned size, char* data) {
  (void)globals;
  if (stream == stdout) {
    qevPrint(data, size, 0, 0);
    return (int)size;
  }
  qevWriteOutput(data, size);
  return (int)size;
}

int UZ_EXP UzpInput(zvoid* globals, uch* text, int* size, int flags) {
  (void)globals, (void)text, (void)flags;
  *size = 0;
  return 0;
}

size_t qevRoomAt(const char* to) {
  const char* const first = (const char*)slide;
  return to >= first && to < first + WSIZE ? (size_t)(first + WSIZE - to) : 0;
}

/* ---- The archive ---- */

/* The archive is what the request says, without wildcards. The sources ask until there are no more, and may append
 * ".zip" to the name. */
char* do_wild(ZCONST char* name) {
  static char copy[3 * 32768 + 8];
  if (G.notfirstcall) {
    G.notfirstcall = FALSE;
    return NULL;
  }
  G.notfirstcall = TRUE;
  strncpy(copy, name, sizeof copy - 8);
  return copy;
}

int iswild(ZCONST char* name) {
  (void)name;
  return FALSE;
}

int zstat_win32(const char* path, z_stat* result) {
  const long long size = qevArchiveSize(path);
  if (size < 0) return -1;
  memset(result, 0, sizeof *result);
  result->st_mode = S_IFREG;
  result->st_size = size;
  return 0;
}

/* A field of another kind decides the length of data descriptors in the sources; here those of the usual length are
 * expected, and longer ones leave a gap that nobody minds. */
int qevSourceUnicodeData(ZCONST uch* field, unsigned length);

int getUnicodeData(ZCONST uch* field, unsigned length) {
  const int code = qevSourceUnicodeData(field, length);
  G.zip64 = FALSE;
  return code;
}

/* ---- Names, dates, attributes ---- */

char* utf8_to_local_string(ZCONST char* name, int escapeAll) {
  (void)escapeAll;
  return qevCleanUtf8(name);
}

void qevNameToUtf8(char* name, int host, int hostVersion, int hasUnixAttributes, int isLocal) {
  int isOem;
  char* clean;
  if (name != G.filename || G.pInfo->GPFIsUTF8) return;
  isOem = (host == FS_FAT_ &&
           !((isLocal || hasUnixAttributes) && (hostVersion == 25 || hostVersion == 26 || hostVersion == 40))) ||
          host == FS_HPFS_ || (host == FS_NTFS_ && hostVersion == 50);
  clean = qevForeignToUtf8(name, isOem);
  if (clean == NULL) return;
  strncpy(name, clean, FILNAMSIZ - 1);
  name[FILNAMSIZ - 1] = '\0';
  free(clean);
}

/* Called by a function of the sources that the one above replaces. */
char* wide_to_local_string(ZCONST zwchar* name, int escapeAll) {
  (void)name, (void)escapeAll;
  return NULL;
}

int dateformat(void) {
  return DF_MDY;
}

char dateseparator(void) {
  return '/';
}

int mapattr(void) {
  G.pInfo->file_attr = qevAttributesOf(G.crec.external_file_attributes, G.pInfo->hostnum, G.pInfo->HasUxAtt);
  return 0;
}

/* ---- Files ---- */

static struct QevEntry entryNow(void) {
  struct QevEntry entry;
  entry.name = G.filename;
  entry.size = G.lrec.ucsize;
  entry.checksum = G.lrec.crc32;
  entry.dosTime = G.lrec.last_mod_dos_datetime;
  entry.extra = G.extra_field;
  entry.extraLength = G.extra_field != NULL ? G.lrec.extra_field_length : 0;
  entry.attributes = G.pInfo->file_attr;
  return entry;
}

static int isFolder(void) {
  return (G.pInfo->file_attr & FILE_ATTRIBUTE_DIRECTORY) != 0 && G.lrec.ucsize == 0;
}

static void nextEntry(void) {
  if (!qevNextEntry()) qevExit(IZ_CTRLC);
}

/* A code above PK_WARN says that its data, or their checksum, are wrong. */
static void tellTested(int code) {
  const size_t length = strlen(G.filename);
  const char last = length > 0 ? G.filename[length - 1] : '/';
  if (code <= PK_WARN && !isFolder() && last != '/' && last != '\\') qevTested(G.filename, G.lrec.ucsize, yielded);
}

int qevExtractMember(int (*extract)(void)) {
  int code;
  qevFindPassword(extract);
  yielded = 0;
  code = extract();
  if (uO.tflag) tellTested(code);
  if (!G.extract_flag) nextEntry(); /* for those that are restored mapname does it */
  return code;
}

int mapname(int renamed) {
  struct QevName name;
  (void)renamed;
  nextEntry();
  if (G.pInfo->vollabel) return MPN_VOL_LABEL;
  name.text = G.filename;
  name.isCut = strlen(G.filename) >= FILNAMSIZ - 1;
  name.attributes = G.pInfo->file_attr;
  name.isFolder = isFolder();
  name.junkFolders = uO.jflag;
  name.blanksToUnderscores = uO.sflag;
  name.isQuiet = uO.qflag != 0;
  switch (qevMapName(&name)) {
    case qevMappedFile: return MPN_OK;
    case qevMappedFileChanged: return MPN_OK | PK_WARN;
    case qevMappedNewFolder: return MPN_CREATED_DIR;
    case qevMappedNothing: return MPN_INF_SKIP;
    default: return MPN_ERR_SKIP;
  }
}

int checkdir(char* path, int what) {
  (void)path, (void)what;
  return MPN_OK;
}

int check_for_newer(char* name) {
  const struct QevEntry entry = entryNow();
  (void)name;
  if (IS_OVERWRT_ALL && !uO.uflag) return DOES_NOT_EXIST;
  switch (qevIsNewer(&entry)) {
    case 0: return EXISTS_AND_OLDER;
    case 1: return EXISTS_AND_NEWER;
    default: return DOES_NOT_EXIST;
  }
}

int open_outfile(void) {
  static char output;
  G.outfile = (QevStream*)&output;
  return qevOpenOutput(G.lrec.ucsize) ? 0 : 1;
}

/* Of the sources, under another name. */
int qevSourceFlush(uch* data, ulg size, int unshrink);

int flush(uch* data, ulg size, int unshrink) {
  const struct QevEntry entry = entryNow();
  int code;
  if (qevIsTrial()) {
    if (qevCountTrial(size)) return qevSourceFlush(data, size, unshrink);
    G.disk_full = 1; /* as below */
    return PK_DISK;
  }
  yielded += size;
  switch (qevCountOutput(&entry, G.pInfo->offset, size, uO.qflag == 0 && !uO.cflag)) {
    case qevYieldGood: break;
    case qevYieldTooMuch:
      G.disk_full = 1; /* the way to end this entry, and have its checksum compared */
      return PK_DISK;
    default: return PK_DISK;
  }
  inData = uO.cflag;
  code = qevSourceFlush(data, size, unshrink);
  inData = 0;
  return code;
}

void close_outfile(void) {
  const struct QevEntry entry = entryNow();
  qevCloseOutput(&entry, G.crc32val, G.pInfo->textmode);
}

int defer_dir_attribs(direntry** result) {
  const struct QevEntry entry = entryNow();
  void* const folder = qevRememberFolder(&entry);
  *result = NULL;
  if (folder == NULL) return PK_MEM;
  *result = malloc(sizeof(direntry) + sizeof folder + strlen(G.filename) + 1);
  if (*result == NULL) return PK_MEM;
  memcpy((*result)->buf, &folder, sizeof folder);
  (*result)->fn = (*result)->buf + sizeof folder;
  strcpy((*result)->fn, G.filename);
  return PK_OK;
}

int set_direc_attribs(direntry* entry) {
  void* folder;
  memcpy(&folder, entry->buf, sizeof folder);
  return qevFinishFolder(folder) ? PK_OK : PK_WARN;
}
