#include "services/CCserver/CCjobs.h"

#include <algorithm>
#include <map>

#include "services/CCserver/CCnotify.h"
#include "base/DirAcces.h"
#include "base/Processe.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/SClient.h"
#include "jobqueue/SRMproto.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPreconditionPause = std::chrono::seconds(1);

std::string Id(CCjobBase_Job job) {
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  return StrIn(id).Str();
}

void Record(const CCqueue_Entry* e) {
  CCstore_PutJob(e->id, {e->seq, e->inFailed, e->worker, CCjobBase_JobToString(e->job)});
}

void Tell(const CCqueue_Entry* e, std::uint32_t kind) {
  CCnotify_JobChange(e->job, kind, e->inFailed, CCqueue_Position(e), e->worker);
}

void SetStatus(CCqueue_Entry* e, std::uint8_t status) {
  CCjobBase_SetStatus(e->job, status);
  CCqueue_Update(e);
  Tell(e, CCevent_StatusChanged);
}

bool Waits(const CCqueue_Entry* e) {
  const std::uint8_t status = CCjobBase_GetStatus(e->job);
  return !e->inFailed && (status == CCtypes_Waiting || status == CCtypes_WaitingForPrecond);
}

// Takes the job out of its list, telling who listens.
CCqueue_Owned Unlist(CCqueue_Entry* e) {
  Tell(e, CCevent_JobRemoved);
  if (!e->inFailed) CCnotify_JobStatus(e->job, true);
  return CCqueue_Take(e);
}

bool Fits(const CCqueue_Entry* e, bool local, std::uint8_t cpuUsages, std::uint32_t jobTypes) {
  if ((cpuUsages >> CCjobBase_GetCpuUsage(e->job) & 1U) == 0) return false;
  if (jobTypes != 0 && (jobTypes >> CCjobBase_GetJobType(e->job) & 1U) == 0) return false;
  return local || CCjobBase_GetExecuteOn(e->job) != CCtypes_Local;
}

// Its preconditions, at most once a second while they fail.
bool Ready(CCqueue_Entry* e, CCprecond_FailTable failTable) {
  if (CCprecond_Count(CCjobBase_GetPreconditions(e->job)) == 0) return true;
  const Clock::time_point now = Clock::now();
  if (CCjobBase_GetStatus(e->job) == CCtypes_WaitingForPrecond && now - e->checked < kPreconditionPause) return false;
  e->checked = now;
  if (CCjobBase_PreconditionsSatisfied(e->job, failTable)) return true;
  if (CCjobBase_GetStatus(e->job) != CCtypes_WaitingForPrecond) {
    SetStatus(e, CCtypes_WaitingForPrecond);
    CCnotify_JobStatus(e->job, false);
  }
  return false;
}

// Whether the job may start now: within its restrictions, its preconditions hold.
bool Startable(CCqueue_Entry* e, CCprecond_FailTable failTable) {
  return CCrestrict_Check(CCjobBase_GetRestrictions(e->job), CCqueue_Restrictions()) && Ready(e, failTable);
}

// What StartNext asks of a job besides waiting.
struct Wanted {
  bool local;
  std::uint8_t cpuUsages;
  std::uint32_t jobTypes;
  CCprecond_FailTable failTable;
};

bool Takes(CCqueue_Entry* e, void* context) {
  const auto& w = *static_cast<const Wanted*>(context);
  return Fits(e, w.local, w.cpuUsages, w.jobTypes) && Startable(e, w.failTable);
}

// The last server's hold on `name` goes: the resource manager frees what
// that process held, now that this one holds it.
void ForgetOwner(SClient& rm, const std::string& host, std::int32_t pid, const std::string& name) {
  static SProtocol protocol = SRMproto_Protocol();
  if (rm == nullptr) rm = SClient_Connect("", 5000, 0, protocol, nullptr);
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString(host));
  SReqObj_Append(params, SReqObj_CreateInteger(pid));
  SReqObj_Append(params, SReqObj_CreateString(name));
  SClient_Send(rm, SRMproto_FREE, params, nullptr);
}

void TakeOverResources(CCqueue_Entry* e, const CCstore_State& last, SClient& rm) {
  CCprecond_List list = CCjobBase_GetPreconditions(e->job);
  const bool running = CCjobBase_GetStatus(e->job) == CCtypes_Running;
  CCprecond_UseResources(list, running);
  CCprecond_Entry p = nullptr;
  for (bool first = true; CCprecond_IteratePreconditions(list, first, p); first = false)
    if (CCprecond_Type(p) == CCprecond_Resource && (running || CCprecond_IsInherited(p)) && last.ownerPid > 0)
      ForgetOwner(rm, last.ownerHost, last.ownerPid, std::string(CCprecond_GetName(p)));
}

}  // namespace

CCqueue_Entry* CCjobs_Accept(CCjobBase_Job job) {
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  if (id[0] == '\0') {
    CCjobBase_GenerateId(id);
    CCjobBase_SetId(job, id);
  }
  if (CCqueue_Find(StrIn(id).Str()) != nullptr) return nullptr;
  if (CCjobBase_GetEmployerHost(job).empty()) {
    char host[kNameCap];
    DirAcces_GetMachineName(host);
    CCjobBase_SetEmployerHost(job, StrIn(host).View());
  }
  CCjobBase_SetStatus(job, CCtypes_Waiting);
  CCjobBase_GenerateErrorFilename(job);
  CCjobBase_GenerateProgressFilename(job);
  CCprecond_UseResources(CCjobBase_GetPreconditions(job), false);
  auto owned = std::make_unique<CCqueue_Entry>();
  owned->job = job;
  owned->id = StrIn(id).Str();
  owned->seq = CCqueue_NextSeq();
  CCqueue_Entry* e = CCqueue_Insert(std::move(owned));
  Record(e);
  CCstore_WantDurable();
  Tell(e, CCevent_JobAdded);
  CCnotify_JobStatus(e->job, false);
  return e;
}

CCqueue_Entry* CCjobs_StartNext(const std::string& worker, bool local, std::uint8_t cpuUsages,
                                std::uint32_t jobTypes) {
  Wanted wanted{local, cpuUsages, jobTypes, CCprecond_CreateFailTable()};
  CCqueue_Entry* chosen = CCqueue_FirstWaiting(cpuUsages, Takes, &wanted);
  CCprecond_DestroyFailTable(wanted.failTable);
  if (chosen == nullptr) return nullptr;
  chosen->worker = worker;
  CCrestrict_Enter(CCjobBase_GetRestrictions(chosen->job), chosen->id, CCqueue_Restrictions());
  CCjobBase_SetStatus(chosen->job, CCtypes_Running);
  CCqueue_Update(chosen);
  Record(chosen);
  Tell(chosen, CCevent_StatusChanged);
  CCnotify_JobStatus(chosen->job, false);
  return chosen;
}

void CCjobs_Finish(CCqueue_Entry* e, std::uint8_t status) {
  CCjobBase_SetStatus(e->job, status);
  CCrestrict_Delete(CCjobBase_GetRestrictions(e->job), e->id, CCqueue_Restrictions());
  CCprecond_ReleaseResources(CCjobBase_GetPreconditions(e->job), true);
  Tell(e, CCevent_StatusChanged);
  CCqueue_Owned owned = Unlist(e);
  // Clean-up commands may take their time: a child of our own runs them.
  if (CCcleanup_Count(CCjobBase_GetCleanupCommands(owned->job)) == 0) CCjobBase_Cleanup(owned->job);
  else if (Processe_Fork() == 0) CCjobBase_Cleanup(owned->job), Processe_Exit();
  if (status != CCtypes_Failed) return CCstore_RemoveJob(owned->id);
  owned->inFailed = true;
  owned->worker.clear();
  CCqueue_Entry* failed = CCqueue_Insert(std::move(owned));
  Record(failed);
  Tell(failed, CCevent_JobAdded);
}

void CCjobs_Remove(CCqueue_Entry* e) {
  if (!e->inFailed) {
    CCprecond_ReleaseResources(CCjobBase_GetPreconditions(e->job), true);
    CCjobBase_SetStatus(e->job, CCtypes_Removed);
    CCjobBase_Cleanup(e->job);
  }
  CCqueue_Owned owned = Unlist(e);
  CCstore_RemoveJob(owned->id);
}

void CCjobs_Requeue(CCqueue_Entry* e) {
  if (e->inFailed) {
    CCqueue_Owned owned = Unlist(e);
    owned->inFailed = false;
    owned->seq = CCqueue_NextSeq();
    owned->since = {};  // it waits anew
    CCprecond_UseResources(CCjobBase_GetPreconditions(owned->job), false);
    CCjobBase_SetStatus(owned->job, CCtypes_Waiting);
    e = CCqueue_Insert(std::move(owned));
    Tell(e, CCevent_JobAdded);
  } else {
    CCrestrict_Delete(CCjobBase_GetRestrictions(e->job), e->id, CCqueue_Restrictions());
    CCprecond_ReleaseResources(CCjobBase_GetPreconditions(e->job), false);
    e->worker.clear();
    SetStatus(e, CCtypes_Waiting);
  }
  e->cancelRequested = false;
  Record(e);
  CCstore_WantDurable();
  CCnotify_JobStatus(e->job, false);
}

void CCjobs_Raise(const std::vector<CCqueue_Entry*>& entries) {
  std::map<const CCqueue_Entry*, std::int32_t> before;
  for (const CCqueue_Entry* e : CCqueue_Actual()) before[e] = CCqueue_Position(e);
  std::uint32_t top = 0;
  for (const CCqueue_Entry* e : CCqueue_Actual())
    if (Waits(e)) top = std::max(top, CCjobBase_GetPriority(e->job));
  // The last one first, so that each goes in front of those after it.
  for (auto at = entries.rbegin(); at != entries.rend(); ++at) {
    CCqueue_Entry* e = *at;
    if (!Waits(e)) continue;
    CCjobBase_SetPriority(e->job, std::max(top, CCjobBase_GetPriority(e->job)));
    e->seq = CCqueue_FrontSeq();
    CCqueue_Reorder(e);
    Record(e);
  }
  for (const CCqueue_Entry* e : CCqueue_Actual())
    if (before[e] != CCqueue_Position(e)) Tell(e, CCevent_PositionChanged);
}

void CCjobs_Modify(CCqueue_Entry* e, CCjobBase_Job job) {
  CCjobBase_SetId(job, e->id);
  CCjobBase_SetStatus(job, CCjobBase_GetStatus(e->job));
  CCjobBase_SetEmployerHost(job, CCjobBase_GetEmployerHost(e->job));
  CCjobBase_SetErrorFilename(job, CCjobBase_GetErrorFilenameField(e->job));
  CCjobBase_SetProgressFilename(job, CCjobBase_GetProgressFilenameField(e->job));
  const std::int32_t position = CCqueue_Position(e);
  // The new inherited resources are taken before the old ones go.
  CCprecond_UseResources(CCjobBase_GetPreconditions(job), false);
  CCprecond_ReleaseResources(CCjobBase_GetPreconditions(e->job), true);
  CCjobBase_Destroy(e->job);
  e->job = job;
  CCqueue_Reorder(e);
  Record(e);
  CCstore_WantDurable();
  Tell(e, CCevent_JobModified);
  if (position != CCqueue_Position(e)) Tell(e, CCevent_PositionChanged);
}

std::size_t CCjobs_Waiting(std::uint8_t& cpuUsages) { return CCqueue_WaitingCount(cpuUsages); }

bool CCjobs_PreconditionCheckDue() {
  const Clock::time_point now = Clock::now();
  for (const CCqueue_Entry* e : CCqueue_WaitingForPrecond())
    if (now - e->checked >= kPreconditionPause) return true;
  return false;
}

CCstore_State CCjobs_State(std::uint8_t queueStatus) {
  CCstore_State state;
  state.queueStatus = queueStatus;
  for (const auto* list : {&CCqueue_Actual(), &CCqueue_Failed()})
    for (const CCqueue_Entry* e : *list)
      state.jobs[e->id] = {e->seq, e->inFailed, e->worker, CCjobBase_JobToString(e->job)};
  return state;
}

void CCjobs_Recover(const CCstore_State& state) {
  SClient rm = nullptr;
  for (const auto& [id, stored] : state.jobs) {
    CCjobBase_Job job = CCjobBase_CreateFromString(stored.text);
    if (job == nullptr || Id(job) != id) {
      CCjobBase_Destroy(job);
      continue;
    }
    auto owned = std::make_unique<CCqueue_Entry>();
    owned->job = job;
    owned->id = id;
    owned->seq = stored.seq;
    owned->inFailed = stored.inFailed;
    CCqueue_SeenSeq(stored.seq);
    const bool running = !stored.inFailed && CCjobBase_GetStatus(job) == CCtypes_Running && !stored.worker.empty();
    if (running) owned->worker = stored.worker;
    else if (!stored.inFailed) CCjobBase_SetStatus(job, CCtypes_Waiting);
    CCqueue_Entry* e = CCqueue_Insert(std::move(owned));
    if (running) CCrestrict_Enter(CCjobBase_GetRestrictions(job), id, CCqueue_Restrictions());
    if (!stored.inFailed) TakeOverResources(e, state, rm);
  }
  SClient_CloseConn(rm);
}
