// Cursors on the X side.
#include <X11/Xlib.h>

#include "toolkit/WX11Disp.h"

namespace {

XColor ToXColor(W_Color color) {
  XColor c{};
  c.red = static_cast<unsigned short>(color.red * 257);
  c.green = static_cast<unsigned short>(color.green * 257);
  c.blue = static_cast<unsigned short>(color.blue * 257);
  c.flags = DoRed | DoGreen | DoBlue;
  return c;
}

}  // namespace

W_Cursor WX11Curs_CreateFontCursor(int shape) {
  Display* d = WX11Disp_Use();
  return d != nullptr ? XCreateFontCursor(d, static_cast<unsigned>(shape)) : 0;
}

W_Cursor WX11Curs_CreatePixmapCursor(W_Pixmap source, W_Pixmap mask, W_Color foreground,
                                     W_Color background, int x, int y) {
  Display* d = WX11Disp_Use();
  if (d == nullptr) return 0;
  XColor fore = ToXColor(foreground), back = ToXColor(background);
  return XCreatePixmapCursor(d, source, mask, &fore, &back, static_cast<unsigned>(x), static_cast<unsigned>(y));
}

void WX11Curs_DefineCursor(W_Window window, W_Cursor cursor) {
  if (Display* d = WX11Disp_Use()) XDefineCursor(d, window, cursor);
}

void WX11Curs_UndefineCursor(W_Window window) {
  if (Display* d = WX11Disp_Use()) XUndefineCursor(d, window);
}

void WX11Curs_FreeCursor(W_Cursor cursor) {
  if (Display* d = WX11Disp_Use()) XFreeCursor(d, cursor);
}
