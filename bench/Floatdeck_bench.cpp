// The main window on a site of 200 workflows (each a start folder, a log
// folder and the end, installed by wfinstall; 40 of them in groups):
// - from Floatdeck_Init to the first complete drawing of the window (target
//   under 500 ms);
// - the round over all workflows that the window runs every 30 s: their
//   states from their start folders, the groups, the demon (target under
//   150 ms).
// Needs an X server in DISPLAY (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/Messages.h"
#include "bench/BenchSettle.h"
#include "manager/Floatdeck.h"
#include "manager/FloatdeckWin.h"
#include "tests/support/Services.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtBase.h"
#include "workflow/WFgroup.h"

namespace {

namespace fs = std::filesystem;

constexpr int kWorkflows = 200;

std::string Name(int i) {
  char name[16];
  std::snprintf(name, sizeof name, "wf%03d", i);
  return name;
}

// A private site of 200 workflows; false when one could not be installed.
bool MakeSite(const std::string& root) {
  UsePrivateSite(root);
  ::setenv("HOME", root.c_str(), 1);
  fs::create_directories(root + "/lib");
  fs::create_symlink(FLOATDECK_BINARY_DIR "/icons", root + "/lib/icons");
  const std::string description = root + "/small.wf";
  std::ofstream(description) << "start in -> lg\nlog lg -> outdir\n";
  for (int i = 0; i < kWorkflows; ++i) {
    const std::string command = FLOATDECK_BINARY_DIR "/bin/wfinstall -n -w " + Name(i) + " " + description +
                                " >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return false;
  }
  Floatdeck_InitModules();
  Messages_UseMsgCat("FLOATDECKmsg");
  I_UseContextCat("FLOATDECKdlg");
  WFgroup_AssertGroup("Cartons");
  for (int i = 0; i < kWorkflows; i += 5) WFgroup_SetGroup(Name(i), "Cartons");
  return Messages_Quietly([] { return WtBase_AssertDisplayOpen(); });
}

class Site {
 public:
  Site() : root_(fs::temp_directory_path() / ("Floatdeck_bench." + std::to_string(::getpid()))) {
    fs::create_directories(root_);
    ok_ = MakeSite(root_);
  }
  ~Site() { fs::remove_all(root_); }
  bool ok() const { return ok_; }

 private:
  std::string root_;
  bool ok_ = false;
};

Site& TheSite() {
  static Site site;
  return site;
}

// What the program does at its start, up to the window drawn.
void OpenWindow() {
  Floatdeck_Init("wf100");
  Floatdeck_UpdateListGroup();
  I_Activate(Floatdeck_data->main);
  Floatdeck_UpdateDemonState();
  Floatdeck_StartIdleTasks(3000);
  WtEvents_ExecuteDeferredActions();
  Bench_Settle();
}

void BM_StartToFirstDrawing(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  for (auto _ : state) {
    OpenWindow();
    state.PauseTiming();
    Floatdeck_Destroy();
    Bench_Settle();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_StartToFirstDrawing)->Unit(benchmark::kMillisecond);

void BM_RoundOverAllWorkflows(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  OpenWindow();
  for (auto _ : state) {
    Floatdeck_IdleTaskAll(0);
    Bench_Settle();
  }
  Floatdeck_Destroy();
}
BENCHMARK(BM_RoundOverAllWorkflows)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
