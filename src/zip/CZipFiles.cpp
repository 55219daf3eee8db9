#include "zip/CZipFiles.h"

#include <algorithm>

#include "platform/AutomationError.h"
#include "platform/FlagScope.h"
#include "zip/EngineLines.h"
#include "zip/LastMessage.h"

namespace qev {
namespace {

using EventHandler = std::function<void(const EngineEvent&)>;

// Gathers what the engine prints, and lets waiting window messages through.
class Client final : public EngineClient {
 public:
  Client(EventLoop& eventLoop, const EventHandler& onEvent) : eventLoop_(eventLoop), onEvent_(onEvent) {}

  void event(const EngineEvent& event) override {
    if (onEvent_) onEvent_(event);
  }
  void text(const std::wstring& text) override { lastMessage() += text; }

  void yield() override { eventLoop_.yield(); }

 private:
  EventLoop& eventLoop_;
  const EventHandler& onEvent_;
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
  if (names_.size() > kMostNames) throw AutomationError(kSubscriptOutOfRange);
  if (underWay_) throw AutomationError(kPermissionDenied, L"VANTO5.DLL");
  const FlagScope underWay(underWay_);
  lastMessage().clear();
  Client client(eventLoop_, onEvent);
  const ZipRequest request{zipFileName_, locale_.upper(rootDirectory_), names_, recurseMode_, update_, hidden_ ? 1 : 0};
  return loadEngine_()->run(request, client);
}

std::wstring CZipFiles::GetLastMessage() const {
  return lastMessage();
}

}  // namespace qev
