// The queue window against a real CCserver holding many jobs:
// - Fill: from CCqueueInt_StartUp to the window drawn with 10,000 queued
//   jobs (target under 1.5 s; the start waits 200 ms for the first events);
// - Flood: while another connection submits 5,000 jobs (5,000 job events),
//   the longest turn of the program's loop, which is how long a click or an
//   expose waits at most (target under 300 ms), and the time until all are shown;
// - Progress: reading the progress files of 200 running jobs and redrawing
//   their column (target under 10 ms).
// Needs an X server in DISPLAY (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "bench/BenchSettle.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCtypes.h"
#include "queuewin/CCqueueInt.h"
#include "queuewin/CCqueueIntRec.h"
#include "tests/support/Services.h"
#include "toolkit/I.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kQueued = 10000, kFlood = 5000, kRunning = 200;

std::string root;
int server = -1;

void Stop() {
  SClient_CloseAllConnections();
  StopService(server);
  std::error_code ignored;
  fs::remove_all(root, ignored);
}

void Submit(SClient conn, int count, const std::string& prefix) {
  for (int i = 0; i < count; ++i) {
    CCjobBase_Job job = CCjob_Create("true");
    CCjob_SetDescription(job, prefix + std::to_string(i));
    CCclient_SubmitJob(conn, job, true);
    CCjobBase_Destroy(job);
  }
  CCclient_TestService(conn);  // every submit is taken when this is answered
}

// A private site with the server alone (no worker: the jobs stay queued), made once.
bool Site() {
  if (!root.empty()) return server > 0;
  root = (fs::temp_directory_path() / ("CCqueueInt_bench." + std::to_string(::getpid()))).string();
  UsePrivateSite(root);
  ::setenv("HOME", root.c_str(), 1);
  fs::create_directories(root + "/lib");
  fs::create_symlink(FLOATDECK_BINARY_DIR "/icons", root + "/lib/icons");
  ChoosePort("TV_CCSERVER_PORT");
  ChoosePort("TV_CCWORKER_PORT");
  static const char* const args[] = {"CCqueueInt_bench"};
  Argument_Init(1, args);
  Processe_Init();
  Messages_Init();
  server = StartService("CCserver", "TV_CCSERVER_PORT");
  std::atexit(Stop);
  if (server <= 0) return false;
  SClient conn = CCclient_Connect("", 4000, nullptr);
  CCclient_SetQueueStatus(conn, CCtypes_QueueStopped);
  Submit(conn, kQueued, "queued ");
  SClient_CloseConn(conn);
  Wt_Initialize();
  if (!WtBase_AssertDisplayOpen()) return false;
  I_Init();
  return true;
}

// Turns of the window's update (what its task does) until `done`, each
// followed by the X events that came; the longest turn in `longest`: while
// a turn runs, a click or an expose waits.
template <class Done>
void Turns(Done done, double& longest) {
  longest = 0;
  while (!done()) {
    const auto start = Clock::now();
    if (CCqueueInt_GotNewData()) CCqueueInt_UpdateView();
    Bench_Settle();
    longest = std::max(longest, std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
}

void NoExit(std::uintptr_t) {}

// The window opened and showing the queued jobs.
void OpenFilled(double& longest) {
  CCqueueInt_StartUp("", NoExit, 0);
  Turns([] { return CCqueueInt_globalHandle->lists.actual.jobs.size() >= kQueued; }, longest);
}

void BM_Fill(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("no site or no display");
  for (auto _ : state) {
    const auto start = Clock::now();
    double longest = 0;
    OpenFilled(longest);
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    CCqueueInt_Exit();
  }
}
BENCHMARK(BM_Fill)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_Flood(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("no site or no display");
  double longest = 0;
  OpenFilled(longest);
  int round = 0;
  for (auto _ : state) {
    const std::size_t target = CCqueueInt_globalHandle->lists.actual.jobs.size() + kFlood;
    const auto start = Clock::now();
    std::thread flood([r = round++] {
      SClient conn = CCclient_Connect("", 4000, nullptr);
      Submit(conn, kFlood, "flood " + std::to_string(r) + " ");
      SClient_CloseConn(conn);
    });
    Turns([&] { return CCqueueInt_globalHandle->lists.actual.jobs.size() >= target; }, longest);
    flood.join();
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    state.counters["longest_turn_ms"] = longest;
  }
  CCqueueInt_Exit();
}
BENCHMARK(BM_Flood)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_Progress(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("no site or no display");
  double longest = 0;
  OpenFilled(longest);
  CCqueueInt_UpdateView();
  // 200 jobs as the worker would run them, each with a progress file.
  for (int i = 0; i < kRunning; ++i) {
    CCqueueInt_Job* job = CCqueueInt_globalHandle->lists.actual.jobs[static_cast<std::size_t>(i)];
    job->status = CCtypes_Running;
    job->progressFile = root + "/tmp/job" + std::to_string(i) + ".progress";
    std::ofstream(job->progressFile) << "page " << i % 40 << " of 40, " << (i % 100) << ".5% done\n";
  }
  Bench_Settle();
  for (auto _ : state) {
    CCqueueInt_UpdateProgress();
    Bench_Settle();
  }
  CCqueueInt_Exit();
}
BENCHMARK(BM_Progress)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
