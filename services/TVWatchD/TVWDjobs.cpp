// TVWDjobs: the journal, the submitting and the events of the demon's jobs.
#include "services/TVWatchD/TVWDjobs.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <map>

#include "base/DirAcces.h"
#include "base/SFilMisc.h"
#include "jobqueue/CCclient.h"
#include "jobqueue/CCtypes.h"
#include "services/TVWatchD/TVWDclock.h"
#include "services/TVWatchD/TVWDlog.h"
#include "services/TVWatchD/TVWDstages.h"
#include "watch/TVWbase.h"
#include "watch/TVWlog.h"
#include "workflow/BEwfBase.h"

namespace {

constexpr char kJournalName[] = "tvwatchd.journal";
constexpr std::int64_t kConfirmMs = 10000;  // a job sent and not heard of for so long is asked for
constexpr std::int64_t kReconnectMs = 1000;
constexpr int kAnswerMs = 3000;
constexpr std::size_t kSendsPerTick = 200, kAsksPerTick = 50, kMinRewrite = 1000;
constexpr int kNoSuchJob = 3;  // the server's refusal of an unknown id

struct Job {
  std::string dirPath, dirKey, text;
  std::vector<TVWDfolders_HandedFile> files;
  bool sent = false;       // went out (or may have, before a restart)
  std::int64_t sentAt = 0;
  bool confirmed = false;  // the queue has it
  bool ask = false;        // its fate is open: ask the server
  bool ended = false;      // left the queue; its files wait to be recorded
  std::uint8_t endStatus = CCtypes_Unknown;
};

std::map<std::string, Job> jobs;
std::map<std::string, std::string> byFile;  // folder key, '/', name -> job id
std::deque<std::string> unsent;

std::string journalPath;
int journal = -1;
std::string pending;  // lines not written yet
bool mustSync = false;
std::size_t records = 0;

SClient conn = nullptr, listener = nullptr;
std::int32_t listenerConn = 0;
std::int64_t nextReconnect = 0;

std::string FileKey(const std::string& dirKey, const std::string& name) { return dirKey + "/" + name; }

// --- The journal ------------------------------------------------------------------------

std::string Record(const std::vector<std::string>& fields) {
  std::string line;
  for (const std::string& f : fields) line += (line.empty() ? "" : " ") + CCtypes_Escape(f);
  return CCtypes_LineEscape(line) + "\n";
}

void Append(const std::vector<std::string>& fields, bool sync) {
  pending += Record(fields);
  mustSync = mustSync || sync;
  ++records;
}

std::string JobRecord(const std::string& id, const Job& j) {
  std::vector<std::string> fields = {"H", id, j.dirPath, j.text, std::to_string(j.files.size())};
  for (const auto& f : j.files) {
    fields.push_back(f.name);
    fields.push_back(std::to_string(f.identity.inode));
    fields.push_back(std::to_string(f.identity.size));
    fields.push_back(std::to_string(f.identity.mtimeNs));
  }
  std::string text = Record(fields);
  if (j.confirmed) text += Record({"Q", id});
  return text;
}

void Flush() {
  if (pending.empty() || journal < 0) return pending.clear();
  std::size_t done = 0;
  while (done < pending.size()) {
    const ssize_t n = ::write(journal, pending.data() + done, pending.size() - done);
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  if (mustSync) ::fdatasync(journal);
  pending.clear();
  mustSync = false;
}

void Reopen() {
  if (journal >= 0) ::close(journal);
  journal = ::open(journalPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
}

// The journal written anew with the jobs that live.
void Rewrite() {
  Flush();
  std::string text;
  for (const auto& [id, j] : jobs) text += JobRecord(id, j);
  if (!SFilMisc_SaveAtomically(journalPath, text, 0644)) return;
  records = 0;
  for (const auto& [id, j] : jobs) records += j.confirmed ? 2 : 1;
  Reopen();
}

void Enter(const std::string& id, Job job) {
  for (const auto& f : job.files) byFile[FileKey(job.dirKey, f.name)] = id;
  jobs[id] = std::move(job);
}

void Forget(const std::string& id) {
  const auto at = jobs.find(id);
  if (at == jobs.end()) return;
  for (const auto& f : at->second.files) {
    const auto held = byFile.find(FileKey(at->second.dirKey, f.name));
    if (held != byFile.end() && held->second == id) byFile.erase(held);
  }
  jobs.erase(at);
}

// One line of the journal; lines cut by a crash or damaged are passed over.
void Replay(const std::string& line) {
  const std::vector<std::string> f = CCtypes_SplitEscaped(CCtypes_LineUnescape(line));
  if (f.size() == 2 && f[0] == "Q" && jobs.count(f[1]) != 0) jobs[f[1]].confirmed = true;
  if (f.size() == 2 && f[0] == "E") Forget(f[1]);
  if (f.size() < 5 || f[0] != "H") return;
  Job j;
  j.dirPath = f[2];
  j.dirKey = TVWDfolders_Key(j.dirPath);
  j.text = f[3];
  const std::size_t count = std::strtoul(f[4].c_str(), nullptr, 10);
  if (count == 0 || f.size() != 5 + 4 * count) return;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string* p = &f[5 + 4 * i];
    TVWDfolders_HandedFile file{p[0], {std::strtoull(p[1].c_str(), nullptr, 10), std::strtoll(p[2].c_str(), nullptr, 10),
                                       std::strtoll(p[3].c_str(), nullptr, 10)}};
    j.files.push_back(std::move(file));
  }
  j.sent = j.ask = true;  // whether it reached the queue, and how it fares, is to be asked
  Enter(f[1], std::move(j));
}

// --- The queue --------------------------------------------------------------------------

bool FilesThere(const Job& j) {
  for (const auto& f : j.files) {
    TVWDfolders_Identity now;
    if (TVWDfolders_Identify(j.dirPath + "/" + f.name, now) && now == f.identity) return true;
  }
  return false;
}

void Confirm(const std::string& id, Job& j) {
  if (j.confirmed) return;
  j.confirmed = true;
  Append({"Q", id}, false);
}

void Send(std::int64_t now) {
  for (std::size_t n = 0; !unsent.empty() && n < kSendsPerTick && SClient_IsConnected(conn);) {
    const auto at = jobs.find(unsent.front());
    if (at == jobs.end() || at->second.sent) {
      unsent.pop_front();
      continue;
    }
    CCjobBase_Job job = CCjobBase_CreateFromString(at->second.text);
    const bool sent = CCclient_SubmitJob(conn, job, true);
    CCjobBase_Destroy(job);
    if (!sent) return;
    at->second.sent = true;
    at->second.sentAt = now;
    unsent.pop_front();
    ++n;
  }
}

void TakeEvents() {
  CCjobEvent_Event event;
  while (CCclient_ReceiveJobEvent(listener, event)) {
    const auto at = jobs.find(StrIn(event.id).Str());
    if (at == jobs.end()) continue;
    Confirm(at->first, at->second);
    if (!event.removed) continue;
    at->second.ended = true;
    at->second.endStatus = event.status;
  }
  // A listener that had to connect again missed what happened meanwhile.
  const std::int32_t number = SClient_ConnNo(listener);
  if (number == listenerConn) return;
  listenerConn = number;
  for (auto& [id, j] : jobs) j.ask = true;
}

// Asks the server after the jobs whose fate is open.
void Ask(std::int64_t now) {
  std::size_t asked = 0;
  for (auto& [id, j] : jobs) {
    if (asked >= kAsksPerTick || !SClient_IsConnected(conn)) return;
    if (j.ended || !j.sent || !(j.ask || (!j.confirmed && now - j.sentAt > kConfirmMs))) continue;
    ++asked;
    CCjobBase_Job found = nullptr;
    if (CCclient_GetJobInfos(conn, id, found)) {
      const std::uint8_t status = CCjobBase_GetStatus(found);
      CCjobBase_Destroy(found);
      j.ask = false;
      Confirm(id, j);
      // A failed job waits in the failed list: for its files it has ended.
      if (status >= CCtypes_Done) j.ended = true, j.endStatus = status;
      continue;
    }
    if (SClient_ErrorCode(conn) != kNoSuchJob) return;  // no answer: later
    j.ask = false;
    if (!j.confirmed && FilesThere(j)) {
      j.sent = false;  // it never reached the queue: again, under its id
      unsent.push_back(id);
    } else {
      j.ended = true;
    }
  }
}

// Jobs that left the queue: their files still there become handled.
void Finish() {
  std::vector<std::string> done;
  for (const auto& [id, j] : jobs) {
    if (!j.ended || !TVWDfolders_JobEnded(j.dirKey, j.files, id)) continue;
    NameStr status;
    CCtypes_JobStatusToString(j.endStatus, status);
    for (const auto& f : j.files) TVWDlog_Line(j.dirPath, TVWlog_end, f.name + " " + id + " " + StrIn(status).Str());
    Append({"E", id}, false);
    done.push_back(id);
  }
  for (const std::string& id : done) Forget(id);
}

}  // namespace

void TVWDjobs_Init() {
  PathStr path;
  DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, kJournalName, path);
  journalPath = StrIn(path).Str();
  std::ifstream in(journalPath);
  for (std::string line; std::getline(in, line);) Replay(line);
  in.close();
  Rewrite();
  Reopen();
  conn = CCclient_Connect("", 0, nullptr);
  SClient_SetTimeout(conn, kAnswerMs);
  listener = CCclient_ConnectJobListener("");
  CCclient_SetEventMask(listener, "", TVWbase_demonName);
  listenerConn = SClient_ConnNo(listener);
}

std::string TVWDjobs_Hand(const TVWcfg_Entry& entry, const std::string& dirPath, const std::string& dirKey,
                          const std::vector<TVWDfolders_HandedFile>& files, std::int32_t uid, std::int32_t gid) {
  // The command: the entry's command word, its options (the folder's rc
  // file) and the files, each quoted for the shell.
  CCjob_ClassicJob r;
  Strings_Assign(entry.cmd, r.program);
  if (!StrIn(entry.options).Empty()) r.arguments.push_back(StrIn(entry.options).Str());
  StrVector names = StrVector_Create();
  for (const auto& f : files) {
    r.arguments.push_back(SFilMisc_QuoteForShell(f.name));
    StrVector_AddElement(names, f.name);
  }
  r.priority = static_cast<std::uint32_t>(std::max(entry.jobPriority, 0));
  Strings_Assign(dirPath, r.workDir);
  const std::string shown = StrIn(entry.readableCmd).Empty() ? StrIn(entry.cmd).Str() : StrIn(entry.readableCmd).Str();
  Strings_Assign(shown + ": " + files.front().name, r.description);
  r.uid = entry.uid >= 0 ? entry.uid : uid;
  r.gid = entry.gid >= 0 ? entry.gid : gid;
  if (!StrIn(entry.precondResource).Empty()) r.conditions.push_back("?" + StrIn(entry.precondResource).Str());
  Strings_Assign(entry.precondScript, r.script);
  CCjobBase_Job job = BEwfBase_CreateJob(r, names, entry.highCpu);
  StrVector_Destroy(names);
  std::string flow;
  std::uint32_t stage = 0;
  TVWDstages_Of(dirPath, flow, stage);
  CCjobBase_SetFlow(job, flow);
  CCjobBase_SetStage(job, stage);
  NameStr id;
  CCjobBase_GenerateId(id);
  CCjobBase_SetId(job, id);
  Job j;
  j.dirPath = dirPath;
  j.dirKey = dirKey;
  j.text = CCjobBase_JobToString(job);
  j.files = files;
  CCjobBase_Destroy(job);
  const std::string key = StrIn(id).Str();
  pending += JobRecord(key, j);
  ++records;
  mustSync = true;
  for (const auto& f : files) TVWDlog_Line(dirPath, TVWlog_start, f.name + " " + key);
  Enter(key, std::move(j));
  unsent.push_back(key);
  return key;
}

std::string TVWDjobs_Claim(const std::string& dirKey, const std::string& name, const TVWDfolders_Identity& identity) {
  const auto held = byFile.find(FileKey(dirKey, name));
  if (held == byFile.end()) return "";
  for (const auto& f : jobs.at(held->second).files)
    if (f.name == name && f.identity == identity) return held->second;
  return "";
}

void TVWDjobs_Tick() {
  const std::int64_t now = TVWDclock_Now();
  Flush();  // no job goes out before its record is safe
  if (!SClient_IsConnected(conn) && now >= nextReconnect) {
    nextReconnect = now + kReconnectMs;
    SClient_TryReconnect(conn);
  }
  Send(now);
  TakeEvents();
  Ask(now);
  Finish();
  Flush();
  if (records > 4 * jobs.size() + kMinRewrite) Rewrite();
}
