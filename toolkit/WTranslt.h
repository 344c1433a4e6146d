// WTranslt: translations, the bindings of keys, buttons and other events to
// actions, written in a small language:
//
//   [!] {[~]Modifier} <EventName> detail   {, another}
//
// Modifiers "Ctrl", "Alt", "Shift", "Btn1".."Btn5", "None" (none of them);
// "~" wants the modifier clear; a leading "!" wants all others clear.
// Events: "Key", "BtnDown", "Btn1Down".."Btn5Down", "BtnUp", "Btn1Up"..,
// "Motion", "BtnMotion", "Btn1Motion".., "Enter", "Leave", "Expose",
// "Prop", "FocusIn", "FocusOut", "Configure", "Create", "Destroy", "Map",
// "Unmap", "GrExp", "NoExp", "Message", "SelectionClear",
// "SelectionRequest", "Selection". A key's detail is empty (any key), one
// character, a key name ("Enter", "BS", "InsToggle", "Abort", "CsrRight",
// "CsrLeft", "CsrUp", "CsrDown", "Del", "PgUp", "PgDown", "Home", "End",
// "F1".."F10", "Tab", "BackTab"), "\\", "\^", "\," or "^X" for a control
// character. A message's detail is an atom name: "<Message> WM_DELETE_WINDOW".
//
// A failed parse is a message of "WTranslt" with the text and a "^" under
// the place: 1 empty, 2 "<" expected, 3 ">" expected, 4 unknown event,
// 5 name expected, 6 name too long, 7 "," expected, 8 nothing after "\" or
// "!", 11 bad control character, 12 unknown key, 15 atom failed, 16 unknown
// modifier, 17 contradiction, 18 duplicate, 19 modifier not allowed for this
// event, 20 bad escape, 21 text left over.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "toolkit/W.h"
#include "toolkit/WtTypes.h"

// The message number of the last failed parse; 0 after a success.
extern std::uint8_t WTranslt_error;

// An action; it handles the event unless it calls WTranslt_ReturnEvent.
using WTranslt_Action = void (*)(Widget widget, W_Event& event);

struct WTranslt_TableRec;
using WTranslt_Table = WTranslt_TableRec*;

// --- Tables ------------------------------------------------------------------------

WTranslt_Table WTranslt_NilTranslationTable();
WTranslt_Table WTranslt_CreateTranslationTable();
// A table of its own with the same entries; nil gives an empty table.
WTranslt_Table WTranslt_CopyTranslationTable(WTranslt_Table table);
// Frees the table and sets it to nil; nil is accepted.
void WTranslt_DestroyTranslationTable(WTranslt_Table& table);
// Appends the translations of `text` bound to `action` (a nil table is made
// first). False, table unchanged, when the text does not parse.
bool WTranslt_EnterTranslation(WTranslt_Table& table, StrIn text, WTranslt_Action action);
// The same after removing the entries for the same events and details.
bool WTranslt_OverrideTranslation(WTranslt_Table& table, StrIn text, WTranslt_Action action);
// The toolkit event mask the table's entries need.
std::uint32_t WTranslt_EventMask(WTranslt_Table table);

// --- Widgets -------------------------------------------------------------------------

// Gives the widget a table (a copy is the caller's business) and selects the
// events it needs if the widget has a window.
void WTranslt_SetTranslationTable(Widget widget, WTranslt_Table table);
WTranslt_Table WTranslt_GetTranslationTable(Widget widget);
// Runs every action of the widget's table that matches, in the order of
// entry; the event's `handled` tells whether any of them kept it.
bool WTranslt_TranslateEvent(Widget widget, W_Event& event);
// Called by an action: the event is not handled and travels on.
void WTranslt_ReturnEvent(Widget widget, W_Event& event);

// --- The language ----------------------------------------------------------------------

// The kind of an event name and its mask; false for an unknown name.
bool WTranslt_GetEventInfo(StrIn name, std::uint8_t& kind, std::uint32_t& mask);
// The character of a key detail ("a", "Enter", "^C", "\,"); false when it
// names no key.
bool WTranslt_TranslateKeyString(StrIn text, std::uint8_t& ch);
