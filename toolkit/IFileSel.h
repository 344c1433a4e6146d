// IFileSel: the file and folder boxes, modal windows that list one folder
// at a time, as desktop programs do.
//
// The box is the dialog "IFileSel_Box" of the catalog "IFILESELdlg" (its
// texts in section "IFileSel" of "IFILESELmsg"; both opened on first use):
// value 1 its buttons (1 OK, 0 Cancel), 2 the heading, 3 the folder shown,
// 4 its entries, 5 the names shown, 6 the name chosen, 7 why a choice was
// refused, 8 up one folder, 9 the keys (Return 1, Escape 0). Return is OK
// except in the folder field and the names shown, where it applies them.
//
// The list holds "../", the sub-folders ("name/") and, in the file box, the
// files that match the program's filter and the names shown (wildcards such
// as "*.grd *.GRD", blank separated; "*" all); hidden names (from ".") are
// never listed. A click on an entry makes it the name; a double click opens
// a folder or takes a file; the arrows move in the list. A path typed into
// the folder field (Return) opens that folder; a name or path typed into the
// name field (relative to the folder shown) is taken by OK, or opened when it
// is a folder of the file box. In the folder box OK takes the named folder,
// or the folder shown when no name is given.
//
// Both return true with the full path chosen; Cancel (or no display)
// returns false and gives `start` back. The box opens at `start`: its folder
// (the file's folder with the file named), or the nearest folder above that
// exists, or the projects directory when `start` is empty.
#pragma once

#include <string>

#include "base/Strings.h"

// Why the file at `path` can't be taken; empty when it can.
using IFileSel_CheckProc = std::string (*)(StrIn path);

// A file; `filter` (may be empty) is an expression the names listed must
// match. An empty `title` gives the box's own.
bool IFileSel_SelectAFile(StrIn title, StrIn filter, StrIn start, StrOut file);
// The same, with a check of the file chosen: a refused one stays unchosen,
// the box open and the reason shown in it.
bool IFileSel_SelectACheckedFile(StrIn title, StrIn filter, StrIn start, IFileSel_CheckProc check, StrOut file);
// A folder.
bool IFileSel_SelectADir(StrIn title, StrIn start, StrOut directory);
