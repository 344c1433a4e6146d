// CCnotify: what the server tells its clients: answers to their requests and
// events to its listeners.
//
// Both are held back in the order they were made until Flush, which the
// server calls once its records are durable: nobody hears of a job the
// server could still lose. Listeners of type 1 get every CCevent; listeners
// of type 2 get the CCjobEvents of the jobs their event mask selects.
#pragma once
#include <cstdint>

#include "base/Strings.h"
#include "jobqueue/CCevent.h"
#include "jobqueue/SServer.h"

// Enters a client that introduced itself; answers true for a listener of
// type 1, who is to get the queue as it stands.
bool CCnotify_Identified(SServer_Conn conn);
// Forgets a connection that went, with what was held back for it.
void CCnotify_Gone(SServer_Conn conn);

// Answers held back until Flush; `results` is taken.
void CCnotify_Reply(SServer_Conn conn, SReqObj results);
// An answer of failure with message `number` of section "CCserver", `info` in its "%s".
void CCnotify_ReplyError(SServer_Conn conn, unsigned number, StrIn info);

// To every listener of type 1, or to `conn` alone.
void CCnotify_Event(const CCevent_Event& event);
void CCnotify_EventTo(SServer_Conn conn, const CCevent_Event& event);
// A job event of `kind` for `job`, with its place: to the listeners of type 1.
void CCnotify_JobChange(CCjobBase_Job job, std::uint32_t kind, bool inFailed, std::int32_t position,
                        StrIn worker);
// The short form for the listeners of type 2 whose mask fits the job.
void CCnotify_JobStatus(CCjobBase_Job job, bool removed);

// Sends what was held back.
void CCnotify_Flush();
