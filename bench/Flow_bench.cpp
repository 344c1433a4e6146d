// Files through hot folders, as an installation runs them: the watch demon,
// the queue server, a worker of two slots and the module commands of the
// build tree on a private site.
//
// Latency: a file renamed into a start folder (so complete at once) until
// its job starts, as the queue's job event tells; one file at a time, median
// and 90th percentile. Throughput: 10,000 small files through a workflow of
// three folders (start, check, check, end), files per second; beside it, a
// shell loop that moves the same files through three directories with "mv".
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/FlowSite.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kLatencyFiles = 50;
constexpr int kThroughputFiles = 10000;

std::string directory;
FlowSite* site = nullptr;

void Stop() {
  SClient_CloseAllConnections();
  delete site;
  std::error_code ignored;
  fs::remove_all(directory, ignored);
}

// The site with its services, made once; false when they did not come up.
bool Site() {
  if (site != nullptr) return true;
  std::string pattern = (fs::temp_directory_path() / "Flow_bench-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) std::abort();
  directory = pattern;
  site = new FlowSite(directory);
  std::atexit(Stop);
  static const char* const args[] = {"Flow_bench"};
  Argument_Init(1, args);
  Messages_Init();
  return site->StartWorker(2) && site->StartServer() && site->StartDemon();
}

// Installs the workflow `name` of `description` and starts its folders; its
// start folder, or "" when the install failed.
std::string Workflow(const std::string& name, const std::string& description) {
  const std::string file = site->Path("tmp/" + name + ".wf");
  std::ofstream(file) << description;
  std::string err;
  if (!site->Install(file, name, err)) return "";
  site->StartFolders();
  return site->Path("projects/workflow/" + name);
}

std::size_t Count(const std::string& dir) {
  std::size_t n = 0;
  for (const auto& e : fs::directory_iterator(dir)) n += e.path().filename().string()[0] != '.';
  return n;
}

// Waits up to `minutes` until `dir` holds `n` files.
bool AwaitCount(const std::string& dir, std::size_t n, int minutes) {
  for (const auto end = Clock::now() + std::chrono::minutes(minutes); Clock::now() < end;) {
    if (Count(dir) >= n) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

double Percentile(std::vector<double> values, double p) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1))];
}

void BM_DropToPickup(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the services did not come up");
  const std::string start = Workflow("latency", "start in -> outdir\n");
  if (start.empty()) return state.SkipWithError("the workflow was not installed");
  SClient listener = CCclient_ConnectJobListener("");
  CCclient_SetEventMask(listener, "", "TVWatchD");
  std::vector<double> ms;
  for (auto _ : state) {
    for (int i = 0; i < kLatencyFiles; ++i) {
      const std::string name = "file" + std::to_string(ms.size()) + ".tif";
      const auto dropped = Clock::now();
      site->Drop(start, name);
      bool started = false;
      for (const auto end = dropped + std::chrono::minutes(1); !started && Clock::now() < end;) {
        CCclient_AwaitEvent(listener, 1000);
        CCjobEvent_Event e;
        // The job of this file (its name is in the submitter's addons)
        // running, or already gone.
        while (CCclient_ReceiveJobEvent(listener, e))
          if (!started && e.submitterAddons.find(name) != std::string::npos && (e.status == CCtypes_Running || e.removed)) {
            started = true;
            ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - dropped).count());
          }
      }
      if (!started) return state.SkipWithError("a job did not start");
      if (!AwaitCount(start + "/outdir", ms.size(), 1)) return state.SkipWithError("a file did not arrive");
    }
  }
  SClient_CloseConn(listener);
  state.counters["median_ms"] = Percentile(ms, 0.5);
  state.counters["p90_ms"] = Percentile(ms, 0.9);
}
BENCHMARK(BM_DropToPickup)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// The small files of a run, made in `dir`.
void MakeFiles(const std::string& dir) {
  fs::create_directories(dir);
  for (int i = 0; i < kThroughputFiles; ++i) std::ofstream(dir + "/f" + std::to_string(i) + ".tif") << i;
}

void BM_ThreeFolders(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the services did not come up");
  const std::string start = Workflow("through", "start in -> one\ncheck one -> two\ncheck two -> outdir\n");
  if (start.empty()) return state.SkipWithError("the workflow was not installed");
  const std::string aside = site->Path("tmp/files");
  for (auto _ : state) {
    state.PauseTiming();
    MakeFiles(aside);
    state.ResumeTiming();
    for (const auto& e : fs::directory_iterator(aside)) fs::rename(e.path(), start + "/" + e.path().filename().string());
    if (!AwaitCount(start + "/outdir", kThroughputFiles, 60)) return state.SkipWithError("the files did not arrive");
    state.PauseTiming();
    fs::remove_all(start + "/outdir");
    fs::create_directory(start + "/outdir");
    state.ResumeTiming();
  }
  state.counters["files/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kThroughputFiles,
                                                 benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ThreeFolders)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// The same files moved by a shell loop, one "mv" each, through three directories.
void BM_MvLoopThreeFolders(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the site was not made");
  const std::string base = site->Path("tmp/mv");
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove_all(base);
    MakeFiles(base + "/0");
    for (const char* dir : {"/1", "/2", "/3"}) fs::create_directories(base + dir);
    const std::string script = site->Path("tmp/mv.sh");
    std::ofstream(script) << "cd \"$1\" && for step in 1 2 3; do for f in $((step - 1))/*; do mv \"$f\" $step/; done; done\n";
    state.ResumeTiming();
    if (std::system(("/bin/bash '" + script + "' '" + base + "'").c_str()) != 0)
      return state.SkipWithError("the loop failed");
  }
  state.counters["files/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kThroughputFiles,
                                                 benchmark::Counter::kIsRate);
}
BENCHMARK(BM_MvLoopThreeFolders)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
