// The parent of a dependent queue window, for the gui test: starts
// CCqueueDlg, waits until it listens for SIGUSR1, asks for it again (a
// raise), writes both process ids to standard output and ends through the
// termination chain, which ends the window too.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "queuewin/CCqueueInt.h"

namespace {

// Whether process `pid` catches SIGUSR1 (its handler is there).
bool CatchesRaise(int pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(in, line);)
    if (line.starts_with("SigCgt:")) return (std::stoull(line.substr(7), nullptr, 16) & (1ULL << (SIGUSR1 - 1))) != 0;
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  Processe_Init();
  Messages_Init();
  const int first = CCqueueInt_StartAsDependentProcess();
  for (int i = 0; i < 200 && first > 0 && !CatchesRaise(first); ++i) usleep(50000);
  const int second = CCqueueInt_StartAsDependentProcess();
  std::printf("%d %d\n", first, second);
  std::fflush(stdout);
  usleep(300000);
  Processe_Exit();
}
