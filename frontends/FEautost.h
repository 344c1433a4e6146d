// FEautost: the front end of the start folder (module kind 1), the hot folder
// at which files enter a workflow. It decides where the workflow starts, how
// a file enters it (moved, linked, copied, or as a job ticket: the transfer
// mode), which files are taken (the file mode), and which other hosts feed it
// (remote starts). Unlike the other front ends it also keeps the folder's
// entry in the demon configuration.
//
// The parameters are declared in an AutoDict (FEautost_DefineParameters);
// beside them the front end writes keys that follow from them:
//
//   FILESREGEXP            the expression of the chosen formats (file mode 4)
//   WATCHINTERVAL          seconds, only when other than the demon's default
//   _JOBTICKETMODE_        true exactly for transfer mode 3
//   _ERRORMODE_            0 in every transfer mode but 2
//   REMOTESTART_n/...      the remote starts, numbered from 0 without gaps
//   the first command      FEautost_BuildCmd
//
// A read of "FILEMODE" outside the dictionary defaults to 2 (any file), the
// dictionary's default is 0 (images): a start folder written before file
// modes existed takes every file.
//
// Everything here works without a display, so that the install tool and a
// new workflow get the same values as the dialog's OK gives. Failures of the
// checks are told as a message of section "FEautost" (or "WFbase" for a start
// directory in use) in the caller's text; the dialog shows it and stays open.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Strings.h"
#include "base/SwitchBd.h"
#include "distribution/RWbase.h"
#include "rc/AutoDict.h"
#include "rc/SAutoRcF.h"
#include "toolkit/I.h"
#include "watch/TVWcfg.h"
#include "workflow/WFbase.h"
#include "workflow/WFfolder.h"
#include "workflow/WFmodule.h"

// --- The dialog's elements ------------------------------------------------------------

// Parameters (the elements of their values).
inline constexpr std::uint32_t kFEautostStartDir = 3;
inline constexpr std::uint32_t kFEautostMode = 4;
inline constexpr std::uint32_t kFEautostFinalPage = 5;
inline constexpr std::uint32_t kFEautostSubdirs = 6;
inline constexpr std::uint32_t kFEautostAutoMode = 7;
inline constexpr std::uint32_t kFEautostFileMode = 8;
inline constexpr std::uint32_t kFEautostFileFormats = 10;
inline constexpr std::uint32_t kFEautostOmitEmpty = 12;
inline constexpr std::uint32_t kFEautostCTime = 13;
inline constexpr std::uint32_t kFEautostExtend = 14;
inline constexpr std::uint32_t kFEautostExtendMode = 15;
inline constexpr std::uint32_t kFEautostDelimiter = 16;
inline constexpr std::uint32_t kFEautostReplacement = 17;
// Elements of the dialog only.
inline constexpr std::uint32_t kFEautostSelector = 2;        // the buttons of the boxes
inline constexpr std::uint32_t kFEautostUseDefault = 11;     // use the default start directory
inline constexpr std::uint32_t kFEautostRemoteOn = 18;
inline constexpr std::uint32_t kFEautostRemoteTable = 19;
inline constexpr std::uint32_t kFEautostRemoteCommand = 20;  // 0 delete selected, 1 add
inline constexpr std::uint32_t kFEautostServer = 21;
inline constexpr std::uint32_t kFEautostInterval = 22;
inline constexpr std::uint32_t kFEautostShell = 111;

// Transfer modes ("MODE") and the file mode of any file.
inline constexpr std::uint32_t kFEautostMove = 0;
inline constexpr std::uint32_t kFEautostLink = 1;
inline constexpr std::uint32_t kFEautostCopy = 2;
inline constexpr std::uint32_t kFEautostJobTicket = 3;
inline constexpr std::uint32_t kFEautostAnyFile = 2;
inline constexpr std::uint32_t kFEautostChosenFormats = 4;

// The demon's default interval times 1 to this.
inline constexpr std::size_t kFEautostIntervals = 8;

// One entry of the interval list: its label (message 12 with the seconds),
// the seconds, and its place in the list.
struct FEautost_Interval {
  char label[kNameCap] = "";
  std::int32_t seconds = 0;
  std::uint32_t index = 0;
};
using FEautost_Intervals = std::vector<FEautost_Interval>;

// The working fields of the dialog. An empty directory of a remote start
// means the server's own directory.
struct FEautost_Data {
  char workflow[kNameCap] = "";  // of the dialog that runs
  SAutoRcF rc = nullptr;         // not owned; nil between dialogs
  AutoDict dictionary = nullptr;  // the dialog's parameters, with the checks
  bool useDefaultStartdir = true;
  bool remoteStartsOn = false;
  std::vector<SAutoRcF_RemoteStart> remoteList;
  bool remoteChanged = false;
  char noServerText[kNameCap] = "";  // message 9: no server chosen to add
  std::vector<RWbase_Server> serverList;  // by name
  FEautost_Intervals intervalList;
  std::int32_t interval = -1;  // index of the chosen entry; -1 none
};

// The dialog's record, nil until the dialog is first opened; the dictionary
// of the defaults (nil until first needed); the constant facts of kind 1.
extern FEautost_Data* FEautost_data;
extern AutoDict FEautost_paramDict;
extern WFmodule_ModuleInfo FEautost_moduleInfo;

// --- Start-up -----------------------------------------------------------------------

// Registers the front end of kind 1 (defaults, the dialog, referenced files) and the workflow model's hooks of the
// start folder: its path, transfer and file mode, and its demon entry. It
// replaces all hooks of WFbase_RegisterHooks, so it runs before the groups
// and the window register theirs. Opens the catalog "FEAUTOSTmsg". Once.
void FEautost_Init();

// --- The dialog -------------------------------------------------------------------

// The dialog "FEautost" on first use: its dictionary with the start
// directory's check, the frame with the checks of OK, the dependent values
// and the enabling callbacks, the remote-start table and the elements of the
// dialog only, and the cancel on "workflow changed" and "mode changed" from
// `switchboard`. False without a display or dialog (nothing kept).
bool FEautost_Create(SwitchBd switchboard);
// The front end of kind 1: the start folder's dialog on rc. Remote starts
// that changed, or were dropped for want of servers, are saved even when
// the dialog is cancelled; `modified` tells whether rc changed.
void FEautost_FrontEnd(StrIn workflow, StrIn folder, SAutoRcF rc, SwitchBd switchboard, bool& modified);
// The dialog, nil before its first use (for the screenshot and the tests).
I_Context FEautost_Dialog();

// --- Parameters ---------------------------------------------------------------------

// Declares the thirteen parameters with their elements, defaults and the two
// selections (start directory and formats, on selector element 2). With
// `checks` the start directory gets the check of the running dialog.
void FEautost_DefineParameters(AutoDict dictionary, bool checks);
// A new start folder's values: every default (the start directory is
// `folder`), then the values that follow from them.
void FEautost_SetDefaultParams(SAutoRcF rc, StrIn folder);
// What follows from the parameters, with `folder` as the folder path: the
// transfer mode through FEautost_SetTransferMode, and for file mode 4 with
// formats that convert, "FILESREGEXP".
void FEautost_SetDependentValues(AutoDict dictionary, SAutoRcF rc, StrIn folder);
// The workflow's default start directory: the root of kind 1 and the name.
void FEautost_GetDefaultStartdir(StrIn workflow, StrOut path);

// --- Transfer and file mode ---------------------------------------------------------

// The first command: "mv", "ln", "cp" for any file (file mode 2), "imgmv",
// "imgln", "imgcp" otherwise, "jobticket.sh -p PATH" in mode 3 with the path
// escaped for the shell.
void FEautost_BuildCmd(std::uint32_t transferMode, std::uint32_t fileMode, StrIn folder, StrOut command);
// Sets "MODE", "_JOBTICKETMODE_" and "_ERRORMODE_" (0 unless mode 2), then
// the first command with the stored file mode (absent: 2).
void FEautost_SetTransferMode(SAutoRcF rc, StrIn folder, std::uint32_t mode);
// Sets "FILEMODE" and the first command with the stored transfer mode.
void FEautost_SetFileMode(SAutoRcF rc, StrIn folder, std::uint32_t fileMode);
// The first command for a new folder path (a copied workflow).
void FEautost_SetFolderPath(SAutoRcF rc, StrIn folder);
// "MODE"; 0 when absent or 4 and more.
std::uint8_t FEautost_GetTransferMode(SAutoRcF rc);
// The expressions of the blank-separated suffixes joined by "|". False and
// empty when the list is empty or one suffix names no known format.
bool FEautost_GetFormatsRegExpr(StrIn formats, StrOut expression);

// --- Watch interval -----------------------------------------------------------------

// The list: the demon's default interval times 1 to 8, each with its label.
void FEautost_FillIntervals(FEautost_Intervals& list);
// The entry for `seconds` in the ascending list: an exact hit; the first
// entry for a value below it; from the second entry on, the previous one when
// it is strictly closer than this one (a tie walks on). Past the end -1: a
// value above the last entry, and also one closer to the last entry than to
// its predecessor, chooses nothing. This asymmetry is kept on purpose: an
// operator's odd interval is not silently turned into the longest one.
std::int32_t FEautost_FindInterval(const FEautost_Intervals& list, std::int32_t seconds);
// "WATCHINTERVAL" for the chosen entry (-1 none): written when its seconds
// differ from the demon's default, otherwise removed.
void FEautost_SaveInterval(SAutoRcF rc, const FEautost_Intervals& list, std::int32_t chosen);

// --- Remote starts ------------------------------------------------------------------

// Fills the server list from the remote watch configuration (by name) and
// the remote list from rc's keys 0 to count-1 (numbers without server or
// directory are passed over); remote starts are on when the list holds any.
// With no server configured they are off and marked changed: they are
// dropped even when the dialog is cancelled.
void FEautost_LoadRemoteStarts(FEautost_Data& data, SAutoRcF rc);
// After the dialog, changed or not confirmed: when marked changed, every
// remote start key goes, and while remote starts are on the list is written
// from 0, each directory equal to its server's blanked so that a later change
// of the server's directory applies. True when rc was changed.
bool FEautost_SaveRemoteStarts(FEautost_Data& data, SAutoRcF rc);
// Appends a remote start for `server` with the server's directory when the
// server is known; marks changed.
void FEautost_AddRemoteStart(FEautost_Data& data, StrIn server);
// Removes the entries whose indices are given; marks changed.
void FEautost_DeleteRemoteStarts(FEautost_Data& data, const std::vector<std::size_t>& indices);

// --- Checks -------------------------------------------------------------------------

// Whether `path` may be the start directory of `workflow`: not another
// workflow's start nor below one that watches its sub-directories ("WFbase"
// 10, 11), not the workflow's own end directory (2), no name of a
// workflow's inner hot folder ("flow_NAME_N", 3). False with the message.
bool FEautost_CheckStartdir(StrIn workflow, StrIn path, StrOut message);
// The checks of OK, stopping at the first failure: the start directory; with
// file mode 4 the formats (4 empty, 5 unknown); with extended names the
// delimiter (6 empty, 5 with "/" or a blank, the slash first), its
// replacement (7 empty) and that they differ (8); with remote starts on, a
// list (10) of known servers (11). False with the message.
bool FEautost_CheckValues(AutoDict dictionary, const FEautost_Data& data, StrOut message);
// The same for the dialog: `client` is the FEautost_Data; a failure is shown
// (WFbase_ShowText) and keeps the dialog open.
bool FEautost_CheckValuesCB(AutoDict dictionary, void* client);
// After the dictionary was written to rc: the dependent values with the
// workflow's default start directory, and the watch interval.
void FEautost_SetValuesCB(SAutoRcF rc, void* client);

// --- Dependent enabling -------------------------------------------------------------

// What the change of an element affects, as the dialog applies it.
enum class FEautost_Rule : std::uint8_t {
  DefaultStartdir,  // 11 follows whether the start directory is the default; 3 enabled unless so
  ExtendAllowed,    // 14 enabled exactly with sub-directories, no final pages, mode not 3;
                    // cleared while disabled
  FormatsChosen,    // 10 and the formats button enabled exactly for file mode 4;
                    // final pages := file mode 1 or 6
  FinalPageByAuto,  // 5 enabled exactly with the automatic file mode
  ExtendFields,     // 15, 16, 17 enabled exactly with extended names
};
struct FEautost_Dependency {
  std::uint32_t element;  // the element whose change triggers the rule
  FEautost_Rule rule;
};
extern const FEautost_Dependency FEautost_dependencies[];
extern const std::size_t FEautost_dependencyCount;

// The enabled state of the dependent elements, from the values.
struct FEautost_Enabling {
  bool startDir = true;         // 3
  bool finalPage = true;        // 5
  bool formats = false;         // 10
  std::int32_t selector = -3;   // 2: -1 all buttons, -3 all but the formats
  bool extend = false;          // 14
  bool extendFields = false;    // 15, 16, 17
  bool remoteOn = false;        // 18: only with servers
};
void FEautost_GetEnabling(AutoDict dictionary, const FEautost_Data& data, FEautost_Enabling& enabling);
// Applies the value side of `rule`: extended names cleared while not
// allowed, the final-page mode following the file mode. True when a value
// changed (the dialog then shows it and marks the frame modified).
bool FEautost_ApplyRule(AutoDict dictionary, FEautost_Data& data, FEautost_Rule rule);

// --- Batch --------------------------------------------------------------------------

// What the dialog's OK does with the start parameters in rc, for the install
// tool: the values are read (absent keys give defaults), checked as OK checks
// them, and the dependent values, all parameters and the remote starts
// (numbered from 0) written. Remote starts
// are checked also when no server is configured (the dialog drops them
// then): a description that names one means it. False with the message and
// rc unchanged when the checks refuse.
bool FEautost_ApplyParams(StrIn workflow, SAutoRcF rc, StrIn folder, StrOut message);
// The workflow check of the start folder (registered with WFtest): false,
// with the message the dialog's OK would show, when OK would refuse its
// parameters. Remote starts without any server configured pass, as the
// dialog drops them.
bool FEautost_CheckFolder(WFbase workflow, WFfolder folder, StrOut message);

// --- The demon entry ----------------------------------------------------------------

// The start folder's entry, keyed by the root of kind 1 and the workflow's
// name, under the configuration's lock: the entry found gets the files, the
// flags, sequence mode, activity and interval; a missing one is made and put
// at the head. The omit list is "outdir,error," followed by the demon's
// standard list when the sub-directories are watched. An interval equal to
// the demon's default is stored as the default (-1). False when the
// configuration is locked (message 33 of "AutoMisc") or can't be read or
// written (30); the file then stays as it was. The signature of the
// model's WFbase_StartEntryProc.
bool FEautost_UpdateTVWcfg(StrIn workflow, StrIn files, StrIn omitFiles, bool subdirs, bool omitEmpty,
                           bool considerCTime, std::uint8_t sequenceMode, const TVWcfg_Activity& activity,
                           std::int32_t watchInterval);
// A new entry of kind 1 for `key` with the command, readable command, rc
// file name and CPU use of the kind, put at the head of `list`.
TVWcfg_Entry* FEautost_AddToTVWcfgList(TVWcfg_List& list, StrIn key);
// Removes every entry of the workflow's start, duplicates too, under the
// lock (AutoMisc_DeleteDemonConfigEntry). True also when there was none.
bool FEautost_DeleteInTVWcfg(StrIn workflow);
