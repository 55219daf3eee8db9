#include "platform/SystemServices.h"

#include <windows.h>

#include <oleauto.h>

#include <algorithm>

#include "platform/Handle.h"
#include "platform/Win32Error.h"
#include "platform/WithMessages.h"

namespace qev {
namespace {

[[noreturn]] void throwLastError(const std::wstring& path) {
  throwWin32(GetLastError(), path);
}

DWORD attributesOf(const std::wstring& path) {
  return GetFileAttributesW(path.c_str());
}

// The path in the form in which the system takes every name as it stands: of any length, named like a device, or with a
// dot or blank at its end. One that is not full and plain is taken as it is.
std::wstring asItStands(const std::wstring& path) {
  const bool onDrive = path.size() > 2 && path[1] == L':' && path[2] == L'\\';
  const bool onShare = path.starts_with(L"\\\\") && !path.starts_with(L"\\\\?\\") && !path.starts_with(L"\\\\.\\");
  const std::wstring closed = path + L"\\";
  const auto has = [&](const wchar_t* part) { return closed.find(part) != closed.npos; };
  const bool isPlain = !has(L"/") && !has(L"\\.\\") && !has(L"\\..\\") && path.find(L"\\\\", 1) == path.npos;
  if (isPlain && onDrive) return L"\\\\?\\" + path;
  if (isPlain && onShare) return L"\\\\?\\UNC" + path.substr(1);
  return path;
}

class Reader : public FileReader {
 public:
  Reader(std::wstring path, DWORD sharing) : path_(std::move(path)) {
    file_.reset(CreateFileW(asItStands(path_).c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file_) throwLastError(path_);
  }

  std::size_t read(std::span<std::byte> buffer) override {
    const auto wanted = static_cast<DWORD>(std::min<std::size_t>(buffer.size(), 0x40000000));
    DWORD count = 0;
    if (ReadFile(file_.get(), buffer.data(), wanted, &count, nullptr)) return count;
    if (GetLastError() != ERROR_LOCK_VIOLATION) throwLastError(path_);
    return readLocked(buffer.first(wanted));
  }

  std::uint64_t size() const override {
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file_.get(), &size)) throwLastError(path_);
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  void seek(std::uint64_t position) override { move(position, FILE_BEGIN); }

 private:
  std::uint64_t move(std::uint64_t by, DWORD from) {
    LARGE_INTEGER distance{}, position{};
    distance.QuadPart = static_cast<LONGLONG>(by);
    if (!SetFilePointerEx(file_.get(), distance, &position, from)) throwLastError(path_);
    return static_cast<std::uint64_t>(position.QuadPart);
  }

  // A lock of a range binds ReadFile and does not bind a view of the file. The system copies out of the view: where the
  // disk fails, that is an error, and no exception.
  std::size_t readLocked(std::span<std::byte> buffer) {
    const std::uint64_t position = move(0, FILE_CURRENT);
    const std::uint64_t end = size();
    if (position >= end) return 0;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>({buffer.size(), end - position, 1 << 20}));
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    const std::uint64_t begin = position - position % system.dwAllocationGranularity;
    const auto before = static_cast<std::size_t>(position - begin);
    const UniqueKernelHandle mapping(CreateFileMappingW(file_.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (!mapping) throwLastError(path_);
    const UniqueView view(MapViewOfFile(mapping.get(), FILE_MAP_READ, static_cast<DWORD>(begin >> 32),
                                        static_cast<DWORD>(begin), before + count));
    if (!view) throwLastError(path_);
    SIZE_T copied = 0;
    const auto* from = static_cast<const std::byte*>(view.get()) + before;
    if (!ReadProcessMemory(GetCurrentProcess(), from, buffer.data(), count, &copied) || copied != count) {
      throwWin32(ERROR_READ_FAULT, path_);
    }
    move(position + count, FILE_BEGIN);
    return count;
  }

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

// A scanner that holds the new file for a moment is waited for.
void makeCreatedNow(const std::wstring& path) {
  constexpr int tries = 5;
  constexpr DWORD pause = 20;  // milliseconds
  for (int i = 0; i < tries; ++i) {
    const auto file = UniqueFile(CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                             OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    if (file && SetFileTime(file.get(), &now, nullptr, nullptr)) return;
    Sleep(pause);
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

  std::wstring path() const override { return file_.path(); }

  // What is still on its way to the disk can be much.
  void seal() override {
    const Patience silent{.milliseconds = patience_.milliseconds};
    check(withMessages(patience_, [&] { return file_.seal(silent); }), path_);
  }

  void commit(std::optional<std::uint32_t> longestWait, CreationTime created) override {
    if (longestWait) patience_ = {.milliseconds = std::min<DWORD>(patience_.milliseconds, *longestWait)};
    if (created == CreationTime::Kept) keepCreationTime(path_, file_.handle());
    check(file_.commit(path_.c_str(), true, patience_), path_);
    if (created == CreationTime::Now) makeCreatedNow(path_);
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

std::uint64_t ticksOf(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// What makes a folder this one and no other, by whatever path it is reached. Some file systems tell nothing.
struct FolderId {
  DWORD volume = 0;
  DWORD high = 0;
  DWORD low = 0;
  bool operator==(const FolderId&) const = default;
};

// Of what a path leads to, links followed.
std::optional<BY_HANDLE_FILE_INFORMATION> factsOf(const std::wstring& path) {
  const UniqueFile file(CreateFileW(asItStands(path).c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION facts{};
  if (!file || !GetFileInformationByHandle(file.get(), &facts)) return std::nullopt;
  return facts;
}

std::optional<FolderId> idOf(const std::wstring& folder) {
  const auto facts = factsOf(folder);
  if (!facts || (facts->nFileIndexHigh == 0 && facts->nFileIndexLow == 0)) return std::nullopt;
  return FolderId{facts->dwVolumeSerialNumber, facts->nFileIndexHigh, facts->nFileIndexLow};
}

// The length of the drive ("C:\") or share ("\\server\share\") in a path; 0 of another.
std::size_t rootLength(const std::wstring& path) {
  if (path.size() > 2 && path[1] == L':') return 3;
  if (!path.starts_with(L"\\\\")) return 0;
  const std::size_t server = path.find(L'\\', 2);
  const std::size_t share = server == std::wstring::npos ? server : path.find(L'\\', server + 1);
  return share == std::wstring::npos ? 0 : share + 1;
}

// One walk. Only behind a link can a folder lead back: to one on the way, or to one that the start lies in. They are
// asked who they are when a link comes by.
class Walk {
 public:
  explicit Walk(const WalkVisitor& visitor) : visitor_(visitor) {}

  // `folder` has its last backslash.
  void from(const std::wstring& folder) {
    for (std::size_t end = rootLength(folder); end != 0 && end < folder.size(); end = folder.find(L'\\', end) + 1) {
      way_.push_back({folder.substr(0, end), std::nullopt});
    }
    into(folder, false, false);
  }

 private:
  struct Step {
    std::wstring folder;
    std::optional<std::optional<FolderId>> id;  // once it has been asked; some folders have none
  };

  void into(const std::wstring& folder, bool isHidden, bool isBehindLink) {
    way_.push_back({folder, std::nullopt});
    list(folder, isHidden, isBehindLink);
    way_.pop_back();
  }

  void list(const std::wstring& folder, bool isHidden, bool isBehindLink) {
    WIN32_FIND_DATAW entry{};
    const auto find = UniqueFind(FindFirstFileExW((asItStands(folder) + L"*").c_str(), FindExInfoBasic, &entry,
                                                  FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH));
    if (!find) {
      const DWORD code = GetLastError();
      const bool isEmptyRoot = code == ERROR_FILE_NOT_FOUND && attributesOf(folder) != INVALID_FILE_ATTRIBUTES;
      return isEmptyRoot ? void() : unreadable(folder, code == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : code);
    }
    do {
      if (!isNavigationEntry(entry.cFileName)) take(folder, entry, isHidden, isBehindLink);
    } while (FindNextFileW(find.get(), &entry));
    if (const DWORD code = GetLastError(); code != ERROR_NO_MORE_FILES) unreadable(folder, code);
  }

  void take(const std::wstring& folder, const WIN32_FIND_DATAW& entry, bool inHidden, bool inBehindLink) {
    constexpr DWORD hiddenOrSystem = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const std::wstring path = folder + entry.cFileName;
    const bool isHidden = inHidden || (entry.dwFileAttributes & hiddenOrSystem) != 0;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      if (!NewFile::isName(entry.cFileName)) visitor_.file(fileOf(path, entry, isHidden));
      return;
    }
    if (isOfTheSystem(folder, entry)) return;
    const bool isBehindLink = inBehindLink || (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (isBehindLink && leadsBack(path + L"\\")) return gap({WalkGap::Reason::LeadsBack, path + L"\\", 0});
    into(path + L"\\", isHidden, isBehindLink);
  }

  // Of a link the folder tells the link's own length: what it leads to is asked.
  static WalkedFile fileOf(const std::wstring& path, const WIN32_FIND_DATAW& entry, bool isHidden) {
    WalkedFile file{path, std::uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow, ticksOf(entry.ftLastWriteTime),
                    isHidden};
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return file;
    if (const auto facts = factsOf(path)) {
      file.size = std::uint64_t{facts->nFileSizeHigh} << 32 | facts->nFileSizeLow;
      file.written = ticksOf(facts->ftLastWriteTime);
    }
    return file;
  }

  // What the system keeps on every volume for itself, and lets nobody read.
  static bool isOfTheSystem(const std::wstring& folder, const WIN32_FIND_DATAW& entry) {
    constexpr DWORD both = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    return (entry.dwFileAttributes & both) == both &&
           (_wcsicmp(entry.cFileName, L"System Volume Information") == 0 ||
            _wcsicmp(entry.cFileName, L"$RECYCLE.BIN") == 0) &&
           isRoot(folder);
  }

  // Of a volume, mounted in a folder or not.
  static bool isRoot(const std::wstring& folder) {
    if (rootLength(folder) == folder.size()) return true;
    std::wstring root(folder.size() + 1, L'\0');
    return GetVolumePathNameW(folder.c_str(), root.data(), static_cast<DWORD>(root.size())) &&
           _wcsicmp(root.c_str(), folder.c_str()) == 0;
  }

  bool leadsBack(const std::wstring& folder) {
    const auto id = idOf(folder);
    return id && std::ranges::any_of(way_, [&](Step& step) {
             if (!step.id) step.id = idOf(step.folder);
             return *step.id == id;
           });
  }

  void unreadable(const std::wstring& folder, DWORD code) {
    gap({WalkGap::Reason::Unreadable, folder, errorNumberOf(code)});
  }

  void gap(const WalkGap& gap) {
    if (visitor_.gap) visitor_.gap(gap);
  }

  const WalkVisitor& visitor_;
  std::vector<Step> way_;
};

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

void FileSystemWindows::deleteFile(const std::wstring& path, bool force, FreeName name) {
  Patience patience = patience_;
  if (name == FreeName::NotAwaited) patience.milliseconds = 0;
  check(deleteAndFreeName(path.c_str(), force, patience), path);
}

void FileSystemWindows::removeLeftOvers(const std::wstring& folder) {
  NewFile::removeLeftOvers((folder + L"\\").c_str());
}

// Not every system takes back what a failed copy has written.
void FileSystemWindows::copyFile(const std::wstring& from, const std::wstring& to) {
  const FileStamp before = stampOf(to);
  const DWORD code =
      withMessages(patience_, [&] { return copy_(from.c_str(), to.c_str(), FALSE) ? ERROR_SUCCESS : GetLastError(); });
  if (code == ERROR_SUCCESS) return;
  if (stampOf(to) != before) DeleteFileW(to.c_str());
  throwWin32(code, fileExists(from) ? to : from);
}

void FileSystemWindows::requireReplaceable(const std::wstring& path) {
  constexpr DWORD longest = 2'000;  // milliseconds
  Patience patience = patience_;
  patience.milliseconds = std::min(patience.milliseconds, longest);
  const DWORD code = waitUntilUnused(path.c_str(), patience);
  if (code != ERROR_FILE_NOT_FOUND && code != ERROR_PATH_NOT_FOUND) check(code, path);
}

void FileSystemWindows::flush(const std::wstring& path) {
  const UniqueFile file(CreateFileW(asItStands(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file || !FlushFileBuffers(file.get())) throwLastError(path);
}

void FileSystemWindows::moveFile(const std::wstring& from, const std::wstring& to) {
  Patience patience = patience_;
  check(moveIntoPlace(from.c_str(), to.c_str(), true, patience), to);
}

std::unique_ptr<FileReader> FileSystemWindows::openForReading(const std::wstring& path) {
  return std::make_unique<Reader>(path, FILE_SHARE_READ);
}

std::unique_ptr<FileReplacement> FileSystemWindows::replaceFile(const std::wstring& path) {
  return std::make_unique<Replacement>(path, patience_);
}

std::unique_ptr<FileReader> FileSystemWindows::openLive(const std::wstring& path) {
  return std::make_unique<Reader>(path, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
}

std::wstring FileSystemWindows::unfinishedName(const std::wstring& path) const {
  const auto name = std::make_unique<wchar_t[][NewFile::kLongestPath + 1]>(1);
  check(NewFile::unfinishedName(path.c_str(), name[0]), path);
  return name[0];
}

void FileSystemWindows::walkFiles(const std::wstring& folder, const WalkVisitor& visitor) const {
  Walk(visitor).from(folder);
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
