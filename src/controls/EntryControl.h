// What the data-entry controls have in common: an edit box within a window that draws its own border, the saved
// properties, the focus cycle (enter, type, leave), the validation on leaving and the conversion of text and value.
//
// A control is a window of a registered class and the object that it makes for itself; the object lives as long as the
// window. It belongs to the thread of its window, like every member function here.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "controls/ControlFont.h"
#include "controls/ControlSite.h"
#include "controls/DrawBox.h"
#include "controls/EditBox.h"
#include "controls/PropertyBag.h"
#include "platform/Platform.h"
#include "platform/Value.h"
#include "values/MGeneral.h"

namespace qev {

// EntryControl.cpp has the window, the properties and the validation, EntryControlInput.cpp keys, mouse and focus.
class EntryControl : public std::enable_shared_from_this<EntryControl> {
 public:
  EntryControl(const EntryControl&) = delete;
  EntryControl& operator=(const EntryControl&) = delete;
  virtual ~EntryControl() = default;

  // Events, in the order in which the controls declare them. An AutomationError that a handler throws while the control
  // deals with a message is shown in a message box.
  std::function<void(bool& Cancel)> AfterUpdate;  // an entry was accepted; Cancel takes it back
  std::function<void()> Change;                   // the user changed the text
  std::function<void(std::int16_t& KeyCode, std::int16_t Shift)> KeyDown;  // virtual key; Shift 1, Ctrl 2, Alt 4
  std::function<void(std::int16_t& KeyAscii)> KeyPress;                    // UTF-16 code of a character, 0 drops it
  std::function<void()> Click;

  // The services that the control uses; the system's until set. REQUIRES: they outlive the control.
  virtual void setPlatform(Platform& platform) { platform_ = &platform; }

  // The container; null for one without wishes. REQUIRES: it outlives the control or is taken back.
  void setSite(ControlSite* site);

  HWND hWnd() const { return window_; }

  // The object of a window of any of the control classes; null for any other window. REQUIRES: a window of this thread.
  static EntryControl* of(HWND window);

  // The name by which screen readers announce the field, "" for none. It ends with the window.
  void announceAs(const std::wstring& name);

  DataType Datatype() const { return dataType_; }
  void setDatatype(DataType dataType);  // Password also shows "*" for each character from then on

  Color BackColor() const { return backColor_; }
  void setBackColor(Color color);  // shown while the control has not the focus; white while it has
  Color ForeColor() const { return edit_.foreColor(); }
  void setForeColor(Color color);
  int Borderstyle() const { return borderStyle_; }
  void setBorderstyle(int style);
  Color BorderColor() const { return borderColor_; }
  void setBorderColor(Color color);

  // The control's own font, nothing while it has the container's.
  const std::optional<ControlFont>& Font() const { return font_; }
  void setFont(std::optional<ControlFont> font);

  TextAlignment Alignment() const { return edit_.alignment(); }
  void setAlignment(TextAlignment alignment);
  std::int32_t MaxLength() const { return edit_.maxLength(); }  // in characters, 0 for no limit
  void setMaxLength(std::int32_t characters);
  bool Enabled() const { return edit_.enabled(); }
  void setEnabled(bool enabled);
  bool Locked() const { return edit_.locked(); }  // read-only: neither filtered nor validated
  void setLocked(bool locked);

  // The raw text. Setting it has no effect between a key stroke of the user and the validation that follows; else it
  // counts as saved, so it raises no Change and is not validated.
  std::wstring Text() const { return edit_.text(); }
  void setText(const std::wstring& text);

  // The text as a value of the data type; setting it shows a value, under the same condition as setText().
  qev::Value Value() const;
  void setValue(const qev::Value& value);

  // A free slot for the caller.
  const qev::Value& OldValue() const { return oldValue_; }
  void setOldValue(qev::Value value) { oldValue_ = std::move(value); }

  // Any property of the inner edit box by its name: see EditBox::property. Throws 438 for a name that it has not.
  qev::Value TBox(const std::wstring& procName) const;
  void setTBox(const std::wstring& procName, const qev::Value& value);

  // Validates the entry if the user changed it, writes it in the form of its type and raises AfterUpdate. False when
  // the entry was refused with a message (the text is cleared then) or AfterUpdate was cancelled (the text of the entry
  // is put back); the control has the focus in both cases. True, at once, for a locked box and while another control
  // validates.
  bool Update();

  // Lets every entry control of `form` that the focus has left, but that has not dealt with it yet, validate its entry
  // now: a form calls it before it acts on a command. False when an entry was refused.
  static bool settleAll(HWND form);

  // Takes the properties from the container's store, and saves them there. What cannot be converted has its default.
  virtual void readProperties(const PropertyBag& bag);
  virtual void writeProperties(PropertyBag& bag) const;

 protected:
  EntryControl();

  // The window procedure of a control class: `make` makes the object of a new window.
  static LRESULT procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                           std::shared_ptr<EntryControl> (*make)());

  // The object of a window whose class has that procedure; null for any other window.
  static EntryControl* fromWindow(HWND window, WNDPROC procedure);

  // What differs from control to control.
  virtual void keyDown(std::int16_t& keyCode,
                       bool repeated) = 0;              // after KeyDown; 0 swallows the key and its character
  virtual void altKeyDown(std::int16_t /*keyCode*/) {}  // the same, with Alt down; it cannot be swallowed
  virtual bool raisesKeyDown() const { return true; }
  virtual void characterTyped(std::int16_t /*character*/) {}   // it is about to go into the edit box
  virtual void changed();                                      // the text of the edit box is another
  virtual void clicked() { raise(Click); }                     // the edit box was
  virtual bool surfacePressed(POINT /*at*/) { return false; }  // outside the edit box; true: dealt with
  virtual bool wheelTurned(int /*delta*/) { return false; }    // in units of WHEEL_DELTA; true: dealt with
  virtual void focusLost() {}                                  // by the edit box, to whatever window
  virtual void mouseDown(std::int16_t button, std::int16_t shift, POINT at);  // pixels within the edit box
  virtual void mouseUp(std::int16_t /*button*/, std::int16_t /*shift*/, POINT /*at*/) {}
  virtual void paint(HDC device, const RECT& client);
  virtual bool paintsEditBox() { return false; }  // true: has dealt with its WM_PAINT
  virtual RECT editArea(int width, int height) const;

  // Steps of Update(). The first validates and normalises what the user entered and raises AfterUpdate: false when it
  // is refused or cancelled.
  virtual bool acceptEntry();
  virtual void entryAccepted() { savedText_.clear(); }  // it is taken again on the next entry
  std::wstring normalised(const qev::Value& value) const;

  // Shows the control, with the focus, and a message titled with the entry; then puts `replacement` in the entry's
  // place. `icon`: of the message box.
  void refuse(const std::wstring& text, std::uint32_t icon, const std::wstring& entry, const std::wstring& replacement);

  // Raises an event. Its handler may set another one or destroy the control.
  template <typename Handler, typename... Arguments>
  static void raise(const Handler& event, Arguments&&... arguments) {
    if (const Handler handler = event) handler(std::forward<Arguments>(arguments)...);
  }

  void saveText(const std::wstring& text) { savedText_ = text; }
  const std::wstring& savedText() const { return savedText_; }
  void showText(const std::wstring& text);  // as if it had been there all along
  void takeBack();                          // puts the saved text back, as if nothing had been entered
  void signalValueChanged();
  void enterByMouse();

  // Shows the error under way in a message box titled with the text: no exception may reach the system's frames.
  // REQUIRES: called from a catch clause.
  void reportCurrentError() const noexcept;

  Platform& platform() const { return *platform_; }
  MGeneral general() const;
  EditBox& edit() { return edit_; }
  const EditBox& edit() const { return edit_; }
  void focusNext(bool backwards) const { general().SendKey(VK_TAB, backwards); }
  void repaint();

  bool modified_ = false;        // the user changed the text since it was saved
  bool typing_ = false;          // a key was pressed: only what the user types counts as a change
  bool enteredByMouse_ = false;  // the focus comes from a click: the text is not selected on entry

 private:
  // Posted: the focus went to another control of the form; wParam: during a validation.
  static constexpr UINT kLeave = WM_USER + 1;

  LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT dispatch(UINT message, WPARAM wParam, LPARAM lParam);
  bool filterEdit(UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result);
  bool dispatchEdit(UINT message, WPARAM& wParam, LPARAM lParam, LRESULT& result);

  void created(const CREATESTRUCTW& creation);
  void layOut();
  void applyFont();
  LRESULT dialogCode(WPARAM wParam, LPARAM lParam);
  bool keyPressed(WPARAM& character);
  bool keyWentDown(UINT message, WPARAM& key, LPARAM lParam);
  void dropCharacterOf(std::int16_t keyCode) const;
  bool mouseOnEdit(UINT message, LPARAM lParam);
  bool mouseOnSurface(UINT message, LPARAM lParam);

  bool hasFocus() const;
  void focusArrived();
  void focusLeft(HWND to) const;
  void passFocusOn() const;
  void enter();
  bool leave(bool duringValidation);

  HWND window_ = nullptr;
  std::shared_ptr<EntryControl> self_;  // held while the window exists
  Platform* platform_;
  ControlSite* site_ = nullptr;
  EditBox edit_;
  DataType dataType_ = DataType::Text;
  int borderStyle_ = kSunkenBorder;
  Color borderColor_ = kBlack;
  Color backColor_ = kWhite;
  std::optional<ControlFont> font_;
  UniqueFont ownFont_;             // of font_ or of the site's ambient font
  HFONT containerFont_ = nullptr;  // what the containing window gave
  std::wstring savedText_;         // what the field held when it got the focus or was set by program
  qev::Value oldValue_;
  std::wstring announced_;
  HWND announcedWindow_ = nullptr;
  bool inside_ = false;    // the focus came and has not gone to another control of the form
  bool updating_ = false;  // the focus that comes now is given back by Update()
  bool ignoreChange_ = false;
  bool pressed_ = false;  // the left button went down on the edit box
};

}  // namespace qev
