// WFfolder: a node of a workflow. One hot folder directory, its rc object and
// the links to the folders that receive its results (outs 1 to 8).
//
// A folder's kind (1..53) is what the graph and the checks work with. It adds
// to the 50 module kinds three kinds without a module: 2, the hidden end
// directory "outdir" of a workflow; 42 and 49, user-defined components with
// and without outs. Both directions of the kind mapping are fixed tables.
//
// A folder owns its rc object (a new one replaces and destroys the old). It
// does not own its outs: a workflow owns all of its folders. Every accessor
// accepts WFfolder_Nil() and answers 0, empty or false.
//
// Outs are kept dense from index 1: the iterator stops at the first gap.
// Setting an out writes its path into the rc as the module reads it back
// (WFfolder_GetOutdir), so that a workflow rebuilt from disk gets the same
// links.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "rc/SAutoRcF.h"
#include "watch/TVWcfg.h"
#include "workflow/WFconfig.h"
#include "workflow/WFmodule.h"

struct WFfolder_Rec;
using WFfolder = WFfolder_Rec*;
struct WFfolder_OutIteratorRec;
using WFfolder_OutIterator = WFfolder_OutIteratorRec*;

using WFfolder_FolderKind = std::uint8_t;

inline constexpr WFfolder_FolderKind kWFfolderMaxKind = 53;
inline constexpr WFfolder_FolderKind kWFfolderStart = 1;
inline constexpr WFfolder_FolderKind kWFfolderInvisibleEnd = 2;
inline constexpr WFfolder_FolderKind kWFfolderCheck = 37;
inline constexpr WFfolder_FolderKind kWFfolderUserDef = 42;       // component with outs
inline constexpr WFfolder_FolderKind kWFfolderEnd = 43;
inline constexpr WFfolder_FolderKind kWFfolderUserDefEnd = 49;    // component without outs
inline constexpr std::uint32_t kWFfolderMaxOuts = kWFmoduleMaxOuts;
// The mode of a kind that has none.
inline constexpr std::uint32_t kWFfolderNoMode = 9998;

// Starts WFmodule and WFconfig; once.
void WFfolder_Init();

// --- Hooks into layers above, set at start-up ------------------------------------

// The node type ("execute on") of a job class, as the job queue keeps it.
using WFfolder_ExecuteOnProc = std::uint8_t (*)(StrIn jobClass);
// Writes the defaults of a user-defined component's parameters into rc.
using WFfolder_UserDefDefaultsProc = void (*)(SAutoRcF rc, const WFconfig_Entry& component);
// Nil (the start) makes every folder local (1) and gives components no
// default parameters.
void WFfolder_RegisterExecuteOnProc(WFfolder_ExecuteOnProc proc);
void WFfolder_RegisterUserDefDefaultsProc(WFfolder_UserDefDefaultsProc proc);

// --- Create and destroy ---------------------------------------------------------------

// A new folder of `kind` at `path`, taking ownership of `rc` (may be nil). No
// outs, not done, not modified. The caller (the workflow) owns it.
WFfolder WFfolder_Create(WFfolder_FolderKind kind, StrIn path, SAutoRcF rc);
// Frees the folder and its rc and sets the handle to nil; its outs stay.
// Nil is accepted.
void WFfolder_Destroy(WFfolder& folder);
WFfolder WFfolder_Nil();

// --- The record ---------------------------------------------------------------------

WFfolder_FolderKind WFfolder_Kind(WFfolder folder);
// The module kind behind the folder kind; 0 for kinds 2, 42, 49.
WFmodule_Kind WFfolder_ModuleKind(WFfolder folder);
// The folder's rc object, still owned by the folder; nil when it has none.
SAutoRcF WFfolder_RcFile(WFfolder folder);
// Replaces the rc object by `rc` (the folder owns it now) and destroys the
// old one, unless it is the same.
void WFfolder_SetRcFile(WFfolder folder, SAutoRcF rc);
void WFfolder_GetPath(WFfolder folder, StrOut path);
void WFfolder_SetPath(WFfolder folder, StrIn path);
// Out `index` (1..8); nil when not set or out of range. Not owned.
WFfolder WFfolder_OutFolder(WFfolder folder, std::uint32_t index);
// The mark of graph walks.
bool WFfolder_Done(WFfolder folder);
void WFfolder_SetDone(WFfolder folder, bool done);
// Whether the next install must write the folder.
bool WFfolder_Modified(WFfolder folder);
void WFfolder_SetModified(WFfolder folder, bool modified);

// --- Kinds ------------------------------------------------------------------------------

// The fixed mapping; 0 for 0, out-of-range kinds and the kinds without module.
WFfolder_FolderKind WFfolder_ModuleToFolderKind(WFmodule_Kind moduleKind);
WFmodule_Kind WFfolder_FolderToModuleKind(WFfolder_FolderKind folderKind);
// The kind of a directory: by the module roots, then by the components
// (42 with outs, 49 without); 0 when neither knows it.
WFfolder_FolderKind WFfolder_KindByPath(StrIn path);
// The kind of a module name or, failing that, of a component's short
// description; then `component` gets the component. 0 when none.
WFfolder_FolderKind WFfolder_KindByName(StrIn name, WFconfig_Entry& component);

// Classes of kinds, each on a kind and on a folder.
// End: a module kind without outs, and kinds 2 and 49.
bool WFfolder_EndKind(WFfolder_FolderKind kind);
bool WFfolder_End(WFfolder folder);
// An end that runs a command: 44, 45, 47, 48.
bool WFfolder_ActiveEndKind(WFfolder_FolderKind kind);
bool WFfolder_ActiveEnd(WFfolder folder);
// The plain ends: 2, 43, 46.
bool WFfolder_StandardEndKind(WFfolder_FolderKind kind);
bool WFfolder_StandardEnd(WFfolder folder);
// An end that runs no command at all: a directory, no demon entry.
bool WFfolder_PassiveEndKind(WFfolder_FolderKind kind);
bool WFfolder_PassiveEnd(WFfolder folder);
// The hidden end directory of a workflow (kind 2).
bool WFfolder_InvisibleEndKind(WFfolder_FolderKind kind);
bool WFfolder_InvisibleEnd(WFfolder folder);
// Kinds 42 and 49.
bool WFfolder_UserDefKind(WFfolder_FolderKind kind);
bool WFfolder_UserDef(WFfolder folder);
// Each file makes two jobs (the module's property).
bool WFfolder_TwoJobsKind(WFfolder_FolderKind kind);
bool WFfolder_TwoJobs(WFfolder folder);
// May be put into a workflow: the module's property, and the components.
bool WFfolder_InsertableKind(WFfolder_FolderKind kind);
bool WFfolder_Insertable(WFfolder folder);
// May be stopped and started: neither Check nor a standard end.
bool WFfolder_StartableKind(WFfolder_FolderKind kind);
bool WFfolder_Startable(WFfolder folder);

// --- Names: from the module table, or from the folder's component -----------------------

// The root of a module kind below the projects directory; empty otherwise.
void WFfolder_GetRootDir(WFfolder_FolderKind kind, StrOut path);
// The same for a folder; a component's root is its folder.
void WFfolder_GetRootDir2(WFfolder folder, StrOut path);
// The module's name; empty for kinds without module.
void WFfolder_GetNameByKind(WFfolder_FolderKind kind, StrOut name);
// The module's name or the component's short description.
void WFfolder_GetName(WFfolder folder, StrOut name);
// Components have "AutoUDef.pxm" and the title "UserDef"; modules their icon
// and their name.
void WFfolder_GetIconByKind(WFfolder_FolderKind kind, StrOut icon);
void WFfolder_GetIcon(WFfolder folder, StrOut icon);
void WFfolder_GetIconTitleByKind(WFfolder_FolderKind kind, StrOut title);
void WFfolder_GetIconTitle(WFfolder folder, StrOut title);
// The rc file's name (a component's "OPTIONS"), and joined to the path.
void WFfolder_GetRcFileName(WFfolder folder, StrOut name);
void WFfolder_GetRcFullName(WFfolder folder, StrOut path);
void WFfolder_GetCmdName(WFfolder folder, StrOut cmd);
void WFfolder_GetReadableCmd(WFfolder folder, StrOut cmd);
// A component without entry counts as a high CPU user.
bool WFfolder_HighCPUUsage(WFfolder folder);
// The foreign front end's files of the folder's module (false for others).
bool WFfolder_GetForeignTmpRcEntry(WFfolder folder, StrOut entry);
bool WFfolder_GetForeignRcFilename(WFfolder folder, bool temporary, StrOut path);

// --- Parameters -----------------------------------------------------------------------------

// The folder's mode from its kind's option; kWFfolderNoMode for kinds without.
std::uint32_t WFfolder_GetMode(WFfolder folder);
// Writes the mode for the kinds whose mode is set here (3, 4, 10, 11, 21, 23,
// 24, 27, 30, 32, 39, 52); others are left to their front ends.
void WFfolder_SetMode(WFfolder folder, std::uint32_t mode);

// Typed options; false (value zero or empty) when absent or malformed.
bool WFfolder_GetBoolOpt(WFfolder folder, StrIn key, bool& value);
bool WFfolder_GetCardOpt(WFfolder folder, StrIn key, std::uint32_t& value);
bool WFfolder_GetIntOpt(WFfolder folder, StrIn key, std::int32_t& value);
bool WFfolder_GetStringOpt(WFfolder folder, StrIn key, StrOut value);
// The same with a default for an absent or malformed option.
bool WFfolder_GetBoolOptDef(WFfolder folder, StrIn key, bool fallback);
std::uint32_t WFfolder_GetCardOptDef(WFfolder folder, StrIn key, std::uint32_t fallback);
std::int32_t WFfolder_GetIntOptDef(WFfolder folder, StrIn key, std::int32_t fallback);
void WFfolder_GetStringOptDef(WFfolder folder, StrIn key, StrIn fallback, StrOut value);
// Setters mark the folder modified; nothing for a folder without rc.
void WFfolder_SetBoolOpt(WFfolder folder, StrIn key, bool value);
void WFfolder_SetCardOpt(WFfolder folder, StrIn key, std::uint32_t value);
void WFfolder_SetIntOpt(WFfolder folder, StrIn key, std::int32_t value);
void WFfolder_SetStringOpt(WFfolder folder, StrIn key, StrIn value);
// Removes the option; marks the folder modified when there was one.
void WFfolder_UnsetOpt(WFfolder folder, StrIn key);

// A new folder's default parameters, by its module's front end or, for a
// component with parameters, by the registered procedure. Makes an rc when
// the folder has none, and marks the folder modified.
void WFfolder_SetDefaultParams(WFfolder folder);
// The rc of the folder directory `path` of `kind`. Nil with an empty message
// for a kind without rc file; nil with the text of message 1 (not found), 2
// (syntax) or 3 (other) of section "WFfolder", naming the file, when the load
// fails. The caller owns the object.
SAutoRcF WFfolder_LoadRcFile(StrIn path, WFfolder_FolderKind kind, StrOut message);
// Writes the rc to WFfolder_GetRcFullName through a temporary file renamed
// over it, so a failure keeps the old file. False on failure or without rc.
bool WFfolder_SaveOptions(WFfolder folder);
// The two halves of a save, for an install that must write all its files
// before any of them takes effect. Stage writes the rc beside its file and
// reads it back: false, with nothing left behind, when it can't be written or
// doesn't read back whole (a full disk). Commit renames the staged file over
// the rc file (false, staged file removed, when that fails or nothing is
// staged); Discard removes it.
bool WFfolder_StageOptions(WFfolder folder);
bool WFfolder_CommitOptions(WFfolder folder);
void WFfolder_DiscardOptions(WFfolder folder);

// Reserved keys. The setters mark the folder modified only on a change.
void WFfolder_SetErrorDir(WFfolder folder, StrIn path);
void WFfolder_SetErrorMode(WFfolder folder, std::uint32_t mode);
void WFfolder_SetFinalpageMode(WFfolder folder, bool on);
void WFfolder_SetJobticketMode(WFfolder folder, bool on);
void WFfolder_SetOverwriteMode(WFfolder folder, std::uint32_t index, bool on);
void WFfolder_SetSequenceMode(WFfolder folder, std::uint32_t mode, const SAutoRcF_Sequence& sequence);
// Always marks the folder modified.
void WFfolder_SetInstallTime(WFfolder folder, StrIn time);
std::uint32_t WFfolder_ErrorMode(WFfolder folder);
bool WFfolder_FinalpageMode(WFfolder folder);
bool WFfolder_JobticketMode(WFfolder folder);
bool WFfolder_OverwriteMode(WFfolder folder, std::uint32_t index);
std::uint32_t WFfolder_SequenceMode(WFfolder folder, SAutoRcF_Sequence& sequence);
// Kind 44 works in sub-folders; a start folder when its "SUBDIRS" is set.
bool WFfolder_SubdirMode(WFfolder folder);

// --- Outs --------------------------------------------------------------------------------------

// Out directory `index` of a folder of `kind` as stored in `rc`: the module's
// rule, the plain out keys for a component. False and empty when absent.
bool WFfolder_GetOutdir(SAutoRcF rc, WFfolder_FolderKind kind, std::uint32_t index, StrOut path);
// The path of out folder `index`; false and empty when not set.
bool WFfolder_GetOutPath(WFfolder folder, std::uint32_t index, StrOut path);
// Links `out` (nil unlinks) at `index` (1..8), relabels it, writes its path
// into the rc and marks the folder modified.
void WFfolder_SetOutFolder(WFfolder folder, std::uint32_t index, WFfolder out);
// Links and relabels only: the rc already says so.
void WFfolder_SetOutFolderForRebuild(WFfolder folder, std::uint32_t index, WFfolder out);
// The label of out `index`, shown in the graph; empty for a nil out.
void WFfolder_GetOutDescription(WFfolder folder, std::uint32_t index, StrOut label);
// Recomputes the label of out `index`, or of all outs, from kind and mode.
void WFfolder_SetOutDescription(WFfolder folder, std::uint32_t index);
void WFfolder_SetAllOutDescriptions(WFfolder folder);
// The number of outs in use by kind and mode (a component's own count).
std::uint32_t WFfolder_OutdirCount(WFfolder folder);
// The distinct out folders (an invisible end only with `withInvisibleEnd`);
// `mask` gets bit n for the first index n of each.
std::uint32_t WFfolder_CountUsedOuts(WFfolder folder, bool withInvisibleEnd, std::uint32_t& mask);
// "_USED_OUTS_COUNT" and "_USED_OUTS_MASK" of the rc, for the front ends;
// without the invisible end. They do not mark the folder modified.
void WFfolder_SetUsedOutsOpts(WFfolder folder);
void WFfolder_UnsetUsedOutsOpts(WFfolder folder);
// Whether `to` is reached from `from` along outs; a folder reaches itself.
// False when either is nil.
bool WFfolder_ConnectionExists(WFfolder from, WFfolder to);

// Where the rip (module kind 10), the jaws rip (11) and the distiller (14)
// keep their out directories; `ct` tells the colour out from the line-work
// out. Their front ends and WFfolder_SetOutFolder write through these.
void WFfolder_SetRipOutdir(SAutoRcF rc, std::uint32_t index, bool ct, StrIn path);
void WFfolder_SetJawsOutdir(SAutoRcF rc, bool ct, StrIn path);
void WFfolder_SetDistillerOutdir(SAutoRcF rc, StrIn path);

// --- Out iterator ------------------------------------------------------------------------------

// Walks outs 1, 2, ... up to the first nil out. Nil for a nil folder; the
// caller destroys it.
WFfolder_OutIterator WFfolder_CreateOutIterator(WFfolder folder);
void WFfolder_ResetOutIterator(WFfolder_OutIterator iterator);
void WFfolder_DestroyOutIterator(WFfolder_OutIterator& iterator);
// The next out and its index, true; at the end false, index 1 and out nil.
bool WFfolder_IterateOuts(WFfolder_OutIterator iterator, std::uint32_t& index, WFfolder& out);

// --- The demon ----------------------------------------------------------------------------------

// The files the folder takes and those it leaves, with the demon's tokens.
void WFfolder_GetFileRegExpr(WFfolder folder, StrOut files, StrOut omitFiles);
// Whether the folder takes files other than images.
bool WFfolder_WorksOnFiles(WFfolder folder);
// The demon entry of the folder, owned by the caller; nil for an unknown kind.
TVWcfg_Entry* WFfolder_CreateDemonConfigEntry(WFfolder folder);
// The node type its jobs run on; 1 (local) for folders without a module.
std::uint8_t WFfolder_ExecuteOn(WFfolder folder);
bool WFfolder_AcceptsJobticket(WFfolder folder);
// Adds the files the folder's parameters refer to.
void WFfolder_AddReferencedFiles(WFmodule_FileList list, WFfolder folder);
