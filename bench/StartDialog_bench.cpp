// The start folder's dialog opened by a click in the main window's graph in
// edit mode, on a site with one workflow (start, log folder, end): from the
// click (a press and release of button 1 on the start's icon, through XTest)
// to the dialog mapped and drawn, the first time in the process (target
// under 100 ms) and again (target under 20 ms). The dialog is cancelled at
// once each time. Needs an X server in DISPLAY (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "bench/BenchSettle.h"
#include "manager/Floatdeck.h"
#include "manager/FloatdeckWin.h"
#include "manager/WFshow.h"
#include "tests/support/Services.h"
#include "toolkit/CWShell.h"
#include "toolkit/Ibase.h"
#include "toolkit/WtBase.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// A private site with the workflow "alpha" shown in edit mode; false when
// it could not be made.
bool MakeSite(const std::string& root) {
  UsePrivateSite(root);
  ::setenv("HOME", root.c_str(), 1);
  fs::create_directories(root + "/lib");
  fs::create_symlink(FLOATDECK_BINARY_DIR "/icons", root + "/lib/icons");
  std::ofstream(root + "/alpha.wf") << "start in -> lg\nlog lg -> outdir\n";
  const std::string install = FLOATDECK_BINARY_DIR "/bin/wfinstall -n -w alpha " + root + "/alpha.wf >/dev/null 2>&1";
  if (std::system(install.c_str()) != 0) return false;
  Floatdeck_InitModules();
  Messages_UseMsgCat("FLOATDECKmsg");
  I_UseContextCat("FLOATDECKdlg");
  if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); }) || !Floatdeck_Init("alpha")) return false;
  Floatdeck_UpdateListGroup();
  I_Activate(Floatdeck_data->main);
  Bench_Settle();
  WFshow_SetMode(Floatdeck_data->view, WFshow_kEditMode);
  Bench_Settle();
  return true;
}

class Site {
 public:
  Site() : root_(fs::temp_directory_path() / ("StartDialog_bench." + std::to_string(::getpid()))) {
    fs::create_directories(root_);
    ok_ = MakeSite(root_);
    user_ = XOpenDisplay(nullptr);
  }
  ~Site() {
    if (user_ != nullptr) XCloseDisplay(user_);
    Floatdeck_Destroy();
    fs::remove_all(root_);
  }
  bool ok() const { return ok_ && user_ != nullptr; }
  Display* user() const { return user_; }

 private:
  std::string root_;
  bool ok_ = false;
  Display* user_ = nullptr;
};

Site& TheSite() {
  static Site site;
  return site;
}

// The moment the dialog was drawn, found by a task that looks every
// millisecond while the dialog runs, and then cancels it.
Clock::time_point shown;
void WatchDialog(std::uintptr_t) {
  for (I_Context c = Ibase_contexts; c != nullptr; c = c->next)
    if (c->active && SIdPool_IdText(c->def->name).Str() == "FEautost" &&
        static_cast<CWShell>(c->rootWidget)->exposed) {
      shown = Clock::now();
      I_Deactivate(c);
      return;
    }
  I_RescheduleTask(1);
}

// A click on the middle of the start folder's icon, by the graph's geometry.
void ClickStart(Display* user) {
  WFshow_View view = Floatdeck_data->view;
  int column = 0, row = 0, firstColumn = 0, firstRow = 0;
  WFshow_GetCell(view, WFbase_StartFolder(Floatdeck_data->current), column, row);
  WFshow_GetFirst(view, firstColumn, firstRow);
  const int x = (column - firstColumn) * WFshow_kColPitch + WFshow_kLeftMargin + WFshow_kCellBox / 2;
  const int y = WFshow_GetPanelHeight(view) + (row - firstRow) * WFshow_kRowPitch + 1 + WFshow_kCellBox / 2;
  const Widget graph = I_AccessWidget(Floatdeck_data->main, WFshow_mainElements.draw);
  int rootX = 0, rootY = 0;
  Window child;
  XTranslateCoordinates(user, graph->window, DefaultRootWindow(user), x, graph->height - 1 - y, &rootX, &rootY,
                        &child);
  XTestFakeMotionEvent(user, -1, rootX, rootY, 0);
  XTestFakeButtonEvent(user, 1, True, 0);
  XTestFakeButtonEvent(user, 1, False, 0);
  XFlush(user);
}

// One click to the dialog drawn: the time it took, in seconds; -1 when it
// did not open within 10 s.
double OpenOnce() {
  shown = Clock::time_point{};
  I_ScheduleTask(1, WatchDialog, 0);
  const Clock::time_point start = Clock::now();
  ClickStart(TheSite().user());
  while (shown == Clock::time_point{} && Clock::now() - start < std::chrono::seconds(10))
    I_SingleEventLoopIteration();
  Bench_Settle();
  return shown == Clock::time_point{} ? -1 : std::chrono::duration<double>(shown - start).count();
}

void BM_ClickToStartDialog(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  for (auto _ : state) {
    const double seconds = OpenOnce();
    if (seconds < 0) return state.SkipWithError("the dialog did not open");
    state.SetIterationTime(seconds);
  }
}
// The first registered runs first: the first dialog of the process.
BENCHMARK(BM_ClickToStartDialog)
    ->Name("BM_ClickToStartDialogFirst")
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ClickToStartDialog)->Name("BM_ClickToStartDialogAgain")->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
