// The content window of a folder, on a private X server in a private site
// with the real queue (server and worker) and a stand-in for the demon: a
// click on a folder of the graph opens it and is logged, and the logged
// line opens it again; each state of a file shows with its text; a quiet
// refresh reads nothing and asks the demon nothing, new files are asked in
// as few requests as lines allow; the commands act on disk and on the
// demon's ".readyFiles", under its lock, with names of every kind.
#include "manager/WFstatusContent.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCtypes.h"
#include "manager/Floatdeck.h"
#include "manager/WFshow.h"
#include "manager/WFstatus.h"
#include "tests/manager/GraphCells.h"
#include "tests/support/FlowSite.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "tests/watch/FakeDemon.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTable.h"
#include "toolkit/IReplay.h"
#include "toolkit/WtGuiLog.h"
#include "watch/TVWcfg.h"
#include "watch/TVWhandled.h"
#include "watch/TVWrequest.h"
#include "watch/WFjobStat.h"
#include "workflow/BEwfBase.h"
#include "workflow/WFtvwCfg.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> told;  // what the program showed in boxes
void Tell(StrIn text) { told.push_back(text.Str()); }

// A start, a Rename folder on the sample's scheme, a log folder, which has
// no content, and a sort folder; installed stopped, with no demon.
const char kWorkflow[] =
    "start  in  -> ren\n"
    "rename ren -> lg  MODE=1 SCHEME=../../../schemes/sample-rename.trs\n"
    "log    lg  -> srt\n"
    "sort   srt\n";
// A job that holds until the test's "release" file is there.
const char kHold[] = "while [ ! -e \"$1\" ] && [ -d \"${1%/*}\" ]; do sleep 0.1; done\n";

const bool xvfb = UseXvfb();
FlowSite*& site = UseFlowSiteForTests(
    [] {
      site->PrepareWindows("home/x");
      ::setenv("MARLENV", (FLOATDECK_BINARY_DIR "/tests/env:" + site->Path("env") + ":" FLOATDECK_BINARY_DIR "/env").c_str(), 1);
      fs::create_directories(site->Path("projects/schemes"));
      fs::copy_file(FLOATDECK_SOURCE_DIR "/scripts/sample-rename.trs", site->Path("projects/schemes/sample-rename.trs"));
      PutFile(site->Path("hold.sh"), kHold);
      ASSERT_TRUE(site->StartWorker(2) && site->StartServer());
      PutFile(site->Path("content.wf"), kWorkflow);
      std::string err;
      ASSERT_EQ(site->Run({FLOATDECK_BINARY_DIR "/bin/wfinstall", "-n", "-w", "content", site->Path("content.wf")}, err), 0)
          << err;
      Floatdeck_InitModules();
      Messages_UseMsgCat("FLOATDECKmsg");
      I_UseContextCat("FLOATDECKdlg");
      I_UseContextCat("IGRAPHdlg");
      WFbase_Hooks hooks;
      hooks.show = Tell;
      WFbase_RegisterHooks(hooks);
    },
    [] {
      PutFile(site->Path("release"), "");
      SClient_CloseAllConnections();
    });

const std::string kOdd = "job09 'x\"$y\nz.tif";  // blanks, quotes, "$" and a line feed

// The demon's answers to a status query: "job01..." in hand, "job02..."
// handled, every other file unknown.
std::string Answers(const std::string& request) {
  TVWrequest_Line line, directory, name;
  Strings_Assign(request, line);
  std::int32_t count = 0, modified = 0;
  if (TVWrequest_SplitRequest(line) != TVWrequest_reqStatusQuery ||
      !TVWrequest_SplitFileStatusQuery(line, directory, count))
    return "1 \"\" refused";
  std::string statuses;
  for (std::int32_t i = 0; i < count && TVWrequest_SplitFile(line, name, modified); ++i) {
    const std::string file = StrIn(name).Str();
    statuses += (i == 0 ? "" : " ") + std::string(file.rfind("job01", 0) == 0 ? "2" : file.rfind("job02", 0) == 0 ? "1" : "0");
  }
  TVWrequest_Line result = "";
  TVWrequest_AppendInt(result, 0);
  TVWrequest_AppendString(result, statuses);
  return StrIn(result).Str();
}

class Content : public ::testing::Test {
 protected:
  void SetUp() override {
    told.clear();
    TextStr reason;
    workflow_ = WFbase_RebuildWorkflow("content", WFbase_NoAnswer, reason);
    ASSERT_NE(workflow_, nullptr) << StrIn(reason).Str();
    WFshow_InitIcons();
    graph_ = I_Create("IGraph_View", true);
    ASSERT_TRUE(Pump([&] { return static_cast<CWShell>(I_AccessWidget(graph_, -1))->exposed; }));
    view_ = WFshow_CreateAndAttach(graph_, WFshow_mainElements);
    WFshow_Show(view_, workflow_);
    ren_ = Folder(29);
    lg_ = Folder(33);
    dir_ = Path(ren_);
  }
  void TearDown() override {
    WFstatus_CloseFolderContent();
    WFstatus_CloseDemonConnection();
    WtGuiLog_Open("");
    WFshow_Show(view_, nullptr);
    WFshow_Destroy(view_);
    I_Destroy(graph_);
    WFbase_DestroyWorkflow(workflow_);
    // The folder as installed: its rc file and the stop mark.
    for (const auto& e : fs::directory_iterator(dir_))
      if (e.path().filename().string().rfind(".autorenm", 0) != 0) fs::remove_all(e.path());
    PutFile(dir_ + "/.TVWatchD_omit", "");
  }

  WFfolder Folder(WFfolder_FolderKind kind) {
    WFfolder found = nullptr;
    WFbase_FolderList list = WFbase_GetAllFolders(workflow_);
    for (WFbase_FolderList e = list; e != nullptr; e = e->next)
      if (WFfolder_Kind(e->folder) == kind) found = e->folder;
    WFbase_DestroyFolderList(list);
    return found;
  }
  static std::string Path(WFfolder folder) {
    PathStr path;
    WFfolder_GetPath(folder, path);
    return StrIn(path).Str();
  }
  Widget Graph() { return I_AccessWidget(graph_, 999); }
  static I_Context Window() { return WFstatus_FolderContentContext(); }

  // Rounds of the loop until `done` (false after 30 s).
  static bool Loop(const std::function<bool()>& done) { return RunLoop(done); }
  bool Replay(const std::string& lines) {
    PutFile(site->Path("replay.log"), lines);
    return IReplay_Start(site->Path("replay.log"), 5000) && Loop([] { return !IReplay_Running(); });
  }
  // Refreshes until the file shows in `state` (the job table takes its
  // events as they come).
  static bool Shows(const std::string& name, std::uint8_t state) {
    return Loop([&] {
      WFstatus_UpdateFolderContent();
      return StateOf(name) == state;
    });
  }
  static int StateOf(const std::string& name) {
    for (const WFstatus_File& f : WFstatus_ContentFiles())
      if (name == f.name) return f.state;
    return -1;
  }
  // What the table shows in the state column of a file's row.
  static std::string StateText(const std::string& name) {
    Widget table = I_AccessWidget(Window(), WFstatus_kCntTable);
    WtTableD_Table descr = static_cast<CWTable>(table)->internTableDescr;
    for (std::size_t row = 0; row < CWTable_RowCount(table); ++row) {
      const WtTableD_Record* r = CWTable_RowRecord(table, row);
      if (WtTableD_CellText(WtTableD_GetColumn(descr, 0), r) == name)
        return WtTableD_CellText(WtTableD_GetColumn(descr, 1), r);
    }
    return "";
  }
  static std::string Message(unsigned number) {
    TextStr text;
    Messages_GetMsg("WFstatus", number, text);
    return StrIn(text).Str();
  }
  static std::vector<std::string> Listed(const std::string& dir) {
    StrVector names = TVWhandled_Load(dir);
    std::vector<std::string> out;
    for (std::size_t i = 0; i < StrVector_ElementCount(names); ++i) out.push_back(StrVector_DynElementAt(names, i).Str());
    StrVector_Destroy(names);
    return out;
  }
  void Drop(const std::string& name) { site->Drop(dir_, name); }
  // The directory's time set back, so that what was read from it stands.
  void AgeDirectory() {
    const timespec old[2] = {{::time(nullptr) - 3600, 0}, {::time(nullptr) - 3600, 0}};
    ::utimensat(AT_FDCWD, dir_.c_str(), old, 0);
  }
  // A job of the demon's for `name` in the folder: it waits while the
  // queue is stopped and runs `command` once it is not.
  void Submit(const std::string& name, const std::string& command) {
    CCjob_ClassicJob r;
    Strings_Assign("sh", r.program);
    r.arguments = {site->Path("hold.sh"), command};
    Strings_Assign(dir_, r.workDir);
    StrVector files = StrVector_Create();
    StrVector_AddElement(files, name);
    CCjobBase_Job job = BEwfBase_CreateJob(r, files, false);
    StrVector_Destroy(files);
    NameStr id;
    CCjobBase_GenerateId(id);
    CCjobBase_SetId(job, id);
    ASSERT_TRUE(CCjob_Submit(job));
    CCjob_Destroy(job);
  }
  std::string Select(const std::vector<std::string>& names) {
    std::string line = "COMMAND WFstatus_FolderContent 994 SELECT";
    for (const std::string& n : names) line += " " + WtGuiLog_Word(n);
    return line + "\n";
  }

  XUser user_;
  WFbase workflow_ = nullptr;
  I_Context graph_ = nullptr;
  WFshow_View view_ = nullptr;
  WFfolder ren_ = nullptr, lg_ = nullptr;
  std::string dir_;
};

TEST_F(Content, AClickOpensTheFolderAndTheLoggedLineOpensItAgain) {
  const std::string log = site->Path("gui.log");
  fs::remove(log);
  ASSERT_TRUE(WtGuiLog_Open(log));
  // A press that leaves the cell before the release opens nothing.
  auto [x, y] = IconMiddle(view_, ren_);
  user_.MoveTo(Graph(), x, y);
  user_.Button(1, true);
  user_.MoveTo(Graph(), x + 45, y);
  user_.Button(1, false);
  // Nor does the log folder, which has no content.
  std::tie(x, y) = IconMiddle(view_, lg_);
  user_.ClickAt(Graph(), x, y);
  ASSERT_TRUE(Loop([&] { return FileText(log).find(" 0\n") != std::string::npos; }));
  EXPECT_FALSE(WFstatus_FolderContentShown());
  // A click on the Rename folder opens its content and is logged.
  std::tie(x, y) = IconMiddle(view_, ren_);
  user_.ClickAt(Graph(), x, y);
  ASSERT_TRUE(Loop([] { return WFstatus_FolderContentShown(); }));
  EXPECT_EQ(WFstatus_ContentDirectory(), dir_);
  int column, row;
  WFshow_GetCell(view_, ren_, column, row);
  const std::string number = dir_.substr(dir_.rfind('_') + 1);
  const std::string line = "COMMAND IGraph_View 999 SHOW_CONTENT " + std::to_string(column) + " " +
                           std::to_string(row) + " \"Rename\" " + number;
  const std::string logged = FileText(log);
  EXPECT_NE(logged.find(line + "\n"), std::string::npos) << logged;
  // Closed, the logged line opens it again; a word the graph doesn't know
  // ends the replay.
  WtGuiLog_Open("");
  ASSERT_TRUE(Replay("AOBJ WFstatus_FolderContent 1 1\n"));
  EXPECT_FALSE(WFstatus_FolderContentShown());
  ASSERT_TRUE(Replay(line + "\n"));
  EXPECT_TRUE(WFstatus_FolderContentShown());
  EXPECT_EQ(WFstatus_ContentDirectory(), dir_);
  ASSERT_TRUE(Replay("AOBJ WFstatus_FolderContent 1 1\nCOMMAND IGraph_View 999 OPEN_SESAME\n" + line + "\n"));
  EXPECT_FALSE(WFstatus_FolderContentShown());
}

// A sort folder shows the directories it sorts into; a click on one lists it.
TEST_F(Content, ASortFolderListsTheDirectoryChosen) {
  const std::string sorted = Path(Folder(44));
  for (const char* file : {"cyan/a.tif", "cyan/b.tif", "magenta/c.tif"}) {
    fs::create_directories(fs::path(sorted + "/" + file).parent_path());
    PutFile(sorted + "/" + file, "x");
  }
  ASSERT_TRUE(WFstatus_ShowFolderContent(Folder(44)));
  EXPECT_TRUE(I_GetBOOLEAN(Window(), WFstatus_kCntShowDirs));
  const std::string top = fs::path(sorted).filename().string();
  ASSERT_TRUE(Replay("COMMAND WFstatus_FolderContent 10 SELECT " + top + "/cyan\n"));
  EXPECT_EQ(WFstatus_ContentDirectory(), sorted + "/cyan");
  std::vector<std::string> names;
  for (const WFstatus_File& f : WFstatus_ContentFiles()) names.push_back(f.name);
  EXPECT_EQ(names, (std::vector<std::string>{"a.tif", "b.tif"}));
  fs::remove_all(sorted + "/cyan");
  fs::remove_all(sorted + "/magenta");
}

TEST_F(Content, EachStateShowsWithItsText) {
  // The demon's entry passes over "*.skip"; the folder is stopped.
  ASSERT_TRUE(TVWcfg_LockConfiguration());
  TVWcfg_List entries = nullptr;
  TVWcfg_LoadConfiguration(false, entries);
  ASSERT_NE(TVWcfg_GetEntry(entries, dir_), nullptr);
  Strings_Assign("\\.skip$", TVWcfg_GetEntry(entries, dir_)->omitFiles);
  ASSERT_TRUE(TVWcfg_SaveConfiguration(entries));
  TVWcfg_Destroy(entries);
  TVWcfg_UnlockConfiguration();
  WFtvwCfg_SetExpired();
  for (const char* name : {"job05_01C.tif.skip", "note.tif", "job01_07C.tif", "job02_07M.tif", "job03_07Y.tif",
                           "job04_07K.tif"})
    Drop(name);
  StrVector handled = StrVector_Create();
  StrVector_AddElement(handled, "job02_07M.tif");
  TVWhandled_Save(dir_, handled);
  StrVector_Destroy(handled);
  // One job runs, one waits in the stopped queue.
  ASSERT_TRUE(WFstatus_ShowFolderContent(ren_));
  SClient queue = CCclient_Connect("", 20000, nullptr);
  Submit("job04_07K.tif", site->Path("release"));
  ASSERT_TRUE(Shows("job04_07K.tif", WFstatus_fsRunning));
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueStopped));
  Submit("job03_07Y.tif", site->Path("release"));
  EXPECT_TRUE(Shows("job05_01C.tif.skip", WFstatus_fsOmitted));
  EXPECT_TRUE(Shows("note.tif", WFstatus_fsNoScheme));
  EXPECT_TRUE(Shows("job01_07C.tif", WFstatus_fsNew));  // no demon to ask
  EXPECT_TRUE(Shows("job02_07M.tif", WFstatus_fsHandled));
  EXPECT_TRUE(Shows("job03_07Y.tif", WFstatus_fsQueued));
  EXPECT_TRUE(Shows("job04_07K.tif", WFstatus_fsRunning));
  const std::pair<const char*, unsigned> texts[] = {{"job05_01C.tif.skip", 1}, {"note.tif", 8}, {"job01_07C.tif", 2},
                                                    {"job02_07M.tif", 6},     {"job03_07Y.tif", 3}, {"job04_07K.tif", 4}};
  for (const auto& [name, message] : texts) EXPECT_EQ(StateText(name), Message(message)) << name;

  // The demon comes, the folder starts (which makes the handled file new
  // again): the new files are asked, in one request; the demon has the
  // first in hand and has handled the second.
  FakeDemon demon(Answers);
  ASSERT_TRUE(Replay("AOBJ WFstatus_FolderContent 1 20\n"));
  EXPECT_FALSE(fs::exists(dir_ + "/.TVWatchD_omit"));
  EXPECT_TRUE(Listed(dir_).empty());
  EXPECT_TRUE(Shows("job01_07C.tif", WFstatus_fsInHand));
  EXPECT_EQ(StateText("job01_07C.tif"), Message(7));
  EXPECT_EQ(StateOf("job02_07M.tif"), WFstatus_fsHandled);
  ASSERT_EQ(demon.Requests().size(), 1u);
  EXPECT_EQ(demon.Requests()[0].find("note.tif"), std::string::npos) << "what no scheme fits is not asked";

  // A refresh with nothing changed reads no directory and asks nothing: a
  // file that came while the directory's time stayed does not show.
  AgeDirectory();
  WFstatus_UpdateFolderContent();
  const std::size_t asked = demon.Requests().size();
  struct stat before{};
  ::stat(dir_.c_str(), &before);
  Drop("job06_01C.tif");
  const timespec same[2] = {before.st_atim, before.st_mtim};
  ::utimensat(AT_FDCWD, dir_.c_str(), same, 0);
  WFstatus_UpdateFolderContent();
  EXPECT_EQ(StateOf("job06_01C.tif"), -1);
  EXPECT_EQ(demon.Requests().size(), asked);
  // New files of a refresh are asked in as few requests as lines allow.
  std::size_t bytes = 0;
  for (int i = 0; i < 200; ++i) {
    const std::string name = "batch" + std::string(40, 'x') + std::to_string(100 + i) + "_07C.tif";
    Drop(name);
    bytes += name.size() + 13;  // a blank, the name, a blank and a time of ten digits
  }
  EXPECT_TRUE(Shows("job06_01C.tif", WFstatus_fsNew));
  const std::size_t requests = demon.Requests().size() - asked;
  EXPECT_GE(requests, bytes / 4000 + 1);
  EXPECT_LE(requests, bytes / 3900 + 2);
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueRunning));
  SClient_CloseConn(queue);
}

TEST_F(Content, CommandsActOnDiskAndOnTheReadyList) {
  for (const std::string& name : {std::string("job01_07C.tif"), std::string("job02_07M.tif"),
                                  std::string("note.tif"), kOdd})
    Drop(name);
  StrVector handled = StrVector_Create();
  for (const char* name : {"job02_07M.tif", "note.tif", "gone.tif"}) StrVector_AddElement(handled, StrIn::C(name));
  TVWhandled_Save(dir_, handled);
  StrVector_Destroy(handled);
  ASSERT_TRUE(WFstatus_ShowFolderContent(ren_));
  ASSERT_TRUE(Shows(kOdd, WFstatus_fsNoScheme));

  // Run again: the file goes off ".readyFiles".
  ASSERT_TRUE(Replay(Select({"job02_07M.tif"}) + "AOBJ WFstatus_FolderContent 1 2\n"));
  EXPECT_EQ(Listed(dir_), (std::vector<std::string>{"note.tif", "gone.tif"}));
  // A lock of a process that is gone is taken over; a live one is left
  // alone and the failure told.
  PutFile(dir_ + "/" + TVWhandled_lockName, "999999\n");
  ASSERT_TRUE(Replay(Select({"note.tif"}) + "AOBJ WFstatus_FolderContent 1 2\n"));
  EXPECT_EQ(Listed(dir_), (std::vector<std::string>{"gone.tif"}));
  EXPECT_FALSE(fs::exists(dir_ + "/" + TVWhandled_lockName));
  const pid_t holder = ::fork();
  if (holder == 0) {
    ::execl("/bin/sleep", "sleep", "30", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  handled = StrVector_Create();
  for (const char* name : {"gone.tif", "job01_07C.tif"}) StrVector_AddElement(handled, StrIn::C(name));
  TVWhandled_Save(dir_, handled);
  StrVector_Destroy(handled);
  PutFile(dir_ + "/" + TVWhandled_lockName, std::to_string(holder) + "\n");
  told.clear();
  ASSERT_TRUE(Replay("AOBJ WFstatus_FolderContent 1 20\n"));  // starting redoes the files left
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  EXPECT_FALSE(fs::exists(dir_ + "/.TVWatchD_omit"));
  EXPECT_EQ(Listed(dir_), (std::vector<std::string>{"gone.tif", "job01_07C.tif"}));
  EXPECT_EQ(FileText(dir_ + "/" + TVWhandled_lockName), std::to_string(holder) + "\n");
  ASSERT_FALSE(told.empty());
  EXPECT_NE(told.back().find(dir_), std::string::npos) << told.back();
  fs::remove(dir_ + "/" + TVWhandled_lockName);
  // Stop and start the folder.
  ASSERT_TRUE(Replay("AOBJ WFstatus_FolderContent 1 21\n"));
  EXPECT_TRUE(fs::exists(dir_ + "/.TVWatchD_omit"));

  // Delete asks first: No keeps the file, Yes removes it.
  ASSERT_TRUE(Replay(Select({"note.tif"}) + "AOBJ WFstatus_FolderContent 1 5\nAOBJ _yes 2 0\n"));
  EXPECT_TRUE(fs::exists(dir_ + "/note.tif"));
  ASSERT_TRUE(Replay(Select({"note.tif"}) + "AOBJ WFstatus_FolderContent 1 5\nAOBJ _yes 2 1\n"));
  EXPECT_FALSE(fs::exists(dir_ + "/note.tif"));

  // Move into a directory chosen below the projects directory; a name that
  // is taken there stays as it was, and is told.
  fs::create_directories(site->Path("projects/aside"));
  PutFile(site->Path("projects/aside/job02_07M.tif"), "older");
  const std::string choose = "COMMAND ITreeSel_Choose 10 SELECT projects/aside\nAOBJ ITreeSel_Choose 1 1\n";
  told.clear();
  ASSERT_TRUE(Replay(Select({"job02_07M.tif", kOdd}) + "AOBJ WFstatus_FolderContent 1 30\n" + choose));
  EXPECT_EQ(FileText(site->Path("projects/aside/" + kOdd)), "x");
  EXPECT_FALSE(fs::exists(dir_ + "/" + kOdd));
  EXPECT_EQ(FileText(site->Path("projects/aside/job02_07M.tif")), "older");
  EXPECT_TRUE(fs::exists(dir_ + "/job02_07M.tif"));
  ASSERT_EQ(told.size(), 1u);
  EXPECT_NE(told[0].find("job02_07M.tif"), std::string::npos) << told[0];

  // Handed to the queue, the file's job runs the folder's command: renamed
  // into the next folder; a name no scheme fits lands, intact, in the
  // workflow's error directory.
  fs::rename(site->Path("projects/aside/" + kOdd), dir_ + "/" + kOdd);
  ASSERT_TRUE(Shows(kOdd, WFstatus_fsNoScheme));
  ASSERT_TRUE(Replay(Select({"job01_07C.tif", kOdd}) + "AOBJ WFstatus_FolderContent 1 11\n"));
  const std::string next = Path(lg_);
  PathStr errors;
  WFbase_GetErrordir(workflow_, errors);
  ASSERT_TRUE(Loop([&] { return fs::exists(next + "/JOB01-c08.tif"); }));
  const auto failed = [&] {
    for (const auto& e : fs::directory_iterator(StrIn(errors).Str()))
      if (e.path().filename().string().ends_with("_" + kOdd)) return true;
    return false;
  };
  EXPECT_TRUE(Loop(failed));
  EXPECT_FALSE(fs::exists(dir_ + "/job01_07C.tif"));
}

}  // namespace
