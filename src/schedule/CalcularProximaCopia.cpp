#include "schedule/CalcularProximaCopia.h"

#include <cmath>

#include "schedule/Schedule.h"

namespace qev {
namespace {

// An empty text counts as no value: it is how the registry keeps an empty value.
Value orEmpty(const Value& stored) {
  return stored == Value(std::wstring()) ? Value{} : stored;
}

Schedule::Kind kindOf(const std::wstring& name) {
  if (name == L"Diariamente") return Schedule::Kind::Daily;
  if (name == L"Semanalmente") return Schedule::Kind::Weekly;
  return name == L"Mensualmente" ? Schedule::Kind::Monthly : Schedule::Kind::None;
}

// What only one kind of schedule needs is read for that kind alone.
Schedule scheduleIn(const SettingsStore& settings, const Locale& locale) {
  const auto text = [&](const wchar_t* name) { return locale.toText(settings.read(name)); };
  if (locale.toDouble(NzValue(orEmpty(settings.read(L"Copia")), std::int16_t{1})) < 2) return {};
  Schedule schedule;
  schedule.kind = kindOf(text(L"Programar"));
  schedule.lastBackup = storedMoment(settings.read(L"UltimaCopia"), locale);
  schedule.dayOfMonth = locale.toInt16(orEmpty(settings.read(L"DMes")));
  schedule.startTime = startTimeText(text(L"HoraInicio"), locale);
  if (schedule.kind == Schedule::Kind::Daily) schedule.everyDays = numericValue(settings.read(L"DDias"));
  if (schedule.kind == Schedule::Kind::Weekly) schedule.weekdays = text(L"DSem");
  if (schedule.kind == Schedule::Kind::Monthly) schedule.months = text(L"Meses");
  return schedule;
}

}  // namespace

Date storedMoment(const Value& stored, const Locale& locale) {
  const auto* text = std::get_if<std::wstring>(&stored);
  const auto moment = text ? momentFromText(*text) : std::nullopt;
  return moment ? *moment : locale.toDate(orEmpty(stored));
}

std::wstring startTimeText(const std::wstring& stored, const Locale& locale) {
  const auto time = timeFromText(stored);
  if (time && stored.find(L':') != stored.npos) return stored;
  if (time) return timeText(*time);
  if (!locale.isDate(stored)) return stored;
  const Date read = locale.dateFromText(stored);
  return std::trunc(read.days) == 0 ? timeText(read) : stored;
}

void CalcularProximaCopia(SettingsStore& settings, const Clock& clock, const Locale& locale) {
  const auto moment = next(scheduleIn(settings, locale), clock.now());
  settings.write(L"ProximaCopia", moment ? momentText(*moment) : std::wstring());
}

}  // namespace qev
