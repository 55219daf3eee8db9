#include "support/Hands.h"

#include <gtest/gtest.h>

#include <atomic>
#include <exception>
#include <thread>

namespace qev::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 10s;
constexpr auto kStill = 50ms;  // between two looks at something that may be moving

// Tells when the thread that made it has nothing left to do. A timer's message is the last that a thread gets: it comes
// when no other message, no key and no click is waiting.
class IdleBell {
 public:
  IdleBell() : window_(CreateWindowW(L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&procedure));
  }
  IdleBell(const IdleBell&) = delete;
  IdleBell& operator=(const IdleBell&) = delete;
  ~IdleBell() { DestroyWindow(window_); }

  // For another thread. Once it has been asked, rang() is false until the bell has rung.
  void ask() {
    rang_ = false;
    PostMessageW(window_, kAsk, 0, 0);
  }
  bool rang() const { return rang_; }

 private:
  static constexpr UINT kAsk = WM_APP;

  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kAsk) SetTimer(window, 1, USER_TIMER_MINIMUM, nullptr);
    if (message == WM_TIMER) {
      KillTimer(window, 1);
      reinterpret_cast<IdleBell*>(GetWindowLongPtrW(window, GWLP_USERDATA))->rang_ = true;
    }
    return DefWindowProcW(window, message, wParam, lParam);
  }

  const HWND window_;
  std::atomic<bool> rang_ = false;
};

// What is shown now, by the thread that shows it.
struct Show {
  const DWORD thread = GetCurrentThreadId();
  const DPI_AWARENESS_CONTEXT awareness = GetThreadDpiAwarenessContext();
  IdleBell bell;
  std::atomic<bool> over = false;
};

std::atomic<Show*> current = nullptr;

// Waits until the forms' thread has dealt with what the user did.
void settle() {
  Show* const show = current;
  if (!show) return;
  show->bell.ask();
  waitFor([show] { return show->bell.rang() || show->over; }, kLimit);
}

void closeWhatIsOpen(const Show& show) {
  const auto close = [](HWND window, LPARAM) CALLBACK -> BOOL {
    PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
    return TRUE;
  };
  while (!show.over) {
    EnumThreadWindows(show.thread, close, 0);
    std::this_thread::sleep_for(200ms);
  }
}

void live(const Show& show, const std::function<HWND()>& find, const std::function<void(HWND)>& user) {
  SetThreadDpiAwarenessContext(show.awareness);
  HWND form = nullptr;
  waitFor([&] { return (form = find()) != nullptr || show.over; });
  EXPECT_TRUE(form) << "the form has not come up";
  try {
    if (form) user(form);
  } catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
  }
  EXPECT_TRUE(waitFor([&] { return show.over.load(); }, kLimit)) << "a window is still open";
  closeWhatIsOpen(show);
}

// The window of a form that has the focus, or null.
HWND focusedIn(HWND form) {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  GetGUIThreadInfo(GetWindowThreadProcessId(form, nullptr), &info);
  return info.hwndFocus && GetAncestor(info.hwndFocus, GA_ROOT) == form ? info.hwndFocus : nullptr;
}

bool canBeUsed(HWND form) {
  return IsWindowVisible(form) && IsWindowEnabled(form);
}

bool isUsable(HWND form) {
  return canBeUsed(form) && GetForegroundWindow() == form;
}

bool comesToFront(HWND form) {
  constexpr auto patience = 2s;
  for (auto waited = 0s; waited < kLimit && IsWindow(form); waited += patience) {
    if (waitFor([form] { return isUsable(form) || !IsWindow(form); }, patience)) break;
    if (canBeUsed(form)) SetForegroundWindow(form);
  }
  return isUsable(form);
}

// Why a click on a control would be lost, or null.
const char* obstacle(HWND control, const RECT& area) {
  const HWND form = GetAncestor(control, GA_ROOT);
  if (!IsWindowVisible(control)) return "it is not visible";
  if (!IsWindowEnabled(control) || !IsWindowEnabled(form)) return "it cannot be used";
  if (GetForegroundWindow() != form) return "its form is not in front";
  const HWND there = WindowFromPoint({(area.left + area.right) / 2, (area.top + area.bottom) / 2});
  return there == control || IsChild(control, there) ? nullptr : "another window covers it";
}

// The same, looked at for a while.
const char* obstacle(HWND control) {
  RECT before{}, after{};
  if (!GetWindowRect(control, &before)) return "it is not there";
  if (const char* const reason = obstacle(control, before)) return reason;
  std::this_thread::sleep_for(kStill);
  if (!GetWindowRect(control, &after) || !EqualRect(&before, &after)) return "it moves";
  return obstacle(control, after);
}

// Moves the mouse onto a control. The display tells of every movement, and the forms' thread may hear of an earlier one
// after this and take the mouse back there: it must have heard of all before there is a click.
void putMouseOn(HWND control) {
  RECT client{};
  GetClientRect(control, &client);
  POINT middle{client.right / 2, client.bottom / 2}, now{};
  ClientToScreen(control, &middle);
  waitFor(
      [&] {
        SetCursorPos(middle.x, middle.y);
        settle();
        return GetCursorPos(&now) && now.x == middle.x && now.y == middle.y;
      },
      kLimit);
}

// Whether keys go to the form, and not only for the moment.
bool getsKeys(HWND form) {
  return waitFor(
      [form] {
        const HWND before = focusedIn(form);
        if (!before || !isUsable(form)) return false;
        std::this_thread::sleep_for(kStill);
        return focusedIn(form) == before && isUsable(form);
      },
      kLimit);
}

bool readyForKeys(HWND form) {
  const bool ready = comesToFront(form) && getsKeys(form);
  EXPECT_TRUE(ready) << "keys would not reach the form";
  return ready;
}

// What an edit box will hold when a text is typed into it.
std::wstring textAfter(HWND edit, std::wstring_view typed) {
  std::wstring text = Hands::windowText(edit);
  DWORD begin = 0, end = 0;
  SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&begin), reinterpret_cast<LPARAM>(&end));
  return text.replace(std::min<std::size_t>(begin, text.size()), end - begin, typed);
}

void selectAll(HWND edit) {
  SendMessageW(edit, EM_SETSEL, 0, -1);
}

}  // namespace

bool waitFor(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

void Hands::use(const std::wstring& caption, int control, const std::function<void()>& show,
                const std::function<void(HWND)>& user) {
  Show now;
  current = &now;
  std::thread hands([&] {
    live(
        now, [&] { return findForm(caption, control); }, user);
  });
  try {
    show();
  } catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
  }
  now.over = true;
  hands.join();
  current = nullptr;
}

HWND Hands::findForm(const std::wstring& caption, int control) {
  HWND form = nullptr;
  do form = FindWindowExW(nullptr, form, L"#32770", caption.c_str());
  while (form && !(IsWindowVisible(form) && (control == 0 || GetDlgItem(form, control))));
  return form;
}

bool Hands::closed(HWND window) {
  return waitFor([window] { return !IsWindow(window); }, 5s);
}

std::wstring Hands::windowText(HWND window) {
  wchar_t text[4096];
  const auto length = SendMessageW(window, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text));
  return std::wstring(text, static_cast<std::size_t>(length));
}

HWND Hands::editOf(HWND form, int id) {
  return GetWindow(GetDlgItem(form, id), GW_CHILD);
}

std::wstring Hands::textOf(HWND form, int id) {
  const HWND edit = editOf(form, id);
  return windowText(edit ? edit : GetDlgItem(form, id));
}

bool Hands::readOnly(HWND form, int id) {
  return (GetWindowLongPtrW(editOf(form, id), GWL_STYLE) & ES_READONLY) != 0;
}

int Hands::focusOf(HWND form) {
  const HWND focused = focusedIn(form);
  if (!focused) return 0;
  return GetDlgCtrlID(GetParent(focused) == form ? focused : GetParent(focused));
}

void Hands::toFront(HWND form) {
  readyForKeys(form);
}

void Hands::click(HWND control) {
  const HWND form = GetAncestor(control, GA_ROOT);
  comesToFront(form);
  const char* reason = nullptr;
  if (!waitFor([&] { return (reason = obstacle(control)) == nullptr; }, kLimit)) {
    ADD_FAILURE() << "no click on control " << GetDlgCtrlID(control) << ": " << reason;
    return;
  }
  putMouseOn(control);
  clickOn(form, control);
  settle();
}

void Hands::click(HWND form, int id) {
  click(GetDlgItem(form, id));
}

void Hands::focus(HWND form, int id) {
  static HWND last = nullptr;
  static ULONGLONG lastAt = 0;
  const HWND edit = editOf(form, id);
  if (edit == last) waitFor([] { return GetTickCount64() - lastAt > GetDoubleClickTime(); });
  click(edit ? edit : GetDlgItem(form, id));
  last = edit;
  lastAt = GetTickCount64();
  EXPECT_TRUE(waitFor([&] { return focusOf(form) == id; }, kLimit)) << "no focus in control " << id;
}

void Hands::press(HWND form, WORD virtualKey, unsigned modifiers) {
  if (!readyForKeys(form)) return;
  test::press(form, virtualKey, modifiers);
  settle();
}

// The display tells a window that has just got the focus which keys are down, and does not know of the Alt that a
// program presses: the letter may then have gone to the field that has the focus.
bool Hands::pressAccessKey(HWND form, WORD letter, const std::function<bool()>& done) {
  const HWND focused = focusedIn(form);
  const std::wstring before = windowText(focused);
  press(form, letter, kAlt);
  if (waitFor(done, 2s)) return true;
  if (windowText(focused) != before) {
    SendMessageW(focused, EM_UNDO, 0, 0);
    press(form, letter, kAlt);
  }
  return waitFor(done, kLimit);
}

void Hands::type(HWND form, std::wstring_view text) {
  if (!readyForKeys(form)) return;
  const HWND edit = focusedIn(form);
  const std::wstring whole = textAfter(edit, text);
  test::type(form, text);
  settle();
  for (int i = 0; i < 2 && windowText(edit) != whole; ++i) {
    selectAll(edit);
    test::type(form, whole);
    settle();
  }
}

void Hands::enter(HWND form, int id, std::wstring_view text) {
  focus(form, id);
  selectAll(editOf(form, id));
  if (text.empty()) press(form, VK_DELETE);
  type(form, text);
  press(form, VK_TAB);
  waitFor([&] { return focusOf(form) != id; }, kLimit);
  settle();
}

}  // namespace qev::test
