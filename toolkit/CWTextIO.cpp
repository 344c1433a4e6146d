#include "toolkit/CWTextIO.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "toolkit/CWGroup.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtUtf8.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWTextIO_class = nullptr;
std::uint32_t CWTextIO_editableAT = 0, CWTextIO_columnsAT = 0, CWTextIO_rowsAT = 0;

namespace {

using Text = CWTextIO;

constexpr int kPad = 2;
constexpr std::uint8_t kCtrlA = 1, kCtrlC = 3, kCtrlV = 22, kCtrlX = 24;
constexpr char kPasteProperty[] = "FLOATDECK_PASTE";

// A selection this program owns: its text stays what was selected or copied.
struct Owned {
  W_Atom selection;
  Widget owner;
  std::string text;
};
std::vector<Owned> owned;

Text AsText(Widget w) { return static_cast<Text>(w); }
CWTextIO_ClassRec* TextOps(Widget w) { return static_cast<CWTextIO_ClassRec*>(w->cls); }
CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWCore_class); }
W_Atom Atom(const char* name) { return W_InternAtom(StrIn::C(name), false); }

// --- Geometry ----------------------------------------------------------------------------

struct Metrics {
  int ascent = 0, descent = 0, line = 0, charWidth = 0;
};

Metrics MetricsOf(Text t) {
  Metrics m;
  int width;
  W_TextExtents(t->fontSize, t->fontFixed, StrIn("0123456789"), width, m.ascent, m.descent);
  m.line = m.ascent + m.descent;
  m.charWidth = (width + 9) / 10;
  return m;
}

int Margin(Widget w) { return std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth) + kPad; }

Regions_Rect Area(Widget w) {
  const int m = Margin(w);
  const int x0 = w->gadget ? w->x : 0, y0 = w->gadget ? w->y : 0;
  return Regions_Rect{x0 + m, y0 + m, std::max(w->width - 2 * m, 0), std::max(w->height - 2 * m, 0)};
}

bool MultiLine(Text t) { return t->rows > 1; }

std::string Shown(Text t, const std::string& s) {
  if (t->noDisp) return std::string(static_cast<std::size_t>(WtUtf8_Length(s)), '*');
  if (!t->visibleSpaces) return s;
  std::string shown;
  for (const char c : s) shown += c == ' ' ? std::string("\xC2\xB7") : std::string(1, c);
  return shown;
}

int Width(Text t, const std::string& s) { return WtDraw_StringWidth(t->fontSize, t->fontFixed, Shown(t, s)); }

// Lines as [start, end) byte ranges of the text.
std::vector<std::pair<int, int>> LinesOf(Text t) {
  std::vector<std::pair<int, int>> lines;
  const std::string& s = *t->text;
  int start = 0;
  for (int i = 0; i <= static_cast<int>(s.size()); ++i)
    if (i == static_cast<int>(s.size()) || s[static_cast<std::size_t>(i)] == '\n') {
      lines.emplace_back(start, i);
      start = i + 1;
    }
  return lines;
}

int LineOf(const std::vector<std::pair<int, int>>& lines, int index) {
  for (std::size_t l = 0; l < lines.size(); ++l)
    if (index <= lines[l].second) return static_cast<int>(l);
  return static_cast<int>(lines.size()) - 1;
}

// Where a read-only single line starts in the area.
int AlignOffset(Text t, const Regions_Rect& area) {
  if (t->editable || MultiLine(t) || t->hAlign == 0) return 0;
  const int free = area.width - Width(t, *t->text);
  return t->hAlign == 1 ? free / 2 : free;
}

// The byte index nearest to the point (x, y) of the widget's window.
int IndexAt(Text t, int x, int y) {
  const Regions_Rect area = Area(t);
  const Metrics m = MetricsOf(t);
  const auto lines = LinesOf(t);
  const int row = std::clamp(t->firstLine + (area.y + area.height - 1 - y) / std::max(m.line, 1), 0,
                             static_cast<int>(lines.size()) - 1);
  const auto [start, end] = lines[static_cast<std::size_t>(row)];
  const int target = x - area.x + t->scrollX - AlignOffset(t, area);
  int best = start, bestDistance = std::abs(target);
  for (int i = start; i < end;) {
    i = std::min(WtUtf8_Next(*t->text, i), end);
    const std::string prefix = t->text->substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start));
    const int distance = std::abs(target - Width(t, prefix));
    if (distance < bestDistance) {
      best = i;
      bestDistance = distance;
    }
  }
  return best;
}

// Scrolls so that the cursor shows.
void EnsureVisible(Text t) {
  const Regions_Rect area = Area(t);
  const Metrics m = MetricsOf(t);
  const auto lines = LinesOf(t);
  const int row = LineOf(lines, t->cursor);
  const int start = lines[static_cast<std::size_t>(row)].first;
  const int x = Width(t, t->text->substr(static_cast<std::size_t>(start), static_cast<std::size_t>(t->cursor - start)));
  if (x - t->scrollX > area.width - 2) t->scrollX = x - area.width + 2;
  if (x < t->scrollX) t->scrollX = x;
  const int visibleRows = std::max(area.height / std::max(m.line, 1), 1);
  if (row < t->firstLine) t->firstLine = row;
  if (row >= t->firstLine + visibleRows) t->firstLine = row - visibleRows + 1;
}

void Changed(Text t) {
  EnsureVisible(t);
  WtDraw_RedrawWidget(t);
}

// --- Editing -------------------------------------------------------------------------------

int SelectionStart(Text t) { return std::min(t->cursor, t->anchor); }
int SelectionEnd(Text t) { return std::max(t->cursor, t->anchor); }

void DeleteSelection(Text t) {
  const int from = SelectionStart(t), to = SelectionEnd(t);
  t->text->erase(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from));
  t->cursor = t->anchor = from;
}

void Insert(Text t, std::string s) {
  if (!MultiLine(t)) std::replace(s.begin(), s.end(), '\n', ' ');
  DeleteSelection(t);
  t->text->insert(static_cast<std::size_t>(t->cursor), s);
  t->cursor += static_cast<int>(s.size());
  t->anchor = t->cursor;
}

void MoveTo(Text t, int index, bool extend) {
  t->cursor = std::clamp(index, 0, static_cast<int>(t->text->size()));
  if (!extend) t->anchor = t->cursor;
}

void MoveLine(Text t, int delta, bool extend) {
  const auto lines = LinesOf(t);
  const int row = LineOf(lines, t->cursor);
  const int target = row + delta;
  if (target < 0 || target >= static_cast<int>(lines.size())) return;
  const int column = t->cursor - lines[static_cast<std::size_t>(row)].first;
  const auto [start, end] = lines[static_cast<std::size_t>(target)];
  MoveTo(t, std::min(start + column, end), extend);
}

// --- Selections ------------------------------------------------------------------------------

void Own(Text t, const char* selection, const std::string& text) {
  const W_Atom atom = Atom(selection);
  std::erase_if(owned, [&](const Owned& o) { return o.selection == atom; });
  owned.push_back({atom, t, text});
  W_SetSelectionOwner(atom, t->window, t->lastTime);
}

void RequestPaste(Text t, const char* selection) {
  t->pasteAsString = false;
  W_ConvertSelection(Atom(selection), Atom("UTF8_STRING"), Atom(kPasteProperty), t->window, t->lastTime);
}

void ASelectionRequest(Widget, W_Event& event) {
  W_Event reply;
  reply.kind = W_SelectionNotify;
  reply.window = event.selection.requestor;
  reply.selection = event.selection;
  const W_Atom property = event.selection.property != 0 ? event.selection.property : event.selection.target;
  reply.selection.property = 0;
  const auto found = std::find_if(owned.begin(), owned.end(),
                                  [&](const Owned& o) { return o.selection == event.selection.selection; });
  const W_Atom target = event.selection.target;
  if (found != owned.end()) {
    if (target == Atom("TARGETS")) {
      const std::uint32_t targets[3] = {static_cast<std::uint32_t>(Atom("TARGETS")),
                                        static_cast<std::uint32_t>(Atom("UTF8_STRING")),
                                        static_cast<std::uint32_t>(Atom("STRING"))};
      W_ChangeProperty(reply.window, property, 4, 32, 0, targets, 3);
      reply.selection.property = property;
    } else if (target == Atom("UTF8_STRING") || target == Atom("STRING") || target == Atom("TEXT")) {
      const bool utf8 = target == Atom("UTF8_STRING");
      const std::string data = utf8 ? found->text : WtUtf8_ToLatin1(found->text);
      W_ChangeProperty(reply.window, property, utf8 ? target : Atom("STRING"), 8, 0, data.data(),
                       static_cast<int>(data.size()));
      reply.selection.property = property;
    }
  }
  W_SendEvent(reply.window, false, 0, reply);
}

void ASelectionNotify(Widget w, W_Event& event) {
  Text t = AsText(w);
  if (event.selection.property == 0) {
    // Refused as UTF-8: ask once more for Latin-1.
    if (!t->pasteAsString && event.selection.target == Atom("UTF8_STRING")) {
      t->pasteAsString = true;
      W_ConvertSelection(event.selection.selection, Atom("STRING"), Atom(kPasteProperty), t->window, t->lastTime);
    }
    return;
  }
  std::vector<std::uint8_t> data;
  W_Atom type;
  int format;
  if (!W_GetWindowProperty(w->window, event.selection.property, 0, true, data, type, format) || format != 8) return;
  const std::string raw(data.begin(), data.end());
  if (!t->editable) return;
  Insert(t, type == Atom("UTF8_STRING") ? raw : WtUtf8_FromLatin1(raw));
  Changed(t);
}

void ASelectionClear(Widget w, W_Event& event) {
  std::erase_if(owned, [&](const Owned& o) { return o.selection == event.selection.selection && o.owner == w; });
}

// --- Input -----------------------------------------------------------------------------------

bool Printable(std::uint8_t ch) { return (ch >= 32 && ch < 127) || ch >= 160; }

void AKey(Widget w, W_Event& event) {
  Text t = AsText(w);
  t->lastTime = event.input.time;
  const std::uint8_t ch = event.input.ch;
  const bool shift = (event.input.state & W_ShiftMask) != 0;
  const bool plain = (event.input.state & (W_CtrlMask | W_AltMask)) == 0;
  switch (ch) {
    case W_KeyLeft: MoveTo(t, WtUtf8_Previous(*t->text, t->cursor), shift); break;
    case W_KeyRight: MoveTo(t, WtUtf8_Next(*t->text, t->cursor), shift); break;
    case W_KeyHome: MoveTo(t, MultiLine(t) ? LinesOf(t)[static_cast<std::size_t>(LineOf(LinesOf(t), t->cursor))].first : 0, shift); break;
    case W_KeyEnd: MoveTo(t, MultiLine(t) ? LinesOf(t)[static_cast<std::size_t>(LineOf(LinesOf(t), t->cursor))].second : static_cast<int>(t->text->size()), shift); break;
    case W_KeyUp: MoveLine(t, -1, shift); break;
    case W_KeyDown: MoveLine(t, 1, shift); break;
    case W_KeyBackSpace:
    case W_KeyDelete:
      if (!t->editable) {
        W_Bell(0);
        return;
      }
      if (t->cursor == t->anchor)
        MoveTo(t, ch == W_KeyDelete ? WtUtf8_Next(*t->text, t->cursor) : WtUtf8_Previous(*t->text, t->cursor), true);
      DeleteSelection(t);
      break;
    case kCtrlA: t->anchor = 0, t->cursor = static_cast<int>(t->text->size()); break;
    case kCtrlC:
      if (t->cursor != t->anchor) Own(t, "CLIPBOARD", CWTextIO_SelectedText(t));
      return;
    case kCtrlX:
      if (t->cursor == t->anchor || !t->editable) return;
      Own(t, "CLIPBOARD", CWTextIO_SelectedText(t));
      DeleteSelection(t);
      break;
    case kCtrlV:
      if (t->editable) RequestPaste(t, "CLIPBOARD");
      return;
    case W_KeyReturn:
      if (MultiLine(t) && t->editable) {
        Insert(t, "\n");
        break;
      }
      CWCore_CheckValue(w);
      WTranslt_ReturnEvent(w, event);
      return;
    default:
      if (!Printable(ch) || !plain) {
        WTranslt_ReturnEvent(w, event);
        return;
      }
      if (!t->editable || !TextOps(w)->AcceptsChar(w, ch)) {
        W_Bell(0);
        return;
      }
      Insert(t, WtUtf8_FromLatin1(std::string(1, static_cast<char>(ch))));
      break;
  }
  Changed(t);
}

void APress(Widget w, W_Event& event) {
  Text t = AsText(w);
  t->lastTime = event.input.time;
  CWLabel_TakeFocus(w);
  MoveTo(t, IndexAt(t, event.input.x, event.input.y), (event.input.state & W_ShiftMask) != 0);
  t->dragging = true;
  Changed(t);
}

void ADrag(Widget w, W_Event& event) {
  Text t = AsText(w);
  if (!t->dragging) return;
  MoveTo(t, IndexAt(t, event.input.x, event.input.y), true);
  Changed(t);
}

void ARelease(Widget w, W_Event& event) {
  Text t = AsText(w);
  t->lastTime = event.input.time;
  t->dragging = false;
  if (t->cursor != t->anchor && !t->noDisp) Own(t, "PRIMARY", CWTextIO_SelectedText(t));
}

void APastePrimary(Widget w, W_Event& event) {
  Text t = AsText(w);
  t->lastTime = event.input.time;
  if (!t->editable) return;
  MoveTo(t, IndexAt(t, event.input.x, event.input.y), false);
  RequestPaste(t, "PRIMARY");
}

// --- Operations ------------------------------------------------------------------------------

void MyQueryGeometry(Widget w, Geometry& result) {
  Text t = AsText(w);
  const Metrics m = MetricsOf(t);
  const int width = t->viewWidth > 0 ? t->viewWidth : t->columns * m.charWidth;
  const int height = t->viewHeight > 0 ? t->viewHeight : std::max(t->rows, 1) * m.line;
  result.hDim = Dim{width + 2 * Margin(w), Dim_Unbounded};
  result.vDim = Dim{height + 2 * Margin(w), MultiLine(t) ? Dim_Unbounded : 0};
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  Text t = AsText(w);
  const Regions_Rect area = Area(w);
  const Metrics m = MetricsOf(t);
  W_GC gc = WtDraw_GetGC();
  W_SetFont(gc, t->fontSize, t->fontFixed);
  W_SetClipRect(gc, area.x, area.y, area.width, area.height);
  const auto lines = LinesOf(t);
  const int from = SelectionStart(t), to = SelectionEnd(t);
  const int left = area.x - t->scrollX + AlignOffset(t, area);
  int top = area.y + area.height;
  if (!MultiLine(t)) top = area.y + (area.height + m.line) / 2;
  for (std::size_t row = static_cast<std::size_t>(std::max(t->firstLine, 0)); row < lines.size(); ++row) {
    if (top - m.line < area.y - m.line) break;
    const auto [start, end] = lines[row];
    const int baseline = top - m.ascent;
    const std::string line = t->text->substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
    W_SetForeground(gc, w->sensitive ? (WtColors_IsCopyColor(t->drawColor) ? W_Color{0, 0, 0} : t->drawColor)
                                     : WtColors_insensitiveColor);
    W_DrawString(w->window, gc, left, baseline, Shown(t, line));
    // The selected part, white on the selection colour.
    const int s0 = std::clamp(from, start, end), s1 = std::clamp(to, start, end);
    if (s1 > s0) {
      const int x0 = left + Width(t, line.substr(0, static_cast<std::size_t>(s0 - start)));
      const std::string part = line.substr(static_cast<std::size_t>(s0 - start), static_cast<std::size_t>(s1 - s0));
      W_SetForeground(gc, WtColors_selectionColor);
      W_FillRectangle(w->window, gc, x0, top - m.line, Width(t, part), m.line);
      W_SetForeground(gc, W_Color{255, 255, 255});
      W_DrawString(w->window, gc, x0, baseline, Shown(t, part));
    }
    if (t->focused && t->editable && t->cursor >= start && t->cursor <= end) {
      const int x = left + Width(t, line.substr(0, static_cast<std::size_t>(t->cursor - start)));
      W_SetForeground(gc, W_Color{0, 0, 0});
      W_DrawLine(w->window, gc, x, top - m.line, x, top - 1);
    }
    top -= m.line;
  }
  WtDraw_ReleaseGC(gc);
}

bool MyAcceptFocus(Widget w, bool again) {
  Text t = AsText(w);
  if (!w->sensitive || !WtWnds_IsMapped(w)) return false;
  t->focused = true;
  if (!again && t->editable && !MultiLine(t)) {
    // Tabbing into a line selects it, so that typing replaces it.
    t->anchor = 0;
    t->cursor = static_cast<int>(t->text->size());
  }
  Changed(t);
  return true;
}

void MyReleaseFocus(Widget w) {
  Text t = AsText(w);
  t->focused = false;
  t->dragging = false;
  CWCore_CheckValue(w);
  t->anchor = t->cursor;
  WtDraw_RedrawWidget(w);
}

bool MyAcceptsChar(Widget, std::uint8_t) { return true; }

void MyInit(void* instance) {
  Text t = AsText(static_cast<Widget>(instance));
  t->text = new std::string(reinterpret_cast<const char*>(WtTypes_AsString(t->value).Data()),
                            WtTypes_AsString(t->value).Length());
  t->committed = new std::string(*t->text);
  t->cursor = t->anchor = t->cursorAtEnd ? static_cast<int>(t->text->size()) : 0;
}

void MyDestruct(void* instance) {
  Text t = AsText(static_cast<Widget>(instance));
  std::erase_if(owned, [&](const Owned& o) { return o.owner == t; });
  delete t->text;
  delete t->committed;
}

}  // namespace

void CWTextIO_MyCheckValue(Widget w) {
  Text t = AsText(w);
  if (*t->text == *t->committed) return;
  *t->committed = *t->text;
  w->value = WtTypes_String(*t->text);
  CWCore_CallCallback(w);
}

void CWTextIO_MySetValue(Widget w, const WidgetValue& value) {
  CWCore_MySetValue(w, value);
  if (WtTypes_KindOf(value.widgetType) == WtTypes_kString) CWTextIO_SetText(w, WtTypes_AsString(value));
}

void CWTextIO_MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWTextIO_ClassRec*>(c);
  auto* p = static_cast<CWTextIO_Rec*>(prototype);
  cls->QueryGeometry = MyQueryGeometry;
  cls->Expose = MyExpose;
  cls->SetValue = CWTextIO_MySetValue;
  cls->CheckValue = CWTextIO_MyCheckValue;
  cls->AcceptFocus = MyAcceptFocus;
  cls->ReleaseFocus = MyReleaseFocus;
  cls->AcceptsChar = MyAcceptsChar;
  WTranslt_Table& table = cls->translationTable;
  WTranslt_EnterTranslation(table, "<Key>", AKey);
  WTranslt_EnterTranslation(table, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(table, "<Btn1Motion>", ADrag);
  WTranslt_EnterTranslation(table, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(table, "<Btn2Down>", APastePrimary);
  WTranslt_EnterTranslation(table, "<SelectionRequest>", ASelectionRequest);
  WTranslt_EnterTranslation(table, "<Selection>", ASelectionNotify);
  WTranslt_EnterTranslation(table, "<SelectionClear>", ASelectionClear);
  CAttribs_DefAttr(c, "drawColor", 11, &p->drawColor);
  CWTextIO_rowsAT = CAttribs_DefAttr(c, "rows", 3, &p->rows);
  CWTextIO_columnsAT = CAttribs_DefAttr(c, "columns", 3, &p->columns);
  CAttribs_DefAttr(c, "viewWidth", 3, &p->viewWidth);
  CAttribs_DefAttr(c, "viewHeight", 3, &p->viewHeight);
  CWTextIO_editableAT = CAttribs_DefAttr(c, "editable", 0, &p->editable);
  CAttribs_DefAttr(c, "hAlign", 0, &p->hAlign);
  CAttribs_DefAttr(c, "noDisp", 0, &p->noDisp);
  CAttribs_DefAttr(c, "fontSize", 0, &p->fontSize);
  CAttribs_DefAttr(c, "fontFixed", 0, &p->fontFixed);
  CAttribs_DefAttr(c, "cursorAtEnd", 0, &p->cursorAtEnd);
  CAttribs_DefAttr(c, "visibleSpaces", 0, &p->visibleSpaces);
  p->drawColor = W_Color{0, 0, 0};
  p->rows = 1;
  p->columns = 20;
  p->editable = true;
  p->fontSize = 2;
  p->frameWidth = 2;
  p->elevated = false;
  p->value = WtTypes_String("");
}

void CWTextIO_CreateClass() {
  if (CWTextIO_class != nullptr) return;
  CWCore_CreateClass();
  CWTextIO_class = new CWTextIO_ClassRec;
  Classes_MakeClass(CWTextIO_class, CWCore_class, "WTextIO", sizeof(CWTextIO_Rec),
                    CWTextIO_MyInitClass, MyInit, MyDestruct, "TEXTIO");
}

StrIn CWTextIO_GetText(Widget w) { return StrIn(*AsText(w)->text); }

void CWTextIO_SetText(Widget w, StrIn text) {
  Text t = AsText(w);
  *t->text = text.Str();
  if (!MultiLine(t)) std::replace(t->text->begin(), t->text->end(), '\n', ' ');
  *t->committed = *t->text;
  t->cursor = t->anchor = t->cursorAtEnd ? static_cast<int>(t->text->size()) : 0;
  t->scrollX = t->firstLine = 0;
  if (w->realized) Changed(t);
}

std::string CWTextIO_SelectedText(Widget w) {
  Text t = AsText(w);
  return t->text->substr(static_cast<std::size_t>(SelectionStart(t)),
                         static_cast<std::size_t>(SelectionEnd(t) - SelectionStart(t)));
}

void CWTextIO_RelinquishSelection(Widget shell) {
  for (auto it = owned.begin(); it != owned.end();) {
    if (it->owner == shell || CWGroup_IsChildOf(it->owner, shell)) {
      W_SetSelectionOwner(it->selection, 0, AsText(it->owner)->lastTime);
      it = owned.erase(it);
    } else {
      ++it;
    }
  }
}
