// How fast a dialog comes from its catalog: a dialog of 200 fields (100 rows
// of a text field and a number field, with labels) made from the dialog
// catalog, bound to its values, mapped and laid out until the server has
// done the drawing. Target: under 30 ms. Needs an X server in DISPLAY
// (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "base/Messages.h"
#include "bench/BenchSettle.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtEvents.h"
#include "tools/DrfSource.h"

namespace {

constexpr int kRows = 100;  // two fields each

// Writes the catalog "BENCHdlg" below a directory of its own and puts that
// directory first in MARLENV.
bool WriteCatalog() {
  std::ostringstream source;
  source << "template widget Caption [hAlign = 0, hDim = (80, 0)]\ncontext Bench_Fields {\n";
  for (int row = 0; row < kRows; ++row)
    source << "  value " << 2 * row + 1 << " STRING name" << row << " [default = \"row " << row << "\"]\n"
           << "  value " << 2 * row + 2 << " INTEGER count" << row << " [range = (0, 1000)]\n";
  source << "  SHELL [title = \"Bench\"] {\n";
  for (int row = 0; row < kRows; ++row)
    source << "    HBOX { LABEL : Caption [TEXT = \"Field " << row << "\"] TEXTFIELD value " << 2 * row + 1
           << " [columns = 16] TEXTFIELD value " << 2 * row + 2 << " [columns = 5] }\n";
  source << "  }\n}\n";
  IdlgCat_Catalog catalog;
  std::string error;
  std::istringstream in(source.str());
  if (!Drf_ParseSource(in, "bench", catalog, error)) return false;
  const std::string dir = std::filesystem::temp_directory_path() / ("I_bench." + std::to_string(::getpid()));
  std::filesystem::create_directories(dir + "/eng");
  const bool saved = IdlgCat_SaveContextCatOpt(dir + "/eng/BENCHdlg.drf", catalog.contexts, catalog.aobjTemplates,
                                               catalog.robjTemplates);
  const char* env = std::getenv("MARLENV");
  ::setenv("MARLENV", (dir + (env != nullptr ? ":" + std::string(env) : "")).c_str(), 1);
  const bool used = saved && I_UseContextCat("BENCHdlg");
  std::filesystem::remove_all(dir);
  return used;
}

void BM_OpenDialogOf200Fields(benchmark::State& state) {
  Messages_Init();
  I_Init();
  if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); }) || !WriteCatalog()) {
    state.SkipWithError("no X display or no catalog");
    return;
  }
  for (auto _ : state) {
    I_Context dialog = I_Create("Bench_Fields", true);
    WtEvents_ExecuteDeferredActions();
    Bench_Settle();
    state.PauseTiming();
    I_Destroy(dialog);
    Bench_Settle();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_OpenDialogOf200Fields)->Unit(benchmark::kMillisecond);

}  // namespace
BENCHMARK_MAIN();
