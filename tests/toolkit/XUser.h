// The user of a gui test: a connection of its own to the test's X server
// that moves the pointer, clicks and types through XTest, and the pump that
// lets the program under test handle what came.
#pragma once

#include <functional>
#include <string>

#include "toolkit/WtTypes.h"

struct _XDisplay;

class XUser {
 public:
  XUser();
  ~XUser();
  XUser(const XUser&) = delete;
  XUser& operator=(const XUser&) = delete;

  // Every action waits first until the server has done what the program
  // under test asked for, as a user reacts to what is on the screen.
  // Places are in the window a widget draws in, y upward from its lower
  // left corner, as the toolkit counts.
  _XDisplay* display() const { return display_; }
  void MoveTo(Widget w, int x, int y);
  // The middle of the widget.
  void PointAt(Widget w);
  // A click at a place, with a modifier key's keysym held (0: none).
  void ClickAt(Widget w, int x, int y, unsigned long modifier = 0, int button = 1);
  void Click(Widget w, int button = 1);
  void Button(int button, bool down);
  // A key by its keysym, with a modifier key's keysym held (0: none).
  void Press(unsigned long keysym, unsigned long modifier = 0);
  // Characters as keys (with Shift where the key needs it).
  void Type(const std::string& text);
  // What the screen shows at a place: 0xRRGGBB.
  unsigned long Pixel(Widget w, int x, int y);

 private:
  _XDisplay* display_;
};

// Dispatches events (and deferred actions) until `done` holds; false when
// 20 seconds passed first.
bool Pump(const std::function<bool()>& done);
// Rounds of the dialog layer's loop (events, tasks and the GUI replay) until
// `done` holds; false when 30 seconds passed first.
bool RunLoop(const std::function<bool()>& done);
// Plays `lines` (GUI log lines) from a replay file in `directory` through
// RunLoop, each context given `contextWaitMs` to open; true when all ran.
bool ReplayLines(const std::string& directory, const std::string& lines, int contextWaitMs = 5000);
