#include "services/CCworker/CCrunner.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "jobqueue/CCtypes.h"

extern char** environ;

namespace {

// $0 is the command, $1 the error file, $2 the progress file. The job's own
// shell makes the files, so that a busy disk slows the job rather than the
// worker. The trap writes the status however the shell ends but by a
// signal, an "exit" of the command included.
constexpr char kScript[] =
    "trap 'echo \"exit $?\" >&3' EXIT; [ -z \"$2\" ] || : >\"$2\"; exec >\"${1:-/dev/null}\" 2>&1; eval \"$0\"";
constexpr int kLockDescriptor = 3;

// The worker's environment with the job's own variables.
std::vector<std::string> Environment(const CCrunner_Job& job) {
  std::vector<std::string> env;
  const std::string id = std::string(CCtypes_jobIdEnvVar) + "=", employer = std::string(CCtypes_employerEnvVar) + "=";
  for (char** e = environ; *e != nullptr; ++e)
    if (std::strncmp(*e, id.c_str(), id.size()) != 0 && std::strncmp(*e, employer.c_str(), employer.size()) != 0)
      env.emplace_back(*e);
  env.push_back(id + job.id);
  env.push_back(employer + job.employer);
  return env;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& t : texts) pointers.push_back(t.data());
  pointers.push_back(nullptr);
  return pointers;
}

// A root worker runs a job of another user: the switch needs a child of its own.
[[noreturn]] void BecomeJob(const CCrunner_Job& job, int jobFile, char* const* argv, char* const* envp) {
  ::setsid();
  sigset_t none;
  sigemptyset(&none);
  for (int signal = 1; signal < NSIG; ++signal) ::signal(signal, SIG_DFL);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  const int in = ::open("/dev/null", O_RDONLY);
  const int out = ::open("/dev/null", O_WRONLY);
  const bool locked = jobFile == kLockDescriptor ? ::fcntl(jobFile, F_SETFD, 0) == 0
                                                 : ::dup2(jobFile, kLockDescriptor) >= 0;
  if (in < 0 || out < 0 || ::dup2(in, 0) < 0 || ::dup2(out, 1) < 0 || ::dup2(out, 2) < 0 || !locked || (!job.workDir.empty() && ::chdir(job.workDir.c_str()) != 0) ||
      ::setgroups(0, nullptr) != 0 || (job.gid >= 0 && ::setgid(static_cast<gid_t>(job.gid)) != 0) ||
      ::setuid(static_cast<uid_t>(job.uid)) != 0)
    ::_exit(126);
  ::execve("/bin/sh", argv, envp);
  ::_exit(127);
}

}  // namespace

int CCrunner_Start(const CCrunner_Job& job, int jobFile) {
  std::vector<std::string> args = {"sh", "-c", kScript, job.command, job.errorFile, job.progressFile};
  std::vector<std::string> env = Environment(job);
  std::vector<char*> argv = Pointers(args), envp = Pointers(env);
  if (::geteuid() == 0 && job.uid >= 0) {
    const pid_t pid = ::fork();
    if (pid == 0) BecomeJob(job, jobFile, argv.data(), envp.data());
    return pid;
  }
  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  ::posix_spawn_file_actions_init(&files);
  ::posix_spawnattr_init(&attributes);
  if (!job.workDir.empty()) ::posix_spawn_file_actions_addchdir_np(&files, job.workDir.c_str());
  ::posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDWR, 0);
  ::posix_spawn_file_actions_adddup2(&files, 0, 1);
  ::posix_spawn_file_actions_adddup2(&files, 0, 2);
  ::posix_spawn_file_actions_adddup2(&files, jobFile, kLockDescriptor);
  // A session of its own, every signal as the system has it.
  sigset_t all, none;
  sigfillset(&all);
  sigemptyset(&none);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setsigdefault(&attributes, &all);
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, "/bin/sh", &files, &attributes, argv.data(), envp.data());
  ::posix_spawn_file_actions_destroy(&files);
  ::posix_spawnattr_destroy(&attributes);
  if (error == 0) return pid;
  errno = error;
  return -1;
}

void CCrunner_Cancel(int pid) {
  if (pid > 0) ::kill(-pid, SIGTERM);
}

void CCrunner_Kill(int pid) {
  if (pid > 0) ::kill(-pid, SIGKILL);
}
