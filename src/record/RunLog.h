// Writes the record of the runs (record/RunRecord.h tells its format): registro.log in the work folder.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Platform.h"
#include "record/RunRecord.h"

namespace qev {

// What the notes of a run say where begin() answers true.
inline constexpr wchar_t kInterruptedBefore[] =
    L"La copia o la restauración anterior de este programa no llegó a terminar";

class RunLog {
 public:
  // REQUIRES: `platform` outlives the object.
  explicit RunLog(Platform& platform) : platform_(platform) {}

  // The log's path. Throws what the work folder throws.
  std::wstring path() const;

  // Each of these rewrites the file beside itself and replaces it in one step, one process at a time, so that every
  // block in it is whole, whoever else writes one and whatever fails. Never a reason for a run to fail: what cannot be
  // written within about three seconds is not, and nobody is told. While another process is waited for, the windows
  // get their messages; while the turn is this one's, they get none, so that no run within the run comes between.

  // Adds the block of a run that begins: it is under way, in this process, whatever `run` says. The runs of all hosts
  // that are under way in the log and whose process is gone become interrupted ones. Answers whether the last run of
  // run.title before this one was interrupted. REQUIRES: no other run is under way in this process.
  bool begin(const RunRecord& run) noexcept;

  // Puts the block of a run in the place of the one that began it. REQUIRES: kind, start and title are as they were.
  void end(const RunRecord& run) noexcept;

  // Adds the block of a run that was not begun.
  void add(const RunRecord& run) noexcept;

 private:
  using Change = std::function<std::string(std::string_view old)>;
  void rewrite(const Change& change) noexcept;
  void write(const Change& change);
  RunRecord asRunning(RunRecord run) const;
  std::unique_ptr<ProcessLock> turn(const std::wstring& log);
  ProcessFate fateOf(const std::wstring& process) const;
  std::string oldBytes(const std::wstring& log) const;

  Platform& platform_;
};

}  // namespace qev
