#include "controls/DrawBox.h"

#include "platform/Handle.h"

namespace qev {
namespace {

constexpr Color kLastSystemColor = kSystemColor + 24;

void drawBorder(HDC device, RECT& box, Color borderColour, int borderStyle) {
  if (borderStyle != kFlatBorder) {
    DrawEdge(device, &box, static_cast<UINT>(borderStyle), BF_RECT);
  } else if (borderColour == kNoColor) {
    DrawEdge(device, &box, BDR_OUTER, BF_RECT | BF_FLAT);
  } else {
    const UniqueBrush brush(CreateSolidBrush(translateColor(borderColour)));
    FrameRect(device, &box, brush.get());
  }
}

void drawText(HDC device, RECT box, const std::wstring& text, UINT flags, const Margins& margins) {
  box.left += margins.left;
  box.top += margins.top;
  box.right -= margins.right;
  box.bottom -= margins.bottom;
  if (text.find(L"\r\n") == std::wstring::npos) flags |= DT_SINGLELINE;
  const int mode = SetBkMode(device, TRANSPARENT);
  DrawTextW(device, text.data(), static_cast<int>(text.size()), &box, flags);
  SetBkMode(device, mode);
}

}  // namespace

COLORREF translateColor(Color color) {
  if (color <= kLastSystemColor) return GetSysColor(color - kSystemColor);
  return static_cast<COLORREF>(color);
}

void DrawBox(HDC device, int left, int top, int width, int height, Color backColour, Color borderColour,
             int borderStyle, const std::wstring& text, UINT textFlags, const Margins& margins) {
  RECT box{left, top, left + width, top + height};  // a RECT's right and bottom are one past its last pixels
  if (backColour != kNoColor) {
    const UniqueBrush brush(CreateSolidBrush(translateColor(backColour)));
    FillRect(device, &box, brush.get());
  }
  drawBorder(device, box, borderColour, borderStyle);
  if (!text.empty()) drawText(device, box, text, textFlags, margins);
}

}  // namespace qev
