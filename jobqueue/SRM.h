// SRM: the resource manager's client. Named locks across processes and hosts.
//
// A resource is a plain string and may be a pattern ("*" any run, "?" any
// one character). What this process holds with trapped death is kept in a
// list sorted by name, with a use count: a name matching a held pattern is
// granted at once and counts one use more. The transport is the request
// layer, or the named pipes of this host when the flag
// RMSERVER_USE_SCIPC_SERVICES is set. One connection per process.
#pragma once
#include <cstdint>

#include "base/Strings.h"

// Last failure: 0 none, 1 no connection to the resource manager, 2 a request
// failed on the way.
extern std::uint8_t SRM_error;

// Who holds a resource that was refused: host and process id, empty and -1
// when the manager did not say.
struct SRM_Holder {
  char host[kNameCap] = "";
  std::int32_t pid = -1;
};

// Runs once; called by the first connect too.
void SRM_Init();

// --- Connection -----------------------------------------------------------------------
// Connects unless connected (time-out 5000 ms; a local manager that is down is
// started). A process running a job for another host ends here with status 1.
bool SRM_Connect();
// Forgets the connection and the held list, for a forked child that must not
// share its parent's.
void SRM_Disconnect();
// Ends the process (status 1) when CCJOB_EMPLOYER names another host: a job
// on another host must not reach for this host's resources.
void SRM_BanRemoteRequests();

// --- Reserve and give back --------------------------------------------------------------
// True when granted. With `trapDeath` the manager frees it if this process dies.
bool SRM_Reserve(StrIn name, bool trapDeath);
// The same; on refusal the holder as far as the manager tells.
bool SRM_ReserveVerbose(StrIn name, bool trapDeath, SRM_Holder& holder);
// Takes `name` for this process on `host` ("" this machine) without asking.
bool SRM_Use(StrIn name, StrIn host, bool trapDeath);
// One use less, here and at the manager.
void SRM_Release(StrIn name);
void SRM_ReleaseOnHost(StrIn name, StrIn host);
// Every held entry matching `name`, and tells the manager.
void SRM_Free(StrIn name);
// True when this process holds `name` or reserving it fails; a successful
// trial reservation is released at once.
bool SRM_QueryInUse(StrIn name);
// Tells the manager that the demon of this host (re)started.
void SRM_TVDemonStartup();

// --- Names of read locks ---------------------------------------------------------------
// Appends ":%05d-%d-%8s" (process id, a process-wide counter, machine name):
// a reader's name of its own.
void SRM_ReadResource(StrOut name);
// Appends ":*", which clashes with every reader of `name`.
void SRM_UpdateResource(StrOut name);

// --- Held list and service ---------------------------------------------------------------
// The use count of the held entry whose pattern matches `name`; 0 for none.
int SRM_UseCount(StrIn name);
void SRM_StartDebugLog();
void SRM_StopDebugLog();
// The manager writes its table to `fileName` (a path on its host).
void SRM_DumpResourceDatabase(StrIn fileName);
