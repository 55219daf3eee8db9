// Modal message boxes.
#pragma once

#include <cstdint>
#include <string>

namespace qev {

// The styles and answers of MessageBoxW, by their published numbers.
namespace message {
inline constexpr std::uint32_t kOk = 0;
inline constexpr std::uint32_t kOkCancel = 1;
inline constexpr std::uint32_t kYesNo = 4;
inline constexpr std::uint32_t kCritical = 16;
inline constexpr std::uint32_t kQuestion = 32;
inline constexpr std::uint32_t kExclamation = 48;
inline constexpr std::uint32_t kInformation = 64;
inline constexpr std::uint32_t kDefaultSecond = 256;
}  // namespace message

enum class Answer : int { Ok = 1, Cancel = 2, Yes = 6, No = 7 };

class Messages {
 public:
  virtual ~Messages() = default;

  // Shows a message box over the active window of the calling thread and waits for the answer. A box that can be closed
  // without a choice answers Cancel, or No where there is no Cancel button. MessageBoxW.
  virtual Answer show(const std::wstring& text, const std::wstring& title, std::uint32_t style) = 0;
};

}  // namespace qev
