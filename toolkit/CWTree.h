// CWTree: "WTree" (keyword "TREE"), a tree of texts to open, close and
// choose from (the directory pane of a folder's content, the directory
// chooser). Its value is the Generic type "WtTreeList": a pointer to the
// first of the program's CWTree_Node records; a node's children hang from
// it, its siblings follow it.
//
// Each node is a row: indented by "indentSize" pixels a level, with an
// opener (a triangle) when it has children or is "expandable", its icon
// (an index into the pixmap names of "iconList" to "iconList4", found below
// "iconPath") and its text (font slot "fontSize", mono with "fontFixed"),
// "itemVertBorder" and "itemHoriBorder" pixels around it. "showLines" draws
// the lines from parents to children. The tree asks for "defaultWidth" by
// "defaultHeight" pixels; a scroll bar at the right moves the rows when they
// do not fit, as the wheel does.
//
// "selectMode": 0 nothing is chosen, 1 one node, 2 several (Ctrl adds or
// removes a node). A click on the opener opens or closes the node; a click
// on the row selects it. Up and Down move the selection, Right opens, Left
// closes or goes to the parent. The tree keeps the nodes' flags (`selected`,
// `expanded`) as the user changes them and reports its value when the
// selection changed, on a double click, and when the user opened an
// "expandable" node without children: the program fills in the children
// then and puts the value again (directories are read when they are
// opened). With "autoPos" a new value scrolls its first selected node into
// view.
//
// The GUI log keeps the selection as "SELECT <path>..." and an opening as
// "OPEN <path>" (closing "CLOSE <path>"), a path being the texts from the
// top node down joined by "/"; both are replayed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "toolkit/CWGroup.h"

// A node of the program's tree; the program owns it.
struct CWTree_Node {
  CWTree_Node* next = nullptr;        // the next sibling
  CWTree_Node* firstChild = nullptr;
  bool selected = false;              // set by the tree as the user chooses
  bool expanded = false;              // its children are shown
  bool expandable = false;            // shows the opener while it has no children yet
  std::int32_t icon = -1;             // index into the icon lists; -1 none
  std::string text;
};

// The Generic type of a tree's value.
inline constexpr char CWTree_listType[] = "WtTreeList";

struct CWTree_State;

struct CWTree_Rec : CWGroup_Rec {
  std::int32_t defaultWidth, defaultHeight, indentSize, itemVertBorder, itemHoriBorder;
  std::uint8_t selectMode, fontSize;
  bool fontFixed, autoPos, showLines;
  CAttribs_String iconPath, iconList[5];
  W_Color selectionColor, drawColor;
  CWTree_State* state;
};
using CWTree = CWTree_Rec*;

extern Classes_ClassPtr CWTree_class;

void CWTree_CreateClass();

// --- The program's nodes ------------------------------------------------------------------

// Frees the nodes from `first` on, with their children, made with new; sets
// it to nil.
void CWTree_DestroyNodes(CWTree_Node*& first);
// The node at `path` (texts joined by "/", as the GUI log writes them) below
// the list `first`; nil when there is none.
CWTree_Node* CWTree_FindNode(CWTree_Node* first, const std::string& path);

// --- What the tree shows ------------------------------------------------------------------

// The rows in view order (the nodes whose parents are open).
std::size_t CWTree_RowCount(Widget tree);
CWTree_Node* CWTree_RowNode(Widget tree, std::size_t row);
// The row's text area and its opener's box in the tree's window (lower left
// corner and size); false when the row is not in view.
bool CWTree_RowPlace(Widget tree, std::size_t row, Regions_Rect& place);
bool CWTree_OpenerPlace(Widget tree, std::size_t row, Regions_Rect& place);
