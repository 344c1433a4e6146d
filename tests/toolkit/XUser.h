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

  _XDisplay* display() const { return display_; }
  void PointAt(Widget w);
  void Click(Widget w, int button = 1);
  // A key by its keysym, with a modifier key's keysym held (0: none).
  void Press(unsigned long keysym, unsigned long modifier = 0);
  // Characters as keys (capitals with Shift).
  void Type(const std::string& text);

 private:
  _XDisplay* display_;
};

// Dispatches events (and deferred actions) until `done` holds; false when
// 20 seconds passed first.
bool Pump(const std::function<bool()>& done);
