// WFbase: the workflow record, its folders, paths, options and support.
//
// Life of a workflow in memory:
//
//   NewWorkflow / CreateWorkflow / CopyWorkflow / RebuildWorkflow
//        |  (not modified when read from disk; modified when made here)
//        v
//   in memory --(any change, SetModified, SetOptions, SetFolderMode)--> modified
//   modified  --(the install)--> in memory
//   either    --(DestroyWorkflow: memory / UninstallWorkflow: also disk)--> gone
//
// The record owns every folder made through WFbase_CreateFolder, linked into
// the graph or not, so that destroying it frees exactly what it made.
#include "workflow/WFbase.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/StringOp.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbasePrivate.h"
#include "workflow/WFtvwCfg.h"

// messages: WFbase 1-2 9-11 91
char WFbase_section[kSectionCap] = "WFbase";
char WFbase_wfDir[kPathCap] = "";
bool WFbase_silent = false;
SwitchBd WFbase_switchboard = nullptr;
WFbase_Hooks WFbase_hooks{};

namespace {

bool initialised = false;

std::uint32_t Counter(WFfolder_FolderKind kind) {
  return kind < kWFbaseCounters ? kind : 0;
}

// Passes the demon configuration's messages through the workflow's own.
void TvwCfgMessage(StrIn section, unsigned number, StrIn argument) {
  WFbase_Message(section, number, argument);
}

// "flow_NAME_N" for the last element of a step's folder.
void FlowName(StrIn name, std::uint32_t number, StrOut element) {
  Strings_Assign("flow_", element);
  Strings_Concat(element, name, element);
  Strings_Concat(element, "_", element);
  const std::string digits = std::to_string(number);
  Strings_Concat(element, digits, element);
}

}  // namespace

void WFbase_Init() {
  if (initialised) return;
  initialised = true;
  WFfolder_Init();
  WFconfig_Init();
  TVWcfg_Init();
  WFtvwCfg_Init();
  AutoMisc_Init();
  WFtvwCfg_RegisterMessageProc(TvwCfgMessage);
  WFbase_switchboard = SwitchBd_Create();
  WFbase_RefreshWfDir();
}

void WFbase_RegisterHooks(const WFbase_Hooks& hooks) { WFbase_hooks = hooks; }
void WFbase_RegisterGroupProc(WFbase_GroupProc proc) { WFbase_hooks.group = proc; }
void WFbase_RegisterShowProc(WFbase_ShowProc proc) { WFbase_hooks.show = proc; }
void WFbase_RegisterStartFolderHooks(WFbase_StartPathProc path, WFbase_StartModeProc transferMode,
                                     WFbase_StartModeProc fileMode) {
  WFbase_hooks.setStartFolderPath = path;
  WFbase_hooks.setTransferMode = transferMode;
  WFbase_hooks.setFileMode = fileMode;
}

// --- Shared helpers --------------------------------------------------------------------------

void WFbase_RefreshWfDir() { WFfolder_GetRootDir(kWFfolderStart, WFbase_wfDir); }

void WFbase_StartRcName(StrIn name, StrOut file) {
  PathStr start;
  NameStr rcName;
  WFbase_GetStartPath(name, start);
  WFmodule_GetRcFileName(WFfolder_FolderToModuleKind(kWFfolderStart), rcName);
  DirAcces_IncludePath(start, rcName, file);
}

SAutoRcF WFbase_LoadStartRc(StrIn name) {
  PathStr file;
  WFbase_StartRcName(name, file);
  SAutoRcF rc = SAutoRcF_Nil();
  if (!Messages_Quietly([&] { return SAutoRcF_Load(file, rc); })) return SAutoRcF_Nil();
  return rc;
}

bool WFbase_RemoveTree(StrIn path) {
  // Inside double quotes only these four keep a meaning to the shell.
  std::string quoted;
  for (char c : path.View()) {
    if (c == '"' || c == '\\' || c == '$' || c == '`') quoted += '\\';
    quoted += c;
  }
  const std::string command = "rm -rf \"" + quoted + "\"";
  return std::system(command.c_str()) == 0;
}

// --- Create and destroy -------------------------------------------------------------------

WFbase WFbase_NilWorkflow() { return nullptr; }

WFbase WFbase_NewWorkflow(StrIn name) {
  auto* workflow = new WFbase_Rec;
  Strings_Assign(name, workflow->name);
  TVWcfg_InitActivity(true, workflow->options.activity);
  return workflow;
}

WFbase WFbase_CreateWorkflow(StrIn name, bool install) {
  WFbase workflow = WFbase_NewWorkflow(name);
  // 1. The invisible end at the default out directory.
  WFfolder end = WFbase_CreateInvisibleEnd(workflow);
  // 2. The start folder with its default parameters and out 1 to the end.
  PathStr path;
  WFbase_GetStartPath(name, path);
  SAutoRcF rc = SAutoRcF_Create();
  WFfolder start = WFbase_CreateFolder(workflow, kWFfolderStart, rc, path, false);
  WFbase_SetStartFolder(workflow, start);
  WFmodule_SetDefaultParams(WFfolder_FolderToModuleKind(kWFfolderStart), rc, path);
  WFfolder_SetOutFolder(start, 1, end);
  WFfolder_SetStringOpt(start, WFbase_optStartDir, path);
  workflow->options.transferMode = WFbase_GetStartTransferMode(workflow);
  workflow->options.errorMode = WFfolder_ErrorMode(start);
  workflow->modified = true;
  // 3. On disk, if asked; the workflow stands in memory either way.
  if (install && !WFbase_InstallStartDir(workflow, start)) WFbase_Message(WFbase_section, 2, path);
  return workflow;
}

namespace {

// Copies one folder's foreign settings file to a fresh temporary name and
// names it in the new rc; nothing when there is none or the copy fails.
void CopyForeignFile(WFfolder folder, SAutoRcF rc) {
  NameStr entry;
  if (rc == nullptr || !WFfolder_GetForeignTmpRcEntry(folder, entry)) return;
  PathStr source, temporary;
  if (!SAutoRcF_GetStringOpt(WFfolder_RcFile(folder), entry, source) || StrIn(source).Empty()) {
    WFfolder_GetForeignRcFilename(folder, false, source);
  }
  if (StrIn(source).Empty() || !DirAcces_Access(source, DirAcces_Mode::Exists)) return;
  if (!SFilMisc_CreateTmpName(source, temporary)) return;
  if (WFbase_CopyFile(source, temporary)) SAutoRcF_SetStringOpt(rc, entry, temporary);
}

struct Copier {
  WFbase from;
  WFbase to;
  bool renamed;
  bool failed = false;
  std::set<WFfolder> visited;
  std::unordered_map<std::string, WFfolder> table;  // old path -> new folder

  // The copy of `folder` and, on first meeting, of everything behind it.
  WFfolder Copy(WFfolder folder) {
    PathStr oldPath;
    WFfolder_GetPath(folder, oldPath);
    // 1. Met before: the table has its copy.
    if (visited.count(folder) != 0) {
      const auto found = table.find(std::string(StrIn(oldPath).View()));
      if (found != table.end()) return found->second;
      failed = true;
      WFbase_Message(WFbase_section, 91, oldPath);
      return nullptr;
    }
    visited.insert(folder);
    const WFfolder_FolderKind kind = WFfolder_Kind(folder);
    // 2. The rc, 3. and its foreign file.
    SAutoRcF rc = WFfolder_RcFile(folder) != nullptr ? SAutoRcF_Copy(WFfolder_RcFile(folder))
                                                     : SAutoRcF_Nil();
    CopyForeignFile(folder, rc);
    // 4. The path moves with the name.
    PathStr newPath;
    Strings_Assign(oldPath, newPath);
    if (renamed) {
      WFbase_RebuildFolderPath(oldPath, from->name, to->name, kind, newPath);
      if (kind == kWFfolderStart && rc != nullptr && WFbase_hooks.setStartFolderPath != nullptr) {
        WFbase_hooks.setStartFolderPath(rc, StrIn(newPath));
      }
      std::uint32_t uploadMode = 0;
      if (kind == 41 && SAutoRcF_GetCardOpt(rc, "UPLOADMODE", uploadMode) && uploadMode == 1) {
        PathStr startPath;
        WFbase_GetStartPath(to->name, startPath);
        SAutoRcF_SetStringOpt(rc, "UPLOADFOLDER", startPath);
      }
    }
    // 5. The new folder; a renamed one must be written at the next install.
    WFfolder copy = WFbase_CreateFolder(to, kind, rc, newPath, true);
    WFfolder_SetModified(copy, renamed || WFfolder_Modified(folder));
    table.emplace(std::string(StrIn(oldPath).View()), copy);
    if (folder == from->start) {
      WFbase_SetStartFolder(to, copy);
      if (renamed) WFfolder_SetStringOpt(copy, WFbase_optStartDir, newPath);
    }
    // 6. Its outs, at the same indices.
    WFfolder_OutIterator outs = WFfolder_CreateOutIterator(folder);
    std::uint32_t index = 0;
    WFfolder out = nullptr;
    while (!failed && WFfolder_IterateOuts(outs, index, out)) {
      WFfolder outCopy = Copy(out);
      if (outCopy == nullptr) break;
      // A new name must reach the rc's out keys too.
      if (renamed) {
        WFfolder_SetOutFolder(copy, index, outCopy);
      } else {
        WFfolder_SetOutFolderForRebuild(copy, index, outCopy);
      }
    }
    WFfolder_DestroyOutIterator(outs);
    return copy;
  }
};

}  // namespace

WFbase WFbase_CopyWorkflow(WFbase workflow) { return WFbase_CopyWorkflowExt(workflow, ""); }

WFbase WFbase_CopyWorkflowExt(WFbase workflow, StrIn newName) {
  if (workflow == nullptr) return nullptr;
  const bool renamed = !newName.Empty() && !Strings_Equal(newName, workflow->name);
  WFbase copy = WFbase_NewWorkflow(renamed ? newName : StrIn(workflow->name));
  copy->options = workflow->options;
  copy->counters = workflow->counters;
  Copier copier{workflow, copy, renamed, false, {}, {}};
  if (workflow->start != nullptr) copier.Copy(workflow->start);
  if (copier.failed) {
    WFbase_DestroyWorkflow(copy);
    return nullptr;
  }
  for (WFfolder folder : workflow->toRemove) {
    PathStr path;
    WFfolder_GetPath(folder, path);
    SAutoRcF rc = WFfolder_RcFile(folder) != nullptr ? SAutoRcF_Copy(WFfolder_RcFile(folder))
                                                     : SAutoRcF_Nil();
    copy->toRemove.push_back(WFfolder_Create(WFfolder_Kind(folder), path, rc));
  }
  copy->modified = workflow->modified || renamed;
  if (!renamed) copy->lastModified = workflow->lastModified;
  return copy;
}

namespace {

// Frees the workflow; with `fromDisk` its hot folders go first.
bool MyDestroyWorkflow(WFbase& workflow, bool fromDisk) {
  if (workflow == nullptr) return true;
  bool ok = true;
  // 1. From disk in the order of the graph; after a failure nothing more.
  if (fromDisk) {
    WFbase_FolderList list = WFbase_GetAllFolders(workflow);
    for (WFbase_FolderList entry = list; entry != nullptr && ok; entry = entry->next) {
      if (!WFfolder_PassiveEnd(entry->folder)) ok = WFbase_RemoveHotfolder(workflow, entry->folder);
    }
    WFbase_DestroyFolderList(list);
    WFbase_UpdateRemoteWatchConfig(workflow, true);
  }
  // 2. Temporary foreign files of edits never installed.
  for (WFfolder folder : workflow->folders) {
    NameStr entry;
    PathStr temporary;
    if (WFfolder_GetForeignTmpRcEntry(folder, entry) &&
        SAutoRcF_GetStringOpt(WFfolder_RcFile(folder), entry, temporary) &&
        !StrIn(temporary).Empty()) {
      WFbase_RemoveFile(temporary);
    }
  }
  // 3. Memory.
  for (WFfolder folder : workflow->folders) WFfolder_Destroy(folder);
  for (WFfolder folder : workflow->toRemove) WFfolder_Destroy(folder);
  delete workflow;
  workflow = nullptr;
  return ok;
}

}  // namespace

void WFbase_DestroyWorkflow(WFbase& workflow) { MyDestroyWorkflow(workflow, false); }
bool WFbase_UninstallWorkflow(WFbase& workflow) { return MyDestroyWorkflow(workflow, true); }

// --- The graph ---------------------------------------------------------------------------------

WFfolder WFbase_CreateFolder(WFbase workflow, WFfolder_FolderKind kind, SAutoRcF rc, StrIn path,
                             bool fromDisk) {
  if (workflow == nullptr) {
    SAutoRcF_Destroy(rc);
    return nullptr;
  }
  WFfolder folder = WFfolder_Create(kind, path, rc);
  WFfolder_SetDone(folder, !fromDisk);
  WFfolder_SetModified(folder, !fromDisk);
  workflow->folders.push_back(folder);
  // Numbers are never used twice: the counter stays behind the highest seen.
  std::uint32_t number = 0;
  WFbase_SplitFolderPath(workflow->name, path, number);
  std::uint32_t& counter = workflow->counters[Counter(kind)];
  if (number + 1 > counter) counter = number + 1;
  return folder;
}

WFfolder WFbase_CreateInvisibleEnd(WFbase workflow) {
  PathStr path;
  WFbase_GetDefaultOutdir(workflow, path);
  return WFbase_CreateFolder(workflow, kWFfolderInvisibleEnd, SAutoRcF_Nil(), path, false);
}

void WFbase_AddFolderToRemove(WFbase workflow, WFfolder folder) {
  if (workflow == nullptr || folder == nullptr) return;
  auto& folders = workflow->folders;
  const auto found = std::find(folders.begin(), folders.end(), folder);
  if (found == folders.end()) return;
  folders.erase(found);
  if (workflow->start == folder) workflow->start = nullptr;
  workflow->toRemove.push_back(folder);
}

WFfolder WFbase_TakeFolderToRemove(WFbase workflow) {
  if (workflow == nullptr || workflow->toRemove.empty()) return nullptr;
  WFfolder folder = workflow->toRemove.front();
  workflow->toRemove.erase(workflow->toRemove.begin());
  return folder;
}

WFfolder WFbase_StartFolder(WFbase workflow) {
  return workflow != nullptr ? workflow->start : nullptr;
}

void WFbase_SetStartFolder(WFbase workflow, WFfolder folder) {
  if (workflow != nullptr) workflow->start = folder;
}

WFfolder WFbase_FindFolder(WFbase workflow, StrIn path) {
  if (workflow == nullptr) return nullptr;
  for (WFfolder folder : workflow->folders) {
    PathStr own;
    WFfolder_GetPath(folder, own);
    if (Strings_Equal(own, path)) return folder;
  }
  return nullptr;
}

namespace {

WFbase_FolderListEntry* NewEntry(WFfolder folder, std::uint32_t number) {
  return new WFbase_FolderListEntry{nullptr, folder, number};
}

bool Listed(WFbase_FolderList list, WFfolder folder) {
  for (; list != nullptr; list = list->next) {
    if (list->folder == folder) return true;
  }
  return false;
}

// Appends `folder` and then, depth first, its outs; each folder once.
void CollectFolders(WFfolder folder, WFbase_FolderList& list, WFbase_FolderListEntry*& last,
                    std::uint32_t& number) {
  if (folder == nullptr || Listed(list, folder)) return;
  WFbase_FolderListEntry* entry = NewEntry(folder, ++number);
  (last == nullptr ? list : last->next) = entry;
  last = entry;
  WFfolder_OutIterator outs = WFfolder_CreateOutIterator(folder);
  std::uint32_t index = 0;
  WFfolder out = nullptr;
  while (WFfolder_IterateOuts(outs, index, out)) CollectFolders(out, list, last, number);
  WFfolder_DestroyOutIterator(outs);
}

}  // namespace

WFbase_FolderList WFbase_GetAllFolders(WFbase workflow) {
  WFbase_FolderList list = nullptr;
  WFbase_FolderListEntry* last = nullptr;
  std::uint32_t number = 0;
  if (workflow != nullptr) CollectFolders(workflow->start, list, last, number);
  return list;
}

void WFbase_DestroyFolderList(WFbase_FolderList& list) {
  while (list != nullptr) {
    WFbase_FolderList next = list->next;
    delete list;
    list = next;
  }
}

WFbase_FolderList WFbase_GetAnchestors(WFbase workflow, WFfolder folder) {
  WFbase_FolderList all = WFbase_GetAllFolders(workflow);
  WFbase_FolderList result = nullptr;
  WFbase_FolderListEntry* last = nullptr;
  for (WFbase_FolderList entry = all; entry != nullptr && folder != nullptr; entry = entry->next) {
    bool parent = false;
    for (std::uint32_t index = 1; index <= kWFfolderMaxOuts && !parent; ++index) {
      parent = WFfolder_OutFolder(entry->folder, index) == folder;
    }
    if (!parent) continue;
    WFbase_FolderListEntry* copy = NewEntry(entry->folder, entry->number);
    (last == nullptr ? result : last->next) = copy;
    last = copy;
  }
  WFbase_DestroyFolderList(all);
  return result;
}

bool WFbase_ApplyToAllFolders(WFbase workflow, WFbase_FolderProc procedure, std::uintptr_t data) {
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  bool result = true;
  for (WFbase_FolderList entry = list; entry != nullptr && result; entry = entry->next) {
    result = procedure(workflow, entry->folder, data);
  }
  WFbase_DestroyFolderList(list);
  return result;
}

void WFbase_SetDone(WFbase workflow, bool value) {
  if (workflow == nullptr) return;
  for (WFfolder folder : workflow->folders) WFfolder_SetDone(folder, value);
}

void WFbase_UnsetDone(WFfolder folder) {
  if (folder == nullptr || !WFfolder_Done(folder)) return;
  WFfolder_SetDone(folder, false);
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
    WFbase_UnsetDone(WFfolder_OutFolder(folder, index));
  }
}

// --- Paths -------------------------------------------------------------------------------------

void WFbase_GetStartPath(StrIn name, StrOut path) {
  WFbase_RefreshWfDir();
  DirAcces_IncludePath(WFbase_wfDir, name, path);
}

void WFbase_GetDefaultOutdir(WFbase workflow, StrOut path) {
  PathStr start;
  WFbase_GetStartPath(workflow != nullptr ? StrIn(workflow->name) : StrIn(""), start);
  DirAcces_IncludePath(start, WFbase_defaultEndDir, path);
}

void WFbase_GetErrordir(WFbase workflow, StrOut path) {
  PathStr start;
  WFbase_GetStartPath(workflow != nullptr ? StrIn(workflow->name) : StrIn(""), start);
  DirAcces_IncludePath(start, WFbase_errorDirName, path);
}

void WFbase_BuildFolderPath(WFbase workflow, WFfolder_FolderKind kind, const WFconfig_Entry* entry,
                            StrOut path) {
  const std::uint32_t number = workflow != nullptr ? workflow->counters[Counter(kind)] : 0;
  WFbase_BuildFolderPathExt(workflow, kind, entry, number, path);
}

void WFbase_BuildFolderPathExt(WFbase workflow, WFfolder_FolderKind kind,
                               const WFconfig_Entry* entry, std::uint32_t number, StrOut path) {
  // 1. The ends of a workflow stand in its out directory.
  if (kind == kWFfolderEnd || kind == kWFfolderInvisibleEnd) {
    WFbase_GetDefaultOutdir(workflow, path);
    return;
  }
  // 2. The root of the kind.
  PathStr root;
  if (WFfolder_UserDefKind(kind)) {
    if (entry != nullptr) Strings_Assign(entry->folder, root);
  } else {
    WFfolder_GetRootDir(kind, root);
  }
  if (StrIn(root).Empty()) DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, "autofolder", root);
  // 3. The last element.
  const StrIn name = workflow != nullptr ? StrIn(workflow->name) : StrIn("");
  if (kind == kWFfolderStart) {
    DirAcces_IncludePath(root, name, path);
  } else if (kind == 46) {
    Strings_Assign(root, path);
  } else {
    NameStr element;
    FlowName(name, number, element);
    DirAcces_IncludePath(root, element, path);
  }
}

void WFbase_RebuildFolderPath(StrIn oldPath, StrIn oldName, StrIn newName,
                              WFfolder_FolderKind kind, StrOut newPath) {
  if (kind == kWFfolderStart) {
    WFbase_GetStartPath(newName, newPath);
    return;
  }
  // The invisible end stands where an end in "outdir" does.
  if (kind == kWFfolderEnd || kind == kWFfolderInvisibleEnd) {
    WFbase_RefreshWfDir();
    PathStr head, tail;
    DirAcces_ExcludePath(oldPath, head, tail);
    if (DirAcces_PathStartsWith(oldPath, WFbase_wfDir) &&
        Strings_Equal(tail, WFbase_defaultEndDir)) {
      PathStr start;
      WFbase_GetStartPath(newName, start);
      DirAcces_IncludePath(start, WFbase_defaultEndDir, newPath);
    } else {
      Strings_Assign(oldPath, newPath);
    }
    return;
  }
  if (kind == 46) {
    Strings_Assign(oldPath, newPath);
    return;
  }
  std::uint32_t number = 0;
  WFbase_SplitFolderPath(oldName, oldPath, number);
  PathStr head, tail;
  NameStr element;
  DirAcces_ExcludePath(oldPath, head, tail);
  FlowName(newName, number, element);
  DirAcces_IncludePath(head, element, newPath);
}

void WFbase_SplitFolderPath(StrIn name, StrIn path, std::uint32_t& number) {
  number = 0;
  const std::string_view text = path.View();
  const std::string_view last = text.substr(text.find_last_of('/') + 1);
  const std::string pattern = "flow_" + name.Str() + "_";
  const std::size_t at = last.find(pattern);
  if (at == std::string_view::npos) return;
  for (std::size_t i = at + pattern.size(); i < last.size() && last[i] >= '0' && last[i] <= '9'; ++i) {
    number = number * 10 + static_cast<std::uint32_t>(last[i] - '0');
  }
}

// --- State -------------------------------------------------------------------------------------

void WFbase_GetName(WFbase workflow, StrOut name) {
  Strings_Assign(workflow != nullptr ? StrIn(workflow->name) : StrIn(""), name);
}

bool WFbase_Modified(WFbase workflow) { return workflow != nullptr && workflow->modified; }

void WFbase_SetModified(WFbase workflow, bool modified) {
  if (workflow != nullptr) workflow->modified = modified;
}

namespace {

SDateAri_Stamp StartRcTime(StrIn name) {
  PathStr file;
  WFbase_StartRcName(name, file);
  const std::int64_t seconds = DirAcces_LastModified(file);
  return seconds < 0 ? SDateAri_Stamp{} : SDateAri_SecondsToStamp(seconds);
}

}  // namespace

bool WFbase_WorkflowModified(WFbase workflow) {
  if (workflow == nullptr || WFbase_IsUnknownLastModified(workflow)) return false;
  return !SDateAri_StampEQ(StartRcTime(workflow->name), workflow->lastModified);
}

void WFbase_GetOptions(WFbase workflow, WFbase_Options& options) {
  if (workflow != nullptr) {
    options = workflow->options;
  } else {
    options = WFbase_Options{};
  }
}

void WFbase_SetOptions(WFbase workflow, const WFbase_Options& options) {
  if (workflow == nullptr) return;
  workflow->options = options;
  workflow->modified = true;
}

void WFbase_LoadOptions(WFbase workflow) {
  if (workflow == nullptr) return;
  WFbase_Options& options = workflow->options;
  options.transferMode = WFbase_GetStartTransferMode(workflow);
  options.errorMode = WFfolder_ErrorMode(workflow->start);
  PathStr start;
  WFbase_GetStartPath(workflow->name, start);
  const TVWcfg_Entry* entry = Messages_Quietly([&] { return WFtvwCfg_GetEntry(start); });
  if (entry != nullptr) {
    options.activity = entry->activity;
  } else {
    TVWcfg_InitActivity(true, options.activity);
  }
  WFbase_GetSyncOptsRC(WFfolder_RcFile(workflow->start), options.doSync, options.syncSlaves);
}

std::uint8_t WFbase_GetStartTransferMode(WFbase workflow) {
  WFfolder start = WFbase_StartFolder(workflow);
  if (WFfolder_JobticketMode(start)) return kWFbaseJobticketTransfer;
  return static_cast<std::uint8_t>(WFfolder_GetIntOptDef(start, WFbase_optMode, 0));
}

void WFbase_SetStartTransferMode(WFbase workflow, std::uint8_t mode) {
  if (workflow == nullptr) return;
  workflow->options.transferMode = mode;
  if (mode != 2) workflow->options.errorMode = 0;
  workflow->modified = true;
  WFfolder start = workflow->start;
  SAutoRcF rc = WFfolder_RcFile(start);
  if (rc == nullptr) return;
  PathStr path;
  WFfolder_GetPath(start, path);
  if (WFbase_hooks.setTransferMode != nullptr) {
    WFbase_hooks.setTransferMode(rc, StrIn(path), mode);
    WFfolder_SetModified(start, true);
  } else {
    WFfolder_SetJobticketMode(start, mode == kWFbaseJobticketTransfer);
    WFfolder_SetIntOpt(start, WFbase_optMode, mode);
    if (mode != 2) WFfolder_SetErrorMode(start, 0);
  }
}

bool WFbase_OverwriteInEnd(WFbase workflow, StrIn endPath) {
  TextStr key;
  WFbase_BuildOverwriteOptName(endPath, key);
  return WFfolder_GetBoolOptDef(WFbase_StartFolder(workflow), key, false);
}

void WFbase_BuildOverwriteOptName(StrIn endPath, StrOut key) {
  Strings_Concat(WFbase_optOverwriteInEnd, endPath, key);
}

SDateAri_Stamp WFbase_GetWorkflowLastModified(WFbase workflow) {
  return workflow != nullptr ? workflow->lastModified : SDateAri_Stamp{};
}

void WFbase_SetWorkflowLastModified(WFbase workflow) {
  if (workflow != nullptr) workflow->lastModified = StartRcTime(workflow->name);
}

void WFbase_SetUnknownLastModified(WFbase workflow) {
  if (workflow != nullptr) workflow->lastModified = SDateAri_Stamp{};
}

bool WFbase_IsUnknownLastModified(WFbase workflow) {
  return workflow == nullptr ||
         (workflow->lastModified.seconds == 0 && workflow->lastModified.nanoseconds == 0);
}

// --- Support ---------------------------------------------------------------------------------

void WFbase_SetFeedback(bool feedback) { WFbase_silent = !feedback; }

void WFbase_Message(StrIn section, unsigned number, StrIn argument) {
  TextStr text;
  Messages_GetMsg(section, number, text);
  if (!argument.Empty()) SPrintf_String(text, argument);
  WFbase_ShowText(text);
}

void WFbase_ShowText(StrIn text) {
  // Batch work has nobody to read a box: its messages go to standard error.
  if (WFbase_silent || WFbase_hooks.show == nullptr) {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.Length()), text.Data());
    return;
  }
  WFbase_hooks.show(text);
}

void WFbase_Announce(const char* text) {
  SwitchBd_WallMessage(WFbase_switchboard, reinterpret_cast<std::uintptr_t>(text));
}

bool WFbase_RemoveFile(StrIn path) {
  return Messages_Quietly([&] {
    return DirAcces_Remove(path) || DirAcces_dirError == 1;
  });
}

bool WFbase_MoveFile(StrIn from, StrIn to) {
  return Messages_Quietly([&] { return DirAcces_Move(from, to); });
}

bool WFbase_CopyFile(StrIn from, StrIn to) {
  return Messages_Quietly([&] { return DirAcces_Copy(from, to); });
}

bool WFbase_GetBoolOpt(WFbase workflow, StrIn key, bool fallback) {
  return WFfolder_GetBoolOptDef(WFbase_StartFolder(workflow), key, fallback);
}

std::uint32_t WFbase_GetCardOpt(WFbase workflow, StrIn key, std::uint32_t fallback) {
  return WFfolder_GetCardOptDef(WFbase_StartFolder(workflow), key, fallback);
}
