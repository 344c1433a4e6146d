// CWSlider: "WSlider" (keyword "SLIDER"), the scroll bar: an arrow button at
// each end, the trough between them and the thumb in it.
//
// Its value is an INTEGER within "range" (two INT32, low and high), which
// the dialog layer gives from the AObj's range. "slSize" is the visible part
// in units of the value: the thumb is slSize / (high - low + slSize) of the
// trough, never shorter than a few pixels. "orientation" 0 lies horizontal
// with the low end at the left, 1 vertical with the low end at the bottom
// (y runs upward). The bar asks for a fixed breadth across and stretches
// along.
//
// An arrow moves the value by 1, and again and again while it is held; a
// click in the trough moves it by slSize (at least 1) toward the click, and
// repeats while held until the thumb reaches the pointer; the thumb follows
// a drag; a notch of the wheel moves by 1 (up: toward the top, or toward
// the left). The value never leaves the range. Every change the user makes
// is reported; a drag reports each change only with "continuousCB", else
// once at the release if the value changed. A value, range or slSize set
// by the program is drawn, never reported. "transparentBed" leaves the
// trough unpainted, so what lies behind shows; an insensitive bar shows no
// thumb.
#pragma once

#include <cstdint>

#include "toolkit/CWCore.h"

struct CWSlider_Rec : CWCore_Rec {
  bool continuousCB;         // "continuousCB"
  std::uint8_t orientation;  // "orientation": 0 horizontal, 1 vertical
  bool transparentBed;       // "transparentBed"
  std::int32_t slSize;       // "slSize"
  // State.
  std::uint8_t held;         // the part pressed, while the button is down
  std::int32_t pressAt;      // where it was pressed, pixels along the bar
  std::int32_t grip;         // dragging: the pointer's distance from the thumb's start
  std::int32_t pressValue;   // the value when the drag began
  int timer;                 // the repetition of a held arrow or trough
};

extern Classes_ClassPtr CWSlider_class;
extern std::uint32_t CWSlider_slSizeAT, CWSlider_orientationAT;

void CWSlider_CreateClass();

// --- The thumb and trough, for scroll bars that widgets draw inside themselves ------------

// A thumb in a trough: its start from the trough's low end and its length,
// in pixels.
struct CWSlider_Thumb {
  int start = 0, length = 0;
};
// The thumb that shows `visible` units at `offset` (0 to `span`) of
// `span + visible` units in a trough of `trough` pixels; it fills the
// trough when nothing is hidden.
CWSlider_Thumb CWSlider_ThumbPlace(int trough, std::int64_t span, std::int64_t visible, std::int64_t offset);
// The offset (0 to `span`) whose thumb of `thumbLength` starts at `start`.
std::int64_t CWSlider_OffsetAt(int trough, int thumbLength, std::int64_t span, int start);
// The colour of a trough.
W_Color CWSlider_TroughColor();
// Paints a trough (unless `transparent`) and its thumb along x, or along y
// when `vertical`; a pressed thumb is drawn darker.
void CWSlider_DrawTrough(W_Window window, const Regions_Rect& trough, bool vertical, bool transparent,
                         const CWSlider_Thumb& thumb, bool pressed);
