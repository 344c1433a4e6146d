// The event queue keeps only what is processable and interesting: colour map,
// mapping, keymap, visibility, gravity, resize-request and circulate events
// are never wanted; a key without a character is thrown away; of a run of
// pointer motions only the last is kept.
#include "toolkit/WX11Evnt.h"

#include <X11/keysym.h>
#include <poll.h>

#include <cstring>

#include "toolkit/WX11Win.h"
#include "toolkit/WXWHash.h"

std::uint8_t WX11Evnt_tavrinKeyMap[256];
WX11Evnt_LookupProc WX11Evnt_lookupString = XLookupString;

namespace {

bool keyMapReady = false;

constexpr W_Atom kNoAtom = 0;
W_Atom WMProtocols() {
  static W_Atom atom = kNoAtom;
  if (atom == kNoAtom) atom = W_InternAtom(StrIn("WM_PROTOCOLS"), false);
  return atom;
}

struct MaskBit {
  std::uint32_t tv;
  long x;
};
constexpr MaskBit kMaskBits[] = {
    {W_KeyPressMask, KeyPressMask},
    {W_ButtonPressMask, ButtonPressMask},
    {W_ButtonReleaseMask, ButtonReleaseMask},
    {W_PointerMotionMask, PointerMotionMask},
    {W_EnterWindowMask, EnterWindowMask},
    {W_LeaveWindowMask, LeaveWindowMask},
    {W_ExposureMask, ExposureMask},
    {W_PropertyChangeMask, PropertyChangeMask},
    {W_FocusChangeMask, FocusChangeMask},
    {W_OwnerGrabButtonMask, OwnerGrabButtonMask},
    {W_SubstructureRedirectMask, SubstructureRedirectMask},
    {W_SubstructureNotifyMask, SubstructureNotifyMask},
    {W_StructureNotifyMask, StructureNotifyMask},
    {W_PointerMotionHintMask, PointerMotionHintMask},
};

int YUp(W_Window window, int y) { return WX11Win_TransformY(window, y, 0); }

void FillInput(W_Event& e, Window window, Window root, Window subwindow, Time time, int x, int y,
               int xRoot, int yRoot, unsigned state) {
  e.window = window;
  e.input.root = root;
  e.input.subwindow = subwindow;
  e.input.time = time;
  e.input.x = x;
  e.input.y = YUp(window, y);
  e.input.xRoot = xRoot;
  e.input.yRoot = YUp(root, yRoot);
  e.input.state = WX11Evnt_ConvertState(state);
}

void FillExpose(W_Event& e, W_Window window, int x, int y, int width, int height, int count) {
  e.window = window;
  e.expose.x = x;
  e.expose.y = WX11Win_TransformY(window, y, height);
  e.expose.width = width;
  e.expose.height = height;
  e.expose.count = count;
}

// The place of a window in `parent`, its lower left corner counted upward.
void FillPlace(W_Event& e, std::uint8_t kind, Window window, Window parent, int x, int y, int width, int height,
               int border) {
  e.kind = kind;
  e.window = window;
  e.configure.parent = parent;
  e.configure.x = x;
  e.configure.y = parent != 0 ? WX11Win_TransformY(parent, y, height + 2 * border) : y;
  e.configure.width = width;
  e.configure.height = height;
  e.configure.borderWidth = border;
}

void FillClient(W_Event& e, const XClientMessageEvent& c) {
  e.window = c.window;
  e.client.messageType = c.message_type;
  e.client.format = c.format == 8 ? 0 : (c.format == 16 ? 1 : 2);
  if (c.format == 32) {
    for (int i = 0; i < 5; ++i) {
      const auto word = static_cast<std::uint32_t>(c.data.l[i]);
      std::memcpy(e.client.data + 4 * i, &word, 4);
    }
    if (c.message_type == WMProtocols()) e.client.messageType = static_cast<W_Atom>(c.data.l[0]);
  } else {
    std::memcpy(e.client.data, c.data.b, 20);
  }
}

// `taken`: the event was taken from the queue (not only peeked at); only
// then is the event at the head of the queue its successor, and a motion
// with a motion behind it is passed over.
bool Acceptable(Display* d, XEvent& x, W_Event& event, bool taken) {
  if (x.type == MappingNotify) {
    XRefreshKeyboardMapping(&x.xmapping);
    return false;
  }
  if (taken && x.type == MotionNotify && XEventsQueued(d, QueuedAlready) > 0) {
    XEvent next;
    XPeekEvent(d, &next);
    if (next.type == MotionNotify) return false;
  }
  return WX11Evnt_ConvertEvent(x, event);
}

// The X event type of a toolkit kind; 0 for none.
int XTypeOf(std::uint8_t kind) {
  static constexpr struct {
    std::uint8_t kind;
    int type;
  } kTypes[] = {{W_KeyPress, KeyPress},
                {W_ButtonPress, ButtonPress},
                {W_ButtonRelease, ButtonRelease},
                {W_MotionNotify, MotionNotify},
                {W_EnterNotify, EnterNotify},
                {W_LeaveNotify, LeaveNotify},
                {W_Expose, Expose},
                {W_PropertyNotify, PropertyNotify},
                {W_FocusIn, FocusIn},
                {W_FocusOut, FocusOut},
                {W_ConfigureNotify, ConfigureNotify},
                {W_CreateNotify, CreateNotify},
                {W_DestroyNotify, DestroyNotify},
                {W_MapNotify, MapNotify},
                {W_UnmapNotify, UnmapNotify},
                {W_ReparentNotify, ReparentNotify},
                {W_ConfigureRequest, ConfigureRequest},
                {W_MapRequest, MapRequest},
                {W_GraphicsExpose, GraphicsExpose},
                {W_NoExpose, NoExpose},
                {W_ClientMessage, ClientMessage},
                {W_SelectionClear, SelectionClear},
                {W_SelectionRequest, SelectionRequest},
                {W_SelectionNotify, SelectionNotify}};
  for (const auto& t : kTypes)
    if (t.kind == kind) return t.type;
  return 0;
}

}  // namespace

void WX11Evnt_RebindKeysyms() {
  std::memset(WX11Evnt_tavrinKeyMap, 0, sizeof WX11Evnt_tavrinKeyMap);
  static constexpr struct {
    unsigned keysym;
    std::uint8_t ch;
  } kKeys[] = {{XK_Return, W_KeyReturn},     {XK_BackSpace, W_KeyBackSpace}, {XK_Escape, W_KeyEscape},
               {XK_Tab, W_KeyTab},           {XK_Insert, W_KeyInsert},       {XK_Right, W_KeyRight},
               {XK_Left, W_KeyLeft},         {XK_Up, W_KeyUp},               {XK_Down, W_KeyDown},
               {XK_Delete, W_KeyDelete},     {XK_Prior, W_KeyPrior},         {XK_Next, W_KeyNext},
               {XK_Home, W_KeyHome},         {XK_End, W_KeyEnd},             {XK_KP_Insert, W_KeyInsert},
               {XK_KP_Right, W_KeyRight},    {XK_KP_Left, W_KeyLeft},        {XK_KP_Up, W_KeyUp},
               {XK_KP_Down, W_KeyDown},      {XK_KP_Delete, W_KeyDelete},    {XK_KP_Prior, W_KeyPrior},
               {XK_KP_Next, W_KeyNext},      {XK_KP_Home, W_KeyHome},        {XK_KP_End, W_KeyEnd},
               {XK_KP_Enter, W_KeyReturn},   {XK_KP_Tab, W_KeyTab}};
  for (const auto& k : kKeys) WX11Evnt_tavrinKeyMap[k.keysym & 0xFF] = k.ch;
  for (unsigned f = 0; f < 10; ++f) WX11Evnt_tavrinKeyMap[(XK_F1 + f) & 0xFF] = static_cast<std::uint8_t>(W_KeyF1 + f);
  keyMapReady = true;
}

void WX11Evnt_LookupKey(const XKeyEvent& key, std::uint16_t& keysym, std::uint8_t& ch) {
  if (!keyMapReady) WX11Evnt_RebindKeysyms();
  XKeyEvent copy = key;
  char text[8];
  KeySym sym = NoSymbol;
  const int length = WX11Evnt_lookupString(&copy, text, sizeof text, &sym, nullptr);
  keysym = static_cast<std::uint16_t>(sym & 0xFFFF);
  ch = length == 1 ? static_cast<std::uint8_t>(text[0]) : 0;
  if (sym == XK_ISO_Left_Tab || (sym == XK_Tab && (key.state & ShiftMask) != 0))
    ch = W_KeyBackTab;
  else if ((sym & 0xFF00) == 0xFF00)
    ch = WX11Evnt_tavrinKeyMap[sym & 0xFF];
}

std::uint32_t WX11Evnt_ConvertState(unsigned state) {
  std::uint32_t result = (state >> 8) & W_ButtonsMask;
  if (state & ShiftMask) result |= W_ShiftMask;
  if (state & (Mod1Mask | Mod4Mask)) result |= W_AltMask;
  if (state & ControlMask) result |= W_CtrlMask;
  return result;
}

long WX11Evnt_TVEventMask2X11(std::uint32_t mask) {
  long x = 0;
  for (const MaskBit& bit : kMaskBits)
    if (mask & bit.tv) x |= bit.x;
  if ((mask & W_PointerMotionMask) && (mask & W_ButtonMotionMask)) x |= ButtonMotionMask;
  return x;
}

std::uint32_t WX11Evnt_X11EventMask2TV(long mask) {
  std::uint32_t tv = 0;
  for (const MaskBit& bit : kMaskBits)
    if (mask & bit.x) tv |= bit.tv;
  if (mask & ButtonMotionMask) tv |= W_PointerMotionMask | W_ButtonMotionMask;
  return tv;
}

bool WX11Evnt_ConvertEvent(const XEvent& x, W_Event& event) {
  event = W_Event{};
  event.serial = x.xany.serial;
  event.sendEvent = x.xany.send_event != False;
  switch (x.type) {
    case KeyPress: {
      const XKeyEvent& k = x.xkey;
      event.kind = W_KeyPress;
      FillInput(event, k.window, k.root, k.subwindow, k.time, k.x, k.y, k.x_root, k.y_root, k.state);
      WX11Evnt_LookupKey(k, event.input.keysym, event.input.ch);
      return event.input.ch != 0;
    }
    case ButtonPress:
    case ButtonRelease: {
      const XButtonEvent& b = x.xbutton;
      if (b.button < 1 || b.button > 5) return false;
      event.kind = x.type == ButtonPress ? W_ButtonPress : W_ButtonRelease;
      FillInput(event, b.window, b.root, b.subwindow, b.time, b.x, b.y, b.x_root, b.y_root, b.state);
      event.input.button = static_cast<std::uint8_t>(b.button - 1);
      // X tells the state before the event; the record tells it after.
      const std::uint32_t own = W_Button1Mask << event.input.button;
      if (x.type == ButtonPress) event.input.state |= own;
      else event.input.state &= ~own;
      return true;
    }
    case MotionNotify: {
      const XMotionEvent& m = x.xmotion;
      event.kind = W_MotionNotify;
      FillInput(event, m.window, m.root, m.subwindow, m.time, m.x, m.y, m.x_root, m.y_root, m.state);
      event.input.isHint = m.is_hint != NotifyNormal;
      return true;
    }
    case EnterNotify:
    case LeaveNotify: {
      const XCrossingEvent& c = x.xcrossing;
      event.kind = x.type == EnterNotify ? W_EnterNotify : W_LeaveNotify;
      FillInput(event, c.window, c.root, c.subwindow, c.time, c.x, c.y, c.x_root, c.y_root, c.state);
      event.input.mode = static_cast<std::uint8_t>(c.mode);
      event.input.detail = static_cast<std::uint8_t>(c.detail);
      return true;
    }
    case Expose:
      event.kind = W_Expose;
      FillExpose(event, x.xexpose.window, x.xexpose.x, x.xexpose.y, x.xexpose.width, x.xexpose.height,
                 x.xexpose.count);
      return true;
    case GraphicsExpose:
      event.kind = W_GraphicsExpose;
      FillExpose(event, x.xgraphicsexpose.drawable, x.xgraphicsexpose.x, x.xgraphicsexpose.y,
                 x.xgraphicsexpose.width, x.xgraphicsexpose.height, x.xgraphicsexpose.count);
      return true;
    case NoExpose:
      event.kind = W_NoExpose;
      event.window = x.xnoexpose.drawable;
      return true;
    case FocusIn:
    case FocusOut:
      event.kind = x.type == FocusIn ? W_FocusIn : W_FocusOut;
      event.window = x.xfocus.window;
      event.focus.mode = static_cast<std::uint8_t>(x.xfocus.mode);
      event.focus.detail = static_cast<std::uint8_t>(x.xfocus.detail);
      return true;
    case PropertyNotify:
      event.kind = W_PropertyNotify;
      event.window = x.xproperty.window;
      event.property.atom = x.xproperty.atom;
      event.property.time = x.xproperty.time;
      event.property.state = static_cast<std::uint8_t>(x.xproperty.state);
      return true;
    case ConfigureNotify: {
      const XConfigureEvent& c = x.xconfigure;
      WXWHash_Record& r = WXWHash_Get(c.window);
      r.width = c.width;
      r.height = c.height;
      FillPlace(event, W_ConfigureNotify, c.window, c.event != c.window ? c.event : WX11Win_Parent(c.window), c.x, c.y,
                c.width, c.height, c.border_width);
      event.configure.above = c.above;
      event.configure.overrideRedirect = c.override_redirect != False;
      return true;
    }
    case ConfigureRequest: {
      const XConfigureRequestEvent& c = x.xconfigurerequest;
      FillPlace(event, W_ConfigureRequest, c.window, c.parent, c.x, c.y, c.width, c.height, c.border_width);
      event.configure.above = c.above;
      return true;
    }
    case CreateNotify: {
      const XCreateWindowEvent& c = x.xcreatewindow;
      FillPlace(event, W_CreateNotify, c.window, c.parent, c.x, c.y, c.width, c.height, c.border_width);
      event.configure.overrideRedirect = c.override_redirect != False;
      return true;
    }
    case DestroyNotify:
      event.kind = W_DestroyNotify;
      event.window = x.xdestroywindow.window;
      return true;
    case MapNotify:
      event.kind = W_MapNotify;
      event.window = x.xmap.window;
      return true;
    case UnmapNotify:
      event.kind = W_UnmapNotify;
      event.window = x.xunmap.window;
      return true;
    case MapRequest:
      event.kind = W_MapRequest;
      event.window = x.xmaprequest.window;
      event.configure.parent = x.xmaprequest.parent;
      return true;
    case ReparentNotify: {
      const XReparentEvent& r = x.xreparent;
      WXWHash_SetParent(r.window, r.parent);
      FillPlace(event, W_ReparentNotify, r.window, r.parent, r.x, r.y, WX11Win_Width(r.window),
                WX11Win_Height(r.window), 0);
      return true;
    }
    case ClientMessage:
      event.kind = W_ClientMessage;
      FillClient(event, x.xclient);
      return true;
    case SelectionClear:
      event.kind = W_SelectionClear;
      event.window = x.xselectionclear.window;
      event.selection.selection = x.xselectionclear.selection;
      event.selection.time = x.xselectionclear.time;
      return true;
    case SelectionRequest: {
      const XSelectionRequestEvent& s = x.xselectionrequest;
      event.kind = W_SelectionRequest;
      event.window = s.owner;
      event.selection = W_SelectionBody{s.requestor, s.selection, s.target, s.property, s.time};
      return true;
    }
    case SelectionNotify: {
      const XSelectionEvent& s = x.xselection;
      event.kind = W_SelectionNotify;
      event.window = s.requestor;
      event.selection = W_SelectionBody{s.requestor, s.selection, s.target, s.property, s.time};
      return true;
    }
    default:
      return false;
  }
}

void WX11Evnt_ToXEvent(const W_Event& event, XEvent& x) {
  std::memset(&x, 0, sizeof x);
  x.xany.display = WX11Disp_display;
  x.xany.window = event.window;
  x.xany.send_event = True;
  switch (event.kind) {
    case W_ClientMessage: {
      XClientMessageEvent& c = x.xclient;
      c.type = ClientMessage;
      c.message_type = event.client.messageType;
      c.format = event.client.format == 0 ? 8 : (event.client.format == 1 ? 16 : 32);
      if (c.format == 32) {
        for (int i = 0; i < 5; ++i) {
          std::uint32_t word;
          std::memcpy(&word, event.client.data + 4 * i, 4);
          c.data.l[i] = static_cast<long>(word);
        }
      } else {
        std::memcpy(c.data.b, event.client.data, 20);
      }
      break;
    }
    case W_Expose:
      x.xexpose.type = Expose;
      x.xexpose.x = event.expose.x;
      x.xexpose.y = WX11Win_TransformY(event.window, event.expose.y, event.expose.height);
      x.xexpose.width = event.expose.width;
      x.xexpose.height = event.expose.height;
      x.xexpose.count = event.expose.count;
      break;
    case W_SelectionNotify: {
      XSelectionEvent& s = x.xselection;
      s.type = SelectionNotify;
      s.requestor = event.selection.requestor;
      s.selection = event.selection.selection;
      s.target = event.selection.target;
      s.property = event.selection.property;
      s.time = event.selection.time;
      break;
    }
    default:
      x.type = XTypeOf(event.kind);
      break;
  }
}

// --- The W procedures ------------------------------------------------------------

void WX11Evnt_SelectInput(W_Window window, std::uint32_t mask) {
  if (Display* d = WX11Disp_Use()) XSelectInput(d, window, WX11Evnt_TVEventMask2X11(mask));
}

std::uint32_t WX11Evnt_GetInputMask(W_Window window) {
  Display* d = WX11Disp_Use();
  XWindowAttributes a;
  if (d == nullptr || XGetWindowAttributes(d, window, &a) == 0) return 0;
  return WX11Evnt_X11EventMask2TV(a.your_event_mask);
}

bool WX11Evnt_NextEvent(W_Event& event) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  WX11Disp_Waiting waiting;
  for (;;) {
    XEvent x;
    XNextEvent(d, &x);
    if (Acceptable(d, x, event, true)) return true;
  }
}

bool WX11Evnt_MaskEvent(std::uint32_t mask, W_Event& event) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  WX11Disp_Waiting waiting;
  for (;;) {
    XEvent x;
    XMaskEvent(d, WX11Evnt_TVEventMask2X11(mask), &x);
    if (WX11Evnt_ConvertEvent(x, event)) return true;
  }
}

bool WX11Evnt_CheckMaskEvent(std::uint32_t mask, W_Event& event) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  XEvent x;
  while (XCheckMaskEvent(d, WX11Evnt_TVEventMask2X11(mask), &x))
    if (WX11Evnt_ConvertEvent(x, event)) return true;
  return false;
}

bool WX11Evnt_WindowEvent(W_Window window, std::uint32_t mask, W_Event& event) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  WX11Disp_Waiting waiting;
  for (;;) {
    XEvent x;
    XWindowEvent(d, window, WX11Evnt_TVEventMask2X11(mask), &x);
    if (WX11Evnt_ConvertEvent(x, event)) return true;
  }
}

bool WX11Evnt_CheckWindowEvent(W_Window window, std::uint32_t mask, W_Event& event) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  XEvent x;
  while (XCheckWindowEvent(d, window, WX11Evnt_TVEventMask2X11(mask), &x))
    if (WX11Evnt_ConvertEvent(x, event)) return true;
  return false;
}

bool WX11Evnt_CheckTypedEvent(std::uint8_t kind, W_Event& event) {
  Display* d = WX11Disp_Use();
  const int type = XTypeOf(kind);
  if (d == nullptr || type == 0) return false;
  XEvent x;
  while (XCheckTypedEvent(d, type, &x))
    if (WX11Evnt_ConvertEvent(x, event)) return true;
  return false;
}

bool WX11Evnt_CheckTypedWindowEvent(W_Window window, std::uint8_t kind, W_Event& event) {
  Display* d = WX11Disp_Use();
  const int type = XTypeOf(kind);
  if (d == nullptr || type == 0) return false;
  XEvent x;
  while (XCheckTypedWindowEvent(d, window, type, &x))
    if (WX11Evnt_ConvertEvent(x, event)) return true;
  return false;
}

bool WX11Evnt_PeekEvent(W_Event& event) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  WX11Disp_Waiting waiting;
  for (;;) {
    XEvent x;
    XPeekEvent(d, &x);
    if (Acceptable(d, x, event, false)) return true;
    XNextEvent(d, &x);  // throw the unwanted one away
  }
}

int WX11Evnt_Pending() {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return 0;
  while (XPending(d) > 0) {
    XEvent x;
    W_Event event;
    XPeekEvent(d, &x);
    if (Acceptable(d, x, event, false)) return XEventsQueued(d, QueuedAlready);
    XNextEvent(d, &x);
  }
  return 0;
}

bool WX11Evnt_WaitForEvents(int milliseconds) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  WX11Disp_Waiting waiting;
  if (XPending(d) > 0) return true;
  pollfd probe{ConnectionNumber(d), POLLIN, 0};
  return ::poll(&probe, 1, milliseconds < 0 ? -1 : milliseconds) > 0;
}

bool WX11Evnt_SendEvent(W_Window window, bool propagate, std::uint32_t mask, const W_Event& event) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  XEvent x;
  WX11Evnt_ToXEvent(event, x);
  return XSendEvent(d, window, propagate ? True : False, WX11Evnt_TVEventMask2X11(mask), &x) != 0;
}

bool WX11Evnt_GrabKeyboard(W_Window window, W_Time time) {
  Display* d = WX11Disp_Use();
  return d != nullptr &&
         XGrabKeyboard(d, window, False, GrabModeAsync, GrabModeAsync, time) == GrabSuccess;
}

void WX11Evnt_UngrabKeyboard(W_Time time) {
  if (Display* d = WX11Disp_Use()) XUngrabKeyboard(d, time);
}

bool WX11Evnt_GrabPointer(W_Window window, std::uint32_t mask, W_Cursor cursor, W_Time time) {
  Display* d = WX11Disp_Use();
  constexpr long kPointerEvents = ButtonPressMask | ButtonReleaseMask | EnterWindowMask |
                                  LeaveWindowMask | PointerMotionMask | PointerMotionHintMask |
                                  ButtonMotionMask;
  const auto xMask = static_cast<unsigned>(WX11Evnt_TVEventMask2X11(mask) & kPointerEvents);
  return d != nullptr && XGrabPointer(d, window, False, xMask, GrabModeAsync, GrabModeAsync, None,
                                      cursor, time) == GrabSuccess;
}

void WX11Evnt_UngrabPointer(W_Time time) {
  if (Display* d = WX11Disp_Use()) XUngrabPointer(d, time);
}

bool WX11Evnt_QueryPointer(W_Window window, int& rootX, int& rootY, int& x, int& y,
                           std::uint32_t& state) {
  rootX = rootY = x = y = 0;
  state = 0;
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  Window root, child;
  unsigned mask;
  const bool same = XQueryPointer(d, window, &root, &child, &rootX, &rootY, &x, &y, &mask) != False;
  rootY = YUp(root, rootY);
  y = YUp(window, y);
  state = WX11Evnt_ConvertState(mask);
  return same;
}

void WX11Evnt_WarpPointer(W_Window window, int x, int y) {
  if (Display* d = WX11Disp_Use()) XWarpPointer(d, None, window, 0, 0, 0, 0, x, YUp(window, y));
}

bool WX11Evnt_TranslateCoordinates(W_Window from, W_Window to, int x, int y, int& toX, int& toY,
                                   W_Window& child) {
  toX = toY = 0;
  child = 0;
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  Window c = None;
  int tx, ty;
  if (XTranslateCoordinates(d, from, to, x, YUp(from, y), &tx, &ty, &c) == False) return false;
  toX = tx;
  toY = YUp(to, ty);
  child = c;
  return true;
}

W_Window WX11Evnt_SearchSubwindow(W_Window window, int x, int y) {
  int tx, ty;
  W_Window child;
  return WX11Evnt_TranslateCoordinates(window, window, x, y, tx, ty, child) ? child : 0;
}
