// Waiting in tests for what other processes do: services, demons, programs.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

// Asks `done` every 50 ms until it holds; false when `seconds` passed first
// (generous by default: the machine may be busy). `done` is asked once more
// at the end, so that a slow last round still counts.
inline bool Await(const std::function<bool()>& done, double seconds = 120) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < end) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return done();
}
