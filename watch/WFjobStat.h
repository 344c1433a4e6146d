// WFjobStat: which files of a folder the job queue holds, for the status
// view. A live table fed by the events of the queue's jobs that the watch
// demon submitted: a file is in the table, as waiting (1) or running (2),
// from its job's first event until the job leaves the queue (done, failed,
// canceled or removed). Files of jobs that were in the queue before this
// process first asked appear with their job's next event.
//
// Folders are the jobs' working directories as the demon gave them; a
// trailing slash makes no difference.
//
// Beside its files a folder may hold jobs known only by their records (jobs
// that name no files of their own, entered with WFjobStat_AddJob): a file
// that the table doesn't hold is looked for in their commands and
// descriptions, and their status counts for the folder's.
//
// The table belongs to the listener's connection: when the line to the queue
// server is lost (the server ended or was restarted), events may have been
// missed, so the table is emptied rather than keep a file "waiting" for a
// job that ended meanwhile; jobs still in the queue come back with their next
// event.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "jobqueue/CCjobBase.h"

// File status in the table.
inline constexpr std::uint8_t WFjobStat_NotKnown = 0;
inline constexpr std::uint8_t WFjobStat_Waiting = 1;
inline constexpr std::uint8_t WFjobStat_Running = 2;

// Enters `file` of `folder` with `status`, or changes its status; empty
// names are passed over.
void WFjobStat_AddFile(StrIn folder, StrIn file, std::uint8_t status);
// Takes the file out; a folder left without files goes too.
void WFjobStat_DeleteFile(StrIn folder, StrIn file);
// Enters `job` among the folder's jobs, with a reference of its own, in the
// place of one of the same id; nil and an empty folder are passed over.
void WFjobStat_AddJob(StrIn folder, CCjobBase_Job job);
// Takes the folder's job `id` out; a folder left without files and jobs goes.
void WFjobStat_DeleteJob(StrIn folder, StrIn id);
// 2 when a file or job of the folder runs, else 1 when one waits, else 0.
std::uint8_t WFjobStat_FolderStatus(StrIn folder);
// The file's status; for a file the table doesn't hold, that of the first
// of the folder's jobs whose command or description holds the name; else 0.
std::uint8_t WFjobStat_FileStatus(StrIn folder, StrIn file);
// 2 for a running job (queue status 3), 1 for any other, 0 for nil.
std::uint8_t WFjobStat_JobStatus(CCjobBase_Job job);
// Takes in every job event that has arrived, without waiting. The first call
// makes a job listener to the queue server of this machine for the jobs of
// the watch demon; while the server is down, each call makes one connection
// attempt, which the machine refuses at once.
void WFjobStat_Update();
