#include "platform/FileChooserWindows.h"

#include "platform/OpenDialog.h"

namespace qev {

std::vector<std::pair<std::wstring, std::wstring>> filterPairs(const std::wstring& filter) {
  std::vector<std::pair<std::wstring, std::wstring>> pairs;
  std::size_t begin = 0;
  while (begin < filter.size()) {
    const auto labelEnd = filter.find(L'|', begin);
    if (labelEnd == std::wstring::npos) break;
    const auto patternEnd = std::min(filter.find(L'|', labelEnd + 1), filter.size());
    pairs.emplace_back(filter.substr(begin, labelEnd - begin), filter.substr(labelEnd + 1, patternEnd - labelEnd - 1));
    begin = patternEnd + 1;
  }
  return pairs;
}

std::optional<std::wstring> FileChooserWindows::choose(const std::wstring& title, const std::wstring& filter,
                                                       const std::wstring& startFolder) {
  const auto pairs = filterPairs(filter);
  std::vector<COMDLG_FILTERSPEC> types;
  for (const auto& [label, pattern] : pairs) types.push_back({label.c_str(), pattern.c_str()});
  const auto setTypes = [&types](IFileOpenDialog& dialog) {
    return types.empty() ? S_OK : dialog.SetFileTypes(static_cast<UINT>(types.size()), types.data());
  };
  return showOpenDialog({title, startFolder, FOS_FILEMUSTEXIST, setTypes},
                        L"No se puede mostrar el selector de archivos");
}

}  // namespace qev
