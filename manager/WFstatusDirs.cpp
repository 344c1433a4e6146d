// WFstatus: the directory cache. The graph asks about every folder of a
// workflow every few seconds; a directory whose stamp did not change is not
// read again, so a quiet round costs one stat a directory.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <ctime>
#include <deque>
#include <unordered_map>

#include "base/SFilMisc.h"
#include "manager/WFstatusPrivate.h"

namespace {

std::uint64_t currentRound = 1;

struct Dir {
  dev_t device = 0;
  ino_t inode = 0;
  std::int64_t modified = 0;  // ns
  std::int64_t takenAt = 0;   // when the answers below began to be taken
  std::uint64_t round = 0;    // in which round
  // -1 not asked yet. A file found ends the reading; without one the
  // reading was whole and `subdirs` holds every sub-directory.
  std::int8_t file = -1;
  std::vector<std::string> subdirs;
  std::int8_t error = -1;
  std::vector<std::pair<std::string, bool>> marks;
};

std::unordered_map<std::string, Dir> dirs;

// The cached record of `path`, its answers dropped when they may be stale;
// nil when there is no directory.
Dir* Look(const std::string& path) {
  struct stat st{};
  if (::stat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
    dirs.erase(path);
    return nullptr;
  }
  Dir& d = dirs[path];
  const bool same = d.device == st.st_dev && d.inode == st.st_ino && d.modified == WFstatus_Ns(st.st_mtim);
  const bool trusted = d.takenAt - d.modified >= kWFstatusTrustNs;
  if (!same || (!trusted && d.round != currentRound)) {
    d = Dir{};
    d.device = st.st_dev;
    d.inode = st.st_ino;
    d.modified = WFstatus_Ns(st.st_mtim);
    d.takenAt = WFstatus_NowNs();
    d.round = currentRound;
  }
  return &d;
}

bool IsDir(const std::string& path, const dirent& e) {
  if (e.d_type != DT_UNKNOWN) return e.d_type == DT_DIR;
  struct stat st{};
  return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A link counts by what it points to.
bool IsRegular(const std::string& path, const dirent& e) {
  if (e.d_type == DT_REG) return true;
  if (e.d_type != DT_LNK && e.d_type != DT_UNKNOWN) return false;
  struct stat st{};
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

// Calls `each` with every entry but "." and ".." until it answers true; true then.
template <typename Each>
bool ReadEntries(const std::string& path, Each each) {
  DIR* dir = ::opendir(path.c_str());
  if (dir == nullptr) return false;
  bool stopped = false;
  while (const dirent* e = ::readdir(dir)) {
    const std::string_view name = e->d_name;
    if (name == "." || name == "..") continue;
    if (each(*e)) {
      stopped = true;
      break;
    }
  }
  ::closedir(dir);
  return stopped;
}

void ReadFiles(const std::string& path, Dir& d) {
  d.subdirs.clear();
  const bool found = ReadEntries(path, [&](const dirent& e) {
    const std::string name = e.d_name;
    const std::string full = path + "/" + name;
    if (IsDir(full, e)) {
      d.subdirs.push_back(name);
      return false;
    }
    return name[0] != '.' && !SFilMisc_IsTmpName(name) && IsRegular(full, e);
  });
  d.file = found ? 1 : 0;
}

}  // namespace

std::int64_t WFstatus_Ns(const timespec& t) { return std::int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec; }

std::int64_t WFstatus_NowNs() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return WFstatus_Ns(now);
}

bool WFstatus_DirHoldsFiles(const std::string& path, const std::function<bool(const std::string&)>& enter) {
  std::deque<std::string> queue{path};
  while (!queue.empty()) {
    const std::string dir = std::move(queue.front());
    queue.pop_front();
    Dir* d = Look(dir);
    if (d == nullptr) continue;
    if (d->file < 0) ReadFiles(dir, *d);
    if (d->file > 0) return true;
    if (!enter) continue;
    // Sub-directories that links lead to are not entered, so no walk goes round in circles.
    for (const std::string& name : d->subdirs)
      if (enter(name)) queue.push_back(dir + "/" + name);
  }
  return false;
}

bool WFstatus_DirHoldsMark(const std::string& path, const std::string& mark) {
  Dir* d = Look(path);
  if (d == nullptr) return false;
  for (const auto& [name, there] : d->marks)
    if (name == mark) return there;
  const bool there = ::access((path + "/" + mark).c_str(), F_OK) == 0;
  d->marks.emplace_back(mark, there);
  return there;
}

bool WFstatus_DirHoldsError(const std::string& path) {
  Dir* d = Look(path);
  if (d == nullptr) return false;
  if (d->error < 0)
    d->error = ReadEntries(path, [](const dirent& e) { return WFstatus_IsErrorName(StrIn::C(e.d_name)); }) ? 1 : 0;
  return d->error > 0;
}

void WFstatus_ForgetDir(const std::string& path) { dirs.erase(path); }

void WFstatus_NewRound() { ++currentRound; }
