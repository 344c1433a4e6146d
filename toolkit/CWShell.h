// CWShell: "WShell" (keyword "SHELL"), the root of every widget tree: a
// vertical box with two X windows, an outer one that the window manager sees
// and an inner one that holds the widgets. It talks to the window manager,
// keeps the keyboard focus of its tree and turns Return, Escape and the
// close button into calls.
//
// States: created -> realized (CWShell_Popup realizes) -> popped up (mapped,
// popup callbacks run, grab set for application-modal shells) -> popped down
// (CWShell_Popdown: popdown callbacks, unmapped, grab removed) -> popped up
// again ... -> unrealized and destroyed (Wt_DestroyWidget).
#pragma once

#include <cstdint>
#include <vector>

#include "toolkit/CWHVBox.h"

// Called with (shell, data) when the shell pops up or down.
using CWShell_Proc = void (*)(Widget shell, std::uintptr_t data);
// The window manager's close button: (shell, data).
using CWShell_CloseProc = void (*)(Widget shell, std::uintptr_t data);
// Stored window places of a dialog: dx, dy positive are size changes, negative
// absolute sizes; false when nothing is stored.
using CWShell_GetConfigProc = bool (*)(StrIn dialogName, int& x, int& y, int& dx, int& dy);
using CWShell_SetConfigProc = void (*)(StrIn dialogName, int x, int y, int width, int height, int dWidth,
                                       int dHeight);
// The tool tip of a widget of this shell: its text (empty: none) and place.
using CWShell_ToolTipProc = void (*)(Widget shell, StrIn text, W_Point lowerLeft, W_Point upperRight,
                                     std::uintptr_t data);

struct CWShell_Callback {
  CWShell_Proc proc;
  std::uintptr_t data;
};

struct CWShell_Rec : CWHVBox_Rec {
  std::vector<CWShell_Callback>* popupCallbacks;
  std::vector<CWShell_Callback>* popdownCallbacks;
  CWShell_CloseProc closeCallback;
  std::uintptr_t closeData;
  W_Window outerWindow;
  Widget transientFor;  // not owned: the shell this one belongs to
  std::uint32_t dialogName;  // identifier; the section of its help messages
  CWShell_SetConfigProc setConfig;
  CWShell_GetConfigProc getConfig;
  std::uint8_t screen;        // "screen": 0 default, 1 text, 2 graphics
  char title[128];            // "title"; %h becomes this machine's name
  char iconName[128];         // "iconName"
  char ICON[128];             // "ICON"
  bool iconic, transient, overrideRedirect, saveUnder, ignoreConfig, applicationModal, supportKeyConfirm,
      floating;
  bool noGuiLog;              // "noGuiLog": nothing done in this window is logged (a login)
  W_SizeHints hints;
  W_Pixmap iconPixmap;
  std::uint8_t grabKind;  // 0 none, 1 exclusive, 2 with the transient shells
  bool isToolTip, poppedUp, exposed, resizeExpected;
  Widget focusWidget;  // not owned
  CWShell_ToolTipProc toolTipCallback;
  std::uintptr_t toolTipData;
  std::int32_t decorWidth, decorHeight;
};
using CWShell = CWShell_Rec*;

extern Classes_ClassPtr CWShell_class;
// The first shell realized; leader of the program's windows.
extern Widget CWShell_mainApplicationWindow;

void CWShell_CreateClass();

// --- Showing -----------------------------------------------------------------------------

// Realizes and maps the shell and raises it; grabKind 1 makes it take all
// input of the program (application modal shells get 1 by default).
void CWShell_Popup(Widget shell, std::uint8_t grabKind);
void CWShell_Popdown(Widget shell);
bool CWShell_PoppedUp(Widget shell);
void CWShell_AddPopupCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data);
void CWShell_AddPopdownCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data);
void CWShell_RemovePopupCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data);
void CWShell_RemovePopdownCallback(Widget shell, CWShell_Proc proc, std::uintptr_t data);
// The close button's procedure; the default leaves the main loop.
void CWShell_SetDelWndCallback(Widget shell, CWShell_CloseProc proc, std::uintptr_t data);
// What the window manager's close button does: logs "DELETE_WINDOW" and
// calls the close procedure.
void CWShell_DeleteWindow(Widget shell);
void CWShell_SetAsMainApplicationWidget(Widget shell);
// Asks the window manager to maximize (or restore) the window.
void CWShell_SetMaximized(Widget shell, bool state);
// The procedures that load and store the shell's place, and its dialog name.
void CWShell_SetConfigProcs(Widget shell, StrIn dialogName, CWShell_GetConfigProc get,
                            CWShell_SetConfigProc set);
void CWShell_SetToolTipCallback(Widget shell, CWShell_ToolTipProc proc, std::uintptr_t data);
// The shell this one is transient for (dialogs over a main window).
void CWShell_SetTransientFor(Widget shell, Widget owner);

// --- Hints -------------------------------------------------------------------------------

void CWShell_SetNormalHints(Widget shell, const W_SizeHints& hints);
void CWShell_GetNormalHints(Widget shell, W_SizeHints& hints);
void CWShell_SetWMHints(Widget shell, const W_WMHints& hints);
void CWShell_GetWMHints(Widget shell, W_WMHints& hints);

// --- The tree ------------------------------------------------------------------------------

bool CWShell_IsShellWidget(Widget w);
// The shell at the root of `w`'s tree (nil when the root is no shell).
Widget CWShell_GetShellWidget(Widget w);

// --- Focus ---------------------------------------------------------------------------------

bool CWShell_HasFocus(Widget w);
void CWShell_ClearFocus(Widget shell);
// Makes `widget` the focus widget when it and all its ancestors are mapped:
// the old one is released and the focus links lead to it. The widget shows
// the focus itself (it has said yes to CWCore_AcceptFocus).
void CWShell_RequestFocus(Widget widget);
// The focus widget commits the value it is editing.
void CWShell_EvaluateFocusWidget(Widget shell);

// --- Resizing ------------------------------------------------------------------------------

// A widget of the shell changed its wishes: the shell resizes between events.
void CWShell_WidgetResized(Widget w);
// Every shell lays itself out anew (after a font change, say).
void CWShell_AllResized();
void CWShell_CancelShellResize(Widget shell);

// Puts a shell at (x, y) of the screen (tool tips and menus); realized
// shells move at once, others open there.
void CWShell_Place(Widget shell, int x, int y);
