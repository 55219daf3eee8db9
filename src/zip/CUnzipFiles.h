// Lists and extracts a zip archive by one run of the unzip engine each.
//
// Calling order: create; set ZipFileName, ExtractDir, HonorDirectories, …; Unzip or ListZipFile; GetLastMessage. For
// one thread; the engine runs on the caller's, and its messages let waiting window messages through.
//
// The questions that a run may ask: whether an existing file is to be replaced (a message box; Unzip overwrites without
// asking, so the engine has no reason to), and the password of an encrypted archive (a text prompt, once a run).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Platform.h"
#include "zip/ArchiveEngine.h"

namespace qev {

class CUnzipFiles {
 public:
  using EngineLoader = std::function<std::unique_ptr<UnzipEngine>()>;

  explicit CUnzipFiles(Platform& platform, EngineLoader loadEngine = loadUnzipEngine);

  // How quiet the engine is, handed to it as it stands: 0 a message for each entry, 1 none for those restored, 2 errors
  // only. 0 at first.
  std::int32_t MessageLevel() const { return messageLevel_; }
  void setMessageLevel(std::int32_t level) { messageLevel_ = level; }

  // Whether entries are extracted to the message text in place of files; false at first.
  bool WriteToStdOut() const { return writeToStdOut_ == 1; }
  void setWriteToStdOut(bool toMessages) { writeToStdOut_ = toMessages ? 1 : 0; }

  // Whether the folders stored in the archive are re-created below ExtractDir; true at first. False: all files go into
  // ExtractDir itself.
  bool HonorDirectories() const { return honorDirectories_ == 1; }
  void setHonorDirectories(bool honor) { honorDirectories_ = honor ? 1 : 0; }

  // Handed to the engine; false at first.
  bool Verbose() const { return verbose_ == 1; }
  void setVerbose(bool verbose) { verbose_ = verbose ? 1 : 0; }

  // Handed to the engine as it stands; true at first.
  bool CaseSensitive() const { return caseSensitive_ == 1; }
  void setCaseSensitive(bool sensitive) { caseSensitive_ = sensitive ? 1 : 0; }

  // Handed to the engine as it stands; 0 at first.
  std::int32_t Privilege() const { return privilege_; }
  void setPrivilege(std::int32_t privilege) { privilege_ = privilege; }

  // Path of the archive.
  const std::wstring& ZipFileName() const { return zipFileName_; }
  void setZipFileName(const std::wstring& path) { zipFileName_ = path; }

  // The folder that Unzip extracts to; empty is the current folder.
  const std::wstring& ExtractDir() const { return extractDir_; }
  void setExtractDir(const std::wstring& path) { extractDir_ = path; }

  // Extracts the archive, over existing files, and returns the engine's code (kUnzipDone is success): engine failures
  // are not raised. An argument that is not empty replaces the property of its name first. Throws, always from
  // "RvUnZipFiles::Unzip": what the engine's loader throws, what a message handler or a prompt throws, 70 when a run of
  // this class is under way. The engine is unloaded when the run is over.
  std::int32_t Unzip(const std::wstring& sZipFileName = {}, const std::wstring& sExtractDir = {});

  // An addition of this library: tests the archive named by ZipFileName. Every entry is unpacked and compared with its
  // length and its CRC-32; nothing is written. Returns the engine's code: kUnzipDone when the whole archive is good,
  // kUnzipWarning when it is and there was something to remark, bytes before it for instance. Throws what Unzip throws,
  // from "RvUnZipFiles::Test".
  [[nodiscard]] std::int32_t Test();

  // Lists the archive named by ZipFileName: calls ListFile for each entry, in archive order, after the engine's run.
  // Engine failures are not raised: there are fewer entries, or none. Throws what Unzip throws, from
  // "CodeModule::VBUnzip"; 13 when the size column of a listing line is not a number; what ListFile throws.
  void ListZipFile();

  // The engine's messages of the last run of either archive class, a line feed after each.
  std::wstring GetLastMessage() const;

  // Called by ListZipFile with an entry: its path in the archive (its first 100 characters, trimmed), its unpacked size
  // in bytes (the last 7 digits), its date as "mm/dd/yy" and its time as "hh:mm", both local.
  std::function<void(const std::wstring& FileName, std::int32_t FileSize, const std::wstring& mDate,
                     const std::wstring& mTime)>
      ListFile;

  // Called with what the engine tells, as it comes.
  std::function<void(const EngineEvent& event)> onEvent;

 private:
  static inline bool underWay_ = false;  // an engine runs once at a time

  struct Outcome {
    std::int32_t code = 0;
    std::wstring listing;
  };

  Outcome run(UnzipMode mode);
  Outcome runEngine(UnzipMode mode);
  UnzipRequest requestFor(UnzipMode mode) const;

  Platform& platform_;
  EngineLoader loadEngine_;
  std::int32_t messageLevel_ = 0;
  std::int16_t writeToStdOut_ = 0;
  std::int16_t honorDirectories_ = 1;
  std::int16_t verbose_ = 0;
  std::int16_t caseSensitive_ = 1;
  std::int32_t privilege_ = 0;
  std::wstring zipFileName_;
  std::wstring extractDir_;
};

}  // namespace qev
