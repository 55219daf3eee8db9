#include "schedule/CalcularProximaCopia.h"

#include <optional>
#include <string>
#include <string_view>

namespace qev {
namespace {

constexpr unsigned kSunday = 7;
constexpr unsigned kDecember = 12;

// A setting as stored, an empty text counting as no value: it is how the registry keeps an empty value.
Value readOrEmpty(const SettingsStore& settings, const std::wstring& name) {
  const Value value = settings.read(name);
  const auto* text = std::get_if<std::wstring>(&value);
  return text && text->empty() ? Value{} : value;
}

// The first selected place of first … last, places counted from 1.
std::optional<unsigned> firstSelected(const std::wstring& flags, unsigned first, unsigned last) {
  for (unsigned place = first; place <= last && place <= flags.size(); ++place) {
    if (flags[place - 1] == L'S') return place;
  }
  return std::nullopt;
}

// One computation: the schedule as stored, and the rules over it.
class Schedule {
 public:
  Schedule(const SettingsStore& settings, const Clock& clock, const Locale& locale)
      : settings_(settings),
        clock_(clock),
        locale_(locale),
        kind_(text(L"Programar")),
        lastBackup_(locale.toDate(readOrEmpty(settings, L"UltimaCopia"))),
        dayOfMonth_(locale.toInt16(readOrEmpty(settings, L"DMes"))),
        startTime_(text(L"HoraInicio")) {}

  // `ProximaCopia` as it must be written.
  std::wstring next() const {
    const std::optional<Date> day = nextDay();
    if (!day || *day == Date{}) return {};
    const Date moment = locale_.dateFromText(locale_.format(*day, L"dd-mm-yyyy") + L" " + startTime_);
    return locale_.format(moment, L"dd-mm-yyyy hh:nn");
  }

 private:
  std::wstring text(const std::wstring& name) const { return locale_.toText(settings_.read(name)); }

  std::optional<Date> nextDay() const {
    const Date now = clock_.now();
    if (kind_ == L"Diariamente") return daily(now);
    if (kind_ == L"Semanalmente") return weekly(now);
    if (kind_ == L"Mensualmente") return monthly(now);
    return std::nullopt;
  }

  // Both texts are "hh:nn", so their order as texts is the order of the times.
  bool startIsAhead(Date now) const { return startTime_ > locale_.format(now, L"hh:nn"); }

  Date daily(Date now) const {
    if (startIsAhead(now)) return now;
    const std::wstring days = text(L"DDias");
    return addDays(now, numericValue(std::wstring_view(days)));
  }

  std::optional<Date> weekly(Date now) const {
    const std::wstring selected = text(L"DSem");
    const unsigned today = std::chrono::weekday(calendarDay(now)).iso_encoding();
    if (const auto day = firstSelected(selected, startIsAhead(now) ? today : today + 1, kSunday)) {
      return addDays(now, *day - today);
    }
    if (const auto day = firstSelected(selected, 1, kSunday)) return addDays(now, kSunday - today + *day);
    return std::nullopt;
  }

  std::optional<Date> monthly(Date now) const {
    const std::wstring selected = text(L"Meses");
    const auto today = calendarDay(now);
    const auto thisMonth = static_cast<unsigned>(today.month());
    const bool dayIsAhead = dayOfMonth_ > static_cast<int>(static_cast<unsigned>(today.day()));
    int year = static_cast<int>(calendarDay(lastBackup_).year());
    auto month = firstSelected(selected, dayIsAhead ? thisMonth : thisMonth + 1, kDecember);
    if (!month) {
      month = firstSelected(selected, 1, kDecember);
      ++year;
    }
    if (!month) return std::nullopt;
    return pushedAfter(now, dayInMonth(*month, year));
  }

  Date dayInMonth(unsigned month, int year) const {
    return locale_.dateFromText(std::to_wstring(dayOfMonth_) + L"/" + std::to_wstring(month) + L"/" +
                                std::to_wstring(year));
  }

  // Year by year on purpose: a 29 February that has once become the 28th stays so.
  static Date pushedAfter(Date now, Date candidate) {
    while (candidate.days <= now.days) candidate = addYears(candidate, 1);
    return candidate;
  }

  const SettingsStore& settings_;
  const Clock& clock_;
  const Locale& locale_;
  const std::wstring kind_;
  const Date lastBackup_;
  const std::int16_t dayOfMonth_;
  const std::wstring startTime_;
};

bool isScheduledMode(const SettingsStore& settings, const Locale& locale) {
  return locale.toDouble(NzValue(readOrEmpty(settings, L"Copia"), std::int16_t{1})) >= 2;
}

}  // namespace

void CalcularProximaCopia(SettingsStore& settings, const Clock& clock, const Locale& locale) {
  const std::wstring next =
      isScheduledMode(settings, locale) ? Schedule(settings, clock, locale).next() : std::wstring();
  settings.write(L"ProximaCopia", next);
}

}  // namespace qev
