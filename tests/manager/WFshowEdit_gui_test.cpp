// The graph view's edit mode on a private X server, driven through one
// editing session: the panel of the kinds that may be inserted (kinds
// whose command isn't installed greyed out), the trash can, also after a
// scroll, the marks the checks put on folders, the places read back when
// editing is cancelled, and a folder's parameters opened by a click, with
// the undo stack and the GUI log. Pixels are read at places computed from
// the panel's and the grid's geometry; the parameter dialog (the front ends'
// test module, registered for the rename kind) is answered by the replay.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "frontends/FEwfGenr.h"
#include "manager/WFshow.h"
#include "manager/WFstatus.h"
#include "tests/frontends/FEtestModule.h"
#include "tests/manager/GraphCells.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/IReplay.h"
#include "toolkit/WtGuiLog.h"
#include "workflow/WFplaces.h"
#include "workflow/WFtest.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>

namespace {

namespace fs = std::filesystem;

constexpr WFfolder_FolderKind kRename = 29, kDuplicate = 31, kSort = 44;

// The undo button, and whether a parameter dialog ever found it on.
Widget undoButton = nullptr;
bool undoOnUnderDialog = false;
void FrontEndSeeingUndo(StrIn workflow, StrIn folder, SAutoRcF rc, SwitchBd board, bool& modified) {
  undoOnUnderDialog = undoOnUnderDialog || (undoButton != nullptr && undoButton->sensitive);
  FEtest_FrontEndWF(workflow, folder, rc, board, modified);
}

void Init() {
  ::setenv("MARLENV", (FLOATDECK_BINARY_DIR "/tests/env:" + std::string(getenv("MARLENV"))).c_str(), 1);
  ::setenv("ICONS", FLOATDECK_BINARY_DIR "/icons", 1);
  ChoosePort("TV_CCSERVER_PORT");  // no queue server
  Messages_Init();
  WFstatus_Init();
  I_Init();
  Messages_UseMsgCat("FLOATDECKmsg");
  I_UseContextCat("IGRAPHdlg");
  WFbase_SetFeedback(false);
  // The installation holds the commands of rename and sort only; every
  // module kind has a front end, so that all may be inserted.
  const std::string bin = std::string(getenv("MARLLIB")) + "/bin/";
  fs::create_directories(bin);
  for (const char* command : {"autorenm.sh", "AutoSort"}) {
    std::ofstream(bin + command) << "#!/bin/sh\n";
    fs::permissions(bin + command, fs::perms::owner_exec, fs::perm_options::add);
  }
  WFshow_InitEditable();
  for (WFmodule_Kind kind = 2; kind <= kWFmoduleMaxKind; ++kind) WFmodule_RegisterFrontend(kind, nullptr, nullptr, nullptr);
  // The rename folder's parameters are those of the test module.
  I_UseContextCat("FETESTdlg");
  WFmodule_RegisterFrontend(WFfolder_FolderToModuleKind(kRename), FEtest_SetDefaultParams, FrontEndSeeingUndo,
                            WFmodule_NoReferencedFiles);
}
TempDir*& site = UsePrivateSiteForTests(Init);
const bool xvfb = UseXvfb();

unsigned long Rgb(unsigned r, unsigned g, unsigned b) { return (r << 16) | (g << 8) | b; }
const unsigned long kBackground = Rgb(242, 242, 237);
bool Colourful(unsigned long p) {
  const unsigned r = (p >> 16) & 0xFF, g = (p >> 8) & 0xFF, b = p & 0xFF;
  return std::max({r, g, b}) - std::min({r, g, b}) >= 40;
}

class EditMode : public ::testing::Test {
 protected:
  // One window serves the tests; it goes with the program's X server.
  void SetUp() override {
    if (c_ == nullptr) {
      c_ = I_Create("IGraph_View", true);
      ASSERT_TRUE(c_ != nullptr && Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
      WFshow_InitIcons();
    }
    draw_ = I_AccessWidget(c_, 999);
    view_ = WFshow_CreateAndAttach(c_, WFshow_mainElements);
    Settle();
    const auto shell = static_cast<CWShell>(I_AccessWidget(c_, -1));
    XResizeWindow(user_.display(), shell->outerWindow, static_cast<unsigned>(shell->width + 640 - draw_->width),
                  static_cast<unsigned>(shell->height + 460 - draw_->height));
    XSync(user_.display(), False);
    ASSERT_TRUE(Pump([&] { return draw_->width == 640 && draw_->height == 460; }));
  }
  void TearDown() override {
    WFshow_Show(view_, nullptr);
    WFshow_Destroy(view_);
    WFbase_DestroyWorkflow(workflow_);
  }
  WFfolder Add(WFfolder_FolderKind kind, WFfolder from) {
    PathStr path;
    WFbase_BuildFolderPath(workflow_, kind, nullptr, path);
    const WFfolder folder = WFbase_CreateFolder(workflow_, kind, SAutoRcF_Create(), path, false);
    WFfolder_SetOutFolder(from, 1, folder);
    return folder;
  }
  void Settle() {
    XSync(user_.display(), False);
    W_Sync(false);
    Pump([] { return true; });
  }
  unsigned long Pixel(int x, int y) { return user_.Pixel(draw_, x, y); }
  // The inner ring of a folder's frame, at its four sides.
  bool FrameOf(WFfolder folder, unsigned long colour) {
    const auto [x, y] = FrameCorner(view_, folder);
    return Pump([&] {
      return Pixel(x + 20, y + 1) == colour && Pixel(x + 1, y + 20) == colour && Pixel(x + 39, y + 20) == colour &&
             Pixel(x + 20, y + 39) == colour;
    });
  }
  // The 35 by 35 pixels from (x, y).
  std::vector<unsigned long> Area(int x, int y) {
    Settle();
    std::vector<unsigned long> pixels;
    for (int dy = 0; dy < 35; ++dy)
      for (int dx = 0; dx < 35; ++dx) pixels.push_back(Pixel(x + dx, y + dy));
    return pixels;
  }
  // The trash can's icon area: from x 10, centred in the top 46 pixels.
  std::vector<unsigned long> Trash() { return Area(10, draw_->height - 46 + 5); }

  XUser user_;
  static inline I_Context c_ = nullptr;
  Widget draw_ = nullptr;
  WFshow_View view_ = nullptr;
  WFbase workflow_ = WFbase_CreateWorkflow("edit", false);
  WFfolder start_ = WFbase_StartFolder(workflow_);
};

TEST_F(EditMode, ThePanelTheTrashCanTheMarksAndThePlaces) {
  // start -> rename -> sort.
  const WFfolder rename = Add(kRename, start_), sort = Add(kSort, rename);
  WFshow_Show(view_, workflow_);
  const std::vector<unsigned long> none = Trash();
  EXPECT_EQ(std::count(none.begin(), none.end(), kBackground), 35 * 35) << "no trash can in status mode";
  int column, statusRow, editRow;
  WFshow_GetFirst(view_, column, statusRow);
  WFshow_SetMode(view_, WFshow_kEditMode);
  WFshow_GetFirst(view_, column, editRow);
  EXPECT_EQ(editRow, statusRow + 1) << "the picture stays over the panel";

  // The kinds that may be inserted, in rows of width / 37 from the top row,
  // centred; the height counts the rows at 35 pixels and 7 more.
  std::vector<WFfolder_FolderKind> kinds;
  for (WFfolder_FolderKind kind = 0; kind <= kWFfolderMaxKind; ++kind)
    if (WFfolder_InsertableKind(kind) && !WFfolder_UserDefKind(kind)) kinds.push_back(kind);
  const int count = static_cast<int>(kinds.size()), columns = 640 / 37, rows = (count + columns - 1) / columns;
  ASSERT_GE(rows, 3);
  EXPECT_EQ(WFshow_GetPanelHeight(view_), rows * 35 + 7);
  const auto corner = [&](int index) {
    return std::make_pair((640 - columns * 37) / 2 + index % columns * 37, 2 + (rows - 1 - index / columns) * 37);
  };
  Settle();
  for (int index : {0, columns - 1, columns, count - 1}) {
    const auto [x, y] = corner(index);
    const unsigned long frame = Pixel(x + 18, y);
    EXPECT_NE(frame, kBackground) << index;
    EXPECT_TRUE(Pixel(x + 18, y + 36) == frame && Pixel(x, y + 18) == frame && Pixel(x + 36, y + 18) == frame) << index;
  }
  // Nothing past the last kind of the lowest row.
  const auto [pastX, pastY] = corner(count);
  EXPECT_TRUE(count % columns == 0 || Pixel(pastX + 18, pastY + 36) == kBackground);
  // An installed kind shows its icon, one whose command is missing its
  // grey form.
  const auto icon = [&](WFfolder_FolderKind kind) {
    const auto [x, y] = corner(static_cast<int>(std::find(kinds.begin(), kinds.end(), kind) - kinds.begin()));
    return Area(x + 1, y + 1);
  };
  const std::vector<unsigned long> installed = icon(kRename), missing = icon(kDuplicate);
  EXPECT_GT(std::count_if(installed.begin(), installed.end(), Colourful), 50);
  EXPECT_EQ(std::count_if(missing.begin(), missing.end(), Colourful), 0);
  EXPECT_GT(std::count_if(missing.begin(), missing.end(), [](unsigned long p) { return ((p >> 8) & 0xFF) < 170; }), 20);
  // The trash can at the top left.
  const std::vector<unsigned long> trash = Trash();
  EXPECT_GT(std::count_if(trash.begin(), trash.end(), [](unsigned long p) { return p != kBackground; }), 200);

  // A sort by extended names behind a start that makes none: the check
  // marks it; marks by hand move the marks; a check that passes clears them.
  const unsigned long grey = Rgb(112, 112, 112), blue = Rgb(32, 32, 230);
  WFfolder_SetStringOpt(sort, "MODE", "2");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(WFtest_CheckWorkflow(view_, workflow_));
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(FrameOf(sort, blue) && FrameOf(rename, grey) && FrameOf(start_, grey));
  WFshow_MarkFolders(view_, start_, rename);
  EXPECT_TRUE(FrameOf(sort, grey) && FrameOf(rename, blue) && FrameOf(start_, blue));
  WFfolder_SetStringOpt(start_, "EXTENDFILENAMES", "_TRUE_");
  EXPECT_TRUE(WFtest_CheckWorkflow(view_, workflow_));
  EXPECT_TRUE(FrameOf(sort, grey) && FrameOf(rename, grey) && FrameOf(start_, grey));

  // Wider than the window: the trash can stays where it is when the graph
  // scrolls a column on.
  WFfolder last = rename;
  for (int i = 0; i < 13; ++i) last = Add(kRename, last);
  WFfolder_SetOutFolder(last, 1, sort);
  WFshow_Show(view_, workflow_);
  const std::vector<unsigned long> before = Trash();
  const Widget bar = I_AccessWidget(c_, 997);
  user_.ClickAt(bar, bar->width - bar->height / 2, bar->height / 2);
  ASSERT_TRUE(Pump([&] {
    int first, row;
    WFshow_GetFirst(view_, first, row);
    return first == 1;
  }));
  EXPECT_EQ(Trash(), before);

  // Cancelled editing reads the places back from the file.
  PathStr startDir, path;
  WFbase_GetStartPath("edit", startDir);
  fs::create_directories(StrIn(startDir).Str());
  WFfolder_GetPath(sort, path);
  std::ofstream(StrIn(startDir).Str() + "/" + WFplaces_fileName) << "edit\n" << StrIn(path).Str() << " 1 2\n";
  WFshow_ResetPlaces(view_);
  int row;
  WFshow_GetCell(view_, sort, column, row);
  EXPECT_EQ(std::make_pair(column, row), std::make_pair(16, 50));

  // Status mode has no marks, no panel and no trash can.
  WFshow_MarkFolders(view_, rename, nullptr);
  WFshow_SetMode(view_, WFshow_kStatusMode);
  EXPECT_EQ(WFshow_GetPanelHeight(view_), 2);
  EXPECT_TRUE(FrameOf(rename, grey));
  EXPECT_EQ(Trash(), none);
}

std::int32_t Count(WFfolder folder) {
  std::int32_t count = -1;
  WFfolder_GetIntOpt(folder, "COUNT", count);
  return count;
}

class EditParams : public EditMode {
 protected:
  void SetUp() override {
    EditMode::SetUp();
    rename_ = Add(kRename, start_);
    Add(kSort, rename_);
    WFshow_Show(view_, workflow_);
    WFshow_SetMode(view_, WFshow_kEditMode);
    Settle();
    undoButton = I_AccessWidget(c_, 11);
    log_ = site->Path() + "/gui.log";
    ASSERT_TRUE(WtGuiLog_Open(log_));
  }
  void TearDown() override {
    undoButton = nullptr;
    WtGuiLog_Open("");
    IReplay_Stop();
    EditMode::TearDown();
  }
  // The replay that answers the next dialogs.
  void Answer(const std::string& lines, int waitMs = 10000) {
    PutFile(site->Path() + "/replay.log", lines);
    ASSERT_TRUE(IReplay_Start(site->Path() + "/replay.log", waitMs));
  }
  static std::string OkWithCount(int count) {
    return "AOBJ FEtest_Params 12 " + std::to_string(count) + "\nAOBJ FEtest_Params 1 1\n";
  }
  // Button 1 pressed on the icon, moved by (dx, dy) and released.
  void Press(WFfolder folder, int dx, int dy) {
    const auto [x, y] = IconMiddle(view_, folder);
    user_.MoveTo(draw_, x, y);
    user_.Button(1, true);
    user_.MoveTo(draw_, x + dx, y + dy);
    user_.Button(1, false);
  }
  std::size_t Logged(const std::string& word) {
    const std::string text = FileText(log_);
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++count;
    return count;
  }
  std::string UndoLabel() {
    TextStr label;
    I_GetSTRING(c_, 12, label);
    return StrIn(label).Str();
  }
  bool UndoEnabled() { return I_AccessWidget(c_, 11)->sensitive; }

  WFfolder rename_ = nullptr;
  std::string log_;
};

TEST_F(EditParams, AClickOpensTheParametersAndEightStepsCanBeTakenBack) {
  EXPECT_FALSE(UndoEnabled());
  // Nine edits, each a click answered with OK and a new count: the first
  // a plain click, the second with 20 pixels of motion, still a click.
  for (int i = 1; i <= 9; ++i) {
    Answer(OkWithCount(10 + i));
    if (i == 2) Press(rename_, 20, 0);
    else user_.ClickAt(draw_, IconMiddle(view_, rename_).first, IconMiddle(view_, rename_).second);
    ASSERT_TRUE(RunLoop([&] { return !IReplay_Running() && Count(rename_) == 10 + i; })) << i;
    EXPECT_EQ(WFshow_UndoCount(view_), std::min<std::size_t>(i, 8)) << i;
  }
  // The dialog the click opened: the test module's, titled by its kind.
  char title[128] = "";
  I_GetReprAttr(FEwfGenr_Dialog(FEtest_data->head.frame), -1, SIdPool_EnterId("title"), title, sizeof title);
  EXPECT_NE(std::string(title).find(" - edit"), std::string::npos) << title;
  EXPECT_EQ(Logged("EDIT_PARAMS"), 9u);
  EXPECT_FALSE(undoOnUnderDialog) << "undo is off while a parameter dialog is open";
  NameStr kind;
  WFfolder_GetName(rename_, kind);
  EXPECT_NE(UndoLabel().find(StrIn(kind).Str()), std::string::npos) << UndoLabel();
  EXPECT_TRUE(UndoEnabled());

  // Motion beyond 30 pixels across is a drag: no dialog, nothing logged (a
  // dialog opened by mistake would be cancelled by the replay).
  testing::internal::CaptureStderr();
  Answer("AOBJ FEtest_Params 1 0\n", 1500);
  Press(rename_, 31, 0);
  ASSERT_TRUE(RunLoop([] { return !IReplay_Running(); }));
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Logged("EDIT_PARAMS"), 9u);

  // Undo gives the workflow before the ninth edit, and the label of the
  // eighth.
  PathStr path;
  WFfolder_GetPath(rename_, path);
  WFbase previous = WFshow_Undo(view_);
  ASSERT_NE(previous, nullptr);
  EXPECT_EQ(Count(WFbase_FindFolder(previous, path)), 18);
  EXPECT_EQ(Count(rename_), 19) << "the workflow shown is left alone";
  WFshow_Show(view_, previous);
  WFbase_DestroyWorkflow(workflow_);
  workflow_ = previous;
  rename_ = WFbase_FindFolder(workflow_, path);
  EXPECT_EQ(WFshow_UndoCount(view_), 7u);

  // The logged line, replayed, opens the same folder's dialog.
  const std::string text = FileText(log_);
  const std::size_t at = text.rfind("COMMAND IGraph_View 999 EDIT_PARAMS");
  ASSERT_NE(at, std::string::npos);
  Answer(text.substr(at, text.find('\n', at) + 1 - at) + OkWithCount(77));
  ASSERT_TRUE(RunLoop([&] { return !IReplay_Running(); }));
  EXPECT_EQ(Count(rename_), 77);
  EXPECT_EQ(WFshow_UndoCount(view_), 8u);

  // A mode change empties the stack.
  WFshow_SetMode(view_, WFshow_kStatusMode);
  EXPECT_EQ(WFshow_UndoCount(view_), 0u);
  EXPECT_FALSE(UndoEnabled());
  EXPECT_EQ(UndoLabel(), "");
}

}  // namespace
