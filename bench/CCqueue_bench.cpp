// Jobs per second through the queue: a client submits 10,000 no-op jobs
// ("true", of free CPU usage) to CCserver, a CCworker with two slots (this
// machine's processors) runs them, and a job listener waits until the last
// has left the queue. Against it stands what the machine does with
// "sh -c true" run one after the other, the cost of the command alone; the
// loop prints the queue's rate as a share of its own, and both the load.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <vector>
#include <set>
#include <string>

#include "base/Argument.h"
#include "base/Messages.h"
#include "bench/BenchSite.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/Services.h"

extern char** environ;

namespace {

constexpr int kBatch = 10000;
constexpr int kWaitingJobs = 100000;


std::string directory;
int server = -1, worker = -1;
double queueRate = 0;  // jobs per second of the queue, for the loop's comparison

void Stop() {
  SClient_CloseAllConnections();
  StopService(server);
  StopService(worker);
}

// A private site with the server and a worker of two slots, made once.
bool Site() {
  if (!directory.empty()) return server > 0 && worker > 0;
  directory = Bench_Site("CCqueue_bench", true);
  ::setenv("MARLENV", FLOATDECK_BINARY_DIR "/env", 1);
  ChoosePort("TV_CCSERVER_PORT");
  ChoosePort("TV_CCWORKER_PORT");
  static const char* const args[] = {"CCqueue_bench"};
  Argument_Init(1, args);
  Messages_Init();
  worker = StartService("CCworker", "TV_CCWORKER_PORT", {"-j", "2"});
  server = StartService("CCserver", "TV_CCSERVER_PORT");
  std::atexit(Stop);
  return server > 0 && worker > 0;
}

void BM_QueueNoopJobs(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the queue did not come up");
  SClient client = CCclient_Connect("", 4000, nullptr);
  SClient listener = CCclient_ConnectJobListener("");
  CCclient_SetEventMask(listener, "", "bench");
  CCclient_TestService(client);
  const auto began = std::chrono::steady_clock::now();
  for (auto _ : state) {
    std::set<std::string> open;
    // The listener reads while it submits, as the demon does: a listener that
    // lets its events pile up holds the server up when its line is full.
    const auto readEvents = [&] {
      CCjobEvent_Event e;
      while (CCclient_ReceiveJobEvent(listener, e))
        if (e.removed) open.erase(StrIn(e.id).Str());
    };
    for (int i = 0; i < kBatch; ++i) {
      CCjobBase_Job job = CCjob_Create("true");
      CCjob_SetSubmitter(job, "bench", "");
      CCjob_SetCpuUsage(job, CCtypes_CpuFree);  // a no-op needs no processor of its own
      CCclient_SubmitJob(client, job, true);
      char id[kNameCap];
      CCjobBase_GetId(job, id);
      open.insert(StrIn(id).Str());
      CCjob_Destroy(job);
      if (i % 64 == 63) readEvents();
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(5);
    while (!open.empty() && std::chrono::steady_clock::now() < end) {
      CCclient_AwaitEvent(listener, 1000);
      readEvents();
    }
    if (!open.empty()) return state.SkipWithError("jobs did not end");
  }
  state.counters["jobs/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kBatch,
                                                benchmark::Counter::kIsRate);
  queueRate = static_cast<double>(state.iterations()) * kBatch /
              std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
  state.counters["load"] = Bench_Load();
  SClient_CloseConn(listener);
  SClient_CloseConn(client);
}
BENCHMARK(BM_QueueNoopJobs)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// A job handed to a worker that runs another one already: from the submit
// until the job runs (its event), 50 times one after the other, while a
// long job holds one of the worker's two slots all the while.
void BM_StartBesideARunningJob(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the queue did not come up");
  SClient client = CCclient_Connect("", 4000, nullptr);
  SClient listener = CCclient_ConnectJobListener("");
  CCclient_SetEventMask(listener, "", "beside");
  CCjobBase_Job busy = CCjob_Create("sleep 60");
  CCjob_SetSubmitter(busy, "busy", "");
  CCclient_SubmitJob(client, busy, false);
  std::vector<double> ms;
  for (auto _ : state) {
    for (int i = 0; i < 50; ++i) {
      CCjobBase_Job job = CCjob_Create("true");
      CCjob_SetSubmitter(job, "beside", "");
      const auto submitted = std::chrono::steady_clock::now();
      CCclient_SubmitJob(client, job, false);
      char id[kNameCap];
      CCjobBase_GetId(job, id);
      CCjob_Destroy(job);
      for (bool ended = false; !ended && std::chrono::steady_clock::now() - submitted < std::chrono::seconds(30);) {
        CCclient_AwaitEvent(listener, 100);
        CCjobEvent_Event e;
        while (CCclient_ReceiveJobEvent(listener, e))
          if (StrIn(e.id).View() == StrIn(id).View() && (e.status == CCtypes_Running || e.removed)) ended = true;
      }
      ms.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - submitted).count());
    }
  }
  // The long job goes, so that the slot is free for the other benchmarks.
  StrVector ids = StrVector_Create();
  char id[kNameCap];
  CCjobBase_GetId(busy, id);
  StrVector_AddElement(ids, StrIn(id).Str());
  CCclient_JobCommand(client, CCprotocol_Delete, ids, false);
  StrVector_Destroy(ids);
  CCjob_Destroy(busy);
  std::sort(ms.begin(), ms.end());
  state.counters["median_ms"] = ms[ms.size() / 2];
  state.counters["max_ms"] = ms.back();
  SClient_CloseConn(listener);
  SClient_CloseConn(client);
}
BENCHMARK(BM_StartBesideARunningJob)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// The server's own cost: 100,000 jobs wait in a stopped queue; how long a
// request about one of them and one about the queue take (the slowest of
// 100 each) and its resident memory.
void BM_ServerAt100kWaitingJobs(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the queue did not come up");
  SClient client = CCclient_Connect("", 4000, nullptr);
  CCclient_SetQueueStatus(client, CCtypes_QueueStopped);
  std::vector<std::string> ids;
  for (int i = 0; i < kWaitingJobs; ++i) {
    CCjobBase_Job job = CCjob_Create("true");
    CCjob_SetSubmitter(job, "bench", "");
    CCclient_SubmitJob(client, job, true);
    char id[kNameCap];
    CCjobBase_GetId(job, id);
    ids.push_back(StrIn(id).Str());
    CCjob_Destroy(job);
  }
  CCclient_TestService(client);  // answered once every job is in
  double slowest = 0;
  for (auto _ : state) {
    for (int i = 0; i < 100; ++i) {
      const auto asked = std::chrono::steady_clock::now();
      CCjobBase_Job found = nullptr;
      CCclient_GetJobInfos(client, ids[static_cast<std::size_t>(i) * 997], found);
      CCjobBase_Destroy(found);
      CCclient_GetQueueStatus(client);
      slowest = std::max(slowest, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - asked).count());
    }
  }
  state.counters["status_max_ms"] = slowest;
  state.counters["rss_MB"] = ProcessResidentMegabytes(server);
  // The jobs stay in the stopped queue: the benchmarks after this one need none.
  SClient_CloseConn(client);
}
BENCHMARK(BM_ServerAt100kWaitingJobs)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// The same number of "sh -c true", one after the other.
void BM_ShellTrueLoop(benchmark::State& state) {
  const auto began = std::chrono::steady_clock::now();
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) {
      pid_t pid = 0;
      char sh[] = "sh", c[] = "-c", command[] = "true";
      char* argv[] = {sh, c, command, nullptr};
      if (::posix_spawn(&pid, "/bin/sh", nullptr, nullptr, argv, environ) != 0) return state.SkipWithError("spawn");
      int status = 0;
      ::waitpid(pid, &status, 0);
    }
  }
  state.counters["jobs/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kBatch,
                                                benchmark::Counter::kIsRate);
  state.counters["load"] = Bench_Load();
  // The queue's rate as a share of the loop's of the same run (target 0.9).
  const double loopRate = static_cast<double>(state.iterations()) * kBatch /
                          std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
  if (queueRate > 0) state.counters["queue/loop"] = queueRate / loopRate;
}
BENCHMARK(BM_ShellTrueLoop)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
