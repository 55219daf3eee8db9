#include "support/FakeFiles.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace qev::test {
namespace {

constexpr std::size_t kShortestRun = 4096;

// A path as this file system knows it: one letter case, one kind of separator, none at the end.
std::wstring keyOf(const std::wstring& path) {
  std::wstring key;
  for (const wchar_t c : path) {
    const bool capital = (c >= L'A' && c <= L'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
    const wchar_t letter = capital ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    const bool separator = letter == L'/' || letter == L'\\';
    if (separator && key.size() > 1 && key.back() == L'\\') continue;
    key += separator ? L'\\' : letter;
  }
  while (!key.empty() && key.back() == L'\\') key.pop_back();
  return key;
}

// A name that unfinishedName has given.
bool isUnfinished(const std::wstring& key) {
  return fileNamePart(key).starts_with(L"qev-") && key.ends_with(L".tmp");
}

bool isUniform(std::string_view bytes) {
  return bytes.size() < 2 || std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

}  // namespace

// --- FileContent ---

void FileContent::append(std::string_view bytes) {
  // Large uniform blocks are cut out, so that a long run that passes through a buffer stays a run.
  std::size_t literalStart = 0;
  std::size_t at = 0;
  if (isUniform(bytes) && bytes.size() >= kShortestRun) return appendRun(bytes[0], bytes.size());
  for (; at + kShortestRun <= bytes.size(); at += kShortestRun) {
    const auto block = bytes.substr(at, kShortestRun);
    if (!isUniform(block)) continue;
    appendLiteral(bytes.substr(literalStart, at - literalStart));
    appendRun(block[0], block.size());
    literalStart = at + kShortestRun;
  }
  appendLiteral(bytes.substr(literalStart));
}

void FileContent::appendLiteral(std::string_view bytes) {
  if (bytes.empty()) return;
  if (!pieces_.empty() && pieces_.back().count > 0 && isUniform(bytes) && bytes[0] == pieces_.back().byte) {
    return appendRun(bytes[0], bytes.size());
  }
  if (pieces_.empty() || pieces_.back().count > 0) pieces_.push_back(Piece{size_, {}, 0, 0});
  pieces_.back().literal.append(bytes);
  size_ += bytes.size();
}

void FileContent::appendRun(char byte, std::uint64_t count) {
  if (count == 0) return;
  if (pieces_.empty() || pieces_.back().count == 0 || pieces_.back().byte != byte) {
    pieces_.push_back(Piece{size_, {}, byte, 0});
  }
  pieces_.back().count += count;
  size_ += count;
}

std::size_t FileContent::read(std::uint64_t position, std::span<std::byte> buffer) const {
  std::size_t done = 0;
  auto piece = std::upper_bound(pieces_.begin(), pieces_.end(), position,
                                [](std::uint64_t at, const Piece& candidate) { return at < candidate.start; });
  if (piece != pieces_.begin()) --piece;
  for (; piece != pieces_.end() && done < buffer.size(); ++piece) {
    const std::uint64_t within = position + done - piece->start;
    if (within >= piece->size()) continue;
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size() - done, piece->size() - within));
    if (piece->count > 0)
      std::memset(buffer.data() + done, piece->byte, length);
    else
      std::memcpy(buffer.data() + done, piece->literal.data() + within, length);
    done += length;
  }
  return done;
}

std::string FileContent::bytes() const {
  if (size_ > 256u << 20) throw std::length_error("a file of this size is not held in memory");
  std::string all(static_cast<std::size_t>(size_), '\0');
  read(0, std::as_writable_bytes(std::span(all)));
  return all;
}

// --- open files ---

class FakeFiles::Reader : public FileReader {
 public:
  Reader(FakeFiles& files, Entry& entry) : files_(files), entry_(entry) { ++entry_.readers; }
  ~Reader() override { --entry_.readers; }

  std::size_t read(std::span<std::byte> buffer) override {
    files_.step();
    files_.largestTransfer_ = std::max(files_.largestTransfer_, buffer.size());
    const std::size_t got = entry_.content.read(position_, buffer);
    position_ += got;
    return got;
  }

  std::uint64_t size() const override {
    files_.step();
    return entry_.content.size();
  }

  void seek(std::uint64_t position) override {
    files_.step();
    position_ = position;
  }

 private:
  FakeFiles& files_;
  Entry& entry_;
  std::uint64_t position_ = 0;
};

class FakeFiles::Replacement : public FileReplacement {
 public:
  Replacement(FakeFiles& files, std::wstring path)
      : files_(files), path_(std::move(path)), written_(files.unfinishedName(path_)) {
    ++files_.openReplacements_;
  }
  ~Replacement() override {
    if (sealed_) files_.files_.erase(keyOf(written_));
    --files_.openReplacements_;
  }

  void write(std::span<const std::byte> bytes) override {
    files_.step();
    if (sealed_) throw std::logic_error("a sealed replacement is written");
    files_.largestTransfer_ = std::max(files_.largestTransfer_, bytes.size());
    files_.requireRoom(content_.size() + bytes.size());
    content_.append(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  }

  std::wstring path() const override { return written_; }

  void seal() override {
    files_.step();
    files_.putContent(written_, FileContent(content_));
    sealed_ = true;
  }

  void commit(std::optional<std::uint32_t>, CreationTime created) override {
    files_.step();
    if (committed_) throw std::logic_error("a replacement is committed twice");
    // As on Windows, a name cannot be given to a new file while the old one is open.
    if (const Entry* old = files_.find(path_); old && old->readers > 0) throw AutomationError(kPermissionDenied);
    files_.requireNoFolder(path_);
    if (sealed_) content_ = std::move(files_.entry(written_).content);
    files_.files_.erase(keyOf(written_));
    files_.putContent(path_, std::move(content_));
    if (created == CreationTime::Now) files_.setCreated(path_, files_.now);
    committed_ = true;
  }

 private:
  FakeFiles& files_;
  std::wstring path_;
  std::wstring written_;
  FileContent content_;
  bool committed_ = false;
  bool sealed_ = false;
};

// --- FakeFiles ---

void FakeFiles::putRun(const std::wstring& path, char byte, std::uint64_t count) {
  FileContent content;
  content.appendRun(byte, count);
  putContent(path, std::move(content));
}

void FakeFiles::putContent(const std::wstring& path, FileContent content) {
  if (const std::wstring folder = parentFolderName(path); !folder.empty()) putFolder(folder);
  Entry& file = files_[keyOf(path)];
  if (file.path.empty()) {
    file.path = path;
    file.number = ++filesPut_;
  }
  file.content = std::move(content);
  file.written = ++writes_;
  file.readOnly = false;
}

void FakeFiles::putFolder(const std::wstring& path) {
  folders_.try_emplace(keyOf(path), path);
  if (const std::wstring parent = parentFolderName(path); !parent.empty()) putFolder(parent);
}

std::string FakeFiles::bytes(const std::wstring& path) const {
  const Entry* file = find(path);
  return file ? file->content.bytes() : "<none>";
}

const FileContent& FakeFiles::content(const std::wstring& path) const {
  const Entry* file = find(path);
  if (!file) throw std::logic_error("no such file in the test's file system");
  return file->content;
}

std::vector<std::wstring> FakeFiles::paths() const {
  std::vector<std::wstring> all;
  for (const auto& [key, file] : files_) all.push_back(file.path);
  return all;
}

std::vector<std::wstring> FakeFiles::list(const std::wstring& folder) const {
  std::vector<std::wstring> names;
  const auto add = [&](const std::wstring& path) {
    if (keyOf(parentFolderName(path)) == keyOf(folder)) names.push_back(fileNamePart(path));
  };
  for (const auto& [key, path] : folders_) add(path);
  for (const auto& [key, file] : files_) add(file.path);
  std::sort(names.begin(), names.end());
  return names;
}

void FakeFiles::failAt(std::size_t call, ErrorNumber number) {
  failAt_ = call;
  failNumber_ = number;
  calls_ = 0;
}

void FakeFiles::denyWriting(const std::wstring& path, ErrorNumber number) {
  writeErrors_.insert_or_assign(keyOf(path), number);
}

void FakeFiles::failCopiesTo(const std::wstring& path, std::vector<ErrorNumber> numbers) {
  std::reverse(numbers.begin(), numbers.end());
  copyErrors_[keyOf(path)] = std::move(numbers);
}

std::size_t FakeFiles::openReaders() const {
  std::size_t open = 0;
  for (const auto& [key, file] : files_) open += file.readers;
  return open;
}

bool FakeFiles::fileExists(const std::wstring& path) const {
  return find(path) != nullptr;
}

bool FakeFiles::folderExists(const std::wstring& path) const {
  return folders_.contains(keyOf(path));
}

void FakeFiles::createFolder(const std::wstring& path) {
  step();
  if (folderExists(path) || fileExists(path)) throw AutomationError(kFileExists);
  requireParentFolder(path);
  folders_.try_emplace(keyOf(path), path);
}

void FakeFiles::deleteFile(const std::wstring& path, bool force, FreeName name) {
  step();
  if (name == FreeName::NotAwaited) namesNotAwaited.push_back(path);
  requireParentFolder(path);
  requireNoFolder(path);
  Entry& file = entry(path);
  if (file.readers > 0 || (file.readOnly && !force)) throw AutomationError(kPermissionDenied);
  files_.erase(keyOf(path));
}

void FakeFiles::copyFile(const std::wstring& from, const std::wstring& to) {
  step();
  if (auto planned = copyErrors_.find(keyOf(to)); planned != copyErrors_.end() && !planned->second.empty()) {
    const ErrorNumber number = planned->second.back();
    planned->second.pop_back();
    throw AutomationError(number);
  }
  requireParentFolder(from);
  const Entry& source = entry(from);
  if (source.openError) throw AutomationError(*source.openError);
  requireParentFolder(to);
  if (const Entry* old = find(to); old && (old->readOnly || old->readers > 0)) throw AutomationError(kPermissionDenied);
  requireRoom(source.content.size());
  putContent(to, FileContent(source.content));
}

void FakeFiles::requireReplaceable(const std::wstring& path) {
  step();
  if (const auto denied = writeErrors_.find(keyOf(path)); denied != writeErrors_.end()) {
    throw AutomationError(denied->second);
  }
  if (const Entry* file = find(path); file && file->readers > 0) throw AutomationError(kPermissionDenied);
}

void FakeFiles::flush(const std::wstring& path) {
  step();
  static_cast<void>(entry(path));
  flushed.push_back(path);
}

void FakeFiles::moveFile(const std::wstring& from, const std::wstring& to) {
  step();
  const Entry& source = entry(from);
  requireParentFolder(to);
  if (const Entry* old = find(to); source.readers > 0 || (old && old->readers > 0)) {
    throw AutomationError(kPermissionDenied);
  }
  if (const auto denied = writeErrors_.find(keyOf(to)); denied != writeErrors_.end()) {
    throw AutomationError(denied->second);
  }
  putContent(to, FileContent(source.content));
  files_.erase(keyOf(from));
}

std::unique_ptr<FileReader> FakeFiles::openForReading(const std::wstring& path) {
  step();
  if (onOpen) onOpen(path);
  if (path.empty()) throw AutomationError(kPathNotFound);
  requireParentFolder(path);
  requireNoFolder(path);
  Entry& file = entry(path);
  if (file.openError) throw AutomationError(*file.openError);
  return std::make_unique<Reader>(*this, file);
}

std::unique_ptr<FileReplacement> FakeFiles::replaceFile(const std::wstring& path) {
  step();
  if (const auto denied = writeErrors_.find(keyOf(path)); denied != writeErrors_.end()) {
    throw AutomationError(denied->second);
  }
  requireParentFolder(path);
  return std::make_unique<Replacement>(*this, path);
}

std::wstring FakeFiles::unfinishedName(const std::wstring& path) const {
  return parentFolderName(path) + L"\\qev-" + std::to_wstring(++unfinished_) + L".tmp";
}

void FakeFiles::walkFiles(const std::wstring& folder, const WalkVisitor& visitor) const {
  const std::wstring start = keyOf(folder) + L"\\";
  std::vector<WalkGap> gaps = gaps_;
  if (!folderExists(folder)) gaps.push_back({WalkGap::Reason::Unreadable, folder, kPathNotFound});
  for (const auto& [key, file] : files_) {
    if (key.starts_with(start) && !isUnfinished(key)) {
      visitor.file({file.path, file.content.size(), file.written, file.isHidden});
    }
  }
  for (const WalkGap& gap : gaps) {
    if (visitor.gap) visitor.gap(gap);
  }
}

std::vector<ListedFile> FakeFiles::filesIn(const std::wstring& folder) const {
  step();
  if (!folderExists(folder)) throw AutomationError(kPathNotFound);
  const std::wstring start = keyOf(folder) + L"\\";
  std::map<std::uint64_t, ListedFile> inOrder;
  for (const auto& [key, file] : files_) {
    const bool direct = key.starts_with(start) && key.find(L'\\', start.size()) == std::wstring::npos;
    if (direct && !isUnfinished(key)) inOrder[file.number] = {file.path, file.created};
  }
  std::vector<ListedFile> files;
  for (auto& [number, file] : inOrder) files.push_back(std::move(file));
  return files;
}

std::uint64_t FakeFiles::fileSize(const std::wstring& path) const {
  const Entry* file = find(path);
  return file ? file->content.size() : 0;
}

void FakeFiles::step() const {
  if (++calls_ == failAt_) throw AutomationError(failNumber_);
}

void FakeFiles::requireParentFolder(const std::wstring& path) const {
  const std::wstring folder = parentFolderName(path);
  if (!folder.empty() && !folderExists(folder)) throw AutomationError(kPathNotFound, path);
}

void FakeFiles::requireNoFolder(const std::wstring& path) const {
  if (folderExists(path)) throw AutomationError(kPermissionDenied);
}

void FakeFiles::requireRoom(std::uint64_t more) const {
  if (!capacity) return;
  for (const auto& [key, file] : files_) more += file.content.size();
  if (more > *capacity) throw AutomationError(kDiskFull);
}

FakeFiles::Entry& FakeFiles::entry(const std::wstring& path) {
  const auto file = files_.find(keyOf(path));
  if (file == files_.end()) throw AutomationError(kFileNotFound, path);
  return file->second;
}

const FakeFiles::Entry* FakeFiles::find(const std::wstring& path) const {
  const auto file = files_.find(keyOf(path));
  return file == files_.end() ? nullptr : &file->second;
}

}  // namespace qev::test
