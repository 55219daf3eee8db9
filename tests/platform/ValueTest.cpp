#include "platform/Value.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>

namespace qev {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

Value text(const wchar_t* value) {
  return std::wstring(value);
}

double number(std::wstring_view of) {
  return numericValue(of);
}

TEST(ValueTest, OnlyEmptyAndNullAreMissing) {
  EXPECT_TRUE(isMissing(Value{}));
  EXPECT_TRUE(isMissing(Null{}));
  for (const Value& value : {text(L""), Value{0}, Value{false}, Value{Date{}}}) EXPECT_FALSE(isMissing(value));
}

TEST(ValueTest, TheLeadingNumberOfATextIsItsValue) {
  EXPECT_EQ(number(L"12"), 12);
  EXPECT_EQ(number(L"12 meses"), 12);
  EXPECT_EQ(number(L"-3.5x"), -3.5);
  EXPECT_EQ(number(L"+7"), 7);
  EXPECT_EQ(number(L".5"), 0.5);
  EXPECT_EQ(number(L"5."), 5);
  EXPECT_EQ(number(L"1.2.3"), 1.2);
  EXPECT_EQ(number(L"007"), 7);
}

TEST(ValueTest, ACommaEndsANumber) {
  EXPECT_EQ(number(L"1,5"), 1);
}

TEST(ValueTest, BlanksTabsAndLineEndsAreSkippedInsideANumberToo) {
  EXPECT_EQ(number(L"  1 2\t3\r\n4 a"), 1234);
  EXPECT_EQ(number(L"- 5"), -5);
}

TEST(ValueTest, AnExponentIsRead) {
  EXPECT_EQ(number(L"1e3"), 1000);
  EXPECT_EQ(number(L"1E+3"), 1000);
  EXPECT_EQ(number(L"25e-1"), 2.5);
  EXPECT_EQ(number(L"2e"), 2);
  EXPECT_EQ(number(L"2e+"), 2);
  EXPECT_EQ(number(L"2 euros"), 2);
}

TEST(ValueTest, ATextThatDoesNotBeginWithANumberIsZero) {
  for (const wchar_t* none :
       {L"", L"   ", L"abc", L"-", L"+", L".", L"-.", L"e5", L"--1", L"x1", L",5", L"inf", L"nan"}) {
    EXPECT_EQ(number(none), 0) << none;
  }
}

TEST(ValueTest, NumbersBeyondDoubleAreInfiniteAndThoseTooSmallAreZero) {
  EXPECT_EQ(number(L"1e400"), kInfinity);
  EXPECT_EQ(number(L"-1e400"), -kInfinity);
  EXPECT_EQ(number(L"1e99999999999999999999999"), kInfinity);
  EXPECT_EQ(number(L"0.001e400"), kInfinity);
  EXPECT_EQ(number(L"1e-400"), 0);
  EXPECT_EQ(number(L"-1e-400"), 0);
  EXPECT_EQ(number(L"1e-99999999999999999999999"), 0);
  EXPECT_EQ(number(std::wstring(400, L'9')), kInfinity);
  EXPECT_EQ(number(std::wstring(300'000, L'9')), kInfinity);
  EXPECT_EQ(number(std::wstring(400, L'9') + L"e-50"), kInfinity);
  EXPECT_EQ(number(L"0." + std::wstring(400, L'0') + L"1"), 0);
  EXPECT_EQ(number(L"0e99999999999999999999999"), 0);
}

TEST(ValueTest, TheLocaleOfTheProcessDoesNotMatter) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  if (!std::setlocale(LC_NUMERIC, "es_ES.UTF-8") && !std::setlocale(LC_NUMERIC, "Spanish_Spain") &&
      !std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) {
    GTEST_SKIP() << "no locale with a decimal comma on this machine";
  }
  EXPECT_EQ(number(L"1.5"), 1.5);
  EXPECT_EQ(number(L"1,5"), 1);
  std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(ValueTest, ValuesOfEveryTypeHaveTheirNumber) {
  EXPECT_EQ(numericValue(Value{}), 0);
  EXPECT_EQ(numericValue(Value{Null{}}), 0);
  EXPECT_EQ(numericValue(Value{true}), -1);
  EXPECT_EQ(numericValue(Value{false}), 0);
  EXPECT_EQ(numericValue(Value{std::uint8_t{255}}), 255);
  EXPECT_EQ(numericValue(Value{std::int16_t{-7}}), -7);
  EXPECT_EQ(numericValue(Value{std::int32_t{70'000}}), 70'000);
  EXPECT_EQ(numericValue(Value{1.5f}), 1.5);
  EXPECT_EQ(numericValue(Value{2.25}), 2.25);
  EXPECT_EQ(numericValue(Value{Currency{12'345}}), 1.2345);
  EXPECT_EQ(numericValue(Value{Date{2.5}}), 2.5);
  EXPECT_EQ(numericValue(text(L"42 y mas")), 42);
}

TEST(ValueTest, TrimmingTakesBlanksOnlyAndOnlyAtTheEnds) {
  EXPECT_EQ(trimmed(L"  a b  "), L"a b");
  EXPECT_EQ(trimmed(L"\ta\n"), L"\ta\n");
  EXPECT_EQ(trimmed(L"    "), L"");
  EXPECT_EQ(trimmed(L""), L"");
}

TEST(ValueTest, NzValueReplacesEmptyAndNull) {
  EXPECT_EQ(NzValue(Value{}, 5), Value{5});
  EXPECT_EQ(NzValue(Null{}, 5), Value{5});
  EXPECT_EQ(NzValue(text(L""), 5), text(L""));
  EXPECT_EQ(NzValue(0, 5), Value{0});
}

TEST(ValueTest, NonBlankValueReplacesZeroAndBlankTextToo) {
  for (const Value& blank : {Value{}, Value{Null{}}, Value{0}, Value{0.0}, Value{false}, Value{Date{}},
                             Value{Currency{}}, text(L""), text(L"  "), text(L"0"), text(L" 0.0 "), text(L"-0")}) {
    EXPECT_EQ(NonBlankValue(blank, 5), Value{5});
  }
}

TEST(ValueTest, NonBlankValueKeepsTheRest) {
  for (const Value& kept :
       {Value{1}, Value{-0.5}, Value{true}, Value{Date{1}}, text(L"N"), text(L"0 a"), text(L"00:00"), text(L"1")}) {
    EXPECT_EQ(NonBlankValue(kept, 5), kept);
  }
}

}  // namespace
}  // namespace qev
