// WFtvwCfg: the manager's view of the demon configuration "tvwatchd.cfg".
//
// One cached list of demon entries, kept in step with the file: every reader
// goes through a reload, which loads the file again when its identity (time
// and size) changed or when this process saved it since. It answers which
// entry watches a path and whether the demon passes over a directory. Every
// change the manager makes goes to the file under the file's lock; after a
// successful save, and only after the lock is given back, the demon is told
// (signal 16 through TVWbase_KillDemon).
//
// A watched tree is one entry with `subdirs`. A folder within it that needs
// other file patterns than the tree's (final pages, job tickets, sequences)
// gets a subentry: a copy of the tree's entry without `subdirs` for the
// folder alone, and the folder's name in the tree's `omit` list.
//
// The first successful load of a process upgrades an old file (old root
// entry, check folders, device links, non-image modules) and saves it when
// anything changed.
//
// Messages of section "WFtvwCfg": 1 old root entry found, file converted;
// 2 old file could not be renamed; 3 configuration could not be locked,
// nothing changed; 4 converted file could not be saved. They go through the
// registered message procedure (the workflow layer's), or, until one is
// registered, to standard error.
#pragma once

#include <cstdint>

#include "base/StrVector.h"
#include "base/Strings.h"
#include "watch/TVWcfg.h"
#include "workflow/WFfolder.h"

// The identity of the configuration file: modification time (-1 when no
// file was found) and size.
struct WFtvwCfg_CfgFileID {
  std::int32_t mtime = -1;
  double size = 0.0;
};

// Shows message `number` of section "WFtvwCfg" with `argument` for its %s
// (empty when it has none).
using WFtvwCfg_MessageProc = void (*)(StrIn section, unsigned number, StrIn argument);
// The start folders of all workflows, as paths; the caller owns the vector.
using WFtvwCfg_StartFoldersProc = StrVector (*)();

// Starts WFfolder, TVWcfg and TVWbase; once.
void WFtvwCfg_Init();
// Empties the cache and sets it back to the state of the start (expired,
// first load pending); for tests and for a changed MARLENV.
void WFtvwCfg_Reset();
// Nil restores the default: message text on standard error.
void WFtvwCfg_RegisterMessageProc(WFtvwCfg_MessageProc proc);
// Nil restores the default: every directory below the root of folder kind 1
// whose name does not begin with ".".
void WFtvwCfg_RegisterStartFoldersProc(WFtvwCfg_StartFoldersProc proc);

// --- The cache --------------------------------------------------------------------

// Brings the cached list up to date with the file; does nothing while this
// process holds the lock and works on the list.
void WFtvwCfg_ReloadTVWcfg();
// Another writer of this process saved the file: the next reload reads it,
// even if it was rewritten within the same second at the same size.
void WFtvwCfg_SetExpired();
// The cached list after a reload; owned by the module, valid until the next
// reload or change.
TVWcfg_List WFtvwCfg_GetList();
// Reload, then the entry watching `path` (exact entry, or the tree holding
// it unless it omits the path's last element); nil when none. Owned by the
// module.
TVWcfg_Entry* WFtvwCfg_GetEntry(StrIn path);
// Reload, then the tree entry enclosing `path`, even if the path has an exact
// entry or is omitted; nil when none.
TVWcfg_Entry* WFtvwCfg_GetParentEntry(StrIn path);
// The lookup on `list` without a reload: `parent` false finds the exact or
// the watching tree entry, `parent` true only an enclosing tree entry.
TVWcfg_Entry* WFtvwCfg_MyGetEntry(TVWcfg_List list, StrIn path, bool parent);

// --- File identity -----------------------------------------------------------------

// The identity of the cached file.
void WFtvwCfg_GetCfgFileID(WFtvwCfg_CfgFileID& id);
// mtime -1, size 0.
void WFtvwCfg_InitCfgFileID(WFtvwCfg_CfgFileID& id);
// Stats "tvwatchd.cfg" along the directories of MARLENV, the first found;
// false (and `id` reset) when none has it.
bool WFtvwCfg_StatCfgFileID(WFtvwCfg_CfgFileID& id);
// Same time and sizes within 0.1.
bool WFtvwCfg_EqualCfgFileIDs(const WFtvwCfg_CfgFileID& a, const WFtvwCfg_CfgFileID& b);

// --- Omit lists --------------------------------------------------------------------

// Whether the comma list `list` names `name`: elements with "*" match as
// wildcards, the others exactly. An empty list omits nothing.
bool WFtvwCfg_MyOmitDir(StrIn list, StrIn name);
// True for a nil folder, a folder without entry, or a name in its entry's
// omit list.
bool WFtvwCfg_OmitDir(WFfolder folder, StrIn name);
// True if `name` is in the demon's standard omit list (TVWcfg_toOmit), so it
// can never be a hot folder.
bool WFtvwCfg_NoHotfolder(StrIn name);
// Deletes each occurrence of `name` with one adjoining comma from the entry's
// omit list. Refuses (false) for "outdir" in the entry of the root of kind 1;
// true when it was there and is gone.
bool WFtvwCfg_DeleteInOmit(TVWcfg_Entry& entry, StrIn name);

// --- Queries -----------------------------------------------------------------------

// Reload, then TVWcfg_MultiHostHotfolder.
bool WFtvwCfg_MultiHostHotfolder();
// The folder is in final-page or job ticket mode or has a sequence mode.
bool WFtvwCfg_SubentryNeeded(WFfolder folder);
// The folder can never have a subentry: nil; an end kind other than 44 and
// 45; kinds 1, 3, 4, 22, 27, 29, 47.
bool WFtvwCfg_SubentryImpossible(WFfolder folder);

// --- File patterns -----------------------------------------------------------------

// "<jobtickets>" with `onlyJobTickets`; else "<images+Finalpage>" or
// "<images>" by `finalPage`, with "|<jobtickets>" for `addJobTickets`.
void WFtvwCfg_BuildFilesRegExpr(bool finalPage, bool addJobTickets, bool onlyJobTickets, StrOut files);
// The patterns of a folder's subentry: the images expression (with tickets
// only in `jobTicket` mode), "|\.txt$" (and in ticket mode "|\-log\.pdf$")
// for the check folder; omitFiles the folder's own, empty in ticket mode.
void WFtvwCfg_GetFileRegExpr(WFfolder folder, bool finalPage, bool jobTicket, StrOut files,
                             StrOut omitFiles);

// --- Entries -----------------------------------------------------------------------

// A new entry with every field of `entry`, next nil, no compiled
// expressions. The extra fields are shared with the original: free the copy
// with WFtvwCfg_DestroyCopy while the original lives.
TVWcfg_Entry* WFtvwCfg_CopyEntry(const TVWcfg_Entry& entry);
// Frees a copy made by WFtvwCfg_CopyEntry without its shared extra fields;
// sets it to nil; nil is accepted.
void WFtvwCfg_DestroyCopy(TVWcfg_Entry*& entry);

// --- Changes (under the file's lock) ----------------------------------------------

// Enters the folder's entry at the head of the file (the newest first),
// unless a tree entry already watches it. True if the folder is watched now;
// false for a nil folder, without the lock, or when the save failed.
bool WFtvwCfg_Add(WFfolder folder);
// Takes over files, cmd, readableCmd, options, folder, highCpu, subdirs,
// multipleFiles, precondResource, precondScript, atOnce, silence and
// sortedSubmit from `values` into the entry of `values.folder`. True when
// nothing needed a change or the save worked; false without the lock
// (message 3), without such an entry, or when the save failed.
bool WFtvwCfg_Update(const TVWcfg_Entry& values);
// Removes the entry of `values.folder`. True when it was removed and saved;
// false without the lock (message 3), without such an entry, or when the
// save failed.
bool WFtvwCfg_Delete(const TVWcfg_Entry& values);
// Brings the folder's subentry in step with its modes by the decision table
// (add, split off, drop or adjust). False without the lock (message 3) or
// when a needed save failed; true otherwise, also when nothing was to do.
bool WFtvwCfg_UpdateSubentry(WFfolder folder);
// Deletes the folder's own entry (one without subdirs) and takes its name out
// of the enclosing tree's omit list. False without the lock (message 3) or
// when a needed save failed.
bool WFtvwCfg_DeleteSubentry(WFfolder folder);

// The file's lock for a change made here or in AutoMisc: up to three rounds
// of TVWcfg_LockConfiguration, so that a crowd of writers doesn't turn one
// away. False when another process keeps it all that time.
bool WFtvwCfg_LockConfiguration();
void WFtvwCfg_UnlockConfiguration();
// Tells the demon to reload its configuration: TVWbase_KillDemon(16).
bool WFtvwCfg_NotifyDemon();
