// WFfileOp: moving, copying and deleting the files an operator acts on in
// the manager's windows (a folder's content, the error directory).
//
// A file never shows half in its target, and a name that is taken there is
// never replaced:
//   - a move within one file system is one rename that refuses to replace;
//   - a copy, and a move across file systems, write the bytes under a
//     temporary name in the target's directory (SFilMisc_CreateTmpName: no
//     demon takes it, no list shows it), sync them and then give the file
//     its name, again without replacing; a move removes its source only
//     then (and when the source can't be removed, takes the copy back, so
//     that the file is in one place).
// Permission bits and modification time go with the file.
//
// Every call answers true on success. On failure WFfileOp_error holds why
// (and WFfileOp_systemError the system's errno) until the next call, and
// WFfileOp_GetErrorText words it with the paths of that call. Nothing is
// shown here: the windows gather the failures of an action into one message.
#pragma once

#include <cstdint>

#include "base/Strings.h"

// Why the last call failed.
inline constexpr std::uint8_t WFfileOp_ok = 0;
inline constexpr std::uint8_t WFfileOp_gone = 1;    // the source is not there (any more)
inline constexpr std::uint8_t WFfileOp_exists = 2;  // the target name is taken; nothing was changed
inline constexpr std::uint8_t WFfileOp_failed = 3;  // the system refused (not writable, full, ...)

extern std::uint8_t WFfileOp_error;
extern int WFfileOp_systemError;

// --- Operations ---------------------------------------------------------------------------

// Moves the file `from` to the path `to`.
bool WFfileOp_Move(StrIn from, StrIn to);
// Moves `from` into `directory` under its own last element.
bool WFfileOp_MoveInto(StrIn from, StrIn directory);
// Copies the file `from` to the path `to`; `from` stays.
bool WFfileOp_Copy(StrIn from, StrIn to);
// Removes the file `path`.
bool WFfileOp_Delete(StrIn path);

// --- Words --------------------------------------------------------------------------------

// The failure of the last call as a sentence of section "WFfileOp" naming
// its paths (and the system's reason); empty after a success.
void WFfileOp_GetErrorText(StrOut text);
