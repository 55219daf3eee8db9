// What FakeMessages shows, counted for another thread to see.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string>

#include "support/FakePlatform.h"
#include "support/Hands.h"

namespace qev::test {

class CountedMessages : public Messages {
 public:
  explicit CountedMessages(FakeMessages& messages) : messages_(messages) {}

  Answer show(const std::wstring& text, const std::wstring& title, std::uint32_t style) override {
    const Answer answer = messages_.show(text, title, style);
    ++count_;
    return answer;
  }

  // Whether so many have been shown and answered within 10 seconds.
  bool told(std::size_t messages) const {
    return waitFor([&] { return count_ >= messages; }, std::chrono::seconds(10));
  }

  // Begins to count anew.
  void forget() { count_ = 0; }

 private:
  FakeMessages& messages_;
  std::atomic<std::size_t> count_ = 0;
};

}  // namespace qev::test
