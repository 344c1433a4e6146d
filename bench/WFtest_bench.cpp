// How fast the checks before an install are, on workflows in memory:
//   Workflow200   a start, a switch of eight outs and eight chains of 24
//                 renames, each ending in a sort folder (202 folders)
//   Diamonds20    a ladder of 20 diamonds: each duplicate sends to two
//                 renames that both send to the next duplicate, so the last
//                 folder is reached on 2^20 paths
// Both pass every check; "folders" counts the workflow's folders.
#include <benchmark/benchmark.h>

#include <string>

#include "base/Messages.h"
#include "bench/BenchSite.h"
#include "workflow/WFtest.h"

namespace {

constexpr WFfolder_FolderKind kRename = 29, kDuplicate = 31, kSwitch = 32, kSort = 44;

// The site, and the modules the check reads, once.
bool Site() {
  Bench_Site("WFtest_bench", true);
  Messages_Init();
  WFtest_Init();
  return true;
}

WFfolder NewFolder(WFbase workflow, WFfolder_FolderKind kind) {
  PathStr path;
  WFbase_BuildFolderPath(workflow, kind, nullptr, path);
  return WFbase_CreateFolder(workflow, kind, SAutoRcF_Create(), path, false);
}

WFbase Workflow200() {
  WFbase workflow = WFbase_CreateWorkflow("bench", false);
  WFfolder fork = NewFolder(workflow, kSwitch);
  WFfolder_SetStringOpt(fork, "MODE", "3");
  WFfolder_SetStringOpt(fork, "OUTDIRCOUNT", "8");
  WFfolder_SetOutFolder(WFbase_StartFolder(workflow), 1, fork);
  for (std::uint32_t b = 1; b <= 8; ++b) {
    WFfolder previous = fork;
    for (int i = 0; i <= 24; ++i) {
      WFfolder next = NewFolder(workflow, i < 24 ? kRename : kSort);
      WFfolder_SetOutFolder(previous, previous == fork ? b : 1, next);
      previous = next;
    }
  }
  return workflow;
}

WFbase Diamonds(int count) {
  WFbase workflow = WFbase_CreateWorkflow("bench", false);
  WFfolder join = NewFolder(workflow, kDuplicate);
  WFfolder_SetOutFolder(WFbase_StartFolder(workflow), 1, join);
  for (int i = 0; i < count; ++i) {
    WFfolder next = NewFolder(workflow, i + 1 < count ? kDuplicate : kSort);
    for (std::uint32_t side = 1; side <= 2; ++side) {
      WFfolder rename = NewFolder(workflow, kRename);
      WFfolder_SetOutFolder(join, side, rename);
      WFfolder_SetOutFolder(rename, 1, next);
    }
    join = next;
  }
  return workflow;
}

void Run(benchmark::State& state, WFbase (*make)()) {
  static const bool site = Site();
  (void)site;
  WFbase workflow = make();
  bool passed = true;
  for (auto _ : state) passed = WFtest_CheckWorkflow(nullptr, workflow) && passed;
  if (!passed) state.SkipWithError("the workflow did not pass");
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  int folders = 0;
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) ++folders;
  WFbase_DestroyFolderList(list);
  state.counters["folders"] = folders;
  WFbase_DestroyWorkflow(workflow);
}

void BM_Workflow200(benchmark::State& state) { Run(state, Workflow200); }
BENCHMARK(BM_Workflow200)->Unit(benchmark::kMillisecond);

void BM_Diamonds20(benchmark::State& state) {
  Run(state, [] { return Diamonds(20); });
}
BENCHMARK(BM_Diamonds20)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
