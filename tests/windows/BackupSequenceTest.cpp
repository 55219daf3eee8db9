// The configuration dialog under many edits in many orders: after each the settings, the dialog and a computation of
// the schedule that shares nothing with the library's must agree.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <random>

#include "windows/BackupDialog.h"

namespace qev::test {
namespace {

using std::chrono::sys_days;
using std::chrono::year_month_day;

struct Now {
  year_month_day day;
  int minutes = 0;  // since midnight
};

std::wstring twoDigits(unsigned number) {
  return {static_cast<wchar_t>(L'0' + number / 10), static_cast<wchar_t>(L'0' + number % 10)};
}

// What the dialog must hold, as far as it is the user's.
struct Options {
  int mode = 1;
  std::wstring kind = L"Diariamente";
  std::wstring startTime;  // "hh:nn" or nothing
  int days = 1;
  int weeks = 1;
  int dayOfMonth = 1;
  std::wstring weekdays = L"NNNNNNN";
  std::wstring months = L"NNNNNNNNNNNN";
  std::wstring shownDestination = L"C:\\";
  std::wstring storedDestination = L"C:\\";
  bool defaultFolder = false;
  bool closes = false;
  std::wstring copies = L"0";
  int yearOfLastBackup = 1899;
  std::wstring next;
};

// The rule of the schedule, written down once more. No text for a day that is not in the calendar.
class Reference {
 public:
  Reference(const Options& options, const Now& now) : options_(options), now_(now) {}

  std::optional<std::wstring> next() const {
    if (options_.mode < 2) return L"";
    if (options_.kind == L"Diariamente") return textOf(inDays(stillToday() ? 0 : options_.days));
    if (options_.kind == L"Semanalmente") return weekly();
    if (options_.kind == L"Mensualmente") return monthly();
    return L"";
  }

 private:
  bool stillToday() const {
    if (options_.startTime.empty()) return false;
    const int start = std::stoi(options_.startTime.substr(0, 2)) * 60 + std::stoi(options_.startTime.substr(3));
    return start > now_.minutes;
  }

  year_month_day inDays(int days) const { return sys_days(now_.day) + std::chrono::days(days); }

  std::wstring textOf(year_month_day day) const {
    const std::wstring time = options_.startTime.empty() ? L"00:00" : options_.startTime;
    return twoDigits(static_cast<unsigned>(day.day())) + L"-" + twoDigits(static_cast<unsigned>(day.month())) + L"-" +
           std::to_wstring(static_cast<int>(day.year())) + L" " + time;
  }

  // Day by day: the rest of this week, then the whole of the next.
  std::wstring weekly() const {
    const int monday = -static_cast<int>(std::chrono::weekday(sys_days(now_.day)).iso_encoding() - 1);
    for (int offset = stillToday() ? 0 : 1; offset < monday + 14; ++offset) {
      const auto place = static_cast<std::size_t>((offset - monday) % 7);
      if (options_.weekdays[place] == L'S') return textOf(inDays(offset));
    }
    return L"";
  }

  std::optional<std::wstring> monthly() const {
    const auto today = static_cast<int>(static_cast<unsigned>(now_.day.day()));
    const auto thisMonth = static_cast<unsigned>(now_.day.month());
    const unsigned from = options_.dayOfMonth > today ? thisMonth : thisMonth + 1;
    for (unsigned step = 0; step < 24; ++step) {  // the months of one year, then those of the next
      const unsigned month = step % 12 + 1;
      const bool thisYear = step < 12;
      if (thisYear && month < from) continue;
      if (options_.months[month - 1] != L'S') continue;
      return afterNow(options_.yearOfLastBackup + (thisYear ? 0 : 1), month);
    }
    return L"";
  }

  std::optional<std::wstring> afterNow(int year, unsigned month) const {
    year_month_day day{std::chrono::year(year), std::chrono::month(month),
                       std::chrono::day(static_cast<unsigned>(options_.dayOfMonth))};
    if (!day.ok()) return std::nullopt;
    while (sys_days(day) <= sys_days(now_.day)) {  // a midnight of today is past, or just now
      day += std::chrono::years(1);
      if (!day.ok()) day = day.year() / day.month() / std::chrono::last;
    }
    return textOf(day);
  }

  const Options& options_;
  const Now& now_;
};

class BackupSequences : public BackupDialog {
 protected:
  static constexpr int kSequences = 200;
  static constexpr int kSequencesOfADialog = 4;
  static constexpr int kEditsOfASequence = 6;

  // A stored zero counts as no number, and what was stored is not shown before it is computed anew.
  void beforeOpening() {
    model_.shownDestination = model_.storedDestination;
    model_.days = std::max(1, model_.days);
    model_.weeks = std::max(1, model_.weeks);
    model_.next.clear();
    expectRecomputed();
  }

  void runSequence(int sequence) {
    newMoment();
    for (int step = 0; step < kEditsOfASequence && !HasFailure(); ++step) {
      std::string done;
      while (done.empty()) done = edit();
      ++edits_;
      moments_ += !model_.next.empty();
      expectAgreement("sequence " + std::to_string(sequence) + ", step " + std::to_string(step) + ": " + done);
      if (below(3) == 0) newMoment();
    }
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  void newMoment() {
    const year_month_day first{std::chrono::year(2024), std::chrono::January, std::chrono::day(1)};
    now_.day = sys_days(first) + std::chrono::days(below(1500));
    now_.minutes = static_cast<int>(below(24 * 60));
    fake_.clock.set(static_cast<int>(now_.day.year()), static_cast<unsigned>(now_.day.month()),
                    static_cast<unsigned>(now_.day.day()), now_.minutes / 60, now_.minutes % 60);
  }

  void newLastBackup() {
    if (below(4) == 0) {
      put(L"UltimaCopia", L"");
      model_.yearOfLastBackup = 1899;
    } else {
      model_.yearOfLastBackup = 2022 + static_cast<int>(below(7));
      put(L"UltimaCopia", Value(L"15-06-" + std::to_wstring(model_.yearOfLastBackup) + L" 22:30"));
    }
  }

  // Everything is saved and the schedule computed. A day that there is not leaves the moment as it is, and is reported.
  void expectRecomputed() {
    model_.storedDestination = model_.shownDestination;
    if (const auto next = Reference(model_, now_).next()) {
      model_.next = *next;
    } else {
      fake_.messages.willAnswer({Answer::Ok});
      ++reports_;
    }
  }

  void expectAgreement(const std::string& after) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, after);
    EXPECT_EQ(model_.mode, mode());
    EXPECT_EQ(Value(std::int32_t{model_.mode}), stored(L"Copia"));
    expectBoth(Backup_Programar, L"Programar", model_.kind);
    expectBoth(Backup_HoraInicio, L"HoraInicio", model_.startTime);
    expectBoth(Backup_DDias, L"DDias", std::to_wstring(model_.days));
    expectBoth(Backup_DSemanas, L"DSemanas", std::to_wstring(model_.weeks));
    expectBoth(Backup_DMes, L"DMes", std::to_wstring(model_.dayOfMonth));
    expectBoth(Backup_PCopia, L"ProximaCopia", model_.next);
    EXPECT_EQ(model_.weekdays, storedText(L"DSem"));
    EXPECT_EQ(model_.weekdays, flags(Backup_DSem0, kWeekdays));
    EXPECT_EQ(model_.months, storedText(L"Meses"));
    EXPECT_EQ(model_.months, flags(Backup_Mes0, kMonths));
    EXPECT_EQ(model_.shownDestination, text(Backup_Destino));
    EXPECT_EQ(model_.storedDestination, storedText(L"Destino"));
    EXPECT_EQ(model_.defaultFolder, checked(Backup_EDir));
    EXPECT_EQ(model_.closes, checked(Backup_Cerrar));
    EXPECT_EQ(model_.copies, text(Backup_TCopias));
    EXPECT_EQ(reports_, messages().size());
    for (const auto& shown : messages()) EXPECT_EQ(kTitle, shown.title);
  }

  void expectBoth(int id, const wchar_t* name, const std::wstring& expected) const {
    EXPECT_EQ(expected, text(id));
    EXPECT_EQ(expected, storedText(name));
  }

  // --- The user, by messages to the controls: quicker than keys.

  static void drain() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }

  void toggle(int id) const {
    SendMessageW(control(id), BM_CLICK, 0, 0);
    drain();
  }

  void goTo(int id) const {
    SendMessageW(form(), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(id)), TRUE);
    drain();
  }

  void write(int id, const std::wstring& entry) const {
    goTo(id);
    if (entry.empty()) SendMessageW(editOf(id), WM_KEYDOWN, VK_DELETE, 0);
    for (const wchar_t character : entry) SendMessageW(editOf(id), WM_CHAR, character, 0);
    goTo(Backup_BSalir);
  }

  // An edit that the user can make now; the name of what was done, "" when it cannot be made.
  std::string edit() {
    switch (below(14)) {
      case 0:
      case 1: return chooseMode();
      case 2: return chooseKind();
      case 3: return writeStartTime();
      case 4: return writeNumber(Backup_DDias, model_.days, static_cast<int>(below(40)));
      case 5: return writeNumber(Backup_DSemanas, model_.weeks, static_cast<int>(below(10)));
      case 6:
      case 7: return writeNumber(Backup_DMes, model_.dayOfMonth, dayOfSomeMonth());
      case 8: return toggleFlag(Backup_DSem0, model_.weekdays);
      case 9:
      case 10: return toggleFlag(Backup_Mes0, model_.months);
      case 11: return writeDestination();
      case 12: return toggleBox();
      default: return writeCopies();
    }
  }

  int dayOfSomeMonth() { return static_cast<int>(below(2) == 0 ? 29 + below(3) : 1 + below(31)); }

  bool usable(int id) const { return visible(id) && enabled(id); }

  std::string chooseMode() {
    model_.mode = below(4) == 0 ? static_cast<int>(below(2)) : 2;
    expectRecomputed();
    toggle(Backup_Copia0 + model_.mode);
    return "mode " + std::to_string(model_.mode);
  }

  std::string chooseKind() {
    if (!usable(Backup_Programar)) return {};
    const wchar_t* const kinds[] = {L"Diariamente", L"Semanalmente", L"Mensualmente", L"Nunca"};
    const std::wstring kind = kinds[below(below(3) == 0 ? 4 : 3)];
    if (kind == model_.kind) return {};
    model_.kind = kind;
    expectRecomputed();
    write(Backup_Programar, kind);
    return "kind";
  }

  std::string writeStartTime() {
    if (!usable(Backup_HoraInicio)) return {};
    const std::wstring time = twoDigits(below(24)) + L":" + twoDigits(below(60));
    if (time == model_.startTime) return {};
    model_.startTime = time;
    expectRecomputed();
    write(Backup_HoraInicio, time[0] == L'0' ? time.substr(1) : time);
    return "start time";
  }

  std::string writeNumber(int id, int& number, int entry) {
    if (!usable(id) || number == entry) return {};
    number = entry;
    expectRecomputed();
    write(id, std::to_wstring(entry));
    return "number " + std::to_string(id) + " " + std::to_string(entry);
  }

  std::string toggleFlag(int firstId, std::wstring& flags) {
    const unsigned place = below(static_cast<unsigned>(flags.size()));
    if (!usable(firstId)) return {};
    wchar_t& flag = flags[place];
    flag = flag == L'S' ? L'N' : L'S';
    expectRecomputed();
    toggle(firstId + static_cast<int>(place));
    return "flag " + std::to_string(firstId) + " " + std::to_string(place);
  }

  std::string writeDestination() {
    if (!usable(Backup_Destino)) return {};
    const std::wstring folder = L"D:\\Copias " + std::to_wstring(below(1000)) + L"\\";
    model_.shownDestination = model_.storedDestination = folder;
    write(Backup_Destino, folder);
    return "destination";
  }

  std::string toggleBox() {
    if (below(2) == 0) {
      model_.defaultFolder = !model_.defaultFolder;
      model_.shownDestination = model_.defaultFolder ? host_.backupFolder : host_.destination;
      model_.storedDestination = model_.shownDestination;
      toggle(Backup_EDir);
      EXPECT_EQ(Value(std::int32_t{model_.defaultFolder}), stored(L"EDir"));
      return "default folder";
    }
    if (!usable(Backup_Cerrar)) return {};
    model_.closes = !model_.closes;
    expectRecomputed();
    toggle(Backup_Cerrar);
    EXPECT_EQ(Value(std::int32_t{model_.closes}), stored(L"Cerrar"));
    return "closing";
  }

  std::string writeCopies() {
    if (!usable(Backup_TCopias)) return {};
    const std::wstring copies = std::to_wstring(below(100));
    if (copies == model_.copies) return {};
    model_.copies = copies;
    expectRecomputed();
    write(Backup_TCopias, copies);
    EXPECT_EQ(Value(copies), stored(L"NCopias"));
    return "copies";
  }

  std::mt19937 random_{20261116};
  Options model_;
  Now now_;
  int edits_ = 0;
  int moments_ = 0;
  std::size_t reports_ = 0;  // of days that there are not
};

TEST_F(BackupSequences, SettingsDialogAndScheduleAgreeAfterEveryEdit) {
  host_.destination = L"E:\\Del host\\";
  realKeys_ = false;
  newMoment();
  model_.startTime =
      twoDigits(static_cast<unsigned>(now_.minutes) / 60) + L":" + twoDigits(static_cast<unsigned>(now_.minutes) % 60);
  for (int sequence = 0; sequence < kSequences && !HasFailure(); sequence += kSequencesOfADialog) {
    newLastBackup();
    beforeOpening();
    show([&] {
      pumpUntil(form(), [this] { return messages().size() >= reports_; });
      expectAgreement("opening " + std::to_string(sequence));
      for (int i = 0; i < kSequencesOfADialog && !HasFailure(); ++i) runSequence(sequence + i);
    });
  }
  std::printf("%d edits, %d with a next moment, %d with an impossible day\n", edits_, moments_,
              static_cast<int>(reports_));
  EXPECT_EQ(kSequences * kEditsOfASequence, edits_);
  EXPECT_GT(moments_, edits_ / 2) << "the sequences are worth something";
  EXPECT_GT(reports_, 20u);
}

}  // namespace
}  // namespace qev::test
