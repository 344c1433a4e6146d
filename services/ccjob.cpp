// ccjob: the job queue server (CCserver) from a shell or a script.
//
//   ccjob [-H HOST] list [-l]         the queue: waiting and running jobs, then
//                                     the failed ones; -l gives each job's text
//   ccjob [-H HOST] submit [FILE|-]   queues the job text of FILE (standard
//                                     input without it) and prints its id
//   ccjob [-H HOST] delete ID...      takes jobs out (running ones are canceled)
//   ccjob [-H HOST] raise ID...       puts waiting jobs at the front
//   ccjob [-H HOST] requeue ID...     puts failed jobs back into the queue
//   ccjob [-H HOST] stop | run        holds the queue, lets it hand out jobs
//   ccjob [-H HOST] status            "running" or "stopped"
//   ccjob [-H HOST] follow            the server's events until interrupted
//
// The server is the one of HOST (this host without -H) at its port (5610, or
// TV_CCSERVER_PORT). Unlike the suite's other clients ccjob never starts a
// server: one that is down is reported. Output lines are fields separated by
// one tab, in the order docs/ccjob.1 gives, so that scripts can cut them.
// Exit status: 0 success, 1 a reported failure or an unusable command line.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/StrVector.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCjobBase.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/Socket.h"

namespace {

char section[kSectionCap] = "ccjob";

// messages: ccjob 1-13 20-25
constexpr unsigned kUsageFirst = 1, kUsageLast = 13;
constexpr unsigned kDown = 20;        // with the host and the port
constexpr unsigned kUnreadable = 21;  // with the file
constexpr unsigned kNoJobText = 22;   // with the text's beginning
constexpr unsigned kRefused = 23;     // with the server's reason
constexpr unsigned kNoJob = 24;       // with the id
constexpr unsigned kNoQueue = 25;     // with the host

constexpr int kConnectMs = 3000;
constexpr int kGreetingMs = 10000;
constexpr int kSliceMs = 200;
constexpr std::size_t kShownText = 60;

volatile std::sig_atomic_t interrupted = 0;

struct Line {
  std::string host;
  bool jobTexts = false;  // -l
  std::string command;
  std::vector<std::string> operands;
};

void Say(unsigned number, const std::string& first = "", std::int32_t value = -1) {
  TextStr text;
  Messages_GetMsg(section, number, text);
  if (!first.empty()) SPrintf_String(text, first);
  if (value >= 0) SPrintf_Int(text, value);
  std::fprintf(stderr, "%s\n", StrIn(text).Str().c_str());
}

// The command line, read whole before anything starts; false for the usage.
bool GetLine(Line& line) {
  const Options_Option options[] = {
      {"-H", true, Options_Store(line.host)},
      {"-l", false, Options_Set(line.jobTexts)},
  };
  const auto operand = [&line](const std::string& word) {
    if (line.command.empty()) line.command = word;
    else line.operands.push_back(word);
    return true;
  };
  if (!Options_Read(options, operand)) return false;
  const std::string& c = line.command;
  const std::size_t n = line.operands.size();
  if (c == "list") return n == 0;
  if (c == "submit") return n <= 1;
  if (c == "delete" || c == "raise" || c == "requeue") return n >= 1;
  return (c == "stop" || c == "run" || c == "status" || c == "follow") && n == 0;
}

// A field of an output line: no tab or line feed inside, "-" for nothing.
std::string Field(std::string_view text) {
  std::string field(text);
  for (char& c : field)
    if (c == '\t' || c == '\n' || c == '\r') c = ' ';
  return field.empty() ? "-" : field;
}

std::string StatusWord(std::uint8_t status) {
  NameStr word;
  CCtypes_JobStatusToString(status, word);
  return StrIn(word).Str();
}

std::string QueueWord(std::uint8_t status) {
  NameStr word;
  CCtypes_QueueStatusToString(status, word);
  return StrIn(word).Str();
}

// "ID  STATUS  QUEUE  POSITION  PRIORITY  WORKER  DESCRIPTION" of a job event.
std::string JobFields(const CCevent_Event& e) {
  return Field(e.id) + "\t" + StatusWord(e.status) + "\t" + (e.inFailedQueue ? "failed" : "queue") + "\t" +
         std::to_string(e.queuePosition) + "\t" + std::to_string(e.priority) + "\t" + Field(e.workerName) + "\t" +
         Field(e.description);
}

// One line for each event that follow shows.
std::string EventLine(const CCevent_Event& e) {
  static const char* const kJobKinds[] = {"job", "status", "moved", "added", "removed", "modified"};
  static const char* const kWorkerStates[] = {"unknown", "up", "down"};
  switch (e.type) {
    case CCevent_Queue:
      return std::string("queue\t") + (e.kind == CCevent_QueueReset ? "reset" : QueueWord(e.queueStatus));
    case CCevent_Job: return std::string(kJobKinds[e.kind < std::size(kJobKinds) ? e.kind : 0]) + "\t" + JobFields(e);
    case CCevent_Cluster:
      if (e.kind == CCevent_ResetWorkers) return "workers\treset";
      return "worker\t" + Field(e.workerName) + "\t" + kWorkerStates[e.workerStatus < 3 ? e.workerStatus : 0];
    default:
      return "error\t" + std::to_string(e.errorNumber) + "\t" + Field(e.source) + "\t" + Field(e.text);
  }
}

std::string HostName(const std::string& host) {
  if (!host.empty()) return host;
  NameStr here;
  DirAcces_GetMachineName(here);
  return StrIn(here).Str();
}

// Whether a server listens; a client of the queue would start a local one.
bool ServerUp(const std::string& host) {
  SProtocol protocol = CCprotocol_Server();
  const std::uint16_t port = SProtocol_Port(protocol);
  SProtocol_Destroy(protocol);
  Socket probe = Messages_Quietly([&] { return Socket_Connect(host, port, 1024, kConnectMs); });
  if (probe != Socket_Nil()) {
    Socket_Close(probe);
    return true;
  }
  Say(kDown, HostName(host), port);
  return false;
}

bool Refused(SClient conn) {
  TextStr reason;
  SClient_GetError(conn, reason);
  Say(kRefused, StrIn(reason).Str());
  return false;
}

// The queue as the server tells a new listener: its status, the jobs in
// order (the failed ones last), then the workers, which end the account.
bool ReadQueue(const std::string& host, std::vector<CCevent_Event>& jobs, std::uint8_t& status) {
  SClient listener = CCclient_ConnectListener(host);
  bool whole = false;
  for (int waited = 0; !whole && waited < kGreetingMs && SClient_IsConnected(listener); waited += kSliceMs) {
    CCclient_AwaitEvent(listener, kSliceMs);
    CCevent_Event e;
    while (!whole && CCclient_ReceiveEvent(listener, e)) {
      if (e.type == CCevent_Queue && e.kind == CCevent_QueueStatusChanged) status = e.queueStatus;
      if (e.type == CCevent_Job) jobs.push_back(e);
      whole = e.type == CCevent_Cluster && e.kind == CCevent_ResetWorkers;
    }
  }
  SClient_CloseConn(listener);
  if (!whole) Say(kNoQueue, HostName(host));
  return whole;
}

bool List(const Line& line, SClient conn) {
  std::vector<CCevent_Event> jobs;
  std::uint8_t status = CCtypes_QueueUnknown;
  if (!ReadQueue(line.host, jobs, status)) return false;
  for (const CCevent_Event& e : jobs) {
    if (!line.jobTexts) {
      std::printf("%s\n", JobFields(e).c_str());
      continue;
    }
    // A job that left the queue since is passed over.
    CCjobBase_Job job = nullptr;
    if (!CCclient_GetJobInfos(conn, e.id, job)) continue;
    std::printf("%s\n", CCjobBase_JobToString(job).c_str());
    CCjobBase_Destroy(job);
  }
  return true;
}

bool Submit(const Line& line, SClient conn) {
  const std::string file = line.operands.empty() ? "-" : line.operands.front();
  std::string text;
  if (!SFilMisc_ReadAll(file, text)) {
    Say(kUnreadable, file);
    return false;
  }
  // The text as typed: the line feed of its last line is no part of it.
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) text.pop_back();
  CCjobBase_Job job = CCjobBase_CreateFromString(text);
  if (job == nullptr) {
    Say(kNoJobText, Field(text.substr(0, kShownText)));
    return false;
  }
  const bool sent = CCclient_SubmitJob(conn, job, false);
  NameStr id;
  CCjobBase_GetId(job, id);
  CCjobBase_Destroy(job);
  if (!sent) return Refused(conn);
  std::printf("%s\n", StrIn(id).Str().c_str());
  return true;
}

// delete, raise, requeue. The server passes over ids it does not know; those
// are told here, the others done.
bool JobCommand(const Line& line, SClient conn) {
  const std::uint8_t command = line.command == "delete"  ? CCprotocol_Delete
                               : line.command == "raise" ? CCprotocol_Raise
                                                         : CCprotocol_Requeue;
  bool all = true;
  StrVector ids = StrVector_Create();
  for (const std::string& id : line.operands) {
    CCjobBase_Job job = nullptr;
    if (CCclient_GetJobInfos(conn, id, job)) {
      StrVector_AddElement(ids, id);
    } else {
      Say(kNoJob, id);
      all = false;
    }
    CCjobBase_Destroy(job);
  }
  // A job is in the queue or among the failed ones; a delete reaches both.
  bool sent = true;
  if (command != CCprotocol_Requeue) sent = CCclient_JobCommand(conn, command, ids, false);
  if (sent && command != CCprotocol_Raise) sent = CCclient_JobCommand(conn, command, ids, true);
  StrVector_Destroy(ids);
  return (sent || Refused(conn)) && all;
}

void OnInterrupt(int) { interrupted = 1; }

// The events until SIGINT (status 0) or until the server goes (status 1).
bool Follow(const Line& line) {
  Processe_InstallSignalHandler(SIGINT, OnInterrupt);
  SClient listener = CCclient_ConnectListener(line.host);
  bool connected = SClient_IsConnected(listener);
  // From here on an end by SIGTERM is an end in order too.
  Processe_SetExitStatus(0);
  while (connected && interrupted == 0) {
    CCclient_AwaitEvent(listener, kSliceMs);
    CCevent_Event e;
    while (CCclient_ReceiveEvent(listener, e)) std::printf("%s\n", EventLine(e).c_str());
    std::fflush(stdout);
    connected = SClient_IsConnected(listener);
  }
  SClient_CloseConn(listener);
  if (!connected) Say(kNoQueue, HostName(line.host));
  Processe_SetExitStatus(connected ? 0 : 1);
  return connected;
}

bool Run(const Line& line) {
  if (!ServerUp(line.host)) return false;
  if (line.command == "follow") return Follow(line);
  SClient conn = CCclient_Connect(line.host, kConnectMs, nullptr);
  bool ok = false;
  if (line.command == "list") {
    ok = List(line, conn);
  } else if (line.command == "submit") {
    ok = Submit(line, conn);
  } else if (line.command == "stop" || line.command == "run") {
    const bool stop = line.command == "stop";
    ok = CCclient_SetQueueStatus(conn, stop ? CCtypes_QueueStopped : CCtypes_QueueRunning) || Refused(conn);
  } else if (line.command == "status") {
    const std::uint8_t status = CCclient_GetQueueStatus(conn);
    ok = status != CCtypes_QueueUnknown || Refused(conn);
    if (ok) std::printf("%s\n", QueueWord(status).c_str());
  } else {
    ok = JobCommand(line, conn);
  }
  SClient_CloseConn(conn);
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  Line line;
  if (!GetLine(line)) Options_Refuse("CCJOBmsg", section, kUsageFirst, kUsageLast);
  Processe_Init();
  Messages_Init();
  DirAcces_Init();
  Messages_UseMsgCat("CCJOBmsg");
  Processe_SetExitStatus(1);
  Processe_SetExitStatus(Run(line) ? 0 : 1);
  Processe_Exit();
  return Processe_GetExitStatus();
}
