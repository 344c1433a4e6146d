#include "jobqueue/CCclient.h"

#include <map>
#include <memory>
#include <string>

#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"

namespace {

constexpr int kListenerTimeoutMs = 1000;
constexpr int kJobListenerTimeoutMs = 3000;
constexpr std::size_t kMaskPatternCap = 128;

struct ProtocolDeleter {
  void operator()(SProtocol p) const { SProtocol_Destroy(p); }
};
using Protocol = std::unique_ptr<SProtocol_Rec, ProtocolDeleter>;

// The tables outlive every connection: one for the configured port, one for
// each port asked for by number.
SProtocol Table(std::uint16_t port = 0) {
  static Protocol configured(CCprotocol_Server());
  static std::map<std::uint16_t, Protocol> byPort;
  if (port == 0) return configured.get();
  Protocol& p = byPort[port];
  if (!p) {
    p.reset(CCprotocol_Server());
    SProtocol_SetPort(p.get(), port);
  }
  return p.get();
}

SEvent Buffer() {
  static SEvent event = SEvent_Create();
  return event;
}

SReqObj Params() { return SReqObj_CreateArray(); }

SReqObj Params(SReqObj a) {
  SReqObj p = SReqObj_CreateArray();
  SReqObj_Append(p, a);
  return p;
}

SReqObj Text(StrIn text) { return SReqObj_CreateString(text.View()); }
SReqObj Text(const std::string& text) { return SReqObj_CreateString(text); }

// Sends and keeps the first result element (as text) when the caller wants it.
bool Ask(SClient conn, int request, SReqObj params, std::string* first = nullptr, bool* flag = nullptr,
         std::int32_t* number = nullptr) {
  SReqObj results = nullptr;
  const bool sent = SClient_Send(conn, request, params, first || flag || number ? &results : nullptr);
  SReqObj element = SReqObj_Element(results, 0);
  if (sent && first != nullptr) *first = std::string(SReqObj_Bytes(element));
  if (sent && flag != nullptr) *flag = SReqObj_GetBoolean(element);
  if (sent && number != nullptr) *number = SReqObj_GetInteger(element);
  SReqObj_Destroy(results);
  return sent;
}

bool HasInherited(CCjobBase_Job job) {
  CCprecond_Entry e = nullptr;
  for (bool first = true; CCprecond_IteratePreconditions(CCjobBase_GetPreconditions(job), first, e); first = false)
    if (CCprecond_IsInherited(e)) return true;
  return false;
}

bool Supports(SClient conn, const char* request, int version) {
  return (SClient_SupportedRequestVersions(conn, StrIn::C(request)) >> version & 1U) != 0;
}

// The status numbers of the first JOB_FINISHED, which knew no "running" of its own.
std::int32_t OldStatusNumber(std::uint8_t status) {
  switch (status) {
    case CCtypes_Waiting: return 1;
    case CCtypes_Running: return 2;
    case CCtypes_Done: return 3;
    case CCtypes_Failed: return 4;
    case CCtypes_Canceled: return 5;
    default: return 0;
  }
}

std::string Word(void (*word)(std::uint8_t, StrOut), std::uint8_t value) {
  char text[kNameCap];
  word(value, StrOut(text));
  return StrIn(text).Str();
}

}  // namespace

SClient CCclient_Connect(StrIn host, int timeoutMs, SClient_YieldProc yield) {
  return SClient_Connect(host, timeoutMs, 0, Table(), yield);
}

SClient CCclient_ConnectPort(StrIn host, std::uint16_t port, int timeoutMs, SClient_YieldProc yield) {
  return SClient_Connect(host, timeoutMs, 0, Table(port), yield);
}

SClient CCclient_ConnectListener(StrIn host) { return SClient_Connect(host, kListenerTimeoutMs, 1, Table(), nullptr); }

SClient CCclient_ConnectJobListener(StrIn host) {
  return SClient_Connect(host, kJobListenerTimeoutMs, 2, Table(), nullptr);
}

bool CCclient_SubmitJob(SClient conn, CCjobBase_Job job, bool async) {
  if (conn == nullptr || job == nullptr) return false;
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  if (async && id[0] == '\0') {
    CCjobBase_GenerateId(id);
    CCjobBase_SetId(job, id);
  }
  std::string answer;
  const bool sent = async ? Ask(conn, CCprotocol_ASYNC_SUBMIT_JOB, Params(Text(CCjobBase_JobToString(job))))
                          : Ask(conn, CCprotocol_SUBMIT_JOB, Params(Text(CCjobBase_JobToString(job))), &answer);
  if (!sent) return false;
  if (!async) CCjobBase_SetId(job, answer);
  if (!HasInherited(job)) return true;
  // The server takes the inherited resources when it takes the job; the
  // submitter gives up its own only once that happened, which an answer on
  // the same line proves.
  if (async && !CCclient_TestService(conn)) return true;
  CCjobBase_InheritResourcesToServer(job);
  return true;
}

bool CCclient_ModifyJob(SClient conn, CCjobBase_Job job, bool async) {
  if (job == nullptr) return false;
  return Ask(conn, async ? CCprotocol_ASYNC_MODIFY_JOB : CCprotocol_MODIFY_JOB,
             Params(Text(CCjobBase_JobToString(job))));
}

bool CCclient_GetJobInfos(SClient conn, StrIn id, CCjobBase_Job& job) {
  job = nullptr;
  std::string text;
  if (!Ask(conn, CCprotocol_GET_JOBINFOS, Params(Text(id)), &text)) return false;
  job = CCjobBase_CreateFromString(text);
  return job != nullptr;
}

bool CCclient_IsJobInQueue(SClient conn, CCjobBase_Job pattern) {
  bool found = false;
  return Ask(conn, CCprotocol_IS_JOB_IN_QUEUE, Params(Text(CCjobBase_JobToString(pattern))), nullptr, &found) &&
         found;
}

bool CCclient_JobCommand(SClient conn, std::uint8_t command, StrVector ids, bool inFailed) {
  SReqObj list = SReqObj_CreateArray();
  for (std::size_t i = 0; i < StrVector_ElementCount(ids); ++i)
    SReqObj_Append(list, Text(StrVector_DynElementAt(ids, i)));
  SReqObj params = Params(SReqObj_CreateInteger(command));
  SReqObj_Append(params, SReqObj_CreateBoolean(inFailed));
  SReqObj_Append(params, list);
  return Ask(conn, CCprotocol_JOB_COMMAND, params);
}

std::uint8_t CCclient_GetQueueStatus(SClient conn) {
  std::int32_t status = 0;
  if (!Ask(conn, CCprotocol_GET_QUEUESTATUS, Params(), nullptr, nullptr, &status)) return CCtypes_QueueUnknown;
  if (status < 0 || status > CCtypes_QueueStopped) return CCtypes_QueueUnknown;
  return static_cast<std::uint8_t>(status);
}

bool CCclient_SetQueueStatus(SClient conn, std::uint8_t status) {
  return Ask(conn, CCprotocol_SET_QUEUESTATUS, Params(SReqObj_CreateInteger(status)));
}

bool CCclient_TestService(SClient conn) { return Ask(conn, SProtocol_TEST_SERVICE, Params()); }

bool CCclient_SetDebugMode(SClient conn, bool debug) {
  return Ask(conn, SProtocol_DEBUG_SERVICE, Params(SReqObj_CreateBoolean(debug)));
}

namespace {

// The jobs handed out (each a result element; an empty one for none).
std::vector<CCjobBase_Job> Peek(SClient conn, StrIn hostname, std::uint8_t cpuUsages,
                                const std::vector<std::string>* held, std::int32_t count) {
  SReqObj params = Params(Text(hostname));
  int request = CCprotocol_PEEK_JOB;
  if (held != nullptr && Supports(conn, "PEEK_JOB", 3)) request = CCprotocol_PEEK_JOB_3;
  else if (Supports(conn, "PEEK_JOB", 2)) request = CCprotocol_PEEK_JOB_2;
  if (request == CCprotocol_PEEK_JOB) {
    SReqObj_Append(params, SReqObj_CreateInteger(0));
  } else {
    SReqObj_Append(params, Text(Word(CCtypes_CpuUsageSetToString, cpuUsages)));
    SReqObj_Append(params, SReqObj_CreateVoid());
  }
  if (request == CCprotocol_PEEK_JOB_3) {
    SReqObj ids = SReqObj_CreateArray();
    for (const std::string& id : *held) SReqObj_Append(ids, Text(id));
    SReqObj_Append(params, ids);
    SReqObj_Append(params, SReqObj_CreateInteger(count));
  }
  std::vector<CCjobBase_Job> jobs;
  SReqObj results = nullptr;
  if (SClient_Send(conn, request, params, &results))
    for (std::size_t i = 0; i < SReqObj_Count(results); ++i) {
      const std::string_view text = SReqObj_Bytes(SReqObj_Element(results, i));
      if (CCjobBase_Job job = text.empty() ? nullptr : CCjobBase_CreateFromString(std::string(text))) jobs.push_back(job);
    }
  SReqObj_Destroy(results);
  return jobs;
}

}  // namespace

CCjobBase_Job CCclient_PeekJob(SClient conn, StrIn hostname, std::uint8_t cpuUsages) {
  std::vector<CCjobBase_Job> jobs = Peek(conn, hostname, cpuUsages, nullptr, 1);
  for (std::size_t i = 1; i < jobs.size(); ++i) CCjobBase_Destroy(jobs[i]);
  return jobs.empty() ? nullptr : jobs[0];
}

std::vector<CCjobBase_Job> CCclient_PeekJobs(SClient conn, StrIn hostname, std::uint8_t cpuUsages,
                                             const std::vector<std::string>& held, std::int32_t count) {
  return Peek(conn, hostname, cpuUsages, &held, count);
}

bool CCclient_InformJobFinished(SClient conn, StrIn host, StrIn id, std::uint8_t status, std::uint8_t cancelReason,
                                StrIn errorFile, bool async) {
  SReqObj params = Params(Text(host));
  SReqObj_Append(params, Text(id));
  int request = CCprotocol_JOB_FINISHED_2;
  if (Supports(conn, "JOB_FINISHED", 2)) {
    SReqObj_Append(params, Text(Word(CCtypes_JobStatusToString, status)));
    SReqObj_Append(params, Text(errorFile));
    SReqObj_Append(params, Text(Word(CCtypes_CancelReasonToString, cancelReason)));
  } else {
    request = CCprotocol_JOB_FINISHED;
    SReqObj_Append(params, SReqObj_CreateInteger(OldStatusNumber(status)));
    SReqObj_Append(params, Text(errorFile));
  }
  return async ? SClient_Post(conn, request, params) : Ask(conn, request, params);
}

bool CCclient_InformWorkerError(SClient conn, StrIn host, std::int32_t number, StrIn source, StrIn text) {
  SReqObj error = Params(Text(source));
  SReqObj_Append(error, SReqObj_CreateInteger(number));
  SReqObj_Append(error, Text(text));
  SReqObj params = Params(Text(host));
  SReqObj_Append(params, error);
  SReqObj_Append(params, SReqObj_CreateVoid());
  return Ask(conn, CCprotocol_WORKER_ERROR, params);
}

bool CCclient_SetEventMask(SClient conn, StrIn pattern, StrIn submitterName) {
  SReqObj mask = Params(SReqObj_CreateString(pattern.View().substr(0, kMaskPatternCap)));
  SReqObj_Append(mask, Text(submitterName));
  return SClient_SetEventMask(conn, mask);
}

bool CCclient_AwaitEvent(SClient conn, int timeoutMs) { return SClient_AwaitEvent(conn, timeoutMs); }

bool CCclient_ReceiveEvent(SClient conn, CCevent_Event& event) {
  while (SClient_ReceiveEvent(conn, Buffer()))
    if (CCevent_Read(Buffer(), event)) return true;
  return false;
}

bool CCclient_ReceiveJobEvent(SClient conn, CCjobEvent_Event& event) {
  while (SClient_ReceiveEvent(conn, Buffer()))
    if (CCjobEvent_Read(Buffer(), event)) return true;
  return false;
}
