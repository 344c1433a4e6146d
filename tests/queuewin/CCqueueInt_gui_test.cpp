// The queue window on a private X server with the real queue server and
// worker of a private site: jobs submitted here appear with their states,
// places and workers; the window deletes, raises, edits and holds them;
// it survives a server restart; it heads a failed job's error file; and
// CCqueueDlg runs as a dependent child that is raised, not doubled.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "manager/FloatdeckWin.h"
#include "queuewin/CCqueueInt.h"
#include "queuewin/CCqueueIntRec.h"
#include "rc/SrcFile.h"
#include "tests/support/FlowSite.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/IReplay.h"
#include "toolkit/ITxtView.h"
#include "toolkit/WtEvents.h"

namespace {

namespace fs = std::filesystem;

SClient client = nullptr;
int closed = 0;

const bool xvfb = UseXvfb();
FlowSite*& site = UseFlowSiteForTests(
    [] {
      site->PrepareWindows();
      fs::create_directories(site->Path("lib/bin"));
      fs::create_symlink(FLOATDECK_BINARY_DIR "/bin/CCqueueDlg", site->Path("lib/bin/CCqueueDlg"));
      Processe_Init();
      Messages_Init();
      DirAcces_Init();
      SrcFile_Init();
      I_Init();
      IReplay_Init();
      ASSERT_TRUE(site->StartServer() && site->StartWorker(1));
      client = CCclient_Connect("", 4000, nullptr);
      ASSERT_TRUE(SClient_IsConnected(client));
    },
    [] { SClient_CloseConn(client); });

bool Rounds(const std::function<bool()>& done) { return RunLoop(done); }
bool Replay(const std::string& lines) { return ReplayLines(site->Root(), lines); }

CCqueueInt_Lists& Lists() { return CCqueueInt_globalHandle->lists; }

std::string Submit(const std::string& command, std::uint32_t priority, const std::string& description) {
  CCjobBase_Job job = CCjob_Create(command);
  CCjob_SetPriority(job, priority);
  CCjob_SetDescription(job, description);
  EXPECT_TRUE(CCclient_SubmitJob(client, job, false));
  NameStr id;
  CCjobBase_GetId(job, id);
  CCjobBase_Destroy(job);
  return StrIn(id).Str();
}

// The descriptions of the actual list in its order.
std::string Order() {
  std::string text;
  for (const CCqueueInt_Job* job : Lists().actual.jobs) text += job->fullDescription + " ";
  return text;
}

const CCqueueInt_Job* Find(const std::string& description) {
  for (const auto* list : {&Lists().actual, &Lists().failed})
    for (const CCqueueInt_Job* job : list->jobs)
      if (job->fullDescription == description) return job;
  return nullptr;
}

std::string Message() {
  TextStr text;
  I_GetSTRING(CCqueueInt_Context(), CCqueueInt_kMessage, text);
  return StrIn(text).Str();
}

bool OnServer(const std::string& id) {
  CCjobBase_Job job = nullptr;
  const bool there = CCclient_GetJobInfos(client, id, job);
  CCjobBase_Destroy(job);
  return there;
}

TEST(CCqueueIntGui, FollowsAndCommandsTheQueue) {
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueStopped));
  const std::string a = Submit("sleep 60", 0, "a"), b = Submit("sleep 60", 0, "b");
  const std::string c = Submit("sleep 60", 0, "c"), d = Submit("sleep 60", 0, "d");
  ASSERT_TRUE(CCqueueInt_StartUp("", [](std::uintptr_t) { ++closed; }, 0));
  // A second start only raises the one window.
  const I_Context context = CCqueueInt_Context();
  ASSERT_TRUE(CCqueueInt_StartUp("", nullptr, 0));
  EXPECT_EQ(CCqueueInt_Context(), context);

  // The jobs appear in the server's order, waiting; the queue's lamp says stopped.
  ASSERT_TRUE(Rounds([] { return Order() == "a b c d "; })) << Order();
  EXPECT_EQ(Find("c")->status, CCtypes_Waiting);
  EXPECT_STREQ(Find("c")->positionText, "3");
  EXPECT_EQ(I_GetINTEGER(context, CCqueueInt_kLamp), CCtypes_QueueStopped);
  ASSERT_TRUE(Rounds([] { return !Lists().workers.empty(); }));

  // Run: the first job goes to the worker (this machine), green; then hold the queue again.
  ASSERT_TRUE(Replay("AOBJ CCqueueInt 1 5\n"));
  ASSERT_TRUE(Rounds([] { return Find("a")->status == CCtypes_Running; }));
  ASSERT_TRUE(Replay("AOBJ CCqueueInt 1 4\n"));
  ASSERT_TRUE(Rounds([] { return I_GetINTEGER(CCqueueInt_Context(), CCqueueInt_kLamp) == CCtypes_QueueStopped; }));
  NameStr machine;
  DirAcces_GetMachineName(machine);
  EXPECT_EQ(StrIn(Find("a")->host).View(), StrIn(machine).View());
  W_Color background, text;
  ASSERT_TRUE(CCqueueInt_RowColors(&Find("a")->link, nullptr, background, text));
  EXPECT_EQ(background, (W_Color{210, 255, 210}));

  // Progress of the running job: its file read, the tip as the column shows it.
  const std::string progress = Find("a")->progressFile;
  ASSERT_FALSE(progress.empty());
  PutFile(progress, "42\n");
  CCqueueInt_UpdateProgress();
  EXPECT_DOUBLE_EQ(Find("a")->progress, 42.0);
  EXPECT_EQ(CCqueueInt_CellTip(&Find("a")->link, CCqueueInt_progressColumn, nullptr), "42.0%");

  // Delete a waiting job: gone at once and from the server; the selection moves behind it.
  ASSERT_TRUE(Replay("COMMAND CCqueueInt 10 SELECT " + b + "\nAOBJ CCqueueInt 1 1\n"));
  EXPECT_EQ(Order(), "a c d ");
  EXPECT_TRUE(Find("c")->link.selected);
  EXPECT_FALSE(OnServer(b));

  // Raise the last one: to the front at once, and the server agrees.
  ASSERT_TRUE(Replay("COMMAND CCqueueInt 10 SELECT " + d + "\nAOBJ CCqueueInt 1 2\n"));
  EXPECT_EQ(Order(), "d a c ");
  ASSERT_TRUE(Rounds([&] { return OnServer(d) && Order() == "d a c "; }));

  // Deleting the running job asks first; "No" keeps it and says so.
  ASSERT_TRUE(Replay("COMMAND CCqueueInt 10 SELECT " + a + "\nAOBJ CCqueueInt 1 1\nAOBJ _yes 2 0\n"));
  EXPECT_EQ(Order(), "d a c ");
  EXPECT_EQ(Message(), CCqueueInt_Text(4));

  // Editing the priority of the last waiting job moves it up.
  ASSERT_TRUE(Replay("COMMAND CCqueueInt 10 SELECT " + c +
                     "\nAOBJ CCqueueInt 1 8\nAOBJ CCqueueInt_Edit 2 \"50\"\nAOBJ CCqueueInt_Edit 3 \"c edited\"\n"
                     "AOBJ CCqueueInt_Edit 1 1\n"));
  ASSERT_TRUE(Rounds([] { return Order() == "c edited d a "; })) << Order();
  EXPECT_STREQ(Find("c edited")->priorityText, "50");

  // A worker's error reaches the message line.
  ASSERT_TRUE(CCclient_InformWorkerError(client, "node9", 3, "CCworker", "the disk is full"));
  ASSERT_TRUE(Rounds([] { return Message().find("the disk is full") != std::string::npos; })) << Message();

  // A server restart: the window says so, then shows the queue again, each job once.
  site->StopServer();
  ASSERT_TRUE(Rounds([] { return !CCqueueInt_globalHandle->connected; }));
  const std::string down = CCqueueInt_Text(1).substr(CCqueueInt_Text(1).find("%s") + 2);
  ASSERT_TRUE(Rounds([&] { return Message().find(down) != std::string::npos; })) << Message();
  ASSERT_TRUE(site->StartServer());
  ASSERT_TRUE(Rounds([] { return CCqueueInt_globalHandle->connected && Lists().actual.jobs.size() == 3; }));
  ASSERT_TRUE(Rounds([] { return Order() == "c edited d a "; })) << Order();
  std::set<std::string> ids;
  for (const CCqueueInt_Job* job : Lists().actual.jobs) ids.insert(job->id);
  EXPECT_EQ(ids.size(), 3u);

  // A failed job: its error file is headed by its description once.
  StrVector left = StrVector_Create();
  for (const std::string& id : {a, c, d}) StrVector_AddElement(left, id);
  ASSERT_TRUE(CCclient_JobCommand(client, CCprotocol_Delete, left, false));
  StrVector_Destroy(left);
  ASSERT_TRUE(Rounds([] { return Lists().actual.jobs.empty(); }));
  Submit("echo it went wrong; exit 3", 0, "broken");
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueRunning));
  ASSERT_TRUE(Rounds([] { return Find("broken") != nullptr && Find("broken")->inFailed; }));
  const CCqueueInt_Job* broken = Find("broken");
  EXPECT_EQ(broken->status, CCtypes_Failed);
  ASSERT_TRUE(Replay("COMMAND CCqueueInt 11 SELECT " + std::string(broken->id) + "\nAOBJ CCqueueInt 1 7\n"));
  const std::string errorFile = Find("broken")->errorFile;
  EXPECT_EQ(FileText(errorFile).substr(0, 7), "broken\n");
  EXPECT_NE(FileText(errorFile).find("it went wrong"), std::string::npos);
  EXPECT_TRUE(ITxtView_Shown());
  const std::string headed = FileText(errorFile);
  ASSERT_TRUE(Replay("AOBJ CCqueueInt 1 7\n"));
  EXPECT_EQ(FileText(errorFile), headed);
  ITxtView_Hide();

  // The columns: the host column hidden, kept over a close and a new start.
  ASSERT_TRUE(Replay("AOBJ CCqueueInt 17 FALSE\nAOBJ CCqueueInt 1 9\n"));
  EXPECT_FALSE(CCqueueInt_IsOpen());
  EXPECT_EQ(closed, 1);
  ASSERT_TRUE(CCqueueInt_StartUp("", nullptr, 0));
  EXPECT_FALSE(I_GetBOOLEAN(CCqueueInt_Context(), CCqueueInt_kColumnFirst + 2));
  EXPECT_TRUE(I_GetBOOLEAN(CCqueueInt_Context(), CCqueueInt_kColumnFirst));
  EXPECT_FALSE(WtTableD_ColumnShown(WtTableD_GetColumn(CCqueueInt_globalHandle->actualTable, 4)));
  ASSERT_TRUE(Rounds([] { return Find("broken") != nullptr; }));
  CCqueueInt_globalHandle->exit = [](std::uintptr_t) {};
  CCqueueInt_Exit();

  // The manager's command 50, given twice: one window, in this process;
  // closing it leaves the manager's loop running.
  Floatdeck_IntCB(nullptr, Floatdeck_kCommand, Floatdeck_cmdJobQueue, 0);
  Floatdeck_IntCB(nullptr, Floatdeck_kCommand, Floatdeck_cmdJobQueue, 0);
  EXPECT_TRUE(CCqueueInt_IsOpen());
  EXPECT_EQ(CCqueueInt_Context(), context);
  EXPECT_TRUE(I_Active(context));
  WtEvents_leaveMainLoop = false;
  ASSERT_TRUE(Replay("AOBJ CCqueueInt 1 9\n"));
  EXPECT_FALSE(CCqueueInt_IsOpen());
  EXPECT_FALSE(WtEvents_leaveMainLoop);
}

TEST(CCqueueIntGui, DependentProcessIsRaisedNotDoubledAndEndsWithItsParent) {
  const RunResult run = RunProgram({FLOATDECK_BINARY_DIR "/tests/QueueParent"}, {});
  ASSERT_EQ(run.status, 0) << run.err;
  int first = -1, second = -1;
  ASSERT_EQ(std::sscanf(run.out.c_str(), "%d %d", &first, &second), 2) << run.out;
  EXPECT_GT(first, 0);
  EXPECT_EQ(second, first);  // raised, not a second window
  // The window went with its parent, which collected it: no process of that id is left.
  EXPECT_NE(::kill(first, 0), 0);
}

}  // namespace
