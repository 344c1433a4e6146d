// CWList: "WList" (keyword "LIST"), a list of texts to choose from, or, with
// "comboBoxMode", a combo box: a text field with a pull-down of the texts.
//
// The entries are "dynStr", texts separated by new lines, from the catalog
// or set by the program at any time (I_SetReprAttr); a new text shows at
// once, and the value is shown again against it.
//
// The plain list shows "rows" rows "columns" characters wide (font slot
// "fontSize", mono with "fontFixed"), "vGap" pixels between rows, entry
// "firstEntry" at the top; a scroll bar at the right when the entries do not
// fit; the wheel scrolls. A click selects an entry and reports (a double
// click reports even when the selection stays); with "multipleSelect"
// Ctrl-click adds or removes one. With the focus, Up, Down, Home, End, Page
// up and Page down move the selection and report. "autoPos": a value put by
// the program scrolls its entry into view. "dynamic": the list asks for as many rows as it has
// entries, at most "rows" (at least one).
//
// The value: of an INTEGER, the index of the selected entry from 0 (-1
// none); of a STRING, the selected entry's text (a text that is no entry
// selects none). With "multipleSelect" the INTEGER is the entry clicked last
// (when it stayed selected, else the first selected one) and the STRING the
// selected texts separated by new lines.
//
// Colours: with "coloredList" an entry that begins with "#RRGGBB " (six hex
// digits and a blank) shows its text in that colour; with "fullColoredList"
// the colour fills its row instead (the text white on a dark one). The mark
// is not part of the text shown or reported.
//
// The combo box ("comboBoxMode") is one line: an editable text field with a
// button at its right. The button, or Alt-Down in the field, opens the
// entries in a pull-down below (at most "rows" rows; the pointer or Up and
// Down highlight, a click or Return chooses; Escape or a click outside
// closes). Its value is a STRING: a chosen entry becomes the field's text
// and is reported at once; a typed text is reported when committed (Return
// or leaving the field) as a TEXTFIELD does. Bound to an INTEGER the value
// is the index of the entry the text is (-1 none).
#pragma once

#include <cstddef>

#include "toolkit/CWCore.h"

struct CWList_State;

struct CWList_Rec : CWCore_Rec {
  std::int32_t firstEntry, columns, rows, vGap;
  bool multipleSelect, autoPos, coloredList, fullColoredList, fontFixed, dynamic, comboBoxMode;
  std::uint8_t fontSize;
  CAttribs_String dynStr;
  CWList_State* state;
};
using CWList = CWList_Rec*;

extern Classes_ClassPtr CWList_class;
extern std::uint32_t CWList_dynStrAT;

void CWList_CreateClass();

// --- Entries -------------------------------------------------------------------------------

std::size_t CWList_EntryCount(Widget list);
// The text of an entry as shown (without its colour mark); empty beyond the last.
StrIn CWList_EntryText(Widget list, std::size_t index);
bool CWList_IsSelected(Widget list, std::size_t index);
// The entry shown at the top.
std::size_t CWList_TopEntry(Widget list);
// Where an entry is in the list's window (lower left corner and size);
// false when it is not in view.
bool CWList_EntryPlace(Widget list, std::size_t index, Regions_Rect& place);

// --- The combo box ------------------------------------------------------------------------

// Its text field (nil for a plain list) and its pull-down's list (nil until
// it first opened), for looking at them.
Widget CWList_ComboField(Widget combo);
Widget CWList_ComboDropList(Widget combo);
bool CWList_ComboIsOpen(Widget combo);
