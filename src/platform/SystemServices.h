// The services of this system that are classes of their own (platform/Platform.h and the headers that it includes say
// what each promises), and the parts of them that have tests of their own.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/NewFile.h"
#include "platform/Platform.h"

namespace qev {

// The product's: 30 seconds, and the windows of the thread get their messages meanwhile.
[[nodiscard]] Patience systemPatience();

class FileSystemWindows : public FileSystem {
 public:
  using Copy = decltype(&CopyFileW);

  // `patience`: for each file that is to take a place, and for each name that is to become free; its messages are also
  // given while a file is copied. `copy` does that, on a thread of its own.
  explicit FileSystemWindows(Patience patience = {}, Copy copy = &CopyFileW) : patience_(patience), copy_(copy) {}

  bool fileExists(const std::wstring& path) const override;
  bool folderExists(const std::wstring& path) const override;
  void createFolder(const std::wstring& path) override;
  void deleteFile(const std::wstring& path, bool force, FreeName name = FreeName::Awaited) override;
  void copyFile(const std::wstring& from, const std::wstring& to) override;
  void requireReplaceable(const std::wstring& path) override;
  void flush(const std::wstring& path) override;
  void moveFile(const std::wstring& from, const std::wstring& to) override;
  std::unique_ptr<FileReader> openForReading(const std::wstring& path) override;
  std::unique_ptr<FileReader> openLive(const std::wstring& path) override;
  std::wstring unfinishedName(const std::wstring& path) const override;
  std::unique_ptr<FileReplacement> replaceFile(const std::wstring& path) override;
  void walkFiles(const std::wstring& folder, const WalkVisitor& visitor) const override;
  std::vector<ListedFile> filesIn(const std::wstring& folder) const override;
  void removeLeftOvers(const std::wstring& folder) override;
  std::uint64_t fileSize(const std::wstring& path) const override;

 private:
  const Patience patience_;
  const Copy copy_;
};

// The user's regional conversions by OLE Automation.
class LocaleWindows : public Locale {
 public:
  // As a process of that ANSI code page has them; without one as this process has.
  explicit LocaleWindows(unsigned processCodePage = GetACP()) : processCodePage_(processCodePage) {}

  Date dateFromText(const std::wstring& text) const override;
  std::wstring shortDateText(Date date) const override;
  std::wstring format(const Value& value, const std::wstring& pattern) const override;
  std::int16_t toInt16(const Value& value) const override;
  double toDouble(const Value& value) const override;
  Currency toCurrency(const Value& value) const override;
  bool toBoolean(const Value& value) const override;
  Date toDate(const Value& value) const override;
  std::wstring toText(const Value& value) const override;
  std::wstring upper(const std::wstring& text) const override;
  bool equalIgnoringCase(const std::wstring& a, const std::wstring& b) const override;
  std::string ansiFromText(std::wstring_view text) const override;
  std::wstring textFromAnsi(std::string_view bytes) const override;
  std::string headerBytes(std::wstring_view text) const override;
  std::wstring textFrom(CodePage page, std::string_view bytes) const override;

 private:
  unsigned pageNumber(CodePage page) const;

  unsigned processCodePage_;
};

// The code page of headers, where the process's is `ofProcess` and that of the system's locale `ofSystem`; 0 is none.
[[nodiscard]] unsigned codePageOfSets(unsigned ofProcess, unsigned ofSystem);

class RegistryWindows : public Registry {
 public:
  Value read(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root) const override;
  void write(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root, const Value& value) override;
};

// The choosers are the system's dialog for opening files; that of folders is told to pick folders.
class FileChooserWindows : public FileChooser {
 public:
  std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& filter,
                                     const std::wstring& startFolder) override;
};

class FolderChooserWindows : public FolderChooser {
 public:
  std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& startFolder) override;
};

// The pairs of label and pattern of a chooser's filter. A label without its pattern is left out.
[[nodiscard]] std::vector<std::pair<std::wstring, std::wstring>> filterPairs(const std::wstring& filter);

// The full path of `path`, or of the nearest folder above it when no such folder exists; "" for an empty path and where
// not even its drive is there. GetFullPathNameW, GetFileAttributesW.
[[nodiscard]] std::wstring nearestExistingFolder(const std::wstring& path);

// `path` with exactly one backslash at its end. REQUIRES: not empty.
[[nodiscard]] std::wstring withLastBackslash(std::wstring path);

}  // namespace qev
