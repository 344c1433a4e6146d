// Fuzz target: arbitrary bytes as a settings file, read tolerantly and then
// strictly inside an ignored bracket, then saved. A tolerant load reports
// nothing; a strict one at most a bad line, or no file for an empty one; the
// save succeeds and its file loads without a report.
//
// The settings table belongs to the process and only grows, so each input
// runs in a child of its own: every run starts from the same table, and an
// input that fails does so again when it is run alone.
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/Messages.h"
#include "rc/SrcFile.h"

namespace {

// Seconds a child may take before it counts as hanging.
constexpr unsigned kChildSeconds = 30;

std::string home;
pid_t parent = 0;

void Check(bool condition) {
  if (!condition) std::_Exit(1);
}

template <class Call>
int Quietly(Call call) {
  Messages_IgnoreErrors(true);
  call();
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return SrcFile_error;
}

void RemoveHome() {
  if (::getpid() != parent) return;
  std::error_code ignored;
  std::filesystem::remove_all(home, ignored);
}

// A private HOME holds the files; nothing of the installation is touched.
void SetUp() {
  char pattern[] = "/tmp/floatdeck-fuzz-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) std::abort();
  home = pattern;
  parent = ::getpid();
  std::atexit(RemoveHome);
  ::setenv("HOME", home.c_str(), 1);
  ::setenv("TV_CUSTOMER", home.c_str(), 1);
  ::setenv("TV_NO_RUN_FILE", "1", 1);
  std::filesystem::current_path(home);
  SrcFile_Init();
}

void RunInput(const std::uint8_t* data, std::size_t size) {
  ::alarm(kChildSeconds);
  std::FILE* file = std::fopen((home + "/.fuzzrc").c_str(), "wb");
  Check(file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
  Check(Quietly([] { SrcFile_LoadFromLocation("fuzz", 1); }) == 0);
  const int strict = Quietly([] { SrcFile_LoadFromLocationAndName("fuzz", 1); });
  Check(strict == 0 || strict == 4 || (strict == 6 && size == 0));
  Check(Quietly([] { SrcFile_SaveToLocation("fuzzout", 1); }) == 0);
  Check(Quietly([] { SrcFile_LoadFromLocation("fuzzout", 1); }) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (parent == 0) SetUp();
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) std::abort();
  if (child == 0) {
    RunInput(data, size);
    ::_exit(0);
  }
  int status = 0;
  while (::waitpid(child, &status, 0) < 0)
    if (errno != EINTR) std::abort();
  // A crash, a failed check or a hang of the child is the input's failure.
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) std::abort();
  return 0;
}
