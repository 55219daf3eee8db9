// The ordinary edit box inside an entry control.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

#include "controls/DrawBox.h"
#include "platform/Handle.h"
#include "platform/Locale.h"
#include "platform/Value.h"

namespace qev {

enum class TextAlignment : std::int32_t { Left = 0, Right = 1, Center = 2 };

// Owns one single-line EDIT window and the properties that outlive it: alignment is a style that an edit box has from
// its creation, so changing it makes a new window. Without a window it keeps its text and properties.
class EditBox {
 public:
  // Sees every message before the edit box does, and may change `wParam`. True when it has dealt with the message.
  using Filter = std::function<bool(UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result)>;

  explicit EditBox(Filter filter) : filter_(std::move(filter)) {}
  EditBox(const EditBox&) = delete;
  EditBox& operator=(const EditBox&) = delete;
  ~EditBox() { destroy(); }

  // Makes the window, as a child of `parent` in its module. Throws 7 when it cannot be made. CreateWindowExW.
  void create(HWND parent);

  // Destroys the window; text and properties stay.
  void destroy();

  // What the edit box itself does with a message.
  LRESULT defaultAnswer(UINT message, WPARAM wParam, LPARAM lParam);

  HWND hWnd() const { return window_; }
  bool hasFocus() const { return window_ && GetFocus() == window_; }
  void focus();
  void place(int left, int top, int width, int height);

  // True while the window is being made anew: what then happens to focus and text is nobody's doing.
  bool recreating() const { return recreating_; }

  std::wstring text() const;
  void setText(const std::wstring& text);

  // Characters before the selection, and in it.
  std::int32_t selStart() const;
  std::int32_t selLength() const;
  void select(std::int32_t start, std::int32_t length);
  void selectAll();
  void caretToEnd();

  TextAlignment alignment() const { return alignment_; }
  void setAlignment(TextAlignment alignment);
  std::int32_t maxLength() const { return maxLength_; }  // in characters, 0 for no limit; what programs set has none
  void setMaxLength(std::int32_t characters);
  bool locked() const { return locked_; }
  void setLocked(bool locked);
  bool enabled() const { return enabled_; }
  void setEnabled(bool enabled);
  std::wstring passwordChar() const { return passwordChar_; }  // shown for each character; "" for the text itself
  void setPasswordChar(const std::wstring& character);
  Color backColor() const { return backColor_; }
  Color shownBackColor() const;  // that of the scheme behind its gray text: a disabled box in high contrast
  void setBackColor(Color color);
  Color foreColor() const { return foreColor_; }
  void setForeColor(Color color);
  void setFont(HFONT font);  // kept by reference
  HFONT font() const { return font_; }

  // Prepares a device context for the edit box's colours and returns its background brush, for the parent's answer to
  // WM_CTLCOLOREDIT and WM_CTLCOLORSTATIC.
  HBRUSH colors(HDC device);

  // A property by its name, in any letter case: Alignment, BackColor, Enabled, ForeColor, Height, hWnd, Left, Locked,
  // MaxLength, MultiLine, Name, PasswordChar, SelLength, SelStart, SelText, Text, Top, Visible, Width (places and sizes
  // in pixels). Throws 438 for any other name, and for setting one that can only be read.
  Value property(const std::wstring& name, const Locale& locale) const;
  void setProperty(const std::wstring& name, const Value& value, const Locale& locale);

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  static HWND makeWindow(HWND parent, const std::wstring& text, TextAlignment alignment);
  void adopt(HWND window);
  void recreate(TextAlignment alignment);
  void applyProperties();

  Filter filter_;
  HWND window_ = nullptr;
  WNDPROC original_ = nullptr;
  bool recreating_ = false;
  std::wstring textWithoutWindow_;
  TextAlignment alignment_ = TextAlignment::Left;
  std::int32_t maxLength_ = 0;
  bool locked_ = false;
  bool enabled_ = true;
  std::wstring passwordChar_;
  Color backColor_ = kWhite;
  Color foreColor_ = kBlack;
  HFONT font_ = nullptr;
  UniqueBrush brush_;
  COLORREF brushColor_ = 0;
};

}  // namespace qev
