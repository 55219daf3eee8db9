/* What stands between the zip sources and the system.
 *
 * Every zip source is compiled with this header included first. It includes the system headers that the sources use,
 * and then redefines, as macros, whatever they call that leaves something behind in the process (memory, handles,
 * files, console output, environment, signal handlers) or that ends it. The functions behind these names are in the
 * Engine*.cpp files beside this one. The sources themselves stay as they were published.
 */
#ifndef QEV_ZIP_SHIM_H
#define QEV_ZIP_SHIM_H

#include <windows.h>

#include <conio.h>
#include <ctype.h>
#include <direct.h>
#include <errno.h>
#include <fcntl.h>
#include <io.h>
#include <limits.h>
#include <locale.h>
#include <process.h>
#include <share.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/utime.h>
#include <time.h>
#include <wchar.h>

#include "common/EngineMemory.h"
#include "common/EngineRun.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A stream of the engine: an open file, the messages, or the answers that a callback gave. */
typedef struct QevStream QevStream;

extern QevStream qevMessages;
extern QevStream qevAnswers;

/* Streams. */
QevStream* qevFopen(const char* path, const char* mode);
int qevFclose(QevStream* stream);
size_t qevFread(void* to, size_t size, size_t count, QevStream* stream);
size_t qevFwrite(const void* from, size_t size, size_t count, QevStream* stream);
int qevGetc(QevStream* stream);
int qevUngetc(int character, QevStream* stream);
char* qevFgets(char* to, int size, QevStream* stream);
int qevPutc(int character, QevStream* stream);
int qevFputs(const char* text, QevStream* stream);
int qevFprintf(QevStream* stream, const char* format, ...) __attribute__((format(ms_printf, 2, 3)));
int qevPrintf(const char* format, ...) __attribute__((format(ms_printf, 1, 2)));
void qevPerror(const char* text);
int qevFflush(QevStream* stream);
int qevSeek(QevStream* stream, __int64 offset, int origin);
__int64 qevTell(QevStream* stream);
int qevError(QevStream* stream);
int qevEndOfFile(QevStream* stream);
void qevClearError(QevStream* stream);

/* What was written behind `position` is no part of the file: writing goes on there, and the file ends where it stands
 * when it is closed. */
void qevTakeBack(QevStream* stream, __int64 position);

/* Files to be archived. */
int qevOpenInput(const char* path);
int qevOpenInputW(const wchar_t* path);
int qevRead(int file, void* to, unsigned size);
int qevClose(int file);
HANDLE qevFindFirst(const wchar_t* pattern, WIN32_FIND_DATAW* data);
BOOL qevFindNext(HANDLE scan, WIN32_FIND_DATAW* data);
BOOL qevFindClose(HANDLE scan);
DWORD qevAttributes(const wchar_t* path);
BOOL qevSetAttributes(const wchar_t* path, DWORD attributes);
int qevStat(const char* path, struct _stati64* result);
int qevStatW(const wchar_t* path, struct _stati64* result);
BOOL qevVolume(const char* root, char* label, DWORD labelSize, DWORD* longestName, DWORD* flags);
BOOL qevVolumeW(const wchar_t* root, DWORD* longestName, DWORD* flags);
int qevUnlink(const char* path);
int qevRename(const char* from, const char* to);
int qevRmdir(const char* path);
int qevUtime(const char* path, const struct utimbuf* times);
char* qevMktemp(char* name);
unsigned long qevCompressMemory(char* to, unsigned long toSize, char* from, unsigned long fromSize);

/* Around the archiving of one entry. The second answers 1, or 0, with the reason in errno, if a part of its file could
 * not be read; `name` is for messages, and may be null. */
void qevEntryBegins(void);
int qevEntryEnds(const wchar_t* name);

/* Texts. Every narrow text of the sources is UTF-8: see EngineTexts.h. `errbuf` is the sources' buffer for error texts;
 * what does not fit is cut. */
int qevSprintf(char* to, const char* format, ...) __attribute__((format(ms_printf, 2, 3)));
char* qevStrcat(char* to, const char* from);
int qevWiden(const char* text, wchar_t* to, int room);

#ifdef __cplusplus
}
#endif

#ifdef QEV_ENGINE_SOURCE /* only the zip sources see the other names */

#define malloc(size) qevMalloc(size)
#define calloc(count, size) qevCalloc(count, size)
#define realloc(block, size) qevRealloc(block, size)
#define free(block) qevFree(block)
#define strdup(text) qevStrdup(text)
#define _strdup(text) qevStrdup(text)

#define FILE QevStream
#undef stdin
#undef stdout
#undef stderr
#define stdin (&qevAnswers)
#define stdout (&qevMessages)
#define stderr (&qevMessages)
#undef getc
#undef putc
#undef ferror
#undef feof
#undef fileno
#define fopen(path, mode) qevFopen(path, mode)
#define fdopen(file, mode) ((QevStream*)NULL)
#define fclose(stream) qevFclose(stream)
#define fread(to, size, count, stream) qevFread(to, size, count, stream)
#define fwrite(from, size, count, stream) qevFwrite(from, size, count, stream)
#define getc(stream) qevGetc(stream)
#define ungetc(character, stream) qevUngetc(character, stream)
#define rewind(stream) ((void)qevSeek(stream, 0, SEEK_SET))
#define fgets(to, size, stream) qevFgets(to, size, stream)
#define putc(character, stream) qevPutc(character, stream)
#define fputc(character, stream) qevPutc(character, stream)
#define putchar(character) qevPutc(character, &qevMessages)
#define fputs(text, stream) qevFputs(text, stream)
#define puts(text) qevFprintf(&qevMessages, "%s\n", text)
#define fprintf qevFprintf
#define printf qevPrintf
#define perror(text) qevPerror(text)
#define fflush(stream) qevFflush(stream)
#define setvbuf(stream, buffer, kind, size) ((void)0)
#define setbuf(stream, buffer) ((void)0)
#define fseek(stream, offset, origin) qevSeek(stream, offset, origin)
#define ftell(stream) ((long)qevTell(stream))
#define ferror(stream) qevError(stream)
#define feof(stream) qevEndOfFile(stream)
#define clearerr(stream) qevClearError(stream)
#define fileno(stream) 0
#define isatty(file) 0
#define setmode(file, mode) 0
#define _get_osfhandle(file) 0
#define GetFileType(handle) FILE_TYPE_DISK /* every stream that is asked about is a file on disk */

#define _sopen(path, flags, sharing) qevOpenInput(path)
#define _wsopen(path, flags, sharing) qevOpenInputW(path)
#define read(file, to, size) qevRead(file, to, size)
#define close(file) qevClose(file)

#undef FindFirstFile
#define FindFirstFile(pattern, data) INVALID_HANDLE_VALUE /* folders are walked in UTF-16 only */
#define FindFirstFileW(pattern, data) qevFindFirst(pattern, data)
#define FindNextFileW(scan, data) qevFindNext(scan, data)
#define FindClose(scan) qevFindClose(scan)
#define GetFileAttributesW(path) qevAttributes(path)
#define SetFileAttributesW(path, attributes) qevSetAttributes(path, attributes)
#undef GetVolumeInformation
#define GetVolumeInformation(root, label, size, serial, longest, flags, name, nameSize) \
  qevVolume(root, label, size, longest, flags)
#define GetVolumeInformationW(root, label, size, serial, longest, flags, name, nameSize) \
  qevVolumeW(root, longest, flags)

/* Where the run-time library's headers map one name to another, the macro is on the last name of the chain, so that the
 * structure of the same name keeps its own. */
#ifdef _WIN64
#define _stat64(path, result) qevStat(path, result)
#define _wstat64(path, result) qevStatW(path, result)
#define _fstat64(file, result) (-1)
#else
#define _stati64(path, result) qevStat(path, result)
#define _wstati64(path, result) qevStatW(path, result)
#define _fstati64(file, result) (-1)
#endif

#define unlink(path) qevUnlink(path)
#define rename(from, to) qevRename(from, to)
#define rmdir(path) qevRmdir(path)
#define chmod(path, mode) 0 /* the archive's attributes are those of a new file */
#define utime(path, times) qevUtime(path, times)
#define mktemp(name) qevMktemp(name)

#define MultiByteToWideChar(page, flags, text, length, to, room) qevWiden(text, to, room)
#undef OemToChar
#define OemToChar(from, to) ((from) == (to) ? TRUE : (strcpy(to, from), TRUE))
#define OemToCharA(from, to) OemToChar(from, to)
#define mblen(text, most) (*(text) != '\0') /* no byte of UTF-8 but itself is taken for "/" or ":" */
#define sprintf qevSprintf
#define strcat(to, from) qevStrcat(to, from)

#define exit(code) qevExit(code)
#define abort() qevExit(5)
#define signal(number, handler) ((void)0)
#define getenv(name) ((char*)NULL)
#define putenv(setting) 0
#define setlocale(category, name) ((char*)NULL)
#define system(command) (-1)
#undef popen
#undef pclose
#define _popen(command, mode) ((QevStream*)NULL)
#define _pclose(stream) (-1)
#define spawnlp(...) (-1)
#define getpid() ((int)GetCurrentProcessId())
#define _getpid() ((int)GetCurrentProcessId())

#endif /* QEV_ENGINE_SOURCE */

#endif
