// The resource manager's client against the real RMserver, started here on a
// free loopback port (and with its pipe service in the private MARLDAT).
#include "jobqueue/SRM.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Utility.h"
#include "jobqueue/SClient.h"
#include "jobqueue/SRMproto.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir* site = nullptr;
int server = -1;

void StartServer() {
  // The server serves its pipe transport too, for the test of the pipes.
  server = StartRMserver({{"TV_RMSERVER_USE_SCIPC_SERVICES", "on"}});
  ASSERT_GT(server, 0) << "RMserver did not come up";
}

void StopServer() { StopRMserver(server); }

class Manager : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    ::unsetenv("CCJOB_EMPLOYER");
    ::unsetenv("TV_RMSERVER_USE_SCIPC_SERVICES");
    ChooseRMserverPort();
    static const char* const args[] = {program_invocation_name};
    Argument_Init(1, args);
    Messages_Init();
    StartServer();
  }
  void TearDown() override {
    SRM_Disconnect();
    StopServer();
    delete site;
  }
};
const auto* const manager = ::testing::AddGlobalTestEnvironment(new Manager);

// Another owner, as a process on this host with a pid of its own would be.
class Other {
 public:
  explicit Other(std::int32_t pid) : pid_(pid), protocol_(SRMproto_Protocol()) {
    conn_ = SClient_Connect("127.0.0.1", 3000, 0, protocol_, nullptr);
  }
  ~Other() {
    SClient_CloseConn(conn_);
    SProtocol_Destroy(protocol_);
  }
  bool Reserve(const std::string& name) {
    SReqObj results = nullptr;
    const bool sent = SClient_Send(conn_, SRMproto_RESERVE, Params(true, name), &results);
    const bool granted = sent && SReqObj_GetBoolean(SReqObj_Element(results, 0));
    SReqObj_Destroy(results);
    return granted;
  }
  void Free(const std::string& name) { SClient_Send(conn_, SRMproto_FREE, Params(false, name), nullptr); }

 private:
  SReqObj Params(bool withTrap, const std::string& name) {
    char host[kNameCap];
    DirAcces_GetMachineName(host);
    SReqObj params = SReqObj_CreateArray();
    SReqObj_Append(params, SReqObj_CreateString(StrIn(host).View()));
    SReqObj_Append(params, SReqObj_CreateInteger(pid_));
    if (withTrap) SReqObj_Append(params, SReqObj_CreateBoolean(false));
    SReqObj_Append(params, SReqObj_CreateString(name));
    return params;
  }
  std::int32_t pid_;
  SProtocol protocol_;
  SClient conn_ = nullptr;
};

// Releases and frees travel without an answer; a request with an answer on
// the same connection is served after them, so the other client sees them.
void Settle() { SRM_QueryInUse("settle"); }

TEST(SRM, UseCountsAndPatterns) {
  Other other(1);
  // Twice reserved is twice released.
  EXPECT_TRUE(SRM_Reserve("job.1", true));
  EXPECT_TRUE(SRM_Reserve("job.1", true));
  EXPECT_EQ(SRM_UseCount("job.1"), 2);
  EXPECT_FALSE(other.Reserve("job.1"));
  SRM_Release("job.1");
  EXPECT_EQ(SRM_UseCount("job.1"), 1);
  EXPECT_FALSE(other.Reserve("job.1"));
  EXPECT_TRUE(SRM_QueryInUse("job.1"));
  SRM_Release("job.1");
  EXPECT_EQ(SRM_UseCount("job.1"), 0);
  Settle();
  EXPECT_TRUE(other.Reserve("job.1"));
  EXPECT_TRUE(SRM_QueryInUse("job.1"));
  other.Free("job.1");
  other.Reserve("other.settle");
  EXPECT_FALSE(SRM_QueryInUse("job.1"));

  // A held pattern grants what it matches at once; others clash with it.
  EXPECT_TRUE(SRM_Reserve("a*", true));
  EXPECT_TRUE(SRM_Reserve("ab", true));
  EXPECT_EQ(SRM_UseCount("ab"), 2);
  EXPECT_FALSE(other.Reserve("abc"));
  EXPECT_TRUE(other.Reserve("ba"));
  SRM_Free("a*");
  EXPECT_EQ(SRM_UseCount("ab"), 0);
  Settle();
  EXPECT_TRUE(other.Reserve("abc"));

  // "." is a dot and nothing else; "?" is any one character.
  char expression[64];
  SRMproto_RegExpr("x.y?[1]", expression);
  EXPECT_STREQ(expression, "^x\\.y.\\[1\\]$");
  EXPECT_TRUE(SRM_Reserve("x.y", true));
  EXPECT_TRUE(other.Reserve("xzy"));
  EXPECT_FALSE(other.Reserve("x?y"));
  SRM_Free("x.y");
  Settle();

  // Readers have names of their own; an updater clashes with every one.
  char first[kNameCap] = "file", second[kNameCap] = "file", update[kNameCap] = "file";
  SRM_ReadResource(first);
  SRM_ReadResource(second);
  EXPECT_STRNE(first, second);
  EXPECT_EQ(std::string(first).rfind("file:", 0), 0u);
  EXPECT_TRUE(other.Reserve(second));
  SRM_UpdateResource(update);
  EXPECT_STREQ(update, "file:*");
  EXPECT_FALSE(SRM_Reserve(update, true));
  EXPECT_TRUE(SRM_Reserve(first, true));
  SRM_Free(first);
  other.Free("*");
}

TEST(SRM, KilledHolderFreesTrappedResourceAndIsNamed) {
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    SRM_Disconnect();  // the parent's connection is not ours
    const char answer = SRM_Reserve("trap.me", true) ? 'y' : 'n';
    (void)!::write(ready[1], &answer, 1);
    ::pause();
    ::_exit(0);
  }
  char answer = 0;
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');

  SRM_Holder holder;
  EXPECT_FALSE(SRM_ReserveVerbose("trap.*", false, holder));
  EXPECT_EQ(holder.pid, child);
  char host[kNameCap];
  DirAcces_GetMachineName(host);
  EXPECT_STREQ(holder.host, host);

  ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  bool granted = false;
  for (int i = 0; i < 100 && !(granted = SRM_Reserve("trap.me", true)); ++i) Utility_Delay(50);
  EXPECT_TRUE(granted);
  SRM_Free("trap.me");
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST(SRM, ReconnectsAfterRestartAndRefusesRemoteJobs) {
  EXPECT_TRUE(SRM_Reserve("before.restart", false));
  StopServer();
  StartServer();
  EXPECT_TRUE(SRM_Reserve("after.restart", true));
  EXPECT_EQ(SRM_error, 0);
  SRM_Free("after.restart");

  ::setenv("CCJOB_EMPLOYER", "elsewhere.invalid", 1);
  EXPECT_EXIT(SRM_Connect(), ::testing::ExitedWithCode(1), "Cannot connect to remote RMserver");
  ::unsetenv("CCJOB_EMPLOYER");
}

TEST(SRM, PipesShareTheTable) {
  Other other(1);
  ::setenv("TV_RMSERVER_USE_SCIPC_SERVICES", "on", 1);
  const bool granted = SRM_Reserve("piped", true);
  const bool again = SRM_Reserve("piped", true);
  ::unsetenv("TV_RMSERVER_USE_SCIPC_SERVICES");
  EXPECT_TRUE(granted);
  EXPECT_TRUE(again);
  EXPECT_FALSE(other.Reserve("piped"));

  ::setenv("TV_RMSERVER_USE_SCIPC_SERVICES", "on", 1);
  SRM_Free("piped");
  ::unsetenv("TV_RMSERVER_USE_SCIPC_SERVICES");
  bool freed = false;
  for (int i = 0; i < 50 && !(freed = other.Reserve("piped")); ++i) Utility_Delay(20);
  EXPECT_TRUE(freed);
  other.Free("piped");
}

}  // namespace
