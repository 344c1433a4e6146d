// The translation language: what parses, what is refused with which message,
// and which events an entry matches.
#include "toolkit/WTranslt.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/FakeW.h"
#include "toolkit/CWCore.h"
#include "toolkit/Wt.h"

namespace {

std::vector<std::string> calls;

void ActA(Widget, W_Event&) { calls.push_back("A"); }
void ActB(Widget, W_Event&) { calls.push_back("B"); }
void ActReturn(Widget w, W_Event& e) {
  calls.push_back("R");
  WTranslt_ReturnEvent(w, e);
}

class WTransltTest : public ::testing::Test {
 protected:
  void SetUp() override {
    FakeW::Install();
    Wt_Initialize();
    widget_ = Wt_CreateWidget(nullptr, CWCore_class, nullptr);
    table_ = WTranslt_CreateTranslationTable();
    WTranslt_SetTranslationTable(widget_, table_);
    calls.clear();
  }
  void TearDown() override {
    WTranslt_SetTranslationTable(widget_, CWCore_ClassOf(widget_)->translationTable);
    WTranslt_DestroyTranslationTable(table_);
    Wt_DestroyWidget(widget_);
    FakeW::Remove();
  }

  bool Enter(const std::string& text, WTranslt_Action action = ActA) {
    const bool ok = WTranslt_EnterTranslation(table_, text, action);
    WTranslt_SetTranslationTable(widget_, table_);
    return ok;
  }

  // The actions that ran for an input event and whether it was handled.
  std::string Run(std::uint8_t kind, std::uint32_t state, std::uint8_t detail = 0) {
    W_Event e;
    e.kind = kind;
    e.input.state = state;
    e.input.ch = detail;
    e.input.button = detail;
    calls.clear();
    const bool handled = WTranslt_TranslateEvent(widget_, e);
    std::string ran;
    for (const std::string& c : calls) ran += c;
    return ran + (handled ? "+" : "-");
  }

  Widget widget_ = nullptr;
  WTranslt_Table table_ = nullptr;
};

TEST_F(WTransltTest, BadTextsAreRefusedWithTheirMessage) {
  const struct {
    const char* text;
    int error;
  } cases[] = {{"", 1},          {"Ctrl Key>", 16},        {"<Key", 3},           {"<Keys>", 4},
               {"<>", 5},        {"!", 8},                 {"<Key>a b", 7},       {"<Enter> x", 7},
               {"<Key>^c", 11},  {"<Key>Space", 12},       {"Ctrl ~Ctrl <Key>", 17}, {"None Shift <Key>", 17},
               {"Shift Shift <Key>", 18}, {"Ctrl <Expose>", 19}, {"<Key>\\x", 20}, {"<Key>\\,x", 21},
               {"<Message>", 5}, {"<Key>a,", 2}, {"<ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefgh>", 6}};
  for (const auto& c : cases) {
    Messages_IgnoreErrors(true);
    EXPECT_FALSE(Enter(c.text)) << c.text;
    Messages_IgnoreErrors(false);
    Messages_ForgetErrorReasons();
    EXPECT_EQ(WTranslt_error, c.error) << c.text;
  }
  EXPECT_EQ(WTranslt_EventMask(table_), 0u);  // nothing was entered
  EXPECT_TRUE(Enter("<Key>a"));
  EXPECT_EQ(WTranslt_error, 0);
}

TEST_F(WTransltTest, ExactModifiersIgnoreTheButtonItself) {
  ASSERT_TRUE(Enter("!<Btn1Down>", ActA));
  ASSERT_TRUE(Enter("<Btn1Down>", ActB));
  EXPECT_EQ(Run(W_ButtonPress, 0x1, 0), "AB+");
  EXPECT_EQ(Run(W_ButtonPress, 0x1 | W_ShiftMask, 0), "B+");
  EXPECT_EQ(Run(W_ButtonPress, 0x4, 2), "-");
}

TEST_F(WTransltTest, ModifiersAndDetailsSelectEvents) {
  ASSERT_TRUE(Enter("~Ctrl <Key>a", ActA));
  ASSERT_TRUE(Enter("Ctrl Shift <Key>^C, <Key>\\,", ActB));
  EXPECT_EQ(Run(W_KeyPress, 0, 'a'), "A+");
  EXPECT_EQ(Run(W_KeyPress, W_CtrlMask, 'a'), "-");
  EXPECT_EQ(Run(W_KeyPress, W_CtrlMask | W_ShiftMask, 3), "B+");
  EXPECT_EQ(Run(W_KeyPress, W_CtrlMask, 3), "-");
  EXPECT_EQ(Run(W_KeyPress, W_AltMask, ','), "B+");

  ASSERT_TRUE(Enter("<Key>Enter", ActA));
  ASSERT_TRUE(Enter("<Key>F10, <Key>BackTab", ActB));
  EXPECT_EQ(Run(W_KeyPress, 0, W_KeyReturn), "A+");
  EXPECT_EQ(Run(W_KeyPress, 0, W_KeyF1 + 9), "B+");
  EXPECT_EQ(Run(W_KeyPress, 0, W_KeyBackTab), "B+");

  ASSERT_TRUE(Enter("<Btn3Motion>", ActA));
  ASSERT_TRUE(Enter("<BtnMotion>", ActB));
  EXPECT_EQ(Run(W_MotionNotify, 0), "-");
  EXPECT_EQ(Run(W_MotionNotify, 0x1), "B+");
  EXPECT_EQ(Run(W_MotionNotify, 0x4), "AB+");
}

TEST_F(WTransltTest, AllMatchingActionsRunAndReturnedEventsTravelOn) {
  ASSERT_TRUE(Enter("<Key>", ActReturn));
  EXPECT_EQ(Run(W_KeyPress, 0, 'x'), "R-");
  ASSERT_TRUE(Enter("<Key>x", ActA));
  EXPECT_EQ(Run(W_KeyPress, 0, 'x'), "RA+");
  EXPECT_EQ(Run(W_KeyPress, 0, 'y'), "R-");
}

TEST_F(WTransltTest, OverrideReplacesTheSameEventOnly) {
  ASSERT_TRUE(Enter("<Key>x", ActA));
  ASSERT_TRUE(Enter("<Key>y", ActA));
  ASSERT_TRUE(WTranslt_OverrideTranslation(table_, "<Key>x", ActB));
  EXPECT_EQ(Run(W_KeyPress, 0, 'x'), "B+");
  EXPECT_EQ(Run(W_KeyPress, 0, 'y'), "A+");
}

TEST_F(WTransltTest, MessagesMatchByAtomAndMasksFollowTheEntries) {
  ASSERT_TRUE(Enter("<Message> WM_DELETE_WINDOW", ActA));
  W_Event e;
  e.kind = W_ClientMessage;
  e.client.messageType = W_InternAtom(StrIn("WM_DELETE_WINDOW"), false);
  calls.clear();
  EXPECT_TRUE(WTranslt_TranslateEvent(widget_, e));
  EXPECT_EQ(calls, std::vector<std::string>{"A"});
  e.client.messageType = W_InternAtom(StrIn("WM_TAKE_FOCUS"), false);
  EXPECT_FALSE(WTranslt_TranslateEvent(widget_, e));

  ASSERT_TRUE(Enter("<Key>, <Btn2Up>, <BtnMotion>, <Configure>"));
  EXPECT_EQ(WTranslt_EventMask(table_), W_KeyPressMask | W_ButtonReleaseMask | W_PointerMotionMask |
                                            W_PointerMotionHintMask | W_ButtonMotionMask | W_StructureNotifyMask);
  std::uint8_t ch = 0;
  EXPECT_TRUE(WTranslt_TranslateKeyString("^[", ch));
  EXPECT_EQ(ch, 27);
  EXPECT_FALSE(WTranslt_TranslateKeyString("F11", ch));
}

const bool site = UseBuildTreeSite(Messages_Init);

}  // namespace
