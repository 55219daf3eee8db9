#include "platform/FileSystem.h"

#include "platform/Platform.h"

namespace qev {
namespace {

bool isSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

std::wstring withoutTrailingSeparators(std::wstring path, std::size_t keep) {
  while (path.size() > keep && isSeparator(path.back())) path.pop_back();
  return path;
}

// Length of what names the drive and its root: "C:\" 3, "C:" 2, "\\server\share" all of that, "\" 1.
std::size_t rootLength(const std::wstring& path) {
  const std::size_t drive = driveName(path).size();
  const bool unc = drive > 2;
  return !unc && drive < path.size() && isSeparator(path[drive]) ? drive + 1 : drive;
}

}  // namespace

// FNV-1a, 64 bits.
std::wstring lockName(const std::wstring& purpose, const std::wstring& path) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const wchar_t c : path) hash = (hash ^ static_cast<std::uint64_t>(c)) * 0x100000001b3;
  return L"QevBackup-" + purpose + L"-" + std::to_wstring(hash);
}

std::wstring driveName(const std::wstring& path) {
  if (path.size() >= 2 && path[1] == L':') return path.substr(0, 2);
  if (path.size() < 3 || !isSeparator(path[0]) || !isSeparator(path[1])) return {};
  const auto server = path.find_first_of(L"\\/", 2);
  if (server == std::wstring::npos || server + 1 == path.size()) return {};
  return path.substr(0, path.find_first_of(L"\\/", server + 1));
}

bool isFullPath(const std::wstring& path) {
  const std::wstring drive = driveName(path);
  return drive.size() > 2 || (drive.size() == 2 && path.size() > 2 && isSeparator(path[2]));
}

std::wstring parentFolderName(const std::wstring& path) {
  const std::size_t root = rootLength(path);
  const std::wstring bare = withoutTrailingSeparators(path, root);
  if (bare.size() <= root) return {};
  const auto last = bare.find_last_of(L"\\/");
  if (last == std::wstring::npos || last < root) return bare.substr(0, root);
  return withoutTrailingSeparators(bare.substr(0, last), root);
}

std::wstring fileNamePart(const std::wstring& path) {
  const std::size_t root = rootLength(path);
  const std::wstring bare = withoutTrailingSeparators(path, root);
  if (bare.size() <= root) return {};
  const auto last = bare.find_last_of(L"\\/");
  return last == std::wstring::npos || last < root ? bare.substr(root) : bare.substr(last + 1);
}

}  // namespace qev
