#include "base/SDateAri.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {

// POSIX rules need no zone files: central Europe with its summer time.
constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

void UseZone(const char* zone) {
  ::setenv("TZ", zone, 1);
  ::tzset();
}

SDateAri_DateTime At(int year, int month, int day, int hour, int minute = 0, int second = 0, unsigned nanos = 0) {
  auto byte = [](int v) { return static_cast<std::uint8_t>(v); };
  return {year, byte(month), byte(day), byte(hour), byte(minute), byte(second), nanos};
}

// The stamp's seconds, or a value no test expects when it is refused.
std::int64_t Seconds(const SDateAri_DateTime& dateTime) {
  SDateAri_Stamp stamp{1, 1};
  if (SDateAri_DateTimeToStamp(dateTime, stamp)) return stamp.seconds;
  EXPECT_TRUE(SDateAri_StampEQ(stamp, SDateAri_Stamp{}));  // refused: the unknown stamp
  return INT64_MIN;
}

}  // namespace

TEST(SDateAri, DateTimesAreLocalClockTimes) {
  UseZone("UTC0");
  EXPECT_EQ(Seconds(At(2000, 2, 29, 23, 59, 59)), 951868799);
  EXPECT_EQ(Seconds(At(1969, 12, 31, 23, 59, 59)), -1);  // a valid time, not a failure
  const std::int64_t winterUtc = Seconds(At(2024, 1, 15, 11)), summerUtc = Seconds(At(2024, 7, 15, 10));
  UseZone(kCentralEurope);
  EXPECT_EQ(Seconds(At(2024, 1, 15, 12)), winterUtc);
  EXPECT_EQ(Seconds(At(2024, 7, 15, 12)), summerUtc);
  EXPECT_EQ(Seconds(At(2024, 3, 31, 2, 30)), Seconds(At(2024, 3, 31, 3, 30)));  // a skipped half hour

  for (const SDateAri_DateTime& bad : {At(2023, 2, 29, 0), At(1900, 2, 29, 0), At(2024, 4, 31, 0), At(2024, 0, 1, 0),
                                       At(2024, 13, 1, 0), At(2024, 1, 0, 0), At(2024, 1, 1, 24), At(2024, 1, 1, 0, 60),
                                       At(2024, 1, 1, 0, 0, 60), At(2024, 1, 1, 0, 0, 0, 1000000000)})
    EXPECT_EQ(Seconds(bad), INT64_MIN) << int{bad.year} << '-' << int{bad.month} << '-' << int{bad.day};
}

TEST(SDateAri, DateTimeAndStampRoundTrip) {
  UseZone(kCentralEurope);
  std::mt19937 random(7);
  std::uniform_int_distribution<std::int64_t> seconds(-2000000000, 4000000000), nanos(0, 999999999);
  for (int round = 0; round < 2000; ++round) {
    const SDateAri_Stamp stamp{seconds(random), nanos(random)};
    SDateAri_DateTime dateTime;
    SDateAri_Stamp back;
    ASSERT_TRUE(SDateAri_StampToDateTime(stamp, dateTime) && SDateAri_DateTimeToStamp(dateTime, back));
    // The hour that the autumn change shows twice may come back as its twin.
    const std::int64_t shift = back.seconds - stamp.seconds;
    EXPECT_TRUE(shift == 0 || (std::abs(shift) == 3600 && dateTime.month == 10 && dateTime.hour == 2)) << stamp.seconds;
    EXPECT_EQ(back.nanoseconds, stamp.nanoseconds);
  }
}

TEST(SDateAri, OrderAndArithmetic) {
  const SDateAri_Stamp a{100, 999999999}, b{101, 0};
  EXPECT_TRUE(SDateAri_StampGT(b, a) && !SDateAri_StampGT(a, b) && !SDateAri_StampGT(b, b) && SDateAri_StampEQ(b, b));
  // Whole milliseconds from earlier to later, rounded up.
  EXPECT_EQ(SDateAri_DiffMilliseconds(b, a), 1);
  EXPECT_EQ(SDateAri_DiffMilliseconds(a, b), 0);
  EXPECT_EQ(SDateAri_DiffMilliseconds({100, 0}, {102, 500000}), -2000);

  std::mt19937 random(11);
  std::uniform_int_distribution<std::int64_t> millis(-5000000, 5000000), nanos(0, 999999999);
  for (int round = 0; round < 5000; ++round) {
    const SDateAri_Stamp from{1700000000, nanos(random)};
    const std::int64_t ms = millis(random);
    const SDateAri_Stamp to = SDateAri_AddMilliseconds(from, ms);
    ASSERT_TRUE(to.nanoseconds >= 0 && to.nanoseconds < 1000000000) << ms;
    ASSERT_EQ(SDateAri_DiffMilliseconds(to, from), ms);
    ASSERT_EQ(SDateAri_StampGT(to, from), ms > 0);
    ASSERT_TRUE(SDateAri_StampEQ(SDateAri_AddMilliseconds(to, -ms), from));
  }
}
