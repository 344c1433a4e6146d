// CWHVBox: the boxes "HBOX" (class "WHBox") and "VBOX" (class "WVBox", a
// subclass with vertical set): the one layout all dialogs rest on.
//
// Measure: along the main axis the children's dimensions are added, with the
// implied glue between two children where neither is a glue; across it they
// are intersected; the border twice is added. With "equalSpacing" every child
// counts with the largest minimum and the smallest largest size of all.
// Place: room up to the sum of minima: everybody at the minimum; below the
// total stretch: shares in proportion to the stretches; above it: everybody
// at the largest, the rest before and after by "center"; with unbounded
// stretches the extra goes to those in equal shares. Pixels left over by the
// division go one each to the first candidates in order. A vertical box
// fills from the top down. Across the axis a child gets the room within its
// limits, at the start (left, or top) or centred by "center"; with
// "fillAcross" every child gets the whole room across, whatever its limits
// (the frames of a column of a dialog equally wide).
#pragma once

#include <vector>

#include "toolkit/CWGroup.h"

struct CWHVBox_Rec : CWGroup_Rec {
  bool vertical;
  bool equalSpacing;   // "equalSpacing"
  bool center;         // "center"
  bool fillAcross;     // "fillAcross"
  Geometry impliedGlue;  // "impliedGlue"
};

extern Classes_ClassPtr CWHVBox_class;      // "WHBox", keyword "HBOX"
extern Classes_ClassPtr CWHVBox_vboxClass;  // "WVBox", keyword "VBOX"
extern std::uint32_t CWHVBox_equalSpacingAT, CWHVBox_centerAT, CWHVBox_impliedGlueAT, CWHVBox_fillAcrossAT;

void CWHVBox_CreateClass();

// One item of a row to be laid out: its dimension on the axis.
struct CWHVBox_Item {
  Dim dim;
  int size = 0;  // the result
};
// Shares `room` among the items (the placing rules above); answers the
// offset of the first item (the part of the rest put before it).
int CWHVBox_Distribute(std::vector<CWHVBox_Item>& items, int room, bool center);

void CWHVBox_MyInitClass(Classes_ClassPtr cls, void* prototype);
