// The queue window without a display: the lists the server's events build,
// the colours of a row, the progress files and the heading of error files.
#include "queuewin/CCqueueInt.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "jobqueue/CCtypes.h"
#include "queuewin/CCqueueIntRec.h"
#include "tests/support/TestFiles.h"

namespace {

const bool site = UseBuildTreeSite([] { Messages_UseMsgCat("CCQUEUEmsg"); });

CCevent_Event Job(std::uint32_t kind, const std::string& id, std::int32_t position, std::uint8_t status = CCtypes_Waiting,
                  bool inFailed = false) {
  CCevent_Event e;
  e.type = CCevent_Job;
  e.kind = kind;
  Strings_Assign(id, e.id);
  e.queuePosition = position;
  e.status = status;
  e.inFailedQueue = inFailed;
  Strings_Assign("job " + id, e.description);
  return e;
}

// The ids of a list in its order, with the places the window shows.
std::string Order(CCqueueInt_JobList& list) {
  std::string text;
  for (WtTableD_Record* r = CCqueueInt_Link(list); r != nullptr; r = r->next) {
    const auto* job = reinterpret_cast<const CCqueueInt_Job*>(r);
    text += std::string(job->id) + "@" + job->positionText + " ";
  }
  return text;
}

// The server tells only the job that changed; the window keeps the order
// itself, so jobs behind a removed one move up, and a job told at place 2
// after many left stands behind the one that is first now.
TEST(CCqueueIntLists, KeepTheServersOrder) {
  CCqueueInt_Lists lists;
  for (int i = 1; i <= 4; ++i) EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobAdded, "j" + std::to_string(i), i)));
  EXPECT_EQ(Order(lists.actual), "j1@1 j2@2 j3@3 j4@4 ");
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobRemoved, "j1", 1)));
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobRemoved, "j2", 1)));
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobAdded, "j5", 2)));
  EXPECT_EQ(Order(lists.actual), "j3@1 j5@2 j4@3 ");
  // A raise: the server tells the moved jobs in their new order.
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_PositionChanged, "j4", 1)));
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_PositionChanged, "j3", 2)));
  EXPECT_EQ(Order(lists.actual), "j4@1 j3@2 j5@3 ");
  // A job that fails leaves the actual list and joins the failed one.
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_StatusChanged, "j4", 1, CCtypes_Running)));
  EXPECT_EQ(lists.byId.at("j4")->status, CCtypes_Running);
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobRemoved, "j4", 1, CCtypes_Failed)));
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobAdded, "j4", 1, CCtypes_Failed, true)));
  EXPECT_EQ(Order(lists.actual), "j3@1 j5@2 ");
  EXPECT_EQ(Order(lists.failed), "j4@1 ");
  // Removing from the failed list asks for it; a removal of an unknown job changes nothing.
  EXPECT_FALSE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobRemoved, "j4", 1, CCtypes_Failed, false)));
  EXPECT_FALSE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobRemoved, "nobody", 1)));
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobRemoved, "j4", 1, CCtypes_Failed, true)));
  EXPECT_EQ(Order(lists.failed), "");
  // A job told twice (the server's greeting after a reconnect) is shown once.
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, Job(CCevent_JobAdded, "j5", 2)));
  EXPECT_EQ(Order(lists.actual), "j3@1 j5@2 ");
  // A reset of the queue empties both lists.
  CCevent_Event reset;
  reset.type = CCevent_Queue;
  reset.kind = CCevent_QueueReset;
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, reset));
  EXPECT_TRUE(lists.actual.jobs.empty() && lists.byId.empty());
}

TEST(CCqueueIntLists, RaiseAndDeleteAtOnce) {
  CCqueueInt_Lists lists;
  CCqueueInt_ApplyEvent(lists, Job(CCevent_JobAdded, "run", 1, CCtypes_Running));
  for (int i = 1; i <= 3; ++i) CCqueueInt_ApplyEvent(lists, Job(CCevent_JobAdded, "w" + std::to_string(i), i + 1));
  // Raised waiting jobs go to the front, in their order; a running one stays.
  CCqueueInt_MoveUp(lists, {lists.byId.at("w3"), lists.byId.at("run"), lists.byId.at("w2")});
  EXPECT_EQ(Order(lists.actual), "w3@1 w2@2 run@3 w1@4 ");
  CCqueueInt_Forget(lists, lists.byId.at("w1"));
  EXPECT_EQ(Order(lists.actual), "w3@1 w2@2 run@3 ");
  EXPECT_EQ(lists.byId.count("w1"), 0u);
  // The record stays until the tables have the new list.
  EXPECT_EQ(lists.goneJobs.size(), 1u);
  lists.Bury();
  EXPECT_TRUE(lists.goneJobs.empty());
}

TEST(CCqueueIntLists, WorkersQueueAndErrors) {
  CCqueueInt_Lists lists;
  CCevent_Event w;
  w.type = CCevent_Cluster;
  w.kind = CCevent_WorkerStatus;
  w.workerStatus = 1;
  Strings_Assign("node7", w.workerName);
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, w));
  Strings_Assign("localhost", w.workerName);
  w.workerStatus = 2;
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, w));
  NameStr machine;
  DirAcces_GetMachineName(machine);
  ASSERT_EQ(lists.workers.size(), 2u);
  const CCqueueInt_Worker* local = StrIn(lists.workers[0]->name).View() == StrIn(machine).View() ? lists.workers[0]
                                                                                                   : lists.workers[1];
  EXPECT_EQ(StrIn(local->name).View(), StrIn(machine).View());
  EXPECT_EQ(local->local, 1);
  EXPECT_EQ(local->status, 2);
  // Status 0 or 3 is no news.
  lists.workersChanged = false;
  for (std::uint8_t status : {0, 3}) {
    w.workerStatus = status;
    EXPECT_FALSE(CCqueueInt_ApplyEvent(lists, w));
  }
  EXPECT_EQ(local->status, 2);
  EXPECT_FALSE(lists.workersChanged);
  w.kind = CCevent_ResetWorkers;
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, w));
  EXPECT_TRUE(lists.workers.empty());

  CCevent_Event q;
  q.type = CCevent_Queue;
  q.kind = CCevent_QueueStatusChanged;
  q.queueStatus = CCtypes_QueueRunning;
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, q));
  EXPECT_EQ(lists.queueStatus, CCtypes_QueueRunning);

  CCevent_Event e;
  e.type = CCevent_Error;
  Strings_Assign("CCworker", e.source);
  Strings_Assign("disk full", e.text);
  EXPECT_TRUE(CCqueueInt_ApplyEvent(lists, e));
  EXPECT_NE(lists.message.find("disk full"), std::string::npos);
  EXPECT_NE(lists.message.find("CCworker"), std::string::npos);
}

TEST(CCqueueIntView, RowColoursAndTips) {
  CCqueueInt_Job job{};
  W_Color background, text;
  const auto colours = [&](std::uint8_t status) {
    job.status = status;
    background = W_Color{1, 1, 1};
    text = W_Color{1, 1, 1};
    return CCqueueInt_RowColors(&job.link, nullptr, background, text);
  };
  ASSERT_TRUE(colours(CCtypes_Running));
  EXPECT_EQ(background, (W_Color{210, 255, 210}));
  EXPECT_EQ(text, (W_Color{0, 0, 0}));
  ASSERT_TRUE(colours(CCtypes_WaitingForPrecond));
  EXPECT_EQ(background, (W_Color{255, 255, 210}));
  ASSERT_TRUE(colours(CCtypes_Failed));
  EXPECT_EQ(text, (W_Color{180, 0, 0}));
  ASSERT_TRUE(colours(CCtypes_Canceled));
  EXPECT_EQ(text, (W_Color{180, 180, 0}));
  EXPECT_FALSE(colours(CCtypes_Waiting));  // the table's own
  job.progressText = "17.5% of the pages";
  EXPECT_EQ(CCqueueInt_CellTip(&job.link, CCqueueInt_progressColumn, nullptr), "17.5% of the pages");
  EXPECT_EQ(CCqueueInt_CellTip(&job.link, 0, nullptr), "");
}

TEST(CCqueueIntFiles, ProgressLines) {
  TempDir dir;
  std::string text;
  PutFile(dir.Path() + "/plain", "42\n");
  EXPECT_DOUBLE_EQ(CCqueueInt_GetJobProgressLine(dir.Path() + "/plain", text), 42.0);
  EXPECT_EQ(text, "42.0%");
  PutFile(dir.Path() + "/words", "page 7 of 40, 17.5% done\nsecond line 99%\n");
  EXPECT_DOUBLE_EQ(CCqueueInt_GetJobProgressLine(dir.Path() + "/words", text), 17.5);
  EXPECT_EQ(text, "page 7 of 40, 17.5% done");
  PutFile(dir.Path() + "/garbage", "\x01\x02 50 %% nothing\n");
  EXPECT_LT(CCqueueInt_GetJobProgressLine(dir.Path() + "/garbage", text), 0);
  EXPECT_LT(CCqueueInt_GetJobProgressLine(dir.Path() + "/missing", text), 0);
  EXPECT_NE(text.find(dir.Path() + "/missing"), std::string::npos) << text;  // message 8
  EXPECT_LT(CCqueueInt_GetJobProgressLine("", text), 0);
  EXPECT_EQ(text, "");
  EXPECT_DOUBLE_EQ(CCqueueInt_FindProgressPercent("at 3% then 80%"), 3.0);
  EXPECT_LT(CCqueueInt_FindProgressPercent("100 percent"), 0);
}

TEST(CCqueueIntFiles, ErrorFileHeadedOnce) {
  TempDir dir;
  const std::string file = dir.Path() + "/job-1-2-3.err";
  const std::string description = "Inline: convert 'a b.tif' $HOME \\ & done";
  PutFile(file, "line one\nline two\n");
  std::string why;
  ASSERT_TRUE(CCqueueInt_HeadErrorFile(file, description, why)) << why;
  EXPECT_EQ(FileText(file), description + "\nline one\nline two\n");
  EXPECT_FALSE(DirAcces_Access(file + ".tmp", DirAcces_Mode::Exists));
  // The second look changes nothing.
  ASSERT_TRUE(CCqueueInt_HeadErrorFile(file, description, why));
  EXPECT_EQ(FileText(file), description + "\nline one\nline two\n");
  // A missing file, and one in a directory that can't be written: told, nothing changed.
  EXPECT_FALSE(CCqueueInt_HeadErrorFile(dir.Path() + "/none.err", description, why));
  EXPECT_NE(why.find("none.err"), std::string::npos);
  if (geteuid() != 0) {
    PutFile(dir.Make("locked/x.err"), "kept\n");
    chmod((dir.Path() + "/locked").c_str(), 0555);
    EXPECT_FALSE(CCqueueInt_HeadErrorFile(dir.Path() + "/locked/x.err", description, why));
    EXPECT_EQ(FileText(dir.Path() + "/locked/x.err"), "kept\n");
    chmod((dir.Path() + "/locked").c_str(), 0755);
  }
}

}  // namespace
