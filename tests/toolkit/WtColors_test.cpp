// The small pure helpers of the toolkit: colour names and shades, regions,
// and the UTF-8 of widget texts.
#include "toolkit/WtColors.h"

#include <gtest/gtest.h>

#include <tuple>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "toolkit/Regions.h"
#include "toolkit/WtUtf8.h"

namespace {

TEST(WtColors, NamesComeFromTheXColourFileInAnyCase) {
  W_Color c;
  ASSERT_TRUE(WtColors_SetColorByName("Alice Blue", c));
  EXPECT_EQ(c, (W_Color{240, 248, 255}));
  ASSERT_TRUE(WtColors_SetColorByName("aliceblue", c));
  EXPECT_EQ(c, (W_Color{240, 248, 255}));
  Messages_IgnoreErrors(true);
  EXPECT_FALSE(WtColors_SetColorByName("no such colour", c));
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  EXPECT_EQ(c, (W_Color{0, 0, 0}));
}

TEST(WtColors, ShadesScaleByTheLargestComponent) {
  EXPECT_EQ(WtColors_Darker({200, 100, 50}, 100), (W_Color{100, 50, 25}));
  EXPECT_EQ(WtColors_Darker({0, 0, 0}, 50), (W_Color{0, 0, 0}));
  EXPECT_EQ(WtColors_Lighter({55, 155, 205}, 100), (W_Color{155, 205, 230}));
  EXPECT_TRUE(WtColors_IsCopyColor(WtColors_copyColor));
}

TEST(Regions, UnionKeepsWhatIsNotCoveredAndBoxesIt) {
  Regions_Region r;
  Regions_UnionRectWithRegion({10, 10, 5, 5}, r);
  Regions_UnionRectWithRegion({11, 11, 2, 2}, r);  // covered: not added
  Regions_UnionRectWithRegion({0, 0, 0, 9}, r);    // empty: ignored
  EXPECT_EQ(r.rects.size(), 1u);
  Regions_UnionRectWithRegion({0, 0, 40, 40}, r);  // covers: replaces
  EXPECT_EQ(r.rects.size(), 1u);
  Regions_UnionRectWithRegion({50, 60, 10, 10}, r);
  EXPECT_EQ(std::tuple(Regions_Box(r).width, Regions_Box(r).height), std::tuple(60, 70));
  EXPECT_TRUE(Regions_RectInRegion(r, {39, 39, 5, 5}));
  EXPECT_FALSE(Regions_RectInRegion(r, {40, 40, 10, 10}));
  Regions_IntersectWithRect({30, 30, 25, 35}, r);
  EXPECT_EQ(std::tuple(Regions_Box(r).x, Regions_Box(r).height), std::tuple(30, 35));
}

TEST(WtUtf8, LatinOneRoundTripsAndStrangersBecomeQuestionMarks) {
  const std::string latin1 = "Gr\xFC\xDF\x65 \xA9";
  const std::string utf8 = WtUtf8_FromLatin1(latin1);
  EXPECT_EQ(utf8, "Gr\xC3\xBC\xC3\x9F" "e \xC2\xA9");
  EXPECT_EQ(WtUtf8_ToLatin1(utf8), latin1);
  EXPECT_EQ(WtUtf8_Length(utf8), 7);
  // A euro sign is beyond Latin-1; a stray byte is no UTF-8.
  EXPECT_EQ(WtUtf8_ToLatin1("\xE2\x82\xAC" "a\xC3"), "?a?");
  EXPECT_EQ(WtUtf8_Next(utf8, 2), 4);
  EXPECT_EQ(WtUtf8_Previous(utf8, 4), 2);
  EXPECT_EQ(WtUtf8_Next(utf8, static_cast<int>(utf8.size())), static_cast<int>(utf8.size()));
  EXPECT_EQ(WtUtf8_Previous(utf8, 0), 0);
}

const bool site = UseBuildTreeSite(Messages_Init);

}  // namespace
