// TVWDclock: the demon's time for waits and intervals, in milliseconds on a
// clock that never jumps.
#pragma once

#include <chrono>
#include <cstdint>

inline std::int64_t TVWDclock_Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}
