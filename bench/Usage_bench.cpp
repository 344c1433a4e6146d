// How long each program of the suite takes to answer "-?" with its usage and
// end: the whole run from exec to exit, on a private site. An administrator
// expects it well within a second.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

// A site of its own for the run, removed with it.
class Site {
 public:
  Site() : dir_(fs::temp_directory_path() / ("Usage_bench." + std::to_string(::getpid()))) {
    for (const char* sub : {"projects", "customer", "dat", "tmp"}) fs::create_directories(dir_ / sub);
    ::setenv("TV_PROJECTS", (dir_ / "projects").c_str(), 1);
    ::setenv("TV_CUSTOMER", (dir_ / "customer").c_str(), 1);
    ::setenv("MARLDAT", (dir_ / "dat").c_str(), 1);
    ::setenv("TMP", (dir_ / "tmp").c_str(), 1);
    ::setenv("MARLENV", FLOATDECK_BINARY_DIR "/env", 1);
    ::unsetenv("DISPLAY");
  }
  ~Site() { fs::remove_all(dir_); }

 private:
  fs::path dir_;
};

// One run of `program -?`, its output to /dev/null; its exit status.
int Usage(const std::string& program) {
  const std::string path = FLOATDECK_BINARY_DIR "/bin/" + program;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  char* const argv[] = {const_cast<char*>(path.c_str()), const_cast<char*>("-?"), nullptr};
  pid_t pid = -1;
  int status = -1;
  if (posix_spawn(&pid, path.c_str(), &actions, nullptr, argv, environ) == 0) ::waitpid(pid, &status, 0);
  posix_spawn_file_actions_destroy(&actions);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void BM_Usage(benchmark::State& state, const char* program) {
  static Site site;  // one for all programs: it points TMP into itself
  for (auto _ : state) {
    if (Usage(program) != 1) state.SkipWithError("the usage did not end with status 1");
  }
}

}  // namespace

BENCHMARK_CAPTURE(BM_Usage, Floatdeck, "Floatdeck")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, wfinstall, "wfinstall")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, renamecheck, "renamecheck")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, imgview, "imgview")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, TVWatchD, "TVWatchD")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, CCserver, "CCserver")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, CCworker, "CCworker")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, RMserver, "RMserver")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, AutoStep, "AutoStep")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_Usage, ccjob, "ccjob")->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
