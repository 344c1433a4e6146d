// The content window on a start folder of 20,000 new files, with a
// stand-in demon that answers every status query (all files new):
// - opening the window, up to its complete drawing, after the directory
//   changed (target under 500 ms);
// - a refresh of the window while nothing changed (target under 15 ms).
// Needs an X server in DISPLAY (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "base/Messages.h"
#include "bench/BenchSettle.h"
#include "manager/Floatdeck.h"
#include "manager/WFstatusContent.h"
#include "tests/support/Services.h"
#include "tests/watch/FakeDemon.h"
#include "toolkit/WtBase.h"
#include "watch/TVWrequest.h"
#include "workflow/WFbase.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFiles = 20000;

// Every file of a status query is unknown to the demon.
std::string AllNew(const std::string& request) {
  TVWrequest_Line line, directory;
  Strings_Assign(request, line);
  std::int32_t count = 0;
  TVWrequest_SplitRequest(line);
  TVWrequest_SplitFileStatusQuery(line, directory, count);
  std::string statuses;
  for (std::int32_t i = 0; i < count; ++i) statuses += i == 0 ? "0" : "\\ 0";
  return "0 " + (statuses.empty() ? std::string("\"\"") : statuses);
}

class Site {
 public:
  Site() : root_(fs::temp_directory_path() / ("WFstatusContent_bench." + std::to_string(::getpid()))) {
    fs::create_directories(root_);
    UsePrivateSite(root_);
    ::setenv("HOME", root_.c_str(), 1);
    fs::create_directories(root_ + "/lib");
    fs::create_symlink(FLOATDECK_BINARY_DIR "/icons", root_ + "/lib/icons");
    std::ofstream(root_ + "/small.wf") << "start in -> lg\nlog lg -> outdir\n";
    const std::string install =
        FLOATDECK_BINARY_DIR "/bin/wfinstall -n -w content " + root_ + "/small.wf >/dev/null 2>&1";
    if (std::system(install.c_str()) != 0) return;
    Floatdeck_InitModules();
    Messages_UseMsgCat("FLOATDECKmsg");
    I_UseContextCat("FLOATDECKdlg");
    if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); })) return;
    TextStr reason;
    workflow_ = WFbase_RebuildWorkflow("content", WFbase_NoAnswer, reason);
    PathStr path;
    WFfolder_GetPath(WFbase_StartFolder(workflow_), path);
    dir_ = StrIn(path).Str();
    fs::remove(dir_ + "/.TVWatchD_omit");
    for (int i = 0; i < kFiles; ++i) {
      char name[32];
      std::snprintf(name, sizeof name, "/job%05d_07C.tif", i);
      std::ofstream(dir_ + name);
    }
    demon_ = std::make_unique<FakeDemon>(AllNew);
  }
  ~Site() {
    WFstatus_CloseFolderContent();
    WFstatus_CloseDemonConnection();
    demon_.reset();
    WFbase_DestroyWorkflow(workflow_);
    fs::remove_all(root_);
  }
  WFfolder Folder() const { return WFbase_StartFolder(workflow_); }
  // The directory changed: the next list is read from it.
  void Touch() const { ::utimensat(AT_FDCWD, dir_.c_str(), nullptr, 0); }
  // Its time set back, so that what was read of it stands.
  void Age() const {
    const timespec old[2] = {{::time(nullptr) - 3600, 0}, {::time(nullptr) - 3600, 0}};
    ::utimensat(AT_FDCWD, dir_.c_str(), old, 0);
  }
  bool ok() const { return demon_ != nullptr; }
  std::size_t Requests() const { return demon_->Requests().size(); }

 private:
  std::string root_, dir_;
  WFbase workflow_ = nullptr;
  std::unique_ptr<FakeDemon> demon_;
};

Site& TheSite() {
  static Site site;
  return site;
}

void BM_OpenFolderOf20000NewFiles(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  const std::size_t before = TheSite().Requests();
  for (auto _ : state) {
    state.PauseTiming();
    WFstatus_CloseFolderContent();
    Bench_Settle();
    TheSite().Touch();
    state.ResumeTiming();
    WFstatus_ShowFolderContent(TheSite().Folder());
    WtEvents_ExecuteDeferredActions();
    Bench_Settle();
  }
  state.counters["files"] = static_cast<double>(WFstatus_ContentFiles().size());
  state.counters["requests"] =
      static_cast<double>(TheSite().Requests() - before) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_OpenFolderOf20000NewFiles)->Unit(benchmark::kMillisecond);

void BM_RefreshWithNothingChanged(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  WFstatus_ShowFolderContent(TheSite().Folder());
  TheSite().Age();
  WFstatus_UpdateFolderContent();
  Bench_Settle();
  for (auto _ : state) {
    WFstatus_UpdateFolderContent();
    Bench_Settle();
  }
  WFstatus_CloseFolderContent();
}
BENCHMARK(BM_RefreshWithNothingChanged)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
