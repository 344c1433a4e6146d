// The queue window's lists, as the server's events build them.
//
// The server tells a job's place in its list at the time of the event, and
// tells only the job the change concerns: when a job leaves, those behind it
// move up without a word. So the window keeps the server's order itself: a
// job added or moved goes to its told place in the list as it stands, and
// every place is counted anew from the list when it is shown.
#include <algorithm>
#include <cstdio>

#include "base/DirAcces.h"
#include "base/SPrintf.h"
#include "jobqueue/CCtypes.h"
#include "queuewin/CCqueueIntRec.h"

std::size_t CCqueueInt_JobList::IndexOf(const CCqueueInt_Job* job, std::size_t hint) const {
  if (hint < jobs.size() && jobs[hint] == job) return hint;
  return static_cast<std::size_t>(std::find(jobs.begin(), jobs.end(), job) - jobs.begin());
}

CCqueueInt_Lists::~CCqueueInt_Lists() {
  ClearAll();
  ClearWorkers();
  Bury();
}

void CCqueueInt_Lists::Bury() {
  for (CCqueueInt_Job* job : goneJobs) delete job;
  goneJobs.clear();
  for (CCqueueInt_Worker* w : goneWorkers) delete w;
  goneWorkers.clear();
}

void CCqueueInt_Lists::ClearActual() {
  for (CCqueueInt_Job* job : actual.jobs) byId.erase(job->id);
  goneJobs.insert(goneJobs.end(), actual.jobs.begin(), actual.jobs.end());
  actual.jobs.clear();
}

void CCqueueInt_Lists::ClearAll() {
  ClearActual();
  goneJobs.insert(goneJobs.end(), failed.jobs.begin(), failed.jobs.end());
  failed.jobs.clear();
  byId.clear();
}

void CCqueueInt_Lists::ClearWorkers() {
  goneWorkers.insert(goneWorkers.end(), workers.begin(), workers.end());
  workers.clear();
  workersChanged = true;
}

void CCqueueInt_WorkerName(StrIn name, StrOut shown, bool& local) {
  local = name.View().empty() || name.View() == CCtypes_localWorkerName;
  if (local) DirAcces_GetMachineName(shown);
  else Strings_Assign(name, shown);
}

namespace {

// Index `position - 1`, within the list.
std::size_t Place(const CCqueueInt_JobList& list, std::int32_t position) {
  if (position < 1) return list.jobs.size();
  return std::min(list.jobs.size(), static_cast<std::size_t>(position - 1));
}

void Fill(CCqueueInt_Job& job, const CCevent_Event& e) {
  job.status = e.status;
  job.cpuUsage = e.cpuUsage;
  job.priority = e.priority;
  Strings_Assign("%d", job.priorityText);
  SPrintf_Card(job.priorityText, e.priority);
  if (e.status == CCtypes_Running || e.workerName[0] != '\0') {
    bool local = false;
    CCqueueInt_WorkerName(e.workerName, job.host, local);
  }
  if (e.status != CCtypes_Running && e.status != CCtypes_Done && e.status != CCtypes_Failed) job.host[0] = '\0';
  job.fullDescription = StrIn(e.description).Str();
  Strings_Assign(e.description, job.description);
  job.jobType = e.jobType;
  job.executeOn = e.executeOn;
  if (e.errorFile[0] != '\0') job.errorFile = StrIn(e.errorFile).Str();
  job.progressFile = StrIn(e.progressFile).Str();
  if (e.status != CCtypes_Running) {
    job.progress = -1;
    job.progressText.clear();
  }
}

void Remove(CCqueueInt_Lists& lists, CCqueueInt_Job* job, std::int32_t position) {
  CCqueueInt_JobList& list = job->inFailed ? lists.failed : lists.actual;
  const std::size_t at = list.IndexOf(job, static_cast<std::size_t>(std::max(position - 1, 0)));
  if (at < list.jobs.size()) list.jobs.erase(list.jobs.begin() + static_cast<std::ptrdiff_t>(at));
  lists.byId.erase(job->id);
  lists.goneJobs.push_back(job);
}

bool JobEvent(CCqueueInt_Lists& lists, const CCevent_Event& e) {
  const auto found = lists.byId.find(e.id);
  CCqueueInt_Job* job = found == lists.byId.end() ? nullptr : found->second;
  // An event of the other list than the job's is of another job of that id
  // (a failed job requeued, a finished one failed): the old one goes.
  if (job != nullptr && job->inFailed != e.inFailedQueue && e.kind == CCevent_JobAdded) {
    Remove(lists, job, 0);
    job = nullptr;
  }
  CCqueueInt_JobList& list = e.inFailedQueue ? lists.failed : lists.actual;
  switch (e.kind) {
    case CCevent_JobAdded: {
      if (job != nullptr) {  // told twice: as a move and a change
        Fill(*job, e);
        return true;
      }
      job = new CCqueueInt_Job{};
      Strings_Assign(e.id, job->id);
      job->inFailed = e.inFailedQueue;
      job->progress = -1;
      Fill(*job, e);
      list.jobs.insert(list.jobs.begin() + static_cast<std::ptrdiff_t>(Place(list, e.queuePosition)), job);
      lists.byId.emplace(job->id, job);
      return true;
    }
    case CCevent_JobRemoved:
      if (job == nullptr || job->inFailed != e.inFailedQueue) return false;
      Remove(lists, job, e.queuePosition);
      return true;
    case CCevent_StatusChanged:
    case CCevent_JobModified:
      if (job == nullptr) return false;
      Fill(*job, e);
      return true;
    case CCevent_PositionChanged: {
      if (job == nullptr || job->inFailed != e.inFailedQueue) return false;
      const std::size_t at = list.IndexOf(job, 0);
      if (at >= list.jobs.size()) return false;
      list.jobs.erase(list.jobs.begin() + static_cast<std::ptrdiff_t>(at));
      list.jobs.insert(list.jobs.begin() + static_cast<std::ptrdiff_t>(Place(list, e.queuePosition)), job);
      return true;
    }
    default: return false;
  }
}

bool ClusterEvent(CCqueueInt_Lists& lists, const CCevent_Event& e) {
  if (e.kind == CCevent_ResetWorkers) {
    lists.ClearWorkers();
    return true;
  }
  // Only "up" and "down" are news; an unknown status changes nothing.
  if (e.kind != CCevent_WorkerStatus || (e.workerStatus != 1 && e.workerStatus != 2)) return false;
  NameStr name;
  bool local = false;
  CCqueueInt_WorkerName(e.workerName, name, local);
  auto at = std::lower_bound(lists.workers.begin(), lists.workers.end(), StrIn(name).View(),
                             [](const CCqueueInt_Worker* w, std::string_view n) { return StrIn(w->name).View() < n; });
  if (at == lists.workers.end() || StrIn((*at)->name).View() != StrIn(name).View()) {
    auto* w = new CCqueueInt_Worker{};
    Strings_Assign(name, w->name);
    w->local = local ? 1 : 0;
    at = lists.workers.insert(at, w);
  }
  (*at)->status = e.workerStatus;
  lists.workersChanged = true;
  return true;
}

}  // namespace

bool CCqueueInt_ApplyEvent(CCqueueInt_Lists& lists, const CCevent_Event& e) {
  switch (e.type) {
    case CCevent_Queue:
      if (e.kind == CCevent_QueueReset) {
        lists.ClearAll();
        return true;
      }
      if (e.kind != CCevent_QueueStatusChanged) return false;
      lists.queueStatus = e.queueStatus;
      return true;
    case CCevent_Job: return JobEvent(lists, e);
    case CCevent_Cluster: return ClusterEvent(lists, e);
    case CCevent_Error: {
      TextStr text;
      Strings_Assign("%s: %s", text);
      SPrintf_String(text, e.source);
      SPrintf_String(text, e.text);
      lists.message = StrIn(text).Str();
      return true;
    }
    default: return false;
  }
}

void CCqueueInt_Forget(CCqueueInt_Lists& lists, CCqueueInt_Job* job) { Remove(lists, job, 0); }

void CCqueueInt_MoveUp(CCqueueInt_Lists& lists, const std::vector<CCqueueInt_Job*>& raised) {
  // The server puts raised waiting jobs in front of all, running ones too
  // (its order is by priority, then by arrival, and a raise makes them first).
  std::vector<CCqueueInt_Job*>& jobs = lists.actual.jobs;
  std::vector<CCqueueInt_Job*> moving;
  for (CCqueueInt_Job* job : raised)
    if (job->status == CCtypes_Waiting || job->status == CCtypes_WaitingForPrecond) moving.push_back(job);
  std::erase_if(jobs, [&](CCqueueInt_Job* j) { return std::find(moving.begin(), moving.end(), j) != moving.end(); });
  jobs.insert(jobs.begin(), moving.begin(), moving.end());
}

WtTableD_Record* CCqueueInt_Link(CCqueueInt_JobList& list) {
  WtTableD_Record* next = nullptr;
  for (std::size_t i = list.jobs.size(); i-- > 0;) {
    CCqueueInt_Job* job = list.jobs[i];
    job->link.next = next;
    next = &job->link;
    const std::string place = std::to_string(i + 1);
    Strings_Assign(place, job->positionText);
  }
  return next;
}

WtTableD_Record* CCqueueInt_LinkWorkers(std::vector<CCqueueInt_Worker*>& workers) {
  WtTableD_Record* next = nullptr;
  for (std::size_t i = workers.size(); i-- > 0;) {
    workers[i]->link.next = next;
    next = &workers[i]->link;
  }
  return next;
}
