// The file system of this machine.
#pragma once

#include "platform/FileSystem.h"
#include "platform/NewFile.h"

namespace qev {

// The product's: 30 seconds, and the windows of the thread get their messages meanwhile.
Patience systemPatience();

class FileSystemWindows : public FileSystem {
 public:
  // `patience`: for each file that is to take a place, and for each name that is to become free.
  explicit FileSystemWindows(Patience patience = {}) : patience_(patience) {}

  bool fileExists(const std::wstring& path) const override;
  bool folderExists(const std::wstring& path) const override;
  void createFolder(const std::wstring& path) override;
  void deleteFile(const std::wstring& path, bool force) override;
  void copyFile(const std::wstring& from, const std::wstring& to) override;
  void moveFile(const std::wstring& from, const std::wstring& to) override;
  std::unique_ptr<FileReader> openForReading(const std::wstring& path) override;
  std::unique_ptr<FileReplacement> replaceFile(const std::wstring& path) override;
  void walkFiles(const std::wstring& folder,
                 const std::function<void(const std::wstring& path, std::uint64_t size)>& visit) const override;
  std::vector<ListedFile> filesIn(const std::wstring& folder) const override;
  void removeLeftOvers(const std::wstring& folder) override;
  std::uint64_t fileSize(const std::wstring& path) const override;

 private:
  const Patience patience_;
};

}  // namespace qev
