#include "toolkit/WtWnds.h"

#include <vector>

#include "base/Messages.h"
#include "toolkit/CWGroup.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTextIO.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtCursor.h"
#include "toolkit/WtDraw.h"

namespace {

// The windows of a subtree that are not inside another of the subtree.
void TopWindows(Widget w, std::vector<W_Window>& windows) {
  if (!w->gadget && w->window != 0) {
    windows.push_back(w->window);
    return;
  }
  if (!CWGroup_IsGroupWidget(w)) return;
  CWGroup_Walk walk;
  for (Widget c = CWGroup_GetFirstChild(w, walk); c != nullptr; c = CWGroup_GetNextChild(walk)) TopWindows(c, windows);
}

bool RequireRealized(Widget w) {
  if (w->realized) return true;
  WtBase_WtError(7);
  return false;
}

}  // namespace

void WtWnds_RealizeWidget(Widget w) {
  if (w->realized) return;
  if (!w->geometryValid) {
    Geometry g;
    CWCore_QueryGeometry(w, g);
    WtWnds_ConfigureWidget(w, w->x, w->y, g.hDim.min, g.vDim.min);
  }
  if (w->gadget && w->parent != nullptr) {
    Widget owner;
    w->window = WtWnds_SearchWindow(w->parent, owner);
  }
  CWCore_Realize(w);
  CWCore_UpdateWindowAttrs(w);
  if (w->mapWhenRealized && w->parent != nullptr) CWCore_MapWindow(w);
}

void WtWnds_UnrealizeWidget(Widget w) {
  if (!w->realized) return;
  std::vector<W_Window> windows;
  TopWindows(w, windows);
  CWCore_Unrealize(w);
  // Destroying a window takes its subwindows along; windows already gone
  // with an ancestor are skipped by the X11 side.
  for (const W_Window window : windows) W_DestroyWindow(window);
}

void WtWnds_MapWidget(Widget w) {
  if (RequireRealized(w)) CWCore_MapWindow(w);
}

void WtWnds_UnmapWidget(Widget w) {
  if (w->realized) CWCore_UnmapWindow(w);
}

void WtWnds_RaiseWidget(Widget w) {
  if (RequireRealized(w)) CWCore_RaiseWindow(w);
}

void WtWnds_MoveWidget(Widget w, int x, int y) { WtWnds_ConfigureWidget(w, x, y, w->width, w->height); }

void WtWnds_QueryWidgetGeometry(Widget w, Geometry& geometry) { CWCore_QueryGeometry(w, geometry); }

void WtWnds_ConfigureWidget(Widget w, int x, int y, int width, int height) {
  // 1. The inner area; only the width decides whether the border fits.
  const int originX = w->gadget ? x : 0, originY = w->gadget ? y : 0;
  const int b = static_cast<int>(w->borderWidth);
  if (2 * b >= 1 && 2 * b < width) {
    w->innerX = originX + b;
    w->innerY = originY + b;
    w->innerWidth = width - 2 * b;
    w->innerHeight = height - 2 * b;
  } else {
    w->innerX = originX;
    w->innerY = originY;
    w->innerWidth = width;
    w->innerHeight = height;
  }
  // 2. The place, and the window follows.
  const int oldHeight = w->height;
  w->x = x;
  w->y = y;
  w->width = width;
  w->height = height;
  if (w->realized) CWCore_AdjustWindowBounds(w);
  // 3. A gradient is as high as its widget.
  if (w->realized && w->bgGradient != 0 && CAttribs_Text(w->backgroundPix).Empty() && height != oldHeight &&
      height > 4 && !w->gadget) {
    const W_Pixmap old = w->backgroundPixmap;
    w->backgroundPixmap = w->savedPixmap = WtWnds_GetBackgroundPixmap(w);
    if (w->backgroundPixmap != 0) W_SetBackgroundPixmap(w->window, w->backgroundPixmap);
    if (old != 0 && old != WtBase_rootPixmap) W_FreePixmap(old);
  }
  // 4. The class places what is inside.
  CWCore_Configure(w);
}

W_Window WtWnds_SearchWindow(Widget w, Widget& owner) {
  for (owner = w; owner != nullptr; owner = owner->parent)
    if (!owner->gadget && owner->window != 0) return owner->window;
  return 0;
}

void WtWnds_SearchBackground(Widget w, Widget& owner, W_Color& color, W_Pixmap& pixmap) {
  owner = nullptr;
  pixmap = 0;
  color = WtColors_defaultBackground;
  bool pixmapBlocked = false;
  Widget top = w;
  for (Widget c = w; c != nullptr; c = c->parent) {
    top = c;
    if (!pixmapBlocked && owner == nullptr && c->backgroundPixmap != 0) {
      pixmap = c->backgroundPixmap;
      owner = c;
    }
    if (!WtColors_IsCopyColor(c->background)) {
      color = c->background;
      break;
    }
    // A dialog over another window does not show that window's pixmap.
    if (CWShell_IsShellWidget(c) && c->parent != nullptr) pixmapBlocked = true;
    if (c->parent == nullptr && owner == nullptr && WtBase_rootPixmap != 0) {
      pixmap = WtBase_rootPixmap;
      owner = top;
    }
  }
  if (WtColors_IsCopyColor(w->background) && pixmap == 0 && WtBase_InstanceOf(w, CWTextIO_class)) {
    color = WtColors_inputColor;
    owner = nullptr;
  }
}

W_Pixmap WtWnds_GetBackgroundPixmap(Widget w) {
  if (!CAttribs_Text(w->backgroundPix).Empty()) {
    int width, height;
    return Messages_Quietly([&] { return W_ReadPixmapFile(CAttribs_Text(w->backgroundPix), width, height); });
  }
  if (w->bgGradient != 0 && !WtColors_IsCopyColor(w->background))
    return w->height > 4 ? WtDraw_GetVRampPixmap(w->background, w->height, w->bgGradient) : 0;
  if (CWShell_IsShellWidget(w) && w->parent == nullptr &&
      (WtColors_IsCopyColor(w->background) || w->background == WtColors_defaultBackground))
    return WtBase_rootPixmap;
  return 0;
}

W_Pixmap WtWnds_GetPressedPixmap(Widget w, const W_Color* color, int delta) {
  const W_Color base = color != nullptr ? *color : CWCore_EffectiveBackground(w);
  const W_Color pressed = delta >= 0 ? WtColors_Darker(base, delta) : WtColors_Lighter(base, -delta);
  return w->height > 4 ? WtDraw_GetVRampPixmap(pressed, w->height, -w->bgGradient) : 0;
}

bool WtWnds_IsMapped(Widget w) {
  for (; w != nullptr; w = w->parent)
    if (!w->mapped) return false;
  return true;
}

bool WtWnds_IsRealized(Widget w) { return w != nullptr && w->realized; }

void WtWnds_StdRealize(Widget w) {
  WtBase_Assert(!w->realized);
  Widget owner;
  W_Color color;
  W_Pixmap pixmap;
  WtWnds_SearchBackground(w, owner, color, pixmap);
  if (w->window == 0 || !w->gadget) {
    Widget windowOwner;
    const W_Window parentWindow = w->parent != nullptr ? WtWnds_SearchWindow(w->parent, windowOwner) : 0;
    WtBase_Assert(parentWindow != 0);
    if (w->gadget) {
      w->window = parentWindow;
      return;
    }
    w->window = W_CreateWindow(parentWindow, w->x, w->y, w->width, w->height);
    WtBase_Assert(w->window != 0);
  }
  if (w->gadget) return;
  if (w->backgroundPixmap == 0) {
    w->backgroundPixmap = w->savedPixmap = WtWnds_GetBackgroundPixmap(w);
    if (w->backgroundPixmap != 0) WtWnds_SearchBackground(w, owner, color, pixmap);
  }
  const bool shellPixmap = pixmap != 0 && CWShell_IsShellWidget(owner);
  if (!(WtColors_IsCopyColor(w->background) && shellPixmap)) w->savedColor = color;
  w->savedFrameWidth = w->frameWidth;
  if (pixmap != 0 && owner == w) W_SetBackgroundPixmap(w->window, pixmap);
  else if (pixmap != 0) W_SetBackgroundPixmap(w->window, 1);
  else W_SetBackgroundColor(w->window, color);
  WtCursor_EnterWindow(w->window);
}

void WtWnds_StdExpose(Widget w, const Regions_Region* region, W_Event& event) {
  (void)region;
  if (w->gadget) {
    const bool ownColor = !WtColors_IsCopyColor(w->background);
    if (ownColor || w->backgroundPixmap != 0) {
      const Regions_Rect area = Regions_IntersectRects(
          {w->x, w->y, w->width, w->height}, {event.expose.x, event.expose.y, event.expose.width, event.expose.height});
      WtDraw_DelayedInit();
      if (w->backgroundPixmap != 0) {
        W_SetFillStyle(WtDraw_drawGC, 1);
        W_SetTile(WtDraw_drawGC, w->backgroundPixmap);
        W_SetTSOrigin(WtDraw_drawGC, w->x, w->y);
      } else {
        W_SetForeground(WtDraw_drawGC, w->background);
      }
      W_FillRectangle(w->window, WtDraw_drawGC, area.x, area.y, area.width, area.height);
      W_SetFillStyle(WtDraw_drawGC, 0);
      W_SetTSOrigin(WtDraw_drawGC, 0, 0);
      W_SetForeground(WtDraw_drawGC, W_Color{0, 0, 0});
    }
  }
  if (w->frameWidth != 0) WtDraw_WidFrame(w);
}
