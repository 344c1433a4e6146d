// The pointer on the graph. In status mode the folder under the pointer is
// the tip folder: its title and path stand in two texts of the window while
// the pointer is over its icon, and go when it moves off or leaves.
//
// The view binds its own translations on the drawing widget for motion and
// leaving, so the widget takes no keyboard focus; a view is found again by
// its widget.
#include <algorithm>
#include <vector>

#include "manager/WFshowRec.h"
#include "toolkit/CWCore.h"
#include "toolkit/WTranslt.h"

namespace {

std::vector<WFshow_View> views;

WFshow_View ViewOf(Widget w) {
  const auto found = std::find_if(views.begin(), views.end(), [&](WFshow_View v) { return v->draw == w; });
  return found != views.end() ? *found : nullptr;
}

// The cell whose box holds the pointer; nil between boxes and on the panel.
const WFshow_Cell* IconAt(WFshow_View view, int x, int y) {
  if (y < view->panelHeight) return nullptr;
  int column, row;
  WFshow_GetRasterPos(view, x, y, column, row);
  const WFfolder folder = WFshow_GetFolder(view, column, row);
  if (folder == nullptr) return nullptr;
  int left, bottom;
  WFshow_GetPos(view, column, row, left, bottom);
  if (x >= left + WFshow_kCellBox || y >= bottom + WFshow_kCellBox) return nullptr;
  return view->cellOf.at(folder);
}

void AMotion(Widget w, W_Event& event) {
  WFshow_View view = ViewOf(w);
  if (view == nullptr || view->mode != WFshow_kStatusMode || view->inputState != WFshow_idle) return;
  const WFshow_Cell* cell = IconAt(view, event.input.x, event.input.y);
  WFshow_NewTipFolder(view, cell != nullptr ? cell->folder : nullptr);
}

void ALeave(Widget w, W_Event&) {
  if (WFshow_View view = ViewOf(w)) WFshow_NewTipFolder(view, nullptr);
}

}  // namespace

void WFshow_AttachInput(WFshow_View view) {
  views.push_back(view);
  WTranslt_Table& table = CWCore_OwnTranslations(view->draw);
  WTranslt_EnterTranslation(table, "<Motion>", AMotion);
  WTranslt_EnterTranslation(table, "<Leave>", ALeave);
  if (view->draw->realized) WtEvents_BuildEventMask(view->draw);
}

void WFshow_DetachInput(WFshow_View view) { std::erase(views, view); }

void WFshow_NewTipFolder(WFshow_View view, WFfolder folder) {
  if (WFfolder_InvisibleEnd(folder)) folder = nullptr;
  if (folder == view->tipFolder) return;
  view->tipFolder = folder;
  NameStr title = "";
  PathStr path = "";
  if (folder != nullptr) {
    WFfolder_GetName(folder, title);
    WFfolder_GetPath(folder, path);
    // A start folder may lie elsewhere, behind the link in the workflows' root.
    if (WFfolder_Kind(folder) == kWFfolderStart) WFfolder_GetStringOptDef(folder, WFbase_optStartDir, path, path);
  }
  I_PutSTRING(view->context, view->elements.tipTitle, title);
  I_PutSTRING(view->context, view->elements.tipPath, path);
}
