#include "tests/toolkit/XUser.h"

#include <chrono>

#include "tests/support/TestFiles.h"
#include "toolkit/CWCore.h"
#include "toolkit/I.h"
#include "toolkit/IReplay.h"
#include "toolkit/WtEvents.h"
// Xlib last: its macros (Expose, None) would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

XUser::XUser() : display_(XOpenDisplay(nullptr)) {}

XUser::~XUser() {
  if (display_ != nullptr) XCloseDisplay(display_);
}

namespace {

// The server's row of height y in a window.
int Row(Display* d, Window window, int y) {
  XWindowAttributes a;
  XGetWindowAttributes(d, window, &a);
  return a.height - 1 - y;
}

void ProgramDone() { W_Sync(false); }

}  // namespace

void XUser::MoveTo(Widget w, int x, int y) {
  ProgramDone();
  int rx, ry;
  Window child;
  XTranslateCoordinates(display_, w->window, DefaultRootWindow(display_), x, Row(display_, w->window, y), &rx, &ry,
                        &child);
  XTestFakeMotionEvent(display_, -1, rx, ry, 0);
  XFlush(display_);
}

void XUser::PointAt(Widget w) {
  // A gadget lies at its place in the window it draws in.
  MoveTo(w, (w->gadget ? w->x : 0) + w->width / 2, (w->gadget ? w->y : 0) + w->height / 2);
}

void XUser::Button(int button, bool down) {
  XTestFakeButtonEvent(display_, static_cast<unsigned>(button), down ? True : False, 0);
  XFlush(display_);
}

void XUser::ClickAt(Widget w, int x, int y, unsigned long modifier, int button) {
  MoveTo(w, x, y);
  const KeyCode mod = modifier != 0 ? XKeysymToKeycode(display_, modifier) : 0;
  if (mod != 0) XTestFakeKeyEvent(display_, mod, True, 0);
  Button(button, true);
  Button(button, false);
  if (mod != 0) XTestFakeKeyEvent(display_, mod, False, 0);
  XFlush(display_);
}

void XUser::Click(Widget w, int button) {
  PointAt(w);
  Button(button, true);
  Button(button, false);
}

unsigned long XUser::Pixel(Widget w, int x, int y) {
  ProgramDone();
  XImage* image = XGetImage(display_, w->window, x, Row(display_, w->window, y), 1, 1, AllPlanes, ZPixmap);
  const unsigned long p = XGetPixel(image, 0, 0) & 0xFFFFFF;
  XDestroyImage(image);
  return p;
}

void XUser::Press(unsigned long keysym, unsigned long modifier) {
  ProgramDone();
  const KeyCode mod = modifier != 0 ? XKeysymToKeycode(display_, modifier) : 0;
  const KeyCode key = XKeysymToKeycode(display_, keysym);
  if (mod != 0) XTestFakeKeyEvent(display_, mod, True, 0);
  XTestFakeKeyEvent(display_, key, True, 0);
  XTestFakeKeyEvent(display_, key, False, 0);
  if (mod != 0) XTestFakeKeyEvent(display_, mod, False, 0);
  XFlush(display_);
}

void XUser::Type(const std::string& text) {
  for (const char c : text) {
    // Shift where the key's plain symbol is another one ('"' on the key of '\'').
    const KeySym symbol = static_cast<unsigned char>(c);
    const KeyCode key = XKeysymToKeycode(display_, symbol);
    Press(symbol, XkbKeycodeToKeysym(display_, key, 0, 0) != symbol ? XK_Shift_L : 0);
  }
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

bool ReplayLines(const std::string& directory, const std::string& lines, int contextWaitMs) {
  PutFile(directory + "/replay.log", lines);
  return IReplay_Start(directory + "/replay.log", contextWaitMs) && RunLoop([] { return !IReplay_Running(); });
}

bool RunLoop(const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    W_Flush();
    if (WtEvents_Pending() || IReplay_Running() || I_TimeTillNextTask() == 0) I_SingleEventLoopIteration();
    else W_WaitForEvents(20);
  }
  return true;
}
