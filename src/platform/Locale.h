// The user's regional conversions. The real ones are OLE Automation's, with the user's default locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/AutomationError.h"
#include "platform/Value.h"

namespace qev {

// Code pages in which bytes from outside may stand.
enum class CodePage : std::uint8_t {
  Sets,     // in which this process writes the headers of sets, see Locale::headerBytes
  Process,  // the ANSI code page of this process, CP_ACP
  Utf8,     // 65001
  Western,  // 1252
};

class Locale {
 public:
  virtual ~Locale() = default;

  // The date and time that `text` names. Throws 13 (type mismatch) when it names none. VarDateFromStr.
  [[nodiscard]] virtual Date dateFromText(const std::wstring& text) const = 0;

  // Whether dateFromText accepts `text`.
  [[nodiscard]] bool isDate(const std::wstring& text) const {
    try {
      static_cast<void>(dateFromText(text));
      return true;
    } catch (const AutomationError&) {
      return false;
    }
  }

  // The regional short date, without a time. VarBstrFromDate with VAR_DATEVALUEONLY.
  [[nodiscard]] virtual std::wstring shortDateText(Date date) const = 0;

  // `value` written by a format pattern such as "dd-mm-yyyy hh:nn" or "#,###.00" ("m" is the month, "n" the minute,
  // "ddddd" the regional short date). A text that the pattern wants as a date or number is converted first. Throws
  // 13, 6. VarFormat.
  [[nodiscard]] virtual std::wstring format(const Value& value, const std::wstring& pattern) const = 0;

  // Conversions of a value of any type, rounding half to even. Throw 13 (not a number) and 6 (beyond the type's range);
  // an empty value is 0, a null value raises 13. VariantChangeTypeEx.
  [[nodiscard]] virtual std::int16_t toInt16(const Value& value) const = 0;
  [[nodiscard]] virtual double toDouble(const Value& value) const = 0;
  [[nodiscard]] virtual Currency toCurrency(const Value& value) const = 0;
  [[nodiscard]] virtual bool toBoolean(const Value& value) const = 0;

  // A value as a date; an empty value is the zero date. Throws 13, 6. VariantChangeTypeEx.
  [[nodiscard]] virtual Date toDate(const Value& value) const = 0;

  // A value as text: "" for an empty one. Throws 13 for a null one. VariantChangeTypeEx.
  [[nodiscard]] virtual std::wstring toText(const Value& value) const = 0;

  // Capital letters of the user's language. LCMapStringEx with LCMAP_UPPERCASE | LCMAP_LINGUISTIC_CASING.
  [[nodiscard]] virtual std::wstring upper(const std::wstring& text) const = 0;

  // Texts compared without regard to letter case. CompareStringEx with NORM_IGNORECASE.
  [[nodiscard]] virtual bool equalIgnoringCase(const std::wstring& a, const std::wstring& b) const = 0;

  // The system's single-byte (ANSI) code page, one byte a character; what has no byte becomes the page's default
  // character. WideCharToMultiByte and MultiByteToWideChar with CP_ACP.
  [[nodiscard]] virtual std::string ansiFromText(std::wstring_view text) const = 0;
  [[nodiscard]] virtual std::wstring textFromAnsi(std::string_view bytes) const = 0;

  // Text as the header of a set holds it: in the process's ANSI code page, unless that is UTF-8, which gives accented
  // letters two bytes; then in that of the system's locale, and in 1252 where that has none or is UTF-8 too. What has
  // no byte becomes the page's default character. GetACP; GetLocaleInfoEx with LOCALE_NAME_SYSTEM_DEFAULT and
  // LOCALE_IDEFAULTANSICODEPAGE; WideCharToMultiByte.
  [[nodiscard]] virtual std::string headerBytes(std::wstring_view text) const = 0;

  // The text of bytes in a code page. Bytes that it does not know become other characters; none are refused.
  // MultiByteToWideChar.
  [[nodiscard]] virtual std::wstring textFrom(CodePage page, std::string_view bytes) const = 0;
};

}  // namespace qev
