// The table on a private X server: a list put into its AObj shows as rows;
// clicks select (with Ctrl and Shift several), report the list and set the
// records' flags; the header sorts; the wheel scrolls; a new list keeps the
// record at the top.
#include "toolkit/CWTable.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
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

  void Fill(std::vector<Row>& rows, int count) {
    rows.assign(static_cast<std::size_t>(count), Row{});
    for (int i = 0; i < count; ++i) {
      Row& r = rows[static_cast<std::size_t>(i)];
      r.link.next = i + 1 < count ? &rows[static_cast<std::size_t>(i) + 1].link : nullptr;
      r.state = static_cast<std::uint8_t>(i % 2);
      std::snprintf(r.name, sizeof r.name, "r%02d", i);
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

const bool environment = UseTestDialogs();

}  // namespace
