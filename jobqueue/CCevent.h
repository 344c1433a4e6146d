// CCevent and CCjobEvent: what the queue server tells its listeners.
//
// A listener (client type 1) gets CCevents: the queue was reset or changed
// its status, a job was added, changed, moved or removed, the workers
// changed, or an error happened. A job listener (client type 2) gets the
// shorter CCjobEvents of the jobs its event mask selects: id, status,
// whether the job left the queue, and who submitted it.
//
// Both travel as one object of SEvent primitives: version 1, the event type
// (CCevent only), the body and a line feed. Events that break this form are
// dropped with a line on standard error.
#pragma once
#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "jobqueue/CCjobBase.h"
#include "jobqueue/SEvent.h"

inline constexpr std::uint8_t CCevent_Queue = 1;
inline constexpr std::uint8_t CCevent_Job = 2;
inline constexpr std::uint8_t CCevent_Cluster = 3;
inline constexpr std::uint8_t CCevent_Error = 4;
// Kinds of queue events.
inline constexpr std::uint32_t CCevent_QueueReset = 1;
inline constexpr std::uint32_t CCevent_QueueStatusChanged = 2;
// Kinds of job events.
inline constexpr std::uint32_t CCevent_StatusChanged = 1;
inline constexpr std::uint32_t CCevent_PositionChanged = 2;
inline constexpr std::uint32_t CCevent_JobAdded = 3;
inline constexpr std::uint32_t CCevent_JobRemoved = 4;
inline constexpr std::uint32_t CCevent_JobModified = 5;
// Kinds of cluster events; a worker's status is 0 unknown, 1 up, 2 down.
inline constexpr std::uint32_t CCevent_ResetWorkers = 1;
inline constexpr std::uint32_t CCevent_WorkerStatus = 2;

struct CCevent_Event {
  std::uint8_t type = 0;     // CCevent_Queue ... CCevent_Error
  std::uint32_t kind = 0;    // of the queue, job or cluster event
  // Queue event.
  std::uint8_t queueStatus = 0;
  // Job event; workerName names the worker of a cluster event too.
  bool inFailedQueue = false;
  std::int32_t queuePosition = 0;  // from 1, at the time of the event
  char workerName[kNameCap] = "";
  std::uint8_t jobType = 0;
  char id[kNameCap] = "";
  std::uint8_t cpuUsage = 0;
  std::uint8_t status = 0;
  std::uint32_t priority = 0;
  char description[kTextCap] = "";
  char errorFile[kPathCap] = "";
  char progressFile[kPathCap] = "";  // empty unless the job runs
  std::uint8_t executeOn = 0;
  // Cluster event.
  std::uint8_t workerStatus = 0;
  // Error event.
  std::int32_t errorNumber = 0;
  char source[kNameCap] = "";
  char text[kPathCap] = "";
};

struct CCjobEvent_Event {
  char id[kNameCap] = "";
  std::uint8_t status = 0;
  bool removed = false;  // the job left the queue (ended, failed or deleted)
  std::string submitterName, submitterAddons;
};

// --- CCevent ------------------------------------------------------------------------------
// The job fields of a job event of `kind` from `job`; the progress file only
// while it runs.
void CCevent_FromJob(CCjobBase_Job job, std::uint32_t kind, CCevent_Event& event);
// The event's bytes, appended to `out`.
void CCevent_Write(const CCevent_Event& event, SEvent out);
// Reads an event from the start of `in`; false (with "Syntax error in
// received event" on standard error) for bytes of another form.
bool CCevent_Read(SEvent in, CCevent_Event& event);
// "QueueEvent", "JobEvent <id>", "ClusterEvent" or "ErrorEvent".
void CCevent_Description(const CCevent_Event& event, StrOut text);

// --- CCjobEvent ---------------------------------------------------------------------------
void CCjobEvent_FromJob(CCjobBase_Job job, bool removed, CCjobEvent_Event& event);
void CCjobEvent_Write(const CCjobEvent_Event& event, SEvent out);
// False (with "Syntax error in received job event") for bytes of another form.
bool CCjobEvent_Read(SEvent in, CCjobEvent_Event& event);
// "Job removed" or "Job status changed".
void CCjobEvent_Description(const CCjobEvent_Event& event, StrOut text);
