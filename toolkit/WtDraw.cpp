#include "toolkit/WtDraw.h"

#include <string>
#include <vector>

#include "base/Messages.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtWnds.h"

W_GC WtDraw_drawGC = nullptr;
W_GC WtDraw_allGC = nullptr;

namespace {

constexpr int kHues = 7;
W_GC hueGCs[kHues][2];
std::vector<W_GC> freeGCs;
W_Pixmap checker = 0;

// The made-up exposure of a scroll's end: all coordinates all ones.
constexpr int kScrollMark = 0x7FFF;

// Light and dark value of each hue: 0 light gray, 1 mid gray, then red,
// yellow, green, cyan, blue.
W_Color HueColor(int hue, bool dark) {
  if (hue == 0) return dark ? W_Color{96, 96, 96} : W_Color{230, 230, 230};
  if (hue == 1) return dark ? W_Color{64, 64, 64} : W_Color{96, 96, 96};
  static constexpr bool kChannels[5][3] = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 1, 1}, {0, 0, 1}};
  const auto& on = kChannels[hue - 2];
  const std::uint32_t high = dark ? 96 : 230, low = dark ? 0 : 32;
  return W_Color{on[0] ? high : low, on[1] ? high : low, on[2] ? high : low};
}

// The widget's rectangle in the window it draws in.
Regions_Rect Area(Widget w) {
  return w->gadget ? Regions_Rect{w->x, w->y, w->width, w->height} : Regions_Rect{0, 0, w->width, w->height};
}

void Expose(Widget w, const Regions_Rect& area) {
  W_Event event;
  event.kind = W_Expose;
  event.window = w->window;
  event.expose = W_ExposeBody{area.x, area.y, area.width, area.height, 0};
  Regions_Region region;
  region.rects.push_back(area);
  W_SetImplicitClipping(w->window, area.x, area.y, area.width, area.height);
  CWCore_Expose(w, &region, event);
  W_UnsetImplicitClipping();
}

// Whether a full redraw is already on its way for the widget or, for a
// gadget, for an ancestor that it draws in.
bool RedrawPending(Widget w) {
  for (Widget c = w; c != nullptr; c = c->parent) {
    if (c->redrawPending) return true;
    if (!c->gadget) return false;
  }
  return false;
}

std::string RampName(const char* kind, const W_Color& c, int length, int gradient) {
  return std::string(kind) + "-" + std::to_string(c.red) + "," + std::to_string(c.green) + "," +
         std::to_string(c.blue) + "," + std::to_string(length) + "," + std::to_string(gradient) + ".~";
}

W_Pixmap Ramp(const char* kind, const W_Color& color, int length, int gradient) {
  if (length < 1) return 0;
  int width, height;
  return Messages_Quietly([&] { return W_ReadPixmapFile(RampName(kind, color, length, gradient), width, height); });
}

}  // namespace

void WtDraw_DelayedInit() {
  if (WtDraw_drawGC != nullptr) return;
  WtDraw_drawGC = W_CreateGC();
  WtDraw_allGC = W_CreateGC();
  W_SetSubwindowMode(WtDraw_allGC, true);
  for (int hue = 0; hue < kHues; ++hue)
    for (int dark = 0; dark < 2; ++dark) {
      hueGCs[hue][dark] = W_CreateGC();
      W_SetForeground(hueGCs[hue][dark], HueColor(hue, dark != 0));
    }
}

W_GC WtDraw_GetGC() {
  WtDraw_DelayedInit();
  if (freeGCs.empty()) return W_CreateGC();
  W_GC gc = freeGCs.back();
  freeGCs.pop_back();
  return gc;
}

void WtDraw_ReleaseGC(W_GC& gc) {
  if (gc == nullptr) return;
  W_UnsetClipping(gc);
  W_SetFillStyle(gc, 0);
  W_SetExorMode(gc, false);
  freeGCs.push_back(gc);
  gc = nullptr;
}

W_GC WtDraw_GetHueGC(int hue, bool dark) {
  WtDraw_DelayedInit();
  return hueGCs[hue >= 0 && hue < kHues ? hue : 0][dark ? 1 : 0];
}

void WtDraw_SetGCColor(W_GC gc, const W_Color& color) { W_SetForeground(gc, color); }

void WtDraw_SetGCInsensitive(W_GC gc) { W_SetForeground(gc, WtColors_insensitiveColor); }

// --- Frames ----------------------------------------------------------------------------

void WtDraw_Draw3DFrame2(W_Window window, bool raised, const W_Color& color, int width, int x, int y, int w,
                         int h) {
  if (width <= 0 || w < 2 || h < 2) return;
  WtDraw_DelayedInit();
  const W_Color dark = WtColors_Darker(color, 96);
  const W_Color light = raised ? WtColors_Lighter(color, 24) : WtColors_Darker(color, 48);
  const W_Color upper = raised ? light : dark, lower = raised ? dark : light;
  for (int r = 0; r < width && 2 * r < w && 2 * r < h; ++r) {
    const int left = x + r, bottom = y + r, right = x + w - 1 - r, top = y + h - 1 - r;
    // Each side one pixel short at both ends: the corners stay out.
    W_SetForeground(WtDraw_drawGC, upper);
    W_DrawLine(window, WtDraw_drawGC, left + 1, top, right - 1, top);
    W_DrawLine(window, WtDraw_drawGC, left, bottom + 1, left, top - 1);
    W_SetForeground(WtDraw_drawGC, lower);
    W_DrawLine(window, WtDraw_drawGC, left + 1, bottom, right - 1, bottom);
    W_DrawLine(window, WtDraw_drawGC, right, bottom + 1, right, top - 1);
  }
  W_SetForeground(WtDraw_drawGC, W_Color{0, 0, 0});
}

void WtDraw_Draw3DFrame(W_Window window, bool raised, int width, int x, int y, int w, int h) {
  WtDraw_Draw3DFrame2(window, raised, WtColors_defaultBackground, width, x, y, w, h);
}

void WtDraw_WidFrame(Widget w) {
  if (w->frameWidth <= 0 || w->window == 0) return;
  const Regions_Rect a = Area(w);
  WtDraw_Draw3DFrame2(w->window, w->elevated || w->parent == nullptr, CWCore_EffectiveBackground(w), w->frameWidth,
                      a.x, a.y, a.width, a.height);
  const W_Color corner = CWCore_EffectiveBackground(w->parent != nullptr ? w->parent : w);
  W_SetForeground(WtDraw_drawGC, corner);
  const W_Point corners[4] = {{a.x, a.y},
                              {a.x + a.width - 1, a.y},
                              {a.x, a.y + a.height - 1},
                              {a.x + a.width - 1, a.y + a.height - 1}};
  W_DrawPoints(w->window, WtDraw_drawGC, corners, 4);
  W_SetForeground(WtDraw_drawGC, W_Color{0, 0, 0});
}

void WtDraw_UndrawWidFrame(Widget w) {
  if (w->frameWidth <= 0 || w->window == 0) return;
  WtDraw_DelayedInit();
  const Regions_Rect a = Area(w);
  W_SetForeground(WtDraw_drawGC, CWCore_EffectiveBackground(w));
  for (int r = 0; r < w->frameWidth; ++r)
    W_DrawRectangle(w->window, WtDraw_drawGC, a.x + r, a.y + r, a.width - 1 - 2 * r, a.height - 1 - 2 * r);
  W_SetForeground(WtDraw_drawGC, W_Color{0, 0, 0});
}

void WtDraw_GreyArea(W_Window window, int x, int y, int w, int h) {
  WtDraw_DelayedInit();
  if (checker == 0) checker = W_CreateBitmap(2, 2, StrIn("0102"));
  W_SetStipple(WtDraw_drawGC, checker);
  W_SetFillStyle(WtDraw_drawGC, 2);
  W_SetForeground(WtDraw_drawGC, WtColors_defaultBackground);
  W_FillRectangle(window, WtDraw_drawGC, x, y, w, h);
  W_SetFillStyle(WtDraw_drawGC, 0);
  W_SetForeground(WtDraw_drawGC, W_Color{0, 0, 0});
}

// --- Redraws ---------------------------------------------------------------------------

void WtDraw_RedrawWidget(Widget w) {
  if (!w->mapped) return;
  switch (w->redrawMode) {
    case 1: CWCore_RedrawDelayed(w); break;
    case 2: WtDraw_RedrawWidgetDirect(w); break;
    default: {
      if (w->window == 0 || RedrawPending(w)) return;
      const Regions_Rect a = Area(w);
      W_ClearArea(w->window, a.x, a.y, a.width, a.height, true);
      w->redrawPending = true;
      break;
    }
  }
}

void WtDraw_RedrawWidgetArea(Widget w, int x, int y, int width, int height) {
  if (!w->mapped || w->window == 0) return;
  const Regions_Rect whole = Area(w);
  const Regions_Rect part =
      Regions_IntersectRects(whole, {whole.x + x, whole.y + y, width, height});
  if (part.width <= 0 || part.height <= 0) return;
  W_ClearArea(w->window, part.x, part.y, part.width, part.height, false);
  Expose(w, part);
}

void WtDraw_RedrawWidgetDirect(Widget w) {
  if (!w->mapped || w->window == 0) return;
  const Regions_Rect a = Area(w);
  if (a.width <= 0 || a.height <= 0) return;
  W_ClearArea(w->window, a.x, a.y, a.width, a.height, false);
  Expose(w, a);
}

void WtDraw_RedrawBackground(Widget w) {
  if (!w->mapped || w->window == 0) return;
  const Regions_Rect a = Area(w);
  W_ClearArea(w->window, a.x, a.y, a.width, a.height, false);
}

void WtDraw_ScrollWindowArea(Widget w, int x, int y, int width, int height, int dx, int dy) {
  if (!w->mapped || w->window == 0) return;
  WtDraw_DelayedInit();
  const Regions_Rect a = Area(w);
  W_SetGraphicsExposures(WtDraw_drawGC, true);
  W_CopyArea(w->window, w->window, WtDraw_drawGC, a.x + x, a.y + y, width, height, a.x + x + dx, a.y + y + dy);
  W_SetGraphicsExposures(WtDraw_drawGC, false);
  // What the copy uncovered.
  if (dx > 0) WtDraw_RedrawWidgetArea(w, x, y, dx, height);
  if (dx < 0) WtDraw_RedrawWidgetArea(w, x + width + dx, y, -dx, height);
  if (dy > 0) WtDraw_RedrawWidgetArea(w, x, y, width, dy);
  if (dy < 0) WtDraw_RedrawWidgetArea(w, x, y + height + dy, width, -dy);
  // Wait for the server: a marked exposure sent to ourselves comes back
  // after the graphics exposures of the copy.
  W_Event mark;
  mark.kind = W_Expose;
  mark.window = w->window;
  mark.expose = W_ExposeBody{kScrollMark, 0, kScrollMark, kScrollMark, 0};
  W_SendEvent(w->window, false, W_ExposureMask, mark);
  for (;;) {
    W_Event event;
    WtEvents_NextEvent(event);
    if (event.kind == W_Expose && event.sendEvent && event.window == w->window && event.expose.x == kScrollMark &&
        event.expose.width == kScrollMark)
      return;
    WtEvents_DispatchEvent(event);
  }
}

// --- Pixmaps and icons -------------------------------------------------------------------

W_Pixmap WtDraw_GetVRampPixmap(const W_Color& color, int height, int gradient) {
  return Ramp("vramp", color, height, gradient);
}

W_Pixmap WtDraw_GetHRampPixmap(const W_Color& color, int width, int gradient) {
  return Ramp("hramp", color, width, gradient);
}

W_Pixmap WtDraw_LoadIcons(StrIn name, int& width, int& height) {
  width = height = 0;
  return Messages_Quietly([&] { return W_ReadPixmapFile(name, width, height); });
}

void WtDraw_ReleaseIcons(W_Pixmap& icon) {
  if (icon != 0) W_FreePixmap(icon);
  icon = 0;
}

void WtDraw_DrawIcon(W_Window window, W_Pixmap icon, int x, int y) {
  WtDraw_DelayedInit();
  if (icon != 0) W_CopyTPixmap(icon, window, WtDraw_drawGC, x, y);
}

void WtDraw_DrawBitmap(W_Window window, W_GC gc, W_Pixmap bitmap, int x, int y, int width, int height) {
  W_SetStipple(gc, bitmap);
  W_SetFillStyle(gc, 2);
  W_SetTSOrigin(gc, x, y);
  W_FillRectangle(window, gc, x, y, width, height);
  W_SetFillStyle(gc, 0);
  W_SetTSOrigin(gc, 0, 0);
}

void WtDraw_DrawPixmap(W_Window window, W_Pixmap pixmap, int x, int y) {
  WtDraw_DelayedInit();
  if (pixmap != 0) W_CopyPixmap(pixmap, window, WtDraw_drawGC, x, y);
}

// --- Text ------------------------------------------------------------------------------

int WtDraw_StringWidth(int size, bool mono, StrIn text) {
  int width, ascent, descent;
  W_TextExtents(size, mono, text, width, ascent, descent);
  return width;
}

int WtDraw_LineHeight(int size, bool mono, int* descent) {
  int width, ascent, down;
  W_TextExtents(size, mono, StrIn("Ag"), width, ascent, down);
  if (descent != nullptr) *descent = down;
  return ascent + down;
}

void WtDraw_DrawString(W_Window window, W_GC gc, int x, int y, StrIn text) { W_DrawString(window, gc, x, y, text); }

void WtDraw_DrawImageString(W_Window window, W_GC gc, int x, int y, StrIn text) {
  W_DrawImageString(window, gc, x, y, text);
}
