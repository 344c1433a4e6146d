// The image viewer's picture: an image reduced by averaging (the normal
// form) or by taking the middle pixel of each block (the quick form), never
// enlarged, its inks turned into RGB, read in steps.
#include "tools/ImgView.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>

#include "image/SIqif.h"
#include "tests/support/TestFiles.h"

namespace {

using Rgb = std::array<int, 3>;
using SampleOf = std::function<std::uint8_t(std::uint32_t x, std::uint32_t y, std::uint32_t channel)>;

std::string WriteQif(const TempDir& dir, const std::string& name, std::uint32_t width, std::uint32_t height,
                     std::uint32_t channels, const SampleOf& sample) {
  SIqif_Init();
  const std::string path = dir.Path() + "/" + name;
  SImage image = SImage_Create(path, width, height, channels, SImage_kTopBottom);
  EXPECT_NE(image, nullptr);
  SScan scan = SScan_Create(width, channels);
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t c = 0; c < channels; ++c)
      for (std::uint32_t x = 0; x < width; ++x) SScan_Samples(scan, c)[x] = sample(x, y, c);
    EXPECT_TRUE(SImage_WriteScan(image, scan));
  }
  SScan_Destroy(scan);
  EXPECT_TRUE(SImage_Close(image));
  return path;
}

Rgb At(const ImgView_Picture& p, int x, int row) {
  const std::uint8_t* rgb = p.Row(row) + 3 * x;
  return {rgb[0], rgb[1], rgb[2]};
}

void ReadAll(ImgView_Picture& p) {
  int steps = 0;
  while (p.Step(1)) ++steps;
  EXPECT_FALSE(p.Failed());
  EXPECT_EQ(p.RowsDone(), p.Height());
  EXPECT_GT(steps, 0);
}

TEST(ImgView, NormalFormAveragesQuickFormTakesTheMiddle) {
  TempDir dir;
  // 6 x 4 grey; into a box 3 wide: each picture pixel stands for 2 x 2.
  const std::string path = WriteQif(dir, "grey.qif", 6, 4, 1, [](std::uint32_t x, std::uint32_t y, std::uint32_t) {
    return static_cast<std::uint8_t>(40 * x + 10 * y);
  });
  ImgView_Picture normal;
  ASSERT_TRUE(normal.Open(path, 3, 100, false));
  EXPECT_EQ(normal.ImageWidth(), 6u);
  EXPECT_EQ(normal.Channels(), 1u);
  ASSERT_EQ(normal.Width(), 3);
  ASSERT_EQ(normal.Height(), 2);
  ReadAll(normal);
  // The mean of the block: 40 * (2bx + 0.5) + 10 * (2by + 0.5).
  for (int by = 0; by < 2; ++by)
    for (int bx = 0; bx < 3; ++bx) {
      const int mean = 80 * bx + 20 * by + 25;
      EXPECT_EQ(At(normal, bx, by), (Rgb{mean, mean, mean})) << bx << " " << by;
    }
  // The quick form takes the pixel right of and below each block's middle.
  ImgView_Picture quick;
  ASSERT_TRUE(quick.Open(path, 3, 100, true));
  ReadAll(quick);
  EXPECT_EQ(At(quick, 0, 0), (Rgb{50, 50, 50}));
  EXPECT_EQ(At(quick, 2, 1), (Rgb{40 * 5 + 10 * 3, 230, 230}));
}

TEST(ImgView, SmallImageStaysAndInksBecomeRgb) {
  TempDir dir;
  // Columns: cyan, black (K), white; more than four channels: the fifth is no ink.
  const std::string cmyk = WriteQif(dir, "inks.qif", 3, 2, 5, [](std::uint32_t x, std::uint32_t, std::uint32_t c) {
    if (c == 4) return std::uint8_t{255};
    return static_cast<std::uint8_t>((x == 0 && c == 0) || (x == 1 && c == 3) ? 255 : 0);
  });
  ImgView_Picture p;
  ASSERT_TRUE(p.Open(cmyk, 1000, 1000, false));
  EXPECT_EQ(p.Width(), 3);
  EXPECT_EQ(p.Height(), 2);
  ReadAll(p);
  EXPECT_EQ(At(p, 0, 1), (Rgb{0, 255, 255}));
  EXPECT_EQ(At(p, 1, 1), (Rgb{0, 0, 0}));
  EXPECT_EQ(At(p, 2, 1), (Rgb{255, 255, 255}));
  // Two channels: the first as grey.
  const std::string two = WriteQif(dir, "two.qif", 2, 2, 2, [](std::uint32_t, std::uint32_t, std::uint32_t c) {
    return static_cast<std::uint8_t>(c == 0 ? 77 : 200);
  });
  ImgView_Picture grey;
  ASSERT_TRUE(grey.Open(two, 10, 10, true));
  ReadAll(grey);
  EXPECT_EQ(At(grey, 1, 1), (Rgb{77, 77, 77}));
  EXPECT_FALSE(ImgView_Picture().Open(dir.Path() + "/missing.qif", 10, 10, false));
}

}  // namespace
