// The W procedures answered by the test instead of an X server, so that
// widgets can be realized, mapped, laid out and sent events without one.
// Windows are numbers handed out in order; a text is 7 pixels a character,
// 8 up and 2 down; atoms are numbered by name; the rest does nothing.
#pragma once

#include <map>
#include <string>
#include <type_traits>

#include "toolkit/W.h"

struct FakeW {
  // Fills every procedure variable; Remove puts the X11 ones back.
  static void Install();
  static void Remove();
  static int bells;
  static int raises;
  static std::map<W_Window, bool> mapped;
};
