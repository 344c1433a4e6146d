// Colours on an 8-bit display, where the program has a colour map of its own:
// named colours take cells of their own while cells are free, near colours
// share them, and the rest go to the nearest cell of the colour cube. The
// sample dialog works there too, without the client side fonts.
#include <gtest/gtest.h>

#include <chrono>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtEvents.h"
#include "tools/WtSample.h"
// Xlib last: its macros would hide names of the headers above.
#include "toolkit/WX11Grap.h"
#include "toolkit/WX11Win.h"

namespace {

W_Color ColorOfCell(unsigned long pixel) {
  XColor c{};
  c.pixel = pixel;
  XQueryColor(WX11Disp_display, WX11Win_Colormap(), &c);
  return W_Color{c.red / 257u, c.green / 257u, c.blue / 257u};
}

TEST(EightBitColours, NamedColoursTakeCellsUntilTheyRunOut) {
  ASSERT_EQ(W_DefaultDepth(), 8);
  const unsigned long base = WX11Grap_standardColormap.base_pixel;
  ASSERT_GT(base, 2u);
  W_Color gold;
  ASSERT_TRUE(WtColors_SetColorByName("Gold", gold));
  EXPECT_EQ(gold, (W_Color{255, 215, 0}));
  const unsigned long cell = WX11Grap_PixelOf(gold);
  EXPECT_LT(cell, base);
  EXPECT_EQ(ColorOfCell(cell), gold);
  // Within the distance: the same cell.
  EXPECT_EQ(WX11Grap_PixelOf(W_Color{250, 210, 10}), cell);

  // One colour in each bucket: the free cells run out on the way, and the
  // colours after that get cells of the cube, close to what was asked for.
  int inCube = 0;
  for (std::uint32_t r = 0; r < 256; r += 80)
    for (std::uint32_t g = 0; g < 256; g += 80)
      for (std::uint32_t b = 0; b < 256; b += 80) {
        const unsigned long pixel = WX11Grap_PixelOf(W_Color{r, g, b});
        if (pixel < base) continue;
        ++inCube;
        EXPECT_EQ(pixel, WX11Grap_CalculatePixelValueUndithered(r, g, b));
        const W_Color shown = ColorOfCell(pixel);
        EXPECT_NEAR(shown.red, r, 45);
        EXPECT_NEAR(shown.green, g, 40);
        EXPECT_NEAR(shown.blue, b, 90);
      }
  EXPECT_GT(inCube, 10);
}

TEST(EightBitColours, TheSampleDialogShowsInCoreFonts) {
  EXPECT_FALSE(W_UseXft());
  WtSample s;
  WtSample_Build(s);
  CWShell_Popup(s.shell, 0);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!static_cast<CWShell>(s.shell)->exposed && std::chrono::steady_clock::now() < deadline) {
    WtEvents_ExecuteDeferredActions();
    W_Flush();
    W_WaitForEvents(50);
    while (WtEvents_Pending()) {
      W_Event e;
      WtEvents_NextEvent(e);
      WtEvents_DispatchEvent(e);
    }
  }
  EXPECT_TRUE(static_cast<CWShell>(s.shell)->exposed);
  WtSample_Destroy(s);
}

const bool site = UseBuildTreeSite([] {
  Messages_Init();
  Messages_UseMsgCat("WTDEMOmsg");
});
const bool server = UseXvfb(8);

}  // namespace
