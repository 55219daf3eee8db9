// The test of an archive in safe mode: every entry is unpacked and compared with its length and its CRC-32 by the unzip
// engine, with a progress in bytes and what the engine remarks. Nothing is written.
//
// Calling order: create; set onProgress; run, once; remarks.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "zip/CUnzipFiles.h"
#include "zip/EngineRemarks.h"
#include "zip/UnpackProgress.h"
#include "zip/ZipDirectory.h"

namespace qev {

class ArchiveCheck {
 public:
  // `entries`: what the directory of the archive lists, for the progress alone.
  // REQUIRES: the platform outlives the check.
  ArchiveCheck(Platform& platform, CUnzipFiles::EngineLoader loadEngine, const std::wstring& path,
               const std::vector<ZipDirectoryEntry>& entries);

  // Returns the engine's code. Throws what CUnzipFiles::Test throws.
  [[nodiscard]] std::int32_t run();

  // Whether an archive that was tested with this code is good: with or without something to remark.
  static bool isSound(std::int32_t code) { return code == kUnzipDone || code == kUnzipWarning; }

  // What the engine said of it that is not routine.
  const EngineRemarks& remarks() const { return remarks_; }

  // Bytes of all entries, unpacked.
  std::uint64_t total() const { return progress_.total(); }

  // Called with the bytes tested so far, whenever they have grown: up to total().
  std::function<void(std::uint64_t done)> onProgress;

 private:
  CUnzipFiles zip_;
  UnpackProgress progress_;
  EngineRemarks remarks_;
};

}  // namespace qev
