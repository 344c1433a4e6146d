// SIsuffix: the file name conventions around images: the information file
// (the job ticket) that stands for an image, and the add-on files that lie
// beside one (overviews, contours, colour separations, tickets), which a hot
// folder leaves alone when it takes images.
#pragma once

#include "base/Strings.h"

// The suffix of the information file of an image with suffix `suffix` (given
// with or without its dot; case does not count): ".ps" gives ".jtp", ".pdf"
// ".jtpd", any other ".jt" and the first character of the lower-cased
// suffix (".QIF" gives ".jtq"). False, and infSuffix empty, when suffix has
// nothing after its dot or the result does not fit.
bool SIsuffix_InfSuffix(StrIn suffix, StrOut infSuffix);

// The expression (POSIX extended) that recognises the add-on files of an
// image by their suffix; no format's default suffix is one of them. False when
// it had to be cut at expr's bound.
bool SIsuffix_GetAllSufficesRegExp(StrOut expr);
