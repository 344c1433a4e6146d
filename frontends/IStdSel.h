// IStdSel: the boxes of the front ends that choose a file of a known sort:
// a rename scheme (".trs", loaded to see that it is one) and an ICC profile
// (".icc", ".icm", with the profile signature in its header). Both are the
// file box of IFileSel; a file that is not of the sort is refused, the box
// staying open with the reason shown in it.
//
// Both return true with the full path chosen; Cancel (or no display)
// returns false and gives `start` back. An empty `title` gives the box's
// own (section "IStdSel" of FEGENRmsg). The box opens at `start`; when
// that is empty, rename schemes in the folder of the setting "_NameScheme",
// and otherwise in the site's customer directory.
#pragma once

#include "base/Strings.h"

bool IStdSel_SelectARenameScheme(StrIn title, StrIn start, StrOut scheme);
bool IStdSel_SelectAICCProfile(StrIn title, StrIn start, StrOut profile);
// Whether `path` is a file with the header of an ICC profile.
bool IStdSel_IsICCProfile(StrIn path);
