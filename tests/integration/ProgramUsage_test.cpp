// Every program of the suite on a fresh site, asked for help or given a line
// it can't use: the usage on standard error and status 1, and nothing else:
// no process left, no port taken, no file written.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

const std::string kBin = std::string(FLOATDECK_BINARY_DIR) + "/bin/";

struct Program {
  std::string name;     // as called; the usage names it
  std::string path;     // under bin/, or a link made by the test
  std::string unknown;  // an option it does not have
  std::vector<std::string> missing;  // a line that lacks an argument
  // Help among usable options: the usage is still the whole answer (the
  // servers used to serve on).
  std::vector<std::string> helpAmongGood = {};
};

// The programs, with an unknown option and a line that lacks an argument
// of each. The module commands are one program under many names.
const std::vector<Program> kPrograms = {
    {"Floatdeck", "Floatdeck", "-Z", {"-U"}},
    {"wfinstall", "wfinstall", "-Z", {"-r"}},
    {"renamecheck", "renamecheck", "-Z", {}},
    {"imgview", "imgview", "-Z", {"-r"}},
    {"TVWatchD", "TVWatchD", "-Z", {"-q"}, {"-q", "100", "-?"}},
    {"CCserver", "CCserver", "-Z", {"-d"}, {"-b", "127.0.0.1", "--help"}},
    {"CCworker", "CCworker", "-Z", {"-j"}},
    {"RMserver", "RMserver", "-Z", {"-b"}},
    {"ccjob", "ccjob", "-Z", {"delete"}},
    {"COMMAND", "AutoStep", "-Z", {}},
    {"COMMAND", "links/autorenm.sh", "-Z", {}},
    {"COMMAND", "links/imgrm", "-x", {"-f"}},
};

// Every path below `root` with its size and time, to see that nothing changed.
std::set<std::string> Listing(const std::string& root) {
  std::set<std::string> entries;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const auto stamp = fs::last_write_time(entry.path()).time_since_epoch().count();
    entries.insert(entry.path().string() + " " + std::to_string(entry.is_regular_file() ? entry.file_size() : 0) +
                   " " + std::to_string(stamp));
  }
  return entries;
}

// The line under a time limit generous for a sanitised build on a loaded
// machine: a program still running then is killed.
std::vector<std::string> Bounded(std::vector<std::string> argv) {
  argv.insert(argv.begin(), {"/usr/bin/timeout", "-s", "KILL", "30"});
  return argv;
}

class ProgramUsage : public ::testing::Test {
 protected:
  TempDir site;
  std::vector<std::pair<std::string, std::string>> env;
  std::vector<int> ports;

  void SetUp() override {
    for (const char* dir : {"projects", "customer", "env", "dat", "tmp", "links"}) fs::create_directories(site.Path() + "/" + dir);
    fs::create_symlink(kBin + "AutoStep", site.Path() + "/links/autorenm.sh");
    fs::create_symlink(kBin + "AutoStep", site.Path() + "/links/imgrm");
    env = {{"TV_PROJECTS", site.Path() + "/projects"},
           {"TV_CUSTOMER", site.Path() + "/customer"},
           {"MARLDAT", site.Path() + "/dat"},
           {"MARLENV", site.Path() + "/env:" FLOATDECK_BINARY_DIR "/env"},
           {"TMP", site.Path() + "/tmp"},
           {"LANG", "C"},
           {"LANGUAGE", ""},
           {"DISPLAY", ""},
           // Run files on, as on a real site: the usage must not leave one.
           {"TV_NO_RUN_FILE", ""}};
    for (const char* variable : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT", "TV_RMSERVER_PORT"}) {
      ports.push_back(FreeLoopbackPort());
      env.emplace_back(variable, std::to_string(ports.back()));
    }
  }
  void TearDown() override { StopSiteServices(site.Path() + "/dat"); }

  std::string PathOf(const Program& p) const {
    return p.path.starts_with("links/") ? site.Path() + "/" + p.path : kBin + p.path;
  }
};

TEST_F(ProgramUsage, HelpUnknownOptionsAndMissingArgumentsGiveTheUsageAndNothingElse) {
  for (const Program& program : kPrograms) {
    std::vector<std::vector<std::string>> lines = {{"-?"}, {"--help"}, {program.unknown}, program.missing};
    if (!program.helpAmongGood.empty()) lines.push_back(program.helpAmongGood);
    for (const std::vector<std::string>& line : lines) {
      std::vector<std::string> argv = {PathOf(program)};
      argv.insert(argv.end(), line.begin(), line.end());
      std::string shown = program.path;
      for (const std::string& word : line) shown += " " + word;
      SCOPED_TRACE(shown);

      const std::set<std::string> before = Listing(site.Path());
      const RunResult run = RunProgram(Bounded(argv), env);

      // A program that went on to serve is killed (status 137), not waited
      // for; how fast the usage comes is measured by bench/Usage_bench.
      EXPECT_EQ(run.status, 1);
      EXPECT_EQ(run.out, "");
      EXPECT_TRUE(run.err.starts_with("Usage: " + program.name + " ")) << run.err;
      EXPECT_EQ(SiteProcessIds(site.Path() + "/dat"), std::vector<int>{});
      for (const int port : ports) EXPECT_FALSE(LoopbackPortAccepts(port)) << port;
      EXPECT_EQ(Listing(site.Path()), before);
    }
  }
}

}  // namespace
