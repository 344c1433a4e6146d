// WFstatus: the status of folders and workflows, from the job table, the
// directories and the demon's marks.
#include "manager/WFstatus.h"

#include <algorithm>
#include <map>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "image/SImage.h"
#include "manager/WFstatusContent.h"
#include "manager/WFstatusPrivate.h"
#include "watch/WFjobStat.h"
#include "workflow/WFtvwCfg.h"

char WFstatus_section[kSectionCap] = "WFstatus";

namespace {

constexpr unsigned kCannotWatch = 13;

// Folders whose entry could not be added, with the identity of the
// configuration file then: not tried again until the file changes.
std::map<std::string, WFtvwCfg_CfgFileID> failedAdds;

std::string Trimmed(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string Parent(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return "";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// The job table's word on the folder: 2 running, 1 waiting, 0 none.
std::uint8_t JobsOf(WFfolder folder) {
  const std::string path = WFstatus_PathOf(folder);
  std::uint8_t jobs = WFjobStat_FolderStatus(path);
  // A module that makes two jobs of a file runs the second in the directory behind a link.
  if (jobs < WFjobStat_Running && WFfolder_TwoJobs(folder)) {
    PathStr real;
    if (Messages_Quietly([&] { return DirAcces_RealPath(path, real); }) && StrIn(real).Str() != path)
      jobs = std::max(jobs, WFjobStat_FolderStatus(real));
  }
  return jobs;
}

}  // namespace

void WFstatus_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  WFbase_Init();
  WFtvwCfg_Init();
  SImage_Init();
  WFstatus_InitFiles();
}

void WFstatus_Say(unsigned number, const std::string& argument) {
  WFbase_Message(WFstatus_section, number, argument);  // messages: WFstatus 13 27 28 30
}

std::string WFstatus_PathOf(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return Trimmed(StrIn(path).Str());
}

std::vector<std::string> WFstatus_MarkDirs(WFfolder folder) {
  std::vector<std::string> result;
  std::string path = WFstatus_PathOf(folder);
  if (path.empty()) return result;
  const TVWcfg_Entry* entry = WFtvwCfg_GetEntry(path);
  const std::string top = entry == nullptr ? path : Trimmed(StrIn(entry->folder).Str());
  for (;;) {
    result.push_back(path);
    if (path == top || path == "/") break;
    path = Parent(path);
    if (path.empty() || !DirAcces_PathStartsWith(path, top)) break;
  }
  return result;
}

void WFstatus_PrepareUpdate() {
  WFstatus_NewRound();
  WFjobStat_Update();
}

// --- Folders ------------------------------------------------------------------------------

std::uint8_t WFstatus_FolderStatus(WFfolder folder, bool fresh) {
  if (folder == nullptr) return WFstatus_Nothing;
  if (!fresh) WFstatus_PrepareUpdate();
  const std::uint8_t jobs = JobsOf(folder);
  // An end has jobs only when it is watched on its own, as a remote end is.
  if (jobs != WFjobStat_NotKnown && (WFfolder_Kind(folder) != kWFfolderEnd || WFstatus_FolderWatched(folder)))
    return jobs == WFjobStat_Running ? WFstatus_JobsRun : WFstatus_JobsWait;
  return WFstatus_FolderEmpty(folder) ? WFstatus_Nothing : WFstatus_FilesWait;
}

bool WFstatus_FolderEmpty(WFfolder folder) {
  if (folder == nullptr) return true;
  const std::string path = WFstatus_PathOf(folder);
  if (WFfolder_Kind(folder) == kWFfolderCheck) return WFstatus_CheckListEmpty(path);
  if (!WFfolder_SubdirMode(folder)) return !WFstatus_DirHoldsFiles(path, nullptr);
  return !WFstatus_DirHoldsFiles(path, [folder](const std::string& name) { return !WFtvwCfg_OmitDir(folder, name); });
}

bool WFstatus_FolderWatched(WFfolder folder) {
  if (folder == nullptr) return false;
  const std::string path = WFstatus_PathOf(folder);
  if (WFtvwCfg_GetEntry(path) != nullptr) return true;
  const WFfolder_FolderKind kind = WFfolder_Kind(folder);
  if (kind == kWFfolderInvisibleEnd || kind == kWFfolderEnd || WFfolder_PassiveEnd(folder) ||
      !WFbase_LocalFolder(path))
    return false;
  WFtvwCfg_CfgFileID id;
  WFtvwCfg_StatCfgFileID(id);
  const auto failed = failedAdds.find(path);
  if (failed != failedAdds.end() && WFtvwCfg_EqualCfgFileIDs(failed->second, id)) return false;
  if (WFtvwCfg_Add(folder)) {
    failedAdds.erase(path);
    return true;
  }
  WFtvwCfg_StatCfgFileID(failedAdds[path]);
  WFstatus_Say(kCannotWatch, path);
  return false;
}

bool WFstatus_CheckForFileMark(WFfolder folder, StrIn mark) {
  if (folder == nullptr || mark.Empty()) return false;
  const std::string name = mark.Str();
  for (const std::string& dir : WFstatus_MarkDirs(folder))
    if (WFstatus_DirHoldsMark(dir, name)) return true;
  return false;
}

bool WFstatus_FolderStopped(WFfolder folder) { return WFstatus_CheckForFileMark(folder, TVWcfg_omitMark); }
bool WFstatus_TargetDiscFull(WFfolder folder) { return WFstatus_CheckForFileMark(folder, TVWcfg_discFullMark); }
bool WFstatus_IsExpressFolder(WFfolder folder) { return WFstatus_CheckForFileMark(folder, TVWcfg_expressMark); }

// --- Workflows ----------------------------------------------------------------------------

std::uint8_t WFstatus_WorkflowStatus(WFbase workflow) {
  if (workflow == nullptr) return WFstatus_Nothing;
  WFstatus_PrepareUpdate();
  std::uint8_t status = WFstatus_Nothing;
  WFbase_FolderList folders = WFbase_GetAllFolders(workflow);
  for (WFbase_FolderList e = folders; e != nullptr && status < WFstatus_JobsRun; e = e->next)
    status = std::max(status, WFstatus_FolderStatus(e->folder, true));
  WFbase_DestroyFolderList(folders);
  return status;
}

bool WFstatus_WorkflowStopped(WFbase workflow) { return WFstatus_FolderStopped(WFbase_StartFolder(workflow)); }
bool WFstatus_IsExpressWorkflow(WFbase workflow) { return WFstatus_IsExpressFolder(WFbase_StartFolder(workflow)); }

bool WFstatus_ErrorsThere(WFbase workflow) {
  if (workflow == nullptr) return false;
  PathStr dir;
  WFbase_GetErrordir(workflow, dir);
  return WFstatus_DirHoldsError(Trimmed(StrIn(dir).Str()));
}

bool WFstatus_IsErrorName(StrIn name) {
  const std::string_view text = name.View();
  std::size_t at = 0;
  while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at;
  constexpr std::string_view kSuffix = ".err";
  return at < text.size() && text[at] == '_' && text.size() >= at + 1 + kSuffix.size() &&
         text.substr(text.size() - kSuffix.size()) == kSuffix;
}
