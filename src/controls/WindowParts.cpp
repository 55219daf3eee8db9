#include "controls/WindowParts.h"

namespace qev {

std::wstring textOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)), L'\0');
  const int copied = GetWindowTextW(window, text.data(), static_cast<int>(text.size()) + 1);
  text.resize(static_cast<std::size_t>(copied));
  return text;
}

RECT clientAreaOf(HWND window) {
  RECT area{};
  GetClientRect(window, &area);
  return area;
}

RECT screenAreaOf(HWND window) {
  RECT area{};
  GetWindowRect(window, &area);
  return area;
}

RECT areaInParent(HWND window) {
  RECT area = screenAreaOf(window);
  MapWindowPoints(nullptr, GetParent(window), reinterpret_cast<POINT*>(&area), 2);
  return area;
}

}  // namespace qev
