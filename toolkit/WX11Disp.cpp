#include "toolkit/WX11Disp.h"

#include <cstdio>
#include <cstdlib>

#include "base/Messages.h"
#include "base/Processe.h"
#include "base/Strings.h"
#include "toolkit/WX11Err.h"
#include "toolkit/WX11Grap.h"
#include "toolkit/WX11Pixm.h"
#include "toolkit/WX11Prop.h"
#include "toolkit/WX11Text.h"
#include "toolkit/WX11Win.h"
#include "toolkit/WXWHash.h"

Display* WX11Disp_display = nullptr;
Visual* WX11Disp_bestVisual = nullptr;
int WX11Disp_deepestDepth = 0;
int WX11Disp_textScreen = 0;
int WX11Disp_graphicsScreen = 0;
bool WX11Disp_x11Debug = false;
int WX11Disp_waiting = 0;

namespace {

char section[kSectionCap] = "WX11Disp";

// Every table that holds server resources lets go of them.
void ForgetTables() {
  WX11Text_DisplayClosed();
  WX11Pixm_DisplayClosed();
  WX11Grap_DisplayClosed();
  WX11Prop_DisplayClosed();
  WX11Win_DisplayClosed();
  WXWHash_Clear();
}

}  // namespace

Display* WX11Disp_Use() {
  W_wlibError = 0;
  if (WX11Disp_display == nullptr) WX11Disp_OpenDisplay();
  return WX11Disp_display;
}

bool WX11Disp_OpenDisplay() {
  W_wlibError = 0;
  if (WX11Disp_display != nullptr) return true;
  if (Processe_GetApplicationType() == kProcesseDemonType) {
    std::fputs("Daemons must not call OpenDisplay()\n", stderr);
    Processe_SetExitStatus(2);
    Processe_Exit();
    return false;
  }
  const char* name = std::getenv("DISPLAY");
  if (name == nullptr || *name == '\0') {
    W_wlibError = 1;
    Messages_Error(section, 1);
    return false;
  }
  Display* display = XOpenDisplay(name);
  if (display == nullptr) {
    W_wlibError = 1;
    Messages_SupplyAdditionalInfo("NO X11 DISPLAY");
    Messages_Error(section, 2);
    return false;
  }
  WX11Disp_display = display;
  WX11Err_InstallHandlers();
  WX11Disp_textScreen = WX11Disp_graphicsScreen = DefaultScreen(display);
  if (std::getenv("Synchronize") != nullptr) XSynchronize(display, True);
  WX11Disp_x11Debug = std::getenv("X11DEBUG") != nullptr;
  WX11Disp_bestVisual = DefaultVisual(display, WX11Disp_graphicsScreen);
  WX11Disp_deepestDepth = DefaultDepth(display, WX11Disp_graphicsScreen);
  // The hidden window of the GCs; making it sets up the colour map.
  WX11Win_HiddenWindow();
  return true;
}

void WX11Disp_CloseDisplay() {
  if (WX11Disp_display == nullptr) return;
  if (WX11Disp_waiting > 0) {
    // Called from a signal handler while Xlib waits: it can't be re-entered.
    WX11Disp_CloseDisplayAtIOError();
    return;
  }
  WX11Win_SetOldColormapOnRoot();
  ForgetTables();
  XCloseDisplay(WX11Disp_display);
  WX11Disp_display = nullptr;
}

void WX11Disp_CloseDisplayAtIOError() {
  // Without a display the tables are forgotten without a word to the server.
  WX11Disp_display = nullptr;
  ForgetTables();
}

bool WX11Disp_DisplayOpen() { return WX11Disp_display != nullptr; }

bool WX11Disp_DisplayAvailable(StrOut vendor, int& release) {
  W_wlibError = 0;
  vendor.Clear();
  release = 0;
  Display* probe = XOpenDisplay(nullptr);
  if (probe == nullptr) return false;
  Strings_Assign(StrIn::C(ServerVendor(probe)), vendor);
  release = VendorRelease(probe);
  XCloseDisplay(probe);
  return true;
}

int WX11Disp_ScreenCount() {
  Display* d = WX11Disp_Use();
  return d != nullptr ? ScreenCount(d) : 0;
}

int WX11Disp_DefaultScreen() {
  Display* d = WX11Disp_Use();
  return d != nullptr ? DefaultScreen(d) : 0;
}

int WX11Disp_DefaultDepth() { return WX11Disp_Use() != nullptr ? WX11Disp_deepestDepth : 0; }

int WX11Disp_DisplayWidth(int screen) {
  Display* d = WX11Disp_Use();
  return d != nullptr ? DisplayWidth(d, screen) : 0;
}

int WX11Disp_DisplayHeight(int screen) {
  Display* d = WX11Disp_Use();
  return d != nullptr ? DisplayHeight(d, screen) : 0;
}

int WX11Disp_DisplayWidthMM(int screen) {
  Display* d = WX11Disp_Use();
  return d != nullptr ? DisplayWidthMM(d, screen) : 0;
}

int WX11Disp_DisplayHeightMM(int screen) {
  Display* d = WX11Disp_Use();
  return d != nullptr ? DisplayHeightMM(d, screen) : 0;
}

long WX11Disp_MaxRequestSize() {
  Display* d = WX11Disp_Use();
  return d != nullptr ? XMaxRequestSize(d) * 4 - 12 : 0;
}

int WX11Disp_ConnectionNumber() {
  Display* d = WX11Disp_Use();
  return d != nullptr ? ConnectionNumber(d) : -1;
}

void WX11Disp_Flush() {
  if (Display* d = WX11Disp_Use()) XFlush(d);
}

void WX11Disp_Sync(bool discard) {
  if (Display* d = WX11Disp_Use()) XSync(d, discard ? True : False);
}

void WX11Disp_Bell(int percent) {
  if (Display* d = WX11Disp_Use()) XBell(d, percent);
}

void WX11Disp_GrabServer() {
  Display* d = WX11Disp_Use();
  if (d != nullptr && !WX11Disp_x11Debug) XGrabServer(d);
}

void WX11Disp_UngrabServer() {
  Display* d = WX11Disp_Use();
  if (d != nullptr && !WX11Disp_x11Debug) XUngrabServer(d);
}
