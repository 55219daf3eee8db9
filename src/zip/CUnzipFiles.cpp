#include "zip/CUnzipFiles.h"

#include <exception>

#include "platform/AutomationError.h"
#include "platform/FlagScope.h"
#include "zip/LastMessage.h"
#include "zip/ListingLines.h"

namespace qev {
namespace {

// Yes, No and Cancel, No being the default: 48 and 3 written side by side. Their sum would be another box.
constexpr std::uint32_t kReplaceStyle = 483;

using EventHandler = std::function<void(const EngineEvent&)>;

// Gathers what the engine prints and lists, asks what it asks, and lets waiting window messages through.
class Client final : public UnzipClient {
 public:
  Client(Platform& platform, const EventHandler& onEvent) : platform_(platform), onEvent_(onEvent) {}

  const std::wstring& listing() const { return listing_.text(); }

  void event(const EngineEvent& event) override {
    if (onEvent_) onEvent_(event);
  }

  void text(const std::wstring& text) override { lastMessage() += text + L"\n"; }

  void yield() override { platform_.eventLoop.yield(); }

  void listed(const EngineEntry& entry) override { listing_.add(entry); }

  ReplaceAnswer mayReplace(const std::wstring& name) override {
    switch (platform_.messages.show(L"¿ Reemplazar " + name + L" ?", L"Unzip", kReplaceStyle)) {
      case Answer::Yes: return ReplaceAnswer::Yes;
      case Answer::Cancel: return ReplaceAnswer::None;
      default: return ReplaceAnswer::No;
    }
  }

  // Asked until the user gives none.
  std::wstring password() override {
    if (passwordRefused_) return {};
    std::wstring typed = platform_.textPrompt.ask(L"Please Enter The Password!", L"Unzip").value_or(L"");
    passwordRefused_ = typed.empty();
    return typed;
  }

 private:
  Platform& platform_;
  const EventHandler& onEvent_;
  ListingLines listing_;
  bool passwordRefused_ = false;
};

}  // namespace

CUnzipFiles::CUnzipFiles(Platform& platform, EngineLoader loadEngine)
    : platform_(platform), loadEngine_(std::move(loadEngine)) {}

std::int32_t CUnzipFiles::Unzip(const std::wstring& sZipFileName, const std::wstring& sExtractDir) {
  if (!sZipFileName.empty()) zipFileName_ = sZipFileName;
  if (!sExtractDir.empty()) extractDir_ = sExtractDir;
  try {
    return run(UnzipMode::Extract).code;
  } catch (const AutomationError& error) {
    throw error.from(L"RvUnZipFiles::Unzip");
  }
}

std::int32_t CUnzipFiles::Test() {
  try {
    return run(UnzipMode::Test).code;
  } catch (const AutomationError& error) {
    throw error.from(L"RvUnZipFiles::Test");
  }
}

void CUnzipFiles::ListZipFile() {
  const Outcome outcome = run(UnzipMode::List);
  for (const std::wstring& line : entryLines(outcome.listing)) {
    const ListedEntry entry = listedEntry(line, platform_.locale);
    if (ListFile) ListFile(entry.FileName, entry.FileSize, entry.mDate, entry.mTime);
  }
}

CUnzipFiles::Outcome CUnzipFiles::run(UnzipMode mode) {
  try {
    return runEngine(mode);
  } catch (const AutomationError& error) {
    throw error.from(L"CodeModule::VBUnzip");
  }
}

CUnzipFiles::Outcome CUnzipFiles::runEngine(UnzipMode mode) {
  if (underWay_) throw AutomationError(kPermissionDenied, L"VANTO6.DLL");
  const FlagScope underWay(underWay_);
  lastMessage().clear();
  Client client(platform_, onEvent);
  const std::int32_t code = loadEngine_()->run(requestFor(mode), client);
  return {code, client.listing()};
}

UnzipRequest CUnzipFiles::requestFor(UnzipMode mode) const {
  return {mode,     zipFileName_,   extractDir_, messageLevel_, writeToStdOut_, honorDirectories_,
          verbose_, caseSensitive_, privilege_};
}

std::wstring CUnzipFiles::GetLastMessage() const {
  return lastMessage();
}

}  // namespace qev
