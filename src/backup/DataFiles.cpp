#include "backup/DataFiles.h"

#include <string_view>
#include <unordered_map>

#include "platform/AutomationError.h"
#include "values/Utf8.h"

namespace qev {
namespace {

bool isSeparator(wchar_t c) {
  return c == L'\\' || c == L'/';
}

class Finder {
 public:
  Finder(Platform& platform, const std::wstring& target, const std::function<void()>& step)
      : platform_(platform), target_(target), step_(step) {}

  void folder(const std::wstring& path) {
    platform_.files.walkFiles(path, {.file = [this](const WalkedFile& file) { take(file); },
                                     .gap =
                                         [this](const WalkGap& gap) {
                                           step_();
                                           found.gaps.push_back(gap);
                                         }});
    found.inFolder = found.files.size();
  }

  // A file that is not there is none; one of which that cannot be told is a gap.
  void file(const std::wstring& path) {
    try {
      const std::uint64_t size = platform_.files.openLive(path)->size();
      take({path, size, 0, false});
    } catch (const AutomationError& error) {
      const bool isFolderThere = platform_.files.folderExists(parentFolderName(path));
      if (isFolderThere && (error.number() == kFileNotFound || error.number() == kPathNotFound)) return;
      if (platform_.files.fileExists(path)) return take({path, platform_.files.fileSize(path), 0, false});
      found.gaps.push_back({WalkGap::Reason::Unreadable, path, error.number()});
    }
  }

  DataFiles found;

 private:
  void take(const WalkedFile& file) {
    step_();
    if (platform_.locale.equalIgnoringCase(file.path, target_)) return;
    found.files.push_back({file.path, nameInArchive(file.path), file.size, file.written, file.isHidden});
    found.bytes += file.size;
  }

  Platform& platform_;
  const std::wstring& target_;
  const std::function<void()>& step_;
};

}  // namespace

DataPlaces DataPlaces::of(const std::wstring& dataFolder, const std::wstring& title) {
  if (!isFullPath(dataFolder)) throw AutomationError(kPathNotFound, L"DirDatos: " + dataFolder);
  DataPlaces places;
  places.folder = isSeparator(dataFolder.back()) ? dataFolder : dataFolder + L"\\";
  std::wstring program = parentFolderName(parentFolderName(places.folder));
  if (program.empty()) program = driveName(places.folder);
  places.utilities = program + L"\\Util.mde";
  places.settings = program + L"\\" + title + L".ini";
  return places;
}

bool isWithin(const Locale& locale, const std::wstring& path, const std::wstring& folder) {
  return path.size() > folder.size() && locale.equalIgnoringCase(path.substr(0, folder.size()), folder);
}

DataFiles findData(Platform& platform, const DataPlaces& places, const std::wstring& target,
                   const std::function<void()>& step) {
  Finder finder(platform, target, step);
  finder.found.targetName = nameInArchive(target);
  finder.folder(places.folder);
  for (const std::wstring& path : {places.utilities, places.settings}) {
    if (!isWithin(platform.locale, path, places.folder)) finder.file(path);  // else it is among the data
  }
  return std::move(finder.found);
}

std::vector<DataFile> changedBetween(const DataFiles& before, const DataFiles& after) {
  std::unordered_map<std::string_view, const DataFile*> known;
  for (const DataFile& file : before.files) known.emplace(file.name, &file);
  std::vector<DataFile> changed;
  for (const DataFile& file : after.files) {
    const auto old = known.find(file.name);
    if (old != known.end() && *old->second != file) changed.push_back(file);
  }
  return changed;
}

std::string nameInArchive(const std::wstring& path) {
  std::wstring name;
  for (const wchar_t c : path.substr(driveName(path).size())) {
    const bool isSlash = isSeparator(c);
    if (!isSlash || (!name.empty() && name.back() != L'/')) name += isSlash ? L'/' : c;
  }
  return utf8(name);
}

}  // namespace qev
