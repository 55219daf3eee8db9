#include "zip/CZipFiles.h"

#include <algorithm>
#include <array>
#include <exception>

#include "platform/AutomationError.h"
#include "zip/EngineMessages.h"
#include "zip/EngineRemarks.h"

namespace qev {
namespace {

constexpr std::size_t kNameSlots = 100;
constexpr std::size_t kMessageBuffer = 4097;  // characters of the print callback's buffer, the ending zero included

// What the engine's callbacks, which get no context of their own, work for: the run under way in this process.
class EngineRun {
 public:
  EngineRun(const Locale& locale, EventLoop& eventLoop, const std::function<void(const std::wstring&)>& onMessage)
      : locale_(locale), eventLoop_(eventLoop), onMessage_(onMessage) {
    if (current_) throw AutomationError(kPermissionDenied, L"VANTO5.DLL");
    current_ = this;
  }
  EngineRun(const EngineRun&) = delete;
  EngineRun& operator=(const EngineRun&) = delete;
  ~EngineRun() { current_ = nullptr; }

  // An exception must not cross the engine's frames: it waits here until the engine has returned.
  void rethrowFailure() const {
    if (failure_) std::rethrow_exception(failure_);
  }

  static int WINAPI print(char* buffer, unsigned long length) {
    try {
      if (current_) current_->take(buffer, length);
    } catch (...) {
      if (!current_->failure_) current_->failure_ = std::current_exception();
    }
    return 0;
  }

  // Encryption is never asked for, so neither is a password.
  static int WINAPI password(char*, int, const char*, const char*) { return 1; }

  // An empty comment.
  static int WINAPI comment(char* buffer) {
    buffer[0] = '\0';
    return 0;
  }

 private:
  void take(const char* buffer, unsigned long length) {
    std::string bytes;
    for (std::size_t position = 0; position <= length; ++position) {
      if (position >= kMessageBuffer) throw AutomationError(kSubscriptOutOfRange);
      if (buffer[position] == '\0') break;
      bytes += buffer[position];
    }
    const std::wstring text = locale_.textFromAnsi(bytes);
    engineMessages() += text;
    if (onMessage_) onMessage_(text);
    eventLoop_.yield();
  }

  static inline EngineRun* current_ = nullptr;

  const Locale& locale_;
  EventLoop& eventLoop_;
  const std::function<void(const std::wstring&)>& onMessage_;
  std::exception_ptr failure_;
};

// The list as the engine takes it: 100 slots, the ones beyond the count empty.
class NameTable {
 public:
  NameTable(const std::vector<std::wstring>& names, const Locale& locale) {
    for (const std::wstring& name : names) {
      if (count_ == kNameSlots) throw AutomationError(kSubscriptOutOfRange);
      bytes_[count_++] = locale.ansiFromText(name);
    }
    std::transform(bytes_.begin(), bytes_.end(), slots_.begin(), [](std::string& name) { return name.data(); });
  }

  int count() const { return static_cast<int>(count_); }
  char** slots() { return slots_.data(); }

 private:
  std::array<std::string, kNameSlots> bytes_;
  std::array<char*, kNameSlots> slots_{};
  std::size_t count_ = 0;
};

}  // namespace

CZipFiles::CZipFiles(const Locale& locale, EventLoop& eventLoop, EngineLoader loadEngine)
    : locale_(locale), eventLoop_(eventLoop), loadEngine_(std::move(loadEngine)), names_{kPlaceholder} {}

std::int32_t CZipFiles::ZipFileCount() const {
  return static_cast<std::int32_t>(names_.size()) - 1;
}

CZipFiles::Names::const_iterator CZipFiles::find(const std::wstring& name) const {
  return std::find_if(names_.begin(), names_.end(),
                      [&](const std::wstring& listed) { return locale_.equalIgnoringCase(listed, name); });
}

void CZipFiles::AddFile(const std::wstring& sFileName) {
  if (find(sFileName) != names_.end()) {
    throw AutomationError(kObjectErrorBase + 2001, L"RvZip::AddFile", L"File is already in Zip List");
  }
  names_.push_back(sFileName);
}

void CZipFiles::RemoveFile(const std::wstring& sFileName) {
  const auto listed = find(sFileName);
  if (listed == names_.end()) {
    throw AutomationError(kObjectErrorBase + 2002, L"RvZip::RemoveFile", L"File is not in Zip List");
  }
  names_.erase(listed);
}

std::int32_t CZipFiles::MakeZipFile() {
  try {
    return runEngine();
  } catch (const AutomationError& error) {
    throw error.from(L"RvZipFiles::MakeZipFile");
  }
}

std::int32_t CZipFiles::runEngine() {
  NameTable names(names_, locale_);
  const EngineRun run(locale_, eventLoop_, onMessage);
  engineMessages().clear();
  const ZipEngine engine = loadEngine_();

  ZIPUSERFUNCTIONS callbacks{&EngineRun::print, &EngineRun::password, &EngineRun::comment};
  engine.ZpInit(&callbacks);

  std::string root = locale_.ansiFromText(locale_.upper(rootDirectory_));
  std::string date;
  ZPOPT options{};
  options.fRecurse = recurseMode_;
  options.fUpdate = update_;
  options.Date = date.data();
  options.szRootDir = root.data();
  engine.ZpSetOptions(&options);

  std::string archive = locale_.ansiFromText(zipFileName_);
  const int code = engine.ZpArchive(names.count(), archive.data(), names.slots());
  run.rethrowFailure();
  return code;
}

std::wstring CZipFiles::GetLastMessage() const {
  return engineMessages();
}

}  // namespace qev
