#include "support/FakePlatform.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace qev::test {
namespace {

std::wstring lowered(std::wstring text) {
  for (wchar_t& c : text) {
    const bool letter = (c >= L'A' && c <= L'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
    if (letter) c = static_cast<wchar_t>(c + 32);
  }
  return text;
}

std::string ascii(const std::wstring& text) {
  std::string out;
  for (const wchar_t c : text) out += c >= 32 && c < 127 ? static_cast<char>(c) : '?';
  return out;
}

void requireRoot(std::uint32_t root) {
  if (root < 0x80000000 || root > 0x80000006) throw AutomationError(kDeviceInputOutput);
}

}  // namespace

Date moment(int year, unsigned month, unsigned day, int hour, int minute, int second) {
  const double midnight = dateOf(std::chrono::year{year} / static_cast<int>(month) / static_cast<int>(day)).days;
  const double timeOfDay = (hour * 3600 + minute * 60 + second) / 86400.0;
  return Date{midnight < 0 ? midnight - timeOfDay : midnight + timeOfDay};
}

// --- FakeRegistry ---

Value FakeRegistry::read(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root) const {
  if (readError) throw AutomationError(*readError);
  requireRoot(root);
  const auto found = values_.find(addressOf(root, keyPath, name));
  return found == values_.end() ? Value{} : found->second;
}

void FakeRegistry::write(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root,
                         const Value& value) {
  if (writeError) throw AutomationError(*writeError);
  requireRoot(root);
  const Value kept = std::visit(
      [&](const auto& held) -> Value {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, bool>)
          return std::int32_t{held ? -1 : 0};
        else if constexpr (std::is_integral_v<T>)
          return static_cast<std::int32_t>(held);
        else
          return locale_.toText(value);
      },
      value);
  values_[addressOf(root, keyPath, name)] = kept;
  writes.emplace_back(name, value);
}

void FakeRegistry::put(const std::wstring& keyPath, const std::wstring& name, const Value& value) {
  values_[addressOf(kLocalMachine, keyPath, name)] = value;
}

FakeRegistry::Address FakeRegistry::addressOf(std::uint32_t root, const std::wstring& keyPath,
                                              const std::wstring& name) {
  return {root, lowered(keyPath), lowered(name)};
}

// --- FakeMessages ---

FakeMessages::~FakeMessages() {
  EXPECT_EQ(next_, answers_.size()) << "answers were prepared that no message box asked for";
}

void FakeMessages::willAnswer(std::vector<Answer> answers) {
  answers_.insert(answers_.end(), answers.begin(), answers.end());
}

Answer FakeMessages::show(const std::wstring& text, const std::wstring& title, std::uint32_t style) {
  shown.push_back({text, title, style});
  if (onShow) onShow(Shown{shown.back()});
  if (next_ < answers_.size()) return answers_[next_++];
  ADD_FAILURE() << "a message box that the test does not expect: " << ascii(text);
  const std::uint32_t buttons = style & 15;
  if (buttons == message::kYesNo) return Answer::No;
  return buttons == message::kOkCancel ? Answer::Cancel : Answer::Ok;
}

// --- FakeDrives ---

void FakeDrives::willReport(std::vector<std::optional<DiskFreeSpace>> answers) {
  answers_ = std::move(answers);
  next_ = 0;
}

std::optional<DiskFreeSpace> FakeDrives::freeSpace(const std::wstring& driveName) const {
  queried.push_back(driveName);
  if (answers_.empty()) {
    ADD_FAILURE() << "a query of free space that the test does not expect: " << ascii(driveName);
    return std::nullopt;
  }
  const auto answer = answers_[next_];
  if (next_ + 1 < answers_.size()) ++next_;
  return answer;
}

// --- FakeFolderChooser ---

FakeFolderChooser::~FakeFolderChooser() {
  EXPECT_EQ(next_, answers_.size()) << "answers were prepared that no folder chooser asked for";
}

void FakeFolderChooser::willAnswer(std::vector<std::optional<std::wstring>> answers) {
  answers_.insert(answers_.end(), answers.begin(), answers.end());
}

std::optional<std::wstring> FakeFolderChooser::choose(const std::wstring& title, const std::wstring& startFolder) {
  shown.push_back({title, startFolder});
  if (next_ < answers_.size()) return answers_[next_++];
  ADD_FAILURE() << "a folder chooser that the test does not expect: " << ascii(title);
  return std::nullopt;
}

// --- FakeFileChooser ---

FakeFileChooser::~FakeFileChooser() {
  EXPECT_EQ(next_, answers_.size()) << "answers were prepared that no file chooser asked for";
}

void FakeFileChooser::willAnswer(std::vector<std::optional<std::wstring>> answers) {
  answers_.insert(answers_.end(), answers.begin(), answers.end());
}

std::optional<std::wstring> FakeFileChooser::choose(const std::wstring& title, const std::wstring& filter,
                                                    const std::wstring& startFolder) {
  shown.push_back({title, filter, startFolder});
  if (next_ < answers_.size()) return answers_[next_++];
  ADD_FAILURE() << "a file chooser that the test does not expect: " << ascii(title);
  return std::nullopt;
}

// --- FakeTextPrompt ---

FakeTextPrompt::~FakeTextPrompt() {
  EXPECT_EQ(next_, answers_.size()) << "answers were prepared that no text prompt asked for";
}

void FakeTextPrompt::willAnswer(std::vector<std::optional<std::wstring>> answers) {
  answers_.insert(answers_.end(), answers.begin(), answers.end());
}

std::optional<std::wstring> FakeTextPrompt::ask(const std::wstring& prompt, const std::wstring& title) {
  shown.push_back({prompt, title});
  if (next_ < answers_.size()) return answers_[next_++];
  ADD_FAILURE() << "a text prompt that the test does not expect: " << ascii(prompt);
  return std::nullopt;
}

// --- FakeProcesses ---

std::unique_ptr<ProcessLock> FakeProcesses::lock(const std::wstring& name, std::uint32_t) {
  struct Held : ProcessLock {
    Held(std::set<std::wstring>& all, const std::wstring& one) : names(all), name(*all.insert(one).first) {}
    ~Held() override { names.erase(name); }
    std::set<std::wstring>& names;
    const std::wstring name;
  };
  asked.push_back(name);
  if (busy || held.contains(name)) return nullptr;
  return std::make_unique<Held>(held, name);
}

// --- FakeSession ---

std::unique_ptr<Uninterrupted> FakeSession::keep(WindowHandle window, const std::wstring& reason) {
  struct Scope : Uninterrupted {
    explicit Scope(std::vector<Kept>& kept) : now(kept) {}
    ~Scope() override { now.pop_back(); }
    std::vector<Kept>& now;
  };
  ever.push_back({window, reason});
  now.push_back(ever.back());
  return std::make_unique<Scope>(now);
}

}  // namespace qev::test
