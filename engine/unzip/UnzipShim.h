/* What stands between the unzip sources and the system.
 *
 * Every unzip source is compiled with this header included first. It includes the system headers that the sources use,
 * and then redefines, as macros, whatever they call that leaves something behind in the process (memory, handles,
 * files, environment) or that ends it, or that reads or changes names. The functions behind these names are in
 * EngineSources.c and in the C++ files beside it. The sources themselves stay as they were published and patched.
 */
#ifndef QEV_UNZIP_SHIM_H
#define QEV_UNZIP_SHIM_H

#include <windows.h>

#include <conio.h>
#include <ctype.h>
#include <direct.h>
#include <errno.h>
#include <fcntl.h>
#include <io.h>
#include <limits.h>
#include <memory.h>
#include <setjmp.h>
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

#include "EngineMemory.h"
#include "EngineRun.h"

/* A stream of the sources; none but the output is ever opened. */
typedef struct QevStream QevStream;

#ifdef __cplusplus
extern "C" {
#endif

/* The archive, which is the only file that the sources read. */
int qevOpenArchive(const char* path);
int qevReadArchive(int file, void* to, unsigned size);
__int64 qevSeekArchive(int file, __int64 offset, int origin);
int qevCloseArchive(int file);

/* Text of any length cut to what `to` has room for, where that is known. */
int qevSprintf(char* to, const char* format, ...) __attribute__((format(ms_printf, 2, 3)));

/* The local time of a UTC time by the rules of its year; null if it has none. */
struct tm* qevLocalTime(const time_t* time);

/* Names of entries. They are UTF-8 inside the sources. */
void qevNameToUtf8(char* name, int host, int hostVersion, int hasUnixAttributes, int isLocal);

/* Forms of a password, see EnginePasswords.h; `to` has room for three times its bytes and an ending zero. */
void qevPasswordToOem(char* to, const char* password);
void qevPasswordToUtf8(char* to, const char* password);

/* Restores, tests or prints the current entry, which `extract`, of the sources, does; answers its code. */
int qevExtractMember(int (*extract)(void));

#ifdef __cplusplus
}
#endif

#ifdef QEV_ENGINE_SOURCE /* only the unzip sources see the other names */

#undef PATH_MAX
#define PATH_MAX 66000 /* an entry's name has up to 65535 bytes */
#define Ext_ASCII_TO_Native(name, host, version, unixAttributes, local) \
  qevNameToUtf8(name, host, version, unixAttributes, local)

#ifdef QEV_MAKES_KEYS
#define malloc(size) qevMalloc(3 * (size)) /* for a password, which grows in UTF-8 */
#else
#define malloc(size) qevMalloc(size)
#endif
#define calloc(count, size) qevCalloc(count, size)
#define realloc(block, size) qevRealloc(block, size)
#define free(block) qevFree(block)

#define FILE QevStream
#undef stdin
#undef stdout
#undef stderr
#define stdin ((QevStream*)NULL)
#define stdout ((QevStream*)NULL)
#define stderr ((QevStream*)NULL)
#undef fileno
#undef putc
#define fileno(stream) 0
#define setmode(file, mode) 0
#define setbuf(stream, buffer) ((void)0)
#define isatty(file) 0
#define fopen(path, mode) ((QevStream*)NULL)
#define fgets(to, size, stream) strcpy(to, "n\n") /* the answer to whatever is asked */
#define fprintf(...) 0
#define printf(...) 0
#define putc(character, stream) 0
#define fflush(stream) 0
#define sprintf qevSprintf

#define open(path, flags) qevOpenArchive(path)
#define read(file, to, size) qevReadArchive(file, to, size)
#define close(file) qevCloseArchive(file)
#define _lseeki64(file, offset, origin) qevSeekArchive(file, offset, origin)

#define SetFileSize(stream, size) ((void)0)
#define unlink(path) (-1)
#define rename(from, to) (-1)
#define chmod(path, mode) (-1)

#define localtime(time) qevLocalTime(time)
#define putenv(setting) 0
#define getenv(name) ((char*)NULL)
#define exit(code) qevExit(code)
#define longjmp(point, code) qevExit(3) /* after a read error: PK_BADERR */

/* The password is tried as it is (ANSI), in the OEM code page, and in UTF-8. */
#undef AnsiToOem
#define AnsiToOem(password, to) qevPasswordToOem(to, password)
#define STR_TO_CP3(to, password) (qevPasswordToUtf8(to, password), to)

#endif /* QEV_ENGINE_SOURCE */

#endif
