// TVFEbase: services the front ends and the manager's windows share. Today:
// starting an outside command (a viewer, a site's script) from a window.
//
// A command started from a window must neither write into the terminal the
// program was started from nor read from it, and must not hold the window
// up unless asked to wait:
//   - with the flag IO_DEV_NULL (TV_IO_DEV_NULL, or the file IO_DEV_NULL in
//     the site directory) its output goes to the device named by the
//     variable CONSOLE, else to "/dev/console" when that can be opened for
//     writing, else to "/dev/null": " >DEVICE" is put behind the command
//     unless it holds ">" already, and " 2>&1" unless it holds "2>";
//     without the flag one blank is put behind it, and the output goes
//     where the program's goes;
//   - " </dev/null" unless the command holds "<";
//   - " &" unless the caller waits for it.
// Names inside the command are the caller's to quote
// (SFilMisc_EscapeShMetaChars).
#pragma once

#include "base/Strings.h"

// The command line TVFEbase_StartACommand runs for `command`.
void TVFEbase_CommandLine(StrIn command, bool wait, StrOut line);
// Runs the command line through the shell (Processe_System). True when the
// shell's exit code is 0: with `wait` the command's own, otherwise only that
// the shell started it.
bool TVFEbase_StartACommand(StrIn command, bool wait);
