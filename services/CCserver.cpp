// CCserver: the job queue server. Takes jobs, keeps them in order of
// priority and arrival, hands them to its workers when their preconditions
// and restrictions allow, and tells its listeners of every change. The queue
// lives in a journal, so that a restarted server goes on where it stopped.
//
//   CCserver [-b ADDRESS] [-A HOSTS] [-d DIRECTORY] [-w HOST]...
//
// -b binds the port to one address only (127.0.0.1 keeps it to this host).
// -A names the hosts besides this one and the workers that may connect
// (commas between them; default TV_ALLOWED_HOSTS).
// -d is where the journal lies (default "CCserver-<port>" in MARLDAT).
// -w names a worker host; without any, the worker of this host is used.
// The port is 5610 unless TV_CCSERVER_PORT names another; workers are
// reached on 5611 or TV_CCWORKER_PORT.
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/SClient.h"
#include "jobqueue/SService.h"
#include "services/CCserver/CCjobs.h"
#include "services/CCserver/CCnotify.h"
#include "services/CCserver/CCworkers.h"

namespace {

char section[16] = "CCserver";

constexpr int kTickMs = 250;
constexpr unsigned kUsageFirst = 20, kUsageLast = 26;
constexpr int kBatch = 64;
constexpr std::size_t kMinRewrite = 10000;
constexpr std::int32_t kMaxHanded = 64;  // jobs in one answer to an ask

std::uint16_t port = 0;
std::uint8_t queueStatus = CCtypes_QueueRunning;
// Grows with every change that may let a worker find a job it did not find before.
std::uint64_t generation = 1;

void Complain(unsigned number, StrIn info, std::int32_t count = -1) {
  char text[kTextCap];
  Messages_GetMsg(section, number, text);  // messages: CCserver 5-7
  if (count >= 0) SPrintf_Int(text, count);
  SPrintf_String(text, info);
  std::fprintf(stderr, "%s\n", text);
}

std::string Text(SReqObj params, std::size_t index) { return std::string(SReqObj_Bytes(SReqObj_Element(params, index))); }

SReqObj One(SReqObj value) {
  SReqObj results = SReqObj_CreateArray();
  SReqObj_Append(results, value);
  return results;
}

void TellQueueStatus(SServer_Conn to) {
  CCevent_Event event;
  event.type = CCevent_Queue;
  event.kind = CCevent_QueueStatusChanged;
  event.queueStatus = queueStatus;
  if (to != nullptr) CCnotify_EventTo(to, event);
  else CCnotify_Event(event);
}

// A new listener of type 1 hears the queue as it stands.
void Greet(SServer_Conn conn) {
  CCevent_Event event;
  event.type = CCevent_Queue;
  event.kind = CCevent_QueueReset;
  CCnotify_EventTo(conn, event);
  TellQueueStatus(conn);
  for (const auto* list : {&CCqueue_Actual(), &CCqueue_Failed()})
    for (const CCqueue_Entry* e : *list) {
      CCevent_Event job;
      CCevent_FromJob(e->job, CCevent_JobAdded, job);
      job.inFailedQueue = e->inFailed;
      job.queuePosition = CCqueue_Position(e);
      Strings_Assign(e->worker, job.workerName);
      CCnotify_EventTo(conn, job);
    }
  CCevent_Event workers;
  workers.type = CCevent_Cluster;
  workers.kind = CCevent_ResetWorkers;
  CCnotify_EventTo(conn, workers);
  for (const CCworkers_Worker* w : CCworkers_All()) {
    CCevent_Event status;
    status.type = CCevent_Cluster;
    status.kind = CCevent_WorkerStatus;
    Strings_Assign(w->name, status.workerName);
    status.workerStatus = w->up ? 1 : 2;
    CCnotify_EventTo(conn, status);
  }
}

void Identified(SServer_Conn conn, void*) {
  if (CCnotify_Identified(conn)) Greet(conn);
}

void Gone(SServer_Conn conn, void*) {
  CCnotify_Gone(conn);
  CCworkers_ConnectionGone(conn);
}

// --- Requests ------------------------------------------------------------------------------

void Submit(const SServer_Request& r) {
  CCjobBase_Job job = CCjobBase_CreateFromString(Text(r.params, 0));
  if (job == nullptr) {
    if (r.wantsResult) return CCnotify_ReplyError(r.conn, 2, Text(r.params, 0).substr(0, 200));
    CCevent_Event event;
    event.type = CCevent_Error;
    event.errorNumber = 2;
    Strings_Assign(section, event.source);
    Messages_GetMsg(section, 2, event.text);
    SPrintf_String(event.text, Text(r.params, 0).substr(0, 200));
    return CCnotify_Event(event);
  }
  // A job sent again (its id known already) is answered but not queued twice.
  const bool accepted = CCjobs_Accept(job) != nullptr;
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  if (r.wantsResult) CCnotify_Reply(r.conn, One(SReqObj_CreateString(StrIn(id).View())));
  if (accepted) ++generation;
  else CCjobBase_Destroy(job);
}

void Modify(const SServer_Request& r) {
  CCjobBase_Job job = CCjobBase_CreateFromString(Text(r.params, 0));
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  CCqueue_Entry* e = CCqueue_Find(StrIn(id).Str());
  const std::uint8_t status = e == nullptr ? 0 : CCjobBase_GetStatus(e->job);
  unsigned refusal = job == nullptr ? 2 : e == nullptr ? 3 : 0;
  if (refusal == 0 && (e->inFailed || (status != CCtypes_Waiting && status != CCtypes_WaitingForPrecond))) refusal = 4;
  if (refusal != 0) {
    CCjobBase_Destroy(job);
    if (r.wantsResult) CCnotify_ReplyError(r.conn, refusal, refusal == 2 ? Text(r.params, 0).substr(0, 200) : StrIn(id).Str());
    return;
  }
  CCjobs_Modify(e, job);
  ++generation;
  if (r.wantsResult) CCnotify_Reply(r.conn, nullptr);
}

// A worker heard over a new connection told what it holds: a job we handed
// it that it does not hold never arrived (a worker asks one thing at a time,
// so every answer before this ask has reached it) and waits again; one that
// was to be canceled is.
void Reconcile(CCworkers_Worker* w, SReqObj heldIds) {
  w->oldAsks = false;
  if (!w->recheck) return;
  w->recheck = false;
  std::set<std::string, std::less<>> held;
  for (std::size_t i = 0; i < SReqObj_Count(heldIds); ++i) held.emplace(SReqObj_Bytes(SReqObj_Element(heldIds, i)));
  std::vector<CCqueue_Entry*> lost;
  for (CCqueue_Entry* e : CCqueue_Actual())
    if (CCjobBase_GetStatus(e->job) == CCtypes_Running && e->worker == w->name && held.count(e->id) == 0)
      lost.push_back(e);
  for (CCqueue_Entry* e : lost) {
    if (e->cancelRequested) CCjobs_Finish(e, CCtypes_Canceled);
    else CCjobs_Requeue(e);
    ++generation;
  }
}

void Peek(const SServer_Request& r) {
  CCworkers_Worker* w = CCworkers_Get(Text(r.params, 0));
  CCworkers_Heard(w, r.conn);
  if (r.request == CCprotocol_PEEK_JOB_3) Reconcile(w, SReqObj_Element(r.params, 3));
  else w->oldAsks = true;
  const bool first = r.request == CCprotocol_PEEK_JOB;
  const std::uint8_t usages = first ? CCtypes_AllCpuUsages : CCtypes_StringToCpuUsageSet(Text(r.params, 1));
  const auto types = first ? static_cast<std::uint32_t>(SReqObj_GetInteger(SReqObj_Element(r.params, 1))) : 0U;
  // A worker without room asks only to tell what it holds; it asks again
  // by itself when room frees.
  w->full = !first && usages == 0;
  // A worker that tells how many it takes gets that many at once, when as
  // many wait: one trip for several jobs.
  const std::int32_t count =
      r.request == CCprotocol_PEEK_JOB_3 ? std::clamp(SReqObj_GetInteger(SReqObj_Element(r.params, 4)), 1, kMaxHanded) : 1;
  SReqObj results = SReqObj_CreateArray();
  CCqueue_Entry* e = nullptr;
  for (std::int32_t n = 0; n < count && queueStatus == CCtypes_QueueRunning && !w->full; ++n) {
    e = CCjobs_StartNext(w->name, w->local, usages, types);
    if (e == nullptr) break;
    SReqObj_Append(results, SReqObj_CreateString(CCjobBase_JobToString(e->job)));
  }
  w->idle = e == nullptr;
  if (e == nullptr) w->seen = generation;
  if (SReqObj_Count(results) == 0) SReqObj_Append(results, SReqObj_CreateString(""));
  CCnotify_Reply(r.conn, results);
}

void Finished(const SServer_Request& r) {
  CCworkers_Heard(CCworkers_Get(Text(r.params, 0)), r.conn);
  std::uint8_t status = CCtypes_Failed;
  if (r.request == CCprotocol_JOB_FINISHED_2) {
    status = CCtypes_StringToJobStatus(Text(r.params, 2));
  } else {
    // The numbers of the first version: 1 waiting, 2 running, 3 done, 4 failed, 5 canceled.
    static const std::uint8_t kOld[] = {CCtypes_Unknown, CCtypes_Waiting, CCtypes_Running,
                                        CCtypes_Done,    CCtypes_Failed,  CCtypes_Canceled};
    const std::int32_t old = SReqObj_GetInteger(SReqObj_Element(r.params, 2));
    status = old >= 0 && old <= 5 ? kOld[old] : CCtypes_Unknown;
  }
  CCqueue_Entry* e = CCqueue_Find(Text(r.params, 1));
  // A report of a job that ended already is answered all the same: the
  // worker only forgets a job once it heard us take its end.
  if (e != nullptr && !e->inFailed && CCjobBase_GetStatus(e->job) == CCtypes_Running) {
    if (CCjobBase_GetErrorFilenameField(e->job).empty()) CCjobBase_SetErrorFilename(e->job, Text(r.params, 3));
    if (status == CCtypes_Waiting) CCjobs_Requeue(e);
    else CCjobs_Finish(e, status == CCtypes_Done || status == CCtypes_Canceled ? status : CCtypes_Failed);
    ++generation;
  }
  CCnotify_Reply(r.conn, nullptr);
}

void Delete(CCqueue_Entry* e) {
  if (e->inFailed || CCjobBase_GetStatus(e->job) != CCtypes_Running) return CCjobs_Remove(e);
  const int asked = CCworkers_Cancel(CCworkers_Get(e->worker), e->id, CCtypes_Remove);
  // A worker that does not run it (any more) or is gone can't end it: it leaves now.
  if (asked == 1) e->cancelRequested = true;
  else CCjobs_Finish(e, CCtypes_Canceled);
}

void Command(const SServer_Request& r) {
  const auto command = static_cast<std::uint8_t>(SReqObj_GetInteger(SReqObj_Element(r.params, 0)));
  const bool inFailed = SReqObj_GetBoolean(SReqObj_Element(r.params, 1));
  SReqObj ids = SReqObj_Element(r.params, 2);
  std::vector<CCqueue_Entry*> entries;
  for (std::size_t i = 0; i < SReqObj_Count(ids); ++i) {
    CCqueue_Entry* e = CCqueue_Find(std::string(SReqObj_Bytes(SReqObj_Element(ids, i))));
    if (e != nullptr && e->inFailed == inFailed) entries.push_back(e);
  }
  if (command == CCprotocol_Raise) CCjobs_Raise(entries);
  for (CCqueue_Entry* e : entries) {
    if (command == CCprotocol_Delete) Delete(e);
    else if (command == CCprotocol_Requeue && e->inFailed) CCjobs_Requeue(e);
  }
  ++generation;
  CCnotify_Reply(r.conn, nullptr);
}

void WorkerError(const SServer_Request& r) {
  SReqObj error = SReqObj_Element(r.params, 1);
  CCevent_Event event;
  event.type = CCevent_Error;
  SReqObj_GetString(SReqObj_Element(error, 0), event.source);
  event.errorNumber = SReqObj_GetInteger(SReqObj_Element(error, 1));
  SReqObj_GetString(SReqObj_Element(error, 2), event.text);
  CCnotify_Event(event);
}

void JobInfos(const SServer_Request& r) {
  const CCqueue_Entry* e = CCqueue_Find(Text(r.params, 0));
  if (e == nullptr) return CCnotify_ReplyError(r.conn, 3, Text(r.params, 0));
  CCnotify_Reply(r.conn, One(SReqObj_CreateString(CCjobBase_JobToString(e->job))));
}

void InQueue(const SServer_Request& r) {
  CCjobBase_Job pattern = CCjobBase_CreateFromString(Text(r.params, 0));
  if (pattern == nullptr) return CCnotify_ReplyError(r.conn, 2, Text(r.params, 0).substr(0, 200));
  bool found = false;
  for (const CCqueue_Entry* e : CCqueue_Actual()) found = found || CCjobBase_Match(pattern, e->job);
  CCjobBase_Destroy(pattern);
  CCnotify_Reply(r.conn, One(SReqObj_CreateBoolean(found)));
}

void SetQueueStatus(const SServer_Request& r) {
  const auto status = static_cast<std::uint8_t>(SReqObj_GetInteger(SReqObj_Element(r.params, 0)));
  if (status != CCtypes_QueueUnknown && status != queueStatus) {
    queueStatus = status;
    CCstore_PutQueueStatus(status);
    CCstore_WantDurable();
    TellQueueStatus(nullptr);
    ++generation;
  }
  CCnotify_Reply(r.conn, nullptr);
}

void Handle(const SServer_Request& r) {
  switch (r.request) {
    case CCprotocol_SUBMIT_JOB:
    case CCprotocol_ASYNC_SUBMIT_JOB: return Submit(r);
    case CCprotocol_MODIFY_JOB:
    case CCprotocol_ASYNC_MODIFY_JOB: return Modify(r);
    case CCprotocol_PEEK_JOB:
    case CCprotocol_PEEK_JOB_2:
    case CCprotocol_PEEK_JOB_3: return Peek(r);
    case CCprotocol_GET_QUEUESTATUS: return CCnotify_Reply(r.conn, One(SReqObj_CreateInteger(queueStatus)));
    case CCprotocol_SET_QUEUESTATUS: return SetQueueStatus(r);
    case CCprotocol_JOB_COMMAND: return Command(r);
    case CCprotocol_JOB_FINISHED:
    case CCprotocol_JOB_FINISHED_2: return Finished(r);
    case CCprotocol_WORKER_ERROR: return WorkerError(r);
    case CCprotocol_GET_JOBINFOS: return JobInfos(r);
    case CCprotocol_IS_JOB_IN_QUEUE: return InQueue(r);
    default: return;
  }
}

// --- Between requests ------------------------------------------------------------------------

// A worker that asks in the older way is called about each job it ran once
// it is back: those it never started wait again; the others it reports
// itself. One that may be getting a job just now ("waiting") is asked again
// next time. (Such a call waits for the worker; one that tells what it holds
// with its ask needs none.)
void Recheck(CCworkers_Worker* w) {
  std::vector<CCqueue_Entry*> running;
  for (CCqueue_Entry* e : CCqueue_Actual())
    if (CCjobBase_GetStatus(e->job) == CCtypes_Running && e->worker == w->name) running.push_back(e);
  for (CCqueue_Entry* e : running) {
    const int status = CCworkers_JobStatus(w, e->id);
    if (status < 0 || status == CCtypes_Waiting) return;
    if (status == CCtypes_Unknown) CCjobs_Requeue(e), ++generation;
  }
  w->recheck = false;
}

void LookAfterWorkers() {
  if (CCjobs_PreconditionCheckDue()) ++generation;
  std::uint8_t usages = 0;
  const std::size_t waiting = queueStatus == CCtypes_QueueRunning ? CCjobs_Waiting(usages) : 0;
  for (CCworkers_Worker* w : CCworkers_All()) {
    if (!CCworkers_Reach(w)) continue;
    if (w->recheck && w->oldAsks) Recheck(w);
    // A worker that is back is told to ask: its ask tells what it holds.
    const bool tellToAsk = w->recheck && !w->oldAsks && !w->toldToAsk;
    // (Told "one waits" at least, so that it asks again once it has room.)
    if (w->up && (tellToAsk || (waiting > 0 && w->idle && !w->full && w->seen != generation)) &&
        CCworkers_Announce(w, port, tellToAsk ? std::max<std::size_t>(waiting, 1) : waiting, usages))
      w->toldToAsk = w->toldToAsk || tellToAsk;
  }
}

void ReapChildren() {
  int status = 0;
  while (Processe_WaitPID(-1, true, status) > 0) {
  }
}

void KeepJournal() {
  if (!CCstore_Commit()) Complain(7, CCstore_Path());
  const std::size_t jobs = CCqueue_Actual().size() + CCqueue_Failed().size();
  if (CCstore_RecordCount() > std::max(kMinRewrite, 4 * jobs) && !CCstore_Rewrite(CCjobs_State(queueStatus)))
    Complain(7, CCstore_Path());
}

// At a normal end (SIGTERM, the stop file) the connections to the workers go
// with their buffers; the queue's own tables go with the process's statics.
void Goodbye() { SClient_CloseAllConnections(); }

// Reads the journal and takes over from the server before.
void Recover(const std::string& directory) {
  CCstore_State state;
  if (!CCstore_Open(directory, state)) {
    Complain(5, directory);
    Processe_Exit();
  }
  if (state.damaged > 0) Complain(6, CCstore_Path(), static_cast<std::int32_t>(state.damaged));
  queueStatus = state.queueStatus == CCtypes_QueueStopped ? CCtypes_QueueStopped : CCtypes_QueueRunning;
  CCjobs_Recover(state);
  if (!CCstore_Rewrite(CCjobs_State(queueStatus))) Complain(7, CCstore_Path());
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  std::string address, journal, allowed;
  std::vector<std::string> hosts;
  const Options_Option options[] = {
      {"-b", true, Options_Store(address)},
      {"-A", true, Options_Store(allowed)},
      {"-d", true, Options_Store(journal)},
      {"-w", true, Options_Append(hosts)},
  };
  if (!Options_Read(options)) Options_Refuse("", section, kUsageFirst, kUsageLast);  // messages: CCserver 20-26
  SService_Start(argc, argv);
  char directory[kPathCap];
  Strings_Assign(journal, directory);

  SProtocol protocol = CCprotocol_Server();
  port = SProtocol_Port(protocol);
  SServer server = SService_Listen(protocol, address, section);  // messages: CCserver 1
  SServer_Restrict(server, SService_Peers(allowed, hosts));
  if (directory[0] == '\0') DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, "CCserver-" + std::to_string(port), directory);
  Recover(StrIn(directory).Str());
  if (hosts.empty()) CCworkers_Add(CCtypes_localWorkerName, "");
  for (const std::string& host : hosts) CCworkers_Add(host, host);
  SServer_OnConnectionGone(server, Gone, nullptr);
  SServer_OnClientIdentified(server, Identified, nullptr);
  Processe_SetExitStatus(0);
  Processe_InstallTerminationProcedure(Goodbye);

  // Ends with SIGTERM, through the termination chain.
  for (;;) {
    SServer_Request r;
    for (int n = 0; n < kBatch && SServer_Next(server, n == 0 ? kTickMs : 0, r); ++n) {
      Handle(r);
      SReqObj_Destroy(r.params);
    }
    KeepJournal();
    CCnotify_Flush();
    ReapChildren();
    LookAfterWorkers();
    CCnotify_Flush();
  }
}
