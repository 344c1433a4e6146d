// The queue end to end: the client against the real CCserver and CCworker
// (and RMserver for resources), each on a free loopback port of a private
// site. The services are killed and started again where the tests say so.
#include "jobqueue/CCclient.h"

#include <arpa/inet.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
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
    // Jobs of a test that failed half-way end with their worker's directory.
    delete site;
  }
};
const auto* const queue = ::testing::AddGlobalTestEnvironment(new Queue);

// Waits (generously: the machine is busy) until `done` holds, reading events on the way.
bool Await(const std::function<bool()>& done, int seconds = 120) {
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  while (Clock::now() < end)
    if (done()) return true;
  return false;
}

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
  ASSERT_TRUE(Await([&] {
    events.Read();
    return Lines(runs).size() >= 300;
  }));
  StopService(worker, SIGKILL);
  StartWorker();

  std::size_t ended = 0;
  ASSERT_TRUE(Await([&] {
    events.Read();
    ended = 0;
    for (const std::string& id : ids) ended += events.Ended(id) ? 1 : 0;
    return ended == ids.size();
  })) << ended << " of 1000 jobs ended";

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
