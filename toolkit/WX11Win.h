// WX11Win: windows on the X side, the conversion of y, and the colour map
// windows are made with.
#pragma once

#include "toolkit/WX11Disp.h"

// The one conversion between the toolkit's y (upward from the lower left
// corner) and X's (downward from the top): height of `window` - y - h, where
// h is `height`, except that 0 counts as 1 (points) and -1 as 0 (baselines).
// The same formula converts back.
int WX11Win_TransformY(W_Window window, int y, int height);
// The height and width of a window or pixmap, from the table; an unknown one
// is asked of the server once. 0 when it can't be had.
int WX11Win_Height(W_Window window);
int WX11Win_Width(W_Window window);
// The parent of a window (0 for a root window), from the table or the server.
W_Window WX11Win_Parent(W_Window window);
// The 1 by 1 window at (50, 50) of the root that GCs are made against;
// made on first need.
Window WX11Win_HiddenWindow();
// The colour map every window of the program uses.
Colormap WX11Win_Colormap();
// Sets up WX11Grap_standardColormap for the default visual (once per display).
void WX11Win_GetStandardColormap();
// Gives the root window back the colour map it had before the program's own.
void WX11Win_SetOldColormapOnRoot();
// Forgets contexts and the state of the display that went away.
void WX11Win_DisplayClosed();
