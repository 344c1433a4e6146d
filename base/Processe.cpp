#include "base/Processe.h"

#include <execinfo.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Utility.h"

std::uint8_t Processe_prError = 0;

namespace {

constexpr std::size_t kSystemCommandCap = 2050;
constexpr int kPollMs = 32;
constexpr int kForkSettleMs = 20;
constexpr int kChildDebugSeconds = 10;
constexpr std::size_t kCmdlineCap = 4095;

std::uint8_t applicationType = 0;
int exitStatus = 0;
bool exiting = false;
bool coreDumps = false;
int originalPid = 0;
std::string runFile;  // this process's own; empty when it has none
bool withoutRunFile = false;  // a process that only tells its usage

// Newest procedure last; the chain is run from the back.
std::vector<Processe_TerminationProcedure> chain;

struct SignalPair {
  int system, os;
};
constexpr SignalPair kSignalMap[] = {
    {7, 16},  {10, 7},  {12, 31}, {16, 10}, {17, 12}, {18, 17}, {19, 30},
    {20, 28}, {21, 23}, {22, 29}, {23, 19}, {24, 20}, {25, 18}, {26, 21},
    {27, 22}, {28, 26}, {29, 27}, {30, 24}, {31, 25},
};
Processe_SignalHandler handlers[65] = {};

int OsToSystemSignal(int os) {
  for (const SignalPair& p : kSignalMap)
    if (p.os == os) return p.system;
  return os;
}

std::string ProgramName() {
  char name[kNameCap];
  Argument_GetBinaryName(name);
  return name;
}

void WriteBacktrace() {
  void* frames[64];
  const int n = ::backtrace(frames, 64);
  ::backtrace_symbols_fd(frames, n, STDERR_FILENO);
}

void SetCoreDumps(bool on) {
  coreDumps = on;
  rlimit limit{};
  ::getrlimit(RLIMIT_CORE, &limit);
  limit.rlim_cur = on ? limit.rlim_max : 0;
  ::setrlimit(RLIMIT_CORE, &limit);
}

void RemoveRunFile() {
  if (runFile.empty() || Processe_GetPID() != std::atoi(runFile.substr(runFile.rfind('-') + 1).c_str())) return;
  if (::unlink(runFile.c_str()) != 0) {
    std::fprintf(stderr, "Something strange just happened: Removing the runf file '%s' failed.\n", runFile.c_str());
    std::fprintf(stderr, "May be the calling process got confused about the environment?\n");
  }
  runFile.clear();
}

// "<host>-<program>-<pid>.pid" in MARLDAT, holding the id; a failure to
// write it is no failure of the program.
void MakeRunFile() {
  char host[kNameCap], dat[kPathCap];
  DirAcces_GetMachineName(host);
  DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, "", dat);
  const std::string pid = std::to_string(Processe_GetPID());
  const std::string path = std::string(dat) + "/" + host + "-" + ProgramName() + "-" + pid + ".pid";
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) return;
  const std::string text = pid + "\n";
  const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::fchmod(fd, 0644);
  ::close(fd);
  if (!written) return;
  runFile = path;
  Processe_InstallTerminationProcedure(RemoveRunFile);
}

void CheckStopFile() {
  char stop[kPathCap];
  DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, "stopped", stop);
  if (::access(stop, F_OK) != 0) return;
  std::fprintf(stderr, "*** Tavrin software is currently disabled using a stopped file\n");
  Processe_Exit();
}

void IgnoreSignal(int) {}

// Fatal signals: say what happened, leave a trace, end with status 2.
void AbortHandler(int osSignal) {
  std::fprintf(stderr, "***AbortHandler caught %s (%s).\n", ::strsignal(osSignal), ProgramName().c_str());
  WriteBacktrace();
  if (!coreDumps)
    std::fprintf(stderr, "   Set environment variable TV_POST_MORTEM to get a post mortem dump core next time.\n");
  exitStatus = 2;
  if (coreDumps) {
    ::signal(osSignal, SIG_DFL);
    ::raise(osSignal);
  }
  Processe_Exit();
}

void TerminateHandler(int) { Processe_Exit(); }

void Dispatch(int osSignal) {
  const Processe_SignalHandler handler = handlers[osSignal];
  if (handler != nullptr) handler(OsToSystemSignal(osSignal));
}

// Installs an operating-system handler unless the signal is ignored already.
void InstallUnlessIgnored(int osSignal, void (*handler)(int)) {
  struct sigaction current {};
  ::sigaction(osSignal, nullptr, &current);
  if (current.sa_handler == SIG_IGN) return;
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigemptyset(&action.sa_mask);
  ::sigaction(osSignal, &action, nullptr);
}

void InstallHandlers() {
  InstallUnlessIgnored(SIGINT, IgnoreSignal);
  InstallUnlessIgnored(SIGALRM, IgnoreSignal);
  InstallUnlessIgnored(SIGQUIT, AbortHandler);
  InstallUnlessIgnored(SIGSEGV, AbortHandler);
  InstallUnlessIgnored(SIGFPE, AbortHandler);
  InstallUnlessIgnored(SIGBUS, AbortHandler);
  InstallUnlessIgnored(SIGTERM, TerminateHandler);
}

int DecodeStatus(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : WIFSIGNALED(status) ? 128 + WTERMSIG(status) : status;
}

}  // namespace

void Processe_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  if (applicationType == 0) applicationType = kProcesseDefaultType;
  originalPid = Processe_GetPID();
  const char* test = std::getenv("TEST");
  SetCoreDumps(DirAcces_CheckFlag("POST_MORTEM") || (test != nullptr && *test != '\0'));
  InstallHandlers();
  if (!DirAcces_CheckFlag("NO_RUN_FILE")) {
    CheckStopFile();
    if (!withoutRunFile) MakeRunFile();
  }
}

void Processe_WithoutRunFile() { withoutRunFile = true; }

void Processe_SetApplicationType(std::uint8_t type) {
  applicationType = type == 0 ? kProcesseDefaultType : type;
  if (type == kProcesseDemonType && DirAcces_CheckFlag("NO_DAEMONS") && ProgramName() != "CCworker") {
    std::fprintf(stderr, "*** %s inhibited due to NO_DAEMONS flag\n", ProgramName().c_str());
    exitStatus = 1;
    Processe_Exit();
  }
}

std::uint8_t Processe_GetApplicationType() { return applicationType; }

void Processe_SetExitStatus(int status) { exitStatus = status; }

int Processe_GetExitStatus() { return exitStatus; }

void Processe_InstallTerminationProcedure(Processe_TerminationProcedure procedure) {
  chain.push_back(procedure);
}

void Processe_Exit() {
  if (exiting) return;
  exiting = true;
  if (exitStatus == 2) {
    const bool ordinary = applicationType == kProcesseDefaultType;
    if (!ordinary || DirAcces_CheckFlag("DO_BACKTRACE_FOR_FAILURE") || DirAcces_CheckFlag("DO_BACKTRACE_ON_FAILURE"))
      WriteBacktrace();
  }
  // Take each procedure off before calling it, so that one that fails (and
  // ends up here again) is not called a second time.
  while (!chain.empty()) {
    const Processe_TerminationProcedure procedure = chain.back();
    chain.pop_back();
    procedure();
  }
  std::fflush(nullptr);
  if (exitStatus == 2 && coreDumps) {
    std::fprintf(stderr, "HALT in Processe.Exit\n");
    std::signal(SIGABRT, SIG_DFL);
    std::abort();
  }
  std::exit(exitStatus);
}

int Processe_Fork() {
  Processe_prError = 0;
  std::vector<Processe_TerminationProcedure> hidden;
  hidden.swap(chain);
  std::fflush(nullptr);
  const int pid = ::fork();
  if (pid != 0) {
    chain.swap(hidden);
    if (pid < 0) {
      Processe_prError = 6;
      return -1;
    }
    Utility_Delay(kForkSettleMs);
    return pid;
  }
  if (DirAcces_CheckFlag("CHILD_DEBUGGING")) {
    std::fprintf(stderr, "child process debugging requested\n");
    std::fprintf(stderr, "start gdb in another Window and attach to PID %d\n", Processe_GetPID());
    std::fprintf(stderr, "sleeping for %d seconds now\n", kChildDebugSeconds);
    Utility_Delay(kChildDebugSeconds * 1000);
  }
  runFile.clear();
  SetCoreDumps(true);
  if (!DirAcces_CheckFlag("NO_RUN_FILE")) MakeRunFile();
  return 0;
}

void Processe_Exec(StrIn path, const char* const* args) {
  ::execv(path.Str().c_str(), const_cast<char* const*>(args));
  Processe_prError = errno == ENOENT ? 4 : errno == EACCES ? 5 : 6;
}

int Processe_Wait(int& status) {
  int raw = 0;
  const int pid = ::wait(&raw);
  status = DecodeStatus(raw);
  return pid;
}

int Processe_WaitPID(int pid, bool nohang, int& status) {
  int raw = 0;
  int got;
  do got = ::waitpid(pid, &raw, nohang ? WNOHANG : 0);
  while (got < 0 && errno == EINTR);
  if (got > 0) status = DecodeStatus(raw);
  return got;
}

bool Processe_System(StrIn command) {
  std::string text(command.View());
  if (text.size() > kSystemCommandCap) text.resize(kSystemCommandCap);
  return std::system(text.c_str()) != 0;
}

int Processe_ExecuteCommand(StrIn command, int timeoutMs) {
  Processe_prError = 0;
  if (timeoutMs <= 0) {
    const int raw = std::system(command.Str().c_str());
    return raw == -1 ? 2 : DecodeStatus(raw);
  }
  const std::string text(command.View());
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid < 0) return 2;
  if (pid == 0) {
    ::execl("/bin/sh", "sh", "-c", text.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  int status = 0;
  for (int waited = 0;; waited += kPollMs) {
    if (Processe_WaitPID(pid, true, status) == pid) return status;
    if (waited >= timeoutMs) break;
    Utility_Delay(kPollMs);
  }
  ::kill(pid, SIGKILL);
  Processe_WaitPID(pid, false, status);
  Processe_prError = 7;
  return 2;
}

int Processe_GetPID() { return static_cast<int>(::getpid()); }

int Processe_GetPPID() { return static_cast<int>(::getppid()); }

int Processe_OriginalPID() { return originalPid != 0 ? originalPid : Processe_GetPID(); }

bool Processe_IsAlive(int pid) { return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM); }

bool Processe_IsApplicationAlive(int pid, StrIn name) {
  if (!Processe_IsAlive(pid)) return false;
  const std::string wanted(name.View());
  if (wanted.empty()) return true;
  std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline", std::ios::binary);
  if (!file) return true;
  std::string line(kCmdlineCap, '\0');
  file.read(line.data(), static_cast<std::streamsize>(line.size()));
  line.resize(static_cast<std::size_t>(file.gcount()));
  for (char& c : line)
    if (c == '\0') c = ' ';
  for (std::size_t at = line.find(wanted); at != std::string::npos; at = line.find(wanted, at + 1)) {
    const bool before = at == 0 || line[at - 1] == ' ' || line[at - 1] == '/';
    const std::size_t end = at + wanted.size();
    const bool after = end == line.size() || line[end] == ' ';
    if (before && after) return true;
  }
  return false;
}

int Processe_MapTVsignal2OSsignal(int signal) {
  for (const SignalPair& p : kSignalMap)
    if (p.system == signal) return p.os;
  return signal;
}

bool Processe_Kill(int pid, int signal) {
  Processe_prError = 0;
  if (::kill(pid, Processe_MapTVsignal2OSsignal(signal)) == 0) return true;
  Processe_prError = errno == ESRCH ? 4 : errno == EPERM ? 5 : 6;
  return false;
}

void Processe_InstallSignalHandler(int signal, Processe_SignalHandler handler) {
  const int os = Processe_MapTVsignal2OSsignal(signal);
  if (os <= 0 || os >= static_cast<int>(std::size(handlers))) return;
  handlers[os] = handler;
  struct sigaction action {};
  action.sa_handler = Dispatch;
  ::sigemptyset(&action.sa_mask);
  ::sigaction(os, &action, nullptr);
}

void Processe_SignalDefault(int signal) { std::signal(Processe_MapTVsignal2OSsignal(signal), SIG_DFL); }

void Processe_SignalIgnore(int signal) { std::signal(Processe_MapTVsignal2OSsignal(signal), SIG_IGN); }
