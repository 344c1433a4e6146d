// AutoMisc: the operations on hot folders that installing, the front ends and
// the component tools share: making and deleting a folder's directory, making
// sure a module's root exists and is watched, the demon entry of a folder
// that has one of its own, the checks of an out directory and a rename
// scheme, telling the demon, and the installer marks of multi-host folders.
//
// Messages are of section "AutoMisc" and go through WFbase_Message. Some of
// them are questions (3, 4, 5, 8, 11, 22); they go to the registered question
// procedure. In silent mode (batch work: AutoMisc_SetFeedback(false)), and
// while no procedure is registered, every question counts as yes and is not
// shown.
//
// Every change of the demon configuration is made under its lock: lock, load,
// change, save only when something changed, unlock, then tell the demon.
// Without the lock it is message 33, a failed load or save message 30; the
// file then stays as it was.
#pragma once

#include <cstdint>
#include <functional>

#include "base/SDateAri.h"
#include "base/Strings.h"
#include "workflow/WFmodule.h"

// Asked a question (the whole text); true for yes.
using AutoMisc_AskProc = bool (*)(StrIn question);

// Starts the modules used; once.
void AutoMisc_Init();
// Feedback on (interactive) or off (batch: every question counts as yes).
void AutoMisc_SetFeedback(bool feedback);
// The procedure that asks the questions; nil: every question counts as yes.
void AutoMisc_RegisterAskProc(AutoMisc_AskProc proc);

// --- Directories ----------------------------------------------------------------------

// Makes the hot folder `root`/`name` (mode 777, installer mark). False for an
// empty name (message 6), an existing directory (message 1) or a failure
// (message 2).
bool AutoMisc_NewAutofolder(StrIn root, StrIn name);
// Deletes the hot folder `root`/`name` after asking (message 5): its rc file
// `rcFile` (may be empty) and marks, then the directory; one that still holds
// files only after a second question (message 4), by "rm -rf". False for an
// empty name (message 7), a "no", or a failed removal (message 13). A folder
// that is not there is deleted already.
bool AutoMisc_DeleteAutofolder(StrIn root, StrIn name, StrIn rcFile);
// Makes sure the directory `path` exists (mode 777), with its parent. A plain
// file in its place is removed after asking (message 3). False when the path
// can't be examined (message 9) or made (message 2), or for a "no".
bool AutoMisc_RootExists(StrIn path);
// The modification time of `path`; false when it isn't there.
bool AutoMisc_GetModifyTime(StrIn path, SDateAri_Stamp& stamp);
// Whether the directory `path` holds someone's files: entries whose names
// don't begin with a dot (those are marks and settings of the system); for
// a start folder, other than its "outdir" and "error".
bool AutoMisc_HoldsFiles(StrIn path, bool startFolder);

// --- The demon --------------------------------------------------------------------------

// Makes sure a tree entry watches the root of module `kind`; when there is
// none, asks (message 22) and adds the kind's entry. False for a "no" or when
// the configuration couldn't be changed.
bool AutoMisc_AssertRootWatched(WFmodule_Kind kind);
// The entry of the folder `path`, a folder of module `kind` with an entry of
// its own: found, or made from the kind's entry and put first; it gets the
// sequence mode, no sub-directories, the path and the two expressions. Saved
// only when that changed anything. False when the configuration couldn't be
// changed.
bool AutoMisc_UpdateDemonConfigEntry(WFmodule_Kind kind, StrIn path, StrIn files,
                                     StrIn omitFiles, std::uint8_t sequenceMode);
// Removes every entry of exactly `path`. True also when there was none.
bool AutoMisc_DeleteDemonConfigEntry(StrIn path);
// Changes the configuration under its lock, as the routines above do: `edit`
// answers whether it changed the list and may refuse by setting `ok` false.
// A changed list is saved and the demon told. False when any of it failed.
bool AutoMisc_ChangeDemonConfig(const std::function<bool(TVWcfg_List& list, bool& ok)>& edit);
// Tells the demon to read its configuration (signal 16). When that fails it
// asks (message 11) and starts "TVWatchD" from PATH, once per process; a
// start that fails is message 12. True when the demon was told or started.
bool AutoMisc_NotifyDemon();
// Whether AutoMisc_NotifyDemon may start a demon that does not run (yes
// until said otherwise).
void AutoMisc_AllowDemonStart(bool allow);

// --- Checks for the front ends --------------------------------------------------------

// Whether `path` may be an out directory of the folder whose directory is
// `folder` (shown as `name`): not empty, an existing directory (with `ask`, a
// missing one is made after asking, message 8), and not the folder's own
// directory (message 10).
bool AutoMisc_ValidOutDir(StrIn path, StrIn folder, StrIn name, bool ask);
// Whether `file` names a usable rename scheme: empty, or with the scheme
// suffix (message 15), loading (message 14) and, with `needSegment`, holding
// a source segment (message 16). The messages only with `ask`.
bool AutoMisc_ValidScheme(StrIn file, bool needSegment, bool ask);

// --- Installer marks (multi-host hot folders) -------------------------------------------

// Places this host's mark in `path` when the demon configuration says
// multi-host; true otherwise. A failure is message 17 with `report`.
bool AutoMisc_PutInstallerMark(StrIn path, bool report);
// Removes this host's mark, or every host's, from `path`.
void AutoMisc_RemoveInstallerMark(StrIn path);
void AutoMisc_RemoveAllInstallerMarks(StrIn path);
