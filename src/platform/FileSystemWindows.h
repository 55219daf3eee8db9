// The file system of this machine.
#pragma once

#include "platform/FileSystem.h"

namespace qev {

class FileSystemWindows : public FileSystem {
 public:
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
  std::uint64_t fileSize(const std::wstring& path) const override;
};

}  // namespace qev
