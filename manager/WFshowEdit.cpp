// The graph's edit mode: a folder's parameters opened from its icon, and
// the undo stack of the steps edit mode can take back.
//
// The stack holds copies of the workflow as it was before each step, the
// newest first; a ninth step pushes out the oldest. Its label, shown next
// to the undo button, names the step and the folder's kind, cut to 128
// bytes (on a character's boundary).
#include <string>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "manager/WFedit.h"
#include "manager/WFshowRec.h"
#include "toolkit/WtGuiLog.h"

namespace {

char section[kSectionCap] = "WFshow";
constexpr unsigned kEditParamsLabel = 12;
constexpr std::size_t kLabelCap = 128;

// `text` cut to at most `cap` bytes without splitting a UTF-8 character.
std::string CutLabel(std::string text, std::size_t cap) {
  if (text.size() <= cap) return text;
  std::size_t end = cap;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  text.resize(end);
  return text;
}

// Puts `before` (owned from now on) on the stack for a step of label
// message `number` on `folder`, named by its kind's title.
void PushUndo(WFshow_View view, WFbase before, unsigned number, WFfolder folder) {
  TextStr label;
  NameStr title;
  Messages_GetMsg(section, number, label);  // messages: WFshow 12
  WFfolder_GetName(folder, title);
  SPrintf_String(label, title);
  if (view->undo.size() == WFshow_kUndoDepth) {
    WFbase_DestroyWorkflow(view->undo.back().workflow);
    view->undo.pop_back();
  }
  view->undo.insert(view->undo.begin(), {before, CutLabel(StrIn(label).Str(), kLabelCap)});
}

}  // namespace

void WFshow_UpdateUndo(WFshow_View view) {
  const bool can = !view->undo.empty() && view->editFolder == nullptr && view->mode == WFshow_kEditMode;
  I_SetSensitive(view->context, view->elements.undoButton, can);
  I_PutSTRING(view->context, view->elements.undoLabel, view->undo.empty() ? "" : view->undo.front().label);
}

void WFshow_ClearUndoStack(WFshow_View view) {
  for (WFshow_UndoEntry& entry : view->undo) WFbase_DestroyWorkflow(entry.workflow);
  view->undo.clear();
  WFshow_UpdateUndo(view);
}

void WFshow_EditParams(WFshow_View view, WFshow_Cell& cell) {
  WFfolder folder = cell.folder;
  WFbase before = WFbase_CopyWorkflow(view->workflow);
  WtGuiLog_Command(view->draw, "EDIT_PARAMS " + WFshow_CellText(view, cell));
  // The folder's icon stands pressed and undo is off while its dialog is open.
  view->editFolder = folder;
  WFshow_UpdateUndo(view);
  WFshow_RedrawCell(view, cell, false);
  bool structureChanged = false;
  if (WFedit_EditParams(view->workflow, folder, structureChanged)) {
    PushUndo(view, before, kEditParamsLabel, folder);
  } else {
    WFbase_DestroyWorkflow(before);
  }
  view->editFolder = nullptr;
  WFshow_UpdateUndo(view);
  // A new layout draws everything anew; the cell may be gone with it.
  if (structureChanged) WFshow_Relayout(view);
  else WFshow_RedrawCell(view, cell, false);
}

WFbase WFshow_Undo(WFshow_View view) {
  if (view == nullptr || view->mode != WFshow_kEditMode || view->undo.empty() || view->editFolder != nullptr)
    return nullptr;
  WFbase previous = view->undo.front().workflow;
  view->undo.erase(view->undo.begin());
  WFshow_UpdateUndo(view);
  return previous;
}

std::size_t WFshow_UndoCount(WFshow_View view) { return view != nullptr ? view->undo.size() : 0; }
