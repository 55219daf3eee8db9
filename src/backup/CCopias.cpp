#include "backup/CCopias.h"

#include <algorithm>
#include <cstddef>

#include "platform/AutomationError.h"
#include "set/SetHeader.h"
#include "set/WholeSet.h"

namespace qev {
namespace {

constexpr std::wstring_view kUnproven = L".nueva";  // what earlier versions left when they were killed in safe mode

// An empty text counts as no value: it is how the registry keeps an empty value.
std::size_t filesToKeep(const SettingsStore& settings, const Locale& locale) {
  const Value fallback = std::int16_t{10};
  const Value stored = settings.readPlain(L"NCopias", fallback);
  const std::int16_t kept = locale.toInt16(stored == Value(std::wstring()) ? fallback : stored);
  if (kept < 0) throw AutomationError(kSubscriptOutOfRange, L"NCopias");  // there is no entry of such an index
  return static_cast<std::size_t>(kept);
}

void remove(FileSystem& files, const ListedFile& file) {
  files.deleteFile(file.path, true, FreeName::NotAwaited);
}

// Retention in safe mode: what is no set of this title neither counts nor goes.
class SetKeeper {
 public:
  SetKeeper(FileSystem& files, const Locale& locale, const std::wstring& title, const std::wstring& lastSet)
      : files_(files), locale_(locale), title_(title), lastName_(fileNamePart(lastSet)) {}

  // REQUIRES: the newest comes first.
  void keep(const std::vector<ListedFile>& listed, std::size_t kept) {
    if (listed.size() <= kept) return;
    std::size_t sets = 0;
    for (const ListedFile& file : listed) {
      const Kind kind = kindOf(file.path);
      if (kind == Kind::Other) continue;
      const bool isNewestWhole = kind == Kind::NewestWhole;
      if (sets++ >= kept && !isNewestWhole && !isLastMade(file.path)) remove(files_, file);
    }
  }

 private:
  enum class Kind { Other, Set, NewestWhole };

  // A file that cannot be read is not known to be a set.
  Kind kindOf(const std::wstring& path) {
    if (path.ends_with(kUnproven)) return Kind::Other;
    try {
      const auto reader = files_.openForReading(path);
      if (!checkSet(*reader, title_, locale_).header) return Kind::Other;
      if (foundWhole_ || !readsWhole(*reader)) return Kind::Set;
      foundWhole_ = true;
      return Kind::NewestWhole;
    } catch (const AutomationError&) {
      return Kind::Other;
    }
  }

  // By its name alone: the run and retention may have been told the folder in different words.
  bool isLastMade(const std::wstring& path) const {
    return !lastName_.empty() && locale_.equalIgnoringCase(fileNamePart(path), lastName_);
  }

  FileSystem& files_;
  const Locale& locale_;
  const std::wstring& title_;
  const std::wstring lastName_;
  bool foundWhole_ = false;
};

}  // namespace

void CCopias(FileSystem& files, const SettingsStore& settings, const Locale& locale, const HostSettings& host,
             const std::wstring& lastSet) {
  // What counts from the current drive or folder would delete wherever the host happens to stand. `DirMDE` that was not
  // read makes such a path.
  if (!isFullPath(host.backupFolder)) throw AutomationError(kPathNotFound, host.backupFolder);
  if (!files.folderExists(host.backupFolder)) files.createFolder(host.backupFolder);
  files.removeLeftOvers(host.backupFolder);
  std::vector<ListedFile> listed = files.filesIn(host.backupFolder);
  if (listed.empty()) return;
  sortNewestFirst(listed);
  const std::size_t kept = filesToKeep(settings, locale);
  if (settings.safeMode()) {
    SetKeeper(files, locale, host.title, lastSet).keep(listed, std::max<std::size_t>(kept, 1));
  } else {
    for (std::size_t i = kept; i < listed.size(); ++i) remove(files, listed[i]);
  }
}

// The order is defined by an exchange sort: exchange the first neighbours of which the left is strictly older, begin
// anew, until there are none. Each exchange takes away one pair that stands in the wrong order and adds none, so it
// ends, with no date after an older one; and as files of the same date are never exchanged, they never pass one
// another. There is only one such order, and a stable sort finds it.
void sortNewestFirst(std::vector<ListedFile>& files) {
  std::stable_sort(files.begin(), files.end(),
                   [](const ListedFile& a, const ListedFile& b) { return a.created.days > b.created.days; });
}

}  // namespace qev
