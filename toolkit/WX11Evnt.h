// WX11Evnt: X events become the toolkit's records, and the event queue.
//
// WX11Evnt_ConvertEvent is the one place where an XEvent is read; everything
// above works on W_Event, so dispatch and translations can be tested with
// made-up records.
#pragma once

#include <X11/Xutil.h>

#include <cstdint>

#include "toolkit/WX11Disp.h"

// Fills `event` from `x`. False when the toolkit has no use for it: kinds
// without a record, a key that yields no character, buttons above 5. Window
// sizes learned from ConfigureNotify and parents from ReparentNotify go into
// the window table.
bool WX11Evnt_ConvertEvent(const XEvent& x, W_Event& event);
// The X form of a record the program sends: client messages, exposures and
// selection notices.
void WX11Evnt_ToXEvent(const W_Event& event, XEvent& x);

// The character of a key: one character of the key's lookup; Tab with Shift
// and ISO Left Tab give 11 (BackTab); other keysyms of page 0xFF go through
// WX11Evnt_tavrinKeyMap. 0 when the key has no character.
void WX11Evnt_LookupKey(const XKeyEvent& key, std::uint16_t& keysym, std::uint8_t& ch);
// The keysym-to-character map of page 0xFF and the procedure that fills it.
extern std::uint8_t WX11Evnt_tavrinKeyMap[256];
void WX11Evnt_RebindKeysyms();
// The lookup of a key's keysym and text; XLookupString unless replaced.
using WX11Evnt_LookupProc = int (*)(XKeyEvent* key, char* text, int size, KeySym* keysym,
                                    XComposeStatus* status);
extern WX11Evnt_LookupProc WX11Evnt_lookupString;

// Toolkit modifier state of an X state: buttons in bits 0 to 4, 0x2000 Shift,
// 0x4000 Alt (Mod1 or Mod4), 0x8000 Ctrl.
std::uint32_t WX11Evnt_ConvertState(unsigned state);
// X event mask of a toolkit event mask, and back.
long WX11Evnt_TVEventMask2X11(std::uint32_t mask);
std::uint32_t WX11Evnt_X11EventMask2TV(long mask);
