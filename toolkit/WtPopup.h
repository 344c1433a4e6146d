// WtPopup: the pull-down windows of menus and combo boxes.
//
// A pull-down is an override-redirect shell (with saveUnder) transient for
// the shell of the widget it belongs to, its owner. It holds a vertical box
// with a thin outline, into which the owner puts what it shows. The window
// manager gives such a window no focus, so while it is open it holds the
// pointer and the keyboard: keys reach the owner's own translations (the
// pull-down makes the owner its focus widget), pointer events the owner's
// pointer procedure, wherever the pointer is (xRoot, yRoot tell where).
//
// Pull-downs nest (a submenu over its menu): the newest open one holds the
// grabs; closing one closes those opened after it first and hands the grabs
// back to the one before. A pull-down closes when its owner's shell pops
// down, and its owner closes it when it goes off the screen itself.
//
// States: made (WtPopup_Create) -> open (WtPopup_Open: laid out, placed,
// mapped, grabs taken) -> closed (WtPopup_Close: grabs given back, unmapped,
// the owner's closed procedure runs) -> open again ... -> destroyed
// (WtPopup_Destroy, which closes first).
//
// Screen rectangles are in root coordinates: lower left corner, y upward.
#pragma once

#include "toolkit/CWCore.h"

// A pointer event (press, release, motion) while the owner's pull-down is the
// newest open one.
using WtPopup_PointerProc = void (*)(Widget owner, W_Event& event);
// The pull-down closed, for whatever reason.
using WtPopup_ClosedProc = void (*)(Widget owner);

// Where a pull-down opens against its anchor (a screen rectangle).
enum class WtPopup_Place : std::uint8_t {
  kBelow,       // under the anchor, left edges aligned
  kBelowRight,  // under the anchor, right edges aligned
  kBeside,      // right of the anchor, tops aligned (left of it when there is no room)
};

// --- Making --------------------------------------------------------------------------------

// A pull-down of `owner` in `background`, its content `margin` pixels inside
// the outline. The caller owns it.
Widget WtPopup_Create(Widget owner, const W_Color& background, int margin, WtPopup_PointerProc pointer,
                      WtPopup_ClosedProc closed);
// Closes and destroys the pull-down with its content; nil is accepted.
void WtPopup_Destroy(Widget& popup);
// The box that holds the content.
Widget WtPopup_Box(Widget popup);
// The owner of the pull-down that `w` lies in; nil when it lies in none.
Widget WtPopup_Owner(Widget w);

// --- Opening and closing -------------------------------------------------------------------

// Lays the pull-down out (at least `minWidth` wide), places it at `anchor`
// kept on the screen, shows it and takes the grabs. False (and closed) when
// the pointer cannot be had.
bool WtPopup_Open(Widget popup, const Regions_Rect& anchor, WtPopup_Place place, int minWidth);
// Closes those opened after it, then the pull-down; nothing when closed.
void WtPopup_Close(Widget popup);
bool WtPopup_IsOpen(Widget popup);

// --- Places --------------------------------------------------------------------------------

// Where the pull-down opens against `anchor` on a screen of the size given.
Regions_Rect WtPopup_Placement(const Regions_Rect& anchor, WtPopup_Place place, int width, int height,
                               int screenWidth, int screenHeight);
// A widget's rectangle on the screen (asks the server).
Regions_Rect WtPopup_ScreenRect(Widget w);
// The rectangle of a widget inside an open pull-down, computed from the
// pull-down's place (no round trip).
Regions_Rect WtPopup_RectInside(Widget popup, Widget w);
bool WtPopup_Contains(const Regions_Rect& rect, int x, int y);
