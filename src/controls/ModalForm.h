// A modal dialog of the library: the plain dialog machinery of the system, with the handlers that a form overrides.
//
// The layout is the dialog resource of the form's name; the properties of its entry controls stand in the RCDATA
// resource of the same name. Control ids are in resources/resource.h.
#pragma once

#include <windows.h>

#include <exception>
#include <memory>
#include <string>

#include "automation/LibraryState.h"
#include "platform/Handle.h"
#include "platform/Platform.h"

namespace qev {

class UTextBox;
class FormProperties;

class ModalForm {
 public:
  ModalForm(const ModalForm&) = delete;
  ModalForm& operator=(const ModalForm&) = delete;
  virtual ~ModalForm();

  // Shows the form over the active window of the calling thread, and no other window of it can be used; returns when it
  // has closed. Throws 400 when this form is shown already, 7 when the window cannot be made, and what load() throws.
  // DialogBoxParamW.
  void showModal();

 protected:
  // `name` is the name of the form's resources. REQUIRES: the references outlive the form.
  ModalForm(const wchar_t* name, Platform& platform, LibraryState& state);

  // Handlers. An error that one throws is shown in a message box with the host's title, and the form goes on; one from
  // load() ends showModal() with that error.
  virtual void load() = 0;                                                // the controls exist, nothing is visible yet
  virtual void command(int /*id*/) {}                                     // a button was pressed
  virtual void timer(UINT_PTR /*id*/) {}                                  // a timer of the window has ticked
  virtual bool mayClose() { return true; }                                // asked before the close box or Esc closes it
  virtual void unload() {}                                                // the window is going
  virtual void drawItem(int /*id*/, HDC /*dc*/, const RECT& /*area*/) {}  // an owner-drawn control
  virtual HBRUSH colours(int /*id*/, HDC /*dc*/) { return nullptr; }      // of a label; null: the system's
  virtual void paint(HDC /*dc*/) {}                                       // under the controls
  virtual bool busy() const { return false; }                             // the hourglass is shown over the form

  Platform& platform() const { return platform_; }
  HWND window() const { return window_; }
  HWND control(int id) const { return GetDlgItem(window_, id); }

  // The entry field with that id, with the form's services and with its saved properties, which stand in the form's
  // resource under `name`. REQUIRES: called from load(). Throws 5 when there is no such field.
  UTextBox& textBox(int id, const wchar_t* name);

  void setText(int id, const std::wstring& text) const;
  void closeForm();

  // The form's font, `percent` of its size, bold when asked.
  UniqueFont derivedFont(int percent, bool bold) const;

 private:
  static INT_PTR CALLBACK dialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  INT_PTR handle(UINT message, WPARAM wParam, LPARAM lParam);
  INT_PTR dispatch(UINT message, WPARAM wParam, LPARAM lParam);
  void start();
  void showCurrentError() noexcept;

  const wchar_t* name_;
  Platform& platform_;
  LibraryState& state_;
  HWND window_ = nullptr;
  std::unique_ptr<FormProperties> properties_;
  UniqueIcon smallIcon_;
  UniqueIcon bigIcon_;
  std::exception_ptr loadError_;
};

}  // namespace qev
