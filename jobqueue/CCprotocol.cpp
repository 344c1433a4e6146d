#include "jobqueue/CCprotocol.h"

#include <initializer_list>
#include <utility>

namespace {

using Param = std::pair<SReqObj_Type, const char*>;
constexpr SReqObj_Type S = SReqObj_Type::String, I = SReqObj_Type::Integer, B = SReqObj_Type::Boolean,
                       A = SReqObj_Type::Array, V = SReqObj_Type::Void;

// Defines `name` in `version` with its parameters; `highest` gives the top
// of the enumeration parameters (index and value), -1 for none.
void Define(SProtocol p, const char* name, int version, bool hasResult, std::initializer_list<Param> params,
            std::initializer_list<std::pair<int, std::int32_t>> highest = {}) {
  const int r = SProtocol_DefineRequest(p, StrIn::C(name), version, static_cast<int>(params.size()), hasResult);
  int index = 0;
  for (const auto& [type, param] : params) {
    std::int32_t top = -1;
    for (const auto& [at, value] : highest)
      if (at == index) top = value;
    SProtocol_SetParameter(p, r, index++, type, StrIn::C(param), top);
  }
}

}  // namespace

SProtocol CCprotocol_Server() {
  SProtocol p = SProtocol_Create(kCCprotocolServerPort, kCCprotocolBufferSize, "CCserver");
  Define(p, "SUBMIT_JOB", 1, true, {{S, "jobString"}});
  Define(p, "ASYNC_SUBMIT_JOB", 1, false, {{S, "jobString"}});
  Define(p, "MODIFY_JOB", 1, true, {{S, "jobString"}});
  Define(p, "ASYNC_MODIFY_JOB", 1, false, {{S, "jobString"}});
  Define(p, "PEEK_JOB", 1, true, {{S, "hostname"}, {I, "jobTypes"}});
  Define(p, "PEEK_JOB", 2, true, {{S, "hostname"}, {S, "cpuUsages"}, {V, "empty"}});
  Define(p, "GET_QUEUESTATUS", 1, true, {});
  Define(p, "SET_QUEUESTATUS", 1, true, {{I, "status"}}, {{0, 2}});
  Define(p, "JOB_COMMAND", 1, true, {{I, "command"}, {B, "inFailedQueue"}, {A, "jobIdArray"}}, {{0, 2}});
  Define(p, "JOB_FINISHED", 1, true, {{S, "hostname"}, {S, "jobId"}, {I, "status"}, {S, "errorFilename"}}, {{2, 7}});
  Define(p, "JOB_FINISHED", 2, true,
         {{S, "hostname"}, {S, "jobId"}, {S, "status"}, {S, "errorFilename"}, {S, "cancelReason"}});
  Define(p, "WORKER_ERROR", 1, false, {{S, "hostname"}, {A, "error"}, {V, "empty"}});
  Define(p, "GET_JOBINFOS", 1, true, {{S, "jobId"}});
  Define(p, "IS_JOB_IN_QUEUE", 1, true, {{S, "jobPattern"}});
  // Defined last, so that the numbers of the requests before stay.
  Define(p, "PEEK_JOB", 3, true, {{S, "hostname"}, {S, "cpuUsages"}, {V, "empty"}, {A, "heldJobs"}, {I, "count"}});
  return p;
}

SProtocol CCprotocol_Worker() {
  SProtocol p = SProtocol_Create(kCCprotocolWorkerPort, kCCprotocolBufferSize, "CCworker");
  Define(p, "ANNOUNCE_EMPLOYER", 1, true, {{S, "hostname"}, {I, "waitingJobs"}, {I, "jobTypes"}});
  Define(p, "ANNOUNCE_EMPLOYER", 2, true, {{S, "hostname"}, {I, "waitingJobs"}, {I, "jobTypes"}, {S, "workerName"}});
  Define(p, "ANNOUNCE_EMPLOYER", 3, true,
         {{S, "hostname"}, {I, "port"}, {I, "waitingJobs"}, {S, "cpuUsages"}, {S, "workerName"}, {S, "environment"}});
  Define(p, "JOB_STATUS", 1, true, {{S, "jobId"}});
  Define(p, "CANCEL_JOB", 1, true, {{S, "jobId"}, {S, "reason"}});
  return p;
}
