// The widgets that show a value by where or what they draw, on a private X
// server: the scroll bar (its value follows arrows, trough, wheel and drags
// within its range; its thumb lies where the value says), the page box (only
// the page of its value is mapped and seen; the focus keeps out of hidden
// pages) and the lamp (a label whose value picks its icon).
#include "toolkit/CWSlider.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

namespace {

constexpr unsigned long kFace = 0xD7D7D2;  // of thumbs and arrows: the button colour

std::vector<std::pair<int, int>> reports;  // (number, value)
void Reported(I_Context, std::int32_t number, std::int32_t value, std::uintptr_t) {
  reports.emplace_back(number, value);
}

class GuiTest : public ::testing::Test {
 protected:
  void Open(const char* dialog) {
    c_ = I_Create(StrIn::C(dialog), true);
    ASSERT_TRUE(c_ != nullptr && Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
  }
  // The user's doings handled and the program's requests done: events of a
  // window that goes meanwhile would be lost.
  void Settle() {
    XSync(d_, False);
    W_Sync(false);
    Pump([] { return true; });
  }
  void TearDown() override {
    Settle();
    I_Destroy(c_);
  }

  Widget W(std::int32_t element) { return I_AccessWidget(c_, element); }
  unsigned long Pixel(Widget w, int x, int y) { return user_.Pixel(w, x, y); }
  bool Shows(Widget w, int x, int y, unsigned long color) { return Pump([&] { return Pixel(w, x, y) == color; }); }
  void MoveTo(Widget w, int x, int y) { user_.MoveTo(w, x, y); }
  void Button(unsigned button, bool down) { user_.Button(static_cast<int>(button), down); }
  void Click(Widget w, int x, int y, unsigned button = 1) { user_.ClickAt(w, x, y, 0, static_cast<int>(button)); }
  bool Reports(const std::vector<std::pair<int, int>>& expected) {
    return Pump([&] { return reports.size() >= expected.size(); }) && reports == expected;
  }

  XUser user_;
  Display* d_ = user_.display();
  I_Context c_ = nullptr;
};

// --- The scroll bar ---------------------------------------------------------------------------

// ISlider_Bars: bars 2 and 3 horizontal, range 0 to 100, slSize 100; bar 4
// upright, 10 to 30 and 20, on the shell's colour.
class SliderTest : public GuiTest {
 protected:
  void SetUp() override {
    reports.clear();
    Open("ISlider_Bars");
    for (std::int32_t n : {1, 2, 3}) I_SetINTEGERcallback(c_, n, Reported, 0);
  }
  static int Value(Widget w) { return WtTypes_AsInteger(w->value); }
  // Square arrows at both ends, the trough between.
  static int Trough(Widget w, bool upright) { return upright ? w->height - 2 * w->width : w->width - 2 * w->height; }
  // The thumb from `start` of the trough's low end, `length` long: its face
  // inside, `bed` around it (along the middle line).
  void ExpectThumb(Widget w, bool upright, int start, int length, unsigned long bed) {
    const int arrow = upright ? w->width : w->height;
    auto at = [&](int along) {
      return upright ? Pixel(w, arrow / 2, arrow + along) : Pixel(w, arrow + along, arrow / 2);
    };
    EXPECT_TRUE(Pump([&] {
      const int end = start + length;
      return at(start + 3) == kFace && at(start + length / 2) == kFace && at(end - 4) == kFace &&
             (start < 3 || at(start - 3) == bed) && (end + 3 >= Trough(w, upright) || at(end + 3) == bed);
    })) << start << "+" << length;
  }
};

TEST_F(SliderTest, ArrowsTroughAndWheelMoveTheValueWithinItsRange) {
  const Widget bar = W(2), upright = W(4);
  const int h = bar->height, right = bar->width - h / 2;
  for (int x : {right, h / 2, h / 2, right - h - 10, right}) Click(bar, x, h / 2);  // the trough pages up
  Click(bar, h + 10, h / 2, 4);  // the wheel up goes left
  Click(bar, h + 10, h / 2, 5);
  Click(bar, h + 10, h / 2);  // the trough pages down
  EXPECT_TRUE(Reports({{1, 1}, {1, 0}, {1, 100}, {1, 99}, {1, 100}, {1, 0}}));
  // Upright, the low end is at the bottom and the wheel up goes up.
  const int w = upright->width, top = upright->height - w / 2;
  reports.clear();
  Click(upright, w / 2, top);
  Click(upright, w / 2, top, 4);
  for (int y : {w / 2, top - w, w + 2}) Click(upright, w / 2, y);  // down; the trough over the thumb, under it
  EXPECT_TRUE(Reports({{3, 11}, {3, 12}, {3, 11}, {3, 30}, {3, 10}}));
}

TEST_F(SliderTest, AHeldArrowRepeatsUntilReleased) {
  // The program's loop: the repetition runs on its timers.
  auto run = [](const std::function<bool()>& done, int ms = 20000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    for (; !done() && std::chrono::steady_clock::now() < end; W_WaitForEvents(10)) {
      I_Yield();
      W_Flush();
    }
    return done();
  };
  const Widget bar = W(2);
  const int h = bar->height, x = bar->width - h / 2;
  MoveTo(bar, x, h / 2);
  Button(1, true);
  EXPECT_TRUE(run([&] { return Value(bar) >= 4; }));
  Button(1, false);
  ASSERT_TRUE(run([&] { return Pixel(bar, x + 4, 3) == kFace; }));  // no longer pressed
  const int reached = Value(bar);
  run([] { return false; }, 300);
  EXPECT_EQ(std::pair(Value(bar), static_cast<int>(reports.size())), std::pair(reached, reached));
}

TEST_F(SliderTest, TheThumbIsDrawnWhereTheValueSays) {
  const Widget bar = W(2), upright = W(4);
  const int trough = Trough(bar, false), length = trough * 100 / 200;
  ASSERT_TRUE(Shows(bar, bar->height + length / 2, bar->height / 2, kFace));
  const unsigned long bed = Pixel(bar, bar->width - bar->height - 3, bar->height / 2);
  for (int value : {0, 40, 100}) {
    I_PutINTEGER(c_, 1, value);
    ExpectThumb(bar, false, (trough - length) * value / 100, length, bed);
  }
  // The upright bar lets the shell's colour show, and follows its range.
  const int high = Trough(upright, true), half = high * 20 / 40, quarter = high * 20 / 80;
  I_PutINTEGER(c_, 3, 30);
  ExpectThumb(upright, true, high - half, half, 0x5A8CC8);
  I_SetINTEGERrange(c_, 3, 0, 60);
  ExpectThumb(upright, true, (high - quarter) / 2, quarter, 0x5A8CC8);
  I_SetINTEGERrange(c_, 3, 0, 10);
  EXPECT_EQ(std::pair(I_GetINTEGER(c_, 3), Value(upright)), std::pair(10, 10));
  EXPECT_TRUE(reports.empty());
}

TEST_F(SliderTest, ADragReportsWhileMovingOnlyWithContinuousCallbacks) {
  const int h = W(2)->height, length = Trough(W(2), false) / 2;  // one pixel a unit
  // Takes the thumb at `x`, moves it by `steps` and lets it go; false when
  // the thumb did not follow.
  auto drag = [&](Widget bar, int x, const std::vector<int>& steps) {
    MoveTo(bar, x, h / 2);
    Button(1, true);
    bool followed = Pump([&] { return Pixel(bar, x, h / 2) != kFace; });  // held, it darkens
    for (int step : steps) {
      const int expected = Value(bar) + step;
      MoveTo(bar, x += step, h / 2);
      followed = followed && Pump([&] { return Value(bar) == expected; });
    }
    Button(1, false);
    return followed;
  };
  ASSERT_TRUE(drag(W(2), h + length / 2, {10, 10, 10}));
  EXPECT_TRUE(Reports({{1, 30}}));
  reports.clear();
  ASSERT_TRUE(drag(W(3), h + length / 2, {10, 10, 10}));
  EXPECT_TRUE(Reports({{2, 10}, {2, 20}, {2, 30}}));
  reports.clear();
  ASSERT_TRUE(drag(W(2), h + length / 2 + 30, {20, -20}));  // away and back: no report
  Click(W(2), h / 2, h / 2);
  EXPECT_TRUE(Reports({{1, 29}}));
}

// --- The page box ----------------------------------------------------------------------------

// ISlider_Pages: a box of a small red label, a green box with a field (5)
// and a large blue label; a field (7) beside it.
class PageBoxTest : public GuiTest {
 protected:
  void SetUp() override { Open("ISlider_Pages"); }
};

TEST_F(PageBoxTest, OnlyThePageOfTheValueShowsWhereItBelongs) {
  const Widget box = W(2), field = W(5), pages[3] = {W(3), W(4), W(6)};
  const unsigned long colors[4] = {0xC82828, 0x28A028, 0x2828C8, 0xFAFAFA};  // 3: none, the background
  const std::pair size(box->width, box->height);
  auto viewable = [&](Widget w) {
    XWindowAttributes a;
    XGetWindowAttributes(d_, w->window, &a);
    return a.map_state == IsViewable;
  };
  for (int page : {1, 0, 2, 3, 1}) {
    I_PutINTEGER(c_, 1, page);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(pages[i]->mapped, i == page) << page;
    CWShell_AllResized();  // a new layout keeps the hidden pages hidden
    EXPECT_TRUE(Pump([&] { return viewable(field) == (page == 1); })) << page;
    EXPECT_EQ(std::pair(box->width, box->height), size);
    const Widget at = page < 3 ? pages[page] : box;
    EXPECT_TRUE(Shows(box, at->x + at->width / 2, at->y + 2, colors[page])) << page;
  }
  // The small page in the middle of the box.
  I_PutINTEGER(c_, 1, 0);
  EXPECT_EQ(std::pair(pages[0]->x - box->x, pages[0]->y - box->y),
            std::pair((box->width - pages[0]->width) / 2, (box->height - pages[0]->height) / 2));
  EXPECT_TRUE(Shows(box, box->x + 1, box->y + 1, colors[3]));
}

TEST_F(PageBoxTest, TheFocusKeepsOutOfHiddenPages) {
  const Widget inside = W(5), outside = W(7);
  I_PutINTEGER(c_, 1, 1);
  Settle();
  user_.Click(inside);
  ASSERT_TRUE(Pump([&] { return CWShell_HasFocus(inside); }));
  user_.Press(XK_Tab);
  ASSERT_TRUE(Pump([&] { return CWShell_HasFocus(outside); }));
  user_.Press(XK_Tab);
  ASSERT_TRUE(Pump([&] { return CWShell_HasFocus(inside); }));
  // Its page goes with the focus; Tab then passes the hidden field by,
  // though the focus path still leads into it.
  I_PutINTEGER(c_, 1, 2);
  EXPECT_FALSE(CWShell_HasFocus(inside));
  Settle();
  user_.Press(XK_Tab);
  EXPECT_TRUE(Pump([&] { return CWShell_HasFocus(outside); }));
}

// --- The lamp ----------------------------------------------------------------------------------

using LampTest = GuiTest;

TEST_F(LampTest, ItsValuePicksItsIconAndItsSizeStays) {
  Open("ISlider_Lamps");
  const Widget flag = W(2), state = W(3), single = W(4);
  auto centre = [&](Widget w, unsigned long color, int dy = 0) {
    return Shows(w, w->width / 2, w->height / 2 + dy, color);
  };
  EXPECT_TRUE(centre(flag, 0xDC2828));
  I_PutBOOLEAN(c_, 1, true);
  EXPECT_TRUE(centre(flag, 0x28BE28));
  // Room for the highest icon (30 pixels) from the start, at value 0.
  const std::pair size(state->width, state->height);
  EXPECT_GE(state->height, 30);
  const unsigned long colors[4] = {0x2828C8, 0xE6C828, 0x28BE28, 0xFAFAFA};  // 3: none, the background
  for (int value : {0, 1, 2, 3, 0}) {
    I_PutINTEGER(c_, 2, value);
    EXPECT_TRUE(centre(state, colors[value]) && centre(single, 0xC828C8)) << value;
    EXPECT_EQ(std::pair(state->width, state->height), size);
  }
  // The icon of 10 pixels sits in the middle of its room.
  EXPECT_TRUE(centre(state, colors[3], 8) && centre(state, colors[3], -8));
}

const bool environment = UseTestDialogs([] { I_UseContextCat("ISLIDERdlg"); });

}  // namespace
