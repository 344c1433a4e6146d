// CCqueue: the server's jobs in memory.
//
// The actual list holds the jobs that wait or run, in the order they are
// handed out: higher priority first, then by sequence number (the order of
// arrival; raising a job gives it a number before all others). The failed
// list holds the jobs that ended with failure, oldest first, until they are
// deleted or put back. Every job is found by its id in either list. Indexes
// keep the waiting jobs in hand-out order and the counts of waiting and
// running jobs, so that neither an ask nor a status request walks the lists.
#pragma once
#include <chrono>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "jobqueue/CCjobBase.h"
#include "jobqueue/CCorder.h"
#include "jobqueue/CCrestrict.h"

struct CCqueue_Entry {
  CCjobBase_Job job = nullptr;  // owned: one reference
  std::string id;
  std::int64_t seq = 0;
  std::string worker;  // the worker it runs on
  bool inFailed = false;
  bool cancelRequested = false;
  std::chrono::steady_clock::time_point checked{};  // last look at its preconditions
  std::chrono::steady_clock::time_point since{};    // when it came into the actual list
  std::uint32_t flow = 0;  // its flow's number (CCqueue_Flows), for fair shares
  // Where the indexes hold it, as CCqueue_Update last entered it.
  CCorder_Key place{};     // its order among the waiting jobs of its priority and flow
  std::uint8_t usage = 0;  // its CPU usage, counted among the waiting jobs
  bool waiting = false, precond = false, running = false;

  CCqueue_Entry() = default;
  CCqueue_Entry(const CCqueue_Entry&) = delete;
  CCqueue_Entry& operator=(const CCqueue_Entry&) = delete;
  ~CCqueue_Entry() { CCjobBase_Destroy(job); }
};
using CCqueue_Owned = std::unique_ptr<CCqueue_Entry>;

// --- Lists ----------------------------------------------------------------------------
// Enters a job into the actual list at its place, or at the end of the failed
// list; a job new to the actual list waits from now on.
CCqueue_Entry* CCqueue_Insert(CCqueue_Owned entry);
// Takes a job out of its list; the caller owns it then.
CCqueue_Owned CCqueue_Take(CCqueue_Entry* entry);
// Moves a job of the actual list to its place after its priority or number changed.
void CCqueue_Reorder(CCqueue_Entry* entry);
// nil when no job has that id.
CCqueue_Entry* CCqueue_Find(const std::string& id);
const std::vector<CCqueue_Entry*>& CCqueue_Actual();
const std::vector<CCqueue_Entry*>& CCqueue_Failed();
// How many flows the jobs have named so far; a job's `flow` is below it.
std::uint32_t CCqueue_Flows();
// Counted from 1 in its list.
std::int32_t CCqueue_Position(const CCqueue_Entry* entry);

// --- Indexes ------------------------------------------------------------------------
// Brings the indexes below in line with the job's status and fields: called
// after every change of a listed job (Insert, Take and Reorder call it).
void CCqueue_Update(CCqueue_Entry* entry);
// The waiting jobs (waiting, or waiting for preconditions) of the CPU
// usages `cpuUsages` in the order they are handed out in (CCorder), merged
// over their priorities, flows and usages: the first for which `take`
// answers true, nil when there is none.
CCqueue_Entry* CCqueue_FirstWaiting(std::uint8_t cpuUsages, bool (*take)(CCqueue_Entry*, void*), void* context);
// How many jobs wait, and the set of their CPU usages.
std::size_t CCqueue_WaitingCount(std::uint8_t& cpuUsages);
// The jobs that wait for their preconditions.
const std::set<CCqueue_Entry*>& CCqueue_WaitingForPrecond();

// --- Numbers ------------------------------------------------------------------------------
// The number for a job that arrives now; numbers grow through restarts.
std::int64_t CCqueue_NextSeq();
// Makes the next number come after `seq` (when a recovered job has it).
void CCqueue_SeenSeq(std::int64_t seq);
// A number before every job of the actual list.
std::int64_t CCqueue_FrontSeq();

// The counts of the jobs that run now against each restriction name.
CCrestrict_Table CCqueue_Restrictions();
