// The job record behind CCjobBase_Job, shared by the files of CCjobBase only.
#pragma once
#include <string>

#include "jobqueue/CCjobBase.h"
#include "jobqueue/CCtypes.h"

struct CCjobBase_JobRec {
  std::int32_t refCount = 1;
  std::uint8_t status = CCtypes_Unknown;
  std::uint32_t priority = 0;
  std::uint8_t executeOn = CCtypes_Local;
  std::uint8_t cpuUsage = CCtypes_CpuHigh;
  char id[kNameCap] = "";
  std::int32_t uid = -1, gid = -1;
  double timeout = 0;
  std::string employerHost, workDir, description, submitterName, submitterAddons, errorFilename, progressFilename;
  std::string flow;
  std::uint32_t stage = 0;
  CCprecond_List preconditions = CCprecond_Create();
  CCrestrict_List restrictions = CCrestrict_Create();
  CCcleanup_List cleanupCommands = CCcleanup_Create();
  std::uint8_t type = CCjobBase_UnknownJob;
  // By type: the PDF file (1), the script (2) or the command line (3) ...
  std::string file;
  // ... and the destination of a rip job.
  std::string dstPath;

  CCjobBase_JobRec() = default;
  CCjobBase_JobRec(const CCjobBase_JobRec&) = delete;
  CCjobBase_JobRec& operator=(const CCjobBase_JobRec&) = delete;
  ~CCjobBase_JobRec() {
    CCprecond_Destroy(preconditions);
    CCrestrict_Destroy(restrictions);
    CCcleanup_Destroy(cleanupCommands);
  }
};

// Whether the flag NFS_PREFIX_BEHAVIOUR is set and the job's employer is
// another host, so that its paths must be seen through "/nfs".
bool CCjobBase_NeedsPrefix(CCjobBase_Job job);
// `path` as this host sees it for `job`.
std::string CCjobBase_LocalPath(CCjobBase_Job job, std::string_view path);
