// SWilCard: wildcard patterns of the kind that name directories in omit lists
// (".*", "Temporary*").
//
// In a pattern "*" stands for any run of characters, the empty one included,
// and "?" for exactly one character. Neither treats "/" or a leading "." in
// any special way: names are matched as plain texts. A backslash makes the
// character behind it literal ("\*" is a star, "\\" a backslash); a backslash
// that ends the pattern stands for itself. Everything else, "[" included,
// is a literal, and case counts.
#pragma once

#include "base/Strings.h"

// Whether the whole of `name` matches `pattern`. Time grows at most with the
// product of the two lengths, whatever the pattern.
bool SWilCard_Match(StrIn pattern, StrIn name);
