// CWTable: "WTable" (keyword "TABLE"), the table of a list of records
// described by a WtTableD description ("internTableDescr"). Its value is
// the list: the Generic type "WtTableList", a pointer to the first record.
//
// A header row (with "showHeader"; in the small font with "smallHeader")
// names the columns; with "sortable" a click on it sorts the rows by that
// column, a second click the other way (the list itself stays as it is).
// Rows are "rowHeight" high, or as high as their text and icons ("cellHeight"
// at least; without "ignoreIconHeights" the icons count), with
// "cellVertBorder" and "cellHoriBorder" around the contents. The table asks
// for "defaultWidth" pixels and "defaultRows" rows (with "dynamicRows" as
// many as it has, up to that). Rows alternate their shade by five
// ("fiveRowBlocks") or one by one ("oneRowBlocks"); "vertLines" and
// "horiLines" draw the grid. Icons of enum columns come from the pixmap
// names in "iconList" to "iconList4" (separated by blanks, found below
// "iconPath"), counted from 0 across the lists.
//
// "selectMode": 0 nothing is selected, 1 one row, 2 several (Ctrl adds or
// removes a row, Shift a range). A click selects; the table sets the
// records' flags and reports its value when the selection changed or on a
// double click. The arrows, Page up and down, Home and End move a single
// selection. With "autoPos" a new list scrolls its first selected row into
// view; otherwise the row at the top stays the same record (by the key
// column). The wheel and the scroll bar at the right move the rows.
//
// The description may give rows the program's colours (a selected row keeps
// the program's text colour on the selection's), tips per cell (shown as the
// pointer rests on the cell, whenever tips are on), progress columns (a bar
// and its percentage, of a fixed width) and hide columns: a hidden column
// takes no room, has no header and no grid line, and no click finds it.
//
// Editable columns (WtTableD_SetColumnEditable): a click on an enum cell, or
// Space on the selected row, gives it its next value; a double click, or
// Return or F2 on the selected row, edits a text in a field over the cell
// (Return or leaving writes, Escape forgets). An edit goes into the record,
// is logged ("CELL", which DoCommand plays) and reported as the value.
#pragma once

#include <cstddef>

#include "toolkit/CWGroup.h"
#include "toolkit/WtTableD.h"

struct CWTable_State;

struct CWTable_Rec : CWGroup_Rec {
  std::int32_t defaultWidth, defaultRows;
  std::uint8_t selectMode, fontSize, hAlign;
  bool fontFixed, autoPos, showHeader, smallHeader, sortable, vertLines, horiLines, fiveRowBlocks, oneRowBlocks,
      ignoreIconHeights, dynamicRows;
  CAttribs_String iconPath, iconList[5];
  std::int32_t cellVertBorder, cellHoriBorder, cellHeight, rowHeight;
  W_Color selectionColor, drawColor, headerBackground, headerDrawColor;
  WtTableD_Table internTableDescr;  // not owned
  CWTable_State* state;
};
using CWTable = CWTable_Rec*;

extern Classes_ClassPtr CWTable_class;

void CWTable_CreateClass();
// Redraws one column (by its index in the description), after the program
// changed that field in its records.
void CWTable_RedrawColumn(Widget table, std::size_t column);
// Lays the columns out again and redraws, after columns were shown or hidden
// (WtTableD_SetColumnShown).
void CWTable_ColumnsChanged(Widget table);
// The rows in the order shown.
std::size_t CWTable_RowCount(Widget table);
const WtTableD_Record* CWTable_RowRecord(Widget table, std::size_t row);
// The row shown at the top, and the place of a row on the screen (its
// lower left corner and size in the table's window); false when it is not
// in view.
std::size_t CWTable_TopRow(Widget table);
bool CWTable_RowPlace(Widget table, std::size_t row, Regions_Rect& place);
// The place of a cell (the column by its index in the description); false
// when its row is not in view or the column is hidden.
bool CWTable_CellPlace(Widget table, std::size_t row, std::size_t column, Regions_Rect& place);
