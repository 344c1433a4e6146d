// Who may talk to the services: each service of the suite, started with
// this host and 127.0.0.3 allowed, closes a connection from 127.0.0.2 at
// once and unanswered, and notes it once in its log; allowed peers are
// answered as before.
#include "jobqueue/SPeers.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "distribution/RWconfig.h"
#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

using namespace std::string_literals;

TempDir*& site = UsePrivateSiteForTests([] {
  // No service finds another to start on its own.
  ::setenv("PATH", "/usr/bin:/bin", 1);
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  Messages_Init();
});

// "TEST_SERVICE", version 1, a result wanted, in the request layer's form.
const std::string kTestService = "A\0\0\0\x03" "\0\0\0\x11" "S\0\0\0\x0c" "TEST_SERVICE"
                                 "\0\0\0\x05" "I\0\0\0\x01" "\0\0\0\x02" "B\x01" "\n"s;
// Its answer: success and no results.
const std::string kSuccess = "A\0\0\0\x01" "\0\0\0\x05" "I\0\0\0\0" "\n"s;

// Connects from `from` to 127.0.0.1:`port`, sends `request` and gives back
// what comes back until `enough` bytes are there, the service closes the
// line, or 3 s have passed ("<open>" is appended then).
std::string Exchange(const char* from, int port, const std::string& request, std::size_t enough) {
  const int fd = ConnectFrom(from, port);
  if (fd < 0) return "<no connection>";
  std::string got;
  ::send(fd, request.data(), request.size(), MSG_NOSIGNAL);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  for (;;) {
    pollfd p{fd, POLLIN, 0};
    if (got.size() >= enough) break;
    if (std::chrono::steady_clock::now() >= end || ::poll(&p, 1, 100) < 0) {
      got += "<open>";
      break;
    }
    char bytes[256];
    const ssize_t n = p.revents != 0 ? ::recv(fd, bytes, sizeof bytes, 0) : -2;
    if (n == 0 || n == -1) break;  // closed, or reset
    if (n > 0) got.append(bytes, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return got;
}

// A service started with its standard error in a log, stopped whatever happens.
struct Running {
  int pid = -1;
  std::string log;
  Running(const std::string& program, const std::vector<std::string>& args, const std::string& logFile) : log(logFile) {
    pid = ::fork();
    if (pid == 0) {
      const int fd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      ::dup2(fd, 2);
      std::vector<std::string> argv = {program};
      argv.insert(argv.end(), args.begin(), args.end());
      std::vector<char*> pointers;
      for (std::string& a : argv) pointers.push_back(a.data());
      pointers.push_back(nullptr);
      ::execv((FLOATDECK_BINARY_DIR "/bin/" + program).c_str(), pointers.data());
      ::_exit(127);
    }
  }
  ~Running() { StopService(pid); }
};

struct Case {
  const char* program;
  const char* portVariable;
  std::vector<std::string> args;
  std::string request, answer;
  bool names4;  // the site names 127.0.0.4 for this service
};

// A remote watch server at 127.0.0.4, which the demon lets in.
void NameRemoteWatchServer() {
  RWconfig config = nullptr;
  TextStr error;
  ASSERT_TRUE(RWconfig_Load(config, error)) << error;
  RWbase_Server server;
  Strings_Assign("feed", server.name);
  Strings_Assign("127.0.0.4", server.hostname);
  RWconfig_AddOrReplaceServer(config, server);
  EXPECT_TRUE(RWconfig_Save(config, error)) << error;
  RWconfig_Destroy(config);
}

TEST(SPeers, ServicesAnswerOnlyTheHostsAllowed) {
  for (const char* variable : {"TV_RMSERVER_PORT", "TV_CCSERVER_PORT", "TV_CCWORKER_PORT", "TV_TVWATCHD_PORT"})
    ChoosePort(variable);
  const std::string demonPort = ::getenv("TV_TVWATCHD_PORT");
  const std::vector<Case> cases = {
      {"RMserver", "TV_RMSERVER_PORT", {}, kTestService, kSuccess, false},
      {"CCserver", "TV_CCSERVER_PORT", {"-w", "127.0.0.4"}, kTestService, kSuccess, true},
      {"CCworker", "TV_CCWORKER_PORT", {}, kTestService, kSuccess, false},
      {"TVWatchD", "TV_TVWATCHD_PORT", {"-p", demonPort}, "TEST_SERVICE\n", "0 \"\"\n", true},
  };
  NameRemoteWatchServer();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.program);
    std::vector<std::string> args = {"-b", "127.0.0.1", "-A", "127.0.0.3"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    Running service(c.program, args, site->Path() + "/tmp/" + c.program + ".log");
    const int port = std::stoi(::getenv(c.portVariable));
    std::string local;
    for (int i = 0; i < 500 && local != c.answer; ++i, ::usleep(20000))
      local = Exchange("127.0.0.1", port, c.request, c.answer.size());
    EXPECT_EQ(local, c.answer) << "this host";
    EXPECT_EQ(Exchange("127.0.0.3", port, c.request, c.answer.size()), c.answer) << "named by -A";
    // A stranger is closed unanswered, and noted once however often it knocks.
    EXPECT_EQ(Exchange("127.0.0.2", port, c.request, c.answer.size()), "") << "a stranger";
    EXPECT_EQ(Exchange("127.0.0.2", port, c.request, c.answer.size()), "") << "a stranger again";
    // The worker host a server names, the remote watch server of the demon.
    EXPECT_EQ(Exchange("127.0.0.4", port, c.request, c.answer.size()), c.names4 ? c.answer : "") << "named by the site";
    EXPECT_EQ(Exchange("127.0.0.1", port, c.request, c.answer.size()), c.answer) << "this host, after";
    StopService(service.pid);
    const std::string log = FileText(service.log);
    const std::size_t first = log.find("127.0.0.2");
    EXPECT_NE(first, std::string::npos) << log;
    EXPECT_EQ(log.find("127.0.0.2", first + 1), std::string::npos) << log;
  }
}

// The list itself: names, this host, everyone, and what it can't resolve.
TEST(SPeers, ListsOfHosts) {
  auto address = [](const char* dotted) {
    in_addr a{};
    ::inet_pton(AF_INET, dotted, &a);
    return a.s_addr;
  };
  SPeers peers = SPeers_Create();
  EXPECT_FALSE(SPeers_Allows(peers, address("127.0.0.1")));
  std::vector<std::string> unknown;
  SPeers_AddList(peers, "localhost, 10.1.2.3,no-such-host.invalid", unknown);
  EXPECT_EQ(unknown, std::vector<std::string>{"no-such-host.invalid"});
  EXPECT_TRUE(SPeers_Allows(peers, address("10.1.2.3")));
  // "localhost" is this host: all of its addresses come with it, but no other
  // loopback address.
  EXPECT_TRUE(SPeers_Allows(peers, address("127.0.0.1")));
  EXPECT_FALSE(SPeers_Allows(peers, address("127.0.0.2")));
  SPeers_Add(peers, "*");
  EXPECT_TRUE(SPeers_Allows(peers, address("192.0.2.7")));
  SPeers_Destroy(peers);
}

}  // namespace
