// WFmodule: the table of module kinds, the processing steps a workflow can
// hold. For a kind number 1..50 it answers every constant question: name,
// root directory, rc file, commands, icon, accepted files, out limits and
// properties. It also keeps the table of registered parameter front ends,
// the file list used when packing, and makes the demon entry of a kind.
//
// A kind is an unsigned byte; 0 means no kind. Every query answers from a
// fixed table: a kind outside 1..50 gives empty texts, false and zero.
// Nothing here reports a message.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "base/SwitchBd.h"
#include "rc/SAutoRcF.h"
#include "watch/TVWcfg.h"

using WFmodule_Kind = std::uint8_t;

inline constexpr WFmodule_Kind kWFmoduleNoKind = 0;
inline constexpr WFmodule_Kind kWFmoduleMaxKind = 50;
// The most outs any kind allows (only kind 4 reaches it).
inline constexpr std::uint32_t kWFmoduleMaxOuts = 8;

// Starts DirAcces, SAutoRcF, SFilMisc and TVWcfg and gives TVWcfg the root
// directories (WFmodule_GetRootDir); once.
void WFmodule_Init();

// --- The kind table ------------------------------------------------------------

// The kind's name ("Rename", "Jaws Rip").
void WFmodule_GetName(WFmodule_Kind kind, StrOut name);
// The kind's root below the first element of TV_PROJECTS; empty for a kind
// without root (6) or an unknown kind.
void WFmodule_GetRootDir(WFmodule_Kind kind, StrOut path);
// The rc file name of a folder of the kind (".autorenmrc"); may be empty.
void WFmodule_GetRcFileName(WFmodule_Kind kind, StrOut name);
// The command the demon runs, and its name as the job queue shows it.
void WFmodule_GetCmdName(WFmodule_Kind kind, StrOut name);
void WFmodule_GetReadableCmd(WFmodule_Kind kind, StrOut name);
// The icon file name.
void WFmodule_GetIcon(WFmodule_Kind kind, StrOut name);
// The expressions of the files a folder takes and of those it leaves; they
// may hold the tokens of TVWcfg ("<images>"). omitFiles is often empty.
void WFmodule_GetFileRegExpr(WFmodule_Kind kind, StrOut files, StrOut omitFiles);

// Everything constant of a kind in one record (front ends keep one).
struct WFmodule_ModuleInfo {
  char rootDir[kPathCap] = "";
  char rcFile[kNameCap] = "";
  char cmd[kNameCap] = "";
  char files[kNameCap] = "";
  char omitFiles[kNameCap] = "";
  char readableCmd[kNameCap] = "";
  bool highCpu = false;
};
void WFmodule_GetModuleInfo(WFmodule_Kind kind, WFmodule_ModuleInfo& info);

// --- Properties ------------------------------------------------------------------

// Jobs of the kind use much CPU.
bool WFmodule_HighCPUUsage(WFmodule_Kind kind);
// Each file makes two jobs.
bool WFmodule_TwoJobs(WFmodule_Kind kind);
// A folder of the kind takes job tickets.
bool WFmodule_AcceptsJobticket(WFmodule_Kind kind);
// Jobs of the kind may run on a cluster.
bool WFmodule_SupportsCluster(WFmodule_Kind kind);
// One demon entry watching the whole root serves all folders of the kind;
// false for 1, 2, 9 and 29 (an entry per folder) and for unknown kinds.
bool WFmodule_RecursiveDemonConfigEntry(WFmodule_Kind kind);
// The kind may be inserted into a workflow: 5, 6 and 9 always, any other
// kind from 2 on when a front end is registered for it.
bool WFmodule_Insertable(WFmodule_Kind kind);
// The least and most outs of a folder of the kind; 0 and 0 for an unknown
// kind and for the ends of a workflow.
void WFmodule_GetOutdirLimits(WFmodule_Kind kind, std::uint32_t& minimum, std::uint32_t& maximum);

// --- Paths and names ----------------------------------------------------------

// Out directory `index` (1..maximum) of a folder of the kind from its rc.
// Kinds 10 and 11 keep it in options of their own; all others in the
// reserved out keys. False and empty outside the range or when the option
// is absent.
bool WFmodule_GetOutdir(SAutoRcF rc, WFmodule_Kind kind, std::uint32_t index, StrOut path);
// The first kind whose root is `path` or a directory above it; 0 when none.
WFmodule_Kind WFmodule_ModuleKindByPath(StrIn path);
// The kind named exactly `name`; 0 when none.
WFmodule_Kind WFmodule_ModuleKindByName(StrIn name);
// Whether `path` is the root of kind 9 exactly.
bool WFmodule_IsAutoDeleteFolder(StrIn path);
// "WORKFLOW-MODULE/" and the kind's name in capitals; empty for an unknown
// kind.
void WFmodule_GetJobClassName(WFmodule_Kind kind, StrOut name);
// The workflow a directory belongs to: from a last element
// "flow_<name>_<number>", else from the element below the root of kind 1.
// False, name empty and number 0 when neither gives a name.
bool WFmodule_GetWorkflowName(StrIn path, StrOut name, std::uint32_t& number);

// --- The demon --------------------------------------------------------------------

// A new demon entry watching the kind's whole root with its files, commands,
// rc option and CPU use; the caller owns it. Nil for an unknown kind.
TVWcfg_Entry* WFmodule_CreateDemonConfigEntry(WFmodule_Kind kind);

// --- Foreign front ends (kinds 12, 18, 19, 27); false and empty for others ----

// The command that runs the outside dialog; "%s" stands for the file.
bool WFmodule_GetForeignGUICmd(WFmodule_Kind kind, StrOut cmd);
// The foreign settings file of the folder directory `folder`. With
// `temporary`, the name carries ".tmp" as its extension, or, when `folder`
// does not exist, is a fresh temporary name made from the file's name.
bool WFmodule_GetForeignRcFilename(WFmodule_Kind kind, StrIn folder, bool temporary, StrOut path);
// The rc option that holds the temporary file's name during an edit.
bool WFmodule_GetForeignTmpRcEntry(WFmodule_Kind kind, StrOut entry);

// --- File list (packing) ------------------------------------------------------------

// An ordered list of distinct paths, each with a flag (packing: "directory").
struct WFmodule_FileListRec;
using WFmodule_FileList = WFmodule_FileListRec*;

// A new empty list; the caller owns it.
WFmodule_FileList WFmodule_CreateFileList();
// Frees the list and sets it to nil; nil is accepted.
void WFmodule_DestroyFileList(WFmodule_FileList& list);
// The empty handle: every routine accepts it (nothing is added to it).
WFmodule_FileList WFmodule_NilFileList();
// Whether `path` is in the list (exact comparison).
bool WFmodule_HasFile(WFmodule_FileList list, StrIn path);
// Appends `path` with `flag`; an empty path or one already there (which
// keeps its flag) changes nothing.
void WFmodule_AddFile(WFmodule_FileList list, StrIn path, bool flag);
// The next entry in insertion order; `restart` begins at the first. False
// and empty past the last.
bool WFmodule_IterateFiles(WFmodule_FileList list, bool restart, StrOut path, bool& flag);

// --- Front ends ------------------------------------------------------------------------

// Writes a new folder's default values into rc; `folder` is the folder path.
using WFmodule_SetDefaultParamsProc = void (*)(SAutoRcF rc, StrIn folder);
// Runs the parameter dialog modally; `modified` true when values were
// changed and accepted.
using WFmodule_FrontEndProc = void (*)(StrIn workflow, StrIn folder, SAutoRcF rc,
                                       SwitchBd switchboard, bool& modified);
// Adds the files the folder's parameters refer to.
using WFmodule_AddReferencedFilesProc = void (*)(WFmodule_FileList list, SAutoRcF rc,
                                                 StrIn folder);

struct WFmodule_Frontend {
  WFmodule_SetDefaultParamsProc setDefaultParams;
  WFmodule_FrontEndProc frontEnd;
  WFmodule_AddReferencedFilesProc addReferencedFiles;
};

// One slot per kind, nil until a front end registers; owned by the module.
extern WFmodule_Frontend* WFmodule_frontend[kWFmoduleMaxKind + 1];

// Enters the three procedures for the kind; a later registration replaces
// them. Unknown kinds are ignored; a nil procedure is passed over when called.
void WFmodule_RegisterFrontend(WFmodule_Kind kind, WFmodule_SetDefaultParamsProc setDefaultParams,
                               WFmodule_FrontEndProc frontEnd,
                               WFmodule_AddReferencedFilesProc addReferencedFiles);
// The kind's default parameters into rc; nothing without a front end.
void WFmodule_SetDefaultParams(WFmodule_Kind kind, SAutoRcF rc, StrIn folder);
// Runs the kind's dialog; true when parameters were changed and accepted,
// false without a front end.
bool WFmodule_EditParams(WFmodule_Kind kind, StrIn workflow, StrIn folder, SAutoRcF rc,
                         SwitchBd switchboard);
// For a kind with a front end: the foreign settings file in `folder` (kinds
// 12, 18, 19, 27), then what the front end adds.
void WFmodule_AddReferencedFiles(WFmodule_FileList list, WFmodule_Kind kind, SAutoRcF rc,
                                 StrIn folder);
// The procedure of front ends whose parameters refer to no files.
void WFmodule_NoReferencedFiles(WFmodule_FileList list, SAutoRcF rc, StrIn folder);
