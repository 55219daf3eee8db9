// One restore run: extracts the archive of a backup set into the place that the user chose; of a set on several disks,
// when it has asked for one after the other and joined what they hold.
//
// The set is only read. Its archive is extracted from a copy without header in the work folder, which goes when the run
// ends; one that a killed run left behind goes when the next begins.
//
// In safe mode (setting `Verificar`) the archive is tested first, every entry against its CRC-32: of a set that is not
// good nothing is restored, and the data stays as it is.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/Platform.h"
#include "record/RunRecord.h"
#include "set/SetHeader.h"
#include "settings/HostSettings.h"
#include "zip/CUnzipFiles.h"
#include "zip/ZipDirectory.h"

namespace qev {

// What the user chose in the restore dialog.
struct RestoreChoice {
  std::wstring Archivo;          // path of the set
  std::optional<SetHeader> set;  // what its header says; nothing where the dialog did not take it for a set
  std::wstring Destino;          // the folder to extract to, as the dialog shows it
  bool originalLocation = true;  // extract to where the data came from, in place of Destino
  bool keepFolders = true;       // re-create the folders stored in the archive
  bool safe = false;             // test the archive before anything is restored
  bool bareDisks = false;        // an earlier run has found a set on disks without headers
};

// The window of a run, as the run sees it.
class RestoreRunView {
 public:
  virtual ~RestoreRunView() = default;

  virtual void showProgress(std::optional<int> permille) = 0;  // 0 to 1000; nothing where it cannot be told
  virtual void showTesting(bool testing) = 0;                  // the archive is being tested
  virtual bool closeAsked() const = 0;                         // the user wants it closed when the run is over
};

class RestoreRun {
 public:
  enum class Outcome { Restored, Cancelled };

  // The run works on these values of the host, whatever the host sets meanwhile. REQUIRES: all references outlive it.
  RestoreRun(Platform& platform, HostSettings host, RestoreRunView& view, RestoreChoice choice,
             CUnzipFiles::EngineLoader loadEngine = loadUnzipEngine);

  // Restores the set. A failure of the engine is told in a message box, and counts as restored; Cancelled is the user's
  // answer to a question about a disk. Throws an AutomationError, whose description says what and where, for anything
  // else that keeps the set from being restored. The run is in the log (record/RunLog.h) from its beginning on.
  Outcome RestaurarCopia();

  // What the log tells of the run; `shown` is what the window is to show of its end, empty where it shows nothing.
  const RunRecord& record() const { return record_; }

  // Whether the set is on disks without headers, for the next run after a cancelled one: the disk that is in the drive
  // then need not be the first, by which they are known.
  bool bareDisks() const { return bareDisks_; }

 private:
  Outcome restore();
  void noteEnd(Outcome outcome);
  void noteError(std::int32_t number, const std::wstring& text);
  void removeLeftOvers() const;
  SetHeader readSet();
  bool isBareSlice() const;
  bool gatherDisks(SetHeader& set);
  bool gatherDisk(int number);
  bool isDisk(int number);
  std::optional<AutomationError> copyError(const std::wstring& piece);
  bool endsArchive(int number) const;
  void extract(const std::wstring& set);
  void prove(const std::wstring& payload, const std::wstring& set, const std::vector<ZipDirectoryEntry>& entries,
             const std::function<void(std::uint64_t)>& tested);
  std::wstring extractionFolder(const SetHeader& set) const;
  std::wstring payloadPath() const;
  Answer ask(const std::wstring& text, std::uint32_t style) const;

  Platform& platform_;
  const HostSettings host_;
  RestoreRunView& view_;
  const RestoreChoice choice_;
  CUnzipFiles::EngineLoader loadEngine_;
  RunRecord record_;
  bool bareDisks_;  // without headers: the archive's end tells the last of them
};

// `error`, told so that a user knows what is wrong with which file: an error of the header's values names neither.
AutomationError setError(const AutomationError& error, const std::wstring& set);

// What the user sees where a set is of another program.
std::wstring foreignSetText(const std::wstring& title);

}  // namespace qev
