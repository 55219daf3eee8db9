// The settings of the schedule, and the moment of the next scheduled backup computed from them.
#pragma once

#include <string>

#include "platform/Clock.h"
#include "platform/Locale.h"
#include "settings/SettingsStore.h"

namespace qev {

// A moment that a setting holds, the zero date for none. It is read by position, "dd-mm-yyyy hh:nn"; what is not
// written so, by a host in its regional form or as a number, is converted as the locale does. Throws 13, 6.
Date storedMoment(const Value& stored, const Locale& locale);

// `HoraInicio` as it is kept, "hh:nn" with a colon. A time written otherwise, as in the regional form, becomes that; a
// text that is no time stays as it is.
std::wstring startTimeText(const std::wstring& stored, const Locale& locale);

// Reads the schedule from `settings` and writes `ProximaCopia` as "dd-mm-yyyy hh:nn" local time, or as empty text when
// no backup is scheduled. Keeps no state of its own. Throws 13 (type mismatch) for a setting or a day that is no
// number, date or time, 6 (overflow) for one beyond its range; `ProximaCopia` then keeps its value.
void CalcularProximaCopia(SettingsStore& settings, const Clock& clock, const Locale& locale);

}  // namespace qev
