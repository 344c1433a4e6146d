#include "toolkit/CWTree.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "toolkit/CObject.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtIconList.h"
#include "toolkit/WtGuiLog.h"
#include "toolkit/WtRowScroll.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWTree_class = nullptr;

namespace {

// A node in view: its depth, the row of its parent (-1 at the top), and for
// each level down to its own whether the node on its path there has a
// sibling below it (the lines go on).
struct Row {
  CWTree_Node* node;
  int depth;
  std::int64_t parent;
  std::vector<bool> more;
};

}  // namespace

struct CWTree_State {
  CWTree_Node* first = nullptr;  // not owned
  std::vector<Row> rows;
  WtIconList icons;
  std::size_t top = 0;  // the first row shown
  bool focused = false;
  WtRowScroll_Grip grip;  // the scroll bar's thumb
  bool pressedOnRow = false, changedOnPress = false;
};

namespace {

char section[kSectionCap] = "CWTree";

constexpr int kBar = WtRowScroll_barWidth;
constexpr int kIconGap = 4;
const W_Color kLines{165, 165, 160};
const W_Color kOpener{96, 96, 96};

CWTree AsTree(Widget w) { return static_cast<CWTree>(w); }
CWTree_State& State(Widget w) { return *AsTree(w)->state; }
CWCore_ClassRec* Super() { return static_cast<CWCore_ClassRec*>(CWGroup_class); }

// --- Rows and icons --------------------------------------------------------------------------

void AddRows(CWTree_State& s, CWTree_Node* first, int depth, std::int64_t parent, std::vector<bool>& more) {
  for (CWTree_Node* n = first; n != nullptr; n = n->next) {
    more.push_back(n->next != nullptr);
    s.rows.push_back(Row{n, depth, parent, more});
    const auto self = static_cast<std::int64_t>(s.rows.size() - 1);
    if (n->expanded) AddRows(s, n->firstChild, depth + 1, self, more);
    more.pop_back();
  }
}

void MakeRows(CWTree t) {
  CWTree_State& s = *t->state;
  s.rows.clear();
  std::vector<bool> more;
  AddRows(s, s.first, 0, -1, more);
}

void ReleaseIcons(CWTree t) { t->state->icons.Release(); }

W_Pixmap Icon(CWTree t, std::int32_t index, int& width, int& height) {
  return t->state->icons.Get(t->iconPath, t->iconList, index, width, height);
}

// The path of a row's node: the texts from the top down, joined by "/".
std::string PathOf(const CWTree_State& s, std::size_t row) {
  std::string path = s.rows[row].node->text;
  for (std::int64_t p = s.rows[row].parent; p >= 0; p = s.rows[static_cast<std::size_t>(p)].parent)
    path = s.rows[static_cast<std::size_t>(p)].node->text + "/" + path;
  return path;
}

// --- Measures --------------------------------------------------------------------------------

int Margin(Widget w) { return std::max(w->frameWidth, 0) + static_cast<int>(w->borderWidth); }

int LineHeight(CWTree t, int* descent = nullptr) { return WtDraw_LineHeight(t->fontSize, t->fontFixed, descent); }

int RowHeight(CWTree t) {
  int h = LineHeight(t);
  if (t->realized) h = std::max(h, t->state->icons.TallestHeight(t->iconPath, t->iconList));
  return h + 2 * std::max(t->itemVertBorder, 0);
}

int Indent(CWTree t) { return std::max(t->indentSize, 8); }

std::size_t VisibleRows(CWTree t) {
  return static_cast<std::size_t>(std::max(1, (t->height - 2 * Margin(t)) / std::max(RowHeight(t), 1)));
}

bool HasBar(CWTree t) { return t->state->rows.size() > VisibleRows(t); }

struct Area {
  int left, right, bottom, top;  // the rows, without the scroll bar
};

Area RowArea(CWTree t) {
  const int m = Margin(t);
  return Area{m, t->width - m - (HasBar(t) ? kBar : 0), m, t->height - m};
}

void ClampTop(CWTree t) {
  CWTree_State& s = *t->state;
  const std::size_t visible = VisibleRows(t);
  s.top = WtRowScroll_Clamp(s.top, s.rows.size(), visible);
}

WtRowScroll_Bar Bar(CWTree t) {
  const Area a = RowArea(t);
  return WtRowScroll_Bar{a.right, a.bottom, a.top, t->state->rows.size(), VisibleRows(t), t->state->top};
}

// Where the row's opener box starts: its depth's indentation.
int OpenerX(CWTree t, const Row& r) { return RowArea(t).left + t->itemHoriBorder + r.depth * Indent(t); }

bool Openable(const CWTree_Node* n) { return n->firstChild != nullptr || n->expandable; }

// The row at height y; -1 none.
std::int64_t RowAt(CWTree t, int y) {
  const Area a = RowArea(t);
  if (y < a.bottom || y >= a.top) return -1;
  const std::size_t row = t->state->top + static_cast<std::size_t>((a.top - 1 - y) / RowHeight(t));
  return row < t->state->rows.size() ? static_cast<std::int64_t>(row) : -1;
}

// --- Drawing -----------------------------------------------------------------------------------

void DrawLines(CWTree t, W_GC gc, const Row& r, int bottom, int height) {
  const Area a = RowArea(t);
  const int indent = Indent(t), mid = bottom + height / 2;
  const auto column = [&](int level) { return a.left + t->itemHoriBorder + level * indent + indent / 2; };
  W_SetForeground(gc, kLines);
  // The lines of the ancestors that have siblings below.
  for (int level = 1; level < r.depth; ++level)
    if (r.more[static_cast<std::size_t>(level)])
      W_DrawLine(t->window, gc, column(level - 1), bottom, column(level - 1), bottom + height - 1);
  if (r.depth == 0) return;
  const int x = column(r.depth - 1);
  W_DrawLine(t->window, gc, x, r.more[static_cast<std::size_t>(r.depth)] ? bottom : mid, x, bottom + height - 1);
  W_DrawLine(t->window, gc, x, mid, OpenerX(t, r) + (Openable(r.node) ? indent / 2 - 5 : indent - 3), mid);
}

void DrawOpener(CWTree t, W_GC gc, const Row& r, int bottom, int height, bool selected) {
  const int cx = OpenerX(t, r) + Indent(t) / 2, cy = bottom + height / 2;
  W_SetForeground(gc, selected ? WtColors_inputColor : kOpener);
  if (r.node->expanded) {
    const W_Point down[3] = {{cx - 4, cy + 2}, {cx + 4, cy + 2}, {cx, cy - 3}};
    W_FillPolygon(t->window, gc, down, 3);
  } else {
    const W_Point right[3] = {{cx - 2, cy + 4}, {cx - 2, cy - 4}, {cx + 3, cy}};
    W_FillPolygon(t->window, gc, right, 3);
  }
}

void DrawRow(CWTree t, W_GC gc, std::size_t index, int bottom, int height) {
  const Row& r = t->state->rows[index];
  const Area a = RowArea(t);
  const bool selected = r.node->selected && t->selectMode != 0;
  if (selected) {
    W_SetForeground(gc, t->selectionColor);
    W_FillRectangle(t->window, gc, a.left, bottom, a.right - a.left, height);
  }
  W_SetClipRect(gc, a.left, std::max(bottom, a.bottom), a.right - a.left, height);
  if (t->showLines) DrawLines(t, gc, r, bottom, height);
  if (Openable(r.node)) DrawOpener(t, gc, r, bottom, height, selected);
  int x = OpenerX(t, r) + Indent(t);
  int iconWidth, iconHeight;
  if (const W_Pixmap icon = Icon(t, r.node->icon, iconWidth, iconHeight)) {
    WtDraw_DrawIcon(t->window, icon, x, bottom + (height - iconHeight) / 2);
    x += iconWidth + kIconGap;
  }
  int descent;
  const int line = LineHeight(t, &descent);
  W_SetForeground(gc, !t->sensitive ? WtColors_insensitiveColor : selected ? WtColors_inputColor : t->drawColor);
  W_SetFont(gc, t->fontSize, t->fontFixed);
  W_DrawString(t->window, gc, x, bottom + (height - line) / 2 + descent, r.node->text);
  W_UnsetClipping(gc);
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  CWTree t = AsTree(w);
  const CWTree_State& s = *t->state;
  const Area a = RowArea(t);
  const int height = RowHeight(t);
  W_GC gc = WtDraw_GetGC();
  W_SetForeground(gc, WtColors_inputColor);
  W_FillRectangle(w->window, gc, a.left, a.bottom, a.right - a.left, a.top - a.bottom);
  int bottom = a.top - height;
  for (std::size_t row = s.top; row < s.rows.size() && bottom + height > a.bottom; ++row, bottom -= height)
    DrawRow(t, gc, row, bottom, height);
  if (HasBar(t)) WtRowScroll_Draw(w->window, Bar(t));
  if (s.focused) {
    W_SetForeground(gc, WtColors_selectionColor);
    W_DrawRectangle(w->window, gc, a.left, a.bottom, a.right - a.left - 1, a.top - a.bottom - 1);
  }
  WtDraw_ReleaseGC(gc);
}

void Redraw(CWTree t) {
  if (t->realized) WtDraw_RedrawWidget(t);
}

// --- Scrolling and choosing ------------------------------------------------------------------

void ScrollTo(CWTree t, std::size_t top) {
  t->state->top = top;
  ClampTop(t);
  Redraw(t);
}

void ShowRow(CWTree t, std::size_t row) {
  if (t->height <= 1) return;  // shown when the size comes
  if (std::size_t top; WtRowScroll_Show(Bar(t), row, top)) ScrollTo(t, top);
}

void ClearSelection(CWTree_Node* first) {
  for (CWTree_Node* n = first; n != nullptr; n = n->next) {
    n->selected = false;
    ClearSelection(n->firstChild);
  }
}

void CollectSelected(const CWTree_State& s, std::vector<std::size_t>& rows) {
  for (std::size_t i = 0; i < s.rows.size(); ++i)
    if (s.rows[i].node->selected) rows.push_back(i);
}

// Selects as a click with these modifiers does; whether a flag changed.
bool Select(CWTree t, std::size_t row, std::uint32_t state) {
  CWTree_State& s = *t->state;
  if (t->selectMode == 0 || row >= s.rows.size()) return false;
  CWTree_Node* node = s.rows[row].node;
  if (t->selectMode == 2 && (state & W_CtrlMask) != 0) {
    node->selected = !node->selected;
  } else {
    if (node->selected) {
      std::vector<std::size_t> chosen;
      CollectSelected(s, chosen);
      if (chosen.size() == 1) return false;
    }
    ClearSelection(s.first);
    node->selected = true;
  }
  Redraw(t);
  return true;
}

// The user's selection goes to the program (and to the log).
void ReportSelection(CWTree t) {
  std::vector<std::size_t> rows;
  CollectSelected(*t->state, rows);
  std::string command = "SELECT";
  for (const std::size_t row : rows) command += " " + WtGuiLog_Word(PathOf(*t->state, row));
  WtGuiLog_Command(t, command);
  CWCore_CallCallback(t);
}

// Opens or closes a row's node. Opening a node whose children are not there
// yet asks the program for them: it fills them in and puts the value again.
void SetOpen(CWTree t, std::size_t row, bool open) {
  CWTree_State& s = *t->state;
  CWTree_Node* node = s.rows[row].node;
  if (node->expanded == open || (open && !Openable(node))) return;
  WtGuiLog_Command(t, (open ? "OPEN " : "CLOSE ") + WtGuiLog_Word(PathOf(s, row)));
  node->expanded = open;
  const bool ask = open && node->firstChild == nullptr;
  MakeRows(t);
  ClampTop(t);
  Redraw(t);
  if (ask) CWCore_CallCallback(t);
}

// --- Replaying ---------------------------------------------------------------------------------

void CommandFailed(unsigned number, const std::string& word = {}) {
  TextStr why;
  Messages_GetMsg(section, number, why);  // messages: CWTree 1-4
  if (!word.empty()) SPrintf_String(why, word);
  WtGuiLog_CommandFailed(why);
}

std::int64_t RowOf(const CWTree_State& s, const CWTree_Node* node) {
  for (std::size_t i = 0; i < s.rows.size(); ++i)
    if (s.rows[i].node == node) return static_cast<std::int64_t>(i);
  return -1;
}

// The row of the node at `path`, opening the nodes on the way as a user
// would; -1 when there is none.
std::int64_t Reach(CWTree t, const std::string& path) {
  CWTree_State& s = *t->state;
  CWTree_Node* level = s.first;
  std::string rest = path;
  while (level != nullptr) {
    CWTree_Node* found = nullptr;
    bool deeper = false;
    for (CWTree_Node* n = level; n != nullptr && found == nullptr; n = n->next) {
      if (rest == n->text) found = n;
      else if (rest.size() > n->text.size() && rest.compare(0, n->text.size(), n->text) == 0 &&
               rest[n->text.size()] == '/')
        found = n, deeper = true;
    }
    if (found == nullptr) return -1;
    const std::int64_t row = RowOf(s, found);
    if (row < 0) return -1;
    if (!deeper) return row;
    rest.erase(0, found->text.size() + 1);
    SetOpen(t, static_cast<std::size_t>(row), true);
    level = found->firstChild;
  }
  return -1;
}

// "SELECT <path>...", "OPEN <path>", "CLOSE <path>".
void MyDoCommand(Widget w, StrIn command) {
  CWTree t = AsTree(w);
  CWTree_State& s = *t->state;
  std::vector<std::string> words;
  if (!WtGuiLog_SplitWords(command, words) || words.empty()) return CommandFailed(1);
  if ((words[0] == "OPEN" || words[0] == "CLOSE") && words.size() == 2) {
    const std::int64_t row = Reach(t, words[1]);
    if (row < 0) return CommandFailed(2, words[1]);
    return SetOpen(t, static_cast<std::size_t>(row), words[0] == "OPEN");
  }
  if (words[0] != "SELECT") return CommandFailed(1);
  if (t->selectMode == 0) return CommandFailed(4);
  if (t->selectMode == 1 && words.size() > 2) return CommandFailed(3);
  std::vector<CWTree_Node*> chosen;
  for (std::size_t k = 1; k < words.size(); ++k) {
    const std::int64_t row = Reach(t, words[k]);
    if (row < 0) return CommandFailed(2, words[k]);
    chosen.push_back(s.rows[static_cast<std::size_t>(row)].node);
  }
  ClearSelection(s.first);
  for (CWTree_Node* n : chosen) n->selected = true;
  if (!chosen.empty()) ShowRow(t, static_cast<std::size_t>(RowOf(s, chosen.front())));
  Redraw(t);
  ReportSelection(t);
}

// --- Input -----------------------------------------------------------------------------------

void APress(Widget w, W_Event& event) {
  CWTree t = AsTree(w);
  CWTree_State& s = *t->state;
  if (!CWShell_HasFocus(w) && CWCore_AcceptFocus(w, false)) CWShell_RequestFocus(w);
  s.pressedOnRow = s.changedOnPress = false;
  const int x = event.input.x, y = event.input.y;
  if (HasBar(t) && x >= RowArea(t).right) {
    if (std::size_t first; WtRowScroll_Press(Bar(t), y, s.grip, first)) ScrollTo(t, first);
    return;
  }
  const std::int64_t row = RowAt(t, y);
  if (row < 0) return;
  const Row& r = s.rows[static_cast<std::size_t>(row)];
  const int opener = OpenerX(t, r);
  if (Openable(r.node) && x >= opener && x < opener + Indent(t)) {
    SetOpen(t, static_cast<std::size_t>(row), !r.node->expanded);
    return;
  }
  s.pressedOnRow = true;
  s.changedOnPress = Select(t, static_cast<std::size_t>(row), event.input.state);
}

void ADrag(Widget w, W_Event& event) {
  CWTree t = AsTree(w);
  if (std::size_t first; WtRowScroll_Drag(Bar(t), event.input.y, t->state->grip, first)) ScrollTo(t, first);
}

void ARelease(Widget w, W_Event&) {
  CWTree t = AsTree(w);
  CWTree_State& s = *t->state;
  s.grip.dragging = false;
  if (s.pressedOnRow && (s.changedOnPress || WtEvents_doubleClickFlag)) ReportSelection(t);
  s.pressedOnRow = s.changedOnPress = false;
}

// The wheel: buttons 4 and 5.
void AWheel(Widget w, W_Event& event) {
  CWTree t = AsTree(w);
  if (std::size_t top; WtRowScroll_Wheel(Bar(t), event.input.button, top)) ScrollTo(t, top);
}

void AKey(Widget w, W_Event& event) {
  CWTree t = AsTree(w);
  CWTree_State& s = *t->state;
  const std::size_t count = s.rows.size();
  if (count == 0 || t->selectMode == 0) return WTranslt_ReturnEvent(w, event);
  std::vector<std::size_t> chosen;
  CollectSelected(s, chosen);
  const std::size_t current = chosen.empty() ? s.top : chosen.front();
  const Row& r = s.rows[current];
  std::size_t row = current;
  if (event.input.ch == W_KeyRight) {
    if (!r.node->expanded) return SetOpen(t, current, true);
    row = r.node->firstChild != nullptr ? current + 1 : current;
  } else if (event.input.ch == W_KeyLeft) {
    if (r.node->expanded) return SetOpen(t, current, false);
    row = r.parent >= 0 ? static_cast<std::size_t>(r.parent) : current;
  } else if (!WtRowScroll_KeyRow(event.input.ch, current, count, VisibleRows(t), row)) {
    return WTranslt_ReturnEvent(w, event);
  }
  ShowRow(t, row);
  if (Select(t, row, 0)) ReportSelection(t);
}

bool MyAcceptFocus(Widget w, bool) {
  if (!w->sensitive || !WtWnds_IsMapped(w)) return false;
  State(w).focused = true;
  Redraw(AsTree(w));
  return true;
}

void MyReleaseFocus(Widget w) {
  State(w).focused = false;
  Redraw(AsTree(w));
}

// --- Value, geometry, life ---------------------------------------------------------------------

void MySetValue(Widget w, const WidgetValue& value) {
  CWCore_MySetValue(w, value);
  CWTree t = AsTree(w);
  CWTree_State& s = *t->state;
  s.first = nullptr;
  if (WtTypes_TSize(value.widgetType) >= sizeof s.first) std::memcpy(&s.first, value.VALUE, sizeof s.first);
  MakeRows(t);
  ClampTop(t);
  if (t->autoPos) {
    std::vector<std::size_t> chosen;
    CollectSelected(s, chosen);
    if (!chosen.empty()) ShowRow(t, chosen.front());
  }
  Redraw(t);
}

void MyQueryGeometry(Widget w, Geometry& result) {
  CWTree t = AsTree(w);
  result.hDim = Dim{std::max(t->defaultWidth, 40) + 2 * Margin(w), Dim_Unbounded};
  result.vDim = Dim{std::max(t->defaultHeight, RowHeight(t)) + 2 * Margin(w), Dim_Unbounded};
}

void MyConfigure(Widget w) {
  CWTree t = AsTree(w);
  ClampTop(t);
  if (!t->autoPos) return;
  std::vector<std::size_t> chosen;
  CollectSelected(*t->state, chosen);
  if (!chosen.empty()) ShowRow(t, chosen.front());
}

void MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  CWCore_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  CWTree t = AsTree(static_cast<Widget>(object));
  ReleaseIcons(t);
  CWCore_InvalidateGeometry(t);
  Redraw(t);
}

void MyUnrealize(Widget w) {
  ReleaseIcons(AsTree(w));
  Super()->Unrealize(w);
}

void MyInit(void* instance) { AsTree(static_cast<Widget>(instance))->state = new CWTree_State; }

void MyDestruct(void* instance) {
  CWTree t = AsTree(static_cast<Widget>(instance));
  ReleaseIcons(t);
  delete t->state;
  t->state = nullptr;
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWGroup_ClassRec*>(c);
  auto* p = static_cast<CWTree_Rec*>(prototype);
  cls->SetAttr = MySetAttr;
  cls->Expose = MyExpose;
  cls->QueryGeometry = MyQueryGeometry;
  cls->Configure = MyConfigure;
  cls->SetValue = MySetValue;
  cls->Unrealize = MyUnrealize;
  cls->AcceptFocus = MyAcceptFocus;
  cls->ReleaseFocus = MyReleaseFocus;
  cls->DoCommand = MyDoCommand;
  cls->gadget = false;
  cls->compressExposure = true;
  WTranslt_Table& table = cls->translationTable;
  WTranslt_EnterTranslation(table, "<Btn1Down>", APress);
  WTranslt_EnterTranslation(table, "<Btn1Motion>", ADrag);
  WTranslt_EnterTranslation(table, "<Btn1Up>", ARelease);
  WTranslt_EnterTranslation(table, "<Btn4Down>", AWheel);
  WTranslt_EnterTranslation(table, "<Btn5Down>", AWheel);
  WTranslt_EnterTranslation(table, "<Key>", AKey);
  CAttribs_DefAttr(c, "defaultWidth", 3, &p->defaultWidth);
  CAttribs_DefAttr(c, "defaultHeight", 3, &p->defaultHeight);
  CAttribs_DefAttr(c, "selectMode", 0, &p->selectMode);
  CAttribs_DefAttr(c, "fontSize", 0, &p->fontSize);
  CAttribs_DefAttr(c, "fontFixed", 0, &p->fontFixed);
  CAttribs_DefAttr(c, "autoPos", 0, &p->autoPos);
  CAttribs_DefAttr(c, "showLines", 0, &p->showLines);
  CAttribs_DefAttr(c, "indentSize", 3, &p->indentSize);
  CAttribs_DefAttr(c, "itemVertBorder", 3, &p->itemVertBorder);
  CAttribs_DefAttr(c, "itemHoriBorder", 3, &p->itemHoriBorder);
  WtIconList::DefineAttrs(c, p->iconPath, p->iconList);
  CAttribs_DefAttr(c, "selectionColor", 11, &p->selectionColor);
  CAttribs_DefAttr(c, "drawColor", 11, &p->drawColor);
  p->defaultWidth = 200;
  p->defaultHeight = 160;
  p->selectMode = 1;
  p->fontSize = 2;
  p->showLines = true;
  p->indentSize = 18;
  p->itemVertBorder = 2;
  p->itemHoriBorder = 2;
  p->selectionColor = WtColors_selectionColor;
  p->drawColor = W_Color{0, 0, 0};
  p->frameWidth = 2;
  p->background = WtColors_inputColor;
}

}  // namespace

void CWTree_CreateClass() {
  if (CWTree_class != nullptr) return;
  CWGroup_CreateClass();
  WtTypes_DeclareType(CWTree_listType, sizeof(void*));
  CWTree_class = new CWGroup_ClassRec;
  Classes_MakeClass(CWTree_class, CWGroup_class, "WTree", sizeof(CWTree_Rec), MyInitClass, MyInit, MyDestruct,
                    "TREE");
}

void CWTree_DestroyNodes(CWTree_Node*& first) {
  while (first != nullptr) {
    CWTree_Node* next = first->next;
    CWTree_DestroyNodes(first->firstChild);
    delete first;
    first = next;
  }
}

CWTree_Node* CWTree_FindNode(CWTree_Node* first, const std::string& path) {
  for (CWTree_Node* n = first; n != nullptr; n = n->next) {
    if (path == n->text) return n;
    if (path.size() > n->text.size() && path.compare(0, n->text.size(), n->text) == 0 && path[n->text.size()] == '/')
      if (CWTree_Node* found = CWTree_FindNode(n->firstChild, path.substr(n->text.size() + 1))) return found;
  }
  return nullptr;
}

std::size_t CWTree_RowCount(Widget tree) { return State(tree).rows.size(); }

CWTree_Node* CWTree_RowNode(Widget tree, std::size_t row) {
  const CWTree_State& s = State(tree);
  return row < s.rows.size() ? s.rows[row].node : nullptr;
}

bool CWTree_RowPlace(Widget tree, std::size_t row, Regions_Rect& place) {
  CWTree t = AsTree(tree);
  const CWTree_State& s = *t->state;
  if (row < s.top || row >= s.top + VisibleRows(t) || row >= s.rows.size()) return false;
  const Area a = RowArea(t);
  const int height = RowHeight(t);
  const int x = OpenerX(t, s.rows[row]) + Indent(t);
  place = Regions_Rect{x, a.top - static_cast<int>(row - s.top + 1) * height, a.right - x, height};
  return true;
}

bool CWTree_OpenerPlace(Widget tree, std::size_t row, Regions_Rect& place) {
  if (!CWTree_RowPlace(tree, row, place)) return false;
  place.width = Indent(AsTree(tree));
  place.x -= place.width;
  return true;
}
