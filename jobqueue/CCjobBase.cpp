// The record's life and fields, and what is derived from them. The text form
// is in CCjobBaseText.cpp, ids and the job's files in CCjobBaseFiles.cpp.
#include <cmath>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "jobqueue/CCjobBaseRec.h"

namespace {

const std::string kNone;

const std::string& Field(CCjobBase_Job job, std::string CCjobBase_JobRec::*field) {
  return job == nullptr ? kNone : job->*field;
}

void Set(CCjobBase_Job job, std::string CCjobBase_JobRec::*field, std::string_view value) {
  if (job != nullptr) job->*field = value;
}

// The file string of a type: a rip job's PDF, a script, an inline command.
const std::string& TypeString(CCjobBase_Job job, std::uint8_t type) {
  return job == nullptr || job->type != type ? kNone : job->file;
}

void SetTypeString(CCjobBase_Job job, std::uint8_t type, std::string_view value) {
  if (job != nullptr && job->type == type) job->file = value;
}

std::string Escaped(CCjobBase_Job job, std::string_view path) {
  char escaped[kTextCap];
  SFilMisc_EscapeShMetaChars(CCjobBase_LocalPath(job, path), escaped);
  return StrIn(escaped).Str();
}

// An empty pattern value fits all; "<contains>" asks for a part.
bool Fits(std::string_view pattern, std::string_view value) {
  constexpr std::string_view kContains = "<contains>";
  if (pattern.empty()) return true;
  if (pattern.substr(0, kContains.size()) == kContains)
    return value.find(pattern.substr(kContains.size())) != std::string_view::npos;
  return pattern == value;
}

}  // namespace

CCjobBase_Job CCjobBase_Nil() { return nullptr; }

CCjobBase_Job CCjobBase_Create(std::uint8_t type) {
  auto* job = new CCjobBase_JobRec;
  job->type = type <= CCjobBase_InlineJob ? type : CCjobBase_UnknownJob;
  return job;
}

CCjobBase_Job CCjobBase_Copy(CCjobBase_Job job) {
  if (job == nullptr) return nullptr;
  auto* copy = new CCjobBase_JobRec;
  copy->status = job->status;
  copy->priority = job->priority;
  copy->executeOn = job->executeOn;
  copy->cpuUsage = job->cpuUsage;
  Strings_Assign(job->id, copy->id);
  copy->uid = job->uid;
  copy->gid = job->gid;
  copy->timeout = job->timeout;
  copy->employerHost = job->employerHost;
  copy->workDir = job->workDir;
  copy->description = job->description;
  copy->submitterName = job->submitterName;
  copy->submitterAddons = job->submitterAddons;
  copy->flow = job->flow;
  copy->stage = job->stage;
  copy->errorFilename = job->errorFilename;
  copy->progressFilename = job->progressFilename;
  CCprecond_Destroy(copy->preconditions);
  copy->preconditions = CCprecond_Copy(job->preconditions);
  CCrestrict_Destroy(copy->restrictions);
  copy->restrictions = CCrestrict_Copy(job->restrictions);
  CCcleanup_Destroy(copy->cleanupCommands);
  copy->cleanupCommands = CCcleanup_Copy(job->cleanupCommands);
  copy->type = job->type;
  copy->file = job->file;
  copy->dstPath = job->dstPath;
  return copy;
}

void CCjobBase_IncRef(CCjobBase_Job job) {
  if (job != nullptr) ++job->refCount;
}

void CCjobBase_Destroy(CCjobBase_Job& job) {
  if (job != nullptr && --job->refCount <= 0) delete job;
  job = nullptr;
}

std::int32_t CCjobBase_RefCount(CCjobBase_Job job) { return job == nullptr ? 0 : job->refCount; }

std::uint8_t CCjobBase_GetJobType(CCjobBase_Job job) { return job == nullptr ? 0 : job->type; }
std::uint8_t CCjobBase_GetStatus(CCjobBase_Job job) { return job == nullptr ? 0 : job->status; }
void CCjobBase_SetStatus(CCjobBase_Job job, std::uint8_t status) {
  if (job != nullptr) job->status = status;
}
std::uint32_t CCjobBase_GetPriority(CCjobBase_Job job) { return job == nullptr ? 0 : job->priority; }
void CCjobBase_SetPriority(CCjobBase_Job job, std::uint32_t priority) {
  if (job != nullptr) job->priority = priority;
}
std::uint8_t CCjobBase_GetExecuteOn(CCjobBase_Job job) { return job == nullptr ? 0 : job->executeOn; }
void CCjobBase_SetExecuteOn(CCjobBase_Job job, std::uint8_t nodeType) {
  if (job != nullptr) job->executeOn = nodeType;
}
std::uint8_t CCjobBase_GetCpuUsage(CCjobBase_Job job) { return job == nullptr ? 0 : job->cpuUsage; }
void CCjobBase_SetCpuUsage(CCjobBase_Job job, std::uint8_t usage) {
  if (job != nullptr) job->cpuUsage = usage;
}
void CCjobBase_GetId(CCjobBase_Job job, StrOut id) {
  if (job == nullptr) return id.Clear();
  Strings_Assign(job->id, id);
}
void CCjobBase_SetId(CCjobBase_Job job, StrIn id) {
  if (job != nullptr) Strings_Assign(id, job->id);
}
std::int32_t CCjobBase_GetUid(CCjobBase_Job job) { return job == nullptr ? -1 : job->uid; }
std::int32_t CCjobBase_GetGid(CCjobBase_Job job) { return job == nullptr ? -1 : job->gid; }
void CCjobBase_SetUid(CCjobBase_Job job, std::int32_t uid) {
  if (job != nullptr) job->uid = uid;
}
void CCjobBase_SetGid(CCjobBase_Job job, std::int32_t gid) {
  if (job != nullptr) job->gid = gid;
}
double CCjobBase_GetTimeout(CCjobBase_Job job) { return job == nullptr ? 0 : job->timeout; }
void CCjobBase_SetTimeout(CCjobBase_Job job, double seconds) {
  if (job != nullptr && std::isfinite(seconds)) job->timeout = seconds;
}

std::string_view CCjobBase_GetEmployerHost(CCjobBase_Job job) { return Field(job, &CCjobBase_JobRec::employerHost); }
void CCjobBase_SetEmployerHost(CCjobBase_Job job, std::string_view host) { Set(job, &CCjobBase_JobRec::employerHost, host); }
std::string_view CCjobBase_GetWorkDir(CCjobBase_Job job) { return Field(job, &CCjobBase_JobRec::workDir); }
void CCjobBase_SetWorkDir(CCjobBase_Job job, std::string_view dir) { Set(job, &CCjobBase_JobRec::workDir, dir); }
std::string_view CCjobBase_GetDescriptionField(CCjobBase_Job job) { return Field(job, &CCjobBase_JobRec::description); }
void CCjobBase_SetDescription(CCjobBase_Job job, std::string_view text) { Set(job, &CCjobBase_JobRec::description, text); }
std::string_view CCjobBase_GetSubmitterName(CCjobBase_Job job) { return Field(job, &CCjobBase_JobRec::submitterName); }
void CCjobBase_SetSubmitterName(CCjobBase_Job job, std::string_view name) {
  Set(job, &CCjobBase_JobRec::submitterName, name);
}
std::string_view CCjobBase_GetSubmitterAddons(CCjobBase_Job job) {
  return Field(job, &CCjobBase_JobRec::submitterAddons);
}
void CCjobBase_SetSubmitterAddons(CCjobBase_Job job, std::string_view addons) {
  Set(job, &CCjobBase_JobRec::submitterAddons, addons);
}
std::string_view CCjobBase_GetFlow(CCjobBase_Job job) { return Field(job, &CCjobBase_JobRec::flow); }
void CCjobBase_SetFlow(CCjobBase_Job job, std::string_view flow) { Set(job, &CCjobBase_JobRec::flow, flow); }
std::uint32_t CCjobBase_GetStage(CCjobBase_Job job) { return job == nullptr ? 0 : job->stage; }
void CCjobBase_SetStage(CCjobBase_Job job, std::uint32_t stage) {
  if (job != nullptr) job->stage = stage;
}
std::string_view CCjobBase_GetErrorFilenameField(CCjobBase_Job job) {
  return Field(job, &CCjobBase_JobRec::errorFilename);
}
void CCjobBase_SetErrorFilename(CCjobBase_Job job, std::string_view path) {
  Set(job, &CCjobBase_JobRec::errorFilename, path);
}
std::string_view CCjobBase_GetProgressFilenameField(CCjobBase_Job job) {
  return Field(job, &CCjobBase_JobRec::progressFilename);
}
void CCjobBase_SetProgressFilename(CCjobBase_Job job, std::string_view path) {
  Set(job, &CCjobBase_JobRec::progressFilename, path);
}

std::string_view CCjobBase_GetPdfFilename(CCjobBase_Job job) { return TypeString(job, CCjobBase_PelRipXJob); }
void CCjobBase_SetPdfFilename(CCjobBase_Job job, std::string_view path) { SetTypeString(job, CCjobBase_PelRipXJob, path); }
std::string_view CCjobBase_GetDstPath(CCjobBase_Job job) {
  return job == nullptr || job->type != CCjobBase_PelRipXJob ? kNone : job->dstPath;
}
void CCjobBase_SetDstPath(CCjobBase_Job job, std::string_view path) {
  if (job != nullptr && job->type == CCjobBase_PelRipXJob) job->dstPath = path;
}
std::string_view CCjobBase_GetScriptFilename(CCjobBase_Job job) { return TypeString(job, CCjobBase_ScriptJob); }
void CCjobBase_SetScriptFilename(CCjobBase_Job job, std::string_view path) {
  SetTypeString(job, CCjobBase_ScriptJob, path);
}
std::string_view CCjobBase_GetInlineCmd(CCjobBase_Job job) { return TypeString(job, CCjobBase_InlineJob); }
void CCjobBase_SetInlineCmd(CCjobBase_Job job, std::string_view command) {
  SetTypeString(job, CCjobBase_InlineJob, command);
}

CCprecond_List CCjobBase_GetPreconditions(CCjobBase_Job job) { return job == nullptr ? nullptr : job->preconditions; }
CCrestrict_List CCjobBase_GetRestrictions(CCjobBase_Job job) { return job == nullptr ? nullptr : job->restrictions; }
CCcleanup_List CCjobBase_GetCleanupCommands(CCjobBase_Job job) {
  return job == nullptr ? nullptr : job->cleanupCommands;
}

void CCjobBase_GetWorkDirectory(CCjobBase_Job job, StrOut dir) {
  if (job == nullptr) return dir.Clear();
  Strings_Assign(CCjobBase_LocalPath(job, job->workDir), dir);
}

void CCjobBase_GetErrorFilename(CCjobBase_Job job, StrOut path) {
  if (job == nullptr) return path.Clear();
  Strings_Assign(CCjobBase_LocalPath(job, job->errorFilename), path);
}

void CCjobBase_GetProgressFilename(CCjobBase_Job job, StrOut path) {
  if (job == nullptr) return path.Clear();
  Strings_Assign(CCjobBase_LocalPath(job, job->progressFilename), path);
}

std::string CCjobBase_GetCommand(CCjobBase_Job job) {
  if (job == nullptr) return "";
  switch (job->type) {
    case CCjobBase_PelRipXJob: {
      const std::string dst = Escaped(job, job->dstPath);
      return "PelRipX -noGUI -noJobQueue -profileInInput -outputPathCT " + dst + " -outputPathLW " + dst + " " +
             Escaped(job, job->file);
    }
    case CCjobBase_ScriptJob: return Escaped(job, job->file);
    case CCjobBase_InlineJob: return job->file;
    default: return "";
  }
}

std::string CCjobBase_GetDescription(CCjobBase_Job job) {
  if (job == nullptr) return "";
  if (!job->description.empty()) return job->description;
  return std::string(CCjobBase_TypeWord(job->type)) + ": " + job->file;
}

bool CCjobBase_SetJobType(CCjobBase_Job job, std::uint8_t newType) {
  if (job == nullptr) return false;
  if (newType == job->type) return true;
  if (newType != CCjobBase_InlineJob) return false;
  job->file = CCjobBase_GetCommand(job);
  job->dstPath.clear();
  job->type = CCjobBase_InlineJob;
  return true;
}

bool CCjobBase_Match(CCjobBase_Job pattern, CCjobBase_Job job) {
  if (pattern == nullptr) return true;
  if (job == nullptr) return false;
  if (pattern->status != CCtypes_Unknown && pattern->status != job->status) return false;
  if (!Fits(pattern->id, job->id) || !Fits(pattern->workDir, job->workDir) ||
      !Fits(pattern->submitterName, job->submitterName) || !Fits(pattern->submitterAddons, job->submitterAddons))
    return false;
  if (pattern->type == CCjobBase_UnknownJob) return true;
  return pattern->type == job->type && Fits(pattern->file, job->file) && Fits(pattern->dstPath, job->dstPath);
}

void CCjobBase_Cleanup(CCjobBase_Job job) {
  if (job == nullptr) return;
  if (job->status != CCtypes_Failed && job->status != CCtypes_Removed && !job->errorFilename.empty()) {
    char path[kPathCap];
    CCjobBase_GetErrorFilename(job, path);
    Messages_Quietly([&] { return DirAcces_Remove(path); });
  }
  CCcleanup_Cleanup(job->cleanupCommands, job->status);
}

bool CCjobBase_PreconditionsSatisfied(CCjobBase_Job job, CCprecond_FailTable failTable) {
  if (job == nullptr) return false;
  char dir[kPathCap];
  CCjobBase_GetWorkDirectory(job, dir);
  return CCprecond_Check(job->preconditions, dir, failTable, false);
}

void CCjobBase_InheritResourcesToServer(CCjobBase_Job job) {
  if (job != nullptr) CCprecond_InheritResourcesToServer(job->preconditions);
}
