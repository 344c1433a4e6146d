// WFbase: listing the workflows on disk, start directories, removal of hot
// folders, locks, installer hosts and the sync options of the start rc.
#include <algorithm>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/SWilCard.h"
#include "base/StringOp.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbase.h"
#include "workflow/WFbasePrivate.h"
#include "workflow/WFtvwCfg.h"

namespace {

// The names of a directory's entries; a read error ends the list early.
std::vector<std::string> DirEntries(StrIn path) {
  std::vector<std::string> names;
  Messages_Quietly([&] {
    DirAcces_DirHandle dir = DirAcces_OpenDir(path);
    NameStr name;
    while (DirAcces_GetDirEntry(dir, name)) names.emplace_back(StrIn(name).View());
    DirAcces_CloseDir(dir);
  });
  return names;
}

bool Stat(StrIn path, bool followLinks, DirAcces_Stat& stat) {
  return Messages_Quietly([&] {
    return followLinks ? DirAcces_FileStatN(path, stat) : DirAcces_LFileStatN(path, stat);
  });
}

// Whether workflow `name` belongs to `group` ("" any, WFbase_withoutGroup none).
bool InGroup(const std::string& name, StrIn group) {
  if (group.Empty()) return true;
  NameStr own = "";
  const bool has = WFbase_hooks.group != nullptr && WFbase_hooks.group(name, StrOut(own)) &&
                   !StrIn(own).Empty();
  if (Strings_Equal(group, WFbase_withoutGroup)) return !has;
  return has && Strings_Equal(own, group);
}

// The workflow root's entries for which `take` holds.
template <class Take>
WFbase_WfList ListStarts(Take take) {
  WFbase_RefreshWfDir();
  std::vector<std::string> names;
  for (const std::string& name : DirEntries(WFbase_wfDir)) {
    if (WFtvwCfg_NoHotfolder(name)) continue;
    PathStr path;
    DirAcces_IncludePath(WFbase_wfDir, name, path);
    if (take(name, StrIn(path))) names.push_back(name);
  }
  return WFbase_MakeWfList(std::move(names));
}

// The first element of a special path list, without a slash at its end.
std::string FirstElement(int special) {
  TextStr list;
  PathStr first;
  DirAcces_GetSpecialPath(special, list);
  DirAcces_GetPath(list, first);
  std::string text(StrIn(first).View());
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

std::string Trimmed(StrIn path) {
  std::string text(path.View());
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

// Directories that a removal must never take, whatever a folder's path says.
bool Protected(StrIn path) {
  WFbase_RefreshWfDir();
  const std::string text = Trimmed(path);
  return text.empty() || text == "/" || text == Trimmed(WFbase_wfDir) ||
         text == FirstElement(DirAcces_TV_PROJECTS) || text == FirstElement(DirAcces_TV_CUSTOMER);
}

bool MultiHost() {
  return Messages_Quietly([] { return WFtvwCfg_MultiHostHotfolder(); });
}

bool RealPath(StrIn path, StrOut real) {
  return Messages_Quietly([&] { return DirAcces_RealPath(path, real); });
}

// Whether the start directory `start` watches its sub-directories.
bool WatchesSubdirs(StrIn start, StrIn real) {
  const TVWcfg_Entry* entry = Messages_Quietly([&] { return WFtvwCfg_GetEntry(start); });
  if (entry == nullptr) entry = Messages_Quietly([&] { return WFtvwCfg_GetEntry(real); });
  return entry != nullptr && entry->subdirs;
}

}  // namespace

WFbase_WfList WFbase_MakeWfList(std::vector<std::string> names) {
  std::stable_sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    return StringOp_CompareStr(a, b) < 0;
  });
  WFbase_WfList list = nullptr;
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    auto* entry = new WFbase_WfListEntry{list, false, false, ""};
    Strings_Assign(*name, entry->name);
    list = entry;
  }
  return list;
}

// --- Listing ------------------------------------------------------------------------------

WFbase_WfList WFbase_GetAllWorkflows(StrIn group) {
  const std::string wanted(group.View());
  return ListStarts([&](const std::string& name, StrIn path) {
    DirAcces_Stat stat;
    return Stat(path, true, stat) && stat.isDirectory && InGroup(name, wanted);
  });
}

WFbase_WfList WFbase_GetAllWorkflowstarts() {
  return ListStarts([](const std::string&, StrIn path) {
    DirAcces_Stat stat;
    return Stat(path, false, stat) && (stat.isDirectory || stat.isLink);
  });
}

WFbase_WfList WFbase_GetAllWorkflowsContaining(WFfolder_FolderKind kind) {
  PathStr root;
  WFfolder_GetRootDir(kind, root);
  std::vector<std::string> names;
  if (!StrIn(root).Empty()) {
    for (const std::string& entry : DirEntries(root)) {
      PathStr path;
      NameStr name;
      std::uint32_t number = 0;
      DirAcces_IncludePath(root, entry, path);
      if (WFmodule_GetWorkflowName(path, name, number)) names.emplace_back(StrIn(name).View());
    }
  }
  return WFbase_MakeWfList(std::move(names));
}

void WFbase_DestroyWfList(WFbase_WfList& list) {
  while (list != nullptr) {
    WFbase_WfList next = list->next;
    delete list;
    list = next;
  }
}

// --- Start directories ------------------------------------------------------------------------

bool WFbase_IsWorkflowStart(StrIn path, StrIn name, StrOut otherName, bool& below) {
  otherName.Clear();
  below = false;
  WFbase_RefreshWfDir();
  // 1. A directory right in the root is a workflow of that name.
  PathStr head, tail;
  DirAcces_ExcludePath(path, head, tail);
  if (Trimmed(head) == Trimmed(WFbase_wfDir) && !StrIn(tail).Empty() && !Strings_Equal(tail, name)) {
    Strings_Assign(tail, otherName);
    return true;
  }
  // 2. Else the real directories of the other starts.
  PathStr real;
  if (!RealPath(path, real)) Strings_Assign(path, real);
  const std::string own = Trimmed(real);
  WFbase_WfList starts = WFbase_GetAllWorkflowstarts();
  bool found = false;
  for (WFbase_WfList entry = starts; entry != nullptr && !found; entry = entry->next) {
    if (Strings_Equal(entry->name, name)) continue;
    PathStr start, startReal;
    WFbase_GetStartPath(entry->name, start);
    if (!RealPath(start, startReal)) continue;
    const std::string other = Trimmed(startReal);
    if (own == other) {
      found = true;
    } else if (own.size() > other.size() && own.compare(0, other.size(), other) == 0 &&
               (other == "/" || own[other.size()] == '/') && WatchesSubdirs(start, startReal)) {
      found = below = true;
    }
    if (found) Strings_Assign(entry->name, otherName);
  }
  WFbase_DestroyWfList(starts);
  return found;
}

bool WFbase_SetStartDir(WFbase workflow, StrIn path, bool message) {
  WFfolder start = WFbase_StartFolder(workflow);
  if (start == nullptr) {
    if (message) WFbase_Message(WFbase_section, 9, path);
    return false;
  }
  NameStr other;
  bool below = false;
  if (WFbase_IsWorkflowStart(path, workflow->name, other, below)) {
    if (message) {
      TextStr text;
      Messages_GetMsg(WFbase_section, below ? 11 : 10, text);
      SPrintf_String(text, path);
      SPrintf_String(text, other);
      WFbase_ShowText(text);
    }
    return false;
  }
  WFfolder_SetStringOpt(start, WFbase_optStartDir, path);
  workflow->modified = true;
  return true;
}

// --- Directories on disk ------------------------------------------------------------------------

bool WFbase_InstallDefaultSubdirs(WFbase workflow) {
  if (workflow == nullptr) return false;
  PathStr dirs[2];
  WFbase_GetDefaultOutdir(workflow, dirs[0]);
  WFbase_GetErrordir(workflow, dirs[1]);
  bool ok = true;
  for (PathStr& dir : dirs) {
    const bool made = Messages_Quietly([&] { return DirAcces_MkDir(dir) || DirAcces_dirError == 4; });
    if (!made) {
      ok = false;
      continue;
    }
    Messages_Quietly([&] { return DirAcces_ChMod(dir, 0777); });
  }
  return ok;
}

bool WFbase_RemoveHotfolder(WFbase workflow, WFfolder folder) {
  if (workflow == nullptr || folder == nullptr) return false;
  PathStr path;
  WFfolder_GetPath(folder, path);
  bool ok = true;
  // 1. A start takes its workflow's out and error directories with it.
  if (WFfolder_Kind(folder) == kWFfolderStart) {
    PathStr dir;
    WFbase_GetErrordir(workflow, dir);
    ok = WFbase_RemoveTree(dir) && ok;
    WFbase_GetDefaultOutdir(workflow, dir);
    ok = WFbase_RemoveTree(dir) && ok;
  }
  // 2. The folder itself, without following a link.
  DirAcces_Stat stat;
  std::uint8_t error = 0;
  const bool found = Messages_Quietly([&] {
    const bool statted = DirAcces_LFileStatN(path, stat);
    error = DirAcces_dirError;
    return statted;
  });
  if (!found) {
    // Nothing there is what we want; anything else is not.
    if (error != 1) ok = false;
  } else if (stat.isLink) {
    // The directory behind a link belongs to someone else: only our rc goes.
    PathStr rcFile;
    WFfolder_GetRcFullName(folder, rcFile);
    if (!StrIn(rcFile).Empty()) ok = WFbase_RemoveFile(rcFile) && ok;
    ok = WFbase_RemoveFile(path) && ok;
  } else {
    ok = !Protected(path) && WFbase_RemoveTree(path) && ok;
  }
  // 3. Report.
  if (!ok) WFbase_Message(WFbase_section, 1, path);
  // 4. The demon forgets the folder.
  const WFmodule_Kind moduleKind = WFfolder_ModuleKind(folder);
  if (!WFmodule_RecursiveDemonConfigEntry(moduleKind) && !WFfolder_StandardEnd(folder)) {
    AutoMisc_DeleteDemonConfigEntry(path);
  } else {
    Messages_Quietly([&] { return WFtvwCfg_DeleteSubentry(folder); });
  }
  return ok;
}

// --- Locks ---------------------------------------------------------------------------------------

void WFbase_LockWorkflow(WFbase workflow, bool lock) {
  WFfolder start = WFbase_StartFolder(workflow);
  if (start == nullptr) return;
  WFfolder_SetBoolOpt(start, WFbase_optLocked, lock);
  WFfolder_SetModified(start, true);
  workflow->modified = true;
}

bool WFbase_WorkflowLocked(WFbase workflow) {
  return WFfolder_GetBoolOptDef(WFbase_StartFolder(workflow), WFbase_optLocked, false);
}

bool WFbase_WorkflowLockedByName(StrIn name) {
  SAutoRcF rc = WFbase_LoadStartRc(name);
  bool locked = false;
  if (rc != nullptr && !SAutoRcF_GetBoolOpt(rc, WFbase_optLocked, locked)) locked = false;
  SAutoRcF_Destroy(rc);
  return locked;
}

// --- Installer hosts -------------------------------------------------------------------------------

void WFbase_GetInstallerHost(StrIn path, StrOut host) {
  host.Clear();
  if (!MultiHost()) {
    DirAcces_GetMachineName(host);
    return;
  }
  NameStr pattern;
  Strings_Assign(TVWcfg_installerMark, pattern);
  SPrintf_String(pattern, "*");
  std::size_t marks = 0;
  for (const std::string& entry : DirEntries(path)) {
    if (!SWilCard_Match(pattern, entry)) continue;
    if (++marks == 1) TVWcfg_GetInstallerName(entry, host);
  }
  // Two installers: nobody can say whose folder it is.
  if (marks != 1) host.Clear();
}

void WFbase_GetWFInstallerHost(WFbase workflow, StrOut host) {
  PathStr start;
  WFbase_GetStartPath(workflow != nullptr ? StrIn(workflow->name) : StrIn(""), start);
  WFbase_GetInstallerHost(start, host);
}

bool WFbase_LocalFolder(StrIn path) {
  if (!MultiHost()) return true;
  NameStr mark;
  PathStr file;
  TVWcfg_GetLocalInstallerMark(mark);
  DirAcces_IncludePath(path, mark, file);
  return Messages_Quietly([&] { return DirAcces_Access(file, DirAcces_Mode::Exists); });
}

bool WFbase_LocalWorkflow(WFbase workflow) {
  PathStr start;
  WFbase_GetStartPath(workflow != nullptr ? StrIn(workflow->name) : StrIn(""), start);
  return WFbase_LocalFolder(start);
}

// --- Sync options -------------------------------------------------------------------------------

void WFbase_GetSyncOptsRC(SAutoRcF rc, bool& doSync, StrOut slaves) {
  slaves.Clear();
  doSync = false;
  if (rc == nullptr) return;
  if (!SAutoRcF_GetStringOpt(rc, WFbase_optSyncSlaves, slaves)) slaves.Clear();
  if (!SAutoRcF_GetBoolOpt(rc, WFbase_optDoSync, doSync)) doSync = false;
  // Nobody to sync to means no sync.
  if (StrIn(slaves).Empty()) doSync = false;
}

bool WFbase_SetSyncOptsRC(SAutoRcF rc, bool doSync, StrIn slaves) {
  if (rc == nullptr) return false;
  bool oldSync = false;
  char oldSlaves[kWFbaseSlavesCap];
  WFbase_GetSyncOptsRC(rc, oldSync, oldSlaves);
  const bool newSync = doSync && !slaves.Empty();
  if (oldSync == newSync && Strings_Equal(oldSlaves, slaves)) return false;
  SAutoRcF_SetBoolOpt(rc, WFbase_optDoSync, newSync);
  SAutoRcF_SetStringOpt(rc, WFbase_optSyncSlaves, slaves);
  return true;
}

bool WFbase_SetSyncOpts(StrIn name, bool doSync, StrIn slaves) {
  SAutoRcF rc = WFbase_LoadStartRc(name);
  if (rc == nullptr) return false;
  bool ok = true;
  if (WFbase_SetSyncOptsRC(rc, doSync, slaves)) {
    // Written beside the file and renamed over it: a failure keeps the old one.
    PathStr file, temporary;
    WFbase_StartRcName(name, file);
    ok = SFilMisc_CreateTmpName(file, temporary) && Messages_Quietly([&] {
           return SAutoRcF_Save(temporary, rc) && DirAcces_AtomicRename(temporary, file);
         });
    if (!ok) WFbase_RemoveFile(temporary);
  }
  SAutoRcF_Destroy(rc);
  return ok;
}

void WFbase_UpdateSyncOpts(WFbase workflow) {
  if (workflow == nullptr) return;
  SAutoRcF disk = WFbase_LoadStartRc(workflow->name);
  if (disk == nullptr) return;
  WFbase_GetSyncOptsRC(disk, workflow->options.doSync, workflow->options.syncSlaves);
  SAutoRcF_Destroy(disk);
  // The start folder in memory follows, without a change to install.
  WFbase_SetSyncOptsRC(WFfolder_RcFile(workflow->start), workflow->options.doSync,
                       workflow->options.syncSlaves);
}
