// The loop of the dialog layer and its work between events.
//
// A round (I_SingleEventLoopIteration): with no event waiting, a due task
// runs, else a due line of the GUI replay, else the first idle task, else
// the round waits for an event up to the time of the next task or line. With an event waiting, it is dispatched (a
// key or button puts up the wait cursor until the next round). Deferred
// actions end every round.
//
// A scheduled task: queued (sorted by its time; equal times in the order
// of scheduling) -> running (taken out; I_RescheduleTask puts the same
// record back with its number) -> gone. Tasks never nest: while one runs,
// nested loops dispatch events but run no tasks.
//
// Blocked input (I_BlockInput): the event machine's inhibition eats key,
// button, motion and crossing events of every window (with a bell on a
// press), the watch stays on the program's windows, and the window
// manager's close is refused (I.cpp); exposures, configures and other
// client messages are handled as always, so the windows go on drawing.
#include <algorithm>
#include <climits>
#include <csignal>
#include <deque>
#include <list>
#include <time.h>

#include "base/Processe.h"
#include "toolkit/I.h"
#include "toolkit/IReplay.h"
#include "toolkit/Ibase.h"
#include "toolkit/WtCursor.h"
#include "toolkit/WtEvents.h"

namespace {

struct Task {
  SDateAri_Stamp time;
  I_TaskProc proc;
  std::uintptr_t data;
  int number;
};
std::list<Task> tasks;
int nextNumber = 0;
bool duringTask = false;
bool rescheduled = false;
int rescheduleMs = 0;
int runningNumber = -1;

struct Idle {
  I_TaskProc proc;
  std::uintptr_t data;
};
std::deque<Idle> idleTasks;

struct Refresh {
  int number;
  I_RefreshProc proc;
  std::uintptr_t data;
  bool cancelled;
};
std::deque<Refresh> refreshes;
bool refreshScheduled = false;
int nextRefresh = 0;

int blockDepth = 0;

I_ButtonProc buttonCallback = nullptr;
I_ClockProc clockProc = nullptr;

void Insert(const Task& t) {
  auto at = tasks.begin();
  while (at != tasks.end() && !SDateAri_StampGT(at->time, t.time)) ++at;
  tasks.insert(at, t);
}

// Runs the first task if it is due and none runs; whether one ran.
bool ExecuteScheduledTask(const SDateAri_Stamp& now) {
  if (duringTask || tasks.empty() || SDateAri_StampGT(tasks.front().time, now)) return false;
  Task t = tasks.front();
  tasks.pop_front();
  duringTask = true;
  rescheduled = false;
  runningNumber = t.number;
  t.proc(t.data);
  duringTask = false;
  runningNumber = -1;
  if (rescheduled) {
    t.time = SDateAri_AddMilliseconds(I_GetSysTimeStamp(), rescheduleMs);
    Insert(t);
  }
  return true;
}

bool RunIdleTask() {
  if (idleTasks.empty()) return false;
  const Idle idle = idleTasks.front();
  idleTasks.pop_front();
  idle.proc(idle.data);
  return true;
}

bool IsButtonOrKey(const W_Event& e) {
  return e.kind == W_KeyPress || e.kind == W_ButtonPress || e.kind == W_ButtonRelease;
}

// Dispatches what the server has sent.
void DispatchPendingEvents() {
  if (!W_DisplayOpen()) return;
  while (WtEvents_Pending()) {
    W_Event event;
    WtEvents_NextEvent(event);
    if (IsButtonOrKey(event) && buttonCallback != nullptr) buttonCallback(event);
    WtEvents_DispatchEvent(event);
    WtEvents_ExecuteDeferredActions();
  }
}

// Input the user gave while blocked is refused, also what is still on its
// way from the server when the block ends.
void SetBlocked(bool blocked) {
  if (!blocked && W_DisplayOpen()) {
    W_Sync(false);
    DispatchPendingEvents();
  }
  WtEvents_InhibitInputEvents(blocked);
  if (!W_DisplayOpen()) return;
  if (blocked) {
    WtCursor_WaitCursor();
  } else {
    WtCursor_RestoreCursors();
    W_Flush();
  }
}

// Runs the queued refreshes to the end of the queue, those queued meanwhile too.
void RefreshScheduler(std::uintptr_t) {
  while (!refreshes.empty()) {
    const Refresh r = refreshes.front();
    if (!r.cancelled) r.proc(r.number, r.data);
    refreshes.pop_front();
  }
  refreshScheduled = false;
}

Refresh* FindRefresh(int number) {
  for (Refresh& r : refreshes)
    if (r.number == number) return &r;
  return nullptr;
}

// The timers of the toolkit (tool tips, repeating buttons) are tasks; 0 is
// no timer there, so numbers are shifted by one.
int ScheduleTimer(int milliseconds, WtEvents_Action action, std::uintptr_t data) {
  return I_ScheduleTask(milliseconds, action, data) + 1;
}
void CancelTimer(int timer) { I_CancelScheduledTask(timer - 1); }

// Set for good by SIGTERM: a signal that came before the main loop began
// (the handler is in place once the main window shows) still ends it.
volatile std::sig_atomic_t terminated = 0;

void SIGTERMhandler(int) {
  terminated = 1;
  WtEvents_leaveMainLoop = true;
  if (Ibase_mainContext != nullptr && Ibase_mainContext->closeCallback != nullptr)
    Ibase_mainContext->closeCallback(Ibase_mainContext, true, Ibase_mainContext->closeData);
}

}  // namespace

void I_Init_Loop() { WtEvents_SetTimerProcs(ScheduleTimer, CancelTimer); }

// Only an interactive program leaves in order on SIGTERM; a batch run keeps
// the default of ending at once.
void I_Activate_InstallSIGTERMhandler() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  Processe_InstallSignalHandler(15, SIGTERMhandler);
}

// --- Tasks ------------------------------------------------------------------------------

void I_SetClock(I_ClockProc clock) { clockProc = clock; }

SDateAri_Stamp I_GetSysTimeStamp() {
  if (clockProc != nullptr) return clockProc();
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return SDateAri_Stamp{now.tv_sec, now.tv_nsec};
}

int I_ScheduleTask(int milliseconds, I_TaskProc proc, std::uintptr_t data) {
  const int number = nextNumber;
  nextNumber = nextNumber == INT_MAX ? 0 : nextNumber + 1;
  Insert(Task{SDateAri_AddMilliseconds(I_GetSysTimeStamp(), milliseconds), proc, data, number});
  return number;
}

int I_NilTask() { return -1; }

int I_RescheduleTask(int milliseconds) {
  if (!duringTask) return I_NilTask();
  rescheduled = true;
  rescheduleMs = milliseconds;
  return runningNumber;
}

void I_CancelScheduledTask(int task) {
  if (task < 0) return;
  if (duringTask && task == runningNumber) rescheduled = false;
  tasks.remove_if([task](const Task& t) { return t.number == task; });
}

std::int64_t I_TimeTillNextTask() {
  if (tasks.empty()) return -1;
  const std::int64_t ms = SDateAri_DiffMilliseconds(tasks.front().time, I_GetSysTimeStamp());
  return ms < 0 ? 0 : ms > INT_MAX ? INT_MAX : ms;
}

void I_QueueIdleTask(I_TaskProc proc, std::uintptr_t data) { idleTasks.push_back(Idle{proc, data}); }

int I_QueueRefresh(I_RefreshProc proc, std::uintptr_t data) {
  const int number = nextRefresh;
  nextRefresh = nextRefresh == INT_MAX ? 0 : nextRefresh + 1;
  refreshes.push_back(Refresh{number, proc, data, false});
  if (!refreshScheduled) {
    refreshScheduled = true;
    I_QueueIdleTask(RefreshScheduler, 0);
  }
  return number;
}

void I_CancelRefresh(int refresh) {
  if (Refresh* r = FindRefresh(refresh)) r->cancelled = true;
}

void I_CancelAllRefreshes() {
  for (Refresh& r : refreshes) r.cancelled = true;
}

bool I_RefreshBreak(int refresh) {
  DispatchPendingEvents();
  const Refresh* r = FindRefresh(refresh);
  return r == nullptr || r->cancelled;
}

void I_SetButtonCallback(I_ButtonProc proc) { buttonCallback = proc; }

// --- Blocked input ---------------------------------------------------------------------

void I_BlockInput(bool block) {
  if (block) {
    if (blockDepth++ == 0) SetBlocked(true);
  } else if (blockDepth > 0 && --blockDepth == 0) {
    SetBlocked(false);
  }
}

bool I_InputBlocked() { return blockDepth > 0; }

// A modal dialog opened while input is blocked (a box of a task that ran
// meanwhile) must be answerable, or the work under it would never go on:
// its loop runs unblocked, the box's own grab keeping the other windows
// out. Answers the depth that I_Dialog_RestoreBlock gives back.
int I_Dialog_LiftBlock() {
  const int depth = blockDepth;
  if (depth > 0) {
    blockDepth = 0;
    SetBlocked(false);
  }
  return depth;
}

void I_Dialog_RestoreBlock(int depth) {
  if (depth == 0) return;
  blockDepth = depth;
  SetBlocked(true);
}

// --- The loop ---------------------------------------------------------------------------

void I_Yield() {
  DispatchPendingEvents();
  if (!duringTask) {
    // The tasks due now; one that re-arms itself waits for the next call.
    const SDateAri_Stamp now = I_GetSysTimeStamp();
    for (std::size_t n = tasks.size(); n > 0 && ExecuteScheduledTask(now); --n) {
    }
  }
  RunIdleTask();
  WtEvents_ExecuteDeferredActions();
}

void I_SingleEventLoopIteration() {
  if (blockDepth == 0) WtCursor_RestoreCursors();
  const bool replaying = IReplay_Running();
  // No task runs while one runs (in the loop of a box it opened), but the
  // replay plays on there: it is the user's input, as events are.
  const bool taskMayRun = !duringTask && (!idleTasks.empty() || !tasks.empty());
  if (!WtEvents_Pending() && (taskMayRun || replaying)) {
    // A replayed line is user input: it waits for the events of the line
    // before and for due tasks, and beats idle work.
    const std::int64_t task = duringTask ? -1 : I_TimeTillNextTask();
    const std::int64_t line = IReplay_TimeTillNext();
    if (task == 0) {
      ExecuteScheduledTask(I_GetSysTimeStamp());
      IReplay_Check();
    } else if (line == 0) {
      IReplay_Check();
    } else if (duringTask || !RunIdleTask()) {
      const std::int64_t wait = task < 0 ? line : line < 0 ? task : std::min(task, line);
      if (wait >= 1 && !W_WaitForEvents(static_cast<int>(wait))) {
        ExecuteScheduledTask(I_GetSysTimeStamp());
        IReplay_Check();
      }
    }
    WtEvents_ExecuteDeferredActions();
    return;
  }
  // Waiting for the next event ends on a signal too (SIGTERM sets the
  // flag that leaves the loop).
  if (!WtEvents_Pending()) {
    W_WaitForEvents(-1);
    WtEvents_ExecuteDeferredActions();
    return;
  }
  W_Event event;
  WtEvents_NextEvent(event);
  if (IsButtonOrKey(event)) {
    WtCursor_WaitCursor();
    if (buttonCallback != nullptr) buttonCallback(event);
  }
  WtEvents_DispatchEvent(event);
  WtEvents_ExecuteDeferredActions();
}

void I_MainLoop() {
  WtEvents_leaveMainLoop = terminated != 0;
  WtEvents_ExecuteDeferredActions();
  while (!WtEvents_leaveMainLoop) I_SingleEventLoopIteration();
}
