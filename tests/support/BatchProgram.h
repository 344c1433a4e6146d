// The start of a batch module's test program, first in its site's set-up
// (UsePrivateSiteForTests): PATH of the system's folders alone, so no client
// finds a service of the suite to start on its own, and the program's
// arguments (Argument_Init) its own name alone.
#pragma once

#include <errno.h>
#include <stdlib.h>

#include "base/Argument.h"

inline void InitBatchTestProgram() {
  ::setenv("PATH", "/usr/bin:/bin", 1);
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
}
