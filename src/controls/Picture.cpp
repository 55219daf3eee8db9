#include "controls/Picture.h"

#include <algorithm>
#include <array>

#include "platform/AutomationError.h"
#include "platform/Handle.h"

namespace qev {
namespace {

// A bitmap that GDI can select and that `bits` points into, top row first.
UniqueBitmap makeBitmap(int side, void** bits) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = side;
  info.bmiHeader.biHeight = -side;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  UniqueBitmap bitmap(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, bits, nullptr, 0));
  if (!bitmap) throw AutomationError(kOutOfMemory);
  return bitmap;
}

UniqueBitmap bitmapOf(const std::vector<std::uint32_t>& pixels, int side) {
  void* bits = nullptr;
  UniqueBitmap bitmap = makeBitmap(side, &bits);
  std::copy(pixels.begin(), pixels.end(), static_cast<std::uint32_t*>(bits));
  return bitmap;
}

// The mask of an icon, rows of whole 16-bit words: a set bit lets the background through.
std::vector<std::uint8_t> transparencyMask(const std::vector<std::uint32_t>& pixels, int size) {
  const std::size_t width = static_cast<std::size_t>(size);
  const std::size_t rowBytes = (width + 15) / 16 * 2;
  std::vector<std::uint8_t> mask(rowBytes * width);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const bool transparent = (pixels[i] >> 24) == 0;
    if (transparent) mask[i / width * rowBytes + i % width / 8] |= static_cast<std::uint8_t>(0x80 >> (i % width % 8));
  }
  return mask;
}

// How much source pixel `source` counts in target pixel `target` when `from` pixels become `to`.
double coverage(int source, int target, int from, int to) {
  const double scale = static_cast<double>(from) / to;
  const double begin = std::max<double>(source, target * scale);
  const double end = std::min<double>(source + 1, (target + 1) * scale);
  return std::max(0.0, end - begin);
}

}  // namespace

Picture::Picture(const std::wstring& name) {
  const UniqueBitmap bitmap(
      static_cast<HBITMAP>(LoadImageW(moduleInstance(), name.c_str(), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION)));
  DIBSECTION section{};
  const bool known = bitmap && GetObjectW(bitmap.get(), sizeof section, &section) == sizeof section &&
                     section.dsBm.bmBitsPixel == 32 && section.dsBm.bmWidth == section.dsBm.bmHeight;
  if (!known) throw AutomationError(kFileNotFound, name);
  side_ = section.dsBm.bmWidth;
  const auto* bits = static_cast<const std::uint32_t*>(section.dsBm.bmBits);
  const bool bottomUp = section.dsBmih.biHeight > 0;
  for (int row = 0; row < side_; ++row) {
    const auto* line = bits + static_cast<std::ptrdiff_t>(bottomUp ? side_ - 1 - row : row) * side_;
    pixels_.insert(pixels_.end(), line, line + side_);
  }
}

// Averages over the area that each target pixel covers: premultiplied colours may be averaged channel by channel.
Picture::Pixels Picture::scaled(int size) const {
  Pixels result(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
  const auto first = [&](int target) { return target * side_ / size; };
  const auto last = [&](int target) { return std::min(side_ - 1, (target + 1) * side_ / size); };
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      std::array<double, 4> sum{};
      double weight = 0;
      for (int sourceY = first(y); sourceY <= last(y); ++sourceY) {
        for (int sourceX = first(x); sourceX <= last(x); ++sourceX) {
          const double share = coverage(sourceX, x, side_, size) * coverage(sourceY, y, side_, size);
          const std::uint32_t pixel = pixels_[static_cast<std::size_t>(sourceY * side_ + sourceX)];
          for (unsigned channel = 0; channel < 4; ++channel) sum[channel] += share * ((pixel >> (8 * channel)) & 255);
          weight += share;
        }
      }
      std::uint32_t& pixel = result[static_cast<std::size_t>(y * size + x)];
      for (unsigned channel = 0; channel < 4; ++channel) {
        pixel |= static_cast<std::uint32_t>(sum[channel] / weight + 0.5) << (8 * channel);
      }
    }
  }
  return result;
}

void Picture::draw(HDC dc, const RECT& area) const {
  const int size = static_cast<int>(std::min(area.right - area.left, area.bottom - area.top));
  if (side_ == 0 || size <= 0) return;
  const UniqueBitmap bitmap = bitmapOf(scaled(size), size);
  const UniqueMemoryDc memory(CreateCompatibleDC(dc));
  const SelectedObject selected(memory.get(), bitmap.get());
  const int left = static_cast<int>(area.left + area.right - size) / 2;
  const int top = static_cast<int>(area.top + area.bottom - size) / 2;
  AlphaBlend(dc, left, top, size, size, memory.get(), 0, 0, size, size, {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA});
}

UniqueIcon Picture::icon(int size) const {
  if (side_ == 0 || size <= 0) return UniqueIcon();
  Pixels pixels = scaled(size);
  for (std::uint32_t& pixel : pixels) {  // icons carry colours that are not premultiplied
    const std::uint32_t alpha = pixel >> 24;
    std::uint32_t straight = alpha << 24;
    for (unsigned shift = 0; alpha != 0 && shift < 24; shift += 8) {
      straight |= std::min<std::uint32_t>(255, (((pixel >> shift) & 255) * 255 + alpha / 2) / alpha) << shift;
    }
    pixel = straight;
  }
  const UniqueBitmap colour = bitmapOf(pixels, size);
  const UniqueBitmap mask(CreateBitmap(size, size, 1, 1, transparencyMask(pixels, size).data()));
  ICONINFO info{TRUE, 0, 0, mask.get(), colour.get()};
  UniqueIcon icon(CreateIconIndirect(&info));
  if (!icon) throw AutomationError(kOutOfMemory);
  return icon;
}

}  // namespace qev
