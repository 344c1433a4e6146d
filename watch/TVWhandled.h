// TVWhandled: a hot folder's ".readyFiles", the names of the files in the
// folder that the demon has handled and that are still there: their jobs
// ended, and the demon takes them again only once they leave the list (the
// status view's "redo") or are declared ready.
//
// One name a line; a backslash stands before each backslash and blank of a
// name, and a line feed in it is written as backslash and "n". Whoever
// changes the file holds the lock ".LOCK..readyFiles" in the folder, reads,
// changes and saves; the save is atomic.
#pragma once

#include "base/StrVector.h"
#include "base/Strings.h"

inline constexpr char TVWhandled_fileName[] = ".readyFiles";
inline constexpr char TVWhandled_lockName[] = ".LOCK..readyFiles";

// Takes the folder's lock: tries 100 ms apart for up to a second; a lock
// whose process is gone is taken over. False when a live process keeps it.
bool TVWhandled_Lock(StrIn folder);
// Releases the folder's lock if this process holds it.
void TVWhandled_Unlock(StrIn folder);
// The names the folder's file lists, in its order; none when there is no
// file. The caller owns the vector.
StrVector TVWhandled_Load(StrIn folder);
// Writes `names` as the folder's file (an empty list removes it); false when
// that failed, and the old file stays.
bool TVWhandled_Save(StrIn folder, StrVector names);
