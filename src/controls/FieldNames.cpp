#include "controls/FieldNames.h"

#include <string>

#include "controls/EntryControl.h"
#include "controls/WindowParts.h"

namespace qev {
namespace {

bool isLabel(HWND window) {
  wchar_t name[16] = L"";
  GetClassNameW(window, name, 16);
  return CompareStringOrdinal(name, -1, L"Static", -1, TRUE) == CSTR_EQUAL;
}

// A caption as it is seen: "&" marks the letter after it, "&&" stands for one.
std::wstring seenCaption(HWND label) {
  const std::wstring text = textOf(label);
  if (GetWindowLongPtrW(label, GWL_STYLE) & SS_NOPREFIX) return text;
  std::wstring seen;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'&' && ++i == text.size()) break;
    seen += text[i];
  }
  return seen;
}

}  // namespace

void nameFieldsByTheirLabels(HWND form) {
  std::wstring caption;
  for (HWND child = GetWindow(form, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
    if (EntryControl* const field = EntryControl::of(child)) {
      field->announceAs(caption);
    } else if (isLabel(child)) {
      if (std::wstring seen = seenCaption(child); !seen.empty()) caption = std::move(seen);
    }
  }
}

}  // namespace qev
