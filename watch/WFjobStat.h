// WFjobStat: which files of a folder the job queue holds, for the status
// view. A live table fed by the events of the queue's jobs that the watch
// demon submitted: a file is in the table, as waiting (1) or running (2),
// from its job's first event until the job leaves the queue (done, failed,
// canceled or removed). Files of jobs that were in the queue before this
// process first asked appear with their job's next event.
//
// Folders are the jobs' working directories as the demon gave them; a
// trailing slash makes no difference.
#pragma once

#include <cstdint>

#include "base/Strings.h"

// File status in the table.
inline constexpr std::uint8_t WFjobStat_NotKnown = 0;
inline constexpr std::uint8_t WFjobStat_Waiting = 1;
inline constexpr std::uint8_t WFjobStat_Running = 2;

// Enters `file` of `folder` with `status`, or changes its status; empty
// names are passed over.
void WFjobStat_AddFile(StrIn folder, StrIn file, std::uint8_t status);
// Takes the file out; a folder left without files goes too.
void WFjobStat_DeleteFile(StrIn folder, StrIn file);
// 2 when a file of the folder runs, else 1 when one waits, else 0.
std::uint8_t WFjobStat_FolderStatus(StrIn folder);
// The file's status; 0 when the table doesn't hold it.
std::uint8_t WFjobStat_FileStatus(StrIn folder, StrIn file);
// Takes in every job event that has arrived, without waiting. The first call
// connects a job listener to the queue server of this machine for the jobs
// of the watch demon.
void WFjobStat_Update();
