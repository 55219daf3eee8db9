// Whether a form gives back what it takes from the system.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>

namespace qev::test {

// Shows a form a few times by `once` and expects that the process then has no more windows and drawing objects than
// after the first time, which may make some that serve for all. GetGuiResources.
inline void expectWindowsGivenBack(const std::function<void()>& once) {
  once();
  const HANDLE process = GetCurrentProcess();
  const DWORD drawing = GetGuiResources(process, GR_GDIOBJECTS);
  const DWORD windows = GetGuiResources(process, GR_USEROBJECTS);
  for (int i = 0; i < 5; ++i) once();
  EXPECT_LE(GetGuiResources(process, GR_GDIOBJECTS), drawing);
  EXPECT_LE(GetGuiResources(process, GR_USEROBJECTS), windows);
}

}  // namespace qev::test
