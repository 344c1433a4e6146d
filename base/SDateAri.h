// SDateAri: time stamps and their arithmetic.
//
// A stamp is a point in time, exact to the nanosecond, that compares and sorts
// without regard to time zones. A stamp that is all zero (as a
// value-initialised SDateAri_Stamp is) stands for "unknown". A date-time is
// the same point as the local clock shows it, in the zone of TZ.
#pragma once

#include <cstdint>

struct SDateAri_Stamp {
  std::int64_t seconds = 0;      // since 1970-01-01 00:00:00 UTC
  std::int64_t nanoseconds = 0;  // 0 to 999999999
};

struct SDateAri_DateTime {
  std::int32_t year = 1970;
  std::uint8_t month = 1;  // 1 to 12
  std::uint8_t day = 1;    // 1 to the length of the month
  std::uint8_t hour = 0;   // 0 to 23
  std::uint8_t minute = 0;
  std::uint8_t second = 0;          // 0 to 59
  std::uint32_t nanosecond = 0;     // 0 to 999999999
};

// --- Making stamps ------------------------------------------------------------------

// The present time.
SDateAri_Stamp SDateAri_Now();
// The stamp of a time in whole seconds since the epoch, as file times are.
SDateAri_Stamp SDateAri_SecondsToStamp(std::int64_t seconds);
// The stamp of a local date-time. False, and the unknown stamp, for a field
// out of its range or a day the month does not have. A local time that a
// change to summer time skips is taken as the clock would have shown it
// without the change, that is, one hour later on the new clock.
bool SDateAri_DateTimeToStamp(const SDateAri_DateTime& dateTime, SDateAri_Stamp& stamp);
// The local date-time of a stamp. False, and dateTime untouched, when the
// year does not fit.
bool SDateAri_StampToDateTime(const SDateAri_Stamp& stamp, SDateAri_DateTime& dateTime);

// --- Comparing ----------------------------------------------------------------------

// a is later than b.
bool SDateAri_StampGT(const SDateAri_Stamp& a, const SDateAri_Stamp& b);
// a and b are the same point in time.
bool SDateAri_StampEQ(const SDateAri_Stamp& a, const SDateAri_Stamp& b);

// --- Arithmetic ---------------------------------------------------------------------

// The stamp `milliseconds` after `stamp` (before it when negative).
SDateAri_Stamp SDateAri_AddMilliseconds(const SDateAri_Stamp& stamp, std::int64_t milliseconds);
// The milliseconds from `earlier` to `later`, rounded up: waiting that long
// after `earlier` reaches `later`. Negative when `later` lies before.
std::int64_t SDateAri_DiffMilliseconds(const SDateAri_Stamp& later, const SDateAri_Stamp& earlier);
