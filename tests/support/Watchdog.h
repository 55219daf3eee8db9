// Tests that never end: a window that nobody closes would keep whoever waits for the program.
#pragma once

namespace qev::test {

// From now on the program ends as soon as one of its tests has taken so many seconds, or those of the environment's
// QEV_TEST_SECONDS; it says which, and its exit code is kTestTookTooLong. Answers true. REQUIRES: called once, before
// the tests run.
bool watchTests(int seconds);

inline constexpr unsigned kTestTookTooLong = 86;

}  // namespace qev::test
