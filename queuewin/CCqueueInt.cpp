// CCqueueInt: the window's state, its start and end, and its two tasks.
//
//   closed --StartUp--> open (connected or not) --Exit--> closed
//
// The update task reads the server's events and shows them: 100 ms after a
// change, else every 1000 ms, redrawing then only the progress column (at
// most once a second). The message task tells in the message line when the
// server went or came back.
#include "queuewin/CCqueueInt.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "jobqueue/CCtypes.h"
#include "queuewin/CCqueueIntRec.h"
#include "toolkit/CWTable.h"
#include "toolkit/ITxtView.h"
#include "toolkit/WtEvents.h"

CCqueueInt_State* CCqueueInt_globalHandle = nullptr;

namespace {

constexpr char kDialog[] = "CCqueueInt";
constexpr int kConnectMs = 2000, kSettleMs = 200;
constexpr int kChangedMs = 100, kQuietMs = 1000, kMessageMs = 1000;
constexpr std::int64_t kReadMs = 200, kProgressMs = 1000;
// messages: CCqueueInt 1-2
constexpr unsigned kServerDown = 1, kServerBack = 2;

std::int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

void TellConnection(bool connected) {
  TextStr text;
  Messages_GetMsg(CCqueueInt_section, connected ? kServerBack : kServerDown, text);
  SPrintf_String(text, CCqueueInt_globalHandle->host.empty() ? std::string("localhost") : CCqueueInt_globalHandle->host);
  CCqueueInt_Say(StrIn(text).Str());
}

void UpdateNotifyHandler(std::uintptr_t) {
  CCqueueInt_State* s = CCqueueInt_globalHandle;
  if (s == nullptr) return;
  if (s->closeAsked) return CCqueueInt_Exit();
  if (I_Active(s->dialog) && CCqueueInt_GotNewData()) {
    CCqueueInt_UpdateView();
    I_RescheduleTask(kChangedMs);
    return;
  }
  if (NowMs() - s->lastProgressMs >= kProgressMs && !s->lists.actual.jobs.empty()) CCqueueInt_UpdateProgress();
  I_RescheduleTask(kQuietMs);
}

// Says once when the connection went or came.
void MessageHandler(std::uintptr_t) {
  CCqueueInt_State* s = CCqueueInt_globalHandle;
  if (s == nullptr) return;
  if (s->connected != s->toldConnected) TellConnection(s->connected);
  s->toldConnected = s->connected;
  I_RescheduleTask(kMessageMs);
}

// The window manager closed the window: it closes now. Leaving the program
// (SIGTERM, inside its handler) only notes it; the update task closes it.
void CloseCB(I_Context, bool leaving, std::uintptr_t) {
  if (!leaving) return CCqueueInt_Exit();
  if (CCqueueInt_globalHandle != nullptr) CCqueueInt_globalHandle->closeAsked = true;
}

// The dialog with its tables, once for the process.
struct Window {
  I_Context dialog = nullptr;
  WtTableD_Table actual = nullptr, failed = nullptr, workers = nullptr;
};
Window window;

void SelectionCB(I_Context, std::int32_t, void*, std::uintptr_t);

bool MakeWindow() {
  if (window.dialog != nullptr) return true;
  Messages_UseMsgCat("CCQUEUEmsg");
  if (!I_UseContextCat("CCQUEUEdlg")) return false;
  I_Context dialog = I_Create(kDialog, false);
  if (dialog == nullptr) return false;
  window.dialog = dialog;
  for (std::int32_t i = 0; i < CCqueueInt_kColumnCount; ++i)
    I_SetBOOLEANcallback(dialog, CCqueueInt_kColumnFirst + i, CCqueueInt_ColumnCB, 0);
  I_SetINTEGERcallback(dialog, CCqueueInt_kCommand, CCqueueInt_CommandCB, 0);
  I_SetGenericcallback(dialog, CCqueueInt_kActual, SelectionCB, 0);
  I_SetGenericcallback(dialog, CCqueueInt_kFailed, SelectionCB, 0);
  I_SetCloseCallback(dialog, CloseCB, 0);
  window.actual = CCqueueInt_MakeActualTable();
  window.failed = CCqueueInt_MakeFailedTable();
  window.workers = CCqueueInt_MakeWorkerTable();
  WtTableD_SetTableDescription(dialog, CCqueueInt_kActual, window.actual);
  WtTableD_SetTableDescription(dialog, CCqueueInt_kFailed, window.failed);
  WtTableD_SetTableDescription(dialog, CCqueueInt_kWorkers, window.workers);
  return true;
}

// What the selections allow.
void EnableCommands(CCqueueInt_State& s) {
  bool actualSelected = false, waitingSelected = false;
  for (const CCqueueInt_Job* job : s.lists.actual.jobs) {
    actualSelected = actualSelected || job->link.selected;
    waitingSelected = waitingSelected || (job->link.selected && (job->status == CCtypes_Waiting ||
                                                                 job->status == CCtypes_WaitingForPrecond));
  }
  const bool failedSelected = CCqueueInt_FirstSelected(s.lists.failed) != nullptr;
  const auto bit = [](std::int32_t command, bool on) { return on ? 1u << command : 0u; };
  I_SetEnabledState(s.dialog, CCqueueInt_kCommand,
                    bit(CCqueueInt_cmdDelete, actualSelected) | bit(CCqueueInt_cmdRaise, waitingSelected) |
                        bit(CCqueueInt_cmdDeleteFailed, failedSelected) |
                        bit(CCqueueInt_cmdStop, s.connected && s.lists.queueStatus != CCtypes_QueueStopped) |
                        bit(CCqueueInt_cmdRun, s.connected && s.lists.queueStatus != CCtypes_QueueRunning) |
                        bit(CCqueueInt_cmdDetails, actualSelected || failedSelected) |
                        bit(CCqueueInt_cmdErrorFile, failedSelected) | bit(CCqueueInt_cmdEdit, waitingSelected) |
                        bit(CCqueueInt_cmdClose, true));
}

// A new selection: the commands it allows; a double click shows the job.
void SelectionCB(I_Context, std::int32_t number, void*, std::uintptr_t) {
  if (CCqueueInt_globalHandle == nullptr) return;
  EnableCommands(*CCqueueInt_globalHandle);
  if (!I_WasDoubleClick()) return;
  if (number == CCqueueInt_kFailed) CCqueueInt_ShowFailedJobInfos();
  else CCqueueInt_ShowJobInfos();
}

}  // namespace

void CCqueueInt_DefaultExitCB(std::uintptr_t) { WtEvents_leaveMainLoop = true; }

bool CCqueueInt_StartUp(StrIn host, CCqueueInt_ExitProc exit, std::uintptr_t data) {
  // 1. A second start only raises the window.
  if (CCqueueInt_globalHandle != nullptr) {
    I_Activate(CCqueueInt_globalHandle->dialog);
    return true;
  }
  // 2. The dialog and its tables, made once for the process and kept when
  //    the window closes (it may close from inside its own callbacks).
  if (!MakeWindow()) return false;
  auto* s = new CCqueueInt_State;
  CCqueueInt_globalHandle = s;
  s->dialog = window.dialog;
  s->actualTable = window.actual;
  s->failedTable = window.failed;
  s->workerTable = window.workers;
  s->host = host.Str();
  s->exit = exit != nullptr ? exit : CCqueueInt_DefaultExitCB;
  s->exitData = data;
  // 3. The connection; a server that does not answer now is looked for by the task.
  s->req = CCqueueReq_Connect(s->host, kConnectMs);
  s->connected = s->toldConnected = CCqueueReq_IsConnected(s->req);
  // 4. Values.
  CCqueueInt_GetSettings();
  for (std::int32_t i = 0; i < CCqueueInt_kColumnCount; ++i) I_PutBOOLEAN(s->dialog, CCqueueInt_kColumnFirst + i, s->columns[i]);
  I_PutSTRING(s->dialog, CCqueueInt_kMessage, " ");
  CCqueueInt_ApplyColumns();
  s->lists.workersChanged = true;
  CCqueueInt_UpdateView();
  if (!s->connected) TellConnection(false);
  // 5. A moment for the server's first events, then the window and both tasks.
  usleep(kSettleMs * 1000);
  I_Activate(s->dialog);
  s->updateTask = I_ScheduleTask(0, UpdateNotifyHandler, 0);
  s->messageTask = I_ScheduleTask(0, MessageHandler, 0);
  return true;
}

void CCqueueInt_Exit() {
  CCqueueInt_State* s = CCqueueInt_globalHandle;
  if (s == nullptr) return;
  CCqueueInt_SetSettings();
  I_Deactivate(s->dialog);
  I_CancelScheduledTask(s->updateTask);
  I_CancelScheduledTask(s->messageTask);
  CCqueueReq_CloseConn(s->req);
  if (ITxtView_Shown()) ITxtView_Hide();
  if (!s->tempDetails.empty()) std::remove(s->tempDetails.c_str());
  // The tables let go of the records before they are freed.
  WtTableD_Record* none = nullptr;
  for (std::int32_t table : {CCqueueInt_kActual, CCqueueInt_kFailed, CCqueueInt_kWorkers})
    I_PutGeneric(s->dialog, table, &none);
  const CCqueueInt_ExitProc exit = s->exit;
  const std::uintptr_t data = s->exitData;
  CCqueueInt_globalHandle = nullptr;
  delete s;
  exit(data);
}

bool CCqueueInt_IsOpen() { return CCqueueInt_globalHandle != nullptr; }
I_Context CCqueueInt_Context() { return CCqueueInt_globalHandle != nullptr ? CCqueueInt_globalHandle->dialog : nullptr; }

bool CCqueueInt_GotNewData() {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  // 1. The connection: a server that went is looked for once a turn.
  if (s.req == nullptr) s.req = CCqueueReq_Connect(s.host, kConnectMs);
  const bool was = s.connected;
  s.connected = CCqueueReq_IsConnected(s.req) || CCqueueReq_Reconnect(s.req);
  bool changed = was != s.connected;
  if (!s.connected) return changed;
  // 2. Events for at most 200 ms.
  const std::int64_t end = NowMs() + kReadMs;
  CCevent_Event event;
  bool reconnected = false;
  while (NowMs() < end) {
    const bool got = CCqueueReq_ReceiveEvent(s.req, event, reconnected);
    // 3. A new listener hears the queue from its start: what was shown goes.
    if (reconnected) {
      s.lists.ClearActual();
      changed = true;
    }
    if (!got) break;
    changed = CCqueueInt_ApplyEvent(s.lists, event) || changed;
  }
  s.connected = CCqueueReq_IsConnected(s.req);
  return changed;
}

void CCqueueInt_UpdateView() {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  WtTableD_Record* head = CCqueueInt_Link(s.lists.actual);
  I_PutGeneric(s.dialog, CCqueueInt_kActual, &head);
  head = CCqueueInt_Link(s.lists.failed);
  I_PutGeneric(s.dialog, CCqueueInt_kFailed, &head);
  if (s.lists.workersChanged) {
    head = CCqueueInt_LinkWorkers(s.lists.workers);
    I_PutGeneric(s.dialog, CCqueueInt_kWorkers, &head);
    s.lists.workersChanged = false;
  }
  s.lists.Bury();
  I_PutINTEGER(s.dialog, CCqueueInt_kLamp, s.connected ? s.lists.queueStatus : CCtypes_QueueUnknown);
  if (!s.lists.message.empty()) {
    CCqueueInt_Say(s.lists.message);
    s.lists.message.clear();
  }
  EnableCommands(s);
}

void CCqueueInt_UpdateProgress() {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  s.lastProgressMs = NowMs();
  if (!s.columns[CCqueueInt_kColumnCount - 1]) return;
  bool any = false;
  for (CCqueueInt_Job* job : s.lists.actual.jobs) {
    if (job->status != CCtypes_Running) continue;
    job->progress = CCqueueInt_GetJobProgressLine(job->progressFile, job->progressText);
    any = true;
  }
  if (any) CWTable_RedrawColumn(I_AccessWidget(s.dialog, CCqueueInt_kActual), CCqueueInt_progressColumn);
}

void CCqueueInt_Say(const std::string& text) {
  if (CCqueueInt_globalHandle != nullptr) I_PutSTRING(CCqueueInt_globalHandle->dialog, CCqueueInt_kMessage, text);
}

CCqueueInt_Job* CCqueueInt_FirstSelected(CCqueueInt_JobList& list) {
  for (CCqueueInt_Job* job : list.jobs)
    if (job->link.selected) return job;
  return nullptr;
}
