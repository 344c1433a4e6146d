// TVWcfg: the watch demon's folder table, the file "tvwatchd.cfg".
//
// The only module that knows the file's keys. It loads the file into a list
// of entries, saves such a list back through a temporary file and an atomic
// rename, guards the file with a lock file for writers, and derives from an
// entry what the demon needs: mode, job kind, job priority and the compiled
// file patterns. The demon reads the file with this same code.
//
// The file lies in the first element of MARLENV (taken once, at TVWcfg_Init)
// and is read along all of MARLENV. Readers never lock; writers lock, load,
// change, save, unlock, then tell the demon.
//
// TVWcfg_error: 0 none, 1 the file can't be opened for reading (an empty
// list), 2 the new file can't be written or renamed (the old one stays).
// This module reports nothing itself: callers tell the failure in their own
// sections, with TVWcfg_GetErrorText beneath when they like.
#pragma once

#include <cstdint>

#include "base/BFileIO.h"
#include "base/SRegExpr.h"
#include "base/Strings.h"

// --- Constants -----------------------------------------------------------------

inline constexpr char TVWcfg_cfgName[] = "tvwatchd.cfg";
inline constexpr char TVWcfg_lockSuffix[] = ".LCK";
// The omit list a loaded folder line starts with, and that front ends give
// recursive folders.
inline constexpr char TVWcfg_toOmit[] =
    ".*,Network Trash Folder,TheFindByContentFolder,TheVolumeSettingsFolder,Temporary Items";
// The files of a new entry: every name that does not begin with a dot.
inline constexpr char TVWcfg_allFiles[] = "^[^\\.]";
// Tokens of FILES and OMITFILES, expanded before compiling.
inline constexpr char TVWcfg_allImages[] = "<images>";
inline constexpr char TVWcfg_allImagesFP[] = "<images+Finalpage>";
inline constexpr char TVWcfg_imageAddons[] = "<image_addons>";
inline constexpr char TVWcfg_jobTickets[] = "<jobtickets>";
inline constexpr char TVWcfg_jxkBitmaps[] = "<JXK-Bitmaps>";
// Expressions of the last two tokens and of the front ends' choices.
inline constexpr char TVWcfg_jobTicketsRegExp[] = "\\.jt..?$";
inline constexpr char TVWcfg_jxkBitmapsRegExp[] = "\\.(tiff?|TIFF?|bmf?)$";
inline constexpr char TVWcfg_psFiles[] = "\\.(ps|PS|eps|EPS|pdf|PDF)$";
inline constexpr char TVWcfg_pdfFiles[] = "\\.(pdf|PDF)$";
// Files in a hot folder that the demon and the status view honour.
inline constexpr char TVWcfg_omitMark[] = ".TVWatchD_omit";
inline constexpr char TVWcfg_expressMark[] = ".TVWatchD_express";
inline constexpr char TVWcfg_discFullMark[] = ".TVWatchD_discFull";
// Marks a multi-host hot folder with the host that installed it.
inline constexpr char TVWcfg_installerMark[] = ".InstalledBy_%s";

inline constexpr std::int32_t kTVWcfgDefaultWatchInterval = 60;
inline constexpr std::int32_t kTVWcfgMinWatchInterval = 15;

// Sequence modes of an entry.
inline constexpr std::uint8_t TVWcfg_seqNone = 0;
inline constexpr std::uint8_t TVWcfg_seqProducer = 1;
inline constexpr std::uint8_t TVWcfg_seqConsumer = 2;

// --- Records -------------------------------------------------------------------

// When a folder is watched: a file is taken in a minute for which all five
// say yes. Days, months and weekdays count from 1 in the text form, here
// from index 0.
struct TVWcfg_Activity {
  bool months[12];
  bool days[31];
  bool weekdays[7];
  bool hours[24];
  bool minutes[60];
};

// An unknown field of a folder line, kept whole as "KEY=VALUE".
struct TVWcfg_ExtraField {
  TVWcfg_ExtraField* next;
  char text[kTextCap];
};

// One watched folder. The list owns its entries, an entry its extra fields
// and compiled expressions.
struct TVWcfg_Entry {
  TVWcfg_Entry* next;
  std::uint8_t marked;  // free for the caller; cleared on creation
  char folder[kTextCap];
  bool subdirs;
  char omit[kTextCap];  // comma list of directory names passed over
  char omitCmd[kNameCap];
  std::int32_t interval;  // seconds; -1 for the default watch interval
  std::int32_t silence, currentSilence;
  TVWcfg_Activity activity;
  std::uint32_t demonWords[4];  // the demon's run-time state; cleared on creation
  char filePattern[kNameCap];
  char files[kTextCap];
  SRegExpr filesRegExp;  // nil when not compiled
  char omitFiles[kTextCap];
  SRegExpr omitFilesRegExp;
  bool omitEmptyFiles;
  char cmd[kNameCap];
  char options[kNameCap];
  bool highCpu;
  std::int32_t uid, gid;
  std::int32_t jobPriority;
  bool locked, considerCTime, isWebCheckRoot;
  char readableCmd[kNameCap];
  std::uint8_t mode;   // computed on load
  bool finalPageMode;  // computed when compiled
  bool multipleFiles;
  char precondResource[kNameCap];
  char precondScript[kNameCap];
  bool sortedSubmit;
  std::int32_t atOnce;
  std::uint8_t sequenceMode;  // TVWcfg_seq...
  std::uint8_t jobKind;       // computed on load
  TVWcfg_ExtraField* extraFields;  // newest first
};

// A list is its first entry; the empty list is nil.
using TVWcfg_List = TVWcfg_Entry*;

// Answers the root directory of a module kind (the workflow layer's table),
// registered at start-up; the loader asks it for the rip root (kind 10).
using TVWcfg_RootDirProc = void (*)(std::uint8_t kind, StrOut dir);

// --- State of the last load ------------------------------------------------------

extern std::uint8_t TVWcfg_error;
extern std::int32_t TVWcfg_Version;               // 0: a file from before the version key
extern std::uint32_t TVWcfg_MinFreeDiscPercentage;  // 0: not checked
extern std::uint32_t TVWcfg_MinFreeDiscSpace;       // 0: not checked
extern bool TVWcfg_MultiHostHotfolder;
extern std::int32_t TVWcfg_DefaultJobUID;  // -1: the id of the current file
extern std::int32_t TVWcfg_DefaultJobGID;
extern std::int32_t TVWcfg_DefaultWatchInterval;  // seconds

// Takes the file's directory from MARLENV and starts the modules used; once.
void TVWcfg_Init();
// Sets the provider of module roots; nil (the start) knows no root.
void TVWcfg_RegisterRootDirProc(TVWcfg_RootDirProc proc);

// --- Entries and lists -------------------------------------------------------------

// A new entry with the defaults of a program: nothing set, interval -1,
// always active, files TVWcfg_allFiles, uid and gid the file's defaults. The
// caller owns it until it is appended.
TVWcfg_Entry* TVWcfg_CreateEntry();
// Frees the entry, its extra fields and expressions; nil is accepted.
void TVWcfg_DestroyEntry(TVWcfg_Entry* entry);
// Frees every entry of the list and sets it to nil; nil is accepted.
void TVWcfg_Destroy(TVWcfg_List& list);
// Appends `entry` (whose next is nil) at the list's end; the list owns it.
void TVWcfg_AppendEntry(TVWcfg_List& list, TVWcfg_Entry* entry);
// The first entry whose folder is `folder` exactly; nil when there is none.
TVWcfg_Entry* TVWcfg_GetEntry(TVWcfg_List list, StrIn folder);

// --- The file ------------------------------------------------------------------------

// Frees `list` and makes it the file's folders; sets the globals above.
// `compile` compiles every entry's file patterns. A missing file gives an
// empty list and error 1.
void TVWcfg_LoadConfiguration(bool compile, TVWcfg_List& list);
// Writes `list` with the globals of the last load. False with error 2 when
// the file could not be replaced; the old one stays.
bool TVWcfg_SaveConfiguration(TVWcfg_List list);
// The same with the global values given.
bool TVWcfg_SaveConfigAndParams(TVWcfg_List list, std::uint32_t minPercent, std::uint32_t minSpace,
                                bool multiHost, std::int32_t uid, std::int32_t gid,
                                std::int32_t watchInterval);
// The full name of the file, and that of its lock.
void TVWcfg_GetFileName(StrOut name);
void TVWcfg_GetLockName(StrOut name);
// The text for TVWcfg_error with the file's name in it; empty for 0.
void TVWcfg_GetErrorText(StrOut text);

// --- The lock ----------------------------------------------------------------------

// Takes the file's lock for this process: six tries over a second, a lock
// whose owner has gone taken over at once. Not re-entrant. False when another
// process holds it or the lock could not be made.
bool TVWcfg_LockConfiguration();
// Removes the lock file, whoever holds it; errors ignored.
void TVWcfg_UnlockConfiguration();

// --- Activity masks ------------------------------------------------------------------

// Sets every element of `mask` to `value`.
void TVWcfg_InitActivity(bool value, TVWcfg_Activity& mask);
bool TVWcfg_EqualActivity(const TVWcfg_Activity& a, const TVWcfg_Activity& b);
bool TVWcfg_IsAlwaysActive(const TVWcfg_Activity& mask);
// "minute hour day month weekday", each "*", "-" or rising runs "a" or "a-b"
// joined by ","; at most 179 characters.
void TVWcfg_ActivityToStr(const TVWcfg_Activity& mask, StrOut text);
// Reads that form; a field that can't be read is all true, never all false.
void TVWcfg_StrToActivity(StrIn text, TVWcfg_Activity& mask);

// --- Derived values ------------------------------------------------------------------

// Expands the tokens of `pattern` and compiles it; nil when it does not
// compile. `finalPage` tells whether the expression takes final pages. The
// caller owns the handle.
SRegExpr TVWcfg_GetRegExp(StrIn pattern, bool& finalPage);
// `pattern` with its tokens replaced, cut at the bound.
void TVWcfg_ExpandTokens(StrIn pattern, StrOut expanded);
// The expressions for "<images>" and "<images+Finalpage>", built once.
void TVWcfg_BuildAllImagesRegExp(StrOut expr);
void TVWcfg_BuildAllImagesFPRegExp(StrOut expr);
// How the demon submits the files of a folder with command word `cmd`.
std::uint8_t TVWcfg_DetermineMode(StrIn cmd, StrIn files, std::int32_t atOnce, bool multipleFiles);
// The job queue's kind and priority of jobs run by command word `cmd`.
std::uint8_t TVWcfg_DetermineJobKind(StrIn cmd);
std::int32_t TVWcfg_DetermineJobPriority(StrIn cmd);
// Whether the folder holding `path` runs jobs of high CPU use: the first
// entry for the path (or, with subdirs, for its leading part) tells; true
// when none does. Loads the file without keeping it.
bool TVWcfg_HighCPUUsage(StrIn path);

// --- Installer marks and the log ---------------------------------------------------------

// ".InstalledBy_" and this machine's name.
void TVWcfg_GetLocalInstallerMark(StrOut mark);
// The host behind a leading ".InstalledBy_" of `fileName`, or empty.
void TVWcfg_GetInstallerName(StrIn fileName, StrOut host);
// Writes "CONFIGURATION", each setting of `entry` that differs from a new
// entry's as "  KEY=VALUE", and an empty line to `log`; nothing for a nil log.
void TVWcfg_DumpFolderConfig(BFileIO_File log, const TVWcfg_Entry& entry);
