// The graph view on a private X server and in a private site: where the
// layout puts folders (the sample, joins, forks, a graph too wide for the
// grid, the places a user gave), the frames' colours by the folders' state
// read back by pixel at the places the grid's formulas give, an icon too
// large for its cell, scrolling that copies what stays and draws only what
// came into view, cells under the panel, and the folder under the pointer.
#include "manager/WFshow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "manager/WFstatus.h"
#include "tests/manager/GraphCells.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "tools/WFdesc.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "watch/TVWcfg.h"
#include "watch/WFjobStat.h"
#include "workflow/WFplaces.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>

namespace {

namespace fs = std::filesystem;

void Init();
TempDir*& site = UsePrivateSiteForTests(Init);
const bool xvfb = UseXvfb();

std::vector<std::string> told;  // the messages the workflow layer showed
void Tell(StrIn text) { told.push_back(text.Str()); }

void Init() {
  const std::string root = site->Path();
  ::setenv("MARLENV", (FLOATDECK_BINARY_DIR "/tests/env:" + root + "/env:" FLOATDECK_BINARY_DIR "/env").c_str(), 1);
  // The tests' own icons first, then the build's.
  ::setenv("ICONS", (root + "/projects/icons:" FLOATDECK_BINARY_DIR "/icons").c_str(), 1);
  ChoosePort("TV_CCSERVER_PORT");  // no queue server: the job table is the test's
  Messages_Init();
  WFstatus_Init();
  I_Init();
  Messages_UseMsgCat("FLOATDECKmsg");
  I_UseContextCat("IGRAPHdlg");
  WFbase_Hooks hooks;
  hooks.show = Tell;
  WFbase_RegisterHooks(hooks);
}

std::string Path(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return StrIn(path).Str();
}

// A workflow in memory from a description as the install tool reads it,
// with its folders by their names in the description.
WFbase Build(const std::string& name, const std::string& text, std::map<std::string, WFfolder>& folders) {
  WFdesc_Description description;
  WFdesc_Error error;
  std::vector<WFfolder> removed;
  std::vector<WFdesc_Made> made;
  WFbase workflow = WFbase_CreateWorkflow(name, false);
  EXPECT_TRUE(WFdesc_Parse(text.data(), text.size(), description, error) &&
              WFdesc_Apply(description, workflow, removed, error, &made))
      << error.line << ": " << error.text;
  folders.clear();
  for (const WFdesc_Made& m : made) folders[m.line->name] = m.folder;
  for (const WFdesc_Made& m : made)
    for (std::size_t i = 0; i < m.line->outs.size(); ++i)
      if (std::string(m.line->outs[i].text) == WFdesc_outdir)
        folders[WFdesc_outdir] = WFfolder_OutFolder(m.folder, static_cast<std::uint32_t>(i + 1));
  return workflow;
}

std::string Chain(int renames) {
  std::string text = "start s -> r0\n";
  for (int i = 0; i < renames; ++i)
    text += "rename r" + std::to_string(i) + " -> " + (i + 1 < renames ? "r" + std::to_string(i + 1) : "end") + "\n";
  return text + "sort end\n";
}

unsigned long Rgb(unsigned r, unsigned g, unsigned b) { return (r << 16) | (g << 8) | b; }
// The outer ring of a frame: its colour half way to white.
unsigned long Pale(unsigned r, unsigned g, unsigned b) { return Rgb((r + 255) / 2, (g + 255) / 2, (b + 255) / 2); }
unsigned Red(unsigned long p) { return static_cast<unsigned>(p >> 16) & 0xFF; }
unsigned Green(unsigned long p) { return static_cast<unsigned>(p >> 8) & 0xFF; }
unsigned Blue(unsigned long p) { return static_cast<unsigned>(p) & 0xFF; }

// What the view draws on its window while it is watched: the area each
// drawing call touches (copies apart, which are counted).
struct Drawn {
  static inline W_Window window = 0;
  static inline std::vector<Regions_Rect> areas;
  static inline int copies = 0;
  static void Touch(W_Drawable d, int x, int y, int w, int h) {
    if (d == window) areas.push_back({x, y, w, h});
  }
};

// Watches the drawing procedures while it lives.
class Watch {
 public:
  explicit Watch(W_Window window) {
    Drawn::window = window;
    Drawn::areas.clear();
    Drawn::copies = 0;
    fill_ = W_FillRectangle, rect_ = W_DrawRectangle, segments_ = W_DrawSegments, lines_ = W_DrawLines;
    icon_ = W_CopyTPixmap, copy_ = W_CopyArea;
    W_FillRectangle = [](W_Drawable d, W_GC gc, int x, int y, int w, int h) {
      Drawn::Touch(d, x, y, w, h);
      fill_(d, gc, x, y, w, h);
    };
    W_DrawRectangle = [](W_Drawable d, W_GC gc, int x, int y, int w, int h) {
      Drawn::Touch(d, x, y, w + 1, h + 1);
      rect_(d, gc, x, y, w, h);
    };
    W_DrawSegments = [](W_Drawable d, W_GC gc, const W_Segment* s, int n) {
      for (int i = 0; i < n; ++i)
        Drawn::Touch(d, std::min(s[i].x1, s[i].x2), std::min(s[i].y1, s[i].y2), std::abs(s[i].x2 - s[i].x1) + 1,
                     std::abs(s[i].y2 - s[i].y1) + 1);
      segments_(d, gc, s, n);
    };
    W_DrawLines = [](W_Drawable d, W_GC gc, const W_Point* p, int n) {
      for (int i = 0; i + 1 < n; ++i)
        Drawn::Touch(d, std::min(p[i].x, p[i + 1].x), std::min(p[i].y, p[i + 1].y), std::abs(p[i + 1].x - p[i].x) + 1,
                     std::abs(p[i + 1].y - p[i].y) + 1);
      lines_(d, gc, p, n);
    };
    W_CopyTPixmap = [](W_Pixmap pixmap, W_Drawable d, W_GC gc, int x, int y) {
      int w = 0, h = 0;
      W_GetPixmapGeometry(pixmap, w, h);
      Drawn::Touch(d, x, y, w, h);
      icon_(pixmap, d, gc, x, y);
    };
    W_CopyArea = [](W_Drawable from, W_Drawable to, W_GC gc, int x, int y, int w, int h, int toX, int toY) {
      Drawn::copies += to == Drawn::window;
      copy_(from, to, gc, x, y, w, h, toX, toY);
    };
  }
  ~Watch() { W_InitForX11(); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  static inline decltype(W_FillRectangle) fill_, rect_;
  static inline decltype(W_DrawSegments) segments_;
  static inline decltype(W_DrawLines) lines_;
  static inline decltype(W_CopyTPixmap) icon_;
  static inline decltype(W_CopyArea) copy_;
};

class GraphTest : public ::testing::Test {
 protected:
  // One window for all tests, a new view on it for each.
  static void SetUpTestSuite() {
    WFshow_InitIcons();
    c_ = I_Create("IGraph_View", true);
    ASSERT_TRUE(c_ != nullptr && Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
  }
  static void TearDownTestSuite() { I_Destroy(c_); }
  void SetUp() override {
    told.clear();
    draw_ = I_AccessWidget(c_, 999);
    view_ = WFshow_CreateAndAttach(c_, WFshow_mainElements);
    ASSERT_TRUE(view_ != nullptr);
    Resize(640, 460);
  }
  void TearDown() override {
    Settle();
    WFshow_Show(view_, nullptr);
    WFshow_Destroy(view_);
    for (WFbase& workflow : workflows_) WFbase_DestroyWorkflow(workflow);
  }

  void Settle() {
    XSync(user_.display(), False);
    W_Sync(false);
    Pump([] { return true; });
  }
  // The drawing area becomes width by height: the window is made larger
  // by what lies around the drawing area.
  void Resize(int width, int height) {
    Settle();
    if (draw_->width == width && draw_->height == height) return;
    const auto shell = static_cast<CWShell>(I_AccessWidget(c_, -1));
    XResizeWindow(user_.display(), shell->outerWindow, static_cast<unsigned>(shell->width + width - draw_->width),
                  static_cast<unsigned>(shell->height + height - draw_->height));
    XSync(user_.display(), False);
    ASSERT_TRUE(Pump([&] { return draw_->width == width && draw_->height == height; }));
    Settle();
  }
  WFbase Show(const std::string& name, const std::string& text) {
    workflows_.push_back(Build(name, text, f_));
    WFshow_Show(view_, workflows_.back());
    Settle();
    return workflows_.back();
  }
  std::pair<int, int> Cell(const std::string& name) {
    int column = -1, row = -1;
    EXPECT_TRUE(WFshow_GetCell(view_, f_.at(name), column, row)) << name;
    return {column, row};
  }
  std::pair<int, int> Corner(const std::string& name) { return FrameCorner(view_, f_.at(name)); }
  unsigned long Pixel(int x, int y) { return user_.Pixel(draw_, x, y); }
  // The rings of the frame: the colour inside, half way to white outside.
  bool FrameOf(const std::string& name, unsigned r, unsigned g, unsigned b) {
    const auto [x, y] = Corner(name);
    return Pump([&] {
      return Pixel(x + 20, y + 1) == Rgb(r, g, b) && Pixel(x + 1, y + 10) == Rgb(r, g, b) &&
             Pixel(x + 39, y + 30) == Rgb(r, g, b) && Pixel(x + 20, y + 40) == Pale(r, g, b);
    });
  }
  // Pixels of the icon area (35 by 35 inside the frame) that pass `test`.
  template <class Test>
  int CountInIcon(const std::string& name, int fromX, int fromY, int size, Test test) {
    const auto [x, y] = Corner(name);
    int count = 0;
    for (int dy = fromY; dy < fromY + size; ++dy)
      for (int dx = fromX; dx < fromX + size; ++dx) count += test(Pixel(x + 3 + dx, y + 3 + dy));
    return count;
  }

  XUser user_;
  static inline I_Context c_ = nullptr;
  Widget draw_ = nullptr;
  WFshow_View view_ = nullptr;
  std::vector<WFbase> workflows_;
  std::map<std::string, WFfolder> f_;
};

TEST_F(GraphTest, TheLayoutPlacesForksJoinsAndTheSample) {
  std::ifstream sample(FLOATDECK_SOURCE_DIR "/scripts/sample.wf");
  Show("sample", std::string(std::istreambuf_iterator<char>(sample), {}));
  // The start at column 0, row 48; the duplicate's end one row down and the
  // switch two up in the next column, its sort folders one row either side.
  EXPECT_EQ(Cell("in"), std::make_pair(0, 48));
  EXPECT_EQ(Cell("dup"), std::make_pair(2, 48));
  EXPECT_EQ(Cell("outdir"), std::make_pair(3, 47));
  EXPECT_EQ(Cell("filt"), std::make_pair(3, 50));
  EXPECT_EQ(Cell("passed"), std::make_pair(4, 49));
  EXPECT_EQ(Cell("rejected"), std::make_pair(4, 51));
  const auto filt = Corner("filt"), passed = Corner("passed"), rejected = Corner("rejected");
  EXPECT_EQ(passed, std::make_pair(filt.first + 61, filt.second - 46));
  EXPECT_EQ(rejected, std::make_pair(filt.first + 61, filt.second + 46));
  EXPECT_TRUE(FrameOf("passed", 112, 112, 112));

  // A join one column behind its last predecessor, half way between them.
  Show("join", "start s -> d\nduplicate d -> a b\nrename a -> j\nrename b -> c\nrename c -> j\n"
               "rename j -> outdir\n");
  const auto [aColumn, aRow] = Cell("a");
  const auto [cColumn, cRow] = Cell("c");
  EXPECT_EQ(Cell("j"), std::make_pair(std::max(aColumn, cColumn) + 1, std::min(aRow, cRow) + std::abs(aRow - cRow) / 2));
  EXPECT_EQ(Cell("j").first, 4);

  // Two outs of equal height, one up and one down the same distance, for
  // ends and for branches three rows high.
  Show("two", "start s -> d\nduplicate d -> x y\nsort x\nsort y\n");
  EXPECT_EQ(Cell("x"), std::make_pair(2, 47));
  EXPECT_EQ(Cell("y"), std::make_pair(2, 49));
  Show("fork", "start s -> d\nduplicate d -> x y\nduplicate x -> p q\nduplicate y -> u v\n"
               "sort p\nsort q\nsort u\nsort v\n");
  EXPECT_EQ(Cell("x"), std::make_pair(2, 46));
  EXPECT_EQ(Cell("y"), std::make_pair(2, 50));
  // Three: the middle one straight, the upper next to it, the lower one row
  // further away.
  Show("three", "start s -> w\nswitch w -> x y z MODE=3 OUTDIRCOUNT=3 INKRANGES=0,10,20,30\n"
                "sort x\nsort y\nsort z\n");
  EXPECT_EQ(Cell("y"), std::make_pair(2, 48));
  EXPECT_EQ(Cell("z"), std::make_pair(2, 49));
  EXPECT_EQ(Cell("x"), std::make_pair(2, 46));
}

TEST_F(GraphTest, AWorkflowWiderThanTheGridShowsNothing) {
  // 96 columns fit: the end of a chain of 94 renames lies in column 95.
  Show("wide", Chain(94));
  EXPECT_EQ(Cell("end"), std::make_pair(95, 48));
  EXPECT_TRUE(FrameOf("s", 112, 112, 112));
  EXPECT_TRUE(told.empty());
  const auto [x, y] = Corner("s");
  // One more needs column 96.
  const WFbase wider = Show("wider", Chain(95));
  int column, row;
  EXPECT_FALSE(WFshow_GetCell(view_, WFbase_StartFolder(wider), column, row));
  EXPECT_EQ(WFshow_GetFolder(view_, 0, 48), nullptr);
  TextStr text;
  Messages_GetMsg("WFshow", 2, text);
  std::string expected = StrIn(text).Str();
  expected.replace(expected.find("%s"), 2, "wider");
  EXPECT_EQ(told, std::vector<std::string>{expected});
  EXPECT_TRUE(Pump([&] { return Pixel(x + 20, y + 1) == Rgb(242, 242, 237); }));
}

TEST_F(GraphTest, PlacesMoveAFolderWithItsSuccessors) {
  PathStr start;
  WFbase_GetStartPath("placed", start);
  fs::create_directories(StrIn(start).Str());
  workflows_.push_back(Build("placed", "start s -> a\nrename a -> b\nrename b -> c\nsort c\n", f_));
  std::ofstream(StrIn(start).Str() + "/" + WFplaces_fileName) << "placed\n" << Path(f_["b"]) << " 2 -3\n";
  WFshow_Show(view_, workflows_.back());
  EXPECT_EQ(Cell("a"), std::make_pair(1, 48));
  EXPECT_EQ(Cell("b"), std::make_pair(4, 45));
  EXPECT_EQ(Cell("c"), std::make_pair(5, 45));
  EXPECT_TRUE(FrameOf("c", 112, 112, 112));
}

TEST_F(GraphTest, FramesTakeTheColourOfTheFolderState) {
  std::ifstream sample(FLOATDECK_SOURCE_DIR "/scripts/sample.wf");
  const WFbase workflow = Build("colours", std::string(std::istreambuf_iterator<char>(sample), {}), f_);
  workflows_.push_back(workflow);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow));
  for (const auto& [name, folder] : f_) fs::remove(Path(folder) + "/" + TVWcfg_omitMark);
  WFshow_Show(view_, workflow);
  for (const char* name : {"in", "ren", "dup", "filt", "passed", "rejected"}) EXPECT_TRUE(FrameOf(name, 112, 112, 112));

  std::ofstream(Path(f_["ren"]) + "/job01_07C.tif") << "x";
  fs::create_directories(Path(f_["dup"]));
  std::ofstream(Path(f_["dup"]) + "/" + TVWcfg_discFullMark);
  WFjobStat_AddFile(Path(f_["filt"]), "a.tif", WFjobStat_Waiting);
  WFjobStat_AddFile(Path(f_["rejected"]), "b.tif", WFjobStat_Running);
  const auto stopRed = [](unsigned long p) { return Red(p) > 150 && Green(p) < 90 && Blue(p) < 90; };
  EXPECT_EQ(CountInIcon("passed", 23, 23, 12, stopRed), 0);
  std::ofstream(Path(f_["passed"]) + "/" + TVWcfg_omitMark);
  bool changed = false;
  WFshow_UpdateStatus(view_, changed);
  EXPECT_TRUE(changed);
  EXPECT_TRUE(FrameOf("in", 112, 112, 112));
  EXPECT_TRUE(FrameOf("ren", 230, 32, 32));
  EXPECT_TRUE(FrameOf("dup", 230, 32, 230));
  EXPECT_TRUE(FrameOf("filt", 230, 230, 32));
  EXPECT_TRUE(FrameOf("rejected", 32, 230, 32));
  // The stopped folder keeps its colour and gets the stop mark at the upper
  // right of its icon.
  EXPECT_TRUE(FrameOf("passed", 112, 112, 112));
  EXPECT_GT(CountInIcon("passed", 23, 23, 12, stopRed), 10);

  // A round where nothing changed draws nothing.
  {
    const Watch watch(draw_->window);
    WFshow_UpdateStatus(view_, changed);
    Settle();
    EXPECT_TRUE(Drawn::areas.empty());
  }
  // The job ends: the frame goes back to grey, and only that frame is drawn.
  WFjobStat_DeleteFile(Path(f_["rejected"]), "b.tif");
  const auto [x, y] = Corner("rejected");
  {
    const Watch watch(draw_->window);
    WFshow_UpdateStatus(view_, changed);
    for (const Regions_Rect& r : Drawn::areas)
      EXPECT_TRUE(r.x >= x && r.y >= y && r.x + r.width <= x + 41 && r.y + r.height <= y + 41);
    EXPECT_FALSE(Drawn::areas.empty());
  }
  EXPECT_TRUE(FrameOf("rejected", 112, 112, 112));
}

TEST_F(GraphTest, AnIconTooLargeLeavesItsKindTheTitle) {
  std::ifstream sample(FLOATDECK_SOURCE_DIR "/scripts/sample.wf");
  const std::string text(std::istreambuf_iterator<char>(sample), {});
  const auto colourful = [](unsigned long p) {
    return std::max({Red(p), Green(p), Blue(p)}) - std::min({Red(p), Green(p), Blue(p)}) >= 40;
  };
  const auto dark = [](unsigned long p) { return Red(p) < 80 && Green(p) < 80 && Blue(p) < 80; };
  Show("icons", text);
  ASSERT_TRUE(Pump([&] { return CountInIcon("passed", 0, 0, 35, colourful) > 50; }));

  const std::string icons = site->Path() + "/projects/icons";
  fs::create_directories(icons);
  std::ofstream(icons + "/AutoSort.pxm") << "P6\n36 36\n255\n" << std::string(36 * 36 * 3, '\x50');
  testing::internal::CaptureStderr();
  WFshow_InitIcons();
  const std::string err = testing::internal::GetCapturedStderr();
  fs::remove_all(icons);
  EXPECT_EQ(err, "Floatdeck: Icon size exceeds limit (35x35 pixel): AutoSort.pxm\n");
  Show("icons", text);
  EXPECT_TRUE(Pump([&] {
    return CountInIcon("passed", 0, 0, 35, colourful) == 0 && CountInIcon("passed", 0, 0, 35, dark) > 5;
  }));
  WFshow_InitIcons();
}

TEST_F(GraphTest, ScrollingCopiesWhatStaysAndDrawsWhatCameIntoView) {
  Show("long", Chain(28));
  int columns, rows;
  WFshow_GetVisible(view_, columns, rows);
  EXPECT_EQ(columns, (640 - 10) / 61);
  EXPECT_EQ(I_GetINTEGER(c_, 30), 2);  // only the horizontal bar is in use
  EXPECT_TRUE(FrameOf("r8", 112, 112, 112));
  // One column on: the click on the bar's right arrow.
  const Widget bar = I_AccessWidget(c_, 997);
  {
    const Watch watch(draw_->window);
    user_.ClickAt(bar, bar->width - bar->height / 2, bar->height / 2);
    ASSERT_TRUE(Pump([&] {
      int column, row;
      WFshow_GetFirst(view_, column, row);
      return column == 1;
    }));
    Settle();
    EXPECT_EQ(Drawn::copies, 1);
    EXPECT_FALSE(Drawn::areas.empty());
    // Only the cells and lines that meet the column uncovered at the right,
    // inside the frame: a call reaches at most a box (41) beyond it.
    const Regions_Rect uncovered{draw_->width - 1 - 61 - 40, 0, 61 + 80, draw_->height};
    for (const Regions_Rect& r : Drawn::areas) EXPECT_TRUE(Regions_RectsMeet(r, uncovered)) << r.x << "," << r.y << " " << r.width << "x" << r.height;
  }
  EXPECT_EQ(I_GetINTEGER(c_, 4), 1);
  EXPECT_TRUE(FrameOf("r0", 112, 112, 112));
  EXPECT_TRUE(FrameOf("r8", 112, 112, 112));
  EXPECT_EQ(Corner("r0").first, 10);
}

TEST_F(GraphTest, CellsUnderThePanelHaveNoFrame) {
  // Three rows that just fit: the lowest is the first one shown.
  Resize(640, 160);
  Show("panel", "start s -> d\nduplicate d -> x y\nsort x\nsort y\n");
  EXPECT_TRUE(FrameOf("x", 112, 112, 112));
  // The site's components fill the panel of edit mode beside the kinds;
  // edit mode moves the picture a row down, so that x lies under the panel,
  // and a narrower window makes the panel higher still.
  const std::string components = site->Path() + "/customer/" + WFconfig_cfgName;
  std::ofstream cfg(components);
  for (int i = 0; i < 33; ++i)
    cfg << "FOLDER=/tmp/c" << i << ":SUBDIRS=TRUE:CMD=c:OPTIONS=.crc:SHORTDESC=c" << i << ":OUTS=1\n";
  cfg.close();
  WFshow_SetMode(view_, WFshow_kEditMode);
  const int wide = WFshow_GetPanelHeight(view_);
  Resize(300, 300);
  fs::remove(components);
  const int panel = WFshow_GetPanelHeight(view_);
  EXPECT_GT(panel, wide);
  // s, in the lowest row shown, keeps its frame; the panel's top row (rows
  // stand 37 pixels apart, the height counts 35) lies over its lowest pixels.
  const auto [sx, sy] = Corner("s");
  EXPECT_TRUE(Pump([&] { return Pixel(sx + 1, sy + 30) == Rgb(112, 112, 112) && Pixel(sx + 20, sy + 40) == Pale(112, 112, 112); }));
  const auto [x, y] = Corner("x");
  ASSERT_LE(y + 41, panel);
  for (int dy = 0; dy < 41; ++dy)
    for (int dx = 0; dx < 41; ++dx) {
      const unsigned long p = Pixel(x + dx, y + dy);
      ASSERT_TRUE(p != Rgb(112, 112, 112) && p != Pale(112, 112, 112)) << dx << "," << dy;
    }
  WFshow_SetMode(view_, WFshow_kStatusMode);
}

TEST_F(GraphTest, ThePointerNamesTheFolderUnderIt) {
  workflows_.push_back(Build("tip", "start s -> r\nrename r -> outdir\n", f_));
  WFfolder_SetStringOpt(f_["s"], WFbase_optStartDir, "/data/hot/in");
  WFshow_Show(view_, workflows_.back());
  Settle();
  // Title and path in the window's two texts.
  auto names = [&](const std::string& title, const std::string& path) {
    return Pump([&] {
      TextStr t, p;
      I_GetSTRING(c_, 9, t);
      I_GetSTRING(c_, 10, p);
      return StrIn(t).Str() == title && StrIn(p).Str() == path;
    });
  };
  const auto [sx, sy] = Corner("s");
  const auto [rx, ry] = Corner("r");
  user_.MoveTo(draw_, sx + 20, sy + 20);
  EXPECT_TRUE(names("Start", "/data/hot/in"));  // a start folder's own directory
  user_.MoveTo(draw_, sx + 50, sy + 20);        // between the boxes
  EXPECT_TRUE(names("", ""));
  user_.MoveTo(draw_, rx + 5, ry + 35);
  EXPECT_TRUE(names("Rename", Path(f_["r"])));
  user_.MoveTo(I_AccessWidget(c_, 998), 2, 2);  // out of the graph
  EXPECT_TRUE(names("", ""));
}

}  // namespace
