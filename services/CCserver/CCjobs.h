// CCjobs: the life of a job in the server. Each change is recorded in the
// journal and told to the listeners, in that order.
//
//   Accept -> waiting <-> waitingForPrecond -> Start -> running
//   running -> Finish: done, canceled (gone) or failed (to the failed list)
//   running -> Requeue (its worker never started it) -> waiting
//   waiting -> Remove (gone); failed -> Remove (gone) or Requeue -> waiting
//
// A job holds its inherited resources from Accept until it leaves, and the
// resources of its preconditions from Start to Finish.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "services/CCserver/CCqueue.h"
#include "services/CCserver/CCstore.h"
#include "jobqueue/CCprecond.h"

// A job handed in: id made when it has none, status waiting, error and
// progress files named. Nil when a job of that id is known already (the
// caller's job is not taken then); otherwise the job is the queue's.
CCqueue_Entry* CCjobs_Accept(CCjobBase_Job job);
// The next job the worker may run, in the order of CCorder (priority, the
// flow's fair share, the stage with its aging, arrival): one that waits, fits `cpuUsages` (and
// `jobTypes` when not 0), may run on that worker (`local`: on this host),
// is within its restrictions and whose preconditions hold (checked at most
// once a second per job, failures shared within the call). It runs on
// `worker` from now on; nil when none is ready.
CCqueue_Entry* CCjobs_StartNext(const std::string& worker, bool local, std::uint8_t cpuUsages,
                                std::uint32_t jobTypes);
// A running job ended with `status`.
void CCjobs_Finish(CCqueue_Entry* entry, std::uint8_t status);
// A job that waits or failed leaves the queue.
void CCjobs_Remove(CCqueue_Entry* entry);
// A failed job, or a running one that never started, waits again.
void CCjobs_Requeue(CCqueue_Entry* entry);
// The jobs go before every other waiting job, in the order given.
void CCjobs_Raise(const std::vector<CCqueue_Entry*>& entries);
// A waiting job takes the fields of `job` (taken); its id, status and files stay.
void CCjobs_Modify(CCqueue_Entry* entry, CCjobBase_Job job);

// The number of waiting jobs and the set of their CPU usages.
std::size_t CCjobs_Waiting(std::uint8_t& cpuUsages);
// Whether a job waits for its preconditions and is due for another look.
bool CCjobs_PreconditionCheckDue();

// --- Restart ----------------------------------------------------------------------------
// The server's state for a rewrite of the journal.
CCstore_State CCjobs_State(std::uint8_t queueStatus);
// Rebuilds the queue from the journal: running jobs keep their worker, the
// resources they and the inherited ones held are taken over from the last
// server.
void CCjobs_Recover(const CCstore_State& state);
