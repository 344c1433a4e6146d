#include "base/SDateAri.h"

#include <cerrno>
#include <ctime>

namespace {

constexpr std::int64_t kNanosPerSecond = 1000000000;
constexpr std::int64_t kNanosPerMilli = 1000000;

bool IsLeapYear(std::int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(std::int64_t year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

bool Valid(const SDateAri_DateTime& d) {
  return d.month >= 1 && d.month <= 12 && d.day >= 1 && d.day <= DaysInMonth(d.year, d.month) && d.hour <= 23 &&
         d.minute <= 59 && d.second <= 59 && d.nanosecond < kNanosPerSecond;
}

}  // namespace

SDateAri_Stamp SDateAri_Now() {
  timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  return {now.tv_sec, now.tv_nsec};
}

SDateAri_Stamp SDateAri_SecondsToStamp(std::int64_t seconds) { return {seconds, 0}; }

bool SDateAri_DateTimeToStamp(const SDateAri_DateTime& dateTime, SDateAri_Stamp& stamp) {
  stamp = {};
  if (!Valid(dateTime)) return false;
  std::tm fields{};
  fields.tm_year = dateTime.year - 1900;
  fields.tm_mon = dateTime.month - 1;
  fields.tm_mday = dateTime.day;
  fields.tm_hour = dateTime.hour;
  fields.tm_min = dateTime.minute;
  fields.tm_sec = dateTime.second;
  fields.tm_isdst = -1;  // let the zone's rules say whether summer time applies
  // -1 is also the valid answer for one second before the epoch; only errno
  // tells an overflow apart.
  errno = 0;
  const std::time_t seconds = std::mktime(&fields);
  if (seconds == -1 && errno != 0) return false;
  stamp = {seconds, dateTime.nanosecond};
  return true;
}

bool SDateAri_StampToDateTime(const SDateAri_Stamp& stamp, SDateAri_DateTime& dateTime) {
  const std::time_t seconds = stamp.seconds;
  std::tm fields;
  if (::localtime_r(&seconds, &fields) == nullptr) return false;
  const std::int64_t year = std::int64_t{fields.tm_year} + 1900;
  if (year < INT32_MIN || year > INT32_MAX) return false;
  dateTime.year = static_cast<std::int32_t>(year);
  dateTime.month = static_cast<std::uint8_t>(fields.tm_mon + 1);
  dateTime.day = static_cast<std::uint8_t>(fields.tm_mday);
  dateTime.hour = static_cast<std::uint8_t>(fields.tm_hour);
  dateTime.minute = static_cast<std::uint8_t>(fields.tm_min);
  dateTime.second = static_cast<std::uint8_t>(fields.tm_sec);
  dateTime.nanosecond = static_cast<std::uint32_t>(stamp.nanoseconds);
  return true;
}

bool SDateAri_StampGT(const SDateAri_Stamp& a, const SDateAri_Stamp& b) {
  return a.seconds != b.seconds ? a.seconds > b.seconds : a.nanoseconds > b.nanoseconds;
}

bool SDateAri_StampEQ(const SDateAri_Stamp& a, const SDateAri_Stamp& b) {
  return a.seconds == b.seconds && a.nanoseconds == b.nanoseconds;
}

SDateAri_Stamp SDateAri_AddMilliseconds(const SDateAri_Stamp& stamp, std::int64_t milliseconds) {
  SDateAri_Stamp result{stamp.seconds + milliseconds / 1000,
                        stamp.nanoseconds + (milliseconds % 1000) * kNanosPerMilli};
  if (result.nanoseconds < 0) {
    result.nanoseconds += kNanosPerSecond;
    --result.seconds;
  } else if (result.nanoseconds >= kNanosPerSecond) {
    result.nanoseconds -= kNanosPerSecond;
    ++result.seconds;
  }
  return result;
}

std::int64_t SDateAri_DiffMilliseconds(const SDateAri_Stamp& later, const SDateAri_Stamp& earlier) {
  // The nanosecond difference lies strictly between -1 s and 1 s, so it can
  // be rounded up on its own: division truncates toward zero, which rounds
  // a negative part up already.
  const std::int64_t nanos = later.nanoseconds - earlier.nanoseconds;
  const std::int64_t millis = nanos > 0 ? (nanos + kNanosPerMilli - 1) / kNanosPerMilli : nanos / kNanosPerMilli;
  return (later.seconds - earlier.seconds) * 1000 + millis;
}
