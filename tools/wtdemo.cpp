// wtdemo: shows a demonstration dialog until it is closed (OK, Cancel,
// Return, Escape or the window manager's close button).
//
//   wtdemo [-d] [-r FILE]
//
// Without -d the toolkit's sample dialog, made widget by widget; with -d the
// dialog "WtDemo_Jobs" of the dialog catalog "WTDEMOdlg", run by the dialog
// layer: fields of several kinds, a table of jobs and OK and Cancel. With
// -r the file FILE is made once the dialog is on the screen and drawn, so
// that a script can take a screenshot of it. Exit status 0, 1 for an
// unusable command line or no display.
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"
#include "toolkit/Wt.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtEvents.h"
#include "toolkit/WtTableD.h"
#include "tools/WtSample.h"

namespace {

char section[kSectionCap] = "wtdemo";
const char* readyFile = nullptr;

void Usage() {
  for (unsigned number = 9; number <= 11; ++number) {
    TextStr text;
    Messages_GetMsg(section, number, text);  // messages: wtdemo 9-11
    std::fprintf(stderr, "%s\n", text);
  }
}

// The dialog is on the screen when its shell was exposed and the server has
// nothing more to tell; then the ready file is made.
void TellWhenShown(Widget shell) {
  if (readyFile == nullptr || !static_cast<CWShell>(shell)->exposed) return;
  W_Sync(false);
  if (WtEvents_Pending()) return;
  if (std::FILE* f = std::fopen(readyFile, "w")) std::fclose(f);
  readyFile = nullptr;
}

// --- The sample dialog, widget by widget ---------------------------------------------------

void Leave(Widget, std::uintptr_t, WidgetValue*) { WtEvents_leaveMainLoop = true; }
void Close(Widget, std::uintptr_t) { WtEvents_leaveMainLoop = true; }

bool RunSample() {
  WtSample sample;
  WtSample_Build(sample);
  for (Widget w : {sample.shell, sample.ok, sample.cancel}) CWCore_SetCallback(w, Leave, 0);
  CWShell_SetDelWndCallback(sample.shell, Close, 0);
  CWShell_Popup(sample.shell, 0);
  WtEvents_leaveMainLoop = false;
  while (!WtEvents_leaveMainLoop) {
    WtEvents_ExecuteDeferredActions();
    TellWhenShown(sample.shell);
    W_Event event;
    WtEvents_NextEvent(event);
    WtEvents_DispatchEvent(event);
  }
  WtSample_Destroy(sample);
  return true;
}

// --- The dialog of the catalog ---------------------------------------------------------------

struct Job {
  WtTableD_Record link;
  std::uint8_t state;  // 0 printing, 1 waiting, 2 failed
  char name[64];
  char pages[16];
};

constexpr unsigned kFirstJobName = 20, kJobNames = 12;

void Buttons(I_Context, std::int32_t, std::int32_t, std::uintptr_t) { WtEvents_leaveMainLoop = true; }

// The status line names the selected job.
void JobSelected(I_Context context, std::int32_t, void* block, std::uintptr_t) {
  const Job* job = nullptr;
  std::memcpy(&job, block, sizeof job);
  for (; job != nullptr && !job->link.selected; job = reinterpret_cast<const Job*>(job->link.next)) {
  }
  TextStr status;
  if (job != nullptr) {
    Messages_GetMsg(section, 18, status);  // messages: wtdemo 18
    SPrintf_String(status, job->name);
  }
  I_PutSTRING(context, 8, status);
}

void WatchShell(std::uintptr_t data) {
  TellWhenShown(reinterpret_cast<Widget>(data));
  if (readyFile != nullptr) I_RescheduleTask(50);
}

WtTableD_Table JobTable() {
  WtTableD_Table table = WtTableD_CreateTableDef();
  TextStr header;
  Messages_GetMsg(section, 12, header);  // messages: wtdemo 12-17
  WtTableD_Column state = WtTableD_CreateEnumColumn(header, offsetof(Job, state), 1);
  for (unsigned value = 0; value < 3; ++value)
    WtTableD_SetLocalSingleEnum(state, value, section, 15 + value, static_cast<int>(value));
  Messages_GetMsg(section, 13, header);
  WtTableD_Column name = WtTableD_CreateStringColumn(header, offsetof(Job, name), sizeof(Job::name));
  WtTableD_SetFillUpWeight(name, 1);
  Messages_GetMsg(section, 14, header);
  WtTableD_Column pages = WtTableD_CreateStringColumn(header, offsetof(Job, pages), sizeof(Job::pages));
  for (WtTableD_Column c : {state, name, pages}) WtTableD_AddColumn(table, c);
  WtTableD_SetKeyColumns(table, name);
  return table;
}

bool RunCatalogDialog() {
  if (!I_UseContextCat("WTDEMOdlg")) return false;
  I_Context dialog = I_Create("WtDemo_Jobs", false);
  if (dialog == nullptr) return false;
  WtTableD_Table table = JobTable();
  WtTableD_SetTableDescription(dialog, 10, table);
  std::vector<Job> jobs(kJobNames);
  for (unsigned i = 0; i < kJobNames; ++i) {
    Job& job = jobs[i];
    job.link.next = i + 1 < kJobNames ? &jobs[i + 1].link : nullptr;
    job.link.selected = false;
    job.state = i == 0 ? 0 : i % 5 == 3 ? 2 : 1;
    Messages_GetMsg(section, kFirstJobName + i, job.name);  // messages: wtdemo 20-31
    std::snprintf(job.pages, sizeof job.pages, "%u", 4 + (i * 7) % 29);
  }
  WtTableD_Record* head = &jobs[0].link;
  I_PutGeneric(dialog, 7, &head);
  I_SetINTEGERcallback(dialog, 1, Buttons, 0);
  I_SetGenericcallback(dialog, 7, JobSelected, 0);
  I_Activate(dialog);
  I_ScheduleTask(50, WatchShell, reinterpret_cast<std::uintptr_t>(I_AccessWidget(dialog, -1)));
  I_MainLoop();
  I_Destroy(dialog);
  WtEvents_ExecuteDeferredActions();
  WtTableD_DestroyTableDef(table);
  return true;
}

bool Run(int argc, char** argv) {
  bool catalog = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "-d") == 0) catalog = true;
    else if (std::strcmp(argv[i], "-r") == 0 && i + 1 < argc) readyFile = argv[++i];
    else return Usage(), false;
  }
  Wt_Initialize();
  if (!Messages_Quietly([] { return WtBase_AssertDisplayOpen(); })) return false;
  if (!catalog) return RunSample();
  I_Init();
  return RunCatalogDialog();
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
