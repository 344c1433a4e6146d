// CCrunner: runs a job's command under a guardian of its own.
//
// The guardian is a child of the worker in a session of its own; it starts
// the command through "/bin/sh -c" in a new process group (working
// directory, CCJOB_ID and CCJOB_EMPLOYER set, output and errors to the
// job's error file, the job's user where the worker may switch to it),
// waits for it and writes how it ended (CCjobDir). It holds the job's file
// locked while it lives. So a job outlives a worker that is killed, and the
// worker that comes after finds out how it ended.
//
// SIGTERM to the guardian cancels the job: the command's process group gets
// SIGTERM, and SIGKILL a few seconds later if it is still there.
#pragma once
#include <cstdint>
#include <string>

struct CCrunner_Job {
  std::string id;
  std::string command;
  std::string workDir;    // "" stays in the worker's directory
  std::string errorFile;  // "" sends the output nowhere
  std::string employer;   // for CCJOB_EMPLOYER
  std::int32_t uid = -1, gid = -1;
  std::string workDirMessage;  // written to the error file when workDir can't be entered
};

// Starts the guardian with the job's locked file `jobFile` (which the
// guardian takes over; the caller closes its copy). The guardian's id, or -1.
int CCrunner_Start(const CCrunner_Job& job, int jobFile);
// Cancels: tells the guardian to end the job.
void CCrunner_Cancel(int guardian);
