// The driver of the fuzz targets: runs a target's LLVMFuzzerTestOneInput over
// seed inputs, then over random mutations of them for a bounded time. It
// stands in for a fuzzing engine where the compiler has none; there is no
// coverage feedback, so the mutations stack on seeds and on recent mutants.
//
//   NAME_fuzz [--seconds N] [--seed S] [--max-len L] [--timeout T]
//             [--artifact PATH] [--verbose] INPUT...
//
// Each INPUT is a file, run as it is, or a directory whose files are seeds.
// A run is reproducible: the mutations follow --seed (default 1), only the
// number of runs depends on the time. When the target crashes, hangs for
// --timeout seconds of CPU time, or ends the process, the input being run is
// written to the artifact path (default "./crash-NAME") and the process ends
// with a failure status. Without --verbose the target's messages on the
// standard error stream are silenced, since parsers report there on every bad
// input; the driver's and the sanitizers' own reports still reach it.
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Present only in sanitizer builds.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

// UndefinedBehaviorSanitizer has a runtime of its own, which doesn't call the
// death callback; ending through abort() lets the driver save the input.
extern "C" const char* __ubsan_default_options() { return "abort_on_error=1:print_stacktrace=1"; }

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Options {
  double seconds = 10.0;
  std::uint64_t seed = 1;
  std::size_t maxLength = 4096;
  unsigned timeout = 10;
  std::string artifact;
  bool verbose = false;
  std::vector<std::string> inputs;
};

// What a crash handler needs: plain data, since it runs in a signal handler.
const std::uint8_t* currentData = nullptr;
std::size_t currentSize = 0;
volatile std::sig_atomic_t inRun = 0;
char artifactPath[4096] = "";

void Say(const char* text) {
  if (::write(STDERR_FILENO, text, std::strlen(text)) < 0) return;
}

// Saves the input under test; async-signal-safe.
void SaveArtifact(const char* why) {
  if (!inRun) return;
  inRun = 0;
  Say("fuzz: ");
  Say(why);
  const int fd = ::open(artifactPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd >= 0 && (currentSize == 0 || ::write(fd, currentData, currentSize) >= 0)) {
    Say("; the input is saved in ");
    Say(artifactPath);
  }
  if (fd >= 0) ::close(fd);
  Say("\n");
}

void OnSanitizerDeath() { SaveArtifact("the sanitizer stopped the target"); }
void OnExit() { SaveArtifact("the target ended the process"); }

void OnSignal(int signal) {
  SaveArtifact(signal == SIGVTALRM ? "the target hangs" : "the target crashed");
  std::signal(signal, SIG_DFL);
  std::raise(signal == SIGVTALRM ? SIGABRT : signal);
}

// In sanitizer builds the sanitizers own the memory faults and call back.
void InstallHandlers() {
  std::signal(SIGABRT, OnSignal);
  std::signal(SIGVTALRM, OnSignal);
  if (__sanitizer_set_death_callback != nullptr) return;
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(signal, OnSignal);
}

void RunOne(const Bytes& input, unsigned timeout) {
  // An exact copy, so that a read one byte past the end is caught.
  const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[std::max<std::size_t>(input.size(), 1)]);
  std::copy(input.begin(), input.end(), copy.get());
  currentData = copy.get();
  currentSize = input.size();
  itimerval timer{};
  timer.it_value.tv_sec = timeout;
  ::setitimer(ITIMER_VIRTUAL, &timer, nullptr);
  inRun = 1;
  LLVMFuzzerTestOneInput(copy.get(), input.size());
  inRun = 0;
  timer.it_value.tv_sec = 0;
  ::setitimer(ITIMER_VIRTUAL, &timer, nullptr);
}

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--seconds" && hasValue) options.seconds = std::atof(argv[++i]);
    else if (arg == "--seed" && hasValue) options.seed = std::strtoull(argv[++i], nullptr, 10);
    else if (arg == "--max-len" && hasValue) options.maxLength = std::strtoull(argv[++i], nullptr, 10);
    else if (arg == "--timeout" && hasValue) options.timeout = static_cast<unsigned>(std::atoi(argv[++i]));
    else if (arg == "--artifact" && hasValue) options.artifact = argv[++i];
    else if (arg == "--verbose") options.verbose = true;
    else if (arg.starts_with("--")) return false;
    else options.inputs.push_back(arg);
  }
  return options.seconds >= 0 && options.maxLength > 0 && options.timeout > 0;
}

Bytes ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Seeds in name order, so that a run does not depend on the directory's order.
std::vector<Bytes> ReadSeeds(const std::vector<std::string>& inputs) {
  std::vector<Bytes> seeds;
  for (const std::string& input : inputs) {
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(input)) {
      for (const auto& entry : std::filesystem::directory_iterator(input))
        if (entry.is_regular_file()) files.push_back(entry.path());
      std::sort(files.begin(), files.end());
    } else {
      files.emplace_back(input);
    }
    for (const auto& file : files) seeds.push_back(ReadFile(file));
  }
  if (seeds.empty()) seeds.emplace_back();
  return seeds;
}

// The characters that carry the structure of the system's text formats;
// inserting them reaches further into a parser than random bytes do.
constexpr char kSyntaxChars[] = "{}()=;,-+.\"'*\\<>|[]^_ \n\t0123456789eEaZ";

class Mutator {
 public:
  Mutator(std::uint64_t seed, std::size_t maxLength) : random_(seed), maxLength_(maxLength) {}

  // One to four stacked changes of `input`; `other` is a second input to
  // splice from.
  Bytes Mutate(Bytes input, const Bytes& other) {
    for (std::size_t n = 1 + Below(4); n > 0; --n) MutateOnce(input, other);
    if (input.size() > maxLength_) input.resize(maxLength_);
    return input;
  }

  std::size_t Below(std::size_t bound) { return bound == 0 ? 0 : random_() % bound; }

 private:
  void MutateOnce(Bytes& b, const Bytes& other) {
    const std::size_t at = Below(b.size() + 1);
    switch (Below(8)) {
      case 0:  // flip a bit
        if (!b.empty()) b[Below(b.size())] ^= static_cast<std::uint8_t>(1u << Below(8));
        break;
      case 1:  // a random byte in place
        if (!b.empty()) b[Below(b.size())] = static_cast<std::uint8_t>(Below(256));
        break;
      case 2:  // insert random bytes
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(at), 1 + Below(4), static_cast<std::uint8_t>(Below(256)));
        break;
      case 3:  // insert a syntax character
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(at),
                 static_cast<std::uint8_t>(kSyntaxChars[Below(sizeof kSyntaxChars - 1)]));
        break;
      case 4: {  // delete a range
        const std::size_t count = std::min(b.size() - std::min(at, b.size()), 1 + Below(8));
        b.erase(b.begin() + static_cast<std::ptrdiff_t>(at), b.begin() + static_cast<std::ptrdiff_t>(at + count));
        break;
      }
      case 5: {  // copy a range of the input to another place
        if (b.empty()) break;
        const std::size_t from = Below(b.size());
        const Bytes chunk(b.begin() + static_cast<std::ptrdiff_t>(from),
                          b.begin() + static_cast<std::ptrdiff_t>(from + std::min(b.size() - from, 1 + Below(32))));
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(at), chunk.begin(), chunk.end());
        break;
      }
      case 6: {  // splice: this input's front, the other's back
        const std::size_t from = Below(other.size() + 1);
        b.resize(std::min(at, b.size()));
        b.insert(b.end(), other.begin() + static_cast<std::ptrdiff_t>(from), other.end());
        break;
      }
      default: {  // insert a range of the other input
        const std::size_t from = Below(other.size() + 1);
        const std::size_t count = std::min(other.size() - from, 1 + Below(64));
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(at), other.begin() + static_cast<std::ptrdiff_t>(from),
                 other.begin() + static_cast<std::ptrdiff_t>(from + count));
        break;
      }
    }
  }

  std::mt19937_64 random_;
  std::size_t maxLength_;
};

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    std::fprintf(stderr,
                 "usage: %s [--seconds N] [--seed S] [--max-len L] [--timeout T] [--artifact PATH] [--verbose] "
                 "INPUT...\n",
                 argv[0]);
    return 1;
  }
  const std::string name = std::filesystem::path(argv[0]).filename().string();
  if (options.artifact.empty()) options.artifact = "crash-" + name;
  std::snprintf(artifactPath, sizeof artifactPath, "%s", options.artifact.c_str());

  // The C library lets its standard streams be set like any variable: the
  // target's stdio output goes to /dev/null while the file descriptor, where
  // the sanitizers and the driver write, stays as it is.
  if (!options.verbose) stderr = std::fopen("/dev/null", "w");
  if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(OnSanitizerDeath);
  std::atexit(OnExit);

  const std::vector<Bytes> seeds = ReadSeeds(options.inputs);
  // Targets set themselves up on their first call, and the program's own
  // modules install signal handlers there; the driver's go in front again.
  InstallHandlers();
  std::size_t runs = 0;
  for (const Bytes& seed : seeds) {
    RunOne(seed, options.timeout);
    if (runs++ == 0) InstallHandlers();
  }

  Mutator mutator(options.seed, options.maxLength);
  std::vector<Bytes> recent;  // the last mutants, so that changes accumulate
  constexpr std::size_t kRecent = 256;
  const auto start = std::chrono::steady_clock::now();
  const auto limit = std::chrono::duration<double>(options.seconds);
  for (std::size_t n = 0;; ++n) {
    if (n % 64 == 0 && std::chrono::steady_clock::now() - start >= limit) break;
    const bool fromRecent = !recent.empty() && mutator.Below(2) == 0;
    const Bytes& base = fromRecent ? recent[mutator.Below(recent.size())] : seeds[mutator.Below(seeds.size())];
    Bytes input = mutator.Mutate(base, seeds[mutator.Below(seeds.size())]);
    RunOne(input, options.timeout);
    ++runs;
    if (recent.size() < kRecent)
      recent.push_back(std::move(input));
    else
      recent[n % kRecent] = std::move(input);
  }
  std::printf("%s: %zu runs, %zu seeds, seed %llu\n", name.c_str(), runs, seeds.size(),
              static_cast<unsigned long long>(options.seed));
  return 0;
}
