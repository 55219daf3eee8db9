#include "zip/CUnzipFiles.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <string_view>

#include "platform/AutomationError.h"
#include "zip/EngineMessages.h"
#include "zip/ListingLines.h"

namespace qev {
namespace {

constexpr std::size_t kNameSlots = 100;
constexpr std::size_t kLongestName = 256;  // bytes of an entry's name that a listing looks at

// Yes, No and Cancel, No being the default: 48 and 3 written side by side. Their sum would be another box.
constexpr std::uint32_t kReplaceStyle = 483;

// What the engine's callbacks, which get no context of their own, work for: the run under way in this process.
class EngineRun {
 public:
  EngineRun(Platform& platform, const std::function<void(const std::wstring&)>& onMessage)
      : platform_(platform), onMessage_(onMessage) {
    if (current_) throw AutomationError(kPermissionDenied, L"VANTO6.DLL");
    current_ = this;
  }
  EngineRun(const EngineRun&) = delete;
  EngineRun& operator=(const EngineRun&) = delete;
  ~EngineRun() { current_ = nullptr; }

  const std::wstring& listing() const { return listing_.text(); }

  // An exception must not cross the engine's frames: it waits here until the engine has returned.
  void rethrowFailure() const {
    if (failure_) std::rethrow_exception(failure_);
  }

  static USERFUNCTION callbacks() {
    USERFUNCTION functions{};
    functions.print = &EngineRun::print;
    functions.replace = &EngineRun::replace;
    functions.password = &EngineRun::password;
    functions.SendApplicationMessage = &EngineRun::entry;
    functions.ServCallBk = &EngineRun::service;
    return functions;
  }

 private:
  // Does the work of a callback; `otherwise` is the answer when there is no run, or it fails.
  template <typename Work>
  static int guarded(int otherwise, Work work) {
    if (!current_) return otherwise;
    try {
      return work(*current_);
    } catch (...) {
      if (!current_->failure_) current_->failure_ = std::current_exception();
      return otherwise;
    }
  }

  static int WINAPI print(char* buffer, unsigned long length) {
    return guarded(0, [&](EngineRun& run) { return run.take({buffer, length}); });
  }

  static int WINAPI replace(char* name) {
    return guarded(UZ_REPLACE_NO, [&](EngineRun& run) { return run.mayReplace(name); });
  }

  static int WINAPI password(char* buffer, int size, const char*, const char*) {
    return guarded(0, [&](EngineRun& run) { return run.askPassword(buffer, size); });
  }

  static int WINAPI entry(unsigned long size, unsigned long, unsigned, unsigned month, unsigned day, unsigned year,
                          unsigned hour, unsigned minute, char, char* name, char*, unsigned long, char) {
    return guarded(0, [&](EngineRun& run) {
      const std::string_view shown(name, strnlen(name, kLongestName));
      run.listing_.add({run.platform_.locale.textFromAnsi(shown), size, month, day, year, hour, minute});
      return 0;
    });
  }

  // Never stops the run.
  static int WINAPI service(const char*, unsigned long) {
    return guarded(0, [](EngineRun& run) {
      run.platform_.eventLoop.yield();
      return 0;
    });
  }

  int take(std::string_view message) {
    const std::wstring text = platform_.locale.textFromAnsi(message);
    engineMessages() += text + L"\n";
    if (onMessage_) onMessage_(text);
    platform_.eventLoop.yield();
    return 0;
  }

  int mayReplace(const char* name) {
    const std::wstring question = L"¿ Reemplazar " + platform_.locale.textFromAnsi(name) + L" ?";
    switch (platform_.messages.show(question, L"Unzip", kReplaceStyle)) {
      case Answer::Yes: return UZ_REPLACE_YES;
      case Answer::Cancel: return UZ_REPLACE_NONE;
      default: return UZ_REPLACE_NO;
    }
  }

  int askPassword(char* buffer, int size) {
    if (passwordRefused_) return 0;
    const std::wstring typed = platform_.textPrompt.ask(L"Please Enter The Password!", L"Unzip").value_or(L"");
    passwordRefused_ = typed.empty();
    if (passwordRefused_ || size < 1) return 0;
    const std::string bytes = platform_.locale.ansiFromText(typed);
    const std::size_t length = std::min(bytes.size(), static_cast<std::size_t>(size) - 1);
    std::memcpy(buffer, bytes.data(), length);
    buffer[length] = '\0';
    return 0;
  }

  static inline EngineRun* current_ = nullptr;

  Platform& platform_;
  const std::function<void(const std::wstring&)>& onMessage_;
  ListingLines listing_;
  bool passwordRefused_ = false;
  std::exception_ptr failure_;
};

// A text of the version record: blanks, and a zero at the end.
template <std::size_t size>
void blank(char (&text)[size]) {
  std::fill_n(text, size - 1, ' ');
  text[size - 1] = '\0';
}

void askVersion(const UnzipEngine& engine) {
  UZPVER version{};
  version.structlen = 64;
  blank(version.betalevel);
  blank(version.date);
  blank(version.zlib_version);
  engine.UzpVersion2(&version);
}

}  // namespace

CUnzipFiles::CUnzipFiles(Platform& platform, EngineLoader loadEngine)
    : platform_(platform), loadEngine_(std::move(loadEngine)) {}

std::int32_t CUnzipFiles::Unzip(const std::wstring& sZipFileName, const std::wstring& sExtractDir) {
  if (!sZipFileName.empty()) zipFileName_ = sZipFileName;
  if (!sExtractDir.empty()) extractDir_ = sExtractDir;
  try {
    return run(Mode::Extract).code;
  } catch (const AutomationError& error) {
    throw error.from(L"RvUnZipFiles::Unzip");
  }
}

std::int32_t CUnzipFiles::Test() {
  try {
    return run(Mode::Test).code;
  } catch (const AutomationError& error) {
    throw error.from(L"RvUnZipFiles::Test");
  }
}

void CUnzipFiles::ListZipFile() {
  const Outcome outcome = run(Mode::List);
  for (const std::wstring& line : entryLines(outcome.listing)) {
    const ListedEntry entry = listedEntry(line, platform_.locale);
    if (ListFile) ListFile(entry.FileName, entry.FileSize, entry.mDate, entry.mTime);
  }
}

CUnzipFiles::Outcome CUnzipFiles::run(Mode mode) {
  try {
    return runEngine(mode);
  } catch (const AutomationError& error) {
    throw error.from(L"CodeModule::VBUnzip");
  }
}

CUnzipFiles::Outcome CUnzipFiles::runEngine(Mode mode) {
  const EngineRun run(platform_, onMessage);
  engineMessages().clear();
  const UnzipEngine engine = loadEngine_();
  askVersion(engine);

  USERFUNCTION callbacks = EngineRun::callbacks();
  std::string archive = platform_.locale.ansiFromText(zipFileName_);
  std::string folder = platform_.locale.ansiFromText(extractDir_);
  DCL options = optionsFor(mode);
  options.lpszZipFN = archive.data();
  options.lpszExtractDir = folder.data();
  std::array<char*, kNameSlots> included{};
  std::array<char*, kNameSlots> excluded{};
  const int code = engine.Wiz_SingleEntryUnzip(0, included.data(), 0, excluded.data(), &options, &callbacks);
  run.rethrowFailure();
  return {code, run.listing()};
}

DCL CUnzipFiles::optionsFor(Mode mode) const {
  DCL options{};
  options.fQuiet = messageLevel_;
  options.ncflag = writeToStdOut_;
  options.ntflag = mode == Mode::Test ? 1 : 0;
  options.nvflag = mode == Mode::List ? 1 : 0;
  options.ndflag = honorDirectories_;
  options.noflag = mode == Mode::Extract ? 1 : 0;
  options.nZIflag = verbose_;
  options.C_flag = caseSensitive_;
  options.fPrivilege = privilege_;
  return options;
}

std::wstring CUnzipFiles::GetLastMessage() const {
  return engineMessages();
}

}  // namespace qev
