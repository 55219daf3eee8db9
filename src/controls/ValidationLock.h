// Keeps two entry controls from validating at once.
#pragma once

#include <atomic>

namespace qev {

// One lock for all entry controls of the process: held by the one that is validating and showing its message, so that
// the focus moves which the message causes start no second validation. It never waits.
class ValidationLock {
 public:
  // Takes the lock if it is free.
  ValidationLock() : owned_(!held_.exchange(true)) {}
  ValidationLock(const ValidationLock&) = delete;
  ValidationLock& operator=(const ValidationLock&) = delete;
  ~ValidationLock() {
    if (owned_) held_ = false;
  }

  // Whether this object took it.
  bool owned() const { return owned_; }

  // Whether anybody holds it.
  static bool held() { return held_; }

 private:
  static inline std::atomic<bool> held_ = false;
  bool owned_;
};

}  // namespace qev
