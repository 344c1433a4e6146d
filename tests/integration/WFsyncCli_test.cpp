// Synchronising workflows from a master to a slave through real ssh: the
// test runs its own sshd on a loopback port with throwaway keys, and the
// slave host is a second site whose projects tree is seen at the master's
// projects path in a private mount namespace (master and slave must share
// that path). The operator runs "wfinstall -S HOST"; the slave is this
// program in mode -S, started by the master through ssh.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <regex>
#include <thread>

#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

const std::string kBin = std::string(FLOATDECK_BINARY_DIR) + "/bin/";

void Executable(const std::string& path, const std::string& text) {
  PutFile(path, text);
  fs::permissions(path, fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
}

std::string Sh(const std::string& command) { return RunProgram({"/bin/sh", "-c", command}, {}).err; }

// An sshd of the test's own, stopped with the fixture whatever happens.
class Sshd {
 public:
  explicit Sshd(const std::string& dir) {
    port_ = FreeLoopbackPort();
    Sh("ssh-keygen -q -t ed25519 -N '' -f " + dir + "/hostkey && ssh-keygen -q -t ed25519 -N '' -f " + dir +
       "/userkey");
    PutFile(dir + "/sshd_config", "ListenAddress 127.0.0.1\nPort " + std::to_string(port_) + "\nHostKey " + dir +
                                      "/hostkey\nPidFile " + dir + "/sshd.pid\nAuthorizedKeysFile " + dir +
                                      "/authorized_keys\nStrictModes no\nUsePAM no\nPermitRootLogin yes\n"
                                      "PasswordAuthentication no\nKbdInteractiveAuthentication no\nLogLevel ERROR\n");
    // Every session runs the slave host's script, which runs the command.
    PutFile(dir + "/authorized_keys", "command=\"" + dir + "/slave-host.sh\" " + FileText(dir + "/userkey.pub"));
    pid_ = ::fork();
    if (pid_ == 0) {
      ::execl("/usr/sbin/sshd", "/usr/sbin/sshd", "-D", "-e", "-f", (dir + "/sshd_config").c_str(), static_cast<char*>(nullptr));
      ::_exit(127);
    }
    // sshd writes its pid file once it listens.
    int status = 0;
    for (int tries = 0; tries < 600 && !fs::exists(dir + "/sshd.pid"); ++tries) {
      if (::waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;  // it gave up: its reason is on standard error
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  ~Sshd() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGTERM);
    int status = 0;
    ::waitpid(pid_, &status, 0);
  }
  int Port() const { return port_; }
  bool Up() const { return pid_ > 0; }

 private:
  int port_ = 0;
  pid_t pid_ = -1;
};

const std::string kWorkflow =
    "start     in    -> ren\n"
    "rename    ren   -> dup\n"
    "duplicate dup   -> outdir filt\n"
    "filter    filt  -> outdir  MODE=%\n";

class WFsyncCli : public ::testing::Test {
 protected:
  TempDir t;
  const std::string dir = t.Path();
  const std::string projects = dir + "/master/projects";
  Sshd sshd{dir};

  void SetUp() override {
    ASSERT_TRUE(sshd.Up()) << "the test's sshd did not start";
    const std::string userns = ::geteuid() == 0 ? "" : "--user --map-root-user ";
    if (RunProgram({"/bin/sh", "-c", "unshare " + userns + "--mount true"}, {}).status != 0) {
      GTEST_SKIP() << "no private mount namespace here: the slave host cannot have the master's projects path";
    }
    for (const std::string site : {"master", "slave"}) {
      for (const char* sub : {"projects", "customer", "env", "dat", "tmp"}) fs::create_directories(dir + "/" + site + "/" + sub);
    }
    fs::create_directories(dir + "/bin");
    fs::create_directories(dir + "/slavebin");
    fs::create_symlink(kBin + "Floatdeck", dir + "/slavebin/Floatdeck");
    // ssh and scp of the master reach the test's sshd, whatever the host;
    // "deadhost" is a port where nobody listens.
    PutFile(dir + "/ssh_config", "Host deadhost\n  HostName 127.0.0.1\n  Port " + std::to_string(FreeLoopbackPort()) +
                                     "\nHost *\n  HostName 127.0.0.1\n  Port " + std::to_string(sshd.Port()) +
                                     "\n  IdentityFile " + dir + "/userkey\n  IdentitiesOnly yes\n  UserKnownHostsFile " +
                                     dir + "/known_hosts\n  StrictHostKeyChecking no\n  LogLevel ERROR\n");
    Executable(dir + "/bin/ssh", "#!/bin/sh\nexec /usr/bin/ssh -F " + dir + "/ssh_config \"$@\"\n");
    Executable(dir + "/bin/scp", "#!/bin/sh\nexec /usr/bin/scp -O -S " + dir + "/bin/ssh \"$@\"\n");
    // A slave's install starts its watch demon, and the demon its queue: on
    // ports of this test's own, and ended with the test.
    std::string ports;
    for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT", "TV_RMSERVER_PORT"}) {
      ChoosePort(port);
      ports += std::string(" ") + port + "=" + ::getenv(port);
    }
    // The slave host: its own site, its projects tree at the master's path.
    // A file "kill-slave" kills the slave program when the tar file comes.
    Executable(dir + "/slave-host.sh",
               "#!/bin/sh\n"
               "S=" + dir + "/slave\n"
               "export TV_PROJECTS=" + projects + " TV_CUSTOMER=$S/customer MARLDAT=$S/dat TMP=$S/tmp\n"
               "export MARLENV=$S/env:" FLOATDECK_BINARY_DIR "/env MARLLIB=" FLOATDECK_BINARY_DIR "\n"
               "export" + ports + "\n"
               "export PATH=" + dir + "/slavebin:/usr/bin:/bin LANG=C\n"
               "unset LANGUAGE TV_NO_RUN_FILE\n"
               "if [ -e " + dir + "/kill-slave ]; then case \"$SSH_ORIGINAL_COMMAND\" in 'cat >'*)\n"
               "  for f in $S/dat/*-Floatdeck-*.pid; do p=${f##*-}; kill -9 ${p%.pid}; done;; esac; fi\n"
               "exec unshare " + userns + "--mount sh -c 'mount --bind \"$0\" \"$1\" && exec sh -c \"$SSH_ORIGINAL_COMMAND\"' "
               "$S/projects " + projects + "\n");
  }

  void TearDown() override {
    for (const char* site : {"/master/dat", "/slave/dat"}) StopSiteServices(dir + site);
  }

  std::vector<std::pair<std::string, std::string>> Master() const {
    const std::string m = dir + "/master";
    return {{"TV_PROJECTS", projects}, {"TV_CUSTOMER", m + "/customer"},
            {"MARLENV", m + "/env:" FLOATDECK_BINARY_DIR "/env"}, {"MARLDAT", m + "/dat"}, {"MARLLIB", ""},
            {"TMP", m + "/tmp"}, {"LANGUAGE", ""}, {"LANG", "C"}, {"DEBUG", ""},
            {"PATH", dir + "/bin:/usr/bin:/bin"}};
  }
  RunResult Install(const std::string& name, const std::string& mode, const std::string& text = kWorkflow) {
    PutFile(dir + "/wf.txt", std::regex_replace(text, std::regex("%"), mode));
    return RunProgram({kBin + "wfinstall", "-n", "-w", name, dir + "/wf.txt"}, Master());
  }
  RunResult Sync(std::vector<std::string> args) {
    args.insert(args.begin(), kBin + "wfinstall");
    return RunProgram(args, Master());
  }
  // DOSYNC and SYNCSLAVES of a workflow on the master, as the dialog sets them.
  void SyncOptions(const std::string& name, bool doSync, const std::string& slaves) {
    const std::string rc = projects + "/workflow/" + name + "/.autostartrc";
    const std::string text = std::regex_replace(FileText(rc), std::regex(": (DOSYNC|SYNCSLAVES)=.*\n"), "");
    PutFile(rc, text + ": DOSYNC=" + (doSync ? "_TRUE_" : "_FALSE_") + "\n: SYNCSLAVES=" + slaves + "\n");
  }
  std::string MasterDump(const std::string& name) { return RunProgram({kBin + "Floatdeck", "-i", name}, Master()).err; }
  // What the slave host shows: a command run there as a session would be.
  std::string SlaveDump(const std::string& name) {
    return RunProgram({dir + "/slave-host.sh"}, {{"SSH_ORIGINAL_COMMAND", "Floatdeck -i " + name}}).err;
  }
  std::string Config(const std::string& site) const { return FileText(dir + "/" + site + "/env/tvwatchd.cfg"); }
  std::string Groups(const std::string& site) const { return FileText(dir + "/" + site + "/customer/floatdeck.groups"); }
  std::string SlaveFile(const std::string& path) const {
    return FileText(dir + "/slave/projects/" + path.substr(projects.size() + 1));
  }
  const std::string filterRc = projects + "/autofolder/autofilter/flow_a_0/.autofilterrc";
};

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST_F(WFsyncCli, SlaveFollowsTheMasterAndSkipsWhatItsOptionsExclude) {
  for (const std::string name : {"a", "b", "c"}) {
    ASSERT_EQ(Install(name, "1").status, 0);
    SyncOptions(name, true, "slave1");
  }
  PutFile(dir + "/master/customer/floatdeck.groups", "g1:a,b\n");

  RunResult r = Sync({"-S", "slave1"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(Has(r.err, "Workflow c to slave1 (3/3).")) << r.err;
  for (const std::string name : {"a", "b", "c"}) {
    const std::string dump = MasterDump(name);
    EXPECT_TRUE(Has(dump, "FILTER: ")) << dump;
    EXPECT_EQ(SlaveDump(name), dump) << name;
  }
  EXPECT_TRUE(Has(Config("slave"), "/flow_c_0:")) << Config("slave");
  EXPECT_EQ(Config("slave"), Config("master"));
  EXPECT_EQ(Groups("slave"), Groups("master"));
  // A slave never passes a workflow on; its copy runs.
  const std::string startRc = SlaveFile(projects + "/workflow/a/.autostartrc");
  EXPECT_TRUE(Has(startRc, ": DOSYNC=_FALSE_\n")) << startRc;
  EXPECT_FALSE(fs::exists(dir + "/slave/projects/workflow/a/.TVWatchD_omit"));

  // A changed parameter arrives next time, and a folder dropped stops being
  // watched there; what the slave has of "d" (sent
  // by name once) stays as it is while its options exclude it: DOSYNC
  // without slaves counts as no.
  ASSERT_EQ(Install("d", "1").status, 0);
  ASSERT_EQ(Sync({"-S", "slave1", "d"}).status, 0);
  SyncOptions("d", true, "");
  const std::string rename = "/autofolder/autorename/flow_a_0";
  ASSERT_TRUE(fs::exists(dir + "/slave/projects" + rename));
  ASSERT_EQ(Install("a", "2", std::regex_replace(kWorkflow, std::regex("-> ren\nrename +ren +"), "")).status, 0);
  ASSERT_EQ(Install("d", "2").status, 0);
  const std::string oldD = SlaveFile(projects + "/autofolder/autofilter/flow_d_0/.autofilterrc");
  r = Sync({"-S", "slave1"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(Has(SlaveFile(filterRc), ": MODE=2\n")) << SlaveFile(filterRc);
  EXPECT_EQ(SlaveFile(projects + "/autofolder/autofilter/flow_d_0/.autofilterrc"), oldD);
  EXPECT_TRUE(Has(oldD, ": MODE=1\n"));
  EXPECT_FALSE(fs::exists(dir + "/slave/projects" + rename));
  EXPECT_FALSE(Has(Config("slave"), rename + ":")) << Config("slave");
  EXPECT_EQ(SlaveDump("a"), MasterDump("a"));
}

TEST_F(WFsyncCli, AKilledSlaveKeepsItsOldWorkflowAndTheMasterNamesTheHost) {
  ASSERT_EQ(Install("a", "1").status, 0);
  ASSERT_EQ(Sync({"-S", "slave1", "a"}).status, 0);
  const std::string before = SlaveDump("a");
  ASSERT_TRUE(Has(before, "FILTER: ")) << before;
  const std::string oldRc = SlaveFile(filterRc);

  ASSERT_EQ(Install("a", "2").status, 0);
  PutFile(dir + "/kill-slave", "");
  // An unreachable host fails first; the other still goes, and dies.
  const RunResult r = Sync({"-S", "deadhost", "-S", "slave1", "a"});
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(Has(r.err, "deadhost could not be synchronised: The command failed: ssh")) << r.err;
  EXPECT_TRUE(Has(r.err, "The workflow a could not be synchronised to slave1: The connection to slave1 broke off."))
      << r.err;
  EXPECT_EQ(SlaveFile(filterRc), oldRc);
  EXPECT_EQ(SlaveDump("a"), before);
}

TEST(WFsyncSlave, EndsWhenItsMasterGoes) {
  // A master that listens, takes the slave's connection and dies at once.
  const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in at{};
  at.sin_family = AF_INET;
  at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof at;
  ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&at), sizeof at), 0);
  ::listen(listener, 1);
  ::getsockname(listener, reinterpret_cast<sockaddr*>(&at), &length);
  std::thread master([&] {
    const int slave = ::accept(listener, nullptr, nullptr);
    ::close(slave);
  });
  TempDir site;
  const RunResult r = RunProgram({kBin + "Floatdeck", "-S", "127.0.0.1:" + std::to_string(ntohs(at.sin_port))},
                                 {{"TV_PROJECTS", site.Path()}, {"TV_CUSTOMER", site.Path()}, {"MARLDAT", site.Path()},
                                  {"TMP", site.Path()}, {"LANG", "C"}});
  master.join();
  ::close(listener);
  EXPECT_EQ(r.status, 0) << r.err;
}
