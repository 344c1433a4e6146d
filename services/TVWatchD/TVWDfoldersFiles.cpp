// TVWDfolders: the files of the watched folders: where each stands, when a
// settled one is handed to a job, and the folders' ".readyFiles".
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <set>

#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "services/TVWatchD/TVWDclock.h"
#include "services/TVWatchD/TVWDfoldersRec.h"
#include "services/TVWatchD/TVWDjobs.h"
#include "watch/TVWhandled.h"
#include "watch/TVWrequest.h"
#include "workflow/WFmodule.h"

using namespace TVWDfoldersRec;

namespace {

constexpr std::size_t kMaxGroup = 32;  // files of one job in the all-files mode
// Files of one job of a module command when the entry sets no number: a
// flood costs a program start per batch instead of per file, and a batch
// stays short enough that the files behind it are not held up.
constexpr std::size_t kDefaultBatch = 16;
// Ready files are spread over at least so many jobs, so that a few files
// still keep the worker's slots busy side by side.
constexpr std::size_t kSpread = 4;
// A file of a gathering folder waits for company at most so long.
constexpr std::int64_t kGatherMs = 1000;
constexpr std::uint8_t kAllFilesMode = 7, kAtOnceMode = 8;

bool Identify(const std::string& path, TVWDfolders_Identity& identity, File* file) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
  identity.inode = st.st_ino;
  identity.size = st.st_size;
  identity.mtimeNs = std::int64_t{st.st_mtim.tv_sec} * 1000000000 + st.st_mtim.tv_nsec;
  if (file != nullptr) {
    file->uid = st.st_uid;
    file->gid = st.st_gid;
  }
  return true;
}

std::int64_t QuietFor(const Dir& dir, How how) {
  const std::int64_t base = how == How::Moved ? 0 : how == How::Closed ? closedQuietMs : quietMs;
  return std::max(base, std::int64_t{entries[dir.entry].cfg->silence} * 1000);
}

// Settling and ignored files are those the folder's pick-up looks at.
bool Counted(State state) { return state == State::Settling || state == State::Ignored; }

void SetState(Dir& dir, File& f, State state) {
  if (Counted(state) && !Counted(f.state)) ++dir.settling;
  if (!Counted(state) && Counted(f.state)) --dir.settling;
  f.state = state;
}

void Settle(Dir& dir, File& f, How how, std::int64_t now) {
  SetState(dir, f, State::Settling);
  f.how = how;
  f.changedAt = now;
  f.dueAt = now + QuietFor(dir, how);
}

void Unhandle(Dir& dir, const std::string& name) {
  dir.handled.erase(name);
  dir.handledDirty = true;
}

// A stop or disk-full mark in the folder or above it, up to the entry's folder.
bool Stopped(const Dir& dir) {
  const std::string& top = entries[dir.entry].root;
  for (std::string path = dir.path;;) {
    for (const char* mark : {TVWcfg_omitMark, TVWcfg_discFullMark})
      if (::access((path + "/" + mark).c_str(), F_OK) == 0) return true;
    const std::size_t slash = path.rfind('/');
    if (path.size() <= top.size() || slash == std::string::npos || slash == 0) return false;
    path.resize(slash);
  }
}

// Whether the entry takes files in this minute.
bool Active(const TVWcfg_Entry& cfg) {
  if (TVWcfg_IsAlwaysActive(cfg.activity)) return true;
  const std::time_t now = std::time(nullptr);
  std::tm t{};
  ::localtime_r(&now, &t);
  const int weekday = (t.tm_wday + 6) % 7;  // 1 is Monday in the text form
  const TVWcfg_Activity& a = cfg.activity;
  return a.minutes[t.tm_min] && a.hours[t.tm_hour] && a.days[t.tm_mday - 1] && a.months[t.tm_mon] &&
         a.weekdays[weekday];
}

// Whether the entry runs a module command of a kind that takes several files
// in one run (all of them but those that make two jobs of a file).
bool TakesSeveral(const TVWcfg_Entry& cfg) {
  const std::string command = StrIn(cfg.cmd).Str(), word = command.substr(0, command.find(' '));
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    NameStr name;
    WFmodule_GetCmdName(kind, name);
    const std::string text = StrIn(name).Str();
    if (!text.empty() && text.substr(0, text.find(' ')) == word) return !WFmodule_TwoJobs(kind);
  }
  return false;
}

// How many of `ready` files one job takes: the entry's number where its mode
// sets one; for a module command a batch, but a file that is ready alone
// goes alone (a full batch while the folder gathers); else one.
std::size_t Group(const TVWcfg_Entry& cfg, std::size_t ready, bool gathering) {
  if (cfg.mode == kAtOnceMode) return static_cast<std::size_t>(std::max(cfg.atOnce, 1));
  if (cfg.mode == kAllFilesMode) return kMaxGroup;
  if (cfg.mode != 0 || !TakesSeveral(cfg)) return 1;
  if (gathering) return kDefaultBatch;
  return std::clamp<std::size_t>(ready / kSpread, 1, kDefaultBatch);
}

// Whether the folder gathers its files into full batches: its command takes
// several, and files of at least kSpread of its jobs still wait in it, so the
// worker is busy anyway, a file that waits for company loses no time, and a
// flood costs one program start per batch. (Jobs are counted by their files
// still here: a job whose end was not heard of holds nothing up.)
bool Gathering(const Dir& dir, const TVWcfg_Entry& cfg) {
  if (cfg.mode != 0 || dir.files.size() < dir.settling + kSpread || !TakesSeveral(cfg)) return false;
  std::set<std::string> jobs;
  for (const auto& [name, f] : dir.files)
    if (f.state == State::InHand && jobs.insert(f.jobId).second && jobs.size() >= kSpread) return true;
  return false;
}

// How many settling files of the folder are due (`due`), and how long the
// one due first has waited.
std::int64_t DueFiles(const Dir& dir, std::int64_t now, std::size_t& due) {
  due = 0;
  std::int64_t oldest = now;
  for (const auto& [name, f] : dir.files) {
    if (f.state != State::Settling || (!f.declared && now < f.dueAt)) continue;
    ++due;
    oldest = std::min(oldest, f.declared ? f.changedAt : f.dueAt);
  }
  return now - oldest;
}

// Hands `names` to jobs, `group` a job.
void Hand(Dir& dir, const std::vector<std::string>& names, std::size_t group) {
  const TVWcfg_Entry& cfg = *entries[dir.entry].cfg;
  for (std::size_t from = 0; from < names.size(); from += group) {
    std::vector<TVWDfolders_HandedFile> files;
    for (std::size_t i = from; i < std::min(names.size(), from + group); ++i)
      files.push_back({names[i], dir.files.at(names[i]).identity});
    const File& first = dir.files.at(files.front().name);
    const std::string id = TVWDjobs_Hand(cfg, dir.path, dir.key, files, static_cast<std::int32_t>(first.uid),
                                         static_cast<std::int32_t>(first.gid));
    for (const auto& handed : files) {
      File& f = dir.files.at(handed.name);
      SetState(dir, f, State::InHand);
      f.jobId = id;
      f.declared = false;
    }
  }
}

}  // namespace

namespace TVWDfoldersRec {

bool Candidate(const std::string& name) { return !name.empty() && name[0] != '.' && !SFilMisc_IsTmpName(name); }

Dir* Find(const std::string& directory) {
  const auto at = dirs.find(TVWDfolders_Key(directory));
  return at == dirs.end() ? nullptr : &at->second;
}

void Seen(Dir& dir, const std::string& name, How how, bool event) {
  const std::string path = dir.path + "/" + name;
  const std::int64_t now = TVWDclock_Now();
  const auto known = dir.files.find(name);
  if (known == dir.files.end()) {
    File f;
    if (!Identify(path, f.identity, &f)) return;
    f.jobId = TVWDjobs_Claim(dir.key, name, f.identity);
    f.state = dir.handled.count(name) != 0 ? State::Handled : !f.jobId.empty() ? State::InHand : State::Settling;
    if (Counted(f.state)) ++dir.settling;
    f.how = how;
    f.changedAt = now;
    f.dueAt = now + QuietFor(dir, how);
    dir.files.emplace(name, std::move(f));
    return;
  }
  File& f = known->second;
  switch (f.state) {
    case State::Settling:
      if (!event) return;
      // A close or a move is the writer's last word: what is there now is what was written.
      if (how != How::Written && !Identify(path, f.identity, &f)) return;
      Settle(dir, f, how, now);
      return;
    case State::InHand:
      return;
    case State::Handled:
    case State::Ignored: {
      TVWDfolders_Identity now_;
      if (!Identify(path, now_, &f) || now_ == f.identity) return;
      f.identity = now_;
      if (f.state == State::Ignored) return;
      Unhandle(dir, name);
      Settle(dir, f, how, now);
      return;
    }
  }
}

void Gone(Dir& dir, const std::string& name) {
  const auto at = dir.files.find(name);
  if (at == dir.files.end()) return;
  if (at->second.state == State::Handled) Unhandle(dir, name);
  SetState(dir, at->second, State::InHand);
  dir.files.erase(at);
}

bool SyncHandled(Dir& dir) {
  if (!TVWhandled_Lock(dir.path)) return false;
  StrVector loaded = TVWhandled_Load(dir.path);
  std::set<std::string> onDisk, result;
  for (std::size_t i = 0; i < StrVector_ElementCount(loaded); ++i) onDisk.insert(StrVector_DynElementAt(loaded, i).Str());
  StrVector_Destroy(loaded);
  // The list as it is, less what this demon took off since it last looked,
  // with what it put on; and only files that are there.
  for (const std::string& name : onDisk)
    if (dir.synced.count(name) == 0 || dir.handled.count(name) != 0) result.insert(name);
  for (const std::string& name : dir.handled)
    if (dir.synced.count(name) == 0) result.insert(name);
  std::erase_if(result, [&](const std::string& name) { return dir.files.count(name) == 0; });
  bool saved = true;
  if (result != onDisk) {
    StrVector names = StrVector_Create();
    for (const std::string& name : result) StrVector_AddElement(names, name);
    saved = TVWhandled_Save(dir.path, names);
    StrVector_Destroy(names);
    TVWDfolders_Identify(dir.path + "/" + TVWhandled_fileName, dir.ownWrite);
  }
  TVWhandled_Unlock(dir.path);
  if (!saved) return false;
  // A file taken off the list by someone else is to be done again; one put
  // on it counts as handled.
  const std::int64_t now = TVWDclock_Now();
  for (auto& [name, f] : dir.files) {
    const bool listed = result.count(name) != 0;
    if (f.state == State::Handled && !listed) Settle(dir, f, How::Closed, now);
    if (f.state == State::Settling && listed) SetState(dir, f, State::Handled);
  }
  dir.handled = result;
  dir.synced = std::move(result);
  dir.handledDirty = false;
  return true;
}

void PickUp(Dir& dir, std::int64_t now, std::size_t& budget) {
  const TVWcfg_Entry& cfg = *entries[dir.entry].cfg;
  // A gathering folder hands only full batches, and the rest too once one
  // of them has waited kGatherMs.
  const bool gathering = Gathering(dir, cfg);
  bool all = true;
  if (gathering) {
    std::size_t due = 0;
    if (DueFiles(dir, now, due) < kGatherMs) {
      if (due < kDefaultBatch) return;
      all = false;
    }
  }
  const bool blocked = Stopped(dir) || !Active(cfg);
  std::vector<std::string> ready, gone;
  for (auto& [name, f] : dir.files) {
    if (f.state == State::Ignored && !Processe_IsAlive(f.ignoredBy)) Settle(dir, f, How::Written, now);
    if (ready.size() >= budget) break;
    if (f.state != State::Settling || blocked) continue;
    if (!f.declared && now < f.dueAt) continue;
    TVWDfolders_Identity seen;
    if (!Identify(dir.path + "/" + name, seen, &f)) {
      gone.push_back(name);
      continue;
    }
    if (!(seen == f.identity) && !f.declared) {
      // Changed without a word: a writer elsewhere, or events still on the way.
      f.identity = seen;
      f.changedAt = now;
      f.dueAt = now + QuietFor(dir, f.how);
      continue;
    }
    f.identity = seen;
    if (!f.declared && now - f.changedAt < QuietFor(dir, f.how)) {
      f.dueAt = f.changedAt + QuietFor(dir, f.how);
      continue;
    }
    if (cfg.omitEmptyFiles && seen.size == 0) {
      f.dueAt = now + quietMs;
      continue;
    }
    ready.push_back(name);
  }
  for (const std::string& name : gone) Gone(dir, name);
  const std::size_t group = Group(cfg, ready.size(), gathering);
  if (!all) ready.resize(ready.size() - ready.size() % group);
  budget -= ready.size();
  Hand(dir, ready, group);
}

}  // namespace TVWDfoldersRec

void TVWDfolders_Split(const std::string& path, std::string& directory, std::string& name) {
  const std::size_t slash = path.rfind('/');
  directory = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  name = slash == std::string::npos ? path : path.substr(slash + 1);
}

bool TVWDfolders_Identify(const std::string& path, TVWDfolders_Identity& identity) {
  return Identify(path, identity, nullptr);
}

std::uint8_t TVWDfolders_Status(StrIn directory, StrIn name, std::int32_t) {
  const Dir* dir = Find(directory.Str());
  if (dir == nullptr) return TVWrequest_NotKnown;
  const auto at = dir->files.find(name.Str());
  if (at == dir->files.end()) return dir->handled.count(name.Str()) != 0 ? TVWrequest_Handled : TVWrequest_NotKnown;
  switch (at->second.state) {
    case State::InHand: return TVWrequest_InHand;
    case State::Handled: return TVWrequest_Handled;
    default: return TVWrequest_NotKnown;
  }
}

void TVWDfolders_Declare(StrIn path) {
  std::string directory, name;
  TVWDfolders_Split(path.Str(), directory, name);
  Dir* dir = Find(directory);
  if (dir == nullptr || !Candidate(name) || !Matches(*entries[dir->entry].cfg, name)) return;
  Seen(*dir, name, How::Moved, true);
  const auto at = dir->files.find(name);
  if (at == dir->files.end()) return;
  File& f = at->second;
  if (f.state == State::Handled) {
    Unhandle(*dir, name);
    Settle(*dir, f, How::Moved, TVWDclock_Now());
  }
  if (f.state == State::Settling) f.declared = true;
}

void TVWDfolders_Ignore(StrIn path, std::int32_t pid, bool begin, bool flag) {
  std::string directory, name;
  TVWDfolders_Split(path.Str(), directory, name);
  Dir* dir = Find(directory);
  if (dir == nullptr || !Candidate(name)) return;
  const auto [at, added] = dir->files.try_emplace(name);
  File& f = at->second;
  if (added) ++dir->settling;  // a file announced before it is there
  if (begin) {
    if (f.state == State::InHand) return;
    if (f.state == State::Handled) Unhandle(*dir, name);
    SetState(*dir, f, State::Ignored);
    f.ignoredBy = pid;
    return;
  }
  if (f.state != State::Ignored) return;
  if (flag && Identify(dir->path + "/" + name, f.identity, &f)) {
    SetState(*dir, f, State::Handled);
    dir->handled.insert(name);
    dir->handledDirty = true;
    return;
  }
  Settle(*dir, f, How::Written, TVWDclock_Now());
}

bool TVWDfolders_JobEnded(const std::string& dirKey, const std::vector<TVWDfolders_HandedFile>& files,
                          const std::string& id) {
  const auto at = dirs.find(dirKey);
  if (at == dirs.end()) return true;
  Dir& dir = at->second;
  for (const auto& handed : files) {
    const auto f = dir.files.find(handed.name);
    if (f == dir.files.end() || f->second.state != State::InHand || f->second.jobId != id) continue;
    SetState(dir, f->second, State::Handled);
    f->second.jobId.clear();
    dir.handled.insert(handed.name);
    dir.handledDirty = true;
  }
  return !dir.handledDirty || SyncHandled(dir);
}
