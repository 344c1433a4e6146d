#include "toolkit/CWShell.h"

#include <algorithm>
#include <cstring>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SIdPool.h"
#include "toolkit/CWPush.h"
#include "toolkit/CWTextIO.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtCursor.h"
#include "toolkit/WtGuiLog.h"
#include "toolkit/WtWnds.h"

Classes_ClassPtr CWShell_class = nullptr;
Widget CWShell_mainApplicationWindow = nullptr;

namespace {

constexpr std::uint8_t kNotifyInferior = 2;
constexpr std::uint8_t kNotifyPointer = 5;
constexpr std::uint8_t kNotifyGrab = 1, kNotifyUngrab = 2;

std::vector<CWShell> shells;  // every shell alive, for CWShell_AllResized
std::uint32_t titleAT, iconNameAT;
bool protocolsEntered = false;

CWShell AsShell(Widget w) { return static_cast<CWShell>(w); }
CWGroup_ClassRec* Super() { return static_cast<CWGroup_ClassRec*>(CWHVBox_vboxClass); }

W_Atom Atom(const char* name) { return W_InternAtom(StrIn::C(name), false); }

void SendToRoot(CWShell s, const char* type, std::uint32_t d0, std::uint32_t d1, std::uint32_t d2,
                std::uint32_t d3) {
  W_Event e;
  e.kind = W_ClientMessage;
  e.window = s->outerWindow;
  e.client.messageType = Atom(type);
  e.client.format = 2;
  const std::uint32_t words[5] = {d0, d1, d2, d3, 0};
  std::memcpy(e.client.data, words, sizeof words);
  W_SendEvent(W_GetRootWindow(s->outerWindow), false, W_SubstructureRedirectMask | W_SubstructureNotifyMask, e);
}

void ExpandTitleEscapes(const char* in, StrOut out) {
  NameStr host;
  DirAcces_GetMachineName(host);
  std::string text;
  for (const char* p = in; *p != '\0'; ++p) {
    if (p[0] == '%' && p[1] == 'h') {
      text += StrIn(host).Str();
      ++p;
    } else {
      text += *p;
    }
  }
  Strings_Assign(text, out);
}

// Min sizes from the geometry; max from the display, or min + stretch.
void AdjustNormalHints(CWShell s) {
  Geometry g;
  CWCore_QueryGeometry(s, g);
  const int screen = W_DefaultScreen();
  s->hints.minWidth = g.hDim.min;
  s->hints.minHeight = g.vDim.min;
  s->hints.maxWidth = g.hDim.stretch == Dim_Unbounded ? W_DisplayWidth(screen) : static_cast<int>(WtBase_Largest(g.hDim));
  s->hints.maxHeight =
      g.vDim.stretch == Dim_Unbounded ? W_DisplayHeight(screen) : static_cast<int>(WtBase_Largest(g.vDim));
  s->hints.widthInc = s->hints.heightInc = 1;
}

// Where the shell opens: a stored place kept on the screen, a given place,
// or the middle of the display.
void ChoosePlace(CWShell s, int& x, int& y, int& width, int& height) {
  const int screen = W_DefaultScreen();
  const int displayWidth = W_DisplayWidth(screen), displayHeight = W_DisplayHeight(screen);
  width = s->width;
  height = s->height;
  int dx = 0, dy = 0;
  if (!s->ignoreConfig && s->getConfig != nullptr && s->getConfig(SIdPool_IdText(s->dialogName), x, y, dx, dy)) {
    const int oldHeight = height;
    if (dx > 0) width += dx;
    else if (dx < 0 && -dx > width) width = -dx;
    if (dy > 0) height += dy;
    else if (dy < 0 && -dy > height) height = -dy;
    y -= height - oldHeight;  // the top stays where it was
    x = x + width > 29 ? std::min(x, displayWidth - 30) : 30 - width;
    y = y + height > 9 ? std::min(y, displayHeight - 10) : 10 - height;
    return;
  }
  if (s->hints.position) {
    x = s->hints.x;
    y = s->hints.y;
    return;
  }
  x = ((DirAcces_CheckFlag("DUAL_SCREEN") ? displayWidth / 2 : displayWidth) - width) / 2;
  y = (displayHeight - height) / 2;
}

void SetBackgrounds(CWShell s) {
  if (s->backgroundPixmap == 0) s->backgroundPixmap = s->savedPixmap = WtWnds_GetBackgroundPixmap(s);
  Widget owner;
  W_Color color;
  W_Pixmap pixmap;
  WtWnds_SearchBackground(s, owner, color, pixmap);
  s->savedColor = color;
  if (pixmap != 0) {
    W_SetBackgroundPixmap(s->outerWindow, pixmap);
    W_SetBackgroundPixmap(s->window, 1);
  } else {
    W_SetBackgroundColor(s->outerWindow, color);
    W_SetBackgroundColor(s->window, color);
  }
}

void MyRealize(Widget w) {
  CWShell s = AsShell(w);
  WtBase_Assert(!w->realized);
  // 1.
  s->decorWidth = s->decorHeight = 0;
  AdjustNormalHints(s);
  // 2.-4.
  int x = 0, y = 0, width, height;
  ChoosePlace(s, x, y, width, height);
  if (width != s->width || height != s->height) WtWnds_ConfigureWidget(s, x, y, width, height);
  s->x = x;
  s->y = y;
  s->hints.x = x;
  s->hints.y = y;
  s->hints.width = width;
  s->hints.height = height;
  // 5.
  const W_Window root = W_RootWindow(W_DefaultScreen());
  s->outerWindow = W_CreateWindow(root, x, y, width, height);
  WtBase_Assert(s->outerWindow != 0);
  s->window = W_CreateWindow(s->outerWindow, 0, 0, width, height);
  WtBase_Assert(s->window != 0);
  SetBackgrounds(s);
  // 6.
  if (s->overrideRedirect) W_SetOverrideRedirect(s->outerWindow, true);
  if (s->saveUnder) W_SetSaveUnderMode(s->outerWindow, true);
  // 7.
  if (CWShell_mainApplicationWindow == nullptr && !s->isToolTip) CWShell_mainApplicationWindow = s;
  if (s->parent == nullptr && !s->overrideRedirect) {
    char title[128], iconName[128];
    ExpandTitleEscapes(s->title, title);
    ExpandTitleEscapes(s->iconName[0] != '\0' ? s->iconName : s->title, iconName);
    W_WMHints wm;
    wm.iconic = s->iconic;
    int iconWidth, iconHeight;
    if (s->iconPixmap == 0 && s->ICON[0] != '\0')
      s->iconPixmap = Messages_Quietly([&] { return W_ReadPixmapFile(StrIn(s->ICON), iconWidth, iconHeight); });
    wm.iconPixmap = s->iconPixmap;
    wm.windowGroup = AsShell(CWShell_mainApplicationWindow)->outerWindow;
    s->hints.position = true;
    W_SetWMProperties(s->outerWindow, StrIn(title), StrIn(iconName), &s->hints, &wm);
    if (s->transientFor != nullptr && s->transientFor->realized) {
      const auto owner = static_cast<std::uint32_t>(AsShell(s->transientFor)->outerWindow);
      W_ChangeProperty(s->outerWindow, Atom("WM_TRANSIENT_FOR"), Atom("WINDOW"), 32, 0, &owner, 1);
    }
  }
  // 8.
  WtCursor_EnterWindow(s->outerWindow);
  WtCursor_EnterWindow(s->window);
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) WtWnds_RealizeWidget(c);
}

void MyUpdateWindowAttrs(Widget w) {
  CWShell s = AsShell(w);
  W_SaveContext(s->window, s);
  W_SaveContext(s->outerWindow, s);
  WtEvents_BuildEventMask(s);
}

void MyAdjustWindowBounds(Widget w) {
  // The inner window fills the outer one; the outer one follows the
  // window manager or CWShell_ExecuteShellResize.
  if (w->window != 0 && w->width > 0 && w->height > 0) W_ResizeWindow(w->window, w->width, w->height);
}

void MyMapWindow(Widget w) {
  CWShell s = AsShell(w);
  if (s->mapped) return;
  CWPush_AutoRepeatOff();
  const std::uint32_t type = static_cast<std::uint32_t>(
      Atom(s->transient ? "_NET_WM_WINDOW_TYPE_DIALOG" : "_NET_WM_WINDOW_TYPE_NORMAL"));
  W_ChangeProperty(s->outerWindow, Atom("_NET_WM_WINDOW_TYPE"), 4, 32, 0, &type, 1);
  if (s->floating) {
    const std::uint32_t hints[5] = {3, 38, 14, 0, 1};
    W_ChangeProperty(s->outerWindow, Atom("_MOTIF_WM_HINTS"), Atom("_MOTIF_WM_HINTS"), 32, 0, hints, 5);
  } else {
    W_DeleteProperty(s->outerWindow, Atom("_MOTIF_WM_HINTS"));
  }
  W_MapWindow(s->window);
  W_MapWindow(s->outerWindow);
  s->mapped = true;
}

void MyUnmapWindow(Widget w) {
  CWShell s = AsShell(w);
  if (!s->mapped) return;
  CWTextIO_RelinquishSelection(s);
  W_UnmapWindow(s->outerWindow);
  W_UnmapWindow(s->window);
  s->mapped = false;
  s->highlighted = false;
}

void MyRaiseWindow(Widget w) {
  CWShell s = AsShell(w);
  if (s->outerWindow == 0) return;
  if (s->mapped) W_MapWindow(s->outerWindow);
  W_RaiseWindow(s->outerWindow);
  SendToRoot(s, "_NET_ACTIVE_WINDOW", 1, 0, 0, 0);
}

void ExecuteShellResize(std::uintptr_t data) {
  CWShell s = AsShell(reinterpret_cast<Widget>(data));
  if (!s->realized) return;
  Geometry g;
  CWCore_QueryGeometry(s, g);
  AdjustNormalHints(s);
  W_SetWMNormalHints(s->outerWindow, s->hints);
  const int width = g.hDim.min + s->decorWidth, height = g.vDim.min + s->decorHeight;
  if (width == s->width && height == s->height) {
    W_UnmapWindow(s->window);
    WtWnds_ConfigureWidget(s, s->x, s->y, width, height);
    W_MapWindow(s->window);
  } else {
    W_ResizeWindow(s->outerWindow, width, height);
    s->resizeExpected = true;
  }
}

void MyInvalidateGeometry(Widget w) {
  w->geometryValid = false;
  const auto data = reinterpret_cast<std::uintptr_t>(w);
  if (w->realized && !WtEvents_IsDeferredActionQueued(ExecuteShellResize, data))
    WtEvents_QueueDeferredAction(ExecuteShellResize, data);
}

void MyUnrealize(Widget w) {
  CWShell s = AsShell(w);
  Super()->Unrealize(w);
  if (CWShell_mainApplicationWindow == w) CWShell_mainApplicationWindow = nullptr;
  W_SaveContext(s->outerWindow, nullptr);
  WtCursor_ForgetWindow(s->outerWindow);
  W_DestroyWindow(s->outerWindow);
  s->outerWindow = 0;
  s->poppedUp = false;
  CWShell_CancelShellResize(w);
}

void MyExpose(Widget w, const Regions_Region* region, W_Event& event) {
  Super()->Expose(w, region, event);
  CWShell s = AsShell(w);
  s->exposed = true;
  // A shell popped down before its map arrived hides again.
  if (!s->mapped) {
    W_UnmapWindow(s->outerWindow);
    W_UnmapWindow(s->window);
  }
}

// The shell's value becomes `number` in its type and its callback runs.
void SetValue(CWShell s, int number) {
  switch (WtTypes_KindOf(s->value.widgetType)) {
    case WtTypes_kBoolean: s->value = WtTypes_Boolean(number != 0); break;
    case WtTypes_kCardinal: s->value = WtTypes_Cardinal(static_cast<std::uint32_t>(number)); break;
    case WtTypes_kReal: s->value = WtTypes_Real(number); break;
    default: s->value = WtTypes_Integer(number); break;
  }
  CWCore_CallCallback(s);
}

void MoveFocus(CWShell s, bool backward) {
  Widget old = s->focusWidget;
  if (old != nullptr) {
    CWCore_ReleaseFocus(old);
    if (!backward && old->tabKeepsFocus && CWCore_AcceptFocus(old, false)) return;
  }
  Widget next = CWGroup_AdvanceFocus(s, false, backward);
  if (next == nullptr) next = CWGroup_AdvanceFocus(s, true, backward);
  s->focusWidget = next;
}

// --- Actions -------------------------------------------------------------------------------

void ADelWnd(Widget w, W_Event&) { CWShell_DeleteWindow(w); }

void ATakeFocus(Widget w, W_Event& event) {
  std::uint32_t time;
  std::memcpy(&time, event.client.data + 4, 4);
  W_SetInputFocus(AsShell(w)->outerWindow, time);
}

void AConfigure(Widget w, W_Event& event) {
  CWShell s = AsShell(w);
  if (event.window != s->outerWindow) {
    WTranslt_ReturnEvent(w, event);
    return;
  }
  const int width = event.configure.width, height = event.configure.height;
  int rootX = s->x, rootY = s->y;
  W_Window child;
  W_TranslateCoordinates(s->outerWindow, W_GetRootWindow(s->outerWindow), 0, 0, rootX, rootY, child);
  if (!s->ignoreConfig && s->setConfig != nullptr) {
    // The frame of the window manager: the ancestor just below the root.
    W_Window frame = s->outerWindow, root, parent;
    while (W_QueryTree(frame, root, parent, nullptr) && parent != root && parent != 0) frame = parent;
    int fx, fy, fw, fh, border;
    if (!W_GetWindowGeometry(frame, fx, fy, fw, fh, border)) fw = width, fh = height;
    s->setConfig(SIdPool_IdText(s->dialogName), rootX, rootY, width, height, fw - width, fh - height);
  }
  if (width != s->width || height != s->height || s->resizeExpected) {
    W_UnmapWindow(s->window);
    WtWnds_ConfigureWidget(s, rootX, rootY, width, height);
    W_MapWindow(s->window);
  }
  s->x = rootX;
  s->y = rootY;
  Geometry g;
  CWCore_QueryGeometry(s, g);
  s->decorWidth = width - g.hDim.min;
  s->decorHeight = height - g.vDim.min;
  s->resizeExpected = false;
}

void ASetNextFocus(Widget w, W_Event&) { MoveFocus(AsShell(w), false); }
void ASetPrevFocus(Widget w, W_Event&) { MoveFocus(AsShell(w), true); }

// Focus that came from another window; not the focus moving inside the
// window, nor lent to a grab (a pull-down) and given back.
bool FromOutside(const W_Event& event) {
  return event.focus.detail != kNotifyInferior && event.focus.detail != kNotifyPointer &&
         event.focus.mode != kNotifyGrab && event.focus.mode != kNotifyUngrab;
}

void AReceiveFocus(Widget w, W_Event& event) {
  CWShell s = AsShell(w);
  if (event.window != s->outerWindow || !FromOutside(event) || s->focusWidget != nullptr) return;
  Widget actual = CWGroup_GetActualFocus(s);
  if (actual != nullptr && CWCore_AcceptFocus(actual, true)) s->focusWidget = actual;
  else if (Widget next = CWGroup_AdvanceFocus(s, false, false)) s->focusWidget = next;
  else s->focusWidget = CWGroup_AdvanceFocus(s, true, false);
}

void ALostFocus(Widget w, W_Event& event) {
  CWShell s = AsShell(w);
  if (event.window != s->outerWindow || !FromOutside(event) || s->focusWidget == nullptr) return;
  CWCore_ReleaseFocus(s->focusWidget);
  s->focusWidget = nullptr;
}

void AConfirm(Widget w, W_Event& event) {
  CWShell s = AsShell(w);
  if (!s->supportKeyConfirm) WTranslt_ReturnEvent(w, event);
  else SetValue(s, 1);
}

void AAbort(Widget w, W_Event& event) {
  CWShell s = AsShell(w);
  if (!s->supportKeyConfirm) WTranslt_ReturnEvent(w, event);
  else SetValue(s, 0);
}

// A shell that maps gives the focus to its first widget that takes it.
void AMap(Widget w, W_Event& event) {
  CWShell s = AsShell(w);
  if (event.window == s->outerWindow && s->focusWidget == nullptr && !s->isToolTip)
    s->focusWidget = CWGroup_AdvanceFocus(s, true, false);
}

void AUnmap(Widget w, W_Event& event) {
  if (event.window == w->window) AsShell(w)->exposed = false;
}

void DefaultDelWnd(Widget, std::uintptr_t) { WtEvents_leaveMainLoop = true; }

// The translations that name window manager atoms need the display; they are
// entered when the first shell is realized.
void EnterProtocols() {
  if (protocolsEntered) return;
  protocolsEntered = true;
  auto* cls = static_cast<CWCore_ClassRec*>(CWShell_class);
  WTranslt_EnterTranslation(cls->translationTable, "<Message> WM_DELETE_WINDOW", ADelWnd);
  WTranslt_EnterTranslation(cls->translationTable, "<Message> WM_TAKE_FOCUS", ATakeFocus);
}

// A new title or icon name of a shown window goes to the window manager
// at once (a main window's title follows what it shows).
void MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  Super()->SetAttr(object, id, bytes, size, ok);
  CWShell s = AsShell(static_cast<Widget>(object));
  if (!ok || !s->realized || s->parent != nullptr || s->overrideRedirect) return;
  if (id != titleAT && id != iconNameAT) return;
  char title[128], iconName[128];
  ExpandTitleEscapes(s->title, title);
  ExpandTitleEscapes(s->iconName[0] != '\0' ? s->iconName : s->title, iconName);
  W_SetTextProperty(s->outerWindow, StrIn(title), Atom("WM_NAME"));
  W_SetTextProperty(s->outerWindow, StrIn(iconName), Atom("WM_ICON_NAME"));
}

void MyInitClass(Classes_ClassPtr c, void* prototype) {
  auto* cls = static_cast<CWGroup_ClassRec*>(c);
  auto* p = static_cast<CWShell_Rec*>(prototype);
  cls->Realize = MyRealize;
  cls->SetAttr = MySetAttr;
  cls->Unrealize = MyUnrealize;
  cls->UpdateWindowAttrs = MyUpdateWindowAttrs;
  cls->AdjustWindowBounds = MyAdjustWindowBounds;
  cls->MapWindow = MyMapWindow;
  cls->UnmapWindow = MyUnmapWindow;
  cls->RaiseWindow = MyRaiseWindow;
  cls->InvalidateGeometry = MyInvalidateGeometry;
  cls->Expose = MyExpose;
  cls->gadget = false;
  cls->mapWhenRealized = false;
  // A shell has no crossing actions, only its own.
  WTranslt_DestroyTranslationTable(cls->translationTable);
  WTranslt_Table& t = cls->translationTable;
  WTranslt_EnterTranslation(t, "<Configure>", AConfigure);
  WTranslt_EnterTranslation(t, "<Key>Tab", ASetNextFocus);
  WTranslt_EnterTranslation(t, "<Key>BackTab", ASetPrevFocus);
  WTranslt_EnterTranslation(t, "<FocusIn>", AReceiveFocus);
  WTranslt_EnterTranslation(t, "<FocusOut>", ALostFocus);
  WTranslt_EnterTranslation(t, "<Key>Enter", AConfirm);
  WTranslt_EnterTranslation(t, "<Key>Abort", AAbort);
  WTranslt_EnterTranslation(t, "<Map>", AMap);
  WTranslt_EnterTranslation(t, "<Unmap>", AUnmap);
  CAttribs_DefAttr(c, "screen", 0, &p->screen);
  CAttribs_DefAttr(c, "ICON", 127, &p->ICON);
  iconNameAT = CAttribs_DefAttr(c, "iconName", 127, &p->iconName);
  titleAT = CAttribs_DefAttr(c, "title", 127, &p->title);
  CAttribs_DefAttr(c, "iconic", 0, &p->iconic);
  CAttribs_DefAttr(c, "transient", 0, &p->transient);
  CAttribs_DefAttr(c, "floating", 0, &p->floating);
  CAttribs_DefAttr(c, "overrideRedirect", 0, &p->overrideRedirect);
  CAttribs_DefAttr(c, "saveUnder", 0, &p->saveUnder);
  CAttribs_DefAttr(c, "ignoreConfig", 0, &p->ignoreConfig);
  CAttribs_DefAttr(c, "applicationModal", 0, &p->applicationModal);
  CAttribs_DefAttr(c, "supportKeyConfirm", 0, &p->supportKeyConfirm);
  CAttribs_DefAttr(c, "noGuiLog", 0, &p->noGuiLog);
  Strings_Assign("WMdefaul.pxm", p->ICON);
  p->closeCallback = DefaultDelWnd;
  p->hints = W_SizeHints{};
}

void MyInit(void* instance) {
  CWShell s = AsShell(static_cast<Widget>(instance));
  s->popupCallbacks = new std::vector<CWShell_Callback>;
  s->popdownCallbacks = new std::vector<CWShell_Callback>;
  // The shell's windows get key, focus and structure events.
  WtEvents_SetAdditionalEventMask(
      s, WtEvents_GetAdditionalEventMask(s) | W_StructureNotifyMask | W_FocusChangeMask | W_KeyPressMask);
  shells.push_back(s);
}

void MyDestruct(void* instance) {
  CWShell s = AsShell(static_cast<Widget>(instance));
  delete s->popupCallbacks;
  delete s->popdownCallbacks;
  if (s->iconPixmap != 0) W_FreePixmap(s->iconPixmap);
  std::erase(shells, s);
}

void Remove(std::vector<CWShell_Callback>& list, CWShell_Proc proc, std::uintptr_t data) {
  std::erase_if(list, [&](const CWShell_Callback& c) { return c.proc == proc && c.data == data; });
}

void InvalidateTree(Widget w) {
  w->geometryValid = false;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) InvalidateTree(c);
}

}  // namespace

void CWShell_CreateClass() {
  if (CWShell_class != nullptr) return;
  CWHVBox_CreateClass();
  CWShell_class = new CWGroup_ClassRec;
  Classes_MakeClass(CWShell_class, CWHVBox_vboxClass, "WShell", sizeof(CWShell_Rec),
                    MyInitClass, MyInit, MyDestruct, "SHELL");
}

// --- Showing -----------------------------------------------------------------------------

void CWShell_Popup(Widget shell, std::uint8_t grabKind) {
  CWShell s = AsShell(shell);
  if (!s->poppedUp) {
    EnterProtocols();
    WtWnds_RealizeWidget(s);
    s->poppedUp = true;
    const auto callbacks = *s->popupCallbacks;
    for (const CWShell_Callback& c : callbacks) c.proc(s, c.data);
  }
  if (s->applicationModal && grabKind == 0) grabKind = 1;
  if (grabKind != 0 && s->grabKind == 0) {
    s->grabKind = grabKind;
    WtEvents_AddGrab(s, grabKind == 1);
  }
  CWCore_MapWindow(s);
  CWCore_RaiseWindow(s);
}

void CWShell_Popdown(Widget shell) {
  CWShell s = AsShell(shell);
  if (!s->poppedUp) return;
  const auto callbacks = *s->popdownCallbacks;
  for (const CWShell_Callback& c : callbacks) c.proc(s, c.data);
  CWCore_UnmapWindow(s);
  s->poppedUp = false;
  if (s->grabKind != 0) WtEvents_RemoveGrab(s);
  s->grabKind = 0;
}

bool CWShell_PoppedUp(Widget shell) { return AsShell(shell)->poppedUp; }

void CWShell_AddPopupCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data) {
  AsShell(shell)->popupCallbacks->push_back({proc, data});
}

void CWShell_AddPopdownCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data) {
  AsShell(shell)->popdownCallbacks->push_back({proc, data});
}

void CWShell_RemovePopupCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data) {
  Remove(*AsShell(shell)->popupCallbacks, proc, data);
}

void CWShell_RemovePopdownCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data) {
  Remove(*AsShell(shell)->popdownCallbacks, proc, data);
}

void CWShell_SetDelWndCallback(Widget shell, CWShell_CloseProc proc, std::uintptr_t data) {
  AsShell(shell)->closeCallback = proc != nullptr ? proc : DefaultDelWnd;
  AsShell(shell)->closeData = data;
}

void CWShell_DeleteWindow(Widget shell) {
  CWShell s = AsShell(shell);
  WtGuiLog_DeleteWindow(s);
  if (s->closeCallback != nullptr) s->closeCallback(s, s->closeData);
}

void CWShell_SetAsMainApplicationWidget(Widget shell) { CWShell_mainApplicationWindow = shell; }

void CWShell_SetMaximized(Widget shell, bool state) {
  CWShell s = AsShell(shell);
  if (s->outerWindow == 0) return;
  SendToRoot(s, "_NET_WM_STATE", state ? 1 : 0, static_cast<std::uint32_t>(Atom("_NET_WM_STATE_MAXIMIZED_HORZ")),
             static_cast<std::uint32_t>(Atom("_NET_WM_STATE_MAXIMIZED_VERT")), 1);
}

void CWShell_SetConfigProcs(Widget shell, StrIn dialogName, CWShell_GetConfigProc get, CWShell_SetConfigProc set) {
  CWShell s = AsShell(shell);
  s->dialogName = SIdPool_EnterId(dialogName);
  s->getConfig = get;
  s->setConfig = set;
}

void CWShell_SetToolTipCallback(Widget shell, CWShell_ToolTipProc proc, std::uintptr_t data) {
  AsShell(shell)->toolTipCallback = proc;
  AsShell(shell)->toolTipData = data;
}

void CWShell_SetTransientFor(Widget shell, Widget owner) { AsShell(shell)->transientFor = owner; }

void CWShell_Place(Widget shell, int x, int y) {
  CWShell s = AsShell(shell);
  s->hints.position = true;
  s->hints.x = s->x = x;
  s->hints.y = s->y = y;
  if (s->outerWindow != 0) W_MoveResizeWindow(s->outerWindow, x, y, s->width, s->height);
}

// --- Hints -------------------------------------------------------------------------------

void CWShell_SetNormalHints(Widget shell, const W_SizeHints& hints) {
  CWShell s = AsShell(shell);
  s->hints = hints;
  if (s->outerWindow != 0) W_SetWMNormalHints(s->outerWindow, hints);
}

void CWShell_GetNormalHints(Widget shell, W_SizeHints& hints) { hints = AsShell(shell)->hints; }

void CWShell_SetWMHints(Widget shell, const W_WMHints& hints) {
  CWShell s = AsShell(shell);
  s->iconic = hints.iconic;
  if (hints.iconPixmap != 0) s->iconPixmap = hints.iconPixmap;
  if (s->outerWindow != 0) W_SetWMHints(s->outerWindow, hints);
}

void CWShell_GetWMHints(Widget shell, W_WMHints& hints) {
  CWShell s = AsShell(shell);
  hints = W_WMHints{};
  if (s->outerWindow == 0 || !W_GetWMHints(s->outerWindow, hints)) {
    hints.iconic = s->iconic;
    hints.iconPixmap = s->iconPixmap;
  }
}

// --- The tree ------------------------------------------------------------------------------

bool CWShell_IsShellWidget(Widget w) { return WtBase_InstanceOf(w, CWShell_class); }

Widget CWShell_GetShellWidget(Widget w) {
  for (; w != nullptr; w = w->parent)
    if (CWShell_IsShellWidget(w)) return w;
  return nullptr;
}

// --- Focus ---------------------------------------------------------------------------------

bool CWShell_HasFocus(Widget w) {
  const Widget shell = CWShell_GetShellWidget(w);
  return shell != nullptr && AsShell(shell)->focusWidget == w;
}

void CWShell_ClearFocus(Widget shell) {
  CWShell s = AsShell(shell);
  if (s->focusWidget != nullptr) CWCore_ReleaseFocus(s->focusWidget);
  s->focusWidget = nullptr;
}

void CWShell_RequestFocus(Widget widget) {
  if (!WtWnds_IsMapped(widget)) return;
  const Widget shell = CWShell_GetShellWidget(widget);
  if (shell == nullptr) return;
  CWShell s = AsShell(shell);
  if (s->focusWidget == widget) return;
  if (s->focusWidget != nullptr) CWCore_ReleaseFocus(s->focusWidget);
  for (Widget c = widget; c->parent != nullptr; c = c->parent) {
    auto* g = static_cast<CWGroup>(c->parent);
    for (CWGroup_Link* l = g->firstChild; l != nullptr; l = l->next)
      if (l->widget == c) g->focusLink = l;
  }
  s->focusWidget = widget;
}

void CWShell_EvaluateFocusWidget(Widget shell) {
  if (Widget focus = AsShell(shell)->focusWidget) CWCore_CheckValue(focus);
}

// --- Resizing ------------------------------------------------------------------------------

void CWShell_WidgetResized(Widget w) { CWCore_InvalidateGeometry(w); }

void CWShell_AllResized() {
  for (CWShell s : shells) {
    InvalidateTree(s);
    CWCore_InvalidateGeometry(s);
  }
}

void CWShell_CancelShellResize(Widget shell) {
  WtEvents_RemoveDeferredAction(ExecuteShellResize, reinterpret_cast<std::uintptr_t>(shell));
}
