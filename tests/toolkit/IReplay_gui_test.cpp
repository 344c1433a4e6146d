// The GUI log and its replay: a session given by mouse and keyboard to the
// demonstration dialog, logged, and replayed by the demo program on a fresh
// start gives the same values; lines that cannot be played end the replay
// with the line's number; a hidden dialog never reaches the log; a table
// takes a replayed selection of two keys as a click would.
#include "toolkit/IReplay.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstdlib>
#include <sstream>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/TestDialogs.h"
#include "tests/toolkit/XUser.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTable.h"
#include "toolkit/WtGuiLog.h"
#include "tools/WtDemoJobs.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace {

const bool registered = UseTestDialogs([] {
  Messages_UseMsgCat("WTDEMOmsg");
  I_UseContextCat("IREPLAYdlg");
});

bool Exposed(I_Context c) { return static_cast<CWShell>(I_AccessWidget(c, -1))->exposed; }

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// A click on a table row, with a modifier key held (0: none).
void ClickRow(XUser& user, Widget table, std::size_t row, unsigned long modifier = 0) {
  Regions_Rect place;
  ASSERT_TRUE(CWTable_RowPlace(table, row, place));
  user.ClickAt(table, place.x + place.width / 2, place.y + place.height / 2, modifier);
}

TEST(GuiLog, ASessionByMouseAndKeyboardReplaysOnAFreshStartToTheSameValues) {
  TempDir dir;
  const std::string log = dir.Path() + "/session.log";
  ASSERT_TRUE(WtGuiLog_Open(log));
  WtDemoJobs demo;
  ASSERT_TRUE(WtDemoJobs_Open(demo));
  I_Context d = demo.dialog;
  I_Activate(d);
  ASSERT_TRUE(Pump([&] { return Exposed(d); }));

  XUser user;
  user.Click(I_AccessWidget(d, WtDemoJobs_kName));
  for (const char* text : {"Night \"shift\" 7", "12", "125.5", "7"}) {
    user.Press('a', XK_Control_L);
    user.Type(text);
    user.Press(XK_Tab);
  }
  user.Click(I_AccessWidget(d, WtDemoJobs_kProof));
  Widget table = I_AccessWidget(d, WtDemoJobs_kTable);
  ClickRow(user, table, 3);
  ASSERT_TRUE(Pump([&] { return demo.jobs[3].link.selected; }));
  ClickRow(user, table, 5, XK_Control_L);
  ASSERT_TRUE(Pump([&] { return demo.jobs[5].link.selected; }));
  user.Press(XK_Return);
  ASSERT_TRUE(Pump([&] { return demo.button == 1; }));
  const std::vector<std::string> recorded = WtDemoJobs_Values(demo);
  WtDemoJobs_Close(demo);
  WtGuiLog_Open("");
  // What the user gave, seen by the program; the table's key is the name.
  ASSERT_EQ(recorded, (std::vector<std::string>{"2 \"Night \\\"shift\\\" 7\"", "3 12", "4 125.5", "5 FALSE", "6 7",
                                                 "7 \"Folding box Tea 20\" \"Cover 2024-18\""}));

  // The demo program, started afresh with the log as its input, ends with
  // OK and prints the same values.
  const RunResult run = RunProgram({FLOATDECK_BINARY_DIR "/bin/wtdemo", "-d"},
                                   {{"TV_GUIREPLAY", log}, {"TV_GUILOG", ""}, {"TMP", dir.Path()}, {"LANG", "C"},
                                    {"LANGUAGE", ""}});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(Lines(run.out), recorded) << FileText(log);
}

// Every page of the demo opens from its catalog and closes by its button;
// a menu opens and closes by replayed commands.
TEST(GuiLog, TheDemoPagesOpenAndCloseThroughTheReplay) {
  TempDir dir;
  for (const std::string page : {"Scrollbars", "Menus", "Lists", "Pages", "Lamps"}) {
    std::string lines = "AOBJ WtDemo_" + page + " 1 1\n";
    if (page == "Menus") lines = "COMMAND WtDemo_Menus 11 OPEN\nCOMMAND WtDemo_Menus 11 CLOSE\n" + lines;
    PutFile(dir.Path() + "/page.log", lines);
    std::string name = page;
    name[0] = static_cast<char>(std::tolower(name[0]));
    const RunResult run = RunProgram({FLOATDECK_BINARY_DIR "/bin/wtdemo", "-p", name},
                                     {{"TV_GUIREPLAY", dir.Path() + "/page.log"}, {"TMP", dir.Path()}});
    EXPECT_EQ(run.status, 0) << page << ": " << run.err;
    EXPECT_EQ(run.err, "") << page;
  }
}

// Plays `lines` in this program (a line waits at most `waitMs` for its
// dialog) and answers what went to standard error.
std::string Replay(const TempDir& dir, const std::string& lines, int waitMs = 30000) {
  const std::string file = dir.Path() + "/replay.log";
  PutFile(file, lines);
  testing::internal::CaptureStderr();
  EXPECT_TRUE(IReplay_Start(file, waitMs));
  EXPECT_TRUE(RunLoop([] { return !IReplay_Running(); }));
  return testing::internal::GetCapturedStderr();
}

TEST(GuiLog, ALineThatCannotBePlayedEndsTheReplayWithItsNumber) {
  TempDir dir;
  // A dialog that never opens: the line waits, then fails.
  const auto start = std::chrono::steady_clock::now();
  std::string err = Replay(dir, "# a session\n\nWAIT 5\nAOBJ ITest_Never 1 1\nAOBJ ITest_Never 1 2\n", 300);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
  EXPECT_NE(err.find(dir.Path() + "/replay.log, line 4:"), std::string::npos) << err;
  EXPECT_NE(err.find("ITest_Never was not opened within 300 ms"), std::string::npos) << err;

  // Values of the wrong kind, unknown numbers and words, and a table's
  // command it does not know, in an open dialog.
  WtDemoJobs demo;
  ASSERT_TRUE(WtDemoJobs_Open(demo));
  I_Activate(demo.dialog);
  for (const char* line : {"AOBJ WtDemo_Jobs 3 many", "AOBJ WtDemo_Jobs 99 1", "AOBJ WtDemo_Jobs 2 unquoted",
                           "SHOUT WtDemo_Jobs", "COMMAND WtDemo_Jobs 10 SORT", "COMMAND WtDemo_Jobs 11 x"}) {
    err = Replay(dir, "AOBJ WtDemo_Jobs 3 8\n" + std::string(line) + "\nAOBJ WtDemo_Jobs 3 9\n");
    EXPECT_NE(err.find("line 2:"), std::string::npos) << line << ": " << err;
    EXPECT_EQ(I_GetINTEGER(demo.dialog, WtDemoJobs_kCopies), 8) << line;
  }
  WtDemoJobs_Close(demo);
  // A file that can't be read is said so; nothing plays.
  testing::internal::CaptureStderr();
  EXPECT_FALSE(IReplay_Start(dir.Path() + "/none.log"));
  EXPECT_NE(testing::internal::GetCapturedStderr().find("none.log"), std::string::npos);
  EXPECT_FALSE(IReplay_Running());
}

int selections = 0;
void Selected(I_Context, std::int32_t, void*, std::uintptr_t) { ++selections; }
bool closed = false;
void Closed(I_Context, bool, std::uintptr_t) { closed = true; }

TEST(GuiLog, HiddenDialogsNeverReachTheLogAndTablesTakeReplayedSelections) {
  TempDir dir;
  const std::string log = dir.Path() + "/session.log";
  ASSERT_TRUE(WtGuiLog_Open(log));
  I_Context login = I_Create("IReplay_Login", true);
  ASSERT_TRUE(Pump([&] { return Exposed(login); }));
  XUser user;
  user.Click(I_AccessWidget(login, 2));
  user.Type("secret");
  user.Click(I_AccessWidget(login, 3));
  ASSERT_TRUE(Pump([&] { return I_GetINTEGER(login, 1) == 1; }));
  TextStr typed;
  I_GetSTRING(login, 2, typed);
  EXPECT_STREQ(typed, "secret");
  CWShell_DeleteWindow(I_AccessWidget(login, -1));

  // A replayed selection of two keys is reported as the click would; the
  // window manager's close, replayed, reaches the program.
  WtDemoJobs demo;
  ASSERT_TRUE(WtDemoJobs_Open(demo));
  I_Activate(demo.dialog);
  I_SetGenericcallback(demo.dialog, WtDemoJobs_kJobs, Selected, 0);
  I_SetCloseCallback(demo.dialog, Closed, 0);
  EXPECT_EQ(Replay(dir, "COMMAND WtDemo_Jobs 10 SELECT \"Cover 2024-18\" \"Pouch Nuts 200 g\"\n"
                        "DELETE_WINDOW WtDemo_Jobs\n"),
            "");
  EXPECT_EQ(selections, 1);
  EXPECT_TRUE(closed);
  std::vector<std::string> selected;
  for (const WtDemoJobs_Job& job : demo.jobs)
    if (job.link.selected) selected.push_back(job.name);
  EXPECT_EQ(selected, (std::vector<std::string>{"Cover 2024-18", "Pouch Nuts 200 g"}));
  WtDemoJobs_Close(demo);
  I_Destroy(login);
  WtGuiLog_Open("");
  EXPECT_EQ(FileText(log),
            "COMMAND WtDemo_Jobs 10 SELECT \"Cover 2024-18\" \"Pouch Nuts 200 g\"\n"
            "DELETE_WINDOW WtDemo_Jobs\n");

  // A log that can't be written is said once; the program goes on.
  testing::internal::CaptureStderr();
  EXPECT_FALSE(WtGuiLog_Open(dir.Path() + "/no/such/dir/log"));
  WtGuiLog_Line("AOBJ x 1 1");
  EXPECT_EQ(Lines(testing::internal::GetCapturedStderr()).size(), 1u);
  EXPECT_FALSE(WtGuiLog_Active());
}

}  // namespace
