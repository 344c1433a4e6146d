#include "tests/support/FlowSite.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/Services.h"
#include "watch/TVWcfg.h"

namespace fs = std::filesystem;

FlowSite::FlowSite(const std::string& root) : root_(root) {
  UsePrivateSite(root_);
  ::unsetenv("CCJOB_ID");
  ::unsetenv("CCJOB_EMPLOYER");
  // The module commands, as links to the build's AutoStep; the services are
  // started by path.
  const std::string cmds = Path("cmds");
  fs::create_directories(cmds);
  fs::create_symlink(FLOATDECK_BINARY_DIR "/bin/AutoStep", cmds + "/AutoStep");
  std::string ignored;
  Run({cmds + "/AutoStep", "-links", cmds}, ignored);
  ::setenv("PATH", (cmds + ":/usr/bin:/bin").c_str(), 1);
  for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT", "TV_TVWATCHD_PORT"}) ChoosePort(port);
}

FlowSite::~FlowSite() {
  Stop(demon_, 15);
  Stop(server_, 15);
  Stop(worker_, 15);
}

std::string FlowSite::Path(const std::string& relative) const { return root_ + "/" + relative; }

bool FlowSite::StartWorker(int slots) {
  worker_ = StartService("CCworker", "TV_CCWORKER_PORT", {"-j", std::to_string(slots)});
  return worker_ > 0;
}

bool FlowSite::StartServer() {
  server_ = StartService("CCserver", "TV_CCSERVER_PORT");
  return server_ > 0;
}

bool FlowSite::StartDemon() {
  demon_ = StartService("TVWatchD", "TV_TVWATCHD_PORT", {"-p", ::getenv("TV_TVWATCHD_PORT")});
  return demon_ > 0;
}

void FlowSite::Stop(int& pid, int signal) { StopService(pid, signal); }

int FlowSite::Run(const std::vector<std::string>& argv, std::string& err) const {
  const std::string log = Path("tmp/run.err");
  const pid_t pid = ::fork();
  if (pid == 0) {
    const int fd = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(fd, 1);
    ::dup2(fd, 2);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    ::execvp(args[0], args.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  std::ifstream in(log);
  std::ostringstream text;
  text << in.rdbuf();
  err = text.str();
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool FlowSite::Install(const std::string& description, const std::string& name, std::string& err) const {
  return Run({FLOATDECK_BINARY_DIR "/bin/wfinstall", "-w", name, description}, err) == 0;
}

void FlowSite::PrepareWindows(const std::string& home) const {
  fs::create_directories(Path(home));
  ::setenv("HOME", Path(home).c_str(), 1);
  fs::create_directories(Path("lib"));
  fs::create_symlink(FLOATDECK_BINARY_DIR "/icons", Path("lib/icons"));
}

void FlowSite::StartFolders() const {
  std::vector<fs::path> marks;
  for (const auto& e : fs::recursive_directory_iterator(Path("projects")))
    if (e.path().filename() == TVWcfg_omitMark) marks.push_back(e.path());
  for (const fs::path& mark : marks) fs::remove(mark);
}

void FlowSite::Drop(const std::string& folder, const std::string& name, const std::string& text) const {
  const std::string aside = Path("tmp/") + name;
  std::ofstream(aside) << text;
  fs::rename(aside, folder + "/" + name);
}
