// Imisc: ready-made message boxes and progress windows, made from the
// dialogs of "marldlg" ("_errmsg", "_yes", "_confirm", "_SaveConfirm",
// "_timedNotify", "_timedNotifyOK", "_ErrExpl", "_timer", "_timer_brk",
// "_timer_msg", "_timer_msg_brk"). In each, value 2 is the INTEGER of the
// button pressed (Return gives 1, Escape and the window manager's close 0)
// and element 3 the text.
//
// Message boxes are modal: they return when answered. The forms with a
// section and number show that message; the Str forms the text given.
// Without a display the text goes to standard error and a question gets
// the careful answer (no, cancel).
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "toolkit/I.h"

struct Imisc_TimerRec;
using Imisc_Timer = Imisc_TimerRec*;

// --- Message boxes -----------------------------------------------------------------------

// A notice; it goes away by itself after `seconds`, or with 0 when its OK
// is pressed.
void Imisc_Notify(StrIn section, unsigned number, unsigned seconds);
void Imisc_StrNotify(StrIn text, unsigned seconds);
// An error to be acknowledged.
void Imisc_ErrMsg(StrIn section, unsigned number);
void Imisc_StrErrMsg(StrIn text);
// A question: true for Yes.
bool Imisc_Yes(StrIn section, unsigned number);
bool Imisc_StrYes(StrIn text);
// A request to confirm: true for OK.
bool Imisc_Confirm(StrIn section, unsigned number);
bool Imisc_StrConfirm(StrIn text);
// Whether to save changes: 1 save, 2 discard them, 0 cancel.
int Imisc_SaveConfirm(StrIn section, unsigned number);
int Imisc_StrSaveConfirm(StrIn text);
// A question with three answers of the caller's words: 1, 2, or 0 for the
// third (also Escape and the close button); 2 when the box can't be made.
int Imisc_GenericConfirm(StrIn section, unsigned number, StrIn first, StrIn second, StrIn third);
int Imisc_StrGenericConfirm(StrIn text, StrIn first, StrIn second, StrIn third);
// A message with the reasons of the error stack beneath it (the stack is
// emptied); the final form then ends the program with status 1.
void Imisc_ErrorExplain(StrIn section, unsigned number);
[[noreturn]] void Imisc_FinalErrorExplain(StrIn section, unsigned number);

// --- Progress ----------------------------------------------------------------------------

// A window with a message and a bar that fills up to `total` steps; with
// `withBreak` a Break button. Nil without a display (the others accept it).
Imisc_Timer Imisc_StartTimer(StrIn section, unsigned number, std::uint32_t total, bool withBreak);
// The same with a line below that the caller changes as work goes on.
Imisc_Timer Imisc_StartMsgTimer(StrIn section, unsigned number, std::uint32_t total, bool withBreak);
// `done` steps are done: the bar shows it and events are handled. False
// when the user pressed Break (or Escape).
bool Imisc_NotifyTimer(Imisc_Timer timer, std::uint32_t done);
bool Imisc_NotifyMsgTimer(Imisc_Timer timer, std::uint32_t done, StrIn text);
// Takes the window away and sets the handle to nil.
void Imisc_FinishTimer(Imisc_Timer& timer);
// The yield callback of long work: handles events and due work; true when
// the user asked to break the newest progress window.
bool Imisc_BreakCallback();

// --- Helpers -----------------------------------------------------------------------------

// Sizes a text element ("columns", "rows") to its text, at most 80 columns
// (longer lines are broken at blanks) and 20 rows, and shows the text.
void Imisc_ConfigureAndShowText(I_Context context, std::int32_t element, StrIn text);
// The width of a text in the normal font, in pixels.
int Imisc_TextWidth(StrIn text);
// Whether events wait to be handled.
bool Imisc_PendingEvents();
