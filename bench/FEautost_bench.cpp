// How long the start folder's demon entry takes to change in a large site's
// configuration of 5,000 entries (target: below 100 ms): under the lock,
// loaded, the entry found or put at the head, saved, unlocked. The demon is
// not running, and is not started. Reported per update, for an entry that
// exists (near the end of the file) and for a new one that is removed again.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "base/Argument.h"
#include "bench/BenchSite.h"
#include "frontends/FEautost.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbase.h"

namespace {

constexpr int kEntries = 5000;

// A private site with a configuration of kEntries start folders.
void Site() {
  static bool made = false;
  if (made) return;
  made = true;
  const std::string& directory = Bench_Site("FEautost_bench", true);
  for (const char* dir : {"/projects/workflow", "/env"}) std::filesystem::create_directories(directory + dir);
  // The site's demon configuration, the build's catalogs.
  ::setenv("MARLENV", (directory + "/env:" FLOATDECK_BINARY_DIR "/env").c_str(), 1);
  ::setenv("PATH", "/usr/bin:/bin", 1);
  static const char* const args[] = {"FEautost_bench"};
  Argument_Init(1, args);
  FEautost_Init();
  WFbase_SetFeedback(false);
  AutoMisc_SetFeedback(false);
  AutoMisc_AllowDemonStart(false);
  TVWcfg_List list = nullptr;
  for (int i = 0; i < kEntries; ++i) {
    PathStr key;
    FEautost_GetDefaultStartdir("Customer " + std::to_string(i) + " Gravure Job", key);
    TVWcfg_Entry* entry = FEautost_AddToTVWcfgList(list, key);
    Strings_Assign("<images>", entry->files);
    entry->subdirs = i % 2 == 0;
  }
  if (!TVWcfg_SaveConfiguration(list)) std::abort();
  TVWcfg_Destroy(list);
}

TVWcfg_Activity Always() {
  TVWcfg_Activity always;
  TVWcfg_InitActivity(true, always);
  return always;
}

void BM_UpdateExistingEntry(benchmark::State& state) {
  Site();
  const TVWcfg_Activity always = Always();
  bool subdirs = false;
  for (auto _ : state) {
    subdirs = !subdirs;
    if (!FEautost_UpdateTVWcfg("Customer 3 Gravure Job", "<images>", "", subdirs, false, false, 0, always, 120)) {
      state.SkipWithError("the configuration could not be changed");
    }
  }
}
BENCHMARK(BM_UpdateExistingEntry)->Unit(benchmark::kMillisecond);

void BM_AddAndRemoveEntry(benchmark::State& state) {
  Site();
  const TVWcfg_Activity always = Always();
  for (auto _ : state) {
    if (!FEautost_UpdateTVWcfg("new", "^[^\\.]", "", false, false, false, 0, always, 60)) {
      state.SkipWithError("the configuration could not be changed");
    }
    state.PauseTiming();
    FEautost_DeleteInTVWcfg("new");
    state.ResumeTiming();
  }
}
BENCHMARK(BM_AddAndRemoveEntry)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
