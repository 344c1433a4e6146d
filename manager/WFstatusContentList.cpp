// WFstatusContent: the file lists of folders and the states of their files.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "manager/WFstatusContentPrivate.h"
#include "rules/SRename.h"
#include "toolkit/I.h"
#include "watch/TVWbase.h"
#include "watch/TVWhandled.h"
#include "watch/TVWrequest.h"
#include "watch/TVWsupp.h"
#include "watch/WFjobStat.h"
#include "workflow/WFtvwCfg.h"

namespace {

constexpr int kConnectMs = 1000, kConnCheckMs = 5000, kIdleSeconds = 300;
constexpr std::uint32_t kSchemeByFormat = 2, kSeveralSchemes = 3, kPassUnmatched = 1;
constexpr WFmodule_Kind kRenameModule = 2;

// --- The list cache ------------------------------------------------------------------------------

struct CachedList {
  WFstatus_DirStamp stamp;
  WFstatus_FileList files;
};
std::unordered_map<std::string, CachedList> cache;

void ReadList(const std::string& dir, WFstatus_FileList& list) {
  list.clear();
  DIR* d = ::opendir(dir.c_str());
  if (d == nullptr) return;
  while (const dirent* e = ::readdir(d)) {
    const char* name = e->d_name;
    if (name[0] == '.' || std::strlen(name) >= sizeof(WFstatus_File::name) || SFilMisc_IsTmpName(StrIn::C(name)))
      continue;
    struct stat st{};
    if (e->d_type != DT_REG && e->d_type != DT_LNK && e->d_type != DT_UNKNOWN) continue;
    if (::stat((dir + "/" + name).c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    WFstatus_File f{};
    std::strcpy(f.name, name);
    f.modified = WFstatus_Ns(st.st_mtim);
    f.seconds = static_cast<std::int32_t>(st.st_mtim.tv_sec);
    f.size = static_cast<std::int64_t>(st.st_size);
    tm local{};
    ::localtime_r(&st.st_mtim.tv_sec, &local);
    std::strftime(f.modifiedText, sizeof f.modifiedText, "%Y-%m-%d %H:%M:%S", &local);
    list.push_back(f);
  }
  ::closedir(d);
  std::sort(list.begin(), list.end(),
            [](const WFstatus_File& a, const WFstatus_File& b) { return std::strcmp(a.name, b.name) < 0; });
  // The names the demon handled and left here.
  StrVector handled = TVWhandled_Load(dir);
  std::unordered_set<std::string> ready;
  for (std::size_t i = 0; i < StrVector_ElementCount(handled); ++i) ready.insert(StrVector_DynElementAt(handled, i).Str());
  StrVector_Destroy(handled);
  for (WFstatus_File& f : list) f.listedReady = ready.count(f.name) > 0;
}

// --- Rename schemes, kept while their files stay the same ---------------------------------------

struct Scheme {
  std::int64_t modified = 0;
  SRename scheme = nullptr;
  ~Scheme() { SRename_Destroy(scheme); }
};
std::unordered_map<std::string, std::unique_ptr<Scheme>> schemes;

SRename LoadScheme(const std::string& path) {
  struct stat st{};
  if (::stat(path.c_str(), &st) != 0) return nullptr;
  std::unique_ptr<Scheme>& known = schemes[path];
  if (known != nullptr && known->modified == WFstatus_Ns(st.st_mtim)) return known->scheme;
  known = std::make_unique<Scheme>();
  known->modified = WFstatus_Ns(st.st_mtim);
  if (!Messages_Quietly([&] { return SRename_Load(path, known->scheme); })) known->scheme = nullptr;
  return known->scheme;
}

// The rename schemes a Rename folder holds its files' names against; none
// for other folders, for a folder that renames by the file's format or
// passes unfitting names on, and in single mode.
std::vector<SRename> NameSchemes(WFfolder folder) {
  std::vector<SRename> result;
  if (WFfolder_ModuleKind(folder) != kRenameModule || WFstatus_InSingleMode(folder)) return result;
  const std::uint32_t mode = WFfolder_GetCardOptDef(folder, "MODE", 1);
  if (mode == kSchemeByFormat || WFfolder_GetCardOptDef(folder, "NOMATCHMODE", 0) == kPassUnmatched) return result;
  std::vector<std::string> keys;
  if (mode != kSeveralSchemes) {
    keys.push_back("SCHEME");
  } else {
    const std::uint32_t count = WFfolder_GetCardOptDef(folder, "SCHEMECOUNT", 64);
    for (std::uint32_t n = 0; n < count; ++n) keys.push_back("SCHEME_" + std::to_string(n));
  }
  const std::string dir = WFstatus_PathOf(folder);
  for (const std::string& key : keys) {
    TextStr path;
    if (!WFfolder_GetStringOpt(folder, key, path)) break;
    const std::string full = path[0] == '/' ? StrIn(path).Str() : dir + "/" + StrIn(path).Str();
    // A scheme that can't be read judges nothing: the step reports it.
    SRename scheme = LoadScheme(full);
    if (scheme == nullptr) return {};
    result.push_back(scheme);
  }
  return result;
}

bool FitsAScheme(const std::vector<SRename>& list, const char* name) {
  return std::any_of(list.begin(), list.end(), [&](SRename s) { return SRename_Match(s, StrIn::C(name)); });
}

// Whether the demon's entry takes the file at all.
bool SearchedFor(const TVWcfg_Entry* entry, const WFstatus_File& f) {
  if (entry == nullptr) return false;
  if (entry->filesRegExp != nullptr && !SRegExpr_Match(entry->filesRegExp, StrIn::C(f.name))) return false;
  if (entry->omitFilesRegExp != nullptr && SRegExpr_Match(entry->omitFilesRegExp, StrIn::C(f.name))) return false;
  return !(entry->omitEmptyFiles && f.size == 0);
}

// --- The demon -----------------------------------------------------------------------------------

TVWrequest_Connection connection = nullptr;
int connectionTask = -1;
WFtvwCfg_CfgFileID lastConfiguration;

void CheckDemonConnTask(std::uintptr_t) {
  TVWbase_DemonInfo info;
  const bool running = Messages_Quietly([&] { return TVWbase_DemonRunning(info); });
  if (connection != nullptr && running && TVWrequest_IdleTime(connection) <= kIdleSeconds) {
    I_RescheduleTask(kConnCheckMs);
    return;
  }
  TVWrequest_CloseConn(connection);
  connectionTask = I_NilTask();
}

// Asks the demon about `asked` (files of `dir`); 1 handled, 2 in hand.
void AskDemon(const std::string& dir, const std::vector<WFstatus_File*>& asked) {
  if (asked.empty() || !WFstatus_EstablishDemonConnection()) return;
  TVWrequest_File* list = nullptr;
  TVWrequest_File** tail = &list;
  std::vector<WFstatus_File*> sent;
  for (WFstatus_File* f : asked) {
    // A name that can't travel on a line, or is longer than a request
    // takes, stays new.
    if (std::strlen(f->name) >= kNameCap || std::strchr(f->name, '\n') != nullptr) continue;
    *tail = TVWrequest_CreateFile(StrIn::C(f->name), f->seconds);
    tail = &(*tail)->next;
    sent.push_back(f);
  }
  if (TVWrequest_QueryFileStatus(connection, dir, list)) {
    std::size_t i = 0;
    for (const TVWrequest_File* r = list; r != nullptr; r = r->next, ++i) {
      if (r->status == TVWrequest_Handled) sent[i]->state = WFstatus_fsHandled;
      else if (r->status == TVWrequest_InHand) sent[i]->state = WFstatus_fsInHand;
    }
  } else if (TVWrequest_GetConnStatus(connection) != 0) {
    TVWrequest_CloseConn(connection);  // gone in the middle: the files stay new
  }
  TVWrequest_DestroyFileList(list);
}

}  // namespace

// --- Lists ---------------------------------------------------------------------------------------

bool WFstatus_StampDir(const std::string& dir, WFstatus_DirStamp& stamp) {
  struct stat st{};
  if (::stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
    stamp = WFstatus_DirStamp{};
    return false;
  }
  stamp.device = st.st_dev;
  stamp.inode = st.st_ino;
  stamp.modified = WFstatus_Ns(st.st_mtim);
  stamp.takenAt = WFstatus_NowNs();
  stamp.exists = true;
  return true;
}

bool WFstatus_SameDir(const WFstatus_DirStamp& before, const WFstatus_DirStamp& now) {
  return before.exists && now.exists && before.device == now.device && before.inode == now.inode &&
         before.modified == now.modified;
}

bool WFstatus_SameStamp(const WFstatus_DirStamp& before, const WFstatus_DirStamp& now) {
  return WFstatus_SameDir(before, now) && before.takenAt - before.modified >= kWFstatusTrustNs;
}

WtTableD_Record* WFstatus_LinkFileList(WFstatus_FileList& list) {
  for (std::size_t i = 0; i < list.size(); ++i) list[i].link.next = i + 1 < list.size() ? &list[i + 1].link : nullptr;
  return list.empty() ? nullptr : &list.front().link;
}

void WFstatus_CreateFileList(StrIn directory, WFstatus_FileList& list, bool* fresh) {
  const std::string dir = directory.Str();
  WFstatus_DirStamp stamp;
  if (fresh != nullptr) *fresh = false;
  if (!WFstatus_StampDir(dir, stamp)) {
    cache.erase(dir);
    list.clear();
    return;
  }
  CachedList& cached = cache[dir];
  if (!WFstatus_SameStamp(cached.stamp, stamp)) {
    ReadList(dir, cached.files);
    cached.stamp = stamp;
    if (fresh != nullptr) *fresh = true;
  }
  list = cached.files;
}

bool WFstatus_CheckListEmpty(StrIn directory) {
  WFstatus_FileList list;
  WFstatus_CreateFileList(directory, list);
  return std::none_of(list.begin(), list.end(), [](const WFstatus_File& f) {
    return WFstatus_FileShown(StrIn::C(f.name), WFstatus_ImagesAndTickets);
  });
}

void WFstatus_SetStatus(WFfolder folder, StrIn directory, WFstatus_FileList& files, const WFstatus_FileList& old,
                        bool askUnchanged) {
  const std::string dir = directory.Str();
  // 1. The jobs in the queue.
  WFjobStat_Update();
  // 2. What the demon takes, whether it takes anything now, the schemes.
  const bool stopped = WFstatus_FolderStopped(folder) || WFstatus_DirHoldsMark(dir, TVWcfg_omitMark);
  const std::vector<SRename> nameSchemes = NameSchemes(folder);
  // Last: each look-up may read a changed configuration anew, which frees
  // the entries handed out before.
  const TVWcfg_Entry* entry = WFtvwCfg_GetEntry(dir);
  WFtvwCfg_CfgFileID configuration;
  WFtvwCfg_GetCfgFileID(configuration);
  const bool sameConfiguration = WFtvwCfg_EqualCfgFileIDs(configuration, lastConfiguration);
  lastConfiguration = configuration;
  std::vector<WFstatus_File*> questions;
  auto before = old.begin();
  for (WFstatus_File& f : files) {
    // 3. The file as it was: its selection, and its state while unchanged.
    while (before != old.end() && std::strcmp(before->name, f.name) < 0) ++before;
    const WFstatus_File* was = before != old.end() && std::strcmp(before->name, f.name) == 0 ? &*before : nullptr;
    const bool unchanged = was != nullptr && was->modified == f.modified;
    f.link.selected = was != nullptr && was->link.selected;
    // 4. Its job in the queue.
    if (const std::uint8_t job = WFstatus_JobState(folder, dir, f.name)) {
      f.state = job;
      continue;
    }
    // 5. Whether the demon takes it at all.
    const bool stillSearched = unchanged && was->state > WFstatus_fsNoScheme && sameConfiguration;
    if (!stillSearched && !SearchedFor(entry, f)) {
      f.state = WFstatus_fsOmitted;
      continue;
    }
    // 6. A name no scheme of the folder fits.
    if (!nameSchemes.empty() && !FitsAScheme(nameSchemes, f.name)) {
      f.state = WFstatus_fsNoScheme;
      continue;
    }
    // 8. Handled and unchanged; new in a stopped folder; else the demon tells.
    if (f.listedReady && (was == nullptr || unchanged)) {
      f.state = WFstatus_fsHandled;
      continue;
    }
    // A file the demon was asked about, read again unchanged, keeps its answer.
    if (!askUnchanged && unchanged && (was->state == WFstatus_fsNew || was->state == WFstatus_fsInHand ||
                                       (was->state == WFstatus_fsHandled && !f.listedReady))) {
      f.state = was->state;
      continue;
    }
    f.state = WFstatus_fsNew;
    if (!stopped) questions.push_back(&f);
  }
  // 9. One query for the new files.
  AskDemon(dir, questions);
}

std::uint8_t WFstatus_JobState(WFfolder folder, const std::string& dir, const char* name) {
  std::uint8_t job = WFjobStat_FileStatus(dir, StrIn::C(name));
  // A module that makes two jobs of a file runs the second behind a link.
  if (job == WFjobStat_NotKnown && WFfolder_TwoJobs(folder)) {
    PathStr real;
    if (Messages_Quietly([&] { return DirAcces_RealPath(dir, real); }) && StrIn(real).Str() != dir)
      job = WFjobStat_FileStatus(real, StrIn::C(name));
  }
  if (job == WFjobStat_Running) return WFstatus_fsRunning;
  return job == WFjobStat_Waiting ? WFstatus_fsQueued : 0;
}

bool WFstatus_InSingleMode(WFfolder folder) {
  const TVWcfg_Entry* entry = WFtvwCfg_GetEntry(WFstatus_PathOf(folder));
  if (entry == nullptr) return false;
  const std::uint8_t mode = TVWsupp_DetermineMode(entry->cmd, entry->files, entry->atOnce, entry->multipleFiles);
  return (mode >= 1 && mode <= 6) || mode == 9 || mode == 11;
}

// --- The demon's connection --------------------------------------------------------------------

bool WFstatus_EstablishDemonConnection() {
  if (connection != nullptr && TVWrequest_GetConnStatus(connection) == 0) return true;
  TVWrequest_CloseConn(connection);
  // Only a running demon is waited for.
  std::int32_t port = 0;
  if (!Messages_Quietly([&] { return TVWrequest_GetServicePort(port); })) return false;
  connection = Messages_Quietly([] { return TVWrequest_Connect("", kConnectMs); });
  if (connection == nullptr) return false;
  if (connectionTask == I_NilTask()) connectionTask = I_ScheduleTask(kConnCheckMs, CheckDemonConnTask, 0);
  return true;
}

void WFstatus_CloseDemonConnection() {
  TVWrequest_CloseConn(connection);
  I_CancelScheduledTask(connectionTask);
  connectionTask = I_NilTask();
}
