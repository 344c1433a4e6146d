// The program's spine: starts the modules, reads the command line, runs one
// of the five modes and leaves with the right exit status.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "watch/TVWbase.h"

// The modes of the program.
enum Floatdeck_Mode : std::uint8_t {
  Floatdeck_Interactive = 0,
  Floatdeck_Dump = 1,
  Floatdeck_Pack = 2,
  Floatdeck_Unpack = 3,
  Floatdeck_Slave = 4,
};

extern std::uint8_t Floatdeck_batchMode;
// First positional argument: the workflow, in unpack mode the archive.
extern char Floatdeck_wfName[kNameCap];
// Second positional argument, pack mode only; empty: the default backup directory.
extern char Floatdeck_archiveDir[kPathCap];
// Argument of -S: host and port joined by ":".
extern char Floatdeck_masterInfo[kNameCap];
// Argument of -U; -1 when not given.
extern std::int32_t Floatdeck_startupUnit;
// Reason text of a failed rebuild in dump mode.
extern char Floatdeck_errMsg[kTextCap];
extern char Floatdeck_thisHost[kNameCap];
extern bool Floatdeck_privilegedUser;
// This software instance (its installation's directories), and the running
// demon's, learnt later.
extern TVWbase_DemonInfo Floatdeck_selfInfo;
extern TVWbase_DemonInfo Floatdeck_demonInfo;

// Starts every module the program uses, imports first; each initialiser
// runs once.
void Floatdeck_InitModules();
// The whole program: start-up, one mode, Processe_Exit. Never returns.
[[noreturn]] void Floatdeck_Main(int argc, const char* const* argv);

// Reads the command line behind the cursor of Argument. True when it is
// acceptable; mode and strings are set from it.
bool Floatdeck_GetParams(std::uint8_t& mode, StrOut wfName, StrOut archiveDir, StrOut masterInfo);
// Writes the eight usage lines to standard error; the exit status stays.
void Floatdeck_DisplayUsage();
// Packs workflow `name`, or every workflow for "all", into `archiveDir` (empty:
// the backup directory). Each failure is told with the workflow's name, the
// others are packed all the same; "all" tells its progress in batch work.
// Messages go to standard error, or with `interactive` into a message box.
// True when every workflow was packed.
bool Floatdeck_PackWorkflow(StrIn name, StrIn archiveDir, bool interactive);
// The text of message `number` with `first` and `second` put in (each only
// when not empty), told as Floatdeck_PackWorkflow tells its messages.
void Floatdeck_PackWorkflow_Message(unsigned number, StrIn first, StrIn second, bool interactive);
// Splits "host:port" and runs this program as a slave of that master. Bad
// port or empty host: usage text, false.
bool Floatdeck_SyncSlave(StrIn masterInfo);
