// A modal dialog of the library: the plain dialog machinery of the system, with the handlers that a form overrides.
//
// The layout is the dialog resource of the form's name; the properties of its entry controls stand in the RCDATA
// resource of the same name. Control ids are in resources/resource.h.
#pragma once

#include <windows.h>

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "controls/ControlSite.h"
#include "controls/FormSession.h"
#include "controls/HeadingBand.h"
#include "controls/Picture.h"
#include "platform/Handle.h"
#include "platform/Platform.h"
#include "settings/HostSettings.h"

namespace qev {

class EntryControl;
class FormProperties;
class ToolTips;
class UComboBox;
class UTextBox;
class PropertyBag;

class ModalForm {
 public:
  ModalForm(const ModalForm&) = delete;
  ModalForm& operator=(const ModalForm&) = delete;
  virtual ~ModalForm();

  // Shows the form over the active window of the calling thread, and no other window of it can be used; returns when it
  // has closed. Throws 400 when this form is shown already, 7 when the window cannot be made, and what load() throws.
  // DialogBoxParamW.
  virtual void showModal();

 protected:
  // `name` is the name of the form's resources. REQUIRES: the references outlive the form.
  ModalForm(const wchar_t* name, Platform& platform, const HostSettings& host, FormSession& session);

  // Handlers. An error that one throws is shown in a message box with the host's title, and the form goes on; one from
  // load() ends showModal() with that error.
  virtual void load() = 0;                       // the controls exist, nothing is visible yet
  virtual void command(int /*id*/) {}            // a button was pressed
  virtual void timer(UINT_PTR /*id*/) {}         // a timer of the window has ticked
  virtual bool mayClose() { return true; }       // asked before the close box or Esc closes it
  virtual bool mayEndSession() { return true; }  // asked when the user shuts Windows down or logs off
  virtual void unload() {}                       // the window is going
  virtual bool busy() const { return false; }    // the hourglass is shown over the form

  Platform& platform() const { return platform_; }
  const HostSettings& host() const { return host_; }
  FormSession& session() const { return session_; }
  const std::wstring& title() const { return host_.title; }  // the host's
  HWND window() const { return window_; }
  HWND control(int id) const { return GetDlgItem(window_, id); }

  // The entry field with that id, with the form's services and with its saved properties, which stand in the form's
  // resource under `name`; the format of the data that it shows, where there is one, stands there as "DataFormat".
  // REQUIRES: called from load(). Throws 5 when there is no such field.
  UTextBox& textBox(int id, const wchar_t* name);
  UComboBox& comboBox(int id, const wchar_t* name);

  // Shows, while the mouse rests on the control with that id, the text that stands in the form's resource under `name`
  // and "ToolTipText". None there: no tip. REQUIRES: called from load().
  void toolTip(int id, const wchar_t* name);

  // Runs what a field's event asks for as the form's own handlers run: an error is shown with the host's title, and the
  // form goes on.
  void atEdge(const std::function<void()>& handler) noexcept;

  // Calls `handler` at the edge, as above, when an entry of the field was accepted.
  void onAfterUpdate(EntryControl& field, std::function<void(bool& cancel)> handler);

  // In the field Esc takes back what the user typed; where there is nothing to take back, it is IDCANCEL as everywhere
  // else. REQUIRES: the field's Change, AfterUpdate and KeyDown are left to the form; onAfterUpdate() may follow.
  void cancelOnEscape(EntryControl& field);

  // Shows a message box with the host's title; `style` is its buttons and icon.
  Answer tell(const std::wstring& text, std::uint32_t style) const;

  // Shows a picture in an owner-drawn label, on a colour of the system; before the first there is only
  // COLOR_BTNFACE. Throws 53 when it is missing.
  void showPicture(int id, const wchar_t* picture, int background = COLOR_BTNFACE);

  // Shows a picture on a button. REQUIRES: called from load(). Throws 53 when it is missing.
  void showIcon(int button, const wchar_t* picture);

  // Makes a band of the top of the form, in which the owner-drawn label `pictureId` and the heading `labelId` lie.
  // REQUIRES: called from load().
  void showHeading(int pictureId, int labelId, const wchar_t* picture = L"IMAGEN");

  void setText(int id, const std::wstring& text) const;
  void closeForm();

  // Shows the form, if the system has not yet done so: it does when no other message waits, and what a timer starts
  // within that time would go on unseen. ShowWindow.
  void showForm() const;

  // The form's font, `percent` of its size, bold when asked.
  UniqueFont derivedFont(int percent, bool bold) const;

 private:
  static INT_PTR CALLBACK dialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  INT_PTR handle(UINT message, WPARAM wParam, LPARAM lParam);
  INT_PTR dispatch(UINT message, WPARAM wParam, LPARAM lParam);
  template <typename Field>
  Field& field(int id, const wchar_t* name);
  void start();
  void setDataFormat(EntryControl& field, const PropertyBag& bag);
  void fitToText(HWND field) const;
  void drawPicture(const DRAWITEMSTRUCT& item) const;
  void showCurrentError() noexcept;

  const wchar_t* name_;
  Platform& platform_;
  const HostSettings& host_;
  FormSession& session_;
  HWND window_ = nullptr;
  std::unique_ptr<FormProperties> properties_;
  std::unique_ptr<ToolTips> toolTips_;
  std::vector<std::unique_ptr<ControlSite>> sites_;  // of the fields that have a data format
  struct ShownPicture {
    Picture picture;
    int background;  // COLOR_
  };
  std::map<int, ShownPicture> pictures_;  // by the label's id
  std::vector<UniqueIcon> icons_;         // of the form and its buttons
  HeadingBand heading_;
  bool typed_ = false;  // what is in the field that has the focus may differ from what it had
  std::exception_ptr loadError_;
};

}  // namespace qev
