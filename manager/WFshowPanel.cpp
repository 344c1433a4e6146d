// The graph's edit mode: which kinds are editable, the panel of the kinds
// that may be inserted along the bottom, and the trash can at the top left.
//
// The panel's entries stand in rows of 37 pixels, the first row at the
// top, each in a plain frame of 37 by 37 around its icon area. Its height
// counts the rows at 35 pixels and 7 more: with three rows or more its top
// row reaches into the graph's lowest row, and is drawn over it.
#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "base/DirAcces.h"
#include "manager/WFshowRec.h"
#include "toolkit/WtDraw.h"

namespace {

constexpr int kTrashWidth = 35, kTrashHeight = 46;  // the trash can's box
constexpr int kPanelY = 2;                          // the panel's bottom row
// The plain frames of the panel's kinds: lighter than a folder's frame.
constexpr W_Color kPanelFrameColor{150, 150, 146};

std::array<bool, kWFfolderMaxKind + 1> editable{};
bool editableKnown = false;

int Ceil(int a, int b) { return (a + b - 1) / b; }

W_Window Window(WFshow_View view) { return view->draw->window; }

// The command that serves `kind`; empty for a kind without one.
std::string Command(WFfolder_FolderKind kind) {
  NameStr cmd;
  WFmodule_GetCmdName(WFfolder_FolderToModuleKind(kind), cmd);
  return StrIn(cmd).Str();
}

// Whether the command of `kind` is installed in "bin" of the installation.
bool CheckPackage(WFfolder_FolderKind kind) {
  PathStr path;
  DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, "bin/" + Command(kind), path);
  return DirAcces_Access(path, DirAcces_Mode::Execute);
}

// The icon of a panel entry: a component's own, else its kind's.
WFshow_Icon EntryIcon(const WFshow_PanelEntry& entry, bool disabled) {
  WFshow_Icon icon = WFshow_KindIcon(entry.kind, disabled);
  if (!entry.folder.empty()) {
    // The components' icons are kept by their folders.
    WFfolder probe = WFfolder_Create(entry.kind, entry.folder, SAutoRcF_Nil());
    WFshow_UserDefIcon(probe, false, icon);
    WFfolder_Destroy(probe);
  }
  return icon;
}

void DrawPanel(WFshow_View view) {
  W_GC gc = view->gc;
  for (std::size_t index = 0; index < view->panel.size(); ++index) {
    const WFshow_PanelEntry& entry = view->panel[index];
    int x, y;
    WFshow_PanelPos(view, index, x, y);
    W_SetForeground(gc, kPanelFrameColor);
    W_DrawRectangle(Window(view), gc, x, y, WFshow_kPanelPitch - 1, WFshow_kPanelPitch - 1);
    const bool disabled = !WFshow_Editable(entry.kind);
    NameStr title;
    if (entry.component.empty()) WFfolder_GetIconTitleByKind(entry.kind, title);
    else Strings_Assign(entry.component, title);
    WFshow_DrawIconArea(view, x + 1, y + 1, EntryIcon(entry, disabled), title, disabled, false, false);
  }
}

void DrawTrash(WFshow_View view) {
  const Regions_Rect box = WFshow_TrashBox(view);
  const int x = box.x, y = box.y + (kTrashHeight - WFshow_kIconArea) / 2;
  const WFshow_Icon& icon = WFshow_TrashIcon();
  if (icon.pixmap != 0) {
    WtDraw_DrawIcon(Window(view), icon.pixmap, x + (WFshow_kIconArea - icon.width) / 2,
                    y + (WFshow_kIconArea - icon.height) / 2);
    return;
  }
  W_SetForeground(view->gc, kPanelFrameColor);
  W_DrawRectangle(Window(view), view->gc, x, y, WFshow_kIconArea - 1, WFshow_kIconArea - 1);
}

Regions_Rect PanelBox(WFshow_View view) {
  if (view->panel.empty()) return {};
  int x, y;
  WFshow_PanelPos(view, 0, x, y);
  return {view->panelX, view->panelY, view->panelWidth, y + WFshow_kPanelPitch - view->panelY};
}

// Draws `draw` clipped to the part of `area` that `box` takes.
template <class Draw>
void DrawIn(WFshow_View view, const Regions_Rect& box, const Regions_Rect& area, Draw draw) {
  const Regions_Rect part = Regions_IntersectRects(box, area);
  if (part.width <= 0 || part.height <= 0) return;
  W_SetImplicitClipping(Window(view), part.x, part.y, part.width, part.height);
  draw(view);
  W_UnsetImplicitClipping();
}

}  // namespace

void WFshow_InitEditable() {
  editableKnown = true;
  bool any = false;
  for (WFfolder_FolderKind kind = 0; kind <= kWFfolderMaxKind; ++kind) {
    editable[kind] = Command(kind).empty() || WFfolder_UserDefKind(kind) || CheckPackage(kind);
    any = any || (!Command(kind).empty() && editable[kind]);
  }
  // A new installation, whose module commands are not installed yet.
  if (!any) editable.fill(true);
}

bool WFshow_Editable(WFfolder_FolderKind kind) {
  if (!editableKnown) WFshow_InitEditable();
  return kind <= kWFfolderMaxKind && editable[kind];
}

bool WFshow_UserDefInsertable(const WFconfig_Entry& component) {
  return component.shortDesc[0] != '\0' && component.cmd[0] != '\0';
}

void WFshow_SetPanelValues(WFshow_View view) {
  view->panel.clear();
  view->panelX = view->panelY = view->panelWidth = view->panelColumns = view->panelRows = 0;
  view->panelHeight = 2;
  if (view->mode != WFshow_kEditMode) return;
  for (WFfolder_FolderKind kind = 0; kind <= kWFfolderMaxKind; ++kind)
    if (WFfolder_InsertableKind(kind) && !WFfolder_UserDefKind(kind)) view->panel.push_back({kind, {}, {}});
  // A component is found again by its short description: of several with
  // one, the first.
  std::set<std::string> offered;
  const WFconfig_Entry* e = nullptr;
  for (bool more = WFconfig_GetFirstEntry(e); more; more = WFconfig_GetNextEntry(e)) {
    if (!WFshow_UserDefInsertable(*e) || !offered.insert(e->shortDesc).second) continue;
    view->panel.push_back({e->outs > 0 ? kWFfolderUserDef : kWFfolderUserDefEnd, e->shortDesc, e->folder});
  }
  const int count = static_cast<int>(view->panel.size()), width = view->draw->width;
  // All in one row when they fit.
  view->panelColumns = std::clamp(width / WFshow_kPanelPitch, 1, std::max(count, 1));
  view->panelRows = Ceil(count, view->panelColumns);
  view->panelWidth = view->panelColumns * WFshow_kPanelPitch;
  view->panelX = (width - view->panelWidth) / 2;
  view->panelY = kPanelY;
  // Rows stand at the panel's pitch, but the height counts them at the
  // icon's size: the panel's top row reaches into the graph's lowest row.
  view->panelHeight = view->panelRows * WFshow_kIconArea + 7;
}

void WFshow_PanelPos(WFshow_View view, std::size_t index, int& x, int& y) {
  const int i = static_cast<int>(index), columns = std::max(view->panelColumns, 1);
  x = view->panelX + i % columns * WFshow_kPanelPitch;
  y = view->panelY + (view->panelRows - 1 - i / columns) * WFshow_kPanelPitch;
}

Regions_Rect WFshow_TrashBox(WFshow_View view) {
  return {WFshow_kLeftMargin, view->draw->height - kTrashHeight, kTrashWidth, kTrashHeight};
}

void WFshow_DrawEditMode(WFshow_View view, const Regions_Rect& area) {
  const Widget w = view->draw;
  if (view->gc == nullptr || w->window == 0) return;
  // Inside the widget's frame.
  const int inset = std::max(w->frameWidth, 0);
  const Regions_Rect inner =
      Regions_IntersectRects(area, {inset, inset, w->width - 2 * inset, w->height - 2 * inset});
  DrawIn(view, PanelBox(view), inner, DrawPanel);
  DrawIn(view, WFshow_TrashBox(view), inner, DrawTrash);
}

void WFshow_RedrawEditMode(WFshow_View view) {
  if (view->mode != WFshow_kEditMode) return;
  // The trash can: cleared, and the graph under it drawn again.
  const Regions_Rect trash = WFshow_TrashBox(view);
  WtDraw_RedrawWidgetArea(view->draw, trash.x, trash.y, trash.width, trash.height);
  // The part of the panel's top row that lies in the graph was copied along.
  const Regions_Rect panel = PanelBox(view), graph = WFshow_GraphArea(view);
  const Regions_Rect over = Regions_IntersectRects(panel, graph);
  if (over.width > 0 && over.height > 0) WtDraw_RedrawWidgetArea(view->draw, over.x, over.y, over.width, over.height);
}
