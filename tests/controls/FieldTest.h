// A form of entry fields for a test: real windows, keys, conversions and event loop, and messages and sounds of the
// test's own.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "controls/TestForm.h"
#include "controls/ValidationLock.h"
#include "support/FakePlatform.h"
#include "support/Screenshot.h"

namespace qev::test {

// The real keyboard, counted.
class CountedKeyboard : public Keyboard {
 public:
  int keys = 0;
  void sendKey(std::uint8_t virtualKey, bool withShift) override {
    ++keys;
    systemPlatform().keyboard.sendKey(virtualKey, withShift);
  }
};

class FieldTest : public testing::Test {
 protected:
  using Strings = std::vector<std::string>;
  using Shown = FakeMessages::Shown;

  explicit FieldTest(const std::vector<TestForm::Item>& items) { makeForm(items); }

  void makeForm(const std::vector<TestForm::Item>& items, bool withButton = true) {
    form_.reset();
    form_ = std::make_unique<TestForm>(items, withButton);
    for (int i = 1; i <= static_cast<int>(items.size()); ++i) {
      if (auto* field = EntryControl::of(form_->item(i))) field->setPlatform(platform_);
    }
  }

  void record(EntryControl& field) {
    field.AfterUpdate = [this](bool&) { events_.push_back("AfterUpdate"); };
    field.Change = [this] { events_.push_back("Change"); };
    field.KeyDown = [this](std::int16_t&, std::int16_t) { events_.push_back("KeyDown"); };
    field.KeyPress = [this](std::int16_t&) { events_.push_back("KeyPress"); };
    field.Click = [this] { events_.push_back("Click"); };
  }

  static HWND editOf(const EntryControl& field) { return GetWindow(field.hWnd(), GW_CHILD); }
  static std::int32_t editNumber(const EntryControl& field, const wchar_t* property) {
    return std::get<std::int32_t>(field.TBox(property));
  }
  static std::int32_t selStart(const EntryControl& field) { return editNumber(field, L"SelStart"); }
  static std::int32_t selLength(const EntryControl& field) { return editNumber(field, L"SelLength"); }

  ScreenPixels shown(HWND window) const {
    form_->pump();
    return capture(window);
  }

  // How many pixels of a window's rectangle the screen shows otherwise than `draw` draws them on white.
  int othersThan(HWND window, const RECT& area, const std::function<void(HDC, RECT)>& draw) const {
    const ScreenPixels screen = shown(window);
    const UniqueMemoryDc device(CreateCompatibleDC(nullptr));
    const UniqueBitmap bitmap(CreateBitmap(screen.width, screen.height, 1, 32, nullptr));
    const SelectedObject selected(device.get(), bitmap.get());
    PatBlt(device.get(), 0, 0, screen.width, screen.height, WHITENESS);
    draw(device.get(), {0, 0, screen.width, screen.height});
    int others = 0;
    for (int y = area.top; y < area.bottom; ++y) {
      for (int x = area.left; x < area.right; ++x) {
        const COLORREF drawn = GetPixel(device.get(), x, y);
        others += screen.at(x, y) != RGB(GetBValue(drawn), GetGValue(drawn), GetRValue(drawn));
      }
    }
    return others;
  }

  FakePlatform fakes_;
  CountedKeyboard keyboard_;
  Platform platform_ = with(fakes_.platform(), systemPlatform().locale, keyboard_, systemPlatform().eventLoop);
  Strings events_;
  std::unique_ptr<TestForm> form_;
};

// Makes `once` make and destroy what shall leave nothing in the process. GetGuiResources.
inline void expectNoHandleLeft(const TestForm& form, const std::function<void()>& once) {
  for (int i = 0; i < 5; ++i) once();
  form.pump();
  const DWORD gdi = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  const DWORD user = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  for (int i = 0; i < 100; ++i) once();
  form.pump();
  EXPECT_EQ(GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS), gdi);
  EXPECT_EQ(GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS), user);
}

}  // namespace qev::test
