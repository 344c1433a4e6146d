// CWCascad: "WCascad" (keyword "MENU"), a menu: a title in a menu bar (a
// group with "isMenuBar", in practice an HBOX) that opens a pull-down of
// items below it, or, as an item of another menu, a submenu that opens
// beside its item.
//
// Items are the PUSH, TOGGLE, LABEL (a heading, never chosen) and MENU
// widgets given to CWCascad_AddChild (the dialog layer adds a menu's
// children so); they live in the menu's pull-down (WtPopup) in its flat
// look, the highlighted one white on the selection colour.
//
// Opening: a click on the title (a second one closes it); Alt with the
// title's "shortCut", which highlights the first enabled item; and, while a
// menu of the bar is open, the pointer moving onto another title. An
// insensitive title or a menu without items does not open. While open, the
// pointer highlights the item under it and a click (or a release after
// dragging from the title) chooses it; Up and Down move the highlight over
// the enabled items, wrapping; Right opens a highlighted submenu or goes to
// the next menu of the bar, Left closes a submenu or goes to the previous
// menu; Return (or Space) or an item's mnemonic letter chooses; Escape
// closes (a submenu only itself), and so does a click outside, without a
// word. Menus close on the release of a click, never under a held button.
//
// Choosing closes every menu, then reports: an item with a callback of its
// own (bound to a value) reports itself as a button does, a toggle flips;
// any other item gives its "VALUE" to the nearest menu above it that has a
// callback (or the title's menu), which reports it as its value.
//
// Replayed commands (the GUI log): "OPEN" opens the menu as Alt with its
// mnemonic does, "CLOSE" closes it.
//
// Attributes of its own:
// - "right": the pull-down ends at the title's right edge (a menu at the
//   right end of the bar);
// - "alignBox": the pull-down is at least as wide as the title;
// - "dynamic": the pull-down is measured anew each time it opens, for
//   changes its items do not announce (a text of a label without
//   "dynamicLabel"); items added or removed are always taken in;
// - "addedItems": a text of labels separated by new lines, made into items
//   after the others; the n-th of them (from 0) reports the largest "VALUE"
//   of the other items + 1 + n. A new text replaces them (a list of recent
//   workflows, say).
#pragma once

#include <string>

#include "toolkit/CWLabel.h"

struct CWCascad_Rec : CWLabel_Rec {
  bool right, dynamic, alignBox;  // "right", "dynamic", "alignBox"
  CAttribs_String addedItems;     // "addedItems"
  // State.
  Widget popup;                // the pull-down, made with the first item; owned
  std::int32_t highlighted;    // the item under the highlight, -1 none
  W_Color savedInk;            // its "drawColor" before
  std::int32_t addedCount;     // items made from "addedItems", the last ones
  std::string* addedBuilt;     // the text they were made from
  bool open;
};
using CWCascad = CWCascad_Rec*;

extern Classes_ClassPtr CWCascad_class;

void CWCascad_CreateClass();
// Whether `w` is a menu (false for nil).
bool CWCascad_IsCascade(Widget w);

// --- Items ---------------------------------------------------------------------------------

// Makes `item` the last item of the menu (before those of "addedItems"); the
// menu owns it from now on. Destroying an item takes it out of its menu.
void CWCascad_AddChild(Widget cascade, Widget item);
// Takes an item out of the menu; the caller owns it again.
void CWCascad_RemoveChild(Widget cascade, Widget item);
std::uint32_t CWCascad_ItemCount(Widget cascade);
// The item at `index` from 0; nil beyond the last.
Widget CWCascad_Item(Widget cascade, std::uint32_t index);

// --- Showing -----------------------------------------------------------------------------

bool CWCascad_IsOpen(Widget cascade);
// The pull-down's shell (nil before the first item): where it opened.
Widget CWCascad_PullDown(Widget cascade);
// Closes the menu and the submenus open over it.
void CWCascad_Close(Widget cascade);
