// WX11Grap: graphics contexts, drawing and the colours of every visual.
#pragma once

#include <X11/Xutil.h>

#include <vector>

#include "toolkit/WX11Disp.h"

// How colour components become pixels: each component * (max + 1) >> 8,
// times its mult, plus basePixel. Filled by WX11Win_GetStandardColormap.
extern XStandardColormap WX11Grap_standardColormap;
// TrueColor: pixels are computed and never allocated.
extern bool WX11Grap_staticColor;
// A gray visual: a colour counts as its gray (r + 2g + b) / 4.
extern bool WX11Grap_grayDisplay;
// A static visual without a server map: colours are allocated by the server.
extern bool WX11Grap_serverAllocates;

// --- Colours ---------------------------------------------------------------------

// The pixel that shows `color` best.
unsigned long WX11Grap_PixelOf(W_Color color);
// Indexed visuals: the pixel of an allocated colour within squared distance
// 22222 of (r, g, b), allocating one when there is none and a cell is free.
// False at once on TrueColor, and when no cell is left.
bool WX11Grap_MatchingColorLookup(unsigned r, unsigned g, unsigned b, unsigned long& pixel);
// The pixel of the colour map's own colour cube (or ramp) nearest below.
unsigned long WX11Grap_CalculatePixelValueUndithered(unsigned r, unsigned g, unsigned b);
// The pixel of a colour with ordered dithering at column x, row y.
unsigned long WX11Grap_DitheredPixel(unsigned r, unsigned g, unsigned b, int x, int y);

// --- The added record of a GC ---------------------------------------------------------

struct WX11Grap_GCAddInfo {
  GC gc = nullptr;
  W_Color foreground{0, 0, 0}, background{255, 255, 255};
  int fontSize = 2;
  bool fontMono = false;
  int fillStyle = 0;
  W_Pixmap tile = 0;
  int tsX = 0, tsY = 0;  // tile origin, y upward
  // Explicit clip: one rectangle (clipOn) or a region (regionOn), y upward.
  bool clipOn = false, regionOn = false;
  Regions_Region clip;
  unsigned long clipGeneration = 1;  // counts changes of the explicit clip
  // What the server has: the generations and drawable height it was made
  // for, and whether a clip is set at all.
  unsigned long sentGeneration = 0, sentImplicit = 0;
  int sentHeight = -1;
  bool serverClipped = false;
};

// The added record of `gc`; nullptr for a GC this layer did not make.
WX11Grap_GCAddInfo* WX11Grap_GetGCAddInfo(W_GC gc);
// Brings the server's clip of `gc` up to date for drawing on `drawable`:
// the explicit clip intersected with the exposure clip when `drawable` is the
// window being exposed. The X rectangles into `rects`; false means no clip.
// An empty clip answers true with no rectangle: nothing is to be drawn.
bool WX11Grap_CheckGCClipping(W_Drawable drawable, W_GC gc, std::vector<XRectangle>* rects);
// Forgets GCs, colours and pixels of the display that went away.
void WX11Grap_DisplayClosed();
// Forgets the allocated colours (part of WX11Grap_DisplayClosed).
void WX11Grap_ColorsForgotten();
