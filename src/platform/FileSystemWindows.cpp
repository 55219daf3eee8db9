#include "platform/SystemServices.h"

#include <windows.h>

#include <oleauto.h>

#include <algorithm>

#include "platform/Handle.h"
#include "platform/Win32Error.h"

namespace qev {
namespace {

[[noreturn]] void throwLastError(const std::wstring& path) {
  throwWin32(GetLastError(), path);
}

DWORD attributesOf(const std::wstring& path) {
  return GetFileAttributesW(path.c_str());
}

class Reader : public FileReader {
 public:
  explicit Reader(std::wstring path) : path_(std::move(path)) {
    file_.reset(CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file_) throwLastError(path_);
  }

  std::size_t read(std::span<std::byte> buffer) override {
    const auto wanted = static_cast<DWORD>(std::min<std::size_t>(buffer.size(), 0x40000000));
    DWORD count = 0;
    if (!ReadFile(file_.get(), buffer.data(), wanted, &count, nullptr)) throwLastError(path_);
    return count;
  }

  std::uint64_t size() const override {
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file_.get(), &size)) throwLastError(path_);
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  void seek(std::uint64_t position) override {
    LARGE_INTEGER to{};
    to.QuadPart = static_cast<LONGLONG>(position);
    if (!SetFilePointerEx(file_.get(), to, nullptr, FILE_BEGIN)) throwLastError(path_);
  }

 private:
  std::wstring path_;
  UniqueFile file_;
};

// Retention sorts sets by creation date: rewriting a file must not make it younger.
void keepCreationTime(const std::wstring& from, HANDLE to) {
  WIN32_FILE_ATTRIBUTE_DATA old{};
  if (GetFileAttributesExW(from.c_str(), GetFileExInfoStandard, &old)) {
    SetFileTime(to, &old.ftCreationTime, nullptr, nullptr);
  }
}

void check(DWORD code, const std::wstring& path) {
  if (code != ERROR_SUCCESS) throwWin32(code, path);
}

class Replacement : public FileReplacement {
 public:
  Replacement(std::wstring path, const Patience& patience) : path_(std::move(path)), patience_(patience) {
    NewFile::removeLeftOvers(path_.c_str());
    check(file_.create(path_.c_str()), path_);
    file_.deleteIfKilled();
  }

  ~Replacement() override { file_.discard(); }

  void write(std::span<const std::byte> bytes) override { check(file_.write(bytes.data(), bytes.size()), path_); }

  void commit(std::optional<std::uint32_t> longestWait) override {
    patience_.milliseconds = std::min<DWORD>(patience_.milliseconds, longestWait.value_or(patience_.milliseconds));
    keepCreationTime(path_, file_.handle());
    check(file_.commit(path_.c_str(), true, patience_), path_);
  }

 private:
  std::wstring path_;
  Patience patience_;
  NewFile file_;
};

// What a write changes in a file; all zero when there is none.
struct FileStamp {
  std::uint64_t size = 0;
  std::uint64_t written = 0;  // in units of 100 ns
  bool operator==(const FileStamp&) const = default;
};

FileStamp stampOf(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return {};
  return {(std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow,
          (std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32) | data.ftLastWriteTime.dwLowDateTime};
}

bool isNavigationEntry(const wchar_t* name) {
  return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

Date localSecond(const FILETIME& time) {
  FILETIME local{};
  SYSTEMTIME parts{};
  double days = 0;
  if (!FileTimeToLocalFileTime(&time, &local) || !FileTimeToSystemTime(&local, &parts)) return {};
  parts.wMilliseconds = 0;
  SystemTimeToVariantTime(&parts, &days);
  return Date{days};
}

}  // namespace

bool FileSystemWindows::fileExists(const std::wstring& path) const {
  const DWORD attributes = attributesOf(path);
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool FileSystemWindows::folderExists(const std::wstring& path) const {
  const DWORD attributes = attributesOf(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

void FileSystemWindows::createFolder(const std::wstring& path) {
  if (!CreateDirectoryW(path.c_str(), nullptr)) throwLastError(path);
}

void FileSystemWindows::deleteFile(const std::wstring& path, bool force) {
  Patience patience = patience_;
  check(deleteAndFreeName(path.c_str(), force, patience), path);
}

void FileSystemWindows::removeLeftOvers(const std::wstring& folder) {
  NewFile::removeLeftOvers((folder + L"\\").c_str());
}

// Not every system takes back what a failed copy has written.
void FileSystemWindows::copyFile(const std::wstring& from, const std::wstring& to) {
  const FileStamp before = stampOf(to);
  if (CopyFileW(from.c_str(), to.c_str(), FALSE)) return;
  const DWORD code = GetLastError();
  if (stampOf(to) != before) DeleteFileW(to.c_str());
  throwWin32(code, fileExists(from) ? to : from);
}

void FileSystemWindows::moveFile(const std::wstring& from, const std::wstring& to) {
  Patience patience = patience_;
  check(moveIntoPlace(from.c_str(), to.c_str(), true, patience), to);
}

std::unique_ptr<FileReader> FileSystemWindows::openForReading(const std::wstring& path) {
  return std::make_unique<Reader>(path);
}

std::unique_ptr<FileReplacement> FileSystemWindows::replaceFile(const std::wstring& path) {
  return std::make_unique<Replacement>(path, patience_);
}

void FileSystemWindows::walkFiles(const std::wstring& folder,
                                  const std::function<void(const std::wstring&, std::uint64_t)>& visit) const {
  WIN32_FIND_DATAW entry{};
  const auto find = UniqueFind(FindFirstFileExW((folder + L"*").c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch,
                                                nullptr, FIND_FIRST_EX_LARGE_FETCH));
  if (!find) return;
  do {
    if (isNavigationEntry(entry.cFileName)) continue;
    if (entry.dwFileAttributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)) continue;
    const std::wstring path = folder + entry.cFileName;
    const bool link = entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT;
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      if (!link) walkFiles(path + L"\\", visit);  // a link could lead back up
    } else {
      visit(path, (std::uint64_t{entry.nFileSizeHigh} << 32) | entry.nFileSizeLow);
    }
  } while (FindNextFileW(find.get(), &entry));
}

std::vector<ListedFile> FileSystemWindows::filesIn(const std::wstring& folder) const {
  const bool closed = folder.ends_with(L'\\') || folder.ends_with(L'/');
  const std::wstring start = closed ? folder : folder + L"\\";
  std::vector<ListedFile> files;
  WIN32_FIND_DATAW entry{};
  const auto find = UniqueFind(FindFirstFileExW((start + L"*").c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch,
                                                nullptr, FIND_FIRST_EX_LARGE_FETCH));
  if (!find) {
    const DWORD code = GetLastError();
    if (code == ERROR_FILE_NOT_FOUND && folderExists(folder)) return files;  // a drive's root with nothing in it
    throwWin32(code == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : code, folder);
  }
  do {
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY || NewFile::isName(entry.cFileName)) continue;
    files.push_back({start + entry.cFileName, localSecond(entry.ftCreationTime)});
  } while (FindNextFileW(find.get(), &entry));
  if (const DWORD code = GetLastError(); code != ERROR_NO_MORE_FILES) throwWin32(code, folder);
  return files;
}

std::uint64_t FileSystemWindows::fileSize(const std::wstring& path) const {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
  return (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
}

}  // namespace qev
