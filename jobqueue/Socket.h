// Socket: buffered TCP connections, the transport under the request layer,
// the demon's status service and the master and slave synchronisation.
//
// Reads go through a ring buffer of the size given at connection; writes are
// collected and leave with Socket_Flush (or when the buffer is full). Every
// multi-byte number travels big-endian. A socket whose peer went away or whose
// read timed out is broken: every later read or write fails until it is closed.
// A service's connections queue their writes instead (Socket_SetQueued), so
// that a peer that stops reading never holds the service up.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "jobqueue/SPeers.h"

struct Socket_Rec;
using Socket = Socket_Rec*;

// Last failure: 0 none, 1 no such host, 2 cannot connect or listen, 3 time-out,
// 4 peer closed the connection, 5 other system error, 6 bad handle, 7 the peer
// left more than the queue's bound unread.
extern std::uint8_t Socket_error;

// --- Create and destroy -------------------------------------------------------
// The empty handle; every call accepts it and fails.
Socket Socket_Nil();
// Connects to `host` ("" is this machine) at `port`, waiting up to `timeoutMs`
// (negative: the system's own wait). The caller owns the handle; nil on failure.
Socket Socket_Connect(StrIn host, std::uint16_t port, std::size_t bufferSize, int timeoutMs);
// A listening socket with address reuse on `address` ("" for every interface)
// and `port`; nil on failure. A restarted service gets its port back at once.
Socket Socket_Listen(StrIn address, std::uint16_t port, std::size_t bufferSize);
// The next waiting connection of a listening socket, or nil when none is
// waiting. A connection from a peer the listener does not allow is closed
// at once, unanswered, and noted (SPeers_NoteRefused); the next one is taken.
Socket Socket_Accept(Socket listener);
// Closes without shutting down, so a forked child's copy leaves the parent's
// connection alone. Accepts nil; sets the handle to nil.
void Socket_Close(Socket& s);

// --- Configure and query -----------------------------------------------------
// Lets only `peers` (taken; nil: every host) connect through `listener`.
void Socket_Restrict(Socket listener, SPeers peers);
// The listener's peers, a link to add to; nil when every host may connect.
SPeers Socket_Peers(Socket listener);
// Sends small writes at once (requests are short and wait for an answer).
void Socket_SetNoDelay(Socket s);
// How long one read waits for missing bytes; negative waits for ever. 5000 at start.
void Socket_SetTimeout(Socket s, int timeoutMs);
// Writes never wait from now on: what the line does not take at once waits,
// in order, for Socket_SendPending. Once more than `limit` bytes wait, the
// connection is broken (error 7): its peer stopped reading.
void Socket_SetQueued(Socket s, std::size_t limit);
// The bound a service gives its clients' queues: far more than a burst of
// events to a listener busy for a moment, far less than memory. 8 MB, or
// TV_PEER_BACKLOG_KB kilobytes (the tests use a small one).
std::size_t Socket_PeerBacklogLimit();
// The descriptor, for poll(); -1 for nil.
int Socket_Descriptor(Socket s);
// The port a listening socket is bound to; 0 for nil.
std::uint16_t Socket_LocalPort(Socket s);
// False once the connection broke or the peer closed it; looks at the line
// without waiting and keeps whatever data arrived.
bool Socket_IsAlive(Socket s);

// --- Reading -------------------------------------------------------------------
// Waits up to `timeoutMs` for at least one unread byte; true when one is there.
bool Socket_WaitReadable(Socket s, int timeoutMs);
// Moves what the line holds into the buffer without waiting; false once broken.
bool Socket_Fill(Socket s);
// Bytes read from the line and not yet taken.
std::size_t Socket_Available(Socket s);
// Copies `count` buffered bytes from `offset` without taking them; false when
// fewer are buffered.
bool Socket_Peek(Socket s, std::size_t offset, void* bytes, std::size_t count);
// Takes exactly `count` bytes, waiting as configured; false (broken) otherwise.
bool Socket_ReadBytes(Socket s, void* bytes, std::size_t count);
bool Socket_ReadByte(Socket s, std::uint8_t& value);
bool Socket_ReadBoolean(Socket s, bool& value);
bool Socket_ReadInteger(Socket s, std::int32_t& value);
bool Socket_ReadReal(Socket s, double& value);
// A 4-byte length and that many bytes, refused above `maxLength`.
bool Socket_ReadObject(Socket s, std::string& bytes, std::size_t maxLength);

// --- Writing -------------------------------------------------------------------
// Each collects bytes; false once the connection broke.
bool Socket_WriteBytes(Socket s, const void* bytes, std::size_t count);
bool Socket_WriteByte(Socket s, std::uint8_t value);
bool Socket_WriteBoolean(Socket s, bool value);
bool Socket_WriteInteger(Socket s, std::int32_t value);
bool Socket_WriteReal(Socket s, double value);
bool Socket_WriteObject(Socket s, const void* bytes, std::size_t count);
// Sends everything collected (a queued socket: hands it to the queue);
// false when the line refused it.
bool Socket_Flush(Socket s);
// A queued socket's bytes waiting for the line to take them; 0 for nil.
std::size_t Socket_Pending(Socket s);
// Sends what the line takes of them now, without waiting; false once broken.
bool Socket_SendPending(Socket s);
