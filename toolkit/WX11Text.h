// WX11Text: fonts with two back ends. With the client side font library
// (loaded at run time, TrueColor only, not with the flags "DISABLE_XFT" or
// "OLDX11FONTS") text is drawn anti-aliased; otherwise the server's core
// fonts are chosen by XLFD patterns from exact to loose, "fixed" last.
#pragma once

#include "toolkit/WX11Disp.h"

// Whether `WX11Text_LowResMonitor`: "TAVRIN_MONITOR" set to "HIGHRES" says
// no, "LOWRES" yes; otherwise below 87.5 pixels per inch.
bool WX11Text_LowResMonitor();
// The pixel size of a font slot (10, 12, 14, 18, 24, 14 times the factor).
int WX11Text_PixelSize(int size);
// Frees what was drawn through the font library for a drawable going away.
void WX11Text_WinDestroyed(W_Drawable drawable);
// Forgets every font (the display went away).
void WX11Text_DisplayClosed();
