#include "base/Processe.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/Argument.h"
#include "tests/support/TestFiles.h"

namespace {

std::string trail;
void First() { trail += "first;"; }
void Second() {
  trail += "second;";
  Processe_Exit();  // returns at once: the exit is already under way
}

}  // namespace

TEST(ProcesseExitDeathTest, ChainRunsNewestFirstAndOnlyOnce) {
  EXPECT_EXIT(
      {
        Processe_InstallTerminationProcedure(First);
        Processe_InstallTerminationProcedure(Second);
        Processe_InstallTerminationProcedure([] { std::fprintf(stderr, "%s\n", trail.c_str()); });
        Processe_InstallTerminationProcedure(Second);
        Processe_SetExitStatus(3);
        Processe_Exit();
      },
      ::testing::ExitedWithCode(3), "^second;second;\n$|^second;\n");
}

TEST(ProcesseChildren, ForkHidesTheChainFromTheChild) {
  Processe_InstallTerminationProcedure([] { std::fprintf(stderr, "parent's procedure\n"); });
  std::fflush(nullptr);
  const int pid = Processe_Fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    // The child's exit runs none of its parent's procedures; its output
    // would show in the parent's captured stream.
    Processe_SetExitStatus(4);
    Processe_Exit();
  }
  int status = 0;
  ASSERT_EQ(Processe_WaitPID(pid, false, status), pid);
  EXPECT_EQ(status, 4);
}

TEST(ProcesseChildren, CommandsWithAndWithoutTimeOut) {
  EXPECT_EQ(Processe_ExecuteCommand("exit 3", 0), 3);
  EXPECT_EQ(Processe_ExecuteCommand("exit 5", 5000), 5);
  EXPECT_EQ(Processe_prError, 0);
  EXPECT_EQ(Processe_ExecuteCommand("sleep 5", 100), 2);
  EXPECT_EQ(Processe_prError, 7);
  EXPECT_TRUE(Processe_System("exit 1"));  // true means it failed
  EXPECT_FALSE(Processe_System("true"));
}

TEST(ProcesseChildren, ApplicationTestReadsTheCommandLine) {
  const int pid = ::fork();
  if (pid == 0) {
    ::execl("/bin/sleep", "/bin/sleep", "30", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::usleep(100 * 1000);
  EXPECT_TRUE(Processe_IsApplicationAlive(pid, "sleep"));  // after "/"
  EXPECT_TRUE(Processe_IsApplicationAlive(pid, "30"));     // after a blank, at the end
  EXPECT_FALSE(Processe_IsApplicationAlive(pid, "slee"));  // not a whole word
  EXPECT_FALSE(Processe_IsApplicationAlive(pid, "TVWatchD"));
  EXPECT_TRUE(Processe_IsApplicationAlive(pid, ""));
  ::kill(pid, SIGKILL);
  int status = 0;
  Processe_WaitPID(pid, false, status);
  EXPECT_EQ(status, 128 + SIGKILL);
  EXPECT_FALSE(Processe_IsAlive(pid));
  EXPECT_FALSE(Processe_IsApplicationAlive(pid, ""));
  EXPECT_FALSE(Processe_Kill(pid, 9));
  EXPECT_EQ(Processe_prError, 4);
}

TEST(ProcesseRunFileDeathTest, RunFileLivesWithItsProcessOnly) {
  TempDir dat;
  const std::string expected = dat.Path() + "/testhost-tool-";
  EXPECT_EXIT(
      {
        ::unsetenv("TV_NO_RUN_FILE");
        ::setenv("MARLDAT", dat.Path().c_str(), 1);
        ::setenv("HOST", "testhost", 1);
        static const char* const argv[] = {"/usr/local/bin/tool"};
        Argument_Init(1, argv);
        Processe_Init();
        const std::string mine = expected + std::to_string(Processe_GetPID()) + ".pid";
        const int child = Processe_Fork();
        if (child == 0) Processe_Exit();  // removes only the child's own run file
        int status = 0;
        Processe_WaitPID(child, false, status);
        std::ifstream file(mine);
        std::string pid;
        std::getline(file, pid);
        const bool alone = std::distance(std::filesystem::directory_iterator(dat.Path()),
                                         std::filesystem::directory_iterator()) == 1;
        std::fprintf(stderr, "%s %s\n", pid == std::to_string(Processe_GetPID()) ? "present" : "missing",
                     alone ? "alone" : "crowded");
        Processe_SetExitStatus(0);
        Processe_Exit();
      },
      ::testing::ExitedWithCode(0), "present alone");
  EXPECT_TRUE(std::filesystem::is_empty(dat.Path()));
}
