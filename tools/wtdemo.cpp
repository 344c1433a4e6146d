// wtdemo: shows the toolkit's sample dialog until it is closed (OK, Cancel,
// Return, Escape or the window manager's close button).
//
//   wtdemo [-r FILE]
//
// With -r the file FILE is made once the dialog is on the screen and drawn,
// so that a script can take a screenshot of it. Exit status 0, 1 for an
// unusable command line or no display.
#include <cstdio>
#include <cstring>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "toolkit/CWShell.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtEvents.h"
#include "tools/WtSample.h"

namespace {

char section[kSectionCap] = "wtdemo";

void Usage() {
  for (unsigned number = 9; number <= 11; ++number) {
    TextStr text;
    Messages_GetMsg(section, number, text);  // messages: wtdemo 9-11
    std::fprintf(stderr, "%s\n", text);
  }
}

void Leave(Widget, std::uintptr_t, WidgetValue*) { WtEvents_leaveMainLoop = true; }
void Close(Widget, std::uintptr_t) { WtEvents_leaveMainLoop = true; }

// The dialog is on the screen when its shell was exposed and the server has
// nothing more to tell.
bool Shown(Widget shell) {
  if (!static_cast<CWShell>(shell)->exposed) return false;
  W_Sync(false);
  return !WtEvents_Pending();
}

bool Run(int argc, char** argv) {
  const char* readyFile = nullptr;
  if (argc == 3 && std::strcmp(argv[1], "-r") == 0) readyFile = argv[2];
  else if (argc != 1) return Usage(), false;
  Wt_Initialize();
  if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); })) return false;
  WtSample sample;
  WtSample_Build(sample);
  for (Widget w : {sample.shell, sample.ok, sample.cancel}) CWCore_SetCallback(w, Leave, 0);
  CWShell_SetDelWndCallback(sample.shell, Close, 0);
  CWShell_Popup(sample.shell, 0);
  WtEvents_leaveMainLoop = false;
  while (!WtEvents_leaveMainLoop) {
    WtEvents_ExecuteDeferredActions();
    if (readyFile != nullptr && Shown(sample.shell)) {
      if (std::FILE* f = std::fopen(readyFile, "w")) std::fclose(f);
      readyFile = nullptr;
    }
    W_Event event;
    WtEvents_NextEvent(event);
    WtEvents_DispatchEvent(event);
  }
  WtSample_Destroy(sample);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  Processe_Init();
  Messages_Init();
  Messages_UseMsgCat("WTDEMOmsg");
  Processe_SetExitStatus(1);
  if (Run(argc, argv)) Processe_SetExitStatus(0);
  Processe_Exit();
  return Processe_GetExitStatus();
}
