// GCs and drawing. A GC carries an added record: its colours (for the Xft
// text path), font slot, tile, and its clip in the toolkit's coordinates.
// The clip is sent to the server only just before drawing
// (WX11Grap_CheckGCClipping), converted for the height of the drawable that
// is drawn on and intersected with the clip of the exposure in progress.
#include "toolkit/WX11Grap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

#include "toolkit/WX11Win.h"

namespace {

std::unordered_map<W_GC, WX11Grap_GCAddInfo> addInfo(256);

// The clip of the exposure being handled.
W_Window implicitWindow = 0;
Regions_Rect implicitRect;
unsigned long implicitGeneration = 1;

GC XGC(W_GC gc) { return reinterpret_cast<GC>(gc); }

W_GC Register(GC gc) {
  const W_GC handle = reinterpret_cast<W_GC>(gc);
  WX11Grap_GCAddInfo& info = addInfo[handle];
  info = WX11Grap_GCAddInfo{};
  info.gc = gc;
  return handle;
}

XRectangle ToX(W_Drawable drawable, const Regions_Rect& r) {
  XRectangle x;
  x.x = static_cast<short>(r.x);
  x.y = static_cast<short>(WX11Win_TransformY(drawable, r.y, r.height));
  x.width = static_cast<unsigned short>(r.width);
  x.height = static_cast<unsigned short>(r.height);
  return x;
}

// Clip and tile origin up to date; false when nothing may be drawn.
bool Prepare(Display* d, W_Drawable drawable, W_GC gc) {
  std::vector<XRectangle> rects;
  if (WX11Grap_CheckGCClipping(drawable, gc, &rects) && rects.empty()) return false;
  WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc);
  if (info != nullptr && info->fillStyle != FillSolid && info->tile != 0)
    XSetTSOrigin(d, XGC(gc), info->tsX,
                 WX11Win_Height(drawable) - info->tsY - WX11Win_Height(info->tile));
  return true;
}

unsigned U(int value) { return static_cast<unsigned>(std::max(value, 0)); }

std::vector<XPoint> PointsToX(W_Drawable d, const W_Point* points, int count) {
  std::vector<XPoint> x(static_cast<std::size_t>(std::max(count, 0)));
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i].x = static_cast<short>(points[i].x);
    x[i].y = static_cast<short>(WX11Win_TransformY(d, points[i].y, 0));
  }
  return x;
}

}  // namespace

WX11Grap_GCAddInfo* WX11Grap_GetGCAddInfo(W_GC gc) {
  const auto found = addInfo.find(gc);
  return found == addInfo.end() ? nullptr : &found->second;
}

bool WX11Grap_CheckGCClipping(W_Drawable drawable, W_GC gc, std::vector<XRectangle>* rects) {
  Display* d = WX11Disp_display;
  WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc);
  if (d == nullptr || info == nullptr) return false;
  const bool implicit = implicitWindow != 0 && implicitWindow == drawable;
  const bool clipped = implicit || info->clipOn || info->regionOn;
  if (!clipped) {
    if (info->serverClipped) XSetClipMask(d, info->gc, None);
    info->serverClipped = false;
    return false;
  }
  Regions_Region region;
  if (info->clipOn || info->regionOn) region = info->clip;
  else region.rects.push_back(implicitRect);
  if (implicit && (info->clipOn || info->regionOn)) Regions_IntersectWithRect(implicitRect, region);
  std::vector<XRectangle> x;
  for (const Regions_Rect& r : region.rects) x.push_back(ToX(drawable, r));
  const int height = WX11Win_Height(drawable);
  const unsigned long implicitKey = implicit ? implicitGeneration : 0;
  if (!info->serverClipped || info->sentGeneration != info->clipGeneration ||
      info->sentImplicit != implicitKey || info->sentHeight != height) {
    XSetClipRectangles(d, info->gc, 0, 0, x.data(), static_cast<int>(x.size()), Unsorted);
    info->serverClipped = true;
    info->sentGeneration = info->clipGeneration;
    info->sentImplicit = implicitKey;
    info->sentHeight = height;
  }
  if (rects != nullptr) *rects = std::move(x);
  return true;
}

void WX11Grap_DisplayClosed() {
  // Xlib keeps the GCs' own memory until they are freed, even past closing.
  if (WX11Disp_display != nullptr)
    for (const auto& [handle, info] : addInfo) XFreeGC(WX11Disp_display, info.gc);
  addInfo.clear();
  implicitWindow = 0;
  WX11Grap_ColorsForgotten();
}

// --- GCs ---------------------------------------------------------------------------

W_GC WX11Grap_CreateGC() {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return nullptr;
  XGCValues values{};
  values.graphics_exposures = False;
  const W_GC gc = Register(XCreateGC(d, WX11Win_HiddenWindow(), GCGraphicsExposures, &values));
  WX11Grap_SetForeground(gc, W_Color{0, 0, 0});
  WX11Grap_SetBackground(gc, W_Color{255, 255, 255});
  return gc;
}

W_GC WX11Grap_CreateGraphicsContext(W_Drawable drawable) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return nullptr;
  XGCValues values{};
  values.graphics_exposures = False;
  return Register(XCreateGC(d, drawable, GCGraphicsExposures, &values));
}

void WX11Grap_DestroyGC(W_GC gc) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || gc == nullptr) return;
  addInfo.erase(gc);
  XFreeGC(d, XGC(gc));
}

void WX11Grap_SetForeground(W_GC gc, W_Color color) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || gc == nullptr) return;
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) info->foreground = color;
  XSetForeground(d, XGC(gc), WX11Grap_PixelOf(color));
}

void WX11Grap_SetBackground(W_GC gc, W_Color color) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || gc == nullptr) return;
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) info->background = color;
  XSetBackground(d, XGC(gc), WX11Grap_PixelOf(color));
}

void WX11Grap_SetExorMode(W_GC gc, bool on) {
  if (Display* d = WX11Disp_Use()) XSetFunction(d, XGC(gc), on ? GXxor : GXcopy);
}

void WX11Grap_SetSubwindowMode(W_GC gc, bool includeInferiors) {
  if (Display* d = WX11Disp_Use())
    XSetSubwindowMode(d, XGC(gc), includeInferiors ? IncludeInferiors : ClipByChildren);
}

void WX11Grap_SetGraphicsExposures(W_GC gc, bool on) {
  if (Display* d = WX11Disp_Use()) XSetGraphicsExposures(d, XGC(gc), on ? True : False);
}

void WX11Grap_SetRegion(W_GC gc, const Regions_Region& region) {
  WX11Disp_Use();
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) {
    info->clip = region;
    info->regionOn = true;
    info->clipOn = false;
    ++info->clipGeneration;
  }
}

void WX11Grap_SetClipRect(W_GC gc, int x, int y, int width, int height) {
  WX11Disp_Use();
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) {
    info->clip.rects.assign(1, Regions_Rect{x, y, std::max(width, 0), std::max(height, 0)});
    info->clipOn = true;
    info->regionOn = false;
    ++info->clipGeneration;
  }
}

void WX11Grap_UnsetClipping(W_GC gc) {
  WX11Disp_Use();
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) {
    info->clip.rects.clear();
    info->clipOn = info->regionOn = false;
    ++info->clipGeneration;
  }
}

void WX11Grap_SetImplicitClipping(W_Window window, int x, int y, int width, int height) {
  implicitWindow = window;
  implicitRect = Regions_Rect{x, y, std::max(width, 0), std::max(height, 0)};
  ++implicitGeneration;
}

void WX11Grap_UnsetImplicitClipping() {
  implicitWindow = 0;
  ++implicitGeneration;
}

void WX11Grap_SetFillStyle(W_GC gc, int style) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) info->fillStyle = style;
  XSetFillStyle(d, XGC(gc), style);
}

void WX11Grap_SetTile(W_GC gc, W_Pixmap tile) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || tile == 0) return;
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) info->tile = tile;
  XSetTile(d, XGC(gc), tile);
}

void WX11Grap_SetStipple(W_GC gc, W_Pixmap stipple) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || stipple == 0) return;
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) info->tile = stipple;
  XSetStipple(d, XGC(gc), stipple);
}

void WX11Grap_SetTSOrigin(W_GC gc, int x, int y) {
  WX11Disp_Use();
  if (WX11Grap_GCAddInfo* info = WX11Grap_GetGCAddInfo(gc)) {
    info->tsX = x;
    info->tsY = y;
  }
}

void WX11Grap_SetLineAttributes(W_GC gc, int width, int style, int cap, int join) {
  if (Display* d = WX11Disp_Use()) XSetLineAttributes(d, XGC(gc), U(width), style, cap, join);
}

void WX11Grap_SetDashes(W_GC gc, int offset, const std::uint8_t* dashes, int count) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || count <= 0) return;
  std::vector<char> list(dashes, dashes + count);
  XSetDashes(d, XGC(gc), offset, list.data(), count);
}

// --- Drawing ------------------------------------------------------------------------

void WX11Grap_DrawPoint(W_Drawable dr, W_GC gc, int x, int y) {
  Display* d = WX11Disp_Use();
  if (d != nullptr && Prepare(d, dr, gc)) XDrawPoint(d, dr, XGC(gc), x, WX11Win_TransformY(dr, y, 0));
}

void WX11Grap_DrawPoints(W_Drawable dr, W_GC gc, const W_Point* points, int count) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || count <= 0 || !Prepare(d, dr, gc)) return;
  std::vector<XPoint> x = PointsToX(dr, points, count);
  XDrawPoints(d, dr, XGC(gc), x.data(), count, CoordModeOrigin);
}

void WX11Grap_DrawLine(W_Drawable dr, W_GC gc, int x1, int y1, int x2, int y2) {
  Display* d = WX11Disp_Use();
  if (d != nullptr && Prepare(d, dr, gc))
    XDrawLine(d, dr, XGC(gc), x1, WX11Win_TransformY(dr, y1, 0), x2, WX11Win_TransformY(dr, y2, 0));
}

void WX11Grap_DrawLines(W_Drawable dr, W_GC gc, const W_Point* points, int count) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || count <= 0 || !Prepare(d, dr, gc)) return;
  std::vector<XPoint> x = PointsToX(dr, points, count);
  XDrawLines(d, dr, XGC(gc), x.data(), count, CoordModeOrigin);
}

void WX11Grap_DrawSegments(W_Drawable dr, W_GC gc, const W_Segment* segments, int count) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || count <= 0 || !Prepare(d, dr, gc)) return;
  std::vector<XSegment> x(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < x.size(); ++i) {
    x[i].x1 = static_cast<short>(segments[i].x1);
    x[i].y1 = static_cast<short>(WX11Win_TransformY(dr, segments[i].y1, 0));
    x[i].x2 = static_cast<short>(segments[i].x2);
    x[i].y2 = static_cast<short>(WX11Win_TransformY(dr, segments[i].y2, 0));
  }
  XDrawSegments(d, dr, XGC(gc), x.data(), count);
}

// The outline covers (x, y) to (x + width, y + height), both corners included.
void WX11Grap_DrawRectangle(W_Drawable dr, W_GC gc, int x, int y, int width, int height) {
  Display* d = WX11Disp_Use();
  if (d != nullptr && width >= 0 && height >= 0 && Prepare(d, dr, gc))
    XDrawRectangle(d, dr, XGC(gc), x, WX11Win_TransformY(dr, y, height + 1), U(width), U(height));
}

void WX11Grap_DrawArc(W_Drawable dr, W_GC gc, int x, int y, int width, int height, int angle1,
                      int angle2) {
  Display* d = WX11Disp_Use();
  if (d != nullptr && Prepare(d, dr, gc))
    XDrawArc(d, dr, XGC(gc), x, WX11Win_TransformY(dr, y, height + 1), U(width), U(height), angle1,
             angle2);
}

void WX11Grap_FillRectangle(W_Drawable dr, W_GC gc, int x, int y, int width, int height) {
  Display* d = WX11Disp_Use();
  if (d != nullptr && width > 0 && height > 0 && Prepare(d, dr, gc))
    XFillRectangle(d, dr, XGC(gc), x, WX11Win_TransformY(dr, y, height), U(width), U(height));
}

void WX11Grap_FillPolygon(W_Drawable dr, W_GC gc, const W_Point* points, int count) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || count < 3 || !Prepare(d, dr, gc)) return;
  std::vector<XPoint> x = PointsToX(dr, points, count);
  XFillPolygon(d, dr, XGC(gc), x.data(), count, Complex, CoordModeOrigin);
}

void WX11Grap_FillArc(W_Drawable dr, W_GC gc, int x, int y, int width, int height, int angle1,
                      int angle2) {
  Display* d = WX11Disp_Use();
  if (d != nullptr && Prepare(d, dr, gc))
    XFillArc(d, dr, XGC(gc), x, WX11Win_TransformY(dr, y, height), U(width), U(height), angle1, angle2);
}

void WX11Grap_PutScan3(W_Drawable dr, W_GC gc, int x, int y, int length, const std::uint8_t* rgb,
                       bool dither) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || length <= 0 || !Prepare(d, dr, gc)) return;
  XImage* image = XCreateImage(d, WX11Disp_bestVisual, static_cast<unsigned>(WX11Disp_deepestDepth),
                               ZPixmap, 0, nullptr, static_cast<unsigned>(length), 1, 32, 0);
  if (image == nullptr) return;
  image->data = static_cast<char*>(std::calloc(static_cast<std::size_t>(image->bytes_per_line), 1));
  const bool useDither = dither && WX11Disp_deepestDepth < 15;
  const int row = WX11Win_TransformY(dr, y, 0);
  for (int i = 0; i < length; ++i) {
    const unsigned r = rgb[3 * i], g = rgb[3 * i + 1], b = rgb[3 * i + 2];
    XPutPixel(image, i, 0,
              useDither ? WX11Grap_DitheredPixel(r, g, b, x + i, row)
                        : WX11Grap_PixelOf(W_Color{r, g, b}));
  }
  XPutImage(d, dr, XGC(gc), image, 0, 0, x, row, static_cast<unsigned>(length), 1);
  XDestroyImage(image);
}

void WX11Grap_PutScan(W_Drawable dr, W_GC gc, int x, int y, int length, int format,
                      const std::uint8_t* data) {
  if (format == 2) {
    WX11Grap_PutScan3(dr, gc, x, y, length, data, false);
    return;
  }
  // Format 1: one gray byte per pixel.
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(std::max(length, 0)) * 3);
  for (int i = 0; i < length; ++i) rgb[3 * i] = rgb[3 * i + 1] = rgb[3 * i + 2] = data[i];
  WX11Grap_PutScan3(dr, gc, x, y, length, rgb.data(), false);
}

// Runs: length (2 bytes), x (2), y (2), then 3 bytes per pixel; length 0 ends.
void WX11Grap_PutScans(W_Drawable dr, W_GC gc, const std::uint8_t* runs) {
  for (;;) {
    const int length = (runs[0] << 8) | runs[1];
    if (length == 0) return;
    const int x = (runs[2] << 8) | runs[3];
    const int y = (runs[4] << 8) | runs[5];
    WX11Grap_PutScan3(dr, gc, x, y, length, runs + 6, false);
    runs += 6 + 3 * length;
  }
}

void WX11Grap_CopyArea(W_Drawable from, W_Drawable to, W_GC gc, int x, int y, int width, int height,
                       int toX, int toY) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || width <= 0 || height <= 0 || !Prepare(d, to, gc)) return;
  XCopyArea(d, from, to, XGC(gc), x, WX11Win_TransformY(from, y, height), U(width), U(height), toX,
            WX11Win_TransformY(to, toY, height));
}

void WX11Grap_ClearWindow(W_Window window) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  if (implicitWindow == window) {
    const XRectangle r = ToX(window, implicitRect);
    if (r.width > 0 && r.height > 0) XClearArea(d, window, r.x, r.y, r.width, r.height, False);
  } else {
    XClearWindow(d, window);
  }
}

void WX11Grap_ClearArea(W_Window window, int x, int y, int width, int height, bool exposures) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return;
  Regions_Rect area{x, y, width, height};
  if (implicitWindow == window) area = Regions_IntersectRects(area, implicitRect);
  if (area.width <= 0 || area.height <= 0) return;
  const XRectangle r = ToX(window, area);
  XClearArea(d, window, r.x, r.y, r.width, r.height, exposures ? True : False);
}
