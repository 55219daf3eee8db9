// The window of a backup run, as the run sees it.
#pragma once

#include <string>

namespace qev {

// Nothing here throws.
class BackupRunView {
 public:
  virtual ~BackupRunView() = default;

  virtual void showBusy(bool busy) = 0;  // the hourglass
  virtual void showOrigin(const std::wstring& text) = 0;
  virtual void showDestination(const std::wstring& text) = 0;
  virtual void showResult(const std::wstring& text) = 0;  // progress text
  virtual void showProgress(int permille) = 0;            // 0 to 1000
  virtual void showSuccess(const std::wstring& text) = 0;
  virtual void showFailure(const std::wstring& text) = 0;
  virtual void stopTimer() = 0;
  virtual void close() = 0;             // as if its button were pressed
  virtual bool closeAsked() const = 0;  // the user wants it closed when the run is over
};

}  // namespace qev
