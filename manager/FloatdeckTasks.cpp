// The main window's two tasks and the demon lamp.
//
// The shown workflow's task (Floatdeck_IdleTaskCurr) runs 3 s after a
// change, and 1 s later each round nothing changed, up to 10 s; the task of
// all workflows (Floatdeck_IdleTaskAll) every 30 s. Both re-arm themselves;
// a task that showed another workflow leaves the re-arming to the new task.
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "manager/Floatdeck.h"
#include "manager/FloatdeckWin.h"
#include "manager/WFstatus.h"
#include "manager/WFstatusContent.h"
#include "workflow/WFmodule.h"

namespace {

char section[kSectionCap] = "Floatdeck";

constexpr int kFirstInterval = 3000, kStep = 1000, kLongestInterval = 10000, kAllInterval = 30000;
constexpr unsigned kChangedOnDisk = 19;  // with the workflow's name

Floatdeck_Data& D() { return *Floatdeck_data; }

// The workflow shown was changed or removed by another program: shown anew.
void UpdateCurrWorkflow() {
  Floatdeck_Data& d = D();
  if (d.current == nullptr) return;
  PathStr start;
  NameStr name;
  WFbase_GetName(d.current, name);
  WFbase_GetStartPath(name, start);
  if (!DirAcces_Access(start, DirAcces_Mode::Exists)) return Floatdeck_NewWorkflowList("");
  if (!WFbase_WorkflowModified(d.current)) return;
  const int interval = d.currInterval;
  Floatdeck_StopIdleTasks();
  WFbase_Message(section, kChangedOnDisk, name);  // messages: Floatdeck 19
  Floatdeck_DisplayNewWorkflow(name);
  d.currInterval = interval;
}

// A workflow was added or removed: the root of the workflows changed since
// the list was made.
bool WFListExpired() {
  PathStr root;
  WFmodule_GetRootDir(1, root);
  return DirAcces_LastModified(root) >= D().listStamp;
}

bool UpdateAllWFStates() {
  bool changed = false;
  for (Floatdeck_WfEntry& entry : D().list) {
    WFbase start = Messages_Quietly([&] { return WFbase_RebuildWorkflowStart(entry.name); });
    changed = Floatdeck_UpdateStates(entry, start) || changed;
    WFbase_DestroyWorkflow(start);
  }
  return changed;
}

}  // namespace

int Floatdeck_NextInterval(int interval, bool changed) {
  if (changed) return kFirstInterval;
  return interval >= kLongestInterval ? kLongestInterval : interval + kStep;
}

void Floatdeck_StartIdleTasks(int interval) {
  Floatdeck_Data& d = D();
  if (!I_Active(d.main)) return;
  d.currInterval = interval;
  if (d.taskCurr == I_NilTask()) d.taskCurr = I_ScheduleTask(interval, Floatdeck_IdleTaskCurr, 0);
  if (d.taskAll == I_NilTask()) d.taskAll = I_ScheduleTask(kAllInterval, Floatdeck_IdleTaskAll, 0);
}

void Floatdeck_StopIdleTasks() {
  Floatdeck_Data& d = D();
  I_CancelScheduledTask(d.taskCurr);
  I_CancelScheduledTask(d.taskAll);
  d.taskCurr = d.taskAll = I_NilTask();
}

void Floatdeck_IdleTaskCurr(std::uintptr_t) {
  Floatdeck_Data& d = D();
  const int self = d.taskCurr;
  // 1. Changes on disk.
  if (d.mode == 0) {
    UpdateCurrWorkflow();
    if (WFListExpired()) Floatdeck_NewWorkflowList("");
  }
  if (d.taskCurr != self) return;  // another workflow is shown, with a task of its own
  // 2. The graph's frames, 3. the states on the lamps and in the table.
  bool changed = false;
  WFshow_UpdateStatus(d.view, changed);
  if (Floatdeck_WfEntry* entry = Floatdeck_CurrentEntry()) {
    const bool before[] = {entry->states[Floatdeck_sErrors], entry->states[Floatdeck_sStopped]};
    if (Floatdeck_UpdateStates(*entry, d.current)) {
      Floatdeck_RedrawStateColumns();
      I_PutBOOLEAN(d.main, Floatdeck_kErrors, entry->states[Floatdeck_sErrors]);
      I_PutBOOLEAN(d.main, Floatdeck_kStopped, entry->states[Floatdeck_sStopped]);
      I_PutBOOLEAN(d.main, Floatdeck_kExpress, entry->states[Floatdeck_sExpress]);
      I_PutBOOLEAN(d.main, Floatdeck_kLocked, entry->states[Floatdeck_sLocked]);
      changed = changed || before[0] != entry->states[Floatdeck_sErrors] ||
                before[1] != entry->states[Floatdeck_sStopped];
    }
  }
  // The folder content window, if open, lists what is there now.
  WFstatus_UpdateFolderContent();
  // 4. Back-off.
  d.currInterval = Floatdeck_NextInterval(d.currInterval, changed);
  I_RescheduleTask(d.currInterval);
}

void Floatdeck_IdleTaskAll(std::uintptr_t) {
  if (UpdateAllWFStates()) Floatdeck_RedrawStateColumns();
  Floatdeck_UpdateGrouplist();
  Floatdeck_UpdateDemonState();
  I_RescheduleTask(kAllInterval);
}

// --- The demon ----------------------------------------------------------------------------------

bool Floatdeck_SameSoftwareInstance(const TVWbase_DemonInfo& a, const TVWbase_DemonInfo& b) {
  const auto same = [](StrIn x, StrIn y) {
    PathStr rx, ry;
    return !x.Empty() && DirAcces_RealPath(x, rx) && DirAcces_RealPath(y, ry) && Strings_Equal(rx, ry);
  };
  const int count = same(a.libDir, b.libDir) + same(a.dataDir, b.dataDir) + same(a.customerDir, b.customerDir) +
                    same(a.projectsDir, b.projectsDir);
  return count >= 3;
}

void Floatdeck_UpdateDemonState() {
  std::int32_t lamp = 0;
  if (!Messages_Quietly([] { return TVWbase_DemonRunning(Floatdeck_demonInfo); })) {
    Floatdeck_demonInfo = TVWbase_DemonInfo{};
  } else {
    lamp = Floatdeck_SameSoftwareInstance(Floatdeck_selfInfo, Floatdeck_demonInfo) ? 2 : 1;
  }
  I_PutINTEGER(D().main, Floatdeck_kDemon, lamp);
}
