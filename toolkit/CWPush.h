// CWPush: "WPush" (keyword "PUSH"), a button: a label that reports its value
// when clicked (press and release inside), when Space or Return is pressed
// while it has the focus, and by its mnemonic. Its value is its number
// ("VALUE"): several buttons report to one value, so values set on it leave
// its number alone (a text becomes its label). With "autorepeat" a held
// button reports at once, again after "initialWait" ms and then every 100 ms
// (needs the timers of WtEvents).
#pragma once

#include "toolkit/CWLabel.h"

struct CWPush_Rec : CWLabel_Rec {
  bool autorepeat;            // "autorepeat"
  std::int32_t initialWait;   // "initialWait", ms
  bool armed;                 // pressed inside, not yet released
  int timer;
};

extern Classes_ClassPtr CWPush_class;

void CWPush_CreateClass();
// Stops a held button's repetition (a window is about to change).
void CWPush_AutoRepeatOff();
