// CCqueueReq: the queue window's pair of connections to "CCserver": one
// for requests and one listener for the server's events (client type 1).
//
// The listener reconnects by itself when the server went; the caller hears
// of it through `reconnected` of CCqueueReq_ReceiveEvent, since a new
// listener is told the whole queue again and what the caller showed is old.
// Every call accepts nil and answers false or empty.
#pragma once
#include <cstdint>

#include "base/StrVector.h"
#include "base/Strings.h"
#include "jobqueue/CCevent.h"
#include "jobqueue/CCjobBase.h"

struct CCqueueReq_Rec;
using CCqueueReq = CCqueueReq_Rec*;

// --- Connect and close ------------------------------------------------------------------
// Both connections to the server on `host` ("" this machine), the request
// connection trying for up to `timeoutMs`. The pair is returned even when
// the server did not answer (CCqueueReq_IsConnected tells); the caller owns
// it (CCqueueReq_CloseConn).
CCqueueReq CCqueueReq_Connect(StrIn host, int timeoutMs);
// Whether the listener is connected.
bool CCqueueReq_IsConnected(CCqueueReq req);
// One attempt to connect the lines that broke; true when both are connected.
bool CCqueueReq_Reconnect(CCqueueReq req);
// Closes both and frees the pair; nil is accepted; `req` becomes nil.
void CCqueueReq_CloseConn(CCqueueReq& req);
// Why the last request failed (the server's reason or the client's), "" after success.
void CCqueueReq_GetFailReason(CCqueueReq req, StrOut text);

// --- Requests ---------------------------------------------------------------------------
// 1 lets the queue hand out jobs, 2 holds them.
bool CCqueueReq_SetQueueStatus(CCqueueReq req, std::uint8_t status);
// The server's record of job `id` (the caller owns it), nil when there is none.
CCjobBase_Job CCqueueReq_GetJobInfos(CCqueueReq req, StrIn id);
// A JOB_COMMAND (CCprotocol_Delete, CCprotocol_Raise) on the jobs of `ids`
// in the actual list, or in the failed list with `inFailed`.
bool CCqueueReq_JobCommand(CCqueueReq req, std::uint8_t command, StrVector ids, bool inFailed);
// Replaces the waiting job of the same id (its priority, description, ...).
bool CCqueueReq_ModifyJob(CCqueueReq req, CCjobBase_Job job);

// --- Events -----------------------------------------------------------------------------
// Takes the next whole event without waiting; false when none is there.
// `reconnected` is set when the listener had to connect anew before: the
// events before were lost, and the server tells the queue from the start.
bool CCqueueReq_ReceiveEvent(CCqueueReq req, CCevent_Event& event, bool& reconnected);
