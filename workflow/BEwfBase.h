// BEwfBase: how the watch demon and the module commands hand a job to the
// queue. A job is made from the classic record its submitter fills: the
// command, run in the record's working directory, with the settings of the
// folder there; it carries its file group as the submitter's addons of
// "TVWatchD" (the working directory, the id of the job that submits it from
// CCJOB_ID, empty for the demon, and the files), and runs where the job
// class of the directory's module kind runs. Its employer is this machine.
#pragma once

#include "base/StrVector.h"
#include "jobqueue/CCjob.h"

// The job of `record` for `files` (names in the record's working directory),
// of high or low CPU use by `highCpu`. The caller owns it.
CCjobBase_Job BEwfBase_CreateJob(const CCjob_ClassicJob& record, StrVector files, bool highCpu);
// Submits the job of a module command: the working directory is the logical
// current one, the CPU use that of the demon's entry for it. False, with a
// line on standard error, when the queue did not take it.
bool BEwfBase_SubmitJob(CCjob_ClassicJob& record, StrVector files);
