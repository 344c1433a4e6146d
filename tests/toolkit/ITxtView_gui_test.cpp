// The text viewer on a private X server: a file of some megabytes with odd
// lines (tabs, ISO 8859-1, CR LF, a line too long, no line end at the end)
// across its pages, the find going round, the keys, and the band of the
// line found on the screen.
#include "toolkit/ITxtView.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "tests/support/TestFiles.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWCore.h"
#include "toolkit/I.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/keysym.h>

namespace {

const bool dialogs = UseTestDialogs();
constexpr std::uint64_t kLines = 300000;

std::string Entry(std::uint64_t i) {
  char text[32];
  std::snprintf(text, sizeof text, "entry %06llu", static_cast<unsigned long long>(i));
  return text;
}

std::string WriteText(const TempDir& dir) {
  const std::string path = dir.Path() + "/big.txt";
  std::ofstream out(path, std::ios::binary);
  out << "tab\there\n" << "caf\xe9\n" << "dos\r\n" << std::string(5000, 'x') << "\n";
  for (std::uint64_t i = 4; i + 1 < kLines; ++i) out << Entry(i) << " of the text viewer's test\n";
  out << "the end";
  return path;
}

TEST(ITxtView, ShowsPagesScrollsAndFinds) {
  TempDir dir;
  const std::string path = WriteText(dir);
  EXPECT_FALSE(ITxtView_Show(dir.Path() + "/missing.txt"));
  EXPECT_FALSE(ITxtView_Shown());
  ASSERT_TRUE(ITxtView_Show(path));
  ASSERT_TRUE(Pump([&] { return ITxtView_Shown(); }));
  // The lines as shown, on both sides of page boundaries.
  EXPECT_EQ(ITxtView_LineCount(), kLines);
  EXPECT_EQ(ITxtView_Line(0), "tab     here");
  EXPECT_EQ(ITxtView_Line(1), "caf\xc3\xa9");
  EXPECT_EQ(ITxtView_Line(2), "dos");
  EXPECT_EQ(ITxtView_Line(3), std::string(4096, 'x'));
  for (std::uint64_t i : {std::uint64_t{255}, 256ul, 257ul, 511ul, 512ul, 123456ul, kLines - 2})
    EXPECT_EQ(ITxtView_Line(i), Entry(i) + " of the text viewer's test") << i;
  EXPECT_EQ(ITxtView_Line(kLines - 1), "the end");
  EXPECT_EQ(ITxtView_Line(kLines), "");

  // Find, without regard to case, from the line after the last found; a
  // text that is nowhere finds nothing; at the end it goes round.
  EXPECT_TRUE(ITxtView_Find("ENTRY 123456"));
  EXPECT_EQ(ITxtView_FoundLine(), 123456);
  EXPECT_LE(ITxtView_TopLine(), 123456u);
  EXPECT_TRUE(ITxtView_Find("entry 12345"));
  EXPECT_EQ(ITxtView_FoundLine(), 123457);
  EXPECT_FALSE(ITxtView_Find("nowhere in the text"));
  EXPECT_EQ(ITxtView_FoundLine(), -1);
  EXPECT_TRUE(ITxtView_Find("the END"));
  EXPECT_EQ(ITxtView_FoundLine(), static_cast<std::int64_t>(kLines - 1));
  EXPECT_TRUE(ITxtView_Find("tab"));
  EXPECT_EQ(ITxtView_FoundLine(), 0);
  EXPECT_EQ(ITxtView_TopLine(), 0u);

  // The line found has its band: the first line, under the top margin.
  XUser user;
  Widget text = I_AccessWidget(ITxtView_Context(), ITxtView_kText);
  const unsigned long band = 0xFFEC96;
  EXPECT_TRUE(Pump([&] { return user.Pixel(text, 2, text->height - 6) == band; }));
  EXPECT_NE(user.Pixel(text, 2, text->height / 2), band);
  // End and Home in the text; the bar counts from the bottom.
  user.ClickAt(text, text->width / 2, text->height / 2);
  user.Press(XK_End);
  ASSERT_TRUE(Pump([] { return ITxtView_TopLine() > kLines - 100; }));
  const auto bottom = static_cast<std::int32_t>(ITxtView_TopLine());
  EXPECT_EQ(I_GetINTEGER(ITxtView_Context(), ITxtView_kTop), 0);
  user.Press(XK_Home);
  ASSERT_TRUE(Pump([] { return ITxtView_TopLine() == 0; }));
  EXPECT_EQ(I_GetINTEGER(ITxtView_Context(), ITxtView_kTop), bottom);
  ITxtView_Hide();
  EXPECT_FALSE(ITxtView_Shown());
}

}  // namespace
