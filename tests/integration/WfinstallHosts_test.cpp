// Hosts given to "wfinstall -S" reach ssh only as host names: one that ssh
// could read as an option, or a shell as a command, is refused before any
// ssh runs; a good one follows "--". A stand-in ssh first on PATH records
// every call.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>

#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

const std::string kWfinstall = std::string(FLOATDECK_BINARY_DIR) + "/bin/wfinstall";

class WfinstallHosts : public ::testing::Test {
 protected:
  TempDir site;
  const std::string calls = site.Path() + "/ssh-calls";
  const std::string marker = site.Path() + "/FILE";

  void SetUp() override {
    for (const char* dir : {"projects", "customer", "env", "dat", "tmp", "bin"}) fs::create_directories(site.Path() + "/" + dir);
    for (const char* program : {"ssh", "scp"}) {
      const std::string path = site.Path() + "/bin/" + program;
      PutFile(path, "#!/bin/sh\nprintf '%s\\n' \"" + std::string(program) + " $*\" >>" + calls + "\n");
      fs::permissions(path, fs::perms::owner_all);
    }
  }
  void TearDown() override { StopSiteServices(site.Path() + "/dat"); }

  RunResult Sync(const std::string& host, const std::string& workflow = "") {
    std::vector<std::string> argv = {kWfinstall, "-S", host};
    if (!workflow.empty()) argv.push_back(workflow);
    return RunProgram(argv, {{"TV_PROJECTS", site.Path() + "/projects"},
                             {"TV_CUSTOMER", site.Path() + "/customer"},
                             {"MARLDAT", site.Path() + "/dat"},
                             {"MARLENV", site.Path() + "/env:" FLOATDECK_BINARY_DIR "/env"},
                             {"TMP", site.Path() + "/tmp"},
                             {"PATH", site.Path() + "/bin:/usr/bin:/bin"},
                             {"LANG", "C"},
                             {"LANGUAGE", ""}});
  }
};

TEST_F(WfinstallHosts, HostsThatCouldBecomeOptionsOrCommandsAreRefusedBeforeAnySsh) {
  for (const std::string& host : {"-oProxyCommand=touch " + marker, "a;touch " + marker, "$(touch " + marker + ")"}) {
    SCOPED_TRACE(host);
    const RunResult run = Sync(host, "sample");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find(host), std::string::npos) << run.err;
    EXPECT_FALSE(fs::exists(calls)) << FileText(calls);
    EXPECT_FALSE(fs::exists(marker));
  }
}

TEST_F(WfinstallHosts, AGoodHostReachesSshBehindDoubleDash) {
  // No slave answers the stand-in: the sync fails, after asking ssh for the
  // host's address (-G) and starting the slave.
  const RunResult run = Sync("admin@slave-1.example", "sample");
  EXPECT_EQ(run.status, 1);
  const std::string recorded = FileText(calls);
  EXPECT_NE(recorded.find(" -- admin@slave-1.example "), std::string::npos) << recorded;
  // In every call the host is the first word behind "--", which stands once.
  std::istringstream lines(recorded);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_EQ(line.find("-- "), line.rfind("-- admin@slave-1.example")) << line;
  EXPECT_GE(count, 1);
}

}  // namespace
