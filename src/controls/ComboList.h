// The list of a combo box: a window on the desktop under the field, which never takes the activation from the form. It
// has the mouse while it is open, so that it sees the click elsewhere that closes it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>

#include "controls/DrawBox.h"

namespace qev {

// What a list shows and whom it tells: its combo box. Rows are counted from 0, -1 stands for none.
class ComboListOwner {
 public:
  virtual ~ComboListOwner() = default;

  virtual std::shared_ptr<void> hold() = 0;  // keeps the owner, and with it the list, while the list is at work

  virtual std::int32_t listRowCount() const = 0;
  virtual std::int32_t listCurrentRow() const = 0;
  virtual HFONT listFont() const = 0;  // null for the system's
  virtual Color listBackColor() const = 0;
  virtual Color listForeColor() const = 0;

  // Draws the cells of a row; background, font and text colour are there already.
  virtual void drawListRow(HDC device, std::int32_t row, const RECT& area) const = 0;

  virtual void rowPointedAt(std::int32_t row) = 0;  // the mouse has moved onto the row
  virtual void rowClicked(std::int32_t row) = 0;
  virtual void listDismissed() = 0;  // clicked elsewhere, the capture has gone, the field has moved: close it

  // Called from the catch clause for what the owner threw while the list dealt with a message: no exception may reach
  // the system's frames.
  virtual void listFailed() noexcept = 0;
};

class ComboList {
 public:
  // REQUIRES: the owner outlives the list.
  explicit ComboList(ComboListOwner& owner) : owner_(owner) {}
  ComboList(const ComboList&) = delete;
  ComboList& operator=(const ComboList&) = delete;
  ~ComboList() { close(); }

  // The window class. Registering twice is no error. Throws 7. RegisterClassExW, UnregisterClassW.
  static void registerClass(HINSTANCE module);
  static void unregisterClass(HINSTANCE module);

  // Shows the list under `field`, `width` pixels wide and with `mostRows` rows at the most; above the field where there
  // is more room, and always within the work area of the field's monitor. Throws 7 when the window cannot be made.
  // CreateWindowExW, MonitorFromWindow, SetCapture.
  void open(HWND field, int width, int mostRows);
  void close();

  bool isOpen() const { return window_ != nullptr; }
  HWND hWnd() const { return window_; }

  // Scrolls so that the current row is seen, and shows which one it is. Nothing happens while the list is closed.
  void showCurrentRow();

  // Scrolls by so many notches of the mouse wheel, in its units (WHEEL_DELTA), upwards when positive.
  void turnWheel(int delta);

  // The row at the top, and how many are seen.
  std::int32_t firstRow() const { return firstRow_; }
  std::int32_t shownRows() const { return shownRows_; }

  // Pixels of one row with that font.
  static int rowHeight(HFONT font);

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);
  RECT place(const RECT& field, const RECT& workArea, int width, int mostRows);
  void paintWindow();
  void paintRow(HDC device, std::int32_t row, const RECT& area);
  RECT areaOf(std::int32_t row) const;
  std::int32_t rowAt(POINT at) const;
  void scrollTo(std::int32_t firstRow);
  void scrollBarMoved(WORD request);
  void mouseMoved(POINT at);
  void mousePressed(UINT message, POINT at);
  void mouseReleased(POINT at);
  void watch();

  ComboListOwner& owner_;
  HWND window_ = nullptr;
  HWND field_ = nullptr;
  RECT fieldArea_{};  // where the field was when the list opened
  int rowHeight_ = 1;
  std::int32_t firstRow_ = 0;
  std::int32_t shownRows_ = 0;
  std::int32_t paintedRow_ = -1;  // the row last shown as the current one
  POINT pointer_{};               // on the screen, when last seen: the system also tells of moves that are none
  bool armed_ = false;            // the pointer has been used on the list: letting go of a button chooses
  bool scrolling_ = false;        // the scroll bar has the mouse
  int wheel_ = 0;                 // turned, but not yet a whole row
};

}  // namespace qev
