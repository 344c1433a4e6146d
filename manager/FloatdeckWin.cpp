// The main window: making it, its commands and switches, the switchboard,
// closing. The list of workflows and the workflow shown are in
// FloatdeckList.cpp, the tasks in FloatdeckTasks.cpp.
#include "manager/FloatdeckWin.h"

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "manager/Floatdeck.h"
#include "manager/WFstatus.h"
#include "manager/WFstatusErrors.h"
#include "queuewin/CCqueueInt.h"
#include "rc/SrcFile.h"
#include "toolkit/Imisc.h"
#include "toolkit/WtEvents.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFmodule.h"

Floatdeck_Data* Floatdeck_data = nullptr;

namespace {

char section[kSectionCap] = "Floatdeck";

constexpr unsigned kNoRoot = 1;
constexpr unsigned kExpressQuestion = 25;  // with how many are express
constexpr unsigned kAllGroups = 26, kNoGroup = 28;

// Preferences of ".Floatdeckrc", saved when they change.
constexpr char kRcName[] = "Floatdeck";
constexpr char kShowOnlyImagesKey[] = "Floatdeck_showOnlyImages";
constexpr char kCurrWfNameKey[] = "Floatdeck_currWfName";
constexpr unsigned kRcHome = 1;

void LoadPreferences(Floatdeck_Data& d) {
  Messages_Quietly([&] {
    SrcFile_Load(kRcName);
    SrcFile_DefineCard(kShowOnlyImagesKey, d.showOnlyImages);
    SrcFile_DefineString(kCurrWfNameKey, d.currWfName);
  });
  WFstatus_SetOnlyImagesMode(d.showOnlyImages < 4 ? d.showOnlyImages : 0);
}

// The express switch: turning it on while another workflow is express asks
// first; a refusal puts the switch back.
void SwitchExpress(bool on) {
  Floatdeck_Data& d = *Floatdeck_data;
  if (d.current == nullptr) return I_PutBOOLEAN(d.main, Floatdeck_kExpress, false);
  if (on) {
    const std::uint32_t others = Floatdeck_NumberOfExpressWFs();
    if (others > 0) {
      TextStr question;
      Messages_GetMsg(section, kExpressQuestion, question);  // messages: Floatdeck 25
      SPrintf_Card(question, others);
      if (!Imisc_StrYes(question)) return I_PutBOOLEAN(d.main, Floatdeck_kExpress, false);
    }
  }
  WFstatus_SetExpressWorkflow(d.current, on);
  Floatdeck_Update();
}

// The workflow layer's messages come in boxes.
void ShowInBox(StrIn text) { Imisc_StrErrMsg(text); }

// The lock switch (edit mode): only the privileged user locks; the lamp
// shows what came of it.
void SwitchLock(bool on) {
  Floatdeck_Data& d = *Floatdeck_data;
  if (d.current != nullptr && (!on || Floatdeck_IsPrivilegedUser())) WFbase_LockWorkflow(d.current, on);
  I_PutBOOLEAN(d.main, Floatdeck_kLocked, d.current != nullptr && WFbase_WorkflowLocked(d.current));
}

}  // namespace

// --- Life ----------------------------------------------------------------------------------

bool Floatdeck_Init(StrIn wfName) {
  PathStr root;
  WFmodule_GetRootDir(1, root);
  if (!AutoMisc_RootExists(root)) {
    WFbase_Message(section, kNoRoot, "");  // messages: Floatdeck 1
    return false;
  }
  WFstatus_Init();
  WFbase_RegisterShowProc(ShowInBox);
  Floatdeck_data = new Floatdeck_Data;
  Floatdeck_Data& d = *Floatdeck_data;
  LoadPreferences(d);
  Floatdeck_LoadPrivilegedUser();
  if (!wfName.Empty()) Strings_Assign(wfName, d.currWfName);
  Messages_GetMsg(section, kAllGroups, d.allGroups);  // messages: Floatdeck 26 28
  Messages_GetMsg(section, kNoGroup, d.noGroup);
  d.main = I_Create("Floatdeck", false);
  if (d.main == nullptr) {
    Floatdeck_Destroy();
    return false;
  }
  for (std::uint8_t mode : {0, 1}) d.tables[mode] = Floatdeck_CreateTable(mode);
  WtTableD_SetTableDescription(d.main, Floatdeck_kTable, d.tables[d.mode]);
  WFshow_InitIcons();
  d.view = WFshow_CreateAndAttach(d.main, WFshow_mainElements);
  I_SetINTEGERcallback(d.main, Floatdeck_kCommand, Floatdeck_IntCB, 0);
  I_SetINTEGERcallback(d.main, Floatdeck_kLocalCommand, Floatdeck_IntCB, 0);
  I_SetGenericcallback(d.main, Floatdeck_kWorkflows, Floatdeck_WFSelCB, 0);
  I_SetBOOLEANcallback(d.main, Floatdeck_kExpress, Floatdeck_BoolCB, 0);
  I_SetBOOLEANcallback(d.main, Floatdeck_kLocked, Floatdeck_BoolCB, 0);
  I_SetSTRINGcallback(d.main, Floatdeck_kGroup, Floatdeck_ListGroupSelCB, 0);
  I_SetCloseCallback(d.main, Floatdeck_WMCloseCB, 0);
  I_SetAsMainApplicationContext(d.main);
  // Undo comes with editing.
  I_Disable(d.main, WFshow_mainElements.undoButton);
  I_SetINTEGERcallback(d.main, WFshow_mainElements.undoButton, Floatdeck_UndoCB, 0);
  Floatdeck_SetMode(0);
  d.inlet = SwitchBd_NotifyMe(WFbase_switchboard, Floatdeck_SwitchboardCB);
  return true;
}

void Floatdeck_UpdateListGroup() {
  Floatdeck_UpdateGrouplist();
  Floatdeck_NewWorkflowList(Floatdeck_data->currWfName);
}

bool Floatdeck_CloseApplication() {
  Floatdeck_Data& d = *Floatdeck_data;
  if (!d.terminating && Floatdeck_SaveConfirm() == 2) return false;
  Floatdeck_ReleaseWorkflow(d.current);
  Floatdeck_StopIdleTasks();
  WtEvents_leaveMainLoop = true;
  return true;
}

void Floatdeck_Destroy() {
  if (Floatdeck_data == nullptr) return;
  Floatdeck_Data& d = *Floatdeck_data;
  Floatdeck_StopIdleTasks();
  SwitchBd_DestroyInlet(d.inlet);
  WFshow_Destroy(d.view);
  I_Destroy(d.main);
  WtEvents_ExecuteDeferredActions();
  WFbase_DestroyWorkflow(d.current);
  for (WtTableD_Table& table : d.tables) WtTableD_DestroyTableDef(table);
  Messages_Quietly([] {
    SrcFile_UndefineI(kShowOnlyImagesKey);
    SrcFile_UndefineI(kCurrWfNameKey);
  });
  delete Floatdeck_data;
  Floatdeck_data = nullptr;
}

// --- Commands and switches --------------------------------------------------------------------

bool Floatdeck_StartWorkflow() {
  Floatdeck_Data& d = *Floatdeck_data;
  if (d.current == nullptr || !WFstatus_StartWorkflow(d.current)) return false;
  bool changed = false;
  WFshow_UpdateStatus(d.view, changed);
  if (changed) d.currInterval = 3000;
  Floatdeck_Update();
  WFbase_Announce(WFbase_msgWorkflowStoppedStarted);
  return true;
}

bool Floatdeck_StopWorkflow() {
  Floatdeck_Data& d = *Floatdeck_data;
  if (d.current == nullptr || !WFstatus_StopWorkflow(d.current)) return false;
  bool changed = false;
  WFshow_UpdateStatus(d.view, changed);
  Floatdeck_Update();
  WFbase_Announce(WFbase_msgWorkflowStoppedStarted);
  return true;
}

void Floatdeck_IntCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (Floatdeck_EditCommand(value)) return;
  switch (value) {
    case Floatdeck_cmdQuit: WtEvents_leaveMainLoop = true; break;
    case Floatdeck_cmdStart: Floatdeck_StartWorkflow(); break;
    case Floatdeck_cmdStop: Floatdeck_StopWorkflow(); break;
    case Floatdeck_cmdErrors:
      if (Floatdeck_data->current != nullptr) WFstatus_ShowErrors(Floatdeck_data->current);
      break;
    case Floatdeck_cmdPack: Floatdeck_OpenPackDialog(); break;
    case Floatdeck_cmdStartDemon: Floatdeck_StartDemon(); break;
    case Floatdeck_cmdDemonInfo: Floatdeck_ShowDemonInfo(); break;
    // The queue window in this process; closing it leaves the manager running.
    case Floatdeck_cmdJobQueue: CCqueueInt_StartUp("", [](std::uintptr_t) {}, 0); break;
    case Floatdeck_cmdAbout: Floatdeck_About(); break;
    default: break;
  }
}

void Floatdeck_BoolCB(I_Context, std::int32_t number, bool value, std::uintptr_t) {
  if (number == Floatdeck_kExpress) SwitchExpress(value);
  if (number == Floatdeck_kLocked) SwitchLock(value);
}

// The window manager's close button (the window is down already), or
// SIGTERM (then inside its handler: nothing but flags; nothing is asked).
// The program closes once the main loop has ended.
void Floatdeck_WMCloseCB(I_Context context, bool leaving, std::uintptr_t) {
  if (!leaving || Floatdeck_data == nullptr) return;
  if (I_Active(context)) Floatdeck_data->terminating = true;
  WtEvents_leaveMainLoop = true;
}

// --- The switchboard --------------------------------------------------------------------------

void Floatdeck_SwitchboardCB(std::uintptr_t message) {
  Floatdeck_Data* d = Floatdeck_data;
  if (d == nullptr || !I_Active(d->main)) return;
  const char* text = reinterpret_cast<const char*>(message);
  const auto is = [text](const char* wall) { return text == wall; };
  bool changed = false;
  if (is(WFbase_msgErrorsChanged)) {
    I_PutBOOLEAN(d->main, Floatdeck_kErrors, d->current != nullptr && WFstatus_ErrorsThere(d->current));
  } else if (is(WFbase_msgFolderContentChanged) || is(WFbase_msgFolderStoppedStarted)) {
    if (is(WFbase_msgFolderStoppedStarted))
      I_PutBOOLEAN(d->main, Floatdeck_kStopped, d->current != nullptr && WFstatus_WorkflowStopped(d->current));
    WFshow_UpdateStatus(d->view, changed);
    if (changed) d->currInterval = 3000;
  } else if (is(WFbase_msgUserdefChanged)) {
    WFshow_Show(d->view, nullptr);
    WFshow_InitUserDefIcons();
    WFshow_Show(d->view, d->current);
  } else if (is(WFbase_msgWorkflowDeleted)) {
    Floatdeck_NewWorkflowList("");
  }
}
