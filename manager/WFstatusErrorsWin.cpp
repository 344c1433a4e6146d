// WFstatusErrors: the error window. One for the program; it shows the
// errors of one workflow at a time, read anew at every action and when
// somebody else tells "errors changed".
#include <cstddef>
#include <set>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "base/SwitchBd.h"
#include "manager/WFstatusErrors.h"
#include "manager/WFstatusPrivate.h"
#include "manager/WFstatusView.h"
#include "toolkit/CWTextIO.h"
#include "toolkit/ITreeSel.h"
#include "toolkit/Imisc.h"

namespace {

// messages: WFstatus 88-97
constexpr unsigned kDeleteSelected = 88, kDeleteAll = 89, kMoveTitle = 90, kStateTexts = 91, kHeaders = 94;
constexpr char kDialog[] = "WFstatus_Errors";
constexpr std::int32_t kFolder = 9;
// Icons of the state column, by the dialog's "iconList".
constexpr int kIconRetry = 0, kIconNoRetry = 1, kIconMissing = 2;

struct ErrorWindow {
  I_Context context = nullptr;
  WtTableD_Table table = nullptr;
  WFstatus_ErrorList list;
  std::string workflow, directory;
  SwitchBd_Inlet inlet = nullptr;
  bool acting = false;  // the window's own action tells "errors changed"
};
ErrorWindow* window = nullptr;

std::string Text(unsigned number) {
  TextStr text;
  Messages_GetMsg(WFstatus_section, number, text);
  return StrIn(text).Str();
}

WtTableD_Table MakeTable() {
  WtTableD_Table table = WtTableD_CreateTableDef();
  WtTableD_Column state =
      WtTableD_CreateEnumColumn(Text(kHeaders), offsetof(WFstatus_Error, state), sizeof(std::uint8_t));
  const int icons[] = {kIconRetry, kIconNoRetry, kIconMissing};
  for (std::uint32_t value = WFstatus_errRetryable; value <= WFstatus_errFileMissing; ++value)
    WtTableD_SetLocalSingleEnum(state, value, WFstatus_section, kStateTexts + value, icons[value]);
  WtTableD_AddColumn(table, state);
  WtTableD_AddColumn(table, WtTableD_CreateStringColumn(Text(kHeaders + 1), offsetof(WFstatus_Error, dateText), kNameCap));
  WtTableD_Column name = WtTableD_CreateStringColumn(Text(kHeaders + 2), offsetof(WFstatus_Error, name), kNameCap);
  WtTableD_SetFillUpWeight(name, 2);
  WtTableD_AddColumn(table, name);
  WtTableD_Column folder =
      WtTableD_CreateStringColumn(Text(kHeaders + 3), offsetof(WFstatus_Error, folderName), kNameCap);
  WtTableD_SetFillUpWeight(folder, 1);
  WtTableD_AddColumn(table, folder);
  WtTableD_SetKeyColumns(table, name);
  return table;
}

const WFstatus_Error* FirstSelected() {
  for (const WFstatus_Error* e : window->list.errors)
    if (e->link.selected) return e;
  return nullptr;
}

std::size_t SelectedCount() {
  std::size_t count = 0;
  for (const WFstatus_Error* e : window->list.errors) count += e->link.selected ? 1 : 0;
  return count;
}

// Runs an action of the window; the list is read anew after it.
template <class Action>
void Act(Action action) {
  window->acting = true;
  action();
  window->acting = false;
  WFstatus_UpdateErrorList();
}

bool Confirmed(unsigned number, std::size_t count) {
  TextStr question;
  Messages_GetMsg(WFstatus_section, number, question);
  SPrintf_Card64(question, count);
  SPrintf_String(question, window->workflow);
  return Imisc_StrYes(question);
}

void Move() {
  PathStr directory;
  if (!ITreeSel_SelectADirectory(Text(kMoveTitle), "", directory)) return;
  Act([&] { WFstatus_MoveErrorFiles(window->list, false, directory); });
}

void CommandCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (window == nullptr) return;
  WFstatus_ErrorList& list = window->list;
  switch (value) {
    case WFstatus_errClose: return WFstatus_CloseErrors();
    case WFstatus_errRefresh: return WFstatus_UpdateErrorList();
    case WFstatus_errRetry: return Act([&] { WFstatus_TryAgain(list, false); });
    case WFstatus_errRetryAll: return Act([&] { WFstatus_TryAgain(list, true); });
    case WFstatus_errMove: return Move();
    case WFstatus_errDelete:
      if (Confirmed(kDeleteSelected, SelectedCount())) Act([&] { WFstatus_DeleteErrorFiles(list, false); });
      return;
    case WFstatus_errDeleteAll:
      if (Confirmed(kDeleteAll, list.errors.size())) Act([&] { WFstatus_DeleteErrorFiles(list, true); });
      return;
    case WFstatus_errShowLog:
      if (const WFstatus_Error* e = FirstSelected(); e != nullptr && e->logFile[0] != '\0') WFstatus_DisplayPDF(e->logFile);
      return;
    default: return;
  }
}

// A new selection; a double click shows the failed file.
void ListCB(I_Context, std::int32_t, void*, std::uintptr_t) {
  if (window == nullptr) return;
  WFstatus_UpdateError();
  const WFstatus_Error* e = FirstSelected();
  if (!I_WasDoubleClick() || e == nullptr || !e->fileThere) return;
  const std::string file = e->fileName;
  WFstatus_DisplayFile(file.substr(0, file.rfind('/')), file.substr(file.rfind('/') + 1), 0);
}

void CloseCB(I_Context, bool, std::uintptr_t) { WFstatus_CloseErrors(); }

void SwitchboardCB(std::uintptr_t message) {
  if (window == nullptr || !I_Active(window->context) || window->acting) return;
  const char* text = reinterpret_cast<const char*>(message);
  if (text == WFbase_msgModeChanged || text == WFbase_msgWorkflowDeleted) {
    // Editing begins, or the workflow may be gone: the window goes.
    if (text == WFbase_msgModeChanged || !DirAcces_Access(window->directory, DirAcces_Mode::Exists))
      WFstatus_CloseErrors();
    return;
  }
  if (text == WFbase_msgErrorsChanged || text == WFbase_msgWorkflowChanged ||
      text == WFbase_msgWorkflowStoppedStarted)
    WFstatus_UpdateErrorList();
}

bool Make() {
  if (window != nullptr) return true;
  I_Context context = I_Create(kDialog, false);
  if (context == nullptr) return false;
  window = new ErrorWindow;
  window->context = context;
  window->table = MakeTable();
  WtTableD_SetTableDescription(context, WFstatus_kErrList, window->table);
  I_SetINTEGERcallback(context, WFstatus_kErrCommand, CommandCB, 0);
  I_SetINTEGERcallback(context, WFstatus_kErrAction, CommandCB, 0);
  I_SetGenericcallback(context, WFstatus_kErrList, ListCB, 0);
  I_SetCloseCallback(context, CloseCB, 0);
  window->inlet = SwitchBd_NotifyMe(WFbase_switchboard, SwitchboardCB);
  return true;
}

}  // namespace

void WFstatus_ShowErrors(WFbase workflow) {
  if (workflow == nullptr || !Make()) return;
  NameStr name;
  PathStr directory;
  WFbase_GetName(workflow, name);
  WFbase_GetErrordir(workflow, directory);
  window->workflow = StrIn(name).Str();
  window->directory = StrIn(directory).Str();
  I_PutSTRING(window->context, WFstatus_kErrTitle, window->workflow + "   " + window->directory);
  WFstatus_UpdateErrorList();
  I_Activate(window->context);
}

void WFstatus_UpdateErrorList() {
  if (window == nullptr) return;
  // The selection stays with the errors by their files.
  std::set<std::string> selected;
  for (const WFstatus_Error* e : window->list.errors)
    if (e->link.selected) selected.insert(e->errFile);
  WFstatus_ErrorList fresh;
  WFstatus_GetErrorList(window->directory, fresh);
  for (WFstatus_Error* e : fresh.errors) e->link.selected = selected.count(e->errFile) != 0;
  WtTableD_Record* head = fresh.First();
  I_PutGeneric(window->context, WFstatus_kErrList, &head);
  // The old records go only now: the table looked at them to keep its place.
  window->list.errors.swap(fresh.errors);
  WFstatus_UpdateError();
}

void WFstatus_UpdateError() {
  if (window == nullptr) return;
  const WFstatus_Error* shown = FirstSelected();
  std::string description;
  if (shown != nullptr)
    for (const std::string& line : shown->description) description += (description.empty() ? "" : "\n") + line;
  if (Widget text = I_AccessWidget(window->context, WFstatus_kErrText)) CWTextIO_SetText(text, description);
  I_PutSTRING(window->context, kFolder, shown != nullptr ? StrIn(shown->folderPath) : StrIn(" "));
  // What the selection allows.
  bool anySelected = false, retrySelected = false, retryAny = false;
  for (const WFstatus_Error* e : window->list.errors) {
    anySelected = anySelected || e->link.selected;
    retrySelected = retrySelected || (e->link.selected && e->retryable);
    retryAny = retryAny || e->retryable;
  }
  const auto bit = [](std::int32_t value, bool on) { return on ? 1u << value : 0u; };
  I_SetEnabledState(window->context, WFstatus_kErrCommand,
                    bit(WFstatus_errClose, true) | bit(WFstatus_errRefresh, true) |
                        bit(WFstatus_errDelete, anySelected) | bit(WFstatus_errDeleteAll, !window->list.errors.empty()) |
                        bit(WFstatus_errShowLog, shown != nullptr && shown->logFile[0] != '\0'));
  I_SetEnabledState(window->context, WFstatus_kErrAction,
                    bit(WFstatus_errRetry, retrySelected) | bit(WFstatus_errRetryAll, retryAny) |
                        bit(WFstatus_errMove, anySelected));
}

void WFstatus_CloseErrors() {
  if (window == nullptr) return;
  I_Deactivate(window->context);
}

bool WFstatus_ErrorsShown() { return window != nullptr && I_Active(window->context); }
I_Context WFstatus_ErrorsContext() { return window != nullptr ? window->context : nullptr; }

WFstatus_ErrorList& WFstatus_ShownErrors() {
  static WFstatus_ErrorList none;
  return window != nullptr ? window->list : none;
}
