// WtToolTip: the small window with a widget's help text that appears when
// the pointer rests on the widget.
//
// Level 1 at start (0 when the flag "NOTOOLTIPS" is set): at level 2 widgets
// show their help messages. A tip is launched when the pointer enters a
// widget with a tip and shows 750 ms later unless the pointer moved on; a
// key or button pops it down. The tip of a widget whose root is not a shell
// is never shown. Showing needs the timers of WtEvents.
#pragma once

#include "toolkit/CWCore.h"

extern int WtToolTip_level;
extern bool WtToolTip_showToolTips;

// Follows the pointer: button press and release, motion, enter and leave.
void WtToolTip_HandleEvent(Widget widget, W_Event& event);
// Takes a tip down, whether visible or only launched.
void WtToolTip_PopDown();
// Finds the widget with a tip at (x, y) of `widget` (or above it); true when
// the tip widget changed.
bool WtToolTip_UpdateWidget(Widget widget, int x, int y);
// Starts (true) the wait for the tip, or stops it.
void WtToolTip_Launch(bool on);
// Makes the tip window: a shell and the label in it that shows the text.
// False when it can't; the toolkit's own window is used then.
using WtToolTip_WindowMaker = bool (*)(Widget& shell, Widget& label);
void WtToolTip_SetWindowMaker(WtToolTip_WindowMaker maker);
// The level (1, or 0 with the flag, until set).
int WtToolTip_Level();
// Sets the level; tips turned off are popped down and shells told.
void WtToolTip_SetLevel(int level, bool show);
// The widget is going away.
void WtToolTip_WidgetDestroyed(Widget widget);
