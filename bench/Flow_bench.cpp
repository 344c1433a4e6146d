// Files through the sample workflow (start, rename, duplicate, switch and
// sort, as scripts/sample.wf describes it), as an installation runs them:
// the watch demon, the queue server, a worker of two slots and the module
// commands of the build tree on a private site. A file has arrived at the
// end when its copy is in the workflow's end directory and the other copy is
// filed by a sort folder (the last step of its road).
//
// (a) Latency: 200 separations dropped one at a time, each when the one
//     before has arrived: drop to arrival, median, 99th percentile, the
//     slowest, and how many took longer than a second; apart from them the
//     first file after the workflow's install.
// (b) Throughput: 10,000 separations dropped at once: files per second from
//     the first drop until the last has arrived; beside it (BM_MvLoop) a
//     shell loop that moves the same files through as many directories as
//     the sample has steps, one "mv" process per move.
// (c) The jobs the queue ran for (b), against files times steps.
// (d) Fairness: while the 10,000 of (b) wait, one file dropped into a second
//     workflow: its drop to arrival; and the first file of the flood: the
//     first drop to its arrival.
// And the demon's own cost with 100,000 files in hand (BM_DemonAt100kWaitingFiles).
// Each reports the machine's load (the one-minute average at its end), and
// the loop the flood's rate against its own (flood_x_loop): figures of runs
// on a busy machine are only comparable side by side.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "bench/BenchSite.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/FlowSite.h"
#include "tests/support/Services.h"
#include "watch/TVWrequest.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kLatencyFiles = 200;
constexpr int kFloodFiles = 10000;
constexpr int kWaitingFiles = 100000;
// The sample's steps: start, rename, duplicate, switch and sort, each a job
// per file.
constexpr int kSteps = 5;

FlowSite* site = nullptr;

void Stop() {
  SClient_CloseAllConnections();
  delete site;
}

// The site with its services, made once; false when they did not come up.
bool Site() {
  if (site != nullptr) return true;
  site = new FlowSite(Bench_Site("Flow_bench"));
  std::atexit(Stop);
  static const char* const args[] = {"Flow_bench"};
  Argument_Init(1, args);
  Messages_Init();
  ::setenv("FLOATDECK_BIN", FLOATDECK_BINARY_DIR "/bin", 1);
  return site->StartWorker(2) && site->StartServer() && site->StartDemon();
}

double floodRate = -1;  // (b)'s files per second, for the loop's comparison

double Ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// The separation number `i`: "job<i/4>_07<ink>.tif", and the name the
// sample's rename scheme gives it, "JOB<i/4>-<ink>08.tif".
std::string Separation(int i) { return "job" + std::to_string(i / 4) + "_07" + "CMYK"[i % 4] + ".tif"; }
std::string Renamed(int i) { return "JOB" + std::to_string(i / 4) + "-" + "cmyk"[i % 4] + "08.tif"; }

// The sample workflow `name`, installed by the demo's script and started.
struct Sample {
  std::string start, outdir;
  std::vector<std::string> sorts;
  bool installed = false;

  explicit Sample(const std::string& name) {
    const std::string projects = site->Path("projects");
    std::string err;
    installed = site->Run({"/bin/bash", FLOATDECK_SOURCE_DIR "/scripts/sample-workflow.sh", projects, name}, err) == 0;
    site->StartFolders();
    start = projects + "/workflow/" + name;
    outdir = start + "/outdir";
    for (const char* n : {"_0", "_1"}) sorts.push_back(projects + "/autofolder/autosort/flow_" + name + n);
  }

  // Whether `renamed` has arrived at both ends.
  bool Arrived(const std::string& renamed) const {
    if (!fs::exists(outdir + "/" + renamed)) return false;
    for (const std::string& sort : sorts)
      for (const auto& sub : fs::directory_iterator(sort))
        if (sub.is_directory() && fs::exists(sub.path() / renamed)) return true;
    return false;
  }
  // How many files the sort folders have filed.
  std::size_t Filed() const {
    std::size_t n = 0;
    for (const std::string& sort : sorts)
      for (const auto& sub : fs::directory_iterator(sort))
        if (sub.is_directory())
          for (const auto& e : fs::directory_iterator(sub.path())) n += e.path().filename().string()[0] != '.';
    return n;
  }
  std::size_t Ended() const {
    std::size_t n = 0;
    for (const auto& e : fs::directory_iterator(outdir)) n += e.path().filename().string()[0] != '.';
    return n;
  }
};

double Percentile(std::vector<double> values, double p) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1) + 0.5)];
}

// The demon's jobs that left the queue, counted by their events.
class JobCount {
 public:
  JobCount() : listener_(CCclient_ConnectJobListener("")) { CCclient_SetEventMask(listener_, "", "TVWatchD"); }
  ~JobCount() { SClient_CloseConn(listener_); }
  // Takes the events, waiting up to `ms` for the first.
  void Take(int ms) {
    CCclient_AwaitEvent(listener_, ms);
    CCjobEvent_Event e;
    while (CCclient_ReceiveJobEvent(listener_, e))
      if (e.removed) ended_.insert(StrIn(e.id).Str());
  }
  std::size_t Ended() const { return ended_.size(); }

 private:
  SClient listener_;
  std::unordered_set<std::string> ended_;
};

void BM_OneFileAtATime(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the services did not come up");
  const Sample wf("single");
  if (!wf.installed) return state.SkipWithError("the workflow was not installed");
  // Drops separation `i` and waits for it: its drop to arrival, or -1.
  const auto carry = [&](int i) {
    const auto dropped = Clock::now();
    site->Drop(wf.start, Separation(i));
    while (!wf.Arrived(Renamed(i))) {
      if (Clock::now() - dropped > std::chrono::minutes(1)) return -1.0;
      std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return Ms(Clock::now() - dropped);
  };
  // The first file after the install may come before the demon has read its
  // new configuration: it then waits for the folder's scan and its quiet
  // time. Shown on its own, not among the lone files.
  const double first = carry(kLatencyFiles);
  std::vector<double> ms;
  for (auto _ : state) {
    for (int i = 0; i < kLatencyFiles; ++i) {
      ms.push_back(carry(i));
      if (ms.back() < 0) return state.SkipWithError("a file did not arrive");
    }
  }
  state.counters["median_ms"] = Percentile(ms, 0.5);
  state.counters["p99_ms"] = Percentile(ms, 0.99);
  state.counters["max_ms"] = *std::max_element(ms.begin(), ms.end());
  state.counters["over_1s"] = static_cast<double>(std::count_if(ms.begin(), ms.end(), [](double m) { return m > 1000; }));
  state.counters["first_after_install_ms"] = first;
  state.counters["load"] = Bench_Load();
}
BENCHMARK(BM_OneFileAtATime)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void BM_Flood(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the services did not come up");
  const Sample flood("flood"), other("other");
  if (!flood.installed || !other.installed) return state.SkipWithError("a workflow was not installed");
  const std::string aside = site->Path("tmp/flood");
  fs::create_directories(aside);
  for (int i = 0; i < kFloodFiles; ++i) std::ofstream(aside + "/" + Separation(i)) << i;
  JobCount jobs;
  double firstMs = -1, otherMs = -1;
  for (auto _ : state) {
    const auto begun = Clock::now();
    for (int i = 0; i < kFloodFiles; ++i) fs::rename(aside + "/" + Separation(i), flood.start + "/" + Separation(i));
    const auto dropped = Clock::now();
    site->Drop(other.start, Separation(0));
    auto counted = begun;
    for (;;) {
      jobs.Take(2);
      const auto now = Clock::now();
      if (now - begun > std::chrono::minutes(30)) return state.SkipWithError("the files did not arrive");
      if (otherMs < 0 && other.Arrived(Renamed(0))) otherMs = Ms(now - dropped);
      if (firstMs < 0 && flood.Filed() > 0) firstMs = Ms(now - begun);
      if (firstMs < 0 || now - counted < std::chrono::milliseconds(250)) continue;
      counted = now;
      if (flood.Filed() < kFloodFiles || flood.Ended() < kFloodFiles || otherMs < 0) continue;
      floodRate = kFloodFiles / (Ms(now - begun) / 1000);
      break;
    }
  }
  state.counters["files/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kFloodFiles,
                                                 benchmark::Counter::kIsRate);
  state.counters["load"] = Bench_Load();
  // Let the last jobs' events come in: the files are there before their jobs end.
  for (const auto end = Clock::now() + std::chrono::seconds(5); Clock::now() < end;) jobs.Take(50);
  state.counters["jobs"] = static_cast<double>(jobs.Ended());
  state.counters["files_x_steps"] = static_cast<double>(kFloodFiles + 1) * kSteps;
  state.counters["first_of_flood_ms"] = firstMs;
  state.counters["other_workflow_ms"] = otherMs;
}
BENCHMARK(BM_Flood)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);


// The demon's own cost: 100,000 files dropped while the queue is stopped,
// so that it holds them all in hand; how long a file status request takes
// (the slowest of 100) and its resident memory. (The server's own cost at
// 100,000 waiting jobs is CCqueue_bench's: here its jobs may still be on
// their way when the demon has handed the last file.)
void BM_DemonAt100kWaitingFiles(benchmark::State& state) {
  if (!Site()) return state.SkipWithError("the services did not come up");
  const Sample wf("waiting");
  if (!wf.installed) return state.SkipWithError("the workflow was not installed");
  SClient queue = CCclient_Connect("", 4000, nullptr);
  CCclient_SetQueueStatus(queue, CCtypes_QueueStopped);
  // Empty: what the services keep of a file does not depend on its size,
  // and empty files go again quickly on a disk that discards freed blocks.
  const std::string aside = site->Path("tmp/waiting");
  fs::create_directories(aside);
  for (int i = 0; i < kWaitingFiles; ++i) std::ofstream(aside + "/w" + std::to_string(i) + ".tif");
  for (int i = 0; i < kWaitingFiles; ++i)
    fs::rename(aside + "/w" + std::to_string(i) + ".tif", wf.start + "/w" + std::to_string(i) + ".tif");
  TVWrequest_Connection demon = TVWrequest_Connect("", 5000);
  const std::string last = wf.start + "/w" + std::to_string(kWaitingFiles - 1) + ".tif";
  for (const auto end = Clock::now() + std::chrono::minutes(10);
       TVWrequest_FileStatus(demon, last, 0) != TVWrequest_InHand && Clock::now() < end;)
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  double demonMs = 0;
  for (auto _ : state) {
    for (int i = 0; i < 100; ++i) {
      const auto asked = Clock::now();
      TVWrequest_FileStatus(demon, wf.start + "/w" + std::to_string(i * 997) + ".tif", 0);
      demonMs = std::max(demonMs, Ms(Clock::now() - asked));
    }
  }
  state.counters["demon_status_max_ms"] = demonMs;
  state.counters["demon_rss_MB"] = ProcessResidentMegabytes(site->DemonPid());
  TVWrequest_CloseConn(demon);
  SClient_CloseConn(queue);
}
BENCHMARK(BM_DemonAt100kWaitingFiles)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// The same files moved by a shell loop, one "mv" each, through as many
// directories as the sample has steps.
void BM_MvLoop(benchmark::State& state) {
  double loopRate = 0;
  if (!Site()) return state.SkipWithError("the site was not made");
  const std::string base = site->Path("tmp/mv");
  const std::string script = site->Path("tmp/mv.sh");
  std::ofstream(script) << "cd \"$1\" && for step in $(seq " << kSteps
                        << "); do for f in $((step - 1))/*; do mv \"$f\" $step/; done; done\n";
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove_all(base);
    for (int step = 0; step <= kSteps; ++step) fs::create_directories(base + "/" + std::to_string(step));
    for (int i = 0; i < kFloodFiles; ++i) std::ofstream(base + "/0/" + Separation(i)) << i;
    state.ResumeTiming();
    const auto begun = Clock::now();
    if (std::system(("/bin/bash '" + script + "' '" + base + "'").c_str()) != 0)
      return state.SkipWithError("the loop failed");
    loopRate = kFloodFiles / (Ms(Clock::now() - begun) / 1000);
  }
  state.counters["files/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kFloodFiles,
                                                 benchmark::Counter::kIsRate);
  state.counters["load"] = Bench_Load();
  if (floodRate > 0) state.counters["flood_x_loop"] = floodRate / loopRate;
}
BENCHMARK(BM_MvLoop)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
