// CCclient: a client's side of the job queue server "CCserver".
//
// Connections are those of SClient: they reconnect by themselves, keep their
// last failure (SClient_GetError) and accept nil. A local server that is down
// is started once per reconnect. Waits call the connection's yield procedure.
//
// Submitting:   SClient c = CCclient_Connect("", 4000, nullptr);
//               CCjobBase_Job job = CCjob_Create("cmd args");
//               CCclient_SubmitJob(c, job, true);   // the id is in the job now
// Following:    SClient l = CCclient_ConnectJobListener("");
//               CCclient_SetEventMask(l, "", "MySubmitter");
//               while (CCclient_AwaitEvent(l, 1000))
//                 while (CCclient_ReceiveJobEvent(l, e)) ...  // e.id, e.status, e.removed
// A job listener hears of each job it selects as it is added (waiting), runs,
// ends (done, failed, canceled) and leaves the queue (removed set), in that
// order; a listener of type 1 gets the full CCevents and, on connecting, the
// queue as it stands.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "base/StrVector.h"
#include "base/Strings.h"
#include "jobqueue/CCevent.h"
#include "jobqueue/CCjobBase.h"
#include "jobqueue/SClient.h"

// --- Connect ------------------------------------------------------------------------------
// To the server on `host` ("" this machine) at its port (5610, or
// TV_CCSERVER_PORT), trying for up to `timeoutMs`. The caller owns the
// connection (SClient_CloseConn); it is returned even when the try failed.
SClient CCclient_Connect(StrIn host, int timeoutMs, SClient_YieldProc yield);
SClient CCclient_ConnectPort(StrIn host, std::uint16_t port, int timeoutMs, SClient_YieldProc yield);
// A listener for CCevents (client type 1), time-out 1000 ms.
SClient CCclient_ConnectListener(StrIn host);
// A listener for CCjobEvents (client type 2), time-out 3000 ms.
SClient CCclient_ConnectJobListener(StrIn host);

// --- Jobs ---------------------------------------------------------------------------------
// Hands `job` to the queue. With `async` the id is made here (unless the job
// has one) and nothing is awaited; otherwise the server's id is stored in the
// job. Afterwards the submitter's reservations of inherited resources go to
// the server. Submitting the same id again does not queue the job twice.
bool CCclient_SubmitJob(SClient conn, CCjobBase_Job job, bool async);
// Replaces the waiting job of the same id by `job` (priority, description,
// conditions, ...). Refused for a job that runs or ended.
bool CCclient_ModifyJob(SClient conn, CCjobBase_Job job, bool async);
// The server's copy of job `id` into `job` (the caller owns it); false when
// there is none.
bool CCclient_GetJobInfos(SClient conn, StrIn id, CCjobBase_Job& job);
// Whether a job of the queue (waiting or running) fits `pattern` (CCjobBase_Match).
bool CCclient_IsJobInQueue(SClient conn, CCjobBase_Job pattern);
// Applies a JOB_COMMAND (CCprotocol_Requeue, _Delete, _Raise) to the jobs of `ids`.
bool CCclient_JobCommand(SClient conn, std::uint8_t command, StrVector ids, bool inFailed);

// --- Queue --------------------------------------------------------------------------------
// The queue's status; 0 (unknown) when the server can't be asked.
std::uint8_t CCclient_GetQueueStatus(SClient conn);
// 1 lets the queue hand out jobs, 2 holds them.
bool CCclient_SetQueueStatus(SClient conn, std::uint8_t status);
bool CCclient_TestService(SClient conn);
bool CCclient_SetDebugMode(SClient conn, bool debug);

// --- Workers --------------------------------------------------------------------------------
// The next job for the worker `hostname` that may take the CPU usages of
// `cpuUsages` (a set); nil when none is ready. The caller owns the job.
CCjobBase_Job CCclient_PeekJob(SClient conn, StrIn hostname, std::uint8_t cpuUsages);
// The same for a worker that tells the ids of every job it holds for this
// server (running, or ended and not yet heard of: a job the server handed
// it that is not among them never arrived, and the server puts it back) and
// takes up to `count` jobs at once, any mix of `cpuUsages`. A server that
// can't be told is asked as by PeekJob. The caller owns the jobs.
std::vector<CCjobBase_Job> CCclient_PeekJobs(SClient conn, StrIn hostname, std::uint8_t cpuUsages,
                                             const std::vector<std::string>& held, std::int32_t count);
// Tells the server how job `id` ended on `host`. With `async` the answer is
// not awaited (SClient_TakePosted tells when it came).
bool CCclient_InformJobFinished(SClient conn, StrIn host, StrIn id, std::uint8_t status, std::uint8_t cancelReason,
                                StrIn errorFile, bool async = false);
// Tells the server of a worker's failure, for the listeners.
bool CCclient_InformWorkerError(SClient conn, StrIn host, std::int32_t number, StrIn source, StrIn text);

// --- Events ---------------------------------------------------------------------------------
// Selects the jobs a job listener hears of: ids fitting `pattern` ("" all;
// "<contains>" in front asks for a part) submitted by `submitterName` ("" all).
// Kept on the connection and sent again after each reconnect.
bool CCclient_SetEventMask(SClient conn, StrIn pattern, StrIn submitterName);
// Waits up to `timeoutMs` for events to arrive.
bool CCclient_AwaitEvent(SClient conn, int timeoutMs);
// Takes the next whole event without waiting; false when none is there.
// Events that fail to decode are dropped and the next is tried.
bool CCclient_ReceiveEvent(SClient conn, CCevent_Event& event);
bool CCclient_ReceiveJobEvent(SClient conn, CCjobEvent_Event& event);
