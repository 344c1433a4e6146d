// How fast schemes split and rename names: a million file names of a hot
// folder through the separation scheme that the rename module uses most,
// a third of them not fitting. Reported as names per second.
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "rules/SRename.h"

namespace {

constexpr std::size_t kNames = 1000000;

constexpr char kScheme[] =
    "V2 [NAME1]1-40[DELIMITER]<\"_\">1-1[NUM1]<1-999>3[DELIMITER]<\"_\">1-1[VARIANT]<\"C\"|\"M\"|\"Y\"|\"K\"|\"PMS\">1-3"
    "\".tif\"\n"
    "=> [1]^(\" \")->(\"_\")\"-\"[3]INC(1)\"-\"[5]v\".tif\"\n"
    "EXAMPLE \"job\\|_\\|001\\|_\\|C\\|.tif\"\n";

// A thousand names like those of a day's work: job names of 4 to 30
// characters, page numbers, separations; every third one of another form.
std::vector<std::string> Names() {
  std::mt19937 random(7);
  const char* colours[] = {"C", "M", "Y", "K", "PMS"};
  std::vector<std::string> names;
  for (int i = 0; i < 1000; ++i) {
    std::string job;
    for (std::size_t n = 4 + random() % 27; n > 0; --n) job += "abcdefghij klmnop_qrstuvwxyz0123456789"[random() % 38];
    const std::string page = std::to_string(100 + random() % 900);
    names.push_back(i % 3 == 2 ? job + "." + page + ".pdf" : job + "_" + page + "_" + colours[random() % 5] + ".tif");
  }
  return names;
}

SRename Load() {
  SRename scheme = SRename_Nil();
  SRename_LoadText(kScheme, sizeof kScheme - 1, scheme);
  return scheme;
}

void BM_Match(benchmark::State& state) {
  SRename scheme = Load();
  const std::vector<std::string> names = Names();
  for (auto _ : state) {
    std::size_t fits = 0;
    for (std::size_t i = 0; i < kNames; ++i) fits += SRename_Match(scheme, names[i % names.size()]) ? 1 : 0;
    benchmark::DoNotOptimize(fits);
  }
  state.counters["names/s"] = benchmark::Counter(static_cast<double>(state.iterations() * kNames), benchmark::Counter::kIsRate);
  SRename_Destroy(scheme);
}

void BM_Rename(benchmark::State& state) {
  SRename scheme = Load();
  const std::vector<std::string> names = Names();
  char renamed[kNameCap + 1];
  for (auto _ : state) {
    std::size_t done = 0;
    for (std::size_t i = 0; i < kNames; ++i) done += SRename_Rename(scheme, names[i % names.size()], renamed) ? 1 : 0;
    benchmark::DoNotOptimize(done);
  }
  state.counters["names/s"] = benchmark::Counter(static_cast<double>(state.iterations() * kNames), benchmark::Counter::kIsRate);
  SRename_Destroy(scheme);
}

}  // namespace

BENCHMARK(BM_Match)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rename)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
