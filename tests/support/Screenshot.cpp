#ifdef _WIN32
#include "support/Screenshot.h"

#include <objidl.h>

#include <algorithm>
using std::max;
using std::min;  // which the system's header of GDI+ wants
#include <gdiplus.h>

#include "platform/Handle.h"

namespace qev::test {
namespace {

constexpr CLSID kPngEncoder = {0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};

class GdiPlus {
 public:
  GdiPlus() {
    const Gdiplus::GdiplusStartupInput input;
    started_ = Gdiplus::GdiplusStartup(&token_, &input, nullptr) == Gdiplus::Ok;
  }
  GdiPlus(const GdiPlus&) = delete;
  GdiPlus& operator=(const GdiPlus&) = delete;
  ~GdiPlus() {
    if (started_) Gdiplus::GdiplusShutdown(token_);
  }

 private:
  ULONG_PTR token_ = 0;
  bool started_ = false;
};

std::wstring folder() {
  wchar_t path[MAX_PATH] = L"";
  const DWORD length = GetEnvironmentVariableW(L"QEV_SCREENSHOTS", path, MAX_PATH);
  return length > 0 && length < MAX_PATH ? path : L"screenshots";
}

}  // namespace

ScreenPixels capture(HWND window) {
  RECT area{};
  GetWindowRect(window, &area);
  ScreenPixels picture{area.right - area.left, area.bottom - area.top, {}};
  const WindowDc screen(nullptr);
  const UniqueMemoryDc memory(CreateCompatibleDC(screen.get()));
  const UniqueBitmap bitmap(CreateCompatibleBitmap(screen.get(), picture.width, picture.height));
  {
    const SelectedObject selected(memory.get(), bitmap.get());
    BitBlt(memory.get(), 0, 0, picture.width, picture.height, screen.get(), area.left, area.top, SRCCOPY);
  }
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = picture.width;
  info.bmiHeader.biHeight = -picture.height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  picture.pixels.resize(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height));
  GetDIBits(memory.get(), bitmap.get(), 0, static_cast<UINT>(picture.height), picture.pixels.data(), &info,
            DIB_RGB_COLORS);
  for (auto& pixel : picture.pixels) pixel &= 0xFFFFFF;
  return picture;
}

bool saveScreenshot(HWND window, const std::wstring& name) {
  ScreenPixels picture = capture(window);
  const GdiPlus gdiPlus;
  CreateDirectoryW(folder().c_str(), nullptr);
  Gdiplus::Bitmap bitmap(picture.width, picture.height, picture.width * 4, PixelFormat32bppRGB,
                         reinterpret_cast<BYTE*>(picture.pixels.data()));
  return bitmap.Save((folder() + L"\\" + name + L".png").c_str(), &kPngEncoder, nullptr) == Gdiplus::Ok;
}

}  // namespace qev::test
#endif
