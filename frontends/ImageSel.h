// ImageSel: the box that chooses image formats, by their default suffixes,
// from a set of the image format registry (a mask of
// SImage_GetListOfSelectedSupportedFormats).
//
// The box is the dialog "ImageSel_Formats" of FEGENRdlg: value 1 its buttons
// (1 OK, 0 Cancel), 2 the heading, 3 the list of formats ("<suffix>
// <description>"), 4 a text that the formats shown contain (any case), 5
// why OK was refused, 6 the keys (Return 1, except in the text of 4, which
// it applies; Escape 0). A double click takes a format of
// the single choice. Several choices stay chosen while the text narrows the
// list. Formats whose names vary (no default suffix) are not offered.
//
// True with the suffixes chosen, blank separated in the list's order
// (".qif .tif"); Cancel (or no display) returns false and gives `start`
// back. `start` holds the suffixes chosen at first. An empty `title` gives
// the box's own (section "ImageSel" of FEGENRmsg).
#pragma once

#include "base/Strings.h"

// The two sets the front ends choose from: formats that can be written
// (38), formats that can be read (37), each on a file system, no devices.
inline constexpr unsigned kImageSelWritable = 38;
inline constexpr unsigned kImageSelReadable = 37;

bool ImageSel_SelectAnImageFormat(StrIn title, unsigned formatSet, bool multiple, StrIn start, StrOut formats);
