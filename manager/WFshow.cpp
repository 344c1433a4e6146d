// The graph view: its life, what it shows, its mode and the status of its
// cells; the queries of the main window and the tests.
#include "manager/WFshow.h"

#include "manager/WFshowRec.h"
#include "manager/WFstatus.h"
#include "toolkit/CWDraw.h"
#include "workflow/WFtest.h"

namespace {

char section[kSectionCap] = "WFshow";

std::uint8_t StopState(WFfolder folder) {
  if (WFstatus_TargetDiscFull(folder)) return WFshow_kDiscFull;
  return WFstatus_FolderStopped(folder) ? WFshow_kStopped : WFshow_kRunning;
}

// Floor division: a pixel left of (or below) the grid's origin lies in a
// cell before it.
int FloorDiv(int a, int b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// Lays out the workflow, puts it into view and draws it anew.
void MyShow(WFshow_View view) {
  if (!WFshow_SetWorkflowCells(view)) {
    NameStr name;
    WFbase_GetName(view->workflow, name);
    WFbase_Message(section, 2, name);  // messages: WFshow 2
  }
  WFshow_SetMinMaxValues(view);
  WFshow_SetFirstValues(view);
  WFshow_SetScrollbars(view);
  WFshow_SetStatusInfos(view);
  WFshow_NewTipFolder(view, nullptr);
  WFshow_RedrawAll(view);
}

// The checks' marks, on the view they were given.
void MarkProc(void* view, WFfolder folder, WFfolder other) {
  WFshow_MarkFolders(static_cast<WFshow_View>(view), folder, other);
}

}  // namespace

WFshow_View WFshow_Nil() { return nullptr; }

WFshow_View WFshow_CreateAndAttach(I_Context context, const WFshow_Elements& elements) {
  Widget w = I_AccessWidget(context, elements.draw);
  if (w == nullptr) return nullptr;
  auto view = new WFshow_ViewRec;
  view->context = context;
  view->elements = elements;
  view->draw = w;
  WFshow_MakeGCs(view);
  const auto data = reinterpret_cast<std::uintptr_t>(view);
  CWDraw_SetExposeHook(w, WFshow_ExposeHandler, data);
  CWDraw_SetConfigureHook(w, WFshow_ConfigureHandler, data);
  I_SetINTEGERcallback(context, elements.hValue, WFshow_ScrollCB, data);
  I_SetINTEGERcallback(context, elements.vValue, WFshow_ScrollCB, data);
  WFshow_AttachInput(view);
  WFshow_ConfigureHandler(w, data);
  WFshow_ClearUndoStack(view);
  WFtest_RegisterMarkProc(MarkProc);
  return view;
}

void WFshow_Destroy(WFshow_View& view) {
  if (view == nullptr) return;
  CWDraw_SetExposeHook(view->draw, nullptr, 0);
  CWDraw_SetConfigureHook(view->draw, nullptr, 0);
  I_SetINTEGERcallback(view->context, view->elements.hValue, nullptr, 0);
  I_SetINTEGERcallback(view->context, view->elements.vValue, nullptr, 0);
  WFshow_DetachInput(view);
  WFshow_FreeGCs(view);
  WFplaces_Close(view->places);
  for (WFshow_UndoEntry& entry : view->undo) WFbase_DestroyWorkflow(entry.workflow);
  delete view;
  view = nullptr;
}

void WFshow_Show(WFshow_View view, WFbase workflow) {
  if (view == nullptr) return;
  NameStr name, shown;
  WFbase_GetName(workflow, name);
  WFbase_GetName(view->workflow, shown);
  // Another state of the workflow shown (an undo) keeps the places given
  // meanwhile.
  const bool same = workflow != nullptr && view->workflow != nullptr && Strings_Equal(name, shown);
  view->workflow = workflow;
  if (!same) {
    WFplaces_Close(view->places);
    if (workflow != nullptr) view->places = WFplaces_Open(name);
  }
  MyShow(view);
}

void WFshow_SetMode(WFshow_View view, std::uint8_t mode) {
  if (view == nullptr || mode == view->mode) return;
  view->mode = mode;
  view->inputState = WFshow_idle;
  WFshow_ClearUndoStack(view);
  // Marks point at a fault of the last check: a new mode starts without.
  for (const auto& cell : view->cells) cell->marked = false;
  // The panel grows by about a row in edit mode: the picture stays where
  // it was.
  view->firstRow += mode == WFshow_kEditMode ? 1 : -1;
  WFshow_ConfigureHandler(view->draw, reinterpret_cast<std::uintptr_t>(view));
  WFshow_SetStatusInfos(view);
  WFshow_NewTipFolder(view, nullptr);
  WFshow_RedrawAll(view);
}

void WFshow_Relayout(WFshow_View view) { MyShow(view); }

void WFshow_MarkFolders(WFshow_View view, WFfolder a, WFfolder b) {
  if (view == nullptr || view->mode != WFshow_kEditMode) return;
  for (const auto& c : view->cells) {
    WFshow_Cell& cell = *c;
    const bool marked = cell.folder != nullptr && (cell.folder == a || cell.folder == b);
    if (marked == cell.marked) continue;
    cell.marked = marked;
    WFshow_RedrawCell(view, cell, true);
  }
}

void WFshow_SavePlaces(WFshow_View view) {
  if (view != nullptr) WFplaces_Save(view->places);
}

void WFshow_ResetPlaces(WFshow_View view) {
  if (view == nullptr || view->workflow == nullptr) return;
  NameStr name;
  WFbase_GetName(view->workflow, name);
  WFplaces_Close(view->places);
  view->places = WFplaces_Open(name);
  MyShow(view);
}

std::uint8_t WFshow_GetMode(WFshow_View view) { return view != nullptr ? view->mode : WFshow_kStatusMode; }

void WFshow_SetStatusInfos(WFshow_View view) {
  const bool status = view->mode == WFshow_kStatusMode && !view->cells.empty();
  if (status) WFstatus_PrepareUpdate();
  for (const auto& cell : view->cells) {
    if (!status || WFfolder_InvisibleEnd(cell->folder)) {
      cell->status = cell->stopState = 0;
      cell->watched = false;
      continue;
    }
    cell->status = WFstatus_FolderStatus(cell->folder, true);
    cell->stopState = StopState(cell->folder);
    cell->watched = WFstatus_FolderWatched(cell->folder);
  }
}

void WFshow_UpdateStatus(WFshow_View view, bool& changed) {
  if (view == nullptr || view->mode != WFshow_kStatusMode || view->cells.empty()) return;
  WFstatus_PrepareUpdate();
  for (const auto& c : view->cells) {
    WFshow_Cell& cell = *c;
    if (WFfolder_InvisibleEnd(cell.folder)) continue;
    const std::uint8_t status = WFstatus_FolderStatus(cell.folder, true), stop = StopState(cell.folder);
    // Work is under way: jobs, or files waiting in a running folder (a start
    // folder's files that were there before don't count again).
    const bool files = status == 1 || status == 2;
    const bool steadyStart = WFfolder_Kind(cell.folder) == kWFfolderStart && cell.status == status;
    if (status > 2 || (files && stop == WFshow_kRunning && !steadyStart)) changed = true;
    cell.watched = WFstatus_FolderWatched(cell.folder);
    if (status == cell.status && stop == cell.stopState) continue;
    const W_Color before = WFshow_FrameColor(view, cell);
    const bool stopChanged = stop != cell.stopState;
    cell.status = status;
    cell.stopState = stop;
    if (stopChanged || !(WFshow_FrameColor(view, cell) == before)) WFshow_RedrawCell(view, cell, !stopChanged);
  }
}

WFbase WFshow_GetWorkflow(WFshow_View view) { return view != nullptr ? view->workflow : nullptr; }

bool WFshow_GetCell(WFshow_View view, WFfolder folder, int& column, int& row) {
  column = row = 0;
  if (view == nullptr) return false;
  const auto found = view->cellOf.find(folder);
  if (found == view->cellOf.end()) return false;
  column = found->second->column;
  row = found->second->row;
  return true;
}

WFfolder WFshow_GetFolder(WFshow_View view, int column, int row) {
  if (view == nullptr || column < 0 || row < 0 || column >= WFshow_kGridSize || row >= WFshow_kGridSize)
    return nullptr;
  const WFshow_Cell* cell = view->grid[static_cast<std::size_t>(column)][static_cast<std::size_t>(row)];
  return cell != nullptr ? cell->folder : nullptr;
}

void WFshow_GetPos(WFshow_View view, int column, int row, int& x, int& y) {
  x = y = 0;
  if (view == nullptr) return;
  x = (column - view->firstCol) * WFshow_kColPitch + WFshow_kLeftMargin;
  y = view->panelHeight + (row - view->firstRow) * WFshow_kRowPitch + 1;
}

void WFshow_GetRasterPos(WFshow_View view, int x, int y, int& column, int& row) {
  column = row = 0;
  if (view == nullptr) return;
  column = FloorDiv(x - WFshow_kLeftMargin, WFshow_kColPitch) + view->firstCol;
  row = FloorDiv(y - view->panelHeight - 1, WFshow_kRowPitch) + view->firstRow;
}

void WFshow_GetFirst(WFshow_View view, int& column, int& row) {
  column = view != nullptr ? view->firstCol : 0;
  row = view != nullptr ? view->firstRow : 0;
}

void WFshow_GetVisible(WFshow_View view, int& columns, int& rows) {
  columns = view != nullptr ? view->visibleCols : 0;
  rows = view != nullptr ? view->visibleRows : 0;
}

void WFshow_GetExtent(WFshow_View view, int& minColumn, int& maxColumn, int& minRow, int& maxRow) {
  minColumn = maxColumn = minRow = maxRow = 0;
  if (view == nullptr) return;
  minColumn = view->minCol;
  maxColumn = view->maxCol;
  minRow = view->minRow;
  maxRow = view->maxRow;
}

int WFshow_GetPanelHeight(WFshow_View view) { return view != nullptr ? view->panelHeight : 2; }
