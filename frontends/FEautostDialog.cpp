// FEautost: the start folder's dialog. The values, checks and dependent
// values are FEautost's; here they meet the dialog "FEautost": the elements
// of the dialog only (default start directory, remote starts, interval) and
// the enabling that follows the parameters.
#include <cstddef>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "frontends/FEautost.h"
#include "frontends/FEwfGenrModule.h"
#include "toolkit/WtTableD.h"

extern char FEautost_section[kSectionCap];

namespace {

// messages: FEautost 50 51 52 53
constexpr unsigned kServerTitle = 50;
constexpr unsigned kDirectoryTitle = 51;
constexpr unsigned kDeleteTitle = 52;
constexpr unsigned kDeleteYes = 53;

constexpr WFmodule_Kind kStartKind = 1;
constexpr char kDialogName[] = "FEautost";
constexpr std::int32_t kDeleteSelected = 0;
constexpr std::int32_t kAddServer = 1;

// A row of the remote-start table.
struct Row {
  WtTableD_Record head{nullptr, false};
  char server[kNameCap] = "";
  char directory[kPathCap] = "";
  std::uint8_t deleteFiles = 0;
};

struct Dialog {
  FEwfGenr_ModuleHead head;
  WtTableD_Table table = nullptr;
  std::vector<Row> rows;  // the table's records, rebuilt with the list
};
Dialog* dialog = nullptr;

FEautost_Data& Data() { return *FEautost_data; }
I_Context Context() { return dialog->head.dialog; }

void ShowEnabling() {
  FEautost_Enabling e;
  FEautost_GetEnabling(dialog->head.dictionary, Data(), e);
  I_Context c = Context();
  I_PutBOOLEAN(c, static_cast<std::int32_t>(kFEautostUseDefault), Data().useDefaultStartdir);
  I_SetEnabled(c, static_cast<std::int32_t>(kFEautostStartDir), e.startDir);
  I_SetEnabled(c, static_cast<std::int32_t>(kFEautostFinalPage), e.finalPage);
  I_SetEnabled(c, static_cast<std::int32_t>(kFEautostFileFormats), e.formats);
  I_SetEnabledState(c, static_cast<std::int32_t>(kFEautostSelector), static_cast<std::uint32_t>(e.selector));
  I_SetEnabled(c, static_cast<std::int32_t>(kFEautostExtend), e.extend);
  for (std::uint32_t element : {kFEautostExtendMode, kFEautostDelimiter, kFEautostReplacement}) {
    I_SetEnabled(c, static_cast<std::int32_t>(element), e.extendFields);
  }
  I_SetEnabled(c, static_cast<std::int32_t>(kFEautostRemoteOn), e.remoteOn);
  I_PutBOOLEAN(c, static_cast<std::int32_t>(kFEautostRemoteOn), Data().remoteStartsOn);
}

// Element 20: bit 0 with a selected entry, bit 1 with a server chosen to add.
void ShowRemoteCommands() {
  std::uint32_t mask = 0;
  for (const Row& row : dialog->rows) mask |= row.head.selected ? 1U : 0U;
  TextStr server;
  I_GetSTRING(Context(), static_cast<std::int32_t>(kFEautostServer), server);
  if (!StrIn(server).Empty() && !Strings_Equal(server, Data().noServerText)) mask |= 2U;
  const bool on = Data().remoteStartsOn;
  I_SetEnabledState(Context(), static_cast<std::int32_t>(kFEautostRemoteCommand), on ? mask : 0U);
  I_SetEnabled(Context(), static_cast<std::int32_t>(kFEautostRemoteTable), on);
  I_SetEnabled(Context(), static_cast<std::int32_t>(kFEautostServer), on);
}

// The table shows the remote list; rows keep no state of their own but the
// selection, which goes with a new list.
void ShowRemoteList() {
  dialog->rows.assign(Data().remoteList.size(), Row{});
  for (std::size_t i = 0; i < dialog->rows.size(); ++i) {
    Row& row = dialog->rows[i];
    const SAutoRcF_RemoteStart& start = Data().remoteList[i];
    Strings_Assign(start.server, row.server);
    Strings_Assign(start.directory, row.directory);
    row.deleteFiles = start.deleteFiles ? 1 : 0;
    if (i > 0) dialog->rows[i - 1].head.next = &row.head;
  }
  WtTableD_Record* first = dialog->rows.empty() ? nullptr : &dialog->rows.front().head;
  I_PutGeneric(Context(), static_cast<std::int32_t>(kFEautostRemoteTable), &first);
  ShowRemoteCommands();
}

// --- The parameters' callbacks ---------------------------------------------------------

void RuleCB(AutoDict_Parameter parameter, std::uintptr_t) {
  const std::uint32_t element = AutoDict_GetAObjId(parameter);
  for (std::size_t i = 0; i < FEautost_dependencyCount; ++i) {
    if (FEautost_dependencies[i].element != element) continue;
    const FEautost_Rule rule = FEautost_dependencies[i].rule;
    if (!FEautost_ApplyRule(dialog->head.dictionary, Data(), rule)) continue;
    // The rule changed a value: shown, and a change of its own.
    const std::uint32_t changed = rule == FEautost_Rule::ExtendAllowed ? kFEautostExtend : kFEautostFinalPage;
    FEwfGenr_UpdateView(dialog->head.frame, false);
    FEwfGenr_AObjectModified(dialog->head.frame, changed);
  }
  ShowEnabling();
}

// --- The elements of the dialog only ---------------------------------------------------

void UseDefaultCB(I_Context, std::int32_t, bool value, std::uintptr_t) {
  if (!value) {
    Data().useDefaultStartdir = false;
    ShowEnabling();
    return;
  }
  AutoDict_Parameter startDir = AutoDict_GetParameter(dialog->head.dictionary, kFEautostStartDir);
  AutoDict_SetDefault(startDir);
  Data().useDefaultStartdir = true;
  PathStr path;
  AutoDict_GetString(startDir, path);
  I_PutSTRING(Context(), static_cast<std::int32_t>(kFEautostStartDir), path);
  FEwfGenr_SetModified(dialog->head.frame);
  ShowEnabling();
}

void RemoteOnCB(I_Context, std::int32_t, bool value, std::uintptr_t) {
  Data().remoteStartsOn = value;
  Data().remoteChanged = true;
  ShowRemoteCommands();
}

// The table reports a new selection or an edited cell (the directory or
// the delete flag): an edit is a change of the remote starts.
void TableCB(I_Context, std::int32_t, void*, std::uintptr_t) {
  for (std::size_t i = 0; i < dialog->rows.size() && i < Data().remoteList.size(); ++i) {
    SAutoRcF_RemoteStart& start = Data().remoteList[i];
    const Row& row = dialog->rows[i];
    if (!Strings_Equal(start.directory, row.directory) || start.deleteFiles != (row.deleteFiles != 0)) {
      Strings_Assign(row.directory, start.directory);
      start.deleteFiles = row.deleteFiles != 0;
      Data().remoteChanged = true;
    }
  }
  ShowRemoteCommands();
}

void RemoteCommandCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (value == kAddServer) {
    TextStr server;
    I_GetSTRING(Context(), static_cast<std::int32_t>(kFEautostServer), server);
    if (StrIn(server).Empty() || Strings_Equal(server, Data().noServerText)) return;
    FEautost_AddRemoteStart(Data(), server);
    I_PutSTRING(Context(), static_cast<std::int32_t>(kFEautostServer), Data().noServerText);
  } else if (value == kDeleteSelected) {
    std::vector<std::size_t> selected;
    for (std::size_t i = 0; i < dialog->rows.size(); ++i) {
      if (dialog->rows[i].head.selected) selected.push_back(i);
    }
    if (selected.empty()) return;
    FEautost_DeleteRemoteStarts(Data(), selected);
  }
  ShowRemoteList();
}

void ServerCB(I_Context, std::int32_t, StrIn, std::uintptr_t) { ShowRemoteCommands(); }

void IntervalCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t) {
  const bool valid = value >= 0 && static_cast<std::size_t>(value) < Data().intervalList.size();
  Data().interval = valid ? value : -1;
  FEwfGenr_SetModified(dialog->head.frame);
}

// --- The frame's hooks -----------------------------------------------------------------

bool CheckCB(AutoDict dictionary, std::uintptr_t client) {
  return FEautost_CheckValuesCB(dictionary, reinterpret_cast<void*>(client));
}

void SetValuesCB(SAutoRcF rc, std::uintptr_t client) { FEautost_SetValuesCB(rc, reinterpret_cast<void*>(client)); }

void SwitchboardCB(std::uintptr_t message) {
  if (dialog != nullptr) FEwfGenr_CancelOnChange(dialog->head.frame, message);
}

WtTableD_Table MakeTable() {
  TextStr title;
  WtTableD_Table table = WtTableD_CreateTableDef();
  Messages_GetMsg(FEautost_section, kServerTitle, title);
  WtTableD_Column server = WtTableD_CreateStringColumn(title, offsetof(Row, server), sizeof(Row::server));
  WtTableD_AddColumn(table, server);
  WtTableD_SetKeyColumns(table, server);
  Messages_GetMsg(FEautost_section, kDirectoryTitle, title);
  WtTableD_Column directory = WtTableD_CreateStringColumn(title, offsetof(Row, directory), sizeof(Row::directory));
  WtTableD_SetFillUpWeight(directory, 1);
  WtTableD_SetColumnEditable(directory, true);
  WtTableD_AddColumn(table, directory);
  Messages_GetMsg(FEautost_section, kDeleteTitle, title);
  WtTableD_Column remove = WtTableD_CreateEnumColumn(title, offsetof(Row, deleteFiles), 1);
  WtTableD_SetLocalSingleEnum(remove, 1, FEautost_section, kDeleteYes, -1);
  WtTableD_SetColumnEditable(remove, true);
  WtTableD_AddColumn(table, remove);
  return table;
}

void FillCombos() {
  std::string servers = StrIn(Data().noServerText).Str();
  for (const RWbase_Server& server : Data().serverList) servers += "\n" + StrIn(server.name).Str();
  I_SetReprAttr(Context(), static_cast<std::int32_t>(kFEautostServer), SIdPool_EnterId("dynStr"), servers.c_str(),
                static_cast<std::uint32_t>(servers.size() + 1));
  I_PutSTRING(Context(), static_cast<std::int32_t>(kFEautostServer), Data().noServerText);
  std::string intervals;
  for (const FEautost_Interval& entry : Data().intervalList) {
    intervals += (intervals.empty() ? "" : "\n") + StrIn(entry.label).Str();
  }
  I_SetReprAttr(Context(), static_cast<std::int32_t>(kFEautostInterval), SIdPool_EnterId("dynStr"),
                intervals.c_str(), static_cast<std::uint32_t>(intervals.size() + 1));
  I_PutINTEGER(Context(), static_cast<std::int32_t>(kFEautostInterval), Data().interval);
}

}  // namespace

bool FEautost_Create(SwitchBd switchboard) {
  if (dialog != nullptr) return true;
  if (FEautost_data == nullptr) FEautost_data = new FEautost_Data;
  auto* made = new Dialog;
  Messages_Quietly([] { return I_UseContextCat("FEAUTOSTdlg"); });
  if (!FEwfGenr_MakeModule(made->head, kStartKind, FEautost_DefineParameters, kDialogName,
                           static_cast<std::int32_t>(kFEautostShell), reinterpret_cast<std::uintptr_t>(FEautost_data),
                           switchboard, SwitchboardCB)) {
    delete made;
    return false;
  }
  dialog = made;
  FEautost_data->dictionary = made->head.dictionary;
  FEwfGenr frame = made->head.frame;
  FEwfGenr_RegisterCheckValuesCB(frame, CheckCB);
  FEwfGenr_RegisterSetValuesCB(frame, SetValuesCB);
  for (std::size_t i = 0; i < FEautost_dependencyCount; ++i) {
    FEwfGenr_RegisterParameterCB(frame, FEautost_dependencies[i].element, RuleCB);
  }
  made->table = MakeTable();
  I_Context c = made->head.dialog;
  WtTableD_SetTableDescription(c, static_cast<std::int32_t>(kFEautostRemoteTable), made->table);
  I_SetBOOLEANcallback(c, static_cast<std::int32_t>(kFEautostUseDefault), UseDefaultCB, 0);
  I_SetBOOLEANcallback(c, static_cast<std::int32_t>(kFEautostRemoteOn), RemoteOnCB, 0);
  I_SetGenericcallback(c, static_cast<std::int32_t>(kFEautostRemoteTable), TableCB, 0);
  I_SetINTEGERcallback(c, static_cast<std::int32_t>(kFEautostRemoteCommand), RemoteCommandCB, 0);
  I_SetSTRINGcallback(c, static_cast<std::int32_t>(kFEautostServer), ServerCB, 0);
  I_SetINTEGERcallback(c, static_cast<std::int32_t>(kFEautostInterval), IntervalCB, 0);
  return true;
}

I_Context FEautost_Dialog() { return dialog == nullptr ? nullptr : dialog->head.dialog; }

void FEautost_FrontEnd(StrIn workflow, StrIn, SAutoRcF rc, SwitchBd switchboard, bool& modified) {
  modified = false;
  if (!FEautost_Create(switchboard)) return;
  FEautost_Data& data = Data();
  Strings_Assign(workflow, data.workflow);
  data.rc = rc;
  // The default start directory is this workflow's.
  PathStr fallback;
  FEautost_GetDefaultStartdir(workflow, fallback);
  AutoDict_Parameter startDir = AutoDict_GetParameter(data.dictionary, kFEautostStartDir);
  AutoDict_SetString(startDir, fallback);
  AutoDict_SetValueAsDefault(startDir);
  // Remote starts, servers and the interval, before the values are shown.
  FEautost_LoadRemoteStarts(data, rc);
  FEautost_FillIntervals(data.intervalList);
  std::int32_t seconds = TVWcfg_DefaultWatchInterval;
  if (!SAutoRcF_GetIntOpt(rc, "WATCHINTERVAL", seconds)) seconds = TVWcfg_DefaultWatchInterval;
  data.interval = FEautost_FindInterval(data.intervalList, seconds);
  FillCombos();
  ShowRemoteList();
  ShowEnabling();
  FEwfGenr_RunModule(dialog->head, workflow, rc, modified);
  // Remote starts changed or dropped are saved whatever the dialog ended with.
  if (FEautost_SaveRemoteStarts(data, rc)) modified = true;
  dialog->rows.clear();
  WtTableD_Record* none = nullptr;
  I_PutGeneric(Context(), static_cast<std::int32_t>(kFEautostRemoteTable), &none);
  data.remoteList.clear();
  data.serverList.clear();
  data.rc = nullptr;
}
