// WFtest: the checks a workflow must pass before it is installed. The walk
// starts at the start folder and carries the format of the files that reach
// each folder; the first fault ends it. That fault is shown as a message of
// section "WFtest" (WFbase_Message) and pointed out on the graph through
// the registered mark procedure.
//
// Messages of section "WFtest": 1 a branch ends in the invisible end,
// 2 ICopy's input expression refuses the arriving format, 7 ImgFork's mode
// against final pages, 10 Duplicate sends twice to one folder, 11 a folder
// that takes no job tickets in job ticket mode, 12 a Rename that works on
// files behind a folder that does not, 13 Sort by extended names that the
// start does not make, 14 Remote Copy takes over sub-directories only with
// job tickets. Nothing here changes anything on disk.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "workflow/WFbase.h"
#include "workflow/WFfolder.h"

// Starts WFbase; once.
void WFtest_Init();

// --- The view's side, registered at start-up --------------------------------------------

// Marks `folder` on the graph `view` (and `other`, the far end of a faulty
// connection, when not nil); nil for both clears the marks. `view` is what
// the caller of WFtest_CheckWorkflow passed, handed back unchanged.
using WFtest_MarkProc = void (*)(void* view, WFfolder folder, WFfolder other);
// Nil (the start): no marks.
void WFtest_RegisterMarkProc(WFtest_MarkProc proc);

// --- The front ends' side, registered at their start-up ------------------------------------

// What a front end's OK would say of a folder's parameters: false, with the
// front end's words in `reason`, for values its dialog would refuse.
using WFtest_CheckProc = bool (*)(WFbase workflow, WFfolder folder, StrOut reason);
// The check of folder kind `kind`; nil: the kind's folders pass.
void WFtest_RegisterCheck(WFfolder_FolderKind kind, WFtest_CheckProc proc);

// --- Checks ------------------------------------------------------------------------------

// True when `workflow` passes. The marks of `view` are cleared first, and
// the first fault is marked there (no marks with a nil view) and shown.
// False for a nil workflow. The workflow's done marks are cleared.
bool WFtest_CheckWorkflow(void* view, WFbase workflow);
// The folder the last failed check refused (for the ICopy's format the
// ICopy itself, though the mark also takes the folder before it) and the
// number of its message; nil and 0 after a check that passed.
WFfolder WFtest_FaultyFolder();
unsigned WFtest_FaultMessage();

// The parameter check of one folder of `workflow` by the front end of its
// kind. True for nil and for kinds without a registered check; false with
// the front end's words in `reason` (emptied first).
bool WFtest_CheckSettings(WFbase workflow, WFfolder folder, StrOut reason);
// The format of the files that leave `folder` through out `out` (a suffix
// such as ".pdf"), from its kind, mode and options; true when it is known.
// Empty for a folder without that out.
bool WFtest_GetOutformat(WFfolder folder, std::uint32_t out, StrOut format);
