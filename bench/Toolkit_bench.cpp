// How fast the toolkit puts a big dialog on the screen: a shell of 500
// widgets (100 rows of a label, a text field, a toggle and a button) made,
// mapped and laid out; and a full exposure of it, from the map request until
// every widget has drawn and the server has done the drawing. Needs an X
// server in DISPLAY (scripts/bench.sh starts one) large enough to show the
// whole dialog.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/BenchSettle.h"
#include "toolkit/CWHVBox.h"
#include "toolkit/CWIOFld.h"
#include "toolkit/CWLabel.h"
#include "toolkit/CWPush.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWToggle.h"
#include "toolkit/SAttribs.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtEvents.h"

namespace {

constexpr int kRows = 100;  // 4 widgets and their row box each: 500 widgets

Widget Make(Widget parent, Classes_ClassPtr cls, SAttribs attrs = nullptr) {
  Widget w = Wt_CreateWidget(parent, cls, attrs);
  SAttribs_Destroy(attrs);
  return w;
}

Widget BuildShell() {
  Widget shell = Make(nullptr, CWShell_class);
  for (int row = 0; row < kRows; ++row) {
    Widget box = Make(shell, CWHVBox_class);
    SAttribs text = nullptr;
    SAttribs_AddString(text, "TEXT", std::to_string(row));
    Make(box, CWLabel_class, text);
    Make(box, CWIOFld_class);
    Make(box, CWToggle_class);
    Make(box, CWPush_class);
  }
  return shell;
}

bool Ready(benchmark::State& state) {
  Wt_Initialize();
  if (WtBase_AssertDisplayOpen()) return true;
  state.SkipWithError("no X display");
  return false;
}

void BM_CreateMapAndLayOut500(benchmark::State& state) {
  if (!Ready(state)) return;
  for (auto _ : state) {
    Widget shell = BuildShell();
    CWShell_Popup(shell, 0);
    WtEvents_ExecuteDeferredActions();
    W_Sync(false);
    state.PauseTiming();
    Bench_Settle();
    Wt_DestroyWidget(shell);
    Bench_Settle();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_CreateMapAndLayOut500)->Unit(benchmark::kMillisecond);

void BM_FullExposure500(benchmark::State& state) {
  if (!Ready(state)) return;
  Widget shell = BuildShell();
  CWShell_Popup(shell, 0);
  Bench_Settle();
  for (auto _ : state) {
    state.PauseTiming();
    CWCore_UnmapWindow(shell);
    Bench_Settle();
    state.ResumeTiming();
    CWCore_MapWindow(shell);
    Bench_Settle();
  }
  Wt_DestroyWidget(shell);
  Bench_Settle();
}
BENCHMARK(BM_FullExposure500)->Unit(benchmark::kMillisecond);

}  // namespace
BENCHMARK_MAIN();
