// The icon set as the program reads it: every module kind's icon (named by
// the kind table) and the extras load by name from the build tree's icons,
// keep to the sizes their places allow, show a transparent outline, and are
// told apart from each other also in their grey, disabled form.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/W.h"
#include "toolkit/WtColors.h"
#include "workflow/WFmodule.h"
// Xlib last: its macros would hide names of the headers above.
#include "toolkit/WX11Disp.h"
#include <X11/Xutil.h>

namespace {

// Where an icon is transparent, the surface it is put on shows: this colour,
// which no icon has.
const W_Color kSurface{255, 0, 255};

// An icon as it lands on the surface, rows from the top.
struct Picture {
  std::string name;
  int width = 0, height = 0;
  std::vector<W_Color> pixels;

  const W_Color& At(int x, int y) const { return pixels[static_cast<std::size_t>(y) * width + x]; }
  bool Shows(int x, int y) const { return !(At(x, y) == kSurface); }
};

Picture Load(const std::string& name) {
  Picture p;
  p.name = name;
  const W_Pixmap icon = W_ReadPixmapFile(name, p.width, p.height);
  if (icon == 0) {
    ADD_FAILURE() << name << " was not read";
    return p;
  }
  Display* d = WX11Disp_display;
  const Pixmap target = XCreatePixmap(d, DefaultRootWindow(d), static_cast<unsigned>(p.width),
                                      static_cast<unsigned>(p.height), static_cast<unsigned>(W_DefaultDepth()));
  const W_GC gc = W_CreateGC();
  W_SetForeground(gc, kSurface);
  XFillRectangle(d, target, reinterpret_cast<GC>(gc), 0, 0, static_cast<unsigned>(p.width),
                 static_cast<unsigned>(p.height));
  W_CopyTPixmap(icon, target, gc, 0, 0);
  W_Sync(false);
  XImage* image =
      XGetImage(d, target, 0, 0, static_cast<unsigned>(p.width), static_cast<unsigned>(p.height), AllPlanes, ZPixmap);
  for (int y = 0; y < p.height; ++y)
    for (int x = 0; x < p.width; ++x) {
      const unsigned long v = XGetPixel(image, x, y);
      p.pixels.push_back(W_Color{static_cast<std::uint32_t>((v >> 16) & 0xFF),
                                 static_cast<std::uint32_t>((v >> 8) & 0xFF), static_cast<std::uint32_t>(v & 0xFF)});
    }
  XDestroyImage(image);
  XFreePixmap(d, target);
  W_DestroyGC(gc);
  W_FreePixmap(icon);
  return p;
}

int Spread(const W_Color& c) {
  return static_cast<int>(std::max({c.red, c.green, c.blue}) - std::min({c.red, c.green, c.blue}));
}

// The normal form has colour (unless it is meant to be dark); the "@" form
// is grey wherever it shows.
void ExpectColourAndGreyForms(const Picture& normal, const Picture& grey, bool colour = true) {
  int coloured = 0, notGrey = 0;
  for (const W_Color& c : normal.pixels) coloured += !(c == kSurface) && Spread(c) >= 24;
  for (const W_Color& c : grey.pixels) notGrey += !(c == kSurface) && Spread(c) != 0;
  if (colour) {
    EXPECT_GT(coloured, 0) << normal.name << " has no colour";
  }
  EXPECT_EQ(notGrey, 0) << grey.name << " is not grey";
}

// The number of pixels in which two pictures of one size differ visibly.
int Difference(const Picture& a, const Picture& b) {
  if (a.width != b.width || a.height != b.height) return a.width * a.height + b.width * b.height;
  int count = 0;
  for (std::size_t i = 0; i < a.pixels.size(); ++i) {
    const W_Color &p = a.pixels[i], &q = b.pixels[i];
    const int delta = std::abs(static_cast<int>(p.red) - static_cast<int>(q.red)) +
                      std::abs(static_cast<int>(p.green) - static_cast<int>(q.green)) +
                      std::abs(static_cast<int>(p.blue) - static_cast<int>(q.blue));
    count += delta > 30;
  }
  return count;
}

// The pictures the graph draws in a cell: every kind's, the user-defined
// component's and the trash can's.
std::vector<std::string> CellIcons() {
  std::vector<std::string> names;
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    char name[kNameCap];
    WFmodule_GetIcon(kind, name);
    names.push_back(name);
  }
  names.push_back("AutoUDef.pxm");
  names.push_back("WFtrash.pxm");
  return names;
}

TEST(Icons, CellIconsFitTheCellAndAreToldApartAlsoInGrey) {
  std::vector<Picture> greys;
  for (const std::string& name : CellIcons()) {
    const Picture normal = Load(name), grey = Load(name + "@");
    if (normal.pixels.empty()) continue;
    // A larger icon is refused by the graph; a much smaller one is lost in
    // the cell.
    EXPECT_GE(std::max(normal.width, normal.height), 28) << name;
    EXPECT_LE(std::max(normal.width, normal.height), 35) << name;
    // The corners are transparent, so the cell's frame shows round the sign.
    const int right = normal.width - 1, bottom = normal.height - 1;
    EXPECT_FALSE(normal.Shows(0, 0) || normal.Shows(right, 0) || normal.Shows(0, bottom) || normal.Shows(right, bottom))
        << name;
    ExpectColourAndGreyForms(normal, grey);
    greys.push_back(grey);
  }
  // In grey, shape alone tells them apart: two icons differ in a good many
  // pixels, not in a few.
  for (std::size_t i = 0; i < greys.size(); ++i)
    for (std::size_t j = i + 1; j < greys.size(); ++j)
      EXPECT_GE(Difference(greys[i], greys[j]), 40) << greys[i].name << " and " << greys[j].name;
}

TEST(Icons, MarksTableIconsAndLampsKeepTheirSizes) {
  struct Expected {
    const char* name;
    int maxWidth, maxHeight;
    bool exact;
  };
  const Expected all[] = {
      {"stoptiny.pxm", 12, 12, false},  {"WFcluster.pxm", 12, 12, false}, {"WFstopped.pxm", 16, 16, true},
      {"WFerrors.pxm", 16, 16, true},   {"WFexpress.pxm", 16, 16, true},  {"WFlocked.pxm", 16, 16, true},
      {"WFsynced.pxm", 16, 16, true},   {"lampoff.pxm", 16, 16, true},    {"lampred.pxm", 16, 16, true},
      {"lampyellow.pxm", 16, 16, true}, {"lampgreen.pxm", 16, 16, true},  {"lampblue.pxm", 16, 16, true},
      {"WMdefaul.pxm", 48, 48, true},
  };
  std::vector<Picture> pictures;
  for (const Expected& e : all) {
    const Picture normal = Load(e.name), grey = Load(std::string(e.name) + "@");
    if (normal.pixels.empty()) continue;
    EXPECT_LE(normal.width, e.maxWidth) << e.name;
    EXPECT_LE(normal.height, e.maxHeight) << e.name;
    const int least = e.exact ? std::min(e.maxWidth, e.maxHeight) : 8;
    EXPECT_GE(std::min(normal.width, normal.height), least) << e.name;
    ExpectColourAndGreyForms(normal, grey, std::string(e.name) != "lampoff.pxm");
    pictures.push_back(normal);
  }
  for (std::size_t i = 0; i < pictures.size(); ++i)
    for (std::size_t j = i + 1; j < pictures.size(); ++j)
      EXPECT_GE(Difference(pictures[i], pictures[j]), 10) << pictures[i].name << " and " << pictures[j].name;
}

TEST(Icons, LampsShineInTheirColoursAndTheDarkOneDoesNot) {
  // The middle of the glass, below the highlight.
  auto glass = [](const char* name) {
    const Picture p = Load(name);
    return p.pixels.empty() ? W_Color{} : p.At(p.width / 2, p.height * 5 / 8);
  };
  const W_Color off = glass("lampoff.pxm"), red = glass("lampred.pxm"), yellow = glass("lampyellow.pxm"),
                green = glass("lampgreen.pxm"), blue = glass("lampblue.pxm");
  EXPECT_LT(std::max({off.red, off.green, off.blue}), 120u);
  EXPECT_TRUE(red.red > red.green + 80 && red.red > red.blue + 80);
  EXPECT_TRUE(yellow.red > yellow.blue + 100 && yellow.green > yellow.blue + 80);
  EXPECT_TRUE(green.green > green.red + 60 && green.green > green.blue + 60);
  EXPECT_TRUE(blue.blue > blue.red + 80 && blue.blue > blue.green + 40);
  for (const W_Color& lit : {red, yellow, green, blue})
    EXPECT_GT(std::max({lit.red, lit.green, lit.blue}), std::max({off.red, off.green, off.blue}) + 80);
}

TEST(Icons, PaperIsTheDefaultBackgroundEverywhere) {
  const Picture paper = Load("paper.pxm");
  ASSERT_FALSE(paper.pixels.empty());
  for (const W_Color& c : paper.pixels) ASSERT_EQ(c, WtColors_defaultBackground);
}

// The icons of the build tree only: none from a projects directory.
void Init() {
  static TempDir projects;
  ::setenv("TV_PROJECTS", projects.Path().c_str(), 1);
  ::setenv("MARLLIB", FLOATDECK_BINARY_DIR, 1);
  Messages_Init();
}

const bool site = UseBuildTreeSite(Init);
const bool server = UseXvfb();

}  // namespace
