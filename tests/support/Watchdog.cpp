#include "support/Watchdog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace qev::test {
namespace {

using Clock = std::chrono::steady_clock;

class Watchdog : public testing::EmptyTestEventListener {
 public:
  explicit Watchdog(int seconds) : limit_(seconds) {
    std::thread([this] { watch(); }).detach();  // as long as the program runs
  }

  void OnTestStart(const testing::TestInfo& test) override {
    const std::lock_guard lock(mutex_);
    name_ = std::string(test.test_suite_name()) + "." + test.name();
    start_ = Clock::now();
  }

  void OnTestEnd(const testing::TestInfo&) override {
    const std::lock_guard lock(mutex_);
    start_.reset();
  }

 private:
  [[noreturn]] void watch() {
    while (true) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      const std::lock_guard lock(mutex_);
      if (start_ && Clock::now() - *start_ > limit_) end();
    }
  }

  [[noreturn]] void end() const {
    printf("[  FAILED  ] %s has not ended after %d seconds, and this program ends with it\n", name_.c_str(),
           static_cast<int>(limit_.count()));
    fflush(stdout);
    TerminateProcess(GetCurrentProcess(), kTestTookTooLong);
    abort();
  }

  const std::chrono::seconds limit_;
  std::mutex mutex_;
  std::string name_;
  std::optional<Clock::time_point> start_;
};

}  // namespace

bool watchTests(int seconds) {
  const char* const told = getenv("QEV_TEST_SECONDS");
  testing::UnitTest::GetInstance()->listeners().Append(new Watchdog(told ? atoi(told) : seconds));
  return true;
}

}  // namespace qev::test
