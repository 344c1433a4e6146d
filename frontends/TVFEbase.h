// TVFEbase: services the front ends and the manager's windows share:
// starting an outside command (a viewer, a site's script) from a window, a
// numbered shell job, the format lists of line work and continuous tone,
// the online help, and this module's errors.
//
// A command started from a window must neither write into the terminal the
// program was started from nor read from it, and must not hold the window
// up unless asked to wait:
//   - with the flag IO_DEV_NULL (TV_IO_DEV_NULL, or the file IO_DEV_NULL in
//     the site directory) its output goes to the device named by the
//     variable CONSOLE (escaped for the shell), else to "/dev/console"
//     when that can be opened for writing, else to "/dev/null": " >DEVICE" is put behind the command
//     unless it holds ">" already, and " 2>&1" unless it holds "2>";
//     without the flag one blank is put behind it, and the output goes
//     where the program's goes;
//   - " </dev/null" unless the command holds "<";
//   - " &" unless the caller waits for it.
// Names inside the command are the caller's to quote
// (SFilMisc_EscapeShMetaChars).
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "image/SImage.h"

// The last error of this module: 1 a nil shell job, 2 a file that could not
// be created; 0 none.
extern std::uint8_t TVFEbase_error;

// The command line TVFEbase_StartACommand runs for `command`.
void TVFEbase_CommandLine(StrIn command, bool wait, StrOut line);
// Runs the command line through the shell (Processe_System). True when the
// shell's exit code is 0: with `wait` the command's own, otherwise only that
// the shell started it.
bool TVFEbase_StartACommand(StrIn command, bool wait);
// Runs `command` through the shell and copies each line of its output to
// standard output as it comes, keeping the windows drawing meanwhile
// (I_Yield, 100 ms between looks while no line is ready; lines up to 1024
// bytes) with the user's input blocked (I_BlockInput) until it has ended.
// True unless the command could not be started.
bool TVFEbase_ExecCommandModal(StrIn command);
// `command` behind "BACKPIX=...; export BACKPIX; " (the value escaped for
// the shell) when the variable BACKPIX is set and not blank; otherwise as it is.
void TVFEbase_PrefixBACKPIX(StrIn command, StrOut prefixed);

// --- A numbered shell job ----------------------------------------------------------
// A script "NAME_nnn.bat" in a directory (NAME the job's name cut to 6
// characters, nnn from 001 up): it changes into the directory, commands are
// added line by line, and when started it runs in the background and
// removes itself. The file is made exclusively: a name that exists, also a
// link planted under the next free number, is passed over and never opened
// or followed.

struct TVFEbase_SHRec;
using TVFEbase_SH = TVFEbase_SHRec*;

// The new job in `directory`, its first lines written; nil (error 2) when no
// file could be made. The caller owns it.
TVFEbase_SH TVFEbase_CreateSH(StrIn directory, StrIn jobName);
// The job's file.
void TVFEbase_GetSHName(TVFEbase_SH sh, StrOut path);
// Adds a line; false for nil (error 1) or a failed write.
bool TVFEbase_AppendCommand(TVFEbase_SH sh, StrIn command);
// Adds the line that removes the file, closes it, gives it mode 760 and
// starts it in the background; sh becomes nil. False for nil (error 1) or
// when it could not be started.
bool TVFEbase_StartAndDestroySH(TVFEbase_SH& sh);
// Closes and removes the file without running it; sh becomes nil. Nil is
// error 1.
void TVFEbase_DestroySH(TVFEbase_SH& sh);

// --- Format lists --------------------------------------------------------------------

// The supported formats whose files are line work (`lineWork`) or continuous
// tone, asked of the drivers through the name "dummy" with the format's
// suffix (".dev" counts as continuous tone); the main format of the kind
// (".qlf", ".qif") preselected. The caller destroys the list
// (SImage_DestroyListOfSupportedFormats).
SImage_FormatList TVFEbase_SubsetList(bool lineWork);
SImage_FormatList TVFEbase_GetListOfLWformats();
SImage_FormatList TVFEbase_GetListOfCTformats();

// --- Help and errors -------------------------------------------------------------------

// Opens the online help on `topic`, in `document` when one is given
// ("online.sh [-j DOCUMENT] TOPIC"); tells the operator that it opens
// (message 32) or that it failed (31).
bool TVFEbase_OnlineHelpOnContext(StrIn topic, StrIn document);
// Whether the online help is installed ("online.sh -i").
bool TVFEbase_OnlineDocAvailable();
// "release", "releas2", "releas3" for 1 to 3, else empty.
void TVFEbase_GetReleaseNotesName(std::uint32_t number, StrOut name);
// Reports error `number` of section "TVFEbase" (Messages_Error) and keeps it
// in TVFEbase_error.
void TVFEbase_Error(std::uint8_t number);
