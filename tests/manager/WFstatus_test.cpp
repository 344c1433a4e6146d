// The state of folders and workflows as the graph and the main window ask
// for it: workflows installed through the model into a private site, the
// real queue server and worker on free loopback ports for the jobs, and the
// marks, handled lists and error files laid out as the demon and the module
// commands leave them.
#include "manager/WFstatus.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/Await.h"
#include "tests/support/BatchProgram.h"
#include "tests/support/TestFiles.h"
#include "watch/TVWhandled.h"
#include "watch/WFjobStat.h"
#include "workflow/BEwfBase.h"
#include "workflow/WFtvwCfg.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  InitBatchTestProgram();
  Messages_UseMsgCat("FLOATDECKmsg");
  WFbase_SetFeedback(false);
  WFstatus_Init();
});

std::string Site(const std::string& relative) { return site->Path() + "/" + relative; }

int server = -1, worker = -1;

class Queue : public ::testing::Environment {
 public:
  void SetUp() override {
    for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT"}) ChoosePort(port);
    worker = StartService("CCworker", "TV_CCWORKER_PORT", {"-j", "2"});
    server = StartService("CCserver", "TV_CCSERVER_PORT");
    // A job holds until "release" is there, or the site has gone.
    PutFile(Site("hold.sh"), "while [ ! -e \"$1\" ] && [ -d \"${1%/*}\" ]; do sleep 0.1; done\n");
  }
  void TearDown() override {
    SClient_CloseAllConnections();
    PutFile(Site("release"), "");
    StopService(server);
    StopService(worker);
  }
};
const auto* const queue = ::testing::AddGlobalTestEnvironment(new Queue);

std::string PathOf(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return path;
}

std::uint8_t Status(WFfolder folder) { return WFstatus_FolderStatus(folder, false); }

bool Marked(WFfolder folder, const char* mark) { return fs::exists(PathOf(folder) + "/" + mark); }

// An installed workflow: start -> rename -> sort -> outdir. The rename
// folder has a demon entry of its own; the sort folder lies in a tree the
// demon watches with its sub-directories.
struct Flow {
  explicit Flow(const std::string& name) : workflow(WFbase_CreateWorkflow(name, false)) {
    start = WFbase_StartFolder(workflow);
    end = WFfolder_OutFolder(start, 1);
    sort = Insert(44);
    rename = Insert(29);
    EXPECT_TRUE(WFbase_InstallWorkflow(workflow));
  }
  ~Flow() { WFbase_DestroyWorkflow(workflow); }
  WFfolder Insert(WFfolder_FolderKind kind) {
    PathStr path;
    WFbase_BuildFolderPath(workflow, kind, nullptr, path);
    WFfolder folder = WFbase_CreateFolder(workflow, kind, SAutoRcF_Create(), path, false);
    WFfolder_SetOutFolder(folder, 1, WFfolder_OutFolder(start, 1));
    WFfolder_SetOutFolder(start, 1, folder);
    return folder;
  }
  WFbase workflow;
  WFfolder start, rename, sort, end;
};

// How many of the folders that can start carry `mark`; the end never does.
int Carrying(const Flow& f, const char* mark) {
  EXPECT_FALSE(Marked(f.end, mark));
  return Marked(f.start, mark) + Marked(f.rename, mark) + Marked(f.sort, mark);
}

// A job of the demon for `file` in `folder` that holds until released.
bool Submit(SClient queue, const std::string& folder, const std::string& file) {
  CCjob_ClassicJob record;
  Strings_Assign("sh " + Site("hold.sh"), record.program);
  record.arguments = {Site("release")};
  Strings_Assign(folder, record.workDir);
  StrVector files = StrVector_Create();
  StrVector_AddElement(files, file);
  CCjobBase_Job job = BEwfBase_CreateJob(record, files, false);
  StrVector_Destroy(files);
  const bool submitted = CCclient_SubmitJob(queue, job, false);
  CCjob_Destroy(job);
  return submitted;
}

int deadPid() {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(0);
  ::waitpid(pid, nullptr, 0);
  return pid;
}

int announced = 0;

}  // namespace

TEST(WFstatus, AFolderHoldsFilesByTheirNamesAndItsWatchedSubdirectories) {
  Flow f("files");
  const std::string rename = PathOf(f.rename);
  fs::create_directories(rename + "/sub");
  for (const char* name : {".hidden", "a.tif.host-12.tmp", "b.host-12-3.tmp.tif", "sub/a.tif"}) PutFile(rename + "/" + name, "");
  EXPECT_EQ(Status(f.rename), WFstatus_Nothing);
  PutFile(rename + "/a.tif", "");
  EXPECT_EQ(Status(f.rename), WFstatus_FilesWait);
  EXPECT_EQ(WFstatus_WorkflowStatus(f.workflow), WFstatus_FilesWait);
  fs::remove(rename + "/a.tif");
  fs::create_symlink(rename + "/.hidden", rename + "/link.tif");
  EXPECT_EQ(Status(f.rename), WFstatus_FilesWait) << "a link to a file is a file";
  fs::remove_all(rename);
  EXPECT_EQ(Status(f.rename), WFstatus_Nothing) << "a missing directory is empty";

  // In sub-directory mode files below count, but not in what the demon's tree omits.
  const std::string sort = PathOf(f.sort);
  for (const char* dir : {"/.x", "/Temporary Items", "/job/deep"}) fs::create_directories(sort + dir);
  PutFile(sort + "/.x/a.tif", "");
  PutFile(sort + "/Temporary Items/a.tif", "");
  EXPECT_EQ(Status(f.sort), WFstatus_Nothing);
  PutFile(sort + "/job/deep/a.tif", "");
  EXPECT_EQ(Status(f.sort), WFstatus_FilesWait);
}

TEST(WFstatus, JobsShowWhileTheQueueHoldsThemAndARestartedServerEmptiesTheTable) {
  Flow f("jobs");
  const std::string rename = PathOf(f.rename), start = PathOf(f.start);
  SClient q = CCclient_Connect("", 5000, nullptr);
  ASSERT_TRUE(CCclient_SetQueueStatus(q, CCtypes_QueueStopped));
  WFstatus_PrepareUpdate();  // the table listens before the jobs come
  PutFile(rename + "/a.tif", "");
  ASSERT_TRUE(Submit(q, rename, "a.tif"));
  ASSERT_TRUE(Await([&] { return Status(f.rename) == WFstatus_JobsWait; }));
  EXPECT_EQ(WFjobStat_FileStatus(rename, "a.tif"), WFjobStat_Waiting);
  ASSERT_TRUE(CCclient_SetQueueStatus(q, CCtypes_QueueRunning));
  ASSERT_TRUE(Await([&] { return Status(f.rename) == WFstatus_JobsRun; }));
  EXPECT_EQ(WFstatus_WorkflowStatus(f.workflow), WFstatus_JobsRun);

  // Down and up again: the table forgets what may have ended meanwhile, and
  // hears the jobs of the new server.
  StopService(server);
  WFstatus_PrepareUpdate();
  EXPECT_EQ(WFjobStat_FolderStatus(rename), WFjobStat_NotKnown);
  EXPECT_EQ(Status(f.rename), WFstatus_FilesWait);
  server = StartService("CCserver", "TV_CCSERVER_PORT");
  ASSERT_GT(server, 0);
  WFstatus_PrepareUpdate();
  // Held until the listener is surely back, so it hears the job at least start.
  ASSERT_TRUE(CCclient_SetQueueStatus(q, CCtypes_QueueStopped));
  PutFile(start + "/b.tif", "");
  ASSERT_TRUE(Submit(q, start, "b.tif"));
  WFstatus_PrepareUpdate();
  ASSERT_TRUE(CCclient_SetQueueStatus(q, CCtypes_QueueRunning));
  ASSERT_TRUE(Await([&] { return Status(f.start) >= WFstatus_JobsWait; }));

  PutFile(Site("release"), "");
  ASSERT_TRUE(Await([&] {
    WFstatus_PrepareUpdate();
    return WFjobStat_FolderStatus(start) == WFjobStat_NotKnown && WFjobStat_FolderStatus(rename) == WFjobStat_NotKnown;
  }));
  fs::remove(Site("release"));
  SClient_CloseConn(q);
}

TEST(WFstatus, MarksCountUpToTheTopOfTheDemonEntryAndStartTakesThemAway) {
  Flow f("marks");
  const std::string tree = Site("projects/autofolder/autosort"), above = Site("projects/autofolder");
  const auto marks = {TVWcfg_omitMark, TVWcfg_expressMark, TVWcfg_discFullMark};
  ASSERT_TRUE(WFstatus_StartWorkflow(f.workflow));
  for (const char* mark : marks) PutFile(above + "/" + mark, "");
  PutFile(Site("projects/workflow/") + TVWcfg_omitMark, "");
  WFstatus_PrepareUpdate();
  EXPECT_FALSE(WFstatus_FolderStopped(f.sort) || WFstatus_IsExpressFolder(f.sort) || WFstatus_TargetDiscFull(f.sort));
  EXPECT_FALSE(WFstatus_WorkflowStopped(f.workflow));

  for (const char* mark : marks) PutFile(tree + "/" + mark, "");
  WFstatus_PrepareUpdate();
  EXPECT_TRUE(WFstatus_FolderStopped(f.sort) && WFstatus_IsExpressFolder(f.sort) && WFstatus_TargetDiscFull(f.sort));
  EXPECT_FALSE(WFstatus_FolderStopped(f.rename));

  SwitchBd_Inlet inlet = SwitchBd_NotifyMe(WFbase_switchboard, [](std::uintptr_t text) {
    announced += reinterpret_cast<const char*>(text) == WFbase_msgFolderStoppedStarted;
  });
  EXPECT_TRUE(WFstatus_StartFolder(f.sort));
  EXPECT_FALSE(fs::exists(tree + "/" + TVWcfg_omitMark) || fs::exists(tree + "/" + TVWcfg_discFullMark));
  EXPECT_TRUE(fs::exists(tree + "/" + TVWcfg_expressMark) && fs::exists(above + "/" + TVWcfg_omitMark));
  EXPECT_TRUE(WFstatus_UnsetExpressFolder(f.sort));
  EXPECT_FALSE(WFstatus_IsExpressFolder(f.sort) || fs::exists(tree + "/" + TVWcfg_expressMark));
  EXPECT_TRUE(WFstatus_StopWorkflow(f.workflow) && WFstatus_StartWorkflow(f.workflow));
  EXPECT_EQ(announced, 1) << "only the folder's own start is told";
  SwitchBd_DestroyInlet(inlet);
  for (const char* mark : marks) fs::remove(above + "/" + mark);
}

TEST(WFstatus, AWorkflowStopsStartsAndGoesExpressInEveryFolderThatCanStart) {
  Flow f("run");
  EXPECT_TRUE(WFstatus_WorkflowStopped(f.workflow)) << "an install leaves it stopped";
  ASSERT_TRUE(WFstatus_StartWorkflow(f.workflow));
  EXPECT_EQ(Carrying(f, TVWcfg_omitMark), 0);
  EXPECT_FALSE(WFstatus_WorkflowStopped(f.workflow));
  ASSERT_TRUE(WFstatus_StopWorkflow(f.workflow));
  EXPECT_EQ(Carrying(f, TVWcfg_omitMark), 3);
  EXPECT_TRUE(WFstatus_WorkflowStopped(f.workflow));

  // A start also clears a full disk and makes the files the demon left
  // behind new again, under the handled list's lock, which a dead process left.
  const std::string rename = PathOf(f.rename);
  PutFile(rename + "/" + TVWcfg_discFullMark, "");
  PutFile(rename + "/left.tif", "");
  PutFile(rename + "/" + TVWhandled_fileName, "left.tif\ngone.tif\n");
  PutFile(rename + "/" + TVWhandled_lockName, std::to_string(deadPid()) + "\n");
  ASSERT_TRUE(WFstatus_StartWorkflow(f.workflow));
  EXPECT_FALSE(Marked(f.rename, TVWcfg_discFullMark) || Marked(f.rename, TVWhandled_lockName));
  EXPECT_EQ(FileText(rename + "/" + TVWhandled_fileName), "gone.tif\n");

  ASSERT_TRUE(WFstatus_SetExpressWorkflow(f.workflow, true));
  EXPECT_EQ(Carrying(f, TVWcfg_expressMark), 3);
  EXPECT_TRUE(WFstatus_IsExpressWorkflow(f.workflow));
  ASSERT_TRUE(WFstatus_SetExpressWorkflow(f.workflow, false));
  EXPECT_EQ(Carrying(f, TVWcfg_expressMark), 0);
}

TEST(WFstatus, FailuresAreToldAndTheOtherFoldersDoneAllTheSame) {
  Flow f("fail");
  const std::string start = PathOf(f.start), rename = PathOf(f.rename), sort = PathOf(f.sort);
  fs::remove(rename + "/" + TVWcfg_omitMark);
  fs::create_directories(rename + "/" + TVWcfg_omitMark + "/in-the-way");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(WFstatus_StartWorkflow(f.workflow));
  fs::remove_all(sort);
  EXPECT_FALSE(WFstatus_StopFolder(f.sort));
  // The handled list held by a live process: nothing is redone.
  PutFile(start + "/" + TVWhandled_lockName, std::to_string(::getppid()) + "\n");
  EXPECT_FALSE(WFstatus_RedoFiles(start, {"a.tif"}));
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_FALSE(Marked(f.start, TVWcfg_omitMark)) << "the others start";
  for (const std::string& told : {rename + "/" + TVWcfg_omitMark, sort + "/" + TVWcfg_omitMark, start})
    EXPECT_NE(err.find(told), std::string::npos) << err;
  fs::remove(start + "/" + TVWhandled_lockName);
}

TEST(WFstatus, AFolderTheDemonLostIsEnteredAgainOrToldOnce) {
  Flow f("watch");
  const std::string start = PathOf(f.start), cfg = Site("env/tvwatchd.cfg");
  TVWcfg_Entry* entry = WFtvwCfg_CopyEntry(*WFtvwCfg_GetEntry(start));
  ASSERT_TRUE(WFtvwCfg_Delete(*entry));
  WFtvwCfg_DestroyCopy(entry);
  // Locked by a live process: told once, and not tried again until the file changes.
  PutFile(cfg + ".LCK", std::to_string(::getppid()) + "\n");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(WFstatus_FolderWatched(f.start));
  EXPECT_FALSE(WFstatus_FolderWatched(f.start));
  fs::remove(cfg + ".LCK");
  EXPECT_FALSE(WFstatus_FolderWatched(f.start));
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err.find(start), err.rfind(start)) << err;
  EXPECT_NE(err.find(start), std::string::npos) << err;
  PutFile(cfg, FileText(cfg) + "# changed\n");
  EXPECT_TRUE(WFstatus_FolderWatched(f.start));
  EXPECT_NE(WFtvwCfg_GetEntry(start), nullptr);
  EXPECT_FALSE(WFstatus_FolderWatched(f.end)) << "the workflow's end is never watched";
}

TEST(WFstatus, ErrorFilesAreFoundByTheirNamesAndImagesByTheRegistry) {
  Flow f("errors");
  const std::string dir = PathOf(f.start) + "/error/";
  for (const char* name : {"0812_x.tif", "0812_x.tif-log.pdf", "a_x.err", "0812_x.err.tif", "0812x.err"}) PutFile(dir + name, "");
  WFstatus_PrepareUpdate();
  EXPECT_FALSE(WFstatus_ErrorsThere(f.workflow));
  PutFile(dir + "0812_x.tif.err", "");
  WFstatus_PrepareUpdate();
  EXPECT_TRUE(WFstatus_ErrorsThere(f.workflow));

  for (const char* image : {"a.tif", "a.qif", "a.PDF"}) {
    EXPECT_TRUE(WFstatus_FileShown(StrIn::C(image), WFstatus_OnlyImages)) << image;
    EXPECT_FALSE(WFstatus_FileShown(StrIn::C(image), WFstatus_OnlyTickets)) << image;
  }
  EXPECT_TRUE(WFstatus_FileShown("a.jtpd", WFstatus_ImagesAndTickets));
  EXPECT_FALSE(WFstatus_FileShown("a.txt", WFstatus_ImagesAndTickets));
  EXPECT_TRUE(WFstatus_FileShown("a.txt", WFstatus_AllFiles));
}
