// A disk of half a MiB, for tests of full disks.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace qev::test {

inline constexpr char kNoSmallDisk[] = "QEV_SMALL_DISK names no small disk";

// Its folder, without a backslash at the end: what surrounds the test makes it and names it in QEV_SMALL_DISK
// (tools/test-disks.sh). Nothing where there is none; such tests are skipped.
inline std::optional<std::wstring> smallDisk() {
  wchar_t folder[MAX_PATH];
  const DWORD length = GetEnvironmentVariableW(L"QEV_SMALL_DISK", folder, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return std::nullopt;
  return std::wstring(folder, length);
}

}  // namespace qev::test
