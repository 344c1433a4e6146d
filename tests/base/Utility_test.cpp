#include "base/Utility.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <chrono>

namespace {

volatile sig_atomic_t alarms = 0;
void CountAlarm(int) { alarms = alarms + 1; }

}  // namespace

// Signals every few milliseconds, handled without restarting system calls,
// must not end the delay early.
TEST(Utility, DelayOutlastsSignals) {
  struct sigaction action {};
  action.sa_handler = CountAlarm;
  ASSERT_EQ(::sigaction(SIGALRM, &action, nullptr), 0);
  const itimerval every5ms{{0, 5000}, {0, 5000}}, off{};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &every5ms, nullptr), 0);
  const auto start = std::chrono::steady_clock::now();
  Utility_Delay(80);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  ::setitimer(ITIMER_REAL, &off, nullptr);
  EXPECT_GE(elapsed, std::chrono::milliseconds(80));
  EXPECT_GT(alarms, 2);
  Utility_Delay(0);
  Utility_Delay(-5);
}
