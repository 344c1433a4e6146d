// CCworkers: the workers the server hands jobs to, and its calls to them.
//
// A worker is known by its name: "localhost" for the one on this host, the
// host name for others, or whatever name a worker asks for jobs under. The
// server calls a worker to tell it that jobs wait (it then asks for them
// itself), to ask whether it runs a job, and to cancel one. A worker that
// went away (its connection to us closed, or a call failed) is "down": it is
// tried again once a second, and when it is back the server asks about the
// jobs it ran.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "jobqueue/SClient.h"
#include "jobqueue/SServer.h"

struct CCworkers_Worker {
  std::string name, host;
  bool local = false;
  SClient conn = nullptr;
  bool up = false;
  bool idle = true;        // its last ask found nothing: tell it when jobs come
  bool full = false;       // its last ask had no room: it asks again by itself
  std::uint64_t seen = 0;  // the server's generation of changes at that ask
  bool recheck = true;     // find out which of its jobs it holds: at its next ask, or by asking it
  bool toldToAsk = false;  // announced so that it asks (and tells what it holds)
  bool oldAsks = false;    // it asks without telling what it holds: it is called about each job
  std::int64_t retryAt = 0;  // steady milliseconds
  SServer_Conn from = nullptr;  // its own connection to us
};

// Makes the table's entry for a worker on `host` ("" this machine) at the
// worker port; the local one answers to "localhost".
CCworkers_Worker* CCworkers_Add(const std::string& name, const std::string& host);
// The worker of that name; one unknown so far is entered as a host of that name.
CCworkers_Worker* CCworkers_Get(const std::string& name);
std::vector<CCworkers_Worker*> CCworkers_All();
// The worker spoke to us over `from`; heard over a new connection, it is
// asked about the jobs it ran.
void CCworkers_Heard(CCworkers_Worker* w, SServer_Conn from);
// A connection to us went; the worker it belonged to is down.
void CCworkers_ConnectionGone(SServer_Conn from);

// Tries to reach a worker that is down, when its time has come; true when it
// is up (now or already).
bool CCworkers_Reach(CCworkers_Worker* w);
// Tells the worker that `waiting` jobs of the CPU usages `cpuUsages` wait at
// this server (port `port`). False when it could not be told.
bool CCworkers_Announce(CCworkers_Worker* w, std::uint16_t port, std::size_t waiting, std::uint8_t cpuUsages);
// The status the worker knows job `id` by: a job status number, 0 when it
// does not know it, -1 when it could not be asked.
int CCworkers_JobStatus(CCworkers_Worker* w, const std::string& id);
// Asks the worker to cancel job `id`: 1 it will, 0 it does not run it, -1
// it could not be asked. A worker that tells what it holds is not waited for
// (a stopped one would hold the server up): it reports the job's end, and
// one that does not hold the job says so at its next ask, which it is told
// to make.
int CCworkers_Cancel(CCworkers_Worker* w, const std::string& id, std::uint8_t reason);
