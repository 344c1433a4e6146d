// WtRowScroll: the rows of a widget that scroll under a bar of its own at
// its right (tables, trees, lists). The bar is CWSlider's trough and thumb,
// so every scroll bar of the program looks and moves alike; a press above
// or below the thumb moves a page, the thumb is dragged, the wheel moves
// three rows. The widget keeps the first row it shows and scrolls to what
// these procedures compute (clamped with WtRowScroll_Clamp, then redrawn).
#pragma once

#include <cstddef>

#include "toolkit/W.h"

inline constexpr int WtRowScroll_barWidth = 14;

// A trough of WtRowScroll_barWidth pixels at `x` of the widget's window,
// from `bottom` up to `top`, for `count` rows of which `visible` show from
// `first` on.
struct WtRowScroll_Bar {
  int x = 0, bottom = 0, top = 0;
  std::size_t count = 0, visible = 0, first = 0;
};

// The thumb the user holds: `offset` is where it was taken.
struct WtRowScroll_Grip {
  bool dragging = false;
  int offset = 0;
};

// `first` moved into range: no row below the last page starts the view.
std::size_t WtRowScroll_Clamp(std::size_t first, std::size_t count, std::size_t visible);
// The first row that brings `row` into view with the least move; false
// when it shows already.
bool WtRowScroll_Show(const WtRowScroll_Bar& bar, std::size_t row, std::size_t& first);
// The trough and, when not all rows show, the thumb.
void WtRowScroll_Draw(W_Window window, const WtRowScroll_Bar& bar);
// A press on the bar at height `y`: above or below the thumb true, with the
// first row a page up or down; on the thumb false, and the drag starts.
bool WtRowScroll_Press(const WtRowScroll_Bar& bar, int y, WtRowScroll_Grip& grip, std::size_t& first);
// The pointer at height `y`: while the thumb is dragged true, with the
// first row it stands for; false otherwise or when the bar cannot move.
bool WtRowScroll_Drag(const WtRowScroll_Bar& bar, int y, const WtRowScroll_Grip& grip, std::size_t& first);
// The wheel (event buttons 3 and 4) moves the first row three up or down;
// false for another button.
bool WtRowScroll_Wheel(const WtRowScroll_Bar& bar, unsigned button, std::size_t& first);
// The row the keys Up, Down, Page up and down (`page` rows), Home and End
// choose from `current` among `count` rows (at least one); false for
// another key.
bool WtRowScroll_KeyRow(unsigned key, std::size_t current, std::size_t count, std::size_t page, std::size_t& row);
