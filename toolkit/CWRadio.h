// CWRadio: "WRadio" (keyword "RADIO"), one of a group of exclusive choices.
// The radios of a group are bound to one INTEGER, each with its own number
// ("VALUE"), as push buttons are: a click (press and release inside), Space
// while it has the focus, or its mnemonic reports its number, and the
// value shown on it marks the radio whose number it is. So a value set on a
// radio leaves its number alone, and I_SetEnabledState works on radios as
// on buttons.
//
// The mark is a diamond, filled while the radio is chosen: "diamondPos" 0
// puts it left of the text, 1 right; "diamondSize" is its height in pixels
// (0: as high as a line of the label's font); "pressedBackground" fills it
// while the button is held on it.
#pragma once

#include "toolkit/CWLabel.h"

struct CWRadio_Rec : CWLabel_Rec {
  std::uint8_t diamondPos;     // "diamondPos"
  std::int32_t diamondSize;    // "diamondSize"
  W_Color pressedBackground;   // "pressedBackground"
  bool armed;                  // pressed inside, not yet released
  bool chosen;                 // the value shown is the radio's number
};

extern Classes_ClassPtr CWRadio_class;

void CWRadio_CreateClass();
// Whether the radio is the chosen one of its group.
bool CWRadio_IsChosen(Widget w);
