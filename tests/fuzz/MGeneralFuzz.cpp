// The data types of the entry controls: any text typed, any value shown, any key pressed.
#include "values/MGeneral.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

#include "fuzz/Fuzz.h"
#include "support/FakePlatform.h"

namespace qev::test {
namespace {

constexpr std::int32_t kLeastDayTime = -1440;  // the first minute of the day before

template <typename... Types>
bool holdsOneOf(const Value& value) {
  return (std::holds_alternative<Types>(value) || ...);
}

// Whether a value is of the kind that its data type promises, the blank value included.
bool isOfType(const Value& value, DataType type) {
  const bool isBlankNumber = value == Value(std::int16_t{0});
  switch (type) {
    case DataType::Integer:
    case DataType::Number:
    case DataType::Duration:
    case DataType::DayTime: return isBlankNumber || holdsOneOf<std::int32_t>(value);
    case DataType::OptionalNumber: return value == Value(std::wstring()) || holdsOneOf<std::int32_t>(value);
    case DataType::Decimal: return isBlankNumber || holdsOneOf<float>(value);
    case DataType::Currency: return isBlankNumber || holdsOneOf<Currency>(value);
    case DataType::Hours: return isBlankNumber || holdsOneOf<double>(value);
    case DataType::Date:
    case DataType::DateTime: return holdsOneOf<Null, Date>(value);
    case DataType::Time: return holdsOneOf<Null, double>(value);
    case DataType::YesNo: return holdsOneOf<bool>(value);
    default: return holdsOneOf<std::wstring>(value);
  }
}

bool isFinite(const Value& value) {
  const auto* single = std::get_if<float>(&value);
  const auto* number = std::get_if<double>(&value);
  return (!single || std::isfinite(*single)) && (!number || std::isfinite(*number));
}

// Whether a value of the type, shown and typed again, must be shown the same. Hours are shown with a decimal comma and
// typed with a point, a truth value is shown as a word that is none, single precision holds fewer digits than are shown
// of it, codes may hold a separator again; amounts are shown whole as long as double precision holds them.
bool isShownTheSameAgain(const Value& value, DataType type) {
  if (const auto* minutes = std::get_if<std::int32_t>(&value)) {
    return type != DataType::DayTime || *minutes >= kLeastDayTime;
  }
  if (const auto* amount = std::get_if<Currency>(&value)) return std::abs(amount->tenThousandths) < 100'000'000'000'000;
  return type != DataType::Hours && type != DataType::YesNo && type != DataType::Decimal && type != DataType::Code;
}

Value valueOf(Input& input) {
  const std::uint8_t kind = input.byte();
  const std::uint64_t bits = input.number(8);
  switch (kind % 10) {
    case 0: return Empty{};
    case 1: return Null{};
    case 2: return bits % 2 == 1;
    case 3: return static_cast<std::uint8_t>(bits);
    case 4: return static_cast<std::int16_t>(bits);
    case 5: return static_cast<std::int32_t>(bits);
    case 6: return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
    case 7: return std::bit_cast<double>(bits);
    case 8: return Currency{static_cast<std::int64_t>(bits)};
    default: return Date{std::bit_cast<double>(bits)};
  }
}

// The services and the object under test.
struct Sandbox {
  FakePlatform fake;
  const MGeneral general{fake.locale, fake.clock, fake.sound, fake.keyboard};
};

void tryTyped(const Sandbox& box, DataType type, const std::wstring& text) {
  const MGeneral& general = box.general;
  const Value value = general.TextToValue(type, text);
  require(isOfType(value, type) && isFinite(value), "a typed text gives a value of its type");
  require(type != DataType::Password || trimmed(text).empty() || value == Value(text), "a password stays as typed");

  const std::wstring shown = general.ValueToText(value, type);
  if (isShownTheSameAgain(value, type)) {
    require(general.ValueToText(general.TextToValue(type, shown), type) == shown, "what is shown, typed again, stays");
  }
  if (type == DataType::YesNo) require(shown == L"Si" || shown == L"No", "a truth value is shown as Si or No");

  if (!general.ValidateValue(type, text).empty() || trimmed(text).empty()) return;
  if (const auto* date = std::get_if<Date>(&value); date && type == DataType::Date) {
    const int year = static_cast<int>(calendarDay(*date).year());
    require(year >= 1900 && year <= 2100, "an accepted date lies in the years 1900 to 2100");
  }
  require(type != DataType::Date || holdsOneOf<Date>(value), "an accepted date has a value");
  require(type != DataType::DateTime || holdsOneOf<Date>(value), "an accepted date and time has a value");
}

void tryMinutes(const Sandbox& box, std::int32_t minutes, const std::wstring& text) {
  const std::wstring written = box.general.FormatMinutes(minutes, false);
  const bool hasOpposite = minutes != std::numeric_limits<std::int32_t>::min();
  require(!hasOpposite || MGeneral::ParseMinutes(written, false) == minutes, "minutes that are written read back");
  const std::wstring wrapped = box.general.FormatMinutes(minutes, true);
  require(minutes < kLeastDayTime || MGeneral::ParseMinutes(wrapped, true) == minutes,
          "minutes around a day that are written read back");
  const std::int32_t parsed = MGeneral::ParseMinutes(text, false);
  require(MGeneral::ParseMinutes(box.general.FormatMinutes(parsed, false), false) == parsed,
          "minutes that are read stay when written and read again");
  const std::wstring around = box.general.FormatMinutes(text, true);
  require(around.size() < 16, "minutes are a short text");
}

void tryShown(const Sandbox& box, DataType type, const Value& value, const std::wstring& text) {
  const std::wstring shown = box.general.ValueToText(value, type);
  require(!isMissing(value) || shown.empty(), "a missing value is shown as nothing");
  box.general.ValidateValue(type, value);
  box.general.ValueToText(text, type);
  NonBlankValue(value, text);
  require(isMissing(value) == (NzValue(value, text) == Value(text)), "what is missing gives way, and nothing else");
  const bool mayGiveWay = trimmed(text).empty() || numericValue(std::wstring_view(text)) == 0;
  require(mayGiveWay || NonBlankValue(text, Null{}) == Value(text), "nothing but blanks and zeros gives way");
}

void tryKey(Sandbox& box, DataType type, std::int16_t key, const std::wstring& text) {
  const int beeps = box.fake.sound.beeps;
  std::int16_t code = key;
  const std::wstring after = box.general.FilterKey(text, code, type);
  const bool refused = box.fake.sound.beeps > beeps;
  const bool isShortcut = key == L'H' || key == L'h';
  require(after == text || (isShortcut && code == 0), "only a shortcut changes the text");
  require(!refused || code == 0, "a refused key is none");
  require(code != 13 && code != 27, "Enter and Escape are swallowed");
  std::int16_t again = code;
  box.general.FilterKey(text, again, type);
  require(again == code, "a key that passed passes again");
}

void tryList(const Sandbox& box, const std::wstring& list, const std::wstring& separator) {
  const auto numbers = box.general.SplitIntegers(list, separator);
  std::size_t length = 0;
  for (std::size_t i = 1; i <= numbers.size(); ++i) {
    length += box.general.ListField(static_cast<std::int32_t>(i), list, separator).size();
  }
  const std::size_t separators = numbers.empty() ? 0 : numbers.size() - 1;
  require(length + separators * separator.size() == list.size(), "pieces and separators make up the list");
  const auto beyond = static_cast<std::int32_t>(numbers.size() + 1);
  require(box.general.ListField(beyond, list, separator).empty(), "there is nothing behind the last piece");
  require(box.general.ListField(0, list, separator).empty(), "there is nothing before the first piece");
}

// The leading number of a text, by the C library, of which only the "C" locale is set here.
void tryNumber(const std::wstring& text) {
  const double number = numericValue(std::wstring_view(text));
  require(!std::isnan(number), "a text gives a number or infinity");
  std::string plain;
  for (const wchar_t c : text) {
    if (c == L' ' || c == L'\t' || c == L'\r' || c == L'\n') continue;
    if (std::wstring_view(L"0123456789+-.eE").find(c) == std::wstring_view::npos) break;
    plain += static_cast<char>(c);
  }
  if (plain.size() < 1000) require(number == std::strtod(plain.c_str(), nullptr), "a text gives the number it names");
  const std::wstring bare = trimmed(text);
  require(trimmed(bare) == bare && text.find(bare) != std::wstring::npos, "a trimmed text is a part without blanks");
  const std::wstring code = MGeneral::CodeOfItem(text);
  require(text.find(code) != std::wstring::npos, "a code stands in its item");
}

// An input as tryInput takes it apart.
std::string seed(DataType type, const std::string& text, char kind = 0, std::uint64_t bits = 0, char key = 'H') {
  std::string bytes{static_cast<char>(type), kind};
  for (int i = 0; i < 8; ++i) bytes += static_cast<char>(bits >> 8 * i & 0xFF);
  return bytes + key + '\0' + '\1' + ';' + text;
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> all;
  const std::vector<std::string> texts = {"16-11-2026",
                                          "16/11/26 10:30:05",
                                          "10:30",
                                          "-0:05",
                                          "+1:00",
                                          "1.234,56",
                                          "-12",
                                          "1e308",
                                          "0e99999",
                                          "1e-400",
                                          "010 - Uno",
                                          "1;2;3",
                                          " a\xF1o \xE9 ",
                                          "Verdadero",
                                          "1:-5",
                                          "35791394:07",
                                          "3 2 7 6 8",
                                          "29-02-1900",
                                          ",5",
                                          ".",
                                          "+-1",
                                          "9999999999,5",
                                          "24:00;",
                                          "-23:30"};
  for (int type = 0; type <= static_cast<int>(DataType::Code); ++type) {
    const auto kind = static_cast<char>(type % 10);
    for (const std::string& text : texts) {
      all.push_back(seed(static_cast<DataType>(type), text, kind, std::bit_cast<std::uint64_t>(46000.4375)));
    }
  }
  all.push_back(seed(DataType::Duration, "x", 5, 0x80000000));
  all.push_back(seed(DataType::Currency, "x", 8, 0x8000000000000000));
  all.push_back(seed(DataType::Time, "x", 9, 0x7FF8000000000000));
  return all;
}

void tryInput(std::string_view bytes) {
  Input input(bytes);
  const auto type = static_cast<DataType>(input.byte() % 18 - 1);
  const Value value = valueOf(input);
  const auto key = static_cast<std::int16_t>(input.number(2));
  const std::wstring separator = textOf(input.bytes(input.byte() % 4));
  const std::wstring text = textOf(input.rest());

  Sandbox box;
  tryTyped(box, type, text);
  tryShown(box, type, value, text);
  if (const auto* minutes = std::get_if<std::int32_t>(&value)) tryMinutes(box, *minutes, text);
  tryKey(box, type, key, text);
  if (text.size() < 300) tryList(box, text, separator);
  tryNumber(text);
}

}  // namespace qev::test
