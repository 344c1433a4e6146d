#include "toolkit/WtPopup.h"

#include <algorithm>
#include <vector>

#include "toolkit/CObject.h"
#include "toolkit/CWShell.h"
#include "toolkit/Wt.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtWnds.h"

namespace {

struct Popup {
  Widget shell;
  Widget box;
  Widget owner;  // not owned
  WtPopup_PointerProc pointer;
  WtPopup_ClosedProc closed;
  bool open = false;
  Widget ownerShell = nullptr;  // whose pop-down closes it, while open
};

std::vector<Popup*> popups;    // every pull-down made
std::vector<Popup*> openOnes;  // the open ones, the newest last; it holds the grabs

Classes_ClassPtr boxClass = nullptr;

constexpr std::uint32_t kPointerMask = W_ButtonPressMask | W_ButtonReleaseMask | W_PointerMotionMask;

Popup* Find(Widget shell) {
  for (Popup* p : popups)
    if (p->shell == shell) return p;
  return nullptr;
}

// The box draws a thin outline a little darker than the pull-down.
void BoxExpose(Widget w, const Regions_Region* region, W_Event& event) {
  CWGroup_MyExpose(w, region, event);
  W_GC gc = WtDraw_GetGC();
  W_SetForeground(gc, WtColors_Darker(CWCore_EffectiveBackground(w), 72));
  W_DrawRectangle(w->window, gc, w->x, w->y, w->width - 1, w->height - 1);
  WtDraw_ReleaseGC(gc);
}

void BoxInitClass(Classes_ClassPtr c, void*) { static_cast<CWCore_ClassRec*>(c)->Expose = BoxExpose; }

Classes_ClassPtr BoxClass() {
  if (boxClass == nullptr) {
    CWHVBox_CreateClass();
    boxClass = new CWGroup_ClassRec;
    Classes_MakeClass(boxClass, CWHVBox_vboxClass, "WPopupBox", sizeof(CWHVBox_Rec), BoxInitClass, nullptr,
                      nullptr, "");
  }
  return boxClass;
}

// The focus a grab lends and takes back is no change of focus for a
// pull-down: its focus widget stays its owner while it is open.
void Ignore(Widget, W_Event&) {}

bool PointerHandler(Widget shell, W_Event& event, std::uintptr_t) {
  Popup* p = Find(shell);
  if (p == nullptr || !p->open) return false;
  p->pointer(p->owner, event);
  return true;
}

bool Grab(const Popup* p) {
  if (!W_GrabPointer(p->shell->window, kPointerMask, 0, 0)) return false;
  // Without the keyboard, keys stay with the focus; the pointer still works.
  W_GrabKeyboard(p->shell->window, 0);
  return true;
}

void OwnerShellDown(Widget, std::uintptr_t data) {
  auto* p = reinterpret_cast<Popup*>(data);
  WtPopup_Close(p->shell);
}

}  // namespace

// --- Making --------------------------------------------------------------------------------

Widget WtPopup_Create(Widget owner, const W_Color& background, int margin, WtPopup_PointerProc pointer,
                      WtPopup_ClosedProc closed) {
  SAttribs attrs = nullptr;
  SAttribs_AddBool(attrs, "overrideRedirect", true);
  SAttribs_AddBool(attrs, "saveUnder", true);
  SAttribs_AddBool(attrs, "ignoreConfig", true);
  SAttribs_AddByName(attrs, "background", &background, sizeof background);
  Widget shell = Wt_CreateWidget(nullptr, CWShell_class, attrs);
  SAttribs_Destroy(attrs);
  // A helper window like a tool tip: it never leads the program's windows.
  static_cast<CWShell>(shell)->isToolTip = true;
  WTranslt_Table& t = CWCore_OwnTranslations(shell);
  WTranslt_OverrideTranslation(t, "<FocusIn>", Ignore);
  WTranslt_OverrideTranslation(t, "<FocusOut>", Ignore);
  WtEvents_AddEventHandler(shell, kPointerMask, false, PointerHandler, 0);
  SAttribs_AddInt(attrs, "borderWidth", margin + 1);
  Widget box = Wt_CreateWidget(shell, BoxClass(), attrs);
  SAttribs_Destroy(attrs);
  popups.push_back(new Popup{shell, box, owner, pointer, closed});
  return shell;
}

void WtPopup_Destroy(Widget& popup) {
  Popup* p = Find(popup);
  if (p == nullptr) return;
  WtPopup_Close(popup);
  std::erase(popups, p);
  delete p;
  // The pull-down may be the widget whose event is being handled.
  WtEvents_DelayedDestroyWidget(popup);
  popup = nullptr;
}

Widget WtPopup_Box(Widget popup) {
  const Popup* p = Find(popup);
  return p != nullptr ? p->box : nullptr;
}

Widget WtPopup_Owner(Widget w) {
  const Popup* p = Find(CWShell_GetShellWidget(w));
  return p != nullptr ? p->owner : nullptr;
}

// --- Opening and closing -------------------------------------------------------------------

bool WtPopup_Open(Widget popup, const Regions_Rect& anchor, WtPopup_Place place, int minWidth) {
  Popup* p = Find(popup);
  if (p == nullptr) return false;
  WtPopup_Close(popup);
  Geometry g;
  CWCore_QueryGeometry(p->shell, g);
  const int screen = W_DefaultScreen();
  const Regions_Rect at = WtPopup_Placement(anchor, place, std::max(g.hDim.min, minWidth), g.vDim.min,
                                            W_DisplayWidth(screen), W_DisplayHeight(screen));
  WtWnds_ConfigureWidget(p->shell, at.x, at.y, at.width, at.height);
  CWShell_Place(p->shell, at.x, at.y);
  CWShell_CancelShellResize(p->shell);  // laid out just now
  static_cast<CWShell>(p->shell)->focusWidget = p->owner;
  CWShell_SetTransientFor(p->shell, CWShell_GetShellWidget(p->owner));
  CWShell_Popup(p->shell, 0);
  p->open = true;
  openOnes.push_back(p);
  p->ownerShell = CWShell_GetShellWidget(p->owner);
  if (p->ownerShell != nullptr)
    CWShell_AddPopdownCallback(p->ownerShell, OwnerShellDown, reinterpret_cast<std::uintptr_t>(p));
  if (Grab(p)) return true;
  WtPopup_Close(popup);
  return false;
}

void WtPopup_Close(Widget popup) {
  Popup* p = Find(popup);
  if (p == nullptr || !p->open) return;
  while (openOnes.back() != p) WtPopup_Close(openOnes.back()->shell);
  openOnes.pop_back();
  p->open = false;
  static_cast<CWShell>(p->shell)->focusWidget = nullptr;
  W_UngrabPointer(0);
  W_UngrabKeyboard(0);
  CWShell_Popdown(p->shell);
  if (p->ownerShell != nullptr)
    CWShell_RemovePopdownCallback(p->ownerShell, OwnerShellDown, reinterpret_cast<std::uintptr_t>(p));
  p->ownerShell = nullptr;
  if (!openOnes.empty()) Grab(openOnes.back());
  p->closed(p->owner);
}

bool WtPopup_IsOpen(Widget popup) {
  const Popup* p = Find(popup);
  return p != nullptr && p->open;
}

// --- Places --------------------------------------------------------------------------------

Regions_Rect WtPopup_Placement(const Regions_Rect& anchor, WtPopup_Place place, int width, int height,
                               int screenWidth, int screenHeight) {
  Regions_Rect r{anchor.x, anchor.y - height, width, height};
  if (place == WtPopup_Place::kBelowRight) r.x = anchor.x + anchor.width - width;
  if (place == WtPopup_Place::kBeside) {
    r.x = anchor.x + anchor.width;
    if (r.x + width > screenWidth) r.x = anchor.x - width;
    r.y = anchor.y + anchor.height - height;
  } else if (r.y < 0 && anchor.y + anchor.height + height <= screenHeight) {
    r.y = anchor.y + anchor.height;  // no room below: above the anchor
  }
  r.x = std::clamp(r.x, 0, std::max(screenWidth - width, 0));
  r.y = std::clamp(r.y, 0, std::max(screenHeight - height, 0));
  return r;
}

Regions_Rect WtPopup_ScreenRect(Widget w) {
  Widget owner;
  const W_Window window = WtWnds_SearchWindow(w, owner);
  const int x0 = w->gadget ? w->x : 0, y0 = w->gadget ? w->y : 0;
  int x = 0, y = 0;
  W_Window child;
  if (window != 0) W_TranslateCoordinates(window, W_GetRootWindow(window), x0, y0, x, y, child);
  return Regions_Rect{x, y, w->width, w->height};
}

Regions_Rect WtPopup_RectInside(Widget popup, Widget w) {
  Regions_Rect r{0, 0, w->width, w->height};
  // Each position counts in the window of the nearest ancestor with one;
  // the pull-down's own is on the screen.
  for (Widget c = w; c != nullptr && c != popup;) {
    r.x += c->x;
    r.y += c->y;
    do c = c->parent;
    while (c != nullptr && c != popup && c->gadget);
  }
  r.x += popup->x;
  r.y += popup->y;
  return r;
}

bool WtPopup_Contains(const Regions_Rect& rect, int x, int y) {
  return x >= rect.x && x < rect.x + rect.width && y >= rect.y && y < rect.y + rect.height;
}
