// The main window of the interactive program (dialog "Floatdeck" of the
// catalog "FLOATDECKdlg"): the table of workflows with their states at the
// left, filtered by group; the workflow shown at the right with its lamps,
// its graph (WFshow) and its commands; the demon lamp. Two tasks keep it
// live: the shown workflow every 3 s, backing off by 1 s up to 10 s while
// nothing changes, and all workflows and the demon every 30 s.
//
// Modes: 0 status (live status, tasks running), 1 edit (the workflow shown
// is reserved for this program, stopped, changed in memory and installed
// when editing ends; FloatdeckEdit.cpp).
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "base/SDateAri.h"
#include "base/SwitchBd.h"
#include "manager/WFshow.h"
#include "toolkit/I.h"
#include "toolkit/WtTableD.h"
#include "watch/TVWbase.h"
#include "workflow/WFbase.h"

// --- Values and elements of the dialog "Floatdeck" -----------------------------------------

inline constexpr std::int32_t Floatdeck_kCommand = 1;      // the menu: 1 quit
inline constexpr std::int32_t Floatdeck_kWorkflows = 2;    // the table's list
inline constexpr std::int32_t Floatdeck_kMode = 3;         // the page of the mode
inline constexpr std::int32_t Floatdeck_kErrors = 6;       // lamps
inline constexpr std::int32_t Floatdeck_kStopped = 8;
inline constexpr std::int32_t Floatdeck_kHost = 13;
inline constexpr std::int32_t Floatdeck_kLocked = 14;
inline constexpr std::int32_t Floatdeck_kLocalCommand = 21;  // start 20, stop 21
inline constexpr std::int32_t Floatdeck_kExpress = 22;       // lamp and switch
inline constexpr std::int32_t Floatdeck_kDemon = 23;         // 0 none, 1 another's, 2 ours
inline constexpr std::int32_t Floatdeck_kGroup = 27;         // the filter's text
inline constexpr std::int32_t Floatdeck_kGroupsInUse = 29;
inline constexpr std::int32_t Floatdeck_kWorkflowName = 40;
inline constexpr std::int32_t Floatdeck_kGroupBox = 995;     // elements
inline constexpr std::int32_t Floatdeck_kTable = 996;


// Commands (values of 1 and 21).
inline constexpr std::int32_t Floatdeck_cmdQuit = 1;
inline constexpr std::int32_t Floatdeck_cmdEdit = 2;
inline constexpr std::int32_t Floatdeck_cmdNew = 3;
inline constexpr std::int32_t Floatdeck_cmdRemove = 4;
inline constexpr std::int32_t Floatdeck_cmdErrors = 5;
inline constexpr std::int32_t Floatdeck_cmdCopy = 6;
inline constexpr std::int32_t Floatdeck_cmdEndSave = 10;
inline constexpr std::int32_t Floatdeck_cmdEndDiscard = 11;
inline constexpr std::int32_t Floatdeck_cmdStart = 20;
inline constexpr std::int32_t Floatdeck_cmdStop = 21;
inline constexpr std::int32_t Floatdeck_cmdPack = 33;
inline constexpr std::int32_t Floatdeck_cmdJobQueue = 50;
inline constexpr std::int32_t Floatdeck_cmdStartDemon = 52;
inline constexpr std::int32_t Floatdeck_cmdDemonInfo = 53;
inline constexpr std::int32_t Floatdeck_cmdAbout = 117;

// --- The state -------------------------------------------------------------------------------

// The states of a workflow, in this order.
enum Floatdeck_State : std::uint8_t {
  Floatdeck_sStopped,
  Floatdeck_sExpress,
  Floatdeck_sErrors,
  Floatdeck_sLocked,
  Floatdeck_sSyncEnabled,
  Floatdeck_sCount
};

// A row of the table of workflows.
struct Floatdeck_WfEntry {
  WtTableD_Record link;
  char name[kNameCap];
  std::uint8_t stateEnum;  // 1 stopped, 2 express and running, else 0
  bool states[Floatdeck_sCount];
};

struct Floatdeck_Data {
  I_Context main = nullptr;
  WtTableD_Table tables[2] = {nullptr, nullptr};  // by mode
  std::list<Floatdeck_WfEntry> list;  // the table's rows, linked in this order
  std::int64_t listStamp = 0;          // when the list was made, in seconds
  WFbase current = nullptr;            // the workflow shown; owned
  WFshow_View view = nullptr;
  std::uint8_t mode = 0;
  int taskCurr = -1, taskAll = -1;
  int currInterval = 3000;
  std::uint32_t showOnlyImages = 0;
  char currWfName[kNameCap] = "";  // preference: shown at the next start
  char listGroup[kNameCap] = "";   // the filter: "" all, WFbase_withoutGroup none
  char allGroups[kNameCap] = "";   // the pseudo groups' texts
  char noGroup[kNameCap] = "";
  SwitchBd_Inlet inlet = nullptr;
  bool terminating = false;        // SIGTERM: the program ends without questions
  // The edit side.
  I_Context newDialog = nullptr, packDialog = nullptr, demonDialog = nullptr;  // made when first needed
  bool copyMode = false;           // the new dialog stands for "copy"
  bool isEditing = false;          // the workflow in edit mode was changed
  std::string reservedName;        // the workflow whose reservation this program holds
  char privilegedUser[kNameCap] = "root";
};

// The one window of the program; nil before Floatdeck_Init.
extern Floatdeck_Data* Floatdeck_data;

// --- Life ----------------------------------------------------------------------------------

// Makes the window (not shown) and its state; `wfName` (or else the workflow
// shown last) is shown first. False, with message 1, when the workflows'
// root directory is missing.
bool Floatdeck_Init(StrIn wfName);
// The group filter's entries and the list of workflows, anew.
void Floatdeck_UpdateListGroup();
// Asks whether to install a modified workflow (not after SIGTERM), gives
// the reservation back, stops the tasks and ends the main loop; false when
// the user cancelled.
bool Floatdeck_CloseApplication();
// Takes the window and its state down (the program's end, tests).
void Floatdeck_Destroy();

// --- The tasks ---------------------------------------------------------------------------------

// Schedules the two tasks that are not scheduled, the shown workflow's after
// `interval` ms (only while the window is shown).
void Floatdeck_StartIdleTasks(int interval);
void Floatdeck_StopIdleTasks();
// The shown workflow's next interval: 3000 after a change, else 1000 more,
// up to 10000.
int Floatdeck_NextInterval(int interval, bool changed);
// The demon lamp from the running demon's info.
void Floatdeck_UpdateDemonState();
// Whether two demon infos are one software instance: three of their
// directories are the same directory.
bool Floatdeck_SameSoftwareInstance(const TVWbase_DemonInfo& a, const TVWbase_DemonInfo& b);

// --- The list and the workflow shown -----------------------------------------------------------

// The list anew (filtered by the group); `select` (not empty) becomes the
// selected row, else the selected one stays; a new selection is shown.
void Floatdeck_NewWorkflowList(StrIn select);
// Shows workflow `name` (empty: none), read from its folders.
void Floatdeck_DisplayNewWorkflow(StrIn name);
// Host, command bar and lamps of the workflow shown.
void Floatdeck_Update();
// The five states of `workflow` into `entry`; whether they changed.
bool Floatdeck_UpdateStates(Floatdeck_WfEntry& entry, WFbase workflow);
// The table's two columns of states drawn anew.
void Floatdeck_RedrawStateColumns();
// The row of the workflow shown; nil when it has none.
Floatdeck_WfEntry* Floatdeck_CurrentEntry();
// How many workflows of the list are express.
std::uint32_t Floatdeck_NumberOfExpressWFs();
// The table's description of the mode (0 status, 1 edit); the caller owns it.
WtTableD_Table Floatdeck_CreateTable(std::uint8_t mode);

// --- Commands ---------------------------------------------------------------------------------

bool Floatdeck_StartWorkflow();
bool Floatdeck_StopWorkflow();

// --- The edit side (FloatdeckEdit.cpp) --------------------------------------------------------

// The name of the resource that a workflow's editor holds at the resource
// manager: its start path, ":" and this host, as an update lock.
void Floatdeck_BuildResource(StrIn name, StrOut resource);
// Takes the workflow for editing (giving up the one held before); false
// when somebody else edits it or the resource manager can't be reached.
bool Floatdeck_ReserveWorkflow(StrIn name);
// Gives the workflow's reservation back, if this program holds it.
void Floatdeck_ReleaseWorkflow(WFbase workflow);
// Puts the table's selection back on workflow `name` (a refused change).
void Floatdeck_SelectRow(StrIn name);
// Mode 0 status or 1 edit: the table's description, the graph, the page,
// the tasks; the wall message "mode changed".
void Floatdeck_SetMode(std::uint8_t mode);
// Reads "floatdeck.privilegedUser" of the site directory; a name the
// system does not know is not taken.
void Floatdeck_LoadPrivilegedUser();
// Whether this program may do what only the privileged user may; if not,
// says who may.
bool Floatdeck_IsPrivilegedUser();
// Checks and installs the workflow shown (then its places and group);
// false with the reason told.
bool Floatdeck_InstallCurrentWorkflow();
// The question for a modified workflow (0 install it, 1 discard, 2 cancel);
// 1 when nothing is modified. An install that fails counts as cancel.
int Floatdeck_SaveConfirm();
bool Floatdeck_RemoveCurrentWorkflow();
// The commands of the edit side (menu values); false when not one of them.
bool Floatdeck_EditCommand(std::int32_t command);
// The undo button (edit mode): the workflow as it was before the graph's
// newest step is shown and edited from now on.
void Floatdeck_UndoCB(I_Context context, std::int32_t number, std::int32_t value, std::uintptr_t data);
// The new dialog's buttons (new workflow or copy).
void Floatdeck_NewDialogCB(I_Context context, std::int32_t number, std::int32_t value, std::uintptr_t data);

// --- Dialogs of the tools (FloatdeckDialogs.cpp) ----------------------------------------------

void Floatdeck_OpenPackDialog();
bool Floatdeck_StartDemon();
void Floatdeck_ShowDemonInfo();
// The demon dialog's fields anew, when it is open.
void Floatdeck_RefreshDemonInfo();
void Floatdeck_About();

// The window's procedures (internal to the manager).
void Floatdeck_IntCB(I_Context context, std::int32_t number, std::int32_t value, std::uintptr_t data);
void Floatdeck_BoolCB(I_Context context, std::int32_t number, bool value, std::uintptr_t data);
void Floatdeck_WFSelCB(I_Context context, std::int32_t number, void* block, std::uintptr_t data);
void Floatdeck_ListGroupSelCB(I_Context context, std::int32_t number, StrIn text, std::uintptr_t data);
void Floatdeck_WMCloseCB(I_Context context, bool leaving, std::uintptr_t data);
void Floatdeck_SwitchboardCB(std::uintptr_t message);
void Floatdeck_UpdateGrouplist();
void Floatdeck_IdleTaskCurr(std::uintptr_t data);
void Floatdeck_IdleTaskAll(std::uintptr_t data);
