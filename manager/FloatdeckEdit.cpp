// The main window's edit side: taking a workflow into edit mode under its
// reservation, new, copy and remove, installing with the checks, the save
// question, the lock and the privileged user.
//
// A workflow is edited by one manager at a time: whoever edits it holds its
// resource at the resource manager ("<start path>:<host>" as an update
// lock). Status (0) -> edit (1, reserved, the workflow stopped) -> status
// again by "end editing" with install (10) or without (11).
#include <pwd.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "jobqueue/SRM.h"
#include "manager/Floatdeck.h"
#include "manager/FloatdeckWin.h"
#include "manager/WFstatus.h"
#include "toolkit/Imisc.h"
#include "workflow/WFgroup.h"
#include "workflow/WFplaces.h"
#include "workflow/WFtest.h"

namespace {

char section[kSectionCap] = "Floatdeck";

constexpr unsigned kInstallFailed = 3, kCopyFailed = 12, kRemoveQuestion = 13, kNoWorkflow = 14;
constexpr unsigned kEditedElsewhere = 17, kRemoveElsewhere = 18, kSaveQuestion = 39;
constexpr unsigned kNotPrivileged = 42, kEmptyName = 43, kNameTaken = 44, kBadName = 45, kStopToEdit = 47;

constexpr char kPrivilegedFile[] = "floatdeck.privilegedUser";

Floatdeck_Data& D() { return *Floatdeck_data; }

std::string CurrentName() {
  NameStr name;
  WFbase_GetName(D().current, name);
  return StrIn(name).Str();
}

// Message `number` of the section with `argument` put in, in a box.
void Tell(unsigned number, const std::string& argument = {}) {
  WFbase_Message(section, number, argument);  // messages: Floatdeck 3 12-14 17-18 42-45
}

bool Ask(unsigned number, const std::string& argument) {
  TextStr text;
  Messages_GetMsg(section, number, text);  // messages: Floatdeck 13 47
  SPrintf_String(text, argument);
  return Imisc_StrYes(text);
}

// The menu's commands each mode offers (bit n for command n; those above 31
// follow any bit).
std::uint32_t MenuMask(std::uint8_t mode) {
  const auto bit = [](std::int32_t command) { return 1u << command; };
  const std::uint32_t always = bit(Floatdeck_cmdQuit) | bit(Floatdeck_cmdErrors);
  return mode == 0 ? always | bit(Floatdeck_cmdEdit) | bit(Floatdeck_cmdNew) | bit(Floatdeck_cmdRemove) |
                         bit(Floatdeck_cmdCopy)
                   : always | bit(Floatdeck_cmdEndSave) | bit(Floatdeck_cmdEndDiscard);
}

// A workflow's name must be a directory's name of its own.
bool ValidName(const std::string& name) {
  return !name.empty() && name.size() < kNameCap && name.front() != '.' && name.front() != ' ' &&
         name.back() != ' ' && name.find('/') == std::string::npos;
}

bool StartDirExists(StrIn name) {
  PathStr start;
  WFbase_GetStartPath(name, start);
  return DirAcces_Access(start, DirAcces_Mode::Exists);
}

// The places of `from` for the folders of the copy `to`: the same offsets
// under the copy's paths.
void CopyPlaces(WFbase from, WFbase to) {
  NameStr fromName, toName;
  WFbase_GetName(from, fromName);
  WFbase_GetName(to, toName);
  WFplaces source = WFplaces_Open(fromName);
  WFplaces target = WFplaces_Create(toName);
  WFbase_FolderList folders = WFbase_GetAllFolders(from);
  for (WFbase_FolderList e = folders; e != nullptr; e = e->next) {
    PathStr path, copied;
    std::int32_t column = 0, row = 0;
    WFfolder_GetPath(e->folder, path);
    if (!WFplaces_GetPlace(source, path, column, row)) continue;
    WFbase_RebuildFolderPath(path, fromName, toName, WFfolder_Kind(e->folder), copied);
    WFplaces_SetPlace(target, copied, column, row);
  }
  WFbase_DestroyFolderList(folders);
  WFplaces_Save(target);
  WFplaces_Close(target);
  WFplaces_Close(source);
}

// Edit (command 2): reserved, a locked one only for the privileged user, a
// running one stopped (after a question when files are being worked on).
void EnterEditMode() {
  Floatdeck_Data& d = D();
  if (d.current == nullptr) return Tell(kNoWorkflow);
  const std::string name = CurrentName();
  if (!Floatdeck_ReserveWorkflow(name)) return Tell(kEditedElsewhere, name);
  if (WFbase_WorkflowLocked(d.current) && !Floatdeck_IsPrivilegedUser()) return Floatdeck_ReleaseWorkflow(d.current);
  if (!WFstatus_WorkflowStopped(d.current)) {
    if (WFstatus_WorkflowStatus(d.current) > 0 && !Ask(kStopToEdit, name)) return Floatdeck_ReleaseWorkflow(d.current);
    Floatdeck_StopWorkflow();
  }
  Floatdeck_SetMode(1);
}

void OpenNewDialog(bool copy) {
  Floatdeck_Data& d = D();
  if (copy && d.current == nullptr) return Tell(kNoWorkflow);
  if (d.newDialog == nullptr) {
    d.newDialog = I_CreateChild(d.main, "Floatdeck_NewDialog", false);
    if (d.newDialog == nullptr) return;
    I_SetINTEGERcallback(d.newDialog, 1, Floatdeck_NewDialogCB, 0);
  }
  d.copyMode = copy;
  I_PutSTRING(d.newDialog, 2, "");
  I_Activate(d.newDialog);
}

// A new workflow in memory, edited until it is installed.
void MakeNew(const std::string& name) {
  Floatdeck_Data& d = D();
  WFshow_Show(d.view, nullptr);
  WFbase_DestroyWorkflow(d.current);
  d.current = WFbase_CreateWorkflow(name, false);
  if (!Floatdeck_ReserveWorkflow(name)) Tell(kEditedElsewhere, name);
  Floatdeck_SetMode(1);
  WFshow_Show(d.view, d.current);
  Floatdeck_NewWorkflowList(name);
  Floatdeck_Update();
}

// A copy of the workflow shown under `name`, installed, in its group, with
// its places.
void MakeCopy(const std::string& name) {
  Floatdeck_Data& d = D();
  WFbase copy = WFbase_CopyWorkflowExt(d.current, name);
  WFbase_LockWorkflow(copy, false);
  WFbase_SetModified(copy, true);
  if (copy == nullptr || !WFbase_InstallWorkflow(copy)) {
    WFbase_DestroyWorkflow(copy);
    return Tell(kCopyFailed, name);
  }
  NameStr group;
  WFgroup_GetGroup(CurrentName(), group);
  if (!StrIn(group).Empty()) WFgroup_SetGroup(name, group);
  CopyPlaces(d.current, copy);
  WFbase_DestroyWorkflow(copy);
  Floatdeck_NewWorkflowList(name);
}

// End editing with the install (10) or without (11).
void LeaveEditMode(bool install) {
  Floatdeck_Data& d = D();
  if (install && !Floatdeck_InstallCurrentWorkflow()) return;
  const std::string name = d.current != nullptr ? CurrentName() : "";
  if (!install) WFshow_ResetPlaces(d.view);
  Floatdeck_ReleaseWorkflow(d.current);
  Floatdeck_SetMode(0);
  d.isEditing = false;
  // What is on disk now is shown; a workflow never installed is gone.
  WFshow_Show(d.view, nullptr);
  WFbase_DestroyWorkflow(d.current);
  // A filter that hides the workflow follows it to its group.
  if (install && d.listGroup[0] != '\0') {
    NameStr group;
    WFgroup_GetGroup(name, group);
    Strings_Assign(StrIn(group).Empty() ? StrIn(WFbase_withoutGroup) : StrIn(group), d.listGroup);
    Floatdeck_UpdateGrouplist();
  }
  Floatdeck_NewWorkflowList(StartDirExists(name) ? name : "");
}

}  // namespace

// --- Reservation ------------------------------------------------------------------------------

void Floatdeck_BuildResource(StrIn name, StrOut resource) {
  PathStr start;
  WFbase_GetStartPath(name, start);
  Strings_Assign(StrIn(start).Str() + ":" + Floatdeck_thisHost, resource);
  SRM_UpdateResource(resource);
}

bool Floatdeck_ReserveWorkflow(StrIn name) {
  Floatdeck_Data& d = D();
  if (d.reservedName == name.Str()) return true;
  TextStr resource;
  Floatdeck_BuildResource(name, resource);
  // A manager that can't be reached counts as somebody else editing.
  if (!Messages_Quietly([&] { return SRM_Reserve(resource, true); })) return false;
  if (!d.reservedName.empty()) {
    Floatdeck_BuildResource(d.reservedName, resource);
    Messages_Quietly([&] { SRM_Release(resource); });
  }
  d.reservedName = name.Str();
  return true;
}

void Floatdeck_ReleaseWorkflow(WFbase workflow) {
  Floatdeck_Data& d = D();
  NameStr name;
  WFbase_GetName(workflow, name);
  if (workflow == nullptr || d.reservedName != StrIn(name).Str()) return;
  TextStr resource;
  Floatdeck_BuildResource(name, resource);
  Messages_Quietly([&] { SRM_Release(resource); });
  d.reservedName.clear();
}

// --- Modes ------------------------------------------------------------------------------------

void Floatdeck_SetMode(std::uint8_t mode) {
  Floatdeck_Data& d = D();
  d.mode = mode;
  WtTableD_SetTableDescription(d.main, Floatdeck_kTable, d.tables[mode]);
  WFshow_SetMode(d.view, mode);
  I_PutINTEGER(d.main, Floatdeck_kMode, mode);
  I_SetEnabledState(d.main, Floatdeck_kCommand, MenuMask(mode));
  if (mode == 0) {
    Floatdeck_StartIdleTasks(3000);
  } else {
    I_PutBOOLEAN(d.main, Floatdeck_kLocked, d.current != nullptr && WFbase_WorkflowLocked(d.current));
    d.isEditing = false;
  }
  WFbase_Announce(WFbase_msgModeChanged);
}

// --- The privileged user ------------------------------------------------------------------------

void Floatdeck_LoadPrivilegedUser() {
  PathStr file;
  DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, kPrivilegedFile, file);
  std::ifstream in(StrIn(file).Str());
  std::string name;
  if (!std::getline(in, name)) return;
  const auto first = name.find_first_not_of(" \t\r"), last = name.find_last_not_of(" \t\r");
  if (first == std::string::npos) return;
  name = name.substr(first, last - first + 1);
  if (::getpwnam(name.c_str()) != nullptr) Strings_Assign(name, D().privilegedUser);
}

// Until the suite's logins come, the privileged user is the user this
// program runs as.
bool Floatdeck_IsPrivilegedUser() {
  const passwd* self = ::getpwuid(::geteuid());
  if (self != nullptr && Strings_Equal(StrIn::C(self->pw_name), D().privilegedUser)) return true;
  Tell(kNotPrivileged, D().privilegedUser);
  return false;
}

// --- Installing, saving, removing ---------------------------------------------------------------

bool Floatdeck_InstallCurrentWorkflow() {
  Floatdeck_Data& d = D();
  if (d.current == nullptr) return Tell(kNoWorkflow), false;
  if (!WFtest_CheckWorkflow(d.view, d.current)) return false;
  const std::string name = CurrentName();
  if (!WFbase_InstallWorkflow(d.current)) return Tell(kInstallFailed, name), false;
  WFshow_SavePlaces(d.view);
  // A new workflow joins the group the list shows.
  NameStr group;
  WFgroup_GetGroup(name, group);
  if (StrIn(group).Empty() && d.listGroup[0] != '\0' && !Strings_Equal(d.listGroup, WFbase_withoutGroup))
    WFgroup_SetGroup(name, d.listGroup);
  d.isEditing = false;
  return true;
}

int Floatdeck_SaveConfirm() {
  Floatdeck_Data& d = D();
  if (d.current == nullptr || !WFbase_Modified(d.current)) return 1;
  TextStr text;
  Messages_GetMsg(section, kSaveQuestion, text);  // messages: Floatdeck 39
  SPrintf_String(text, CurrentName());
  switch (Imisc_StrSaveConfirm(text)) {
    case 1: return Floatdeck_InstallCurrentWorkflow() ? 0 : 2;
    case 2: return 1;
    default: return 2;
  }
}

bool Floatdeck_RemoveCurrentWorkflow() {
  Floatdeck_Data& d = D();
  if (d.current == nullptr) return Tell(kNoWorkflow), false;
  const std::string name = CurrentName();
  const bool mine = d.reservedName == name;
  if (!mine && !Floatdeck_ReserveWorkflow(name)) return Tell(kRemoveElsewhere, name), false;
  if ((WFbase_WorkflowLocked(d.current) && !Floatdeck_IsPrivilegedUser()) || !Ask(kRemoveQuestion, name)) {
    if (!mine) Floatdeck_ReleaseWorkflow(d.current);
    return false;
  }
  // The row after it is shown next (the one before when it was the last).
  std::string next;
  for (auto e = d.list.begin(); e != d.list.end(); ++e)
    if (name == e->name) {
      if (std::next(e) != d.list.end()) next = std::next(e)->name;
      else if (e != d.list.begin()) next = std::prev(e)->name;
    }
  Floatdeck_StopIdleTasks();
  WFshow_Show(d.view, nullptr);
  Floatdeck_ReleaseWorkflow(d.current);
  WFbase_UninstallWorkflow(d.current);
  WFgroup_SetGroup(name, "");
  if (d.mode == 1) Floatdeck_SetMode(0);
  Floatdeck_NewWorkflowList(next);
  return true;
}

// --- Commands -----------------------------------------------------------------------------------

bool Floatdeck_EditCommand(std::int32_t command) {
  switch (command) {
    case Floatdeck_cmdEdit: EnterEditMode(); break;
    case Floatdeck_cmdNew: OpenNewDialog(false); break;
    case Floatdeck_cmdCopy: OpenNewDialog(true); break;
    case Floatdeck_cmdRemove: Floatdeck_RemoveCurrentWorkflow(); break;
    case Floatdeck_cmdEndSave: LeaveEditMode(true); break;
    case Floatdeck_cmdEndDiscard: LeaveEditMode(false); break;
    default: return false;
  }
  return true;
}

void Floatdeck_UndoCB(I_Context, std::int32_t, std::int32_t, std::uintptr_t) {
  Floatdeck_Data& d = D();
  WFbase previous = WFshow_Undo(d.view);
  if (previous == nullptr) return;
  // The view lets go of the present workflow before it goes.
  WFshow_Show(d.view, previous);
  WFbase_DestroyWorkflow(d.current);
  d.current = previous;
  // What is shown differs from what was there before the undo.
  WFbase_SetModified(d.current, true);
}

void Floatdeck_NewDialogCB(I_Context dialog, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (value != 1) return I_Deactivate(dialog);
  TextStr text;
  I_GetSTRING(dialog, 2, text);
  const std::string name = StrIn(text).Str();
  if (name.empty()) return Tell(kEmptyName);
  if (!ValidName(name)) return Tell(kBadName, name);
  if (StartDirExists(name)) return Tell(kNameTaken, name);
  I_Deactivate(dialog);
  Floatdeck_StopIdleTasks();
  if (D().copyMode) MakeCopy(name);
  else MakeNew(name);
  D().isEditing = true;
  Floatdeck_StartIdleTasks(3000);
}
