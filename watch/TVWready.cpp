// TVWready: the ready-file list, its lock and its hand-over.
#include "watch/TVWready.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/SFilMisc.h"
#include "base/SLock.h"
#include "jobqueue/CCtypes.h"
#include "watch/TVWbase.h"
#include "watch/TVWrequest.h"

struct TVWready_ListRec {
  std::vector<std::string> paths;
  std::size_t current = 0;
};

namespace {

constexpr std::uint32_t kLockWaitMs = 800;  // nine tries, 100 ms apart
constexpr std::int32_t kRemoteTimeoutMs = 3000;

std::string Join(const std::string& dir, std::string_view name) { return dir + "/" + std::string(name); }

bool Exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

bool WriteList(const std::string& path, const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& p : paths) text += p + '\n';
  return SFilMisc_SaveAtomicallyLocked(path, text, 0666);
}

// To the demon of `host`, file by file, over one connection of the process.
bool InformRemote(const std::string& host, const std::vector<std::string>& paths) {
  static TVWrequest_Connection conn = TVWrequest_NoConnection();
  static bool tried = false;
  if (!tried) conn = TVWrequest_Connect(host, kRemoteTimeoutMs);
  tried = true;
  bool all = conn != nullptr;
  for (const std::string& p : paths) all = TVWrequest_InformFileReady(conn, p) && all;
  return all;
}

}  // namespace

// --- The list ---------------------------------------------------------------------------

TVWready_FileList TVWready_CreateFileList() { return new TVWready_ListRec; }

TVWready_FileList TVWready_NilFileList() { return nullptr; }

void TVWready_DestroyFileList(TVWready_FileList& list) {
  delete list;
  list = nullptr;
}

void TVWready_AddFile(TVWready_FileList list, StrIn path) {
  if (list != nullptr) list->paths.push_back(path.Str());
}

std::size_t TVWready_FileCount(TVWready_FileList list) { return list == nullptr ? 0 : list->paths.size(); }

void TVWready_DeleteAllFiles(TVWready_FileList list) {
  if (list == nullptr) return;
  list->paths.clear();
  list->current = 0;
}

bool TVWready_GetFirstFile(TVWready_FileList list, StrOut path) {
  if (list != nullptr) list->current = 0;
  return TVWready_GetNextFile(list, path);
}

bool TVWready_GetNextFile(TVWready_FileList list, StrOut path) {
  path.Clear();
  if (list == nullptr || list->current >= list->paths.size()) return false;
  Strings_Assign(list->paths[list->current++], path);
  return true;
}

// --- Sender ------------------------------------------------------------------------------

bool TVWready_SendReadyFiles(TVWready_FileList list) {
  if (list == nullptr) return true;
  TVWbase_DemonInfo info;
  if (!TVWbase_DemonRunning(info)) return false;
  const std::string dir = StrIn(info.dataDir).Str();
  if (!TVWready_Lock(dir)) return false;
  const bool written = WriteList(Join(dir, TVWready_listName), list->paths);
  TVWready_UnLock(dir);
  return written && TVWbase_KillDemon(TVWbase_sigUsr2);
}

bool TVWready_InformFilesReady(TVWready_FileList files, StrIn targetDir) {
  if (files == nullptr) return true;
  std::vector<std::string> paths;
  for (const std::string& p : files->paths) {
    if (targetDir.Empty()) {
      paths.push_back(p);
      continue;
    }
    const std::size_t slash = p.rfind('/');
    paths.push_back(Join(targetDir.Str(), slash == std::string::npos ? p : p.substr(slash + 1)));
  }
  const std::string employer = StrIn::C(std::getenv(CCtypes_employerEnvVar)).Str();
  if (!employer.empty() && !TVWbase_IsLocal(employer)) return InformRemote(employer, paths);
  TVWready_ListRec list{paths, 0};
  return TVWready_SendReadyFiles(&list);
}

// --- Demon side ------------------------------------------------------------------------------

void TVWready_GetReadyFiles(TVWready_FileList& list) {
  if (list == nullptr) list = TVWready_CreateFileList();
  PathStr dataDir, oldDir;
  TVWbase_GetDatadir(dataDir);
  std::string dir = StrIn(dataDir).Str();
  if (!Exists(Join(dir, TVWready_listName))) {
    if (!TVWbase_GetOldGlobalDatadir(oldDir) || !Exists(Join(StrIn(oldDir).Str(), TVWready_listName))) return;
    dir = StrIn(oldDir).Str();
  }
  if (!TVWready_Lock(dir)) return;
  const std::string path = Join(dir, TVWready_listName);
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) list->paths.push_back(line);
  in.close();
  ::unlink(path.c_str());
  TVWready_UnLock(dir);
}

// --- The lock ----------------------------------------------------------------------------

bool TVWready_Lock(StrIn directory) {
  return SLock_LockNamed(Join(directory.Str(), TVWready_lockName), kLockWaitMs);
}

void TVWready_UnLock(StrIn directory) { SLock_UnlockNamed(Join(directory.Str(), TVWready_lockName)); }
