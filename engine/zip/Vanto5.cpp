// The exported functions: options and callbacks in, one run of the zip sources, its code out.
#include "Vanto5.h"

#include "EngineNames.h"
#include "EngineTexts.h"
#include "ZipParts.h"

namespace qev::engine {
namespace {

constexpr int longestPath = 32767;  // characters, the system's limit

ZIPUSERFUNCTIONS callbacks{};
ZPOPT options{};
wchar_t rootFolder[longestPath + 1];
wchar_t archivePath[longestPath + 1];
char archiveName[texts::bytesPerUnit * (longestPath + 1)];           // as the sources take it
char archiveNameForCaller[texts::bytesPerUnit * (longestPath + 1)];  // in the ANSI code page

// ---- One run at a time

void endRun() {
  files::end();
  streams::end();
  messages::end();
  memory::end();
}

void abandonRun() {
  messages::begin(nullptr);
  endRun();
}

// ---- The command line that the sources take

class Arguments {
 public:
  // Room for `most` arguments; the memory is the run's.
  explicit Arguments(size_t most)
      : values_(static_cast<char**>(qevCalloc(most + 1, sizeof(char*)))), most_(values_ != nullptr ? most : 0) {}

  void add(const char* value) {
    if (count_ < most_) values_[count_++] = const_cast<char*>(value);
  }

  void addIf(bool wanted, const char* value) {
    if (wanted) add(value);
  }

  int count() const { return static_cast<int>(count_); }
  char** values() const { return values_; }

 private:
  char** values_;
  size_t most_;
  size_t count_ = 0;
};

const char* levelOption() {
  static char text[3] = "-0";
  const char level = options.fLevel;
  if (level >= 1 && level <= 9) {
    text[1] = static_cast<char>('0' + level);
    return text;
  }
  if (level < '0' || level > '9') return nullptr;
  text[1] = level;
  return text;
}

constexpr size_t mostOptions = 48;

void addOptions(Arguments& arguments) {
  arguments.add("zip");
  arguments.add("-UN=UTF8");
  arguments.add("-ds=1m");
  arguments.addIf(options.fEncrypt, "-e");
  arguments.addIf(options.fSystem, "-S");
  arguments.addIf(options.fVolume, "-$");
  arguments.addIf(options.fExtra, "-X");
  arguments.addIf(options.fNoDirEntries, "-D");
  const bool hasDate = options.Date != nullptr && options.Date[0] != '\0';
  if (hasDate && options.fExcludeDate) arguments.add("-tt"), arguments.add(options.Date);
  if (hasDate && options.fIncludeDate) arguments.add("-t"), arguments.add(options.Date);
  arguments.addIf(options.fVerbose, "-v");
  arguments.addIf(options.fQuiet, "-q");
  arguments.addIf(options.fCRLF_LF, "-ll");
  arguments.addIf(options.fLF_CRLF, "-l");
  arguments.addIf(options.fJunkDir, "-j");
  arguments.addIf(options.fRecurse, "-r");
  arguments.addIf(options.fGrow, "-g");
  arguments.addIf(options.fForce, "-k");
  arguments.addIf(options.fMove, "-m");
  arguments.addIf(options.fDeleteEntries, "-d");
  arguments.addIf(options.fUpdate, "-u");
  arguments.addIf(options.fFreshen, "-f");
  arguments.addIf(options.fJunkSFX, "-J");
  arguments.addIf(options.fLatestTime, "-o");
  arguments.addIf(options.fComment, "-z");
  arguments.addIf(options.fOffsets, "-A");
  arguments.addIf(options.fPrivilege, "-!");
  arguments.addIf(options.fRepair == 1, "-F");
  arguments.addIf(options.fRepair > 1, "-FF");
  if (const char* const level = levelOption()) arguments.add(level);
}

// ---- Archive and root

void printError(const char* what, const char* detail) {
  messages::write("zip error: ");
  messages::write(what);
  messages::write(" (");
  messages::write(detail);
  messages::write(")\n");
}

// A text of the caller's, in the memory of the run; null for null, and if there is none.
wchar_t* wideOf(const char* text) {
  if (text == nullptr) return nullptr;
  const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  auto* const wide = static_cast<wchar_t*>(qevCalloc(static_cast<size_t>(size) + 1, sizeof(wchar_t)));
  if (wide != nullptr) MultiByteToWideChar(CP_ACP, 0, text, -1, wide, size);
  return wide;
}

// Sets rootFolder to the full path of `root`.
bool resolveRoot(const wchar_t* root) {
  if (root == nullptr || root[0] == 0) {
    const DWORD length = GetCurrentDirectoryW(longestPath, rootFolder);
    return length > 0 && length < static_cast<DWORD>(longestPath);
  }
  const DWORD length = GetFullPathNameW(root, longestPath, rootFolder, nullptr);
  if (length == 0 || length >= static_cast<DWORD>(longestPath)) return false;
  const DWORD attributes = GetFileAttributesW(rootFolder);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Sets archivePath and the names of the archive to its full path, with the extension that the sources would add.
bool resolveArchive(const wchar_t* name) {
  if (name == nullptr || name[0] == 0) return false;
  const DWORD length = GetFullPathNameW(name, longestPath - 4, archivePath, nullptr);
  if (length == 0 || length >= static_cast<DWORD>(longestPath - 4)) return false;
  const wchar_t* const separator = wcsrchr(archivePath, L'\\');
  const wchar_t* const file = separator != nullptr ? separator + 1 : archivePath;
  if (*file == 0) return false;
  if (wcschr(file, L'.') == nullptr) wcscat(archivePath, L".zip");
  texts::narrow(archivePath, archiveName);
  return WideCharToMultiByte(CP_ACP, 0, archivePath, -1, archiveNameForCaller, sizeof archiveNameForCaller, nullptr,
                             nullptr) != 0;
}

// What one run is to do. A text that is null is missing.
struct Order {
  const wchar_t* archive;
  const wchar_t* root;
  int count;
  const wchar_t* const* names;
};

int archive(const Order& order) {
  if (!resolveArchive(order.archive)) {
    printError("Missing or empty zip file", "no archive name");
    return ZP_NAME;
  }
  if (!resolveRoot(order.root)) {
    printError("Invalid command arguments", "root folder does not exist");
    return ZP_PARMS;
  }
  paths::begin(rootFolder, archivePath);
  NewFile::removeLeftOvers(archivePath);  // before any folder is looked at: the archive's may be among them
  answers::begin(callbacks.comment);
  answers::password(callbacks.password, archiveNameForCaller);

  names::List list;
  if (!names::collect(order.count, order.names, options.fRecurse != 0, options.fSystem != 0, list)) {
    printError("Out of memory", "names");
    return ZP_MEM;
  }
  Arguments arguments(mostOptions + list.count);
  addOptions(arguments);
  arguments.add(archiveName);
  arguments.add("--");  // what follows are names, even with a hyphen in front
  for (const names::Name* name = list.first; name != nullptr; name = name->next) arguments.add(name->text);
  if (arguments.values() == nullptr) return ZP_MEM;

  state::restore();
  no_win32_wide = 0;
  const int code = qevRun(
      [](void* line) {
        const auto* const whole = static_cast<const Arguments*>(line);
        return zipmain(whole->count(), whole->values());
      },
      &arguments);
  return code == ZP_OK && files::incomplete() ? static_cast<int>(ZP_OPEN) : code;
}

// `order` answers what the run is to do; it is called when the run has its memory.
template <typename OrderMaker>
int run(OrderMaker order) {
  if (!turn::take(reinterpret_cast<ULONG_PTR>(__builtin_frame_address(0)), abandonRun)) return ZP_LOGIC;
  const turn::Guard guard(endRun);
  if (!memory::begin()) return ZP_MEM;
  messages::begin(callbacks.print);
  messages::begin(options.fQuiet != FALSE);
  streams::begin();
  files::begin(options.fPrivilege != FALSE);
  security::begin();
  directory::begin();
  return archive(order());
}

char* copyText(const char* text) {
  if (text == nullptr) return nullptr;
  const size_t size = strlen(text) + 1;
  auto* const copy = static_cast<char*>(HeapAlloc(GetProcessHeap(), 0, size));
  if (copy != nullptr) memcpy(copy, text, size);
  return copy;
}

void freeText(char*& text) {
  if (text != nullptr) HeapFree(GetProcessHeap(), 0, text);
  text = nullptr;
}

bool setOptions(const ZPOPT& wanted) {
  char* date = copyText(wanted.Date);
  char* root = copyText(wanted.szRootDir);
  if ((date == nullptr && wanted.Date != nullptr) || (root == nullptr && wanted.szRootDir != nullptr)) {
    freeText(date);
    freeText(root);
    return false;
  }
  freeText(options.Date);
  freeText(options.szRootDir);
  options = wanted;
  options.Date = date;
  options.szRootDir = root;
  options.fEncryption = TRUE;
  return true;
}

}  // namespace
}  // namespace qev::engine

using namespace qev::engine;

extern "C" {

int WINAPI ZpInit(ZIPUSERFUNCTIONS* functions) {
  if (turn::isTaken()) return 0;
  callbacks = functions != nullptr ? *functions : ZIPUSERFUNCTIONS{};
  return 1;
}

BOOL WINAPI ZpSetOptions(ZPOPT* wanted) {
  return wanted != nullptr && !turn::isTaken() && setOptions(*wanted) ? TRUE : FALSE;
}

ZPOPT* WINAPI ZpGetOptions(void) {
  options.fEncryption = TRUE;
  return &options;
}

int WINAPI ZpArchive(int argc, char* zipFileName, char** names) {
  return run([&] {
    const int count = names != nullptr && argc > 0 ? argc : 0;
    auto* const wide = static_cast<wchar_t**>(qevCalloc(static_cast<size_t>(count) + 1, sizeof(wchar_t*)));
    for (int at = 0; wide != nullptr && at < count; ++at) wide[at] = wideOf(names[at]);
    return Order{wideOf(zipFileName), wideOf(options.szRootDir), count, wide};
  });
}

int WINAPI QevArchive(int argc, const wchar_t* zipFileName, const wchar_t* root, const wchar_t* const* names) {
  return run([&] { return Order{zipFileName, root != nullptr ? root : wideOf(options.szRootDir), argc, names}; });
}

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID terminating) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(instance);
    return state::capture();
  }
  if (reason == DLL_PROCESS_DETACH && terminating == nullptr) {
    freeText(options.Date);
    freeText(options.szRootDir);
    state::release();
  }
  return TRUE;
}
}
