// A backup run's window for tests that look at what the run leaves.
#pragma once

#include <string>

#include "backup/HacerCopia.h"

namespace qev::test {

class SilentView : public BackupRunView {
 public:
  void showBusy(bool) override {}
  void showOrigin(const std::wstring&) override {}
  void showDestination(const std::wstring&) override {}
  void showResult(const std::wstring&) override {}
  void showProgress(int) override {}
  void showSuccess(const std::wstring&) override { succeeded = true; }
  void showFailure(const std::wstring& text) override { failure = text; }
  void stopTimer() override {}
  void close() override {}
  bool closeAsked() const override { return false; }

  bool succeeded = false;
  std::wstring failure;  // what the window would say
};

}  // namespace qev::test
