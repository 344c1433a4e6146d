// WFbase: installing a workflow. The graph is walked once from the start;
// what is marked modified gets its directory, its rc file (written beside the
// old one and read back) and the demon's stop mark. The rc files take effect
// only after the whole walk went well, in post-order (outs before the folder
// that names them, the start folder last), so that a rebuild after a failure
// at any point finds either the old or the new out directories, never one
// that names a folder with no rc file. Demon entries and the remote watch
// follow the rc files; the folders taken out of the graph go last.
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbasePrivate.h"
#include "workflow/WFtvwCfg.h"

namespace {

char section[kSectionCap] = "WFbase";

// messages: WFbase 2 12 40 41
constexpr unsigned kStartDirNotMade = 2;       // with the path
constexpr unsigned kRemoteWatchNotSaved = 12;  // with the reason
constexpr unsigned kForeignNotMoved = 40;      // with both paths
constexpr unsigned kEndNotMade = 41;           // with the path

constexpr WFfolder_FolderKind kBitmapProof = 40;
constexpr std::uint32_t kBitmapFileMode = 8;
constexpr std::uint32_t kDefaultFileMode = 2;
constexpr unsigned kFileSigns = 10;
constexpr std::uint32_t kSequenceProducer = 1;
constexpr std::uint32_t kSequenceConsumer = 2;

// What one install has done so far and what must follow its rc files.
struct Transaction {
  std::set<WFfolder> staged;        // rc written beside its file, not yet in effect
  std::vector<WFfolder> entries;    // demon entries to bring in step, in walk order
  std::set<WFfolder> newFolders;    // directories this install made
  bool remoteWatch = false;         // the start folder was installed
};

Transaction* transaction = nullptr;  // the install under way; nil outside one
WFbase_StartEntryProc startEntryProc = nullptr;
WFbase_RemoteWatch remoteWatch{};

bool Quietly(const std::function<bool()>& call) { return Messages_Quietly(call); }

std::string PathOf(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return StrIn(path).Str();
}

bool IsDirectory(StrIn path) {
  DirAcces_Stat stat;
  return Quietly([&] { return DirAcces_FileStatN(path, stat); }) && stat.isDirectory;
}

std::string Trimmed(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

// The demon entry follows the rc file in an install, and comes at once
// outside one.
void FolderEntry(WFbase workflow, WFfolder folder) {
  if (transaction != nullptr) {
    transaction->entries.push_back(folder);
  } else {
    WFbase_UpdateFolderDemonConfig(workflow, folder);
  }
}

bool TreeWatched(WFfolder folder) {
  if (WFfolder_PassiveEnd(folder)) return false;
  const WFmodule_Kind kind = WFfolder_ModuleKind(folder);
  return kind == 0 ? WFfolder_UserDef(folder) : WFmodule_RecursiveDemonConfigEntry(kind);
}

// A tree-watched folder needs its tree's entry, then its own adjustment.
bool FolderEntries(WFbase workflow, WFfolder folder, bool ensureTree) {
  if (ensureTree && TreeWatched(folder)) Quietly([&] { return WFtvwCfg_Add(folder); });
  return WFbase_UpdateFolderDemonConfig(workflow, folder);
}

// --- Step 1: bitmap proof settings ---------------------------------------------------

WFfolder FirstOfKind(WFfolder folder, WFfolder_FolderKind kind) {
  if (folder == nullptr || WFfolder_Done(folder)) return nullptr;
  WFfolder_SetDone(folder, true);
  if (WFfolder_Kind(folder) == kind) return folder;
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
    WFfolder found = FirstOfKind(WFfolder_OutFolder(folder, index), kind);
    if (found != nullptr) return found;
  }
  return nullptr;
}

void CopyOption(WFfolder from, WFfolder to, StrIn key) {
  TextStr value;
  if (SAutoRcF_GetOpt(WFfolder_RcFile(from), key, value)) WFfolder_SetStringOpt(to, key, value);
}

// A start that takes bitmaps takes the bitmap settings of the first bitmap
// proof behind it.
void BitmapProofSettings(WFbase workflow, WFfolder start) {
  if (WFfolder_GetIntOptDef(start, WFbase_optFileMode, kDefaultFileMode) != kBitmapFileMode) return;
  WFbase_SetDone(workflow, false);
  WFfolder proof = FirstOfKind(start, kBitmapProof);
  if (proof == nullptr) return;
  for (const char* key : {"BITMAPNAMESCHEME", "BITMAPMODE", "IGNOREFORMBITMAPS"}) {
    CopyOption(proof, start, StrIn::C(key));
  }
  for (unsigned n = 1; n <= kFileSigns; ++n) {
    NameStr key = "FILESIGN_%d";
    SPrintf_Int(key, static_cast<std::int64_t>(n));
    CopyOption(proof, start, key);
  }
  WFfolder_SetModified(start, true);
  workflow->modified = true;
}

// --- Step 3: the start folder's share ----------------------------------------------

WFfolder FindConsumer(WFfolder folder, SAutoRcF_Sequence& sequence) {
  if (folder == nullptr || WFfolder_Done(folder)) return nullptr;
  WFfolder_SetDone(folder, true);
  if (WFfolder_SequenceMode(folder, sequence) == kSequenceConsumer) return folder;
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
    WFfolder found = FindConsumer(WFfolder_OutFolder(folder, index), sequence);
    if (found != nullptr) return found;
  }
  return nullptr;
}

void PrepareStart(WFbase workflow, WFfolder start) {
  const WFbase_Options& options = workflow->options;
  WFfolder_SetErrorMode(start, options.errorMode);
  const std::string path = PathOf(start);
  const TVWcfg_Entry* entry = Messages_Quietly([&] { return WFtvwCfg_GetEntry(path); });
  if (entry != nullptr && !TVWcfg_EqualActivity(entry->activity, options.activity)) {
    WFfolder_SetModified(start, true);
  }
  if (WFbase_SetSyncOptsRC(WFfolder_RcFile(start), options.doSync, options.syncSlaves)) {
    WFfolder_SetModified(start, true);
  }
  // A consumer of sequences somewhere behind makes the start their producer.
  WFbase_SetDone(workflow, false);
  WFfolder_SetDone(start, true);
  SAutoRcF_Sequence sequence;
  WFfolder consumer = nullptr;
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts && consumer == nullptr; ++index) {
    consumer = FindConsumer(WFfolder_OutFolder(start, index), sequence);
  }
  if (consumer == nullptr) sequence = SAutoRcF_Sequence{};
  WFfolder_SetSequenceMode(start, consumer != nullptr ? kSequenceProducer : 0, sequence);
}

// --- Step 4: the walk ----------------------------------------------------------------

bool InstallOne(WFbase workflow, WFfolder folder) {
  if (WFfolder_Kind(folder) == kWFfolderStart) {
    if (!WFbase_InstallStartFolder(workflow, folder)) return false;
    if (transaction != nullptr) transaction->remoteWatch = true;
    return true;
  }
  if (WFfolder_PassiveEnd(folder)) return WFbase_InstallPassiveEndFolder(workflow, folder);
  return WFbase_InstallStandardFolder(workflow, folder);
}

bool WFbase_InstallWorkflow_InstallFolders(WFbase workflow, WFfolder folder, std::uint32_t errorMode) {
  if (folder == nullptr || WFfolder_Done(folder)) return true;
  WFfolder_SetDone(folder, true);
  WFfolder_SetErrorMode(folder, errorMode);
  if (WFfolder_Modified(folder)) {
    if (!InstallOne(workflow, folder)) return false;
    WFbase_StopFolder(folder);
  }
  WFfolder_OutIterator outs = WFfolder_CreateOutIterator(folder);
  std::uint32_t index = 0;
  WFfolder out = nullptr;
  bool ok = true;
  while (ok && WFfolder_IterateOuts(outs, index, out)) {
    ok = WFbase_InstallWorkflow_InstallFolders(workflow, out, errorMode);
  }
  WFfolder_DestroyOutIterator(outs);
  return ok;
}

// --- Taking effect ---------------------------------------------------------------------

// Puts the staged rc files in place, each folder after its outs. False at the
// first that can't be renamed; the ones behind it stay staged.
bool CommitBelow(WFfolder folder, Transaction& t, std::set<WFfolder>& visited) {
  if (folder == nullptr || !visited.insert(folder).second) return true;
  for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
    if (!CommitBelow(WFfolder_OutFolder(folder, index), t, visited)) return false;
  }
  if (t.staged.count(folder) == 0) return true;
  t.staged.erase(folder);
  return WFfolder_CommitOptions(folder);
}

void Discard(Transaction& t) {
  for (WFfolder folder : t.staged) WFfolder_DiscardOptions(folder);
  t.staged.clear();
}

// The demon entries and the remote watch, once the rc files are in place.
// After the first entry that fails the others are left: the configuration
// is locked or can't be written, and each would say so again.
bool FollowCommit(WFbase workflow, const Transaction& t) {
  bool ok = true;
  for (WFfolder folder : t.entries) {
    ok = FolderEntries(workflow, folder, t.newFolders.count(folder) != 0);
    if (!ok) break;
  }
  if (t.remoteWatch) ok = WFbase_UpdateRemoteWatchConfig(workflow, false) && ok;
  return ok;
}

// Removes the folders taken out of the graph; after the first failure the
// others stay on disk. All of them are freed.
bool RemoveFolders(WFbase workflow, bool installed) {
  bool ok = true;
  for (WFfolder folder = WFbase_TakeFolderToRemove(workflow); folder != nullptr;
       folder = WFbase_TakeFolderToRemove(workflow)) {
    if (!WFfolder_PassiveEnd(folder) && installed && ok) ok = WFbase_RemoveHotfolder(workflow, folder);
    WFfolder_Destroy(folder);
  }
  return ok;
}

}  // namespace

void WFbase_RegisterStartEntryProc(WFbase_StartEntryProc proc) { startEntryProc = proc; }
void WFbase_RegisterRemoteWatch(const WFbase_RemoteWatch& hooks) { remoteWatch = hooks; }

bool WFbase_InstallWorkflow(WFbase workflow) {
  if (workflow == nullptr) return false;
  WFfolder start = workflow->start;
  // 1. Bitmap proof settings, 2. nothing to do.
  if (start != nullptr) BitmapProofSettings(workflow, start);
  if (!workflow->modified) return true;
  // 3. The start folder's modes and marks.
  if (start != nullptr) PrepareStart(workflow, start);
  // 4. The walk, then the rc files take effect.
  Transaction t;
  transaction = &t;
  WFbase_SetDone(workflow, false);
  bool installed = WFbase_InstallWorkflow_InstallFolders(workflow, start, workflow->options.errorMode);
  transaction = nullptr;
  std::set<WFfolder> visited;
  installed = installed && CommitBelow(start, t, visited);
  Discard(t);
  // 5. The outside world follows; the start rc's time is the workflow's.
  bool inStep = true;
  if (installed) {
    inStep = FollowCommit(workflow, t);
    PathStr rcFile;
    WFfolder_GetRcFullName(start, rcFile);
    if (!StrIn(rcFile).Empty()) Quietly([&] { return DirAcces_Touch(rcFile); });
    WFbase_SetWorkflowLastModified(workflow);
  }
  // 6. The folders taken out, 7. done, whatever happened.
  const bool removed = RemoveFolders(workflow, installed);
  workflow->modified = false;
  return installed && removed && inStep;
}

// --- The steps ---------------------------------------------------------------------------

bool WFbase_InstallStartFolder(WFbase workflow, WFfolder folder) {
  if (workflow == nullptr || folder == nullptr) return false;
  const std::string path = PathOf(folder);
  // 1. Where the start path leads: a link's target, or the path itself.
  PathStr target;
  const bool linked = Quietly([&] { return DirAcces_ReadLink(path, target); });
  DirAcces_Stat stat;
  const bool exists = Quietly([&] { return DirAcces_LFileStatN(path, stat); });
  PathStr startDir;
  WFfolder_GetStringOptDef(folder, WFbase_optStartDir, "", startDir);
  const std::string leadsTo = Trimmed(linked ? StrIn(target).Str() : path);
  // 2. Where it should be: only the rc is new.
  if (exists && (StrIn(startDir).Empty() || Trimmed(StrIn(startDir).Str()) == leadsTo)) {
    if (!WFbase_SaveRcFile(workflow, folder, false)) return false;
    FolderEntry(workflow, folder);
    return true;
  }
  // 3. Somewhere else: the old directory or link goes.
  if (exists && !WFbase_RemoveHotfolder(workflow, folder)) return false;
  // 4. A new start directory.
  if (!WFbase_InstallStartDir(workflow, folder)) {
    WFbase_Message(section, kStartDirNotMade, path);
    return false;
  }
  FolderEntry(workflow, folder);
  return true;
}

bool WFbase_InstallStartDir(WFbase workflow, WFfolder folder) {
  if (workflow == nullptr || folder == nullptr) return false;
  const std::string path = PathOf(folder);
  PathStr startDir;
  WFfolder_GetStringOptDef(folder, WFbase_optStartDir, "", startDir);
  WFbase_RefreshWfDir();
  if (!AutoMisc_RootExists(WFbase_wfDir)) return false;
  if (!StrIn(startDir).Empty() && Trimmed(StrIn(startDir).Str()) != Trimmed(path)) {
    // 1. A link to a directory elsewhere, which is made if it is missing.
    if (!AutoMisc_RootExists(startDir)) return false;
    if (!Quietly([&] { return DirAcces_Symlink(startDir, path); })) return false;
    Quietly([&] { return DirAcces_ChMod(path, 0777); });
    if (Quietly([] { return WFtvwCfg_MultiHostHotfolder(); })) {
      AutoMisc_RemoveAllInstallerMarks(startDir);
      AutoMisc_PutInstallerMark(startDir, true);
    }
  } else {
    // 2. The directory below the workflow root.
    if (!AutoMisc_NewAutofolder(WFbase_wfDir, workflow->name)) return false;
    if (transaction != nullptr) transaction->newFolders.insert(folder);
  }
  // 3. Its end and error directories, 4. the rc.
  return WFbase_InstallDefaultSubdirs(workflow) && WFbase_SaveRcFile(workflow, folder, true);
}

bool WFbase_InstallPassiveEndFolder(WFbase workflow, WFfolder folder) {
  if (workflow == nullptr || folder == nullptr) return false;
  const std::string path = PathOf(folder);
  if (IsDirectory(path)) return true;
  if (!Quietly([&] { return DirAcces_RecursiveMkDir(path, 0777); })) {
    WFbase_Message(section, kEndNotMade, path);
    return false;
  }
  AutoMisc_PutInstallerMark(path, true);
  return true;
}

bool WFbase_InstallStandardFolder(WFbase workflow, WFfolder folder) {
  if (workflow == nullptr || folder == nullptr) return false;
  const std::string path = PathOf(folder);
  // 1. A new directory below its root, which is made when missing.
  const bool isNew = !IsDirectory(path);
  if (isNew) {
    PathStr parent, last;
    DirAcces_ExcludePath(path, parent, last);
    if (!AutoMisc_RootExists(parent) || !AutoMisc_NewAutofolder(parent, last)) return false;
    if (transaction != nullptr) transaction->newFolders.insert(folder);
  }
  // 2. The settings a foreign program wrote for it.
  NameStr entry;
  PathStr temporary, foreign;
  if (WFfolder_GetForeignTmpRcEntry(folder, entry) &&
      SAutoRcF_GetStringOpt(WFfolder_RcFile(folder), entry, temporary) && !StrIn(temporary).Empty() &&
      WFfolder_GetForeignRcFilename(folder, false, foreign)) {
    if (!WFbase_MoveFile(temporary, foreign)) {
      TextStr text;
      Messages_GetMsg(section, kForeignNotMoved, text);
      SPrintf_String(text, temporary);
      SPrintf_String(text, foreign);
      WFbase_ShowText(text);
      return false;
    }
    WFfolder_UnsetOpt(folder, entry);
  }
  // 3. The rc, 4. the demon entry.
  if (!WFbase_SaveRcFile(workflow, folder, isNew)) return false;
  FolderEntry(workflow, folder);
  return true;
}

bool WFbase_SaveRcFile(WFbase workflow, WFfolder folder, bool setInstallTime) {
  if (workflow == nullptr || folder == nullptr) return false;
  NameStr rcName;
  WFfolder_GetRcFileName(folder, rcName);
  if (StrIn(rcName).Empty()) return true;
  if (setInstallTime) {
    TextStr now;
    SAutoRcF_GetCurrentInstalltime(now);
    WFfolder_SetInstallTime(folder, now);
  }
  PathStr errorDir;
  WFbase_GetErrordir(workflow, errorDir);
  WFfolder_SetErrorDir(folder, errorDir);
  if (transaction == nullptr) return WFfolder_SaveOptions(folder);
  if (!WFfolder_StageOptions(folder)) return false;
  transaction->staged.insert(folder);
  return true;
}

void WFbase_StopFolder(WFfolder folder) {
  if (!WFfolder_Startable(folder)) return;
  PathStr mark;
  DirAcces_IncludePath(PathOf(folder), TVWcfg_omitMark, mark);
  Quietly([&] { return DirAcces_Touch(mark); });
}

// --- The demon -----------------------------------------------------------------------------

bool WFbase_UpdateFolderDemonConfig(WFbase workflow, WFfolder folder) {
  if (workflow == nullptr || folder == nullptr || WFfolder_PassiveEnd(folder)) return true;
  const std::string path = PathOf(folder);
  TextStr files, omitFiles;
  WFfolder_GetFileRegExpr(folder, files, omitFiles);
  SAutoRcF_Sequence sequence;
  const auto sequenceMode = static_cast<std::uint8_t>(WFfolder_SequenceMode(folder, sequence));
  if (WFfolder_Kind(folder) == kWFfolderStart && startEntryProc != nullptr) {
    const std::int32_t interval =
        WFfolder_GetIntOptDef(folder, "WATCHINTERVAL", TVWcfg_DefaultWatchInterval);
    return startEntryProc(StrIn(workflow->name), StrIn(files), StrIn(omitFiles),
                          WFfolder_GetBoolOptDef(folder, "SUBDIRS", false),
                          WFfolder_GetBoolOptDef(folder, "OMITEMPTYFILES", false),
                          WFfolder_GetBoolOptDef(folder, "CONSIDERCTIME", false), sequenceMode,
                          workflow->options.activity, interval);
  }
  if (!TreeWatched(folder)) {
    return AutoMisc_UpdateDemonConfigEntry(WFfolder_ModuleKind(folder), path, files, omitFiles,
                                           sequenceMode);
  }
  return WFtvwCfg_UpdateSubentry(folder);
}

bool WFbase_UpdateDemonConfig(WFbase workflow) {
  WFbase_FolderList list = WFbase_GetAllFolders(workflow);
  bool ok = true;
  for (WFbase_FolderList entry = list; entry != nullptr && ok; entry = entry->next) {
    ok = FolderEntries(workflow, entry->folder, true);
  }
  WFbase_DestroyFolderList(list);
  return ok;
}

// --- The remote watch --------------------------------------------------------------------

RWconfig_Rec* WFbase_GetRemoteWatchConfig() {
  if (remoteWatch.get == nullptr) return nullptr;
  TextStr error;
  RWconfig_Rec* config = remoteWatch.get(StrOut(error));
  if (config == nullptr) WFbase_ShowText(error);
  return config;
}

bool WFbase_UpdateRemoteWatchConfig(WFbase workflow, bool remove) {
  if (workflow == nullptr || remoteWatch.update == nullptr) return true;
  if (WFbase_GetRemoteWatchConfig() == nullptr) return false;
  std::vector<SAutoRcF_RemoteStart> starts;
  TextStr files, omitFiles;
  PathStr localDir;
  WFfolder start = workflow->start;
  if (!remove && start != nullptr) {
    SAutoRcF rc = WFfolder_RcFile(start);
    for (std::uint32_t index = 0; index < SAutoRcF_RemoteStartCount(rc); ++index) {
      SAutoRcF_RemoteStart remote;
      if (SAutoRcF_GetRemoteStart(rc, index, remote)) starts.push_back(remote);
    }
    WFfolder_GetFileRegExpr(start, files, omitFiles);
    WFfolder_GetPath(start, localDir);
  }
  TextStr error;
  if (remoteWatch.update(StrIn(workflow->name), StrIn(localDir), StrIn(files), starts, remove,
                         StrOut(error))) {
    return true;
  }
  WFbase_Message(section, kRemoteWatchNotSaved, error);
  return false;
}
