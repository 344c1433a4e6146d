// The scrolling shared by tables, trees and lists, without a server: the
// thumb taken and dragged to either end of its trough, pages, the wheel,
// the keys and the view kept in range.
#include "toolkit/WtRowScroll.h"

#include <gtest/gtest.h>

namespace {

// 110 rows, 10 in view, in a trough of 100 pixels: the first row shown
// stands at the top, so the thumb of row 0 is at the trough's top end.
constexpr WtRowScroll_Bar kBar{0, 0, 100, 110, 10, 0};

TEST(WtRowScroll, TheThumbIsDraggedAndAPressBesideItTurnsAPage) {
  WtRowScroll_Grip grip;
  std::size_t first = 7;
  EXPECT_FALSE(WtRowScroll_Drag(kBar, 50, grip, first));  // nothing held
  EXPECT_FALSE(WtRowScroll_Press(kBar, 99, grip, first));  // on the thumb
  ASSERT_TRUE(grip.dragging);
  ASSERT_TRUE(WtRowScroll_Drag(kBar, 99, grip, first));
  EXPECT_EQ(first, 0u);
  ASSERT_TRUE(WtRowScroll_Drag(kBar, -40, grip, first));  // below the trough: the last page
  EXPECT_EQ(first, 100u);
  ASSERT_TRUE(WtRowScroll_Drag(kBar, 300, grip, first));
  EXPECT_EQ(first, 0u);
  ASSERT_TRUE(WtRowScroll_Press(kBar, 0, grip, first));  // below the thumb: a page down
  EXPECT_FALSE(grip.dragging);
  EXPECT_EQ(first, 10u);
  WtRowScroll_Bar atEnd = kBar;
  atEnd.first = 100;
  ASSERT_TRUE(WtRowScroll_Press(atEnd, 99, grip, first));  // above the thumb: a page up
  EXPECT_EQ(first, 90u);
  WtRowScroll_Bar all = kBar;
  all.count = 10;  // all in view: the bar cannot move
  EXPECT_FALSE(WtRowScroll_Press(all, 50, grip, first));
  EXPECT_FALSE(WtRowScroll_Drag(all, 0, grip, first));
}

TEST(WtRowScroll, WheelKeysAndShowingARowStayInRange) {
  std::size_t row = 0;
  WtRowScroll_Bar bar = kBar;
  bar.first = 2;
  ASSERT_TRUE(WtRowScroll_Wheel(bar, 3, row));
  EXPECT_EQ(row, 0u);
  ASSERT_TRUE(WtRowScroll_Wheel(bar, 4, row));
  EXPECT_EQ(row, 5u);
  EXPECT_FALSE(WtRowScroll_Wheel(bar, 0, row));
  EXPECT_EQ(WtRowScroll_Clamp(105, 110, 10), 100u);
  EXPECT_EQ(WtRowScroll_Clamp(5, 8, 10), 0u);
  EXPECT_FALSE(WtRowScroll_Show(bar, 11, row));  // in view
  ASSERT_TRUE(WtRowScroll_Show(bar, 20, row));
  EXPECT_EQ(row, 11u);  // at the bottom of the view
  ASSERT_TRUE(WtRowScroll_Show(bar, 1, row));
  EXPECT_EQ(row, 1u);
  const struct {
    unsigned key;
    std::size_t from, to;
  } keys[] = {{W_KeyUp, 0, 0},     {W_KeyDown, 109, 109}, {W_KeyPrior, 5, 0},
              {W_KeyNext, 102, 109}, {W_KeyHome, 50, 0},    {W_KeyEnd, 3, 109}};
  for (const auto& k : keys) {
    ASSERT_TRUE(WtRowScroll_KeyRow(k.key, k.from, 110, 10, row)) << k.key;
    EXPECT_EQ(row, k.to) << k.key;
  }
  EXPECT_FALSE(WtRowScroll_KeyRow('a', 3, 110, 10, row));
}

}  // namespace
