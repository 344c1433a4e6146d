// CCorder: the order in which the queue server hands out waiting jobs.
//
//   1. Higher priority first: the priorities keep their meaning and come
//      before everything else.
//   2. Then the flow (a workflow's jobs) with fewer jobs running now, so that
//      a flood into one workflow takes no slot that another one's job waits
//      for.
//   3. Then the job that brings its files nearer their end: the later stage
//      (the folder's depth in its workflow), where every kAgingMs of waiting
//      counts as one stage more, so that an early stage never starves.
//   4. Then the order of arrival.
#pragma once
#include <cstdint>

// Milliseconds of waiting that count as one stage.
inline constexpr std::int64_t kCCorderAgingMs = 10000;

struct CCorder_Key {
  std::uint32_t priority = 0;
  std::int64_t seq = 0;         // arrival
  std::uint32_t stage = 0;
  std::int64_t waitedMs = 0;    // since it arrived
  std::uint32_t flowRunning = 0;  // jobs of its flow running now
};

// Whether `a` is handed out before `b`.
bool CCorder_Before(const CCorder_Key& a, const CCorder_Key& b);
