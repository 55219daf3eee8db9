// The set that this process has made last, which retention in safe mode never deletes: one a process, on the host's
// thread. A backup run tells it when its set stands under its name; retention is handed it.
#pragma once

#include <string>
#include <utility>

namespace qev {

namespace last_set {

inline std::wstring& path() {
  static std::wstring made;
  return made;
}

}  // namespace last_set

// Its path, as the run was told it; "" while there is none.
[[nodiscard]] inline const std::wstring& lastSet() {
  return last_set::path();
}

inline void setLastSet(std::wstring path) {
  last_set::path() = std::move(path);
}

}  // namespace qev
