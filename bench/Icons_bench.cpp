// How long the graph takes to load its icons at start, as it does: every
// module kind's icon and its grey "@" form, the user-defined component's,
// the trash can, the stop and cluster marks, through W_ReadPixmapFile from
// the installation's icons. Needs an X server in DISPLAY (scripts/bench.sh
// starts one) and the icons of the build tree (built with everything).
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "toolkit/W.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "workflow/WFmodule.h"

namespace {

std::vector<std::string> GraphIcons() {
  std::vector<std::string> names;
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    char name[kNameCap];
    WFmodule_GetIcon(kind, name);
    names.push_back(name);
    names.push_back(std::string(name) + "@");
  }
  for (const char* extra : {"AutoUDef.pxm", "AutoUDef.pxm@", "WFtrash.pxm", "stoptiny.pxm", "WFcluster.pxm"})
    names.push_back(extra);
  return names;
}

void BM_LoadGraphIcons(benchmark::State& state) {
  Wt_Initialize();
  if (!WtBase_AssertDisplayOpen()) {
    state.SkipWithError("no X display");
    return;
  }
  const std::vector<std::string> names = GraphIcons();
  std::vector<W_Pixmap> loaded;
  for (auto _ : state) {
    for (const std::string& name : names) {
      int width, height;
      loaded.push_back(W_ReadPixmapFile(name, width, height));
    }
    W_Sync(false);
    state.PauseTiming();
    for (W_Pixmap p : loaded) W_FreePixmap(p);
    loaded.clear();
    W_Sync(false);
    state.ResumeTiming();
  }
  state.counters["icons"] = static_cast<double>(names.size());
}
BENCHMARK(BM_LoadGraphIcons)->Unit(benchmark::kMillisecond);

}  // namespace
BENCHMARK_MAIN();
