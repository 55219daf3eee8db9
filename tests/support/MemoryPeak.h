// How much memory a piece of code holds at its worst, counted at operator new.
#pragma once

#include <cstddef>

namespace qev::test {

class MemoryPeak {
 public:
  // Starts to measure. One at a time.
  MemoryPeak();

  // The most bytes of operator new that were held at once since the start, beyond those held at the start.
  std::size_t bytes() const;

 private:
  std::size_t atStart_;
};

}  // namespace qev::test
