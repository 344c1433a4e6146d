// SCipc: short messages between processes of one host over named pipes in
// the directory "scipc" of MARLDAT.
//
// A service named IDENTITY reads the queues "IDENTITY.H" (served first) and
// "IDENTITY.L", and "IDENTITY.K" where clients announce themselves. A client
// answers on its own queue, IDENTITY with its process id in five digits. A
// message is one atomic write: a 4-byte length, the sender's process id and
// the bytes, at most PIPE_BUF in all.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Strings.h"

struct SCipc_Rec;
using SCipc = SCipc_Rec*;

// Last failure: 0 none, 1 a queue could not be made or opened, 2 the service
// is not running, 3 a message too long or damaged, 4 time-out.
extern std::uint8_t SCipc_error;

// --- Create and destroy ---------------------------------------------------------
SCipc SCipc_Nil();
// Makes and opens the service's queues; nil when they can't be had.
SCipc SCipc_CreateService(StrIn identity);
// Connects a client, waiting up to `waitSeconds` for the service to read its
// queues. Makes the client's own queue and announces the client. Nil when
// the service does not come.
SCipc SCipc_Connect(StrIn identity, int waitSeconds);
// Closes, removing the queues this side made; accepts nil; sets it to nil.
void SCipc_Close(SCipc& ipc);

// --- Client ---------------------------------------------------------------------
// Sends `message` to the service's high or low queue.
bool SCipc_Send(SCipc client, std::string_view message, bool high);
// Waits up to `timeoutMs` for the service's answer on the client's queue.
bool SCipc_Await(SCipc client, int timeoutMs, std::string& reply);

// --- Service --------------------------------------------------------------------
// Waits up to `timeoutMs` for the next message, the high queue first; its
// sender's process id in `client`.
bool SCipc_Receive(SCipc service, int timeoutMs, std::string& message, int& client);
// Answers `client` on its queue; false when it has gone.
bool SCipc_Reply(SCipc service, int client, std::string_view message);
// The clients that announced themselves since the last call.
std::vector<int> SCipc_NewClients(SCipc service);

// --- Query ----------------------------------------------------------------------
// The directory of the queues.
void SCipc_Directory(StrOut directory);
