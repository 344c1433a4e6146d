#include "toolkit/CWList.h"

#include <algorithm>
#include <cctype>

#include "toolkit/CObject.h"
#include "toolkit/CWListRec.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtPopup.h"
#include "toolkit/WtRowScroll.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWList_class = nullptr;
std::uint32_t CWList_dynStrAT = 0;

namespace {

std::uint32_t rowsAT, columnsAT, vGapAT, fontSizeAT, fontFixedAT, coloredListAT, fullColoredListAT;

constexpr int kBar = WtRowScroll_barWidth;
constexpr int kTextPad = 4;  // left of the texts

CWList_State& State(Widget w) { return *CWList_Of(w)->state; }
CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWCore_class); }

// --- Entries ---------------------------------------------------------------------------------

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// "#RRGGBB text": the colour and the text.
bool ColourMark(const std::string& line, W_Color& color) {
  if (line.size() < 8 || line[0] != '#' || line[7] != ' ') return false;
  std::uint32_t rgb[3];
  for (int i = 0; i < 3; ++i) {
    const int high = HexDigit(line[static_cast<std::size_t>(1 + 2 * i)]);
    const int low = HexDigit(line[static_cast<std::size_t>(2 + 2 * i)]);
    if (high < 0 || low < 0) return false;
    rgb[i] = static_cast<std::uint32_t>(high * 16 + low);
  }
  color = W_Color{rgb[0], rgb[1], rgb[2]};
  return true;
}

void ParseEntries(CWList l) {
  CWList_State& s = *l->state;
  s.entries.clear();
  const std::string text = CAttribs_Text(l->dynStr).Str();
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    CWList_Entry e;
    e.text = text.substr(start, end - start);
    if ((l->coloredList || l->fullColoredList) && ColourMark(e.text, e.color)) {
      e.colored = true;
      e.text.erase(0, 8);
    }
    s.entries.push_back(e);
    start = end + 1;
  }
  s.selected.assign(s.entries.size(), false);
  if (s.last >= static_cast<std::int32_t>(s.entries.size())) s.last = -1;
}

// --- Measures --------------------------------------------------------------------------------

int Margin(Widget w) { return std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth); }

int LineHeight(CWList l, int* descent = nullptr) { return WtDraw_LineHeight(l->fontSize, l->fontFixed, descent); }

int CharWidth(CWList l) {
  int width, ascent, descent;
  W_TextExtents(l->fontSize, l->fontFixed, StrIn("0123456789"), width, ascent, descent);
  return (width + 9) / 10;
}

int RowHeight(CWList l) { return LineHeight(l) + std::max(l->vGap, 0); }

struct Area {
  int left, right, bottom, top;  // the rows, without the scroll bar
};

std::size_t Count(CWList l) { return l->state->entries.size(); }

std::size_t VisibleRows(CWList l) {
  const int m = Margin(l);
  return static_cast<std::size_t>(std::max(1, (l->height - 2 * m) / std::max(RowHeight(l), 1)));
}

bool HasBar(CWList l) { return Count(l) > VisibleRows(l); }

// The scroll bar, when there is one, takes the right end.
Area RowArea(CWList l) {
  const int m = Margin(l);
  return Area{m, l->width - m - (HasBar(l) ? kBar : 0), m, l->height - m};
}

void ClampTop(CWList l) {
  const std::size_t visible = VisibleRows(l), count = Count(l);
  const std::size_t top = static_cast<std::size_t>(std::max(l->firstEntry, 0));
  l->firstEntry = static_cast<std::int32_t>(WtRowScroll_Clamp(top, count, visible));
}

WtRowScroll_Bar Bar(CWList l) {
  const Area a = RowArea(l);
  return WtRowScroll_Bar{a.right, a.bottom, a.top, Count(l), VisibleRows(l), static_cast<std::size_t>(l->firstEntry)};
}

void Redraw(CWList l) {
  if (l->realized) WtDraw_RedrawWidget(l);
}

void ScrollTo(CWList l, std::size_t top) {
  l->firstEntry = static_cast<std::int32_t>(std::min<std::size_t>(top, 0x7FFFFFFF));
  ClampTop(l);
  Redraw(l);
}

// Scrolls so that the entry shows; before the list has its size it shows
// when the size comes (MyConfigure).
void ShowEntry(CWList l, std::int32_t index) {
  if (index < 0 || l->height <= 1) return;
  if (std::size_t top; WtRowScroll_Show(Bar(l), static_cast<std::size_t>(index), top)) ScrollTo(l, top);
}

// --- Drawing ---------------------------------------------------------------------------------

// White text reads better on it.
bool Dark(const W_Color& c) { return c.red + 2 * c.green + c.blue < 4 * 128; }

void DrawRows(CWList l, W_GC gc) {
  const CWList_State& s = *l->state;
  const Area a = RowArea(l);
  const int rowHeight = RowHeight(l);
  int descent;
  const int line = LineHeight(l, &descent);
  W_SetFont(gc, l->fontSize, l->fontFixed);
  int bottom = a.top - rowHeight;
  for (std::size_t i = static_cast<std::size_t>(l->firstEntry); i < Count(l) && bottom + rowHeight > a.bottom;
       ++i, bottom -= rowHeight) {
    const CWList_Entry& e = s.entries[i];
    const bool selected = s.selected[i];
    const bool paper = selected || (l->fullColoredList && e.colored);
    if (paper) {
      W_SetForeground(gc, selected ? WtColors_selectionColor : e.color);
      W_FillRectangle(l->window, gc, a.left, bottom, a.right - a.left, rowHeight);
    }
    W_Color ink{0, 0, 0};
    if (!l->sensitive) ink = WtColors_insensitiveColor;
    else if (selected || (paper && Dark(e.color))) ink = WtColors_inputColor;
    else if (l->coloredList && !l->fullColoredList && e.colored) ink = e.color;
    W_SetForeground(gc, ink);
    W_SetClipRect(gc, a.left, std::max(bottom, a.bottom), a.right - a.left, rowHeight);
    W_DrawString(l->window, gc, a.left + kTextPad, bottom + (rowHeight - line) / 2 + descent, e.text);
    W_UnsetClipping(gc);
  }
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboExpose(l, region, event);
  Super()->Expose(w, region, event);
  const Area a = RowArea(l);
  W_GC gc = WtDraw_GetGC();
  W_SetForeground(gc, WtColors_inputColor);
  W_FillRectangle(w->window, gc, a.left, a.bottom, a.right - a.left, a.top - a.bottom);
  DrawRows(l, gc);
  if (HasBar(l)) WtRowScroll_Draw(w->window, Bar(l));
  if (l->state->focused) {
    W_SetForeground(gc, WtColors_selectionColor);
    W_DrawRectangle(w->window, gc, a.left, a.bottom, a.right - a.left - 1, a.top - a.bottom - 1);
  }
  WtDraw_ReleaseGC(gc);
}

// --- Value -----------------------------------------------------------------------------------

// The selection the value stands for.
void ShowValue(CWList l) {
  CWList_State& s = *l->state;
  s.selected.assign(Count(l), false);
  if (CWList_HasText(l)) {
    const std::string text = WtTypes_AsString(l->value).Str();
    std::size_t start = 0;
    do {
      const std::size_t end = l->multipleSelect ? std::min(text.find('\n', start), text.size()) : text.size();
      const std::int32_t i = CWList_FindEntry(l, text.substr(start, end - start));
      if (i >= 0) s.selected[static_cast<std::size_t>(i)] = true;
      start = end + 1;
    } while (start < text.size());
    s.last = CWList_FirstSelected(l);
  } else {
    const std::int32_t i = WtTypes_AsInteger(l->value);
    if (i >= 0 && static_cast<std::size_t>(i) < Count(l)) s.selected[static_cast<std::size_t>(i)] = true;
    s.last = i >= 0 && static_cast<std::size_t>(i) < Count(l) ? i : -1;
  }
}

// The value the selection stands for, in the value's kind.
void TakeValue(CWList l) {
  const CWList_State& s = *l->state;
  if (CWList_HasText(l)) {
    std::string text;
    for (std::size_t i = 0; i < Count(l); ++i)
      if (s.selected[i]) text += (text.empty() ? "" : "\n") + s.entries[i].text;
    const std::uint32_t type = l->value.widgetType;
    l->value = WtTypes_String(text);
    l->value.widgetType = type;
  } else {
    const bool lastStays = s.last >= 0 && CWList_IsSelected(l, static_cast<std::size_t>(s.last));
    l->value = WtTypes_Integer(lastStays ? s.last : CWList_FirstSelected(l));
  }
}

// A click on an entry with these modifiers; whether the selection changed.
bool Click(CWList l, std::int32_t index, std::uint32_t state) {
  CWList_State& s = *l->state;
  const std::vector<bool> before = s.selected;
  if (l->multipleSelect && (state & W_CtrlMask) != 0) {
    s.selected[static_cast<std::size_t>(index)].flip();
  } else {
    s.selected.assign(Count(l), false);
    s.selected[static_cast<std::size_t>(index)] = true;
  }
  s.last = index;
  if (s.selected == before) return false;
  Redraw(l);
  return true;
}

// --- Input -----------------------------------------------------------------------------------

void APress(Widget w, W_Event& event) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboPress(l, event);
  CWList_State& s = *l->state;
  // A list in a pull-down leaves the focus with the pull-down's owner.
  if (WtPopup_Owner(w) == nullptr && !CWShell_HasFocus(w) && CWCore_AcceptFocus(w, false)) CWShell_RequestFocus(w);
  s.pressedOnEntry = false;
  if (CWList_InScrollBar(w, event.input.x)) {
    if (std::size_t first; WtRowScroll_Press(Bar(l), event.input.y, s.grip, first)) ScrollTo(l, first);
    return;
  }
  const std::int32_t index = CWList_EntryAt(w, event.input.x, event.input.y);
  if (index < 0) return;
  s.pressedOnEntry = true;
  s.changedOnPress = Click(l, index, event.input.state);
}

void ADrag(Widget w, W_Event& event) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboPass(l, event);
  if (std::size_t first; WtRowScroll_Drag(Bar(l), event.input.y, l->state->grip, first)) ScrollTo(l, first);
}

void ARelease(Widget w, W_Event& event) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboPass(l, event);
  CWList_State& s = *l->state;
  s.grip.dragging = false;
  // A click reports a new selection; a double click reports in any case.
  if (s.pressedOnEntry && (s.changedOnPress || WtEvents_doubleClickFlag)) CWList_Report(w);
  s.pressedOnEntry = s.changedOnPress = false;
}

// The wheel: buttons 4 and 5.
void AWheel(Widget w, W_Event& event) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboPass(l, event);
  if (std::size_t top; WtRowScroll_Wheel(Bar(l), event.input.button, top)) ScrollTo(l, top);
}

// Events for the combo box's text field.
void AField(Widget w, W_Event& event) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) CWList_ComboPass(l, event);
  else WTranslt_ReturnEvent(w, event);
}

void AKey(Widget w, W_Event& event) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboKey(l, event);
  const std::size_t count = Count(l);
  if (count == 0) return WTranslt_ReturnEvent(w, event);
  const std::int32_t last = l->state->last >= 0 ? l->state->last : CWList_FirstSelected(w);
  const auto page = static_cast<std::int32_t>(VisibleRows(l)), end = static_cast<std::int32_t>(count) - 1;
  std::int32_t row;
  switch (event.input.ch) {
    case W_KeyUp: row = last > 0 ? last - 1 : 0; break;
    case W_KeyDown: row = std::min(last + 1, end); break;
    case W_KeyPrior: row = std::max(last - page, 0); break;
    case W_KeyNext: row = std::min(std::max(last, 0) + page, end); break;
    case W_KeyHome: row = 0; break;
    case W_KeyEnd: row = end; break;
    default: return WTranslt_ReturnEvent(w, event);
  }
  const std::vector<bool> before = l->state->selected;
  CWList_SelectOnly(w, row);
  if (l->state->selected != before) CWList_Report(w);
}

// --- Operations ------------------------------------------------------------------------------

void MyQueryGeometry(Widget w, Geometry& result) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboQueryGeometry(l, result);
  std::int32_t rows = std::max(l->rows, 1);
  if (l->dynamic) rows = std::clamp(static_cast<std::int32_t>(Count(l)), 1, rows);
  const int m = Margin(w);
  result.hDim = Dim{std::max(l->columns, 1) * CharWidth(l) + 2 * kTextPad + kBar + 2 * m, Dim_Unbounded};
  result.vDim = Dim{rows * RowHeight(l) + 2 * m, Dim_Unbounded};
}

void MyConfigure(Widget w) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWList_ComboConfigure(l);
  ClampTop(l);
  if (l->autoPos) ShowEntry(l, CWList_FirstSelected(w));
}

void MyRealize(Widget w) {
  Super()->Realize(w);
  if (CWList_Of(w)->comboBoxMode) CWList_ComboRealize(CWList_Of(w));
}

void MyUnrealize(Widget w) {
  if (CWList_Of(w)->comboBoxMode) CWList_ComboUnrealize(CWList_Of(w));
  Super()->Unrealize(w);
}

void MyUnmapWindow(Widget w) {
  if (CWList_Of(w)->comboBoxMode) CWList_ComboClose(CWList_Of(w));
  Super()->UnmapWindow(w);
}

void MySetValue(Widget w, const WidgetValue& value) {
  CWList l = CWList_Of(w);
  CWCore_MySetValue(w, value);
  if (l->comboBoxMode) return CWList_ComboSetValue(l);
  ShowValue(l);
  if (l->autoPos) ShowEntry(l, CWList_FirstSelected(w));
  Redraw(l);
}

bool MyAcceptFocus(Widget w, bool again) {
  CWList l = CWList_Of(w);
  if (!w->sensitive || !WtWnds_IsMapped(w)) return false;
  if (l->comboBoxMode) return CWCore_AcceptFocus(l->state->field, again);
  l->state->focused = true;
  Redraw(l);
  return true;
}

void MyReleaseFocus(Widget w) {
  CWList l = CWList_Of(w);
  if (l->comboBoxMode) return CWCore_ReleaseFocus(l->state->field);
  l->state->focused = false;
  Redraw(l);
}

void MyCheckValue(Widget w) {
  if (CWList_Of(w)->comboBoxMode) CWCore_CheckValue(CWList_Of(w)->state->field);
}

void MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  CWCore_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  CWList l = CWList_Of(static_cast<Widget>(object));
  if (id == CWList_dynStrAT || id == coloredListAT || id == fullColoredListAT) {
    ParseEntries(l);
    ShowValue(l);
    if (l->comboBoxMode) CWList_ComboEntriesChanged(l);
    if (l->dynamic) CWCore_InvalidateGeometry(l);
  }
  if (id == rowsAT || id == columnsAT || id == vGapAT || id == fontSizeAT || id == fontFixedAT)
    CWCore_InvalidateGeometry(l);
  if (id == CWCore_sensitiveAT && l->comboBoxMode) CWList_ComboSensitivity(l);
  ClampTop(l);
  Redraw(l);
}

void MyInit(void* instance) {
  CWList l = CWList_Of(static_cast<Widget>(instance));
  l->state = new CWList_State;
  ParseEntries(l);
  ShowValue(l);
  if (l->comboBoxMode) CWList_ComboInit(l);
}

void MyDestruct(void* instance) {
  CWList l = CWList_Of(static_cast<Widget>(instance));
  CWList_ComboDestruct(l);
  delete l->state;
  l->state = nullptr;
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWCore_ClassRec*>(c);
  auto* p = static_cast<CWList_Rec*>(prototype);
  cls->SetAttr = MySetAttr;
  cls->Expose = MyExpose;
  cls->QueryGeometry = MyQueryGeometry;
  cls->Configure = MyConfigure;
  cls->Realize = MyRealize;
  cls->Unrealize = MyUnrealize;
  cls->UnmapWindow = MyUnmapWindow;
  cls->SetValue = MySetValue;
  cls->AcceptFocus = MyAcceptFocus;
  cls->ReleaseFocus = MyReleaseFocus;
  cls->CheckValue = MyCheckValue;
  WTranslt_Table& t = cls->translationTable;
  WTranslt_EnterTranslation(t, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(t, "<Btn1Motion>", ADrag);
  WTranslt_EnterTranslation(t, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(t, "<Btn4Down>", AWheel);
  WTranslt_EnterTranslation(t, "<Btn5Down>", AWheel);
  WTranslt_EnterTranslation(t, "<Key>", AKey);
  WTranslt_EnterTranslation(t, "<Btn2Down>", AField);
  WTranslt_EnterTranslation(t, "<SelectionRequest>", AField);
  WTranslt_EnterTranslation(t, "<Selection>", AField);
  WTranslt_EnterTranslation(t, "<SelectionClear>", AField);
  CAttribs_DefAttr(c, "firstEntry", 3, &p->firstEntry);
  columnsAT = CAttribs_DefAttr(c, "columns", 3, &p->columns);
  rowsAT = CAttribs_DefAttr(c, "rows", 3, &p->rows);
  CAttribs_DefAttr(c, "multipleSelect", 0, &p->multipleSelect);
  CAttribs_DefAttr(c, "autoPos", 0, &p->autoPos);
  coloredListAT = CAttribs_DefAttr(c, "coloredList", 0, &p->coloredList);
  fullColoredListAT = CAttribs_DefAttr(c, "fullColoredList", 0, &p->fullColoredList);
  CWList_dynStrAT = CAttribs_DefStrAttr(c, "dynStr", 0xFFFFF, &p->dynStr);
  fontFixedAT = CAttribs_DefAttr(c, "fontFixed", 0, &p->fontFixed);
  fontSizeAT = CAttribs_DefAttr(c, "fontSize", 0, &p->fontSize);
  CAttribs_DefAttr(c, "dynamic", 0, &p->dynamic);
  CAttribs_DefAttr(c, "comboBoxMode", 0, &p->comboBoxMode);
  vGapAT = CAttribs_DefAttr(c, "vGap", 3, &p->vGap);
  p->columns = 20;
  p->rows = 6;
  p->vGap = 4;
  p->fontSize = 2;
  p->frameWidth = 2;
  p->background = WtColors_inputColor;
  p->value = WtTypes_Integer(-1);
}

}  // namespace

void CWList_CreateClass() {
  if (CWList_class != nullptr) return;
  CWCore_CreateClass();
  CWList_class = new CWCore_ClassRec;
  Classes_MakeClass(CWList_class, CWCore_class, "WList", sizeof(CWList_Rec), MyInitClass, MyInit, MyDestruct, "LIST");
}

// --- Entries -------------------------------------------------------------------------------

std::size_t CWList_EntryCount(Widget list) { return Count(CWList_Of(list)); }

StrIn CWList_EntryText(Widget list, std::size_t index) {
  const CWList_State& s = State(list);
  return index < s.entries.size() ? StrIn(s.entries[index].text) : StrIn("");
}

bool CWList_IsSelected(Widget list, std::size_t index) {
  const CWList_State& s = State(list);
  return index < s.selected.size() && s.selected[index];
}

std::size_t CWList_TopEntry(Widget list) { return static_cast<std::size_t>(CWList_Of(list)->firstEntry); }

bool CWList_EntryPlace(Widget list, std::size_t index, Regions_Rect& place) {
  CWList l = CWList_Of(list);
  const auto top = static_cast<std::size_t>(l->firstEntry);
  if (index < top || index >= top + VisibleRows(l) || index >= Count(l)) return false;
  const Area a = RowArea(l);
  const int height = RowHeight(l);
  place = Regions_Rect{a.left, a.top - static_cast<int>(index - top + 1) * height, a.right - a.left, height};
  return true;
}

// --- For the combo box ---------------------------------------------------------------------

std::int32_t CWList_EntryAt(Widget list, int x, int y) {
  CWList l = CWList_Of(list);
  const Area a = RowArea(l);
  if (x < a.left || x >= a.right || y < a.bottom || y >= a.top) return -1;
  const auto row = static_cast<std::size_t>(l->firstEntry + (a.top - 1 - y) / RowHeight(l));
  return row < Count(l) ? static_cast<std::int32_t>(row) : -1;
}

bool CWList_InScrollBar(Widget list, int x) {
  CWList l = CWList_Of(list);
  return HasBar(l) && x >= RowArea(l).right;
}

void CWList_SelectOnly(Widget list, std::int32_t index) {
  CWList l = CWList_Of(list);
  CWList_State& s = *l->state;
  s.selected.assign(Count(l), false);
  if (index >= 0 && static_cast<std::size_t>(index) < Count(l)) s.selected[static_cast<std::size_t>(index)] = true;
  s.last = index;
  ShowEntry(l, index);
  Redraw(l);
}

std::int32_t CWList_FirstSelected(Widget list) {
  const CWList_State& s = State(list);
  for (std::size_t i = 0; i < s.selected.size(); ++i)
    if (s.selected[i]) return static_cast<std::int32_t>(i);
  return -1;
}

std::int32_t CWList_FindEntry(Widget list, StrIn text) {
  const CWList_State& s = State(list);
  const std::string wanted = text.Str();
  for (std::size_t i = 0; i < s.entries.size(); ++i)
    if (s.entries[i].text == wanted) return static_cast<std::int32_t>(i);
  return -1;
}

void CWList_Report(Widget list) {
  TakeValue(CWList_Of(list));
  CWCore_CallCallback(list);
}
