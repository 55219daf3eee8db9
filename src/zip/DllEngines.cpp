#include "zip/DllEngines.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <string_view>
#include <utility>

#include "platform/AutomationError.h"
#include "platform/Handle.h"
#include "platform/SystemServices.h"
#include "zip/EngineLines.h"

namespace qev {
namespace {

static_assert(kZipDone == ZP_OK && kUnzipDone == UZ_OK && kUnzipWarning == UZ_WARN && kUnzipNoArchive == UZ_NOZIP);

constexpr std::size_t kMessageBuffer = 4097;  // characters of the print callback's buffer, the ending zero included
constexpr std::size_t kLongestName = 256;     // bytes of an entry's name that a listing looks at

std::wstring textOf(std::string_view bytes) {
  return LocaleWindows().textFromAnsi(bytes);
}

std::string bytesOf(const std::wstring& text) {
  return LocaleWindows().ansiFromText(text);
}

// The same text in the ANSI code page, with "|" for the characters that it lacks. A "?" would be a pattern.
std::string pathBytesOf(const std::wstring& text) {
  if (GetACP() == CP_UTF8) return bytesOf(text);
  const int length = static_cast<int>(text.size());
  const auto convert = [&](char* to, int room) {
    return WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), length, to, room, "|", nullptr);
  };
  std::string bytes(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
  convert(bytes.data(), static_cast<int>(bytes.size()));
  return bytes;
}

bool isInCodePage(const std::wstring& text) {
  return textOf(pathBytesOf(text)) == text;
}

UniqueModule loadModule(const std::wstring& fileName) {
  const std::wstring beside = parentFolderName(modulePath()) + L"\\" + fileName;
  if (GetFileAttributesW(beside.c_str()) != INVALID_FILE_ATTRIBUTES) {
    return UniqueModule(LoadLibraryExW(beside.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  }
  return UniqueModule(LoadLibraryW(fileName.c_str()));
}

// A run of an engine whose callbacks get no context of their own: they work for the one that is under way, of its kind.
// An exception must not cross the engine's frames: it waits until the engine has returned.
template <typename Client>
class EngineRun {
 public:
  explicit EngineRun(Client& client) : client_(client), lines_(client) { current_ = this; }
  EngineRun(const EngineRun&) = delete;
  EngineRun& operator=(const EngineRun&) = delete;
  ~EngineRun() { current_ = nullptr; }

  // The engine's answer; throws what a callback has thrown.
  std::int32_t answer(std::int32_t code) const {
    if (failure_) std::rethrow_exception(failure_);
    return code;
  }

  // Does the work of a callback; `otherwise` is the answer when there is no run, or it fails.
  template <typename Work>
  static int callback(int otherwise, Work work) {
    if (!current_) return otherwise;
    try {
      return work(current_->client_, current_->lines_);
    } catch (...) {
      if (!current_->failure_) current_->failure_ = std::current_exception();
      return otherwise;
    }
  }

 private:
  static inline EngineRun* current_ = nullptr;

  Client& client_;
  EngineLines lines_;
  std::exception_ptr failure_;
};

using ZipRun = EngineRun<EngineClient>;
using UnzipRun = EngineRun<UnzipClient>;

// What a zip engine prints: the buffer up to and including position `length`, or to the first zero before that.
int WINAPI printZip(char* buffer, unsigned long length) {
  return ZipRun::callback(0, [&](EngineClient&, EngineLines& lines) {
    const std::size_t most = std::min<std::size_t>(std::size_t{length} + 1, kMessageBuffer);
    const std::size_t size = strnlen(buffer, most);
    if (size == most && length >= kMessageBuffer) throw AutomationError(kSubscriptOutOfRange);
    lines.print(textOf({buffer, size}));
    return 0;
  });
}

// Encryption is never asked for, so neither is a password.
int WINAPI refusePassword(char*, int, const char*, const char*) {
  return 1;
}

int WINAPI emptyComment(char* buffer) {
  buffer[0] = '\0';
  return 0;
}

int WINAPI printUnzip(char* buffer, unsigned long length) {
  return UnzipRun::callback(0, [&](UnzipClient&, EngineLines& lines) {
    lines.print(textOf({buffer, length}));
    return 0;
  });
}

int WINAPI replace(char* name) {
  return UnzipRun::callback(UZ_REPLACE_NO, [&](UnzipClient& client, EngineLines&) -> int {
    switch (client.mayReplace(textOf(name))) {
      case ReplaceAnswer::Yes: return UZ_REPLACE_YES;
      case ReplaceAnswer::None: return UZ_REPLACE_NONE;
      default: return UZ_REPLACE_NO;
    }
  });
}

// Without a password the buffer stays as it is.
int WINAPI password(char* buffer, int size, const char*, const char*) {
  return UnzipRun::callback(0, [&](UnzipClient& client, EngineLines&) {
    const std::string typed = bytesOf(client.password());
    if (typed.empty() || size < 1) return 0;
    const std::size_t length = std::min(typed.size(), static_cast<std::size_t>(size) - 1);
    std::memcpy(buffer, typed.data(), length);
    buffer[length] = '\0';
    return 0;
  });
}

int WINAPI listed(unsigned long size, unsigned long, unsigned, unsigned month, unsigned day, unsigned year,
                  unsigned hour, unsigned minute, char, char* name, char*, unsigned long, char) {
  return UnzipRun::callback(0, [&](UnzipClient& client, EngineLines&) {
    const std::string_view shown(name, strnlen(name, kLongestName));
    client.listed({textOf(shown), static_cast<std::uint32_t>(size), month, day, year, hour, minute});
    return 0;
  });
}

// Never stops the run.
int WINAPI entryDone(const char* name, unsigned long size) {
  return UnzipRun::callback(0, [&](UnzipClient&, EngineLines& lines) {
    lines.ended(name ? textOf(name) : std::wstring(), size);
    return 0;
  });
}

// The library's patience for the length of a run. The engine may stay loaded for somebody else, and must not call this
// library then.
class PatientRun {
 public:
  explicit PatientRun(const EngineLibrary& library) : library_(library) { library_.setPatience(systemPatience()); }
  PatientRun(const PatientRun&) = delete;
  PatientRun& operator=(const PatientRun&) = delete;
  ~PatientRun() { library_.setPatience({}); }

 private:
  const EngineLibrary& library_;
};

// A list of names as an engine takes it: 100 slots, the ones beyond the count empty. REQUIRES: no more than that.
class NameSlots {
 public:
  NameSlots() = default;
  explicit NameSlots(const std::vector<std::wstring>& names) {
    std::ranges::transform(names, bytes_.begin(), pathBytesOf);
    std::transform(bytes_.begin(), bytes_.end(), slots_.begin(), [](std::string& name) { return name.data(); });
  }

  char** get() { return slots_.data(); }

 private:
  std::array<std::string, kMostNames> bytes_;
  std::array<char*, kMostNames> slots_{};
};

class DllZipEngine final : public ZipEngine {
 public:
  explicit DllZipEngine(ZipFunctions functions) : functions_(std::move(functions)) {}

  std::int32_t run(const ZipRequest& request, EngineClient& client) override {
    const ZipRun run(client);
    const PatientRun patient(functions_.library);
    ZIPUSERFUNCTIONS callbacks{&printZip, &refusePassword, &emptyComment};
    functions_.ZpInit(&callbacks);

    std::string root = pathBytesOf(request.root);
    std::string date;
    ZPOPT options{};
    options.fSystem = request.system;
    options.fRecurse = request.recurse;
    options.fUpdate = request.update;
    options.Date = date.data();
    options.szRootDir = root.data();
    functions_.ZpSetOptions(&options);

    const bool isWide = functions_.QevArchive && !isInCodePage(request);
    return run.answer(isWide ? archiveWide(request) : archive(request));
  }

 private:
  static bool isInCodePage(const ZipRequest& request) {
    return qev::isInCodePage(request.archive) && qev::isInCodePage(request.root) &&
           std::ranges::all_of(request.names, qev::isInCodePage);
  }

  std::int32_t archive(const ZipRequest& request) const {
    std::string archive = pathBytesOf(request.archive);
    NameSlots names(request.names);
    return functions_.ZpArchive(static_cast<int>(request.names.size()), archive.data(), names.get());
  }

  std::int32_t archiveWide(const ZipRequest& request) const {
    std::array<const wchar_t*, kMostNames> names{};
    std::ranges::transform(request.names, names.begin(), [](const std::wstring& name) { return name.c_str(); });
    return functions_.QevArchive(static_cast<int>(request.names.size()), request.archive.c_str(), request.root.c_str(),
                                 names.data());
  }

  ZipFunctions functions_;
};

class DllUnzipEngine final : public UnzipEngine {
 public:
  explicit DllUnzipEngine(UnzipFunctions functions) : functions_(std::move(functions)) {}

  std::int32_t run(const UnzipRequest& request, UnzipClient& client) override {
    const UnzipRun run(client);
    const PatientRun patient(functions_.library);
    askVersion();
    USERFUNCTION callbacks{};
    callbacks.print = &printUnzip;
    callbacks.replace = &replace;
    callbacks.password = &password;
    callbacks.SendApplicationMessage = &listed;
    callbacks.ServCallBk = &entryDone;

    std::string archive = bytesOf(request.archive);
    std::string folder = bytesOf(request.folder);
    DCL options = optionsOf(request);
    options.lpszZipFN = archive.data();
    options.lpszExtractDir = folder.data();
    NameSlots included;
    NameSlots excluded;
    return run.answer(functions_.Wiz_SingleEntryUnzip(0, included.get(), 0, excluded.get(), &options, &callbacks));
  }

 private:
  static DCL optionsOf(const UnzipRequest& request) {
    DCL options{};
    options.fQuiet = request.messageLevel;
    options.ncflag = request.toMessages;
    options.ntflag = request.mode == UnzipMode::Test;
    options.nvflag = request.mode == UnzipMode::List;
    options.ndflag = request.keepFolders;
    options.noflag = request.mode == UnzipMode::Extract;
    options.nZIflag = request.verbose;
    options.C_flag = request.ignoreCase;
    options.fPrivilege = request.privilege;
    return options;
  }

  // A text of the version record: blanks, and a zero at the end.
  template <std::size_t size>
  static void blank(char (&text)[size]) {
    std::fill_n(text, size - 1, ' ');
    text[size - 1] = '\0';
  }

  void askVersion() const {
    UZPVER version{};
    version.structlen = 64;
    blank(version.betalevel);
    blank(version.date);
    blank(version.zlib_version);
    functions_.UzpVersion2(&version);
  }

  UnzipFunctions functions_;
};

}  // namespace

EngineLibrary::EngineLibrary(const std::wstring& fileName) : fileName_(fileName), module_(loadModule(fileName)) {
  if (module_) return;
  const DWORD error = GetLastError();
  const bool missing = error == ERROR_MOD_NOT_FOUND || error == ERROR_FILE_NOT_FOUND;
  throw AutomationError(missing ? kFileNotFound : kCannotLoadLibrary, fileName);
}

void EngineLibrary::setPatience(const Patience& patience) const {
  decltype(&::QevSetPatience) set = nullptr;
  findIfAny("QevSetPatience", set);
  if (set) set(patience.milliseconds, patience.giveMessages, patience.context);
}

void* EngineLibrary::addressIfAny(const char* name) const {
  return module_ ? reinterpret_cast<void*>(GetProcAddress(module_.get(), name)) : nullptr;
}

void* EngineLibrary::address(const char* name) const {
  const auto found = addressIfAny(name);
  if (found) return found;
  throw AutomationError(kEntryPointNotFound, std::wstring(name, name + std::strlen(name)) + L" (" + fileName_ + L")");
}

std::unique_ptr<ZipEngine> engineOf(ZipFunctions functions) {
  return std::make_unique<DllZipEngine>(std::move(functions));
}

std::unique_ptr<UnzipEngine> engineOf(UnzipFunctions functions) {
  return std::make_unique<DllUnzipEngine>(std::move(functions));
}

std::unique_ptr<ZipEngine> loadZipEngine() {
  ZipFunctions functions;
  functions.library = EngineLibrary(L"VANTO5.DLL");
  functions.library.find("ZpInit", functions.ZpInit);
  functions.library.find("ZpSetOptions", functions.ZpSetOptions);
  functions.library.find("ZpArchive", functions.ZpArchive);
  functions.library.findIfAny("QevArchive", functions.QevArchive);
  return engineOf(std::move(functions));
}

std::unique_ptr<UnzipEngine> loadUnzipEngine() {
  UnzipFunctions functions;
  functions.library = EngineLibrary(L"VANTO6.DLL");
  functions.library.find("UzpVersion2", functions.UzpVersion2);
  functions.library.find("Wiz_SingleEntryUnzip", functions.Wiz_SingleEntryUnzip);
  return engineOf(std::move(functions));
}

}  // namespace qev
