// CCworker: runs the jobs of the queue servers that employ it. A server
// tells it that jobs wait; it asks for them while it has room, runs each
// command through the shell (CCrunner), and tells the server how the job
// ended. Jobs outlive the worker: one started after a killed worker takes
// over the jobs still running and reports the ends of all.
//
//   CCworker [-b ADDRESS] [-A HOSTS] [-d DIRECTORY] [-j SLOTS]
//
// -b binds the port to one address only (127.0.0.1 keeps it to this host).
// -A names the hosts besides this one that may connect: the queue servers of
// other hosts (commas between them; default TV_ALLOWED_HOSTS).
// -d is where the worker keeps its jobs (default "CCworker-<port>" in MARLDAT).
// -j is how many jobs of high CPU usage run at once (default: the number of
// processors); twice as many may run counting those of low usage, and four
// times as many counting those that need no processor to speak of.
// The port is 5611 unless TV_CCWORKER_PORT names another.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "jobqueue/CCjobBase.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/SClient.h"
#include "jobqueue/SServer.h"
#include "jobqueue/SService.h"
#include "services/CCworker/CCemployer.h"
#include "services/CCworker/CCjobDir.h"
#include "services/CCworker/CCrunner.h"

namespace {

char section[16] = "CCworker";

constexpr int kBusyTickMs = 100;
constexpr unsigned kUsageFirst = 20, kUsageLast = 25;
constexpr long kMaxSlots = 4096;  // more than any machine has processors
constexpr int kIdleTickMs = 1000;
constexpr auto kKillGrace = std::chrono::seconds(5);

struct Job {
  std::string id;
  CCjobBase_Job job = nullptr;  // owned
  CCemployer_Employer* employer = nullptr;
  int process = 0;       // the job's shell, leader of the job's process group
  bool adopted = false;  // started by the worker before: watched through its file
  std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
  bool cancelRequested = false, killed = false;
  std::chrono::steady_clock::time_point canceledAt{};
  std::uint8_t cancelReason = CCtypes_NoReason;
  bool ended = false;
  std::uint8_t status = CCtypes_Running;
  std::int32_t reportedOn = 0;  // the connection its end was told over; 0 not yet
  ~Job() { CCjobBase_Destroy(job); }
};

SServer server = nullptr;
std::map<std::string, std::unique_ptr<Job>> jobs;
std::size_t slots = 1;
int wakeRead = -1, wakeWrite = -1;
bool peeking = false;  // a job may be on its way to us

std::string Message(unsigned number, StrIn info) {
  char text[kTextCap];
  Messages_GetMsg(section, number, text);  // messages: CCworker 2-5
  SPrintf_String(text, info);
  return StrIn(text).Str();
}

std::string Text(SReqObj params, std::size_t index) { return std::string(SReqObj_Bytes(SReqObj_Element(params, index))); }
std::int32_t Number(SReqObj params, std::size_t index) { return SReqObj_GetInteger(SReqObj_Element(params, index)); }

SReqObj One(SReqObj value) {
  SReqObj results = SReqObj_CreateArray();
  SReqObj_Append(results, value);
  return results;
}

void OnChild(int) {
  const char byte = 0;
  if (::write(wakeWrite, &byte, 1) < 0) return;  // the pipe is full: a wake is pending anyway
}

std::string MachineName() {
  char name[kNameCap];
  DirAcces_GetMachineName(name);
  return StrIn(name).Str();
}

// --- Room -----------------------------------------------------------------------------------

// The CPU usages a job may have to start now, and how many jobs of any mix
// of them may start (each takes one from the room of every usage).
std::uint8_t Room(std::int32_t& count) {
  std::size_t high = 0, low = 0, free = 0;
  for (const auto& [id, j] : jobs) {
    if (j->ended) continue;
    const std::uint8_t usage = CCjobBase_GetCpuUsage(j->job);
    (usage == CCtypes_CpuLow ? low : usage == CCtypes_CpuFree ? free : high) += 1;
  }
  const std::size_t lowRoom = 2 * slots - std::min(2 * slots, high + low);
  const std::size_t left[] = {lowRoom, std::min(slots - std::min(slots, high), lowRoom),
                              4 * slots - std::min(4 * slots, high + low + free)};  // low, high, free
  std::uint8_t room = 0;
  std::size_t fewest = 4 * slots;
  for (const std::uint8_t usage : {CCtypes_CpuLow, CCtypes_CpuHigh, CCtypes_CpuFree})
    if (left[usage] > 0) room = static_cast<std::uint8_t>(room | 1U << usage), fewest = std::min(fewest, left[usage]);
  count = static_cast<std::int32_t>(room == 0 ? 0 : fewest);
  return room;
}

// --- Ends ------------------------------------------------------------------------------------

void AppendToErrorFile(CCjobBase_Job job, const std::string& text) {
  char path[kPathCap];
  CCjobBase_GetErrorFilename(job, path);
  if (path[0] == '\0') return;
  if (std::FILE* file = std::fopen(StrIn(path).Str().c_str(), "a")) {
    std::fprintf(file, "%s\n", text.c_str());
    std::fclose(file);
  }
}

void Finish(Job& j, std::uint8_t status) {
  j.status = status;
  j.ended = true;
  j.employer->hasWork = true;  // there is room again: ask
  ++j.employer->news;
  char path[kPathCap];
  CCjobBase_GetProgressFilename(j.job, path);
  if (path[0] != '\0') CCjobDir_Retire(StrIn(path).Str(), true);
  // A done job's error file goes at its end anyway (its server's clean-up):
  // kept, it becomes the next job's.
  CCjobBase_GetErrorFilename(j.job, path);
  if (status == CCtypes_Done && path[0] != '\0') CCjobDir_Retire(StrIn(path).Str(), true);
}

// The job's shell ended (or is gone): its exit status says how, or, for a
// shell of a worker before, what it wrote in the job's file.
void Ended(Job& j, const CCjobDir_Outcome& outcome) {
  if (!outcome.known && !j.cancelRequested) AppendToErrorFile(j.job, Message(4, ""));
  if (j.cancelRequested) Finish(j, CCtypes_Canceled);
  else Finish(j, outcome.known && outcome.code == 0 ? CCtypes_Done : CCtypes_Failed);
}

void Reap() {
  char bytes[64];
  while (::read(wakeRead, bytes, sizeof bytes) > 0) {
  }
  int status = 0;
  for (pid_t pid; (pid = ::waitpid(-1, &status, WNOHANG)) > 0;)
    for (auto& [id, j] : jobs)
      if (!j->adopted && j->process == pid && !j->ended)
        Ended(*j, {WIFEXITED(status), WIFEXITED(status) ? WEXITSTATUS(status) : 0});
  for (auto& [id, j] : jobs)
    if (j->adopted && !j->ended && !CCjobDir_Held(id)) Ended(*j, CCjobDir_ReadOutcome(id));
}

void Cancel(Job& j, std::uint8_t reason) {
  if (j.ended || j.cancelRequested) return;
  j.cancelRequested = true;
  j.canceledAt = std::chrono::steady_clock::now();
  j.cancelReason = reason;
  CCrunner_Cancel(j.process);
}

// Jobs over their time are canceled; canceled ones that linger are killed.
void EnforceTimeouts() {
  const auto now = std::chrono::steady_clock::now();
  for (auto& [id, j] : jobs) {
    if (j->ended) continue;
    const double timeout = CCjobBase_GetTimeout(j->job);
    if (timeout > 0 && std::chrono::duration<double>(now - j->started).count() > timeout) Cancel(*j, CCtypes_Timeout);
    if (j->cancelRequested && !j->killed && now - j->canceledAt > kKillGrace) {
      CCrunner_Kill(j->process);
      j->killed = true;
    }
  }
}

// Tells the servers of the ends, without waiting for their answers.
void Report() {
  for (auto& [id, j] : jobs) {
    if (!j->ended || j->reportedOn != 0) continue;
    char errorFile[kPathCap];
    CCjobBase_GetErrorFilename(j->job, errorFile);
    j->reportedOn = CCemployer_Report(j->employer, id, j->status, j->cancelReason, StrIn(errorFile).Str());
  }
}

// Whether the job's server answered the report of its end.
bool EndHeard(const Job& j) { return j.reportedOn != 0 && CCemployer_Heard(j.employer, j.reportedOn); }

// A job is forgotten once its server answered the report; one told over a
// connection that broke since is told again.
void Forget() {
  for (auto at = jobs.begin(); at != jobs.end();) {
    Job& j = *at->second;
    if (EndHeard(j)) {
      CCjobDir_Remove(j.id);
      at = jobs.erase(at);
      continue;
    }
    if (j.reportedOn != 0 && j.reportedOn != SClient_ConnNo(j.employer->conn)) j.reportedOn = 0;
    ++at;
  }
}

// --- Starts ----------------------------------------------------------------------------------

void Start(CCemployer_Employer* e, CCjobBase_Job job) {
  auto j = std::make_unique<Job>();
  j->job = job;
  j->employer = e;
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  j->id = StrIn(id).Str();
  // A job a worker before us took but never started was handed back
  // ("waiting"); its server may give it to us again before it answered that.
  // One whose end its server heard comes again as a new run (put back from
  // the failed list), maybe before we forgot the old one.
  const auto known = jobs.find(j->id);
  if (known != jobs.end() && known->second->ended &&
      (known->second->status == CCtypes_Waiting || EndHeard(*known->second))) {
    CCjobDir_Remove(j->id);
    jobs.erase(known);
  }
  // A job handed to us again (its server lost our word) runs once only.
  if (j->id.empty() || jobs.count(j->id) > 0) return;
  CCjobDir_Record record{j->id, e->host, e->port, e->workerName, CCjobBase_JobToString(job), 0, 0};
  const int file = CCjobDir_Create(record);
  if (file < 0) {
    // Without its record a job could be lost with the worker: it does not run.
    AppendToErrorFile(job, Message(3, j->id));
    Finish(*j, CCtypes_Failed);
    jobs[j->id] = std::move(j);
    return;
  }
  char path[kPathCap];
  CCrunner_Job run;
  CCjobBase_GetProgressFilename(job, path);
  run.progressFile = StrIn(path).Str();
  run.id = j->id;
  run.command = CCjobBase_GetCommand(job);
  CCjobBase_GetWorkDirectory(job, path);
  run.workDir = StrIn(path).Str();
  CCjobBase_GetErrorFilename(job, path);
  run.errorFile = StrIn(path).Str();
  run.employer = CCjobBase_GetEmployerHost(job).empty() ? e->host : std::string(CCjobBase_GetEmployerHost(job));
  run.uid = CCjobBase_GetUid(job);
  run.gid = CCjobBase_GetGid(job);
  // The job's shell empties its progress and error files: ones that are
  // there spare the making of new ones (not for a job of another user, who
  // could not write them).
  if (::geteuid() != 0 || run.uid < 0)
    for (const std::string* file : {&run.progressFile, &run.errorFile})
      if (!file->empty()) CCjobDir_PlaceSpare(*file);
  j->process = CCrunner_Start(run, file);
  if (j->process > 0) CCjobDir_NoteProcess(file, j->process);
  ::close(file);
  if (j->process < 0) {
    // Mostly a working directory that can't be entered; the job's error file says which.
    const bool cannotEnter = !run.workDir.empty() && ::access(run.workDir.c_str(), X_OK) != 0;
    AppendToErrorFile(job, cannotEnter ? Message(5, run.workDir) : Message(3, j->id));
    Finish(*j, CCtypes_Failed);
  }
  jobs[j->id] = std::move(j);
}

// The ids of the jobs we hold for `e`, told with each ask: the server puts
// back a job it handed us that is not among them (it never arrived), so it
// never needs to call us about them.
std::vector<std::string> Held(const CCemployer_Employer* e) {
  std::vector<std::string> ids;
  for (const auto& [id, j] : jobs)
    if (j->employer == e) ids.push_back(id);
  return ids;
}

// Asks the employers for jobs while there is room, and once, room or not,
// an employer that announced itself.
void Pull() {
  for (CCemployer_Employer* e : CCemployer_All()) {
    while (e->hasWork || e->mustAsk) {
      std::int32_t count = 0;
      const std::uint8_t room = Room(count);
      if (room == 0 && !e->mustAsk) break;
      bool reached = false;
      peeking = true;
      const std::vector<CCjobBase_Job> handed = CCemployer_Peek(e, room, count, Held(e), reached);
      peeking = false;
      for (CCjobBase_Job job : handed) Start(e, job);
      if (!reached || room == 0) break;
    }
  }
}

// --- Requests of the servers ------------------------------------------------------------------

void Announced(const SServer_Request& r) {
  std::string host = Text(r.params, 0), name = MachineName();
  std::uint16_t port = kCCprotocolServerPort;
  std::int32_t waiting = Number(r.params, 1);
  if (r.request == CCprotocol_ANNOUNCE_EMPLOYER_2) name = Text(r.params, 3);
  if (r.request == CCprotocol_ANNOUNCE_EMPLOYER_3) {
    port = static_cast<std::uint16_t>(Number(r.params, 1));
    waiting = Number(r.params, 2);
    name = Text(r.params, 4);
  }
  CCemployer_Employer* e = CCemployer_Get(host, port);
  e->workerName = name;
  e->hasWork = waiting > 0;
  e->mustAsk = true;
  ++e->news;
  e->retryAt = 0;
  SServer_Reply(r.conn, nullptr);
}

// What the worker knows of a job: "unknown" only when it is sure that the
// job never came; while one may be on its way, "waiting" asks to ask again.
void JobStatus(const SServer_Request& r) {
  const auto at = jobs.find(Text(r.params, 0));
  std::uint8_t status = at != jobs.end() ? at->second->status : peeking ? CCtypes_Waiting : CCtypes_Unknown;
  char word[kNameCap];
  CCtypes_JobStatusToString(status, word);
  SServer_Reply(r.conn, One(SReqObj_CreateString(StrIn(word).View())));
}

void CancelJob(const SServer_Request& r) {
  const auto at = jobs.find(Text(r.params, 0));
  const bool running = at != jobs.end() && !at->second->ended;
  if (running) Cancel(*at->second, CCtypes_StringToCancelReason(Text(r.params, 1)));
  SServer_Reply(r.conn, One(SReqObj_CreateBoolean(running)));
}

void Handle(SServer_Request& r) {
  if (r.request == CCprotocol_JOB_STATUS) JobStatus(r);
  else if (r.request == CCprotocol_CANCEL_JOB) CancelJob(r);
  else Announced(r);
  SReqObj_Destroy(r.params);
}

// While a request to a server waits, the worker answers what it is asked.
void Serve() {
  SServer_Request r;
  while (SServer_Next(server, 0, r)) Handle(r);
}

// At a normal end (SIGTERM, the stop file) the connections to the servers go
// with their buffers, and the jobs' records in memory (the jobs go on).
void Goodbye() {
  SClient_CloseAllConnections();
  jobs.clear();
}

// --- Start-up ------------------------------------------------------------------------------------

// The jobs a worker before us left: running ones are watched, ended ones reported.
void TakeOver() {
  for (const std::string& id : CCjobDir_List()) {
    CCjobDir_Record record;
    auto j = std::make_unique<Job>();
    j->id = id;
    // A record made whole is never unreadable; one that is was never a job.
    if (CCjobDir_Read(id, record)) j->job = CCjobBase_CreateFromString(record.jobText);
    if (j->job == nullptr) {
      CCjobDir_Remove(id);
      continue;
    }
    j->employer = CCemployer_Get(record.employerHost, record.employerPort);
    if (j->employer->workerName.empty()) j->employer->workerName = record.workerName;
    j->process = record.process;
    j->adopted = true;
    j->started -= std::chrono::seconds(std::max<std::int64_t>(0, std::time(nullptr) - record.started));
    // Not held, nothing written and no process noted: the worker before died
    // before the job started, which may start now.
    const CCjobDir_Outcome outcome = CCjobDir_ReadOutcome(id);
    if (!CCjobDir_Held(id) && !outcome.known && record.process == 0) Finish(*j, CCtypes_Waiting);
    else if (!CCjobDir_Held(id)) Ended(*j, outcome);
    jobs[id] = std::move(j);
  }
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  std::string address, jobsDir, allowed;
  long slotCount = std::max(1U, std::thread::hardware_concurrency());
  const Options_Option options[] = {
      {"-b", true, Options_Store(address)},
      {"-A", true, Options_Store(allowed)},
      {"-d", true, Options_Store(jobsDir)},
      {"-j", true, Options_Number(slotCount, 1, kMaxSlots)},
  };
  if (!Options_Read(options)) Options_Refuse("", section, kUsageFirst, kUsageLast);  // messages: CCworker 20-25
  SService_Start(argc, argv);
  slots = static_cast<std::size_t>(slotCount);
  char directory[kPathCap];
  Strings_Assign(jobsDir, directory);

  SProtocol protocol = CCprotocol_Worker();
  server = SService_Listen(protocol, address, section);  // messages: CCworker 1
  SServer_Restrict(server, SService_Peers(allowed, {}));
  if (directory[0] == '\0')
    DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, "CCworker-" + std::to_string(SProtocol_Port(protocol)), directory);
  if (!CCjobDir_Open(StrIn(directory).Str())) {
    std::fprintf(stderr, "%s\n", Message(2, directory).c_str());
    Processe_Exit();
  }

  // A child's end wakes the wait for requests.
  int wake[2];
  if (::pipe2(wake, O_CLOEXEC | O_NONBLOCK) != 0) Processe_Exit();
  wakeRead = wake[0];
  wakeWrite = wake[1];
  struct sigaction action {};
  action.sa_handler = OnChild;
  action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
  ::sigaction(SIGCHLD, &action, nullptr);
  SServer_WakeOn(server, wakeRead);
  CCemployer_SetYield(Serve);
  TakeOver();
  Processe_SetExitStatus(0);
  Processe_InstallTerminationProcedure(Goodbye);

  // Ends with SIGTERM, through the termination chain; the jobs go on.
  for (;;) {
    SServer_Request r;
    const int wait = jobs.empty() ? kIdleTickMs : kBusyTickMs;
    for (int n = 0; SServer_Next(server, n == 0 ? wait : 0, r); ++n) Handle(r);
    Reap();
    EnforceTimeouts();
    Report();
    Pull();
    Forget();
  }
}
