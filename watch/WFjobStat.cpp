// WFjobStat: the table of files in the job queue, fed by job events.
#include "watch/WFjobStat.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jobqueue/CCclient.h"
#include "jobqueue/CCprotocol.h"
#include "jobqueue/CCtypes.h"
#include "watch/TVWbase.h"

namespace {

constexpr std::uint8_t kJobListener = 2;  // the client type of CCjobEvents
constexpr int kAnswerMs = 3000;

struct JobRelease {
  void operator()(CCjobBase_JobRec* job) const {
    CCjobBase_Job owned = job;
    CCjobBase_Destroy(owned);
  }
};
using JobRef = std::unique_ptr<CCjobBase_JobRec, JobRelease>;

struct Folder {
  std::map<std::string, std::uint8_t> files;
  std::array<std::size_t, 3> counts{};  // files of each status
  std::vector<JobRef> jobs;
};

std::map<std::string, Folder> folderTable;

struct ProtocolRelease {
  void operator()(SProtocol_Rec* p) const { SProtocol_Destroy(p); }
};
// The listener's table of requests outlives the listener.
std::unique_ptr<SProtocol_Rec, ProtocolRelease> protocol;
SClient listener = nullptr;
bool maskSent = false;
// The connection the table was filled over; 0 for none.
std::int32_t tableLine = 0;

std::string Key(StrIn folder) {
  std::string key = folder.Str();
  while (key.size() > 1 && key.back() == '/') key.pop_back();
  return key;
}

std::string IdOf(CCjobBase_Job job) {
  NameStr id;
  CCjobBase_GetId(job, id);
  return StrIn(id).Str();
}

void DropIfEmpty(std::map<std::string, Folder>::iterator f) {
  if (f->second.files.empty() && f->second.jobs.empty()) folderTable.erase(f);
}

// The addons' tokens keep their escapes; the table holds plain names.
std::string Plain(StrIn token) { return CCtypes_Unescape(token.View()); }

void TakeEvent(const CCjobEvent_Event& event) {
  if (event.submitterName != TVWbase_demonName) return;
  TextStr first, second;
  TVWbase_FileList files = nullptr;
  if (!TVWbase_DecodeJobAddons(event.submitterAddons, first, second, files)) return;
  const std::string folder = Plain(first);
  for (std::size_t i = 0; i < StrVector_ElementCount(files); ++i) {
    const std::string file = Plain(StrVector_DynElementAt(files, i));
    if (event.removed) WFjobStat_DeleteFile(folder, file);
    else WFjobStat_AddFile(folder, file, event.status == CCtypes_Running ? WFjobStat_Running : WFjobStat_Waiting);
  }
  TVWbase_DestroyFileList(files);
}

// Empties the table when the line it was filled over is gone: a new
// connection hears nothing of what happened in between.
void FollowLine() {
  const std::int32_t line = SClient_IsConnected(listener) ? SClient_ConnNo(listener) : 0;
  if (line == tableLine) return;
  if (tableLine != 0) folderTable.clear();
  tableLine = line;
}

}  // namespace

void WFjobStat_AddFile(StrIn folder, StrIn file, std::uint8_t status) {
  if (folder.Empty() || file.Empty() || status > WFjobStat_Running) return;
  Folder& f = folderTable[Key(folder)];
  const auto [at, added] = f.files.try_emplace(file.Str(), status);
  if (!added) --f.counts[at->second];
  at->second = status;
  ++f.counts[status];
}

void WFjobStat_DeleteFile(StrIn folder, StrIn file) {
  const auto f = folderTable.find(Key(folder));
  if (f == folderTable.end()) return;
  const auto at = f->second.files.find(file.Str());
  if (at == f->second.files.end()) return;
  --f->second.counts[at->second];
  f->second.files.erase(at);
  DropIfEmpty(f);
}

void WFjobStat_AddJob(StrIn folder, CCjobBase_Job job) {
  if (folder.Empty() || job == nullptr) return;
  std::vector<JobRef>& jobs = folderTable[Key(folder)].jobs;
  const std::string id = IdOf(job);
  CCjobBase_IncRef(job);
  JobRef ref(job);
  const auto same = std::find_if(jobs.begin(), jobs.end(), [&](const JobRef& j) { return IdOf(j.get()) == id; });
  if (same != jobs.end()) *same = std::move(ref);
  else jobs.push_back(std::move(ref));
}

void WFjobStat_DeleteJob(StrIn folder, StrIn id) {
  const auto f = folderTable.find(Key(folder));
  if (f == folderTable.end()) return;
  std::erase_if(f->second.jobs, [&](const JobRef& j) { return IdOf(j.get()) == id.View(); });
  DropIfEmpty(f);
}

std::uint8_t WFjobStat_FolderStatus(StrIn folder) {
  const auto f = folderTable.find(Key(folder));
  if (f == folderTable.end()) return WFjobStat_NotKnown;
  std::uint8_t status = f->second.counts[WFjobStat_Running] > 0   ? WFjobStat_Running
                        : f->second.counts[WFjobStat_Waiting] > 0 ? WFjobStat_Waiting
                                                                  : WFjobStat_NotKnown;
  for (const JobRef& j : f->second.jobs) status = std::max(status, WFjobStat_JobStatus(j.get()));
  return status;
}

std::uint8_t WFjobStat_FileStatus(StrIn folder, StrIn file) {
  const auto f = folderTable.find(Key(folder));
  if (f == folderTable.end() || file.Empty()) return WFjobStat_NotKnown;
  const auto at = f->second.files.find(file.Str());
  if (at != f->second.files.end()) return at->second;
  const std::string_view name = file.View();
  for (const JobRef& j : f->second.jobs)
    if (CCjobBase_GetCommand(j.get()).find(name) != std::string::npos ||
        CCjobBase_GetDescription(j.get()).find(name) != std::string::npos)
      return WFjobStat_JobStatus(j.get());
  return WFjobStat_NotKnown;
}

std::uint8_t WFjobStat_JobStatus(CCjobBase_Job job) {
  if (job == nullptr) return WFjobStat_NotKnown;
  return CCjobBase_GetStatus(job) == CCtypes_Running ? WFjobStat_Running : WFjobStat_Waiting;
}

void WFjobStat_Update() {
  if (listener == nullptr) {
    // One try without waiting (a local server that is down is started), so
    // that a status view never stalls on the queue.
    protocol.reset(CCprotocol_Server());
    listener = SClient_Connect("", 0, kJobListener, protocol.get(), nullptr);
    SClient_SetTimeout(listener, kAnswerMs);
  }
  const bool up = SClient_TryReconnect(listener);
  // The mask goes out once; the connection sends it again after every reconnect.
  if (up && !maskSent) maskSent = CCclient_SetEventMask(listener, "", TVWbase_demonName);
  FollowLine();
  if (!up) return;
  CCjobEvent_Event event;
  while (CCclient_ReceiveJobEvent(listener, event)) {
    FollowLine();
    TakeEvent(event);
  }
  FollowLine();
}
