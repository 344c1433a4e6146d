// What the toolkit's benchmarks share: waiting until the X server has
// nothing more to tell and every event is handled.
#pragma once

#include "toolkit/W.h"
#include "toolkit/WtEvents.h"

inline void Bench_Settle() {
  do {
    W_Sync(false);
    while (WtEvents_Pending()) {
      W_Event e;
      WtEvents_NextEvent(e);
      WtEvents_DispatchEvent(e);
      WtEvents_ExecuteDeferredActions();
    }
    W_Sync(false);
  } while (WtEvents_Pending());
}
