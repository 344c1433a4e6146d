// Windows on the X side. Every position crosses WX11Win_TransformY; heights
// and parents come from the client's own table (WXWHash), so converting costs
// no round trip.
#include "toolkit/WX11Win.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "base/Messages.h"
#include "toolkit/WX11Grap.h"
#include "toolkit/WX11Pixm.h"
#include "toolkit/WX11Text.h"
#include "toolkit/WXWHash.h"

namespace {

std::unordered_map<W_Window, void*> contexts(1024);
Window hiddenWindow = 0;
// The background every window starts with: "paper.pxm", or black.
W_Pixmap paperPixmap = 0;
bool paperTried = false;

constexpr long kInitialEventMask = 32828;  // button press and release, crossing, exposure

void FetchGeometry(Display* d, WXWHash_Record& r) {
  Window root;
  int x, y;
  unsigned width, height, border, depth;
  if (XGetGeometry(d, r.id, &root, &x, &y, &width, &height, &border, &depth) != 0) {
    r.width = static_cast<int>(width);
    r.height = static_cast<int>(height);
  }
}

// Root, screen and colour map together; a window that is gone gets colour
// map 0, screen 0 and the root of screen 0.
void FetchValues(Display* d, WXWHash_Record& r) {
  if (r.valuesKnown) return;
  XWindowAttributes a;
  if (!r.isPixmap && XGetWindowAttributes(d, r.id, &a) != 0) {
    r.root = a.root;
    r.screen = XScreenNumberOfScreen(a.screen);
    r.colormap = a.colormap;
  } else {
    r.root = RootWindow(d, 0);
    r.screen = 0;
    r.colormap = 0;
  }
  r.valuesKnown = true;
}

W_Pixmap PaperPixmap() {
  if (!paperTried) {
    paperTried = true;
    int width, height;
    paperPixmap = Messages_Quietly([&] { return WX11Pixm_ReadPixmapFile("paper.pxm", width, height); });
  }
  return paperPixmap;
}

int XYOf(W_Window window, int y, int height) {
  const W_Window parent = WX11Win_Parent(window);
  return parent != 0 ? WX11Win_Height(parent) - y - height : y;
}

// A size of at least 1 by 1, entered into the table before the request goes
// out: conversions from now on count with it.
void NewSize(W_Window window, int& width, int& height) {
  width = std::max(width, 1);
  height = std::max(height, 1);
  WXWHash_Record& r = WXWHash_Get(window);
  r.width = width;
  r.height = height;
}

void DiscardEventsOf(Display* d, const std::unordered_set<W_Window>& gone) {
  XEvent event;
  auto matches = [](Display*, XEvent* e, XPointer set) -> Bool {
    return reinterpret_cast<const std::unordered_set<W_Window>*>(set)->count(e->xany.window) != 0;
  };
  while (XCheckIfEvent(d, &event, matches,
                       reinterpret_cast<XPointer>(const_cast<std::unordered_set<W_Window>*>(&gone))))
    continue;
}

}  // namespace

int WX11Win_TransformY(W_Window window, int y, int height) {
  const int h = height == 0 ? 1 : (height == -1 ? 0 : height);
  return WX11Win_Height(window) - y - h;
}

int WX11Win_Height(W_Window window) {
  WXWHash_Record& r = WXWHash_Get(window);
  if (r.height < 0 && WX11Disp_display != nullptr) FetchGeometry(WX11Disp_display, r);
  return std::max(r.height, 0);
}

int WX11Win_Width(W_Window window) {
  WXWHash_Record& r = WXWHash_Get(window);
  if (r.width < 0 && WX11Disp_display != nullptr) FetchGeometry(WX11Disp_display, r);
  return std::max(r.width, 0);
}

W_Window WX11Win_Parent(W_Window window) {
  WXWHash_Record& r = WXWHash_Get(window);
  if (!r.parentKnown && WX11Disp_display != nullptr) {
    Window root, parent, *children = nullptr;
    unsigned count = 0;
    if (XQueryTree(WX11Disp_display, window, &root, &parent, &children, &count) != 0) {
      if (children != nullptr) XFree(children);
      WXWHash_SetParent(window, parent);
    }
  }
  return r.parentKnown ? WXWHash_Get(window).parent : 0;
}

Window WX11Win_HiddenWindow() {
  if (hiddenWindow == 0 && WX11Disp_display != nullptr) {
    const int rootHeight = DisplayHeight(WX11Disp_display, WX11Disp_graphicsScreen);
    hiddenWindow = WX11Win_CreateWindow(WX11Win_RootWindow(WX11Disp_graphicsScreen), 50,
                                        rootHeight - 51, 1, 1);
  }
  return hiddenWindow;
}

void WX11Win_DisplayClosed() {
  contexts.clear();
  hiddenWindow = 0;
  paperPixmap = 0;
  paperTried = false;
}

// --- The W procedures ------------------------------------------------------------

W_Window WX11Win_RootWindow(int screen) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || screen < 0 || screen >= ScreenCount(d)) return 0;
  const Window root = RootWindow(d, screen);
  WXWHash_Record& r = WXWHash_Get(root);
  if (!r.parentKnown) {
    r.parentKnown = true;
    r.parent = 0;
    r.root = root;
    r.screen = screen;
    r.width = DisplayWidth(d, screen);
    r.height = DisplayHeight(d, screen);
    r.colormap = DefaultColormap(d, screen);
    r.valuesKnown = true;
  }
  return root;
}

W_Window WX11Win_CreateWindow(W_Window parent, int x, int y, int width, int height) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return 0;
  width = std::max(width, 1);
  height = std::max(height, 1);
  WX11Win_GetStandardColormap();
  XSetWindowAttributes a{};
  unsigned long mask = CWBorderPixel | CWBitGravity | CWWinGravity | CWEventMask | CWColormap;
  if (const W_Pixmap paper = PaperPixmap(); paper != 0) {
    a.background_pixmap = paper;
    mask |= CWBackPixmap;
  } else {
    a.background_pixel = BlackPixel(d, WX11Disp_graphicsScreen);
    mask |= CWBackPixel;
  }
  a.border_pixel = BlackPixel(d, WX11Disp_graphicsScreen);
  a.bit_gravity = SouthWestGravity;  // content stays with the lower left origin
  a.win_gravity = NorthWestGravity;
  a.event_mask = kInitialEventMask;
  a.colormap = WX11Win_Colormap();
  const int parentHeight = WX11Win_Height(parent);
  const Window window =
      XCreateWindow(d, parent, x, parentHeight - y - height, static_cast<unsigned>(width),
                    static_cast<unsigned>(height), 0, WX11Disp_deepestDepth, InputOutput,
                    WX11Disp_bestVisual, mask, &a);
  if (window == 0) return 0;
  WXWHash_Record& r = WXWHash_EnterWindow(window, parent, width, height);
  r.colormap = a.colormap;
  return window;
}

void WX11Win_DestroyWindow(W_Window window) {
  Display* d = WX11Disp_Use();
  // A window not in the table went already, with an ancestor.
  if (d == nullptr || window == 0 || WXWHash_Find(window) == nullptr) return;
  std::vector<W_Window> removed;
  WXWHash_RemoveTree(window, removed);
  const std::unordered_set<W_Window> gone(removed.begin(), removed.end());
  for (const W_Window w : removed) {
    contexts.erase(w);
    WX11Text_WinDestroyed(w);
  }
  XDestroyWindow(d, window);
  DiscardEventsOf(d, gone);
}

void WX11Win_MapWindow(W_Window window) {
  if (Display* d = WX11Disp_Use()) XMapWindow(d, window);
}

void WX11Win_MapSubwindows(W_Window window) {
  if (Display* d = WX11Disp_Use()) XMapSubwindows(d, window);
}

void WX11Win_UnmapWindow(W_Window window) {
  if (Display* d = WX11Disp_Use()) XUnmapWindow(d, window);
}

void WX11Win_UnmapSubwindows(W_Window window) {
  if (Display* d = WX11Disp_Use()) XUnmapSubwindows(d, window);
}

void WX11Win_RaiseWindow(W_Window window) {
  if (Display* d = WX11Disp_Use()) XRaiseWindow(d, window);
}

void WX11Win_LowerWindow(W_Window window) {
  if (Display* d = WX11Disp_Use()) XLowerWindow(d, window);
}

bool WX11Win_QueryTree(W_Window window, W_Window& root, W_Window& parent,
                       std::vector<W_Window>* children) {
  root = parent = 0;
  if (children != nullptr) children->clear();
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  Window r, p, *list = nullptr;
  unsigned count = 0;
  if (XQueryTree(d, window, &r, &p, &list, &count) == 0) {
    W_wlibError = 2;
    return false;
  }
  root = r;
  parent = p;
  if (children != nullptr) children->assign(list, list + count);
  if (list != nullptr) XFree(list);
  WXWHash_SetParent(window, p);
  return true;
}

void WX11Win_MoveWindow(W_Window window, int x, int y) {
  if (Display* d = WX11Disp_Use()) XMoveWindow(d, window, x, XYOf(window, y, WX11Win_Height(window)));
}

void WX11Win_ReparentWindow(W_Window window, W_Window parent, int x, int y) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  WXWHash_SetParent(window, parent);
  XReparentWindow(d, window, parent, x, XYOf(window, y, WX11Win_Height(window)));
}

void WX11Win_ResizeWindow(W_Window window, int width, int height) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  NewSize(window, width, height);
  XResizeWindow(d, window, static_cast<unsigned>(width), static_cast<unsigned>(height));
}

void WX11Win_MoveResizeWindow(W_Window window, int x, int y, int width, int height) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  NewSize(window, width, height);
  XMoveResizeWindow(d, window, x, XYOf(window, y, height), static_cast<unsigned>(width),
                    static_cast<unsigned>(height));
}

void WX11Win_SetOverrideRedirect(W_Window window, bool on) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  XSetWindowAttributes a{};
  a.override_redirect = on ? True : False;
  XChangeWindowAttributes(d, window, CWOverrideRedirect, &a);
}

void WX11Win_SetSaveUnderMode(W_Window window, bool on) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  XSetWindowAttributes a{};
  a.save_under = on ? True : False;
  XChangeWindowAttributes(d, window, CWSaveUnder, &a);
}

void WX11Win_SetBackgroundColor(W_Window window, W_Color color) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  XSetWindowBackground(d, window, WX11Grap_PixelOf(color));
  WXWHash_Record& r = WXWHash_Get(window);
  r.background = color;
  r.backgroundKnown = true;
}

W_Color WX11Win_GetBackgroundColor(W_Window window) {
  WX11Disp_Use();
  const WXWHash_Record* r = WXWHash_Find(window);
  return r != nullptr && r->backgroundKnown ? r->background : W_Color{};
}

void WX11Win_SetBackgroundPixmap(W_Window window, W_Pixmap pixmap) {
  if (Display* d = WX11Disp_Use())
    XSetWindowBackgroundPixmap(d, window, pixmap == 1 ? ParentRelative : pixmap);
}

bool WX11Win_GetWindowGeometry(W_Window window, int& x, int& y, int& width, int& height,
                               int& borderWidth) {
  x = y = width = height = borderWidth = 0;
  Display* d = WX11Disp_Use();
  if (d == nullptr) return false;
  Window root;
  int gx, gy;
  unsigned gw, gh, border, depth;
  if (XGetGeometry(d, window, &root, &gx, &gy, &gw, &gh, &border, &depth) == 0) {
    W_wlibError = 2;
    return false;
  }
  WXWHash_Record& r = WXWHash_Get(window);
  r.width = static_cast<int>(gw);
  r.height = static_cast<int>(gh);
  x = gx;
  y = XYOf(window, gy, r.height);
  width = r.width;
  height = r.height;
  borderWidth = static_cast<int>(border);
  return true;
}

W_Window WX11Win_GetRootWindow(W_Window window) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return 0;
  WXWHash_Record& r = WXWHash_Get(window);
  FetchValues(d, r);
  return r.root;
}

void WX11Win_AddToSaveSet(W_Window window) {
  if (Display* d = WX11Disp_Use()) XAddToSaveSet(d, window);
}

void WX11Win_SetInputFocus(W_Window window, W_Time time) {
  if (Display* d = WX11Disp_Use()) XSetInputFocus(d, window, RevertToParent, time);
}

void WX11Win_SaveContext(W_Window window, void* widget) {
  if (widget == nullptr) contexts.erase(window);
  else contexts[window] = widget;
}

void* WX11Win_FindContext(W_Window window) {
  const auto found = contexts.find(window);
  return found == contexts.end() ? nullptr : found->second;
}
