// Editing a table's cells: an enum cell goes on to its next value at a
// click (or Space on the selected row); a string cell is edited in a field drawn over it, which the table
// keeps while it has the focus (typing, BackSpace and Delete, Left, Right,
// Home and End; Return writes, Escape forgets, a click elsewhere or the
// focus going writes). Every edit is logged as the line the replay plays:
//   CELL <key> <n> <column> <value>
// the row by its key column's text and its number among the rows of that
// key in the program's list (from 1; key "*" counts all rows of a table
// without a key column), the column by its index in the description, the
// value a text or an enum's number.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <vector>

#include "toolkit/CWTableRec.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtGuiLog.h"
#include "toolkit/WtUtf8.h"

namespace {

WtTableD_Table Descr(CWTable t) { return t->internTableDescr; }

// The records in the program's order (the rows shown may be sorted).
std::vector<WtTableD_Record*> ListOrder(CWTable t) {
  WtTableD_Record* head = nullptr;
  if (WtTypes_TSize(t->value.widgetType) >= sizeof head) std::memcpy(&head, t->value.VALUE, sizeof head);
  std::vector<WtTableD_Record*> list;
  for (WtTableD_Record* r = head; r != nullptr && list.size() < t->state->rows.size(); r = r->next) list.push_back(r);
  return list;
}

std::string KeyOf(CWTable t, const WtTableD_Record* r) {
  const WtTableD_Column key = WtTableD_KeyColumn(Descr(t));
  return key != nullptr ? WtTableD_CellText(key, r) : "*";
}

// "<key> <n>" of a record.
std::string RowName(CWTable t, const WtTableD_Record* record) {
  const std::string key = KeyOf(t, record);
  std::size_t n = 0;
  for (const WtTableD_Record* r : ListOrder(t)) {
    if (KeyOf(t, r) == key) ++n;
    if (r == record) break;
  }
  return WtGuiLog_Word(key) + " " + std::to_string(n);
}

WtTableD_Record* FindRow(CWTable t, const std::string& key, std::size_t n) {
  for (WtTableD_Record* r : ListOrder(t))
    if (KeyOf(t, r) == key && --n == 0) return r;
  return nullptr;
}

// Whether the user may edit the column.
WtTableD_Column Editable(CWTable t, std::size_t column) {
  WtTableD_Column c = WtTableD_GetColumn(Descr(t), column);
  return c != nullptr && WtTableD_ColumnEditable(c) && WtTableD_ColumnShown(c) ? c : nullptr;
}

// Writes a value into a record's cell, logs it, shows it and reports the
// list as the table's value. False when a text does not fit.
bool Write(CWTable t, WtTableD_Record* r, std::size_t column, const std::string& text, std::uint32_t value) {
  WtTableD_Column c = WtTableD_GetColumn(Descr(t), column);
  const std::string line = "CELL " + RowName(t, r) + " " + std::to_string(column) + " ";
  if (WtTableD_KindOf(c) == WtTableD_kEnum) {
    WtTableD_SetCellValue(c, r, value);
    WtGuiLog_Command(t, line + std::to_string(value));
  } else if (WtTableD_SetCellText(c, r, text)) {
    WtGuiLog_Command(t, line + WtGuiLog_Word(text));
  } else {
    return false;
  }
  CWTable_RedrawColumn(t, column);
  CWCore_CallCallback(t);
  return true;
}

std::size_t RowOf(CWTable t, const WtTableD_Record* record) {
  const auto& rows = t->state->rows;
  return static_cast<std::size_t>(std::find(rows.begin(), rows.end(), record) - rows.begin());
}

// The editor's place: its cell; false when its row is out of view.
bool EditorPlace(CWTable t, Regions_Rect& place) {
  const CWTable_Editor& e = t->state->editor;
  return e.record != nullptr && CWTable_CellPlace(t, RowOf(t, e.record), e.column, place);
}

void RedrawEditor(CWTable t) {
  Regions_Rect place;
  if (t->realized && EditorPlace(t, place)) WtDraw_RedrawWidgetArea(t, place.x, place.y, place.width, place.height);
}

int TextWidth(CWTable t, const std::string& text) { return WtDraw_StringWidth(t->fontSize, t->fontFixed, text); }
int Inset(CWTable t) { return t->cellHoriBorder + 2; }

// Pixels the text moves left so that the cursor stays in the cell.
int Shift(CWTable t, const Regions_Rect& place) {
  const CWTable_Editor& e = t->state->editor;
  const int room = place.width - 2 * Inset(t) - 1;
  return std::max(0, TextWidth(t, e.text.substr(0, static_cast<std::size_t>(e.cursor))) - room);
}

bool Printable(std::uint8_t ch) { return (ch >= 32 && ch < 127) || ch >= 160; }

}  // namespace

bool CWTable_EditCell(CWTable t, std::size_t row, std::size_t column) {
  WtTableD_Column c = Editable(t, column);
  if (c == nullptr || row >= t->state->rows.size()) return false;
  WtTableD_Record* r = t->state->rows[row];
  if (WtTableD_KindOf(c) == WtTableD_kEnum) return Write(t, r, column, {}, WtTableD_NextValue(c, WtTableD_CellValue(c, r)));
  CWTable_CloseEditor(t, true);
  CWTable_Editor& e = t->state->editor;
  e = CWTable_Editor{r, column, WtTableD_CellText(c, r), 0};
  e.cursor = static_cast<int>(e.text.size());
  RedrawEditor(t);
  return true;
}

int CWTable_FirstEditable(CWTable t, WtTableD_Kind kind) {
  for (std::size_t i = 0; i < WtTableD_ColumnCount(Descr(t)); ++i)
    if (WtTableD_Column c = Editable(t, i); c != nullptr && WtTableD_KindOf(c) == kind)
      return static_cast<int>(i);
  return -1;
}

void CWTable_CloseEditor(CWTable t, bool write) {
  CWTable_Editor& e = t->state->editor;
  if (e.record == nullptr) return;
  // Closed before the record is written: the program's callback may put a
  // new list. The cell is drawn at once, without the field.
  Regions_Rect place;
  const bool shown = t->realized && EditorPlace(t, place);
  const CWTable_Editor closed = e;
  e = CWTable_Editor{};
  if (shown) WtDraw_RedrawWidgetArea(t, place.x, place.y, place.width, place.height);
  WtTableD_Column c = WtTableD_GetColumn(Descr(t), closed.column);
  if (write && closed.text != WtTableD_CellText(c, closed.record)) Write(t, closed.record, closed.column, closed.text, 0);
}

bool CWTable_EditorKey(CWTable t, const W_Event& event) {
  CWTable_Editor& e = t->state->editor;
  if (e.record == nullptr) return false;
  const std::uint8_t ch = event.input.ch;
  switch (ch) {
    case W_KeyReturn: CWTable_CloseEditor(t, true); return true;
    case W_KeyEscape: CWTable_CloseEditor(t, false); return true;
    case W_KeyLeft: e.cursor = WtUtf8_Previous(e.text, e.cursor); break;
    case W_KeyRight: e.cursor = WtUtf8_Next(e.text, e.cursor); break;
    case W_KeyHome: e.cursor = 0; break;
    case W_KeyEnd: e.cursor = static_cast<int>(e.text.size()); break;
    case W_KeyBackSpace:
    case W_KeyDelete: {
      const int from = ch == W_KeyDelete ? e.cursor : WtUtf8_Previous(e.text, e.cursor);
      const int to = ch == W_KeyDelete ? WtUtf8_Next(e.text, e.cursor) : e.cursor;
      e.text.erase(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from));
      e.cursor = from;
      break;
    }
    default: {
      if (!Printable(ch) || (event.input.state & (W_CtrlMask | W_AltMask)) != 0) {
        CWTable_CloseEditor(t, true);
        return false;
      }
      // The field's size bounds the text: a character more is refused.
      const std::string typed = WtUtf8_FromLatin1(std::string(1, static_cast<char>(ch)));
      WtTableD_Column c = WtTableD_GetColumn(Descr(t), e.column);
      if (e.text.size() + typed.size() > WtTableD_TextCapacity(c)) {
        W_Bell(0);
        return true;
      }
      e.text.insert(static_cast<std::size_t>(e.cursor), typed);
      e.cursor += static_cast<int>(typed.size());
    }
  }
  RedrawEditor(t);
  return true;
}

bool CWTable_EditorPress(CWTable t, std::int32_t row, int column, int x) {
  CWTable_Editor& e = t->state->editor;
  Regions_Rect place;
  if (row < 0 || column < 0 || e.record != t->state->rows[static_cast<std::size_t>(row)] ||
      e.column != static_cast<std::size_t>(column) || !EditorPlace(t, place))
    return false;
  // The cursor goes to the character boundary nearest to the press.
  const int at = x - place.x - Inset(t) + Shift(t, place);
  int best = 0;
  for (int i = 0; i <= static_cast<int>(e.text.size()); i = WtUtf8_Next(e.text, i)) {
    if (std::abs(TextWidth(t, e.text.substr(0, static_cast<std::size_t>(i))) - at) <
        std::abs(TextWidth(t, e.text.substr(0, static_cast<std::size_t>(best))) - at))
      best = i;
    if (i == static_cast<int>(e.text.size())) break;
  }
  e.cursor = best;
  RedrawEditor(t);
  return true;
}

void CWTable_DrawEditor(CWTable t, W_GC gc) {
  Regions_Rect place;
  if (!EditorPlace(t, place)) return;
  const CWTable_Editor& e = t->state->editor;
  W_SetForeground(gc, WtColors_inputColor);
  W_FillRectangle(t->window, gc, place.x, place.y, place.width, place.height);
  W_SetForeground(gc, WtColors_selectionColor);
  W_DrawRectangle(t->window, gc, place.x, place.y, place.width - 1, place.height - 1);
  int descent;
  const int line = WtDraw_LineHeight(t->fontSize, t->fontFixed, &descent);
  const int left = place.x + Inset(t) - Shift(t, place);
  const int baseline = place.y + (place.height - line) / 2 + descent;
  W_SetClipRect(gc, place.x + 1, place.y + 1, place.width - 2, place.height - 2);
  W_SetFont(gc, t->fontSize, t->fontFixed);
  W_SetForeground(gc, W_Color{0, 0, 0});
  W_DrawString(t->window, gc, left, baseline, e.text);
  const int x = left + TextWidth(t, e.text.substr(0, static_cast<std::size_t>(e.cursor)));
  W_DrawLine(t->window, gc, x, baseline - descent, x, baseline - descent + line - 1);
  W_UnsetClipping(gc);
}

void CWTable_PlayCell(CWTable t, const std::vector<std::string>& words) {
  std::size_t n = 0, column = 0;
  const auto number = [](const std::string& word, std::size_t& value) {
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
  };
  if (words.size() != 5 || !number(words[2], n) || !number(words[3], column)) return CWTable_CommandFailed(1);
  WtTableD_Column c = Editable(t, column);
  if (c == nullptr) return CWTable_CommandFailed(5, words[3]);
  WtTableD_Record* r = n > 0 ? FindRow(t, words[1], n) : nullptr;
  if (r == nullptr) return CWTable_CommandFailed(3, words[1]);
  std::size_t value = 0;
  if (WtTableD_KindOf(c) == WtTableD_kEnum && !number(words[4], value)) return CWTable_CommandFailed(1);
  CWTable_CloseEditor(t, false);
  if (!Write(t, r, column, words[4], static_cast<std::uint32_t>(value))) CWTable_CommandFailed(6, words[4]);
}
