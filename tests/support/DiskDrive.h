// A drive A: whose disks a test inserts and takes out, in front of other files.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/FileSystem.h"

namespace qev::test {

// Forwards to `files`, which must live longer, but for drive A:. That holds the folder of those files that was
// inserted, or no disk: then nothing is there, and what reads or writes throws 71.
class DiskDrive : public FileSystem {
 public:
  explicit DiskDrive(FileSystem& files) : files_(files) {}

  void insert(const std::wstring& folder) { disk_ = folder; }
  void takeOut() { disk_.reset(); }

  // Copies to a path that contains this text throw the numbers one after another.
  void failCopiesTo(const std::wstring& part, std::vector<ErrorNumber> numbers);

  std::optional<std::wstring> denied;  // the disk is full for files whose path contains this text

  bool fileExists(const std::wstring& path) const override;
  bool folderExists(const std::wstring& path) const override { return files_.folderExists(path); }
  void createFolder(const std::wstring& path) override { files_.createFolder(path); }
  void deleteFile(const std::wstring& path, bool force, FreeName name = FreeName::Awaited) override {
    files_.deleteFile(path, force, name);
  }
  void copyFile(const std::wstring& from, const std::wstring& to) override;
  void requireReplaceable(const std::wstring& path) override { files_.requireReplaceable(path); }
  void flush(const std::wstring& path) override { files_.flush(at(path)); }
  void moveFile(const std::wstring& from, const std::wstring& to) override { files_.moveFile(from, to); }
  std::unique_ptr<FileReader> openForReading(const std::wstring& path) override;
  std::unique_ptr<FileReplacement> replaceFile(const std::wstring& path) override;
  std::unique_ptr<FileReader> openLive(const std::wstring& path) override { return files_.openLive(path); }
  std::wstring unfinishedName(const std::wstring& path) const override { return files_.unfinishedName(path); }
  void walkFiles(const std::wstring& folder, const WalkVisitor& visitor) const override {
    files_.walkFiles(folder, visitor);
  }
  void removeLeftOvers(const std::wstring& folder) override { files_.removeLeftOvers(folder); }
  std::vector<ListedFile> filesIn(const std::wstring& folder) const override { return files_.filesIn(folder); }
  std::uint64_t fileSize(const std::wstring& path) const override;

 private:
  bool absent(const std::wstring& path) const;
  void requireDisk(const std::wstring& path) const;
  std::wstring at(const std::wstring& path) const;

  FileSystem& files_;
  std::optional<std::wstring> disk_;
  std::map<std::wstring, std::vector<ErrorNumber>> failures_;
};

}  // namespace qev::test
