#include "platform/FolderChooserWindows.h"

#include "platform/FileSystem.h"
#include "platform/OpenDialog.h"
#include "platform/QuietDriveErrors.h"

namespace qev {
namespace {

std::wstring fullPath(const std::wstring& path) {
  std::wstring full(32768, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  full.resize(length < full.size() ? length : 0);
  return full;
}

bool isFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace

std::optional<std::wstring> FolderChooserWindows::choose(const std::wstring& title, const std::wstring& startFolder) {
  auto folder =
      showOpenDialog({title, startFolder, FOS_PICKFOLDERS, nullptr}, L"No se puede mostrar el selector de carpetas");
  if (folder) folder = withLastBackslash(*std::move(folder));
  return folder;
}

std::wstring nearestExistingFolder(const std::wstring& path) {
  if (path.empty()) return {};
  const QuietDriveErrors quiet;
  std::wstring folder = fullPath(path);
  while (!folder.empty() && !isFolder(folder)) folder = parentFolderName(folder);
  return folder;
}

std::wstring withLastBackslash(std::wstring path) {
  while (!path.empty() && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  return path + L"\\";
}

}  // namespace qev
