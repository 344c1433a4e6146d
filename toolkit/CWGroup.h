// CWGroup: the container "WGroup" (keyword "GROUP"). A group is a gadget
// and owns its children: destroying it destroys them. Each group keeps the
// link of the child on the focus path.
#pragma once

#include <cstdint>

#include "toolkit/CWCore.h"

struct CWGroup_Link {
  Widget widget = nullptr;
  CWGroup_Link* prev = nullptr;
  CWGroup_Link* next = nullptr;
};

struct CWGroup_Rec : CWCore_Rec {
  CWGroup_Link* firstChild;
  CWGroup_Link* lastChild;
  std::uint32_t childCount;
  CWGroup_Link* focusLink;  // the child on the focus path; nullptr none
  bool isMenuBar;           // "isMenuBar"
};
using CWGroup = CWGroup_Rec*;

struct CWGroup_ClassRec : CWCore_ClassRec {
  void (*InsertChild)(CWGroup group, Widget child) = nullptr;
  void (*RemoveChild)(CWGroup group, Widget child) = nullptr;
  void (*GeometryManager)(CWGroup group, Widget child) = nullptr;
  bool invalidateOnChange = true;
};

extern Classes_ClassPtr CWGroup_class;
extern std::uint32_t CWGroup_isMenuBarAT;

void CWGroup_CreateClass();

// A walk over the children.
using CWGroup_Walk = CWGroup_Link*;

// --- Children ----------------------------------------------------------------------------

void CWGroup_InsertChild(Widget group, Widget child);
void CWGroup_RemoveChild(Widget group, Widget child);
// Abstract in this class.
void CWGroup_GeometryManager(Widget group, Widget child);
std::uint32_t CWGroup_ChildCount(Widget group);
// The first child and the walk on to the next; nil at the end.
Widget CWGroup_GetFirstChild(Widget group, CWGroup_Walk& walk);
Widget CWGroup_GetNextChild(CWGroup_Walk& walk);
void CWGroup_DestroyWalkInfo(CWGroup_Walk& walk);
// Calls `proc` for each child (and below, when recursive) until it answers
// false; false then.
bool CWGroup_EnumChildren(Widget group, bool recursive, bool (*proc)(Widget child, std::uintptr_t data),
                          std::uintptr_t data);
// The first widget below `group` of class `cls` (or a subclass), depth first.
Widget CWGroup_FindWidgetByType(Widget group, Classes_ClassPtr cls);
// Whether `child` lies below `ancestor`.
bool CWGroup_IsChildOf(Widget child, Widget ancestor);
bool CWGroup_IsGroupWidget(Widget w);
bool CWGroup_IsMenuBar(Widget w);
Widget CWGroup_FindMenuBar(Widget w);

// --- Focus ---------------------------------------------------------------------------------

// Down the focus links while widgets are mapped: the non-group at the end;
// nil when a link is missing or a widget unmapped.
Widget CWGroup_GetActualFocus(Widget w);
// Moves the focus to the next widget that accepts it (forward or backward)
// and answers it; nil when none does. `restart` begins at the first (last)
// child instead of after the current focus link.
Widget CWGroup_AdvanceFocus(Widget w, bool restart, bool backward);

// The operations of the class, for subclasses that extend them.
void CWGroup_MyInitClass(Classes_ClassPtr cls, void* prototype);
void CWGroup_MyRealize(Widget w);
void CWGroup_MyUnrealize(Widget w);
void CWGroup_MyExpose(Widget w, const Regions_Region* region, W_Event& event);
