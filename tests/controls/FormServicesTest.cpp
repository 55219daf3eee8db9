// What a form does for its fields and their user: names for screen readers, mnemonics, tool tips, sizes and colours,
// and its manners towards the windows of the host.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "controls/FieldNames.h"
#include "controls/ModalForm.h"
#include "controls/TestForm.h"
#include "controls/ToolTips.h"
#include "resources/resource.h"
#include "support/FakePlatform.h"
#include "support/Screenshot.h"

namespace qev {
namespace {

using test::TestForm;

constexpr DWORD kField = WS_TABSTOP;

class FormServicesTest : public ::testing::Test {
 protected:
  test::FakePlatform fakes_;
  Platform platform_ = test::with(systemPlatform(), fakes_.messages, fakes_.sound, fakes_.accessibility,
                                  fakes_.textPrompt, fakes_.fileChooser);
  std::unique_ptr<TestForm> form_;

  void makeForm(const std::vector<TestForm::Item>& items) {
    form_ = std::make_unique<TestForm>(items);
    for (HWND child = GetWindow(form_->window(), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
      if (EntryControl* const field = EntryControl::of(child)) field->setPlatform(platform_);
    }
  }

  HWND editOf(int item) const { return GetWindow(form_->item(item), GW_CHILD); }
};

// ---------------------------------------------------------------------------------------------------------------------
// Names for screen readers

TEST_F(FormServicesTest, EachFieldIsAnnouncedByTheCaptionBeforeIt) {
  makeForm({{L"STATIC", L"&Origen:", 0},
            {UTextBox::kClassName, L"", kField},
            {L"STATIC", L"Copias && días", 0},
            {UComboBox::kClassName, L"", kField},
            {UTextBox::kClassName, L"", kField},
            {L"STATIC", L"A&B", SS_NOPREFIX},
            {UTextBox::kClassName, L"", kField}});
  nameFieldsByTheirLabels(form_->window());
  const std::map<WindowHandle, std::wstring> expected = {
      {editOf(2), L"Origen:"}, {editOf(4), L"Copias & días"}, {editOf(5), L"Copias & días"}, {editOf(7), L"A&B"}};
  EXPECT_EQ(fakes_.accessibility.names, expected);
}

TEST_F(FormServicesTest, AFieldWithoutACaptionBeforeItHasNoName) {
  makeForm({{UTextBox::kClassName, L"", kField}, {L"STATIC", L"Detrás", 0}, {L"STATIC", L"", 0}});
  nameFieldsByTheirLabels(form_->window());
  EXPECT_TRUE(fakes_.accessibility.names.empty());
}

TEST_F(FormServicesTest, TheNameGoesWithTheWindow) {
  makeForm({{L"STATIC", L"Origen:", 0}, {UTextBox::kClassName, L"", kField}});
  nameFieldsByTheirLabels(form_->window());
  ASSERT_EQ(fakes_.accessibility.names.size(), 1U);
  form_->destroy();
  EXPECT_TRUE(fakes_.accessibility.names.empty());
  EXPECT_EQ(fakes_.accessibility.cleared, 1);
}

TEST_F(FormServicesTest, TheNameStaysWhenTheEditBoxIsMadeAnew) {
  makeForm({{L"STATIC", L"Origen:", 0}, {UTextBox::kClassName, L"", kField}});
  nameFieldsByTheirLabels(form_->window());
  const HWND former = editOf(2);
  form_->field(2).setAlignment(TextAlignment::Right);
  ASSERT_NE(editOf(2), former);
  EXPECT_EQ(fakes_.accessibility.names, (std::map<WindowHandle, std::wstring>{{editOf(2), L"Origen:"}}));
}

TEST_F(FormServicesTest, TheSystemsServiceTakesANameWithoutHarm) {
  makeForm({{UTextBox::kClassName, L"", kField}});
  systemPlatform().accessibility.setName(editOf(1), L"Origen:");
  systemPlatform().accessibility.clearName(editOf(1));
  systemPlatform().accessibility.setName(nullptr, L"nadie");
}

// ---------------------------------------------------------------------------------------------------------------------
// Mnemonics

TEST_F(FormServicesTest, TheMnemonicOfALabelLeadsToTheFieldAfterIt) {
  makeForm({{L"STATIC", L"&Origen:", 0},
            {UTextBox::kClassName, L"", kField},
            {L"STATIC", L"&Destino:", 0},
            {UComboBox::kClassName, L"", kField}});
  ASSERT_EQ(form_->focused(), 2);
  form_->press('D', test::kAlt);
  EXPECT_EQ(form_->focused(), 4);
  EXPECT_EQ(GetFocus(), editOf(4));
  form_->combo(4).setRowSource(L"A;B");
  form_->combo(4).Requery();
  form_->press(VK_F4);
  ASSERT_TRUE(form_->combo(4).listIsOpen());
  form_->press('O', test::kAlt);
  EXPECT_EQ(form_->focused(), 2);
  EXPECT_FALSE(form_->combo(4).listIsOpen());
}

TEST_F(FormServicesTest, AMnemonicValidatesTheFieldThatItLeaves) {
  makeForm({{UTextBox::kClassName, L"", kField}, {L"STATIC", L"&Destino:", 0}, {UTextBox::kClassName, L"", kField}});
  form_->field(1).setDatatype(DataType::Currency);
  form_->type(L"1234.5");
  form_->press('D', test::kAlt);
  EXPECT_EQ(form_->focused(), 3);
  EXPECT_EQ(form_->field(1).Text(), L"1.234,50");
}

// ---------------------------------------------------------------------------------------------------------------------
// Tool tips

TEST_F(FormServicesTest, AToolTipShowsWhileTheMouseRestsOnAField) {
  makeForm({{UTextBox::kClassName, L"", kField}, {UComboBox::kClassName, L"", kField}});
  ToolTips tips(form_->window());
  tips.add(form_->item(2), L"Dónde se guardan las copias");
  POINT away{2, 2};
  ClientToScreen(form_->window(), &away);
  SetCursorPos(away.x, away.y);
  form_->pump();
  EXPECT_FALSE(IsWindowVisible(tips.hWnd()));
  POINT at{20, 10};
  ClientToScreen(form_->item(2), &at);
  SetCursorPos(at.x, at.y);
  EXPECT_TRUE(test::pumpUntil(form_->window(), [&] { return IsWindowVisible(tips.hWnd()) != 0; }));
  wchar_t text[80] = L"";
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V1_SIZE;
  tool.hwnd = form_->window();
  tool.uId = reinterpret_cast<UINT_PTR>(editOf(2));
  tool.lpszText = text;
  SendMessageW(tips.hWnd(), TTM_GETTEXTW, 80, reinterpret_cast<LPARAM>(&tool));
  EXPECT_STREQ(text, L"Dónde se guardan las copias");
  EXPECT_EQ(GetActiveWindow(), form_->window());
}

TEST_F(FormServicesTest, ToolTipsMayOutliveTheirForm) {
  makeForm({{UTextBox::kClassName, L"", kField}});
  ToolTips tips(form_->window());
  tips.add(form_->item(1), L"Aviso");
  form_->destroy();
  EXPECT_FALSE(IsWindow(tips.hWnd()));
}

// ---------------------------------------------------------------------------------------------------------------------
// Sizes and colours

class EveryScale : public ::testing::TestWithParam<int> {};

// A form is made to the size of its font, which grows with the scale.
TEST_P(EveryScale, FieldsAndListRowsHoldTheFont) {
  TestForm form({{UTextBox::kClassName, L"", kField}, {UComboBox::kClassName, L"", kField}}, true, GetParam());
  form.field(1).setText(L"ÁÑgjpqy");
  form.combo(2).setRowSource(L"ÁÑgjpqy;Semanalmente;Mensualmente");
  form.combo(2).Requery();
  form.combo(2).setText(L"ÁÑgjpqy");
  for (int i = 1; i <= 2; ++i) {
    const HWND edit = GetWindow(form.item(i), GW_CHILD);
    const WindowDc device(edit);
    TEXTMETRICW font{};
    const SelectedObject selected(device.get(), reinterpret_cast<HFONT>(SendMessageW(edit, WM_GETFONT, 0, 0)));
    GetTextMetricsW(device.get(), &font);
    RECT client{};
    GetClientRect(edit, &client);
    EXPECT_GE(client.bottom, font.tmHeight);
  }
  form.focus(2);
  form.press(VK_F4);
  RECT list{};
  GetClientRect(form.combo(2).listWindow(), &list);
  EXPECT_EQ(list.bottom % 3, 0);
  EXPECT_TRUE(test::saveScreenshot(form.window(), L"Campos-" + std::to_wstring(GetParam() * 100 / 9)));
}

INSTANTIATE_TEST_SUITE_P(Points, EveryScale, ::testing::Values(9, 11, 14, 18));  // 100, 125, 150, 200 percent of 9

TEST_F(FormServicesTest, DefaultColoursAreBlackOnWhiteAndADisabledFieldHasTheSystemsGrayText) {
  makeForm({{UTextBox::kClassName, L"", kField}, {UComboBox::kClassName, L"", kField}});
  for (int i = 1; i <= 2; ++i) {
    const WindowDc clientArea(form_->item(i));
    const HDC device = clientArea.get();
    const auto ask = [&](UINT message) {
      SendMessageW(form_->item(i), message, reinterpret_cast<WPARAM>(device), reinterpret_cast<LPARAM>(editOf(i)));
    };
    ask(WM_CTLCOLOREDIT);
    EXPECT_EQ(GetTextColor(device), RGB(0, 0, 0));
    EXPECT_EQ(GetBkColor(device), RGB(255, 255, 255));
    EntryControl::of(form_->item(i))->setEnabled(false);
    ask(WM_CTLCOLORSTATIC);
    EXPECT_EQ(GetTextColor(device), GetSysColor(COLOR_GRAYTEXT));
  }
}

// ---------------------------------------------------------------------------------------------------------------------
// Keys for others

TEST_F(FormServicesTest, ADisabledFieldTypesNoTabIntoAnotherApplication) {
  makeForm({{UTextBox::kClassName, L"", kField}, {UTextBox::kClassName, L"", kField}});
  class Count : public Keyboard {
   public:
    int keys = 0;
    void sendKey(std::uint8_t, bool) override { ++keys; }
  } keyboard;
  Platform counted = test::with(platform_, keyboard);
  form_->field(2).setPlatform(counted);
  form_->field(2).setEnabled(false);
  const HWND another = CreateWindowExW(0, L"STATIC", L"Otra", WS_POPUP | WS_VISIBLE, 500, 20, 100, 60, nullptr, nullptr,
                                       nullptr, nullptr);
  test::bringToForeground(another);
  SendMessageW(form_->item(2), WM_SETFOCUS, 0, 0);
  EXPECT_EQ(keyboard.keys, 0);
  DestroyWindow(another);
  test::bringToForeground(form_->window());
}

// ---------------------------------------------------------------------------------------------------------------------
// The windows of the host

// A form of the library's own layout that closes itself as soon as it is shown.
class BriefForm : public ModalForm {
 public:
  BriefForm(Platform& platform, const HostSettings& host, FormSession& session)
      : ModalForm(L"FBACKUP", platform, host, session) {}

  std::function<void(HWND form)> onTick;

 private:
  void load() override {
    textBox(FBackup_TOrigen, L"TOrigen");
    textBox(FBackup_TDestino, L"TDestino");
    SetTimer(window(), 1, 50, nullptr);
  }
  void timer(UINT_PTR id) override {
    KillTimer(window(), id);
    if (onTick) onTick(window());
    closeForm();
  }
};

TEST_F(FormServicesTest, TheHostsWindowOwnsTheFormIsDisabledMeanwhileAndHasTheFocusAfterwards) {
  const HWND host = CreateWindowExW(0, L"STATIC", L"Gestión", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 300, 200,
                                    nullptr, nullptr, nullptr, nullptr);
  test::bringToForeground(host);
  HostSettings settings;
  FormSession session;
  BriefForm form(platform_, settings, session);
  bool disabled = false;
  HWND owner = nullptr;
  form.onTick = [&](HWND window) {
    disabled = !IsWindowEnabled(host);
    owner = GetWindow(window, GW_OWNER);
  };
  form.showModal();
  test::pumpUntilIdle(host);
  EXPECT_TRUE(disabled);
  EXPECT_EQ(owner, host);
  EXPECT_TRUE(IsWindowEnabled(host));
  EXPECT_EQ(GetActiveWindow(), host);
  EXPECT_EQ(GetForegroundWindow(), host);
  DestroyWindow(host);
}

TEST_F(FormServicesTest, AFormNamesItsFieldsByItselfAndTakesTheNamesBack) {
  HostSettings settings;
  FormSession session;
  BriefForm form(platform_, settings, session);
  std::vector<std::wstring> names;
  form.onTick = [&](HWND) {
    for (const auto& [window, name] : fakes_.accessibility.names) names.push_back(name);
  };
  form.showModal();
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::wstring>{L"Destino:", L"Origen:"}));
  EXPECT_TRUE(fakes_.accessibility.names.empty());
}

}  // namespace
}  // namespace qev
