// TVWbase: where a client meets the running watch demon without a
// connection. The demon publishes a small text file, the demon info file
// (process id, port, its four directories, its host); clients read it to tell
// whether the demon lives and signal it. The demon's own side lives here too:
// its single-instance lock and the writing of the file. Further: the carrying
// of data files from the old global directory, and the text form in which a
// job's file group travels with the job (the job addons).
//
// The info file: one item per line in the order of TVWbase_DemonInfo,
// integers in decimal. A reader needs the first two lines as integers; the
// strings are taken as far as they are there. Clients read only the file in
// the projects directory and never write it. An info file whose host is this
// machine and whose process is not a live demon is removed by the first
// client that reads it.
//
// The old format: "/var/opt/tavrin/tvwatchd/tvwatchd.pid", the process id on
// line 1 and "MARLLIB=<dir>" on line 2. It counts only when that directory
// exists at the module's start.
//
// Clients get no messages: failures answer false. Messages of section
// "TVWbase" (1 info file can't be opened, 2 lock not had in time, 3 demon
// already running here, 4 old-format demon running) are given only to the
// demon, as text, by TVWbase_Lock.
#pragma once

#include <cstdint>

#include "base/StrVector.h"
#include "base/Strings.h"

// --- Records and constants --------------------------------------------------------

// What the demon publishes. -1 for an unknown process id or port; an empty
// host is this host.
struct TVWbase_DemonInfo {
  std::int32_t pid = -1;
  std::int32_t port = -1;
  char libDir[kPathCap] = "";       // MARLLIB at the demon
  char dataDir[kPathCap] = "";      // the demon's data directory
  char customerDir[kPathCap] = "";  // TV_CUSTOMER at the demon
  char projectsDir[kPathCap] = "";  // TV_PROJECTS at the demon
  char host[kNameCap] = "";
};

// The directory kinds (DirAcces special paths) that hold an info file:
// bits 0 (projects), 1 (customer) and 5 (data).
inline constexpr std::uint32_t TVWbase_toLock = 35;
inline constexpr int kTVWbaseKinds = 7;  // special path kinds 0..6
inline constexpr char TVWbase_infoName[] = "tvwatchd.info";
inline constexpr char TVWbase_demonName[] = "TVWatchD";
inline constexpr char TVWbase_oldDir[] = "/var/opt/tavrin/tvwatchd";
inline constexpr char TVWbase_oldInfoName[] = "tvwatchd.pid";

// Signals in the system's numbering (Processe_MapTVsignal2OSsignal).
inline constexpr int TVWbase_sigTest = 0;
inline constexpr int TVWbase_sigKill = 9;
inline constexpr int TVWbase_sigTerm = 15;
inline constexpr int TVWbase_sigUsr1 = 16;  // reload the configuration
inline constexpr int TVWbase_sigUsr2 = 17;  // read the ready-file list

// The demon's lock: one open info file per directory kind, nil (-1) where none.
struct TVWbase_LockRec;
using TVWbase_LockSet = TVWbase_LockRec*;

// A list of file names of a job's addons (a StrVector the caller owns).
using TVWbase_FileList = StrVector;

// Data directory, old directory and info file names; starts DirAcces,
// Processe, TVWcfg; once. Later calls do nothing.
void TVWbase_Init();
// Forgets what the first start learnt (data directory, old directory,
// multi-host name, both cache slots) and learns it again; for programs that
// change the environment after the start, and for tests.
void TVWbase_Reset();

// --- Names -------------------------------------------------------------------------

// Full name of the info file in directory kind `kind` (0..6): in the
// projects kind ".tvwatchd.info", with "_<host>" before ".info" when
// MULTIHOSTHOTFOLDER was set at the start; elsewhere "tvwatchd.info". Empty
// when the kind's directory is unset.
void TVWbase_GetInfoFileName(int kind, StrOut name);
// Full name of the old-format file; false and empty without the old directory.
bool TVWbase_GetOldInfoFileName(StrOut name);

// --- Client side -------------------------------------------------------------------

// The demon's info through the two cache slots (new file, then old file);
// true if a live info was found, else false and `info` reset.
bool TVWbase_GetDemonInfo(TVWbase_DemonInfo& info);
// Info found, and its host is another one or its process is a live demon;
// on false `info` is reset.
bool TVWbase_DemonRunning(TVWbase_DemonInfo& info);
// Processe_IsApplicationAlive(pid, "TVWatchD").
bool TVWbase_IsAlive(std::int32_t pid);
// True for an empty host or this machine's name.
bool TVWbase_IsLocal(StrIn host);
// Sends `signal` (system numbering) to the demon's process id, whatever its
// host; on no permission runs "KILL <name> <pid>" through the shell. False
// without info or on failure.
bool TVWbase_KillDemon(int signal);
// The name of a signal of the system's numbering ("SIGUSR1"); empty if unnamed.
void TVWbase_SignalName(int signal, StrOut name);
// The value of MARLDAT.
void TVWbase_GetDatadir(StrOut dir);
// The old global directory; false and empty when it did not exist at start.
bool TVWbase_GetOldGlobalDatadir(StrOut dir);
// Carries data file `name` from the old directory to MARLDAT: an existing new
// file wins (a link to the old one is replaced), a copied old file is
// removed, and an old directory left empty is removed.
void TVWbase_MigrateOldFile(StrIn name);

// --- Info file text ------------------------------------------------------------------

// Parses the text of an info file; false when the first two lines are not
// integers (the strings are taken as far as there).
bool TVWbase_ParseInfo(StrIn text, TVWbase_DemonInfo& info);
// Parses an old-format file's text; false when line 1 is not an integer.
bool TVWbase_ParseOldInfo(StrIn text, TVWbase_DemonInfo& info);
// The info file text of `info`, one item per line.
void TVWbase_FormatInfo(const TVWbase_DemonInfo& info, StrOut text);

// --- Demon side ------------------------------------------------------------------------

// Takes the single-instance lock: every kind of TVWbase_toLock, a directory
// shared by two kinds once; each info file opened (made with mode 0666) and
// locked, waiting up to `timeoutMs`. False, `handles` nil and the message's
// text in `message` on failure (nothing stays locked); else the caller owns
// the set.
bool TVWbase_Lock(std::uint32_t timeoutMs, TVWbase_LockSet& handles, StrOut message);
// Unlocks and closes every file of the set, frees it and sets it to nil.
void TVWbase_Unlock(TVWbase_LockSet& handles);
// Whether `dir` is the same directory as one already locked in the set.
bool TVWbase_AlreadyLocked(TVWbase_LockSet handles, StrIn dir);
// Message `number` (1..4) of section "TVWbase" with `name` and, for 3 and 4,
// `pid` filled in, into `message`.
void TVWbase_BuildLockMsg(unsigned number, StrIn name, std::int32_t pid, StrOut message);
// Writes this process's info with `port` into every file of the set (the
// file keeps its identity: rewritten in place and cut), then unlocks, closes
// and frees the set. False for a nil set or a failed write.
bool TVWbase_WriteDemonInfo(TVWbase_LockSet& handles, std::int32_t port);
// Removes the info files of every kind of TVWbase_toLock; a missing one is
// no failure. False if one could not be removed.
bool TVWbase_RemoveDemonInfo();

// --- Job addons ----------------------------------------------------------------------

// `first` and `second` escaped (backslash before each backslash and blank),
// joined by a blank, then " <count>" and " <item>" for each item, escaped
// the same way. A nil list counts 0.
void TVWbase_EncodeJobAddons(StrIn first, StrIn second, TVWbase_FileList list, StrOut text);
// Splits at unescaped blanks: first, second (left out when the token is all
// digits: then it is the count), count, items. Tokens keep their
// backslashes. False, and `list` nil, when first is empty, an item is empty
// or missing, or there is no item. The caller owns `list`.
bool TVWbase_DecodeJobAddons(StrIn text, StrOut first, StrOut second, TVWbase_FileList& list);
// Frees the list and sets it to nil; nil is accepted.
void TVWbase_DestroyFileList(TVWbase_FileList& list);
