// One of the user's regional settings, changed while the object lives. Programs see the change at once.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace qev::test {

class RegionalSetting {
 public:
  RegionalSetting(LCTYPE setting, const std::wstring& value) : setting_(setting) {
    EXPECT_GT(GetLocaleInfoW(LOCALE_USER_DEFAULT, setting, before_, 80), 0);
    EXPECT_TRUE(SetLocaleInfoW(LOCALE_USER_DEFAULT, setting, value.c_str()));
  }
  ~RegionalSetting() { SetLocaleInfoW(LOCALE_USER_DEFAULT, setting_, before_); }
  RegionalSetting(const RegionalSetting&) = delete;
  RegionalSetting& operator=(const RegionalSetting&) = delete;

 private:
  LCTYPE setting_;
  wchar_t before_[80] = L"";
};

}  // namespace qev::test
