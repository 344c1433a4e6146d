// WtSample: a small dialog made of the toolkit's widgets, shown by the demo
// program wtdemo and checked by the toolkit's tests: a heading, a frame with
// a name field, a number field and a toggle, and OK and Cancel buttons.
// Its texts are section "wtdemo" of the catalog "WTDEMOmsg".
#pragma once

#include "toolkit/WtTypes.h"

struct WtSample {
  Widget shell = nullptr;
  Widget heading = nullptr;
  Widget frame = nullptr;
  Widget nameLabel = nullptr, name = nullptr;
  Widget copiesLabel = nullptr, copies = nullptr;
  Widget proof = nullptr;
  Widget ok = nullptr, cancel = nullptr;
};

// Makes the dialog, not yet shown. The shell's value becomes 1 with Return
// and 0 with Escape; OK reports 1, Cancel 0. Wt_Initialize must have run.
void WtSample_Build(WtSample& sample);
// Destroys it.
void WtSample_Destroy(WtSample& sample);
