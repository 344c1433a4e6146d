// SClient: a client's connection to a service of the request layer.
//
// A connection remembers where it goes, reconnects by itself when the line
// broke, and keeps its last failure. Every call accepts a nil connection and
// answers false or empty. Waits poll in slices and call the yield procedure in
// between, so that a window stays alive while a service thinks.
#pragma once
#include <cstdint>

#include "base/Strings.h"
#include "jobqueue/SEvent.h"
#include "jobqueue/SProtocol.h"
#include "jobqueue/SReqObj.h"

struct SClient_Rec;
using SClient = SClient_Rec*;

using SClient_YieldProc = void (*)();

// Failures of the client itself, section "SClient"; a service's own refusal
// keeps the service's result code.
enum : int {
  SClient_CannotConnect = 100,
  SClient_Timeout = 101,
  SClient_NoResultCode = 102,
  SClient_NoLineFeed = 104,
  SClient_BadRequest = 105,
  SClient_ListenerRequest = 106,
  SClient_SendFailed = 107,
  SClient_BadResult = 108,  // the answer is not of the wire form; the connection is closed
};

// The yield procedure that does nothing.
void SClient_NoopYield();

// --- Connect and close -------------------------------------------------------------
SClient SClient_Nil();
// Connects to the service of `protocol` (which must outlive the connection) on
// `host` ("" for this machine) as a client of `clientType`, trying for up to
// `timeoutMs` (negative: until it works). A local service that is down is
// started once per reconnect. Returns the connection even when that failed;
// the caller owns it. A nil `yield` stands for SClient_NoopYield.
SClient SClient_Connect(StrIn host, int timeoutMs, std::uint8_t clientType, SProtocol protocol,
                        SClient_YieldProc yield);
// True at once when connected; otherwise connects again as above.
bool SClient_Reconnect(SClient conn);
// One connection attempt, without starting the service.
bool SClient_TryReconnect(SClient conn);
// Closes and frees; accepts nil; sets the handle to nil.
void SClient_CloseConn(SClient& conn);
// Closes every connection of the process, for its end.
void SClient_CloseAllConnections();

// --- Configure ------------------------------------------------------------------------
// The event mask (an Array, taken) is sent now and after every reconnect.
bool SClient_SetEventMask(SClient conn, SReqObj mask);
void SClient_SetTimeout(SClient conn, int timeoutMs);

// --- Requests -------------------------------------------------------------------------
// Sends `request` with `params` (an Array, taken; nil for none). For a request
// with a result, waits for it (and the results still owed for posts) and
// hands the results (element 0 first) to the caller in `results`. False with
// the failure kept in the connection.
bool SClient_Send(SClient conn, int request, SReqObj params, SReqObj* results);
// Sends a request without waiting for its result, which is taken off the
// line (and dropped) before the next result is read. So two services that
// call each other never wait for each other, and a post and the request
// behind it take one trip. False when it could not be sent.
bool SClient_Post(SClient conn, int request, SReqObj params);
// Takes the results of posted requests that have come (all of them, waiting,
// with `wait`). True when the service answered every post on this
// connection (SClient_ConnNo tells a new one): a reconnect loses the count.
bool SClient_TakePosted(SClient conn, bool wait);
// The versions of `name` the service supports (bit v for version v), asked
// once per connection; 0 when the service can't tell.
std::uint32_t SClient_SupportedRequestVersions(SClient conn, StrIn name);
// Takes one whole event when it is buffered; false without waiting otherwise.
// A broken connection gets one reconnect attempt.
bool SClient_ReceiveEvent(SClient conn, SEvent event);
// Waits up to `timeoutMs` until bytes of an event are there, calling the
// yield procedure between slices; false when none came or the line broke.
bool SClient_AwaitEvent(SClient conn, int timeoutMs);

// --- Query ----------------------------------------------------------------------------
bool SClient_IsConnected(SClient conn);
// The code of the last failure, 0 after success.
int SClient_ErrorCode(SClient conn);
// The text of the last failure, empty after success.
void SClient_GetError(SClient conn, StrOut text);
// The connection number sent with "CLIENTID"; 0 before the first connect.
std::int32_t SClient_ConnNo(SClient conn);
