// CCqueueDlg: the queue window as a program of its own, for operators
// without the manager and for the manager's dependent window.
//
//   CCqueueDlg [-?] [HOST]
//
// Shows the job queue of the server on HOST (default this machine) until
// the window is closed; SIGUSR1 raises the window. Exit status 0; 1 for the
// usage text, an unusable command line or no display; 2 for an internal
// error.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/Argument.h"
#include "base/Catalog.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "queuewin/CCqueueInt.h"
#include "rc/SrcFile.h"
#include "toolkit/I.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtEvents.h"

namespace {

char section[kSectionCap] = "CCqueueInt";
// messages: CCqueueInt 18-19
constexpr unsigned kUsageFirst = 18, kUsageLast = 19;
constexpr int kRaiseSignal = 16;  // SIGUSR1
constexpr int kRaiseCheckMs = 200;

volatile std::sig_atomic_t raiseAsked = 0;

void Usage() {
  for (unsigned number = kUsageFirst; number <= kUsageLast; ++number) {
    TextStr text;
    Messages_GetMsg(section, number, text);
    std::fprintf(stderr, "%s\n", text);
  }
}

void RaiseHandler(int) { raiseAsked = 1; }

// The signal only notes; the window is raised here, in the loop.
void RaiseTask(std::uintptr_t) {
  if (raiseAsked != 0 && CCqueueInt_IsOpen()) I_Activate(CCqueueInt_Context());
  raiseAsked = 0;
  I_RescheduleTask(kRaiseCheckMs);
}

bool Show(const char* host) {
  // At once: a parent may ask for a raise before the window is there.
  Processe_InstallSignalHandler(kRaiseSignal, RaiseHandler);
  Wt_Initialize();
  if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); })) {
    // Said here: as an error of the toolkit it would end the program as an internal one.
    TextStr text;
    Messages_GetMsg("WtErrors", 1, text);  // messages: WtErrors 1
    std::fprintf(stderr, "CCqueueDlg: %s\n", text);
    return false;
  }
  I_Init();
  if (!CCqueueInt_StartUp(std::string(host), nullptr, 0)) return false;
  I_ScheduleTask(kRaiseCheckMs, RaiseTask, 0);
  I_MainLoop();
  // SIGTERM or the window manager ended the loop: the window closes as by its button.
  CCqueueInt_Exit();
  return true;
}

bool Run(int argc, char** argv) {
  const char* host = "";
  for (int i = 1; i < argc; ++i) {
    if (argv[i][0] == '-' || host[0] != '\0') return Usage(), false;
    host = argv[i];
  }
  return Show(host);
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  Processe_Init();
  Messages_Init();
  Catalog_Init();
  DirAcces_Init();
  SrcFile_Init();
  Messages_UseMsgCat("CCQUEUEmsg");
  Processe_SetExitStatus(1);
  if (Run(argc, argv)) Processe_SetExitStatus(0);
  Processe_Exit();
  return Processe_GetExitStatus();
}
