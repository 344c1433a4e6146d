// The main window on a private X server and a private installation with
// its services: the sample workflow's frames in their colours as files wait,
// disks fill, jobs wait and run; the table, the title and the graph follow a
// click; stop, start, express and the group filter through the GUI replay;
// the back-off of the shown workflow's task on the scheduler's clock; the
// edit side (reservations against another manager, new, copy, remove, the
// checks with their marks, the save question, the privileged user); and the
// program itself closed by the window manager, by SIGTERM, and started
// without a display.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/SRM.h"
#include "manager/Floatdeck.h"
#include "manager/FloatdeckWin.h"
#include "manager/WFshow.h"
#include "manager/WFstatus.h"
#include "manager/WFstatusErrors.h"
#include "tests/manager/GraphCells.h"
#include "tests/support/Await.h"
#include "tests/support/FlowSite.h"
#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTable.h"
#include "toolkit/IReplay.h"
#include "workflow/WFgroup.h"
#include "workflow/WFplaces.h"
// Xlib last: its macros would hide names of the headers above.
#include "tests/toolkit/TopLevel.h"
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

namespace fs = std::filesystem;

int rmserver = -1;

// The site: services, the sample workflow, three small ones in groups and a
// workflow of one slow step, a component whose command waits until the
// test lets it go.
const char kSlowStep[] = R"(#!/bin/sh
# slowstep RC FILE: holds its job until the test's "release" file is there.
for i in $(seq 300); do [ -e "$TV_PROJECTS/../release" ] && break; sleep 0.1; done
rm -f "$2"
)";

const bool xvfb = UseXvfb();
FlowSite*& site = UseFlowSiteForTests(
    [] {
      site->PrepareWindows();
      std::ofstream(site->Path("cmds/slowstep")) << kSlowStep;
      fs::permissions(site->Path("cmds/slowstep"), fs::perms::owner_all);
      std::ofstream(site->Path("customer/floatdeck.cfg"))
          << "# Created by Workflow Manager\nFOLDER=$TV_PROJECTS/autofolder/slow:SUBDIRS=TRUE:FILES=^[^.]:"
             "CMD=slowstep:READABLECMD=SlowStep:OPTIONS=.slowrc:SHORTDESC=slow:OUTS=1\n";
      fs::create_directories(site->Path("projects/schemes"));
      for (const char* scheme : {"sample-rename.trs", "sample-filter.trs"})
        fs::copy_file(FLOATDECK_SOURCE_DIR "/scripts/" + std::string(scheme), site->Path("projects/schemes/") + scheme);
      ChooseRMserverPort();
      rmserver = StartRMserver();
      ASSERT_TRUE(rmserver > 0 && site->StartWorker(2) && site->StartServer() && site->StartDemon());
      std::string err;
      ASSERT_TRUE(site->Install(FLOATDECK_SOURCE_DIR "/scripts/sample.wf", "sample", err)) << err;
      const std::string small = site->Path("small.wf"), slow = site->Path("slow.wf");
      std::ofstream(small) << "start in -> lg\nlog lg -> outdir\n";
      std::ofstream(slow) << "start in -> s\nslow s -> outdir\n";
      for (const char* name : {"alpha", "beta", "gamma"}) ASSERT_TRUE(site->Install(small, name, err)) << err;
      ASSERT_TRUE(site->Install(slow, "slowflow", err)) << err;
      // A sort that files by date needs the start to extend file names: the
      // install tool refuses it, so its mode is changed behind its back.
      const std::string sorted = site->Path("sorted.wf");
      std::ofstream(sorted) << "start in -> s\nsort s\n";
      ASSERT_TRUE(site->Install(sorted, "sorted", err)) << err;
      for (const auto& e : fs::recursive_directory_iterator(site->Path("projects/autofolder/autosort")))
        if (e.path().filename() == ".autosortrc" && e.path().parent_path().filename().string().find("sorted") != std::string::npos)
          std::ofstream(e.path(), std::ios::app) << ": MODE=2\n";
      site->StartFolders();
      Floatdeck_InitModules();
      Messages_UseMsgCat("FLOATDECKmsg");
      I_UseContextCat("FLOATDECKdlg");
      WFgroup_AssertGroup("Cartons");
      WFgroup_SetGroup("beta", "Cartons");
    },
    [] {
      std::ofstream(site->Path("release"));
      StopRMserver(rmserver);
    });

// How long a replayed line waits for its window: generous for the slow
// sanitizer build, and within the 20 s a test's rounds wait.
constexpr int kContextWaitMs = 15000;

// The scheduler runs on this clock: the window's tasks come when a test says.
SDateAri_Stamp now{1000, 0};
SDateAri_Stamp Clock() { return now; }
void Advance(int ms) { now = SDateAri_AddMilliseconds(now, ms); }

class MainWindow : public ::testing::Test {
 protected:
  void SetUp() override { I_SetClock(Clock); }
  void TearDown() override {
    Floatdeck_Destroy();
    I_SetClock(nullptr);
  }
  void Open(const char* name) {
    ASSERT_TRUE(Floatdeck_Init(StrIn::C(name)));
    Floatdeck_UpdateListGroup();
    I_Activate(D().main);
    Floatdeck_UpdateDemonState();
    Floatdeck_StartIdleTasks(3000);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(D().main, -1))->exposed; }));
    Told().clear();
    WFbase_RegisterShowProc(Catch);
  }
  static Floatdeck_Data& D() { return *Floatdeck_data; }
  // Rounds of the program's loop until `done`, the clock moving `step` ms a
  // round; false after 20 s of real time.
  static bool Rounds(const std::function<bool()>& done, int step = 0) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done()) {
      if (std::chrono::steady_clock::now() > end) return false;
      Advance(step);
      W_Sync(false);
      for (int i = 0; i < 50 && (WtEvents_Pending() || I_TimeTillNextTask() == 0 || IReplay_Running()); ++i)
        I_SingleEventLoopIteration();
      if (step == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }
  // The frame's own colour lies on its second ring, 39 pixels wide.
  unsigned long FrameColour(const std::string& path) {
    const auto [x, y] = FrameCorner(D().view, WFbase_FindFolder(D().current, path));
    return user_.Pixel(I_AccessWidget(D().main, 999), x + 1, y + 20);
  }
  bool Shows(const std::string& path, unsigned long colour) {
    return Rounds([&] { return FrameColour(path) == colour; }, 10000);
  }
  // The path of the first folder of the workflow shown that `is` picks.
  std::string FolderWhere(const std::function<bool(WFfolder)>& is) {
    std::string found;
    WFbase_FolderList list = WFbase_GetAllFolders(D().current);
    for (WFbase_FolderList e = list; e != nullptr && found.empty(); e = e->next)
      if (is(e->folder)) {
        PathStr path;
        WFfolder_GetPath(e->folder, path);
        found = StrIn(path).Str();
      }
    WFbase_DestroyFolderList(list);
    return found;
  }
  std::string FolderOfKind(WFmodule_Kind kind) {
    return FolderWhere([kind](WFfolder f) { return WFfolder_ModuleKind(f) == kind; });
  }
  std::vector<std::string> Listed() {
    std::vector<std::string> names;
    for (const Floatdeck_WfEntry& e : D().list) names.push_back(e.name);
    return names;
  }
  bool IsListed(const std::string& name) {
    const std::vector<std::string> names = Listed();
    return std::find(names.begin(), names.end(), name) != names.end();
  }
  std::string Title() {
    char* name = nullptr;
    Display* d = user_.display();
    XFetchName(d, static_cast<CWShell>(I_AccessWidget(D().main, -1))->outerWindow, &name);
    const std::string title = name != nullptr ? name : "";
    if (name != nullptr) XFree(name);
    return title;
  }
  // What the workflow layer told the user, caught instead of its boxes.
  static std::vector<std::string>& Told() {
    static std::vector<std::string> told;
    return told;
  }
  static void Catch(StrIn text) { Told().push_back(text.Str()); }
  // Whether the last thing told contains `part`; forgets what was told.
  static bool WasTold(const std::string& part) {
    const bool found = !Told().empty() && Told().back().find(part) != std::string::npos;
    Told().clear();
    return found;
  }
  // Plays lines of the GUI log as the user's input.
  bool Replay(const std::string& lines) {
    PutFile(site->Path("replay.log"), lines);
    return IReplay_Start(site->Path("replay.log"), kContextWaitMs) && Rounds([] { return !IReplay_Running(); });
  }

  XUser user_;
};

constexpr unsigned long kIdle = 0x707070, kWaiting = 0xE62020, kDiscFull = 0xE620E6, kQueued = 0xE6E620,
                        kRunning = 0x20E620;

TEST_F(MainWindow, FramesFollowFilesDisksAndJobs) {
  Open("sample");
  const std::string ren = FolderOfKind(2), dup = FolderOfKind(3), filt = FolderOfKind(4);
  EXPECT_NE(Title().find("sample"), std::string::npos) << Title();
  for (const std::string& f : {ren, dup, filt}) EXPECT_TRUE(Shows(f, kIdle)) << f;
  // A stopped folder holds a file: red (its stop mark is WFshow_gui_test's).
  std::ofstream(ren + "/.TVWatchD_omit");
  site->Drop(ren, "held.tif");
  EXPECT_TRUE(Shows(ren, kWaiting));
  // The target of a folder is full: magenta.
  std::ofstream(dup + "/.TVWatchD_discFull");
  EXPECT_TRUE(Shows(dup, kDiscFull));
  // A job waits in a stopped queue: yellow; it runs on when the queue does.
  SClient queue = CCclient_Connect("", 2000, nullptr);
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueStopped));
  site->Drop(filt, "job01_07C.tif");
  EXPECT_TRUE(Shows(filt, kQueued));
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueRunning));
  EXPECT_TRUE(Shows(filt, kIdle));
  SClient_CloseConn(queue);
  // A slow step runs: green.
  Floatdeck_SelectRow("slowflow");
  Floatdeck_DisplayNewWorkflow("slowflow");
  const std::string slow = FolderWhere(WFfolder_UserDef);
  site->Drop(slow, "big.tif");
  EXPECT_TRUE(Shows(slow, kRunning));
  std::ofstream(site->Path("release"));
  EXPECT_TRUE(Shows(slow, kIdle));
}

// Marks of every startable folder of the workflow shown.
std::vector<bool> Marks(const char* mark) {
  std::vector<bool> marks;
  WFbase_FolderList list = WFbase_GetAllFolders(Floatdeck_data->current);
  for (WFbase_FolderList e = list; e != nullptr; e = e->next)
    if (WFfolder_Startable(e->folder)) {
      PathStr path;
      WFfolder_GetPath(e->folder, path);
      marks.push_back(fs::exists(StrIn(path).Str() + "/" + mark));
    }
  WFbase_DestroyFolderList(list);
  return marks;
}

TEST_F(MainWindow, TheWindowFollowsTheTableStopStartExpressAndGroups) {
  Open("alpha");
  EXPECT_EQ(Listed(), (std::vector<std::string>{"alpha", "beta", "gamma", "sample", "slowflow", "sorted"}));
  // A click on a row shows that workflow; the title follows.
  Widget table = I_AccessWidget(D().main, Floatdeck_kTable);
  Regions_Rect row;
  ASSERT_TRUE(CWTable_RowPlace(table, 1, row));
  user_.ClickAt(table, row.x + row.width / 2, row.y + row.height / 2);
  ASSERT_TRUE(Rounds([&] { return D().current != nullptr && WFshow_GetWorkflow(D().view) == D().current &&
                                  Title().find("beta") != std::string::npos; }));
  // Stop and start through the replay: the stop mark in every startable
  // folder, and start takes it away (which marks a start takes along is
  // WFstatus_test's).
  ASSERT_TRUE(Replay("AOBJ Floatdeck 21 21\n"));
  EXPECT_EQ(Marks(".TVWatchD_omit"), std::vector<bool>(Marks(".TVWatchD_omit").size(), true));
  EXPECT_TRUE(I_GetBOOLEAN(D().main, Floatdeck_kStopped));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 21 20\n"));
  EXPECT_EQ(Marks(".TVWatchD_omit"), std::vector<bool>(Marks(".TVWatchD_omit").size(), false));
  EXPECT_FALSE(I_GetBOOLEAN(D().main, Floatdeck_kStopped));
  // Express asks while another workflow is express; No leaves the switch off.
  TextStr reason;
  WFbase gamma = WFbase_RebuildWorkflow("gamma", WFbase_NoAnswer, reason);
  ASSERT_TRUE(WFstatus_SetExpressWorkflow(gamma, true));
  WFbase_DestroyWorkflow(gamma);
  Advance(30000);  // the round over all workflows learns it
  ASSERT_TRUE(Rounds([&] { return Floatdeck_NumberOfExpressWFs() == 1; }));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 22 TRUE\nAOBJ _yes 2 0\n"));
  EXPECT_FALSE(I_GetBOOLEAN(D().main, Floatdeck_kExpress));
  EXPECT_FALSE(WFstatus_IsExpressWorkflow(D().current));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 22 TRUE\nAOBJ _yes 2 1\n"));
  EXPECT_TRUE(WFstatus_IsExpressWorkflow(D().current));
  // The group filter and its two pseudo groups.
  ASSERT_TRUE(Replay("AOBJ Floatdeck 27 \"Cartons\"\n"));
  EXPECT_EQ(Listed(), (std::vector<std::string>{"beta"}));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 27 \"Workflows without a group\"\n"));
  EXPECT_EQ(Listed(), (std::vector<std::string>{"alpha", "gamma", "sample", "slowflow", "sorted"}));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 27 \"All workflows\"\n"));
  EXPECT_EQ(Listed().size(), 6u);
}

// The shown workflow's task comes 3 s after the start, then 4, 5 ... 10 s
// apart while nothing changes, 3 s again after a change.
TEST_F(MainWindow, TheShownWorkflowsTaskBacksOff) {
  Open("gamma");
  std::vector<int> intervals;
  for (int round = 0; round < 8; ++round) {
    Advance(D().currInterval);
    ASSERT_TRUE(Rounds([&] { return I_TimeTillNextTask() > 0; }));
    intervals.push_back(D().currInterval);
  }
  EXPECT_EQ(intervals, (std::vector<int>{4000, 5000, 6000, 7000, 8000, 9000, 10000, 10000}));
  // A failed file: the errors lamp changes, and the task comes 3 s later.
  PathStr errors;
  WFbase_GetErrordir(D().current, errors);
  std::ofstream(StrIn(errors).Str() + "/20261125120000_x.tif.err") << "somewhere\n";
  Advance(D().currInterval);
  ASSERT_TRUE(Rounds([&] { return I_TimeTillNextTask() > 0; }));
  EXPECT_EQ(D().currInterval, 3000);
  EXPECT_TRUE(I_GetBOOLEAN(D().main, Floatdeck_kErrors));
  // Errors... opens the error window; deleting there puts the lamp out at once.
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 5\n"));
  ASSERT_TRUE(WFstatus_ErrorsShown());
  EXPECT_EQ(WFstatus_ShownErrors().errors.size(), 1u);
  ASSERT_TRUE(Replay("AOBJ WFstatus_Errors 1 4\nAOBJ _yes 2 1\n"));
  EXPECT_FALSE(I_GetBOOLEAN(D().main, Floatdeck_kErrors));
  WFstatus_CloseErrors();
}

// Another manager: a process of its own that holds a workflow's reservation
// as long as it lives.
class OtherManager {
 public:
  explicit OtherManager(const std::string& workflow) {
    int toParent[2], toChild[2];
    if (::pipe(toParent) != 0 || ::pipe(toChild) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) {
      ::close(toParent[0]);
      ::close(toChild[1]);
      SRM_Disconnect();
      TextStr resource;
      Floatdeck_BuildResource(StrIn(workflow), resource);
      const char granted = SRM_Reserve(resource, true) ? 'y' : 'n';
      (void)!::write(toParent[1], &granted, 1);
      char end;
      (void)!::read(toChild[0], &end, 1);
      ::_exit(0);
    }
    ::close(toParent[1]);
    ::close(toChild[0]);
    done_ = toChild[1];
    char granted = 'n';
    granted_ = ::read(toParent[0], &granted, 1) == 1 && granted == 'y';
    ::close(toParent[0]);
  }
  ~OtherManager() {
    ::close(done_);
    if (pid_ > 0) ::waitpid(pid_, nullptr, 0);
  }
  bool granted() const { return granted_; }

 private:
  pid_t pid_ = -1;
  int done_ = -1;
  bool granted_ = false;
};

std::string StartPath(const char* name) {
  PathStr path;
  WFbase_GetStartPath(StrIn::C(name), path);
  return StrIn(path).Str();
}

std::string Name(WFbase workflow) {
  NameStr name;
  WFbase_GetName(workflow, name);
  return StrIn(name).Str();
}

// Edit, remove, lock and pack against another manager and a user who is not
// the privileged one; ending the edit gives the workflow back.
TEST_F(MainWindow, EditingIsForOneManagerAndLockingForOneUser) {
  const std::string privileged = site->Path("customer/floatdeck.privilegedUser");
  std::ofstream(privileged) << "nobody\n";
  Open("alpha");
  fs::remove(privileged);
  {
    OtherManager other("beta");
    ASSERT_TRUE(other.granted());
    Floatdeck_DisplayNewWorkflow("beta");
    ASSERT_TRUE(Replay("AOBJ Floatdeck 1 2\n"));
    EXPECT_TRUE(WasTold("beta is being edited by somebody else, or"));
    EXPECT_EQ(D().mode, 0);
    ASSERT_TRUE(Replay("AOBJ Floatdeck 1 4\n"));
    EXPECT_TRUE(WasTold("cannot be removed now"));
    EXPECT_TRUE(fs::exists(StartPath("beta")));
  }
  // Nobody else edits alpha, but a file waits in it: asked first; No keeps
  // it running, Yes stops it and holds it.
  Floatdeck_DisplayNewWorkflow("alpha");
  const std::string log = FolderOfKind(40);
  std::ofstream(log + "/.TVWatchD_omit");
  site->Drop(log, "waiting.tif");
  ASSERT_TRUE(Rounds([] { return WFstatus_WorkflowStatus(D().current) > 0; }, 1000));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 2\nAOBJ _yes 2 0\n"));
  EXPECT_EQ(D().mode, 0);
  EXPECT_FALSE(WFstatus_WorkflowStopped(D().current));
  EXPECT_TRUE(OtherManager("alpha").granted());
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 2\nAOBJ _yes 2 1\n"));
  fs::remove(log + "/waiting.tif");
  EXPECT_EQ(D().mode, 1);
  EXPECT_EQ(I_GetINTEGER(D().main, Floatdeck_kMode), 1);
  EXPECT_TRUE(WFstatus_WorkflowStopped(D().current));
  EXPECT_FALSE(OtherManager("alpha").granted());
  // Only "nobody" locks, and packs.
  ASSERT_TRUE(Replay("AOBJ Floatdeck 14 TRUE\n"));
  EXPECT_TRUE(WasTold("Only the user nobody may"));
  EXPECT_FALSE(I_GetBOOLEAN(D().main, Floatdeck_kLocked));
  EXPECT_FALSE(WFbase_WorkflowLocked(D().current));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 33\n"));
  EXPECT_TRUE(WasTold("Only the user nobody may"));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 11\n"));
  EXPECT_EQ(D().mode, 0);
  EXPECT_TRUE(OtherManager("alpha").granted());
  ASSERT_TRUE(Replay("AOBJ Floatdeck 21 20\n"));
}

// The folders of a workflow as kinds and places, for comparing a copy.
std::multiset<std::string> Shape(const std::string& name) {
  std::multiset<std::string> shape;
  TextStr reason;
  WFbase workflow = WFbase_RebuildWorkflow(name, WFbase_NoAnswer, reason);
  WFplaces places = WFplaces_Open(name);
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) {
    PathStr path;
    std::int32_t column = -1, row = -1;
    WFfolder_GetPath(e->folder, path);
    WFplaces_GetPlace(places, path, column, row);
    shape.insert(std::to_string(WFfolder_Kind(e->folder)) + "@" + std::to_string(column) + "," +
                 std::to_string(row));
  }
  WFbase_DestroyFolderList(list);
  WFplaces_Close(places);
  WFbase_DestroyWorkflow(workflow);
  return shape;
}

// A new workflow that is never installed leaves nothing; a copy has the
// folders, places and group of its original; a removed one is gone with
// its group.
TEST_F(MainWindow, NewCopyAndRemove) {
  Open("beta");
  const std::string newDialog = "AOBJ Floatdeck_NewDialog ";
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 3\n" + newDialog + "2 \"delta\"\n" + newDialog + "1 1\n"));
  EXPECT_EQ(D().mode, 1);
  EXPECT_EQ(Name(D().current), "delta");
  // Its start ends nowhere: refused, still editing.
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 10\n"));
  EXPECT_TRUE(WasTold("ends nowhere"));
  EXPECT_EQ(D().mode, 1);
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 11\n"));
  EXPECT_EQ(D().mode, 0);
  EXPECT_FALSE(fs::exists(StartPath("delta")));
  EXPECT_FALSE(IsListed("delta"));
  // Names a copy can't take, then one it can.
  Floatdeck_DisplayNewWorkflow("beta");
  WFplaces places = WFplaces_Create("beta");
  WFbase_FolderList list = WFbase_GetAllFolders(D().current);
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) {
    PathStr path;
    WFfolder_GetPath(e->folder, path);
    WFplaces_SetPlace(places, path, 1, WFfolder_Kind(e->folder) % 3);
  }
  WFbase_DestroyFolderList(list);
  WFplaces_Save(places);
  WFplaces_Close(places);
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 6\n" + newDialog + "2 \"\"\n" + newDialog + "1 1\n"));
  EXPECT_TRUE(WasTold("needs a name"));
  ASSERT_TRUE(Replay(newDialog + "2 \".hidden\"\n" + newDialog + "1 1\n"));
  EXPECT_TRUE(WasTold("cannot name a workflow"));
  ASSERT_TRUE(Replay(newDialog + "2 \"alpha\"\n" + newDialog + "1 1\n"));
  EXPECT_TRUE(WasTold("alpha already"));
  ASSERT_TRUE(Replay(newDialog + "2 \"beta2\"\n" + newDialog + "1 1\n"));
  EXPECT_TRUE(Told().empty()) << Told().front();
  EXPECT_EQ(Name(D().current), "beta2");
  EXPECT_EQ(Shape("beta2"), Shape("beta"));
  NameStr group;
  WFgroup_GetGroup("beta2", group);
  EXPECT_EQ(StrIn(group).Str(), "Cartons");
  // Removed after the question: the next row is shown.
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 4\nAOBJ _yes 2 0\n"));
  EXPECT_TRUE(fs::exists(StartPath("beta2")));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 4\nAOBJ _yes 2 1\n"));
  EXPECT_FALSE(fs::exists(StartPath("beta2")));
  WFgroup_GetGroup("beta2", group);
  EXPECT_TRUE(StrIn(group).Empty());
  EXPECT_EQ(Name(D().current), "gamma");
  EXPECT_FALSE(IsListed("beta2"));
}

// A sort by extended names behind a start that does not extend them: the
// install is refused with both folders marked and nothing written; the save
// question cancels, and saves once the start is put right.
TEST_F(MainWindow, TheChecksComeBeforeEveryInstall) {
  Open("sorted");
  const auto ofKind = [](WFfolder_FolderKind kind) { return [kind](WFfolder f) { return WFfolder_Kind(f) == kind; }; };
  const std::string sort = FolderWhere(ofKind(44)), start = FolderWhere(ofKind(1));
  ASSERT_FALSE(sort.empty());
  const auto rcOf = [](const std::string& folder) {
    std::string text;
    for (const auto& e : fs::directory_iterator(folder))
      if (e.path().filename().string().rfind(".auto", 0) == 0) text += FileText(e.path());
    return text;
  };
  const std::string startRc = rcOf(start);
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 2\n"));
  ASSERT_EQ(D().mode, 1);
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 10\n"));
  EXPECT_TRUE(WasTold("EXTENDFILENAMES"));
  EXPECT_EQ(D().mode, 1);
  constexpr unsigned long kMarked = 0x2020E6;
  EXPECT_TRUE(Shows(sort, kMarked));
  EXPECT_EQ(rcOf(start), startRc);
  // The save question on choosing another row: Cancel puts the selection
  // back. Then Save while still refused, and Save.
  WFbase_SetModified(D().current, true);
  PutFile(site->Path("cancel.log"), "AOBJ _SaveConfirm 2 0\n");
  ASSERT_TRUE(IReplay_Start(site->Path("cancel.log"), kContextWaitMs));
  Widget table = I_AccessWidget(D().main, Floatdeck_kTable);
  Regions_Rect first;
  ASSERT_TRUE(CWTable_RowPlace(table, 0, first));
  user_.ClickAt(table, first.x + first.width / 2, first.y + first.height / 2);
  ASSERT_TRUE(Rounds([] { return !IReplay_Running(); }));
  EXPECT_EQ(Name(D().current), "sorted");
  for (const Floatdeck_WfEntry& e : D().list) EXPECT_EQ(e.link.selected, std::string(e.name) == "sorted") << e.name;
  const auto answer = [&](const char* button) {
    PutFile(site->Path("answer.log"), std::string("AOBJ _SaveConfirm 2 ") + button + "\n");
    EXPECT_TRUE(IReplay_Start(site->Path("answer.log"), kContextWaitMs));
    const int result = Floatdeck_SaveConfirm();
    Rounds([] { return !IReplay_Running(); });
    return result;
  };
  EXPECT_EQ(answer("1"), 2);
  EXPECT_TRUE(WasTold("EXTENDFILENAMES"));
  WFfolder_SetBoolOpt(WFbase_StartFolder(D().current), "EXTENDFILENAMES", true);
  WFfolder_SetModified(WFbase_StartFolder(D().current), true);
  EXPECT_EQ(answer("1"), 0);
  EXPECT_TRUE(Told().empty()) << Told().front();
  EXPECT_NE(rcOf(start).find("EXTENDFILENAMES"), std::string::npos);
  EXPECT_TRUE(Rounds([&] { return FrameColour(sort) != kMarked; }));
  ASSERT_TRUE(Replay("AOBJ Floatdeck 1 11\n"));
  EXPECT_EQ(D().mode, 0);
  ASSERT_TRUE(Replay("AOBJ Floatdeck 21 20\n"));
}

// The program: the window manager's close and SIGTERM end it with status 0
// and no run file; without a display the start fails with status 1.
TEST(Program, ClosesInOrderAndNeedsADisplay) {
  const std::string program = FLOATDECK_BINARY_DIR "/bin/Floatdeck";
  const std::string dat = site->Path("dat");
  auto runFiles = [&] {
    int n = 0;
    for (const auto& e : fs::directory_iterator(dat)) n += e.path().extension() == ".pid";
    return n;
  };
  const RunResult none = RunProgram({program, "alpha"}, {{"DISPLAY", ""}, {"TV_NO_RUN_FILE", ""}});
  EXPECT_EQ(none.status, 1);
  EXPECT_NE(none.err.find("DISPLAY"), std::string::npos) << none.err;
  for (const bool bySignal : {false, true}) {
    const int before = runFiles();
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::unsetenv("TV_NO_RUN_FILE");
      ::execl(program.c_str(), program.c_str(), "alpha", static_cast<char*>(nullptr));
      ::_exit(127);
    }
    // Its window, found by its title, then closed.
    XUser user;
    Display* d = user.display();
    Window window = 0;
    ASSERT_TRUE(Await([&] { return (window = TopLevelTitled(d, "alpha")) != 0; }, 10));
    EXPECT_EQ(runFiles(), before + 1);
    if (bySignal) {
      ::kill(pid, SIGTERM);
    } else {
      XEvent e{};
      e.xclient.type = ClientMessage;
      e.xclient.window = window;
      e.xclient.message_type = XInternAtom(d, "WM_PROTOCOLS", False);
      e.xclient.format = 32;
      e.xclient.data.l[0] = static_cast<long>(XInternAtom(d, "WM_DELETE_WINDOW", False));
      XSendEvent(d, window, False, NoEventMask, &e);
      XFlush(d);
    }
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << (bySignal ? "SIGTERM" : "close") << status;
    EXPECT_EQ(runFiles(), before);
  }
}

}  // namespace
