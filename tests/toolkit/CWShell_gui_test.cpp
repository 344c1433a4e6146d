// The sample dialog on a private X server: it maps, lies where the layout put
// it (checked against the server's windows, y upward), redraws on exposure,
// takes input from the keyboard and mouse of XTest, and tells the window
// manager its protocols, type and state. Run once with the client side fonts and
// once with TV_DISABLE_XFT in the server's core fonts.
#include <gtest/gtest.h>
#include <poll.h>

#include <cctype>
#include <chrono>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/CWIOFld.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWToggle.h"
#include "toolkit/Wt.h"
#include "toolkit/WtEvents.h"
#include "tools/WtSample.h"
// Xlib last: its macros (Expose, None) would hide names of the headers above.
#include "toolkit/WX11Win.h"
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

std::vector<std::string> reports;

void Report(Widget w, std::uintptr_t name, WidgetValue* value) {
  const std::string text = WtTypes_KindOf(value->widgetType) == WtTypes_kString
                                ? WtTypes_AsString(*value).Str()
                                : std::to_string(WtTypes_AsInteger(*value));
  reports.push_back(std::string(reinterpret_cast<const char*>(name)) + "=" + text);
  (void)w;
}

class ShellTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(user_, nullptr);
    reports.clear();
    WtSample_Build(s_);
    CWCore_SetCallback(s_.shell, Report, reinterpret_cast<std::uintptr_t>("shell"));
    CWCore_SetCallback(s_.ok, Report, reinterpret_cast<std::uintptr_t>("ok"));
    CWCore_SetCallback(s_.name, Report, reinterpret_cast<std::uintptr_t>("name"));
    CWCore_SetCallback(s_.copies, Report, reinterpret_cast<std::uintptr_t>("copies"));
    CWShell_Popup(s_.shell, 0);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(s_.shell)->exposed; }));
  }
  void TearDown() override {
    WtSample_Destroy(s_);
    W_Sync(false);
  }

  // The server's place of a widget's window in the shell's inner window.
  void ServerPlace(Widget w, int& x, int& top) {
    Window child;
    XTranslateCoordinates(user_, w->window, s_.shell->window, 0, 0, &x, &top, &child);
  }
  void Click(Widget w) { xuser_.Click(w); }
  void Press(KeySym sym, KeySym modifier = NoSymbol) { xuser_.Press(sym, modifier); }
  void Type(const std::string& text) { xuser_.Type(text); }
  bool TextIs(Widget w, const std::string& text) {
    return Pump([&] { return CWTextIO_GetText(w).Str() == text; });
  }
  // Near-black pixels of a widget's window: its text.
  int InkOf(Widget w) {
    XImage* image = XGetImage(user_, w->window, 0, 0, static_cast<unsigned>(w->width),
                              static_cast<unsigned>(w->height), AllPlanes, ZPixmap);
    int ink = 0;
    for (int y = 0; y < w->height; ++y)
      for (int x = 0; x < w->width; ++x) {
        const unsigned long p = XGetPixel(image, x, y);
        if (((p >> 16) & 0xFF) < 60 && ((p >> 8) & 0xFF) < 60 && (p & 0xFF) < 60) ++ink;
      }
    XDestroyImage(image);
    return ink;
  }

  XUser xuser_;
  Display* user_ = xuser_.display();
  WtSample s_;
};

TEST_F(ShellTest, WidgetsLieWhereTheLayoutPutThemCountedUpward) {
  EXPECT_EQ(W_UseXft(), std::getenv("TV_DISABLE_XFT") == nullptr);
  const Widget shell = s_.shell;
  const int border = 10;
  // The heading at the top, the buttons at the bottom, right-aligned.
  EXPECT_EQ(s_.heading->y + s_.heading->height, shell->height - border);
  EXPECT_EQ(s_.ok->y, border);
  EXPECT_EQ(s_.cancel->x + s_.cancel->width, shell->width - border);
  EXPECT_EQ(s_.ok->x + s_.ok->width + 6, s_.cancel->x);
  // Labels and fields of a row share their middle line.
  EXPECT_NEAR(2 * s_.nameLabel->y + s_.nameLabel->height, 2 * s_.name->y + s_.name->height, 1);
  EXPECT_GT(s_.name->y, s_.copies->y);
  for (Widget w : {s_.heading, s_.nameLabel, s_.name, s_.copiesLabel, s_.copies, s_.proof, s_.ok, s_.cancel}) {
    int x, top;
    ServerPlace(w, x, top);
    XWindowAttributes a;
    XGetWindowAttributes(user_, w->window, &a);
    EXPECT_EQ(std::tuple(x, top, a.width, a.height, a.map_state),
              std::tuple(w->x, shell->height - w->y - w->height, w->width, w->height, IsViewable));
  }
}

TEST_F(ShellTest, ExposureRedrawsAWidget) {
  ASSERT_TRUE(Pump([&] { return InkOf(s_.ok) > 0; }));
  XClearWindow(user_, s_.ok->window);
  XSync(user_, False);
  EXPECT_EQ(InkOf(s_.ok), 0);
  XClearArea(user_, s_.ok->window, 0, 0, 0, 0, True);
  XFlush(user_);
  EXPECT_TRUE(Pump([&] { return InkOf(s_.ok) > 0; }));
}

TEST_F(ShellTest, KeyboardAndMouseReachTheWidgets) {
  Click(s_.name);
  Type("Hello");
  EXPECT_TRUE(TextIs(s_.name, "Hello"));
  // Tab commits the name and selects the number, which typing replaces.
  Press(XK_Tab);
  Type("3");
  EXPECT_TRUE(TextIs(s_.copies, "3"));
  Press(XK_Return);
  ASSERT_TRUE(Pump([&] { return reports.size() >= 3; }));
  EXPECT_EQ(reports, (std::vector<std::string>{"name=Hello", "copies=3", "shell=1"}));

  // The mnemonic goes back to the name; the clipboard copies and pastes.
  Press(XK_n, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWShell_HasFocus(s_.name); }));
  Press(XK_a, XK_Control_L);
  Press(XK_c, XK_Control_L);
  Press(XK_Delete);
  EXPECT_TRUE(TextIs(s_.name, ""));
  Press(XK_v, XK_Control_L);
  EXPECT_TRUE(TextIs(s_.name, "Hello"));

  Click(s_.proof);
  EXPECT_TRUE(Pump([&] { return CWToggle_IsOn(s_.proof); }));
  Click(s_.ok);
  EXPECT_TRUE(Pump([&] { return reports.back() == "ok=1"; }));
}

// The protocols are registered for the window manager (what its close
// message does is WX11Evnt_test's and WtEvents_test's, and the program's
// close is Floatdeck_gui_test's).
TEST_F(ShellTest, TheWindowManagerKnowsTheProtocols) {
  Atom* protocols = nullptr;
  int count = 0;
  ASSERT_TRUE(XGetWMProtocols(user_, static_cast<CWShell>(s_.shell)->outerWindow, &protocols, &count));
  EXPECT_EQ(count, 2);
  XFree(protocols);
}

// The test's connection plays the window manager: it takes the requests of
// the top-level windows and reads what the shell tells it.
TEST_F(ShellTest, TheWindowManagerIsToldTypeStateAndActivation) {
  const Window outer = static_cast<CWShell>(s_.shell)->outerWindow;
  Atom type;
  int format;
  unsigned long count, after;
  unsigned char* data = nullptr;
  ASSERT_EQ(XGetWindowProperty(user_, outer, XInternAtom(user_, "_NET_WM_WINDOW_TYPE", False), 0, 1, False, XA_ATOM,
                               &type, &format, &count, &after, &data),
            Success);
  ASSERT_EQ(count, 1u);
  EXPECT_EQ(*reinterpret_cast<Atom*>(data), XInternAtom(user_, "_NET_WM_WINDOW_TYPE_NORMAL", False));
  XFree(data);

  const Window root = DefaultRootWindow(user_);
  XSelectInput(user_, root, SubstructureRedirectMask);
  XSync(user_, False);
  CWShell_SetMaximized(s_.shell, true);
  CWCore_RaiseWindow(s_.shell);
  W_Flush();
  XEvent x;
  auto next = [&](const char* name) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
      if (XCheckTypedEvent(user_, ClientMessage, &x) && x.xclient.message_type == XInternAtom(user_, name, False))
        return true;
      pollfd readable{ConnectionNumber(user_), POLLIN, 0};
      poll(&readable, 1, 50);
    }
    return false;
  };
  ASSERT_TRUE(next("_NET_WM_STATE"));
  EXPECT_EQ(std::tuple(x.xclient.window, x.xclient.data.l[0], static_cast<Atom>(x.xclient.data.l[1]),
                       static_cast<Atom>(x.xclient.data.l[2]), x.xclient.data.l[3]),
            std::tuple(outer, 1, XInternAtom(user_, "_NET_WM_STATE_MAXIMIZED_HORZ", False),
                       XInternAtom(user_, "_NET_WM_STATE_MAXIMIZED_VERT", False), 1));
  ASSERT_TRUE(next("_NET_ACTIVE_WINDOW"));
  EXPECT_EQ(std::tuple(x.xclient.window, x.xclient.data.l[0]), std::tuple(outer, 1));
  XSelectInput(user_, root, NoEventMask);
}

TEST_F(ShellTest, AWindowOfUnknownHeightIsAskedOnceAndRemembered) {
  const Window foreign = XCreateSimpleWindow(user_, DefaultRootWindow(user_), 0, 0, 40, 77, 0, 0, 0);
  XSync(user_, False);
  EXPECT_EQ(WX11Win_TransformY(foreign, 0, 0), 76);
  XResizeWindow(user_, foreign, 40, 99);
  XSync(user_, False);
  EXPECT_EQ(WX11Win_TransformY(foreign, 0, 0), 76);
  XDestroyWindow(user_, foreign);
}

const bool site = UseBuildTreeSite([] {
  Messages_Init();
  Messages_UseMsgCat("WTDEMOmsg");
});
const bool server = UseXvfb();

}  // namespace
