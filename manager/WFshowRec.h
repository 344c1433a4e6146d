// WFshowRec: the graph view's records and the routines its source files
// share (layout, scrolling, drawing, icons, input). Only the WFshow*.cpp
// files include it, and the graph's benchmark.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "manager/WFshow.h"
#include "toolkit/W.h"
#include "toolkit/WtTypes.h"
#include "workflow/WFconfig.h"
#include "workflow/WFplaces.h"

// The frame colours: of status mode by the folder's state, and of edit mode.
inline constexpr W_Color WFshow_idleColor{112, 112, 112};
inline constexpr W_Color WFshow_filesColor{230, 32, 32};
inline constexpr W_Color WFshow_discFullColor{230, 32, 230};
inline constexpr W_Color WFshow_jobsWaitColor{230, 230, 32};
inline constexpr W_Color WFshow_jobsRunColor{32, 230, 32};
inline constexpr W_Color WFshow_markedColor{32, 32, 230};

// The font of titles drawn in the icon area (tiny).
inline constexpr int WFshow_titleFont = 0;

// Input states; status mode uses idle and open, the others belong to editing.
enum WFshow_InputState : std::uint8_t {
  WFshow_idle = 0,
  WFshow_panelDrag = 1,
  WFshow_connectDrag = 2,
  WFshow_open = 3,
  WFshow_cellDrag = 4,
};

struct WFshow_Cell;

// A link between two cells along out `out` of the source.
struct WFshow_Link {
  WFshow_Cell* other;
  std::uint32_t out;
};

// A folder on the grid. The view owns its cells; links don't own.
struct WFshow_Cell {
  WFfolder folder = nullptr;
  int column = 0, row = 0;
  std::vector<WFshow_Link> inLinks, outLinks;
  std::uint8_t status = 0;     // WFstatus_FolderStatus
  std::uint8_t stopState = 0;  // WFshow_kRunning, kStopped, kDiscFull
  bool watched = false;
  bool marked = false;
};

// A kind of the panel of edit mode: a folder kind, or a component.
struct WFshow_PanelEntry {
  WFfolder_FolderKind kind;
  std::string component;  // the component's short description; empty for a module kind
  std::string folder;     // the component's folder, which its icons are kept by
};

// One step edit mode can take back: the workflow before it, and what it was.
struct WFshow_UndoEntry {
  WFbase workflow;  // owned
  std::string label;
};
inline constexpr std::size_t WFshow_kUndoDepth = 8;

struct WFshow_ViewRec {
  I_Context context = nullptr;
  WFshow_Elements elements{};
  Widget draw = nullptr;
  // GCs: normal, exclusive-or (dragging), and the tiles of the icons'
  // backgrounds, raised and pressed.
  W_GC gc = nullptr, xorGC = nullptr, tileGC[2] = {nullptr, nullptr};
  W_Pixmap tile[2] = {0, 0};

  // The grid, by column then row, and the cells it points to.
  std::array<std::array<WFshow_Cell*, WFshow_kGridSize>, WFshow_kGridSize> grid{};
  std::vector<std::unique_ptr<WFshow_Cell>> cells;
  std::unordered_map<WFfolder, WFshow_Cell*> cellOf;

  // Panel of edit mode (status mode: 2 pixels high and empty).
  int panelX = 0, panelY = 0, panelHeight = 2, panelWidth = 0, panelColumns = 0, panelRows = 0;
  std::vector<WFshow_PanelEntry> panel;

  int minRow = 0, maxRow = 0, minCol = 0, maxCol = 0;
  int firstCol = 0, firstRow = 0;
  int visibleCols = 0, visibleRows = 0;
  std::uint8_t mode = WFshow_kStatusMode;
  std::uint8_t inputState = WFshow_idle;
  bool fitPending = false;  // the graph is to be put into view at the next size
  bool scrolling = false;   // a scroll waits for the server
  // What the bars were given last: an attribute set anew lays the window
  // out again, which configures the view again.
  int hHigh = -1, vLow = 0, vHigh = -1, hSize = -1, vSize = -1;

  WFbase workflow = nullptr;  // not owned
  WFplaces places = nullptr;  // owned
  WFfolder tipFolder = nullptr;
  WFfolder editFolder = nullptr;  // whose parameter dialog is open
  WFfolder pressed = nullptr;     // pressed in edit mode, click or drag undecided
  std::vector<WFshow_UndoEntry> undo;  // newest first, at most WFshow_kUndoDepth
};

// --- Layout (WFshowLayout.cpp) -----------------------------------------------------------------

// Empties the grid and frees the cells.
void WFshow_ClearCells(WFshow_View view);
// Lays the view's workflow out on the grid: the start folder at column 0,
// row 48, then the places of ".wfplaces". False (the grid empty) when it
// doesn't fit; the caller tells the user.
bool WFshow_SetWorkflowCells(WFshow_View view);

// --- Extent and scrolling (WFshowScroll.cpp) -------------------------------------------------

// The first and last rows and columns that hold cells.
void WFshow_SetMinMaxValues(WFshow_View view);
// Puts the graph into view: its first column at the left, rows centred
// when they fit, else the start folder's row in the middle.
void WFshow_SetFirstValues(WFshow_View view);
// Visible counts from the widget's size and the panel.
void WFshow_ConfigureHandler(Widget w, std::uintptr_t data);
// The ranges, values and "slSize" of both bars and the bar state.
void WFshow_SetScrollbars(WFshow_View view);
void WFshow_ScrollCB(I_Context context, std::int32_t number, std::int32_t value, std::uintptr_t data);

// --- Drawing (WFshowDraw.cpp) ---------------------------------------------------------------

void WFshow_ExposeHandler(Widget w, const Regions_Region& region, const W_Event& event, std::uintptr_t data);
// Everything of the graph in `area`, which the caller has cleared.
void WFshow_DrawArea(WFshow_View view, const Regions_Rect& area);
// One cell at once, outside an exposure: only its frame, or all of it.
void WFshow_RedrawCell(WFshow_View view, const WFshow_Cell& cell, bool frameOnly);
// Clears the view and draws it anew by exposure.
void WFshow_RedrawAll(WFshow_View view);
// The GCs and tiles of a view, made once it has a display.
void WFshow_MakeGCs(WFshow_View view);
void WFshow_FreeGCs(WFshow_View view);
// The frame colour of a cell in the view's mode.
W_Color WFshow_FrameColor(WFshow_View view, const WFshow_Cell& cell);
// The area of the graph above the panel, in the widget's window.
Regions_Rect WFshow_GraphArea(WFshow_View view);

// --- Icons (WFshowIcons.cpp) ------------------------------------------------------------------

struct WFshow_Icon {
  W_Pixmap pixmap = 0;
  int width = 0, height = 0;
};
// The icon of a folder kind, normal or disabled; no pixmap when it has none.
const WFshow_Icon& WFshow_KindIcon(WFfolder_FolderKind kind, bool disabled);
// The icon of the component that owns `folder`, or its stopped icon; false
// when the component has none of its own (the kind's icon stands then).
bool WFshow_UserDefIcon(WFfolder folder, bool stopped, WFshow_Icon& icon);
// The marks drawn on icons.
const WFshow_Icon& WFshow_StopMark();
const WFshow_Icon& WFshow_ClusterMark();
// The trash can of edit mode.
const WFshow_Icon& WFshow_TrashIcon();
// The word drawn above the title of a stopped folder without icon, and its width.
StrIn WFshow_StoppedText(int& width);

// Drawn by WFshowDraw.cpp for the cells and the panel alike.
// The icon area of 35 by 35 at (x, y): the background, raised or pressed,
// then `icon` centred or, without one, `title` cut to fit, grey when
// `disabled`, with the word of a stopped folder when `stopped`. False when
// the title stands.
bool WFshow_DrawIconArea(WFshow_View view, int x, int y, const WFshow_Icon& icon, StrIn title, bool disabled,
                         bool pressed, bool stopped);

// --- Edit mode: the panel and the trash can (WFshowPanel.cpp) ----------------------------------
// The panel lies along the bottom, its kinds in rows of 37 pixels from the
// top row down, each in a plain frame of 37 by 37; the trash can stands in
// its box at the top left. Both lie over the graph and never scroll.

// Whether a kind is shown enabled in edit mode (WFshow_InitEditable).
bool WFshow_Editable(WFfolder_FolderKind kind);
// The panel's geometry and kinds for the mode and the widget's width.
void WFshow_SetPanelValues(WFshow_View view);
// The lower left corner of the frame of panel entry `index`.
void WFshow_PanelPos(WFshow_View view, std::size_t index, int& x, int& y);
// The box of the trash can: 35 pixels from x 10, the top 46 pixels.
Regions_Rect WFshow_TrashBox(WFshow_View view);
// Draws what of the panel and the trash can lies in `area` (edit mode).
void WFshow_DrawEditMode(WFshow_View view, const Regions_Rect& area);
// Draws the panel and the trash can anew over the graph, after a scroll
// copied them along with it.
void WFshow_RedrawEditMode(WFshow_View view);

// --- Edit mode: parameters and undo (WFshowEdit.cpp) -------------------------------------------

// Opens the parameter dialog of the cell's folder: logged as "EDIT_PARAMS",
// the icon drawn pressed and undo off while it is open; accepted changes
// put the workflow as it was on the undo stack, and a changed structure
// lays the graph out anew.
void WFshow_EditParams(WFshow_View view, WFshow_Cell& cell);
// The undo button (on with steps to take back, in edit mode, while no
// parameter dialog is open) and the label of the newest step.
void WFshow_UpdateUndo(WFshow_View view);
// Destroys the stack's workflows; the button goes off, the label empty.
void WFshow_ClearUndoStack(WFshow_View view);
// Lays the workflow out anew, puts it into view and draws it.
void WFshow_Relayout(WFshow_View view);

// --- Status and input (WFshow.cpp, WFshowInput.cpp) ---------------------------------------

// Every cell's status, stop state and watched flag (zero in edit mode).
void WFshow_SetStatusInfos(WFshow_View view);
// The text values of the folder under the pointer; nil clears them.
void WFshow_NewTipFolder(WFshow_View view, WFfolder folder);
// A cell as the GUI log writes it: `<column> <row> "<kind name>" <number>`.
std::string WFshow_CellText(WFshow_View view, const WFshow_Cell& cell);
// Takes the pointer's motion and crossing on the drawing widget.
void WFshow_AttachInput(WFshow_View view);
void WFshow_DetachInput(WFshow_View view);
