// SServer: the service side of the request layer.
//
// A server listens on its protocol's port, accepts clients, reads their
// requests and answers the standard ones itself; SServer_Next hands out the
// protocol's own requests one at a time. Single-threaded: the service calls
// SServer_Next in its loop and answers before it asks for the next request.
// Answers and events never wait for a client: what its line does not take at
// once waits in the connection's queue, in order, and leaves while SServer_Next
// waits. A client that leaves more than 8 MB unread (TV_PEER_BACKLOG_KB) is
// noted on standard error and its connection closed (the gone procedure runs).
#pragma once
#include <cstddef>
#include <cstdint>

#include "base/Strings.h"
#include "jobqueue/SEvent.h"
#include "jobqueue/SProtocol.h"
#include "jobqueue/SReqObj.h"

struct SServer_Rec;
using SServer = SServer_Rec*;
struct SServer_ConnRec;
// A link to a client's connection, owned by the server. Valid until the
// server reports it gone.
using SServer_Conn = SServer_ConnRec*;

// Last failure: 0 none, 1 the port could not be taken.
extern std::uint8_t SServer_error;

// Called from inside SServer_Next for each connection that closed or broke,
// just before its record goes.
using SServer_GoneProc = void (*)(SServer_Conn conn, void* data);
// Called from inside SServer_Next when a client has told who it is.
using SServer_IdentifiedProc = void (*)(SServer_Conn conn, void* data);

struct SServer_Request {
  SServer_Conn conn = nullptr;
  int request = 0;           // the protocol's number
  bool wantsResult = false;  // the client waits for SServer_Reply
  SReqObj params = nullptr;  // an Array, owned by the caller
};

// --- Create and destroy ----------------------------------------------------------
// Listens on the port of `protocol` (which must outlive the server) at
// `address`, "" for every interface. Nil when the port can't be had.
SServer SServer_Create(SProtocol protocol, StrIn address);
// Closes every connection without calling the gone procedure; accepts nil.
void SServer_Destroy(SServer& server);

// --- Configure -----------------------------------------------------------------------
void SServer_OnConnectionGone(SServer server, SServer_GoneProc proc, void* data);
void SServer_OnClientIdentified(SServer server, SServer_IdentifiedProc proc, void* data);
// Lets only `peers` (taken) connect; any other host's connection is closed
// unanswered and noted once a minute. Without it every host may connect.
void SServer_Restrict(SServer server, SPeers peers);
// A descriptor (-1: none) whose readability ends a wait of SServer_Next at
// once, so that a service hears of its children or timers while it waits.
void SServer_WakeOn(SServer server, int descriptor);

// --- Serve -----------------------------------------------------------------------------
// Waits up to `timeoutMs` for the next request of the protocol's own. False
// when none came in time. Unknown requests are answered with an error here.
bool SServer_Next(SServer server, int timeoutMs, SServer_Request& request);
// Answers a request that wants a result with success and the elements of
// `results` (taken; nil for none). False when the connection broke.
bool SServer_Reply(SServer_Conn conn, SReqObj results);
// Answers with a failure: code and error number `number`, `source` and `text`.
bool SServer_ReplyError(SServer_Conn conn, std::int32_t number, StrIn source, StrIn text);
// Sends an event to a client (a listener); the caller keeps the event.
bool SServer_SendEvent(SServer_Conn conn, SEvent event);

// --- Query ------------------------------------------------------------------------------
// The identity the client sent, empty (pid 0) before it did or for nil.
const SProtocol_ClientID& SServer_Client(SServer_Conn conn);
// The event mask the client set; a link, nil when none.
SReqObj SServer_EventMask(SServer_Conn conn);
std::size_t SServer_ConnectionCount(SServer server);
// Whether a client switched debugging on with "DEBUG_SERVICE".
bool SServer_Debugging(SServer server);
std::uint16_t SServer_Port(SServer server);
