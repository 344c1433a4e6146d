// The error window on a workflow with 2,000 errors (each a file and its
// ".err", as the module commands leave them):
// - from WFstatus_ShowErrors to the window drawn (target under 300 ms), and
//   a refresh of the list;
// - retrying 1,000 of them (target under 2 s), handed to the demon in one
//   ready list: the counter "ready_files" tells how many paths the one list
//   held. The demon is a stand-in that keeps the list where it lies.
// Needs an X server in DISPLAY (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/Messages.h"
#include "bench/BenchSettle.h"
#include "manager/Floatdeck.h"
#include "manager/WFstatusErrors.h"
#include "tests/support/Services.h"
#include "toolkit/WtBase.h"

namespace {

namespace fs = std::filesystem;

constexpr int kErrors = 2000, kRetried = 1000;

class Site {
 public:
  Site() : root_(fs::temp_directory_path() / ("WFstatusErrors_bench." + std::to_string(::getpid()))) {
    fs::create_directories(root_);
    ok_ = Make();
  }
  ~Site() {
    WFbase_DestroyWorkflow(workflow_);
    if (demon_ > 0) {
      ::kill(demon_, SIGTERM);
      ::waitpid(demon_, nullptr, 0);
    }
    fs::remove_all(root_);
  }
  bool ok() const { return ok_; }
  WFbase workflow() const { return workflow_; }
  std::string errorDir() const {
    PathStr dir;
    WFbase_GetErrordir(workflow_, dir);
    return StrIn(dir).Str();
  }
  std::string folder() const { return folder_; }
  std::string readyList() const { return root_ + "/dat/TVWreadyFiles"; }
  // Errors `first` to `last` - 1, failed in the log folder.
  void Fail(int first, int last) const {
    for (int i = first; i < last; ++i) {
      char name[64];
      std::snprintf(name, sizeof name, "/20260101%06d_scan%04d.tif", i, i);
      std::ofstream(errorDir() + name) << "image";
      std::ofstream(errorDir() + name + ".err")
          << folder_ << "\nThe step could not read the image: its file is cut short after the first strip.\n";
    }
  }

 private:
  bool Make() {
    UsePrivateSite(root_);
    ::setenv("HOME", root_.c_str(), 1);
    fs::create_directories(root_ + "/lib");
    fs::create_symlink(FLOATDECK_BINARY_DIR "/icons", root_ + "/lib/icons");
    const std::string description = root_ + "/small.wf";
    std::ofstream(description) << "start in -> lg\nlog lg -> outdir\n";
    if (std::system((FLOATDECK_BINARY_DIR "/bin/wfinstall -n -w errs " + description + " >/dev/null 2>&1").c_str()) != 0)
      return false;
    Floatdeck_InitModules();
    Messages_UseMsgCat("FLOATDECKmsg");
    I_UseContextCat("FLOATDECKdlg");
    WFbase_SetFeedback(false);
    TextStr reason;
    workflow_ = WFbase_RebuildWorkflow("errs", WFbase_NoAnswer, reason);
    for (const auto& entry : fs::directory_iterator(root_ + "/projects/autofolder/autolog")) folder_ = entry.path();
    StartDemon();
    Fail(0, kErrors);
    return workflow_ != nullptr && Messages_Quietly([] { return WtBase_AssertDisplayOpen(); });
  }
  // A process that passes for the demon (its command line names TVWatchD)
  // and takes no notice of the signal that a ready list waits.
  void StartDemon() {
    const std::string program = root_ + "/tmp/TVWatchD";
    fs::create_symlink("/bin/sleep", program);
    demon_ = ::fork();
    if (demon_ == 0) {
      ::signal(SIGUSR2, SIG_IGN);
      ::execl(program.c_str(), program.c_str(), "3600", static_cast<char*>(nullptr));
      ::_exit(127);
    }
    ::usleep(100 * 1000);
    std::ofstream(root_ + "/projects/.tvwatchd.info") << demon_ << "\n-1\n" << root_ << "/lib\n" << root_ << "/dat\n"
                                                      << root_ << "/customer\n" << root_ << "/projects\n\n";
  }

  std::string root_, folder_;
  WFbase workflow_ = nullptr;
  int demon_ = -1;
  bool ok_ = false;
};

Site& TheSite() {
  static Site site;
  return site;
}

void BM_ShowTwoThousandErrors(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  for (auto _ : state) {
    WFstatus_ShowErrors(TheSite().workflow());
    Bench_Settle();
    state.PauseTiming();
    WFstatus_CloseErrors();
    Bench_Settle();
    state.ResumeTiming();
  }
  state.counters["errors"] = static_cast<double>(WFstatus_ShownErrors().errors.size());
}
BENCHMARK(BM_ShowTwoThousandErrors)->Unit(benchmark::kMillisecond);

void BM_RefreshTwoThousandErrors(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  WFstatus_ShowErrors(TheSite().workflow());
  Bench_Settle();
  for (auto _ : state) {
    WFstatus_UpdateErrorList();
    Bench_Settle();
  }
  WFstatus_CloseErrors();
}
BENCHMARK(BM_RefreshTwoThousandErrors)->Unit(benchmark::kMillisecond);

void BM_RetryOneThousandErrors(benchmark::State& state) {
  if (!TheSite().ok()) return state.SkipWithError("no site or no X display");
  std::size_t handed = 0;
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove(TheSite().readyList());
    WFstatus_ErrorList list;
    WFstatus_GetErrorList(TheSite().errorDir(), list);
    for (std::size_t i = 0; i < list.errors.size(); ++i) list.errors[i]->link.selected = i < kRetried;
    state.ResumeTiming();
    WFstatus_TryAgain(list, false);
    state.PauseTiming();
    std::ifstream ready(TheSite().readyList());
    handed = 0;
    for (std::string line; std::getline(ready, line);) ++handed;
    // The errors come back for the next round; the files retried go.
    for (const auto& entry : fs::directory_iterator(TheSite().folder()))
      if (entry.path().filename().string()[0] != '.') fs::remove(entry.path());
    TheSite().Fail(0, kRetried);
    state.ResumeTiming();
  }
  state.counters["ready_files"] = static_cast<double>(handed);
}
BENCHMARK(BM_RetryOneThousandErrors)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
