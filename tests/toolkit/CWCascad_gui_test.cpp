// Menus on a private X server: the keyboard and the pointer open, move,
// choose and close them; items report their own value or the menu's; an
// insensitive item is passed over; pull-downs open where their titles say;
// a menu open when its window goes away leaves no grab behind.
#include "toolkit/CWCascad.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/WtPopup.h"
#include "toolkit/WtWnds.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

namespace {

std::vector<std::string> calls;
void OnInteger(I_Context, std::int32_t number, std::int32_t value, std::uintptr_t) {
  calls.push_back(std::to_string(number) + "=" + std::to_string(value));
}

constexpr unsigned long kSelection = 0x404040, kMenu = 0xD7D7D2;

class MenuTest : public ::testing::Test {
 protected:
  void SetUp() override {
    calls.clear();
    c_ = I_Create("IMenu_Bar", true);
    ASSERT_NE(c_, nullptr);
    I_SetINTEGERcallback(c_, 1, OnInteger, 0);
    I_SetINTEGERcallback(c_, 2, OnInteger, 0);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
    // Keys go where the pointer is.
    user_.PointAt(W(4));
  }
  void TearDown() override { I_Destroy(c_); }

  Widget W(std::int32_t element) { return I_AccessWidget(c_, element); }
  Display* D() { return user_.display(); }

  // A window's rectangle on the screen, X's way: top left corner.
  XRectangle ScreenRect(Window window) {
    XWindowAttributes a;
    XGetWindowAttributes(D(), window, &a);
    int x, y;
    Window child;
    XTranslateCoordinates(D(), window, DefaultRootWindow(D()), 0, 0, &x, &y, &child);
    return XRectangle{static_cast<short>(x), static_cast<short>(y), static_cast<unsigned short>(a.width),
                      static_cast<unsigned short>(a.height)};
  }
  XRectangle PullDownRect(Widget menu) {
    return ScreenRect(static_cast<CWShell>(CWCascad_PullDown(menu))->outerWindow);
  }
  // The colour at the left end of an item's row (an item has a window).
  unsigned long RowColour(Widget menu, std::uint32_t item) {
    Widget w = CWCascad_Item(menu, item);
    return user_.Pixel(w, 1, w->height / 2);
  }
  bool Highlighted(Widget menu, std::uint32_t item) {
    return Pump([&] { return RowColour(menu, item) == kSelection; });
  }
  void Point(Widget w) { user_.PointAt(w); }
  void MoveOver(Widget w) { user_.PointAt(w); }
  void Click(Widget w) { user_.Click(w); }
  void Key(unsigned long keysym, unsigned long modifier = 0) { user_.Press(keysym, modifier); }
  bool Reported(const std::vector<std::string>& expected) {
    return Pump([&] { return calls == expected; });
  }
  bool Closed(Widget menu) {
    return Pump([&] { return !CWCascad_IsOpen(menu); });
  }
  // Nobody holds the pointer: another client can grab it.
  bool PointerFree() {
    const bool free = XGrabPointer(D(), DefaultRootWindow(D()), False, ButtonPressMask, GrabModeAsync,
                                   GrabModeAsync, None, None, CurrentTime) == GrabSuccess;
    XUngrabPointer(D(), CurrentTime);
    XFlush(D());
    return free;
  }

  XUser user_;
  I_Context c_ = nullptr;
};

TEST_F(MenuTest, TheKeyboardOpensMovesChoosesAndCloses) {
  Widget file = W(1), edit = W(2);
  // Alt with the mnemonic: open, the first item highlighted.
  Key(XK_f, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  EXPECT_TRUE(Highlighted(file, 0));
  // Down passes the heading "Recent" by.
  Key(XK_Down);
  EXPECT_TRUE(Highlighted(file, 1));
  EXPECT_EQ(RowColour(file, 0), kMenu);
  Key(XK_Down);
  EXPECT_TRUE(Highlighted(file, 3));
  // "Close" has no value of its own: the menu's value reports it.
  Key(XK_Return);
  EXPECT_TRUE(Reported({"1=7"}));
  EXPECT_TRUE(Closed(file));
  // "New" is bound: it reports its own number.
  Key(XK_f, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  Key(XK_Return);
  EXPECT_TRUE(Reported({"1=7", "2=3"}));
  // Escape closes without a word.
  Key(XK_f, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  Key(XK_Escape);
  EXPECT_TRUE(Closed(file));
  // Only number 3 enabled: "Open" (4) is passed over; neither its mnemonic
  // nor a click chooses it.
  I_SetEnabledState(c_, 2, 1u << 3);
  Key(XK_f, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  Key(XK_Down);
  EXPECT_TRUE(Highlighted(file, 3));
  Key(XK_o);
  Click(CWCascad_Item(file, 1));
  // Over an item that can't be chosen nothing is highlighted; Up then
  // starts from the end.
  EXPECT_TRUE(Pump([&] { return RowColour(file, 3) == kMenu; }));
  Key(XK_Up);
  EXPECT_TRUE(Highlighted(file, 4));
  Key(XK_Up);
  EXPECT_TRUE(Highlighted(file, 3));
  Key(XK_Down);  // wraps
  Key(XK_Down);
  EXPECT_TRUE(Highlighted(file, 0));
  EXPECT_TRUE(CWCascad_IsOpen(file));
  EXPECT_EQ(calls.size(), 2u);
  // Right goes to the next menu, Left back; a mnemonic chooses.
  Key(XK_Right);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(edit) && !CWCascad_IsOpen(file); }));
  EXPECT_TRUE(Highlighted(edit, 0));
  Key(XK_Left);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  Key(XK_q);
  EXPECT_TRUE(Reported({"1=7", "2=3", "1=9"}));
  EXPECT_TRUE(Closed(file));
  EXPECT_TRUE(Pump([&] { return PointerFree(); }));
}

TEST_F(MenuTest, ThePointerOpensSwitchesAndChooses) {
  Widget file = W(1), edit = W(2), help = W(3);
  Click(file);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  // Below the title, left edges together.
  const XRectangle title = ScreenRect(file->window), menu = PullDownRect(file);
  EXPECT_EQ(menu.x, title.x);
  EXPECT_EQ(menu.y, title.y + title.height);
  // The pointer moves onto the next title: its menu opens instead.
  MoveOver(edit);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(edit) && !CWCascad_IsOpen(file); }));
  Click(CWCascad_Item(edit, 0));
  EXPECT_TRUE(Reported({"1=21"}));
  EXPECT_TRUE(Closed(edit));
  // A second click on the title closes; so does a click outside.
  Click(file);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  Click(file);
  EXPECT_TRUE(Closed(file));
  Click(file);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  Click(W(4));
  EXPECT_TRUE(Closed(file));
  // A menu at the right end: its pull-down ends at the title's right edge;
  // the items of "addedItems" count on from the largest number.
  Click(help);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(help); }));
  const XRectangle helpTitle = ScreenRect(help->window), helpMenu = PullDownRect(help);
  EXPECT_EQ(helpMenu.x + helpMenu.width, helpTitle.x + helpTitle.width);
  ASSERT_EQ(CWCascad_ItemCount(help), 3u);
  Click(CWCascad_Item(help, 2));
  EXPECT_TRUE(Reported({"1=21", "1=42"}));
  EXPECT_TRUE(Pump([&] { return PointerFree(); }));
}

TEST_F(MenuTest, SubmenusOpenBesideTheirItem) {
  Widget edit = W(2), insert = W(22);
  Click(edit);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(edit); }));
  MoveOver(insert);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(insert); }));
  // Right of the menu, its first item level with the submenu's.
  const XRectangle parent = PullDownRect(edit), item = ScreenRect(insert->window), sub = PullDownRect(insert);
  EXPECT_EQ(sub.x, parent.x + parent.width);
  EXPECT_EQ(ScreenRect(CWCascad_Item(insert, 0)->window).y, item.y);
  Click(CWCascad_Item(insert, 1));
  EXPECT_TRUE(Reported({"1=32"}));
  EXPECT_TRUE(Closed(edit));
  EXPECT_FALSE(CWCascad_IsOpen(insert));
  // By keys (they go where the pointer is): Right opens the highlighted
  // submenu, Left closes it again.
  Point(W(4));
  Key(XK_e, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(edit); }));
  Key(XK_Down);
  Key(XK_Right);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(insert); }));
  EXPECT_TRUE(Highlighted(insert, 0));
  Key(XK_Left);
  ASSERT_TRUE(Pump([&] { return !CWCascad_IsOpen(insert); }));
  EXPECT_TRUE(CWCascad_IsOpen(edit));
  Key(XK_i);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(insert); }));
  Key(XK_Return);
  EXPECT_TRUE(Reported({"1=32", "1=31"}));
  EXPECT_TRUE(Closed(edit));
}

TEST_F(MenuTest, AMenuClosesWithItsWindow) {
  Widget file = W(1);
  Key(XK_f, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  I_Deactivate(c_);
  EXPECT_FALSE(CWCascad_IsOpen(file));
  EXPECT_TRUE(Pump([&] { return PointerFree(); }));
  // Open again and destroyed with the dialog.
  I_Activate(c_);
  ASSERT_TRUE(Pump([&] { return WtWnds_IsMapped(file); }));
  Click(file);
  ASSERT_TRUE(Pump([&] { return CWCascad_IsOpen(file); }));
  I_Destroy(c_);
  c_ = nullptr;
  EXPECT_TRUE(Pump([&] { return PointerFree(); }));
  EXPECT_TRUE(calls.empty());
}

// A pull-down stays on a screen of 1000 by 800: above its title when there
// is no room below, left of its menu when there is none at the right.
TEST(PullDownPlace, KeptOnTheScreen) {
  struct Case {
    Regions_Rect anchor;
    WtPopup_Place place;
    int x, y;
  };
  const Case cases[] = {
      {{10, 500, 50, 20}, WtPopup_Place::kBelow, 10, 300},       // room below
      {{10, 100, 50, 20}, WtPopup_Place::kBelow, 10, 120},       // above instead
      {{20, 500, 50, 20}, WtPopup_Place::kBelowRight, 0, 300},   // not off the left edge
      {{950, 400, 50, 20}, WtPopup_Place::kBeside, 850, 220},    // left of the menu
      {{100, 50, 100, 20}, WtPopup_Place::kBeside, 200, 0},      // not off the bottom
  };
  for (const Case& c : cases) {
    const Regions_Rect r = WtPopup_Placement(c.anchor, c.place, 100, 200, 1000, 800);
    EXPECT_EQ(r.x, c.x) << c.anchor.x << "," << c.anchor.y;
    EXPECT_EQ(r.y, c.y) << c.anchor.x << "," << c.anchor.y;
  }
}

void Announce() { I_UseContextCat("IMENUdlg"); }
const bool environment = UseTestDialogs(Announce);

}  // namespace
