// CCemployer: the servers a worker works for, and its requests to them.
//
// An employer is a server (host and port) that told the worker that jobs
// wait, or for which the worker still holds jobs. The worker asks it for
// jobs under the name the server gave it, and tells it how they ended. A
// server that can't be reached is tried again once a second; nothing waits
// for it longer than one connection attempt.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "jobqueue/CCjobBase.h"
#include "jobqueue/SClient.h"

struct CCemployer_Employer {
  std::string host;
  std::uint16_t port = 0;
  std::string workerName;  // the name the server knows this worker by
  bool hasWork = false;    // it said jobs wait, and the last ask found one
  bool mustAsk = false;    // it announced itself: ask once, room or not, telling what we hold
  // Counts the news that set the two above (an announcement, room freed). An
  // ask's answer clears them only when none came while it was on its way: an
  // announcement served during our own ask came after the answer was made.
  std::uint64_t news = 0;
  SClient conn = nullptr;
  std::int64_t retryAt = 0;  // steady milliseconds
};

// The yield procedure of every connection: it serves the worker's own port
// while a request waits, so that a server calling the worker at the same
// moment is answered.
void CCemployer_SetYield(SClient_YieldProc yield);
// The employer at `host` and `port`, entered when new.
CCemployer_Employer* CCemployer_Get(const std::string& host, std::uint16_t port);
std::vector<CCemployer_Employer*> CCemployer_All();
// The next jobs for this worker, up to `count` of any mix of `cpuUsages`,
// telling the server the ids of the jobs held for it (`held`); fewer than
// `count` when no more wait (hasWork false), none when the server can't be
// reached (`reached` false). The caller owns the jobs.
std::vector<CCjobBase_Job> CCemployer_Peek(CCemployer_Employer* e, std::uint8_t cpuUsages, std::int32_t count,
                                           const std::vector<std::string>& held, bool& reached);
// Tells the server how job `id` ended without waiting for its answer (it
// comes with the next request's). The connection's number, which Heard
// needs; 0 when it could not be sent.
std::int32_t CCemployer_Report(CCemployer_Employer* e, const std::string& id, std::uint8_t status,
                               std::uint8_t reason, const std::string& errorFile);
// Whether the server answered every report sent over connection `connNo`.
bool CCemployer_Heard(CCemployer_Employer* e, std::int32_t connNo);
