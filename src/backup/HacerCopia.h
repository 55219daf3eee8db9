// One backup run: archives the host's data into a set, records the outcome in the settings and shows it.
//
// In safe mode (setting `Verificar`) it does that in other steps, so that a set counts only when it is known to be
// good, and the set that it replaces is there until then:
//
//   - the new set is built beside the target, under its name and ".nueva"; the old one is not touched;
//   - a data folder that is missing, and every code of the engine but 0 (files that it could not open or read), end the
//     run as a failure with that code and what the engine says;
//   - the new set is tested, every entry against its CRC-32, by the unzip engine, the header line before it and all;
//   - only then it takes the target's name, in one step, or is cut for disks.
//
// Whatever fails, the new set goes and the old one stays. A run that is killed may leave a ".nueva" behind, which the
// next run to the same target removes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/Platform.h"
#include "record/RunRecord.h"
#include "settings/HostSettings.h"
#include "settings/SettingsStore.h"
#include "zip/CUnzipFiles.h"
#include "zip/CZipFiles.h"
#include "zip/ZipDirectory.h"

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
  // `kind` is a BackupKindValue. The run works on these values of the host, whatever the host sets meanwhile. REQUIRES:
  // all references outlive it.
  BackupRun(Platform& platform, HostSettings host, std::uint8_t kind, SettingsStore& settings, BackupRunView& view,
            CZipFiles::EngineLoader loadEngine = loadZipEngine, CUnzipFiles::EngineLoader loadTester = loadUnzipEngine);

  // Makes the backup set `RutaDestino`, a path of a folder or of a floppy in drive "A:". Nothing is thrown: whatever
  // fails becomes the failure display and the setting `Estado`. A target that exists is replaced only when the user
  // agrees; otherwise the window closes and nothing is recorded in the settings. However it ends, the run leaves a
  // block in the log (record/RunLog.h).
  void HacerCopia(const std::wstring& RutaDestino);

 private:
  enum class Outcome { Made, Refused, Cancelled };

  void run();
  Outcome makeSet();
  bool mayReplace();
  void buildSet();
  void archive();
  void requireWhole(std::int32_t code) const;
  void stamp();
  std::optional<std::vector<ZipDirectoryEntry>> contents();
  void noteContents();
  void prove();
  bool copyToDisks();
  void succeed();
  void finishSuccessfulRun();
  void fail(std::int32_t number, const std::wstring& description);
  std::wstring failureText(const std::wstring& error);
  std::wstring retryText(const std::wstring& error);
  std::wstring programFolder() const;
  double numericSetting(const std::wstring& name) const;

  Platform& platform_;
  const HostSettings host_;
  const std::uint8_t kind_;
  SettingsStore& settings_;
  BackupRunView& view_;
  CZipFiles zip_;
  CUnzipFiles::EngineLoader loadTester_;
  bool safe_ = false;         // as the setting was when the run began
  std::wstring displayPath_;  // the target as the caller named it
  std::wstring workingPath_;  // where the set is made: the target itself, or the working copy for floppies
  std::wstring buildPath_;    // where it is until it is finished: the same path, in safe mode one beside it
  RunRecord record_;
};

}  // namespace qev
