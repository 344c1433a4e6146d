// CWABox: "WABox" (keyword "ABOX"), the page box: all its children lie on
// one place, and only the page whose index (from 0) is the box's INTEGER
// value is mapped; a value without a child shows none.
//
// The box asks for the largest minimum of all pages and room for the most
// stretchable one, so turning pages does not resize the window; with
// "dynamic" it asks for what the page shown asks. A page that does not
// stretch to the box is aligned by "halign" (0 left, 1 centre, 2 right) and
// "valign" (0 bottom, 1 centre, 2 top), centred by default. Only the page
// shown is placed (the others when they come up), and a page that holds
// the keyboard focus hands it to the page that replaces it. The focus never
// walks into a hidden page, since CWGroup_AdvanceFocus skips unmapped ones.
#pragma once

#include <cstdint>

#include "toolkit/CWGroup.h"

struct CWABox_Rec : CWGroup_Rec {
  std::uint8_t halign;  // "halign"
  std::uint8_t valign;  // "valign"
  bool dynamic;         // "dynamic"
};

// What a subclass (a box with tabs) may extend.
struct CWABox_ClassRec : CWGroup_ClassRec {
  // Maps the page of the value, unmaps the others and redraws.
  void (*ShowPage)(Widget box) = nullptr;
  // The room the pages are placed in: the inner area here.
  Regions_Rect (*PageArea)(Widget box) = nullptr;
};

extern Classes_ClassPtr CWABox_class;
extern std::uint32_t CWABox_halignAT, CWABox_valignAT, CWABox_dynamicAT;

void CWABox_CreateClass();

// The page the value names; nil when it names none.
Widget CWABox_ShownChild(Widget box);
// Runs the class's ShowPage.
void CWABox_ShowPage(Widget box);

// The operations of the class, for subclasses that extend them.
void CWABox_MyInitClass(Classes_ClassPtr cls, void* prototype);
void CWABox_MyShowPage(Widget box);
