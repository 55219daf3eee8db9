// The one drawing routine of the entry controls: background, border and, where asked, a text.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace qev {

// A colour property: an RGB colour, or a system colour when it lies from kSystemColor to kSystemColor + 24.
using Color = std::int32_t;

inline constexpr Color kSystemColor = INT32_MIN;  // plus a COLOR_... index from 0 to 24
inline constexpr Color kNoColor = -1;
inline constexpr Color kWhite = 0xFFFFFF;
inline constexpr Color kBlack = 0;

// Border styles that the controls name; any other is an edge code of DrawEdge.
inline constexpr int kFlatBorder = 3;     // a one-pixel frame
inline constexpr int kSunkenBorder = 10;  // EDGE_SUNKEN

// What to draw with: a system colour by the user's present scheme, any other colour as it is. GetSysColor.
COLORREF translateColor(Color color);

// Pixels that a text keeps from each side.
struct Margins {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
};

// Draws the box whose pixels run from (left, top) to (left + width - 1, top + height - 1): the background unless
// `backColour` is kNoColor; the border, which is the system edge `borderStyle` or, for kFlatBorder, a frame of
// `borderColour` (a flat edge when that is kNoColor); and `text`, if any, within the margins by DrawTextW's
// `textFlags`, on a single line unless it holds a line break (CR LF). FillRect, DrawEdge, FrameRect, DrawTextW.
void DrawBox(HDC device, int left, int top, int width, int height, Color backColour, Color borderColour,
             int borderStyle, const std::wstring& text = {}, UINT textFlags = 0, const Margins& margins = {});

}  // namespace qev
