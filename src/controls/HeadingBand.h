// The band at the top of a form: a heading on the colour of windows, and a line under it.
#pragma once

#include <windows.h>

#include "platform/Handle.h"

namespace qev {

class HeadingBand {
 public:
  // Shows the label `headingId`, which lies in the band, in `font`.
  void attach(HWND form, int headingId, UniqueFont font);

  // What a form does under its controls and answers for the colours of a label; nothing without a band.
  void paint(HDC dc) const;
  HBRUSH colours(int id, HDC dc) const;  // null for other labels than the heading

 private:
  HWND form_ = nullptr;
  int headingId_ = 0;
  UniqueFont font_;
};

}  // namespace qev
