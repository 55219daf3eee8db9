// The services of the machine as the library takes them: clock, drives, boxes, work folder, keys, waiting messages.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "platform/Platform.h"
#include "platform/SystemServices.h"
#include "platform/WithMessages.h"
#include "support/Silence.h"
#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

using namespace std::chrono_literals;

constexpr wchar_t kTitle[] = L"QevBackup prueba del sistema";

TEST(SystemPlatformTest, ThereIsOnePlatformForTheWholeProcess) {
  EXPECT_EQ(&systemPlatform(), &systemPlatform());
}

TEST(SystemPlatformTest, TheClockTellsTheLocalTimeToTheSecond) {
  SYSTEMTIME local{};
  GetLocalTime(&local);
  double expected = 0;
  local.wMilliseconds = 0;
  SystemTimeToVariantTime(&local, &expected);
  const double seconds = systemPlatform().clock.now().days * 86400;
  EXPECT_NEAR(seconds, expected * 86400, 3);
  EXPECT_NEAR(seconds, std::round(seconds), 1e-3);
}

TEST(SystemPlatformTest, ADriveTellsItsFreeSpaceAndOneThatIsNotThereTellsNothing) {
  const auto space = systemPlatform().drives.freeSpace(L"C:");
  ASSERT_TRUE(space);
  EXPECT_GT(space->bytesPerSector, 0u);
  EXPECT_GT(space->sectorsPerCluster, 0u);
  DWORD sectors = 0, bytes = 0, freeClusters = 0, clusters = 0;
  ASSERT_TRUE(GetDiskFreeSpaceW(L"C:\\", &sectors, &bytes, &freeClusters, &clusters));
  EXPECT_EQ(space->bytesPerSector, bytes);
  EXPECT_EQ(space->sectorsPerCluster, sectors);

  wchar_t absent = L'Q';
  while (GetLogicalDrives() & (1u << (absent - L'A'))) --absent;
  EXPECT_FALSE(systemPlatform().drives.freeSpace(std::wstring(1, absent) + L":"));
}

TEST(SystemPlatformTest, TheWorkFolderIsThereWithItsTempAndHasNoLastBackslash) {
  const std::wstring path = systemPlatform().workFolder.path();
  EXPECT_TRUE(path.ends_with(L"\\QevBackup"));
  EXPECT_TRUE(FileSystemWindows().folderExists(path));
  EXPECT_TRUE(FileSystemWindows().folderExists(path + L"\\temp"));
  EXPECT_EQ(systemPlatform().workFolder.path(), path);
}

TEST(SystemPlatformTest, AWorkFolderThatWasRemovedIsMadeAgain) {
  const std::wstring path = systemPlatform().workFolder.path();
  if (!RemoveDirectoryW((path + L"\\temp").c_str())) GTEST_SKIP() << "the work folder is in use";
  systemPlatform().workFolder.path();
  EXPECT_TRUE(FileSystemWindows().folderExists(path + L"\\temp"));
}

TEST(SystemPlatformTest, TicksPassAsMillisecondsDo) {
  const Clock& clock = systemPlatform().clock;
  const std::uint64_t before = clock.ticks();
  Sleep(200);
  EXPECT_NEAR(static_cast<double>(clock.ticks() - before), 200, 150);
}

// --- Processes ---

TEST(SystemPlatformTest, TheProcessIsThatOfTheSystem) {
  EXPECT_EQ(systemPlatform().processes.id(), GetCurrentProcessId());
}

TEST(SystemPlatformTest, AProcessIsToldByItsNameAndKnownToBeGoneAfterIt) {
  Processes& processes = systemPlatform().processes;
  const std::wstring name = processes.name();
  EXPECT_EQ(name, processes.name());
  EXPECT_FALSE(processes.isGone(name));
  const std::wstring machine = name.substr(0, 9);
  EXPECT_TRUE(processes.isGone(machine + L"fffffff0-" + name.substr(name.size() - 16))) << "no process of that id";
  EXPECT_TRUE(processes.isGone(name.substr(0, name.size() - 16) + L"0000000000000001")) << "an earlier one of this id";
  EXPECT_FALSE(processes.isGone(L"00000000" + name.substr(8))) << "of another machine";
  for (const wchar_t* none : {L"", L"123", L"qev0000feed-1-0000000000000001-0.tmp", L"copia.qev"}) {
    EXPECT_FALSE(processes.isGone(none)) << none;
  }
}

TEST(SystemPlatformTest, ALockIsHeldByOneAtATimeUntilItIsGivenBack) {
  Processes& processes = systemPlatform().processes;
  const std::wstring name = L"QevBackup-prueba-" + std::to_wstring(GetCurrentProcessId());
  // A thread that has a lock may take it again: others must ask.
  const auto othersGetIt = [&](const std::wstring& which) {
    bool given = false;
    std::thread([&] { given = processes.lock(which, 50) != nullptr; }).join();
    return given;
  };
  auto held = processes.lock(name, 50);
  ASSERT_TRUE(held);
  EXPECT_FALSE(othersGetIt(name));
  EXPECT_TRUE(othersGetIt(name + L"-otra"));
  held.reset();
  EXPECT_TRUE(othersGetIt(name));
}

TEST(SystemPlatformTest, ALockWhoseHolderHasDiedIsGivenUp) {
  Processes& processes = systemPlatform().processes;
  const std::wstring name = L"QevBackup-muerto-" + std::to_wstring(GetCurrentProcessId());
  ProcessLock* never = nullptr;
  std::thread([&] { never = processes.lock(name, 50).release(); }).join();
  ASSERT_TRUE(never);
  EXPECT_TRUE(processes.lock(name, 50));
}

// --- Waiting messages ---

// A hidden window that counts the messages it gets.
class CountingWindow {
 public:
  static constexpr UINT kMessage = WM_APP + 7;

  CountingWindow()
      : window_(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
    SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    old_ = reinterpret_cast<WNDPROC>(SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&procedure)));
  }
  CountingWindow(const CountingWindow&) = delete;
  CountingWindow& operator=(const CountingWindow&) = delete;
  ~CountingWindow() { DestroyWindow(window_); }

  HWND handle() const { return window_; }
  int received = 0;
  bool postsAgain = false;

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto& self = *reinterpret_cast<CountingWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == kMessage) {
      ++self.received;
      if (self.postsAgain) PostMessageW(window, kMessage, 0, 0);
    }
    return CallWindowProcW(self.old_, window, message, wParam, lParam);
  }

  HWND window_;
  WNDPROC old_ = nullptr;
};

TEST(SystemPlatformTest, YieldingDispatchesEveryMessageThatWaitsAndReturns) {
  CountingWindow window;
  for (int i = 0; i < 5; ++i) PostMessageW(window.handle(), CountingWindow::kMessage, 0, 0);
  EXPECT_EQ(window.received, 0);
  systemPlatform().eventLoop.yield();
  EXPECT_EQ(window.received, 5);
  systemPlatform().eventLoop.yield();
  EXPECT_EQ(window.received, 5);
}

TEST(SystemPlatformTest, AWindowThatKeepsPostingToItselfDoesNotHoldUpTheCaller) {
  CountingWindow window;
  window.postsAgain = true;
  PostMessageW(window.handle(), CountingWindow::kMessage, 0, 0);
  systemPlatform().eventLoop.yield();
  EXPECT_GT(window.received, 0);
  window.postsAgain = false;
  systemPlatform().eventLoop.yield();
}

TEST(SystemPlatformTest, AQuitMessageIsPutBackForTheLoopThatItWasMeantFor) {
  PostQuitMessage(17);
  systemPlatform().eventLoop.yield();
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, UINT{WM_QUIT});
  EXPECT_EQ(message.wParam, 17u);
}

void CALLBACK postOnce(HWND timed, UINT, UINT_PTR, DWORD) {
  PostMessageW(timed, CountingWindow::kMessage, 0, 0);
  KillTimer(timed, 1);
}

// It would come before timers and painting, and each of them with it.
TEST(SystemPlatformTest, AQuitMessageKeepsNoOtherMessageWaiting) {
  CountingWindow window;
  PostQuitMessage(17);
  systemPlatform().eventLoop.yield();
  SetTimer(window.handle(), 1, 10, postOnce);
  for (int i = 0; i < 50 && window.received == 0; ++i) {
    Sleep(10);
    systemPlatform().eventLoop.yield();
  }
  EXPECT_EQ(window.received, 1);
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 17u);
}

// --- What takes its time ---

TEST(SystemPlatformTest, WorkThatTakesItsTimeLeavesTheWindowsTheirMessagesAndKeepsTheErrorMode) {
  DWORD before = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS, &before);
  DWORD inTheWork = 0;
  const Silence silence;
  const DWORD code = withMessages(systemPatience(), [&] {
    inTheWork = GetThreadErrorMode();
    Sleep(4000);
    return DWORD{ERROR_DISK_FULL};
  });
  SetThreadErrorMode(before, nullptr);
  EXPECT_EQ(code, DWORD{ERROR_DISK_FULL});
  EXPECT_EQ(inTheWork, DWORD{SEM_FAILCRITICALERRORS});
  EXPECT_LT(silence.longest(), kLongestSilence);
  EXPECT_GT(silence.ticks(), 10);
}

void WINAPI countAndYield(void* count) {
  ++*static_cast<int*>(count);
  systemPlatform().eventLoop.yield();
}

TEST(SystemPlatformTest, WorkThatTakesItsTimeIsNotHurriedByAQuitMessageWhichIsPutBack) {
  int given = 0;
  PostQuitMessage(17);
  const Patience patience{.giveMessages = countAndYield, .context = &given};
  EXPECT_EQ(withMessages(patience, [] { return Sleep(1000), DWORD{ERROR_SUCCESS}; }), DWORD{ERROR_SUCCESS});
  EXPECT_LT(given, 100) << "no thread waits as fast as it can";
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 17u);
}

BOOL WINAPI copySlowly(const wchar_t* from, const wchar_t* to, BOOL keeps) {
  Sleep(4000);
  return CopyFileW(from, to, keeps);
}

TEST(SystemPlatformTest, AFileIsCopiedToASlowDiskWhileTheWindowsGetTheirMessages) {
  const TemporaryFolder folder;
  folder.write(L"a.txt", "uno");
  FileSystemWindows files(systemPatience(), copySlowly);
  const Silence silence;
  files.copyFile(folder / L"a.txt", folder / L"b.txt");
  EXPECT_LT(silence.longest(), kLongestSilence);
  EXPECT_EQ(folder.bytes(L"b.txt"), "uno");
}

// --- The session ---

TEST(SystemPlatformTest, TheMachineIsKeptAwakeForAsLongAsItIsAskedForAndWhatTheHostWantsOfItStays) {
  constexpr EXECUTION_STATE display = ES_CONTINUOUS | ES_DISPLAY_REQUIRED;
  const CountingWindow window;
  EXECUTION_STATE atWork = 0;
  SetThreadExecutionState(display);
  {
    const auto kept = systemPlatform().session.keep(window.handle(), L"Copia en marcha");
    atWork = SetThreadExecutionState(ES_SYSTEM_REQUIRED);  // answers what lasts
  }
  EXPECT_EQ(atWork, display | ES_SYSTEM_REQUIRED);
  EXPECT_EQ(SetThreadExecutionState(ES_CONTINUOUS), display);
}

// --- Message boxes, answered by a second thread ---

struct SeenBox {
  bool found = false;
  std::wstring text;
  std::vector<int> buttons;
};

constexpr int kTextOfABox = 0xFFFF;

// Waits for a box of the tests' title, looks at it, and answers it.
SeenBox answerBox(WPARAM command) {
  SeenBox seen;
  HWND box = nullptr;
  for (int i = 0; i < 400 && !box; ++i) {
    std::this_thread::sleep_for(25ms);
    box = FindWindowW(L"#32770", kTitle);
  }
  if (!box) return seen;
  std::this_thread::sleep_for(50ms);
  seen.found = true;
  wchar_t text[512] = L"";
  GetDlgItemTextW(box, kTextOfABox, text, 512);
  seen.text = text;
  for (const int id : {IDOK, IDCANCEL, IDYES, IDNO}) {
    if (const HWND button = GetDlgItem(box, id); button && (GetWindowLongW(button, GWL_STYLE) & WS_VISIBLE)) {
      seen.buttons.push_back(id);
    }
  }
  PostMessageW(box, WM_COMMAND, command, 0);
  return seen;
}

class SystemMessagesTest : public testing::Test {
 protected:
  Answer show(const wchar_t* text, std::uint32_t style, WPARAM command) {
    std::thread user([&] { seen = answerBox(command); });
    const Answer answer = systemPlatform().messages.show(text, kTitle, style);
    user.join();
    EXPECT_TRUE(seen.found);
    return answer;
  }

  SeenBox seen;
};

TEST_F(SystemMessagesTest, AQuestionShowsItsTextAndItsTwoButtonsAndGivesTheAnswer) {
  EXPECT_EQ(show(L"¿Desea reemplazarlo?", message::kYesNo | message::kQuestion, IDYES), Answer::Yes);
  EXPECT_EQ(seen.text, L"¿Desea reemplazarlo?");
  EXPECT_EQ(seen.buttons, (std::vector<int>{IDYES, IDNO}));
  EXPECT_EQ(show(L"¿Reintentar?", message::kYesNo | message::kCritical, IDNO), Answer::No);
}

TEST_F(SystemMessagesTest, NoQuitMessageAnswersAQuestionNeitherOneThatWaitsNorOneThatComes) {
  PostQuitMessage(17);
  EXPECT_EQ(show(L"¿Desea reemplazarlo?", message::kYesNo | message::kQuestion, IDNO), Answer::No);
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 17u);
  const DWORD thread = GetCurrentThreadId();
  std::thread user([&] {
    HWND first = nullptr;
    for (int i = 0; i < 400 && !first; ++i) {
      std::this_thread::sleep_for(25ms);
      first = FindWindowW(L"#32770", kTitle);
    }
    PostThreadMessageW(thread, WM_QUIT, 18, 0);
    for (int i = 0; i < 400 && IsWindow(first); ++i) std::this_thread::sleep_for(25ms);
    seen = answerBox(IDNO);
  });
  EXPECT_EQ(systemPlatform().messages.show(L"¿Desea reemplazarlo?", kTitle, message::kYesNo | message::kQuestion),
            Answer::No);
  user.join();
  EXPECT_TRUE(seen.found);
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
  EXPECT_EQ(message.wParam, 18u);
}

TEST_F(SystemMessagesTest, APromptHasOkAndCancelAndGivesTheAnswer) {
  EXPECT_EQ(show(L"Introduzca un disco", message::kOkCancel | message::kInformation, IDOK), Answer::Ok);
  EXPECT_EQ(seen.buttons, (std::vector<int>{IDOK, IDCANCEL}));
  EXPECT_EQ(show(L"Introduzca un disco", message::kOkCancel | message::kInformation, IDCANCEL), Answer::Cancel);
}

// --- Keys ---

class SystemKeyboardTest : public testing::Test {
 protected:
  SystemKeyboardTest()
      : edit_(CreateWindowExW(0, L"EDIT", L"", WS_POPUP | WS_VISIBLE, 10, 10, 200, 30, nullptr, nullptr, nullptr,
                              nullptr)) {
    SetForegroundWindow(edit_);
    SetFocus(edit_);
    settle([this] { return GetForegroundWindow() == edit_ && GetFocus() == edit_; });
  }
  ~SystemKeyboardTest() override { DestroyWindow(edit_); }

  std::wstring typed() const {
    wchar_t text[64] = L"";
    GetWindowTextW(edit_, text, 64);
    return text;
  }

  // Lets messages through until the condition holds, five seconds at most.
  template <typename Condition>
  static bool settle(Condition condition) {
    for (int i = 0; i < 250 && !condition(); ++i) {
      systemPlatform().eventLoop.yield();
      std::this_thread::sleep_for(20ms);
    }
    return condition();
  }

  HWND edit_;
};

TEST_F(SystemKeyboardTest, AKeyIsTypedIntoTheFocusedControl) {
  systemPlatform().keyboard.sendKey('7', false);
  EXPECT_TRUE(settle([this] { return typed() == L"7"; }));
}

TEST_F(SystemKeyboardTest, WithShiftAKeyIsACapitalAndShiftIsUpAgainAfterwards) {
  systemPlatform().keyboard.sendKey('Q', true);
  systemPlatform().keyboard.sendKey('Q', false);
  EXPECT_TRUE(settle([this] { return typed() == L"Qq"; }));
  EXPECT_GE(GetAsyncKeyState(VK_SHIFT), 0);
}

}  // namespace
}  // namespace qev::test
