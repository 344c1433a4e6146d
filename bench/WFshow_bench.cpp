// How fast the graph view of the main window is, on a workflow of 200
// folders in a private site: a start, a switch of eight outs and eight
// chains of 24 renames, each ending in a sort folder; every folder but the
// start holds 100 waiting files (about 20,000 in all).
//   LayoutAndDraw    the layout of the graph on the grid and a full drawing
//                    of it in the main window at 1600 by 1200, until the
//                    server has done the drawing
//   StatusRound      one round of status (WFshow_UpdateStatus) when nothing
//                    changed; "drawn" counts the drawing calls (none)
// Needs an X server in DISPLAY (scripts/bench.sh starts one) and the build
// tree's catalogs and icons (MARLLIB is the build tree, as for a program in
// it).
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/BenchSettle.h"
#include "bench/BenchSite.h"
#include "base/Messages.h"
#include "manager/WFshow.h"
#include "manager/WFshowRec.h"
#include "manager/WFstatus.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtDraw.h"
#include "watch/TVWcfg.h"

namespace {

namespace fs = std::filesystem;

constexpr int kBranches = 8, kChain = 24, kFilesEach = 100;

struct Setting {
  std::string root;
  I_Context main = nullptr;
  WFshow_View view = nullptr;
  WFbase workflow = nullptr;
  bool ready = false;
};

WFfolder NewFolder(WFbase workflow, WFfolder_FolderKind kind) {
  PathStr path;
  WFbase_BuildFolderPath(workflow, kind, nullptr, path);
  WFfolder folder = WFbase_CreateFolder(workflow, kind, SAutoRcF_Create(), path, false);
  WFfolder_SetDefaultParams(folder);
  return folder;
}

// Start, a switch of eight outs, eight chains of renames ending in a sort.
WFbase MakeWorkflow() {
  WFbase workflow = WFbase_CreateWorkflow("bench", false);
  WFfolder fork = NewFolder(workflow, 32);
  WFfolder_SetStringOpt(fork, "MODE", "3");
  WFfolder_SetStringOpt(fork, "OUTDIRCOUNT", std::to_string(kBranches));
  WFfolder_SetStringOpt(fork, "INKRANGES", "0,10,20,30,40,50,60,70,80");
  WFfolder_SetOutFolder(WFbase_StartFolder(workflow), 1, fork);
  for (int b = 1; b <= kBranches; ++b) {
    WFfolder previous = fork;
    for (int i = 0; i <= kChain; ++i) {
      WFfolder next = NewFolder(workflow, i < kChain ? 29 : 44);
      WFfolder_SetOutFolder(previous, previous == fork ? static_cast<std::uint32_t>(b) : 1, next);
      previous = next;
    }
  }
  return workflow;
}

void Fill(WFbase workflow) {
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList e = list; e != nullptr; e = e->next) {
    PathStr path;
    WFfolder_GetPath(e->folder, path);
    const std::string dir = StrIn(path).Str();
    fs::remove(dir + "/" + TVWcfg_omitMark);
    if (WFfolder_Kind(e->folder) == kWFfolderStart || WFfolder_InvisibleEnd(e->folder)) continue;
    for (int f = 0; f < kFilesEach; ++f) std::ofstream(dir + "/job" + std::to_string(f) + ".tif") << "x";
  }
  WFbase_DestroyFolderList(list);
}

Setting& Set() {
  static Setting s;
  if (!s.root.empty()) return s;
  s.root = Bench_Site("WFshow_bench", true);
  ::setenv("TV_CCSERVER_PORT", "1", 1);  // no queue server to ask
  Messages_Init();
  WFstatus_Init();
  Wt_Initialize();
  if (!WtBase_AssertDisplayOpen()) return s;
  I_Init();
  Messages_UseMsgCat("FLOATDECKmsg");
  I_UseContextCat("FLOATDECKdlg");
  s.main = I_Create("Floatdeck", true);
  auto shell = static_cast<CWShell>(I_AccessWidget(s.main, -1));
  while (!shell->exposed) Bench_Settle();
  W_ResizeWindow(shell->outerWindow, 1600, 1200);
  while (shell->width != 1600) Bench_Settle();
  WFshow_InitIcons();
  s.view = WFshow_CreateAndAttach(s.main, WFshow_mainElements);
  s.workflow = MakeWorkflow();
  s.ready = WFbase_InstallWorkflow(s.workflow);
  Fill(s.workflow);
  WFshow_Show(s.view, s.workflow);
  Bench_Settle();
  return s;
}

// The drawing calls on the graph's window while a round runs.
int drawn = 0;
W_Window watched = 0;
decltype(W_DrawSegments) segments = nullptr;
decltype(W_FillRectangle) fill = nullptr;

void BM_LayoutAndDraw(benchmark::State& state) {
  Setting& s = Set();
  if (!s.ready) {
    state.SkipWithError("no X display or no site");
    return;
  }
  const Widget draw = s.view->draw;
  for (auto _ : state) {
    WFshow_SetWorkflowCells(s.view);
    WFshow_SetMinMaxValues(s.view);
    WtDraw_RedrawWidgetDirect(draw);
    W_Sync(false);
  }
  state.counters["cells"] = static_cast<double>(s.view->cells.size());
  state.counters["width"] = draw->width;
  state.counters["height"] = draw->height;
  Bench_Settle();
}
BENCHMARK(BM_LayoutAndDraw)->Unit(benchmark::kMillisecond);

void BM_StatusRound(benchmark::State& state) {
  Setting& s = Set();
  if (!s.ready) {
    state.SkipWithError("no X display or no site");
    return;
  }
  bool changed = false;
  WFshow_UpdateStatus(s.view, changed);
  Bench_Settle();
  watched = s.view->draw->window;
  segments = W_DrawSegments;
  fill = W_FillRectangle;
  W_DrawSegments = [](W_Drawable d, W_GC gc, const W_Segment* list, int n) {
    drawn += d == watched;
    segments(d, gc, list, n);
  };
  W_FillRectangle = [](W_Drawable d, W_GC gc, int x, int y, int w, int h) {
    drawn += d == watched;
    fill(d, gc, x, y, w, h);
  };
  drawn = 0;
  for (auto _ : state) {
    WFshow_UpdateStatus(s.view, changed);
    W_Sync(false);
  }
  W_InitForX11();
  state.counters["drawn"] = drawn;
  state.counters["changed"] = changed;
}
BENCHMARK(BM_StatusRound)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  Setting& s = Set();
  WFshow_Show(s.view, nullptr);
  WFshow_Destroy(s.view);
  WFbase_DestroyWorkflow(s.workflow);
  I_Destroy(s.main);
  return 0;
}
