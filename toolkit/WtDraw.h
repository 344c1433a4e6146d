// WtDraw: drawing for widgets: shared GCs, 3D frames, redraws, ramps,
// strings and icons.
#pragma once

#include "toolkit/CWCore.h"

// The GCs every widget may use for a moment; set them up before use.
extern W_GC WtDraw_drawGC;
extern W_GC WtDraw_allGC;

// Makes the shared GCs and the eight hues (light and mid gray, red, yellow,
// green, cyan, blue) in two levels; runs once, on first need.
void WtDraw_DelayedInit();

// --- GCs -------------------------------------------------------------------------------

// A GC of the caller's until WtDraw_ReleaseGC.
W_GC WtDraw_GetGC();
void WtDraw_ReleaseGC(W_GC& gc);
// The shared GC of hue 0 to 6, light or dark.
W_GC WtDraw_GetHueGC(int hue, bool dark);
void WtDraw_SetGCColor(W_GC gc, const W_Color& color);
// The colour of insensitive text.
void WtDraw_SetGCInsensitive(W_GC gc);

// --- Frames ----------------------------------------------------------------------------

// A 3D frame of `width` rounds around the rectangle: the dark colour is the
// colour darker by 96, the light one lighter by 24 when raised, darker by 48
// when sunk. Corners are left out.
void WtDraw_Draw3DFrame2(W_Window window, bool raised, const W_Color& color, int width, int x, int y, int w,
                         int h);
// The same in the default background's colours.
void WtDraw_Draw3DFrame(W_Window window, bool raised, int width, int x, int y, int w, int h);
// The widget's frame (frameWidth wide; raised when elevated or without a
// parent) with its corners in the parent's background.
void WtDraw_WidFrame(Widget w);
void WtDraw_UndrawWidFrame(Widget w);
// Dims an area (insensitive look).
void WtDraw_GreyArea(W_Window window, int x, int y, int w, int h);

// --- Redraws ---------------------------------------------------------------------------

// Redraws by the widget's redrawMode: 0 by an exposure from the server,
// 1 deferred between events, 2 at once. Nothing unless mapped.
void WtDraw_RedrawWidget(Widget w);
// Redraws a part of the widget at once, clipped to it; nothing when the part
// lies outside.
void WtDraw_RedrawWidgetArea(Widget w, int x, int y, int width, int height);
// Clears the widget's area to its background and redraws it at once.
void WtDraw_RedrawWidgetDirect(Widget w);
void WtDraw_RedrawBackground(Widget w);
// Copies an area of a window by (dx, dy), redraws what was uncovered and
// waits until the server has done it.
void WtDraw_ScrollWindowArea(Widget w, int x, int y, int width, int height, int dx, int dy);

// --- Pixmaps and icons -------------------------------------------------------------------

W_Pixmap WtDraw_GetVRampPixmap(const W_Color& color, int height, int gradient);
W_Pixmap WtDraw_GetHRampPixmap(const W_Color& color, int width, int gradient);
// Icons by name, shared; 0 when the icon can't be read.
W_Pixmap WtDraw_LoadIcons(StrIn name, int& width, int& height);
void WtDraw_ReleaseIcons(W_Pixmap& icon);
// Draws an icon with its transparency at (x, y) of the window.
void WtDraw_DrawIcon(W_Window window, W_Pixmap icon, int x, int y);
// A 1-bit pixmap in the GC's foreground.
void WtDraw_DrawBitmap(W_Window window, W_GC gc, W_Pixmap bitmap, int x, int y, int width, int height);
void WtDraw_DrawPixmap(W_Window window, W_Pixmap pixmap, int x, int y);

// --- Text ------------------------------------------------------------------------------

int WtDraw_StringWidth(int size, bool mono, StrIn text);
// The height of a line of text in the font, and its descent.
int WtDraw_LineHeight(int size, bool mono, int* descent = nullptr);
void WtDraw_DrawString(W_Window window, W_GC gc, int x, int y, StrIn text);
void WtDraw_DrawImageString(W_Window window, W_GC gc, int x, int y, StrIn text);
