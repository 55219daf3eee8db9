// The rule of the scheduled backups: from a schedule to the moment of the next backup.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Value.h"

namespace qev {

struct Schedule {
  enum class Kind { None, Daily, Weekly, Monthly };

  Kind kind = Kind::None;
  std::wstring startTime = {};  // "hh:nn"; blank is midnight, and never ahead
  double everyDays = 0;         // daily
  std::wstring weekdays = {};   // weekly: a letter for each day, Monday first; "S" selects
  std::int16_t dayOfMonth = 0;  // monthly
  std::wstring months = {};     // monthly: a letter for each month, January first; "S" selects
  Date lastBackup = {};         // monthly: its year is where the search for a day that lies ahead begins
};

// When the next backup is due, `now` being the present; nothing when none is. Throws 13 (type mismatch) for a day that
// its month lacks and a start time that is none, 6 (overflow) for a day beyond the calendar.
std::optional<Date> next(const Schedule& schedule, Date now);

}  // namespace qev
