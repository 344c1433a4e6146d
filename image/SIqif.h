// SIqif: the SImage driver of the suite's own format, QIF (SQIF).
//
// Rows are SQIF's rows, so the top-to-bottom order starts at the last row
// and counts down and bottom to top starts at row 0; the left-right orders
// move by columns. All orders, random rows and columns, tags, and gradation
// tables as LUTs (SImgGrad) are offered. The line resolution is the tag
// "_LINERES", written when an image opened for writing is closed.
#pragma once

#include "base/Strings.h"
#include "image/SQIF.h"

// Registers the driver under SImage_kDriverQIF, with ".QIF" as second suffix.
void SIqif_Init();

// The SQIF of file `name` shared by all opens of it in this process: an open
// for reading takes any, one for updating only an updating one. Nil on failure.
SQIF SIqif_ShareOrOpen(StrIn name, bool update);
// Gives a shared handle back; the last user closes it. Sets it to nil; false
// when closing failed.
bool SIqif_Release(SQIF& qif);
