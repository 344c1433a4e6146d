// CCprotocol: the requests of the job queue server "CCserver" and of its
// worker "CCworker", as tables of the request layer.
//
// The server takes jobs, hands them to workers and hears how they ended; the
// worker hears from its employers (servers) that work is waiting, and is
// asked about and told to cancel the jobs it runs. Elements that a request
// carries only for its older peers are sent empty (Void).
#pragma once
#include <cstdint>

#include "jobqueue/SProtocol.h"

inline constexpr std::uint16_t kCCprotocolServerPort = 5610;
inline constexpr std::uint16_t kCCprotocolWorkerPort = 5611;
inline constexpr std::size_t kCCprotocolBufferSize = 32768;

// The server's requests, in the order CCprotocol_Server defines them.
enum : int {
  CCprotocol_SUBMIT_JOB = SProtocol_ASYNCHRONOUS_REQUESTS + 1,
  CCprotocol_ASYNC_SUBMIT_JOB,
  CCprotocol_MODIFY_JOB,
  CCprotocol_ASYNC_MODIFY_JOB,
  CCprotocol_PEEK_JOB,     // hostname, job type set
  CCprotocol_PEEK_JOB_2,   // hostname, CPU usage set text, empty
  CCprotocol_GET_QUEUESTATUS,
  CCprotocol_SET_QUEUESTATUS,
  CCprotocol_JOB_COMMAND,
  CCprotocol_JOB_FINISHED,    // hostname, id, status number, error file
  CCprotocol_JOB_FINISHED_2,  // hostname, id, status word, error file, cancel reason word
  CCprotocol_WORKER_ERROR,
  CCprotocol_GET_JOBINFOS,
  CCprotocol_IS_JOB_IN_QUEUE,
  CCprotocol_PEEK_JOB_3,  // hostname, CPU usage set text, empty, ids of the jobs the worker holds, how many it takes
};

// The worker's requests.
enum : int {
  CCprotocol_ANNOUNCE_EMPLOYER = SProtocol_ASYNCHRONOUS_REQUESTS + 1,  // hostname, waiting, job types
  CCprotocol_ANNOUNCE_EMPLOYER_2,  // ... and the worker's name
  CCprotocol_ANNOUNCE_EMPLOYER_3,  // hostname, port, waiting, CPU usages, worker name, environment
  CCprotocol_JOB_STATUS,
  CCprotocol_CANCEL_JOB,
};

// Commands of JOB_COMMAND: 0 puts failed jobs back into the queue, 1 deletes
// jobs (cancels running ones), 2 raises waiting jobs to the front.
inline constexpr std::uint8_t CCprotocol_Requeue = 0;
inline constexpr std::uint8_t CCprotocol_Delete = 1;
inline constexpr std::uint8_t CCprotocol_Raise = 2;

// "CCserver" on port 5610 (TV_CCSERVER_PORT), buffer 32768; the caller owns it.
SProtocol CCprotocol_Server();
// "CCworker" on port 5611 (TV_CCWORKER_PORT), buffer 32768; the caller owns it.
SProtocol CCprotocol_Worker();
