#include "platform/SystemServices.h"

#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <atomic>

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

// A scanner or indexer may hold a fresh file for a moment: a few tries over about a second.
bool moveIntoPlace(const std::wstring& from, const std::wstring& to) {
  constexpr int tries = 6;
  constexpr DWORD pauseMilliseconds = 200;
  for (int i = 1;; ++i) {
    constexpr DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    if (MoveFileExW(from.c_str(), to.c_str(), flags)) return true;
    const DWORD code = GetLastError();
    const bool held = code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION;
    if (!held || i == tries) return SetLastError(code), false;
    Sleep(pauseMilliseconds);
  }
}

// The same over a read-only file, which stays so where the move fails. Throws then.
void replaceInOneStep(const std::wstring& from, const std::wstring& to) {
  const DWORD attributes = attributesOf(to);
  const bool readOnly = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY);
  if (readOnly) SetFileAttributesW(to.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
  if (moveIntoPlace(from, to)) return;
  const DWORD code = GetLastError();
  if (readOnly) SetFileAttributesW(to.c_str(), attributes);
  throwWin32(code, to);
}

class Replacement : public FileReplacement {
 public:
  explicit Replacement(std::wstring path) : path_(std::move(path)) {
    do {
      temporary_ = temporaryName();
      file_.reset(
          CreateFileW(temporary_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    } while (!file_ && GetLastError() == ERROR_FILE_EXISTS);
    if (!file_) throwLastError(path_);
  }

  ~Replacement() override {
    if (committed_) return;
    file_.reset();
    DeleteFileW(temporary_.c_str());
  }

  void write(std::span<const std::byte> bytes) override {
    while (!bytes.empty()) {
      const auto wanted = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 0x40000000));
      DWORD count = 0;
      if (!WriteFile(file_.get(), bytes.data(), wanted, &count, nullptr)) throwLastError(path_);
      if (count == 0) throwWin32(ERROR_DISK_FULL, path_);
      bytes = bytes.subspan(count);
    }
  }

  void commit() override {
    keepCreationTime(path_, file_.get());
    if (!FlushFileBuffers(file_.get())) throwLastError(path_);
    file_.reset();
    replaceInOneStep(temporary_, path_);
    committed_ = true;
  }

 private:
  std::wstring temporaryName() const {
    static std::atomic<unsigned> counter{0};
    const std::size_t folderEnd = path_.find_last_of(L"\\/:") + 1;
    return path_.substr(0, folderEnd) + L"qev" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(counter++) + L".tmp";
  }

  std::wstring path_;
  std::wstring temporary_;
  UniqueFile file_;
  bool committed_ = false;
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
  const DWORD attributes = attributesOf(path);
  const bool readOnly = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY);
  if (force && readOnly) SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
  if (DeleteFileW(path.c_str())) return;
  const DWORD code = GetLastError();
  if (force && readOnly) SetFileAttributesW(path.c_str(), attributes);
  throwWin32(code, path);
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
  replaceInOneStep(from, to);
}

std::unique_ptr<FileReader> FileSystemWindows::openForReading(const std::wstring& path) {
  return std::make_unique<Reader>(path);
}

std::unique_ptr<FileReplacement> FileSystemWindows::replaceFile(const std::wstring& path) {
  return std::make_unique<Replacement>(path);
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
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
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
