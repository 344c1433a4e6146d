// Utility: small services with no better home.
#pragma once

#include <cstdint>

// Waits `milliseconds`. Signals that arrive meanwhile are handled and the
// wait goes on until the time is over; 0 or less returns at once.
void Utility_Delay(std::int64_t milliseconds);
