// WtGuiLog: the GUI log, one line per user action, from which support
// reproduces an operator's session (the dialog layer's replay plays it).
//
// With TV_GUILOG=FILE set when the program starts, lines are appended to
// FILE:
//   AOBJ <context> <number> <value>      a value the user gave an AObj
//   COMMAND <context> <element> <text>   what a widget logs itself (a
//                                        table's selection, a graph gesture)
//   DELETE_WINDOW <context>              the window manager's close
// Values: TRUE and FALSE, decimal numbers, texts in double quotes with \",
// \\ and \n. A shell with "noGuiLog" (a login, a password) logs nothing,
// ever, nor do the widgets in it. A file that cannot be written is reported
// once on standard error and the program goes on without the log.
#pragma once

#include <string>
#include <vector>

#include "base/Strings.h"
#include "toolkit/WtTypes.h"

// --- The log -----------------------------------------------------------------------------

// Whether lines are being written (TV_GUILOG is read at the first call).
bool WtGuiLog_Active();
// Logs into `file` from now on (replacing TV_GUILOG); false, reported, when
// it cannot be opened. An empty name ends logging.
bool WtGuiLog_Open(StrIn file);
// Appends one line (the new line is added).
void WtGuiLog_Line(StrIn line);

// --- What widgets log ----------------------------------------------------------------------

// Whether `w` lies in a shell whose actions are never logged.
bool WtGuiLog_IsHidden(Widget w);
// "COMMAND <dialog> <element> <text>" for a widget of a dialog (its shell's
// dialog name and its element number); nothing when hidden or the widget
// belongs to no dialog.
void WtGuiLog_Command(Widget w, StrIn text);
// "DELETE_WINDOW <dialog>" for a shell.
void WtGuiLog_DeleteWindow(Widget shell);

// --- Words -------------------------------------------------------------------------------

// A text as a logged string: in double quotes with \", \\ and \n.
std::string WtGuiLog_Quote(StrIn text);
// A word of a command: as it stands, or quoted when it holds a blank, a
// quote or a backslash (or is empty).
std::string WtGuiLog_Word(StrIn text);
// Splits a logged text into words at blanks; a quoted word loses its quotes
// and escapes. False for an unterminated quote or a bad escape.
bool WtGuiLog_SplitWords(StrIn text, std::vector<std::string>& words);

// --- Failures of replayed commands -----------------------------------------------------------

// A widget's DoCommand calls this when it cannot play a command; the replay
// then ends with `why` and the line's number.
void WtGuiLog_CommandFailed(StrIn why);
// Takes the failure noted since the last call; false when there was none.
bool WtGuiLog_TakeCommandFailure(std::string& why);
