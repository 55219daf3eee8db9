// The text that both archive classes fill with what their engine prints: one a process, emptied when a run begins.
#pragma once

#include <string>

namespace qev {

inline std::wstring& lastMessage() {
  static std::wstring text;
  return text;
}

}  // namespace qev
