#include "services/CCworker/CCrunner.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "jobqueue/CCtypes.h"
#include "services/CCworker/CCjobDir.h"

namespace {

constexpr unsigned kKillGraceSeconds = 5;
constexpr int kLockDescriptor = 3;

volatile sig_atomic_t jobGroup = 0;
volatile sig_atomic_t canceled = 0;

void OnTerminate(int) {
  canceled = 1;
  if (jobGroup > 0) ::kill(-jobGroup, SIGTERM);
  ::alarm(kKillGraceSeconds);
}

void OnAlarm(int) {
  if (jobGroup > 0) ::kill(-jobGroup, SIGKILL);
}

void Handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

void Unblock() {
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void OnDevNull(int fd, int flags) {
  const int null = ::open("/dev/null", flags);
  if (null >= 0 && null != fd) ::dup2(null, fd), ::close(null);
}

// The command's process: a group of its own, the job's environment, the shell.
[[noreturn]] void RunCommand(const CCrunner_Job& job) {
  ::setpgid(0, 0);
  ::close(kLockDescriptor);
  for (int signal : {SIGTERM, SIGALRM, SIGHUP, SIGINT, SIGPIPE, SIGCHLD}) Handle(signal, SIG_DFL);
  Unblock();
  OnDevNull(0, O_RDONLY);
  const int out = job.errorFile.empty() ? -1 : ::open(job.errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (out >= 0) {
    ::fchmod(out, 0666);  // the error file is read and removed by others
    ::dup2(out, 1), ::dup2(out, 2);
    if (out > 2) ::close(out);
  }
  if (!job.workDir.empty() && ::chdir(job.workDir.c_str()) != 0) {
    if (::write(2, job.workDirMessage.data(), job.workDirMessage.size()) < 0) ::_exit(126);
    ::_exit(126);
  }
  if (::geteuid() == 0 && job.uid >= 0) {
    if ((job.gid >= 0 && ::setgid(static_cast<gid_t>(job.gid)) != 0) || ::setuid(static_cast<uid_t>(job.uid)) != 0)
      ::_exit(126);
  }
  ::setenv(CCtypes_jobIdEnvVar, job.id.c_str(), 1);
  ::setenv(CCtypes_employerEnvVar, job.employer.c_str(), 1);
  ::execl("/bin/sh", "sh", "-c", job.command.c_str(), static_cast<char*>(nullptr));
  ::_exit(127);
}

// The guardian: outlives the worker, holds the job's file, tells how it ended.
[[noreturn]] void Guard(const CCrunner_Job& job, int jobFile, const std::string& exitPath) {
  ::setsid();
  if (jobFile != kLockDescriptor) ::dup2(jobFile, kLockDescriptor);
  ::close_range(kLockDescriptor + 1, ~0U, 0);  // the worker's sockets and files are not ours
  OnDevNull(0, O_RDONLY);
  OnDevNull(1, O_WRONLY);
  OnDevNull(2, O_WRONLY);
  Handle(SIGTERM, OnTerminate);
  Handle(SIGALRM, OnAlarm);
  Handle(SIGHUP, SIG_IGN);
  Handle(SIGINT, SIG_IGN);
  Handle(SIGCHLD, SIG_DFL);
  char line[64];
  const int length = std::snprintf(line, sizeof line, "guardian %d\n", static_cast<int>(::getpid()));
  if (::write(kLockDescriptor, line, static_cast<std::size_t>(length)) < 0) ::_exit(1);
  const pid_t pid = ::fork();
  if (pid == 0) RunCommand(job);
  if (pid > 0) {
    ::setpgid(pid, pid);
    jobGroup = pid;
  }
  Unblock();
  CCjobDir_Outcome outcome;
  outcome.known = true;
  int status = 0;
  if (pid < 0) {
    outcome.code = 127;
  } else {
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.signaled = WIFSIGNALED(status);
    outcome.code = outcome.signaled ? WTERMSIG(status) : WEXITSTATUS(status);
    if (canceled) ::kill(-pid, SIGKILL);  // what the command left of its group goes with it
  }
  CCjobDir_WriteOutcome(exitPath, outcome);
  ::_exit(0);
}

}  // namespace

int CCrunner_Start(const CCrunner_Job& job, int jobFile) {
  const std::string exitPath = CCjobDir_ExitPath(job.id);
  // No signal may reach the guardian before it has handlers of its own.
  sigset_t all, old;
  sigfillset(&all);
  ::sigprocmask(SIG_BLOCK, &all, &old);
  const pid_t pid = ::fork();
  if (pid == 0) Guard(job, jobFile, exitPath);
  ::sigprocmask(SIG_SETMASK, &old, nullptr);
  return pid;
}

void CCrunner_Cancel(int guardian) {
  if (guardian > 0) ::kill(guardian, SIGTERM);
}
