// Message boxes and progress windows of "marldlg" on a private X server,
// answered by a user who waits for each box to show: the answer is the
// button's, the caller's words label the buttons, Escape breaks a progress
// window, a program's catalog replaces a base dialog, and the replay
// answers the boxes a task opens.
#include "toolkit/Imisc.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/SIdPool.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/IReplay.h"
#include "toolkit/Ibase.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/keysym.h>

namespace {

// What the user does once the box `dialog` is on the screen: press a key on
// it or click one of its elements; the title it had is kept.
struct Plan {
  XUser* user;
  const char* dialog;
  unsigned long key;
  std::int32_t element;  // clicked when key is 0
  std::string title;
  std::string label;     // the text of element 7, when it has one
  bool done = false;
};

I_Context Newest(const char* dialog) {
  for (I_Context c = Ibase_contexts; c != nullptr; c = c->next)
    if (SIdPool_IdText(c->def->name).Str() == dialog) return c;
  return nullptr;
}

void Act(std::uintptr_t data) {
  auto* plan = reinterpret_cast<Plan*>(data);
  I_Context box = Newest(plan->dialog);
  if (plan->done) return;
  if (box == nullptr || !static_cast<CWShell>(box->rootWidget)->exposed) {
    I_RescheduleTask(20);
    return;
  }
  plan->title = static_cast<CWShell>(box->rootWidget)->title;
  if (box->robjs.count(7) != 0) {
    char text[64] = "";
    I_GetReprAttr(box, 7, SIdPool_EnterId("TEXT"), text, sizeof text - 1);
    plan->label = text;
  }
  plan->user->PointAt(box->robjs.at(3));
  if (plan->key != 0) plan->user->Press(plan->key);
  else plan->user->Click(box->robjs.at(plan->element));
  plan->done = true;
}

class ImiscTest : public ::testing::Test {
 protected:
  Plan& Expect(const char* dialog, unsigned long key, std::int32_t element = 0) {
    plan_ = Plan{&user_, dialog, key, element, "", "", false};
    I_ScheduleTask(0, Act, reinterpret_cast<std::uintptr_t>(&plan_));
    return plan_;
  }
  XUser user_;
  Plan plan_;
};

TEST_F(ImiscTest, BoxesAnswerWithTheirButtons) {
  Expect("_yes", XK_Return);
  EXPECT_TRUE(Imisc_StrYes("Go on?"));
  EXPECT_EQ(plan_.title, "Question");
  Expect("_confirm", XK_Escape);
  EXPECT_FALSE(Imisc_StrConfirm("Remove it?"));
  Expect("_SaveConfirm", 0, 7);
  EXPECT_EQ(Imisc_StrGenericConfirm("Which one?", "First", "Second", "Third"), 2);
  EXPECT_EQ(plan_.label, "Second");
  Expect("_SaveConfirm", 0, 8);
  EXPECT_EQ(Imisc_StrSaveConfirm("Save?"), 0);
}

TEST_F(ImiscTest, EscapeBreaksAProgressWindow) {
  Imisc_Timer timer = Imisc_StartTimer("I", 1, 1000, true);
  ASSERT_NE(timer, nullptr);
  Expect("_timer_brk", XK_Escape);
  std::uint32_t step = 0;
  while (Imisc_NotifyTimer(timer, step) && step < 100000) ++step;
  EXPECT_LT(step, 100000u);
  EXPECT_TRUE(Imisc_BreakCallback());
  Imisc_FinishTimer(timer);
  EXPECT_EQ(timer, nullptr);
}

TEST_F(ImiscTest, TheCatalogOpenedLastIsAskedFirst) {
  Expect("_timedNotifyOK", XK_Return);
  Imisc_StrNotify("Done.", 0);
  EXPECT_EQ(plan_.title, "Test notice");
}

// A task that asks, then tells an error: boxes in the loop of a task,
// where no other task runs, answered by the replay as a user would.
int answers = 0;
void AskTwice(std::uintptr_t) {
  answers += Imisc_StrYes("Go on?");
  Imisc_StrErrMsg("It failed.");
  answers += 10;
}
TEST_F(ImiscTest, TheReplayAnswersTheBoxesATaskOpens) {
  TempDir dir;
  PutFile(dir.Path() + "/boxes.log", "AOBJ _yes 2 1\nAOBJ _errmsg 2 1\n");
  testing::internal::CaptureStderr();
  ASSERT_TRUE(IReplay_Start(dir.Path() + "/boxes.log", 3000));
  I_ScheduleTask(0, AskTwice, 0);
  RunLoop([] { return answers == 11 || !IReplay_Running(); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(answers, 11);
}

const bool environment = UseTestDialogs();

}  // namespace
