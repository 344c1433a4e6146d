// A menu's life: closed -> open (Open: by a click on the title, Activate by
// its mnemonic, Switch from a neighbour; the pull-down takes the grabs) ->
// closed again (CWCascad_Close: Escape, a click outside, Choose, Switch, the
// shell going away; Closed resets the look). Submenus open over an open menu
// and close with it.
#include "toolkit/CWCascad.h"

#include <cctype>
#include <vector>

#include "base/Messages.h"
#include "toolkit/CObject.h"
#include "toolkit/CWGroup.h"
#include "toolkit/CWPush.h"
#include "toolkit/CWToggle.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtGuiLog.h"
#include "toolkit/WtPopup.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWCascad_class = nullptr;

namespace {

char section[kSectionCap] = "CWCascad";
std::uint32_t addedItemsAT;

constexpr int kTitlePadX = 6, kTitlePadY = 3;  // around a title's text, beyond a label's own
constexpr int kItemBorder = 3;                  // around an item's text, beyond a label's own
constexpr int kItemRight = 20;                  // more room right of an item
constexpr int kArrowRoom = 12;                  // a submenu's arrow
constexpr int kMenuMargin = 3;                  // inside the pull-down's outline
const W_Color kWhite{255, 255, 255};
constexpr std::uint8_t kNormalFont = 2, kBoldFont = 5;  // font slots

// The titles of the bar whose menu is open, with their places on the screen
// (taken when it opened: the pointer is matched against them while it moves).
struct Title {
  Widget cascade;
  Regions_Rect rect;
};
std::vector<Title> titles;
// A press outside the menus (or on the open title) closes them on its release.
bool closeOnRelease = false;

CWCascad AsCascad(Widget w) { return static_cast<CWCascad>(w); }
CWLabel_ClassRec* Super() { return static_cast<CWLabel_ClassRec*>(CWLabel_class); }

// The menu whose pull-down holds `w`; nil for a title.
Widget ParentMenu(Widget w) { return WtPopup_Owner(w); }

Widget TopMenu(Widget w) {
  while (Widget parent = ParentMenu(w)) w = parent;
  return w;
}

Widget Box(CWCascad c) { return c->popup != nullptr ? WtPopup_Box(c->popup) : nullptr; }

Widget Item(CWCascad c, std::int32_t index) {
  if (index < 0) return nullptr;
  CWGroup_Walk walk;
  Widget item = CWGroup_GetFirstChild(Box(c), walk);
  for (std::int32_t i = 0; item != nullptr && i < index; ++i) item = CWGroup_GetNextChild(walk);
  return item;
}

std::int32_t Count(CWCascad c) { return static_cast<std::int32_t>(CWGroup_ChildCount(Box(c))); }

// A plain label is a heading; insensitive items are shown, not chosen.
bool Choosable(Widget item) {
  return WtBase_InstanceOf(item, CWLabel_class) && item->sensitive && item->cls != CWLabel_class;
}

Regions_Rect PullDownRect(CWCascad c) { return WtPopup_RectInside(c->popup, c->popup); }

std::int32_t ItemUnder(CWCascad c, int x, int y) {
  std::int32_t i = 0;
  CWGroup_Walk walk;
  for (Widget item = CWGroup_GetFirstChild(Box(c), walk); item != nullptr; item = CWGroup_GetNextChild(walk), ++i)
    if (WtPopup_Contains(WtPopup_RectInside(c->popup, item), x, y)) return i;
  return -1;
}

// The next item that can be chosen after `from` in direction `step`,
// wrapping; -1 when there is none. From -1 the first (or last) one.
std::int32_t Step(CWCascad c, std::int32_t from, int step) {
  const std::int32_t n = Count(c);
  if (from < 0) from = step > 0 ? -1 : n;
  for (std::int32_t k = 1; k <= n; ++k) {
    const std::int32_t i = ((from + step * k) % n + n) % n;
    if (Choosable(Item(c, i))) return i;
  }
  return -1;
}

bool MatchesShortCut(Widget w, std::uint8_t ch) {
  const char shortCut = static_cast<CWLabel>(w)->shortCut;
  return shortCut != '\0' && std::tolower(static_cast<unsigned char>(shortCut)) == std::tolower(ch);
}

// --- Look ------------------------------------------------------------------------------------

void SetItemLook(Widget item, bool highlighted, W_Color& savedInk) {
  bool ok;
  if (highlighted) savedInk = static_cast<CWLabel>(item)->drawColor;
  const W_Color ink = highlighted ? kWhite : savedInk;
  const W_Color paper = highlighted ? WtColors_selectionColor : WtColors_copyColor;
  // The paper first: its redraw clears the window in the new colour.
  CObject_SetAttr(item, CWCore_backgroundAT, &paper, sizeof paper, ok);
  CObject_SetAttr(item, CWLabel_drawColorAT, &ink, sizeof ink, ok);
}

void Highlight(CWCascad c, std::int32_t index) {
  if (index == c->highlighted) return;
  if (Widget old = Item(c, c->highlighted)) SetItemLook(old, false, c->savedInk);
  Widget item = Item(c, index);
  c->highlighted = item != nullptr ? index : -1;
  if (item != nullptr) SetItemLook(item, true, c->savedInk);
}

// Items take the pull-down's flat look: no frame, text at the left, as wide
// as the pull-down.
void ItemSize(Widget, std::uintptr_t, Geometry& g) {
  g.hDim.min += kItemRight;
  g.hDim.stretch = Dim_Unbounded;
}

void StyleItem(Widget item) {
  bool ok;
  const std::int32_t noFrame = 0;
  const bool flat = false;
  const std::uint32_t border = kItemBorder;
  const std::uint8_t left = 0;
  CObject_SetAttr(item, CWCore_frameWidthAT, &noFrame, sizeof noFrame, ok);
  CObject_SetAttr(item, CWCore_elevatedAT, &flat, sizeof flat, ok);
  CObject_SetAttr(item, CWCore_borderWidthAT, &border, sizeof border, ok);
  CObject_SetAttr(item, CWCore_backgroundAT, &WtColors_copyColor, sizeof WtColors_copyColor, ok);
  if (WtBase_InstanceOf(item, CWLabel_class)) CObject_SetAttr(item, CWLabel_hAlignAT, &left, sizeof left, ok);
  // A heading stands out from the items in bold; grey would say "disabled".
  if (item->cls == CWLabel_class && static_cast<CWLabel>(item)->fontSize == kNormalFont)
    CObject_SetAttr(item, CWLabel_fontSizeAT, &kBoldFont, sizeof kBoldFont, ok);
  CWCore_SetSizeAdjustCB(item, ItemSize, 0);
}

void InvalidateTree(Widget w) {
  w->geometryValid = false;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) InvalidateTree(c);
}

// --- Items -----------------------------------------------------------------------------------

void Pointer(Widget deepest, W_Event& event);
void Closed(Widget w);

void EnsurePullDown(CWCascad c) {
  if (c->popup == nullptr) c->popup = WtPopup_Create(c, WtColors_menubarColor, kMenuMargin, Pointer, Closed);
}

// The items of "addedItems" follow the text: made anew when it changed.
void SyncAddedItems(CWCascad c) {
  const std::string text = CAttribs_Text(c->addedItems).Str();
  if (*c->addedBuilt == text) return;
  *c->addedBuilt = text;
  CWCascad_Close(c);
  for (; c->addedCount > 0; --c->addedCount) {
    Widget last = Item(c, Count(c) - 1);
    Wt_DestroyWidget(last);
  }
  std::int32_t base = 0;
  CWGroup_Walk walk;
  for (Widget item = CWGroup_GetFirstChild(Box(c), walk); item != nullptr; item = CWGroup_GetNextChild(walk))
    base = std::max(base, WtTypes_AsInteger(item->value));
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string label = text.substr(start, end - start);
    start = end + 1;
    if (label.empty()) continue;
    SAttribs attrs = nullptr;
    SAttribs_AddString(attrs, "TEXT", label);
    Widget item = Wt_CreateWidget(nullptr, CWPush_class, attrs);
    SAttribs_Destroy(attrs);
    if (item == nullptr) continue;
    item->value = WtTypes_Integer(base + 1 + c->addedCount);
    EnsurePullDown(c);
    StyleItem(item);
    CWGroup_InsertChild(Box(c), item);
    ++c->addedCount;
  }
}

// --- Opening and closing -----------------------------------------------------------------------

void CacheTitles(Widget top) {
  titles.clear();
  CWGroup_Walk walk;
  for (Widget t = CWGroup_GetFirstChild(top->parent, walk); t != nullptr; t = CWGroup_GetNextChild(walk))
    if (CWCascad_IsCascade(t)) titles.push_back({t, WtPopup_ScreenRect(t)});
}

bool Open(Widget w, bool highlightFirst) {
  CWCascad c = AsCascad(w);
  if (!w->sensitive || !WtWnds_IsMapped(w)) return false;
  SyncAddedItems(c);
  if (Count(c) == 0) return false;
  if (c->dynamic) {
    InvalidateTree(c->popup);
    CWCore_InvalidateGeometry(c->popup);
  }
  Regions_Rect anchor;
  WtPopup_Place place;
  if (Widget parent = ParentMenu(w)) {
    // Beside the parent's pull-down, the first item level with this one.
    const Regions_Rect menu = PullDownRect(AsCascad(parent));
    anchor = WtPopup_RectInside(AsCascad(parent)->popup, w);
    anchor.x = menu.x;
    anchor.width = menu.width;
    anchor.y += kMenuMargin + 1;
    place = WtPopup_Place::kBeside;
  } else {
    anchor = WtPopup_ScreenRect(w);
    place = c->right ? WtPopup_Place::kBelowRight : WtPopup_Place::kBelow;
    CacheTitles(w);
  }
  Highlight(c, -1);
  closeOnRelease = false;
  if (!WtPopup_Open(c->popup, anchor, place, c->alignBox ? w->width : 0)) return false;
  c->open = true;
  WtDraw_RedrawWidget(w);
  if (highlightFirst) Highlight(c, Step(c, -1, 1));
  return true;
}

void Closed(Widget w) {
  CWCascad c = AsCascad(w);
  Highlight(c, -1);
  c->open = false;
  WtDraw_RedrawWidget(w);
}

void Switch(Widget top, Widget other, bool highlightFirst) {
  CWCascad_Close(top);
  Open(other, highlightFirst);
}

// The menu `step` titles away in the bar, wrapping over those that open.
void Neighbour(Widget top, int step) {
  std::vector<Widget> candidates;
  CWGroup_Walk walk;
  for (Widget t = CWGroup_GetFirstChild(top->parent, walk); t != nullptr; t = CWGroup_GetNextChild(walk))
    if (t == top || (CWCascad_IsCascade(t) && t->sensitive && CWCascad_ItemCount(t) > 0)) candidates.push_back(t);
  const auto n = static_cast<std::int32_t>(candidates.size());
  std::int32_t at = 0;
  while (candidates[static_cast<std::size_t>(at)] != top) ++at;
  const Widget next = candidates[static_cast<std::size_t>(((at + step) % n + n) % n)];
  if (next != top) Switch(top, next, true);
}

// Closes every menu, then reports the item.
void Choose(CWCascad m, Widget item) {
  const bool itself = item->callback != nullptr || WtBase_InstanceOf(item, CWToggle_class);
  Widget reporter = nullptr;
  for (Widget r = m; !itself && r != nullptr && reporter == nullptr; r = ParentMenu(r))
    if (r->callback != nullptr) reporter = r;
  if (reporter == nullptr) reporter = TopMenu(m);
  CWCascad_Close(TopMenu(m));
  if (itself) {
    CWLabel_Activate(item);  // a button reports its number, a toggle flips
  } else {
    reporter->value = WtTypes_Integer(WtTypes_AsInteger(item->value));
    CWCore_CallCallback(reporter);
  }
}

// Return on an item, or its mnemonic: a submenu opens, others are chosen.
void Take(CWCascad c, std::int32_t index) {
  Widget item = Item(c, index);
  if (!Choosable(item)) return;
  Highlight(c, index);
  if (CWCascad_IsCascade(item)) Open(item, true);
  else Choose(c, item);
}

void CloseSubmenusBut(CWCascad c, Widget keep) {
  CWGroup_Walk walk;
  for (Widget item = CWGroup_GetFirstChild(Box(c), walk); item != nullptr; item = CWGroup_GetNextChild(walk))
    if (item != keep && CWCascad_IsCascade(item) && AsCascad(item)->open) CWCascad_Close(item);
}

bool HasOpenSubmenu(CWCascad c) {
  CWGroup_Walk walk;
  for (Widget item = CWGroup_GetFirstChild(Box(c), walk); item != nullptr; item = CWGroup_GetNextChild(walk))
    if (CWCascad_IsCascade(item) && AsCascad(item)->open) return true;
  return false;
}

// --- Input -----------------------------------------------------------------------------------

// The pointer over an item: moving highlights it (and opens its submenu,
// closing another); a press highlights; the release chooses.
void PointerInMenu(CWCascad c, std::int32_t index, W_Event& event) {
  Widget item = Item(c, index);
  if (!Choosable(item)) {
    if (event.kind == W_MotionNotify && !HasOpenSubmenu(c)) Highlight(c, -1);
    return;
  }
  Highlight(c, index);
  if (event.kind == W_ButtonPress) return;
  if (event.kind == W_ButtonRelease && !CWCascad_IsCascade(item)) return Choose(c, item);
  CloseSubmenusBut(c, item);
  if (CWCascad_IsCascade(item) && !AsCascad(item)->open) Open(item, false);
}

// Every pointer event while menus are open comes to the newest one. Menus
// close on a release, never on a press: a window taken away under a held
// button would leave its release to nobody.
void Pointer(Widget deepest, W_Event& event) {
  const int x = event.input.xRoot, y = event.input.yRoot;
  const Widget top = TopMenu(deepest);
  if (event.kind == W_ButtonRelease && closeOnRelease) return CWCascad_Close(top);
  for (Widget m = deepest; m != nullptr; m = ParentMenu(m)) {
    CWCascad menu = AsCascad(m);
    if (WtPopup_Contains(PullDownRect(menu), x, y)) return PointerInMenu(menu, ItemUnder(menu, x, y), event);
  }
  for (const Title& t : titles) {
    if (!WtPopup_Contains(t.rect, x, y)) continue;
    if (t.cascade == top) {
      if (event.kind == W_ButtonPress) closeOnRelease = true;  // the second click on the title
    } else if (event.kind != W_ButtonRelease && t.cascade->sensitive && CWCascad_ItemCount(t.cascade) > 0) {
      Switch(top, t.cascade, false);
    }
    return;
  }
  // Outside: the highlight goes; a click (or the release of a drag) closes.
  if (event.kind == W_MotionNotify) Highlight(AsCascad(deepest), -1);
  else if (event.kind == W_ButtonPress) closeOnRelease = true;
  else CWCascad_Close(top);
}

// Keys while menus are open come to the newest one; all are taken.
void AKey(Widget w, W_Event& event) {
  CWCascad c = AsCascad(w);
  if (!c->open) return WTranslt_ReturnEvent(w, event);
  const Widget top = TopMenu(w);
  const std::uint8_t ch = event.input.ch;
  switch (ch) {
    case W_KeyUp:
    case W_KeyDown: Highlight(c, Step(c, c->highlighted, ch == W_KeyDown ? 1 : -1)); break;
    case W_KeyRight: {
      Widget item = Item(c, c->highlighted);
      if (CWCascad_IsCascade(item) && Choosable(item)) Open(item, true);
      else Neighbour(top, 1);
      break;
    }
    case W_KeyLeft:
      if (w != top) CWCascad_Close(w);
      else Neighbour(top, -1);
      break;
    case W_KeyReturn:
    case ' ': Take(c, c->highlighted); break;
    case W_KeyEscape: CWCascad_Close(w); break;
    default: {
      for (std::int32_t i = 0; i < Count(c); ++i)
        if (Choosable(Item(c, i)) && MatchesShortCut(Item(c, i), ch)) return Take(c, i);
      // Alt with another title's mnemonic goes there.
      if ((event.input.state & W_AltMask) == 0) return;
      for (const Title& t : titles)
        if (t.cascade != top && t.cascade->sensitive && MatchesShortCut(t.cascade, ch))
          return Switch(top, t.cascade, true);
    }
  }
}

void APress(Widget w, W_Event&) {
  if (ParentMenu(w) != nullptr) return;
  if (AsCascad(w)->open) CWCascad_Close(w);
  else Open(w, false);
}

void Ignore(Widget, W_Event&) {}

// The mnemonic opens the menu with its first item highlighted.
void Activate(Widget w) {
  if (!AsCascad(w)->open) Open(w, true);
}

// --- Operations ------------------------------------------------------------------------------

// A title has room around its text; a submenu's item room for its arrow.
void ExtraRoom(Widget w, int& left, int& right) {
  const bool title = ParentMenu(w) == nullptr;
  left = title ? kTitlePadX : 0;
  right = title ? kTitlePadX : kArrowRoom;
}

void MyQueryGeometry(Widget w, Geometry& result) {
  Super()->QueryGeometry(w, result);
  if (ParentMenu(w) == nullptr) result.vDim.min += 2 * kTitlePadY;
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  CWCascad c = AsCascad(w);
  const bool title = ParentMenu(w) == nullptr;
  const Regions_Rect whole = w->gadget ? Regions_Rect{w->x, w->y, w->width, w->height}
                                       : Regions_Rect{0, 0, w->width, w->height};
  W_GC gc = WtDraw_GetGC();
  if (title && c->open) {
    // The open title: white on the selection colour.
    W_SetForeground(gc, WtColors_selectionColor);
    W_FillRectangle(w->window, gc, whole.x, whole.y, whole.width, whole.height);
    const W_Color ink = c->drawColor;
    c->drawColor = kWhite;
    CWLabel_DrawContent(w, CWLabel_ContentArea(w));
    c->drawColor = ink;
  } else {
    Super()->Expose(w, region, event);
  }
  if (!title) {
    // A submenu's arrow, in the colour of its text.
    const Regions_Rect content = CWLabel_ContentArea(w);
    const int x = content.x + content.width + kArrowRoom - 8, y = content.y + content.height / 2;
    const W_Point arrow[3] = {{x, y - 4}, {x, y + 4}, {x + 4, y}};
    W_SetForeground(gc, w->sensitive ? c->drawColor : WtColors_insensitiveColor);
    W_FillPolygon(w->window, gc, arrow, 3);
  }
  WtDraw_ReleaseGC(gc);
}

// A bar left in the dialog's colour takes the menu's.
void MyRealize(Widget w) {
  Widget bar = w->parent;
  if (bar != nullptr && CWGroup_IsMenuBar(bar) && WtColors_IsCopyColor(bar->background)) {
    bool ok;
    CObject_SetAttr(bar, CWCore_backgroundAT, &WtColors_menubarColor, sizeof WtColors_menubarColor, ok);
  }
  Super()->Realize(w);
}

void MyUnrealize(Widget w) {
  CWCascad_Close(w);
  Super()->Unrealize(w);
}

void MyUnmapWindow(Widget w) {
  CWCascad_Close(w);
  Super()->UnmapWindow(w);
}

Widget MyGetInstByID(Widget w, std::uint32_t id) {
  if (w->id == id) return w;
  Widget box = Box(AsCascad(w));
  return box != nullptr ? CWCore_GetInstByID(box, id) : nullptr;
}

void MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  CWLabel_MySetAttr(object, id, bytes, size, ok);
  if (!ok) return;
  auto* w = static_cast<Widget>(object);
  if (id == CWCore_sensitiveAT && !w->sensitive) CWCascad_Close(w);
  if (id == addedItemsAT) SyncAddedItems(AsCascad(w));
}

// Replayed commands: "OPEN" opens the menu with its first item
// highlighted (for scripted pictures and tests), "CLOSE" closes it.
void MyDoCommand(Widget w, StrIn command) {
  const std::string word = command.Str();
  if (word == "OPEN") {
    if (!AsCascad(w)->open) Open(w, true);
  } else if (word == "CLOSE") {
    CWCascad_Close(w);
  } else {
    TextStr why;
    Messages_GetMsg(section, 1, why);  // messages: CWCascad 1
    WtGuiLog_CommandFailed(why);
  }
}

void MyInit(void* instance) {
  CWCascad c = AsCascad(static_cast<Widget>(instance));
  c->highlighted = -1;
  c->addedBuilt = new std::string;
}

void MyDestruct(void* instance) {
  CWCascad c = AsCascad(static_cast<Widget>(instance));
  WtPopup_Destroy(c->popup);
  delete c->addedBuilt;
}

void MyInitClass(Classes_ClassPtr cls, void* prototype) {
  auto* c = static_cast<CWLabel_ClassRec*>(cls);
  auto* p = static_cast<CWCascad_Rec*>(prototype);
  c->SetAttr = MySetAttr;
  c->QueryGeometry = MyQueryGeometry;
  c->Expose = MyExpose;
  c->Realize = MyRealize;
  c->Unrealize = MyUnrealize;
  c->UnmapWindow = MyUnmapWindow;
  c->GetInstByID = MyGetInstByID;
  c->DoCommand = MyDoCommand;
  c->Activate = Activate;
  c->ExtraRoom = ExtraRoom;
  c->classFlag3 = true;
  WTranslt_EnterTranslation(c->translationTable, "<Btn1Down>", APress);
  // The title takes the release of the click that opened it, should that
  // come before the pull-down holds the pointer.
  WTranslt_EnterTranslation(c->translationTable, "<Btn1Up>", Ignore);
  WTranslt_EnterTranslation(c->translationTable, "<Key>", AKey);
  CAttribs_DefAttr(cls, "right", 0, &p->right);
  CAttribs_DefAttr(cls, "dynamic", 0, &p->dynamic);
  CAttribs_DefAttr(cls, "alignBox", 0, &p->alignBox);
  addedItemsAT = CAttribs_DefStrAttr(cls, "addedItems", kTextCap - 1, &p->addedItems);
}

}  // namespace

void CWCascad_CreateClass() {
  if (CWCascad_class != nullptr) return;
  CWPush_CreateClass();
  CWToggle_CreateClass();
  CWCascad_class = new CWLabel_ClassRec;
  Classes_MakeClass(CWCascad_class, CWLabel_class, "WCascad", sizeof(CWCascad_Rec), MyInitClass, MyInit, MyDestruct,
                    "MENU");
}

bool CWCascad_IsCascade(Widget w) { return WtBase_InstanceOf(w, CWCascad_class); }

// --- Items ---------------------------------------------------------------------------------

void CWCascad_AddChild(Widget cascade, Widget item) {
  CWCascad c = AsCascad(cascade);
  EnsurePullDown(c);
  Widget box = Box(c);
  // Those of "addedItems" stay last.
  std::vector<Widget> added;
  for (std::int32_t i = Count(c) - c->addedCount; i < Count(c); ++i) added.push_back(Item(c, i));
  for (Widget a : added) CWGroup_RemoveChild(box, a);
  StyleItem(item);
  CWGroup_InsertChild(box, item);
  for (Widget a : added) CWGroup_InsertChild(box, a);
}

void CWCascad_RemoveChild(Widget cascade, Widget item) {
  CWCascad c = AsCascad(cascade);
  if (item == nullptr || item->parent != Box(c)) return;
  CWCascad_Close(cascade);
  CWGroup_RemoveChild(Box(c), item);
  CWCore_SetSizeAdjustCB(item, nullptr, 0);
}

std::uint32_t CWCascad_ItemCount(Widget cascade) {
  SyncAddedItems(AsCascad(cascade));
  return static_cast<std::uint32_t>(Count(AsCascad(cascade)));
}

Widget CWCascad_Item(Widget cascade, std::uint32_t index) {
  SyncAddedItems(AsCascad(cascade));
  return Item(AsCascad(cascade), static_cast<std::int32_t>(index));
}

// --- Showing -----------------------------------------------------------------------------

bool CWCascad_IsOpen(Widget cascade) { return AsCascad(cascade)->open; }

Widget CWCascad_PullDown(Widget cascade) { return AsCascad(cascade)->popup; }

void CWCascad_Close(Widget cascade) {
  if (AsCascad(cascade)->popup != nullptr) WtPopup_Close(AsCascad(cascade)->popup);
}
