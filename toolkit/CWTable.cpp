#include "toolkit/CWTable.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "toolkit/CObject.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWSlider.h"
#include "toolkit/CWTableRec.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtEvents.h"
#include "toolkit/WtGuiLog.h"
#include "toolkit/WtRowScroll.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWTable_class = nullptr;

namespace {

char section[kSectionCap] = "CWTable";
std::uint32_t descrAT;
std::uint32_t iconAT[6];  // "iconPath" and the icon lists

constexpr int kScrollBar = WtRowScroll_barWidth;
constexpr std::size_t kMaxRows = 10000000;  // a longer list is taken for a loop
constexpr std::int32_t kHeader = -2, kNone = -1;

CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWGroup_class); }
WtTableD_Table Descr(CWTable t) { return t->internTableDescr; }

int Margin(Widget w) { return std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth); }

void ReleaseIcons(CWTable t) { t->state->icons.Release(); }

int HeaderHeight(CWTable t) {
  return t->showHeader ? WtDraw_LineHeight(CWTable_HeaderSize(t), false) + 2 * t->cellVertBorder + 4 : 0;
}

// The width a column wants: its header, and its cells (icons and texts). A
// progress column keeps its width, at least the header's, whatever its
// values: it is redrawn often and never laid out again.
int NaturalWidth(CWTable t, WtTableD_Column c, bool withRows) {
  if (WtTableD_KindOf(c) == WtTableD_kNull) return WtTableD_NullWidth(c);
  int width = WtDraw_StringWidth(CWTable_HeaderSize(t), false, WtTableD_Header(c));
  if (WtTableD_KindOf(c) == WtTableD_kProgress)
    return std::max(WtTableD_NullWidth(c), width + 2 * t->cellHoriBorder + 4);
  if (withRows) {
    for (const WtTableD_Record* r : t->state->rows) {
      int iconWidth, iconHeight;
      const std::string text = WtTableD_CellText(c, r);
      const int icon = CWTable_Icon(t, WtTableD_CellIcon(c, r), iconWidth, iconHeight) != 0 ? iconWidth : 0;
      const int cell = icon + (icon > 0 && !text.empty() ? CWTable_iconGap : 0) +
                       (text.empty() ? 0 : WtDraw_StringWidth(t->fontSize, t->fontFixed, text));
      width = std::max(width, std::min(cell, 600));
    }
  }
  return width + 2 * t->cellHoriBorder + 4;
}

}  // namespace

// --- Measures ----------------------------------------------------------------------------

W_Pixmap CWTable_Icon(CWTable t, int index, int& width, int& height) {
  return t->state->icons.Get(t->iconPath, t->iconList, index, width, height);
}

int CWTable_RowHeight(CWTable t) {
  if (t->rowHeight > 0) return t->rowHeight;
  int h = std::max(WtDraw_LineHeight(t->fontSize, t->fontFixed), static_cast<int>(t->cellHeight));
  if (!t->ignoreIconHeights && t->realized) h = std::max(h, t->state->icons.TallestHeight(t->iconPath, t->iconList));
  return h + 2 * t->cellVertBorder;
}

int CWTable_HeaderSize(CWTable t) { return t->smallHeader ? 1 : t->fontSize; }

CWTable_Area CWTable_InnerArea(CWTable t) {
  const int m = Margin(t);
  CWTable_Area a{m, t->width - m - kScrollBar, m, 0, t->height - m};
  a.rowsTop = a.top - HeaderHeight(t);
  return a;
}

namespace {

// --- Layout ------------------------------------------------------------------------------

std::size_t VisibleRows(CWTable t) {
  const CWTable_Area a = CWTable_InnerArea(t);
  return static_cast<std::size_t>(std::max(1, (a.rowsTop - a.bottom) / CWTable_RowHeight(t)));
}

void ClampTop(CWTable t) {
  CWTable_State& s = *t->state;
  const std::size_t visible = VisibleRows(t);
  s.top = WtRowScroll_Clamp(s.top, s.rows.size(), visible);
}

// Column places: each column its natural width, the rest by fill-up weights.
void Layout(CWTable t) {
  CWTable_State& s = *t->state;
  const std::size_t n = WtTableD_ColumnCount(Descr(t));
  s.columnX.assign(n, 0);
  s.columnWidth.assign(n, 0);
  if (n == 0) return;
  const CWTable_Area a = CWTable_InnerArea(t);
  int used = 0;
  unsigned weights = 0;
  for (std::size_t i = 0; i < n; ++i) {
    WtTableD_Column c = WtTableD_GetColumn(Descr(t), i);
    if (!WtTableD_ColumnShown(c)) continue;
    s.columnWidth[i] = NaturalWidth(t, c, WtTableD_FillUpWeight(c) == 0);
    used += s.columnWidth[i];
    weights += WtTableD_FillUpWeight(c);
  }
  int free = a.right - a.left - used;
  if (free > 0 && weights > 0) {
    // Shares in proportion; the pixels the division leaves go to the first.
    int given = 0;
    for (std::size_t i = 0; i < n; ++i) {
      WtTableD_Column c = WtTableD_GetColumn(Descr(t), i);
      const unsigned weight = WtTableD_ColumnShown(c) ? WtTableD_FillUpWeight(c) : 0;
      const int share = static_cast<int>(static_cast<long long>(free) * weight / weights);
      s.columnWidth[i] += share;
      given += share;
    }
    for (std::size_t i = 0; i < n && given < free; ++i)
      if (s.columnWidth[i] > 0 && WtTableD_FillUpWeight(WtTableD_GetColumn(Descr(t), i)) > 0)
        ++s.columnWidth[i], ++given;
  }
  int x = a.left;
  for (std::size_t i = 0; i < n; ++i) {
    s.columnX[i] = x;
    x += s.columnWidth[i];
  }
  ClampTop(t);
}

void Sort(CWTable t) {
  CWTable_State& s = *t->state;
  WtTableD_Column c = WtTableD_GetColumn(Descr(t), static_cast<std::size_t>(std::max(s.sortColumn, 0)));
  if (s.sortColumn < 0 || c == nullptr) return;
  WtTableD_Column key = WtTableD_KeyColumn(Descr(t));
  std::stable_sort(s.rows.begin(), s.rows.end(), [&](const WtTableD_Record* x, const WtTableD_Record* y) {
    int order = WtTableD_Compare(c, x, y);
    if (order == 0 && key != nullptr) order = WtTableD_Compare(key, x, y);
    return s.sortDescending ? order > 0 : order < 0;
  });
}

// Where a point lies: a row, the header, or none.
std::int32_t RowAt(CWTable t, int y) {
  const CWTable_Area a = CWTable_InnerArea(t);
  if (y >= a.rowsTop) return y < a.top ? kHeader : kNone;
  if (y < a.bottom) return kNone;
  const std::size_t row = t->state->top + static_cast<std::size_t>((a.rowsTop - 1 - y) / CWTable_RowHeight(t));
  return row < t->state->rows.size() ? static_cast<std::int32_t>(row) : kNone;
}

int ColumnAt(CWTable t, int x) {
  const CWTable_State& s = *t->state;
  for (std::size_t i = 0; i < s.columnX.size(); ++i)
    if (x >= s.columnX[i] && x < s.columnX[i] + s.columnWidth[i]) return static_cast<int>(i);
  return -1;
}

// --- Tips ------------------------------------------------------------------------------

// The tip of the cell at (x, y) of the window, with its row and column; ""
// (and column -1) when the point is on no cell or the cell has none.
std::string CellTip(CWTable t, int x, int y, std::int32_t& row, int& column) {
  row = RowAt(t, y);
  column = ColumnAt(t, x);
  std::string tip;
  if (row >= 0 && column >= 0 && x < CWTable_InnerArea(t).right)
    tip = WtTableD_CellTip(Descr(t), t->state->rows[static_cast<std::size_t>(row)], static_cast<std::size_t>(column));
  if (tip.empty()) column = -1;
  return tip;
}

const WtTableD_Record* TipRecord(CWTable t, std::int32_t row, int column) {
  return column >= 0 ? t->state->rows[static_cast<std::size_t>(row)] : nullptr;
}

// The tip changes when the pointer goes to another cell with a tip, or
// between a cell's tip and the table's own help.
bool MyDidToolTipChange(Widget w, int x, int y) {
  CWTable t = CWTable_Of(w);
  std::int32_t row;
  int column;
  CellTip(t, x, y, row, column);
  return TipRecord(t, row, column) != t->state->tipRecord || column != t->state->tipColumn;
}

// A cell's tip shows whenever tips are on; elsewhere the table's help.
bool MyGetToolTipText(Widget w, int level, int x, int y, StrOut text, W_Point& lowerLeft, W_Point& upperRight) {
  CWTable t = CWTable_Of(w);
  CWTable_State& s = *t->state;
  std::int32_t row = kNone;
  int column = -1;
  const std::string tip = level >= 1 ? CellTip(t, x, y, row, column) : std::string();
  s.tipRecord = TipRecord(t, row, column);
  s.tipColumn = column;
  Regions_Rect place;
  if (tip.empty() || !CWTable_CellPlace(t, static_cast<std::size_t>(row), static_cast<std::size_t>(column), place))
    return CWCore_MyGetToolTipText(w, level, x, y, text, lowerLeft, upperRight);
  Strings_Assign(tip, text);
  lowerLeft = W_Point{place.x, place.y};
  upperRight = W_Point{place.x + place.width, place.y + place.height};
  return true;
}

// --- Drawing -----------------------------------------------------------------------------

// The scroll bar of the rows.
WtRowScroll_Bar Bar(CWTable t) {
  const CWTable_Area a = CWTable_InnerArea(t);
  return WtRowScroll_Bar{a.right, a.bottom, a.rowsTop, t->state->rows.size(), VisibleRows(t), t->state->top};
}

void DrawScrollBar(CWTable t, W_GC gc) {
  const CWTable_Area a = CWTable_InnerArea(t);
  // The strip beside the header is the trough's colour too.
  if (a.top > a.rowsTop) {
    W_SetForeground(gc, CWSlider_TroughColor());
    W_FillRectangle(t->window, gc, a.right, a.rowsTop, kScrollBar, a.top - a.rowsTop);
  }
  WtRowScroll_Draw(t->window, Bar(t));
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  CWTable t = CWTable_Of(w);
  W_GC gc = WtDraw_GetGC();
  CWTable_DrawContents(t, gc);
  DrawScrollBar(t, gc);
  WtDraw_ReleaseGC(gc);
}

void Redraw(CWTable t) {
  if (t->realized) WtDraw_RedrawWidget(t);
}

// --- Selection and scrolling -------------------------------------------------------------

void ScrollTo(CWTable t, std::size_t top) {
  t->state->top = top;
  ClampTop(t);
  Redraw(t);
}

void ShowRow(CWTable t, std::size_t row) {
  if (std::size_t top; WtRowScroll_Show(Bar(t), row, top)) ScrollTo(t, top);
}

// Selects as a click with these modifiers does; whether a flag changed.
bool Select(CWTable t, std::size_t row, std::uint32_t state) {
  CWTable_State& s = *t->state;
  if (t->selectMode == 0 || row >= s.rows.size()) return false;
  const bool multiple = t->selectMode == 2;
  std::vector<bool> before;
  for (const WtTableD_Record* r : s.rows) before.push_back(r->selected);
  if (multiple && (state & W_CtrlMask) != 0) {
    s.rows[row]->selected = !s.rows[row]->selected;
    s.anchor = row;
  } else if (multiple && (state & W_ShiftMask) != 0) {
    const std::size_t from = std::min(s.anchor, row), to = std::max(s.anchor, row);
    for (std::size_t i = 0; i < s.rows.size(); ++i) s.rows[i]->selected = i >= from && i <= to;
  } else {
    for (std::size_t i = 0; i < s.rows.size(); ++i) s.rows[i]->selected = i == row;
    s.anchor = row;
  }
  bool changed = false;
  for (std::size_t i = 0; i < s.rows.size(); ++i) changed = changed || before[i] != s.rows[i]->selected;
  if (changed) Redraw(t);
  return changed;
}

std::size_t FirstSelected(CWTable t, std::size_t none) {
  const CWTable_State& s = *t->state;
  for (std::size_t i = 0; i < s.rows.size(); ++i)
    if (s.rows[i]->selected) return i;
  return none;
}

void SortBy(CWTable t, int column) {
  CWTable_State& s = *t->state;
  s.sortDescending = s.sortColumn == column && !s.sortDescending;
  s.sortColumn = column;
  Sort(t);
  Redraw(t);
}

// --- Reporting, and replaying what was reported ---------------------------------------------

// The selection as the GUI log keeps it: "SELECT" and the key texts of the
// selected rows in the order shown.
std::string SelectCommand(CWTable t) {
  std::string command = "SELECT";
  const WtTableD_Column key = WtTableD_KeyColumn(Descr(t));
  for (const WtTableD_Record* r : t->state->rows)
    if (r->selected) command += " " + WtGuiLog_Word(WtTableD_CellText(key, r));
  return command;
}

// The user's selection goes to the program (and to the log).
void ReportSelection(CWTable t) {
  if (WtTableD_KeyColumn(Descr(t)) != nullptr) WtGuiLog_Command(t, SelectCommand(t));
  CWCore_CallCallback(t);
}

}  // namespace

void CWTable_CommandFailed(unsigned number, const std::string& word) {
  TextStr why;
  Messages_GetMsg(section, number, why);  // messages: CWTable 1-6
  if (!word.empty()) SPrintf_String(why, word);
  WtGuiLog_CommandFailed(why);
}

namespace {

void CommandFailed(unsigned number, const std::string& word = {}) { CWTable_CommandFailed(number, word); }

// "SELECT <key>...": the rows whose key column shows those texts ("*" all,
// none no row) are selected and reported as a click would. "CELL ...": an
// edit (CWTableEdit).
void MyDoCommand(Widget w, StrIn command) {
  CWTable t = CWTable_Of(w);
  CWTable_State& s = *t->state;
  const WtTableD_Column key = WtTableD_KeyColumn(Descr(t));
  std::vector<std::string> words;
  if (!WtGuiLog_SplitWords(command, words) || words.empty()) return CommandFailed(1);
  if (words[0] == "CELL") return CWTable_PlayCell(t, words);
  if (words[0] != "SELECT") return CommandFailed(1);
  if (key == nullptr || t->selectMode == 0) return CommandFailed(2);
  const bool all = words.size() == 2 && words[1] == "*";
  std::vector<bool> chosen(s.rows.size(), all);
  for (std::size_t k = 1; k < words.size() && !all; ++k) {
    bool found = false;
    for (std::size_t i = 0; i < s.rows.size(); ++i)
      if (WtTableD_CellText(key, s.rows[i]) == words[k]) chosen[i] = found = true;
    if (!found) return CommandFailed(3, words[k]);
  }
  if (t->selectMode == 1 && std::count(chosen.begin(), chosen.end(), true) > 1) return CommandFailed(4);
  for (std::size_t i = 0; i < s.rows.size(); ++i) s.rows[i]->selected = chosen[i];
  if (const std::size_t first = FirstSelected(t, s.rows.size()); first < s.rows.size()) {
    s.anchor = first;
    ShowRow(t, first);
  }
  Redraw(t);
  ReportSelection(t);
}

// --- Input -------------------------------------------------------------------------------

bool InScrollBar(CWTable t, int x) { return x >= CWTable_InnerArea(t).right; }

void APress(Widget w, W_Event& event) {
  CWTable t = CWTable_Of(w);
  CWTable_State& s = *t->state;
  if (!CWShell_HasFocus(w) && CWCore_AcceptFocus(w, false)) CWShell_RequestFocus(w);
  s.changedOnPress = s.pressedOnRow = false;
  s.pressedColumn = -1;
  const int x = event.input.x, y = event.input.y;
  // A press in the cell being edited moves its cursor; anywhere else it
  // writes the text first.
  if (CWTable_EditorPress(t, RowAt(t, y), ColumnAt(t, x), x)) return;
  CWTable_CloseEditor(t, true);
  if (InScrollBar(t, x)) {
    if (std::size_t first; WtRowScroll_Press(Bar(t), y, s.grip, first)) ScrollTo(t, first);
    return;
  }
  const std::int32_t row = RowAt(t, y);
  if (row == kHeader) {
    const int column = ColumnAt(t, x);
    if (t->sortable && column >= 0) SortBy(t, column);
  } else if (row >= 0) {
    s.pressedOnRow = true;
    s.pressedRow = static_cast<std::size_t>(row);
    s.pressedColumn = ColumnAt(t, x);
    s.changedOnPress = Select(t, static_cast<std::size_t>(row), event.input.state);
    // An editable enum cell takes its next value at each click.
    WtTableD_Column c = WtTableD_GetColumn(Descr(t), static_cast<std::size_t>(std::max(s.pressedColumn, 0)));
    if (s.pressedColumn >= 0 && WtTableD_KindOf(c) == WtTableD_kEnum)
      CWTable_EditCell(t, static_cast<std::size_t>(row), static_cast<std::size_t>(s.pressedColumn));
  }
}

void ADrag(Widget w, W_Event& event) {
  CWTable t = CWTable_Of(w);
  if (std::size_t first; WtRowScroll_Drag(Bar(t), event.input.y, t->state->grip, first)) ScrollTo(t, first);
}

void ARelease(Widget w, W_Event&) {
  CWTable t = CWTable_Of(w);
  CWTable_State& s = *t->state;
  s.grip.dragging = false;
  // A double click on an editable text cell opens its editor rather than
  // being reported.
  const std::size_t row = s.pressedRow;
  const bool edit = s.pressedOnRow && WtEvents_doubleClickFlag && s.pressedColumn >= 0 && row < s.rows.size() &&
                    WtTableD_KindOf(WtTableD_GetColumn(Descr(t), static_cast<std::size_t>(s.pressedColumn))) ==
                        WtTableD_kString &&
                    CWTable_EditCell(t, row, static_cast<std::size_t>(s.pressedColumn));
  if (s.pressedOnRow && (s.changedOnPress || (WtEvents_doubleClickFlag && !edit))) ReportSelection(t);
  s.pressedOnRow = s.changedOnPress = false;
}

// The wheel: buttons 4 and 5.
void AWheel(Widget w, W_Event& event) {
  CWTable t = CWTable_Of(w);
  if (std::size_t top; WtRowScroll_Wheel(Bar(t), event.input.button, top)) ScrollTo(t, top);
  else WTranslt_ReturnEvent(w, event);
}

void AKey(Widget w, W_Event& event) {
  CWTable t = CWTable_Of(w);
  CWTable_State& s = *t->state;
  if (CWTable_EditorKey(t, event)) return;
  const std::size_t count = s.rows.size();
  if (count == 0 || t->selectMode == 0) return WTranslt_ReturnEvent(w, event);
  const std::size_t current = FirstSelected(t, s.top);
  // Return or F2 edits the selected row's first editable text, Space gives
  // its first editable enum the next value.
  const bool text = event.input.ch == W_KeyReturn || event.input.ch == W_KeyF1 + 1;
  const int column = CWTable_FirstEditable(t, text ? WtTableD_kString : WtTableD_kEnum);
  if ((text || event.input.ch == ' ') && FirstSelected(t, count) < count && column >= 0) {
    ShowRow(t, current);
    CWTable_EditCell(t, current, static_cast<std::size_t>(column));
    return;
  }
  std::size_t row;
  if (!WtRowScroll_KeyRow(event.input.ch, current, count, VisibleRows(t), row)) return WTranslt_ReturnEvent(w, event);
  ShowRow(t, row);
  if (Select(t, row, 0)) ReportSelection(t);
}

bool MyAcceptFocus(Widget w, bool) {
  if (!w->sensitive || !WtWnds_IsMapped(w)) return false;
  CWTable_Of(w)->state->focused = true;
  Redraw(CWTable_Of(w));
  return true;
}

void MyReleaseFocus(Widget w) {
  CWTable_CloseEditor(CWTable_Of(w), true);
  CWTable_Of(w)->state->focused = false;
  Redraw(CWTable_Of(w));
}

// --- Value, geometry, life -----------------------------------------------------------------

void MySetValue(Widget w, const WidgetValue& value) {
  CWCore_MySetValue(w, value);
  CWTable t = CWTable_Of(w);
  CWTable_State& s = *t->state;
  WtTableD_Column key = WtTableD_KeyColumn(Descr(t));
  const std::string topKey = key != nullptr && s.top < s.rows.size() ? WtTableD_CellText(key, s.rows[s.top]) : "";
  s.editor = CWTable_Editor{};  // its record may be gone
  s.rows.clear();
  WtTableD_Record* head = nullptr;
  if (WtTypes_TSize(value.widgetType) >= sizeof head) std::memcpy(&head, value.VALUE, sizeof head);
  for (WtTableD_Record* r = head; r != nullptr && s.rows.size() < kMaxRows; r = r->next) s.rows.push_back(r);
  Sort(t);
  s.top = 0;
  if (t->autoPos) {
    s.top = FirstSelected(t, 0);
  } else if (key != nullptr) {
    for (std::size_t i = 0; i < s.rows.size(); ++i)
      if (WtTableD_CellText(key, s.rows[i]) == topKey) s.top = i;
  }
  s.anchor = std::min(s.anchor, s.rows.empty() ? 0 : s.rows.size() - 1);
  Layout(t);
  if (t->autoPos) ShowRow(t, s.top);
  if (t->dynamicRows) CWCore_InvalidateGeometry(w);
  Redraw(t);
}

void MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  CWCore_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  CWTable t = CWTable_Of(static_cast<Widget>(object));
  // Other icons are loaded anew when next drawn; like a new description
  // they may change the rows' height and the columns' widths.
  const bool icons = std::find(std::begin(iconAT), std::end(iconAT), id) != std::end(iconAT);
  if (id != descrAT && !icons) return Redraw(t);
  if (icons) ReleaseIcons(t);
  else t->state->sortColumn = -1;
  Layout(t);
  CWCore_InvalidateGeometry(t);
  Redraw(t);
}

void MyQueryGeometry(Widget w, Geometry& result) {
  CWTable t = CWTable_Of(w);
  int width = 0;
  for (std::size_t i = 0; i < WtTableD_ColumnCount(Descr(t)); ++i)
    if (WtTableD_Column c = WtTableD_GetColumn(Descr(t), i); WtTableD_ColumnShown(c))
      width += NaturalWidth(t, c, false);
  std::int32_t rows = std::max(t->defaultRows, 1);
  if (t->dynamicRows) rows = std::clamp(static_cast<std::int32_t>(t->state->rows.size()), 1, rows);
  result.hDim = Dim{std::max(width, static_cast<int>(t->defaultWidth)) + kScrollBar + 2 * Margin(w), Dim_Unbounded};
  result.vDim = Dim{HeaderHeight(t) + rows * CWTable_RowHeight(t) + 2 * Margin(w), Dim_Unbounded};
}

void MyConfigure(Widget w) { Layout(CWTable_Of(w)); }

void MyUnrealize(Widget w) {
  CWTable_Of(w)->state->editor = CWTable_Editor{};
  ReleaseIcons(CWTable_Of(w));
  Super()->Unrealize(w);
}

void MyInit(void* instance) {
  CWTable t = CWTable_Of(static_cast<Widget>(instance));
  t->state = new CWTable_State;
  t->simpleToolTip = false;  // every cell may have a tip of its own
}

void MyDestruct(void* instance) {
  CWTable t = CWTable_Of(static_cast<Widget>(instance));
  ReleaseIcons(t);
  delete t->state;
  t->state = nullptr;
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWGroup_ClassRec*>(c);
  auto* p = static_cast<CWTable_Rec*>(prototype);
  cls->SetAttr = MySetAttr;
  cls->Expose = MyExpose;
  cls->QueryGeometry = MyQueryGeometry;
  cls->Configure = MyConfigure;
  cls->SetValue = MySetValue;
  cls->Unrealize = MyUnrealize;
  cls->AcceptFocus = MyAcceptFocus;
  cls->ReleaseFocus = MyReleaseFocus;
  cls->DoCommand = MyDoCommand;
  cls->DidToolTipChange = MyDidToolTipChange;
  cls->GetToolTipText = MyGetToolTipText;
  cls->gadget = false;
  cls->compressExposure = true;
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Motion>", ADrag);
  WTranslt_EnterTranslation(cls->translationTable, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(cls->translationTable, "<BtnDown>", AWheel);
  WTranslt_EnterTranslation(cls->translationTable, "<Key>", AKey);
  CAttribs_DefAttr(c, "defaultWidth", 3, &p->defaultWidth);
  CAttribs_DefAttr(c, "defaultRows", 3, &p->defaultRows);
  CAttribs_DefAttr(c, "selectMode", 0, &p->selectMode);
  CAttribs_DefAttr(c, "fontSize", 0, &p->fontSize);
  CAttribs_DefAttr(c, "fontFixed", 0, &p->fontFixed);
  CAttribs_DefAttr(c, "autoPos", 0, &p->autoPos);
  CAttribs_DefAttr(c, "showHeader", 0, &p->showHeader);
  CAttribs_DefAttr(c, "smallHeader", 0, &p->smallHeader);
  CAttribs_DefAttr(c, "sortable", 0, &p->sortable);
  CAttribs_DefAttr(c, "vertLines", 0, &p->vertLines);
  CAttribs_DefAttr(c, "horiLines", 0, &p->horiLines);
  CAttribs_DefAttr(c, "fiveRowBlocks", 0, &p->fiveRowBlocks);
  CAttribs_DefAttr(c, "oneRowBlocks", 0, &p->oneRowBlocks);
  CAttribs_DefAttr(c, "ignoreIconHeights", 0, &p->ignoreIconHeights);
  CAttribs_DefAttr(c, "dynamicRows", 0, &p->dynamicRows);
  WtIconList::DefineAttrs(c, p->iconPath, p->iconList, &iconAT);
  CAttribs_DefAttr(c, "cellVertBorder", 3, &p->cellVertBorder);
  CAttribs_DefAttr(c, "cellHoriBorder", 3, &p->cellHoriBorder);
  CAttribs_DefAttr(c, "cellHeight", 3, &p->cellHeight);
  CAttribs_DefAttr(c, "rowHeight", 3, &p->rowHeight);
  CAttribs_DefAttr(c, "hAlign", 0, &p->hAlign);
  CAttribs_DefAttr(c, "selectionColor", 11, &p->selectionColor);
  CAttribs_DefAttr(c, "drawColor", 11, &p->drawColor);
  CAttribs_DefAttr(c, "headerBackground", 11, &p->headerBackground);
  CAttribs_DefAttr(c, "headerDrawColor", 11, &p->headerDrawColor);
  descrAT = CAttribs_DefAttr(c, "internTableDescr", sizeof(void*) - 1, &p->internTableDescr);
  p->defaultWidth = 200;
  p->defaultRows = 8;
  p->selectMode = 1;
  p->fontSize = 2;
  p->showHeader = true;
  p->cellVertBorder = 1;
  p->cellHoriBorder = 2;
  p->selectionColor = WtColors_selectionColor;
  p->drawColor = W_Color{0, 0, 0};
  p->headerBackground = WtColors_buttonColor;
  p->headerDrawColor = W_Color{0, 0, 0};
  p->frameWidth = 2;
  p->background = WtColors_inputColor;
}

}  // namespace

void CWTable_CreateClass() {
  if (CWTable_class != nullptr) return;
  CWGroup_CreateClass();
  WtTypes_DeclareType(WtTableD_listType, sizeof(void*));
  CWTable_class = new CWGroup_ClassRec;
  Classes_MakeClass(CWTable_class, CWGroup_class, "WTable", sizeof(CWTable_Rec), MyInitClass, MyInit, MyDestruct,
                    "TABLE");
}

void CWTable_ColumnsChanged(Widget table) {
  CWTable t = CWTable_Of(table);
  Layout(t);
  if (t->realized) Redraw(t);
}

void CWTable_RedrawColumn(Widget table, std::size_t column) {
  CWTable t = CWTable_Of(table);
  CWTable_State& s = *t->state;
  if (column >= s.columnX.size() || !t->realized || s.columnWidth[column] == 0) return;
  WtTableD_Column c = WtTableD_GetColumn(Descr(t), column);
  // A progress column keeps its width: only its cells in view are drawn
  // again, at once (the queue window does it every second).
  if (WtTableD_KindOf(c) == WtTableD_kProgress) {
    if (!t->mapped || t->window == 0) return;
    W_GC gc = WtDraw_GetGC();
    CWTable_DrawColumnCells(t, gc, column);
    WtDraw_ReleaseGC(gc);
    return;
  }
  // A cell that needs more room than its column has (an icon that came)
  // makes the columns anew.
  if (WtTableD_FillUpWeight(c) == 0 && NaturalWidth(t, c, true) != s.columnWidth[column]) {
    Layout(t);
    return Redraw(t);
  }
  WtDraw_RedrawWidgetArea(t, s.columnX[column], 0, s.columnWidth[column], t->height);
}

std::size_t CWTable_RowCount(Widget table) { return CWTable_Of(table)->state->rows.size(); }

const WtTableD_Record* CWTable_RowRecord(Widget table, std::size_t row) {
  const CWTable_State& s = *CWTable_Of(table)->state;
  return row < s.rows.size() ? s.rows[row] : nullptr;
}

std::size_t CWTable_TopRow(Widget table) { return CWTable_Of(table)->state->top; }

bool CWTable_RowPlace(Widget table, std::size_t row, Regions_Rect& place) {
  CWTable t = CWTable_Of(table);
  const std::size_t top = t->state->top;
  if (row < top || row >= top + VisibleRows(t) || row >= t->state->rows.size()) return false;
  const CWTable_Area a = CWTable_InnerArea(t);
  const int height = CWTable_RowHeight(t);
  place = Regions_Rect{a.left, a.rowsTop - static_cast<int>(row - top + 1) * height, a.right - a.left, height};
  return true;
}

bool CWTable_CellPlace(Widget table, std::size_t row, std::size_t column, Regions_Rect& place) {
  const CWTable_State& s = *CWTable_Of(table)->state;
  if (column >= s.columnX.size() || s.columnWidth[column] == 0 || !CWTable_RowPlace(table, row, place)) return false;
  place.x = s.columnX[column];
  place.width = s.columnWidth[column];
  return true;
}
