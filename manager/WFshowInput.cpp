// The pointer on the graph. In status mode the folder under the pointer is
// the tip folder: its title and path stand in two texts of the window while
// the pointer is over its icon, and go when it moves off or leaves. A click
// on a folder's icon opens its content window:
//
//   idle --press of button 1 on an icon--> open (the icon drawn pressed)
//   open --release in the same cell--> idle, "SHOW_CONTENT" logged and the
//                                      content window shown
//   open --release elsewhere--> idle, the icon drawn raised again
//
// In edit mode a click on a folder's icon opens its parameters
// (WFshow_EditParams, logged as "EDIT_PARAMS"); the press is decided on
// the spot, reading the release or the motion directly.
//
// The view binds its own translations on the drawing widget, so the widget
// takes no keyboard focus; a view is found again by its widget. The widget
// plays the logged commands back (WFshow_CommandHandler): for that it
// becomes a "WFshowDraw", a GENERIC whose DoCommand is the graph's.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "manager/WFshowRec.h"
#include "manager/WFstatusContent.h"
#include "toolkit/CWCore.h"
#include "toolkit/CWDraw.h"
#include "toolkit/IReplay.h"
#include "toolkit/WTranslt.h"
#include "toolkit/WtGuiLog.h"

namespace {

char section[kSectionCap] = "WFshow";
constexpr unsigned kUnknownCommand = 60, kBadCell = 61, kNoFolder = 62;

std::vector<WFshow_View> views;
Classes_ClassPtr drawClass = nullptr;

WFshow_View ViewOf(Widget w) {
  const auto found = std::find_if(views.begin(), views.end(), [&](WFshow_View v) { return v->draw == w; });
  return found != views.end() ? *found : nullptr;
}

// The cell whose box holds the pointer; nil between boxes and on the panel.
WFshow_Cell* IconAt(WFshow_View view, int x, int y) {
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
  WFshow_View view = ViewOf(w);
  if (view != nullptr && view->inputState == WFshow_idle) WFshow_NewTipFolder(view, nullptr);
}

// --- Opening a folder ---------------------------------------------------------------------------

void OpenCell(WFshow_View view, const WFshow_Cell& cell) {
  WtGuiLog_Command(view->draw, "SHOW_CONTENT " + WFshow_CellText(view, cell));
  WFstatus_ShowFolderContent(cell.folder);
}

// --- Editing a folder -------------------------------------------------------------------------

// Motion up to here from the press is still a click.
constexpr int kClickSlackX = 30, kClickSlackY = 23;

// Edit mode: a press on the icon of a folder whose kind is editable, while
// no parameter dialog is open. The icon stands pressed while the events
// that decide are read at once (the rest of the queue waits): a release is
// a click and opens the folder's parameters; motion beyond the slack is a
// drag, which leaves the folder where it is.
void EditPress(WFshow_View view, const W_Event& press) {
  if (view->editFolder != nullptr) return;
  WFshow_Cell* cell = IconAt(view, press.input.x, press.input.y);
  if (cell == nullptr || WFfolder_InvisibleEnd(cell->folder) || !WFshow_Editable(WFfolder_Kind(cell->folder))) return;
  view->pressed = cell->folder;
  WFshow_RedrawCell(view, *cell, false);
  bool click = false;
  W_Event event;
  while (W_MaskEvent(W_ButtonReleaseMask | W_PointerMotionMask, event)) {
    if (event.kind == W_ButtonRelease && event.input.button == 0) {
      click = true;
      break;
    }
    if (event.kind == W_MotionNotify && (std::abs(event.input.x - press.input.x) > kClickSlackX ||
                                         std::abs(event.input.y - press.input.y) > kClickSlackY))
      break;
  }
  view->pressed = nullptr;
  WFshow_RedrawCell(view, *cell, false);
  if (click) WFshow_EditParams(view, *cell);
}

void APress(Widget w, W_Event& event) {
  WFshow_View view = ViewOf(w);
  if (view == nullptr || view->inputState != WFshow_idle) return;
  if (view->mode == WFshow_kEditMode) return EditPress(view, event);
  const WFshow_Cell* cell = IconAt(view, event.input.x, event.input.y);
  if (cell == nullptr || WFfolder_InvisibleEnd(cell->folder)) return;
  WFshow_NewTipFolder(view, cell->folder);
  view->inputState = WFshow_open;
  WFshow_RedrawCell(view, *cell, false);
}

void ARelease(Widget w, W_Event& event) {
  WFshow_View view = ViewOf(w);
  if (view == nullptr || view->inputState != WFshow_open) return;
  view->inputState = WFshow_idle;
  const auto pressed = view->cellOf.find(view->tipFolder);
  if (pressed == view->cellOf.end()) return;
  WFshow_Cell& cell = *pressed->second;
  WFshow_RedrawCell(view, cell, false);
  if (IconAt(view, event.input.x, event.input.y) == &cell) OpenCell(view, cell);
}

// --- Replaying --------------------------------------------------------------------------------

void ParseError(unsigned number, const std::string& word) {
  TextStr why;
  Messages_GetMsg(section, number, why);  // messages: WFshow 60-62
  SPrintf_String(why, word);
  IReplay_ParseError(why);
}

bool Number(const std::string& word, int& value) {
  if (word.empty() || word.find_first_not_of("-0123456789") != std::string::npos) return false;
  value = std::atoi(word.c_str());
  return true;
}

// The cell of `words` from `at` on: by kind and number, else by place.
WFshow_Cell* FindCell(WFshow_View view, const std::vector<std::string>& words, std::size_t at) {
  int column = 0, row = 0, number = 0;
  if (words.size() != at + 4 || !Number(words[at], column) || !Number(words[at + 1], row) ||
      !Number(words[at + 3], number))
    return nullptr;
  WFshow_Cell* byPlace = nullptr;
  std::vector<WFshow_Cell*> byKind;
  for (const auto& cell : view->cells) {
    if (cell->column == column && cell->row == row) byPlace = cell.get();
    std::string text = WFshow_CellText(view, *cell);
    std::vector<std::string> own;
    if (WtGuiLog_SplitWords(text, own) && own[2] == words[at + 2] && own[3] == words[at + 3])
      byKind.push_back(cell.get());
  }
  if (byKind.size() == 1) return byKind.front();
  if (byPlace != nullptr) return byPlace;
  return byKind.empty() ? nullptr : byKind.front();
}

void MyDoCommand(Widget w, StrIn command) {
  WFshow_View view = ViewOf(w);
  if (view != nullptr) WFshow_CommandHandler(command, view);
}

void MyInitClass(Classes_ClassPtr c, void*) { static_cast<CWCore_ClassRec*>(c)->DoCommand = MyDoCommand; }

}  // namespace

// The number is that of the folder's "flow_" directory, 0 without one.
std::string WFshow_CellText(WFshow_View view, const WFshow_Cell& cell) {
  NameStr kind, name;
  PathStr path;
  WFfolder_GetName(cell.folder, kind);
  WFfolder_GetPath(cell.folder, path);
  WFbase_GetName(view->workflow, name);
  std::uint32_t number = 0;
  WFbase_SplitFolderPath(name, path, number);
  return std::to_string(cell.column) + " " + std::to_string(cell.row) + " " + WtGuiLog_Quote(kind) + " " +
         std::to_string(number);
}

void WFshow_AttachInput(WFshow_View view) {
  views.push_back(view);
  // Overridden, not appended: a widget that served an earlier view would
  // otherwise take each event twice.
  WTranslt_Table& table = CWCore_OwnTranslations(view->draw);
  WTranslt_OverrideTranslation(table, "<Motion>", AMotion);
  WTranslt_OverrideTranslation(table, "<Leave>", ALeave);
  WTranslt_OverrideTranslation(table, "<Btn1Down>", APress);
  WTranslt_OverrideTranslation(table, "<Btn1Up>", ARelease);
  if (view->draw->realized) WtEvents_BuildEventMask(view->draw);
  // The drawing widget plays the graph's commands: the same widget, of a
  // class whose DoCommand is the graph's.
  if (drawClass == nullptr) {
    drawClass = new CWCore_ClassRec;
    Classes_MakeClass(drawClass, CWDraw_class, "WFshowDraw", sizeof(CWDraw_Rec), MyInitClass, nullptr, nullptr, "");
  }
  if (Classes_Class(view->draw) == CWDraw_class) view->draw->cls = drawClass;
}

void WFshow_DetachInput(WFshow_View view) {
  if (view->draw != nullptr && Classes_Class(view->draw) == drawClass) view->draw->cls = CWDraw_class;
  std::erase(views, view);
}

void WFshow_CommandHandler(StrIn text, WFshow_View view) {
  if (view == nullptr) return;
  std::vector<std::string> words;
  if (!WtGuiLog_SplitWords(text, words) || words.empty()) return ParseError(kUnknownCommand, text.Str());
  const bool show = words[0] == "SHOW_CONTENT", edit = words[0] == "EDIT_PARAMS";
  if (!show && !edit) return ParseError(kUnknownCommand, words[0]);
  if (words.size() != 5) return ParseError(kBadCell, text.Str());
  WFshow_Cell* cell = FindCell(view, words, 1);
  if (cell == nullptr) return ParseError(kNoFolder, text.Str());
  if (show) {
    WFstatus_ShowFolderContent(cell->folder);
    return;
  }
  // The click, played: in edit mode only, and not under an open dialog.
  if (view->mode != WFshow_kEditMode || view->editFolder != nullptr) return ParseError(kNoFolder, text.Str());
  WFshow_EditParams(view, *cell);
}

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
