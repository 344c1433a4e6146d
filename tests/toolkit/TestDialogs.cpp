#include "tests/toolkit/TestDialogs.h"

#include <cstdlib>

#include "base/Messages.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/I.h"

namespace {

void (*announcer)() = nullptr;

void Init() {
  ::setenv("MARLENV", FLOATDECK_BINARY_DIR "/tests/env:" FLOATDECK_BINARY_DIR "/env", 1);
  Messages_Init();
  I_Init();
  if (announcer != nullptr) announcer();
  I_UseContextCat("ITESTdlg");
}

}  // namespace

bool UseTestDialogs(void (*announce)()) {
  announcer = announce;
  UseBuildTreeSite(Init);
  return UseXvfb();
}
