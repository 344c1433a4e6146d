// XEvents into the toolkit's records, without a server: window heights are
// entered into the window table, atoms into the atom cache, and keys are
// looked up in a small keyboard of the test's own.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

// Xlib after the test framework: its macros (None) would hide names there.
#include "toolkit/WX11Evnt.h"
#include <X11/keysym.h>
#include "toolkit/WX11Prop.h"
#include "toolkit/WX11Win.h"
#include "toolkit/WXWHash.h"

namespace {

constexpr Window kRoot = 1, kShell = 10, kChild = 11;

// keycode -> keysym and text; Ctrl turns a letter into its control character.
int Lookup(XKeyEvent* key, char* text, int size, KeySym* sym, XComposeStatus*) {
  const bool shift = key->state & ShiftMask, ctrl = key->state & ControlMask;
  struct Key {
    unsigned code;
    KeySym plain, shifted;
  };
  static constexpr Key kKeys[] = {{23, XK_Tab, XK_ISO_Left_Tab}, {24, XK_Tab, XK_Tab},  {38, XK_a, XK_A},
                                  {67, XK_F1, XK_F1},           {79, XK_KP_Home, XK_KP_Home},
                                  {48, XK_dead_acute, XK_dead_acute}, {36, XK_Return, XK_Return},
                                  {50, XK_Shift_L, XK_Shift_L},  {47, XK_odiaeresis, XK_Odiaeresis}};
  *sym = NoSymbol;
  for (const Key& k : kKeys)
    if (k.code == key->keycode) *sym = shift ? k.shifted : k.plain;
  char ch = 0;
  if (*sym >= 0x20 && *sym <= 0xFF) ch = static_cast<char>(*sym);
  if (*sym == XK_Tab) ch = '\t';
  if (*sym == XK_Return) ch = '\r';
  if (ctrl && ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 'a' + 1);
  if (ch == 0 || size < 1) return 0;
  text[0] = ch;
  return 1;
}

class WX11EvntTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WXWHash_Clear();
    WXWHash_EnterWindow(kRoot, 0, 1000, 800);
    WXWHash_EnterWindow(kShell, kRoot, 300, 200);
    WXWHash_EnterWindow(kChild, kShell, 50, 20);
    WX11Evnt_lookupString = Lookup;
  }
  void TearDown() override { WX11Evnt_lookupString = XLookupString; }

  static XEvent Key(unsigned keycode, unsigned state) {
    XEvent x{};
    x.xkey.type = KeyPress;
    x.xkey.window = kShell;
    x.xkey.root = kRoot;
    x.xkey.subwindow = kChild;
    x.xkey.keycode = keycode;
    x.xkey.state = state;
    x.xkey.x = 5;
    x.xkey.y = 10;
    x.xkey.x_root = 105;
    x.xkey.y_root = 110;
    x.xkey.time = 4711;
    return x;
  }

  static W_Event Converted(const XEvent& x) {
    W_Event e;
    EXPECT_TRUE(WX11Evnt_ConvertEvent(x, e));
    return e;
  }
};

TEST_F(WX11EvntTest, KeysBecomeCharactersWithToolkitModifiers) {
  const W_Event a = Converted(Key(38, 0));
  EXPECT_EQ(std::tuple(a.kind, a.window, a.input.subwindow, a.input.ch, a.input.keysym, a.input.time),
            std::tuple(W_KeyPress, kShell, kChild, 'a', XK_a, 4711u));
  // y turns upward: 200 - 10 - 1 in the window, 800 - 110 - 1 on the root.
  EXPECT_EQ(std::tuple(a.input.x, a.input.y, a.input.yRoot), std::tuple(5, 189, 689));

  const W_Event ctrlAlt = Converted(Key(38, ControlMask | Mod1Mask | Button2Mask));
  EXPECT_EQ(ctrlAlt.input.ch, 1);  // ^A
  EXPECT_EQ(ctrlAlt.input.state, W_CtrlMask | W_AltMask | 0x2u);
  EXPECT_EQ(Converted(Key(38, ShiftMask | Mod4Mask)).input.state, W_ShiftMask | W_AltMask);
  EXPECT_EQ(Converted(Key(38, ShiftMask)).input.ch, 'A');
  EXPECT_EQ(Converted(Key(47, 0)).input.ch, 0xF6);  // a Latin-1 letter stays one byte

  // Shift-Tab is BackTab whether the keyboard says ISO Left Tab or Tab.
  EXPECT_EQ(Converted(Key(23, 0)).input.ch, W_KeyTab);
  EXPECT_EQ(Converted(Key(23, ShiftMask)).input.ch, W_KeyBackTab);
  EXPECT_EQ(Converted(Key(24, ShiftMask)).input.ch, W_KeyBackTab);
  // Function and keypad keys through the map of page 0xFF.
  EXPECT_EQ(Converted(Key(67, 0)).input.ch, W_KeyF1);
  EXPECT_EQ(Converted(Key(79, 0)).input.ch, W_KeyHome);
  EXPECT_EQ(Converted(Key(36, 0)).input.ch, W_KeyReturn);

  // A dead key and a modifier key yield nothing and never reach a widget.
  W_Event none;
  EXPECT_FALSE(WX11Evnt_ConvertEvent(Key(48, 0), none));
  EXPECT_FALSE(WX11Evnt_ConvertEvent(Key(50, 0), none));
}

TEST_F(WX11EvntTest, ButtonsTellTheStateAfterTheEvent) {
  XEvent x{};
  x.xbutton = XButtonEvent{ButtonPress, 0, False, nullptr, kChild, kRoot, 0, 0, 0, 0, 0, 0, Button1Mask, 3, True};
  W_Event press = Converted(x);
  // The state after the press; y 0 is the top row of a 20 high window.
  EXPECT_EQ(std::tuple(press.kind, press.input.button, press.input.state, press.input.y),
            std::tuple(W_ButtonPress, 2, 0x1u | 0x4u, 19));

  x.xbutton.type = ButtonRelease;
  x.xbutton.state = Button3Mask | ShiftMask;
  const W_Event release = Converted(x);
  EXPECT_EQ(release.kind, W_ButtonRelease);
  EXPECT_EQ(release.input.state, W_ShiftMask);

  x.xbutton.button = 6;  // horizontal wheels are not the toolkit's
  EXPECT_FALSE(WX11Evnt_ConvertEvent(x, press));
}

TEST_F(WX11EvntTest, PointerMotionAndCrossing) {
  XEvent x{};
  x.xmotion = XMotionEvent{MotionNotify, 0, False, nullptr, kShell, kRoot, 0, 0, 7, 199, 0, 0, Button1Mask, NotifyHint, True};
  const W_Event m = Converted(x);
  EXPECT_EQ(std::tuple(m.kind, m.input.isHint, m.input.y, m.input.state), std::tuple(W_MotionNotify, true, 0, 0x1u));

  x = XEvent{};
  x.xcrossing.type = LeaveNotify;
  x.xcrossing.window = kChild;
  x.xcrossing.root = kRoot;
  x.xcrossing.mode = NotifyGrab;
  EXPECT_EQ(Converted(x).kind, W_LeaveNotify);
  EXPECT_EQ(Converted(x).input.mode, NotifyGrab);
}

TEST_F(WX11EvntTest, ExposureRectanglesTurnUpsideDownAndBack) {
  XEvent x{};
  x.xexpose = XExposeEvent{Expose, 0, False, nullptr, kShell, 10, 20, 30, 40, 2};
  const W_Event e = Converted(x);
  EXPECT_EQ(std::tuple(e.kind, e.expose.x, e.expose.y, e.expose.width, e.expose.height, e.expose.count),
            std::tuple(W_Expose, 10, 200 - 20 - 40, 30, 40, 2));
  XEvent back;
  WX11Evnt_ToXEvent(e, back);
  EXPECT_EQ(std::tuple(back.type, back.xexpose.y, back.xexpose.height), std::tuple(Expose, 20, 40));
}

TEST_F(WX11EvntTest, ConfigureTellsThePlaceInTheParentAndTheNewHeight) {
  XEvent x{};
  x.xconfigure = XConfigureEvent{ConfigureNotify, 0, False, nullptr, kShell, kShell, 40, 100, 320, 240, 0, 0, False};
  const W_Event e = Converted(x);
  EXPECT_EQ(std::tuple(e.kind, e.configure.parent, e.configure.x, e.configure.y, e.configure.width),
            std::tuple(W_ConfigureNotify, kRoot, 40, 800 - 100 - 240, 320));
  // The window's new height counts for everything after it.
  EXPECT_EQ(WX11Win_Height(kShell), 240);
  EXPECT_EQ(WX11Win_TransformY(kShell, 0, 0), 239);
}

TEST_F(WX11EvntTest, DeleteWindowMessageNamesTheProtocol) {
  WX11Prop_RememberAtom("WM_PROTOCOLS", 301);
  WX11Prop_RememberAtom("WM_DELETE_WINDOW", 302);
  XEvent x{};
  x.xclient.type = ClientMessage;
  x.xclient.window = kShell;
  x.xclient.message_type = 301;
  x.xclient.format = 32;
  x.xclient.data.l[0] = 302;
  x.xclient.data.l[1] = 4711;
  const W_Event e = Converted(x);
  std::uint32_t words[5];
  std::memcpy(words, e.client.data, sizeof words);
  EXPECT_EQ(std::tuple(e.kind, e.window, e.client.messageType, e.client.format, words[0], words[1]),
            std::tuple(W_ClientMessage, kShell, 302u, 2, 302u, 4711u));

  // Another message keeps its type; 8-bit data comes as it is.
  x.xclient.message_type = 999;
  x.xclient.format = 8;
  std::memcpy(x.xclient.data.b, "hello", 6);
  const W_Event other = Converted(x);
  EXPECT_EQ(std::tuple(other.client.messageType, other.client.format), std::tuple(999u, 0));
  EXPECT_STREQ(reinterpret_cast<const char*>(other.client.data), "hello");
  WX11Prop_DisplayClosed();
}

TEST_F(WX11EvntTest, EventsWithoutRecordAreDropped) {
  W_Event e;
  for (const int type : {ColormapNotify, MappingNotify, KeymapNotify, VisibilityNotify, GravityNotify,
                         ResizeRequest, CirculateNotify, KeyRelease}) {
    XEvent x{};
    x.type = type;
    EXPECT_FALSE(WX11Evnt_ConvertEvent(x, e)) << type;
  }
}

TEST(WX11EvntMasks, ToolkitMasksBecomeXMasks) {
  EXPECT_EQ(WX11Evnt_TVEventMask2X11(W_PointerMotionMask | W_ButtonMotionMask),
            PointerMotionMask | ButtonMotionMask);
  const std::uint32_t all = W_KeyPressMask | W_ButtonPressMask | W_ButtonReleaseMask | W_EnterWindowMask |
                            W_LeaveWindowMask | W_ExposureMask | W_PropertyChangeMask | W_FocusChangeMask |
                            W_OwnerGrabButtonMask | W_SubstructureRedirectMask | W_SubstructureNotifyMask |
                            W_StructureNotifyMask;
  EXPECT_EQ(WX11Evnt_X11EventMask2TV(WX11Evnt_TVEventMask2X11(all)), all);
}

}  // namespace
