// The band at the top of a form: the program's picture and the form's heading on the colour of windows, and a line
// under them.
#pragma once

#include <windows.h>

#include "platform/Handle.h"
#include "resources/Picture.h"

namespace qev {

class HeadingBand {
 public:
  // Takes the owner-drawn label `pictureId` and the label `headingId`, which both lie in the band, and shows `picture`
  // and the heading in `font`. Throws 53 when the picture is missing.
  void attach(HWND form, int pictureId, int headingId, UniqueFont font, const wchar_t* picture = L"IMAGEN");

  // What a form's handlers of these names pass on.
  void paint(HDC dc) const;
  HBRUSH colours(int id, HDC dc) const;                   // null for other labels than the heading
  bool drawItem(int id, HDC dc, const RECT& area) const;  // false for other controls than the picture

 private:
  HWND form_ = nullptr;
  int pictureId_ = 0;
  int headingId_ = 0;
  Picture picture_;
  UniqueFont font_;
};

}  // namespace qev
