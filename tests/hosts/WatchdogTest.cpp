// The tests of this program are watched: one that hangs ends it.
#include "support/Watchdog.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <string>

#include "platform/Handle.h"

namespace qev::test {
namespace {

[[maybe_unused]] const bool isWatched = watchTests(300);

TEST(WatchdogTest, DISABLED_NeverEnds) {
  while (true) Sleep(INFINITE);
}

struct Outcome {
  DWORD code = 0;
  std::string said;
};

// This program again, with the test that never ends alone, which may take two seconds.
Outcome runTheTestThatNeverEnds() {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE from = nullptr, to = nullptr;
  if (!CreatePipe(&from, &to, &inherited, 0)) return {};
  const UniqueKernelHandle reading(from);
  UniqueKernelHandle writing(to);
  std::wstring program(MAX_PATH, L'\0');
  program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
  std::wstring command =
      L"\"" + program + L"\" --gtest_filter=WatchdogTest.DISABLED_NeverEnds --gtest_also_run_disabled_tests";
  SetEnvironmentVariableW(L"QEV_TEST_SECONDS", L"2");
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = startup.hStdError = to;
  PROCESS_INFORMATION made{};
  const BOOL isMade =
      CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &made);
  SetEnvironmentVariableW(L"QEV_TEST_SECONDS", nullptr);
  writing.reset();
  if (!isMade) return {};
  const UniqueKernelHandle process(made.hProcess), thread(made.hThread);
  Outcome outcome;
  char buffer[512];
  for (DWORD got = 0; ReadFile(reading.get(), buffer, sizeof buffer, &got, nullptr) && got > 0;) {
    outcome.said.append(buffer, got);
  }
  WaitForSingleObject(process.get(), 60'000);
  GetExitCodeProcess(process.get(), &outcome.code);
  return outcome;
}

TEST(WatchdogTest, ATestThatNeverEndsEndsTheProgramWhichSaysWhichItWas) {
  const Outcome outcome = runTheTestThatNeverEnds();
  EXPECT_EQ(DWORD{kTestTookTooLong}, outcome.code);
  EXPECT_THAT(outcome.said, testing::HasSubstr("WatchdogTest.DISABLED_NeverEnds has not ended after 2 seconds"));
}

}  // namespace
}  // namespace qev::test
