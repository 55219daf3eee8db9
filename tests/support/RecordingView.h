// A backup run's window for tests: a list of what the run did to it, and how it ended.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "backup/HacerCopia.h"

namespace qev::test {

class RecordingView : public BackupRunView {
 public:
  std::vector<std::wstring> events;  // texts follow their name: "result: Realizando…"
  std::vector<int> progress;
  bool wantsToClose = false;
  bool succeeded = false;  // the last run
  std::wstring failure;    // what the window says of it; empty after a success

  void showBusy(bool busy) override { events.emplace_back(busy ? L"busy" : L"idle"); }
  void showOrigin(const std::wstring& text) override { events.push_back(L"origin:" + text); }
  void showDestination(const std::wstring& text) override { events.push_back(L"destination:" + text); }
  void showResult(const std::wstring& text) override { events.push_back(L"result:" + text); }
  void showProgress(int permille) override { progress.push_back(permille); }
  void showSuccess(const std::wstring& text) override {
    events.push_back(L"success:" + text);
    succeeded = true;
    failure.clear();
  }
  void showFailure(const std::wstring& text) override {
    events.push_back(L"failure:" + text);
    succeeded = false;
    failure = text;
  }
  void stopTimer() override { events.emplace_back(L"timer stopped"); }
  void close() override { events.emplace_back(L"closed"); }
  bool closeAsked() const override { return wantsToClose; }

  bool did(const std::wstring& event) const { return std::ranges::find(events, event) != events.end(); }

  // The text of the last event of a name, "<none>" without one.
  std::wstring textOf(const std::wstring& name) const {
    const auto found = std::find_if(events.rbegin(), events.rend(),
                                    [&](const std::wstring& event) { return event.starts_with(name + L":"); });
    return found == events.rend() ? L"<none>" : found->substr(name.size() + 1);
  }
};

}  // namespace qev::test
