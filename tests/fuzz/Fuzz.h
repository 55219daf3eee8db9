// What the fuzz targets share. A target is one file that says what it is fed (`seeds`) and what must hold of any bytes
// (`tryInput`); Fuzz.cpp makes a program of it with libFuzzer, under AddressSanitizer and UndefinedBehaviorSanitizer.
// An input for which something does not hold ends the program and is kept in a file.
//
//   cmake --preset fuzz && cmake --build --preset fuzz
//   tests/fuzz/run.sh 3600                 every target, an hour each, as many at once as there are processors
//   tests/fuzz/run.sh 600 ZipDirectory     one of them, ten minutes
//   build/fuzz/ZipDirectoryFuzz FILE       one input again, with the stack of what it breaks
//
// What a run learns stays in build/fuzz/corpus/<target> and is where the next one begins; inputs that broke something
// stand in build/fuzz/findings/<target> and are the first that the next run tries.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AutomationError.h"

namespace qev::test {

// Ends the process with the property's name when it does not hold.
void require(bool holds, const char* property);

// The number of the error that an action ends in, 0 for none. Any other exception is left to end the process.
template <typename Action>
std::int32_t errorOf(const Action& action) {
  try {
    action();
  } catch (const AutomationError& error) {
    return error.number();
  }
  return 0;
}

// The bytes of an input, taken from its beginning. Where they end it gives zeros and empty texts.
class Input {
 public:
  explicit Input(std::string_view bytes) : rest_(bytes) {}

  bool empty() const { return rest_.empty(); }
  std::uint8_t byte() { return static_cast<std::uint8_t>(number(1)); }

  // A number of some bytes, the lowest first.
  std::uint64_t number(std::size_t size);

  std::string bytes(std::size_t count);

  // What remains.
  std::string rest() { return bytes(rest_.size()); }

 private:
  std::string_view rest_;
};

// Bytes as text: each is a character of code page 1252, but 1F and the two behind it are one UTF-16 unit, lowest byte
// first.
std::wstring textOf(std::string_view bytes);

// --- what a target defines ---

// Inputs to begin with.
std::vector<std::string> seeds();

// Requires of an input all that must hold.
void tryInput(std::string_view bytes);

}  // namespace qev::test
