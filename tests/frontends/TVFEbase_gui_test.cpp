// A command run modally on a private X server: while it runs, a click on a
// button and the window manager's close go nowhere, a window exposed is
// drawn again and the command's lines reach standard output; after it,
// clicks work again. A box a task opens meanwhile can still be answered.
#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "frontends/TVFEbase.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/WtEvents.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>

namespace {

const bool registered = UseTestDialogs([] { I_UseContextCat("IREPLAYdlg"); });

int clicks = 0;
void Clicked(I_Context, std::int32_t, std::int32_t, std::uintptr_t) { ++clicks; }

struct During {
  XUser* user;
  I_Context dialog;
  Widget button;
  std::vector<unsigned long> face{}, cleared{}, redrawn{};
  bool blocked = false;
};

// The row through the middle of the button, text and edges included.
std::vector<unsigned long> MiddleRow(XUser& user, Widget w) {
  std::vector<unsigned long> row;
  const int x0 = w->gadget ? w->x : 0, y = (w->gadget ? w->y : 0) + w->height / 2;
  for (int x = x0; x < x0 + w->width; ++x) row.push_back(user.Pixel(w, x, y));
  return row;
}

void Click(std::uintptr_t data) {
  auto* d = reinterpret_cast<During*>(data);
  d->blocked = I_InputBlocked();
  d->user->Click(d->button);
}

// Clears the button's window as a window over it that went away would, and
// sees it cleared.
void ClearButton(std::uintptr_t data) {
  auto* d = reinterpret_cast<During*>(data);
  XClearArea(d->user->display(), d->button->window, 0, 0, 0, 0, True);
  XSync(d->user->display(), False);
  d->cleared = MiddleRow(*d->user, d->button);
}

// Then the window manager's close.
void LookAndClose(std::uintptr_t data) {
  auto* d = reinterpret_cast<During*>(data);
  d->redrawn = MiddleRow(*d->user, d->button);
  CWShell_DeleteWindow(I_AccessWidget(d->dialog, -1));
}

TEST(TVFEbaseModal, InputIsBlockedWhileTheCommandRunsAndTheWindowsRedraw) {
  XUser user;
  I_Context dialog = I_Create("IReplay_Login", true);
  ASSERT_NE(dialog, nullptr);
  I_SetINTEGERcallback(dialog, 1, Clicked, 0);
  ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(dialog, -1))->exposed; }));
  During d{&user, dialog, I_AccessWidget(dialog, 3)};
  d.face = MiddleRow(user, d.button);

  I_ScheduleTask(50, Click, reinterpret_cast<std::uintptr_t>(&d));
  I_ScheduleTask(100, ClearButton, reinterpret_cast<std::uintptr_t>(&d));
  I_ScheduleTask(250, LookAndClose, reinterpret_cast<std::uintptr_t>(&d));
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(TVFEbase_ExecCommandModal("echo one; sleep 0.4; echo two"));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "one\ntwo\n");
  EXPECT_TRUE(d.blocked);
  EXPECT_FALSE(I_InputBlocked());
  EXPECT_EQ(clicks, 0);
  EXPECT_TRUE(I_Active(dialog)) << "the window manager's close was refused";
  EXPECT_NE(d.cleared, d.face) << "the exposure test cleared nothing";
  EXPECT_EQ(d.redrawn, d.face);

  user.Click(d.button);
  EXPECT_TRUE(Pump([] { return clicks == 1; }));
  I_Destroy(dialog);
}

// A task's box during the command: the user clicks its OK once it runs,
// the box ends, and the command's block holds again after it. A box that
// takes no input is ended after 5 s by SIGTERM, which leaves any loop.
bool answered = false, blockedAfterBox = false;
void AnswerBox(std::uintptr_t data) {
  auto* user = reinterpret_cast<XUser*>(data);
  I_Context box = I_Create("IReplay_Login", true);
  I_SetINTEGERcallback(box, 1, [](I_Context c, std::int32_t, std::int32_t, std::uintptr_t) { I_Deactivate(c); }, 0);
  Pump([&] { return static_cast<CWShell>(I_AccessWidget(box, -1))->exposed; });
  user->PointAt(I_AccessWidget(box, 3));
  std::atomic<bool> ended = false;
  std::thread later([user, &ended, loop = ::pthread_self()] {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    user->Button(1, true);
    user->Button(1, false);
    for (int wait = 0; wait < 100 && !ended; ++wait) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    if (!ended) ::pthread_kill(loop, SIGTERM);
  });
  I_Dialog(box);
  ended = true;
  later.join();
  WtEvents_leaveMainLoop = false;
  answered = !I_Active(box);
  blockedAfterBox = I_InputBlocked();
  I_Destroy(box);
}

TEST(TVFEbaseModal, ABoxOpenedMeanwhileCanBeAnswered) {
  XUser user;
  I_ScheduleTask(50, AnswerBox, reinterpret_cast<std::uintptr_t>(&user));
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(TVFEbase_ExecCommandModal("sleep 0.3"));
  ::testing::internal::GetCapturedStdout();
  EXPECT_TRUE(answered);
  EXPECT_TRUE(blockedAfterBox);
}

}  // namespace
