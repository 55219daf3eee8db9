// One backup run: archives the host's data into a set, records the outcome in the settings and shows it.
#pragma once

#include <string>

#include "automation/LibraryState.h"
#include "backup/SetFormat.h"
#include "platform/AutomationError.h"
#include "platform/Platform.h"
#include "settings/SettingsStore.h"
#include "zip/CZipFiles.h"

namespace qev {

// The window of a run, as the run sees it. Nothing here throws.
class BackupRunView {
 public:
  virtual ~BackupRunView() = default;

  virtual void showBusy(bool busy) = 0;  // the hourglass
  virtual void showOrigin(const std::wstring& text) = 0;
  virtual void showDestination(const std::wstring& text) = 0;
  virtual void showResult(const std::wstring& text) = 0;  // progress text
  virtual void showProgress(int permille) = 0;            // bytes archived, 0 to 1000
  virtual void showSuccess(const std::wstring& text) = 0;
  virtual void showFailure(const std::wstring& text) = 0;
  virtual void stopTimer() = 0;
  virtual void close() = 0;             // as if its button were pressed
  virtual bool closeAsked() const = 0;  // the user wants it closed when the run is over
};

class BackupRun {
 public:
  // REQUIRES: all references outlive the run.
  BackupRun(Platform& platform, LibraryState& state, SettingsStore& settings, BackupRunView& view,
            CZipFiles::EngineLoader loadEngine = loadZipEngine);

  // Makes the backup set `RutaDestino`, a path of a folder or of a floppy in drive "A:". Nothing is thrown: whatever
  // fails becomes the failure display and the setting `Estado`. A target that exists is replaced only when the user
  // agrees; otherwise the window closes and nothing is recorded.
  void HacerCopia(const std::wstring& RutaDestino);

 private:
  enum class Outcome { Made, Refused, Cancelled };

  Outcome makeSet();
  bool mayReplace();
  void archiveAndStamp();
  void archive();
  void stamp();
  bool copyToDisks();
  void succeed();
  void finishSuccessfulRun();
  void fail(std::int32_t number, const std::wstring& description);
  std::wstring failureText(const std::wstring& error);
  std::wstring retryText(const std::wstring& error);
  std::wstring programFolder() const;
  double numericSetting(const std::wstring& name) const;
  std::wstring formatted(Date date, const wchar_t* pattern) const;

  Platform& platform_;
  LibraryState& state_;
  SettingsStore& settings_;
  BackupRunView& view_;
  SetFormat sets_;
  CZipFiles zip_;
  std::wstring displayPath_;  // the target as the caller named it
  std::wstring workingPath_;  // where the archive is built: the target itself, or the working copy for floppies
};

}  // namespace qev
