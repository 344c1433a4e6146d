// SLock: a lock file between processes and hosts, taken with a time-out.
//
// The lock is a file that holds the decimal process id of its owner and a
// line feed. It is made as a hard link of a private file, so an existing lock
// is never overwritten and works over network file systems. A lock whose
// owner has gone is removed by whoever finds it:
//   - a process id whose process does not exist (a process of another user
//     exists: it keeps its lock);
//   - this process's own id when no handle of this process holds the lock:
//     an earlier process that had the same id left it;
//   - no readable process id, once the file is older than 10 seconds: a
//     writer of another kind may still be filling it in before that.
#pragma once

#include <cstdint>

#include "base/Strings.h"

struct SLock_Rec;
using SLock = SLock_Rec*;

// Error of the last SLock_Lock: 0 none, 1 the private file could not be
// written, 2 the lock could not be linked (the file system refused), 3 timed
// out: a live process holds the lock, 4 nil handle. 1 and 2 are reported;
// 3 and 4 are status only, for the caller to tell.
extern std::uint8_t SLock_error;

// Runs once, after FileIO and DirAcces.
void SLock_Init();

// --- Create and destroy ------------------------------------------------------

// A handle on the lock file `name`; nothing is made on disk yet. The caller
// owns it.
SLock SLock_Create(StrIn name);
// Releases the lock if held, frees the handle and sets it to nil; nil is
// accepted.
void SLock_Destroy(SLock& lock);
// The empty handle: every routine accepts it; SLock_Lock fails with error 4.
SLock SLock_Nil();

// --- Use ---------------------------------------------------------------------

// Takes the lock, trying every 100 ms until `timeoutMs` milliseconds have
// passed; 0 tries once. A stale lock is removed and the try repeated at once.
// True when held, also when this handle holds it already.
bool SLock_Lock(SLock lock, std::uint32_t timeoutMs);
// Removes the lock file if it is still the one this handle made, holding our
// id; any other file of that name is left alone. Nothing for nil or a lock
// not held.
void SLock_Unlock(SLock lock);
// Whether this handle holds the lock; false for nil.
bool SLock_IsHeld(SLock lock);

// --- Locks by name -----------------------------------------------------------
// For callers that keep no handle: the process keeps one per lock file name.
// Takes the lock file `name` as SLock_Lock does, its failures not reported;
// a handle that got no lock is not kept.
bool SLock_LockNamed(StrIn name, std::uint32_t timeoutMs);
// Releases the lock taken by name and forgets its handle; nothing when not held.
void SLock_UnlockNamed(StrIn name);
