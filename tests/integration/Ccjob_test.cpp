// The queue's command-line client against a real CCserver and CCworker on
// loopback ports of a private site: every command checked against what the
// server itself tells a client of its own, the events as they come, and a
// server that is down.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/Await.h"
#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

using Clock = std::chrono::steady_clock;

const std::string kCcjob = std::string(FLOATDECK_BINARY_DIR) + "/bin/ccjob";

TempDir*& site = UsePrivateSiteForTests([] {
  ::unsetenv("CCJOB_EMPLOYER");
  ChoosePort("TV_CCSERVER_PORT");
  ChoosePort("TV_CCWORKER_PORT");
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  Messages_Init();
  StartService("CCworker", "TV_CCWORKER_PORT", {"-j", "2"});
  StartService("CCserver", "TV_CCSERVER_PORT");
});

// The services go before the site does, also when a test failed.
class StopServices : public ::testing::Environment {
 public:
  void TearDown() override {
    SClient_CloseAllConnections();
    StopSiteServices(site->Path() + "/dat");
  }
};
const auto* const services = ::testing::AddGlobalTestEnvironment(new StopServices);

SClient Client() {
  static SClient conn = CCclient_Connect("", 4000, nullptr);
  return conn;
}

RunResult Ccjob(const std::vector<std::string>& args) {
  std::vector<std::string> argv = {kCcjob};
  argv.insert(argv.end(), args.begin(), args.end());
  return RunProgram(argv, {{"LANG", "C"}, {"LANGUAGE", ""}});
}

std::vector<std::string> Split(const std::string& text, char at) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, at);) parts.push_back(part);
  return parts;
}

// The ids of the queue in the server's order (the failed ones last), as the
// server tells a new listener.
std::vector<std::string> ServerOrder() {
  SClient listener = CCclient_ConnectListener("");
  std::vector<std::string> ids;
  bool whole = false;
  for (const auto end = Clock::now() + std::chrono::seconds(20); !whole && Clock::now() < end;) {
    CCclient_AwaitEvent(listener, 200);
    CCevent_Event e;
    while (!whole && CCclient_ReceiveEvent(listener, e)) {
      if (e.type == CCevent_Job) ids.push_back(StrIn(e.id).Str());
      whole = e.type == CCevent_Cluster && e.kind == CCevent_ResetWorkers;
    }
  }
  SClient_CloseConn(listener);
  EXPECT_TRUE(whole);
  return ids;
}

bool InQueue(const std::string& id) {
  CCjobBase_Job job = nullptr;
  const bool found = CCclient_GetJobInfos(Client(), id, job);
  CCjobBase_Destroy(job);
  return found;
}

TEST(Ccjob, SubmitListRaiseDeleteStopAndRunAsTheServerSeesThem) {
  // Held, so that the jobs wait where the test puts them.
  ASSERT_EQ(Ccjob({"stop"}).status, 0);
  EXPECT_EQ(CCclient_GetQueueStatus(Client()), CCtypes_QueueStopped);
  EXPECT_EQ(Ccjob({"status"}).out, "stopped\n");

  // A job text typed by hand, from a file and from standard input.
  const std::string file = site->Path() + "/tmp/first.job";
  PutFile(file, "TYPE=Inline INLINE_CMD=echo\\ first DESC=the\\ first\\ job\n");
  const RunResult first = Ccjob({"submit", file});
  ASSERT_EQ(first.status, 0) << first.err;
  const std::string id1 = first.out.substr(0, first.out.find('\n'));
  ASSERT_EQ(first.out, id1 + "\n");
  CCjobBase_Job job = nullptr;
  ASSERT_TRUE(CCclient_GetJobInfos(Client(), id1, job));
  EXPECT_EQ(CCjobBase_GetCommand(job), "echo first");
  EXPECT_EQ(CCjobBase_GetDescriptionField(job), "the first job");
  CCjobBase_Destroy(job);

  PutFile(site->Path() + "/tmp/second.job", "TYPE=Inline INLINE_CMD=true PRIORITY=3");
  const RunResult second =
      RunProgram({"/bin/sh", "-c", "exec " + kCcjob + " submit < " + site->Path() + "/tmp/second.job"}, {});
  ASSERT_EQ(second.status, 0) << second.err;
  const std::string id2 = second.out.substr(0, second.out.find('\n'));
  ASSERT_TRUE(InQueue(id2));

  // One line a job in the server's order: id, status, queue, position,
  // priority, worker, description.
  const std::vector<std::string> order = ServerOrder();
  const RunResult list = Ccjob({"list"});
  ASSERT_EQ(list.status, 0) << list.err;
  const std::vector<std::string> lines = Split(list.out, '\n');
  ASSERT_EQ(lines.size(), order.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::vector<std::string> fields = Split(lines[i], '\t');
    ASSERT_EQ(fields.size(), 7U) << lines[i];
    EXPECT_EQ(fields[0], order[i]);
    EXPECT_EQ(fields[3], std::to_string(i + 1));
    if (fields[0] == id1) {
      EXPECT_EQ(fields[6], "the first job");
    }
    if (fields[0] == id1 || fields[0] == id2) {
      EXPECT_EQ(fields[1] + " " + fields[2], "waiting queue");
    }
  }
  // -l: the job texts, which the server reads back as the same jobs.
  const RunResult texts = Ccjob({"-l", "list"});
  ASSERT_EQ(texts.status, 0) << texts.err;
  for (const std::string& text : Split(texts.out, '\n')) {
    CCjobBase_Job read = CCjobBase_CreateFromString(text);
    ASSERT_NE(read, nullptr) << text;
    char id[kNameCap];
    CCjobBase_GetId(read, id);
    EXPECT_TRUE(InQueue(StrIn(id).Str())) << text;
    CCjobBase_Destroy(read);
  }

  // raise puts the second job in front of the first.
  ASSERT_EQ(Ccjob({"raise", id2}).status, 0);
  std::vector<std::string> now = ServerOrder();
  const auto at = [&](const std::string& id) { return std::find(now.begin(), now.end(), id) - now.begin(); };
  EXPECT_LT(at(id2), at(id1));

  // delete takes the first out; an id the server does not know is told and
  // the status says so, the known ones are still done.
  const RunResult deleted = Ccjob({"delete", id1, "no-such-job"});
  EXPECT_EQ(deleted.status, 1);
  EXPECT_NE(deleted.err.find("no-such-job"), std::string::npos) << deleted.err;
  EXPECT_EQ(std::count(deleted.err.begin(), deleted.err.end(), '\n'), 1);
  EXPECT_FALSE(InQueue(id1));

  // run lets the queue hand out the second, which the worker runs to its end.
  ASSERT_EQ(Ccjob({"run"}).status, 0);
  EXPECT_EQ(CCclient_GetQueueStatus(Client()), CCtypes_QueueRunning);
  EXPECT_TRUE(Await([&] { return !InQueue(id2); }));
  EXPECT_EQ(Ccjob({"status"}).out, "running\n");
}

TEST(Ccjob, RefusesTextsThatAreNoJobsAndFilesItCannotRead) {
  PutFile(site->Path() + "/tmp/bad.job", "INLINE_CMD=true TYPE=Inline\n");
  const RunResult bad = Ccjob({"submit", site->Path() + "/tmp/bad.job"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, "");
  EXPECT_NE(bad.err.find("INLINE_CMD=true"), std::string::npos) << bad.err;
  const RunResult missing = Ccjob({"submit", site->Path() + "/tmp/missing.job"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("missing.job"), std::string::npos) << missing.err;
}

// `ccjob follow` with its standard output on a pipe, stopped with the test.
class Follower {
 public:
  Follower() {
    int out[2];
    if (::pipe2(out, O_CLOEXEC) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(out[1], 1);
      ::execl(kCcjob.c_str(), kCcjob.c_str(), "follow", static_cast<char*>(nullptr));
      ::_exit(127);
    }
    ::close(out[1]);
    fd_ = out[0];
  }
  ~Follower() {
    if (pid_ > 0) Stop(SIGKILL);
    if (fd_ >= 0) ::close(fd_);
  }
  // Reads until a line that begins with `start` came; false after 60 s.
  bool Saw(const std::string& start) {
    for (const auto end = Clock::now() + std::chrono::seconds(60); Clock::now() < end;) {
      for (const std::string& line : Split(text_, '\n'))
        if (line.starts_with(start)) return true;
      pollfd p{fd_, POLLIN, 0};
      if (::poll(&p, 1, 200) <= 0) continue;
      char chunk[4096];
      const ssize_t got = ::read(fd_, chunk, sizeof chunk);
      if (got <= 0) return false;
      text_.append(chunk, static_cast<std::size_t>(got));
    }
    return false;
  }
  int Stop(int signal) {
    ::kill(pid_, signal);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  const std::string& Text() const { return text_; }

 private:
  pid_t pid_ = -1;
  int fd_ = -1;
  std::string text_;
};

TEST(Ccjob, FollowShowsTheEventsUntilInterrupted) {
  Follower follow;
  // The queue as it stands comes first.
  ASSERT_TRUE(follow.Saw("queue\treset")) << follow.Text();
  ASSERT_TRUE(follow.Saw("workers\treset")) << follow.Text();
  ASSERT_EQ(Ccjob({"stop"}).status, 0);
  ASSERT_TRUE(follow.Saw("queue\tstopped")) << follow.Text();
  PutFile(site->Path() + "/tmp/followed.job", "TYPE=Inline INLINE_CMD=true");
  const RunResult submitted = Ccjob({"submit", site->Path() + "/tmp/followed.job"});
  const std::string id = submitted.out.substr(0, submitted.out.find('\n'));
  ASSERT_FALSE(id.empty()) << submitted.err;
  EXPECT_TRUE(follow.Saw("added\t" + id + "\twaiting\tqueue\t")) << follow.Text();
  ASSERT_EQ(Ccjob({"run"}).status, 0);
  EXPECT_TRUE(follow.Saw("queue\trunning")) << follow.Text();
  EXPECT_TRUE(follow.Saw("removed\t" + id + "\t")) << follow.Text();
  EXPECT_EQ(follow.Stop(SIGINT), 0);
}

TEST(Ccjob, AServerThatIsDownIsToldInOneLineAndNotStarted) {
  const int port = FreeLoopbackPort();
  for (const std::vector<std::string>& line : std::vector<std::vector<std::string>>{{"list"}, {"stop"}, {"follow"}}) {
    const RunResult run =
        RunProgram({kCcjob, line[0]}, {{"TV_CCSERVER_PORT", std::to_string(port)}, {"LANG", "C"}, {"LANGUAGE", ""}});
    EXPECT_EQ(run.status, 1) << line[0];
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(std::to_string(port)), std::string::npos) << run.err;
  }
  // A client of the queue would have started a server there by now.
  ::sleep(1);
  EXPECT_FALSE(LoopbackPortAccepts(port));
}

}  // namespace
