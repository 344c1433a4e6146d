// The tree, the radios and the directory chooser on a private X server: a
// tree opens a node by its opener and asks the program for the children it
// lacks, selects by click (Ctrl adds), logs and replays both; radios of one
// value mark the chosen one and report their numbers; the chooser reads
// the directories below its root as they are opened and gives back what
// was chosen, or nothing after Cancel.
#include "toolkit/CWTree.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/TestFiles.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWRadio.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/IReplay.h"
#include "toolkit/ITreeSel.h"
#include "toolkit/WtGuiLog.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/keysym.h>

namespace {

namespace fs = std::filesystem;

const bool registered = UseTestDialogs([] { I_UseContextCat("ITREEdlg"); });

CWTree_Node* Node(const std::string& text, bool expandable = false) {
  auto* n = new CWTree_Node;
  n->text = text;
  n->expandable = expandable;
  return n;
}

// The program's side: a tree of two top nodes whose children are made when
// a node is first opened, as directories are read.
class TreeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    first_ = Node("top", true);
    first_->next = Node("other");
    c_ = I_Create("ITree_Test", false);
    I_PutGeneric(c_, 1, &first_);
    I_SetGenericcallback(c_, 1, Reported, reinterpret_cast<std::uintptr_t>(this));
    I_Activate(c_);
    tree_ = I_AccessWidget(c_, 2);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
  }
  void TearDown() override {
    I_Destroy(c_);
    CWTree_DestroyNodes(first_);
    WtGuiLog_Open("");
  }
  static void Reported(I_Context, std::int32_t, void*, std::uintptr_t data) {
    auto* self = reinterpret_cast<TreeTest*>(data);
    ++self->reports_;
    if (Fill(self->first_)) I_PutGeneric(self->c_, 1, &self->first_);
  }
  // Children for the nodes opened that have none: "a", "b" and "c" (which
  // has children of its own).
  static bool Fill(CWTree_Node* first) {
    bool filled = false;
    for (CWTree_Node* n = first; n != nullptr; n = n->next) {
      if (n->expanded && n->expandable && n->firstChild == nullptr) {
        n->firstChild = Node(n->text + ".a");
        n->firstChild->next = Node(n->text + ".b");
        n->firstChild->next->next = Node(n->text + ".c", true);
        filled = true;
      }
      filled = Fill(n->firstChild) || filled;
    }
    return filled;
  }
  std::string Rows() {
    std::string rows;
    for (std::size_t i = 0; i < CWTree_RowCount(tree_); ++i) {
      const CWTree_Node* n = CWTree_RowNode(tree_, i);
      rows += (rows.empty() ? "" : " ") + n->text + (n->selected ? "*" : "");
    }
    return rows;
  }
  void ClickRow(std::size_t row, unsigned long modifier = 0) {
    Regions_Rect place;
    ASSERT_TRUE(CWTree_RowPlace(tree_, row, place));
    user_.ClickAt(tree_, place.x + 4, place.y + place.height / 2, modifier);
  }
  void ClickOpener(std::size_t row) {
    Regions_Rect place;
    ASSERT_TRUE(CWTree_OpenerPlace(tree_, row, place));
    user_.ClickAt(tree_, place.x + place.width / 2, place.y + place.height / 2);
  }
  bool Replay(const std::string& lines) {
    PutFile(dir_.Path() + "/replay.log", lines);
    return IReplay_Start(dir_.Path() + "/replay.log", 2000) && RunLoop([] { return !IReplay_Running(); });
  }

  TempDir dir_;
  XUser user_;
  CWTree_Node* first_ = nullptr;
  I_Context c_ = nullptr;
  Widget tree_ = nullptr;
  int reports_ = 0;
};

TEST_F(TreeTest, OpensAsksForChildrenSelectsAndLogs) {
  ASSERT_TRUE(WtGuiLog_Open(dir_.Path() + "/gui.log"));
  EXPECT_EQ(Rows(), "top other");
  // The opener of a node without children yet asks the program for them.
  ClickOpener(0);
  ASSERT_TRUE(RunLoop([&] { return CWTree_RowCount(tree_) == 5; }));
  EXPECT_EQ(Rows(), "top top.a top.b top.c other");
  EXPECT_EQ(reports_, 1);
  // A click selects, Ctrl adds; each reports.
  ClickRow(2);
  ASSERT_TRUE(RunLoop([&] { return reports_ == 2; }));
  ClickRow(3, XK_Control_L);
  ASSERT_TRUE(RunLoop([&] { return reports_ == 3; }));
  EXPECT_EQ(Rows(), "top top.a top.b* top.c* other");
  // The selected rows are drawn in the selection's colour.
  Regions_Rect place;
  ASSERT_TRUE(CWTree_RowPlace(tree_, 2, place));
  EXPECT_TRUE(Pump([&] { return user_.Pixel(tree_, place.x + place.width - 2, place.y + 1) == 0x404040u; }));
  // Left closes the node of the selection's first row... of its parent,
  // after Left went up to it.
  user_.Press(XK_Left);
  ASSERT_TRUE(RunLoop([&] { return Rows() == "top* top.a top.b top.c other"; }));
  user_.Press(XK_Left);
  ASSERT_TRUE(RunLoop([&] { return CWTree_RowCount(tree_) == 2; }));
  EXPECT_EQ(FileText(dir_.Path() + "/gui.log"),
            "COMMAND ITree_Test 2 OPEN top\n"
            "COMMAND ITree_Test 2 SELECT top/top.b\n"
            "COMMAND ITree_Test 2 SELECT top/top.b top/top.c\n"
            "COMMAND ITree_Test 2 SELECT top\n"
            "COMMAND ITree_Test 2 CLOSE top\n");
}

TEST_F(TreeTest, ReplaysOpeningsAndSelections) {
  // The way to a node is opened as a user would, children asked for.
  ASSERT_TRUE(Replay("COMMAND ITree_Test 2 SELECT top/top.c/top.c.b other\n"));
  EXPECT_EQ(Rows(), "top top.a top.b top.c top.c.a top.c.b* top.c.c other*");
  ASSERT_TRUE(Replay("COMMAND ITree_Test 2 CLOSE top/top.c\n"));
  EXPECT_EQ(Rows(), "top top.a top.b top.c other*");
  // A path of no node ends the replay.
  ASSERT_TRUE(Replay("COMMAND ITree_Test 2 SELECT top/nothing\nCOMMAND ITree_Test 2 CLOSE top\n"));
  EXPECT_EQ(CWTree_RowCount(tree_), 5u) << "the line after the failure was not played";
}

TEST_F(TreeTest, RadiosShowTheValueAndReportTheirNumbers) {
  std::int32_t told = 0;
  I_SetINTEGERcallback(
      c_, 2, [](I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) { *reinterpret_cast<std::int32_t*>(data) = value; },
      reinterpret_cast<std::uintptr_t>(&told));
  Widget one = I_AccessWidget(c_, 3), two = I_AccessWidget(c_, 4), three = I_AccessWidget(c_, 5);
  EXPECT_TRUE(CWRadio_IsChosen(one));
  user_.Click(two);
  ASSERT_TRUE(RunLoop([&] { return told == 2; }));
  EXPECT_EQ(I_GetINTEGER(c_, 2), 2);
  EXPECT_TRUE(!CWRadio_IsChosen(one) && CWRadio_IsChosen(two) && !CWRadio_IsChosen(three));
  // The chosen diamond is filled dark in its middle, the others are paper;
  // the diamond stands beside the label's text, the third's at its right.
  const auto mark = [&](Widget w, bool right) {
    const Regions_Rect text = CWLabel_ContentArea(w);
    bool dark = false;
    for (int x = right ? text.x + text.width : 0; x < (right ? w->width : text.x); ++x)
      dark = dark || user_.Pixel(w, x, text.y + text.height / 2) == 0u;
    return dark;
  };
  const auto middle = [&](Widget w, bool right) { return mark(w, right) ? 0ul : 0xFFFFFFul; };
  EXPECT_TRUE(Pump([&] { return middle(two, false) == 0u; }));
  EXPECT_EQ(middle(one, false), 0xFFFFFFu);
  EXPECT_EQ(middle(three, true), 0xFFFFFFu);
  // A value put by the program moves the mark; a button's mask works on radios.
  I_PutINTEGER(c_, 2, 3);
  EXPECT_TRUE(CWRadio_IsChosen(three) && !CWRadio_IsChosen(two));
  EXPECT_TRUE(Pump([&] { return middle(three, true) == 0u; }));
  I_SetEnabledState(c_, 2, 1u << 1);
  EXPECT_TRUE(one->sensitive && !two->sensitive && !three->sensitive);
}

// The chooser, played through the GUI log as an operator would answer it.
class Chooser : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* dir : {"jobs/2024/march", "jobs/2025", "x y"}) fs::create_directories(root_.Path() + "/" + dir);
    PutFile(root_.Path() + "/jobs/2025/cover.pdf", "%PDF");
    PutFile(root_.Path() + "/jobs/2025/cover.tif", "II*");
    top_ = fs::path(root_.Path()).filename().string();
  }
  bool Start(const std::string& lines) {
    PutFile(dir_.Path() + "/replay.log", lines);
    return IReplay_Start(dir_.Path() + "/replay.log", 5000);
  }
  TempDir root_, dir_;
  std::string top_;
};

TEST_F(Chooser, GivesWhatWasChosenAndNothingAfterCancel) {
  ASSERT_TRUE(Start("COMMAND ITreeSel_Choose 10 SELECT " + top_ + "/jobs/2024\nAOBJ ITreeSel_Choose 1 1\n"));
  PathStr chosen;
  EXPECT_TRUE(ITreeSel_SelectADirectory("Where to?", root_.Path(), chosen));
  EXPECT_EQ(StrIn(chosen).Str(), root_.Path() + "/jobs/2024");
  // OK without a choice does nothing; Cancel gives nothing.
  ASSERT_TRUE(Start("AOBJ ITreeSel_Choose 1 1\nAOBJ ITreeSel_Choose 1 2\n"));
  EXPECT_FALSE(ITreeSel_SelectADirectory("Where to?", root_.Path(), chosen));
  EXPECT_EQ(StrIn(chosen).Str(), "");
  // With a filter the files that match it are chosen.
  ASSERT_TRUE(Start("COMMAND ITreeSel_Choose 10 SELECT " + top_ + "/jobs/2025/cover.pdf " + top_ +
                    "/jobs/2025\nAOBJ ITreeSel_Choose 1 1\n"));
  std::vector<std::string> files;
  EXPECT_TRUE(ITreeSel_SelectMultipleFiles("Which?", root_.Path(), "\\.pdf$", true, files));
  EXPECT_EQ(files, std::vector<std::string>{root_.Path() + "/jobs/2025/cover.pdf"});
}

TEST_F(Chooser, AFileOpensAtItsStartChosen) {
  // The projects directory is the root; OK at once takes the start (a box
  // that ignored it would take nothing and be cancelled).
  const char* old = getenv("TV_PROJECTS");
  const std::string projects = old != nullptr ? old : "", file = root_.Path() + "/jobs/2025/cover.pdf";
  setenv("TV_PROJECTS", root_.Path().c_str(), 1);
  ASSERT_TRUE(Start("AOBJ ITreeSel_Choose 1 1\nAOBJ ITreeSel_Choose 1 2\n"));
  PathStr chosen;
  EXPECT_TRUE(ITreeSel_SelectAFile("Which?", "\\.pdf$", file, chosen));
  setenv("TV_PROJECTS", projects.c_str(), 1);
  EXPECT_EQ(StrIn(chosen).Str(), file);
}

}  // namespace
