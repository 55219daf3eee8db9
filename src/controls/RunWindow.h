// A window in which a run happens: what backing up and restoring show alike. The run is started by a timer, soon after
// the window is shown, and works on this thread; meanwhile the hourglass is over the window and its button disabled. At
// the end there is a picture, a line and a text that tell the outcome.
//
// While a run works, the machine does not fall asleep, and Windows, when it is shut down, is told to wait and why.
// Whoever closes the window, or posts a quit message to its thread, is heard when the run is over; but a failure that
// comes after that is shown all the same, and stays until the window is closed again. The quit message is put back when
// the window has gone.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "controls/ModalForm.h"
#include "platform/QuitMessage.h"

namespace qev {

class RunWindow : public ModalForm {
 public:
  void showModal() override;

 protected:
  // The numbers of what such a window has.
  struct Controls {
    int timer;
    int picture;
    int heading;
    int outcomePicture;
    int outcomeLine;
    int result;
    int progress;
    int accept;  // closes the window
  };

  // REQUIRES: as ModalForm.
  RunWindow(const wchar_t* name, Platform& platform, const HostSettings& host, FormSession& session,
            const Controls& controls)
      : ModalForm(name, platform, host, session), controls_(controls) {}

  // The timer has ticked, and no run is under way: performs one. Throws nothing.
  virtual void Tiempo_Timer() = 0;

  // What Windows says that it is waiting for while a run works.
  virtual const wchar_t* workInHand() const = 0;

  // Whether a run must have begun before the window closes, whoever wants to close it.
  virtual bool mustBegin() const = 0;

  // ModalForm
  void timer(UINT_PTR id) override;
  void command(int id) override;
  bool mayClose() override;
  bool mayEndSession() override { return !running_; }
  bool busy() const override { return busy_; }

  // Dresses the window, with `picture` beside its heading, and makes it busy. REQUIRES: called from load().
  void dress(const wchar_t* picture);

  void startTimer(UINT milliseconds) const;  // throws 7 when there is none
  void endTimer() const;
  void setBusy(bool busy);

  // Moves the bar, a few times a second at the most: painting costs more than many a file. The end is always shown;
  // nothing hides the bar.
  void setProgress(std::optional<int> permille);

  // The run is over: shows what came of it, without a picture when `picture` is null, and lets the user leave.
  void showOutcome(const wchar_t* picture, const wchar_t* line, const std::wstring& text);

  // What is shown now must be seen: whoever has asked for the window to close did so before, and must ask again.
  void stayOpen();

  // The window is to close when the run is over.
  void askToClose() { closeAsked_ = true; }
  bool isCloseAsked() const { return closeAsked_; }

 private:
  void work();

  const Controls controls_;
  UniqueFont outcomeFont_;
  std::uint64_t progressShownAt_ = 0;  // system ticks, milliseconds
  bool busy_ = false;
  bool begun_ = false;       // there has been a run
  bool running_ = false;     // a tick that arrives during a run starts nothing
  bool closeAsked_ = false;  // close when the run is over
  bool staysOpen_ = false;   // no quit message closes it
  std::optional<PutOffQuit> quit_;
};

inline constexpr int kProgressSteps = 1000;  // of the bar of such a window: permille

}  // namespace qev
