// SwitchBd: the switchboard, the system's one broadcast. Views plug an inlet
// with a callback into a board; a change is announced by one word (most often
// the address of a short text naming what changed) that goes to the inlets,
// newest first.
//
// Ownership: whoever made a board or an inlet destroys it. The board does not
// own its inlets: a board destroyed first leaves them detached and deaf, and
// DestroyInlet still frees them.
//
// Callbacks may change the board under a message: an inlet destroyed during a
// message is not called from then on (not even by the message in progress)
// and is freed when the outermost message on its board returns; an inlet made
// during a message hears only later messages; a board destroyed during a
// message stops that message after the current callback and is freed when
// the outermost message returns.
#pragma once

#include <cstdint>

struct SwitchBd_Rec;
using SwitchBd = SwitchBd_Rec*;
struct SwitchBd_InletRec;
using SwitchBd_Inlet = SwitchBd_InletRec*;

using SwitchBd_Callback = void (*)(std::uintptr_t data);

// --- Create and destroy ------------------------------------------------------

// The empty board and inlet: every routine accepts them and does nothing.
SwitchBd SwitchBd_NilSwitchBd();
SwitchBd_Inlet SwitchBd_NilInlet();
// A new board without inlets; the caller owns it.
SwitchBd SwitchBd_Create();
// Frees the board, detaches its inlets and sets `board` to nil; nil is
// accepted.
void SwitchBd_Destroy(SwitchBd& board);

// --- Inlets ------------------------------------------------------------------

// Plugs a new inlet into `board`, in front of the others; nullptr stands for
// SwitchBd_NoMsg. The caller owns the inlet. Nil for a nil board.
SwitchBd_Inlet SwitchBd_CreateInlet(SwitchBd board, SwitchBd_Callback callback);
// The same, under the name a listener uses.
SwitchBd_Inlet SwitchBd_NotifyMe(SwitchBd board, SwitchBd_Callback callback);
// Unplugs and frees the inlet (see above for inside a message) and sets it to
// nil; nil is accepted.
void SwitchBd_DestroyInlet(SwitchBd_Inlet& inlet);
// The callback that ignores every message.
void SwitchBd_NoMsg(std::uintptr_t data);

// --- Messages ----------------------------------------------------------------

// Calls every other inlet of the sender's board with `data`, newest first;
// the sender does not hear itself. Nothing for nil or a detached inlet.
void SwitchBd_Message(SwitchBd_Inlet sender, std::uintptr_t data);
// Calls every inlet of `board` with `data`, newest first. Nothing for nil.
void SwitchBd_WallMessage(SwitchBd board, std::uintptr_t data);
