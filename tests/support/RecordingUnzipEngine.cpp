#include "support/RecordingUnzipEngine.h"

namespace qev::test {
namespace {

constexpr int kNameSlots = 100;

std::optional<std::string> textOrNone(const char* text) {
  return text ? std::optional<std::string>(text) : std::nullopt;
}

std::vector<std::optional<std::string>> slotsOf(char** names) {
  std::vector<std::optional<std::string>> slots;
  for (int i = 0; i < kNameSlots; ++i) slots.push_back(textOrNone(names[i]));
  return slots;
}

}  // namespace

RecordingUnzipEngine* RecordingUnzipEngine::current_ = nullptr;

RecordingUnzipEngine::RecordingUnzipEngine() {
  current_ = this;
}

RecordingUnzipEngine::~RecordingUnzipEngine() {
  current_ = nullptr;
}

CUnzipFiles::EngineLoader RecordingUnzipEngine::loader() {
  return [this] {
    calls.emplace_back("load");
    return engineOf(
        UnzipFunctions{&RecordingUnzipEngine::UzpVersion2, &RecordingUnzipEngine::Wiz_SingleEntryUnzip, {}});
  };
}

int RecordingUnzipEngine::say(const std::string& text) const {
  std::string buffer = text;
  return functions.print(buffer.data(), static_cast<unsigned long>(buffer.size()));
}

int RecordingUnzipEngine::mayReplace(const std::string& name) const {
  std::string buffer = name;
  return functions.replace(buffer.data());
}

int RecordingUnzipEngine::tellEntry(const std::string& name, unsigned long size, unsigned month, unsigned day,
                                    unsigned year, unsigned hour, unsigned minute) const {
  std::string buffer = name;
  std::string method = "Defl:N";
  return functions.SendApplicationMessage(size, size, 0, month, day, year, hour, minute, ' ', buffer.data(),
                                          method.data(), 0x12345678, ' ');
}

int RecordingUnzipEngine::serve(const std::string& name) const {
  return functions.ServCallBk(name.c_str(), 1);
}

RecordingUnzipEngine::Password RecordingUnzipEngine::askPassword(int size) const {
  std::string buffer(static_cast<std::size_t>(size), '?');
  const int answer = functions.password(buffer.data(), size, "Enter password: ", "a.txt");
  return {answer, buffer};
}

int WINAPI RecordingUnzipEngine::UzpVersion2(UZPVER* version) {
  current_->calls.emplace_back("UzpVersion2");
  current_->version = *version;
  return 1;  // nobody uses it
}

int WINAPI RecordingUnzipEngine::Wiz_SingleEntryUnzip(int ifnc, char** ifnv, int xfnc, char** xfnv, DCL* options,
                                                      USERFUNCTION* functions) {
  current_->calls.emplace_back("Wiz_SingleEntryUnzip");
  current_->options = *options;
  current_->archive = textOrNone(options->lpszZipFN);
  current_->folder = textOrNone(options->lpszExtractDir);
  current_->functions = *functions;
  current_->includeCount = ifnc;
  current_->excludeCount = xfnc;
  current_->included = slotsOf(ifnv);
  current_->excluded = slotsOf(xfnv);
  return current_->whileUnzipping ? current_->whileUnzipping() : 0;
}

}  // namespace qev::test
