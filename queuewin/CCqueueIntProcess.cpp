// The queue window in a process of its own: "CCqueueDlg", a child of the
// program that asked for it. One child at a time: asked again, the child
// is told to raise its window (SIGUSR1). It ends with its parent: by the
// parent's termination chain, and by the kernel should the parent be killed.
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "base/DirAcces.h"
#include "base/Processe.h"
#include "queuewin/CCqueueInt.h"
#include "toolkit/I.h"

namespace {

constexpr int kCheckMs = 1000;
constexpr int kRaiseSignal = 16;  // SIGUSR1
constexpr int kKillSignal = 15;
constexpr char kProgram[] = "CCqueueDlg";

int child = -1;
bool killerInstalled = false;

// The child that ended is collected; a later call starts a new one.
void CCqueueInt_CheckChildCB(std::uintptr_t) {
  if (child <= 0) return;
  int status = 0;
  if (Processe_WaitPID(child, true, status) == 0) {
    I_RescheduleTask(kCheckMs);
    return;
  }
  child = -1;
}

void CCqueueInt_KillChildCB() {
  if (child <= 0) return;
  Processe_Kill(child, kKillSignal);
  int status = 0;
  Processe_WaitPID(child, false, status);
  child = -1;
}

// The program beside this one, else the one on PATH.
std::string ProgramPath() {
  PathStr beside;
  DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, std::string("bin/") + kProgram, beside);
  return access(beside, X_OK) == 0 ? StrIn(beside).Str() : std::string(kProgram);
}

}  // namespace

int CCqueueInt_StartAsDependentProcess() {
  // 1. A child that runs is raised.
  if (child > 0 && Processe_IsAlive(child)) {
    Processe_Kill(child, kRaiseSignal);
    return child;
  }
  // 2. Otherwise a new one.
  const std::string program = ProgramPath();
  const int pid = Processe_Fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const char* const args[] = {kProgram, nullptr};
    if (program.find('/') != std::string::npos) Processe_Exec(program, args);
    execvp(kProgram, const_cast<char* const*>(args));
    _exit(127);
  }
  if (pid < 0) return -1;
  child = pid;
  I_ScheduleTask(kCheckMs, CCqueueInt_CheckChildCB, 0);
  if (!killerInstalled) {
    Processe_InstallTerminationProcedure(CCqueueInt_KillChildCB);
    killerInstalled = true;
  }
  return child;
}
