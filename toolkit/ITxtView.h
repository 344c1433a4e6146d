// ITxtView: the text viewer. One window per process (the dialog
// "_txtView" of "marldlg") shows a text file read only: it scrolls by
// lines (bar, wheel, arrows, Page up and down, Home and End) and sideways
// for long lines, and finds a text (without regard to case) forward from
// the line after the last find, going round at the end.
//
// Files of many megabytes open at once and in bounded memory: opening
// reads the file once to note where every 256th line begins; lines are
// read a page of 256 at a time when they come into view, and a few pages
// are kept. A line shows at most 4096 bytes; tabs stand every 8 columns;
// bytes that are no UTF-8 are taken as ISO 8859-1.
#pragma once

#include <cstdint>
#include <string>

#include "base/Strings.h"
#include "toolkit/I.h"

// The dialog's values and elements.
inline constexpr std::int32_t ITxtView_kCommand = 1;  // 1 close, 2 find
inline constexpr std::int32_t ITxtView_kFind = 2;     // the text to find
inline constexpr std::int32_t ITxtView_kTop = 3;      // the vertical bar (element 3 too)
inline constexpr std::int32_t ITxtView_kLeft = 4;     // the horizontal bar (element 4 too)
inline constexpr std::int32_t ITxtView_kText = 5;     // element: the text area
inline constexpr std::int32_t ITxtView_kTitle = 6;    // the file's path
inline constexpr std::int32_t ITxtView_kWhere = 7;    // "top line / lines"

inline constexpr std::int32_t ITxtView_cmdClose = 1;
inline constexpr std::int32_t ITxtView_cmdFind = 2;

// Shows the file `path` in the viewer window (made when first needed,
// raised when shown). False when it can't be read or the window can't be
// made (no display); nothing is shown then, and the caller tells why.
bool ITxtView_Show(StrIn path);
// Takes the window down and lets the file go.
void ITxtView_Hide();
// Whether the window is shown.
bool ITxtView_Shown();

// --- What the window shows (for tests and the find) ------------------------------------

// The window's context; nil before the first show.
I_Context ITxtView_Context();
// The number of lines of the file shown; 0 when none is.
std::uint64_t ITxtView_LineCount();
// The line at the top of the window (from 0), and the line found last (-1: none).
std::uint64_t ITxtView_TopLine();
std::int64_t ITxtView_FoundLine();
// Line `index` as it is shown (tabs expanded, cut at 4096 bytes, UTF-8).
std::string ITxtView_Line(std::uint64_t index);
// Finds `text` as the find field and button do; false when it is nowhere.
bool ITxtView_Find(StrIn text);
