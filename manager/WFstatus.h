// WFstatus: what goes on in the folders and workflows the manager shows. The
// one status of a folder (the colour of its frame in the graph), whether it
// is stopped, express or its target disk is full, whether a workflow has
// failed files; and stopping and starting folders and workflows.
//
// Live data comes from the folder's directory, the job table (WFjobStat) and
// the demon's marks, files that lie in a hot folder or in a directory above
// it up to the top of the folder's demon entry:
//   ".TVWatchD_omit"      the demon leaves the folder alone (stopped)
//   ".TVWatchD_express"   the folder's jobs go first
//   ".TVWatchD_discFull"  the demon found the target disk full
// A missing directory is empty and holds no marks; it is no error.
//
// The graph asks every folder of the shown workflow every few seconds, so
// every answer that comes from a directory is kept until the directory's
// identity or time stamp changes: a round over a workflow where nothing
// changed costs one stat a directory.
//
// Wall messages on WFbase_switchboard: WFstatus_StopFolder and
// WFstatus_StartFolder tell "folder stopped/started"; the workflow calls tell
// nothing, their caller tells "workflow stopped/started".
//
// Messages of section "WFstatus": 13 a folder could not be added to the
// demon's configuration, 27 a mark could not be set, 28 a mark could not be
// removed, 30 the handled list of a folder could not be changed. They go
// through WFbase_Message.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Strings.h"
#include "workflow/WFbase.h"
#include "workflow/WFfolder.h"

// The status of a folder; a workflow's is the largest of its folders'.
inline constexpr std::uint8_t WFstatus_Nothing = 0;   // nothing there
inline constexpr std::uint8_t WFstatus_FilesWait = 1; // files wait in the folder
inline constexpr std::uint8_t WFstatus_JobsWait = 3;  // jobs of the folder wait in the queue
inline constexpr std::uint8_t WFstatus_JobsRun = 4;   // jobs of the folder run

// Which files the content lists show (WFstatus_SetOnlyImagesMode, the rc
// option "FILEMODE" of a folder).
inline constexpr std::uint32_t WFstatus_AllFiles = 0;
inline constexpr std::uint32_t WFstatus_OnlyImages = 1;
inline constexpr std::uint32_t WFstatus_OnlyTickets = 2;
inline constexpr std::uint32_t WFstatus_ImagesAndTickets = 3;

// Starts WFbase, WFtvwCfg and the image registry and builds the file
// expressions; once.
void WFstatus_Init();

// --- A round of updates ------------------------------------------------------------------

// What a round of updates does once before asking about many folders: takes
// in the job events that arrived (WFjobStat_Update) and begins a round, in
// which no directory is read twice: answers from a directory that changed
// during the round may come in the next one.
void WFstatus_PrepareUpdate();

// --- Folders ------------------------------------------------------------------------------
// Each accepts a nil folder, which is empty, unwatched and holds no marks.

// WFstatus_JobsRun or WFstatus_JobsWait when the job table holds files of the
// folder (for a folder whose files make two jobs, of its resolved path too;
// an end of kind 43 only when it is watched); otherwise WFstatus_FilesWait
// when it is not empty, else WFstatus_Nothing. `fresh`: the caller did
// WFstatus_PrepareUpdate this round, so the job events are not read again.
std::uint8_t WFstatus_FolderStatus(WFfolder folder, bool fresh);
// Whether no file waits in the folder: a regular file whose name does not
// begin with "." and is no temporary name counts; in subdirectory mode those
// in the sub-directories the demon watches too.
bool WFstatus_FolderEmpty(WFfolder folder);
// Whether the demon's configuration has an entry for the folder. A local
// folder without one gets it (not an end of kind 2 or 43, nor a passive
// end); a failure shows message 13 once, and the folder is not tried again
// until the configuration file changes.
bool WFstatus_FolderWatched(WFfolder folder);
// The marks, in the folder or above it up to the top of its demon entry.
bool WFstatus_FolderStopped(WFfolder folder);
bool WFstatus_TargetDiscFull(WFfolder folder);
bool WFstatus_IsExpressFolder(WFfolder folder);
// Whether the file `mark` lies in the folder's directory or in one above it,
// up to the top directory of its demon entry ("/" or an empty path end the
// walk; a folder without entry looks only at itself).
bool WFstatus_CheckForFileMark(WFfolder folder, StrIn mark);

// --- Workflows ----------------------------------------------------------------------------
// Each accepts a nil workflow and answers 0 or false. A workflow rebuilt only
// from its start (WFbase_RebuildWorkflowStart) answers as well as a whole one
// for the stop and express marks and for the errors.

// The largest status of its folders; reads the job events once.
std::uint8_t WFstatus_WorkflowStatus(WFbase workflow);
// The marks of the start folder.
bool WFstatus_WorkflowStopped(WFbase workflow);
bool WFstatus_IsExpressWorkflow(WFbase workflow);
// Whether the workflow's error directory holds an error file (see
// WFstatus_IsErrorName); stops at the first.
bool WFstatus_ErrorsThere(WFbase workflow);
// The name of an error file: digits (the stamp), "_", the failed file's name
// and ".err".
bool WFstatus_IsErrorName(StrIn name);

// --- Stop, start, express -----------------------------------------------------------------
// Folders that can't be started (WFfolder_Startable) and nil are left alone
// and count as done. False when a mark could not be set or removed (messages
// 27, 28, naming the mark's path); the other marks and folders are done all
// the same.

// Sets ".TVWatchD_omit" in the folder.
bool WFstatus_StopFolder(WFfolder folder);
// Removes ".TVWatchD_omit" and ".TVWatchD_discFull" from the folder and the
// directories above it up to the top of its demon entry, and makes the files
// the demon handled and left in the folder new again (WFstatus_RedoFiles,
// whose failure makes it false too).
bool WFstatus_StartFolder(WFfolder folder);
// The same for every folder of the workflow.
bool WFstatus_StopWorkflow(WFbase workflow);
bool WFstatus_StartWorkflow(WFbase workflow);
// Sets or removes ".TVWatchD_express" in the folder.
bool WFstatus_SetExpressFolder(WFfolder folder);
bool WFstatus_UnsetExpressFolder(WFfolder folder);
// The same for every folder of the workflow.
bool WFstatus_SetExpressWorkflow(WFbase workflow, bool state);
// Takes `names` off the handled list ".readyFiles" of `directory` under its
// lock, so that the demon takes those files again. False, with message 30,
// when the lock could not be had or the list not be saved.
bool WFstatus_RedoFiles(StrIn directory, const std::vector<std::string>& names);

// --- Which files the content lists show ---------------------------------------------------

void WFstatus_SetOnlyImagesMode(std::uint32_t mode);
std::uint32_t WFstatus_OnlyImagesMode();
// Whether a file of `name` is shown in `mode`: images are the formats of the
// image registry and PDF files, tickets "*.jt?" and "*.jt??".
bool WFstatus_FileShown(StrIn name, std::uint32_t mode);
// A text file ("*.txt"), which the text viewer shows.
bool WFstatus_IsTextFile(StrIn name);
