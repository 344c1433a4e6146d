// The queue window's commands: deleting and raising jobs, stopping and
// running the queue, editing a waiting job, and the column toggles.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "base/StrVector.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "queuewin/CCqueueInt.h"
#include "queuewin/CCqueueIntRec.h"
#include "toolkit/CWTable.h"
#include "toolkit/Imisc.h"

namespace {

// messages: CCqueueInt 4-7 14 16 28-29
constexpr unsigned kKept = 4, kRefused = 5, kBadPriority = 6, kGone = 7;
constexpr unsigned kAskDelete = 14, kAskRaise = 16, kEnded = 28, kRuns = 29;
constexpr char kEditDialog[] = "CCqueueInt_Edit";
constexpr std::int32_t kEditButtons = 1, kEditPriority = 2, kEditDescription = 3, kEditTitle = 4;

// Message `number` with `text` put in, in a box.
void Refused(unsigned number, StrIn text) {
  TextStr message;
  Messages_GetMsg(CCqueueInt_section, number, message);
  SPrintf_String(message, text);
  Imisc_StrErrMsg(message);
}

void TellFailReason() {
  TextStr reason;
  CCqueueReq_GetFailReason(CCqueueInt_globalHandle != nullptr ? CCqueueInt_globalHandle->req : nullptr, reason);
  Refused(kRefused, reason);
}

bool Running(const CCqueueInt_Job* job) { return job->status == CCtypes_Running; }

// After a delete the selection goes to the first job behind the last one deleted.
void SelectBehind(CCqueueInt_JobList& list, const std::vector<CCqueueInt_Job*>& chosen) {
  std::size_t last = 0;
  for (std::size_t i = 0; i < list.jobs.size(); ++i)
    if (list.jobs[i]->link.selected) last = i;
  for (std::size_t i = last + 1; i < list.jobs.size(); ++i)
    if (std::find(chosen.begin(), chosen.end(), list.jobs[i]) == chosen.end()) {
      list.jobs[i]->link.selected = true;
      return;
    }
}

}  // namespace

bool CCqueueInt_JobCommand(std::uint8_t command, bool inFailed) {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  CCqueueInt_JobList& list = inFailed ? s.lists.failed : s.lists.actual;
  // 1. Running jobs are asked about.
  bool runningSelected = false;
  for (const CCqueueInt_Job* job : list.jobs) runningSelected = runningSelected || (job->link.selected && Running(job));
  const bool consent = !runningSelected || Imisc_Yes(CCqueueInt_section, command == CCprotocol_Delete ? kAskDelete : kAskRaise);
  // 2. The ids; a running job without consent stays, unselected.
  StrVector ids = StrVector_Create();
  std::vector<CCqueueInt_Job*> chosen;
  bool kept = false;
  for (CCqueueInt_Job* job : list.jobs) {
    if (!job->link.selected) continue;
    if (Running(job) && !consent) {
      job->link.selected = false;
      kept = true;
      continue;
    }
    StrVector_AddElement(ids, job->id);
    chosen.push_back(job);
  }
  if (kept) CCqueueInt_Say(CCqueueInt_Text(kKept));
  bool sent = !chosen.empty() && CCqueueReq_JobCommand(s.req, command, ids, inFailed);
  StrVector_Destroy(ids);
  if (chosen.empty()) {
    CCqueueInt_UpdateView();
    return false;
  }
  if (!sent) {
    TellFailReason();
    return false;
  }
  // 3. The list shows it at once; the server's events agree later.
  if (command == CCprotocol_Delete) {
    SelectBehind(list, chosen);
    for (CCqueueInt_Job* job : chosen) CCqueueInt_Forget(s.lists, job);
  } else if (command == CCprotocol_Raise) {
    CCqueueInt_MoveUp(s.lists, chosen);
  }
  CCqueueInt_UpdateView();
  return true;
}

bool CCqueueInt_JobEditable(std::uint8_t status) {
  switch (status) {
    case CCtypes_Waiting:
    case CCtypes_WaitingForPrecond: return true;
    case CCtypes_Unknown: return false;
    case CCtypes_Running: Imisc_ErrMsg(CCqueueInt_section, kRuns); return false;
    case CCtypes_Done:
    case CCtypes_Failed:
    case CCtypes_Canceled:
    case CCtypes_Removed: Imisc_ErrMsg(CCqueueInt_section, kEnded); return false;
    default: std::fprintf(stderr, "CCqueueInt_JobEditable():unknown job status\n"); return false;
  }
}

bool CCqueueInt_SetQueueStatus(std::uint8_t status) {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  if (CCqueueReq_SetQueueStatus(s.req, status)) return true;
  TellFailReason();
  return false;
}

void CCqueueInt_ModifyJob() {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  CCqueueInt_Job* shown = CCqueueInt_FirstSelected(s.lists.actual);
  if (shown == nullptr) {
    std::fprintf(stderr, "CCqueueInt_ModifyJob():no selected job\n");
    return;
  }
  if (!CCqueueInt_JobEditable(shown->status)) return;
  const std::string id = shown->id;
  CCjobBase_Job job = CCqueueReq_GetJobInfos(s.req, id);
  if (job == nullptr) {
    std::fprintf(stderr, "CCqueueInt_ModifyJob():could not get job infos\n");
    return Refused(kGone, id);
  }
  I_Context edit = I_Create(kEditDialog, false);
  if (edit == nullptr) return CCjobBase_Destroy(job);
  I_PutSTRING(edit, kEditTitle, id);
  I_PutSTRING(edit, kEditPriority, std::to_string(CCjobBase_GetPriority(job)));
  I_PutSTRING(edit, kEditDescription, std::string(CCjobBase_GetDescriptionField(job)));
  I_PutINTEGER(edit, kEditButtons, 0);
  I_SetINTEGERcallback(edit, kEditButtons, [](I_Context c, std::int32_t, std::int32_t, std::uintptr_t) { I_Deactivate(c); }, 0);
  I_Activate(edit);
  I_Dialog(edit);
  if (I_GetINTEGER(edit, kEditButtons) == 1) {
    TextStr description;
    NameStr priority;
    I_GetSTRING(edit, kEditDescription, description);
    I_GetSTRING(edit, kEditPriority, priority);
    char* end = nullptr;
    const unsigned long value = std::strtoul(priority, &end, 10);
    if (end == priority || *end != '\0' || priority[0] == '-' || value > 0xFFFFFFFFUL) {
      Refused(kBadPriority, priority);
    } else {
      CCjobBase_SetPriority(job, static_cast<std::uint32_t>(value));
      CCjobBase_SetDescription(job, StrIn(description).View());
      // The job may have started meanwhile: the server refuses then, with its reason.
      if (!CCqueueReq_ModifyJob(s.req, job)) TellFailReason();
    }
  }
  I_Destroy(edit);
  CCjobBase_Destroy(job);
}

void CCqueueInt_CommandCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (CCqueueInt_globalHandle == nullptr) return;
  switch (value) {
    case CCqueueInt_cmdDelete: CCqueueInt_JobCommand(CCprotocol_Delete, false); break;
    case CCqueueInt_cmdRaise: CCqueueInt_JobCommand(CCprotocol_Raise, false); break;
    case CCqueueInt_cmdDeleteFailed: CCqueueInt_JobCommand(CCprotocol_Delete, true); break;
    case CCqueueInt_cmdStop: CCqueueInt_SetQueueStatus(CCtypes_QueueStopped); break;
    case CCqueueInt_cmdRun: CCqueueInt_SetQueueStatus(CCtypes_QueueRunning); break;
    case CCqueueInt_cmdDetails: CCqueueInt_ShowJobInfos(); break;
    case CCqueueInt_cmdErrorFile: CCqueueInt_ShowFailedJobInfos(); break;
    case CCqueueInt_cmdEdit: CCqueueInt_ModifyJob(); break;
    case CCqueueInt_cmdClose: CCqueueInt_Exit(); break;
    default: break;
  }
}

void CCqueueInt_ColumnCB(I_Context, std::int32_t number, bool value, std::uintptr_t) {
  CCqueueInt_State* s = CCqueueInt_globalHandle;
  const std::int32_t toggle = number - CCqueueInt_kColumnFirst;
  if (s == nullptr || toggle < 0 || toggle >= CCqueueInt_kColumnCount) return;
  s->columns[toggle] = value;
  CCqueueInt_ApplyColumns();
  // A progress column shown again shows what the files say now.
  if (toggle == CCqueueInt_kColumnCount - 1 && value) CCqueueInt_UpdateProgress();
}

void CCqueueInt_ApplyColumns() {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  for (std::int32_t i = 0; i < CCqueueInt_kColumnCount; ++i)
    WtTableD_SetColumnShown(WtTableD_GetColumn(s.actualTable, CCqueueInt_ToggledColumn(i)), s.columns[i]);
  CWTable_ColumnsChanged(I_AccessWidget(s.dialog, CCqueueInt_kActual));
}
