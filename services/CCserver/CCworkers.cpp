#include "services/CCserver/CCworkers.h"

#include <chrono>
#include <memory>

#include "services/CCserver/CCnotify.h"
#include "base/DirAcces.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"

namespace {

constexpr int kCallTimeoutMs = 2000;
constexpr int kRemoteConnectMs = 1000;
constexpr std::int64_t kRetryMs = 1000;

std::vector<std::unique_ptr<CCworkers_Worker>> workers;

SProtocol Protocol() {
  static SProtocol protocol = CCprotocol_Worker();
  return protocol;
}

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

void SetUp(CCworkers_Worker* w, bool up) {
  if (up) w->retryAt = 0;
  else w->retryAt = Now() + kRetryMs, w->recheck = true, w->toldToAsk = false, w->idle = true, w->full = false;
  if (w->up == up) return;
  w->up = up;
  CCevent_Event event;
  event.type = CCevent_Cluster;
  event.kind = CCevent_WorkerStatus;
  Strings_Assign(w->name, event.workerName);
  event.workerStatus = up ? 1 : 2;
  CCnotify_Event(event);
}

// Sends a request to a worker that is up, waiting for the results when they
// are wanted; a failure of the line puts the worker down.
bool Call(CCworkers_Worker* w, int request, SReqObj params, SReqObj* results) {
  if (!CCworkers_Reach(w)) {
    SReqObj_Destroy(params);
    return false;
  }
  if (results == nullptr ? SClient_Post(w->conn, request, params) : SClient_Send(w->conn, request, params, results))
    return true;
  if (!SClient_IsConnected(w->conn)) SetUp(w, false);
  return false;
}

SReqObj Strings(std::initializer_list<std::string> texts) {
  SReqObj params = SReqObj_CreateArray();
  for (const std::string& text : texts) SReqObj_Append(params, SReqObj_CreateString(text));
  return params;
}

}  // namespace

CCworkers_Worker* CCworkers_Add(const std::string& name, const std::string& host) {
  auto w = std::make_unique<CCworkers_Worker>();
  w->name = name;
  w->host = host;
  char machine[kNameCap];
  DirAcces_GetMachineName(machine);
  w->local = host.empty() || host == CCtypes_localWorkerName || host == StrIn(machine).View();
  workers.push_back(std::move(w));
  return workers.back().get();
}

CCworkers_Worker* CCworkers_Get(const std::string& name) {
  for (const auto& w : workers)
    if (w->name == name) return w.get();
  return CCworkers_Add(name, name);
}

std::vector<CCworkers_Worker*> CCworkers_All() {
  std::vector<CCworkers_Worker*> all;
  for (const auto& w : workers) all.push_back(w.get());
  return all;
}

void CCworkers_Heard(CCworkers_Worker* w, SServer_Conn from) {
  if (w->from == from) return;
  w->from = from;
  // Over a new connection it may be a new process, heard before the end of
  // the old one's connection was: it is asked about its jobs as one that was down.
  w->recheck = true;
  w->toldToAsk = false;
  w->full = false;
  if (!w->up) w->retryAt = 0;  // back again: reach it at once
}

void CCworkers_ConnectionGone(SServer_Conn from) {
  for (const auto& w : workers) {
    if (w->from != from) continue;
    w->from = nullptr;
    SetUp(w.get(), false);
    w->retryAt = 0;
  }
}

bool CCworkers_Reach(CCworkers_Worker* w) {
  if (w->up && SClient_IsConnected(w->conn)) return true;
  if (Now() < w->retryAt) return false;
  // A local worker that is down is started once, on the first try.
  if (w->conn == nullptr) {
    w->conn = SClient_Connect(w->local ? "" : w->host, w->local ? 0 : kRemoteConnectMs, 0, Protocol(), nullptr);
    SClient_SetTimeout(w->conn, kCallTimeoutMs);
  }
  SetUp(w, SClient_IsConnected(w->conn) || SClient_TryReconnect(w->conn));
  return w->up;
}

bool CCworkers_Announce(CCworkers_Worker* w, std::uint16_t port, std::size_t waiting, std::uint8_t cpuUsages) {
  char host[kNameCap], usages[kNameCap];
  DirAcces_GetMachineName(host);
  CCtypes_CpuUsageSetToString(cpuUsages, usages);
  SReqObj params = Strings({StrIn(host).Str()});
  SReqObj_Append(params, SReqObj_CreateInteger(port));
  SReqObj_Append(params, SReqObj_CreateInteger(static_cast<std::int32_t>(waiting)));
  SReqObj_Append(params, SReqObj_CreateString(StrIn(usages).View()));
  SReqObj_Append(params, SReqObj_CreateString(w->name));
  SReqObj_Append(params, SReqObj_CreateString(""));
  // Posted: a worker that calls us at this moment is served before it answers.
  if (!Call(w, CCprotocol_ANNOUNCE_EMPLOYER_3, params, nullptr)) return false;
  w->idle = false;
  return true;
}

int CCworkers_JobStatus(CCworkers_Worker* w, const std::string& id) {
  SReqObj results = nullptr;
  if (!Call(w, CCprotocol_JOB_STATUS, Strings({id}), &results)) return -1;
  char word[kNameCap];
  SReqObj_GetString(SReqObj_Element(results, 0), word);
  SReqObj_Destroy(results);
  return CCtypes_StringToJobStatus(word);
}

int CCworkers_Cancel(CCworkers_Worker* w, const std::string& id, std::uint8_t reason) {
  char word[kNameCap];
  CCtypes_CancelReasonToString(reason, word);
  SReqObj params = Strings({id, StrIn(word).Str()});
  if (!w->oldAsks) {
    if (!Call(w, CCprotocol_CANCEL_JOB, params, nullptr)) return -1;
    w->recheck = true;
    w->toldToAsk = false;
    return 1;
  }
  SReqObj results = nullptr;
  if (!Call(w, CCprotocol_CANCEL_JOB, params, &results)) return -1;
  const bool canceled = SReqObj_GetBoolean(SReqObj_Element(results, 0));
  SReqObj_Destroy(results);
  return canceled ? 1 : 0;
}
