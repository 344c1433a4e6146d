// The part of the grid in view: extent of the graph, visible counts, the
// two scroll bars, and scrolling by copying what stays visible.
#include <algorithm>

#include "manager/WFshowRec.h"
#include "toolkit/CWSlider.h"
#include "toolkit/WtDraw.h"

namespace {

// "slSize" of a bar, when it differs from what it was given last.
void SetSize(WFshow_View view, std::int32_t element, int& last, std::int32_t value) {
  if (value == last) return;
  last = value;
  I_SetReprAttr(view->context, element, CWSlider_slSizeAT, &value, sizeof value);
}

}  // namespace

void WFshow_SetMinMaxValues(WFshow_View view) {
  view->minCol = view->minRow = WFshow_kGridSize;
  view->maxCol = view->maxRow = -1;
  for (const auto& cell : view->cells) {
    view->minCol = std::min(view->minCol, cell->column);
    view->maxCol = std::max(view->maxCol, cell->column);
    view->minRow = std::min(view->minRow, cell->row);
    view->maxRow = std::max(view->maxRow, cell->row);
  }
  if (view->maxCol < 0) view->minCol = view->maxCol = view->minRow = view->maxRow = 0;
}

void WFshow_SetFirstValues(WFshow_View view) {
  view->firstCol = view->minCol;
  const int span = view->maxRow - view->minRow + 1, visible = view->visibleRows;
  if (span <= visible) {
    view->firstRow = view->minRow - (visible - span) / 2;
  } else {
    const auto start = view->cellOf.find(WFbase_StartFolder(view->workflow));
    const int middle = start != view->cellOf.end() ? start->second->row : WFshow_kStartRow;
    view->firstRow = std::clamp(middle - visible / 2, view->minRow, view->maxRow + 1 - visible);
  }
  view->fitPending = visible <= 0;
}

void WFshow_ConfigureHandler(Widget w, std::uintptr_t data) {
  auto view = reinterpret_cast<WFshow_View>(data);
  WFshow_SetPanelValues(view);
  view->visibleCols = std::max(0, (w->width - WFshow_kLeftMargin) / WFshow_kColPitch);
  view->visibleRows = std::max(0, (w->height - view->panelHeight - 1) / WFshow_kRowPitch);
  if (view->fitPending) WFshow_SetFirstValues(view);
  WFshow_SetScrollbars(view);
}

void WFshow_SetScrollbars(WFshow_View view) {
  const WFshow_Elements& e = view->elements;
  // Horizontal: 0 to what doesn't fit; the first column follows when the
  // window grew.
  const int hHigh = std::max(0, view->maxCol - view->minCol + 1 - view->visibleCols);
  const int firstCol = std::clamp(view->firstCol, view->minCol, view->minCol + hHigh);
  if (firstCol != view->firstCol) {
    view->firstCol = firstCol;
    WFshow_RedrawAll(view);
  }
  // Vertical: the offset of the first row from the lowest, which may be
  // below 0 when the graph is centred.
  const int offset = view->firstRow - view->minRow;
  const int vLow = std::min(offset, 0);
  const int vHigh = offset + std::max(0, view->maxRow + 1 - view->firstRow - view->visibleRows);
  if (hHigh != view->hHigh) I_SetINTEGERrange(view->context, e.hValue, 0, view->hHigh = hHigh);
  I_PutINTEGER(view->context, e.hValue, view->firstCol - view->minCol);
  if (vLow != view->vLow || vHigh != view->vHigh) {
    I_SetINTEGERrange(view->context, e.vValue, view->vLow = vLow, view->vHigh = vHigh);
  }
  I_PutINTEGER(view->context, e.vValue, offset);
  SetSize(view, e.hBar, view->hSize, std::max(view->visibleCols, 1));
  SetSize(view, e.vBar, view->vSize, std::max(view->visibleRows, 1));
  I_PutINTEGER(view->context, e.barState, (vHigh > vLow ? 1 : 0) | (hHigh > 0 ? 2 : 0));
}

void WFshow_ScrollCB(I_Context, std::int32_t number, std::int32_t value, std::uintptr_t data) {
  auto view = reinterpret_cast<WFshow_View>(data);
  int dx = 0, dy = 0;
  if (number == view->elements.hValue) {
    const int first = view->minCol + value;
    dx = (view->firstCol - first) * WFshow_kColPitch;
    view->firstCol = first;
  } else {
    const int first = view->minRow + value;
    dy = (view->firstRow - first) * WFshow_kRowPitch;
    view->firstRow = first;
  }
  Widget w = view->draw;
  if ((dx == 0 && dy == 0) || w->window == 0) return;
  // Above the panel, inside the frame: what stays visible is copied once,
  // and only what the copy uncovered is drawn. A scroll that comes while
  // another waits for the server draws all.
  const Regions_Rect a = WFshow_GraphArea(view);
  if (view->scrolling || std::abs(dx) >= a.width || std::abs(dy) >= a.height) {
    WtDraw_RedrawWidgetArea(w, a.x, a.y, a.width, a.height);
    return;
  }
  view->scrolling = true;
  WtDraw_ScrollWindowArea(w, a.x, a.y, a.width, a.height, dx, dy);
  view->scrolling = false;
  // What edit mode draws over the graph doesn't scroll with it.
  WFshow_RedrawEditMode(view);
}
