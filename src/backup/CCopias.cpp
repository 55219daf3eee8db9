#include "backup/CCopias.h"

#include <algorithm>

#include "platform/AutomationError.h"

namespace qev {
namespace {

// An empty text counts as no value: it is how the registry keeps an empty value.
Value filesToKeep(const SettingsStore& settings) {
  const Value fallback = std::int16_t{10};
  const Value stored = settings.readPlain(L"NCopias", fallback);
  return stored == Value(std::wstring()) ? fallback : stored;
}

}  // namespace

void CCopias(FileSystem& files, const SettingsStore& settings, const Locale& locale, const std::wstring& backupFolder) {
  if (!files.folderExists(backupFolder)) files.createFolder(backupFolder);
  files.removeLeftOvers(backupFolder);
  std::vector<ListedFile> listed = files.filesIn(backupFolder);
  if (listed.empty()) return;
  sortNewestFirst(listed);
  const std::int16_t kept = locale.toInt16(filesToKeep(settings));
  if (kept < 0) throw AutomationError(kSubscriptOutOfRange, L"NCopias");  // there is no entry of such an index
  for (std::size_t i = static_cast<std::size_t>(kept); i < listed.size(); ++i) files.deleteFile(listed[i].path, true);
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
