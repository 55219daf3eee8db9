#include "support/RecordingEngine.h"

namespace qev::test {
namespace {

constexpr std::size_t kNameSlots = 100;

std::optional<std::string> textOrNone(const char* text) {
  return text ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

RecordingEngine* RecordingEngine::current_ = nullptr;

RecordingEngine::RecordingEngine() {
  current_ = this;
}

RecordingEngine::~RecordingEngine() {
  current_ = nullptr;
}

CZipFiles::EngineLoader RecordingEngine::loader() {
  return [this] {
    calls.emplace_back("load");
    return engineOf(ZipFunctions{&RecordingEngine::ZpInit,
                                 &RecordingEngine::ZpSetOptions,
                                 &RecordingEngine::ZpArchive,
                                 {},
                                 takesWideNames ? &RecordingEngine::QevArchive : nullptr});
  };
}

void RecordingEngine::say(const std::string& text) const {
  std::string buffer = text;
  callbacks.print(buffer.data(), static_cast<unsigned long>(buffer.size()));
}

std::vector<std::string> RecordingEngine::names() const {
  std::vector<std::string> all;
  for (int i = 0; i < count; ++i) all.push_back(slots.at(static_cast<std::size_t>(i)).value_or("<null>"));
  return all;
}

int WINAPI RecordingEngine::ZpInit(ZIPUSERFUNCTIONS* functions) {
  current_->calls.emplace_back("ZpInit");
  current_->callbacks = *functions;
  return 1;
}

BOOL WINAPI RecordingEngine::ZpSetOptions(ZPOPT* options) {
  current_->calls.emplace_back("ZpSetOptions");
  current_->options = *options;
  current_->date = textOrNone(options->Date);
  current_->root = textOrNone(options->szRootDir);
  return TRUE;
}

int WINAPI RecordingEngine::ZpArchive(int argc, char* zipFileName, char** names) {
  current_->calls.emplace_back("ZpArchive");
  current_->count = argc;
  current_->archive = zipFileName;
  current_->slots.clear();
  for (std::size_t i = 0; i < kNameSlots; ++i) current_->slots.push_back(textOrNone(names[i]));
  return current_->whileArchiving ? current_->whileArchiving(current_->archive) : 0;
}

int WINAPI RecordingEngine::QevArchive(int argc, const wchar_t* zipFileName, const wchar_t* root,
                                       const wchar_t* const* names) {
  current_->calls.emplace_back("QevArchive");
  current_->wide = {zipFileName, root};
  for (int i = 0; i < argc; ++i) current_->wide.emplace_back(names[i]);
  return 0;
}

}  // namespace qev::test
