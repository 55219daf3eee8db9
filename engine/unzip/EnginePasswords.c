/* See EnginePasswords.h. Stands, as EngineSources.c does, between the unzip sources and the engine. */
#include "EnginePasswords.h"

#include "EngineSources.h"
#include "crypt.h"

enum { formCount = 3 };

/* Where the data of the current encrypted entry, its encryption header included, starts in the archive, and its length:
 * what is needed to read it again. */
static zoff_t dataAt;
static zoff_t dataSize;

static int isOneForm; /* the key is used as it is, and in no other form */
static int isTrial;
static zusz_t trialSize;

void qevBeginPasswords(void) {
  isOneForm = isTrial = 0;
}

int qevIsTrial(void) {
  return isTrial;
}

int qevCountTrial(ulg size) {
  trialSize += size;
  return trialSize <= G.lrec.ucsize;
}

int UZ_EXP UzpPassword(zvoid* globals, int* retries, char* to, int size, ZCONST char* archive, ZCONST char* name) {
  (void)globals, (void)archive;
  *retries = 0;
  G.nopwd = TRUE; /* the one question of this run */
  return qevAskPassword(to, size, name) ? IZ_PW_ENTERED : IZ_PW_CANCELALL;
}

void qevPasswordToOem(char* to, const char* password) {
  if (isOneForm) {
    strcpy(to, password);
  } else {
    CharToOemA(password, to);
  }
}

void qevPasswordToUtf8(char* to, const char* password) {
  if (isOneForm) {
    strcpy(to, password);
  } else {
    qevAnsiToUtf8(to, password);
  }
}

/* Of the sources, under another name: reads the header of an encrypted entry and tests the forms with it. */
int qevSourceDecrypt(ZCONST char* password);

int decrypt(ZCONST char* password) {
  int code;
  dataAt = G.cur_zipfile_bufstart + (G.inptr - G.inbuf);
  dataSize = G.csize;
  code = qevSourceDecrypt(password);
  if (code == PK_WARN) qevRaise(IZ_BADPWD);
  return code;
}

/* Goes back to the start of the entry's data. The sources decrypt it in their buffer, so that it has to be read again.
 */
static int rewindData(void) {
  const int skipped = (int)(dataAt % INBUFSIZ);
  G.incnt_leftover = 0;
  G.csize = dataSize;
  G.cur_zipfile_bufstart = qevSeekArchive(G.zipfd, dataAt - skipped, SEEK_SET);
  G.incnt = qevReadArchive(G.zipfd, G.inbuf, INBUFSIZ) - skipped;
  G.inptr = G.inbuf + skipped;
  if (G.incnt > 0) return 1;
  G.incnt = 0;
  return 0;
}

/* Starts the entry again with one form of the password. Answers whether it passes the test. */
static int startWith(const char* form) {
  int passes;
  strcpy(G.key, form);
  isOneForm = 1;
  passes = rewindData() && qevSourceDecrypt(NULL) == PK_COOL;
  isOneForm = 0;
  return passes;
}

/* Reads the entry, of which a form has just passed the test, and answers whether it is what it should be. */
static int isRight(int (*extract)(void)) {
  uch* const extra = G.extra_field;
  const int test = uO.tflag;
  const int toPrint = uO.cflag;
  uO.tflag = 1;
  uO.cflag = 0;
  G.extra_field = NULL; /* it is tested when it counts */
  isTrial = 1;
  trialSize = 0;
  extract();
  isTrial = 0;
  G.extra_field = extra;
  uO.cflag = toPrint;
  uO.tflag = test;
  G.disk_full = 0;
  return trialSize == G.lrec.ucsize && G.crc32val == G.lrec.crc32;
}

/* The forms of a password that pass the entry's test, each once; answers how many there are. */
static int passing(const char* password, char forms[formCount][3 * IZ_PWLEN + 1]) {
  int count = 0;
  int at;
  for (at = 0; at < formCount; ++at) {
    int known = 0;
    int other;
    strcpy(forms[count], password);
    if (at == 1) qevPasswordToOem(forms[count], password);
    if (at == 2) qevPasswordToUtf8(forms[count], password);
    for (other = 0; other < count; ++other) known = known || strcmp(forms[other], forms[count]) == 0;
    if (!known && startWith(forms[count])) ++count;
  }
  return count;
}

static int isAscii(const char* text) {
  while (*text > 0) ++text;
  return *text == '\0';
}

void qevFindPassword(int (*extract)(void)) {
  char password[IZ_PWLEN + 1];
  char forms[formCount][3 * IZ_PWLEN + 1];
  int count;
  int chosen = 0;
  if (!G.pInfo->encrypted || isAscii(G.key)) return;
  strcpy(password, G.key);
  count = passing(password, forms);
  while (chosen + 1 < count) { /* what the others are not, the last one is, or none */
    startWith(forms[chosen]);
    if (isRight(extract)) break;
    ++chosen;
  }
  if (count > 0) startWith(forms[chosen]);
  strcpy(G.key, password);
}
