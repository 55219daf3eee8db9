/* What the unzip sources and the C++ parts of the engine know of each other. The sources' own headers are seen by
 * EngineSources.c and EnginePasswords.c alone, which stand between them. */
#ifndef QEV_ENGINE_SOURCES_H
#define QEV_ENGINE_SOURCES_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Called by the engine ---- */

/* What a run is to do; names are UTF-8, lists end with a null pointer. */
struct QevRequest {
  const char* archive;
  char** wanted; /* null: every entry */
  char** unwanted;
  int onlyNewer;
  int blanksToUnderscores;
  int quiet;
  int toPrint;
  int test;
  int list;
  int comment;
  int junkFolders;
  int overwrite;
  int convertLines;
  int ignoreCase;
};

struct QevTotals {
  unsigned long long packedSize;
  unsigned long long size;
  unsigned long factor; /* percent */
  unsigned long entries;
  unsigned short comment; /* bytes */
};

/* Runs the sources once and answers their code. `totals` receives what a listing adds up to. */
int qevRunSources(const struct QevRequest* request, struct QevTotals* totals);

/* ---- Called by EngineSources.c, on behalf of the sources ---- */

/* An entry, as its local header and the directory describe it. */
struct QevEntry {
  const char* name; /* UTF-8 */
  unsigned long long size;
  unsigned long checksum;
  unsigned long dosTime;
  const unsigned char* extra; /* its extra field */
  unsigned extraLength;
  unsigned attributes; /* qevAttributesOf() */
};

enum QevMapped {
  qevMappedFile,        /* a file, to be extracted */
  qevMappedFileChanged, /* likewise, under another name */
  qevMappedNewFolder,
  qevMappedNothing, /* nothing is left to do: the folder exists, or folders are not wanted */
  qevMappedNot      /* refused; the message has been printed */
};

/* Text for the print callback: UTF-8, or bytes of the entry (toPrint) as they are. */
void qevPrint(const char* text, size_t size, int onNewLine, int endLine);
void qevPrintRaw(const char* bytes, size_t size);

/* Raises the code of the run to at least `code`. */
void qevRaise(int code);

/* File attributes for the external ones of an entry; qevSpecial says that it is a link or a device. */
enum { qevSpecial = 0x40000000 };
unsigned qevAttributesOf(unsigned long external, int host, int hasUnixAttributes);

/* An entry has passed its test, but for its length: it says `size` bytes and has `yielded`. */
void qevTested(const char* name, unsigned long long size, unsigned long long yielded);

/* Between two entries: tells the service callback of the one before. Answers 0 if it ends the run. */
int qevNextEntry(void);

/* Finds the place of an entry below the extraction folder and makes the folders that lead there. */
struct QevName {
  const char* text; /* UTF-8 */
  int isCut;        /* the entry's name is longer */
  unsigned attributes;
  int isFolder; /* although no slash ends it */
  int junkFolders;
  int blanksToUnderscores;
  int isQuiet;
};
enum QevMapped qevMapName(const struct QevName* name);

/* Of the place found: whether a file is there (-1: none), and is as new as the entry (1) or older (0). */
int qevIsNewer(const struct QevEntry* entry);

/* The file of the place found: begun (0 if there is no memory; `size`: the bytes that it says it has), written and, if
 * length and checksum are right, put in its place. What fails is printed and raises the code of the run. */
int qevOpenOutput(unsigned long long size);
void qevWriteOutput(const void* data, size_t size);
void qevCloseOutput(const struct QevEntry* entry, unsigned long checksum, int convertedLines);

/* Counts bytes that the entry at offset `where` yields. */
enum QevYield {
  qevYieldGood,
  qevYieldTooMuch, /* more than the entry should have */
  qevYieldUnwanted /* the output has failed before */
};
enum QevYield qevCountOutput(const struct QevEntry* entry, long long where, size_t size, int showsProgress);

/* A folder whose time and attributes are set in the end: a record that holds them, and setting them. */
void* qevRememberFolder(const struct QevEntry* entry);
int qevFinishFolder(void* folder);

/* What the callbacks of the host answer. */
int qevAskReplace(const char* name);
int qevAskPassword(char* to, int size, const char* name);
void qevListEntry(unsigned long long size, unsigned long long packedSize, unsigned factor, unsigned month, unsigned day,
                  unsigned year, unsigned hour, unsigned minute, char check, const char* name, const char* method,
                  unsigned long checksum, char encrypted);

/* A text of the ANSI code page in UTF-8; `to` has room for three times its bytes and an ending zero. */
void qevAnsiToUtf8(char* to, const char* text);

/* A copy (the run's) of a name in UTF-8, if it is not UTF-8 already; else null. */
char* qevForeignToUtf8(const char* name, int isOem);

/* Size of the archive in bytes, if `path` is the archive and no folder; else -1. */
long long qevArchiveSize(const char* path);

/* A copy (the run's) of an entry's UTF-8 name; one that is not UTF-8 is taken for ANSI. */
char* qevCleanUtf8(const char* name);

/* A name for messages: control characters as "^A", cut to `size` bytes with the ending zero. */
char* qevPrintable(const char* name, char* to, size_t size);

/* Buffers of the sources of which the size is known: room from `to` on; 0 if it lies in none. */
size_t qevRoomAt(const char* to);

#ifdef __cplusplus
}
#endif

#endif
