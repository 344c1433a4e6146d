// CWTextIO: "WTextIO" (keyword "TEXTIO"), a text to read or edit: one line,
// or "rows" lines; "columns" characters wide (or "viewWidth" and
// "viewHeight" pixels). Its value is a STRING.
//
// Editing: characters insert (over the selection); BackSpace and Delete;
// the arrows, Home and End move (with Shift they select); Ctrl-A selects
// all; Ctrl-C copies, Ctrl-X cuts and Ctrl-V pastes through the clipboard
// ("CLIPBOARD"); a selection made with the mouse is the primary selection,
// which the middle button pastes. Return commits a single line (and travels
// on to the shell) or breaks a multi-line text. Committing (Return, losing
// the focus, CWCore_CheckValue) reports a changed text to the callback.
// Without "editable" the text can be selected and copied only. "noDisp"
// shows a star per character; the text is UTF-8 (typed keys are ISO 8859-1
// and converted); "visibleSpaces" shows blanks as dots;
// "cursorAtEnd" puts the cursor behind a text that is set; "hAlign" places a
// read-only line (0 left, 1 centre, 2 right).
#pragma once

#include <string>

#include "toolkit/CWCore.h"

struct CWTextIO_Rec : CWCore_Rec {
  W_Color drawColor;
  std::int32_t rows, columns, viewWidth, viewHeight;
  bool editable, noDisp, fontFixed, cursorAtEnd, visibleSpaces;
  std::uint8_t hAlign, fontSize;
  // State.
  std::string* text;
  std::string* committed;  // the text last reported or set
  std::int32_t cursor;     // byte index into text, at a character's start
  std::int32_t anchor;     // the other end of the selection; == cursor: none
  std::int32_t scrollX;    // pixels scrolled to the left
  std::int32_t firstLine;  // the top line shown
  bool focused, dragging;
  W_Time lastTime;         // of the last input event, for selections
  bool pasteAsString;      // the paste in progress asked for Latin-1
};
using CWTextIO = CWTextIO_Rec*;

struct CWTextIO_ClassRec : CWCore_ClassRec {
  // Whether a typed character may go into the text.
  bool (*AcceptsChar)(Widget w, std::uint8_t ch) = nullptr;
};

extern Classes_ClassPtr CWTextIO_class;
extern std::uint32_t CWTextIO_editableAT, CWTextIO_columnsAT, CWTextIO_rowsAT;

void CWTextIO_CreateClass();

// The text being edited, and setting it (no callback).
StrIn CWTextIO_GetText(Widget w);
void CWTextIO_SetText(Widget w, StrIn text);
// The selected part (empty when none).
std::string CWTextIO_SelectedText(Widget w);
// Gives up the selections owned by text fields of `shell` (it goes away).
void CWTextIO_RelinquishSelection(Widget shell);

void CWTextIO_MyInitClass(Classes_ClassPtr cls, void* prototype);
// Commits the text: a changed one is reported.
void CWTextIO_MyCheckValue(Widget w);
void CWTextIO_MySetValue(Widget w, const WidgetValue& value);
