/* The interface of VANTO6.DLL, the unzip engine.
 *
 * VANTO6.DLL is Info-ZIP's unzip 6.0, with the security corrections that Debian publishes for it, behind the call
 * interface that programs of the unzip32 generation declare: one call, Wiz_SingleEntryUnzip, takes the options, the
 * callbacks and the names, and lists, tests or extracts one archive. Both the engine and its callers include this
 * header; it is plain C, and every record has the same layout in a C and a C++ translation unit.
 *
 * Calling convention. All functions and callbacks are WINAPI: stdcall on x86, the one convention of the platform on
 * x64. The export names are undecorated on both.
 *
 * Code page. Every text that goes in and every text that comes out through a callback is in the ANSI code page of the
 * process (CP_ACP). Inside, names are UTF-16, and so are those of the files that are written: what the code page cannot
 * express appears as "?" in messages and listings and is restored whole. Control characters of a name come out as "^A":
 * a name is one line wherever it is shown. The name of an entry is the one of its Unicode path field (0x7075) or UTF-8
 * if bit 11 of its flags says so (APPNOTE 4.6.9, 4.4.4); without either it is UTF-8 if it is well-formed as such, else
 * in the OEM code page if its maker is a DOS program, else in the ANSI one.
 *
 * Threads. The engine runs one archive at a time and calls the callbacks on its caller's thread. A call while another
 * is under way, from a callback or from another thread, is refused: it answers UZ_BUSY and neither prints nor touches
 * anything.
 *
 * Process state. A run changes nothing but the files it extracts: neither the current folder, nor the environment,
 * signal handlers, locale or standard streams stay altered. When the call returns, whatever the outcome, all memory,
 * handles and temporary files of the run are gone, and the next call starts from the same state as the first one.
 *
 * What is written, and where. Each file is complete or not there: it is unpacked in memory, or, from 1 MiB on, into a
 * new file of its folder ("qev...tmp"), and takes its place, and the place of a file of that name, in one step
 * once its length and its CRC-32 are right. If they are not, or the disk fills up, the file that was there stays as it
 * was, the messages say so, and the answer is not UZ_OK; the entries that follow are extracted all the same.
 *
 * Nothing is ever written outside the extraction folder. An entry is refused, with a message and a code of UZ_ERR or
 * more, if its name has a ".." part, if it is a link or a device, if its path is too long, if a file stands where a
 * folder should be or the reverse, if below the extraction folder its path leads through a link or mount point, or if
 * its path differs from that of an earlier entry in letter case only. Other names that the system cannot store, or that
 * it would take for something else, are restored under a name that it can, with a message and a code of UZ_WARN or
 * more: leading slashes go; characters below 32 and < > : " | ? * become "_"; so does a dot or blank at the end of a
 * part; and a part that names a device (CON, NUL, COM1.txt) gets a "_" in front. "\" separates parts as "/" does.
 * Archives whose entries overlap are given up as soon as that shows (UZ_BOMB), and an entry as soon as it yields more
 * than the size that it declares.
 */
#ifndef QEV_ENGINE_VANTO6_H
#define QEV_ENGINE_VANTO6_H

#include <stddef.h>
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Most characters that one call of the print callback carries. A longer message comes in several calls. */
#define UZ_MAXIMUM_MESSAGE 4096

/* Receives one message: `length` characters at `message`, followed by a zero byte. The answer is ignored.
 *
 * A message is one line, ended by CR LF, without blanks before its end:
 *   "  inflating: Datos/a.txt\r\n"        a packed entry was restored
 *   " extracting: Datos/b.txt\r\n"        a stored one
 *   "   creating: Datos/hueca/\r\n"       a folder that did not exist
 *   "error:  Datos/c.txt:  …\r\n"         it is not restored, and why; "warning:  …" where it is
 * The name is the entry's, as Wiz_SingleEntryUnzip lists it. While a file of more than one MiB is restored its line
 * comes in pieces, so that the caller knows the file and gets the processor about once per MiB written:
 * "  inflating: Datos/big.db ", then "." for each MiB, then "\r\n". A damaged file may have the reason on this
 * line, after blanks or the dots (" bad CRC 6faa2d8e  (should be 6faa2d8f)\r\n"), and has its "error:" line after it.
 */
typedef int(WINAPI* UZPRINT)(char* message, unsigned long length);

/* A sound. This engine makes none. */
typedef int(WINAPI* UZSOUND)(void);

/* Asks whether the existing file of an entry may be replaced; the answer is one of UZ_REPLACE_…. */
typedef int(WINAPI* UZREPLACE)(char* name);
enum {
  UZ_REPLACE_NO = 100,  /* keep this one */
  UZ_REPLACE_YES = 102, /* replace this one */
  UZ_REPLACE_ALL = 103, /* replace this one and all others */
  UZ_REPLACE_NONE = 104 /* keep this one and all others. Any other answer is UZ_REPLACE_NO */
};

/* Asks for the password, once in a run, at the first encrypted entry. Writes at most `size` bytes with the ending zero
 * to `buffer`, which is empty at the call, and answers 0. A buffer left empty, or any other answer, means that there is
 * none. `prompt` is "Enter password: ", `name` the entry's name. Entries that the password does not fit are skipped
 * with a message; the password is tried in the ANSI, the OEM code page and UTF-8. */
typedef int(WINAPI* UZPASSWORD)(char* buffer, int size, const char* prompt, const char* name);

/* Receives one entry of a listing. Of the sizes (bytes) 4294967295 stands for that and more; the factor is the saving
 * in percent; the year has two digits; `check` is a blank; `method` reads "Stored", "Defl:N", …; `crc` is the
 * CRC-32; `encrypted` is 'E' or a blank. Date and time are local: the entry's UTC time (extra field 0x5455) if it has
 * one, else its DOS time. The answer is ignored. */
typedef int(WINAPI* UZMESSAGE)(unsigned long size, unsigned long packedSize, unsigned factor, unsigned month,
                               unsigned day, unsigned year, unsigned hour, unsigned minute, char check, char* name,
                               char* method, unsigned long crc, char encrypted);

/* Called after each file that was restored, or that a test found whole, with its size (bytes, as above), in the order
 * of the archive. Not called for folders, for entries that go to the print callback, nor for those that are skipped,
 * refused or damaged: not of the length or checksum that they say, or with data that cannot be unpacked. Any answer but
 * 0 ends the run with UZ_STOPPED. */
typedef int(WINAPI* UZSERVICE)(const char* name, unsigned long size);

/* The callbacks, and what a listing fills in. Any callback may be null: messages then go nowhere, existing files are
 * kept, a password cannot be had. */
typedef struct USERFUNCTION {
  UZPRINT print;
  UZSOUND sound;
  UZREPLACE replace;
  UZPASSWORD password;
  UZMESSAGE SendApplicationMessage;
  UZSERVICE ServCallBk;
  unsigned long TotalSizeComp; /* packed bytes of all listed entries; 4294967295 stands for that and more */
  unsigned long TotalSize;     /* bytes of all listed entries, likewise */
  unsigned long CompFactor;    /* saving in percent */
  unsigned long NumMembers;    /* listed entries */
  unsigned long cchComment;    /* bytes of the archive's comment */
} USERFUNCTION;

/* The options: 15 flags of 32 bits (0 is off, anything else on, unless said otherwise), then two texts with the natural
 * alignment of the platform. */
typedef struct DCL {
  int ExtractOnlyNewer;  /* leave existing files that are as new as their entry, or newer */
  int SpaceToUnderscore; /* blanks in names become "_" */
  int PromptToOverwrite; /* no effect: the replace callback is asked unless noflag is set */
  int fQuiet;            /* 1: no line for each entry; 2: errors only */
  int ncflag;            /* extract to the print callback, byte by byte as it is, instead of to files */
  int ntflag;            /* test instead of extract: unpack, check, write nothing */
  int nvflag;            /* list instead of extract */
  int nUflag;            /* as ExtractOnlyNewer */
  int nzflag;            /* print the archive's comment, and do no more */
  int ndflag;            /* re-create the folders stored in the archive; 0: all files into the extraction folder */
  int noflag;            /* replace existing files without asking, read-only ones too */
  int naflag;            /* convert the ends of lines in entries that are marked as text */
  int nZIflag;           /* no effect: this engine has one kind of listing */
  int C_flag;            /* match the names of the lists without regard to letter case (of A to Z) */
  int fPrivilege;        /* no effect: files get the security of the folder that they are restored to */
  char* lpszZipFN;       /* path of the archive; relative to the current folder of the process */
  char* lpszExtractDir;  /* the extraction folder, made if it is missing; null or "" is the current folder */
} DCL;

/* What UzpVersion2 fills in. */
typedef struct UZPVERSION {
  unsigned char major;
  unsigned char minor;
  unsigned char patchlevel;
  unsigned char not_used;
} UZPVERSION;

typedef struct UZPVER {
  unsigned long structlen; /* in: the record's size, 64 */
  unsigned long flag;      /* bit 0: betalevel is set; bit 1: zlib_version is set */
  char betalevel[10];
  char date[20];
  char zlib_version[10];
  UZPVERSION unzip;
  UZPVERSION zipinfo;
  UZPVERSION os2dll;
  UZPVERSION windll;
} UZPVER;

#if defined(__cplusplus)
#define UZ_STATIC_ASSERT static_assert
#else
#define UZ_STATIC_ASSERT _Static_assert
#endif
UZ_STATIC_ASSERT(sizeof(int) == 4 && sizeof(unsigned long) == 4, "flags and sizes have 32 bits");
UZ_STATIC_ASSERT(offsetof(DCL, fQuiet) == 12, "3 flags precede fQuiet");
UZ_STATIC_ASSERT(offsetof(DCL, nvflag) == 24, "6 flags precede nvflag");
UZ_STATIC_ASSERT(offsetof(DCL, ndflag) == 36, "9 flags precede ndflag");
UZ_STATIC_ASSERT(offsetof(DCL, noflag) == 40, "10 flags precede noflag");
UZ_STATIC_ASSERT(offsetof(DCL, fPrivilege) == 56, "14 flags precede fPrivilege");
UZ_STATIC_ASSERT(offsetof(DCL, lpszZipFN) == (sizeof(char*) == 8 ? 64 : 60), "the texts are aligned to their size");
UZ_STATIC_ASSERT(offsetof(DCL, lpszExtractDir) == offsetof(DCL, lpszZipFN) + sizeof(char*), "the folder comes last");
UZ_STATIC_ASSERT(sizeof(DCL) == offsetof(DCL, lpszExtractDir) + sizeof(char*), "nothing follows the folder");
UZ_STATIC_ASSERT(offsetof(USERFUNCTION, SendApplicationMessage) == 4 * sizeof(void*), "4 callbacks precede it");
UZ_STATIC_ASSERT(offsetof(USERFUNCTION, ServCallBk) == 5 * sizeof(void*), "5 callbacks precede it");
UZ_STATIC_ASSERT(offsetof(USERFUNCTION, TotalSizeComp) == 6 * sizeof(void*), "the totals follow the callbacks");
UZ_STATIC_ASSERT(offsetof(USERFUNCTION, cchComment) == 6 * sizeof(void*) + 16, "4 totals precede it");
UZ_STATIC_ASSERT(sizeof(USERFUNCTION) == (sizeof(void*) == 8 ? 72 : 44), "nothing follows cchComment");
UZ_STATIC_ASSERT(offsetof(UZPVER, betalevel) == 8 && offsetof(UZPVER, date) == 18, "the texts are packed");
UZ_STATIC_ASSERT(offsetof(UZPVER, zlib_version) == 38 && offsetof(UZPVER, unzip) == 48, "the texts are packed");
UZ_STATIC_ASSERT(sizeof(UZPVER) == 64, "the record's size is part of the interface");
#undef UZ_STATIC_ASSERT

/* What Wiz_SingleEntryUnzip answers. The numbers but the last are Info-ZIP's (its unzip.h). Of several outcomes the
 * gravest, the largest, counts. */
enum UzCode {
  UZ_OK = 0,       /* done, without a warning */
  UZ_WARN = 1,     /* done, with warnings: an empty archive, bytes before it, a name that was changed, … */
  UZ_ERR = 2,      /* errors: a damaged entry, an entry refused; the others were done */
  UZ_BADERR = 3,   /* the archive's directory is damaged: entries are missing */
  UZ_MEM = 4,      /* out of memory (up to 8) */
  UZ_NOZIP = 9,    /* no archive there: the file is missing, cannot be opened, or is none */
  UZ_FIND = 11,    /* no entry matches the names */
  UZ_BOMB = 12,    /* entries overlap; the run ended there */
  UZ_DISK = 50,    /* a file could not be created, written or replaced: disk full, in use, protected, no such drive */
  UZ_EOF = 51,     /* the archive ends too early */
  UZ_STOPPED = 80, /* the service callback ended the run */
  UZ_UNSUP = 81,   /* entries are packed or encrypted in a way that the engine does not know; the others were done */
  UZ_BADPWD = 82,  /* entries could not be decrypted; the others were done */
  UZ_BUSY = 100    /* refused: another run is under way */
};

/* Lists, tests or extracts an archive, as `options` says.
 *   ifnc, ifnv   names or patterns ("*.txt", "Datos/?.db") of the entries wanted; with 0 all are
 *   xfnc, xfnv   names or patterns of the entries not wanted
 * Empty and null slots of both lists are passed over. Answers a UzCode. A null record answers UZ_NOZIP. */
int WINAPI Wiz_SingleEntryUnzip(int ifnc, char** ifnv, int xfnc, char** xfnv, DCL* options, USERFUNCTION* functions);

/* Describes the engine. Answers 0; 1, and leaves the record alone, if its structlen is not 64. */
int WINAPI UzpVersion2(UZPVER* version);

/* How long each later run waits, in milliseconds and in all, for places that other programs hold: 30,000 until this is
 * called. Meanwhile it calls `giveMessages`, which may be null, every 50 ms at least. The older generation had no such
 * function. */
void WINAPI QevSetPatience(unsigned long milliseconds, void(WINAPI* giveMessages)(void* context), void* context);

#ifdef __cplusplus
}
#endif

#endif
