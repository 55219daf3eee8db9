// Pictures of the windows of a test.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qev::test {

// The pixels of a rectangle of the screen, top row first, as 0x00RRGGBB.
struct ScreenPixels {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;

  std::uint32_t at(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }
};

// What the screen shows where `window` is, frame included. BitBlt from the screen.
ScreenPixels capture(HWND window);

// Writes what the screen shows of `window` to "<name>.png" in the folder that the environment variable QEV_SCREENSHOTS
// names, "screenshots" in the current folder without it; the folder is made when it is missing. False on failure. GDI+.
bool saveScreenshot(HWND window, const std::wstring& name);

}  // namespace qev::test
