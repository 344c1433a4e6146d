// How fast images are read line by line, and how much memory a large one
// takes. A 10000 x 10000 8-bit image (100 MB) is read top to bottom as an
// uncompressed TIFF, an LZW TIFF and a QIF, beside tiffcp copying the same
// TIFFs to an uncompressed file (reported as MB/s of image data; all in
// wall time, since tiffcp runs as a process of its own). Then 2 GB images
// (a sparse uncompressed TIFF and a QIF) are read line by line in a process
// of their own, whose peak resident memory is reported.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/BenchSite.h"
#include "image/SIqif.h"
#include "image/SImage.h"
#include "image/SItiff.h"

namespace {

constexpr std::uint32_t kSide = 10000;
// About 2 GB at one channel; the QIF stays within its 600000 tiles.
constexpr std::uint32_t kLargeSide = 46000;
constexpr double kMB = 1024.0 * 1024.0;
constexpr std::uint64_t kSpaceNeeded = std::uint64_t{6} << 30;

const std::string& Directory() { return Bench_Site("SImage_bench"); }

std::string Path(const std::string& name) { return Directory() + "/" + name; }

bool RoomFor(std::uint64_t bytes) {
  struct statvfs info;
  return ::statvfs(Directory().c_str(), &info) == 0 && std::uint64_t{info.f_bavail} * info.f_frsize > bytes;
}

// An image of a gradient through the drivers themselves.
void Make(const std::string& path, std::uint32_t side) {
  SImage image = SImage_Create(path, side, side, 1, SImage_kTopBottom);
  if (image == nullptr) std::abort();
  SScan scan = SScan_Create(side, 1);
  for (std::uint32_t y = 0; y < side; ++y) {
    std::uint8_t* samples = SScan_Samples(scan, 0);
    for (std::uint32_t x = 0; x < side; ++x) samples[x] = static_cast<std::uint8_t>(x + y);
    if (!SImage_WriteScan(image, scan)) std::abort();
  }
  SScan_Destroy(scan);
  if (!SImage_Close(image)) std::abort();
}

void Site() {
  static bool made = false;
  if (made) return;
  made = true;
  SIqif_Init();
  SItiff_Init();
  Make(Path("plain.tif"), kSide);
  Make(Path("image.qif"), kSide);
  if (std::system(("tiffcp -c lzw " + Path("plain.tif") + " " + Path("lzw.tif")).c_str()) != 0) std::abort();
}

// Reads every row; false when one failed.
bool ReadRows(const std::string& path) {
  SImage image = SImage_Open(path, 0, SImage_kRead, SImage_kTopBottom);
  if (image == nullptr) return false;
  SScan scan = SScan_Create(image->hRes, 1);
  bool ok = true;
  for (std::uint32_t y = 0; ok && y < image->vRes; ++y) ok = SImage_ReadScan(image, scan);
  benchmark::DoNotOptimize(SScan_Samples(scan, 0)[0]);
  SScan_Destroy(scan);
  return SImage_Close(image) && ok;
}

void Read(benchmark::State& state, const char* name) {
  Site();
  for (auto _ : state) {
    if (!ReadRows(Path(name))) state.SkipWithError("reading failed");
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kSide * kSide);
}

void Tiffcp(benchmark::State& state, const char* name) {
  Site();
  const std::string command = "tiffcp -c none " + Path(name) + " " + Path("copy.tif");
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("tiffcp failed");
  }
  std::filesystem::remove(Path("copy.tif"));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kSide * kSide);
}

void Put16(std::ofstream& out, std::uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); }
void Put32(std::ofstream& out, std::uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); }

// A grey TIFF (little endian, as this machine) of one uncompressed strip
// of zeros, left as a hole in the file: large at once and at no cost.
void MakeSparseTiff(const std::string& path, std::uint32_t side) {
  const std::uint64_t pixels = std::uint64_t{side} * side;
  std::ofstream out(path, std::ios::binary);
  out.write("II", 2);
  Put16(out, 42);
  Put32(out, 8);
  const std::uint16_t entries[][2] = {{256, 4}, {257, 4}, {258, 3}, {259, 3}, {262, 3}, {273, 4}, {277, 3},
                                      {278, 4}, {279, 4}};
  const std::uint32_t values[] = {side, side, 8, 1, 1, 4096, 1, side, static_cast<std::uint32_t>(pixels)};
  Put16(out, static_cast<std::uint16_t>(std::size(entries)));
  for (std::size_t i = 0; i < std::size(entries); ++i) {
    Put16(out, entries[i][0]);
    Put16(out, entries[i][1]);
    Put32(out, 1);
    if (entries[i][1] == 3) {
      Put16(out, static_cast<std::uint16_t>(values[i]));
      Put16(out, 0);
    } else {
      Put32(out, values[i]);
    }
  }
  Put32(out, 0);
  out.close();
  std::filesystem::resize_file(path, 4096 + pixels);
}

constexpr char kReadOption[] = "--read-rows";
std::string program;

// Reads the image line by line in a fresh process (this program started
// again); its peak resident memory in MB, or -1 when reading failed.
double PeakReading(const std::string& path) {
  std::FILE* child = ::popen((program + " " + kReadOption + " " + path).c_str(), "r");
  double peak = -1;
  if (child == nullptr || std::fscanf(child, "%lf", &peak) != 1) peak = -1;
  if (child != nullptr && ::pclose(child) != 0) peak = -1;
  return peak;
}

// The child's side: reads, then tells its peak resident memory.
int ReadAndTellPeak(const char* path) {
  SIqif_Init();
  SItiff_Init();
  if (!ReadRows(path)) return 1;
  struct rusage usage;
  ::getrusage(RUSAGE_SELF, &usage);
  std::printf("%.1f\n", usage.ru_maxrss / 1024.0);
  return 0;
}

void LargeImage(benchmark::State& state, bool qif) {
  Site();
  if (!RoomFor(kSpaceNeeded)) {
    state.SkipWithError("not enough free disk space for a 2 GB image");
    return;
  }
  const std::string path = Path(qif ? "large.qif" : "large.tif");
  if (qif) {
    SImage image = SImage_Create(path, kLargeSide, kLargeSide, 1, SImage_kTopBottom);
    if (image == nullptr || !SImage_Close(image)) state.SkipWithError("the QIF could not be made");
  } else {
    MakeSparseTiff(path, kLargeSide);
  }
  double peak = 0;
  for (auto _ : state) peak = PeakReading(path);
  std::filesystem::remove(path);
  if (peak < 0) state.SkipWithError("reading failed");
  const double bytes = static_cast<double>(kLargeSide) * kLargeSide;
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
  state.counters["image_MB"] = bytes / kMB;
  state.counters["peak_RSS_MB"] = peak;
}

}  // namespace

BENCHMARK_CAPTURE(Read, tiff_uncompressed, "plain.tif")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Tiffcp, tiff_uncompressed, "plain.tif")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Read, tiff_lzw, "lzw.tif")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Tiffcp, tiff_lzw, "lzw.tif")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(Read, qif, "image.qif")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(LargeImage, tiff_2GB, false)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(LargeImage, qif_2GB, true)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], kReadOption) == 0) return ReadAndTellPeak(argv[2]);
  program = std::filesystem::canonical("/proc/self/exe").string();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
