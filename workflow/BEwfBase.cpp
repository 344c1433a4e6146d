// BEwfBase: making and submitting the jobs of the demon and its commands.
#include "workflow/BEwfBase.h"

#include <cstdlib>

#include "base/DirAcces.h"
#include "jobqueue/CCjobClass.h"
#include "jobqueue/CCtypes.h"
#include "watch/TVWbase.h"
#include "watch/TVWcfg.h"
#include "workflow/WFmodule.h"

CCjobBase_Job BEwfBase_CreateJob(const CCjob_ClassicJob& record, StrVector files, bool highCpu) {
  CCjob_ClassicJob r = record;
  r.cpuUsage = highCpu ? CCtypes_CpuHigh : CCtypes_CpuLow;
  CCjobBase_Job job = CCjob_ConvertClassicJob(r);
  // Where the job runs is the class's of the directory's module kind.
  NameStr jobClass;
  WFmodule_GetJobClassName(WFmodule_ModuleKindByPath(r.workDir), jobClass);
  CCjobBase_SetExecuteOn(job, CCjobClass_ExecuteOn(jobClass));
  TextStr addons;
  TVWbase_EncodeJobAddons(r.workDir, StrIn::C(std::getenv(CCtypes_jobIdEnvVar)), files, addons);
  CCjob_SetSubmitter(job, TVWbase_demonName, StrIn(addons).View());
  NameStr host;
  DirAcces_GetMachineName(host);
  CCjobBase_SetEmployerHost(job, StrIn(host).View());
  return job;
}

bool BEwfBase_SubmitJob(CCjob_ClassicJob& record, StrVector files) {
  DirAcces_LogicalCurrentDir(record.workDir);
  CCjobBase_Job job = BEwfBase_CreateJob(record, files, TVWcfg_HighCPUUsage(record.workDir));
  const bool submitted = CCjob_Submit(job);
  CCjob_Destroy(job);
  return submitted;
}
