#include "tests/support/Services.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

namespace {

sockaddr_in Loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool Accepts(std::uint16_t port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = Loopback(port);
  const bool connected = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(fd);
  return connected;
}

// The whole of a file of /proc, or what could be read before its process went.
std::string ProcFile(const std::string& path) {
  std::string text;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return text;
  char chunk[4096];
  for (ssize_t got; (got = ::read(fd, chunk, sizeof chunk)) > 0;) text.append(chunk, static_cast<std::size_t>(got));
  ::close(fd);
  return text;
}

// Whether process `pid` lives (a zombie does not) and started with `entry`
// in its environment.
bool RunsWith(int pid, const std::string& entry) {
  const std::string proc = "/proc/" + std::to_string(pid);
  const std::string status = ProcFile(proc + "/stat");
  const std::size_t close = status.rfind(')');
  if (close == std::string::npos || close + 2 >= status.size() || status[close + 2] == 'Z') return false;
  const std::string environ = '\0' + ProcFile(proc + "/environ");
  return environ.find('\0' + entry + '\0') != std::string::npos;
}

// The processes other than this one that were started for the installation
// of `dat`: the services and whatever is on its way to become one.
std::vector<int> SiteProcesses(const std::string& dat) {
  std::vector<int> found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
    const int pid = std::atoi(entry.path().filename().c_str());
    if (pid > 0 && pid != ::getpid() && RunsWith(pid, "MARLDAT=" + dat)) found.push_back(pid);
  }
  return found;
}

}  // namespace

void StopSiteServices(const std::string& dat) {
  std::ofstream{dat + "/stopped"};
  // Done once nothing of the site was seen for a second: one that was on its
  // way has met the stop file by then.
  for (int round = 0, quiet = 0; quiet < 20; ++round, ::usleep(50 * 1000)) {
    const std::vector<int> running = SiteProcesses(dat);
    quiet = running.empty() ? quiet + 1 : 0;
    for (const int pid : running) ::kill(pid, round < 200 ? SIGTERM : SIGKILL);
  }
}

void UsePrivateSite(const std::string& root) {
  for (const char* dir : {"customer", "projects", "dat", "lib", "tmp", "env"})
    std::filesystem::create_directories(root + "/" + dir);
  ::setenv("TV_NO_RUN_FILE", "1", 1);
  // Its own first element: the demon's configuration is written there.
  ::setenv("MARLENV", (root + "/env:" FLOATDECK_BINARY_DIR "/env").c_str(), 1);
  ::setenv("TV_CUSTOMER", (root + "/customer").c_str(), 1);
  ::setenv("TV_PROJECTS", (root + "/projects").c_str(), 1);
  ::setenv("MARLDAT", (root + "/dat").c_str(), 1);
  ::setenv("MARLLIB", (root + "/lib").c_str(), 1);
  ::setenv("TMP", (root + "/tmp").c_str(), 1);
}

// A port below the range the system picks local ports of outgoing
// connections from, so that a service restarted by a test finds its port
// still free while tests run side by side.
int FreeLoopbackPort() {
  static std::minstd_rand next(static_cast<unsigned>(::getpid()) * 7919u + static_cast<unsigned>(::time(nullptr)));
  for (int attempt = 0; attempt < 1000; ++attempt) {
    const int port = 20000 + static_cast<int>(next() % 12000);
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = Loopback(port);
    const bool free = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    if (free) return port;
  }
  throw std::runtime_error("no free loopback port");
}

void ChoosePort(const std::string& portVariable) {
  ::setenv(portVariable.c_str(), std::to_string(FreeLoopbackPort()).c_str(), 1);
}

int ConnectFrom(const std::string& from, int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in at = Loopback(0);
  const sockaddr_in to = Loopback(static_cast<std::uint16_t>(port));
  if (::inet_pton(AF_INET, from.c_str(), &at.sin_addr) != 1 ||
      ::bind(fd, reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0 ||
      ::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
    ::close(fd);
    return -1;
  }
  return fd;
}

int StartService(const std::string& program, const std::string& portVariable, const std::vector<std::string>& args,
                 const std::vector<std::pair<std::string, std::string>>& env) {
  const std::string path = FLOATDECK_BINARY_DIR "/bin/" + program;
  std::vector<std::string> argv = {program, "-b", "127.0.0.1"};
  argv.insert(argv.end(), args.begin(), args.end());
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid == 0) {
    // A test killed from outside (a time-out) takes its services along:
    // they run in sessions of their own, beyond the reach of its group.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);
    for (const auto& [name, value] : env) ::setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> pointers;
    for (std::string& a : argv) pointers.push_back(a.data());
    pointers.push_back(nullptr);
    ::execv(path.c_str(), pointers.data());
    ::_exit(127);
  }
  const auto port = static_cast<std::uint16_t>(std::stoi(::getenv(portVariable.c_str())));
  // A loaded machine may take its time to start a sanitised program.
  for (int i = 0; i < 1500; ++i, ::usleep(20 * 1000)) {
    if (Accepts(port)) return pid;
    if (::waitpid(pid, nullptr, WNOHANG) == pid) return -1;
  }
  int ignored = pid;
  StopService(ignored);
  return -1;
}

void StopService(int& pid, int signal) {
  if (pid <= 0) return;
  ::kill(pid, signal);
  ::waitpid(pid, nullptr, 0);
  pid = -1;
}

void ChooseRMserverPort() { ChoosePort("TV_RMSERVER_PORT"); }
int StartRMserver(const std::vector<std::pair<std::string, std::string>>& env) {
  return StartService("RMserver", "TV_RMSERVER_PORT", {}, env);
}
void StopRMserver(int& pid) { StopService(pid); }

std::vector<int> SiteProcessIds(const std::string& dat) { return SiteProcesses(dat); }

bool LoopbackPortAccepts(int port) { return Accepts(static_cast<std::uint16_t>(port)); }

double ProcessResidentMegabytes(int pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("VmRSS:", 0) == 0) return std::stod(line.substr(6)) / 1024;
  return -1;
}
