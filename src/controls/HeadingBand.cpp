#include "controls/HeadingBand.h"

#include <utility>

namespace qev {
namespace {

constexpr LONG kHeight = 34;  // in dialog units

}  // namespace

void HeadingBand::attach(HWND form, int pictureId, int headingId, UniqueFont font, const wchar_t* picture) {
  form_ = form;
  pictureId_ = pictureId;
  headingId_ = headingId;
  picture_ = Picture(picture);
  font_ = std::move(font);
  SendDlgItemMessageW(form, headingId, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
}

void HeadingBand::paint(HDC dc) const {
  RECT band{0, 0, 0, kHeight};
  MapDialogRect(form_, &band);
  RECT client{};
  GetClientRect(form_, &client);
  band.right = client.right;
  FillRect(dc, &band, GetSysColorBrush(COLOR_WINDOW));
  band.top = band.bottom;
  band.bottom = band.top + 2;
  DrawEdge(dc, &band, EDGE_ETCHED, BF_TOP);
}

HBRUSH HeadingBand::colours(int id, HDC dc) const {
  if (id != headingId_) return nullptr;
  SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
  SetBkColor(dc, GetSysColor(COLOR_WINDOW));
  return GetSysColorBrush(COLOR_WINDOW);
}

bool HeadingBand::drawItem(int id, HDC dc, const RECT& area) const {
  if (id != pictureId_) return false;
  FillRect(dc, &area, GetSysColorBrush(COLOR_WINDOW));
  picture_.draw(dc, area);
  return true;
}

}  // namespace qev
