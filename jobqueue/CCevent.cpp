#include "jobqueue/CCevent.h"

#include <cstdio>

#include "jobqueue/CCtypes.h"

namespace {

// A string field cut to what its reader takes.
void WriteBounded(SEvent out, StrIn text, std::size_t most) { SEvent_WriteString(out, text.View().substr(0, most)); }

void WriteWord(SEvent out, void (*word)(std::uint8_t, StrOut), std::uint8_t value) {
  char text[kNameCap];
  word(value, StrOut(text));
  SEvent_WriteString(out, StrIn(text).View());
}

bool ReadWord(SEvent in, std::uint8_t (*number)(StrIn), std::uint8_t& value) {
  char text[kNameCap];
  if (!SEvent_ReadString(in, text)) return false;
  value = number(StrIn(text));
  return true;
}

std::uint8_t JobTypeOf(StrIn word) { return CCjobBase_TypeOfWord(word.View()); }
void JobTypeWord(std::uint8_t type, StrOut word) { Strings_Assign(StrIn::C(CCjobBase_TypeWord(type)), word); }

bool ReadJob(SEvent in, CCevent_Event& e) {
  std::uint32_t priority = 0;
  const bool ok = SEvent_ReadCard(in, e.kind) && SEvent_ReadBoolean(in, e.inFailedQueue) &&
                  SEvent_ReadInt(in, e.queuePosition) && SEvent_ReadString(in, e.workerName) &&
                  ReadWord(in, JobTypeOf, e.jobType) && SEvent_ReadString(in, e.id) &&
                  ReadWord(in, CCtypes_StringToCpuUsage, e.cpuUsage) &&
                  ReadWord(in, CCtypes_StringToJobStatus, e.status) && SEvent_ReadCard(in, priority) &&
                  SEvent_ReadString(in, e.description) && SEvent_ReadString(in, e.errorFile) &&
                  SEvent_ReadString(in, e.progressFile) && ReadWord(in, CCtypes_StringToNodeType, e.executeOn);
  e.priority = priority;
  return ok;
}

bool ReadBody(SEvent in, CCevent_Event& e) {
  std::uint32_t value = 0;
  switch (e.type) {
    case CCevent_Queue:
      if (!SEvent_ReadCard(in, e.kind) || !SEvent_ReadCard(in, value) || value > 255) return false;
      e.queueStatus = static_cast<std::uint8_t>(value);
      return true;
    case CCevent_Job: return ReadJob(in, e);
    case CCevent_Cluster:
      if (!SEvent_ReadEnum(in, 2, e.kind)) return false;
      if (e.kind != CCevent_WorkerStatus) return true;
      if (!SEvent_ReadString(in, e.workerName) || !SEvent_ReadEnum(in, 2, value)) return false;
      e.workerStatus = static_cast<std::uint8_t>(value);
      return true;
    case CCevent_Error:
      return SEvent_ReadInt(in, e.errorNumber) && SEvent_ReadString(in, e.source) && SEvent_ReadString(in, e.text);
    default: return false;
  }
}

// The closing line feed, and nothing behind it.
bool ReadEnd(SEvent in) {
  char lineFeed = 0;
  return SEvent_ReadChar(in, lineFeed) && lineFeed == '\n' && SEvent_AtEnd(in);
}

bool Dropped(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  return false;
}

}  // namespace

void CCevent_FromJob(CCjobBase_Job job, std::uint32_t kind, CCevent_Event& event) {
  event.type = CCevent_Job;
  event.kind = kind;
  event.jobType = CCjobBase_GetJobType(job);
  CCjobBase_GetId(job, event.id);
  event.cpuUsage = CCjobBase_GetCpuUsage(job);
  event.status = CCjobBase_GetStatus(job);
  event.priority = CCjobBase_GetPriority(job);
  Strings_Assign(CCjobBase_GetDescription(job), event.description);
  CCjobBase_GetErrorFilename(job, event.errorFile);
  if (event.status == CCtypes_Running) CCjobBase_GetProgressFilename(job, event.progressFile);
  else event.progressFile[0] = '\0';
  event.executeOn = CCjobBase_GetExecuteOn(job);
}

void CCevent_Write(const CCevent_Event& e, SEvent out) {
  SEvent_WriteCard(out, 1);
  SEvent_WriteCard(out, e.type);
  switch (e.type) {
    case CCevent_Queue:
      SEvent_WriteCard(out, e.kind);
      SEvent_WriteCard(out, e.queueStatus);
      break;
    case CCevent_Job:
      SEvent_WriteCard(out, e.kind);
      SEvent_WriteBoolean(out, e.inFailedQueue);
      SEvent_WriteInt(out, e.queuePosition);
      WriteBounded(out, e.workerName, kNameCap);
      WriteWord(out, JobTypeWord, e.jobType);
      WriteBounded(out, e.id, kNameCap);
      WriteWord(out, CCtypes_CpuUsageToString, e.cpuUsage);
      WriteWord(out, CCtypes_JobStatusToString, e.status);
      SEvent_WriteCard(out, e.priority);
      WriteBounded(out, e.description, kTextCap);
      WriteBounded(out, e.errorFile, kPathCap);
      WriteBounded(out, e.progressFile, kPathCap);
      WriteWord(out, CCtypes_NodeTypeToString, e.executeOn);
      break;
    case CCevent_Cluster:
      SEvent_WriteCard(out, e.kind);
      if (e.kind != CCevent_WorkerStatus) break;
      WriteBounded(out, e.workerName, kNameCap);
      SEvent_WriteCard(out, e.workerStatus);
      break;
    case CCevent_Error:
      SEvent_WriteInt(out, e.errorNumber);
      WriteBounded(out, e.source, kNameCap);
      WriteBounded(out, e.text, kPathCap);
      break;
    default: break;
  }
  SEvent_WriteChar(out, '\n');
}

bool CCevent_Read(SEvent in, CCevent_Event& event) {
  event = CCevent_Event{};
  std::uint32_t version = 0, type = 0;
  if (!SEvent_ReadEnum(in, 1, version) || !SEvent_ReadEnum(in, 4, type))
    return Dropped("Syntax error in received event");
  event.type = static_cast<std::uint8_t>(type);
  if (!ReadBody(in, event) || !ReadEnd(in)) return Dropped("Syntax error in received event");
  return true;
}

void CCevent_Description(const CCevent_Event& event, StrOut text) {
  switch (event.type) {
    case CCevent_Queue: return Strings_Assign("QueueEvent", text);
    case CCevent_Job: return Strings_Assign("JobEvent " + StrIn(event.id).Str(), text);
    case CCevent_Cluster: return Strings_Assign("ClusterEvent", text);
    case CCevent_Error: return Strings_Assign("ErrorEvent", text);
    default: return text.Clear();
  }
}

void CCjobEvent_FromJob(CCjobBase_Job job, bool removed, CCjobEvent_Event& event) {
  CCjobBase_GetId(job, event.id);
  event.status = CCjobBase_GetStatus(job);
  event.removed = removed;
  event.submitterName = CCjobBase_GetSubmitterName(job);
  event.submitterAddons = CCjobBase_GetSubmitterAddons(job);
}

void CCjobEvent_Write(const CCjobEvent_Event& e, SEvent out) {
  SEvent_WriteCard(out, 1);
  WriteBounded(out, e.id, kNameCap);
  WriteWord(out, CCtypes_JobStatusToString, e.status);
  SEvent_WriteBoolean(out, e.removed);
  SEvent_WriteString(out, e.submitterName);
  SEvent_WriteString(out, e.submitterAddons);
  SEvent_WriteChar(out, '\n');
}

bool CCjobEvent_Read(SEvent in, CCjobEvent_Event& event) {
  event = CCjobEvent_Event{};
  std::uint32_t version = 0;
  const bool ok = SEvent_ReadEnum(in, 1, version) && SEvent_ReadString(in, event.id) &&
                  ReadWord(in, CCtypes_StringToJobStatus, event.status) && SEvent_ReadBoolean(in, event.removed) &&
                  SEvent_ReadDynString(in, event.submitterName) && SEvent_ReadDynString(in, event.submitterAddons) &&
                  ReadEnd(in);
  return ok || Dropped("Syntax error in received job event");
}

void CCjobEvent_Description(const CCjobEvent_Event& event, StrOut text) {
  Strings_Assign(StrIn::C(event.removed ? "Job removed" : "Job status changed"), text);
}
