// How fast a logged session plays back: 1,000 logged value lines (texts,
// numbers, a real, a switch, in turn) and OK, replayed into the demo
// program's dialog (wtdemo -d) on a fresh start. Reported: the program's
// CPU time (target: under 1 s) and the wall time from start to exit. Needs
// an X server in DISPLAY (scripts/bench.sh starts one).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr int kLines = 1000;

std::string WriteLog(const std::string& dir) {
  const std::string file = dir + "/session.log";
  std::ofstream out(file);
  for (int i = 0; i < kLines; ++i) {
    switch (i % 5) {
      case 0: out << "AOBJ WtDemo_Jobs 2 \"Cover " << i << "\"\n"; break;
      case 1: out << "AOBJ WtDemo_Jobs 3 " << 1 + i % 999 << "\n"; break;
      case 2: out << "AOBJ WtDemo_Jobs 4 " << 10 + i % 390 << ".5\n"; break;
      case 3: out << "AOBJ WtDemo_Jobs 5 " << (i % 2 != 0 ? "TRUE" : "FALSE") << "\n"; break;
      default: out << "AOBJ WtDemo_Jobs 6 " << i % 10 << "\n";
    }
  }
  out << "AOBJ WtDemo_Jobs 1 1\n";
  return file;
}

void BM_Replay1000ValueLines(benchmark::State& state) {
  const std::string dir = std::filesystem::temp_directory_path() / ("IReplay_bench." + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  const std::string log = WriteLog(dir);
  const std::string demo = std::filesystem::canonical("/proc/self/exe").parent_path().parent_path() / "bin/wtdemo";
  ::setenv("TV_GUIREPLAY", log.c_str(), 1);
  ::setenv("TMP", dir.c_str(), 1);
  double cpu = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    char* argv[] = {const_cast<char*>(demo.c_str()), const_cast<char*>("-d"), nullptr};
    pid_t pid;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    if (posix_spawn(&pid, demo.c_str(), &actions, nullptr, argv, environ) != 0) {
      state.SkipWithError("wtdemo could not be started");
      break;
    }
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      state.SkipWithError("wtdemo did not end with OK");
      break;
    }
    cpu = usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec + usage.ru_stime.tv_usec / 1e6;
    state.SetIterationTime(wall);
    state.counters["program_cpu_s"] = cpu;
  }
  ::unsetenv("TV_GUIREPLAY");
  std::filesystem::remove_all(dir);
}
BENCHMARK(BM_Replay1000ValueLines)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
