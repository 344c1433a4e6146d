// WXWHash: the client side's own table of windows and pixmaps.
//
// Height and parent are kept here so that turning a y upside down needs no
// round trip to the server. Only WX11 modules use it; they fill unknown
// values from the server on first need (WX11Win).
#pragma once

#include <vector>

#include "toolkit/W.h"

struct WXWHash_Record {
  std::vector<W_Window> children;
  W_Window id = 0;
  W_Window parent = 0;  // 0: none (a root window or a pixmap)
  bool parentKnown = false;
  W_Window root = 0;
  int screen = 0;
  int height = -1;  // -1: unknown
  int width = -1;
  unsigned long colormap = 0;
  bool valuesKnown = false;  // root, screen and colormap were asked for
  bool isPixmap = false;
  bool backgroundKnown = false;
  W_Color background;
};

// The record of `id`; nullptr when the table does not know it.
WXWHash_Record* WXWHash_Find(W_Window id);
// The record of `id`, made empty (every value unknown) when it is new.
WXWHash_Record& WXWHash_Get(W_Window id);
// Enters a window made by this program under `parent` with its size.
WXWHash_Record& WXWHash_EnterWindow(W_Window id, W_Window parent, int width, int height);
// Enters a pixmap with its size.
void WXWHash_EnterPixmap(W_Window id, int width, int height);
// Moves a window to another parent.
void WXWHash_SetParent(W_Window id, W_Window parent);
// Removes `id` and every window below it; their ids, `id` first, into `removed`.
void WXWHash_RemoveTree(W_Window id, std::vector<W_Window>& removed);
// Forgets everything (the display went away).
void WXWHash_Clear();
