#include "jobqueue/CCjob.h"

#include <cstdio>

#include "base/Argument.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjobClass.h"
#include "jobqueue/CCtypes.h"

namespace {

constexpr std::size_t kClassicCommandCap = 8192;
constexpr int kSubmitTimeoutMs = 4000;

SClient Connection() {
  static SClient conn = nullptr;
  if (conn == nullptr) conn = CCclient_Connect("", kSubmitTimeoutMs, nullptr);
  return conn;
}

}  // namespace

CCjobBase_Job CCjob_Nil() { return nullptr; }

CCjobBase_Job CCjob_Create(StrIn command) { return CCjob_CreateDS(command.View()); }

CCjobBase_Job CCjob_CreateDS(std::string_view command) {
  CCjobBase_Job job = CCjobBase_Create(CCjobBase_InlineJob);
  CCjobBase_SetInlineCmd(job, command);
  return job;
}

CCjobBase_Job CCjob_CreatePelRipXJob(StrIn pdfFile, StrIn dstPath) {
  CCjobBase_Job job = CCjobBase_Create(CCjobBase_PelRipXJob);
  CCjobBase_SetPdfFilename(job, pdfFile.View());
  CCjobBase_SetDstPath(job, dstPath.View());
  return job;
}

CCjobBase_Job CCjob_ConvertClassicJob(const CCjob_ClassicJob& r) {
  // 1. The command line.
  std::string command = StrIn(r.program).Str();
  for (const std::string& argument : r.arguments) command += " " + argument;
  CCjobBase_Job job = CCjob_CreateDS(std::string_view(command).substr(0, kClassicCommandCap));
  // 2. CPU usage: low and free stay, everything else is high.
  CCjobBase_SetCpuUsage(job, r.cpuUsage == CCtypes_CpuLow || r.cpuUsage == CCtypes_CpuFree ? r.cpuUsage
                                                                                           : CCtypes_CpuHigh);
  // 3. The plain fields; 4. where the class runs; 5. who submits.
  CCjobBase_SetPriority(job, r.priority);
  CCjobBase_SetWorkDir(job, StrIn(r.workDir).View());
  CCjobBase_SetDescription(job, StrIn(r.description).View());
  CCjob_SetUserID(job, r.uid, r.gid);
  CCjobBase_SetExecuteOn(job, CCjobClass_ExecuteOn(r.jobClass));
  CCjob_SetSubmitter(job, StrIn(r.submitterName).View(), r.submitterAddons);
  // 6. The script comes first, unless a dash puts it last.
  const std::string_view script = StrIn(r.script).View();
  if (!script.empty() && script.front() != '-') CCjob_AddScriptPrecondition(job, script);
  // 7. The conditions.
  for (const std::string& condition : r.conditions) {
    if (condition.empty()) continue;
    if (condition.front() == '!') CCjob_InheritResource(job, std::string_view(condition).substr(1));
    else if (condition.front() == '?') CCjob_AddResourcePrecondition(job, std::string_view(condition).substr(1));
    else CCjob_AddFilePrecondition(job, condition);
  }
  if (!script.empty() && script.front() == '-') CCjob_AddScriptPrecondition(job, script.substr(1));
  return job;
}

CCjobBase_Job CCjob_Copy(CCjobBase_Job job) { return CCjobBase_Copy(job); }
void CCjob_Destroy(CCjobBase_Job& job) { CCjobBase_Destroy(job); }

void CCjob_SetExecuteOn(CCjobBase_Job job, std::uint8_t nodeType) { CCjobBase_SetExecuteOn(job, nodeType); }
void CCjob_SetCpuUsage(CCjobBase_Job job, std::uint8_t usage) { CCjobBase_SetCpuUsage(job, usage); }
void CCjob_SetPriority(CCjobBase_Job job, std::uint32_t priority) { CCjobBase_SetPriority(job, priority); }
void CCjob_SetDescription(CCjobBase_Job job, std::string_view text) { CCjobBase_SetDescription(job, text); }

void CCjob_SetUserID(CCjobBase_Job job, std::int32_t uid, std::int32_t gid) {
  CCjobBase_SetUid(job, uid);
  CCjobBase_SetGid(job, gid);
}

void CCjob_SetWorkDirectory(CCjobBase_Job job, std::string_view dir) { CCjobBase_SetWorkDir(job, dir); }

void CCjob_SetSubmitter(CCjobBase_Job job, std::string_view name, std::string_view addons) {
  CCjobBase_SetSubmitterName(job, name);
  CCjobBase_SetSubmitterAddons(job, addons);
}

bool CCjob_AddFilePrecondition(CCjobBase_Job job, std::string_view path) {
  return CCprecond_AddPrecondition(CCjobBase_GetPreconditions(job), CCprecond_File, path);
}

bool CCjob_AddResourcePrecondition(CCjobBase_Job job, std::string_view name) {
  return CCprecond_AddPrecondition(CCjobBase_GetPreconditions(job), CCprecond_Resource, name);
}

bool CCjob_AddScriptPrecondition(CCjobBase_Job job, std::string_view command) {
  return CCprecond_AddPrecondition(CCjobBase_GetPreconditions(job), CCprecond_Script, command);
}

bool CCjob_InheritResource(CCjobBase_Job job, std::string_view name) {
  return CCprecond_AddInheritedResource(CCjobBase_GetPreconditions(job), name);
}

bool CCjob_AddExecutionLimit(CCjobBase_Job job, std::int32_t limit, std::string_view name) {
  return CCrestrict_AddExecutionLimit(CCjobBase_GetRestrictions(job), limit, name);
}

bool CCjob_AddCleanupRemoveCmd(CCjobBase_Job job, std::uint8_t statusSet, std::string_view file) {
  return CCcleanup_AddCommand(CCjobBase_GetCleanupCommands(job), statusSet, CCcleanup_Remove, file, "");
}

bool CCjob_AddCleanupMoveCmd(CCjobBase_Job job, std::uint8_t statusSet, std::string_view from, std::string_view to) {
  return CCcleanup_AddCommand(CCjobBase_GetCleanupCommands(job), statusSet, CCcleanup_Move, from, to);
}

bool CCjob_AddCleanupShellCmd(CCjobBase_Job job, std::uint8_t statusSet, std::string_view command) {
  return CCcleanup_AddCommand(CCjobBase_GetCleanupCommands(job), statusSet, CCcleanup_Shell, command, "");
}

bool CCjob_Submit(CCjobBase_Job job) {
  if (CCclient_SubmitJob(Connection(), job, true)) return true;
  char binary[kNameCap], error[kTextCap];
  Argument_GetBinaryName(binary);
  SClient_GetError(Connection(), error);
  std::fprintf(stderr, "%s: CCjob.Submit() failed. %s\n", StrIn(binary).Str().c_str(), StrIn(error).Str().c_str());
  return false;
}

std::uint8_t CCjob_GetQueueStatus() { return CCclient_GetQueueStatus(Connection()); }
