#include "support/OtherProcess.h"

#include <atomic>
#include <cstdlib>

namespace qev::test {
namespace {

constexpr wchar_t kEventVariable[] = L"QEV_OTHER_PROCESS_EVENT";
constexpr DWORD kLongestWait = 60'000;  // milliseconds

}  // namespace

OtherProcess::OtherProcess(const std::wstring& test) {
  static std::atomic<int> count{0};
  const std::wstring event =
      L"QevOtherProcess" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
  signal_ = UniqueHandle<KernelTraits>(CreateEventW(nullptr, TRUE, FALSE, event.c_str()));
  SetEnvironmentVariableW(kEventVariable, event.c_str());
  std::wstring program(MAX_PATH, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
  std::wstring command = L"\"" + program + L"\" --gtest_filter=" + test + L" --gtest_also_run_disabled_tests";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION made{};
  const auto start = [&] {
    return CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr,
                          &startup, &made);
  };
  constexpr int tries = 5;  // a busy machine refuses one now and then
  for (int i = 0; !start(); ++i) {
    if (i == tries) return;
    Sleep(200);
  }
  process_ = UniqueHandle<KernelTraits>(made.hProcess);
  const UniqueHandle<KernelTraits> thread(made.hThread);
}

bool OtherProcess::hasSignalled() const {
  const HANDLE first[] = {signal_.get(), process_.get()};
  return process_ && WaitForMultipleObjects(2, first, FALSE, kLongestWait) == WAIT_OBJECT_0;
}

void OtherProcess::kill() const {
  if (!process_) return;
  TerminateProcess(process_.get(), 9);
  WaitForSingleObject(process_.get(), kLongestWait);
}

void OtherProcess::wait() const {
  constexpr DWORD aLongRun = 20 * 60'000;  // milliseconds
  WaitForSingleObject(process_.get(), aLongRun);
}

void OtherProcess::signal() {
  const wchar_t* const name = _wgetenv(kEventVariable);
  const UniqueHandle<KernelTraits> event(OpenEventW(EVENT_MODIFY_STATE, FALSE, name ? name : L""));
  SetEvent(event.get());
}

void OtherProcess::signalAndSleep() {
  signal();
  while (true) Sleep(INFINITE);
}

}  // namespace qev::test
