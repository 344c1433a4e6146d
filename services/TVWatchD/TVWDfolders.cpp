// TVWDfolders: the watched directories: which the configuration names,
// their inotify watches, scans, and the events that arrive.
#include "services/TVWatchD/TVWDfolders.h"

#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "services/TVWatchD/TVWDclock.h"
#include "services/TVWatchD/TVWDfoldersRec.h"
#include "services/TVWatchD/TVWDstages.h"
#include "watch/TVWhandled.h"
#include "workflow/WFmodule.h"
#include "workflow/WFtvwCfg.h"

using namespace TVWDfoldersRec;

namespace TVWDfoldersRec {

std::vector<Entry> entries;
std::map<std::string, Dir> dirs;
std::int64_t quietMs = 2000, closedQuietMs = 250;

bool Matches(const TVWcfg_Entry& cfg, const std::string& name) {
  return SRegExpr_Match(cfg.filesRegExp, name) && !SRegExpr_Match(cfg.omitFilesRegExp, name);
}

}  // namespace TVWDfoldersRec

namespace {

constexpr std::uint32_t kEvents = IN_CREATE | IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVED_TO | IN_MOVED_FROM |
                                  IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::int64_t kUnwatchedScanMs = 2000;  // a folder inotify can't watch is polled
constexpr std::int64_t kRootLookMs = 1000;       // a folder that isn't there is looked for
constexpr int kMaxDepth = 32;
constexpr std::size_t kHandsPerTick = 200;  // so that a flood of files leaves the demon answering
constexpr std::size_t kLeastShare = 16;     // a folder's files per tick however many folders are busy
constexpr WFmodule_Kind kFilingKinds[] = {7, 8};  // sort, distribute

int inotifyFd = -1;
TVWcfg_List config = nullptr;
std::map<int, std::string> byWatch;  // watch -> directory key
std::map<std::string, std::size_t> rootKeys;  // the entries' folders -> the first entry of each

bool IsDirectory(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::int64_t IntervalMs(const Entry& e) {
  const std::int32_t seconds = e.cfg->interval >= 1 ? e.cfg->interval : TVWcfg_DefaultWatchInterval;
  return std::int64_t{seconds} * 1000;
}

void Watch(Dir& dir) {
  if (inotifyFd < 0 || dir.watch >= 0) return;
  dir.watch = ::inotify_add_watch(inotifyFd, dir.path.c_str(), kEvents);
  if (dir.watch >= 0) byWatch[dir.watch] = dir.key;
}

void Unwatch(Dir& dir) {
  if (dir.watch < 0) return;
  byWatch.erase(dir.watch);
  ::inotify_rm_watch(inotifyFd, dir.watch);
  dir.watch = -1;
}

void LoadHandled(Dir& dir) {
  StrVector names = TVWhandled_Load(dir.path);
  dir.handled.clear();
  for (std::size_t i = 0; i < StrVector_ElementCount(names); ++i) dir.handled.insert(StrVector_DynElementAt(names, i).Str());
  dir.synced = dir.handled;
  StrVector_Destroy(names);
}

// Whether `dir` is a folder of a kind whose step files what it is given into
// directories below it (sort, distribute): what lies there has arrived.
bool FilesBelow(const std::string& dir) {
  for (const WFmodule_Kind kind : kFilingKinds) {
    NameStr rc;
    WFmodule_GetRcFileName(kind, rc);
    if (::access((dir + "/" + StrIn(rc).Str()).c_str(), F_OK) == 0) return true;
  }
  return false;
}

// Whether a sub-directory `name` of a folder of entry `e` belongs to it: not
// omitted, not filed into, and no folder with an entry of its own.
bool Descends(const Entry& e, const std::string& child, const std::string& name, int depth) {
  if (!e.cfg->subdirs || depth > kMaxDepth || WFtvwCfg_MyOmitDir(e.cfg->omit, name)) return false;
  if (FilesBelow(child.substr(0, child.size() - name.size() - 1))) return false;
  const auto owner = rootKeys.find(TVWDfolders_Key(child));
  return owner == rootKeys.end() || entries[owner->second].cfg == e.cfg;
}

void Scan(Dir& dir, std::int64_t now);

// Makes the directory `path` a folder of entry `entry`, taking over what
// `old` knew of it; nil when it is some folder already or no directory.
Dir* Claim(std::size_t entry, const std::string& path, std::map<std::string, Dir>& into,
           std::map<std::string, Dir>& old) {
  const std::string key = TVWDfolders_Key(path);
  if (into.count(key) != 0 || !IsDirectory(path)) return nullptr;
  const auto kept = old.find(key);
  Dir& dir = into[key];
  if (kept != old.end()) {
    dir = std::move(kept->second);
    old.erase(kept);
  } else {
    dir.key = key;
    LoadHandled(dir);
  }
  dir.path = path;
  dir.entry = entry;
  return &dir;
}

// The folders below `path` (at `depth` below the entry's folder) that belong
// to entry `entry`.
void WalkBelow(std::size_t entry, const std::string& path, int depth, std::map<std::string, Dir>& into,
               std::map<std::string, Dir>& old) {
  DIR* d = ::opendir(path.c_str());
  if (d == nullptr) return;
  std::vector<std::string> children;
  while (const dirent* e = ::readdir(d)) {
    const std::string name = e->d_name;
    const std::string child = path + "/" + name;
    if (name == "." || name == ".." || (e->d_type != DT_DIR && !((e->d_type == DT_LNK || e->d_type == DT_UNKNOWN) && IsDirectory(child))))
      continue;
    if (Descends(entries[entry], child, name, depth + 1)) children.push_back(child);
  }
  ::closedir(d);
  for (const std::string& child : children)
    if (Claim(entry, child, into, old) != nullptr) WalkBelow(entry, child, depth + 1, into, old);
}

int Depth(const Entry& e, const std::string& path) {
  int depth = 0;
  for (std::size_t i = e.root.size(); i < path.size(); ++i) depth += path[i] == '/';
  return depth;
}

// Watches and scans the folders that are new.
void Adopt() {
  const std::int64_t now = TVWDclock_Now();
  for (auto& [key, dir] : dirs) {
    if (dir.adopted) continue;
    dir.adopted = true;
    Watch(dir);
    Scan(dir, now);
  }
}

// Takes in the folders of `found` that are not there yet.
void Add(std::map<std::string, Dir>& found) {
  for (auto& [key, dir] : found)
    if (dirs.count(key) == 0) dirs.emplace(key, std::move(dir));
  Adopt();
}

// A new sub-directory of a watched folder, by an event or a scan.
void AddSubdirectory(const Dir& parent, const std::string& name) {
  const std::size_t entry = parent.entry;
  const std::string child = parent.path + "/" + name;
  const int depth = Depth(entries[entry], child);
  if (!Descends(entries[entry], child, name, depth)) return;
  std::map<std::string, Dir> found, none;
  if (Claim(entry, child, found, none) != nullptr) WalkBelow(entry, child, depth, found, none);
  Add(found);
}

void Drop(const std::string& key) {
  const auto at = dirs.find(key);
  if (at == dirs.end()) return;
  for (Entry& e : entries)
    if (e.root == at->second.path || TVWDfolders_Key(e.root) == key) e.present = false;
  Unwatch(at->second);
  dirs.erase(at);
}

// A directory that left a watched folder takes the folders below it along.
void DropTree(const std::string& path) {
  std::vector<std::string> keys;
  for (const auto& [key, dir] : dirs)
    if (dir.path == path || dir.path.rfind(path + "/", 0) == 0) keys.push_back(key);
  for (const std::string& key : keys) Drop(key);
}

// The folder `e` (entry number `i`) and the folders below it.
void ClaimEntry(std::size_t i, std::map<std::string, Dir>& into, std::map<std::string, Dir>& old) {
  const Entry& e = entries[i];
  if (Claim(i, e.root, into, old) != nullptr && e.cfg->subdirs) WalkBelow(i, e.root, 0, into, old);
}

void Scan(Dir& dir, std::int64_t now) {
  const Entry& e = entries[dir.entry];
  dir.nextScan = now + (dir.watch >= 0 ? IntervalMs(e) : kUnwatchedScanMs);
  DIR* d = ::opendir(dir.path.c_str());
  if (d == nullptr) return;
  std::set<std::string> present;
  std::vector<std::string> subdirectories;
  while (const dirent* entry = ::readdir(d)) {
    const std::string name = entry->d_name;
    if (entry->d_type == DT_DIR) {
      if (name != "." && name != "..") subdirectories.push_back(name);
      continue;
    }
    if (!Candidate(name) || !Matches(*e.cfg, name)) continue;
    present.insert(name);
    Seen(dir, name, How::Written, false);
  }
  ::closedir(d);
  std::vector<std::string> gone;
  for (const auto& [name, file] : dir.files)
    if (present.count(name) == 0 && file.state != State::Ignored) gone.push_back(name);
  for (const std::string& name : gone) Gone(dir, name);
  for (const std::string& name : dir.handled)
    if (dir.files.count(name) == 0) dir.handledDirty = true;
  for (const std::string& name : subdirectories)
    if (dirs.count(TVWDfolders_Key(dir.path + "/" + name)) == 0) AddSubdirectory(dir, name);
}

void TakeEvent(const inotify_event& event, bool& overflow) {
  if ((event.mask & IN_Q_OVERFLOW) != 0) {
    overflow = true;
    return;
  }
  const auto watched = byWatch.find(event.wd);
  if (watched == byWatch.end()) return;
  const std::string key = watched->second;
  if ((event.mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF)) != 0) return Drop(key);
  Dir& dir = dirs.at(key);
  const std::string name = event.len > 0 ? event.name : "";
  if ((event.mask & IN_ISDIR) != 0) {
    if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) AddSubdirectory(dir, name);
    if ((event.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) DropTree(dir.path + "/" + name);
    return;
  }
  if (name == TVWhandled_fileName) {
    TVWDfolders_Identity now;
    const bool there = TVWDfolders_Identify(dir.path + "/" + name, now);
    if (!there || !(now == dir.ownWrite)) dir.handledDirty = true;
    return;
  }
  if (!Candidate(name) || !Matches(*entries[dir.entry].cfg, name)) return;
  if ((event.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) return Gone(dir, name);
  const How how = (event.mask & IN_MOVED_TO) != 0 ? How::Moved : (event.mask & IN_CLOSE_WRITE) != 0 ? How::Closed : How::Written;
  Seen(dir, name, how, (event.mask & IN_ATTRIB) == 0);
}

}  // namespace

std::string TVWDfolders_Key(const std::string& directory) {
  char real[PATH_MAX];
  if (::realpath(directory.c_str(), real) != nullptr) return real;
  std::string key = directory;
  while (key.size() > 1 && key.back() == '/') key.pop_back();
  return key;
}

bool TVWDfolders_Init(std::int64_t quiet) {
  quietMs = quiet;
  closedQuietMs = quiet / 8;
  inotifyFd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  return inotifyFd >= 0;
}

int TVWDfolders_Descriptor() { return inotifyFd; }

void TVWDfolders_Configure(TVWcfg_List list) {
  std::vector<Entry> next;
  for (TVWcfg_Entry* e = list; e != nullptr; e = e->next) next.push_back({e, e->folder, false, 0});
  entries = std::move(next);
  rootKeys.clear();
  TVWDstages_Forget();
  for (std::size_t i = 0; i < entries.size(); ++i) rootKeys.try_emplace(TVWDfolders_Key(entries[i].root), i);
  // Each folder of an entry of its own first (the first entry of a directory
  // wins), then the trees below them.
  std::map<std::string, Dir> into, old = std::move(dirs);
  dirs.clear();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    entries[i].present = IsDirectory(entries[i].root);
    if (entries[i].present) Claim(i, entries[i].root, into, old);
  }
  for (std::size_t i = 0; i < entries.size(); ++i)
    if (entries[i].present && entries[i].cfg->subdirs && rootKeys.at(TVWDfolders_Key(entries[i].root)) == i)
      WalkBelow(i, entries[i].root, 0, into, old);
  for (auto& [key, dir] : old) Unwatch(dir);
  dirs = std::move(into);
  // Every folder is scanned anew: its patterns may have changed.
  for (auto& [key, dir] : dirs) dir.adopted = false;
  Adopt();
  TVWcfg_Destroy(config);
  config = list;
}

void TVWDfolders_TakeEvents() {
  if (inotifyFd < 0) return;
  alignas(inotify_event) char buffer[64 * 1024];
  bool overflow = false;
  for (;;) {
    const ssize_t n = ::read(inotifyFd, buffer, sizeof buffer);
    if (n <= 0) break;
    for (ssize_t at = 0; at < n;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
      TakeEvent(*event, overflow);
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
  }
  if (!overflow) return;
  const std::int64_t now = TVWDclock_Now();
  for (auto& [key, dir] : dirs) dir.nextScan = now;
}

void TVWDfolders_Tick() {
  std::int64_t now = TVWDclock_Now();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    Entry& e = entries[i];
    if (e.present || now < e.nextLook) continue;
    e.nextLook = now + kRootLookMs;
    if (!IsDirectory(e.root) || dirs.count(TVWDfolders_Key(e.root)) != 0) continue;
    e.present = true;
    std::map<std::string, Dir> found, none;
    ClaimEntry(i, found, none);
    Add(found);
  }
  std::vector<std::string> due;
  for (const auto& [key, dir] : dirs)
    if (now >= dir.nextScan) due.push_back(key);
  for (const std::string& key : due)
    if (dirs.count(key) != 0) Scan(dirs.at(key), now);
  now = TVWDclock_Now();
  // Each folder with files gets its share, so that a flood into one folder
  // holds no file of another.
  std::size_t busy = 0;
  for (const auto& [key, dir] : dirs) busy += dir.settling > 0;
  const std::size_t share = std::max(kHandsPerTick / std::max<std::size_t>(busy, 1), kLeastShare);
  for (auto& [key, dir] : dirs) {
    std::size_t budget = share;
    if (dir.settling > 0) PickUp(dir, now, budget);
    if (dir.handledDirty) SyncHandled(dir);
  }
}
