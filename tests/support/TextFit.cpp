#include "support/TextFit.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/Handle.h"
#include "support/Hands.h"

namespace qev::test {
namespace {

bool hasTick(HWND control) {
  const auto style = GetWindowLongPtrW(control, GWL_STYLE) & BS_TYPEMASK;
  wchar_t name[20] = L"";
  GetClassNameW(control, name, 20);
  return _wcsicmp(name, L"Button") == 0 && (style == BS_CHECKBOX || style == BS_AUTOCHECKBOX);
}

}  // namespace

SIZE roomForText(HWND window, const std::wstring& text, int width, UINT flags) {
  RECT area{0, 0, width, 0};
  const WindowDc device(window);
  const SelectedObject font(device.get(), reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)));
  DrawTextW(device.get(), text.c_str(), -1, &area, DT_CALCRECT | flags);
  return {area.right, area.bottom};
}

bool fitsInOneLine(HWND control) {
  RECT client{};
  GetClientRect(control, &client);
  const SIZE room = roomForText(control, Hands::windowText(control), 0, DT_SINGLELINE);
  const bool hasPicture = SendMessageW(control, BM_GETIMAGE, IMAGE_ICON, 0) != 0 || hasTick(control);
  const LONG picture = hasPicture ? GetSystemMetrics(SM_CXSMICON) + 12 : 0;
  return room.cx + picture <= client.right && room.cy <= client.bottom;
}

bool fitsWrapped(HWND edit) {
  RECT client{};
  GetClientRect(edit, &client);
  const UINT flags = DT_WORDBREAK | DT_EDITCONTROL | DT_NOPREFIX;
  return roomForText(edit, Hands::windowText(edit), client.right, flags).cy <= client.bottom;
}

void expectNothingOutsideOrOverAnother(HWND form) {
  RECT client{};
  GetClientRect(form, &client);
  std::vector<std::pair<int, RECT>> seen;
  for (HWND control = GetWindow(form, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
    RECT area{};
    GetWindowRect(control, &area);
    MapWindowPoints(nullptr, form, reinterpret_cast<POINT*>(&area), 2);
    const int id = GetDlgCtrlID(control);
    EXPECT_TRUE(area.left >= 0 && area.top >= 0 && area.right <= client.right && area.bottom <= client.bottom)
        << "control " << id;
    wchar_t name[16] = L"";
    GetClassNameW(control, name, 16);
    const bool frame =
        name == std::wstring(L"Button") && (GetWindowLongPtrW(control, GWL_STYLE) & BS_TYPEMASK) == BS_GROUPBOX;
    if (frame || !IsWindowVisible(control)) continue;
    for (const auto& [other, otherArea] : seen) {
      RECT common{};
      EXPECT_FALSE(IntersectRect(&common, &area, &otherArea)) << "controls " << id << " and " << other;
    }
    seen.emplace_back(id, area);
  }
}

}  // namespace qev::test
