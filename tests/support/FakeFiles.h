// A file system in memory that can be told to fail, and that holds files of many GB of one byte in a few bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AutomationError.h"
#include "platform/FileSystem.h"

namespace qev::test {

// The bytes of a file, long runs of one byte kept as their length.
class FileContent {
 public:
  FileContent() = default;
  explicit FileContent(std::string_view bytes) { append(bytes); }

  void append(std::string_view bytes);
  void appendRun(char byte, std::uint64_t count);

  std::uint64_t size() const { return size_; }

  // Copies bytes from `position` on into `buffer`; returns how many, less than its size only at the end.
  std::size_t read(std::uint64_t position, std::span<std::byte> buffer) const;

  // The whole content. REQUIRES: at most 256 MiB.
  std::string bytes() const;

 private:
  struct Piece {
    std::uint64_t start = 0;
    std::string literal;      // the bytes themselves, or
    char byte = 0;            // this byte
    std::uint64_t count = 0;  // so many times
    std::uint64_t size() const { return literal.size() + count; }
  };
  void appendLiteral(std::string_view bytes);

  std::vector<Piece> pieces_;
  std::uint64_t size_ = 0;
};

class FakeFiles : public FileSystem {
 public:
  // Puts a file there, with the folders that lead to it.
  void put(const std::wstring& path, std::string_view bytes) { putContent(path, FileContent(bytes)); }
  void putRun(const std::wstring& path, char byte, std::uint64_t count);
  void putContent(const std::wstring& path, FileContent content);
  void putFolder(const std::wstring& path);

  // The file has this creation date from now on; the zero date until then. A file that takes its place inherits it, but
  // a replacement that is committed with CreationTime::Now has `now`.
  void setCreated(const std::wstring& path, Date created) { entry(path).created = created; }
  Date createdOf(const std::wstring& path) const { return find(path) ? find(path)->created : Date{}; }
  Date now;

  // The paths of deletions that did not wait for the name.
  std::vector<std::wstring> namesNotAwaited;

  void makeReadOnly(const std::wstring& path) { entry(path).readOnly = true; }
  bool isReadOnly(const std::wstring& path) const { return find(path) && find(path)->readOnly; }

  // The names of what lies in a folder, in their order.
  std::vector<std::wstring> list(const std::wstring& folder) const;

  // Opening the file for reading throws `number` from now on.
  void makeUnreadable(const std::wstring& path, ErrorNumber number = kPermissionDenied) {
    entry(path).openError = number;
  }

  // Walks find the file hidden from now on.
  void makeHidden(const std::wstring& path) { entry(path).isHidden = true; }

  // Walks cannot look into this folder (with its last backslash) from now on.
  void makeGap(const WalkGap& gap) { gaps_.push_back(gap); }

  // The file counts as written anew.
  void touch(const std::wstring& path) { entry(path).written = ++writes_; }

  // Called before a file is opened, live ones included.
  std::function<void(const std::wstring& path)> onOpen;

  // The bytes of a file, "<none>" when there is none.
  std::string bytes(const std::wstring& path) const;
  const FileContent& content(const std::wstring& path) const;

  // Full paths of all files, as they were first written, in the order of their names.
  std::vector<std::wstring> paths() const;

  // The call with this index, counted from 1 and from now on, throws `number` and does nothing; 0 takes it back. What
  // counts: everything that can throw, of the file system, of its readers and of its replacements.
  void failAt(std::size_t call, ErrorNumber number = kDeviceInputOutput);

  // Every call of replaceFile for this path throws, until allowWriting().
  void denyWriting(const std::wstring& path, ErrorNumber number = kPermissionDenied);
  void allowWriting() { writeErrors_.clear(); }

  // copyFile to this path throws the numbers one after another, one a call, then works.
  void failCopiesTo(const std::wstring& path, std::vector<ErrorNumber> numbers);

  // Writing beyond so many bytes in all files together throws 61, disk full; nothing: no limit.
  std::optional<std::uint64_t> capacity;

  // Every call of flush.
  std::vector<std::wstring> flushed;

  // Every call of removeLeftOvers.
  std::vector<std::wstring> leftOversRemovedFrom;

  // What happened since the start or the last failAt.
  std::size_t calls() const { return calls_; }

  // The most bytes that one read or write moved.
  std::size_t largestTransfer() const { return largestTransfer_; }

  // Readers and replacements that are open now.
  std::size_t openReaders() const;
  std::size_t openReplacements() const { return openReplacements_; }

  bool fileExists(const std::wstring& path) const override;
  bool folderExists(const std::wstring& path) const override;
  void createFolder(const std::wstring& path) override;
  void deleteFile(const std::wstring& path, bool force, FreeName name = FreeName::Awaited) override;
  void copyFile(const std::wstring& from, const std::wstring& to) override;
  void requireReplaceable(const std::wstring& path) override;
  void flush(const std::wstring& path) override;
  void moveFile(const std::wstring& from, const std::wstring& to) override;
  std::unique_ptr<FileReader> openForReading(const std::wstring& path) override;
  std::unique_ptr<FileReader> openLive(const std::wstring& path) override { return openForReading(path); }
  std::wstring unfinishedName(const std::wstring& path) const override;
  std::unique_ptr<FileReplacement> replaceFile(const std::wstring& path) override;
  void walkFiles(const std::wstring& folder, const WalkVisitor& visitor) const override;
  // In the order in which the files were first put there.
  void removeLeftOvers(const std::wstring& folder) override { leftOversRemovedFrom.push_back(folder); }
  std::vector<ListedFile> filesIn(const std::wstring& folder) const override;
  std::uint64_t fileSize(const std::wstring& path) const override;

 private:
  class Reader;
  class Replacement;
  struct Entry {
    std::wstring path;
    FileContent content;
    Date created;
    std::uint64_t number = 0;  // counts the files as they come
    std::uint64_t written = 0;
    bool readOnly = false;
    bool isHidden = false;
    std::optional<ErrorNumber> openError;
    std::size_t readers = 0;
  };

  void step() const;
  void requireParentFolder(const std::wstring& path) const;
  void requireNoFolder(const std::wstring& path) const;
  void requireRoom(std::uint64_t more) const;
  Entry& entry(const std::wstring& path);
  const Entry* find(const std::wstring& path) const;

  std::map<std::wstring, Entry> files_;           // by path in one letter case
  std::map<std::wstring, std::wstring> folders_;  // likewise, without last backslash
  std::map<std::wstring, ErrorNumber> writeErrors_;
  std::map<std::wstring, std::vector<ErrorNumber>> copyErrors_;
  std::vector<WalkGap> gaps_;
  std::uint64_t writes_ = 0;
  mutable int unfinished_ = 0;
  mutable std::size_t calls_ = 0;
  std::size_t failAt_ = 0;
  std::uint64_t filesPut_ = 0;
  ErrorNumber failNumber_ = kDeviceInputOutput;
  std::size_t largestTransfer_ = 0;
  std::size_t openReplacements_ = 0;
};

}  // namespace qev::test
