// The rule that turns the stored schedule into the moment of the next scheduled backup.
#pragma once

#include "platform/Clock.h"
#include "platform/Locale.h"
#include "settings/SettingsStore.h"

namespace qev {

// Reads the schedule from `settings` and writes `ProximaCopia` as "dd-mm-yyyy hh:nn" local time, or as empty text when
// no backup is scheduled. Keeps no state of its own. Throws 13 (type mismatch) for a setting or a day that is no
// number, date or time, 6 (overflow) for one beyond its range; `ProximaCopia` then keeps its value.
void CalcularProximaCopia(SettingsStore& settings, const Clock& clock, const Locale& locale);

}  // namespace qev
