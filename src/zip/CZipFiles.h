// Builds a zip archive from a list of names by one run of the zip engine.
//
// Calling order: create; set ZipFileName, RootDirectory, RecurseFolders, UpdatingZip; AddFile for each name or wildcard
// pattern; MakeZipFile; GetLastMessage. For one thread; the engine runs on the caller's, and its messages let waiting
// window messages through.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "zip/ArchiveEngine.h"

namespace qev {

class CZipFiles {
 public:
  using EngineLoader = std::function<std::unique_ptr<ZipEngine>()>;

  CZipFiles(const Locale& locale, EventLoop& eventLoop, EngineLoader loadEngine = loadZipEngine);

  // Path of the archive to create or update.
  const std::wstring& ZipFileName() const { return zipFileName_; }
  void setZipFileName(const std::wstring& path) { zipFileName_ = path; }

  // Base folder against which the engine resolves the names; a single backslash at first. It reaches the engine in
  // capitals.
  const std::wstring& RootDirectory() const { return rootDirectory_; }
  void setRootDirectory(const std::wstring& path) { rootDirectory_ = path; }

  // Whether subfolders of the named folders and patterns are archived too; false at first.
  bool RecurseFolders() const { return recurseMode_ == 2; }
  void setRecurseFolders(bool recurse) { recurseMode_ = recurse ? 2 : 0; }

  // Kept for callers and never handed to the engine: archives are not encrypted.
  bool Encrypted() const { return encrypt_ == 1; }
  void setEncrypted(bool encrypted) { encrypt_ = encrypted ? 1 : 0; }

  // Whether an existing archive is updated; false at first.
  bool UpdatingZip() const { return update_ == 1; }
  void setUpdatingZip(bool updating) { update_ = updating ? 1 : 0; }

  // Whether hidden and system files that a pattern matches are archived too; false at first.
  bool HiddenFiles() const { return hidden_; }
  void setHiddenFiles(bool hidden) { hidden_ = hidden; }

  // How many names were added.
  std::int32_t ZipFileCount() const;

  // Adds a name or wildcard pattern. Throws 0x800407D1 from "RvZip::AddFile" when it is listed already; letter case
  // does not count.
  void AddFile(const std::wstring& sFileName);

  // Takes a name off the list. Throws 0x800407D2 from "RvZip::RemoveFile" when it is not listed.
  void RemoveFile(const std::wstring& sFileName);

  // Runs the engine over the whole list and returns its code (kZipDone is success): engine failures are not raised.
  // Throws, always from "RvZipFiles::MakeZipFile": 9 when more than 99 names were added, what loadZipEngine throws,
  // what a message handler throws. The engine is unloaded when the run is over.
  std::int32_t MakeZipFile();

  // The engine's messages of the last run of either archive class.
  std::wstring GetLastMessage() const;

  // Called with what the engine tells, as it comes.
  std::function<void(const EngineEvent& event)> onEvent;

 private:
  static inline bool underWay_ = false;  // an engine runs once at a time

  using Names = std::vector<std::wstring>;

  Names::const_iterator find(const std::wstring& name) const;
  std::int32_t runEngine();

  const Locale& locale_;
  EventLoop& eventLoop_;
  EngineLoader loadEngine_;
  Names names_;
  std::int16_t recurseMode_ = 0;
  std::wstring zipFileName_;
  std::int16_t encrypt_ = 0;
  std::wstring rootDirectory_ = L"\\";
  std::int16_t update_ = 0;
  bool hidden_ = false;
};

}  // namespace qev
