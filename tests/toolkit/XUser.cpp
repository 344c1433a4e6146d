#include "tests/toolkit/XUser.h"

#include <cctype>
#include <chrono>

#include "toolkit/CWCore.h"
#include "toolkit/WtEvents.h"
// Xlib last: its macros (Expose, None) would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

XUser::XUser() : display_(XOpenDisplay(nullptr)) {}

XUser::~XUser() {
  if (display_ != nullptr) XCloseDisplay(display_);
}

void XUser::PointAt(Widget w) {
  int x, y;
  Window child;
  XTranslateCoordinates(display_, w->window, DefaultRootWindow(display_), w->width / 2, w->height / 2, &x, &y,
                        &child);
  XTestFakeMotionEvent(display_, -1, x, y, 0);
}

void XUser::Click(Widget w, int button) {
  PointAt(w);
  XTestFakeButtonEvent(display_, static_cast<unsigned>(button), True, 0);
  XTestFakeButtonEvent(display_, static_cast<unsigned>(button), False, 0);
  XFlush(display_);
}

void XUser::Press(unsigned long keysym, unsigned long modifier) {
  const KeyCode mod = modifier != 0 ? XKeysymToKeycode(display_, modifier) : 0;
  const KeyCode key = XKeysymToKeycode(display_, keysym);
  if (mod != 0) XTestFakeKeyEvent(display_, mod, True, 0);
  XTestFakeKeyEvent(display_, key, True, 0);
  XTestFakeKeyEvent(display_, key, False, 0);
  if (mod != 0) XTestFakeKeyEvent(display_, mod, False, 0);
  XFlush(display_);
}

void XUser::Type(const std::string& text) {
  for (const char c : text) Press(static_cast<KeySym>(c), std::isupper(c) ? XK_Shift_L : 0);
}

bool Pump(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  for (;;) {
    WtEvents_ExecuteDeferredActions();
    while (WtEvents_Pending()) {
      W_Event e;
      WtEvents_NextEvent(e);
      WtEvents_DispatchEvent(e);
      WtEvents_ExecuteDeferredActions();
    }
    if (done()) return true;
    if (std::chrono::steady_clock::now() > deadline) return false;
    W_Flush();
    W_WaitForEvents(50);
  }
}
