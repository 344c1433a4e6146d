// WFsync: brings slave hosts up to date with the workflows of this master.
//
// The master listens on the first free port of 9912 to 9950, starts this
// program on the slave through "ssh" with "-S HOST:PORT", and the slave
// connects back. Each workflow travels as a tar file over a separate ssh
// pipe into the slave's TMP; the orders are text lines on the connection,
// in the tokens of the demon's status service (TVWrequest): one line of at
// most 4095 characters, tokens separated by one blank, strings with blank,
// backslash and double quote escaped by a backslash, "" for the empty string.
//
//   ENVIRONMENT                                   -> "1 <projects directory>"
//   TMPFILENAME suffix                            -> a new name in the slave's TMP
//   INSTALLWORKFLOW name startDir group tar express -> "" or the reason
//   INSTALLMODULE component-text                  -> "" or the reason
//
// A result line is "true" or "false" and a string: the answer, or the reason
// in the words of the slave's catalog. Master and slave must have the same
// projects directory: the tar file holds absolute paths.
//
// The slave takes a workflow whole or not at all: the tar file is unpacked
// into a private directory inside the projects directory and moved into
// place from there, new files first, replaced ones next, the start folder's
// rc last. Every folder's outs are thus in place before the rc that names
// them, so a rebuild at any moment finds a complete graph, and until the
// start rc moves, the old one. A slave never passes a workflow on: its copy
// has DOSYNC false and no slaves.
//
// Messages are of section "WFsync"; failures are returned as text, so that a
// failure on the slave reaches the master's list of failures.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "jobqueue/Socket.h"
#include "workflow/WFbase.h"
#include "workflow/WFmodule.h"

inline constexpr std::int32_t WFsync_version = 1;
inline constexpr std::uint16_t WFsync_firstPort = 9912;
inline constexpr std::uint16_t WFsync_lastPort = 9950;

// Called while the master waits, so that a window stays alive.
using WFsync_YieldProc = void (*)(void* arg);

struct WFsync_ConnRec;
// The master's connection to one slave; nil is WFsync_NoConnection().
using WFsync_Connection = WFsync_ConnRec*;

// Starts the workflow model, the groups, the archives and the components; once.
void WFsync_Init();

// --- Tokens (the encoding of TVWrequest) ------------------------------------------------

// Append a blank (unless `line` is empty) and the token; false when the line
// would be too long.
bool WFsync_AppendString(StrOut line, StrIn text);
bool WFsync_AppendBool(StrOut line, bool value);
bool WFsync_AppendInt(StrOut line, std::int32_t value);
// Take the next token off the front of `line`; false when there is none or
// it is not of the type ("true" and "false" only for a boolean).
bool WFsync_SplitString(StrOut line, StrOut text);
bool WFsync_SplitBool(StrOut line, bool& value);
bool WFsync_SplitInt(StrOut line, std::int32_t& value);

// --- Workflow state on disk ---------------------------------------------------------------

// A workflow is stopped while its start folder holds the demon's stop mark;
// stopping and starting put or take the marks of every folder that can be
// started. Express is the express mark of the start folder, set on all.
bool WFsync_WorkflowStopped(WFbase workflow);
void WFsync_StopWorkflow(WFbase workflow);
void WFsync_StartWorkflow(WFbase workflow);
bool WFsync_IsExpressWorkflow(WFbase workflow);
void WFsync_SetExpressWorkflow(WFbase workflow, bool express);

// --- Master -----------------------------------------------------------------------------------

// Listens on the first port of 9912 to 9950 that can be had; nil when none.
// Only the slaves WFsync_Connect starts may connect to it; a sync opens it
// for its run and closes it at the end.
Socket WFsync_SetupService(std::uint16_t& port);
void WFsync_CloseService(Socket& service);
WFsync_Connection WFsync_NoConnection();
// Whether `host` may be handed to ssh: letters, digits, "-", ".", "_", and
// ":" and "[]" of an IPv6 address, with one "user@" in front if need be;
// neither part empty or beginning with "-", so that no host can become an
// option. False with the reason (message 23) otherwise.
bool WFsync_CheckHost(StrIn host, StrOut reason);
// Starts the slave on `host` through ssh, waits up to 5 s for it to connect
// and checks its version and projects directory. Nil with the reason
// (messages 5, 9, 10, 11, 12) on failure.
WFsync_Connection WFsync_Connect(Socket service, std::uint16_t port, StrIn host, WFsync_YieldProc yield,
                                 void* yieldArg, StrOut reason);
// Closes and frees; the slave ends when it sees the connection go.
void WFsync_CloseConnection(WFsync_Connection& conn);
// Writes one request line; false when the connection broke.
bool WFsync_SendRequest(WFsync_Connection conn, StrIn line);
// Waits up to `timeoutMs` for the result, polling every 100 ms with the
// yield procedure. True for a success; `text` holds the answer, or the
// reason (the slave's, or one of its own for a time-out, a broken connection
// or a line that cannot be read).
bool WFsync_ReceiveResult(WFsync_Connection conn, int timeoutMs, StrOut text);
// The requests; each a success with the answer in `text`, else the reason.
bool WFsync_TmpFilenameReq(WFsync_Connection conn, StrIn suffix, StrOut text);
bool WFsync_InstallWorkflowReq(WFsync_Connection conn, StrIn name, StrIn startDir, StrIn group,
                               StrIn tarFile, bool express, StrOut text);
bool WFsync_InstallModuleReq(WFsync_Connection conn, StrIn component, StrOut text);
// Sends the components of the folders in `folders` (paths) that are not in
// `installed` yet: command and icon outside MARLLIB by scp, then the entry;
// each goes into `installed`. False with the reason at the first failure.
bool WFsync_SyncUserDefModules(WFsync_Connection conn, WFmodule_FileList folders, WFmodule_FileList installed,
                               StrOut reason);
// Brings workflow `name` onto the slave: its components, its files as a tar
// file, then the install order. False with the reason.
bool WFsync_SyncWorkflow(WFsync_Connection conn, StrIn name, WFmodule_FileList installed, StrOut reason);

// --- Slave ------------------------------------------------------------------------------------

// Connects to the master at `host`:`port` and serves its requests until it
// closes the connection. False when the connection could not be made.
bool WFsync_Slave(StrIn host, std::uint16_t port);
// Answers one request line on `s`; false when the answer could not be sent.
bool WFsync_HandleRequest(Socket s, StrIn line);
// Installs workflow `name` from `tarFile` (removed afterwards unless DEBUG is
// set): see the top of this file. A workflow that ran, or a new one, runs
// afterwards; one that ran is started again when the install fails. False
// with the reason.
bool WFsync_InstallWorkflow(StrIn name, StrIn startDir, StrIn group, StrIn tarFile, bool express,
                            StrOut reason);
// Makes the start directory `startDir` (empty: the standard one) of `name`
// and the link to it; refused when another workflow starts there.
bool WFsync_InstallStartDir(StrIn name, StrIn startDir, StrOut reason);
// Puts the component of `text` into the site's components, replacing the one
// of the same folder. False with the reason.
bool WFsync_InstallModule(StrIn text, StrOut reason);
// Answers every question of a rebuild with no.
bool WFsync_NoRepair(StrIn question);
// Whether `workflow` has a folder at `path`.
bool WFsync_HasFolder(WFbase workflow, StrIn path);
