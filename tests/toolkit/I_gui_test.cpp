// The dialog layer on a private X server: values of every kind go in and
// come out, the user's changes reach the program (clamped, through every
// binding and a composite) and the program's own never call it back;
// settings outlive a dialog; the loop runs tasks on time, idle work between
// events, and stays responsive while a task waits in slices.
#include "toolkit/I.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "base/Messages.h"
#include "base/Utility.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTextIO.h"
#include "toolkit/CWToggle.h"
#include "toolkit/WtEvents.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/keysym.h>

namespace {

std::vector<std::string> calls;

void OnInteger(I_Context, std::int32_t number, std::int32_t value, std::uintptr_t) {
  calls.push_back(std::to_string(number) + "=" + std::to_string(value));
}
void OnCardinal(I_Context, std::int32_t number, std::uint32_t value, std::uintptr_t) {
  calls.push_back(std::to_string(number) + "=" + std::to_string(value));
}
void OnBoolean(I_Context, std::int32_t number, bool value, std::uintptr_t) {
  calls.push_back(std::to_string(number) + "=" + (value ? "T" : "F"));
}

struct Block {
  std::int32_t a, b, c, d;
};

// The composite "PAIR": a dialog of one number shown inside another.
void PutPair(I_Context pair, std::int32_t value) { I_PutINTEGER(pair, 1, value); }
void PairChanged(I_Context pair, std::int32_t, std::int32_t value, std::uintptr_t) {
  I_INTEGERcallback(pair, value);
}
I_Context CreatePair(std::uintptr_t) {
  I_Context pair = I_Create("ITest_Pair", false);
  I_SetINTEGERcallback(pair, 1, PairChanged, 0);
  return pair;
}

class ITest : public ::testing::Test {
 protected:
  void SetUp() override {
    calls.clear();
    c_ = I_Create("ITest_Values", true);
    ASSERT_NE(c_, nullptr);
    for (std::int32_t n : {1, 3, 7}) I_SetINTEGERcallback(c_, n, OnInteger, 0);
    I_SetCARDINALcallback(c_, 4, OnCardinal, 0);
    I_SetBOOLEANcallback(c_, 2, OnBoolean, 0);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(c_, -1))->exposed; }));
  }
  void TearDown() override { I_Destroy(c_); }

  std::string Text(std::int32_t element) { return CWTextIO_GetText(I_AccessWidget(c_, element)).Str(); }
  // Replaces the text of a field as the user does, and commits it with Tab.
  void Enter(std::int32_t element, const std::string& text) {
    user_.Click(I_AccessWidget(c_, element));
    user_.Press(XK_a, XK_Control_L);
    user_.Press(XK_Delete);
    user_.Type(text);
    user_.Press(XK_Tab);
  }

  XUser user_;
  I_Context c_ = nullptr;
};

TEST_F(ITest, EveryKindRoundTripsAndTheProgramsPutsCallNobody) {
  EXPECT_EQ(I_GetINTEGER(c_, 3), 5);  // defaults from the catalog
  EXPECT_EQ(Text(6), "first");
  I_PutBOOLEAN(c_, 2, true);
  I_PutINTEGER(c_, 3, 42);
  I_PutCARDINAL(c_, 4, 4000000000u);
  I_PutREAL(c_, 5, 0.25);
  I_PutSTRING(c_, 6, "Gr\xC3\xBC\xC3\x9F" "e");
  const Block block{1, -2, 3, 4};
  I_PutGeneric(c_, 8, &block);
  EXPECT_EQ(std::tuple(I_GetBOOLEAN(c_, 2), I_GetINTEGER(c_, 3), I_GetCARDINAL(c_, 4), I_GetREAL(c_, 5)),
            std::tuple(true, 42, 4000000000u, 0.25));
  NameStr text;
  I_GetSTRING(c_, 6, text);
  EXPECT_STREQ(text, "Gr\xC3\xBC\xC3\x9F" "e");
  Block back{};
  I_GetGeneric(c_, 8, &back);
  EXPECT_EQ(std::memcmp(&back, &block, sizeof block), 0);
  // The widgets show what was put.
  EXPECT_TRUE(CWToggle_IsOn(I_AccessWidget(c_, 2)));
  EXPECT_EQ(Text(3) + "|" + Text(4) + "|" + Text(6), "42|4000000000|Gr\xC3\xBC\xC3\x9F" "e");
  // Beyond the range a put is clamped too.
  I_PutREAL(c_, 5, 7.0);
  EXPECT_EQ(I_GetREAL(c_, 5), 1.0);
  EXPECT_TRUE(calls.empty());

  // Misuse is reported and leaves the values alone.
  Messages_IgnoreErrors(true);
  I_PutINTEGER(c_, 99, 1);
  EXPECT_EQ(I_ilibError, 2);
  I_PutINTEGER(c_, 6, 1);
  EXPECT_EQ(I_ilibError, 3);
  EXPECT_EQ(I_GetINTEGER(c_, 6), 0);
  EXPECT_EQ(I_Create("ITest_None", false), nullptr);
  EXPECT_EQ(I_ilibError, 1);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
}

TEST_F(ITest, TheUsersInputIsClampedAndReachesTheProgramOnce) {
  Enter(3, "500");
  ASSERT_TRUE(Pump([] { return !calls.empty(); }));
  EXPECT_EQ(calls, std::vector<std::string>{"3=100"});
  EXPECT_EQ(I_GetINTEGER(c_, 3), 100);
  EXPECT_EQ(Text(3), "500");  // the user's field keeps what was typed
  I_PutINTEGER(c_, 3, 100);  // the same value: nothing at all
  EXPECT_EQ(Text(3), "500");
  I_PutINTEGER(c_, 3, 99);
  EXPECT_EQ(Text(3), "99");

  // An empty field of a value that allows nil is the nil mark, outside any range.
  Enter(4, "");
  ASSERT_TRUE(Pump([] { return calls.size() == 2; }));
  EXPECT_EQ(I_GetCARDINAL(c_, 4), I_nilCARDINAL);

  user_.Click(I_AccessWidget(c_, 2));
  ASSERT_TRUE(Pump([] { return calls.size() == 3; }));
  EXPECT_EQ(calls.back(), "2=T");
  user_.Click(I_AccessWidget(c_, 10));  // Cancel reports its number 0
  ASSERT_TRUE(Pump([] { return calls.size() == 4; }));
  EXPECT_EQ(calls.back(), "1=0");
}

TEST_F(ITest, AValueShownTwiceAndInAComposite) {
  I_PutINTEGER(c_, 7, 12);
  EXPECT_EQ(Text(7), "12");
  EXPECT_EQ(Text(8), "12");
  Widget pair = I_AccessWidget(c_, 11);
  Widget inner = CWGroup_FindWidgetByType(pair, CWTextIO_class);
  EXPECT_EQ(CWTextIO_GetText(inner).Str(), "12");
  // Typed into the composite: the outer value, its other fields and the
  // program hear of it.
  user_.Click(inner);
  user_.Press(XK_a, XK_Control_L);
  user_.Type("34");
  user_.Press(XK_Tab);
  ASSERT_TRUE(Pump([] { return !calls.empty(); }));
  EXPECT_EQ(calls, std::vector<std::string>{"7=34"});
  EXPECT_EQ(Text(7), "34");
  EXPECT_EQ(Text(8), "34");
}

TEST_F(ITest, ASettingOutlivesItsDialog) {
  EXPECT_EQ(I_GetINTEGER(c_, 9), 3);
  I_PutINTEGER(c_, 9, 9);
  I_Destroy(c_);
  c_ = I_Create("ITest_Values", false);
  EXPECT_EQ(I_GetINTEGER(c_, 9), 9);
}

// A button that ends its own dialog while the dialog's modal loop runs.
void DestroyOwnDialog(I_Context, std::int32_t, std::int32_t, std::uintptr_t data) {
  I_Destroy(*reinterpret_cast<I_Context*>(data));
}

TEST_F(ITest, DestroyedInsideItsOwnModalLoop) {
  I_Context modal = I_Create("ITest_Values", true);
  I_SetINTEGERcallback(modal, 1, DestroyOwnDialog, reinterpret_cast<std::uintptr_t>(&modal));
  ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(modal, -1))->exposed; }));
  user_.Click(I_AccessWidget(modal, 9));
  I_Dialog(modal);
  EXPECT_EQ(modal, nullptr);
}

// --- The loop --------------------------------------------------------------------------

struct Ticks {
  std::vector<std::chrono::steady_clock::time_point> at;
  std::vector<int> numbers;
};

void Tick(std::uintptr_t data) {
  auto* ticks = reinterpret_cast<Ticks*>(data);
  ticks->at.push_back(std::chrono::steady_clock::now());
  if (ticks->at.size() == 6) {
    WtEvents_leaveMainLoop = true;
    return;
  }
  ticks->numbers.push_back(I_RescheduleTask(100));
}

TEST_F(ITest, ATaskEvery100ms) {
  Ticks ticks;
  const int task = I_ScheduleTask(100, Tick, reinterpret_cast<std::uintptr_t>(&ticks));
  EXPECT_EQ(I_RescheduleTask(100), I_NilTask());  // outside a task
  I_MainLoop();
  ASSERT_EQ(ticks.at.size(), 6u);
  for (int n : ticks.numbers) EXPECT_EQ(n, task);  // it keeps its number
  for (std::size_t i = 1; i < ticks.at.size(); ++i)
    EXPECT_GE(ticks.at[i] - ticks.at[i - 1], std::chrono::milliseconds(99));
}

std::vector<std::string> order;

void Second(std::uintptr_t) { order.push_back("second"); }
void First(std::uintptr_t) {
  order.push_back("first");
  I_QueueIdleTask(Second, 0);
}

TEST_F(ITest, IdleWorkWaitsForTheEventsAndRunsOnePerRound) {
  ASSERT_TRUE(Pump([] { return true; }));
  order.clear();
  // Three events waiting come first.
  W_Event event;
  event.kind = W_ClientMessage;
  for (int i = 0; i < 3; ++i) WtEvents_PushEvent(event);
  I_QueueIdleTask(First, 0);
  for (int i = 0; i < 3; ++i) I_SingleEventLoopIteration();
  EXPECT_TRUE(order.empty());
  I_SingleEventLoopIteration();
  EXPECT_EQ(order, std::vector<std::string>{"first"});  // the one it queued waits
  I_SingleEventLoopIteration();
  EXPECT_EQ(order, (std::vector<std::string>{"first", "second"}));
}

struct Wait {
  std::chrono::steady_clock::time_point clicked, heard, done;
};
Wait wait;

void Heard(I_Context, std::int32_t, std::int32_t, std::uintptr_t) {
  if (wait.heard.time_since_epoch().count() == 0) wait.heard = std::chrono::steady_clock::now();
}

// Waits two seconds in slices of 100 ms with the yield callback between.
void LongWait(std::uintptr_t data) {
  auto* user = reinterpret_cast<std::pair<XUser*, Widget>*>(data);
  wait.clicked = std::chrono::steady_clock::now();
  user->first->Click(user->second);
  for (int slice = 0; slice < 20; ++slice) {
    Utility_Delay(100);
    I_Yield();
  }
  wait.done = std::chrono::steady_clock::now();
  WtEvents_leaveMainLoop = true;
}

TEST_F(ITest, TheLoopStaysResponsiveWhileATaskWaitsInSlices) {
  I_SetINTEGERcallback(c_, 1, Heard, 0);
  std::pair<XUser*, Widget> user{&user_, I_AccessWidget(c_, 9)};
  wait = Wait{};
  I_ScheduleTask(0, LongWait, reinterpret_cast<std::uintptr_t>(&user));
  I_MainLoop();
  ASSERT_NE(wait.heard.time_since_epoch().count(), 0);
  EXPECT_LT(wait.heard, wait.done);  // during the wait, not after it
  const auto latency = std::chrono::duration_cast<std::chrono::milliseconds>(wait.heard - wait.clicked);
  std::printf("click handled %lld ms after it was made, inside a wait of 2000 ms\n",
              static_cast<long long>(latency.count()));
}

bool closedLeaving = false;
void Closed(I_Context, bool leaving, std::uintptr_t) { closedLeaving = leaving; }

TEST_F(ITest, SIGTERMLeavesTheLoopThroughTheMainContextsCloseCallback) {
  I_SetAsMainApplicationContext(c_);
  I_SetCloseCallback(c_, Closed, 0);
  WtEvents_leaveMainLoop = false;
  ::kill(::getpid(), SIGTERM);
  EXPECT_TRUE(WtEvents_leaveMainLoop);
  EXPECT_TRUE(closedLeaving);
}

const bool environment = UseTestDialogs([] {
  WtTypes_DeclareType("ITestBlock", sizeof(Block));
  I_AnnounceWidget("PAIR", CreatePair, 0);
  I_AnnounceINTEGER("PAIR", PutPair);
});

}  // namespace
