// The services as a supervisor (systemd) runs them: in the foreground, ended
// by SIGTERM with status 0, and held by the stop file with status 0 too, so
// that neither counts as a failure to restart from.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

const std::string kBin = std::string(FLOATDECK_BINARY_DIR) + "/bin/";

class ServiceLife : public ::testing::Test {
 protected:
  TempDir site;

  void SetUp() override {
    UsePrivateSite(site.Path());
    for (const char* port : {"TV_RMSERVER_PORT", "TV_CCWORKER_PORT", "TV_CCSERVER_PORT", "TVWATCHD_PORT"})
      ChoosePort(port);
  }
  // Whatever a service started on its own ends with the test.
  void TearDown() override { StopSiteServices(site.Path() + "/dat"); }
};

// The exit status of `pid` after SIGTERM, or a description of how it ended.
std::string EndWithSigterm(int pid) {
  if (pid <= 0) return "did not come up";
  ::kill(pid, SIGTERM);
  int status = 0;
  ::waitpid(pid, &status, 0);
  if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
  return "status " + std::to_string(WEXITSTATUS(status));
}

TEST_F(ServiceLife, EachServiceEndsWithStatusZeroOnSigterm) {
  // In the order their units start them: a server that found no worker would
  // start one of its own.
  const int rm = StartService("RMserver", "TV_RMSERVER_PORT");
  const int worker = StartService("CCworker", "TV_CCWORKER_PORT");
  const int server = StartService("CCserver", "TV_CCSERVER_PORT");
  const int demon = StartService("TVWatchD", "TVWATCHD_PORT", {"-p", ::getenv("TVWATCHD_PORT")});
  EXPECT_EQ(EndWithSigterm(demon), "status 0") << "TVWatchD";
  EXPECT_EQ(EndWithSigterm(server), "status 0") << "CCserver";
  EXPECT_EQ(EndWithSigterm(worker), "status 0") << "CCworker";
  EXPECT_EQ(EndWithSigterm(rm), "status 0") << "RMserver";
}

TEST_F(ServiceLife, TheStopFileHoldsEachServiceWithStatusZero) {
  PutFile(site.Path() + "/dat/stopped", "");
  for (const char* program : {"RMserver", "CCworker", "CCserver", "TVWatchD"}) {
    // Run files on: the stop file is looked at where they are made. One that
    // is not held is killed after a while (status 137).
    const RunResult r =
        RunProgram({"/usr/bin/timeout", "-s", "KILL", "20", kBin + program, "-b", "127.0.0.1"}, {{"TV_NO_RUN_FILE", ""}});
    EXPECT_EQ(r.status, 0) << program << ": " << r.err;
    EXPECT_NE(r.err.find("stopped file"), std::string::npos) << program << ": " << r.err;
  }
}

}  // namespace
