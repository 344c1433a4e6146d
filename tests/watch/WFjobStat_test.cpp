// The table of files in the queue: its own bookkeeping, and fed by the
// events of the real queue server (and a worker) of a private site.
#include "watch/WFjobStat.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "base/Argument.h"
#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/TestFiles.h"
#include "watch/TVWbase.h"

namespace {

using Clock = std::chrono::steady_clock;

TempDir* site = nullptr;
int server = -1, worker = -1;

class Queue : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT"}) ChoosePort(port);
    static const char* const args[] = {"WFjobStat_test"};
    Argument_Init(1, args);
    Messages_Init();
    server = StartService("CCserver", "TV_CCSERVER_PORT");
    worker = StartService("CCworker", "TV_CCWORKER_PORT", {"-j", "4"});
  }
  void TearDown() override {
    PutFile(site->Path() + "/go", "");
    SClient_CloseAllConnections();
    StopService(server);
    StopService(worker);
    delete site;
  }
};
const auto* const queue = ::testing::AddGlobalTestEnvironment(new Queue);

bool Await(const std::function<bool()>& done, int seconds = 120) {
  for (const auto end = Clock::now() + std::chrono::seconds(seconds); Clock::now() < end;) {
    WFjobStat_Update();
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

SClient Client() {
  static SClient conn = CCclient_Connect("", 5000, nullptr);
  return conn;
}

std::string Submit(const std::string& submitter, const std::string& addons) {
  CCjobBase_Job job = CCjob_CreateDS("while [ ! -e '" + site->Path() + "/go' ]; do sleep 0.1; done");
  CCjob_SetSubmitter(job, submitter, addons);
  EXPECT_TRUE(CCclient_SubmitJob(Client(), job, false));
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  CCjob_Destroy(job);
  return id;
}

std::string Addons(const std::string& folder, const std::vector<std::string>& files) {
  StrVector list = StrVector_Create();
  for (const std::string& f : files) StrVector_AddElement(list, f);
  TextStr text;
  TVWbase_EncodeJobAddons(folder, "", list, text);
  StrVector_Destroy(list);
  return text;
}

}  // namespace

TEST(WFjobStat, CountsFollowEachFile) {
  WFjobStat_AddFile("/f", "a", WFjobStat_Waiting);
  WFjobStat_AddFile("/f/", "b", WFjobStat_Running);
  WFjobStat_AddFile("/f", "", WFjobStat_Running);
  EXPECT_EQ(WFjobStat_FolderStatus("/f"), WFjobStat_Running);
  WFjobStat_AddFile("/f", "b", WFjobStat_Waiting);
  EXPECT_EQ(WFjobStat_FolderStatus("/f"), WFjobStat_Waiting);
  EXPECT_EQ(WFjobStat_FileStatus("/f", "b"), WFjobStat_Waiting);
  WFjobStat_DeleteFile("/f", "a");
  WFjobStat_DeleteFile("/f", "b");
  EXPECT_EQ(WFjobStat_FolderStatus("/f"), WFjobStat_NotKnown);
  EXPECT_EQ(WFjobStat_FileStatus("/f", "a"), WFjobStat_NotKnown);
}

TEST(WFjobStat, TheTableFollowsTheDemonsJobsInTheQueue) {
  ASSERT_TRUE(CCclient_SetQueueStatus(Client(), CCtypes_QueueStopped));
  // Until the listener is heard, a job of a probe folder is sent again.
  std::vector<std::string> probes;
  ASSERT_TRUE(Await([&] {
    if (WFjobStat_FileStatus("/probe", "p") == WFjobStat_Waiting) return true;
    probes.push_back(Submit(TVWbase_demonName, Addons("/probe", {"p"})));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    WFjobStat_Update();
    return WFjobStat_FileStatus("/probe", "p") == WFjobStat_Waiting;
  }));
  StrVector ids = StrVector_Create();
  for (const std::string& id : probes) StrVector_AddElement(ids, id);
  ASSERT_TRUE(CCclient_JobCommand(Client(), CCprotocol_Delete, ids, false));
  StrVector_Destroy(ids);
  ASSERT_TRUE(Await([] { return WFjobStat_FolderStatus("/probe") == WFjobStat_NotKnown; }));

  // A job of the demon with two files; one of another submitter, and one
  // whose addons can't be read, are passed over.
  const std::string folder = "/hot folder";
  Submit("Other", Addons(folder, {"other.tif"}));
  Submit(TVWbase_demonName, "no files");
  Submit(TVWbase_demonName, Addons(folder, {"a b.tif", "c.tif"}));
  ASSERT_TRUE(Await([&] {
    return WFjobStat_FileStatus(folder, "a b.tif") == WFjobStat_Waiting &&
           WFjobStat_FileStatus(folder, "c.tif") == WFjobStat_Waiting;
  }));
  EXPECT_EQ(WFjobStat_FolderStatus(folder), WFjobStat_Waiting);
  EXPECT_EQ(WFjobStat_FileStatus(folder, "other.tif"), WFjobStat_NotKnown);

  ASSERT_TRUE(CCclient_SetQueueStatus(Client(), CCtypes_QueueRunning));
  ASSERT_TRUE(Await([&] {
    return WFjobStat_FileStatus(folder, "a b.tif") == WFjobStat_Running &&
           WFjobStat_FileStatus(folder, "c.tif") == WFjobStat_Running;
  }));
  EXPECT_EQ(WFjobStat_FolderStatus(folder), WFjobStat_Running);
  PutFile(site->Path() + "/go", "");
  ASSERT_TRUE(Await([&] { return WFjobStat_FolderStatus(folder) == WFjobStat_NotKnown; }));
  EXPECT_EQ(WFjobStat_FileStatus(folder, "a b.tif"), WFjobStat_NotKnown);
}
