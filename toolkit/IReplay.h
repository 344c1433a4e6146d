// IReplay: the dialog layer's side of the GUI log (WtGuiLog.h): the values
// the user gives AObjs are logged, and a logged session is played back as
// user input.
//
// With TV_GUIREPLAY=FILE set when the program starts, the lines of FILE
// are played one per round of the loop, while no event waits and no task
// runs:
//   AOBJ <context> <number> <value>   through Ibase_Callback with a widget
//                                     of the AObj as source, so that the
//                                     program's callback runs
//   COMMAND <context> <element> <text>  to the element's DoCommand
//   DELETE_WINDOW <context>           to the shell's close
//   WAIT <milliseconds>               a pause
// Blank lines and lines from "#" are passed over. A line waits, up to 30 s,
// until an instance of its context is active (the newest is used). A line
// that cannot be played ends the replay with the file's name, the line's
// number and why on standard error; the program goes on.
//
// Replay: stopped -> playing (IReplay_Start) -> waiting (WAIT, or a context
// not yet active) -> playing -> ... -> stopped (end of file, a failure).
#pragma once

#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "toolkit/Ibase.h"

// Starts the replay of TV_GUIREPLAY, if set; runs once (I_Init calls it).
void IReplay_Init();
// Plays `file` from its first line; a line waits at most `contextWaitMs` for
// its context. False, reported, when the file cannot be read.
bool IReplay_Start(StrIn file, int contextWaitMs = 30000);
void IReplay_Stop();
bool IReplay_Running();
// Milliseconds until the next line is due (0: now), -1 when none is.
std::int64_t IReplay_TimeTillNext();
// Plays the next line if it is due.
void IReplay_Check();
// A command handler outside the toolkit (the graph's) that cannot play its
// command: the replay ends with `why`.
void IReplay_ParseError(StrIn why);

// Logs a value the user gave `aobj` (not Generic values, nor those of a
// hidden window's dialog).
void IReplay_LogValue(const Ibase_AObj* aobj);
// A value in the log's form, and back (false when `text` is no value of the
// AObj's kind).
std::string IReplay_FormatValue(const Ibase_AObj* aobj, const WidgetValue& value);
bool IReplay_ParseValue(const Ibase_AObj* aobj, StrIn text, WidgetValue& value);
