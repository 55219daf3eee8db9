// Builds one set of a host's data and puts it in its place.
//
//   1. the data is looked through; what is certain to fail, fails here
//   2. the engine makes the archive, under a name of this process's own beside the target
//   3. the set is written, its header line first, under another such name; from then on nobody can write it
//   4. in safe mode: the archive is compared with the data, the header is read as the restore dialog reads it, and the
//      engine tests the set; without it, what differs is a remark
//   5. the set takes the target's name in one step
//
// Until 5 the target is what it was. Whatever fails, nothing is left, with one exception: an archive that is finished
// and cannot be given its header stays as `keptArchive`.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backup/BackupRunView.h"
#include "backup/DataFiles.h"
#include "backup/SetComparison.h"
#include "platform/AutomationError.h"
#include "platform/Platform.h"
#include "record/RunRecord.h"
#include "set/SetHeader.h"
#include "settings/HostSettings.h"
#include "zip/CUnzipFiles.h"
#include "zip/CZipFiles.h"
#include "zip/ZipDirectory.h"

namespace qev {

class SetBuild {
 public:
  struct Job {
    HostSettings host;
    DataPlaces places;
    std::wstring target;  // the set's path
    bool isSafe = false;
  };

  // REQUIRES: all references outlive the object.
  SetBuild(Platform& platform, Job job, BackupRunView& view, RunRecord& record, CZipFiles::EngineLoader loadEngine,
           CUnzipFiles::EngineLoader loadTester);

  // Builds the set. Throws AutomationError: 76 for a missing folder of the data or of the target, 70 where writing is
  // not permitted or the target is in use, 61 for want of room, 53 where there is nothing to archive; in safe mode 75
  // for data that has changed meanwhile, and the engine's code where nothing else tells the reason.
  void run();

  // Where the archive stays that could not be given its header.
  [[nodiscard]] static std::wstring keptArchive(const std::wstring& target) { return target + L".sin-cabecera.zip"; }

 private:
  using Entries = std::vector<ZipDirectoryEntry>;

  bool build(bool isLastTry);
  [[nodiscard]] bool canMakeRoom(const AutomationError& error) const;
  void makeRoom();
  void prepare();
  void requireSound(const DataFiles& data);
  void requireRoom(const DataFiles& data) const;
  [[nodiscard]] DataFiles lookAtData();
  void archive(const DataFiles& data);
  void hear(const EngineEvent& event);
  [[noreturn]] void explainMissingArchive() const;
  [[nodiscard]] AutomationError explained(const AutomationError& error) const;
  [[nodiscard]] std::unique_ptr<FileReplacement> stamp(const SetHeader& header);
  [[nodiscard]] bool keepArchive();
  [[nodiscard]] Entries contentsOf(const std::wstring& path);
  void noteDifferences(const DataFiles& before, const Entries& entries);
  [[nodiscard]] bool isAsTheData(const Entries& entries, bool isLastTry);
  void checkHeader(const std::wstring& path, const SetHeader& header);
  void test(const std::wstring& path, const Entries& entries);
  void showPart(int from, int to, std::uint64_t done, std::uint64_t total);
  void step();

  Platform& platform_;
  const Job job_;
  BackupRunView& view_;
  RunRecord& record_;
  CZipFiles zip_;
  CUnzipFiles::EngineLoader loadTester_;
  std::wstring archivePath_;
  std::uint64_t archiveBytes_ = 0;  // of the last archive that was made
  int shown_ = 0;                   // of the bar
  std::uint64_t lastStep_ = 0;      // moment of the last look at the windows' messages, in ticks of the clock
};

}  // namespace qev
