// The font property of a control.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "platform/Handle.h"

namespace qev {

struct ControlFont {
  std::wstring name;
  double points = 9;
  bool bold = false;
  bool italic = false;
  bool underline = false;
  bool strikethrough = false;

  bool operator==(const ControlFont&) const = default;

  // The font at a screen resolution in dots per inch. CreateFontIndirectW.
  UniqueFont create(int dotsPerInch) const;

  // What describes an existing font at that resolution. GetObjectW.
  static ControlFont of(HFONT font, int dotsPerInch);

  // As it is saved among a control's properties: "name; points", then "; bold", "; italic", "; underline" and
  // "; strikethrough" where they hold. Points have "." as decimal separator.
  std::wstring toText() const;

  // What toText() wrote; nothing for a text without a name or a size above 0.
  static std::optional<ControlFont> fromText(const std::wstring& text);
};

}  // namespace qev
