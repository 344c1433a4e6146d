// The queue window's records: jobs and workers as the tables show them, the
// lists the server's events are applied to, and the window's state. Only
// the window's own files and its tests include this.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Strings.h"
#include "jobqueue/CCevent.h"
#include "jobqueue/CCqueueReq.h"
#include "toolkit/I.h"
#include "toolkit/WtTableD.h"

inline constexpr char CCqueueInt_section[] = "CCqueueInt";

// A job, one row. The table reads the fields up to `progress` by offset.
struct CCqueueInt_Job {
  WtTableD_Record link;
  char id[kNameCap];
  std::uint8_t status;
  std::uint8_t cpuUsage;
  char priorityText[16];
  char positionText[16];   // its place in its list, from 1
  char host[kNameCap];     // the worker that runs it
  char description[kPathCap];
  double progress;         // percent; below 0 none
  // Not shown in columns.
  bool inFailed;
  std::uint32_t priority;
  std::uint8_t jobType, executeOn;
  std::string fullDescription, errorFile, progressFile;
  std::string progressText;  // the progress file's line, the cell's tip
};

// A worker, one row of its table.
struct CCqueueInt_Worker {
  WtTableD_Record link;
  char name[kNameCap];
  std::uint8_t status;  // 0 unknown, 1 up, 2 down
  std::uint8_t local;   // 1: this machine
};

// A list of jobs in the server's order; the lists own their jobs.
struct CCqueueInt_JobList {
  std::vector<CCqueueInt_Job*> jobs;
  // The index of `job`, or jobs.size(); `hint` is where to look first.
  std::size_t IndexOf(const CCqueueInt_Job* job, std::size_t hint) const;
};

// What the events build: both lists, the workers and the queue's status.
struct CCqueueInt_Lists {
  CCqueueInt_JobList actual, failed;
  std::unordered_map<std::string, CCqueueInt_Job*> byId;  // both lists
  std::vector<CCqueueInt_Worker*> workers;                // by name
  std::uint8_t queueStatus = 2;
  bool workersChanged = false;
  std::string message;  // of the last error event
  // Records taken out of the lists: a table still holds them until it is
  // given the new list (it looks at the old one to keep its place).
  std::vector<CCqueueInt_Job*> goneJobs;
  std::vector<CCqueueInt_Worker*> goneWorkers;
  CCqueueInt_Lists() = default;
  CCqueueInt_Lists(const CCqueueInt_Lists&) = delete;
  CCqueueInt_Lists& operator=(const CCqueueInt_Lists&) = delete;
  ~CCqueueInt_Lists();
  // Frees the records taken out, once the tables have the new lists.
  void Bury();
  void ClearActual();
  void ClearAll();
  void ClearWorkers();
};

// Applies one event of the server; true when something shown changed.
bool CCqueueInt_ApplyEvent(CCqueueInt_Lists& lists, const CCevent_Event& event);
// Takes `job` out of its list at once (before the server's event tells).
void CCqueueInt_Forget(CCqueueInt_Lists& lists, CCqueueInt_Job* job);
// Moves the waiting jobs of `raised` (in list order) to the front of the
// actual list, as the server will.
void CCqueueInt_MoveUp(CCqueueInt_Lists& lists, const std::vector<CCqueueInt_Job*>& raised);
// Links the records of a list through `next` and numbers their places;
// the first record, or nil.
WtTableD_Record* CCqueueInt_Link(CCqueueInt_JobList& list);
WtTableD_Record* CCqueueInt_LinkWorkers(std::vector<CCqueueInt_Worker*>& workers);
// The name a worker is shown by: this machine's for "" and "localhost".
void CCqueueInt_WorkerName(StrIn name, StrOut shown, bool& local);

// --- The table descriptions, their colours and tips ---------------------------------------
// The text of message `number` of the window's section.
std::string CCqueueInt_Text(unsigned number);
WtTableD_Table CCqueueInt_MakeActualTable();
WtTableD_Table CCqueueInt_MakeFailedTable();
WtTableD_Table CCqueueInt_MakeWorkerTable();
// The colours of a job's row: running on green, waiting for a precondition
// on yellow; failed text red, canceled yellow, else black.
bool CCqueueInt_RowColors(const WtTableD_Record* record, void* data, W_Color& background, W_Color& text);
// A progress cell's tip: the progress file's line.
std::string CCqueueInt_CellTip(const WtTableD_Record* record, std::size_t column, void* data);
// The index of the progress column in the actual table's description, and
// of the column each toggle (0 to 4) shows or hides.
inline constexpr std::size_t CCqueueInt_progressColumn = 6;
std::size_t CCqueueInt_ToggledColumn(std::int32_t toggle);

// --- The window's state -----------------------------------------------------------------------
struct CCqueueInt_State {
  I_Context dialog = nullptr;  // not owned: the window is kept for the process
  int updateTask = -1, messageTask = -1;
  CCqueueInt_Lists lists;
  WtTableD_Table actualTable = nullptr, failedTable = nullptr, workerTable = nullptr;  // not owned
  std::string host;
  CCqueueReq req = nullptr;
  bool connected = false, toldConnected = false;
  volatile bool closeAsked = false;  // set by a signal's handler
  bool columns[5] = {true, true, true, true, true};
  std::int64_t lastProgressMs = 0;  // when the progress column was drawn last
  std::string tempDetails;          // the details file shown in the viewer
  void (*exit)(std::uintptr_t) = nullptr;
  std::uintptr_t exitData = 0;
};
// The state of the open window; nil when none is.
extern CCqueueInt_State* CCqueueInt_globalHandle;

// Puts `text` into the message line.
void CCqueueInt_Say(const std::string& text);
// The first selected job of a list; nil when none is.
CCqueueInt_Job* CCqueueInt_FirstSelected(CCqueueInt_JobList& list);
// The commands' callback and the toggles'.
void CCqueueInt_CommandCB(I_Context context, std::int32_t number, std::int32_t value, std::uintptr_t data);
void CCqueueInt_ColumnCB(I_Context context, std::int32_t number, bool value, std::uintptr_t data);
// Shows and hides the columns as the toggles say.
void CCqueueInt_ApplyColumns();
