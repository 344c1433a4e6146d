// The queue's order of waiting jobs: what each rule decides against the
// rules after it, and the order in which the real CCserver hands jobs to a
// worker of one slot.
#include "jobqueue/CCorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

CCorder_Key Job(std::int64_t seq, std::uint32_t stage = 0, std::int64_t waitedMs = 0, std::uint32_t running = 0,
                std::uint32_t priority = 0) {
  return {priority, seq, stage, waitedMs, running};
}

TEST(CCorder, PriorityComesBeforeFairShareStageAndAge) {
  const CCorder_Key urgent = Job(9, 0, 0, 5, 3);
  for (const CCorder_Key& other : {Job(1), Job(1, 7), Job(1, 0, 60 * kCCorderAgingMs), Job(1, 0, 0, 0, 2)}) {
    EXPECT_TRUE(CCorder_Before(urgent, other));
    EXPECT_FALSE(CCorder_Before(other, urgent));
  }
}

TEST(CCorder, AFlowWithFewerRunningJobsGoesFirstWhateverItsStage) {
  // The single file of a quiet workflow passes the flood of a busy one.
  const CCorder_Key quiet = Job(5000, 0, 0, 0), flood = Job(1, 4, 30000, 3);
  EXPECT_TRUE(CCorder_Before(quiet, flood));
  EXPECT_FALSE(CCorder_Before(flood, quiet));
}

TEST(CCorder, ALaterStagePassesEarlierArrivalsUntilTheyHaveAgedEnough) {
  // File 1's rename job (stage 1) goes before the start jobs of files 2..n.
  const CCorder_Key rename = Job(100, 1, 0), start = Job(2, 0, 500);
  EXPECT_TRUE(CCorder_Before(rename, start));
  // A start job that has waited longer than a stage's worth passes it.
  const CCorder_Key old = Job(2, 0, kCCorderAgingMs + 1);
  EXPECT_TRUE(CCorder_Before(old, rename));
  EXPECT_FALSE(CCorder_Before(rename, old));
}

TEST(CCorder, EqualReachGoesByArrivalAndTheOrderIsStrict) {
  const CCorder_Key first = Job(1, 1, 0), second = Job(2, 0, kCCorderAgingMs);
  EXPECT_TRUE(CCorder_Before(first, second));
  EXPECT_FALSE(CCorder_Before(second, first));
  EXPECT_FALSE(CCorder_Before(first, first));
}

// Jobs that append their name to `log`, submitted to a stopped queue.
void Submit(SClient client, const std::string& log, const std::string& name, const std::string& flow,
            std::uint32_t stage, std::uint32_t priority = 0) {
  CCjobBase_Job job = CCjob_Create("echo " + name + " >> '" + log + "'");
  CCjob_SetSubmitter(job, "order", "");
  CCjob_SetCpuUsage(job, CCtypes_CpuHigh);
  CCjobBase_SetFlow(job, flow);
  CCjobBase_SetStage(job, stage);
  CCjobBase_SetPriority(job, priority);
  ASSERT_TRUE(CCclient_SubmitJob(client, job, false));
  CCjob_Destroy(job);
}

TEST(CCorder, TheServerHandsOutByPriorityThenStageThenArrival) {
  TempDir site;
  UsePrivateSite(site.Path());
  ::unsetenv("CCJOB_EMPLOYER");
  for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT"}) ChoosePort(port);
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  Messages_Init();
  int worker = StartService("CCworker", "TV_CCWORKER_PORT", {"-j", "1"});
  int server = StartService("CCserver", "TV_CCSERVER_PORT");
  ASSERT_GT(worker, 0);
  ASSERT_GT(server, 0);
  SClient client = CCclient_Connect("", 4000, nullptr);
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueStopped));
  const std::string log = site.Path() + "/order.log";
  Submit(client, log, "a1", "a", 0);
  Submit(client, log, "a2", "a", 0);
  Submit(client, log, "a3", "a", 2);
  Submit(client, log, "b1", "b", 0);
  Submit(client, log, "urgent", "a", 0, 5);
  Submit(client, log, "other", "", 1);
  ASSERT_TRUE(CCclient_SetQueueStatus(client, CCtypes_QueueRunning));
  std::vector<std::string> order;
  for (const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
       order.size() < 6 && std::chrono::steady_clock::now() < end;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    order.clear();
    std::ifstream in(log);
    for (std::string line; std::getline(in, line);) order.push_back(line);
  }
  // One slot: each pick finds nothing running, so the fair share ties.
  EXPECT_EQ(order, (std::vector<std::string>{"urgent", "a3", "other", "a1", "a2", "b1"}));
  SClient_CloseAllConnections();
  StopService(server);
  StopService(worker);
}

}  // namespace
