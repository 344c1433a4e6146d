// WFtvwCfg: the cached demon configuration and the changes the manager makes.
#include "workflow/WFtvwCfg.h"

#include <cstdio>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "base/SRegExpr.h"
#include "base/SWilCard.h"
#include "watch/TVWbase.h"

namespace {

// messages: WFtvwCfg 1-4
char section[kSectionCap] = "WFtvwCfg";

constexpr char kCheckTxt[] = "|\\.txt$";
constexpr char kCheckLog[] = "|\\-log\\.pdf$";
constexpr char kDeviceLinkOmit[] = "^\\.deviceLink.*";
constexpr WFfolder_FolderKind kDeviceLinkRoot = 35;
// A busy site has many writers: the file's lock is tried for this many of
// its rounds of a second before a change gives up.
constexpr unsigned kLockRounds = 3;

TVWcfg_List tvwCfg = nullptr;   // the cached list
WFtvwCfg_CfgFileID tvwCfgID;    // the identity of the file it came from
bool tvwCfgExpired = true;      // reload even if the identity is the same
bool tvwCfgLocked = false;      // this process holds the lock and works on the list
bool firstLoad = true;          // the upgrades are still to run
WFtvwCfg_MessageProc messageProc = nullptr;
WFtvwCfg_StartFoldersProc startFoldersProc = nullptr;

void Message(unsigned number, StrIn argument = "") {
  if (messageProc != nullptr) {
    messageProc(StrIn(section), number, argument);
    return;
  }
  TextStr text = "";
  Messages_GetMsg(section, number, text);
  SPrintf_String(text, argument);
  std::fprintf(stderr, "%s\n", StrIn(text).Str().c_str());
}

std::string RootDir(WFfolder_FolderKind kind) {
  PathStr root = "";
  WFfolder_GetRootDir(kind, root);
  return StrIn(root).Str();
}

std::string FolderPath(WFfolder folder) {
  PathStr path = "";
  WFfolder_GetPath(folder, path);
  return StrIn(path).Str();
}

std::string LastElement(StrIn path) {
  PathStr head = "", tail = "";
  DirAcces_ExcludePath(path, head, tail);
  return StrIn(tail).Str();
}

std::vector<std::string> SplitComma(StrIn list) {
  std::vector<std::string> items;
  if (list.Empty()) return items;
  std::string item;
  for (char c : list.View()) {
    if (c == ',') {
      items.push_back(item);
      item.clear();
    } else {
      item += c;
    }
  }
  items.push_back(item);
  return items;
}

bool InList(StrIn list, const std::string& name) {
  for (const std::string& item : SplitComma(list))
    if (item == name) return true;
  return false;
}

// Takes `entry` out of `list` and frees it.
void RemoveEntry(TVWcfg_List& list, TVWcfg_Entry* entry) {
  for (TVWcfg_Entry** at = &list; *at != nullptr; at = &(*at)->next) {
    if (*at == entry) {
      *at = entry->next;
      entry->next = nullptr;
      TVWcfg_DestroyEntry(entry);
      return;
    }
  }
}

void PushFront(TVWcfg_List& list, TVWcfg_Entry* entry) {
  entry->next = list;
  list = entry;
}

// The exact entry of `path` that is not a tree.
TVWcfg_Entry* OwnEntry(StrIn path) {
  TVWcfg_Entry* own = TVWcfg_GetEntry(tvwCfg, path);
  return own != nullptr && !own->subdirs ? own : nullptr;
}

bool Save() {
  return Messages_Quietly([] { return TVWcfg_SaveConfiguration(tvwCfg); });
}

bool Lock() { return WFtvwCfg_LockConfiguration(); }

// Ends a change made under the lock: saves when something changed, gives the
// lock back, and only then tells the demon. Whether all went well.
bool FinishChange(bool changed) {
  bool saved = false;
  if (changed) {
    saved = Save();
    if (saved) tvwCfgExpired = true;
  }
  tvwCfgLocked = false;
  WFtvwCfg_UnlockConfiguration();
  if (saved) WFtvwCfg_NotifyDemon();
  return !changed || saved;
}

// Takes the configuration's lock; says so when it can't be had.
bool LockOrTell() {
  if (Lock()) return true;
  Message(3);
  return false;
}

// Under the lock, the entry of `folder`; nil, with the lock given back, when
// it can't be locked or has no entry.
TVWcfg_Entry* LockedEntry(StrIn folder) {
  if (!LockOrTell()) return nullptr;
  TVWcfg_Entry* e = WFtvwCfg_GetEntry(folder);
  if (e == nullptr) FinishChange(false);
  return e;
}

// Enters the folder at the head of the list unless a tree watches it already.
// `added` tells whether the list changed.
bool MyAdd(WFfolder folder, bool& added) {
  added = false;
  if (folder == WFfolder_Nil()) return false;
  const std::string path = FolderPath(folder);
  // Watched already: by an enclosing tree, or by an entry of its own.
  if (WFtvwCfg_MyGetEntry(tvwCfg, path, true) != nullptr || OwnEntry(path) != nullptr) return true;
  TVWcfg_Entry* entry = WFfolder_CreateDemonConfigEntry(folder);
  // A kind without a root has nothing to watch.
  if (entry == nullptr || entry->folder[0] == '\0') {
    TVWcfg_DestroyEntry(entry);
    return false;
  }
  PushFront(tvwCfg, entry);
  added = true;
  return true;
}

StrVector DefaultStartFolders() {
  StrVector folders = StrVector_Create();
  const std::string root = RootDir(kWFfolderStart);
  if (root.empty()) return folders;
  DirAcces_DirHandle dir = Messages_Quietly([&] { return DirAcces_OpenDir(root); });
  if (dir == nullptr) return folders;
  for (NameStr name = ""; DirAcces_GetDirEntry(dir, name);) {
    if (name[0] == '.') continue;
    PathStr path = "";
    DirAcces_IncludePath(root, name, path);
    DirAcces_Stat stat;
    if (Messages_Quietly([&] { return DirAcces_FileStatN(path, stat); }) && stat.isDirectory)
      StrVector_AddElement(folders, path);
  }
  DirAcces_CloseDir(dir);
  return folders;
}

bool Matches(StrIn pattern, StrIn name) {
  bool finalPage = false;
  SRegExpr expr = TVWcfg_GetRegExp(pattern, finalPage);
  const bool match = SRegExpr_Match(expr, name);
  SRegExpr_Destroy(expr);
  return match;
}

// 1. One entry watching the whole workflow root: an old file.
bool UpgradeOldRoot() {
  TVWcfg_Entry* root = TVWcfg_GetEntry(tvwCfg, RootDir(kWFfolderStart));
  if (root == nullptr || !root->subdirs) return false;
  Message(1);
  RemoveEntry(tvwCfg, root);
  PathStr oldName = "", newName = "";
  DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, TVWcfg_cfgName, oldName);
  Strings_Concat(oldName, ".old", newName);
  if (!Messages_Quietly([&] { return DirAcces_Rename(oldName, newName); })) Message(2, oldName);
  StrVector folders = startFoldersProc != nullptr ? startFoldersProc() : DefaultStartFolders();
  for (std::size_t i = 0; i < StrVector_ElementCount(folders); ++i) {
    const StrIn path = StrVector_DynElementAt(folders, i);
    TextStr message = "";
    SAutoRcF rc = Messages_Quietly([&] { return WFfolder_LoadRcFile(path, kWFfolderStart, message); });
    WFfolder folder = WFfolder_Create(kWFfolderStart, path, rc);
    bool added = false;
    MyAdd(folder, added);
    WFfolder_Destroy(folder);
  }
  StrVector_Destroy(folders);
  return true;
}

// 2. Check folders take their text files, and with tickets their logs.
bool UpgradeCheckFolders() {
  bool changed = false;
  for (TVWcfg_Entry* e = tvwCfg; e != nullptr; e = e->next) {
    if (WFfolder_KindByPath(e->folder) != kWFfolderCheck) continue;
    if (!Matches(e->files, "dummy.txt")) {
      Strings_Concat(e->files, kCheckTxt, e->files);
      changed = true;
    }
    if (Strings_Pos(TVWcfg_jobTickets, e->files) <= StrIn(e->files).High() &&
        !Matches(e->files, "dummy-log.pdf")) {
      Strings_Concat(e->files, kCheckLog, e->files);
      changed = true;
    }
  }
  return changed;
}

// 3. The device link root passes over its own hidden files.
bool UpgradeDeviceLinks() {
  TVWcfg_Entry* e = TVWcfg_GetEntry(tvwCfg, RootDir(kDeviceLinkRoot));
  if (e == nullptr || !StrIn(e->omitFiles).Empty()) return false;
  Strings_Assign(kDeviceLinkOmit, e->omitFiles);
  return true;
}

// 4. Modules that work on files other than images take the module's patterns.
bool UpgradeNonImageModules() {
  if (TVWcfg_Version >= 1) return false;
  bool changed = false;
  for (TVWcfg_Entry* e = tvwCfg; e != nullptr; e = e->next) {
    const WFmodule_Kind kind = WFmodule_ModuleKindByPath(e->folder);
    if (kind != 3 && kind != 4 && kind != 7 && kind != 8 && kind != 40) continue;
    TextStr files = "", omitFiles = "";
    WFmodule_GetFileRegExpr(kind, files, omitFiles);
    if (!Strings_Equal(files, e->files) || !Strings_Equal(omitFiles, e->omitFiles)) {
      Strings_Assign(files, e->files);
      Strings_Assign(omitFiles, e->omitFiles);
      changed = true;
    }
  }
  return changed;
}

void RunUpgrades() {
  bool changed = UpgradeOldRoot();
  changed = UpgradeCheckFolders() || changed;
  changed = UpgradeDeviceLinks() || changed;
  changed = UpgradeNonImageModules() || changed;
  if (!changed) return;
  if (Save()) {
    tvwCfgExpired = true;
    WFtvwCfg_NotifyDemon();
  } else {
    Message(4);
  }
}

// An entry for the list: the copy gets extra fields of its own, so that the
// list may free it like any other.
TVWcfg_Entry* CopyForList(const TVWcfg_Entry& entry) {
  TVWcfg_Entry* copy = WFtvwCfg_CopyEntry(entry);
  copy->extraFields = nullptr;
  TVWcfg_ExtraField** tail = &copy->extraFields;
  for (const TVWcfg_ExtraField* f = entry.extraFields; f != nullptr; f = f->next) {
    *tail = new TVWcfg_ExtraField(*f);
    (*tail)->next = nullptr;
    tail = &(*tail)->next;
  }
  return copy;
}

}  // namespace

void WFtvwCfg_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  WFfolder_Init();
  TVWcfg_Init();
  TVWbase_Init();
}

void WFtvwCfg_Reset() {
  TVWcfg_Destroy(tvwCfg);
  WFtvwCfg_InitCfgFileID(tvwCfgID);
  tvwCfgExpired = true;
  tvwCfgLocked = false;
  firstLoad = true;
}

void WFtvwCfg_RegisterMessageProc(WFtvwCfg_MessageProc proc) { messageProc = proc; }

void WFtvwCfg_RegisterStartFoldersProc(WFtvwCfg_StartFoldersProc proc) { startFoldersProc = proc; }

// --- The cache --------------------------------------------------------------------

void WFtvwCfg_ReloadTVWcfg() {
  WFtvwCfg_Init();
  if (tvwCfgLocked) return;
  WFtvwCfg_CfgFileID id;
  if (!WFtvwCfg_StatCfgFileID(id)) {
    TVWcfg_Destroy(tvwCfg);
    WFtvwCfg_InitCfgFileID(tvwCfgID);
    return;
  }
  if (!tvwCfgExpired && WFtvwCfg_EqualCfgFileIDs(id, tvwCfgID)) return;
  TVWcfg_Destroy(tvwCfg);
  Messages_Quietly([] { TVWcfg_LoadConfiguration(true, tvwCfg); });
  if (TVWcfg_error != 0) {
    TVWcfg_Destroy(tvwCfg);
    return;
  }
  tvwCfgID = id;
  tvwCfgExpired = false;
  if (firstLoad) {
    firstLoad = false;
    RunUpgrades();
  }
}

void WFtvwCfg_SetExpired() { tvwCfgExpired = true; }

TVWcfg_List WFtvwCfg_GetList() {
  WFtvwCfg_ReloadTVWcfg();
  return tvwCfg;
}

TVWcfg_Entry* WFtvwCfg_GetEntry(StrIn path) {
  WFtvwCfg_ReloadTVWcfg();
  return WFtvwCfg_MyGetEntry(tvwCfg, path, false);
}

TVWcfg_Entry* WFtvwCfg_GetParentEntry(StrIn path) {
  WFtvwCfg_ReloadTVWcfg();
  return WFtvwCfg_MyGetEntry(tvwCfg, path, true);
}

TVWcfg_Entry* WFtvwCfg_MyGetEntry(TVWcfg_List list, StrIn path, bool parent) {
  for (TVWcfg_Entry* e = list; e != nullptr; e = e->next) {
    if (!parent && Strings_Equal(e->folder, path)) return e;
    if (!e->subdirs || e->folder[0] == '\0' || !DirAcces_PathStartsWith(path, e->folder)) continue;
    if (!parent && WFtvwCfg_MyOmitDir(e->omit, LastElement(path))) continue;
    const std::size_t folderLength = Strings_Length(e->folder);
    PathStr cut = "", tail = "";
    Strings_Assign(path, cut);
    for (std::size_t length = Strings_Length(cut); length > folderLength;) {
      DirAcces_ExcludePath(cut, cut, tail);
      if (Strings_Equal(cut, e->folder)) return e;
      // "/" stays "/": a path that no longer shortens has nothing left to cut.
      const std::size_t shorter = Strings_Length(cut);
      if (shorter >= length) break;
      length = shorter;
    }
  }
  return nullptr;
}

// --- File identity -----------------------------------------------------------------

void WFtvwCfg_GetCfgFileID(WFtvwCfg_CfgFileID& id) { id = tvwCfgID; }

void WFtvwCfg_InitCfgFileID(WFtvwCfg_CfgFileID& id) { id = WFtvwCfg_CfgFileID{}; }

bool WFtvwCfg_StatCfgFileID(WFtvwCfg_CfgFileID& id) {
  WFtvwCfg_InitCfgFileID(id);
  TextStr list = "", dir = "";
  DirAcces_GetSpecialPath(DirAcces_MARLENV, list);
  while (DirAcces_GetPath(list, dir)) {
    PathStr name = "";
    DirAcces_IncludePath(dir, TVWcfg_cfgName, name);
    DirAcces_Stat stat;
    if (Messages_Quietly([&] { return DirAcces_FileStatN(name, stat); })) {
      id.mtime = static_cast<std::int32_t>(stat.modified);
      id.size = static_cast<double>(stat.size);
      return true;
    }
  }
  return false;
}

bool WFtvwCfg_EqualCfgFileIDs(const WFtvwCfg_CfgFileID& a, const WFtvwCfg_CfgFileID& b) {
  const double difference = a.size - b.size;
  return a.mtime == b.mtime && difference < 0.1 && difference > -0.1;
}

// --- Omit lists --------------------------------------------------------------------

bool WFtvwCfg_MyOmitDir(StrIn list, StrIn name) {
  for (const std::string& item : SplitComma(list)) {
    if (item.find('*') != std::string::npos ? SWilCard_Match(item, name) : item == name.View())
      return true;
  }
  return false;
}

bool WFtvwCfg_OmitDir(WFfolder folder, StrIn name) {
  if (folder == WFfolder_Nil()) return true;
  const TVWcfg_Entry* entry = WFtvwCfg_GetEntry(FolderPath(folder));
  return entry == nullptr || WFtvwCfg_MyOmitDir(entry->omit, name);
}

bool WFtvwCfg_NoHotfolder(StrIn name) { return WFtvwCfg_MyOmitDir(TVWcfg_toOmit, name); }

bool WFtvwCfg_DeleteInOmit(TVWcfg_Entry& entry, StrIn name) {
  if (name.View() == "outdir" && Strings_Equal(entry.folder, RootDir(kWFfolderStart))) return false;
  std::string kept;
  bool found = false;
  for (const std::string& item : SplitComma(entry.omit)) {
    if (item == name.View()) {
      found = true;
      continue;
    }
    if (!kept.empty()) kept += ',';
    kept += item;
  }
  if (found) Strings_Assign(kept, entry.omit);
  return found;
}

// --- Queries -----------------------------------------------------------------------

bool WFtvwCfg_MultiHostHotfolder() {
  WFtvwCfg_ReloadTVWcfg();
  return TVWcfg_MultiHostHotfolder;
}

bool WFtvwCfg_SubentryNeeded(WFfolder folder) {
  SAutoRcF_Sequence sequence;
  return WFfolder_FinalpageMode(folder) || WFfolder_JobticketMode(folder) ||
         WFfolder_SequenceMode(folder, sequence) != 0;
}

bool WFtvwCfg_SubentryImpossible(WFfolder folder) {
  if (folder == WFfolder_Nil()) return true;
  const WFfolder_FolderKind kind = WFfolder_Kind(folder);
  if (WFfolder_EndKind(kind)) return kind != 44 && kind != 45;
  switch (kind) {
    case 1: case 3: case 4: case 22: case 27: case 29: case 47: return true;
    default: return false;
  }
}

// --- File patterns -----------------------------------------------------------------

void WFtvwCfg_BuildFilesRegExpr(bool finalPage, bool addJobTickets, bool onlyJobTickets, StrOut files) {
  if (onlyJobTickets) {
    Strings_Assign(TVWcfg_jobTickets, files);
    return;
  }
  Strings_Assign(finalPage ? StrIn(TVWcfg_allImagesFP) : StrIn(TVWcfg_allImages), files);
  if (addJobTickets) {
    Strings_Concat(files, "|", files);
    Strings_Concat(files, TVWcfg_jobTickets, files);
  }
}

void WFtvwCfg_GetFileRegExpr(WFfolder folder, bool finalPage, bool jobTicket, StrOut files,
                             StrOut omitFiles) {
  WFtvwCfg_BuildFilesRegExpr(finalPage, false, jobTicket, files);
  if (WFfolder_Kind(folder) == kWFfolderCheck) {
    Strings_Concat(files, kCheckTxt, files);
    if (jobTicket) Strings_Concat(files, kCheckLog, files);
  }
  omitFiles.Clear();
  if (!jobTicket) {
    TextStr ownFiles = "";
    WFfolder_GetFileRegExpr(folder, ownFiles, omitFiles);
  }
}

// --- Entries -----------------------------------------------------------------------

TVWcfg_Entry* WFtvwCfg_CopyEntry(const TVWcfg_Entry& entry) {
  TVWcfg_Entry* copy = TVWcfg_CreateEntry();
  *copy = entry;
  copy->next = nullptr;
  copy->filesRegExp = SRegExpr_Nil();
  copy->omitFilesRegExp = SRegExpr_Nil();
  return copy;
}

void WFtvwCfg_DestroyCopy(TVWcfg_Entry*& entry) {
  if (entry == nullptr) return;
  entry->extraFields = nullptr;
  TVWcfg_DestroyEntry(entry);
  entry = nullptr;
}

// --- Changes ---------------------------------------------------------------------------

bool WFtvwCfg_Add(WFfolder folder) {
  WFtvwCfg_Init();
  if (!Lock()) return false;
  WFtvwCfg_ReloadTVWcfg();
  tvwCfgLocked = true;
  bool added = false;
  const bool watched = MyAdd(folder, added);
  return FinishChange(added) && watched;
}

bool WFtvwCfg_UpdateSubentry(WFfolder folder) {
  WFtvwCfg_Init();
  if (WFtvwCfg_SubentryImpossible(folder)) return true;
  const bool finalPage = WFfolder_FinalpageMode(folder);
  const bool jobTicket = WFfolder_JobticketMode(folder);
  SAutoRcF_Sequence sequence;
  const auto sequenceMode = static_cast<std::uint8_t>(WFfolder_SequenceMode(folder, sequence));
  const bool needed = finalPage || jobTicket || sequenceMode != 0;
  if (!LockOrTell()) return false;
  WFtvwCfg_ReloadTVWcfg();
  tvwCfgLocked = true;
  const std::string path = FolderPath(folder);
  const std::string name = LastElement(path);
  TVWcfg_Entry* parent = WFtvwCfg_MyGetEntry(tvwCfg, path, true);
  TVWcfg_Entry* own = OwnEntry(path);
  bool changed = false;
  if (own == nullptr && parent == nullptr) {
    MyAdd(folder, changed);
  } else if (own == nullptr && needed) {
    // Split the folder off its tree.
    if (!InList(parent->omit, name)) {
      if (!StrIn(parent->omit).Empty()) Strings_Concat(parent->omit, ",", parent->omit);
      Strings_Concat(parent->omit, name, parent->omit);
    }
    TVWcfg_Entry* sub = CopyForList(*parent);
    sub->subdirs = false;
    Strings_Assign(path, sub->folder);
    WFtvwCfg_GetFileRegExpr(folder, finalPage, jobTicket, sub->files, sub->omitFiles);
    sub->sequenceMode = sequenceMode;
    PushFront(tvwCfg, sub);
    changed = true;
  } else if (own != nullptr && parent != nullptr && !needed) {
    // The tree serves the folder again.
    WFtvwCfg_DeleteInOmit(*parent, name);
    RemoveEntry(tvwCfg, own);
    changed = true;
  } else if (own != nullptr) {
    TextStr files = "", omitFiles = "";
    WFtvwCfg_GetFileRegExpr(folder, finalPage, jobTicket, files, omitFiles);
    if (!Strings_Equal(files, own->files) || !Strings_Equal(omitFiles, own->omitFiles)) {
      Strings_Assign(files, own->files);
      Strings_Assign(omitFiles, own->omitFiles);
      changed = true;
    }
    if (own->sequenceMode != sequenceMode) {
      own->sequenceMode = sequenceMode;
      changed = true;
    }
  }
  return FinishChange(changed);
}

bool WFtvwCfg_DeleteSubentry(WFfolder folder) {
  WFtvwCfg_Init();
  if (folder == WFfolder_Nil()) return true;
  if (!LockOrTell()) return false;
  WFtvwCfg_ReloadTVWcfg();
  tvwCfgLocked = true;
  const std::string path = FolderPath(folder);
  bool changed = false;
  if (TVWcfg_Entry* own = OwnEntry(path); own != nullptr) {
    RemoveEntry(tvwCfg, own);
    changed = true;
  }
  if (TVWcfg_Entry* parent = WFtvwCfg_MyGetEntry(tvwCfg, path, true); parent != nullptr)
    changed = WFtvwCfg_DeleteInOmit(*parent, LastElement(path)) || changed;
  return FinishChange(changed);
}

bool WFtvwCfg_Update(const TVWcfg_Entry& values) {
  WFtvwCfg_Init();
  TVWcfg_Entry* e = LockedEntry(values.folder);
  if (e == nullptr) return false;
  bool changed = false;
  auto text = [&](char* field, std::size_t high, const char* value, std::size_t valueHigh) {
    if (Strings_Equal(StrIn(field, high), StrIn(value, valueHigh))) return;
    Strings_Assign(StrIn(value, valueHigh), StrOut(field, high));
    changed = true;
  };
  auto take = [&](auto& field, const auto& value) {
    if (field == value) return;
    field = value;
    changed = true;
  };
#define WFTVWCFG_TEXT(f) text(e->f, sizeof e->f - 1, values.f, sizeof values.f - 1)
  WFTVWCFG_TEXT(files);
  WFTVWCFG_TEXT(cmd);
  WFTVWCFG_TEXT(readableCmd);
  WFTVWCFG_TEXT(options);
  WFTVWCFG_TEXT(folder);
  WFTVWCFG_TEXT(precondResource);
  WFTVWCFG_TEXT(precondScript);
#undef WFTVWCFG_TEXT
  take(e->highCpu, values.highCpu);
  take(e->subdirs, values.subdirs);
  take(e->multipleFiles, values.multipleFiles);
  take(e->atOnce, values.atOnce);
  take(e->silence, values.silence);
  take(e->sortedSubmit, values.sortedSubmit);
  return FinishChange(changed);
}

bool WFtvwCfg_Delete(const TVWcfg_Entry& values) {
  WFtvwCfg_Init();
  TVWcfg_Entry* e = LockedEntry(values.folder);
  if (e == nullptr) return false;
  RemoveEntry(tvwCfg, e);
  return FinishChange(true);
}

bool WFtvwCfg_LockConfiguration() {
  for (unsigned round = 0; round < kLockRounds; ++round) {
    if (Messages_Quietly([] { return TVWcfg_LockConfiguration(); })) return true;
  }
  return false;
}

void WFtvwCfg_UnlockConfiguration() {
  Messages_Quietly([] { TVWcfg_UnlockConfiguration(); });
}

bool WFtvwCfg_NotifyDemon() { return TVWbase_KillDemon(TVWbase_sigUsr1); }
