// Pixmaps by name on a private X server: image files with and without
// transparency, the looks the name asks for, computed ramps, sharing, and
// the files that are refused.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/W.h"
// Xlib last: its macros would hide names of the headers above.
#include "toolkit/WX11Disp.h"
#include "toolkit/WX11Pixm.h"
#include <X11/Xutil.h>

namespace {

class PixmapTest : public ::testing::Test {
 protected:
  // A 2 by 2 image: red, green / blue, white; with alpha the right column is
  // transparent.
  std::string Image(const std::string& name, bool alpha) {
    const std::string path = dir_.Make(name);
    std::ofstream out(path, std::ios::binary);
    if (alpha) out << "P7\nWIDTH 2\nHEIGHT 2\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    else out << "P6\n2 2\n255\n";
    const unsigned char pixels[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    for (int i = 0; i < 4; ++i) {
      out.write(reinterpret_cast<const char*>(pixels[i]), 3);
      if (alpha) out.put(static_cast<char>(i % 2 == 0 ? 255 : 0));
    }
    return path;
  }
  // The colour of pixel (x, y) of a pixmap, counted from the top.
  static W_Color Pixel(W_Pixmap p, int x, int y) {
    XImage* image = XGetImage(WX11Disp_display, p, x, y, 1, 1, AllPlanes, ZPixmap);
    const unsigned long v = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    return W_Color{static_cast<std::uint32_t>((v >> 16) & 0xFF), static_cast<std::uint32_t>((v >> 8) & 0xFF),
                   static_cast<std::uint32_t>(v & 0xFF)};
  }
  // The number of the message a refused file gave; 0 when it was read.
  static unsigned Failure(const std::string& name) {
    int w, h;
    Messages_IgnoreErrors(true);
    const W_Pixmap p = W_ReadPixmapFile(name, w, h);
    Messages_IgnoreErrors(false);
    char reason[kTextCap] = "";
    Messages_ErrorReason(reason);
    Messages_ForgetErrorReasons();
    if (p != 0) return 0;
    for (unsigned number = 1; number <= 3; ++number) {
      char text[kTextCap];
      Messages_GetMsg("WX11Pixmap", number, text);
      if (std::string(text) == reason) return number;
    }
    return 99;
  }

  TempDir dir_;
};

TEST_F(PixmapTest, ImagesAreReadAsTheyStandOrInTheLookTheNameAsks) {
  const std::string file = Image("four.ppm", false);
  int w = 0, h = 0;
  const W_Pixmap p = W_ReadPixmapFile(file, w, h);
  ASSERT_NE(p, 0u);
  EXPECT_EQ(w, 2);
  EXPECT_EQ(h, 2);
  EXPECT_EQ(Pixel(p, 0, 0), (W_Color{255, 0, 0}));
  EXPECT_EQ(Pixel(p, 1, 1), (W_Color{255, 255, 255}));
  // The same name is the same pixmap, given back by each user.
  EXPECT_EQ(W_ReadPixmapFile(file, w, h), p);
  W_FreePixmap(p);
  EXPECT_TRUE(W_GetPixmapGeometry(p, w, h));

  const W_Pixmap green = W_ReadPixmapFile(file + "!1", w, h);  // channel 1 only: gray
  EXPECT_EQ(Pixel(green, 0, 0), (W_Color{0, 0, 0}));
  EXPECT_EQ(Pixel(green, 1, 0), (W_Color{255, 255, 255}));
  const W_Pixmap disabled = W_ReadPixmapFile(file + "@", w, h);  // towards (192,192,192)
  EXPECT_EQ(Pixel(disabled, 1, 1), (W_Color{223, 223, 223}));
  for (W_Pixmap each : {p, green, disabled}) W_FreePixmap(each);
}

TEST_F(PixmapTest, TransparentPartsStayOut) {
  const W_Pixmap icon = [&] {
    int w, h;
    return W_ReadPixmapFile(Image("icon.pam", true), w, h);
  }();
  ASSERT_NE(icon, 0u);
  const W_Pixmap target = XCreatePixmap(WX11Disp_display, DefaultRootWindow(WX11Disp_display), 2, 2,
                                        static_cast<unsigned>(W_DefaultDepth()));
  W_GC gc = W_CreateGC();
  W_SetForeground(gc, W_Color{9, 9, 9});
  XFillRectangle(WX11Disp_display, target, reinterpret_cast<GC>(gc), 0, 0, 2, 2);
  W_CopyTPixmap(icon, target, gc, 0, 0);
  W_Sync(false);
  EXPECT_EQ(Pixel(target, 0, 1), (W_Color{0, 0, 255}));
  EXPECT_EQ(Pixel(target, 1, 1), (W_Color{9, 9, 9}));
  XFreePixmap(WX11Disp_display, target);
  W_DestroyGC(gc);
  W_FreePixmap(icon);
}

TEST_F(PixmapTest, RampsRunFromDarkerAtTheBottomToLighterAtTheTop) {
  int w, h;
  const W_Pixmap ramp = W_ReadPixmapFile(StrIn("vramp-100,100,100,20,40.~"), w, h);
  ASSERT_NE(ramp, 0u);
  EXPECT_EQ(w, 32);
  EXPECT_EQ(h, 20);
  EXPECT_EQ(Pixel(ramp, 5, 0), (W_Color{120, 120, 120}));
  EXPECT_EQ(Pixel(ramp, 5, 19), (W_Color{80, 80, 80}));
  W_FreePixmap(ramp);
  EXPECT_EQ(W_ReadPixmapFile(StrIn("vramp-1,2.~"), w, h), 0u);
  EXPECT_EQ(W_ReadPixmapFile(StrIn("!"), w, h), 0u);
}

TEST_F(PixmapTest, FilesThatAreNoColourImagesOrTooLargeAreRefused) {
  std::ofstream(dir_.Make("gray.pgm"), std::ios::binary) << "P5\n1 1\n255\n\x7f";
  std::ofstream(dir_.Make("huge.ppm"), std::ios::binary) << "P6\n1200 1\n255\n";
  std::ofstream(dir_.Make("short.ppm"), std::ios::binary) << "P6\n4 4\n255\nabc";
  EXPECT_EQ(Failure(dir_.Path() + "/gray.pgm"), 1u);
  EXPECT_EQ(Failure(dir_.Path() + "/huge.ppm"), 3u);
  EXPECT_EQ(Failure(dir_.Path() + "/short.ppm"), 2u);
  EXPECT_EQ(Failure(dir_.Path() + "/missing.ppm"), 2u);
}

const bool site = UseBuildTreeSite(Messages_Init);
const bool server = UseXvfb();

}  // namespace
