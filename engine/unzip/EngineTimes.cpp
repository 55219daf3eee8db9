// Times of entries. Local times are converted by the rules of their own date, whatever the season is now.
#include <cstring>

#include "UnzipParts.h"
#include "UnzipShim.h"

namespace qev::engine::times {

namespace {

constexpr ULONGLONG ticksPerSecond = 10000000;
constexpr ULONGLONG unixEpoch = 116444736000000000;  // 1970-01-01 in ticks since 1601
constexpr unsigned universalTime = 0x5455;           // the extra field that holds UTC seconds since 1970

FILETIME fileTime(ULONGLONG ticks) {
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

unsigned word(const unsigned char* at) {
  return at[0] | static_cast<unsigned>(at[1]) << 8;
}

// The field: 1 byte of flags (bit 0: a modification time follows), 4 bytes of seconds.
bool universal(const QevEntry& entry, long long& seconds) {
  const unsigned char* at = entry.extra;
  unsigned left = entry.extraLength;
  while (left >= 4) {
    const unsigned size = word(at + 2);
    if (size > left - 4) return false;
    if (word(at) == universalTime && size >= 5 && (at[4] & 1) != 0) {
      const unsigned value = word(at + 5) | word(at + 7) << 16;
      const bool isLate = (entry.dosTime >> 25) >= 58;  // 2038
      seconds = isLate ? static_cast<long long>(value) : static_cast<int>(value);
      return true;
    }
    at += 4 + size;
    left -= 4 + size;
  }
  return false;
}

}  // namespace

bool isCoarse(const QevEntry& entry) {
  long long seconds = 0;
  return !universal(entry, seconds);
}

bool ofEntry(const QevEntry& entry, FILETIME& written) {
  long long seconds = 0;
  if (universal(entry, seconds)) {
    written = fileTime(static_cast<ULONGLONG>(seconds) * ticksPerSecond + unixEpoch);
    return true;
  }
  FILETIME unzoned;
  SYSTEMTIME local;
  SYSTEMTIME utc;
  return DosDateTimeToFileTime(static_cast<WORD>(entry.dosTime >> 16), static_cast<WORD>(entry.dosTime), &unzoned) &&
         FileTimeToSystemTime(&unzoned, &local) && TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) &&
         SystemTimeToFileTime(&utc, &written);
}

}  // namespace qev::engine::times

using namespace qev::engine;

extern "C" struct tm* qevLocalTime(const time_t* time) {
  static struct tm result;
  SYSTEMTIME utc;
  SYSTEMTIME local;
  const FILETIME ticks =
      times::fileTime(static_cast<ULONGLONG>(static_cast<long long>(*time)) * times::ticksPerSecond + times::unixEpoch);
  if (!FileTimeToSystemTime(&ticks, &utc) || !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) return nullptr;
  memset(&result, 0, sizeof result);
  result.tm_year = local.wYear - 1900;
  result.tm_mon = local.wMonth - 1;
  result.tm_mday = local.wDay;
  result.tm_hour = local.wHour;
  result.tm_min = local.wMinute;
  result.tm_sec = local.wSecond;
  return &result;
}
