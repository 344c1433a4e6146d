// Lists on a private X server: clicks and keys select and report the index
// or the text by the value's type, several with Ctrl; coloured rows; new
// entries at run time; the combo box takes a typed text and a chosen entry.
#include "toolkit/CWList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/SIdPool.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTextIO.h"
#include "toolkit/I.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

namespace {

std::vector<std::string> calls;
void OnInteger(I_Context, std::int32_t number, std::int32_t value, std::uintptr_t) {
  calls.push_back(std::to_string(number) + "=" + std::to_string(value));
}
void OnString(I_Context, std::int32_t number, StrIn value, std::uintptr_t) {
  calls.push_back(std::to_string(number) + "=" + value.Str());
}

constexpr unsigned long kSelection = 0x404040;

class ListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    calls.clear();
    c_ = I_Create("IList_Lists", true);
    ASSERT_NE(c_, nullptr);
    I_SetINTEGERcallback(c_, 1, OnInteger, 0);
    I_SetSTRINGcallback(c_, 2, OnString, 0);
    I_SetSTRINGcallback(c_, 3, OnString, 0);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
  }
  void TearDown() override { I_Destroy(c_); }

  Widget W(std::int32_t element) { return I_AccessWidget(c_, element); }
  Display* D() { return user_.display(); }

  void ClickAt(Widget w, int x, int y, unsigned long modifier = 0, int button = 1) {
    user_.ClickAt(w, x, y, modifier, button);
  }
  void ClickEntry(Widget list, std::size_t index, unsigned long modifier = 0) {
    Regions_Rect place;
    ASSERT_TRUE(CWList_EntryPlace(list, index, place));
    ClickAt(list, place.x + place.width / 2, place.y + place.height / 2, modifier);
  }
  void Key(unsigned long keysym, unsigned long modifier = 0) { user_.Press(keysym, modifier); }
  unsigned long EntryColour(Widget list, std::size_t index) {
    Regions_Rect place;
    if (!CWList_EntryPlace(list, index, place)) return 1;
    return user_.Pixel(list, place.x + 1, place.y + place.height / 2);
  }
  bool Reported(const std::vector<std::string>& expected) {
    if (Pump([&] { return calls == expected; })) return true;
    for (const std::string& c : calls) ADD_FAILURE() << "reported: " << c;
    return false;
  }
  // Keys go where the pointer is.
  void PointAt(Widget w) { user_.PointAt(w); }
  std::string FieldText(Widget combo) { return CWTextIO_GetText(CWList_ComboField(combo)).Str(); }

  XUser user_;
  I_Context c_ = nullptr;
};

TEST_F(ListTest, AListByIndexSelectsByClickAndKeys) {
  Widget list = W(1);
  EXPECT_EQ(CWList_EntryCount(list), 8u);
  EXPECT_FALSE(CWList_IsSelected(list, 0));  // the value -1: none
  ClickEntry(list, 2);
  ASSERT_TRUE(Reported({"1=2"}));
  EXPECT_EQ(I_GetINTEGER(c_, 1), 2);
  EXPECT_TRUE(Pump([&] { return EntryColour(list, 2) == kSelection; }));
  // The keys move the selection, the view follows.
  Key(XK_Down);
  Key(XK_End);
  ASSERT_TRUE(Reported({"1=2", "1=3", "1=7"}));
  EXPECT_EQ(CWList_TopEntry(list), 4u);
  Key(XK_Home);
  ASSERT_TRUE(Reported({"1=2", "1=3", "1=7", "1=0"}));
  EXPECT_EQ(CWList_TopEntry(list), 0u);
  // The wheel scrolls without selecting.
  ClickAt(list, 20, list->height / 2, 0, 5);
  EXPECT_TRUE(Pump([&] { return CWList_TopEntry(list) == 3; }));
  // The program's value selects, and calls nobody back.
  I_PutINTEGER(c_, 1, 6);
  EXPECT_TRUE(CWList_IsSelected(list, 6));
  EXPECT_FALSE(CWList_IsSelected(list, 0));
  // New entries at run time: shown at once, with the value shown again.
  const std::string entries = "one\ntwo\nthree";
  I_PutINTEGER(c_, 1, 1);
  ASSERT_TRUE(I_SetReprAttr(c_, 1, SIdPool_EnterId("dynStr"), entries.c_str(),
                            static_cast<std::uint32_t>(entries.size() + 1)));
  EXPECT_EQ(CWList_EntryCount(list), 3u);
  EXPECT_EQ(CWList_EntryText(list, 2).Str(), "three");
  EXPECT_EQ(CWList_TopEntry(list), 0u);
  EXPECT_TRUE(Pump([&] { return EntryColour(list, 1) == kSelection; }));
  EXPECT_EQ(calls.size(), 4u);
}

TEST_F(ListTest, AListByTextSelectsSeveralAndColoursRows) {
  Widget list = W(2);
  // "#RRGGBB " fills the row and is no part of the text.
  EXPECT_EQ(CWList_EntryText(list, 0).Str(), "red");
  EXPECT_TRUE(Pump([&] { return EntryColour(list, 0) == 0xC03030; }));
  ClickEntry(list, 1);
  ASSERT_TRUE(Reported({"2=green"}));
  ClickEntry(list, 2, XK_Control_L);
  ASSERT_TRUE(Reported({"2=green", "2=green\nblue"}));
  ClickEntry(list, 1, XK_Control_L);
  ASSERT_TRUE(Reported({"2=green", "2=green\nblue", "2=blue"}));
  // A text selects its entry; a text that is no entry none.
  I_PutSTRING(c_, 2, "red");
  EXPECT_TRUE(CWList_IsSelected(list, 0));
  EXPECT_FALSE(CWList_IsSelected(list, 2));
  I_PutSTRING(c_, 2, "violet");
  EXPECT_FALSE(CWList_IsSelected(list, 0));
  EXPECT_EQ(calls.size(), 3u);
}

TEST_F(ListTest, TheComboBoxTakesATypedTextAndAChosenEntry) {
  Widget combo = W(3);
  EXPECT_EQ(FieldText(combo), "All");
  // Typed and committed with Return.
  ClickAt(combo, 10, combo->height / 2);
  Key(XK_a, XK_Control_L);
  user_.Type("Proof");
  Key(XK_Return);
  ASSERT_TRUE(Reported({"3=Proof"}));
  // The button opens the entries below the field.
  const auto openByButton = [&] {
    ClickAt(combo, combo->width - 6, combo->height / 2);
    return Pump([&] { return CWList_ComboIsOpen(combo); });
  };
  ASSERT_TRUE(openByButton());
  XWindowAttributes shell;
  XGetWindowAttributes(D(), static_cast<CWShell>(CWShell_GetShellWidget(CWList_ComboDropList(combo)))->outerWindow,
                       &shell);
  int x, y;
  Window child;
  XTranslateCoordinates(D(), combo->window, DefaultRootWindow(D()), 0, 0, &x, &y, &child);
  EXPECT_EQ(shell.x, x);
  EXPECT_EQ(shell.y, y + combo->height);
  EXPECT_GE(shell.width, combo->width);
  // A click on an entry chooses it at once.
  ClickEntry(CWList_ComboDropList(combo), 2);
  ASSERT_TRUE(Reported({"3=Proof", "3=Flexo"}));
  EXPECT_FALSE(CWList_ComboIsOpen(combo));
  EXPECT_EQ(FieldText(combo), "Flexo");
  // Alt-Down opens at the entry shown; Down and Return choose the next one.
  PointAt(combo);
  Key(XK_Down, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWList_ComboIsOpen(combo); }));
  EXPECT_TRUE(CWList_IsSelected(CWList_ComboDropList(combo), 2));
  Key(XK_Down);
  Key(XK_Return);
  ASSERT_TRUE(Reported({"3=Proof", "3=Flexo", "3=Gravure"}));
  // Escape, the button and a click outside close without a word.
  Key(XK_Down, XK_Alt_L);
  ASSERT_TRUE(Pump([&] { return CWList_ComboIsOpen(combo); }));
  Key(XK_Escape);
  ASSERT_TRUE(Pump([&] { return !CWList_ComboIsOpen(combo); }));
  ASSERT_TRUE(openByButton());
  ClickAt(combo, combo->width - 6, combo->height / 2);
  ASSERT_TRUE(Pump([&] { return !CWList_ComboIsOpen(combo); }));
  ASSERT_TRUE(openByButton());
  ClickAt(W(1), 5, 5);
  ASSERT_TRUE(Pump([&] { return !CWList_ComboIsOpen(combo); }));
  EXPECT_EQ(calls.size(), 3u);
  // The click that closed it is over: the next one counts.
  ClickEntry(W(1), 1);
  EXPECT_TRUE(Reported({"3=Proof", "3=Flexo", "3=Gravure", "1=1"}));
  char value[64];
  I_GetSTRING(c_, 3, value);
  EXPECT_STREQ(value, "Gravure");
}

void Announce() { I_UseContextCat("IMENUdlg"); }
const bool environment = UseTestDialogs(Announce);

}  // namespace
