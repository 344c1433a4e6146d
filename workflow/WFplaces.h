// WFplaces: the places a user gave to the folders of a workflow on the graph,
// as offsets in columns and rows from where the layout puts them.
//
// They live in ".wfplaces" in the workflow's start directory: the workflow's
// name on the first line, then one line "PATH COLUMNS ROWS" per moved folder.
// A file whose first line isn't the workflow's name is ignored whole, so a
// copied start directory doesn't take the places of another workflow. Lines
// with both offsets 0 or with numbers that don't convert are dropped.
//
// Errors of reading and writing are ignored: places are a convenience. The
// file has no lock; the last writer wins.
#pragma once

#include <cstdint>

#include "base/Strings.h"

inline constexpr char WFplaces_fileName[] = ".wfplaces";

struct WFplaces_Rec;
using WFplaces = WFplaces_Rec*;

// Starts the modules used; once.
void WFplaces_Init();

WFplaces WFplaces_Nil();
// Empty places of workflow `workflow`; no file is read. The caller owns them.
WFplaces WFplaces_Create(StrIn workflow);
// The places of workflow `workflow` from its file (empty when there is none).
WFplaces WFplaces_Open(StrIn workflow);
// Frees the places (nothing is saved) and sets them to nil; nil is accepted.
void WFplaces_Close(WFplaces& places);
// Writes the file when the places changed since the open or the last save:
// no places remove it. The file gets mode 666.
void WFplaces_Save(WFplaces places);
// A copy, owned by the caller; nil for nil.
WFplaces WFplaces_Copy(WFplaces places);
// The offsets of the folder at `path`; false, and 0 and 0, when it has none.
bool WFplaces_GetPlace(WFplaces places, StrIn path, std::int32_t& column, std::int32_t& row);
// Adds the offsets to the folder's (0 and 0 when it has none). A column below
// 0 becomes 0; a row may stay negative. Offsets that come to 0 and 0 remove
// the place. Marks the places changed, except for a new place of 0 and 0.
void WFplaces_SetPlace(WFplaces places, StrIn path, std::int32_t dcolumn, std::int32_t drow);
// Removes the folder's place.
void WFplaces_ResetPlace(WFplaces places, StrIn path);
