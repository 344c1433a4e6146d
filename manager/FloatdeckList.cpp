// The main window's table of workflows, the group filter and the workflow
// shown.
#include <algorithm>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "manager/Floatdeck.h"
#include "manager/FloatdeckWin.h"
#include "manager/WFstatus.h"
#include "rc/SrcFile.h"
#include "toolkit/CWList.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTable.h"
#include "toolkit/Imisc.h"
#include "workflow/WFgroup.h"
#include "workflow/WFmodule.h"

namespace {

char section[kSectionCap] = "Floatdeck";

constexpr unsigned kNotReadable = 2;    // then ". ", the reason, "."
constexpr unsigned kEditedElsewhere = 17;
constexpr unsigned kStoppedText = 15, kErrorsText = 16, kExpressText = 24;
constexpr unsigned kLockedText = 40, kSyncText = 41;
constexpr unsigned kTitle = 60, kTitleNone = 61;  // the window's title

// The icons of the table's icon list (element 996's "iconList").
constexpr int kIconStopped = 0, kIconErrors = 1, kIconExpress = 2, kIconLocked = 3, kIconSynced = 4;

Floatdeck_Data& D() { return *Floatdeck_data; }

WtTableD_Column EnumColumn(std::uint32_t offset, std::uint32_t value, unsigned text, int icon) {
  WtTableD_Column c = WtTableD_CreateEnumColumn("", offset, 1);
  WtTableD_SetLocalSingleEnum(c, value, section, text, icon);
  return c;
}

// The table's value: the first row (nil for none).
void PutList() {
  WtTableD_Record* head = D().list.empty() ? nullptr : &D().list.front().link;
  I_PutGeneric(D().main, Floatdeck_kWorkflows, &head);
}

Floatdeck_WfEntry* Find(StrIn name) {
  for (Floatdeck_WfEntry& e : D().list)
    if (Strings_Equal(e.name, name)) return &e;
  return nullptr;
}

Floatdeck_WfEntry* Selected() {
  for (Floatdeck_WfEntry& e : D().list)
    if (e.link.selected) return &e;
  return nullptr;
}

// The states of a workflow that is not shown, from its start folder.
void ReadStates(Floatdeck_WfEntry& entry) {
  WFbase start = Messages_Quietly([&] { return WFbase_RebuildWorkflowStart(entry.name); });
  Floatdeck_UpdateStates(entry, start);
  WFbase_DestroyWorkflow(start);
}

std::string CurrentName() {
  NameStr name;
  WFbase_GetName(D().current, name);
  return StrIn(name).Str();
}

// The window's title names the workflow shown.
void SetTitle() {
  TextStr title;
  Messages_GetMsg(section, D().current != nullptr ? kTitle : kTitleNone, title);  // messages: Floatdeck 60-61
  if (D().current != nullptr) SPrintf_String(title, CurrentName());
  I_SetReprAttr(D().main, -1, SIdPool_EnterId("title"), title, static_cast<std::uint32_t>(StrIn(title).Length() + 1));
}

// Asks the user whether to repair a damaged folder while reading.
bool Answer(StrIn question) { return Imisc_StrYes(question); }

}  // namespace

void Floatdeck_RedrawStateColumns() {
  Widget table = I_AccessWidget(D().main, Floatdeck_kTable);
  for (std::size_t column : {0, 1}) CWTable_RedrawColumn(table, column);
}

// --- The table --------------------------------------------------------------------------------

// Mode 0: stopped or express, and errors; mode 1: locked and synchronised.
// Both end in the name, the key, which takes the free width.
WtTableD_Table Floatdeck_CreateTable(std::uint8_t mode) {
  WtTableD_Table table = WtTableD_CreateTableDef();
  if (mode == 0) {
    WtTableD_Column state = EnumColumn(offsetof(Floatdeck_WfEntry, stateEnum), 1, kStoppedText, kIconStopped);
    WtTableD_SetLocalSingleEnum(state, 2, section, kExpressText, kIconExpress);  // messages: Floatdeck 15 16 24
    WtTableD_AddColumn(table, state);
    WtTableD_AddColumn(table, EnumColumn(offsetof(Floatdeck_WfEntry, states) + Floatdeck_sErrors, 1, kErrorsText,
                                         kIconErrors));
  } else {
    WtTableD_AddColumn(table, EnumColumn(offsetof(Floatdeck_WfEntry, states) + Floatdeck_sLocked, 1, kLockedText,
                                         kIconLocked));  // messages: Floatdeck 40 41
    WtTableD_AddColumn(table, EnumColumn(offsetof(Floatdeck_WfEntry, states) + Floatdeck_sSyncEnabled, 1,
                                         kSyncText, kIconSynced));
  }
  WtTableD_Column name = WtTableD_CreateStringColumn("", offsetof(Floatdeck_WfEntry, name), kNameCap);
  WtTableD_SetFillUpWeight(name, 1);
  WtTableD_AddColumn(table, name);
  WtTableD_SetKeyColumns(table, name);
  return table;
}

bool Floatdeck_UpdateStates(Floatdeck_WfEntry& entry, WFbase workflow) {
  bool states[Floatdeck_sCount] = {};
  if (workflow != nullptr) {
    states[Floatdeck_sStopped] = WFstatus_WorkflowStopped(workflow);
    states[Floatdeck_sExpress] = WFstatus_IsExpressWorkflow(workflow);
    states[Floatdeck_sErrors] = WFstatus_ErrorsThere(workflow);
    states[Floatdeck_sLocked] = WFbase_WorkflowLocked(workflow);
    WFbase_Options options;
    WFbase_GetOptions(workflow, options);
    states[Floatdeck_sSyncEnabled] = options.doSync;
  }
  const std::uint8_t stateEnum = states[Floatdeck_sStopped] ? 1 : states[Floatdeck_sExpress] ? 2 : 0;
  const bool changed = !std::equal(std::begin(states), std::end(states), std::begin(entry.states)) ||
                       stateEnum != entry.stateEnum;
  std::copy(std::begin(states), std::end(states), std::begin(entry.states));
  entry.stateEnum = stateEnum;
  return changed;
}

Floatdeck_WfEntry* Floatdeck_CurrentEntry() {
  return D().current != nullptr ? Find(CurrentName()) : nullptr;
}

std::uint32_t Floatdeck_NumberOfExpressWFs() {
  const std::string current = D().current != nullptr ? CurrentName() : "";
  std::uint32_t count = 0;
  for (const Floatdeck_WfEntry& e : D().list)
    if (e.states[Floatdeck_sExpress] && current != e.name) ++count;
  return count;
}

// --- The list ---------------------------------------------------------------------------------

void Floatdeck_NewWorkflowList(StrIn select) {
  Floatdeck_Data& d = D();
  // 1. The names of the group.
  d.listStamp = SDateAri_Now().seconds;
  WFbase_WfList names = WFbase_GetAllWorkflows(d.listGroup);
  const Floatdeck_WfEntry* wasSelected = Selected();
  const std::string keep = !select.Empty() ? select.Str() : wasSelected != nullptr ? wasSelected->name : "";
  // 2. Rows known keep their states, new ones read theirs.
  std::list<Floatdeck_WfEntry> rows;
  for (WFbase_WfList n = names; n != nullptr; n = n->next) {
    if (const Floatdeck_WfEntry* old = Find(n->name)) {
      rows.push_back(*old);
    } else {
      rows.push_back(Floatdeck_WfEntry{});
      Strings_Assign(n->name, rows.back().name);
      ReadStates(rows.back());
    }
  }
  WFbase_DestroyWfList(names);
  // 3. The selection, linked in list order.
  Floatdeck_WfEntry* chosen = nullptr;
  for (auto at = rows.begin(); at != rows.end(); ++at) {
    at->link.next = std::next(at) != rows.end() ? &std::next(at)->link : nullptr;
    at->link.selected = !keep.empty() && keep == at->name;
    if (at->link.selected) chosen = &*at;
  }
  if (chosen == nullptr && !rows.empty()) {
    chosen = &rows.front();
    chosen->link.selected = true;
  }
  // 4. The table shows the new list before the old one goes.
  d.list.swap(rows);
  PutList();
  rows.clear();
  // The workflow being edited stays shown, also before it is on disk.
  const std::string want = chosen != nullptr ? chosen->name : "";
  if (d.mode == 0 && want != (d.current != nullptr ? CurrentName() : "")) Floatdeck_DisplayNewWorkflow(want);
}

void Floatdeck_SelectRow(StrIn name) {
  for (Floatdeck_WfEntry& e : D().list) e.link.selected = Strings_Equal(e.name, name);
  PutList();
}

void Floatdeck_DisplayNewWorkflow(StrIn name) {
  Floatdeck_Data& d = D();
  Floatdeck_StopIdleTasks();
  WFshow_Show(d.view, nullptr);
  WFbase_DestroyWorkflow(d.current);
  if (!name.Empty()) {
    TextStr reason;
    d.current = WFbase_RebuildWorkflow(name, Answer, reason);
    if (d.current != nullptr) {
      WFshow_Show(d.view, d.current);
      Strings_Assign(name, d.currWfName);
      Messages_Quietly([] { SrcFile_SaveToLocation("Floatdeck", 1); });
      Floatdeck_StartIdleTasks(3000);
    } else {
      TextStr text;
      Messages_GetMsg(section, kNotReadable, text);  // messages: Floatdeck 2
      WFbase_ShowText(StrIn(text).Str() + ". " + StrIn(reason).Str() + ".");
    }
  }
  SetTitle();
  Floatdeck_Update();
}

void Floatdeck_Update() {
  Floatdeck_Data& d = D();
  NameStr host;
  const bool local = d.current == nullptr || WFbase_LocalWorkflow(d.current);
  if (local) Strings_Assign(Floatdeck_thisHost, host);
  else WFbase_GetWFInstallerHost(d.current, host);
  I_PutSTRING(d.main, Floatdeck_kHost, d.current != nullptr ? StrIn(host) : StrIn(""));
  I_PutSTRING(d.main, Floatdeck_kWorkflowName, d.current != nullptr ? CurrentName() : "");
  I_SetEnabled(d.main, Floatdeck_kLocalCommand, d.current != nullptr && local);
  I_SetEnabled(d.main, Floatdeck_kExpress, d.current != nullptr && local);
  Floatdeck_WfEntry none{};
  Floatdeck_WfEntry* entry = Floatdeck_CurrentEntry();
  if (entry == nullptr) entry = &none;
  if (Floatdeck_UpdateStates(*entry, d.current) && entry != &none) Floatdeck_RedrawStateColumns();
  I_PutBOOLEAN(d.main, Floatdeck_kErrors, entry->states[Floatdeck_sErrors]);
  I_PutBOOLEAN(d.main, Floatdeck_kStopped, entry->states[Floatdeck_sStopped]);
  I_PutBOOLEAN(d.main, Floatdeck_kExpress, entry->states[Floatdeck_sExpress]);
  I_PutBOOLEAN(d.main, Floatdeck_kLocked, entry->states[Floatdeck_sLocked]);
}

// A click on a row: the workflow of the row is shown. A modified one is
// asked about first (cancel puts the old row back); in edit mode the new
// one is reserved and edited in its turn.
void Floatdeck_WFSelCB(I_Context, std::int32_t, void*, std::uintptr_t) {
  Floatdeck_Data& d = D();
  const Floatdeck_WfEntry* row = Selected();
  const std::string name = row != nullptr ? row->name : "";
  const std::string old = d.current != nullptr ? CurrentName() : "";
  if (d.current != nullptr && name == old) return Floatdeck_Update();
  if (Floatdeck_SaveConfirm() == 2) return Floatdeck_SelectRow(old);
  if (d.mode == 1) {
    if (!Floatdeck_ReserveWorkflow(name)) {
      WFbase_Message(section, kEditedElsewhere, name);  // messages: Floatdeck 17
      return Floatdeck_SelectRow(old);
    }
    if (WFbase_WorkflowLockedByName(name) && !Floatdeck_IsPrivilegedUser()) return Floatdeck_SelectRow(old);
  }
  Floatdeck_DisplayNewWorkflow(name);
  WFbase_Announce(WFbase_msgWorkflowChanged);
}

// --- Groups -----------------------------------------------------------------------------------

void Floatdeck_ListGroupSelCB(I_Context, std::int32_t, StrIn text, std::uintptr_t) {
  Floatdeck_Data& d = D();
  if (Strings_Equal(text, d.allGroups)) d.listGroup[0] = '\0';
  else if (Strings_Equal(text, d.noGroup)) Strings_Assign(WFbase_withoutGroup, d.listGroup);
  else Strings_Assign(text, d.listGroup);
  Floatdeck_NewWorkflowList("");
}

// The filter's entries: the two pseudo groups, then the site's groups. A
// filter whose group has gone shows all workflows again.
void Floatdeck_UpdateGrouplist() {
  Floatdeck_Data& d = D();
  const bool inUse = WFgroup_Active();
  std::string entries = std::string(d.allGroups) + "\n" + d.noGroup;
  bool filterFound = d.listGroup[0] == '\0' || Strings_Equal(d.listGroup, WFbase_withoutGroup);
  for (const WFgroup_Group* g = WFgroup_GetFirstGroup(WFgroup_grpList); g != nullptr; g = g->next) {
    entries += "\n" + StrIn(g->name).Str();
    filterFound = filterFound || Strings_Equal(g->name, d.listGroup);
  }
  I_SetReprAttr(d.main, Floatdeck_kGroupBox, CWList_dynStrAT, entries.c_str(),
                static_cast<std::uint32_t>(entries.size() + 1));
  I_PutBOOLEAN(d.main, Floatdeck_kGroupsInUse, inUse);
  if (!filterFound) {
    d.listGroup[0] = '\0';
    Floatdeck_NewWorkflowList("");
  }
  I_PutSTRING(d.main, Floatdeck_kGroup,
              d.listGroup[0] == '\0'                            ? StrIn(d.allGroups)
              : Strings_Equal(d.listGroup, WFbase_withoutGroup) ? StrIn(d.noGroup)
                                                                : StrIn(d.listGroup));
}
