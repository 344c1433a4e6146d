// The watch demon as an installation runs it: the real TVWatchD, CCserver
// and CCworker on free loopback ports of a private site, folders installed
// with wfinstall, and small shell scripts as the folders' commands. What is
// checked: the demon's info and lock, when a file is taken and that it is
// taken once, the file status it tells, and that nothing is lost or done
// twice when the queue server or the demon itself is killed.
#include <gtest/gtest.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/Await.h"
#include "tests/support/TestFiles.h"
#include "watch/TVWbase.h"
#include "watch/TVWcfg.h"
#include "watch/TVWhandled.h"
#include "watch/TVWready.h"
#include "watch/TVWrequest.h"
#include "watch/WFjobStat.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

TempDir* site = nullptr;
int server = -1, worker = -1;

std::string Site(const std::string& relative) { return site->Path() + "/" + relative; }
std::string Projects(const std::string& relative) { return Site("projects/" + relative); }

// The folders' command: logs how many files it got (runs.log) and each file
// (jobs.log), then fails on "fail" names
// (the file stays), waits for the file "release" on "hold" names, and moves
// every other file to "done".
constexpr char kCommand[] =
    "#!/bin/sh\n"
    "shift\n"
    "printf '%s\\n' \"$#\" >> \"$SITE/runs.log\"\n"
    "for f; do\n"
    "  printf '%s\\n' \"$f\" >> \"$SITE/jobs.log\"\n"
    "  case \"$f\" in\n"
    "    *fail*) exit 1 ;;\n"
    "    *hold*) while [ ! -e \"$SITE/release\" ]; do sleep 0.1; done ;;\n"
    "  esac\n"
    "  mv -- \"$f\" \"$SITE/done/\"\n"
    "done\n";

void StartServer() { server = StartService("CCserver", "TV_CCSERVER_PORT"); }

class Installation : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    ::unsetenv("CCJOB_ID");
    ::unsetenv("CCJOB_EMPLOYER");
    // The build's programs are started by path: none is found on PATH, so no
    // client brings up a server of its own.
    ::setenv("PATH", (Site("cmds") + ":/usr/bin:/bin").c_str(), 1);
    ::setenv("SITE", site->Path().c_str(), 1);
    fs::create_directories(Site("cmds"));
    fs::create_directories(Site("done"));
    PutFile(Site("cmds/module.sh"), kCommand);
    fs::permissions(Site("cmds/module.sh"), fs::perms::owner_all);
    for (const char* name : {"autostart.sh", "autorenm.sh", "autodupl.sh", "autofilter.sh"})
      fs::create_symlink("module.sh", Site("cmds/") + name);
    for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT", "TV_TVWATCHD_PORT"}) ChoosePort(port);
    static const char* const args[] = {program_invocation_name};
    Argument_Init(1, args);
    Messages_Init();
    worker = StartService("CCworker", "TV_CCWORKER_PORT", {"-j", "4"});
    StartServer();
  }
  void TearDown() override {
    SClient_CloseAllConnections();
    StopService(server);
    StopService(worker);
    PutFile(Site("release"), "");  // jobs still waiting for it end
    delete site;
  }
};
const auto* const installation = ::testing::AddGlobalTestEnvironment(new Installation);

RunResult Tool(const std::vector<std::string>& args) {
  std::vector<std::string> argv = {FLOATDECK_BINARY_DIR "/bin/wfinstall"};
  argv.insert(argv.end(), args.begin(), args.end());
  return RunProgram(argv, {});
}

// Installs `description` and starts its folders (an install leaves them stopped).
void Install(const std::string& description) {
  PutFile(Site("wf.txt"), description);
  const RunResult r = Tool({Site("wf.txt")});
  ASSERT_EQ(r.status, 0) << r.err;
  for (const auto& e : fs::recursive_directory_iterator(Site("projects")))
    if (e.path().filename() == TVWcfg_omitMark) fs::remove(e.path());
}

// `name` put into `folder` whole, as a step of a workflow delivers it.
void Drop(const std::string& folder, const std::string& name, const std::string& text = "x") {
  PutFile(Site("tmp/") + name, text);
  fs::rename(Site("tmp/") + name, folder + "/" + name);
}

// How often the command got `name`.
int Runs(const std::string& name) {
  std::ifstream log(Site("jobs.log"));
  int runs = 0;
  for (std::string line; std::getline(log, line);) runs += line == name;
  return runs;
}

bool Done(const std::string& name) { return fs::exists(Site("done/") + name); }

bool AllDone(const std::vector<std::string>& names) {
  return std::all_of(names.begin(), names.end(), Done);
}

// The demon of the site, ended with SIGTERM when it goes.
struct Demon {
  int pid = -1;
  explicit Demon(const std::vector<std::string>& args = {}) { Start(args); }
  ~Demon() { StopService(pid); }
  void Start(const std::vector<std::string>& args = {}) {
    std::vector<std::string> all = {"-p", ::getenv("TV_TVWATCHD_PORT")};
    all.insert(all.end(), args.begin(), args.end());
    pid = StartService("TVWatchD", "TV_TVWATCHD_PORT", all);
    ASSERT_GT(pid, 0) << "TVWatchD did not come up";
    // Its port answers before it publishes itself.
    ASSERT_TRUE(Await([] {
      TVWbase_Reset();
      TVWbase_DemonInfo info;
      return TVWbase_DemonRunning(info);
    }));
  }
};

std::uint8_t Status(const std::string& folder, const std::string& name) {
  TVWrequest_Connection conn = TVWrequest_Connect("", 5000);
  const std::uint8_t status = TVWrequest_FileStatus(conn, folder + "/" + name, 0);
  TVWrequest_CloseConn(conn);
  return status;
}

const std::string kSample = "workflow sample\nstart in -> outdir\n";

}  // namespace

TEST(TVWatchD, PublishesItselfRefusesASecondAndFollowsTheConfiguration) {
  Install(kSample);
  const std::string start = Projects("workflow/sample");
  {
    Demon demon;
    TVWbase_DemonInfo info;
    ASSERT_TRUE(TVWbase_DemonRunning(info));
    EXPECT_EQ(info.pid, demon.pid);
    EXPECT_EQ(std::to_string(info.port), ::getenv("TV_TVWATCHD_PORT"));
    EXPECT_EQ(StrIn(info.dataDir).Str(), Site("dat"));
    TVWrequest_Connection conn = TVWrequest_Connect("", 5000);
    EXPECT_TRUE(TVWrequest_TestService(conn));
    TVWrequest_CloseConn(conn);

    // A second demon on the installation is refused and leaves the first alone.
    const RunResult second = RunProgram({FLOATDECK_BINARY_DIR "/bin/TVWatchD"}, {});
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.err.find(std::to_string(demon.pid)), std::string::npos) << second.err;
    EXPECT_TRUE(TVWbase_DemonRunning(info));

    Drop(start, "first.tif");
    ASSERT_TRUE(Await([] { return Done("first.tif"); }));

    // A workflow installed now: the install tells the demon, which watches it.
    Install("workflow other\nstart in -> ren\nrename ren -> outdir\n");
    Drop(Projects("workflow/other"), "second.tif");
    ASSERT_TRUE(Await([] { return Done("second.tif"); }));
    // In its rename folder, below a tree the demon watches as a whole.
    Drop(Projects("autofolder/autorename/flow_other_0"), "third.tif");
    ASSERT_TRUE(Await([] { return Done("third.tif"); }));

    // A stopped folder keeps its files until it is started again.
    PutFile(start + "/" + TVWcfg_omitMark, "");
    Drop(start, "stopped.tif");
    std::this_thread::sleep_for(std::chrono::seconds(3));
    EXPECT_EQ(Runs("stopped.tif"), 0);
    EXPECT_EQ(Status(start, "stopped.tif"), TVWrequest_NotKnown);
    fs::remove(start + "/" + TVWcfg_omitMark);
    ASSERT_TRUE(Await([] { return Done("stopped.tif"); }));

    // The stop file holds the installation: the demon ends and takes its info along.
    PutFile(Site("dat/stopped"), "");
    int status = 0;
    ASSERT_TRUE(Await([&] { return ::waitpid(demon.pid, &status, WNOHANG) == demon.pid; }));
    demon.pid = -1;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    fs::remove(Site("dat/stopped"));
    EXPECT_FALSE(TVWbase_DemonRunning(info));
  }
  for (const char* name : {"first.tif", "second.tif", "third.tif", "stopped.tif"}) EXPECT_EQ(Runs(name), 1) << name;
}

TEST(TVWatchD, TakesAFileOnceItIsCompleteOrDeclaredReady) {
  Install(kSample);
  const std::string start = Projects("workflow/sample");
  {
    Demon demon;
    // Written slowly, in chunks over more than two seconds, the file kept open.
    std::string whole;
    {
      std::ofstream slow(start + "/slow.tif");
      for (int chunk = 0; chunk < 6; ++chunk) {
        const std::string part(1000, static_cast<char>('a' + chunk));
        slow << part << std::flush;
        whole += part;
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        EXPECT_EQ(Runs("slow.tif"), 0) << "taken while written, chunk " << chunk;
      }
    }
    ASSERT_TRUE(Await([] { return Done("slow.tif"); }));
    EXPECT_EQ(FileText(Site("done/slow.tif")), whole);
  }
  {
    // A demon that waits long for files to settle: files declared ready go at once.
    Demon patient({"-q", "240000"});
    PutFile(start + "/listed.tif", "l");
    PutFile(start + "/informed.tif", "i");
    PutFile(start + "/waiting.tif", "w");
    TVWready_FileList list = TVWready_CreateFileList();
    TVWready_AddFile(list, start + "/listed.tif");
    EXPECT_TRUE(TVWready_SendReadyFiles(list));
    TVWready_DestroyFileList(list);
    TVWrequest_Connection conn = TVWrequest_Connect("", 5000);
    EXPECT_TRUE(TVWrequest_InformFileReady(conn, start + "/informed.tif"));
    TVWrequest_CloseConn(conn);
    ASSERT_TRUE(Await([] { return Done("listed.tif") && Done("informed.tif"); }));
    EXPECT_EQ(Runs("waiting.tif"), 0);
    EXPECT_FALSE(fs::exists(Site("dat/") + TVWready_listName));
    fs::remove(start + "/waiting.tif");
  }
  for (const char* name : {"slow.tif", "listed.tif", "informed.tif"}) EXPECT_EQ(Runs(name), 1) << name;
}

TEST(TVWatchD, HandsFilesThatWaitTogetherInBatchesAndALoneFileAtOnce) {
  Install(kSample);
  const std::string start = Projects("workflow/sample");
  Demon demon;
  fs::remove(Site("runs.log"));
  // Twenty files wait in the stopped folder; started, it hands them in batches.
  PutFile(start + "/" + TVWcfg_omitMark, "");
  std::vector<std::string> names;
  for (int i = 0; i < 20; ++i) names.push_back("batch" + std::to_string(i) + ".tif");
  for (const std::string& name : names) Drop(start, name);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  fs::remove(start + "/" + TVWcfg_omitMark);
  ASSERT_TRUE(Await([&] { return AllDone(names); }));
  std::vector<int> runs;
  {
    std::ifstream log(Site("runs.log"));
    for (int n = 0; log >> n;) runs.push_back(n);
  }
  int files = 0;
  for (int n : runs) files += n;
  EXPECT_EQ(files, 20);
  EXPECT_GT(runs.size(), 1U) << "the worker's slots share the files";
  EXPECT_LT(runs.size(), 20U) << "no batch was made";
  for (const std::string& name : names) EXPECT_EQ(Runs(name), 1) << name;
  // A file that comes alone goes alone, without waiting for company.
  const auto runsSoFar = [] {
    std::ifstream log(Site("runs.log"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) lines.push_back(line);
    return lines;
  };
  Drop(start, "alone.tif");
  ASSERT_TRUE(Await([] { return Done("alone.tif"); }));
  EXPECT_EQ(runsSoFar().back(), "1");
  // While four of the folder's jobs keep the worker busy, files that trickle
  // in one by one are gathered: a full batch, then the rest after a second.
  for (int i = 0; i < 4; ++i) {
    Drop(start, "hold" + std::to_string(i) + ".tif");
    ASSERT_TRUE(Await([&] { return Runs("hold" + std::to_string(i) + ".tif") == 1; }));
  }
  const std::size_t before = runsSoFar().size();
  std::vector<std::string> trickled;
  for (int i = 0; i < 20; ++i) {
    trickled.push_back("trickle" + std::to_string(i) + ".tif");
    Drop(start, trickled.back());
  }
  ASSERT_TRUE(Await([&] {
    return std::all_of(trickled.begin(), trickled.end(),
                       [&](const std::string& name) { return Done(name) || Status(start, name) == TVWrequest_InHand; });
  }));
  PutFile(Site("release"), "");
  ASSERT_TRUE(Await([&] { return AllDone(trickled); }));
  fs::remove(Site("release"));
  const std::vector<std::string> all = runsSoFar();
  std::vector<std::string> gathered(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
  std::sort(gathered.begin(), gathered.end());
  EXPECT_EQ(gathered, (std::vector<std::string>{"16", "4"}));
}

TEST(TVWatchD, TellsTheStatusOfEachFile) {
  Install("workflow status\nstart in -> outdir\n");
  const std::string start = Projects("workflow/status");
  Demon demon;
  SClient queue = CCclient_Connect("", 5000, nullptr);
  const auto queued = [&](const std::string& name) {
    WFjobStat_Update();
    return WFjobStat_FileStatus(start, name);
  };
  // The table listens before the jobs come.
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueStopped));
  WFjobStat_Update();
  // A job that runs and one that failed and left its file behind.
  Drop(start, "hold.tif");
  Drop(start, "fail.tif");
  ASSERT_TRUE(Await([&] { return Status(start, "hold.tif") == TVWrequest_InHand && Runs("fail.tif") == 0; }));
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueRunning));
  ASSERT_TRUE(Await([&] { return queued("hold.tif") == WFjobStat_Running && Runs("fail.tif") == 1; }));
  ASSERT_TRUE(Await([&] { return Status(start, "fail.tif") == TVWrequest_Handled; }));
  // A job held in the queue, and a file held in a stopped folder.
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueStopped));
  Drop(start, "queued.tif");
  ASSERT_TRUE(Await([&] { return queued("queued.tif") == WFjobStat_Waiting; }));

  TVWrequest_File* files = nullptr;
  for (const char* name : {"waiting.tif", "queued.tif", "hold.tif", "fail.tif"}) {
    TVWrequest_File* f = TVWrequest_CreateFile(StrIn::C(name), 0);
    f->next = files;
    files = f;
  }
  PutFile(start + "/" + TVWcfg_omitMark, "");
  Drop(start, "waiting.tif");
  TVWrequest_Connection conn = TVWrequest_Connect("", 5000);
  ASSERT_TRUE(TVWrequest_QueryFileStatus(conn, start, files));
  TVWrequest_CloseConn(conn);
  const std::map<std::string, std::uint8_t> expected = {
      {"waiting.tif", TVWrequest_NotKnown}, {"queued.tif", TVWrequest_InHand},
      {"hold.tif", TVWrequest_InHand},      {"fail.tif", TVWrequest_Handled}};
  for (const TVWrequest_File* f = files; f != nullptr; f = f->next) EXPECT_EQ(f->status, expected.at(f->name)) << f->name;
  TVWrequest_DestroyFileList(files);
  EXPECT_EQ(queued("fail.tif"), WFjobStat_NotKnown);
  EXPECT_EQ(WFjobStat_FolderStatus(start), WFjobStat_Running);
  StrVector handled = TVWhandled_Load(start);
  ASSERT_EQ(StrVector_ElementCount(handled), 1U);
  EXPECT_EQ(StrVector_DynElementAt(handled, 0).Str(), "fail.tif");
  StrVector_Destroy(handled);

  // Everything goes on, and the failed file is not taken again.
  fs::remove(start + "/" + TVWcfg_omitMark);
  ASSERT_TRUE(CCclient_SetQueueStatus(queue, CCtypes_QueueRunning));
  PutFile(Site("release"), "");
  ASSERT_TRUE(Await([] { return Done("hold.tif") && Done("queued.tif") && Done("waiting.tif"); }));
  ASSERT_TRUE(Await([&] {
    WFjobStat_Update();
    return WFjobStat_FolderStatus(start) == WFjobStat_NotKnown;
  }));
  fs::remove(Site("release"));
  EXPECT_EQ(Runs("fail.tif"), 1);
  SClient_CloseConn(queue);
}

TEST(TVWatchD, LosesNoFileWhileTheQueueServerIsDown) {
  Install("workflow down\nstart in -> outdir\n");
  const std::string start = Projects("workflow/down");
  Demon demon;
  std::vector<std::string> names;
  for (int i = 0; i < 10; ++i) names.push_back("before" + std::to_string(i) + ".tif");
  for (int i = 0; i < 10; ++i) names.push_back("during" + std::to_string(i) + ".tif");
  for (int i = 0; i < 10; ++i) Drop(start, names[i]);
  StopService(server, SIGKILL);
  for (int i = 10; i < 20; ++i) Drop(start, names[i]);
  // The demon keeps answering and holds the files that arrived.
  ASSERT_TRUE(Await([&] { return Status(start, names.back()) == TVWrequest_InHand; }));
  StartServer();
  ASSERT_GT(server, 0);
  ASSERT_TRUE(Await([&] { return AllDone(names); }));
  for (const std::string& name : names) EXPECT_EQ(Runs(name), 1) << name;
}

TEST(TVWatchD, AKilledDemonHandsNoFileTwiceAfterItsRestart) {
  Install("workflow restart\nstart in -> outdir\n");
  const std::string start = Projects("workflow/restart");
  std::vector<std::string> names;
  for (int i = 0; i < 150; ++i) names.push_back("file" + std::to_string(i) + ".tif");
  Demon demon;
  for (const std::string& name : names) Drop(start, name);
  // Killed in the middle of the flood, and started again.
  ASSERT_TRUE(Await([] {
    std::ifstream log(Site("jobs.log"));
    return std::count(std::istreambuf_iterator<char>(log), {}, '\n') >= 20;
  }));
  StopService(demon.pid, SIGKILL);
  demon.Start();
  ASSERT_TRUE(Await([&] { return AllDone(names); }));
  for (const std::string& name : names) EXPECT_EQ(Runs(name), 1) << name;
}

TEST(TVWatchD, SurvivesABadConfigurationAndAFolderThatVanishes) {
  Install("workflow fault\nstart in -> outdir\n");
  const std::string start = Projects("workflow/fault");
  const std::string config = Site("env/tvwatchd.cfg");
  const std::string good = FileText(config);
  Demon demon;
  TVWrequest_Connection conn = TVWrequest_Connect("", 5000);

  // Damaged, cut in the middle of a line, and given by signal.
  WriteBytes(config, {'F', 'O', 'L', 'D', 'E', 'R', '=', 0xff, ':', 'F', 'I', 'L', 'E', 'S', '=', '(', '\\'});
  ASSERT_EQ(::kill(demon.pid, SIGUSR1), 0);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_TRUE(TVWrequest_TestService(conn));
  PutFile(config, good);
  ASSERT_EQ(::kill(demon.pid, SIGUSR1), 0);
  Drop(start, "after-config.tif");
  ASSERT_TRUE(Await([] { return Done("after-config.tif"); }));

  // The folder goes, with its rc file, and comes back.
  const std::string saved = Site("tmp/fault");
  fs::rename(start, saved);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_TRUE(TVWrequest_TestService(conn));
  fs::rename(saved, start);
  Drop(start, "after-return.tif");
  ASSERT_TRUE(Await([] { return Done("after-return.tif"); }));
  TVWrequest_CloseConn(conn);
  EXPECT_EQ(Runs("after-config.tif"), 1);
  EXPECT_EQ(Runs("after-return.tif"), 1);
}

// A client that sends requests and never reads the answers: the demon answers
// others at once and drops it once it leaves more than its bound unread (after
// the few MB that the system's buffers take).
TEST(TVWatchD, AClientThatStopsReadingHoldsNoOneUpAndGoes) {
  ::setenv("TV_PEER_BACKLOG_KB", "64", 1);
  Demon demon;
  ::unsetenv("TV_PEER_BACKLOG_KB");
  const int stuck = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
  const int small = 4096;  // the line fills soon
  ::setsockopt(stuck, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<std::uint16_t>(std::atoi(::getenv("TV_TVWATCHD_PORT"))));
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_TRUE(::connect(stuck, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0 || errno == EINPROGRESS);
  // Unknown: each short line is answered with a refusal many times longer.
  std::string requests;
  for (int i = 0; i < 8192; ++i) requests += "?\n";
  bool dropped = false;
  for (const auto end = Clock::now() + std::chrono::seconds(120); !dropped && Clock::now() < end;) {
    pollfd fd{stuck, POLLOUT, 0};
    ::poll(&fd, 1, 100);
    dropped = ::send(stuck, requests.data(), requests.size(), MSG_NOSIGNAL) < 0 && errno != EAGAIN;
    TVWrequest_Connection other = TVWrequest_Connect("", 5000);
    const auto asked = Clock::now();
    const bool answered = TVWrequest_TestService(other);
    TVWrequest_CloseConn(other);
    ASSERT_TRUE(answered);
    ASSERT_LT(Clock::now() - asked, std::chrono::seconds(3));
  }
  ::close(stuck);
  EXPECT_TRUE(dropped);
}
