// A form of the library for a test: a real window on a real display, with a user on a second thread while the first is
// inside the form; settings, messages, sounds and choosers of the test's own, and a folder.
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "controls/FormSession.h"
#include "resources/resource.h"
#include "settings/HostSettings.h"
#include "support/CountedMessages.h"
#include "support/FakePlatform.h"
#include "support/Hands.h"
#include "support/Screenshot.h"
#include "support/TemporaryFolder.h"

namespace qev::test {

class FormTest : public testing::Test, public Hands {
 protected:
  static constexpr wchar_t kTitle[] = L"Gestion de prueba";
  static constexpr wchar_t kKey[] = L"Software\\Gestion";

  void SetUp() override {
    SetThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_SYSTEM_AWARE);  // at the scale of the system, whatever it is
    host_.title = kTitle;
    host_.settingsKey = kKey;
    host_.dataFolder = folder_ / L"Datos\\Emp01\\";
  }

  // The window of a run, when that has ended: `result` and `accept` are its controls.
  static HWND endedRun(int result, int accept) {
    HWND form = nullptr;
    EXPECT_TRUE(waitFor([&] {
      form = findForm(kTitle, result);
      return form && IsWindowEnabled(GetDlgItem(form, accept));
    })) << "the run has not ended";
    return form;
  }

  // Keeps a picture of what has come to rest.
  static void keepPicture(HWND form, const std::wstring& name) {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    saveScreenshot(form, name);
  }
  static void keepPictureOfThisScale(HWND form, const std::wstring& name) {
    keepPicture(form, name + L"-" + std::to_wstring(GetDpiForSystem() * 100 / 96));
  }

  // The controls that Tab leads to, the first of them the one that has the focus.
  static std::vector<int> tabOrder(HWND form, int stops) {
    std::vector<int> order;
    for (int i = 0; i < stops; ++i) {
      order.push_back(focusOf(form));
      press(form, VK_TAB);
      std::this_thread::sleep_for(std::chrono::milliseconds(150));
    }
    return order;
  }

  static std::string contentOf(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // Whether so many messages have come.
  bool told(std::size_t messages) const { return messages_.told(messages); }

  std::vector<std::wstring> texts() const {
    std::vector<std::wstring> all;
    for (const auto& shown : fake_.messages.shown) all.push_back(shown.text);
    return all;
  }

  // Of a message with the host's title and one button.
  static FakeMessages::Shown warning(const std::wstring& text) {
    return {text, kTitle, message::kOk | message::kExclamation};
  }
  static FakeMessages::Shown advice(const std::wstring& text) {
    return {text, kTitle, message::kOk | message::kInformation};
  }

  TemporaryFolder folder_;
  FakePlatform fake_;
  CountedMessages messages_{fake_.messages};
  Platform& system_ = systemPlatform();
  HostSettings host_;
  FormSession session_;
};

// A window of the host's for the length of a scope.
class HostWindow {
 public:
  explicit HostWindow(const wchar_t* caption = L"Host")
      : window_(CreateWindowW(L"STATIC", caption, WS_OVERLAPPED | WS_VISIBLE, 0, 0, 300, 200, nullptr, nullptr,
                              GetModuleHandleW(nullptr), nullptr)) {}
  HostWindow(const HostWindow&) = delete;
  HostWindow& operator=(const HostWindow&) = delete;
  ~HostWindow() { DestroyWindow(window_); }
  operator HWND() const { return window_; }

 private:
  HWND window_;
};

}  // namespace qev::test
