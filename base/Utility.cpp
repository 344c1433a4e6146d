#include "base/Utility.h"

#include <cerrno>
#include <ctime>

void Utility_Delay(std::int64_t milliseconds) {
  if (milliseconds <= 0) return;
  // Sleeping up to a fixed deadline rather than for a remaining interval
  // keeps repeated interruptions from adding up rounding errors.
  timespec deadline;
  ::clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += milliseconds / 1000;
  deadline.tv_nsec += (milliseconds % 1000) * 1000000;
  if (deadline.tv_nsec >= 1000000000) {
    deadline.tv_nsec -= 1000000000;
    ++deadline.tv_sec;
  }
  int result;
  do {
    result = ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr);
  } while (result == EINTR);
}
