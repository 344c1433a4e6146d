// WtCursor: cursors of the program's windows, and the wait cursor put on all
// of them while the program is busy after a key or button.
#pragma once

#include "toolkit/W.h"

// The font cursor `shape`, made once (at most 1000 are kept).
W_Cursor WtCursor_FontCursor(int shape);
// A window gets the standard cursor (the arrow) and is known from now on.
void WtCursor_EnterWindow(W_Window window);
// A window's own cursor (0: the standard one).
void WtCursor_SetCursor(W_Window window, W_Cursor cursor);
// The window is gone.
void WtCursor_ForgetWindow(W_Window window);
// Puts font cursor 150 (the watch) on every known window.
void WtCursor_WaitCursor();
// Takes the wait cursor off again.
void WtCursor_RestoreCursors();
