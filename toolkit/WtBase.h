// WtBase: dimensions, the toolkit's errors and assertion, and the display.
//
// Errors of the toolkit are messages of "WtErrors": 1 no display, 2 widget
// creation failed, 4 unknown element number, 7 widget not realized.
#pragma once

#include <cstdint>

#include "toolkit/Classes.h"
#include "toolkit/W.h"
#include "toolkit/WtTypes.h"

// The code of the last toolkit error.
extern std::uint8_t WtBase_wtError;
// The background of all main shells, from the file in "BACKPIX"; 0 none.
extern W_Pixmap WtBase_rootPixmap;

// --- Dimensions ------------------------------------------------------------------------

// min 0, stretch unbounded.
Dim WtBase_InitDim();
// Both values added; unbounded stays unbounded.
Dim WtBase_AddDim(Dim a, Dim b);
// The intersection: the greater min, the smaller largest size (unbounded is
// infinite), stretch the difference, never below 0, unbounded if both are.
Dim WtBase_CombineDim(Dim a, Dim b);
bool WtBase_GeomsEqual(const Geometry& a, const Geometry& b);
// The largest size of a dimension; unbounded as a very large number.
std::int64_t WtBase_Largest(Dim d);

// --- Errors ----------------------------------------------------------------------------

// Raises message `code` of "WtErrors" and keeps the code.
void WtBase_WtError(std::uint8_t code);
// Unless `condition` holds: message 1 of "WtBase", and the program ends.
void WtBase_Assert(bool condition);
// Whether `widget` is an instance of `cls` or a subclass; false for nil.
bool WtBase_InstanceOf(Widget widget, Classes_ClassPtr cls);

// --- Display ---------------------------------------------------------------------------

// Opens the display (messages suppressed) unless open; the first time also
// installs the closing at the end and reads "BACKPIX". Without a display:
// "SSH_CONNECTION" and "DISPLAY" beneath toolkit error 1, false.
bool WtBase_AssertDisplayOpen();
