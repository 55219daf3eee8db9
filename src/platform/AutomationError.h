// The one error of the library: what an automation host finds in its error object.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace qev {

// Error numbers that automation hosts know.
enum ErrorNumber : std::int32_t {
  kInvalidCall = 5,
  kOverflow = 6,
  kOutOfMemory = 7,
  kSubscriptOutOfRange = 9,
  kDivisionByZero = 11,
  kTypeMismatch = 13,
  kCannotLoadLibrary = 48,
  kFileNotFound = 53,
  kDeviceInputOutput = 57,
  kFileExists = 58,
  kDiskFull = 61,
  kPermissionDenied = 70,
  kDiskNotReady = 71,
  kPathFileAccess = 75,
  kPathNotFound = 76,
  kFormAlreadyShown = 400,
  kNoSuchMember = 438,
  kActionNotSupported = 445,
  kEntryPointNotFound = 453,
};

// The base that numbers of an object's own are added to: 0x80040000.
inline constexpr std::int32_t kObjectErrorBase = static_cast<std::int32_t>(0x80040000u);

class AutomationError : public std::exception {
 public:
  // A known number with its Spanish description. `detail`, when not empty, follows the description as ": detail".
  explicit AutomationError(ErrorNumber number, const std::wstring& detail = {});

  // Any number: below 65536 one that hosts know, negative an HRESULT of an object's own.
  AutomationError(std::int32_t number, std::wstring source, std::wstring description);

  std::int32_t number() const { return number_; }
  const std::wstring& source() const { return source_; }
  const std::wstring& description() const { return description_; }

  // The same error with another source, for a member that passes on what it caught.
  [[nodiscard]] AutomationError from(std::wstring source) const { return {number_, std::move(source), description_}; }

  // For test runners and debuggers only: number and description, other characters than ASCII as "?".
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  std::int32_t number_;
  std::wstring source_;
  std::wstring description_;
  std::string what_;
};

// The Spanish description of a known number; a general one for any other.
[[nodiscard]] std::wstring describeError(std::int32_t number);

// The description of the exception under way: of any other than an AutomationError, that memory is short, for want of
// which alone the library throws others. REQUIRES: called from a catch clause.
std::wstring describeCurrentError();

}  // namespace qev
