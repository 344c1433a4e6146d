// The icon drawing program: a fault names the source and line it stands on
// (also inside a template of an included file), fails the run and leaves no
// output; shapes on whole pixels paint exactly those pixels.
#include "tools/IconDraw.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/TestFiles.h"

namespace {

std::string Fault(const std::string& text, const std::string& origin = "x.icon") {
  IconDraw_Icon icon;
  std::istringstream source(text);
  std::string error;
  if (IconDraw_ParseSource(source, origin, icon, error)) return "";
  return error;
}

TEST(IconDraw, FaultsNameTheirSourceAndLine) {
  EXPECT_EQ(Fault("size 8 8\n\nrect 0 0 4 4 fill grey\n"), "x.icon:3: unknown colour \"grey\"");
  EXPECT_EQ(Fault("size 8 8\ngroup move 1 1 {\n  rect 0 0 4 4\n"), "x.icon:2: this \"{\" is never closed");
  EXPECT_EQ(Fault("colour c 1 2 3\nline 0 0 9 0 stroke c 1 head 12\n"),
            "x.icon:2: the arrowhead is longer than the line");
  EXPECT_EQ(Fault("text 0 0 \"a\" fill c\n"), "x.icon:1: unknown colour \"c\"");
  EXPECT_EQ(Fault("colour c 1 2 3\ntext 0 0 \"a\" fill c\n"), "x.icon:2: the font has no \"a\"");
  EXPECT_EQ(Fault("colour c 1 2 300\n"), "x.icon:1: \"300\" is no whole number from 0 to 255");
  EXPECT_EQ(Fault("define loop {\n  loop\n}\nloop\n").substr(0, 31), "x.icon:2: nested too deeply (in");

  // A fault in a template of an included file names both places.
  TempDir dir;
  PutFile(dir.Make("lib.iconlib"), "colour c 1 2 3\ndefine mark W {\n  line 0 0 4 4 stroke c $W\n}\n");
  EXPECT_EQ(
      Fault("include \"lib.iconlib\"\nmark 1\nmark 0\n", dir.Path() + "/x.icon"),
      dir.Path() + "/lib.iconlib:3: a stroke needs a width above 0 (in \"mark\" used at " + dir.Path() + "/x.icon:3)");
}

TEST(IconDraw, TheProgramFailsOnAFaultAndLeavesNothing) {
  TempDir dir;
  const std::string output = dir.Path() + "/bad.pxm";
  PutFile(dir.Make("bad.icon"), "size 4 4\ncircle 2 2 1 fill nowhere\n");
  const RunResult run =
      RunProgram({FLOATDECK_BINARY_DIR "/buildtools/icondraw", "-o", output, dir.Path() + "/bad.icon"}, {});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("bad.icon:2: unknown colour"), std::string::npos) << run.err;
  EXPECT_TRUE(FileText(output).empty());
  EXPECT_TRUE(FileText(output + ".tmp").empty());
}

TEST(IconDraw, ShapesOnWholePixelsPaintExactlyThosePixels) {
  IconDraw_Icon icon;
  std::istringstream source(
      "size 6 5\ncolour red 255 0 0\ncolour blue 0 0 255\nmatte blue\n"
      "rect 1 0 2 5 fill red\n"                    // columns 1 and 2
      "rect 3 0 0.5 5 fill red\n"                  // half of column 3
      "text 5 0 \"I\" height 5 centre fill red\n"  // 3 cells of 1 centred on 5: columns 4 to 6
      "rect 5.5 0 1 5 fill clear\n");              // erases the right half of column 5
  std::string error;
  ASSERT_TRUE(IconDraw_ParseSource(source, "t", icon, error)) << error;
  std::vector<unsigned char> rgba;
  ASSERT_TRUE(IconDraw_Render(icon, rgba, error)) << error;
  auto pixel = [&](int x, int y) { return &rgba[static_cast<std::size_t>(y * 6 + x) * 4]; };
  EXPECT_EQ(pixel(0, 1)[3], 0);
  EXPECT_EQ(pixel(1, 1)[3], 255);
  EXPECT_EQ(pixel(2, 4)[0], 255);
  EXPECT_EQ(pixel(2, 4)[2], 0);
  // A pixel half covered is half opaque and takes half the matte's colour.
  EXPECT_EQ(pixel(3, 1)[3], 128);
  EXPECT_EQ(pixel(3, 1)[0], 128);
  EXPECT_EQ(pixel(3, 1)[2], 128);
  // The I: its top bar from column 4, its stem in column 5, half erased.
  EXPECT_EQ(pixel(4, 0)[3], 255);
  EXPECT_EQ(pixel(4, 2)[3], 0);
  EXPECT_EQ(pixel(5, 2)[3], 128);
}

}  // namespace
