// A window in which a run happens: what backing up and restoring show alike. The run is started by a timer, soon after
// the window is shown, and works on this thread; meanwhile the hourglass is over the window and its button disabled,
// and a user who closes it is heard when the run is over. At the end there is a picture, a line and a text that tell
// the outcome.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "controls/ModalForm.h"

namespace qev {

class RunWindow : public ModalForm {
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

  // The timer has ticked, perhaps during a run, when it shall start nothing: see running_.
  virtual void Tiempo_Timer() = 0;

  // ModalForm
  void timer(UINT_PTR id) override;
  void command(int id) override;
  bool mayClose() override;
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

  bool running_ = false;     // a tick that arrives during a run starts nothing
  bool closeAsked_ = false;  // during a run: close when it is over

 private:
  const Controls controls_;
  UniqueFont outcomeFont_;
  std::uint64_t progressShownAt_ = 0;  // system ticks, milliseconds
  bool busy_ = false;
};

inline constexpr int kProgressSteps = 1000;  // of the bar of such a window: permille

}  // namespace qev
