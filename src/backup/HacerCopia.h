// One backup run: archives the host's data into a set, records the outcome in the settings and shows it.
//
// In both modes the set is built beside the target, under a name of this process's own, and takes the target's name in
// one step when it is finished. Whatever stands under that name is whole at every moment: the old set or the new one.
// Whatever fails, the old one stays.
//
// In safe mode (setting `Verificar`) a success means: every file that was in the data folder, and `Util.mde` and the
// host's .ini where they exist, is in the set, as it stood at one moment at which nobody was writing it; the set passes
// the engine's test, and is one that the restore dialog takes. So
//
//   - a folder that cannot be listed, a data folder without files, and any file that cannot be read end the run;
//   - when the archive is made, every file is read again and compared with its entry (backup/SetComparison.h). Where
//   only
//     a few small files have changed, the run tries once more by itself;
//   - the set is tested as it will stand there, every entry against its CRC-32, and its header is read as the dialog
//   for
//     restoring reads it;
//   - a disk that was skipped is a failure, and each disk is compared with its piece.
//
// What cannot be so is a failure that names the first file and the reason. Without safe mode the engine's code is not
// looked at, and a skipped disk is a success; what was seen on the way is a remark in the record.
//
// A data folder that is not there, a host whose data folder is not told, and another run to the same target are
// failures in both modes, before anything is changed. An archive that is made and cannot be given its header is a
// failure too; it stays, beside the target (backup/SetBuild.h, which has the steps).
#pragma once

#include <cstdint>
#include <string>

#include "backup/BackupRunView.h"
#include "backup/DataFiles.h"
#include "platform/Platform.h"
#include "record/RunRecord.h"
#include "settings/HostSettings.h"
#include "settings/SettingsStore.h"
#include "zip/CUnzipFiles.h"
#include "zip/CZipFiles.h"

namespace qev {

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
  void choosePaths();
  bool toFloppy() const;
  bool mayReplace();
  void buildSet();
  bool copyToDisks();
  void succeed();
  void finishSuccessfulRun();
  void fail(std::int32_t number, const std::wstring& description);
  std::wstring failureText(const std::wstring& error);
  std::wstring retryText(const std::wstring& error);
  double numericSetting(const std::wstring& name) const;

  Platform& platform_;
  const HostSettings host_;
  const std::uint8_t kind_;
  SettingsStore& settings_;
  BackupRunView& view_;
  CZipFiles::EngineLoader loadEngine_;
  CUnzipFiles::EngineLoader loadTester_;
  bool safe_ = false;  // as the setting was when the run began
  DataPlaces places_;
  std::wstring displayPath_;  // the target as the caller named it
  std::wstring workingPath_;  // where the set is made: the target itself, or the working copy for floppies
  RunRecord record_;
};

}  // namespace qev
