// The image viewer on a 2 GB image (a QIF of 46000 x 46000 pixels, one
// channel): the time from its start until the picture is shown whole, and
// its peak resident memory then, in the normal form (every pixel read) and
// the quick one (-q). Needs an X server in DISPLAY (scripts/bench.sh starts
// one) and 3 GB of free disk space.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "image/SIqif.h"
#include "image/SImage.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kSide = 46000;
constexpr std::uint64_t kSpaceNeeded = std::uint64_t{3} << 30;

class LargeImage {
 public:
  LargeImage() : dir_(fs::temp_directory_path() / ("ImgView_bench." + std::to_string(::getpid()))) {
    fs::create_directories(dir_);
    struct statvfs info;
    if (::statvfs(dir_.c_str(), &info) != 0 || std::uint64_t{info.f_bavail} * info.f_frsize < kSpaceNeeded) return;
    ::setenv("TV_NO_RUN_FILE", "1", 1);
    SIqif_Init();
    SImage image = SImage_Create(path(), kSide, kSide, 1, SImage_kTopBottom);
    ok_ = image != nullptr && SImage_Close(image);
  }
  ~LargeImage() { fs::remove_all(dir_); }
  bool ok() const { return ok_; }
  std::string path() const { return dir_ + "/large.qif"; }
  std::string ready() const { return dir_ + "/ready"; }

 private:
  std::string dir_;
  bool ok_ = false;
};

LargeImage& TheImage() {
  static LargeImage image;
  return image;
}

// The peak resident memory of process `pid` in MB; -1 when unknown.
double PeakMB(int pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
  return -1;
}

void BM_ImgViewLargeImage(benchmark::State& state, bool quick) {
  if (std::getenv("DISPLAY") == nullptr) return state.SkipWithError("no X display");
  if (!TheImage().ok()) return state.SkipWithError("the 2 GB image could not be made");
  double peak = -1;
  for (auto _ : state) {
    fs::remove(TheImage().ready());
    const std::string program = FLOATDECK_BINARY_DIR "/bin/imgview", ready = TheImage().ready(),
                      image = TheImage().path();
    const int pid = ::fork();
    if (pid == 0) {
      if (quick) ::execl(program.c_str(), program.c_str(), "-q", "-r", ready.c_str(), image.c_str(), static_cast<char*>(nullptr));
      else ::execl(program.c_str(), program.c_str(), "-r", ready.c_str(), image.c_str(), static_cast<char*>(nullptr));
      ::_exit(127);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(10);
    while (!fs::exists(ready) && ::waitpid(pid, nullptr, WNOHANG) == 0 && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    state.PauseTiming();
    peak = fs::exists(ready) ? PeakMB(pid) : -1;
    ::kill(pid, SIGTERM);
    ::waitpid(pid, nullptr, 0);
    state.ResumeTiming();
  }
  if (peak < 0) state.SkipWithError("imgview ended before it showed the image");
  state.counters["image_MB"] = static_cast<double>(kSide) * kSide / (1024.0 * 1024.0);
  state.counters["peak_RSS_MB"] = peak;
}
BENCHMARK_CAPTURE(BM_ImgViewLargeImage, normal, false)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_ImgViewLargeImage, quick, true)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
