// WFbase: the workflow. A named directed graph of folders that begins in one
// start folder, and the layout of that graph on disk:
//
//   <projects>/workflow                      root of all workflows (WFbase_wfDir)
//   <projects>/workflow/NAME                 start folder (a directory, or a link
//                                            to the directory in "STARTDIR")
//   <projects>/workflow/NAME/outdir          default end directory
//   <projects>/workflow/NAME/error           error directory of every folder
//   <root of a kind>/flow_NAME_N             the hot folder of a step
//
// No file holds the graph: the rc files of the folders name their outs, and a
// workflow is read back by following them from the start folder
// (WFbase_RebuildWorkflow). The workflow owns all of its folders; a folder
// owns its rc object. Every accessor accepts WFbase_NilWorkflow() and answers
// 0, empty or false.
//
// Messages are of section "WFbase" and go through WFbase_Message, which batch
// work silences with WFbase_SetFeedback(false).
#pragma once

#include <cstdint>
#include <vector>

#include "base/SDateAri.h"
#include "base/Strings.h"
#include "base/SwitchBd.h"
#include "rc/SAutoRcF.h"
#include "watch/TVWcfg.h"
#include "workflow/WFconfig.h"
#include "workflow/WFfolder.h"

struct WFbase_Rec;
using WFbase = WFbase_Rec*;

inline constexpr std::size_t kWFbaseSlavesCap = 256;
// Folder counters are indexed by folder kind 0..53.
inline constexpr std::size_t kWFbaseCounters = kWFfolderMaxKind + 1;

// Names below a workflow's start directory.
inline constexpr char WFbase_defaultEndDir[] = "outdir";
inline constexpr char WFbase_errorDirName[] = "error";
// The group of the workflows that belong to no group.
inline constexpr char WFbase_withoutGroup[] = "_<withoutGroup>_";

// Options of the start folder's rc.
inline constexpr char WFbase_optStartDir[] = "STARTDIR";
inline constexpr char WFbase_optMode[] = "MODE";
inline constexpr char WFbase_optFileMode[] = "FILEMODE";
inline constexpr char WFbase_optAutoMode[] = "AUTOMODE";
inline constexpr char WFbase_optDoSync[] = "DOSYNC";
inline constexpr char WFbase_optSyncSlaves[] = "SYNCSLAVES";
inline constexpr char WFbase_optLocked[] = "WFLOCKED";
inline constexpr char WFbase_optOverwriteInEnd[] = "OVERWRITEINEND";

// Transfer mode of the start folder that stands for job tickets.
inline constexpr std::uint8_t kWFbaseJobticketTransfer = 3;

// Wall messages on WFbase_switchboard: the address of one of these texts.
inline constexpr char WFbase_msgWorkflowChanged[] = "workflow changed";
inline constexpr char WFbase_msgModeChanged[] = "mode changed";
inline constexpr char WFbase_msgFolderContentChanged[] = "folder content changed";
inline constexpr char WFbase_msgWorkflowStoppedStarted[] = "workflow stopped/started";
inline constexpr char WFbase_msgWorkflowDeleted[] = "workflow deleted";
inline constexpr char WFbase_msgUserdefChanged[] = "userdef components changed";
inline constexpr char WFbase_msgFolderStoppedStarted[] = "folder stopped/started";
inline constexpr char WFbase_msgErrorsChanged[] = "errors changed";

// The options copied as one block by WFbase_GetOptions / WFbase_SetOptions.
struct WFbase_Options {
  std::uint32_t errorMode = 0;     // error mode of all folders
  std::uint8_t transferMode = 0;   // 0, 1, 2 from "MODE"; 3 job ticket
  TVWcfg_Activity activity{};      // activity of the start folder
  bool doSync = false;             // synchronise to slaves
  char syncSlaves[kWFbaseSlavesCap] = "";
};

// A folder list: every folder once, numbered from 1. The list owns its
// records, not the folders.
struct WFbase_FolderListEntry {
  WFbase_FolderListEntry* next;
  WFfolder folder;
  std::uint32_t number;
};
using WFbase_FolderList = WFbase_FolderListEntry*;

// A workflow list: names with two marks free for the caller (cleared here).
struct WFbase_WfListEntry {
  WFbase_WfListEntry* next;
  bool mark1;
  bool mark2;
  char name[kNameCap];
};
using WFbase_WfList = WFbase_WfListEntry*;

// The full path of the root of all workflows; brought up to date by every
// routine that uses it (the root of folder kind 1).
extern char WFbase_wfDir[kPathCap];
// True in batch work: WFbase_Message shows no box (see there).
extern bool WFbase_silent;
// The main switchboard: views listen, changes are told as wall messages.
extern SwitchBd WFbase_switchboard;

// Starts WFfolder, WFconfig, TVWcfg and makes the switchboard; once.
void WFbase_Init();

// --- Hooks into the layers above, registered at start-up -------------------------------
// Each may be nil; the comment says what happens then.

// The group of a workflow; false for none. Nil: no workflow has a group.
using WFbase_GroupProc = bool (*)(StrIn workflow, StrOut group);
// The start folder's front end: after a new folder path, transfer mode or
// file mode it rebuilds the rc's command. Nil: only the options are written
// ("MODE", "_JOBTICKETMODE_", "_ERRORMODE_"; "FILEMODE").
using WFbase_StartPathProc = void (*)(SAutoRcF rc, StrIn folder);
using WFbase_StartModeProc = void (*)(SAutoRcF rc, StrIn folder, std::uint32_t mode);
// Shows a message in an error box. Nil: standard error.
using WFbase_ShowProc = void (*)(StrIn text);

struct WFbase_Hooks {
  WFbase_GroupProc group = nullptr;
  WFbase_StartPathProc setStartFolderPath = nullptr;
  WFbase_StartModeProc setTransferMode = nullptr;
  WFbase_StartModeProc setFileMode = nullptr;
  WFbase_ShowProc show = nullptr;
};
// Replaces all hooks at once.
void WFbase_RegisterHooks(const WFbase_Hooks& hooks);
// Only the group hook (the groups module registers itself).
void WFbase_RegisterGroupProc(WFbase_GroupProc proc);
// Only the hook that shows messages (the window shows them in boxes).
void WFbase_RegisterShowProc(WFbase_ShowProc proc);
// Only the start folder's three hooks (its front end registers them).
void WFbase_RegisterStartFolderHooks(WFbase_StartPathProc path, WFbase_StartModeProc transferMode,
                                     WFbase_StartModeProc fileMode);

// The start folder's demon entry, kept by the start folder's front end: the
// workflow's name, the files the start takes and leaves, whether it watches
// its sub-directories, passes over empty files and looks at the change time,
// its sequence mode, activity and watch interval in seconds. False when the
// configuration could not be changed (the procedure reports it). Nil (the
// start): the start folder gets an entry of its own like any other folder of
// a kind without a tree entry (AutoMisc_UpdateDemonConfigEntry).
using WFbase_StartEntryProc = bool (*)(StrIn workflow, StrIn files, StrIn omitFiles, bool subdirs,
                                       bool omitEmpty, bool considerCTime,
                                       std::uint8_t sequenceMode, const TVWcfg_Activity& activity,
                                       std::int32_t watchInterval);
void WFbase_RegisterStartEntryProc(WFbase_StartEntryProc proc);

// The remote watch configuration lives in the distribution layer, which
// registers its side at start-up. `get` loads the configuration on the first
// call and reloads it after (nil, with the reason in `error`, when it can't
// be read). `update` makes the hot folders of the workflow's target those of
// the remote starts, each feeding `localDir` with the files `files`, or with
// `remove` deletes them all, and saves a changed configuration; false with
// the reason in `error`, the cached configuration then forgotten. Nil (the
// start): installing leaves the remote watch alone.
struct RWconfig_Rec;
struct WFbase_RemoteWatch {
  RWconfig_Rec* (*get)(StrOut error) = nullptr;
  bool (*update)(StrIn workflow, StrIn localDir, StrIn files,
                 const std::vector<SAutoRcF_RemoteStart>& starts, bool remove,
                 StrOut error) = nullptr;
};
void WFbase_RegisterRemoteWatch(const WFbase_RemoteWatch& hooks);

// --- Create and destroy -------------------------------------------------------------------

WFbase WFbase_NilWorkflow();
// An empty record named `name`: no folders, counters 0, unknown last
// modification, not modified. The caller owns it.
WFbase WFbase_NewWorkflow(StrIn name);
// A new workflow: start folder with default parameters, out 1 to an invisible
// end, "STARTDIR" set; modified. With `install` the start directory is made;
// a failure shows message 2 and the workflow is returned all the same.
WFbase WFbase_CreateWorkflow(StrIn name, bool install);
// A deep copy under the same name, or under `newName` (empty keeps the old
// one), with the folder paths moved to it. Nil for nil. The caller owns it.
WFbase WFbase_CopyWorkflow(WFbase workflow);
WFbase WFbase_CopyWorkflowExt(WFbase workflow, StrIn newName);
// Frees the workflow and all its folders (memory only) and sets it to nil.
void WFbase_DestroyWorkflow(WFbase& workflow);
// Removes the hot folders from disk, then frees as Destroy. False when a
// folder could not be removed (message 1; the rest stay on disk).
bool WFbase_UninstallWorkflow(WFbase& workflow);

// --- The graph -------------------------------------------------------------------------------

// A folder owned by the workflow, taking `rc` (may be nil). A new one is done
// and modified; one read from disk (`fromDisk`) is neither. The counter of
// `kind` moves behind the number in the path. Not linked to anything.
WFfolder WFbase_CreateFolder(WFbase workflow, WFfolder_FolderKind kind, SAutoRcF rc, StrIn path,
                             bool fromDisk);
// A new folder of kind 2 at the default out directory, without rc.
WFfolder WFbase_CreateInvisibleEnd(WFbase workflow);
// Moves an owned folder to the list removed from disk by the next install.
void WFbase_AddFolderToRemove(WFbase workflow, WFfolder folder);
// Takes the oldest folder off that list; the caller owns it then. Nil when
// the list is empty.
WFfolder WFbase_TakeFolderToRemove(WFbase workflow);
// The start folder; nil for an empty workflow.
WFfolder WFbase_StartFolder(WFbase workflow);
// Makes `folder` (owned by the workflow) the start folder.
void WFbase_SetStartFolder(WFbase workflow, WFfolder folder);
// The owned folder at exactly `path`, or nil.
WFfolder WFbase_FindFolder(WFbase workflow, StrIn path);
// Depth first from the start along outs 1, 2, ...; each folder once, numbered
// in the order of first meeting. The caller destroys the list.
WFbase_FolderList WFbase_GetAllFolders(WFbase workflow);
void WFbase_DestroyFolderList(WFbase_FolderList& list);
// The folders that have `folder` among their outs, numbered as in
// WFbase_GetAllFolders.
WFbase_FolderList WFbase_GetAnchestors(WFbase workflow, WFfolder folder);
// Calls `procedure` for each folder of WFbase_GetAllFolders in order; stops at
// the first false and returns it.
using WFbase_FolderProc = bool (*)(WFbase workflow, WFfolder folder, std::uintptr_t data);
bool WFbase_ApplyToAllFolders(WFbase workflow, WFbase_FolderProc procedure, std::uintptr_t data);
// The done mark of graph walks: on every owned folder; cleared along the outs.
void WFbase_SetDone(WFbase workflow, bool value);
void WFbase_UnsetDone(WFfolder folder);

// --- Paths ---------------------------------------------------------------------------------

// "<workflow root>/NAME".
void WFbase_GetStartPath(StrIn name, StrOut path);
// "<start path>/outdir" and "<start path>/error".
void WFbase_GetDefaultOutdir(WFbase workflow, StrOut path);
void WFbase_GetErrordir(WFbase workflow, StrOut path);
// The path of a new folder of `kind` (a component: `entry`, else nil):
// kinds 2 and 43 the default out directory; otherwise the root with the
// workflow name (kind 1), nothing (46) or "flow_NAME_N". The first takes N
// from the kind's counter.
void WFbase_BuildFolderPath(WFbase workflow, WFfolder_FolderKind kind, const WFconfig_Entry* entry,
                            StrOut path);
void WFbase_BuildFolderPathExt(WFbase workflow, WFfolder_FolderKind kind,
                               const WFconfig_Entry* entry, std::uint32_t number, StrOut path);
// `oldPath` of a folder of `kind` moved from workflow `oldName` to `newName`.
void WFbase_RebuildFolderPath(StrIn oldPath, StrIn oldName, StrIn newName,
                              WFfolder_FolderKind kind, StrOut newPath);
// The N of "flow_NAME_N" in the last element of `path`; 0 when there is none.
void WFbase_SplitFolderPath(StrIn name, StrIn path, std::uint32_t& number);

// --- State ---------------------------------------------------------------------------------

void WFbase_GetName(WFbase workflow, StrOut name);
// Whether the workflow must be installed.
bool WFbase_Modified(WFbase workflow);
void WFbase_SetModified(WFbase workflow, bool modified);
// Whether another process changed the start rc since the load; false while
// the time is unknown.
bool WFbase_WorkflowModified(WFbase workflow);
void WFbase_GetOptions(WFbase workflow, WFbase_Options& options);
// Copies the block in and marks the workflow modified.
void WFbase_SetOptions(WFbase workflow, const WFbase_Options& options);
// Transfer and error mode from the start folder, activity from the demon's
// entry of the start path, the sync options.
void WFbase_LoadOptions(WFbase workflow);
std::uint8_t WFbase_GetStartTransferMode(WFbase workflow);
// Stores the mode (any but 2 clears the error mode), passes it to the start
// folder and marks the workflow modified.
void WFbase_SetStartTransferMode(WFbase workflow, std::uint8_t mode);
// Spreads final-page and job ticket mode from the start down the graph and
// sets the overwrite modes of the outs; changes mark the workflow.
void WFbase_SetFolderMode(WFbase workflow);
// The start option "OVERWRITEINEND" + endPath (false when absent), and its key.
bool WFbase_OverwriteInEnd(WFbase workflow, StrIn endPath);
void WFbase_BuildOverwriteOptName(StrIn endPath, StrOut key);
// "_REPORTID_" and "_REPORTADDON_" on every folder with an rc.
void WFbase_SetReportID(WFbase workflow, StrIn id, std::int32_t addon);
// The time of the start rc file at load; all zero when unknown.
SDateAri_Stamp WFbase_GetWorkflowLastModified(WFbase workflow);
// Takes the start rc file's time now (unknown when it cannot be read).
void WFbase_SetWorkflowLastModified(WFbase workflow);
void WFbase_SetUnknownLastModified(WFbase workflow);
bool WFbase_IsUnknownLastModified(WFbase workflow);

// --- Listing ------------------------------------------------------------------------------

// The workflows of `group` ("" all, WFbase_withoutGroup those with none) in
// ascending byte order. Read errors give a shorter list. The caller destroys
// every list.
WFbase_WfList WFbase_GetAllWorkflows(StrIn group);
// Every entry of the root that is a directory or a link, dangling or not.
WFbase_WfList WFbase_GetAllWorkflowstarts();
// The workflow of each folder under the root of `kind`, once per folder.
WFbase_WfList WFbase_GetAllWorkflowsContaining(WFfolder_FolderKind kind);
void WFbase_DestroyWfList(WFbase_WfList& list);
// Whether `path` is the start directory of a workflow other than `name`
// (named in `otherName`); `below` when it lies below a start that watches
// its sub-directories.
bool WFbase_IsWorkflowStart(StrIn path, StrIn name, StrOut otherName, bool& below);
// Sets "STARTDIR" unless another workflow uses the directory (message 10 or
// 11 with `message`) or there is no start folder (message 9). False then.
bool WFbase_SetStartDir(WFbase workflow, StrIn path, bool message);

// --- Installing (WFbaseInstall.cpp) ----------------------------------------------------------
// An install writes what is marked modified, walking the graph from the start
// once: directories are made, rc files written beside their files and read
// back, and every new or changed folder gets the demon's stop mark. Only
// when all of that went well do the rc files take effect, each folder after
// its outs and the start folder last, so that a rebuild after any failure
// finds no out that names a missing folder; then the demon entries, the
// remote watch and the removal of the folders taken out follow. Nothing is
// rolled back: a directory made by a failed install is simply there, and the
// next install uses it.

// Installs the workflow and clears its modified mark (also on failure: what
// failed was reported, and a retry needs a new change). True on success and
// when nothing was to do; false when a folder could not be written, a folder
// could not be removed, or the demon or remote watch configuration could not
// be kept in step (those failures are reported, and the install goes on).
bool WFbase_InstallWorkflow(WFbase workflow);
// The steps for one folder, by its kind: the start folder (its directory or
// link, then its rc), a passive end (its directory), every other folder (its
// directory below its root, its foreign file, its rc). False on failure.
bool WFbase_InstallStartFolder(WFbase workflow, WFfolder folder);
bool WFbase_InstallPassiveEndFolder(WFbase workflow, WFfolder folder);
bool WFbase_InstallStandardFolder(WFbase workflow, WFfolder folder);
// Makes the start directory: a link to "STARTDIR" when that is elsewhere,
// otherwise the directory below the workflow root; "outdir", "error" and the
// rc (with the install time). False when one of them could not be made.
bool WFbase_InstallStartDir(WFbase workflow, WFfolder folder);
// Makes "outdir" and "error" in the start directory (mode 777); existing ones
// are fine. False when one could not be made.
bool WFbase_InstallDefaultSubdirs(WFbase workflow);
// Sets the install time (if asked) and "_ERRORDIR_", and writes the rc; in an
// install it takes effect only with the others. True for a kind without rc.
bool WFbase_SaveRcFile(WFbase workflow, WFfolder folder, bool setInstallTime);
// Places the demon's stop mark in a folder that can be started.
void WFbase_StopFolder(WFfolder folder);
// Brings the demon entry of the folder in step: the start folder's through
// its front end, a folder of a kind with entries of their own through
// AutoMisc, the others through their tree's subentry. Nothing for nil and
// passive ends. False when the configuration could not be changed.
bool WFbase_UpdateFolderDemonConfig(WFbase workflow, WFfolder folder);
// The same for every folder, each tree-watched one with its tree's entry.
bool WFbase_UpdateDemonConfig(WFbase workflow);
// The remote watch configuration (see WFbase_RemoteWatch); nil without one.
// A failure to read it is shown.
RWconfig_Rec* WFbase_GetRemoteWatchConfig();
// The workflow's hot folders in the remote watch configuration follow the
// start folder's remote starts, or with `remove` go. False, with message 12,
// when the configuration could not be saved.
bool WFbase_UpdateRemoteWatchConfig(WFbase workflow, bool remove);
// Removes one hot folder from disk (a start: its outdir and error too; a link:
// the link and the rc, not the target) and its demon entry. False with
// message 1 on failure; a missing directory is no failure.
bool WFbase_RemoveHotfolder(WFbase workflow, WFfolder folder);

// --- Locks and hosts -----------------------------------------------------------------------

// Sets "WFLOCKED"; marks the start folder and the workflow modified.
void WFbase_LockWorkflow(WFbase workflow, bool lock);
bool WFbase_WorkflowLocked(WFbase workflow);
// From the start rc on disk; unreadable counts as not locked.
bool WFbase_WorkflowLockedByName(StrIn name);
// The host that installed the directory: this host without multi-host
// folders; else the one installer mark found (empty for none or several).
void WFbase_GetInstallerHost(StrIn path, StrOut host);
void WFbase_GetWFInstallerHost(WFbase workflow, StrOut host);
// True without multi-host folders, else when this host's mark is there.
bool WFbase_LocalFolder(StrIn path);
bool WFbase_LocalWorkflow(WFbase workflow);
// "DOSYNC" and "SYNCSLAVES" of an rc; an empty slave list means no sync.
void WFbase_GetSyncOptsRC(SAutoRcF rc, bool& doSync, StrOut slaves);
// Writes them; true when anything changed.
bool WFbase_SetSyncOptsRC(SAutoRcF rc, bool doSync, StrIn slaves);
// Changes the start rc of workflow `name` on disk, if it differs. False when
// it could not be read or written.
bool WFbase_SetSyncOpts(StrIn name, bool doSync, StrIn slaves);
// The sync options of the options block from the start rc on disk.
void WFbase_UpdateSyncOpts(WFbase workflow);

// --- Rebuilding from disk (WFbaseRebuild.cpp) ---------------------------------------------------

// Asked when a directory of the graph is missing: true repairs the branch.
using WFbase_AnswerProc = bool (*)(StrIn question);
// The workflow `name` read from disk, not modified (unless repaired); or nil
// with the reasons in `reason` (emptied first). The caller owns it.
WFbase WFbase_RebuildWorkflow(StrIn name, WFbase_AnswerProc answer, StrOut reason);
// Only the start folder (out 1 to an invisible end) and the options; nil when
// the start rc cannot be read.
WFbase WFbase_RebuildWorkflowStart(StrIn name);
// Always false: batch work repairs nothing.
bool WFbase_NoAnswer(StrIn question);

// --- Support ---------------------------------------------------------------------------------

// Feedback on (interactive) or off (batch): off sets WFbase_silent.
void WFbase_SetFeedback(bool feedback);
// The text of (section, number) with its "%s" filled by `argument` when that
// is not empty. Silent: one line on standard error; else in the error box.
void WFbase_Message(StrIn section, unsigned number, StrIn argument);
// Shows a finished message text the same way.
void WFbase_ShowText(StrIn text);
// Sends a wall message (one of the texts above) on WFbase_switchboard.
void WFbase_Announce(const char* text);
// File operations with errors ignored; a missing file removes fine.
bool WFbase_RemoveFile(StrIn path);
bool WFbase_MoveFile(StrIn from, StrIn to);
bool WFbase_CopyFile(StrIn from, StrIn to);
// Options of the start folder with a default.
bool WFbase_GetBoolOpt(WFbase workflow, StrIn key, bool fallback);
std::uint32_t WFbase_GetCardOpt(WFbase workflow, StrIn key, std::uint32_t fallback);

// --- Editing a folder's parameters -----------------------------------------------------------

// The three parameter dialogs that no kind's front end slot reaches: an end
// folder's (folder kind 43), a component's, and that of module kind 7, which
// also sees the start folder's rc. Each runs modally; `modified` true when
// values were changed and accepted. Nil (until the dialog exists): such a
// folder has no parameters.
using WFbase_EditFolderProc = void (*)(StrIn workflow, StrIn folder, SAutoRcF rc, SwitchBd switchboard,
                                       bool& modified);
using WFbase_EditWithStartProc = void (*)(StrIn workflow, StrIn folder, SAutoRcF rc, SAutoRcF startRc,
                                          SwitchBd switchboard, bool& modified);
struct WFbase_EditHooks {
  WFbase_EditFolderProc endFolder = nullptr;
  WFbase_EditFolderProc component = nullptr;
  WFbase_EditWithStartProc withStart = nullptr;
};
// Replaces the three at once.
void WFbase_RegisterEditHooks(const WFbase_EditHooks& hooks);
// Runs the folder's parameter dialog with the used-outs options set on its
// rc meanwhile, so that the dialog knows how many outs are connected. True
// when values were changed and accepted: then the workflow and the folder
// are marked modified (the workflow's install writes the file). False for a
// folder without parameters or rc.
bool WFbase_EditParams(WFbase workflow, WFfolder folder);
