// The state of a table, shared by the files of CWTable only: CWTable.cpp
// (the class: layout, input, value, tips) and CWTableDraw.cpp (drawing the
// rows, the grid and the header).
#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/CWTable.h"
#include "toolkit/WtIconList.h"

struct CWTable_State {
  std::vector<WtTableD_Record*> rows;  // in the order shown
  WtIconList icons;
  std::vector<int> columnX, columnWidth;  // in the window; a hidden column is 0 wide
  std::size_t top = 0;                    // the first row shown
  std::size_t anchor = 0;                 // where a Shift range starts
  int sortColumn = -1;
  bool sortDescending = false;
  bool focused = false;
  bool dragging = false;  // the scroll bar's thumb
  int dragOffset = 0;
  bool changedOnPress = false;
  bool pressedOnRow = false;
  // The cell whose tip is on its way or shown (nil: the table's own help).
  const WtTableD_Record* tipRecord = nullptr;
  int tipColumn = -1;
};

inline constexpr int CWTable_iconGap = 3;  // between a cell's icon and its text

inline CWTable CWTable_Of(Widget w) { return static_cast<CWTable>(w); }

// The parts of the table's window: the rows from `bottom` up to `rowsTop`,
// the header above them up to `top`, the scroll bar right of `right`.
struct CWTable_Area {
  int left, right, bottom, rowsTop, top;
};
CWTable_Area CWTable_InnerArea(CWTable t);
// The height of a line of text (and its descent).
int CWTable_LineHeight(int size, bool mono, int* descent = nullptr);
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
