// What an action throws.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "platform/AutomationError.h"

namespace qev::test {

// The number of the error that `action` ends in, 0 for none.
template <typename Action>
std::int32_t numberOf(const Action& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error.number();
  }
  return 0;
}

// The error that `action` throws; fails the test when it throws none.
template <typename Action>
AutomationError errorOf(const Action& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error;
  }
  ADD_FAILURE() << "nothing was thrown";
  return AutomationError(0, L"", L"");
}

}  // namespace qev::test
