// The event machine without a server: a dialog is realized on made-up
// windows and sent made-up events. Keys, focus, buttons, grabs, exposure and
// the window manager's close button.
#include "toolkit/WtEvents.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/FakeW.h"
#include "toolkit/CObject.h"
#include "toolkit/CWIOFld.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWPush.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWHVBox.h"
#include "toolkit/CWToggle.h"
#include "toolkit/Wt.h"
#include "toolkit/WtToolTip.h"

namespace {

std::vector<std::int32_t> reported;  // values the callbacks got
std::vector<bool> doubleClicks;
Widget toDestroy = nullptr;
bool destroyedInside = true;
int closes = 0;

void Report(Widget, std::uintptr_t, WidgetValue* value) {
  reported.push_back(WtTypes_AsInteger(*value));
  doubleClicks.push_back(WtEvents_doubleClickFlag);
  if (toDestroy != nullptr) {
    WtEvents_DelayedDestroyWidget(toDestroy);
    destroyedInside = toDestroy->cls == nullptr;
    toDestroy = nullptr;
  }
}

void Close(Widget, std::uintptr_t) { ++closes; }

class WtEventsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    FakeW::Install();
    Wt_Initialize();
    reported.clear();
    doubleClicks.clear();
    closes = 0;
    shell_ = Wt_CreateWidget(nullptr, CWShell_class, nullptr);
    SAttribs attrs = nullptr;
    SAttribs_AddString(attrs, "TEXT", "Name");
    const char n = 'n';
    SAttribs_AddByName(attrs, "shortCut", &n, 1);
    label_ = Make(CWLabel_class, attrs);
    field_ = Make(CWIOFld_class, attrs);
    const WidgetValue seven = WtTypes_Integer(7);
    SAttribs_AddByName(attrs, "VALUE", seven.VALUE, 4);
    push_ = Make(CWPush_class, attrs);
    toggle_ = Make(CWToggle_class, attrs);
    for (Widget w : {shell_, field_, push_, toggle_}) CWCore_SetCallback(w, Report, 0);
    CWShell_Popup(shell_, 0);
  }
  void TearDown() override {
    Wt_DestroyWidget(shell_);
    FakeW::Remove();
  }

  Widget Make(Classes_ClassPtr cls, SAttribs& attrs) {
    Widget w = Wt_CreateWidget(shell_, cls, attrs);
    SAttribs_Destroy(attrs);
    return w;
  }

  void Key(std::uint8_t ch, std::uint32_t state = 0) {
    W_Event e;
    e.kind = W_KeyPress;
    e.window = shell_->window;
    e.input.ch = ch;
    e.input.state = state;
    WtEvents_DispatchEvent(e);
  }
  void Button(Widget w, bool press, W_Time time = 0) {
    W_Event e;
    e.kind = press ? W_ButtonPress : W_ButtonRelease;
    e.window = w->window;
    e.input.x = e.input.y = 2;
    e.input.button = 0;
    e.input.state = press ? 0x1 : 0;
    e.input.time = time;
    // Through the queue, as the loop takes them.
    WtEvents_PushEvent(e);
    WtEvents_NextEvent(e);
    WtEvents_DispatchEvent(e);
  }
  void Click(Widget w, W_Time time = 0) {
    Button(w, true, time);
    Button(w, false, time);
  }
  Widget Focus() { return static_cast<CWShell>(shell_)->focusWidget; }

  Widget shell_ = nullptr, label_ = nullptr, field_ = nullptr, push_ = nullptr, toggle_ = nullptr;
};

TEST_F(WtEventsTest, TabWalksTheWidgetsThatTakeTheFocusAndWraps) {
  for (Widget next : {field_, push_, toggle_, field_}) {  // the label does not take it
    Key(W_KeyTab);
    EXPECT_EQ(Focus(), next);
  }
  Key(W_KeyBackTab);
  EXPECT_EQ(Focus(), toggle_);
  // The label's mnemonic gives the focus to the widget after it.
  Key('N', W_AltMask);
  EXPECT_EQ(Focus(), field_);
}

TEST_F(WtEventsTest, KeysGoToTheFocusWidgetThenToTheShell) {
  Key(W_KeyTab);
  Key('4');
  Key('2');
  EXPECT_EQ(CWTextIO_GetText(field_).Str(), "42");
  EXPECT_TRUE(reported.empty());
  // Return commits the field; without supportKeyConfirm the shell does nothing.
  Key(W_KeyReturn);
  ASSERT_EQ(reported.size(), 1u);
  EXPECT_EQ(CWTextIO_GetText(field_).Str(), "42");
  static_cast<CWShell>(shell_)->supportKeyConfirm = true;
  Key(W_KeyReturn);
  Key(W_KeyEscape);
  EXPECT_EQ(reported, (std::vector<std::int32_t>{0, 1, 0}));  // the field's STRING reads 0
  // Space on the focused toggle flips it.
  Key(W_KeyTab);
  Key(W_KeyTab);
  Key(' ');
  EXPECT_TRUE(CWToggle_IsOn(toggle_));
}

TEST_F(WtEventsTest, ClicksReportAndReleasesWithin400msAreDoubleClicks) {
  Click(push_, 1000);
  Click(push_, 1400);
  Click(push_, 1801);
  EXPECT_EQ(reported, (std::vector<std::int32_t>{7, 7, 7}));
  EXPECT_EQ(doubleClicks, (std::vector<bool>{false, true, false}));
  EXPECT_FALSE(WtEvents_doubleClickFlag);  // cleared after each dispatch
  // An insensitive button takes no input.
  CWCore_SetEnabledState(push_, false);
  Click(push_, 5000);
  EXPECT_EQ(reported.size(), 3u);
}

TEST_F(WtEventsTest, TheReleaseOfAButtonWhoseWidgetWentAwayVanishes) {
  Button(push_, true);
  CWCore_UnmapWindow(push_);
  CWCore_MapWindow(push_);
  Button(push_, false);
  EXPECT_TRUE(reported.empty());
  Click(push_);
  EXPECT_EQ(reported.size(), 1u);
}

TEST_F(WtEventsTest, AModalShellTakesTheInputOfTheOthers) {
  SAttribs attrs = nullptr;
  SAttribs_AddBool(attrs, "applicationModal", true);
  Widget modal = Wt_CreateWidget(nullptr, CWShell_class, attrs);
  SAttribs_Destroy(attrs);
  CWShell_Popup(modal, 0);
  const int raises = FakeW::raises;
  Click(push_);
  EXPECT_TRUE(reported.empty());
  EXPECT_GT(FakeW::raises, raises);  // the press raised the modal dialog
  CWShell_Popdown(modal);
  Click(push_);
  EXPECT_EQ(reported.size(), 1u);
  Wt_DestroyWidget(modal);
}

TEST_F(WtEventsTest, WidgetsDestroyedDuringDispatchGoAfterIt) {
  toDestroy = toggle_;
  Click(push_);
  EXPECT_FALSE(destroyedInside);
  EXPECT_EQ(CWGroup_ChildCount(shell_), 3u);
}

TEST_F(WtEventsTest, ExposureOfABurstComesOnceAndTheCloseButtonCalls) {
  auto shell = static_cast<CWShell>(shell_);
  W_Event e;
  e.kind = W_Expose;
  e.window = shell_->window;
  e.expose = W_ExposeBody{0, 0, 10, 10, 1};
  WtEvents_DispatchEvent(e);
  EXPECT_FALSE(shell->exposed);
  e.expose = W_ExposeBody{50, 50, 10, 10, 0};
  WtEvents_DispatchEvent(e);
  EXPECT_TRUE(shell->exposed);
  EXPECT_EQ(e.expose.width, 60);  // the union of the burst

  W_Event close;
  close.kind = W_ClientMessage;
  close.window = shell->outerWindow;
  close.client.messageType = W_InternAtom(StrIn("WM_DELETE_WINDOW"), false);
  close.client.format = 2;
  CWShell_SetDelWndCallback(shell_, Close, 0);
  WtEvents_DispatchEvent(close);
  EXPECT_EQ(closes, 1);
  // By default the close button of the last shell leaves the main loop.
  CWShell_SetDelWndCallback(shell_, nullptr, 0);
  WtEvents_leaveMainLoop = false;
  WtEvents_DispatchEvent(close);
  EXPECT_TRUE(WtEvents_leaveMainLoop);
}

// Timers that run when the test says so.
std::vector<std::pair<WtEvents_Action, std::uintptr_t>> timers;
int Schedule(int, WtEvents_Action action, std::uintptr_t data) {
  timers.emplace_back(action, data);
  return static_cast<int>(timers.size());
}
void Cancel(int timer) { timers[static_cast<std::size_t>(timer - 1)].first = nullptr; }

std::vector<std::string> tips;
void Tip(Widget, StrIn text, W_Point, W_Point, std::uintptr_t) { tips.push_back(text.Str()); }

TEST_F(WtEventsTest, ToolTipsComeFromTheDialogsMessagesAfterTheDelay) {
  WtEvents_SetTimerProcs(Schedule, Cancel);
  WtToolTip_SetLevel(2, true);
  CWShell_SetConfigProcs(shell_, "wtdemo", nullptr, nullptr);
  CWShell_SetToolTipCallback(shell_, Tip, 0);
  push_->helpMsg = 7;  // "OK"
  W_Event enter;
  enter.kind = W_EnterNotify;
  enter.window = push_->window;
  enter.input.x = enter.input.y = 1;
  WtEvents_DispatchEvent(enter);
  EXPECT_EQ(tips, std::vector<std::string>{"OK"});
  ASSERT_EQ(timers.size(), 1u);
  timers[0].first(timers[0].second);  // the delay is over: the tip shows
  Click(push_);                       // and a click takes it down again
  WtToolTip_PopDown();

  // Without a shell at the root there is no tip.
  Widget box = Wt_CreateWidget(nullptr, CWHVBox_vboxClass, nullptr);
  SAttribs attrs = nullptr;
  SAttribs_AddInt(attrs, "helpMsg", 7);
  Widget orphan = Wt_CreateWidget(box, CWLabel_class, attrs);
  SAttribs_Destroy(attrs);
  char text[64];
  W_Point a, b;
  EXPECT_FALSE(CWCore_GetToolTipText(orphan, 2, 0, 0, text, a, b));
  EXPECT_TRUE(CWCore_GetToolTipText(push_, 2, 0, 0, text, a, b));
  EXPECT_FALSE(CWCore_GetToolTipText(push_, 1, 0, 0, text, a, b));  // tips off at level 1
  Wt_DestroyWidget(box);
  WtToolTip_SetLevel(1, true);
  WtEvents_SetTimerProcs(nullptr, nullptr);
}

const bool site = UseBuildTreeSite([] {
  Messages_Init();
  Messages_UseMsgCat("WTDEMOmsg");
});

}  // namespace
