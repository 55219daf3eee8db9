// Quit messages (WM_QUIT) that come too early.
#pragma once

#include <windows.h>

namespace qev {

// Keeps this thread's quit message out of its queue, so that no modal loop ends by it before the user has seen what it
// shows, and puts it back when the object goes, for the loop that it was meant for. PeekMessageW, PostQuitMessage.
class PutOffQuit {
 public:
  PutOffQuit() { take(); }
  PutOffQuit(const PutOffQuit&) = delete;
  PutOffQuit& operator=(const PutOffQuit&) = delete;
  ~PutOffQuit() {
    if (any_) PostQuitMessage(code_);
  }

  // Takes a quit message that is waiting now. Answers whether there was one.
  bool take() {
    MSG message{};
    if (!PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) || message.message != WM_QUIT) return false;
    keep(message);
    return true;
  }

  // Keeps one that was taken already. REQUIRES: `message` is a quit message.
  void keep(const MSG& message) {
    any_ = true;
    code_ = static_cast<int>(message.wParam);
  }

  // Whether one is kept.
  bool any() const { return any_; }

 private:
  bool any_ = false;
  int code_ = 0;
};

}  // namespace qev
