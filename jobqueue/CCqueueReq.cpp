#include "jobqueue/CCqueueReq.h"

#include <string>

#include "jobqueue/CCclient.h"

struct CCqueueReq_Rec {
  std::string host;
  SClient requests = nullptr;
  SClient listener = nullptr;
  // The listener's connection number when the caller last heard from it:
  // a new number is a new connection.
  std::int32_t listenerConnNo = 0;
  // The connection whose failure CCqueueReq_GetFailReason tells.
  SClient lastUsed = nullptr;
};

namespace {

// A request on the request connection; the failure stays there.
template <class Call>
bool Ask(CCqueueReq req, Call call) {
  if (req == nullptr) return false;
  req->lastUsed = req->requests;
  return call(req->requests);
}

}  // namespace

CCqueueReq CCqueueReq_Connect(StrIn host, int timeoutMs) {
  auto* req = new CCqueueReq_Rec;
  req->host = host.Str();
  req->requests = CCclient_Connect(req->host, timeoutMs, nullptr);
  // The listener comes only when the server does: a local server is started
  // by the request connection, and the listener then finds it.
  req->listener = CCclient_ConnectListener(req->host);
  req->listenerConnNo = SClient_ConnNo(req->listener);
  req->lastUsed = req->requests;
  return req;
}

bool CCqueueReq_IsConnected(CCqueueReq req) { return req != nullptr && SClient_IsConnected(req->listener); }

bool CCqueueReq_Reconnect(CCqueueReq req) {
  if (req == nullptr) return false;
  const bool requests = SClient_IsConnected(req->requests) || SClient_TryReconnect(req->requests);
  const bool listener = SClient_IsConnected(req->listener) || SClient_TryReconnect(req->listener);
  return requests && listener;
}

void CCqueueReq_CloseConn(CCqueueReq& req) {
  if (req == nullptr) return;
  SClient_CloseConn(req->requests);
  SClient_CloseConn(req->listener);
  delete req;
  req = nullptr;
}

void CCqueueReq_GetFailReason(CCqueueReq req, StrOut text) {
  if (req == nullptr) return Strings_Assign("", text);
  SClient_GetError(req->lastUsed, text);
}

bool CCqueueReq_SetQueueStatus(CCqueueReq req, std::uint8_t status) {
  return Ask(req, [&](SClient c) { return CCclient_SetQueueStatus(c, status); });
}

CCjobBase_Job CCqueueReq_GetJobInfos(CCqueueReq req, StrIn id) {
  CCjobBase_Job job = nullptr;
  if (!Ask(req, [&](SClient c) { return CCclient_GetJobInfos(c, id, job); })) {
    CCjobBase_Destroy(job);
    return nullptr;
  }
  return job;
}

bool CCqueueReq_JobCommand(CCqueueReq req, std::uint8_t command, StrVector ids, bool inFailed) {
  return Ask(req, [&](SClient c) { return CCclient_JobCommand(c, command, ids, inFailed); });
}

bool CCqueueReq_ModifyJob(CCqueueReq req, CCjobBase_Job job) {
  return Ask(req, [&](SClient c) { return CCclient_ModifyJob(c, job, false); });
}

bool CCqueueReq_ReceiveEvent(CCqueueReq req, CCevent_Event& event, bool& reconnected) {
  reconnected = false;
  if (req == nullptr) return false;
  const bool got = CCclient_ReceiveEvent(req->listener, event);
  const std::int32_t connNo = SClient_ConnNo(req->listener);
  if (connNo != req->listenerConnNo) {
    reconnected = req->listenerConnNo != 0 || connNo != 0;
    req->listenerConnNo = connNo;
  }
  return got;
}
