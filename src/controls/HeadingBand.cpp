#include "controls/HeadingBand.h"

#include <utility>

#include "controls/WindowParts.h"

namespace qev {
namespace {

constexpr LONG kHeight = 34;  // in dialog units

}  // namespace

void HeadingBand::attach(HWND form, int headingId, UniqueFont font) {
  form_ = form;
  headingId_ = headingId;
  font_ = std::move(font);
  SendDlgItemMessageW(form, headingId, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
}

void HeadingBand::paint(HDC dc) const {
  if (!form_) return;
  RECT band{0, 0, 0, kHeight};
  MapDialogRect(form_, &band);
  band.right = clientAreaOf(form_).right;
  FillRect(dc, &band, GetSysColorBrush(COLOR_WINDOW));
  band.top = band.bottom;
  band.bottom = band.top + 2;
  DrawEdge(dc, &band, EDGE_ETCHED, BF_TOP);
}

HBRUSH HeadingBand::colours(int id, HDC dc) const {
  if (!form_ || id != headingId_) return nullptr;
  SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
  SetBkColor(dc, GetSysColor(COLOR_WINDOW));
  return GetSysColorBrush(COLOR_WINDOW);
}

}  // namespace qev
