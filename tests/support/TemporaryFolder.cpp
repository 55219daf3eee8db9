#include "support/TemporaryFolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "platform/Handle.h"

namespace qev::test {
namespace {

std::wstring temporaryPath() {
  std::array<wchar_t, MAX_PATH + 1> text{};
  GetTempPathW(static_cast<DWORD>(text.size()), text.data());
  std::array<wchar_t, MAX_PATH + 1> full{};
  const DWORD length = GetLongPathNameW(text.data(), full.data(), static_cast<DWORD>(full.size()));
  if (length == 0 || length >= full.size()) throw std::runtime_error("no folder for temporary files");
  return full.data();
}

bool isNavigationEntry(const std::wstring& name) {
  return name == L"." || name == L"..";
}

void removeTree(const std::wstring& path) {
  WIN32_FIND_DATAW entry{};
  if (const auto find = UniqueFind(FindFirstFileW(longPath(path + L"\\*").c_str(), &entry))) {
    do {
      if (isNavigationEntry(entry.cFileName)) continue;
      const std::wstring inner = path + L"\\" + entry.cFileName;
      SetFileAttributesW(longPath(inner).c_str(), FILE_ATTRIBUTE_NORMAL);
      if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        removeTree(inner);
      else
        DeleteFileW(longPath(inner).c_str());
    } while (FindNextFileW(find.get(), &entry));
  }
  RemoveDirectoryW(longPath(path).c_str());
}

}  // namespace

std::wstring longPath(const std::wstring& path) {
  return L"\\\\?\\" + path;
}

TemporaryFolder::TemporaryFolder() {
  static int number = 0;
  path_ =
      temporaryPath() + L"QevBackupTest" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number);
  removeTree(path_);  // left over from a process of the same number that was stopped
  if (!CreateDirectoryW(path_.c_str(), nullptr)) throw std::runtime_error("no folder for temporary files");
}

TemporaryFolder::~TemporaryFolder() {
  removeTree(path_);
}

void TemporaryFolder::makeFolder(const std::wstring& relative) const {
  for (auto end = relative.find(L'\\'); end != std::wstring::npos; end = relative.find(L'\\', end + 1)) {
    CreateDirectoryW(longPath(*this / relative.substr(0, end)).c_str(), nullptr);
  }
  CreateDirectoryW(longPath(*this / relative).c_str(), nullptr);
}

void TemporaryFolder::write(const std::wstring& relative, std::string_view bytes) const {
  if (const auto name = relative.rfind(L'\\'); name != std::wstring::npos) makeFolder(relative.substr(0, name));
  const auto file = UniqueFile(CreateFileW(longPath(*this / relative).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  ASSERT_TRUE(file) << "a file of the test cannot be made: " << GetLastError();
  ASSERT_TRUE(WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
  ASSERT_EQ(written, bytes.size());
}

std::string TemporaryFolder::bytes(const std::wstring& relative) const {
  const auto file =
      UniqueFile(CreateFileW(longPath(*this / relative).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                             nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return "<none>";
  std::string all;
  std::array<char, 65536> buffer{};
  DWORD count = 0;
  while (ReadFile(file.get(), buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) && count > 0) {
    all.append(buffer.data(), count);
  }
  return all;
}

std::vector<std::wstring> TemporaryFolder::list(const std::wstring& relative) const {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW entry{};
  const std::wstring folder = relative.empty() ? path_ : *this / relative;
  const auto find = UniqueFind(FindFirstFileW(longPath(folder + L"\\*").c_str(), &entry));
  if (!find) return names;
  do {
    if (!isNavigationEntry(entry.cFileName)) names.emplace_back(entry.cFileName);
  } while (FindNextFileW(find.get(), &entry));
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace qev::test
