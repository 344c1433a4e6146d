// The queue end to end: the client against the real CCserver and CCworker
// (and RMserver for resources), each on a free loopback port of a private
// site. The services are killed and started again where the tests say so.
#include "jobqueue/CCclient.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/SRM.h"
#include "jobqueue/SServer.h"
#include "jobqueue/Socket.h"
#include "tests/support/Await.h"
#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

using Clock = std::chrono::steady_clock;

TempDir* site = nullptr;
int rm = -1, server = -1, worker = -1;

void StartServer() {
  server = StartService("CCserver", "TV_CCSERVER_PORT");
  ASSERT_GT(server, 0) << "CCserver did not come up";
}

void StartWorker() {
  worker = StartService("CCworker", "TV_CCWORKER_PORT", {"-j", "2"});
  ASSERT_GT(worker, 0) << "CCworker did not come up";
}

class Queue : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    ::unsetenv("CCJOB_EMPLOYER");
    for (const char* port : {"TV_RMSERVER_PORT", "TV_CCSERVER_PORT", "TV_CCWORKER_PORT"}) ChoosePort(port);
    static const char* const args[] = {program_invocation_name};
    Argument_Init(1, args);
    Messages_Init();
    rm = StartRMserver();
    StartWorker();
    StartServer();
  }
  void TearDown() override {
    SRM_Disconnect();
    SClient_CloseAllConnections();
    StopService(server);
    StopService(worker);
    StopRMserver(rm);
    KillLeftJobs();
    delete site;
  }

 private:
  // Jobs outlive their worker; those a failed test left go with the site.
  static void KillLeftJobs() {
    std::error_code ignored;
    const std::string dir = site->Path() + "/dat/CCworker-" + std::string(::getenv("TV_CCWORKER_PORT"));
    for (const auto& entry : std::filesystem::directory_iterator(dir, ignored)) {
      std::ifstream record(entry.path());
      for (std::string line; std::getline(record, line);)
        if (line.rfind("process ", 0) == 0) ::kill(-std::stoi(line.substr(8)), SIGKILL);
    }
  }
};
const auto* const queue = ::testing::AddGlobalTestEnvironment(new Queue);

struct JobEvents {
  SClient listener = CCclient_ConnectJobListener("");
  std::map<std::string, std::vector<CCjobEvent_Event>> byJob;
  explicit JobEvents(const char* submitter) {
    EXPECT_TRUE(CCclient_SetEventMask(listener, "", StrIn::C(submitter)));
    EXPECT_TRUE(CCclient_TestService(Client()));  // the mask is set before jobs come
  }
  ~JobEvents() { SClient_CloseConn(listener); }
  static SClient Client() {
    static SClient conn = CCclient_Connect("", 4000, nullptr);
    return conn;
  }
  void Read() {
    CCclient_AwaitEvent(listener, 200);
    CCjobEvent_Event e;
    while (CCclient_ReceiveJobEvent(listener, e)) byJob[StrIn(e.id).Str()].push_back(e);
  }
  // From what was read so far.
  bool Ended(const std::string& id) {
    const auto& events = byJob[id];
    return !events.empty() && events.back().removed;
  }
  std::uint8_t Last(const std::string& id) {
    const auto& events = byJob[id];
    return events.empty() ? 0 : events.back().status;
  }
  // Reads events until `done` holds of what was read; each read waits for
  // events itself, so the listener keeps up with the queue.
  bool Until(const std::function<bool()>& done, int seconds = 120) {
    for (const auto end = Clock::now() + std::chrono::seconds(seconds); Clock::now() < end;) {
      Read();
      if (done()) return true;
    }
    return false;
  }
  bool AllEnded(const std::vector<std::string>& ids) {
    return std::all_of(ids.begin(), ids.end(), [&](const std::string& id) { return Ended(id); });
  }
};

std::string Submit(const std::string& command, const char* submitter, bool async = true,
                   const std::function<void(CCjobBase_Job)>& adjust = nullptr) {
  CCjobBase_Job job = CCjob_CreateDS(command);
  CCjob_SetSubmitter(job, submitter, "addons");
  if (adjust) adjust(job);
  EXPECT_TRUE(CCclient_SubmitJob(JobEvents::Client(), job, async));
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  CCjob_Destroy(job);
  return StrIn(id).Str();
}

// Queue command `command` (0 put back, 1 delete, 2 raise) on one job.
bool Command(int command, const std::string& id, bool failedQueue) {
  StrVector ids = StrVector_Create();
  StrVector_AddElement(ids, id);
  const bool done = CCclient_JobCommand(JobEvents::Client(), command, ids, failedQueue);
  StrVector_Destroy(ids);
  return done;
}

std::vector<std::string> Lines(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

TEST(Queue, AThousandJobsRunOnceEachInOrderThroughAWorkerRestart) {
  JobEvents events("thousand");
  const std::string runs = site->Path() + "/runs";
  std::vector<std::string> ids;
  for (int i = 0; i < 1000; ++i) ids.push_back(Submit("echo \"$CCJOB_ID $CCJOB_EMPLOYER\" >> " + runs, "thousand"));

  // Kill the worker in the middle, with jobs on the way, and start another.
  ASSERT_TRUE(events.Until([&] { return Lines(runs).size() >= 300; }));
  StopService(worker, SIGKILL);
  StartWorker();

  std::size_t ended = 0;
  ASSERT_TRUE(events.Until([&] {
    ended = std::count_if(ids.begin(), ids.end(), [&](const std::string& id) { return events.Ended(id); });
    return ended == ids.size();
  })) << ended << " of 1000 jobs ended" << [&] {
    std::string open;
    for (const std::string& id : ids) {
      if (events.Ended(id)) continue;
      CCjobBase_Job job = nullptr;
      CCclient_GetJobInfos(JobEvents::Client(), id, job);
      open += "\n" + id + " heard " + std::to_string(events.byJob[id].size()) + " last " +
              std::to_string(events.Last(id)) + " server: " + CCjobBase_JobToString(job);
      CCjob_Destroy(job);
    }
    return open;
  }();

  // Each job: added waiting, running (again only if it never started), and
  // one end as done, after which nothing.
  for (const std::string& id : ids) {
    const auto& seen = events.byJob[id];
    ASSERT_GE(seen.size(), 3U) << id;
    EXPECT_EQ(seen.front().status, CCtypes_Waiting) << id;
    for (std::size_t i = 0; i + 1 < seen.size(); ++i) {
      EXPECT_FALSE(seen[i].removed) << id;
      EXPECT_TRUE(seen[i].status == CCtypes_Waiting || seen[i].status == CCtypes_Running) << id;
    }
    EXPECT_EQ(seen[seen.size() - 2].status, CCtypes_Running) << id;
    EXPECT_EQ(seen.back().status, CCtypes_Done) << id;
    EXPECT_EQ(seen.back().submitterAddons, "addons");
  }
  // Every command ran exactly once, with its id and employer in its environment.
  std::multiset<std::string> ran;
  for (const std::string& line : Lines(runs)) ran.insert(line.substr(0, line.find(' ')));
  for (const std::string& id : ids) EXPECT_EQ(ran.count(id), 1U) << id;
  EXPECT_EQ(ran.size(), ids.size());
  EXPECT_NE(Lines(runs).front().find(' '), std::string::npos);
  EXPECT_GT(Lines(runs).front().size(), Lines(runs).front().find(' ') + 1) << "CCJOB_EMPLOYER is empty";
}

TEST(Queue, AResourceHeldElsewhereKeepsAJobWaitingUntilItIsFree) {
  JobEvents events("resource");
  const std::string made = site->Path() + "/plate";
  ASSERT_TRUE(SRM_Reserve("plate-7", true));
  const std::string id = Submit("touch " + made, "resource", true,
                                [](CCjobBase_Job job) { CCjob_AddResourcePrecondition(job, "plate-7"); });
  ASSERT_TRUE(events.Until([&] { return events.Last(id) == CCtypes_WaitingForPrecond; }));
  // Looked at again and again, it keeps waiting while the resource is held.
  EXPECT_FALSE(events.Until([&] { return events.Ended(id); }, 3));
  EXPECT_FALSE(std::filesystem::exists(made));
  SRM_Release("plate-7");
  ASSERT_TRUE(events.Until([&] { return events.Ended(id); }));
  EXPECT_EQ(events.Last(id), CCtypes_Done);
  EXPECT_TRUE(std::filesystem::exists(made));

  // A resource the submitter passes on is the server's until the job ends.
  ASSERT_TRUE(SRM_Reserve("plate-8", true));
  const std::string passed = Submit("sleep 2", "resource", false,
                                    [](CCjobBase_Job job) { CCjob_InheritResource(job, "plate-8"); });
  EXPECT_EQ(SRM_UseCount("plate-8"), 0) << "the submitter let go";
  EXPECT_FALSE(SRM_Reserve("plate-8", false)) << "the server holds it for the job";
  ASSERT_TRUE(events.Until([&] { return events.Ended(passed); }));
  ASSERT_TRUE(Await([] { return SRM_Reserve("plate-8", false); }, 30)) << "the job's end gave it back";
  SRM_Release("plate-8");
}

TEST(Queue, TheQueueOutlivesAServerRestart) {
  SClient client = JobEvents::Client();
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueStopped));
  const std::string out = site->Path() + "/restart";
  std::vector<std::string> ids;
  for (int i = 0; i < 3; ++i) ids.push_back(Submit("echo ran >> " + out, "restart", false));
  StopService(server, SIGKILL);
  // The crash cut the last record in the middle.
  const std::string journal =
      site->Path() + "/dat/CCserver-" + std::string(::getenv("TV_CCSERVER_PORT")) + "/queue.journal";
  ASSERT_TRUE(std::filesystem::exists(journal));
  { std::ofstream(journal, std::ios::app) << "J h-9-9-9 99 a - TYPE=Inline STATUS=wai"; }
  StartServer();

  EXPECT_EQ(CCclient_GetQueueStatus(client), CCtypes_QueueStopped);
  for (const std::string& id : ids) {
    CCjobBase_Job job = nullptr;
    ASSERT_TRUE(CCclient_GetJobInfos(client, id, job)) << id;
    EXPECT_EQ(CCjobBase_GetStatus(job), CCtypes_Waiting);
    CCjob_Destroy(job);
  }
  CCjobBase_Job none = nullptr;
  EXPECT_FALSE(CCclient_GetJobInfos(client, "h-9-9-9", none));
  JobEvents events("restart");
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueRunning));
  ASSERT_TRUE(Await([&] { return Lines(out).size() == 3; }));
  EXPECT_FALSE(Await([&] { return Lines(out).size() > 3; }, 1)) << "each ran once";
}

TEST(Queue, ListenersSeeTheQueueAndFailedJobsStayUntilDeleted) {
  SClient client = JobEvents::Client();
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueStopped));
  const std::string failing = Submit("echo oops >&2; exit 3", "listen", false);
  const std::string fine = Submit("true", "listen", false);
  SClient listener = CCclient_ConnectListener("");
  std::vector<CCevent_Event> seen;
  // Reads events until `done` holds of what was read.
  auto heard = [&](const std::function<bool()>& done) {
    for (const auto end = Clock::now() + std::chrono::seconds(120); Clock::now() < end;) {
      CCclient_AwaitEvent(listener, 200);
      for (CCevent_Event e; CCclient_ReceiveEvent(listener, e);) seen.push_back(e);
      if (done()) return true;
    }
    return false;
  };
  // A new listener hears the queue as it stands, then its workers.
  const auto lastIs = [&](std::uint8_t type, std::uint32_t kind) {
    return !seen.empty() && seen.back().type == type && seen.back().kind == kind;
  };
  ASSERT_TRUE(heard([&] { return lastIs(CCevent_Cluster, CCevent_WorkerStatus); }));
  ASSERT_GE(seen.size(), 6U);
  EXPECT_EQ(seen[0].kind, CCevent_QueueReset);
  EXPECT_EQ(seen[1].queueStatus, CCtypes_QueueStopped);
  std::map<std::string, std::int32_t> position;
  for (const CCevent_Event& e : seen)
    if (e.type == CCevent_Job) position[e.id] = e.queuePosition;
  EXPECT_LT(position[failing], position[fine]);
  EXPECT_EQ(seen.back().workerStatus, 1);

  // Raised, the second goes first.
  ASSERT_TRUE(Command(2, fine, false));
  ASSERT_TRUE(heard([&] {
    for (const CCevent_Event& e : seen)
      if (e.type == CCevent_Job && e.kind == CCevent_PositionChanged) position[e.id] = e.queuePosition;
    return position[fine] == 1 && position[failing] == 2;
  }));

  // The failed job goes to the failed list, with what it said in its error file.
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueRunning));
  auto failedAdded = [&] {
    std::size_t count = 0;
    for (const CCevent_Event& e : seen)
      count += e.type == CCevent_Job && e.kind == CCevent_JobAdded && e.inFailedQueue && failing == e.id ? 1 : 0;
    return count;
  };
  ASSERT_TRUE(heard([&] { return failedAdded() == 1; }));
  CCjobBase_Job job = nullptr;
  ASSERT_TRUE(CCclient_GetJobInfos(client, failing, job));
  EXPECT_EQ(CCjobBase_GetStatus(job), CCtypes_Failed);
  char errorFile[kPathCap];
  CCjobBase_GetErrorFilename(job, errorFile);
  EXPECT_EQ(FileText(errorFile), "oops\n");
  CCjob_Destroy(job);

  // Put back, it runs (and fails) again; deleted, it is gone.
  ASSERT_TRUE(Command(0, failing, true));
  ASSERT_TRUE(heard([&] { return failedAdded() == 2; }));
  ASSERT_TRUE(Command(1, failing, true));
  ASSERT_TRUE(heard([&] { return lastIs(CCevent_Job, CCevent_JobRemoved) && seen.back().inFailedQueue; }));
  EXPECT_FALSE(CCclient_GetJobInfos(client, failing, job));
  SClient_CloseConn(listener);
}

TEST(Queue, RunningJobsEndWhenDeletedAndAtTheirTimeOut) {
  JobEvents events("cancel");
  const std::string deleted = Submit("sleep 60", "cancel");
  ASSERT_TRUE(events.Until([&] { return events.Last(deleted) == CCtypes_Running; }));
  // The worker is stopped: the server does not wait for it, and the job
  // ends once the worker goes on.
  ASSERT_EQ(::kill(worker, SIGSTOP), 0);
  const auto asked = Clock::now();
  const bool commanded = Command(1, deleted, false);
  const auto took = Clock::now() - asked;
  ::kill(worker, SIGCONT);
  ASSERT_TRUE(commanded);
  EXPECT_LT(took, std::chrono::milliseconds(1000));
  const std::string late = Submit("sleep 60", "cancel", true, [](CCjobBase_Job job) { CCjobBase_SetTimeout(job, 1); });
  // Both end well before their commands would.
  ASSERT_TRUE(events.Until([&] { return events.Ended(deleted) && events.Ended(late); }, 40));
  EXPECT_EQ(events.Last(deleted), CCtypes_Canceled);
  EXPECT_EQ(events.Last(late), CCtypes_Canceled);
}

TEST(Queue, AJobWhoseShellDiedWithItsWorkerIsReportedFailed) {
  JobEvents events("orphan");
  const std::string id = Submit("sleep 60", "orphan");
  ASSERT_TRUE(events.Until([&] { return events.Last(id) == CCtypes_Running; }));
  // Worker and job are killed together: nobody can tell how the job went.
  const std::string record =
      site->Path() + "/dat/CCworker-" + std::string(::getenv("TV_CCWORKER_PORT")) + "/" + id + ".job";
  int process = 0;
  ASSERT_TRUE(Await([&] {
    for (const std::string& line : Lines(record))
      if (line.rfind("process ", 0) == 0) process = std::stoi(line.substr(8));
    return process > 0;
  }, 30));
  StopService(worker, SIGKILL);
  ::kill(-process, SIGKILL);
  StartWorker();
  ASSERT_TRUE(events.Until([&] { return events.Ended(id); }));
  EXPECT_EQ(events.Last(id), CCtypes_Failed);
  CCjobBase_Job job = nullptr;
  ASSERT_TRUE(CCclient_GetJobInfos(JobEvents::Client(), id, job));
  char errorFile[kPathCap];
  CCjobBase_GetErrorFilename(job, errorFile);
  char expected[kTextCap];
  Messages_GetMsg("CCworker", 4, expected);
  EXPECT_NE(FileText(errorFile).find(StrIn(expected).Str()), std::string::npos);
  CCjob_Destroy(job);
}

TEST(Queue, BadRequestsAndDyingClientsLeaveTheServerServing) {
  SClient client = JobEvents::Client();
  // Bytes of no request at all: the server drops that line and goes on.
  const int raw = ConnectFrom("127.0.0.1", std::stoi(::getenv("TV_CCSERVER_PORT")));
  ASSERT_GE(raw, 0);
  const char garbage[] = "A\x7f\xff\xff\xffZZZZ\nGET / HTTP/1.0\r\n\r\n";
  ASSERT_GT(::write(raw, garbage, sizeof garbage), 0);
  ::close(raw);

  // A job text that is none is refused, or told to the listeners.
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString("NOT A JOB"));
  EXPECT_FALSE(SClient_Send(client, CCprotocol_SUBMIT_JOB, params, nullptr));
  EXPECT_EQ(SClient_ErrorCode(client), 2);
  SClient listener = CCclient_ConnectListener("");
  params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString("NOT A JOB EITHER"));
  EXPECT_TRUE(SClient_Send(client, CCprotocol_ASYNC_SUBMIT_JOB, params, nullptr));
  bool told = false;
  ASSERT_TRUE(Await([&] {
    CCclient_AwaitEvent(listener, 200);
    CCevent_Event e;
    while (CCclient_ReceiveEvent(listener, e)) told = told || (e.type == CCevent_Error && e.errorNumber == 2);
    return told;
  }));
  SClient_CloseConn(listener);

  // A client that is gone before its job ran does not take the job along.
  const std::string out = site->Path() + "/orphaned";
  const pid_t child = ::fork();
  if (child == 0) {
    SClient conn = CCclient_Connect("", 4000, nullptr);
    CCjobBase_Job job = CCjob_CreateDS("sleep 1; echo done > " + out);
    ::_exit(CCclient_SubmitJob(conn, job, true) ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_EQ(WEXITSTATUS(status), 0);
  ASSERT_TRUE(Await([&] { return FileText(out) == "done\n"; }));
  EXPECT_TRUE(CCclient_TestService(client));
}

TEST(Queue, RestrictionsLetNoMoreRunTogetherThanTheirLimit) {
  JobEvents events("serial");
  const std::string log = site->Path() + "/serial";
  std::vector<std::string> ids;
  for (int i = 0; i < 4; ++i) {
    CCjobBase_Job job = CCjob_CreateDS("echo start >> " + log + "; sleep 0.3; echo end >> " + log);
    CCjob_SetSubmitter(job, "serial", "");
    CCjob_AddExecutionLimit(job, 1, "one at a time");
    ASSERT_TRUE(CCjob_Submit(job));
    char id[kNameCap];
    CCjobBase_GetId(job, id);
    ids.push_back(StrIn(id).Str());
    CCjob_Destroy(job);
  }
  ASSERT_TRUE(events.Until([&] { return events.AllEnded(ids); }));
  const std::vector<std::string> lines = Lines(log);
  ASSERT_EQ(lines.size(), 8U);
  for (std::size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(lines[i], i % 2 == 0 ? "start" : "end") << i;
}

// Jobs waiting in a stopped queue are handed out several to an ask once it
// runs, never more than the worker's room: two of high CPU usage at a time
// (-j 2), eight of any usage.
TEST(Queue, AWorkerTakesSeveralJobsAtOnceWithinItsSlots) {
  JobEvents events("slots");
  SClient client = JobEvents::Client();
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueStopped));
  const std::string log = site->Path() + "/slots";
  std::vector<std::string> ids;
  for (int i = 0; i < 12; ++i) {
    const bool high = i % 2 == 0;
    const std::string kind = high ? "h" : "f";
    ids.push_back(Submit("echo +" + kind + " >> " + log + "; sleep 1; echo -" + kind + " >> " + log, "slots", true,
                         [high](CCjobBase_Job job) { CCjob_SetCpuUsage(job, high ? CCtypes_CpuHigh : CCtypes_CpuFree); }));
  }
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueRunning));
  ASSERT_TRUE(events.Until([&] { return events.AllEnded(ids); }));
  int high = 0, all = 0, mostHigh = 0, most = 0;
  for (const std::string& line : Lines(log)) {
    const int step = line[0] == '+' ? 1 : -1;
    all += step;
    high += line[1] == 'h' ? step : 0;
    mostHigh = std::max(mostHigh, high);
    most = std::max(most, all);
  }
  EXPECT_EQ(mostHigh, 2);
  EXPECT_GT(most, 2);
  EXPECT_LE(most, 8);
}

// A server of an older kind knows the first versions of PEEK_JOB and
// JOB_FINISHED only; the client speaks them to it.
TEST(Queue, ClientsFallBackToTheRequestsAnOlderServerKnows) {
  Socket probe = Socket_Listen("127.0.0.1", 0, 256);
  const std::uint16_t port = Socket_LocalPort(probe);
  Socket_Close(probe);
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    SProtocol old = SProtocol_Create(port, 4096, "CCserver");
    SProtocol_SetPort(old, port);  // whatever TV_CCSERVER_PORT says
    const int peek = SProtocol_DefineRequest(old, "PEEK_JOB", 1, 2, true);
    SProtocol_SetParameter(old, peek, 0, SReqObj_Type::String, "hostname");
    SProtocol_SetParameter(old, peek, 1, SReqObj_Type::Integer, "jobTypes");
    const int finished = SProtocol_DefineRequest(old, "JOB_FINISHED", 1, 4, true);
    for (int i : {0, 1, 3}) SProtocol_SetParameter(old, finished, i, SReqObj_Type::String, "text");
    SProtocol_SetParameter(old, finished, 2, SReqObj_Type::Integer, "status", 7);
    SServer s = SServer_Create(old, "127.0.0.1");
    if (::write(pipe[1], "x", 1) != 1 || s == nullptr) ::_exit(3);
    std::string heard;
    for (int n = 0; n < 2;) {
      SServer_Request r;
      if (!SServer_Next(s, 10000, r)) ::_exit(4);
      SReqObj results = SReqObj_CreateArray();
      if (r.request == peek) SReqObj_Append(results, SReqObj_CreateString("TYPE=Inline ID=a-b-c-d INLINE_CMD=x"));
      else heard = std::to_string(SReqObj_GetInteger(SReqObj_Element(r.params, 2)));
      SServer_Reply(r.conn, results);
      SReqObj_Destroy(r.params);
      ++n;
    }
    ::_exit(heard == "2" ? 0 : 5);  // running is 2 in the first version's numbers
  }
  char ready = 0;
  ASSERT_EQ(::read(pipe[0], &ready, 1), 1);
  SClient conn = CCclient_ConnectPort("127.0.0.1", port, 4000, nullptr);
  CCjobBase_Job job = CCclient_PeekJob(conn, "w", CCtypes_AllCpuUsages);
  char error[kTextCap];
  SClient_GetError(conn, error);
  ASSERT_NE(job, nullptr) << error;
  EXPECT_EQ(CCjobBase_GetInlineCmd(job), "x");
  CCjob_Destroy(job);
  EXPECT_TRUE(CCclient_InformJobFinished(conn, "w", "a-b-c-d", CCtypes_Running, 0, ""));
  SClient_CloseConn(conn);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

// A listener that never reads holds no one up: what its line does not take
// waits in the server, and the listener goes once more than the bound (here
// 64 KB) waits. The other listener, reading, loses nothing.
TEST(Queue, AListenerThatStopsReadingHoldsNoOneUpAndGoes) {
  struct SmallBound {  // the server gets its usual bound back, also on failure
    SmallBound() { Restart("64"); }
    ~SmallBound() { Restart(nullptr); }
    static void Restart(const char* kb) {
      kb != nullptr ? ::setenv("TV_PEER_BACKLOG_KB", kb, 1) : ::unsetenv("TV_PEER_BACKLOG_KB");
      StopService(server);
      StartServer();
    }
  } bound;
  SClient client = JobEvents::Client();
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueRunning));
  JobEvents events("slowpeer");
  SClient stuck = CCclient_ConnectListener("");
  double slowest = 0;
  auto timed = [&](const std::function<bool()>& request) {
    const auto start = Clock::now();
    EXPECT_TRUE(request());
    slowest = std::max(slowest, std::chrono::duration<double>(Clock::now() - start).count());
  };
  auto listeners = [&] {
    SReqObj results = nullptr;
    int n = 0;
    timed([&] { return SClient_Send(client, SProtocol_CURRENT_CLIENTS, nullptr, &results); });
    for (std::size_t i = 0; i < SReqObj_Count(SReqObj_Element(results, 0)); ++i)
      n += SReqObj_Bytes(SReqObj_Element(SReqObj_Element(results, 0), i)).find("(Listener)") != std::string::npos;
    SReqObj_Destroy(results);
    return n;
  };
  ASSERT_EQ(listeners(), 2);
  const std::string description(900, 'd');
  std::vector<std::string> ids;
  while (listeners() == 2 && ids.size() < 3000 && slowest < 2.0) {
    timed([&] {
      ids.push_back(Submit("true", "slowpeer", true, [&](CCjobBase_Job job) { CCjobBase_SetDescription(job, description); }));
      CCjobBase_Job job = nullptr;
      CCclient_GetJobInfos(client, ids.back(), job);  // answered, whether the job is still there or not
      CCjob_Destroy(job);
      return true;
    });
    events.Read();
  }
  EXPECT_LT(ids.size(), 3000U) << "the listener that does not read stays";
  EXPECT_LT(slowest, 2.0) << "a request waited for the listener that does not read";
  EXPECT_TRUE(events.Until([&] { return events.AllEnded(ids); }));
  std::cerr << ids.size() << " jobs until dropped, slowest request " << slowest << " s\n";
  SClient_CloseConn(stuck);
}
