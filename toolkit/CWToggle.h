// CWToggle: "WToggle" (keyword "TOGGLE"), a check box with a label: its
// BOOLEAN value flips on a click, on Space while it has the focus and by its
// mnemonic, and is reported. "checkPos" 0 puts the box left of the text,
// 1 right of it.
#pragma once

#include "toolkit/CWLabel.h"

struct CWToggle_Rec : CWLabel_Rec {
  std::uint8_t checkPos;  // "checkPos"
  bool armed;
};

extern Classes_ClassPtr CWToggle_class;

void CWToggle_CreateClass();
// Whether the box is checked.
bool CWToggle_IsOn(Widget w);
