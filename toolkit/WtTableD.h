// WtTableD: descriptions of tables. A table (CWTable, keyword "TABLE") shows
// a linked list of the application's records, one row per record, one
// column per field. The list is the value of a Generic AObj of the type
// "WtTableList": a pointer to the first record. Every record starts with a
// WtTableD_Record (its successor and its selection flag, which the table
// sets as the user selects); the columns name fields by their offset.
//
//   enum column:   an unsigned field of 1, 2 or 4 bytes; each value has a
//                  text and an icon (an index into the table's icon lists);
//                  a value without an entry shows nothing
//   string column: a text field (at most `size` bytes, UTF-8)
//   null column:   an empty column of a fixed width
//   progress column: a double field, a percentage (0 to 100, below 0
//                  nothing); drawn as a bar with its percentage "%3.1f%"
//
// Free width goes to the columns with a fill-up weight, in proportion. The
// key column identifies a record across new lists: the row at the top
// stays the same record, and sorting breaks ties by it.
//
// A string or enum column may be editable: the user changes the record's
// field in place (a string in a field over the cell, an enum by a click
// that goes on to the next value) and the table reports its list again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "toolkit/I.h"
#include "toolkit/W.h"

struct WtTableD_Record {
  WtTableD_Record* next;
  bool selected;
};

struct WtTableD_ColumnRec;
using WtTableD_Column = WtTableD_ColumnRec*;
struct WtTableD_TableRec;
using WtTableD_Table = WtTableD_TableRec*;

// The Generic type of a table's value.
inline constexpr char WtTableD_listType[] = "WtTableList";

// --- Making descriptions -------------------------------------------------------------------

// An empty table; the caller owns it until it is given to a widget, which
// then holds it without owning it: destroy it after the widget.
WtTableD_Table WtTableD_CreateTableDef();
// Frees the table and its columns; nil is accepted.
void WtTableD_DestroyTableDef(WtTableD_Table& table);
// Columns with a header text. The table they are added to owns them.
WtTableD_Column WtTableD_CreateEnumColumn(StrIn header, std::uint32_t offset, std::uint32_t size);
WtTableD_Column WtTableD_CreateStringColumn(StrIn header, std::uint32_t offset, std::uint32_t size);
WtTableD_Column WtTableD_CreateNullColumn(int width);
// A progress column of `width` pixels over a double field.
WtTableD_Column WtTableD_CreateProgressColumn(StrIn header, std::uint32_t offset, int width);
// The text and icon (-1 none) of an enum value; the local form takes the
// text of a message of the catalogs.
void WtTableD_SetSingleEnum(WtTableD_Column column, std::uint32_t value, StrIn text, int icon);
void WtTableD_SetLocalSingleEnum(WtTableD_Column column, std::uint32_t value, StrIn section, unsigned number,
                                 int icon);
// The column's share of free width (0: none).
void WtTableD_SetFillUpWeight(WtTableD_Column column, unsigned weight);
void WtTableD_AddColumn(WtTableD_Table table, WtTableD_Column column);
// The column that identifies a record (a string or enum column of the table).
void WtTableD_SetKeyColumns(WtTableD_Table table, WtTableD_Column key);
// Columns are shown at first; a hidden one takes no width (tell the widget
// with CWTable_ColumnsChanged).
void WtTableD_SetColumnShown(WtTableD_Column column, bool shown);
// Lets the user edit a string or enum column's cells (other kinds stay
// read-only).
void WtTableD_SetColumnEditable(WtTableD_Column column, bool editable);

// The program's colours of a record's row, its background and its text;
// false keeps the table's own.
using WtTableD_RowColorsProc = bool (*)(const WtTableD_Record* record, void* data, W_Color& background,
                                        W_Color& text);
void WtTableD_SetRowColorsProc(WtTableD_Table table, WtTableD_RowColorsProc proc, void* data);
// The tool tip of a cell (the column by its index in the description); ""
// shows none.
using WtTableD_CellTipProc = std::string (*)(const WtTableD_Record* record, std::size_t column, void* data);
void WtTableD_SetCellTipProc(WtTableD_Table table, WtTableD_CellTipProc proc, void* data);
// Gives the table widget of element `element` this description.
void WtTableD_SetTableDescription(I_Context context, std::int32_t element, WtTableD_Table table);

// --- Reading descriptions (the widget) --------------------------------------------------------

enum WtTableD_Kind : std::uint8_t { WtTableD_kEnum, WtTableD_kString, WtTableD_kNull, WtTableD_kProgress };

std::size_t WtTableD_ColumnCount(WtTableD_Table table);
WtTableD_Column WtTableD_GetColumn(WtTableD_Table table, std::size_t index);
WtTableD_Kind WtTableD_KindOf(WtTableD_Column column);
StrIn WtTableD_Header(WtTableD_Column column);
unsigned WtTableD_FillUpWeight(WtTableD_Column column);
// A null or progress column's width.
int WtTableD_NullWidth(WtTableD_Column column);
bool WtTableD_ColumnShown(WtTableD_Column column);
bool WtTableD_ColumnEditable(WtTableD_Column column);
// A progress column's percentage for a record (below 0: nothing to show).
double WtTableD_CellProgress(WtTableD_Column column, const WtTableD_Record* record);
// The row's colours through the table's procedure; false: the table's own.
bool WtTableD_RowColors(WtTableD_Table table, const WtTableD_Record* record, W_Color& background, W_Color& text);
// The cell's tip through the table's procedure; "" when none.
std::string WtTableD_CellTip(WtTableD_Table table, const WtTableD_Record* record, std::size_t column);
// The key column, or nil.
WtTableD_Column WtTableD_KeyColumn(WtTableD_Table table);
// What a record shows in a column: its text, and for enum columns the icon
// (-1 none).
std::string WtTableD_CellText(WtTableD_Column column, const WtTableD_Record* record);
int WtTableD_CellIcon(WtTableD_Column column, const WtTableD_Record* record);
// Orders two records by a column (texts by bytes, enums by value).
int WtTableD_Compare(WtTableD_Column column, const WtTableD_Record* a, const WtTableD_Record* b);

// --- Editing cells (the widget) ---------------------------------------------------------------

// The most bytes a string column's field holds (its terminating zero aside).
std::size_t WtTableD_TextCapacity(WtTableD_Column column);
// Writes a string cell; false (the record unchanged) when the text does not
// fit or the column is no string column.
bool WtTableD_SetCellText(WtTableD_Column column, WtTableD_Record* record, StrIn text);
// An enum cell's value, and writing it (the field's size bounds the value).
std::uint32_t WtTableD_CellValue(WtTableD_Column column, const WtTableD_Record* record);
void WtTableD_SetCellValue(WtTableD_Column column, WtTableD_Record* record, std::uint32_t value);
// The value a click gives an enum cell: the next of 0 and the values with
// an entry, in ascending order, after the last 0 again.
std::uint32_t WtTableD_NextValue(WtTableD_Column column, std::uint32_t value);
