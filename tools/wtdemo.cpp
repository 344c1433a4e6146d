// wtdemo: shows a demonstration dialog until it is closed (OK, Cancel,
// Return, Escape or the window manager's close button).
//
//   wtdemo [-d | -g | -p PAGE] [-r FILE]
//
// Without options the toolkit's sample dialog, made widget by widget; with
// -d the dialog "WtDemo_Jobs" of the dialog catalog "WTDEMOdlg", run by the
// dialog layer: fields of several kinds, a table of jobs and OK and Cancel;
// its values go to standard output when it ends with OK. -g shows every
// icon of the installation (the gallery); -p PAGE a page of one class of
// widgets from the same catalog (scrollbars, menus, lists, pages, lamps).
// With -r the file FILE is made once the dialog is on the screen and drawn
// (and a replay of TV_GUIREPLAY has played), so that a script can take a
// screenshot of it. Exit status 0, 1 for an unusable command line or no
// display.
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "frontends/FEautost.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/IReplay.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtEvents.h"
#include "tools/WtDemoJobs.h"
#include "tools/WtGallery.h"
#include "tools/WtSample.h"
#include "workflow/WFbase.h"

namespace {

char section[kSectionCap] = "wtdemo";
const char* readyFile = nullptr;

void Usage() {
  for (unsigned number : {9, 10, 11, 41, 42, 43}) {
    TextStr text;
    Messages_GetMsg(section, number, text);  // messages: wtdemo 9-11 41-43
    std::fprintf(stderr, "%s\n", text);
  }
}

// The dialog is on the screen when its shell was exposed, a replay has
// played its lines and the server has nothing more to tell; then the ready
// file is made.
void TellWhenShown(Widget shell) {
  if (readyFile == nullptr || !static_cast<CWShell>(shell)->exposed || IReplay_Running()) return;
  W_Sync(false);
  if (WtEvents_Pending()) return;
  if (std::FILE* f = std::fopen(readyFile, "w")) std::fclose(f);
  readyFile = nullptr;
}

// --- The sample dialog, widget by widget ---------------------------------------------------

void Leave(Widget, std::uintptr_t, WidgetValue*) { WtEvents_leaveMainLoop = true; }
void Close(Widget, std::uintptr_t) { WtEvents_leaveMainLoop = true; }

// Shows a window made widget by widget until it is closed.
void RunShell(Widget shell) {
  CWShell_SetDelWndCallback(shell, Close, 0);
  CWShell_Popup(shell, 0);
  WtEvents_leaveMainLoop = false;
  while (!WtEvents_leaveMainLoop) {
    WtEvents_ExecuteDeferredActions();
    TellWhenShown(shell);
    W_Event event;
    WtEvents_NextEvent(event);
    WtEvents_DispatchEvent(event);
  }
}

bool RunSample() {
  WtSample sample;
  WtSample_Build(sample);
  for (Widget w : {sample.shell, sample.ok, sample.cancel}) CWCore_SetCallback(w, Leave, 0);
  RunShell(sample.shell);
  WtSample_Destroy(sample);
  return true;
}

bool RunGallery() {
  Widget gallery = WtGallery_Build();
  RunShell(gallery);
  Wt_DestroyWidget(gallery);
  return true;
}

// --- The dialog of the catalog ---------------------------------------------------------------

void WatchShell(std::uintptr_t data) {
  TellWhenShown(reinterpret_cast<Widget>(data));
  if (readyFile != nullptr) I_RescheduleTask(50);
}

void LeavePage(I_Context, std::int32_t, std::int32_t, std::uintptr_t) { WtEvents_leaveMainLoop = true; }

// A page of widgets: the dialog "WtDemo_<Page>" (the name with a capital),
// which works by its values alone; its button 1 closes it.
bool RunPage(const char* page) {
  std::string name = std::string("WtDemo_") + page;
  name[7] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[7])));
  if (!I_UseContextCat("WTDEMOdlg")) return false;
  I_Context dialog = Messages_Quietly([&] { return I_Create(name, true); });
  if (dialog == nullptr) return Usage(), false;
  I_SetINTEGERcallback(dialog, 1, LeavePage, 0);
  I_ScheduleTask(50, WatchShell, reinterpret_cast<std::uintptr_t>(I_AccessWidget(dialog, -1)));
  I_MainLoop();
  I_Destroy(dialog);
  WtEvents_ExecuteDeferredActions();
  return true;
}

// With OK the dialog's values go to standard output, one a line.
bool RunCatalogDialog() {
  WtDemoJobs demo;
  if (!WtDemoJobs_Open(demo)) return false;
  I_Activate(demo.dialog);
  I_ScheduleTask(50, WatchShell, reinterpret_cast<std::uintptr_t>(I_AccessWidget(demo.dialog, -1)));
  I_MainLoop();
  if (demo.button == 1)
    for (const std::string& line : WtDemoJobs_Values(demo)) std::printf("%s\n", line.c_str());
  WtDemoJobs_Close(demo);
  return true;
}

// --- The start folder's dialog ---------------------------------------------------------------

void WatchStartFolder(std::uintptr_t) {
  const I_Context dialog = FEautost_Dialog();
  if (dialog != nullptr && I_Active(dialog)) TellWhenShown(I_AccessWidget(dialog, -1));
  if (readyFile != nullptr) I_RescheduleTask(50);
}

// The start folder's parameters as a new workflow "demo" gets them.
bool RunStartFolder() {
  FEautost_Init();
  WFbase_SetFeedback(false);
  SAutoRcF rc = SAutoRcF_Create();
  PathStr folder;
  FEautost_GetDefaultStartdir("demo", folder);
  FEautost_SetDefaultParams(rc, folder);
  I_ScheduleTask(50, WatchStartFolder, 0);
  bool modified = false;
  FEautost_FrontEnd("demo", "start", rc, nullptr, modified);
  SAutoRcF_Destroy(rc);
  return FEautost_Dialog() != nullptr;
}

bool Run(int argc, char** argv) {
  char mode = 's';
  const char* page = nullptr;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "-d") == 0) mode = 'd';
    else if (std::strcmp(argv[i], "-f") == 0) mode = 'f';
    else if (std::strcmp(argv[i], "-g") == 0) mode = 'g';
    else if (std::strcmp(argv[i], "-p") == 0 && i + 1 < argc && argv[i + 1][0] != '\0') mode = 'p', page = argv[++i];
    else if (std::strcmp(argv[i], "-r") == 0 && i + 1 < argc) readyFile = argv[++i];
    else return Usage(), false;
  }
  Wt_Initialize();
  if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); })) return false;
  if (mode == 's') return RunSample();
  if (mode == 'g') return RunGallery();
  I_Init();
  if (mode == 'f') return RunStartFolder();
  return mode == 'p' ? RunPage(page) : RunCatalogDialog();
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
