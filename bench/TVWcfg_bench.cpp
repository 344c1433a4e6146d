// How fast the demon's folder table loads and saves at the size of a large
// site: 10,000 folders, as workflows install them (start folders watching
// images with their sub-folders, module folders with their commands, some
// with activity times and fields of newer demons). Reported as folders per
// second; the loads run with and without compiling the file patterns.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <random>
#include <string>

#include "bench/BenchSite.h"
#include "watch/TVWcfg.h"

namespace {

constexpr int kFolders = 10000;

// Makes the site once: a private configuration directory and the table.
void Site() {
  static bool made = false;
  if (made) return;
  made = true;
  const std::string& directory = Bench_Site("TVWcfg_bench");
  ::setenv("MARLENV", directory.c_str(), 1);
  ::setenv("TV_PROJECTS", (directory + "/projects").c_str(), 1);
  TVWcfg_Init();

  std::mt19937 random(5);
  const char* commands[] = {"autorenm.sh", "AutoSwch", "readyForCheck.sh", "AutoSort", "autorip.sh", "AutoComb"};
  TVWcfg_List list = nullptr;
  for (int i = 0; i < kFolders; ++i) {
    TVWcfg_Entry* e = TVWcfg_CreateEntry();
    const std::string workflow = "Customer " + std::to_string(i / 8) + " Gravure Job";
    if (i % 8 == 0) {
      Strings_Assign(directory + "/projects/workflow/" + workflow, e->folder);
      e->subdirs = true;
      Strings_Assign(std::string("outdir,error,") + TVWcfg_toOmit, e->omit);
      Strings_Assign("<images>", e->files);
      Strings_Assign("<image_addons>", e->omitFiles);
      Strings_Assign("autostart.sh", e->cmd);
      Strings_Assign("AutoStart", e->readableCmd);
      TVWcfg_StrToActivity("0-59 6-22 * * 1-5", e->activity);
    } else {
      Strings_Assign(directory + "/projects/autofolder/" + workflow + "/step" + std::to_string(i % 8), e->folder);
      Strings_Assign(StrIn::C(commands[random() % 6]), e->cmd);
      Strings_Assign(".autorenmrc", e->options);
      e->silence = 5;
    }
    e->highCpu = i % 3 == 0;
    if (i % 5 == 0) {
      auto* extra = new TVWcfg_ExtraField{nullptr, "TIMEOUT=3600"};
      e->extraFields = extra;
    }
    TVWcfg_AppendEntry(list, e);
  }
  if (!TVWcfg_SaveConfiguration(list)) std::abort();
  TVWcfg_Destroy(list);
}

void Load(benchmark::State& state, bool compile) {
  Site();
  for (auto _ : state) {
    TVWcfg_List list = nullptr;
    TVWcfg_LoadConfiguration(compile, list);
    if (TVWcfg_error != 0 || list == nullptr) state.SkipWithError("load failed");
    TVWcfg_Destroy(list);
  }
  state.counters["folders/s"] = benchmark::Counter(static_cast<double>(state.iterations() * kFolders),
                                                   benchmark::Counter::kIsRate);
}

void BM_Load(benchmark::State& state) { Load(state, false); }
void BM_LoadCompiled(benchmark::State& state) { Load(state, true); }

void BM_Save(benchmark::State& state) {
  Site();
  TVWcfg_List list = nullptr;
  TVWcfg_LoadConfiguration(false, list);
  for (auto _ : state)
    if (!TVWcfg_SaveConfiguration(list)) state.SkipWithError("save failed");
  TVWcfg_Destroy(list);
  state.counters["folders/s"] = benchmark::Counter(static_cast<double>(state.iterations() * kFolders),
                                                   benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadCompiled)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
