// The file chooser of this system: its dialog for opening files.
#pragma once

#include <utility>
#include <vector>

#include "platform/FileChooser.h"

namespace qev {

class FileChooserWindows : public FileChooser {
 public:
  std::optional<std::wstring> choose(const std::wstring& title, const std::wstring& filter,
                                     const std::wstring& startFolder) override;
};

// The pairs of label and pattern of a filter. A label without its pattern is left out.
std::vector<std::pair<std::wstring, std::wstring>> filterPairs(const std::wstring& filter);

}  // namespace qev
