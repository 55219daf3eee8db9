// Sets a flag for the length of a scope.
#pragma once

#include <utility>

namespace qev {

class FlagScope {
 public:
  // REQUIRES: the flag outlives the scope.
  explicit FlagScope(bool& flag) : flag_(flag), old_(std::exchange(flag, true)) {}
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;
  ~FlagScope() { flag_ = old_; }

 private:
  bool& flag_;
  bool old_;
};

}  // namespace qev
