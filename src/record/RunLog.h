// Writes the record of the runs (record/RunRecord.h tells its format): registro.log in the work folder.
#pragma once

#include <string>

#include "platform/Platform.h"
#include "record/RunRecord.h"

namespace qev {

class RunLog {
 public:
  // REQUIRES: `platform` outlives the object.
  explicit RunLog(Platform& platform) : platform_(platform) {}

  // The log's path. Throws what the work folder throws.
  std::wstring path() const;

  // Adds the block of a run. The file is rewritten beside itself and replaced in one step, by one process at a time, so
  // that every block in it is whole, whoever else writes one and whatever fails. Never a reason for a run to fail: what
  // cannot be written within about three seconds is not, and nobody is told.
  void add(const RunRecord& record) noexcept;

 private:
  void write(const RunRecord& record);
  std::string oldBytes(const std::wstring& log) const;

  Platform& platform_;
};

}  // namespace qev
