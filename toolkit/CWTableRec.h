// The state of a table, shared by the files of CWTable only: CWTable.cpp
// (the class: layout, input, value, tips), CWTableDraw.cpp (drawing the
// rows, the grid and the header) and CWTableEdit.cpp (editing cells).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "toolkit/CWTable.h"
#include "toolkit/WtIconList.h"
#include "toolkit/WtRowScroll.h"

// The field over a string cell being edited (record nil: none is open).
struct CWTable_Editor {
  WtTableD_Record* record = nullptr;
  std::size_t column = 0;
  std::string text;
  int cursor = 0;  // a byte index at a character's start
};

struct CWTable_State {
  std::vector<WtTableD_Record*> rows;  // in the order shown
  WtIconList icons;
  std::vector<int> columnX, columnWidth;  // in the window; a hidden column is 0 wide
  std::size_t top = 0;                    // the first row shown
  std::size_t anchor = 0;                 // where a Shift range starts
  int sortColumn = -1;
  bool sortDescending = false;
  bool focused = false;
  WtRowScroll_Grip grip;  // the scroll bar's thumb
  bool changedOnPress = false;
  bool pressedOnRow = false;
  // The cell whose tip is on its way or shown (nil: the table's own help).
  const WtTableD_Record* tipRecord = nullptr;
  int tipColumn = -1;
  CWTable_Editor editor;
  std::size_t pressedRow = 0;  // the cell of the last press on a row
  int pressedColumn = -1;
};

inline constexpr int CWTable_iconGap = 3;  // between a cell's icon and its text

inline CWTable CWTable_Of(Widget w) { return static_cast<CWTable>(w); }

// The parts of the table's window: the rows from `bottom` up to `rowsTop`,
// the header above them up to `top`, the scroll bar right of `right`.
struct CWTable_Area {
  int left, right, bottom, rowsTop, top;
};
CWTable_Area CWTable_InnerArea(CWTable t);
// Notes why a replayed command cannot be played: message `number` of
// "CWTable", with `word` put in.
void CWTable_CommandFailed(unsigned number, const std::string& word = {});
int CWTable_RowHeight(CWTable t);
// The header's font size.
int CWTable_HeaderSize(CWTable t);
// Icon `index` of the table's lists (0 when there is none) and its size.
W_Pixmap CWTable_Icon(CWTable t, int index, int& width, int& height);

// --- Drawing (CWTableDraw.cpp) ----------------------------------------------------------------

// The rows in view, the grid, the header and the focus frame.
void CWTable_DrawContents(CWTable t, W_GC gc);
// The cells of one column in the rows in view, at once, with the grid lines
// and the focus frame that cross them.
void CWTable_DrawColumnCells(CWTable t, W_GC gc, std::size_t column);

// --- Editing cells (CWTableEdit.cpp) -------------------------------------------------------------

// Edits a cell as the user asked (a click on an enum cell, a double click,
// Return or F2 on a string cell): an enum takes its next value at once, a
// string cell gets the editor. False when the cell is not editable.
bool CWTable_EditCell(CWTable t, std::size_t row, std::size_t column);
// The first editable column of a kind that is shown, or -1.
int CWTable_FirstEditable(CWTable t, WtTableD_Kind kind);
// A key while the editor is open. Return writes, Escape forgets; a key the
// editor has no use for (Tab, the arrows up and down) writes and is left to
// the table (false).
bool CWTable_EditorKey(CWTable t, const W_Event& event);
// A press in the editor's cell puts the cursor there; false elsewhere.
bool CWTable_EditorPress(CWTable t, std::int32_t row, int column, int x);
// Closes the editor; with `write` a changed text goes into the record.
void CWTable_CloseEditor(CWTable t, bool write);
void CWTable_DrawEditor(CWTable t, W_GC gc);
// Plays "CELL <key> <n> <column> <value>" (the words of a command).
void CWTable_PlayCell(CWTable t, const std::vector<std::string>& words);
