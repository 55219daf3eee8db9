// The text prompt of this system: the dialog of resources/TextPrompt.rc.
#pragma once

#include "platform/TextPrompt.h"

namespace qev {

class TextPromptWindows : public TextPrompt {
 public:
  std::optional<std::wstring> ask(const std::wstring& prompt, const std::wstring& title) override;
};

}  // namespace qev
