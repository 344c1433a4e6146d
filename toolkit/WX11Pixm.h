// WX11Pixm: pixmaps by name, shared and counted.
//
// The name of W_ReadPixmapFile is a small language:
//   "" or "!"            no pixmap (0)
//   NAME*                the image is dithered when it is transferred
//   NAME!n               only channel n (one digit) is taken: a gray image
//   vramp-R,G,B,H,A.~    a computed vertical ramp, 32 wide and H high, from
//                        the colour darker by A/2 at the bottom to lighter
//                        by A/2 at the top (nothing on displays under 15 bits)
//   hramp-R,G,B,W,A.~    the same from left to right, W wide and 32 high
//   NAME@  NAME@R,G,B    the disabled look: grayed towards (192,192,192) or
//                        the colour given
//   otherwise NAME is an image file (binary PPM, or PAM whose alpha becomes
//   the mask of the pixmap), looked for below the list
//   in "ICONS" (default MARLLIB/icons) when it is relative; at most 1000 by
//   1000 pixels. Failures are messages of "WX11Pixmap": 1 not three
//   channels, 2 cannot be read, 3 too large.
#pragma once

#include "toolkit/WX11Disp.h"

// Whether the display has too few colours for computed pixmaps (depth < 15).
bool WX11Pixm_HaveFewColors();
// Forgets the list (the display went away).
void WX11Pixm_DisplayClosed();
