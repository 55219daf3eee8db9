/* The interface of VANTO5.DLL, the zip engine.
 *
 * VANTO5.DLL is Info-ZIP's zip 3.0 behind the call interface that programs of the zip32 generation declare: they set
 * the callbacks (ZpInit), the options (ZpSetOptions), and archive (ZpArchive). Both the engine and its callers include
 * this header; it is plain C, and every record has the same layout in a C and a C++ translation unit.
 *
 * Calling convention. All functions and callbacks are WINAPI: stdcall on x86, the one convention of the platform on
 * x64. The export names are undecorated on both.
 *
 * Code page. Every text that goes in (archive name, file names, root, date) and every text that comes out through a
 * callback is in the ANSI code page of the process (CP_ACP); QevArchive takes archive, names and root in UTF-16. Names
 * that a wildcard finds on disk and that this code page cannot express are archived all the same, because the engine
 * works in Unicode; in messages, their foreign characters appear as "#Uxxxx", one for each UTF-16 unit. In the archive
 * a name that is not pure ASCII is stored as UTF-8 with bit 11 of the general purpose flag set (APPNOTE 4.4.4), others
 * as they are. UTF-8 has no form for a surrogate that stands alone: it is stored as "#Uxxxx", too, with a warning and
 * ZP_OPEN. When an archive is changed, entries of other programs whose names are neither ASCII nor UTF-8 stay as they
 * are, and are no file's.
 *
 * Names. "*" and "?" make a pattern, nothing else does: "[" is a character. What a folder lists is opened under that
 * very name, whatever it looks like ("nul.txt", "a."). In a name that is handed over "." and ".." mean what they always
 * do, and dots and blanks at the end of a part are cut off unless something has that very name.
 *
 * Files. An entry is its whole file: the bytes that its header counts, from the first to the one that was the last when
 * it was read. Ranges that another program has locked are read all the same (through a view, which byte locks do not
 * bind). A file that cannot be opened, or not be read to its end, is left out, byte for byte; in an archive that is
 * changed its old entry stays. One whose size changes while it is read is archived as it was read, with a warning.
 *
 * Folders. A link or a mounted volume is a folder like any other; but a folder that is one of those on the way to it
 * (same volume and file index) is not entered, with a warning: its entry is an empty folder. "System Volume
 * Information" and "$RECYCLE.BIN", hidden and of the system, directly below the root of a volume are passed over in
 * silence. A folder that cannot be listed, or not to its end, is a warning and ZP_OPEN.
 *
 * Threads. The engine keeps one set of options and callbacks for the process and runs one archive at a time. ZpArchive
 * calls the callbacks on its caller's thread. A call of ZpArchive while another is under way, from a callback or from
 * another thread, is refused: it answers ZP_LOGIC (5) and neither prints nor touches anything.
 *
 * Process state. A run changes nothing outside its archive: neither the current folder, nor the environment, signal
 * handlers, locale, standard streams or a privilege of the process stays altered. When ZpArchive returns, whatever the
 * outcome, all memory, handles and temporary files of the run are gone, and the next call starts from the same state as
 * the first one. An archive that exists is replaced in one step, when the new one is complete; after a failure it is as
 * it was. (Exception: fGrow writes into the archive itself.)
 */
#ifndef QEV_ENGINE_VANTO5_H
#define QEV_ENGINE_VANTO5_H

#include <stddef.h>
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Most characters that one call of the print callback carries. A longer message comes in several calls. */
#define ZP_MAXIMUM_MESSAGE 4096

/* Bytes that the comment callback's buffer has. */
#define ZP_COMMENT_BUFFER 4097

/* Receives one message: `length` characters at `message`, followed by a zero byte. The answer is ignored.
 *
 * A message is one line as the engine prints it, ended by CR LF:
 *   "  adding: Datos/a.txt (deflated 60%)\r\n"
 *   "\tzip warning: name not matched: querty\r\n"
 * While a file of more than one MiB is archived its line comes in pieces, so that the caller knows the file and gets
 * the processor about once per MiB read: "  adding: Datos/big.db ", then "." for each MiB, then " (deflated 60%)\r\n".
 * In the same way a scan of folders that takes more than five seconds announces itself ("Scanning files ", ".", ...).
 * On a volume that keeps security descriptors, unless fExtra is set, the name is followed by their size:
 * "  adding: Datos/a.txt (160 bytes security) (deflated 60%)\r\n".
 *
 * What is missing or out of the ordinary is a line that begins "\tzip warning: " and ends with the name, a file's as
 * the archive has it, a folder's as it was handed over or found ("C:/Datos/sub"):
 *   "name not matched: "                       what was handed over matches nothing; no code of its own
 *   "folder leads back to itself: "            it is not entered; no code of its own
 *   "file size changed while it was read: "    it is archived as it was read; no code of its own
 *   "could not open for reading: "             ZP_OPEN; a line "zip warning: <reason>\r\n" precedes it
 *   "could not read: "                         ZP_OPEN; the same
 *   "could not list folder: "                  ZP_OPEN
 *   "could not list folder to its end: "       ZP_OPEN
 *   "name stored with escapes: "               ZP_OPEN
 *   "reading file attributes failed: "         the file is gone since it was listed; what follows says what becomes of
 * it "file and directory with the same name: "  ZP_OPEN; the one has become the other since it was listed "will just
 * copy entry over: "              follows on one of these in an archive that is changed Other lines of that kind: "zip
 * warning: Not all files were readable"          at the end, when files were left out, behind an empty line "
 * files/entries read:  3 (1.2M bytes)  skipped:  1 (3.0K bytes)"            the line behind it
 *   "\tzip warning: zip file empty"                      there is nothing in the archive
 *   "zip I/O error: <reason>"                           what the system said, before the next
 *   "zip error: <what> (<detail>)"                      the run ends, and makes no archive
 */
typedef int(WINAPI* ZPPRINT)(char* message, unsigned long length);

/* Asks for the password, if fEncrypt is set. Writes at most `size` bytes with the ending zero to `buffer` and answers
 * 0; any other answer ends the run with ZP_PARMS. `prompt` says what is asked for ("Enter password: ", then "Verify
 * password: "), `name` is the archive's name. */
typedef int(WINAPI* ZPPASSWORD)(char* buffer, int size, const char* prompt, const char* name);

/* Asks for the archive's comment, if fComment is set: writes it, ended by a zero byte, to `buffer`, which has
 * ZP_COMMENT_BUFFER bytes and is empty at the call. The answer is ignored; callers differ in what they return (a
 * pointer or a number). */
typedef int(WINAPI* ZPCOMMENT)(char* buffer);

/* The callbacks. Any of them may be null: messages then go nowhere, a password cannot be had, a comment is empty. */
typedef struct ZIPUSERFUNCTIONS {
  ZPPRINT print;
  ZPPASSWORD password;
  ZPCOMMENT comment;
} ZIPUSERFUNCTIONS;

/* The options: 27 flags of 32 bits (0 is off, anything else on, unless said otherwise), then the level and two texts
 * with the natural alignment of the platform. */
typedef struct ZPOPT {
  BOOL fSuffix;        /* no effect, as in every engine of this interface */
  BOOL fEncrypt;       /* encrypt the entries; asks the password callback (zip -e) */
  BOOL fSystem;        /* take hidden and system files too (-S), but for the system's own folders: see above */
  BOOL fVolume;        /* store the volume label (-$) */
  BOOL fExtra;         /* leave out extra fields: UTC times, security (-X) */
  BOOL fNoDirEntries;  /* no entries for folders (-D) */
  BOOL fExcludeDate;   /* leave out files of Date and later (-tt) */
  BOOL fIncludeDate;   /* only files of Date and later (-t) */
  BOOL fVerbose;       /* more messages (-v) */
  BOOL fQuiet;         /* no messages but errors (-q) */
  BOOL fCRLF_LF;       /* CR LF becomes LF in text files (-ll) */
  BOOL fLF_CRLF;       /* LF becomes CR LF in text files (-l) */
  BOOL fJunkDir;       /* store names without folders (-j) */
  BOOL fRecurse;       /* 1 or 2: into subfolders, for the paths and the patterns named (-r) */
  BOOL fGrow;          /* append to the archive itself, without a temporary file (-g) */
  BOOL fForce;         /* store 8.3 names, DOS attributes (-k) */
  BOOL fMove;          /* delete the files once they are archived (-m) */
  BOOL fDeleteEntries; /* delete the named entries from the archive (-d) */
  BOOL fUpdate;        /* only files that are new or newer than their entry (-u) */
  BOOL fFreshen;       /* only files newer than their entry (-f) */
  BOOL fJunkSFX;       /* drop what precedes the archive proper (-J) */
  BOOL fLatestTime;    /* give the archive the time of its latest entry (-o) */
  BOOL fComment;       /* asks the comment callback for an archive comment (-z) */
  BOOL fOffsets;       /* adjust offsets for a self-extracting archive (-A) */
  BOOL fPrivilege;     /* use the backup privileges of the process to read security (-!) */
  BOOL fEncryption;    /* read only: ZpGetOptions sets it when the engine can encrypt */
  BOOL fRepair;        /* 1: -F, 2: -FF. This engine repairs only into another archive, so it answers ZP_PARMS */
  char fLevel;         /* 0: the engine's default, 6. 1 to 9, or '1' to '9': that level. '0': store */
  char* Date;          /* mmddyyyy or yyyy-mm-dd, for fExcludeDate and fIncludeDate */
  char* szRootDir; /* folder that relative names start from; null or "" is the current folder, "\" its drive's root */
} ZPOPT;

#if defined(__cplusplus)
#define ZP_STATIC_ASSERT static_assert
#else
#define ZP_STATIC_ASSERT _Static_assert
#endif
ZP_STATIC_ASSERT(sizeof(BOOL) == 4, "a flag has 32 bits");
ZP_STATIC_ASSERT(offsetof(ZPOPT, fRecurse) == 52, "13 flags precede fRecurse");
ZP_STATIC_ASSERT(offsetof(ZPOPT, fUpdate) == 72, "18 flags precede fUpdate");
ZP_STATIC_ASSERT(offsetof(ZPOPT, fLevel) == 108, "27 flags precede fLevel");
ZP_STATIC_ASSERT(offsetof(ZPOPT, Date) == 112, "the texts start at the next multiple of their size");
ZP_STATIC_ASSERT(offsetof(ZPOPT, szRootDir) == 112 + sizeof(char*), "szRootDir follows Date");
ZP_STATIC_ASSERT(sizeof(ZPOPT) == 112 + 2 * sizeof(char*), "nothing follows szRootDir");
ZP_STATIC_ASSERT(sizeof(ZIPUSERFUNCTIONS) == 3 * sizeof(void*), "three callbacks");
#undef ZP_STATIC_ASSERT

/* What ZpArchive answers. The names and numbers are Info-ZIP's (its ziperr.h). */
enum ZpCode {
  ZP_OK = 0,     /* everything named is in the archive (names that match nothing are warnings, not errors) */
  ZP_EOF = 2,    /* the existing archive ends too early */
  ZP_FORM = 3,   /* the existing archive is no archive, or a broken one */
  ZP_MEM = 4,    /* out of memory */
  ZP_LOGIC = 5,  /* internal error, or the engine is busy with another archive */
  ZP_BIG = 6,    /* an entry is too large */
  ZP_ABORT = 9,  /* stopped */
  ZP_TEMP = 10,  /* the temporary file cannot be created or written; also: the disk filled up */
  ZP_READ = 11,  /* read or seek error in the archive */
  ZP_NONE = 12,  /* nothing to do: no name matches a file, or (fUpdate, fFreshen) all entries are up to date */
  ZP_NAME = 13,  /* no archive name, or the archive that was to be changed is missing */
  ZP_WRITE = 14, /* the archive cannot be written; also: the disk filled up */
  ZP_CREAT = 15, /* the archive cannot be created or replaced */
  ZP_PARMS = 16, /* options that contradict each other, a bad date, a root folder that does not exist */
  ZP_OPEN = 18   /* the archive is complete but for what could not be read; its messages name it */
};

/* Sets the callbacks of the runs to come; the record is copied. A null pointer clears them. Answers 1; 0 while a run is
 * under way, and then nothing changes. */
int WINAPI ZpInit(ZIPUSERFUNCTIONS* functions);

/* Sets the options of the runs to come; the record and its texts are copied. Answers TRUE; FALSE when `options` is
 * null, a run is under way, or there is no memory, and then nothing changes. */
BOOL WINAPI ZpSetOptions(ZPOPT* options);

/* The options in force: a record of the engine's own, valid until the next ZpSetOptions. */
ZPOPT* WINAPI ZpGetOptions(void);

/* Archives the files that `names` names to the archive `zipFileName`.
 *   argc         how many names `names` holds
 *   zipFileName  path of the archive; relative to the current folder of the process. A name without a dot gets ".zip"
 *   names        argc paths or patterns (* and ? in any part; "*.*" also matches names without a dot). An empty or null
 *                slot is passed over. A name that matches nothing is reported and the run goes on
 * Answers a ZpCode. On x86 the three arguments lie on the stack as the fields of the by-value record that older
 * declarations use. */
int WINAPI ZpArchive(int argc, char* zipFileName, char** names);

/* The same with texts in UTF-16, for names that the code page cannot express; the older generation had no such
 * function. `root` takes the place of szRootDir; null leaves that. The callbacks get what they get from ZpArchive. */
int WINAPI QevArchive(int argc, const wchar_t* zipFileName, const wchar_t* root, const wchar_t* const* names);

/* How long each later run waits, in milliseconds and in all, for places that other programs hold: 30,000 until this is
 * called. Meanwhile it calls `giveMessages`, which may be null, every 50 ms at least. The older generation had no such
 * function. */
void WINAPI QevSetPatience(unsigned long milliseconds, void(WINAPI* giveMessages)(void* context), void* context);

#ifdef __cplusplus
}
#endif

#endif
