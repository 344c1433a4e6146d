// WFsync: installing a workflow at the slave. The tar file is unpacked into
// a private directory inside the projects directory and moved into place
// from there, so a failure or a kill leaves the old workflow or the new one:
//
//   start directory --refused--> nothing changed
//   old workflow stopped (if it ran)
//   unpack into the stage --failed--> stage removed, old one started again
//   DOSYNC off in the staged start rc
//   move into place: new files, then replaced ones, the start rc last
//        --failed--> old one started again (the start rc was not moved)
//   rebuild --failed--> old one started again
//   demon entries, express, group, folders that went, started
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "distribution/WFbackup.h"
#include "distribution/WFsync.h"
#include "distribution/WFsyncPrivate.h"
#include "rc/SAutoRcF.h"
#include "workflow/WFgroup.h"

namespace {

// messages: WFsync 5 6 22 23
constexpr unsigned kCommandFailed = 5;   // with the command
constexpr unsigned kNotRebuilt = 6;      // with the reason
constexpr unsigned kNotPlaced = 22;      // with the path
constexpr unsigned kNotInStep = 23;      // with the workflow

std::string Text(StrIn text) { return text.Str(); }

// The files of the stage, by the path they go to.
std::vector<std::string> Members(const std::string& stage) {
  std::vector<std::string> members;
  std::error_code error;
  for (auto walk = std::filesystem::recursive_directory_iterator(stage, error);
       !error && walk != std::filesystem::recursive_directory_iterator(); walk.increment(error)) {
    if (walk->is_directory(error) && !walk->is_symlink(error)) continue;
    members.push_back(walk->path().string().substr(stage.size()));
  }
  std::sort(members.begin(), members.end());
  return members;
}

bool Exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

// Moves `from` over `to` in one step; across file systems through a copy
// beside the target.
bool MoveOne(const std::string& from, const std::string& to) {
  const std::size_t slash = to.rfind('/');
  if (slash != std::string::npos && slash > 0) {
    const std::string parent = to.substr(0, slash);
    if (!Exists(parent) && !Messages_Quietly([&] { return DirAcces_RecursiveMkDir(parent, 0777); })) return false;
  }
  if (::rename(from.c_str(), to.c_str()) == 0) return true;
  if (errno != EXDEV) return false;
  PathStr temporary;
  if (!SFilMisc_CreateTmpName(to, temporary)) return false;
  std::error_code error;
  std::filesystem::copy(from, Text(temporary), std::filesystem::copy_options::copy_symlinks, error);
  if (!error && ::rename(temporary, to.c_str()) == 0) return true;
  ::unlink(temporary);
  return false;
}

// Moves the stage into place: files that are new first, then those that
// replace one, the start rc `startRc` last. The first that fails is named
// in `failed`.
bool Place(const std::string& stage, const std::string& startRc, std::string& failed) {
  std::vector<std::string> fresh, replacing;
  for (const std::string& member : Members(stage)) {
    if (member == startRc) continue;
    (Exists(member) ? replacing : fresh).push_back(member);
  }
  replacing.push_back(startRc);
  for (const auto* group : {&fresh, &replacing}) {
    for (const std::string& member : *group) {
      if (MoveOne(stage + member, member)) continue;
      failed = member;
      return false;
    }
  }
  return true;
}

// The start rc's path of workflow `name`.
std::string StartRc(StrIn name) {
  PathStr start, rc;
  NameStr file;
  WFbase_GetStartPath(name, start);
  WFmodule_GetRcFileName(1, file);
  DirAcces_IncludePath(start, file, rc);
  return Text(rc);
}

// A slave never passes a workflow on.
bool NoSync(const std::string& rcFile) {
  SAutoRcF rc = SAutoRcF_Nil();
  if (!Messages_Quietly([&] { return SAutoRcF_Load(rcFile, rc); })) return false;
  WFbase_SetSyncOptsRC(rc, false, "");
  const bool saved = Messages_Quietly([&] { return SAutoRcF_Save(rcFile, rc); });
  SAutoRcF_Destroy(rc);
  return saved;
}

// Unpacks `tarFile` into the stage; false with the command.
bool Unpack(const WFbackup_Stage& stage, StrIn tarFile, std::string& command) {
  NameStr program;
  WFbackup_GetTarProgram(program);
  std::string tar, dir, file;
  WFsync_Word(program, tar);
  WFsync_Word(stage.Path(), dir);
  WFsync_Word(tarFile, file);
  command = tar + " --extract --directory=" + dir + " --file=" + file;
  return WFsync_Run(command);
}

}  // namespace

bool WFsync_InstallWorkflow(StrIn name, StrIn startDir, StrIn group, StrIn tarFile, bool express, StrOut reason) {
  reason.Clear();
  const auto dropTar = [&] {
    if (!WFsync_Debug()) Messages_Quietly([&] { return DirAcces_Remove(tarFile); });
  };
  // 1. The start directory.
  if (!WFsync_InstallStartDir(name, startDir, reason)) {
    dropTar();
    return false;
  }
  // 2. The old workflow, 3. stopped while it changes.
  TextStr why;
  WFbase old = WFbase_RebuildWorkflow(name, WFsync_NoRepair, why);
  const bool start = old == WFbase_NilWorkflow() || !WFsync_WorkflowStopped(old);
  if (old != WFbase_NilWorkflow() && start) WFsync_StopWorkflow(old);
  const auto fail = [&](const std::string& text) {
    Strings_Assign(text, reason);
    if (old != WFbase_NilWorkflow() && start) WFsync_StartWorkflow(old);
    WFbase_DestroyWorkflow(old);
    return false;
  };
  // 4. Into the stage, 5. the tar file goes.
  WFbackup_Stage stage;
  std::string command;
  const bool unpacked = stage.Make(".wfsync") && Unpack(stage, tarFile, command);
  dropTar();
  if (!unpacked) return fail(WFsync_Text(kCommandFailed, command));
  // 6. Never passed on, 7. into place.
  const std::string startRc = StartRc(name);
  if (!NoSync(stage.Path() + startRc)) return fail(WFsync_Text(kNotRebuilt, startRc));
  std::string failed;
  if (!Place(stage.Path(), startRc, failed)) return fail(WFsync_Text(kNotPlaced, failed));
  // 8. The new workflow as it reads back.
  WFbase workflow = WFbase_RebuildWorkflow(name, WFsync_NoRepair, why);
  if (workflow == WFbase_NilWorkflow()) return fail(WFsync_Text(kNotRebuilt, Text(why)));
  WFbase_InstallDefaultSubdirs(workflow);
  bool ok = WFbase_UpdateDemonConfig(workflow);
  WFsync_SetExpressWorkflow(workflow, express);
  // 9. Its group.
  if (!group.Empty()) WFgroup_AssertGroup(group);
  WFgroup_SetGroup(name, group);
  // 10. The folders it no longer has stop being watched.
  if (old != WFbase_NilWorkflow()) {
    WFbase_FolderList folders = WFbase_GetAllFolders(old);
    for (WFbase_FolderList entry = folders; entry != nullptr; entry = entry->next) {
      PathStr path;
      WFfolder_GetPath(entry->folder, path);
      if (!WFsync_HasFolder(workflow, path)) ok = WFbase_RemoveHotfolder(old, entry->folder) && ok;
    }
    WFbase_DestroyFolderList(folders);
  }
  // 11. It runs as the old one did.
  if (start) WFsync_StartWorkflow(workflow);
  else WFsync_StopWorkflow(workflow);
  WFbase_DestroyWorkflow(workflow);
  WFbase_DestroyWorkflow(old);
  if (!ok) Strings_Assign(WFsync_Text(kNotInStep, Text(name)), reason);
  return ok;
}
