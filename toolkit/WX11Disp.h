// WX11Disp: the connection to the X server, shared by all WX11 modules.
//
// Only WX11 modules include this header: it is where Xlib comes in.
#pragma once

#include <X11/Xlib.h>

#include "toolkit/WX11Procs.h"

// The open display; nullptr while there is none.
extern Display* WX11Disp_display;
// The visual windows are made with (the default one) and its depth.
extern Visual* WX11Disp_bestVisual;
extern int WX11Disp_deepestDepth;
// The screens for text and for graphics; both the default screen.
extern int WX11Disp_textScreen;
extern int WX11Disp_graphicsScreen;
// "X11DEBUG" was set at opening: server grabs are left out.
extern bool WX11Disp_x11Debug;

// Counts the calls that are waiting for the server (reading events). A
// close that comes meanwhile, from a signal handler, must not talk to the
// server: it forgets the display instead.
extern int WX11Disp_waiting;
struct WX11Disp_Waiting {
  WX11Disp_Waiting() { ++WX11Disp_waiting; }
  ~WX11Disp_Waiting() { --WX11Disp_waiting; }
  WX11Disp_Waiting(const WX11Disp_Waiting&) = delete;
  WX11Disp_Waiting& operator=(const WX11Disp_Waiting&) = delete;
};

// The prologue of every W procedure: clears W_wlibError and opens the display
// when it is not open. nullptr when no display can be had.
Display* WX11Disp_Use();
// Forgets the display after a fatal connection error, without talking to
// the server; every table of the layer goes with it.
void WX11Disp_CloseDisplayAtIOError();
