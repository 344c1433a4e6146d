// CCjob: what a submitter calls to make a job and hand it to the queue.
//
// A thin layer over CCjobBase: jobs are CCjobBase_Job records (reference
// counted; CCjob_Destroy takes one reference away). CCjob_Submit uses one
// connection of the process to the server of this machine.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Strings.h"
#include "jobqueue/CCjobBase.h"

// The record a demon command fills for its job (the "classic" form).
struct CCjob_ClassicJob {
  char program[kPathCap] = "";
  std::vector<std::string> arguments;
  std::uint8_t cpuUsage = 1;  // 0 low, 2 free, anything else high
  std::uint32_t priority = 0;
  char workDir[kPathCap] = "";
  char description[kTextCap] = "";
  std::int32_t uid = -1, gid = -1;
  char jobClass[kNameCap] = "";
  char submitterName[kNameCap] = "";
  std::string submitterAddons;
  // A script precondition; with "-" in front it is checked after the conditions.
  char script[kTextCap] = "";
  // "!name" inherits a resource, "?name" asks for one, anything else is a file.
  std::vector<std::string> conditions;
};

// --- Create and destroy: the caller owns each job made here ---------------------------------
CCjobBase_Job CCjob_Nil();
// An inline job of `command`.
CCjobBase_Job CCjob_Create(StrIn command);
// The same for a command line of any length.
CCjobBase_Job CCjob_CreateDS(std::string_view command);
CCjobBase_Job CCjob_CreatePelRipXJob(StrIn pdfFile, StrIn dstPath);
// An inline job of the program and its arguments joined by blanks (cut at
// 8192 characters), with the record's settings, the class's node type and
// its conditions as preconditions.
CCjobBase_Job CCjob_ConvertClassicJob(const CCjob_ClassicJob& record);
CCjobBase_Job CCjob_Copy(CCjobBase_Job job);
void CCjob_Destroy(CCjobBase_Job& job);

// --- Settings ---------------------------------------------------------------------------------
void CCjob_SetExecuteOn(CCjobBase_Job job, std::uint8_t nodeType);
void CCjob_SetCpuUsage(CCjobBase_Job job, std::uint8_t usage);
void CCjob_SetPriority(CCjobBase_Job job, std::uint32_t priority);
void CCjob_SetDescription(CCjobBase_Job job, std::string_view text);
void CCjob_SetUserID(CCjobBase_Job job, std::int32_t uid, std::int32_t gid);
void CCjob_SetWorkDirectory(CCjobBase_Job job, std::string_view dir);
void CCjob_SetSubmitter(CCjobBase_Job job, std::string_view name, std::string_view addons);

// --- Conditions -------------------------------------------------------------------------------
bool CCjob_AddFilePrecondition(CCjobBase_Job job, std::string_view path);
bool CCjob_AddResourcePrecondition(CCjobBase_Job job, std::string_view name);
bool CCjob_AddScriptPrecondition(CCjobBase_Job job, std::string_view command);
// A resource this process holds and passes on to the job.
bool CCjob_InheritResource(CCjobBase_Job job, std::string_view name);
bool CCjob_AddExecutionLimit(CCjobBase_Job job, std::int32_t limit, std::string_view name);
// Clean-up for the job states of `statusSet` (a bit per state).
bool CCjob_AddCleanupRemoveCmd(CCjobBase_Job job, std::uint8_t statusSet, std::string_view file);
bool CCjob_AddCleanupMoveCmd(CCjobBase_Job job, std::uint8_t statusSet, std::string_view from, std::string_view to);
bool CCjob_AddCleanupShellCmd(CCjobBase_Job job, std::uint8_t statusSet, std::string_view command);

// --- Queue ------------------------------------------------------------------------------------
// Submits without waiting over the process's connection (made on first use:
// this machine, 4000 ms). On failure a line on standard error and false.
bool CCjob_Submit(CCjobBase_Job job);
// The queue's status over that connection; 0 when unknown.
std::uint8_t CCjob_GetQueueStatus();
