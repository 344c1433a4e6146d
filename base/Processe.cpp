#include "base/Processe.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

std::uint8_t Processe_prError = 0;

namespace {

int exitStatus = 0;
bool exiting = false;
// Newest procedure last; the chain is run from the back.
std::vector<Processe_TerminationProcedure>& Chain() {
  static std::vector<Processe_TerminationProcedure> chain;
  return chain;
}

}  // namespace

void Processe_Init() {
  static bool done = false;
  if (done) return;
  done = true;
}

void Processe_SetExitStatus(int status) { exitStatus = status; }

int Processe_GetExitStatus() { return exitStatus; }

void Processe_InstallTerminationProcedure(Processe_TerminationProcedure procedure) {
  Chain().push_back(procedure);
}

void Processe_Exit() {
  if (exiting) return;
  exiting = true;
  // Take each procedure off before calling it, so that one that fails (and
  // ends up here again) is not called a second time.
  auto& chain = Chain();
  while (!chain.empty()) {
    Processe_TerminationProcedure procedure = chain.back();
    chain.pop_back();
    procedure();
  }
  std::exit(exitStatus);
}

int Processe_MapTVsignal2OSsignal(int signal) {
  struct Pair {
    int system, os;
  };
  static constexpr Pair kMap[] = {
      {7, 16},  {10, 7},  {12, 31}, {16, 10}, {17, 12}, {18, 17}, {19, 30},
      {20, 28}, {21, 23}, {22, 29}, {23, 19}, {24, 20}, {25, 18}, {26, 21},
      {27, 22}, {28, 26}, {29, 27}, {30, 24}, {31, 25},
  };
  for (const Pair& p : kMap)
    if (p.system == signal) return p.os;
  return signal;
}

bool Processe_Kill(int pid, int signal) {
  Processe_prError = 0;
  if (::kill(pid, Processe_MapTVsignal2OSsignal(signal)) == 0) return true;
  Processe_prError = errno == ESRCH ? 4 : errno == EPERM ? 5 : 6;
  return false;
}

int Processe_GetPID() { return static_cast<int>(::getpid()); }

bool Processe_IsAlive(int pid) { return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM); }
