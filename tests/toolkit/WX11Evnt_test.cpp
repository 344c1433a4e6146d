// XEvents into the toolkit's records, without a server: window heights are
// entered into the window table, atoms into the atom cache, and keys are
// looked up in a small keyboard of the test's own.
#include <gtest/gtest.h>

#include <cstring>

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
  EXPECT_EQ(a.kind, W_KeyPress);
  EXPECT_EQ(a.window, kShell);
  EXPECT_EQ(a.input.subwindow, kChild);
  EXPECT_EQ(a.input.ch, 'a');
  EXPECT_EQ(a.input.keysym, XK_a);
  EXPECT_EQ(a.input.time, 4711u);
  // y turns upward: 200 - 10 - 1 in the window, 800 - 110 - 1 on the root.
  EXPECT_EQ(a.input.x, 5);
  EXPECT_EQ(a.input.y, 189);
  EXPECT_EQ(a.input.yRoot, 689);

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
  x.xbutton.type = ButtonPress;
  x.xbutton.window = kChild;
  x.xbutton.root = kRoot;
  x.xbutton.button = 3;
  x.xbutton.state = Button1Mask;
  x.xbutton.x = 0;
  x.xbutton.y = 0;
  W_Event press = Converted(x);
  EXPECT_EQ(press.kind, W_ButtonPress);
  EXPECT_EQ(press.input.button, 2);
  EXPECT_EQ(press.input.state, 0x1u | 0x4u);
  EXPECT_EQ(press.input.y, 19);  // the top row of a 20 high window

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
  x.xmotion.type = MotionNotify;
  x.xmotion.window = kShell;
  x.xmotion.root = kRoot;
  x.xmotion.x = 7;
  x.xmotion.y = 199;
  x.xmotion.is_hint = NotifyHint;
  x.xmotion.state = Button1Mask;
  const W_Event m = Converted(x);
  EXPECT_EQ(m.kind, W_MotionNotify);
  EXPECT_TRUE(m.input.isHint);
  EXPECT_EQ(m.input.y, 0);
  EXPECT_EQ(m.input.state, 0x1u);

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
  x.xexpose.type = Expose;
  x.xexpose.window = kShell;
  x.xexpose.x = 10;
  x.xexpose.y = 20;
  x.xexpose.width = 30;
  x.xexpose.height = 40;
  x.xexpose.count = 2;
  const W_Event e = Converted(x);
  EXPECT_EQ(e.kind, W_Expose);
  EXPECT_EQ(e.expose.x, 10);
  EXPECT_EQ(e.expose.y, 200 - 20 - 40);
  EXPECT_EQ(e.expose.width, 30);
  EXPECT_EQ(e.expose.height, 40);
  EXPECT_EQ(e.expose.count, 2);

  XEvent back;
  WX11Evnt_ToXEvent(e, back);
  EXPECT_EQ(back.type, Expose);
  EXPECT_EQ(back.xexpose.y, 20);
  EXPECT_EQ(back.xexpose.height, 40);
}

TEST_F(WX11EvntTest, ConfigureTellsThePlaceInTheParentAndTheNewHeight) {
  XEvent x{};
  x.xconfigure.type = ConfigureNotify;
  x.xconfigure.event = kShell;
  x.xconfigure.window = kShell;
  x.xconfigure.x = 40;
  x.xconfigure.y = 100;
  x.xconfigure.width = 320;
  x.xconfigure.height = 240;
  const W_Event e = Converted(x);
  EXPECT_EQ(e.kind, W_ConfigureNotify);
  EXPECT_EQ(e.configure.parent, kRoot);
  EXPECT_EQ(e.configure.x, 40);
  EXPECT_EQ(e.configure.y, 800 - 100 - 240);
  EXPECT_EQ(e.configure.width, 320);
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
  EXPECT_EQ(e.kind, W_ClientMessage);
  EXPECT_EQ(e.window, kShell);
  EXPECT_EQ(e.client.messageType, 302u);
  EXPECT_EQ(e.client.format, 2);
  std::uint32_t words[5];
  std::memcpy(words, e.client.data, sizeof words);
  EXPECT_EQ(words[0], 302u);
  EXPECT_EQ(words[1], 4711u);

  // Another message keeps its type; 8-bit data comes as it is.
  x.xclient.message_type = 999;
  x.xclient.format = 8;
  std::memcpy(x.xclient.data.b, "hello", 6);
  const W_Event other = Converted(x);
  EXPECT_EQ(other.client.messageType, 999u);
  EXPECT_EQ(other.client.format, 0);
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
  EXPECT_EQ(WX11Evnt_TVEventMask2X11(W_KeyPressMask | W_ExposureMask), KeyPressMask | ExposureMask);
  EXPECT_EQ(WX11Evnt_TVEventMask2X11(W_PointerMotionMask), PointerMotionMask);
  EXPECT_EQ(WX11Evnt_TVEventMask2X11(W_PointerMotionMask | W_ButtonMotionMask),
            PointerMotionMask | ButtonMotionMask);
  const std::uint32_t all = W_KeyPressMask | W_ButtonPressMask | W_ButtonReleaseMask | W_EnterWindowMask |
                            W_LeaveWindowMask | W_ExposureMask | W_PropertyChangeMask | W_FocusChangeMask |
                            W_OwnerGrabButtonMask | W_SubstructureRedirectMask | W_SubstructureNotifyMask |
                            W_StructureNotifyMask;
  EXPECT_EQ(WX11Evnt_X11EventMask2TV(WX11Evnt_TVEventMask2X11(all)), all);
}

}  // namespace
