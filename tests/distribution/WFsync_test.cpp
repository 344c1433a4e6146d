// The synchronisation's pieces without ssh: the master's port range, the
// slave's answers to lines it understands and to lines it does not, and its
// start directory beside other workflows.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "distribution/RWbase.h"
#include "distribution/WFbackup.h"
#include "distribution/WFsync.h"
#include "tests/support/BatchProgram.h"
#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"
#include "watch/TVWrequest.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  InitBatchTestProgram();
  RWbase_Init();
  WFsync_Init();
  WFbase_SetFeedback(false);
});

// One connection over loopback: the slave's end and the master's.
struct Line {
  Socket listener = Socket_Listen("127.0.0.1", 0, 4096);
  Socket master = Socket_Connect("127.0.0.1", Socket_LocalPort(listener), 4096, 5000);
  Socket slave = nullptr;
  Line() {
    for (int tries = 0; tries < 500 && slave == nullptr; ++tries) {
      slave = Socket_Accept(listener);
      if (slave == nullptr) ::usleep(10000);
    }
  }
  ~Line() {
    Socket_Close(slave);
    Socket_Close(master);
    Socket_Close(listener);
  }
  // The slave's answer to `request`: the boolean and the string.
  std::pair<bool, std::string> Ask(const std::string& request) {
    EXPECT_TRUE(WFsync_HandleRequest(slave, request));
    TVWrequest_Line line;
    bool tooLong = false;
    for (int tries = 0; tries < 300 && !TVWrequest_TakeLine(master, line, tooLong); ++tries)
      Socket_WaitReadable(master, 100);
    bool success = false;
    TextStr text;
    EXPECT_TRUE(WFsync_SplitBool(line, success) && WFsync_SplitString(line, text)) << line;
    return {success, StrIn(text).Str()};
  }
};

}  // namespace

// A host reaches ssh only when no shell or ssh could read more into it.
TEST(WFsync, HostsThatCouldBecomeOptionsOrCommandsAreRefused) {
  for (const char* host : {"slave1", "slave-1.example.com", "build_2", "admin@slave1", "fe80::1", "[::1]", "10.0.0.7"}) {
    TextStr reason;
    EXPECT_TRUE(WFsync_CheckHost(StrIn::C(host), reason)) << host;
    EXPECT_STREQ(reason, "");
  }
  for (const char* host : {"", "-oProxyCommand=touch x", "-p22", "a;touch x", "$(touch x)", "`id`", "a b", "a\nb",
                           "host/x", "@slave1", "user@", "user@-oX", "-user@host", "a@b@c", "a'b", "a|b", "a>b"}) {
    TextStr reason;
    EXPECT_FALSE(WFsync_CheckHost(StrIn::C(host), reason)) << host;
    // The reason names the host, so that an operator sees which one.
    if (*host != '\0') {
      EXPECT_NE(std::string(reason).find(host), std::string::npos) << reason;
    }
  }
}

TEST(WFsync, ServiceTakesTheFirstFreePortOfItsRangeAndNoOther) {
  // Every port of the range that is free now is held here.
  std::vector<Socket> held;
  for (std::uint16_t port = WFsync_firstPort; port <= WFsync_lastPort; ++port) {
    if (Socket s = Socket_Listen("", port, 4096); s != nullptr) held.push_back(s);
  }
  std::uint16_t port = 1;
  Socket service = WFsync_SetupService(port);
  EXPECT_EQ(service, Socket_Nil());
  EXPECT_EQ(port, 0);
  // The last one given back is the one the service gets.
  ASSERT_FALSE(held.empty());
  const std::uint16_t last = Socket_LocalPort(held.back());
  Socket_Close(held.back());
  held.pop_back();
  service = WFsync_SetupService(port);
  EXPECT_NE(service, Socket_Nil());
  EXPECT_EQ(port, last);
  WFsync_CloseService(service);
  for (Socket& s : held) Socket_Close(s);
}

namespace {

// What the peers of the master's service see, one step per wait of the master.
struct Knocking {
  std::uint16_t port = 0;
  int step = 0;
  int stranger = -1, slave = -1;
  std::string strangerGot = "<nothing yet>", slaveGot;
};

void Knock(void* arg) {
  auto& k = *static_cast<Knocking*>(arg);
  char bytes[256];
  if (k.step++ == 0) {
    k.stranger = ConnectFrom("127.0.0.2", k.port);  // taken and closed at the master's next look
    return;
  }
  if (k.stranger >= 0 && k.slave < 0) {
    pollfd p{k.stranger, POLLIN, 0};
    if (::poll(&p, 1, 1000) > 0) {
      const ssize_t n = ::recv(k.stranger, bytes, sizeof bytes, 0);
      k.strangerGot = n <= 0 ? "" : std::string(bytes, static_cast<std::size_t>(n));
    }
    k.slave = ConnectFrom("127.0.0.3", k.port);
    return;
  }
  // The slave hears the master's first request, and goes away.
  if (k.slave >= 0 && k.slaveGot.empty()) {
    const ssize_t n = ::recv(k.slave, bytes, sizeof bytes, MSG_DONTWAIT);
    if (n > 0) {
      k.slaveGot.assign(bytes, static_cast<std::size_t>(n));
      ::close(k.slave);
      ::close(k.stranger);
    }
  }
}

}  // namespace

TEST(WFsync, OnlyTheSlaveStartedMayConnectBack) {
  // ssh that starts nothing: the test plays the slave.
  TempDir bin;
  PutFile(bin.Path() + "/ssh", "#!/bin/sh\nexit 0\n");
  fs::permissions(bin.Path() + "/ssh", fs::perms::owner_all);
  const std::string path = ::getenv("PATH");
  ::setenv("PATH", (bin.Path() + ":" + path).c_str(), 1);
  Knocking k;
  Socket service = WFsync_SetupService(k.port);
  ASSERT_NE(service, Socket_Nil());
  TextStr reason;
  WFsync_Connection conn = WFsync_Connect(service, k.port, "127.0.0.3", Knock, &k, reason);
  ::setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(k.strangerGot, "") << "a stranger is closed unanswered";
  EXPECT_EQ(k.slaveGot.substr(0, 11), "ENVIRONMENT") << "the slave started is let in";
  EXPECT_EQ(conn, WFsync_NoConnection());  // it went away
  WFsync_CloseConnection(conn);
  WFsync_CloseService(service);
}

TEST(WFsync, SlaveAnswersWhatItUnderstandsAndNamesWhatItDoesNot) {
  Line line;
  ASSERT_NE(line.slave, nullptr);
  auto [ok, text] = line.Ask("ENVIRONMENT");
  EXPECT_TRUE(ok);
  EXPECT_EQ(text, "1 " + site->Path() + "/projects");

  std::tie(ok, text) = line.Ask("TMPFILENAME .tar");
  EXPECT_TRUE(ok);
  EXPECT_EQ(text.rfind(site->Path() + "/tmp/wfsync.", 0), 0u) << text;
  EXPECT_TRUE(text.ends_with(".tar")) << text;

  std::tie(ok, text) = line.Ask("FETCH a\\ b");
  EXPECT_FALSE(ok);
  EXPECT_EQ(text, "Unknown request: FETCH a\\ b");
  // A parameter missing, one too many, a boolean that is none.
  for (const std::string bad : {"TMPFILENAME", "TMPFILENAME .tar extra", "INSTALLWORKFLOW a \"\" \"\" /t.tar maybe"}) {
    std::tie(ok, text) = line.Ask(bad);
    EXPECT_FALSE(ok);
    EXPECT_EQ(text, "Internal error. Invalid request: " + bad);
  }
  // A component text that is none is refused by the slave with its reason.
  std::tie(ok, text) = line.Ask("INSTALLMODULE garbage");
  EXPECT_FALSE(ok);
  EXPECT_EQ(text, "The component text is not valid: garbage");
}

TEST(WFsync, StartDirectoryOfAnotherWorkflowIsRefusedAndAnOwnOneLinked) {
  const std::string root = site->Path() + "/projects/workflow";
  fs::create_directories(root + "/other");
  TextStr reason;
  EXPECT_FALSE(WFsync_InstallStartDir("mine", root + "/other", reason));
  EXPECT_EQ(StrIn(reason).Str(), "The directory " + root + "/other is already the start directory of workflow other.");

  const std::string own = site->Path() + "/elsewhere/deep/start";
  ASSERT_TRUE(WFsync_InstallStartDir("mine", own, reason)) << reason;
  EXPECT_TRUE(fs::is_directory(own));
  EXPECT_EQ(fs::read_symlink(root + "/mine"), own);
  // Again: the link is there already; an empty directory means the standard one.
  EXPECT_TRUE(WFsync_InstallStartDir("mine", own, reason));
  EXPECT_TRUE(WFsync_InstallStartDir("new", "", reason));
}
