// TVWready: the ready-file list, by which a program on the demon's host hands
// the demon files that are complete, so that it takes them at once instead
// of waiting for them to stay unchanged.
//
// The list is the file "TVWreadyFiles" in the demon's data directory, one
// path a line, guarded by the lock "LOCK..TVWreadyFiles" beside it. A sender
// writes it anew (a mailbox of one slot: the demon takes it at once) and
// sends the demon "SIGUSR2"; the demon reads and removes it.
//
// A job that placed a finished file into the next hot folder declares it
// ready with TVWready_InformFilesReady: to the demon of its own host through
// the list, or, when its job came from a demon on another host
// (CCJOB_EMPLOYER), to that demon over the file status service.
#pragma once

#include <cstddef>

#include "base/Strings.h"

inline constexpr char TVWready_listName[] = "TVWreadyFiles";
inline constexpr char TVWready_lockName[] = "LOCK..TVWreadyFiles";

struct TVWready_ListRec;
// A list of paths in the order they were added; the caller owns it.
using TVWready_FileList = TVWready_ListRec*;

// --- The list ---------------------------------------------------------------------------
TVWready_FileList TVWready_CreateFileList();
TVWready_FileList TVWready_NilFileList();
// Frees the list and sets it to nil; nil is accepted.
void TVWready_DestroyFileList(TVWready_FileList& list);
void TVWready_AddFile(TVWready_FileList list, StrIn path);
std::size_t TVWready_FileCount(TVWready_FileList list);
void TVWready_DeleteAllFiles(TVWready_FileList list);
// The first path, and from there on the next one; false past the end.
bool TVWready_GetFirstFile(TVWready_FileList list, StrOut path);
bool TVWready_GetNextFile(TVWready_FileList list, StrOut path);

// --- Sender ------------------------------------------------------------------------------
// Writes the list into the running demon's data directory under the lock and
// signals the demon. True for a nil list; false (and nothing written) when no
// demon runs, or when the lock, the file or the signal failed.
bool TVWready_SendReadyFiles(TVWready_FileList list);
// Declares `files` complete: each path, or with a `targetDir` that
// directory and the path's last element. A job submitted by a demon of
// another host tells that demon (one connection per process, 3000 ms);
// everyone else sends the list. False when any of it failed.
bool TVWready_InformFilesReady(TVWready_FileList files, StrIn targetDir);

// --- Demon side ----------------------------------------------------------------------------
// Takes the list waiting in MARLDAT (or in the old data directory): its
// non-empty lines are added to `list` (made when nil) and the file removed.
void TVWready_GetReadyFiles(TVWready_FileList& list);

// --- The lock ----------------------------------------------------------------------------
// Takes the lock in `directory`: nine tries 100 ms apart; a lock whose
// process is gone is taken over. False when a live process keeps it.
bool TVWready_Lock(StrIn directory);
// Removes the lock file in `directory`; errors are forgotten.
void TVWready_UnLock(StrIn directory);
