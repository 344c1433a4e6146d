// The table on a private X server: a list put into its AObj shows as rows;
// clicks select (with Ctrl and Shift several), report the list and set the
// records' flags; the header sorts; the wheel scrolls; a new list keeps the
// record at the top. Rows in the program's colours, progress bars, hidden
// columns and tips per cell. Cells edited in place, logged and replayed.
#include "toolkit/CWTable.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/TestFiles.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "base/SIdPool.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/SAttribs.h"
#include "toolkit/Wt.h"
#include "toolkit/WtGuiLog.h"
#include "toolkit/WtToolTip.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

struct Row {
  WtTableD_Record link;
  std::uint8_t state;
  char name[16];
  double progress;
};

int reports = 0;
bool doubleClick = false;
void Reported(I_Context, std::int32_t, void*, std::uintptr_t) {
  ++reports;
  doubleClick = doubleClick || I_WasDoubleClick();
}

class TableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    reports = 0;
    doubleClick = false;
    table_ = WtTableD_CreateTableDef();
    WtTableD_Column state = WtTableD_CreateEnumColumn("State", offsetof(Row, state), 1);
    WtTableD_SetSingleEnum(state, 1, "odd", -1);
    WtTableD_Column name = WtTableD_CreateStringColumn("Name", offsetof(Row, name), sizeof(Row::name));
    WtTableD_SetFillUpWeight(name, 1);
    WtTableD_AddColumn(table_, state);
    WtTableD_AddColumn(table_, name);
    WtTableD_SetKeyColumns(table_, name);
    Describe();
    c_ = I_Create("ITest_Table", false);
    WtTableD_SetTableDescription(c_, 2, table_);
    Fill(rows_, 20);
    I_SetGenericcallback(c_, 1, Reported, 0);
    I_Activate(c_);
    w_ = I_AccessWidget(c_, 2);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
  }
  void TearDown() override {
    I_Destroy(c_);
    WtTableD_DestroyTableDef(table_);
  }

  // More of the description, before the dialog is made.
  virtual void Describe() {}

  void Fill(std::vector<Row>& rows, int count) {
    rows.assign(static_cast<std::size_t>(count), Row{});
    for (int i = 0; i < count; ++i) {
      Row& r = rows[static_cast<std::size_t>(i)];
      r.link.next = i + 1 < count ? &rows[static_cast<std::size_t>(i) + 1].link : nullptr;
      r.state = static_cast<std::uint8_t>(i % 2);
      std::snprintf(r.name, sizeof r.name, "r%02d", i);
      r.progress = -1;
    }
    WtTableD_Record* head = &rows[0].link;
    I_PutGeneric(c_, 1, &head);
  }
  const char* NameAt(std::size_t row) {
    return reinterpret_cast<const Row*>(CWTable_RowRecord(w_, row))->name;
  }
  // Clicks a row in view, with a modifier key held (0: none).
  void ClickRow(std::size_t row, unsigned long modifier = 0) {
    Regions_Rect place;
    ASSERT_TRUE(CWTable_RowPlace(w_, row, place));
    ClickAt(place.x + place.width / 2, place.y + place.height / 2, modifier);
  }
  Regions_Rect Cell(std::size_t row, std::size_t column) {
    Regions_Rect place;
    EXPECT_TRUE(CWTable_CellPlace(w_, row, column, place));
    return place;
  }
  void ClickCell(std::size_t row, std::size_t column) {
    const Regions_Rect place = Cell(row, column);
    ClickAt(place.x + place.width / 2, place.y + place.height / 2);
  }
  void ClickAt(int x, int y, unsigned long modifier = 0, int button = 1) { user_.ClickAt(w_, x, y, modifier, button); }
  std::string Selected() {
    std::string names;
    for (const Row& r : rows_)
      if (r.link.selected) names += std::string(names.empty() ? "" : " ") + r.name;
    return names;
  }

  XUser user_;
  WtTableD_Table table_ = nullptr;
  I_Context c_ = nullptr;
  Widget w_ = nullptr;
  std::vector<Row> rows_;
};

TEST_F(TableTest, ClicksSelectAndReportTheList) {
  ASSERT_EQ(CWTable_RowCount(w_), 20u);
  EXPECT_STREQ(NameAt(3), "r03");
  ClickRow(2);
  ASSERT_TRUE(Pump([] { return reports == 1; }));
  EXPECT_EQ(Selected(), "r02");
  ClickRow(4, XK_Control_L);
  ASSERT_TRUE(Pump([] { return reports == 2; }));
  EXPECT_EQ(Selected(), "r02 r04");
  ClickRow(1, XK_Shift_L);  // the range from the last Ctrl click
  ASSERT_TRUE(Pump([] { return reports == 3; }));
  EXPECT_EQ(Selected(), "r01 r02 r03 r04");
  // The selected row is drawn in the selection's colour.
  Regions_Rect place;
  ASSERT_TRUE(CWTable_RowPlace(w_, 3, place));
  EXPECT_TRUE(Pump([&] { return user_.Pixel(w_, place.x + 1, place.y + place.height - 1) == 0x404040u; }));
  // A second click on the same row soon after: a double click, reported.
  ClickRow(2);
  ClickRow(2);
  EXPECT_TRUE(Pump([] { return doubleClick; }));
  EXPECT_EQ(Selected(), "r02");
  // The arrows move a single selection.
  user_.Press(XK_Down);
  EXPECT_TRUE(Pump([&] { return Selected() == "r03"; }));
}

TEST_F(TableTest, TheHeaderSortsAndTheKeyKeepsTheTopRow) {
  Regions_Rect first;
  ASSERT_TRUE(CWTable_RowPlace(w_, 0, first));
  const int header = first.y + first.height + 5;
  const int nameColumn = w_->width / 2;
  ClickAt(nameColumn, header);
  ASSERT_TRUE(Pump([&] { return std::string(NameAt(0)) == "r00"; }));
  ClickAt(nameColumn, header);  // the other way
  ASSERT_TRUE(Pump([&] { return std::string(NameAt(0)) == "r19"; }));
  EXPECT_EQ(reports, 0);
  // Two notches of the wheel down.
  ClickAt(nameColumn, first.y, 0, 5);
  ClickAt(nameColumn, first.y, 0, 5);
  ASSERT_TRUE(Pump([&] { return CWTable_TopRow(w_) == 6; }));
  const std::string top = NameAt(CWTable_TopRow(w_));
  // A new list of the same records in new places: the same record stays on top.
  std::vector<Row> fresh;
  Fill(fresh, 20);
  rows_.swap(fresh);
  EXPECT_EQ(NameAt(CWTable_TopRow(w_)), top);
}

// Odd rows are a failed job's: red on pink. The names have tips.
bool Colors(const WtTableD_Record* record, void*, W_Color& background, W_Color& text) {
  if (reinterpret_cast<const Row*>(record)->state != 1) return false;
  background = W_Color{250, 210, 210};
  text = W_Color{180, 0, 0};
  return true;
}
std::string Tip(const WtTableD_Record* record, std::size_t column, void*) {
  return column == 1 ? std::string("tip ") + reinterpret_cast<const Row*>(record)->name : std::string();
}

// The tip window, made here to read its label.
Widget tipShell = nullptr, tipLabel = nullptr;
bool MakeTip(Widget& shell, Widget& label) {
  SAttribs attrs = nullptr;
  SAttribs_AddBool(attrs, "overrideRedirect", true);
  shell = tipShell = Wt_CreateWidget(nullptr, CWShell_class, attrs);
  SAttribs_Destroy(attrs);
  label = tipLabel = Wt_CreateWidget(shell, CWLabel_class, nullptr);
  return true;
}

// The strongest of a pixel's red (0), green (1) and blue (2), clearly so;
// -1 for greys and mixtures.
int Hue(unsigned long pixel) {
  const int c[3] = {static_cast<int>(pixel >> 16), static_cast<int>((pixel >> 8) & 0xFF),
                    static_cast<int>(pixel & 0xFF)};
  for (int i = 0; i < 3; ++i)
    if (c[i] > 100 && c[i] > 2 * c[(i + 1) % 3] && c[i] > 2 * c[(i + 2) % 3]) return i;
  return -1;
}

class ProgramTableTest : public TableTest {
 protected:
  static constexpr std::size_t kState = 0, kName = 1, kProgress = 2;
  void Describe() override {
    progress_ = WtTableD_CreateProgressColumn("Progress", offsetof(Row, progress), 400);
    WtTableD_AddColumn(table_, progress_);
    WtTableD_SetRowColorsProc(table_, Colors, nullptr);
    WtTableD_SetCellTipProc(table_, Tip, nullptr);
    // States on lamps, as the queue window lists its workers.
    WtTableD_Column state = WtTableD_GetColumn(table_, kState);
    WtTableD_SetSingleEnum(state, 0, "down", 0);
    WtTableD_SetSingleEnum(state, 1, "up", 2);
  }
  void TearDown() override {
    if (tipShell != nullptr) Wt_DestroyWidget(tipShell);
    WtToolTip_SetWindowMaker(nullptr);
    TableTest::TearDown();
  }
  // Whether the middle third of a cell's height has text in the program's red.
  bool HasRedText(const Regions_Rect& cell) {
    for (int y = cell.y + cell.height / 3; y < cell.y + 2 * cell.height / 3; ++y)
      for (int x = cell.x; x < cell.x + 30; ++x)
        if (Hue(user_.Pixel(w_, x, y)) == 0) return true;
    return false;
  }
  // Waits, running the dialog layer's tasks (the tip's delay is one).
  bool Rests(const std::function<bool()>& done) {
    return Pump([&] {
      I_Yield();
      return done();
    });
  }
  bool TipShows(const std::string& text) {
    return Rests([&] { return tipShell != nullptr && tipShell->mapped && CWLabel_GetText(tipLabel).Str() == text; });
  }
  WtTableD_Column progress_ = nullptr;
};

TEST_F(ProgramTableTest, RowsInTheProgramsColoursAndProgressBars) {
  // Row 1 is a failed job's: pink behind red text, selected or not; row 0
  // keeps the table's white.
  const Regions_Rect plain = Cell(0, kName), failed = Cell(1, kName);
  const int right = failed.x + failed.width - 3, middle = failed.height / 2;
  // The rows may be drawn by an exposure after the shell's.
  EXPECT_TRUE(Pump([&] { return user_.Pixel(w_, right, failed.y + middle) == 0xFAD2D2u; }));
  EXPECT_EQ(user_.Pixel(w_, right, plain.y + middle), 0xFFFFFFu);
  EXPECT_TRUE(HasRedText(failed));
  ClickRow(1);
  ASSERT_TRUE(Pump([] { return reports == 1; }));
  EXPECT_TRUE(Pump([&] { return user_.Pixel(w_, right, failed.y + middle) == 0x404040u; }));
  EXPECT_TRUE(HasRedText(failed));

  // The lamps of an enum column: red for state 0, green for 1.
  const char lamps[] = "lampred.pxm lampyellow.pxm lampgreen.pxm";
  I_SetReprAttr(c_, 2, SIdPool_EnterId("iconList"), lamps, sizeof lamps);
  const Regions_Rect down = Cell(0, kState), up = Cell(1, kState);
  const auto lamp = [&](const Regions_Rect& cell) {
    return user_.Pixel(w_, cell.x + 4 + 8, cell.y + cell.height / 2);  // the middle of a 16-pixel lamp
  };
  EXPECT_TRUE(Pump([&] { return Hue(lamp(down)) == 0; })) << std::hex << lamp(down);
  EXPECT_EQ(Hue(lamp(up)), 1) << std::hex << lamp(up);

  // 42 %: the bar fills 42 % of the cell from its left (the column is wide
  // enough to keep the centred text clear of the bar's end); below 0 the
  // cell is empty. Only the column is drawn again.
  rows_[2].progress = 42.0;
  rows_[4].progress = -3.0;
  CWTable_RedrawColumn(w_, kProgress);
  const Regions_Rect bar = Cell(2, kProgress), none = Cell(4, kProgress);
  const int barY = bar.y + bar.height / 2;
  const unsigned long fill = user_.Pixel(w_, bar.x + 6, barY);
  EXPECT_NE(fill, 0xFFFFFFu);
  int end = bar.x + 6;
  while (end < bar.x + bar.width && user_.Pixel(w_, end, barY) == fill) ++end;
  EXPECT_NEAR(end, bar.x + 0.42 * bar.width, 3.0);
  for (const int x : {none.x + 6, none.x + none.width / 2, none.x + 3 * none.width / 4})
    EXPECT_EQ(user_.Pixel(w_, x, none.y + none.height / 2), 0xFFFFFFu) << x;
  // The column keeps its width as values change.
  rows_[3].progress = 100.0;
  CWTable_RedrawColumn(w_, kProgress);
  EXPECT_EQ(Cell(3, kProgress).width, bar.width);
}

TEST_F(ProgramTableTest, HiddenColumnsGiveWayAndCellsShowTheirTips) {
  // The state column hidden: the names move to its place and its header
  // sorts by name; shown again, they move back.
  const Regions_Rect state = Cell(0, kState), name = Cell(0, kName);
  WtTableD_SetColumnShown(WtTableD_GetColumn(table_, kState), false);
  CWTable_ColumnsChanged(w_);
  Regions_Rect place;
  EXPECT_FALSE(CWTable_CellPlace(w_, 0, kState, place));
  EXPECT_EQ(Cell(0, kName).x, state.x);
  const int header = state.y + state.height + 5;
  ClickAt(state.x + 3, header);
  ClickAt(state.x + 3, header);  // descending: by state r01 would come first
  ASSERT_TRUE(Pump([&] { return std::string(NameAt(0)) == "r19"; }));
  WtTableD_SetColumnShown(WtTableD_GetColumn(table_, kState), true);
  CWTable_ColumnsChanged(w_);
  EXPECT_EQ(Cell(0, kName).x, name.x);

  // The pointer rests on a name: its tip; on the next name that one's; on a
  // cell without a tip none.
  WtToolTip_SetWindowMaker(MakeTip);
  const Regions_Rect first = Cell(2, kName), second = Cell(4, kName), plain = Cell(4, kState);
  user_.MoveTo(w_, first.x + 5, first.y + first.height / 2);
  EXPECT_TRUE(TipShows(std::string("tip ") + NameAt(2)));
  user_.MoveTo(w_, second.x + 5, second.y + second.height / 2);
  EXPECT_TRUE(TipShows(std::string("tip ") + NameAt(4)));
  user_.MoveTo(w_, plain.x + 5, plain.y + plain.height / 2);
  EXPECT_TRUE(Rests([] { return tipShell != nullptr && !tipShell->mapped; }));
}

// The state and the name are editable.
class EditTableTest : public TableTest {
 protected:
  void Describe() override {
    for (std::size_t i : {0, 1}) WtTableD_SetColumnEditable(WtTableD_GetColumn(table_, i), true);
  }
  void SetUp() override {
    TableTest::SetUp();
    ASSERT_TRUE(WtGuiLog_Open(dir_.Path() + "/gui.log"));
  }
  void TearDown() override {
    WtGuiLog_Open("");
    TableTest::TearDown();
  }
  std::string Log() { return FileText(dir_.Path() + "/gui.log"); }
  TempDir dir_;
};

TEST_F(EditTableTest, CellsAreEditedInPlaceAndLogged) {
  // A double click opens the name's field with the cursor at its end.
  ClickCell(2, 1);
  ClickCell(2, 1);
  user_.Press(XK_BackSpace);
  user_.Press(XK_Home);
  user_.Type("a b");
  user_.Press(XK_Return);
  ASSERT_TRUE(Pump([&] { return std::string(rows_[2].name) == "a br0"; }));
  EXPECT_EQ(reports, 2);  // the selection, then the edit
  // F2 edits the selected row again: the field is drawn white over the
  // selection's colour. Escape forgets what was typed and takes it away.
  const Regions_Rect cell = Cell(2, 1);
  const auto inCell = [&] { return user_.Pixel(w_, cell.x + cell.width - 4, cell.y + cell.height / 2); };
  user_.Press(XK_F2);
  EXPECT_TRUE(Pump([&] { return inCell() == 0xFFFFFFu; }));
  user_.Type("zz");
  user_.Press(XK_Escape);
  EXPECT_TRUE(Pump([&] { return inCell() == 0x404040u; }));
  // Each click on an enum cell gives it its next value (0, then the values
  // with an entry).
  ClickCell(3, 0);
  ASSERT_TRUE(Pump([&] { return rows_[3].state == 0; }));
  user_.Press(XK_space);  // and Space on the selected row
  ASSERT_TRUE(Pump([&] { return rows_[3].state == 1; }));
  EXPECT_STREQ(rows_[2].name, "a br0");
  // A click elsewhere writes the text; the field holds no more than the
  // record's 15 bytes.
  ClickCell(4, 1);
  ClickCell(4, 1);
  user_.Type("0123456789abcdef");
  ClickCell(0, 1);
  ASSERT_TRUE(Pump([&] { return std::string(rows_[4].name) == "r040123456789ab"; }));
  const std::string log = Log();
  for (const char* line : {"COMMAND ITest_Table 2 CELL r02 1 1 \"a br0\"\n", "COMMAND ITest_Table 2 CELL r03 1 0 0\n",
                           "COMMAND ITest_Table 2 CELL r03 1 0 1\n",
                           "COMMAND ITest_Table 2 CELL r04 1 1 r040123456789ab\n"})
    EXPECT_NE(log.find(line), std::string::npos) << line << log;
  EXPECT_EQ(log.find("zz"), std::string::npos) << log;
}

TEST_F(EditTableTest, ReplayedCellLinesEditAsTheUserDoes) {
  // Two rows of one key: the number picks the second.
  std::snprintf(rows_[7].name, sizeof rows_[7].name, "dup");
  std::snprintf(rows_[8].name, sizeof rows_[8].name, "dup");
  ASSERT_TRUE(ReplayLines(dir_.Path(), "COMMAND ITest_Table 2 CELL dup 2 1 \"a b\"\nCOMMAND ITest_Table 2 CELL r03 1 0 0\n"));
  EXPECT_STREQ(rows_[7].name, "dup");
  EXPECT_STREQ(rows_[8].name, "a b");
  EXPECT_EQ(rows_[3].state, 0);
  EXPECT_EQ(reports, 2);
  // A text longer than the field ends the replay: nothing written, the next
  // line not played.
  ASSERT_TRUE(ReplayLines(dir_.Path(), "COMMAND ITest_Table 2 CELL r04 1 1 0123456789abcdef\n"
                                       "COMMAND ITest_Table 2 CELL r03 1 0 1\n"));
  EXPECT_STREQ(rows_[4].name, "r04");
  EXPECT_EQ(rows_[3].state, 0);
}

const bool environment = UseTestDialogs();

}  // namespace
