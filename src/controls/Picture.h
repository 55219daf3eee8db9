// A picture of the library's artwork: a bitmap resource with an alpha channel, drawn at any size on any background.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Handle.h"

namespace qev {

class Picture {
 public:
  // No picture: draws nothing.
  Picture() = default;

  // The bitmap resource `name` of this module: 32 bits a pixel, alpha-premultiplied. Throws 53 when it is missing or of
  // another kind. LoadImageW.
  explicit Picture(const std::wstring& name);

  // Draws the picture as large as fits into `area` (pixels), centred. AlphaBlend.
  void draw(HDC dc, const RECT& area) const;

  // The picture as an icon of `size` by `size` pixels. Throws 7 when there is no memory. CreateIconIndirect.
  UniqueIcon icon(int size) const;

 private:
  using Pixels = std::vector<std::uint32_t>;

  Pixels scaled(int size) const;

  int side_ = 0;   // pictures are square
  Pixels pixels_;  // top row first, premultiplied BGRA
};

}  // namespace qev
