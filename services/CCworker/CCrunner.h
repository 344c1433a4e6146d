// CCrunner: starts a job's command so that it outlives the worker.
//
// The command runs as "sh -c <script> <command>" in a session of its own:
// the script makes the job's progress file, evaluates the command in a
// subshell and appends "exit <code>" to the job's file (CCjobDir), whose
// lock its descriptor 3 holds for as long as the shell lives. So a worker started after a killed one finds
// out whether a job still runs and how it ended. The command has the job's
// working directory, CCJOB_ID and CCJOB_EMPLOYER, no input, its output and
// errors in the job's error file, and, where the worker may switch to it,
// the job's user.
#pragma once
#include <cstdint>
#include <string>

struct CCrunner_Job {
  std::string id;
  std::string command;
  std::string workDir;    // "" stays in the worker's directory
  std::string errorFile;     // "" sends the output nowhere
  std::string progressFile;  // made empty at the start; "" for none
  std::string employer;   // for CCJOB_EMPLOYER
  std::int32_t uid = -1, gid = -1;
};

// Starts the command with the job's locked file `jobFile` (the caller
// closes its copy afterwards). The process id (its group's too), or -1 with
// errno set when it could not start (a working directory that can't be
// entered among the reasons).
int CCrunner_Start(const CCrunner_Job& job, int jobFile);
// Asks the job's process group to end (SIGTERM), or makes it (SIGKILL).
void CCrunner_Cancel(int pid);
void CCrunner_Kill(int pid);
