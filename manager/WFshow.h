// WFshow: the graph view of the main window. The current workflow is drawn
// as a left-to-right graph of folder icons on a fixed grid of 96 by 96
// cells inside one drawing widget, with two scroll bars. In status mode each
// icon's frame colour tells the folder's state (WFstatus), kept live by the
// main window's idle task; the folder under the pointer is named in two
// texts of the window (the tip folder).
//
// Geometry, in the toolkit's coordinates (y upward from the lower left
// corner of the drawing widget): column c lies at x = (c - firstCol) * 61 +
// 10, row r at y = panelHeight + (r - firstRow) * 46 + 1; a cell's frame is
// 41 by 41 pixels around an icon of at most 35 by 35. The panel of
// insertable kinds lies along the bottom (2 pixels high in status mode) and
// never scrolls; rows count upward above it.
//
// The view does not own the workflow it shows. Every routine accepts the
// nil view and does nothing.
//
// Messages of section "WFshow": 2 the workflow doesn't fit the grid (the
// grid stays empty), 90 internal: a placed folder without a cell.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Strings.h"
#include "toolkit/I.h"
#include "workflow/WFbase.h"
#include "workflow/WFconfig.h"
#include "workflow/WFfolder.h"

struct WFshow_ViewRec;
using WFshow_View = WFshow_ViewRec*;

// --- The grid and its geometry ---------------------------------------------------------------

inline constexpr int WFshow_kGridSize = 96;    // columns and rows
inline constexpr int WFshow_kColPitch = 61;    // pixels per column
inline constexpr int WFshow_kRowPitch = 46;    // pixels per row
inline constexpr int WFshow_kLeftMargin = 10;  // pixels before the first column
inline constexpr int WFshow_kCellBox = 41;     // the frame of an icon
inline constexpr int WFshow_kIconArea = 35;    // the largest icon
inline constexpr int WFshow_kPanelPitch = 37;  // icons of the panel (edit mode)
inline constexpr int WFshow_kStartCol = 0;     // where the start folder goes
inline constexpr int WFshow_kStartRow = 48;

// Modes.
inline constexpr std::uint8_t WFshow_kStatusMode = 0;
inline constexpr std::uint8_t WFshow_kEditMode = 1;

// Stop states of a cell.
inline constexpr std::uint8_t WFshow_kRunning = 0;
inline constexpr std::uint8_t WFshow_kStopped = 1;
inline constexpr std::uint8_t WFshow_kDiscFull = 2;

// The elements of the main window the view works with: the drawing widget
// (GENERIC), the two scroll bars (SLIDER) and their INTEGER values, the
// INTEGER of the bars in use (bit 0 vertical, bit 1 horizontal), the two
// STRINGs of the tip folder (title, path), the undo button and its label.
struct WFshow_Elements {
  std::int32_t draw, hBar, vBar, hValue, vValue, barState, tipTitle, tipPath, undoButton, undoLabel;
};
// The numbers of the main window "Floatdeck".
inline constexpr WFshow_Elements WFshow_mainElements{999, 997, 998, 4, 5, 30, 9, 10, 11, 12};

// --- Icons, once at start --------------------------------------------------------------------

// Reads the icon of every folder kind by its plain name and its disabled
// form ("@" behind the name), the stop and cluster marks. An icon of 36
// pixels or more in a direction is freed with a line on standard error; its
// kind shows its title. Needs the display; again reads anew.
void WFshow_InitIcons();
// Reads the icons of the site's user-defined components anew (after they
// changed); shown views are not redrawn.
void WFshow_InitUserDefIcons();

// --- Create and destroy ----------------------------------------------------------------------

WFshow_View WFshow_Nil();
// A view on the elements of `context` (which must have them): hooks on the
// drawing widget, callbacks on the scroll values; status mode, nothing
// shown. Nil when the drawing widget is missing. The caller owns it. The
// checks before an install (WFtest) mark folders on the view passed to them.
WFshow_View WFshow_CreateAndAttach(I_Context context, const WFshow_Elements& elements);
// Takes the hooks and callbacks off, frees the view and sets it to nil;
// before its context goes. Nil is accepted.
void WFshow_Destroy(WFshow_View& view);

// --- Use ----------------------------------------------------------------------------------------

// Shows `workflow` (nil: nothing) anew: layout, places from ".wfplaces"
// (kept as they are when the workflow shown has the same name, as after an
// undo), scroll bars, status, and a full redraw. A workflow that doesn't fit the
// grid shows message 2 and nothing. The view keeps the pointer, not the
// workflow: show nil before the workflow is destroyed.
void WFshow_Show(WFshow_View view, WFbase workflow);
// Mode 0 status, 1 edit: the undo stack, the gesture under way and the
// marks are dropped; the panel, the status of the cells and the picture
// follow; the first row moves by one so that the picture stays steady.
void WFshow_SetMode(WFshow_View view, std::uint8_t mode);
std::uint8_t WFshow_GetMode(WFshow_View view);
// One round of status (status mode only): every cell's status and stop
// state asked anew; a frame whose colour changed is redrawn, the whole icon
// when the stop state changed. `changed` is set (never cleared) when a
// folder has work: a status above 2, or files waiting in a running folder
// other than the start folder.
void WFshow_UpdateStatus(WFshow_View view, bool& changed);
// Plays a command of the GUI log on the graph, as its drawing widget's
// commands: "SHOW_CONTENT <cell>" opens the folder's content window, the
// cell written `<column> <row> "<kind name>" <number>` (the number of its
// "flow_" directory, 0 without one) and found again by kind and number,
// else by column and row. Anything else ends the replay (IReplay_ParseError,
// messages 60 to 62). "EDIT_PARAMS <cell>" opens the folder's parameter
// dialog (edit mode).
void WFshow_CommandHandler(StrIn text, WFshow_View view);

// --- Edit mode -------------------------------------------------------------------------------
// In edit mode the panel along the bottom offers the kinds that may be
// inserted, a kind whose command is not installed greyed out; the trash
// can stands at the top left.

// Which kinds are editable: a kind whose command lies in "bin" of the
// installation (MARLLIB), and every kind without a command of its own. An
// installation that holds none of the commands (a new one, whose module
// commands are not installed yet) counts every kind as installed. Read on
// first use; this reads anew.
void WFshow_InitEditable();
// Whether a component of the site is offered on the panel: it has a
// command and a short description, which the panel shows (of components
// with one short description only the first is offered).
bool WFshow_UserDefInsertable(const WFconfig_Entry& component);
// Edit mode only: the cells of `a` and `b` (either may be nil) are marked,
// all others not; frames that change are drawn in place. The checks
// before an install point at a faulty folder or connection through it.
void WFshow_MarkFolders(WFshow_View view, WFfolder a, WFfolder b);
// The places a user gave to folders while editing: saved with an install,
// read back from the file when editing is cancelled (the graph laid out
// with them anew).
void WFshow_SavePlaces(WFshow_View view);
void WFshow_ResetPlaces(WFshow_View view);
// A click on a folder's icon (press and release of button 1 with less
// than 30 pixels of motion across, 23 up or down) opens its parameter
// dialog, unless one is open or the kind is greyed out; a step whose
// dialog was left with OK and a change can be taken back. Up to eight
// steps are kept, the newest first; a mode change drops them all.
// Takes back the newest step: the workflow as it was before it, which the
// caller shows and owns from now on (destroying the one shown). Nil in
// status mode, without steps, or while a parameter dialog is open.
WFbase WFshow_Undo(WFshow_View view);
// The number of steps that can be taken back.
std::size_t WFshow_UndoCount(WFshow_View view);

// --- Query ---------------------------------------------------------------------------------------

WFbase WFshow_GetWorkflow(WFshow_View view);
// The grid cell of `folder`; false when it has none.
bool WFshow_GetCell(WFshow_View view, WFfolder folder, int& column, int& row);
// The folder in a grid cell; nil when the cell is empty or outside the grid.
WFfolder WFshow_GetFolder(WFshow_View view, int column, int row);
// The lower left corner of the frame of cell (column, row) in the drawing
// widget, and the cell at a pixel (which may lie outside the grid).
void WFshow_GetPos(WFshow_View view, int column, int row, int& x, int& y);
void WFshow_GetRasterPos(WFshow_View view, int x, int y, int& column, int& row);
// The first column and row shown, and the visible counts.
void WFshow_GetFirst(WFshow_View view, int& column, int& row);
void WFshow_GetVisible(WFshow_View view, int& columns, int& rows);
// The rows and columns the graph takes: the first and last that are not
// empty (all 0 with nothing shown).
void WFshow_GetExtent(WFshow_View view, int& minColumn, int& maxColumn, int& minRow, int& maxRow);
// The height of the panel along the bottom, in pixels.
int WFshow_GetPanelHeight(WFshow_View view);
