// WFfolder: the folder record, its kinds, names and parameters, and the rc
// file. Outs, labels, the iterator and the demon entry live in
// WFfolderOuts.cpp.
#include "workflow/WFfolder.h"

#include <array>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "workflow/WFfolderRec.h"

namespace {

char section[16] = "WFfolder";

bool initialised = false;
WFfolder_ExecuteOnProc executeOnProc = nullptr;
WFfolder_UserDefDefaultsProc userDefDefaultsProc = nullptr;

// Module kind of each folder kind, index 0..53; 0 for the kinds without
// module. The numbering is historic: later module kinds were added at the end
// of both tables.
constexpr std::array<WFmodule_Kind, kWFfolderMaxKind + 1> kModuleOfFolder = {
    0,                                           // none
    1,  0,  10, 11, 12, 13, 14, 15, 16, 17,      // 1..10
    18, 19, 20, 21, 22, 25, 23, 24, 26, 27,      // 11..20
    28, 29, 30, 31, 32, 39, 33, 34, 2,  35,      // 21..30
    3,  4,  40, 36, 37, 38, 5,  46, 42, 43,      // 31..40
    41, 0,  6,  7,  8,  9,  44, 45, 0,  47,      // 41..50
    48, 49, 50};                                 // 51..53

// The inverse, built once from the table above so the two cannot disagree.
constexpr std::array<WFfolder_FolderKind, kWFmoduleMaxKind + 1> FolderOfModule() {
  std::array<WFfolder_FolderKind, kWFmoduleMaxKind + 1> table{};
  for (std::size_t folderKind = 1; folderKind <= kWFfolderMaxKind; ++folderKind) {
    if (kModuleOfFolder[folderKind] != 0) table[kModuleOfFolder[folderKind]] = static_cast<WFfolder_FolderKind>(folderKind);
  }
  return table;
}
constexpr std::array<WFfolder_FolderKind, kWFmoduleMaxKind + 1> kFolderOfModule = FolderOfModule();

constexpr char kUserDefIcon[] = "AutoUDef.pxm";
constexpr char kUserDefTitle[] = "UserDef";

bool OneOf(WFfolder_FolderKind kind, std::initializer_list<int> kinds) {
  for (int k : kinds) {
    if (kind == k) return true;
  }
  return false;
}

WFfolder_FolderKind KindOf(WFfolder folder) { return folder == nullptr ? 0 : folder->kind; }

// Writes a new value only when it differs, and marks the folder then.
template <class Get, class Set>
void SetOnChange(WFfolder folder, Get get, Set set) {
  if (folder == nullptr || folder->rc == nullptr) return;
  if (!get()) {
    set();
    folder->modified = true;
  }
}

}  // namespace

// --- Internal helpers shared with WFfolderOuts.cpp -------------------------------------

bool WFfolder_Component(WFfolder folder, WFconfig_Entry& component) {
  if (folder == nullptr || !WFfolder_UserDefKind(folder->kind)) return false;
  return WFconfig_GetEntry(folder->path, component);
}

std::uint32_t WFfolder_CardDef(SAutoRcF rc, StrIn key, std::uint32_t fallback) {
  std::uint32_t value = 0;
  return SAutoRcF_GetCardOpt(rc, key, value) ? value : fallback;
}

std::int32_t WFfolder_IntDef(SAutoRcF rc, StrIn key, std::int32_t fallback) {
  std::int32_t value = 0;
  return SAutoRcF_GetIntOpt(rc, key, value) ? value : fallback;
}

bool WFfolder_BoolDef(SAutoRcF rc, StrIn key, bool fallback) {
  bool value = false;
  return SAutoRcF_GetBoolOpt(rc, key, value) ? value : fallback;
}

// --- Start and hooks ----------------------------------------------------------------------

void WFfolder_Init() {
  if (initialised) return;
  initialised = true;
  Messages_Init();
  DirAcces_Init();
  WFmodule_Init();
  WFconfig_Init();
}

void WFfolder_RegisterExecuteOnProc(WFfolder_ExecuteOnProc proc) { executeOnProc = proc; }
void WFfolder_RegisterUserDefDefaultsProc(WFfolder_UserDefDefaultsProc proc) { userDefDefaultsProc = proc; }

// --- Create and destroy -------------------------------------------------------------------

WFfolder WFfolder_Create(WFfolder_FolderKind kind, StrIn path, SAutoRcF rc) {
  auto* folder = new WFfolder_Rec;
  folder->kind = kind;
  Strings_Assign(path, folder->path);
  folder->rc = rc;
  return folder;
}

void WFfolder_Destroy(WFfolder& folder) {
  if (folder == nullptr) return;
  SAutoRcF_Destroy(folder->rc);
  delete folder;
  folder = nullptr;
}

WFfolder WFfolder_Nil() { return nullptr; }

// --- The record ---------------------------------------------------------------------------

WFfolder_FolderKind WFfolder_Kind(WFfolder folder) { return KindOf(folder); }
WFmodule_Kind WFfolder_ModuleKind(WFfolder folder) { return WFfolder_FolderToModuleKind(KindOf(folder)); }
SAutoRcF WFfolder_RcFile(WFfolder folder) { return folder == nullptr ? SAutoRcF_Nil() : folder->rc; }

void WFfolder_SetRcFile(WFfolder folder, SAutoRcF rc) {
  if (folder == nullptr || folder->rc == rc) return;
  SAutoRcF_Destroy(folder->rc);
  folder->rc = rc;
}

void WFfolder_GetPath(WFfolder folder, StrOut path) {
  if (folder == nullptr) {
    path.Clear();
    return;
  }
  Strings_Assign(folder->path, path);
}

void WFfolder_SetPath(WFfolder folder, StrIn path) {
  if (folder != nullptr) Strings_Assign(path, folder->path);
}

bool WFfolder_Done(WFfolder folder) { return folder != nullptr && folder->done; }
void WFfolder_SetDone(WFfolder folder, bool done) {
  if (folder != nullptr) folder->done = done;
}
bool WFfolder_Modified(WFfolder folder) { return folder != nullptr && folder->modified; }
void WFfolder_SetModified(WFfolder folder, bool modified) {
  if (folder != nullptr) folder->modified = modified;
}

// --- Kinds ----------------------------------------------------------------------------------

WFfolder_FolderKind WFfolder_ModuleToFolderKind(WFmodule_Kind moduleKind) {
  return moduleKind <= kWFmoduleMaxKind ? kFolderOfModule[moduleKind] : 0;
}

WFmodule_Kind WFfolder_FolderToModuleKind(WFfolder_FolderKind folderKind) {
  return folderKind <= kWFfolderMaxKind ? kModuleOfFolder[folderKind] : 0;
}

WFfolder_FolderKind WFfolder_KindByPath(StrIn path) {
  const WFmodule_Kind moduleKind = WFmodule_ModuleKindByPath(path);
  if (moduleKind != 0) return WFfolder_ModuleToFolderKind(moduleKind);
  WFconfig_Entry component{};
  if (WFconfig_GetEntry(path, component)) return component.outs > 0 ? kWFfolderUserDef : kWFfolderUserDefEnd;
  return 0;
}

WFfolder_FolderKind WFfolder_KindByName(StrIn name, WFconfig_Entry& component) {
  const WFmodule_Kind moduleKind = WFmodule_ModuleKindByName(name);
  if (moduleKind != 0) return WFfolder_ModuleToFolderKind(moduleKind);
  if (WFconfig_GetEntryByShortDesc(name, component)) {
    return component.outs > 0 ? kWFfolderUserDef : kWFfolderUserDefEnd;
  }
  return 0;
}

bool WFfolder_EndKind(WFfolder_FolderKind kind) {
  if (kind == kWFfolderInvisibleEnd || kind == kWFfolderUserDefEnd) return true;
  const WFmodule_Kind moduleKind = WFfolder_FolderToModuleKind(kind);
  if (moduleKind == 0) return false;
  std::uint32_t minimum = 0, maximum = 0;
  WFmodule_GetOutdirLimits(moduleKind, minimum, maximum);
  return maximum == 0;
}

bool WFfolder_ActiveEndKind(WFfolder_FolderKind kind) {
  return WFfolder_EndKind(kind) && OneOf(kind, {44, 45, 47, 48});
}

bool WFfolder_StandardEndKind(WFfolder_FolderKind kind) {
  return WFfolder_EndKind(kind) && OneOf(kind, {2, 43, 46});
}

bool WFfolder_PassiveEndKind(WFfolder_FolderKind kind) {
  if (!WFfolder_EndKind(kind) || WFfolder_UserDefKind(kind)) return false;
  NameStr cmd;
  WFmodule_GetCmdName(WFfolder_FolderToModuleKind(kind), cmd);
  return StrIn(cmd).Empty();
}

bool WFfolder_InvisibleEndKind(WFfolder_FolderKind kind) { return kind == kWFfolderInvisibleEnd; }
bool WFfolder_UserDefKind(WFfolder_FolderKind kind) {
  return kind == kWFfolderUserDef || kind == kWFfolderUserDefEnd;
}
bool WFfolder_TwoJobsKind(WFfolder_FolderKind kind) {
  return WFmodule_TwoJobs(WFfolder_FolderToModuleKind(kind));
}
bool WFfolder_InsertableKind(WFfolder_FolderKind kind) {
  return WFfolder_UserDefKind(kind) || WFmodule_Insertable(WFfolder_FolderToModuleKind(kind));
}
bool WFfolder_StartableKind(WFfolder_FolderKind kind) {
  return kind != kWFfolderCheck && !WFfolder_StandardEndKind(kind);
}

bool WFfolder_End(WFfolder folder) { return folder != nullptr && WFfolder_EndKind(folder->kind); }
bool WFfolder_ActiveEnd(WFfolder folder) { return folder != nullptr && WFfolder_ActiveEndKind(folder->kind); }
bool WFfolder_StandardEnd(WFfolder folder) { return folder != nullptr && WFfolder_StandardEndKind(folder->kind); }
bool WFfolder_PassiveEnd(WFfolder folder) { return folder != nullptr && WFfolder_PassiveEndKind(folder->kind); }
bool WFfolder_InvisibleEnd(WFfolder folder) { return folder != nullptr && WFfolder_InvisibleEndKind(folder->kind); }
bool WFfolder_UserDef(WFfolder folder) { return folder != nullptr && WFfolder_UserDefKind(folder->kind); }
bool WFfolder_TwoJobs(WFfolder folder) { return folder != nullptr && WFfolder_TwoJobsKind(folder->kind); }
bool WFfolder_Insertable(WFfolder folder) { return folder != nullptr && WFfolder_InsertableKind(folder->kind); }
bool WFfolder_Startable(WFfolder folder) { return folder != nullptr && WFfolder_StartableKind(folder->kind); }

// --- Names ------------------------------------------------------------------------------------

void WFfolder_GetRootDir(WFfolder_FolderKind kind, StrOut path) {
  WFmodule_GetRootDir(WFfolder_FolderToModuleKind(kind), path);
}

void WFfolder_GetRootDir2(WFfolder folder, StrOut path) {
  WFconfig_Entry component{};
  if (WFfolder_Component(folder, component)) {
    Strings_Assign(component.folder, path);
  } else {
    WFfolder_GetRootDir(KindOf(folder), path);
  }
}

void WFfolder_GetNameByKind(WFfolder_FolderKind kind, StrOut name) {
  WFmodule_GetName(WFfolder_FolderToModuleKind(kind), name);
}

void WFfolder_GetName(WFfolder folder, StrOut name) {
  WFconfig_Entry component{};
  if (WFfolder_Component(folder, component)) {
    Strings_Assign(component.shortDesc, name);
  } else {
    WFfolder_GetNameByKind(KindOf(folder), name);
  }
}

void WFfolder_GetIconByKind(WFfolder_FolderKind kind, StrOut icon) {
  if (WFfolder_UserDefKind(kind)) {
    Strings_Assign(kUserDefIcon, icon);
  } else {
    WFmodule_GetIcon(WFfolder_FolderToModuleKind(kind), icon);
  }
}

void WFfolder_GetIcon(WFfolder folder, StrOut icon) { WFfolder_GetIconByKind(KindOf(folder), icon); }

void WFfolder_GetIconTitleByKind(WFfolder_FolderKind kind, StrOut title) {
  if (WFfolder_UserDefKind(kind)) {
    Strings_Assign(kUserDefTitle, title);
  } else {
    WFfolder_GetNameByKind(kind, title);
  }
}

void WFfolder_GetIconTitle(WFfolder folder, StrOut title) { WFfolder_GetIconTitleByKind(KindOf(folder), title); }

namespace {

// The rc file name of a directory of `kind`: the module's, or the options
// field of the component owning the path.
void RcFileNameOf(WFfolder_FolderKind kind, StrIn path, StrOut name) {
  name.Clear();
  if (WFfolder_UserDefKind(kind)) {
    WFconfig_Entry component{};
    if (WFconfig_GetEntry(path, component)) Strings_Assign(component.options, name);
  } else {
    WFmodule_GetRcFileName(WFfolder_FolderToModuleKind(kind), name);
  }
}

}  // namespace

void WFfolder_GetRcFileName(WFfolder folder, StrOut name) {
  if (folder == nullptr) {
    name.Clear();
    return;
  }
  RcFileNameOf(folder->kind, folder->path, name);
}

void WFfolder_GetRcFullName(WFfolder folder, StrOut path) {
  NameStr name;
  WFfolder_GetRcFileName(folder, name);
  if (StrIn(name).Empty()) {
    path.Clear();
    return;
  }
  DirAcces_IncludePath(folder->path, name, path);
}

void WFfolder_GetCmdName(WFfolder folder, StrOut cmd) {
  WFconfig_Entry component{};
  if (WFfolder_Component(folder, component)) {
    Strings_Assign(component.cmd, cmd);
  } else {
    WFmodule_GetCmdName(WFfolder_ModuleKind(folder), cmd);
  }
}

void WFfolder_GetReadableCmd(WFfolder folder, StrOut cmd) {
  WFconfig_Entry component{};
  if (WFfolder_Component(folder, component)) {
    Strings_Assign(component.readableCmd, cmd);
  } else {
    WFmodule_GetReadableCmd(WFfolder_ModuleKind(folder), cmd);
  }
}

bool WFfolder_HighCPUUsage(WFfolder folder) {
  if (WFfolder_UserDef(folder)) {
    WFconfig_Entry component{};
    return !WFfolder_Component(folder, component) || component.highCPU;
  }
  return WFmodule_HighCPUUsage(WFfolder_ModuleKind(folder));
}

bool WFfolder_GetForeignTmpRcEntry(WFfolder folder, StrOut entry) {
  return WFmodule_GetForeignTmpRcEntry(WFfolder_ModuleKind(folder), entry);
}

bool WFfolder_GetForeignRcFilename(WFfolder folder, bool temporary, StrOut path) {
  if (folder == nullptr) {
    path.Clear();
    return false;
  }
  return WFmodule_GetForeignRcFilename(WFfolder_ModuleKind(folder), folder->path, temporary, path);
}

// --- Modes --------------------------------------------------------------------------------------

std::uint32_t WFfolder_GetMode(WFfolder folder) {
  const WFfolder_FolderKind kind = KindOf(folder);
  const SAutoRcF rc = WFfolder_RcFile(folder);
  if (OneOf(kind, {1, 10, 11, 21, 24, 27, 29, 34, 39, 44})) return WFfolder_CardDef(rc, "MODE", 0);
  if (kind == 3) return WFfolder_CardDef(rc, "CMPLXMODE", 0);
  if (kind == 4) return WFfolder_CardDef(rc, "CTLW", 1);
  if (OneOf(kind, {23, 32})) return WFfolder_CardDef(rc, "MODE", 1);
  if (kind == 30) return WFfolder_CardDef(rc, "MODE", 6);
  if (kind == 40) return WFfolder_CardDef(rc, "BITMAPMODE", 0);
  if (kind == 47) return 0;
  if (kind == 52) return WFfolder_BoolDef(rc, "WRITEREPORT", true) ? 1 : 0;
  return kWFfolderNoMode;
}

void WFfolder_SetMode(WFfolder folder, std::uint32_t mode) {
  const WFfolder_FolderKind kind = KindOf(folder);
  if (kind == 3) {
    WFfolder_SetCardOpt(folder, "CMPLXMODE", mode);
  } else if (kind == 4) {
    WFfolder_SetCardOpt(folder, "CTLW", mode);
  } else if (OneOf(kind, {10, 11, 21, 23, 24, 27, 30, 32, 39})) {
    WFfolder_SetCardOpt(folder, "MODE", mode);
  } else if (kind == 52) {
    WFfolder_SetBoolOpt(folder, "WRITEREPORT", mode != 0);
  }
}

// --- Options ------------------------------------------------------------------------------------

bool WFfolder_GetBoolOpt(WFfolder folder, StrIn key, bool& value) {
  value = false;
  return SAutoRcF_GetBoolOpt(WFfolder_RcFile(folder), key, value);
}
bool WFfolder_GetCardOpt(WFfolder folder, StrIn key, std::uint32_t& value) {
  value = 0;
  return SAutoRcF_GetCardOpt(WFfolder_RcFile(folder), key, value);
}
bool WFfolder_GetIntOpt(WFfolder folder, StrIn key, std::int32_t& value) {
  value = 0;
  return SAutoRcF_GetIntOpt(WFfolder_RcFile(folder), key, value);
}
bool WFfolder_GetStringOpt(WFfolder folder, StrIn key, StrOut value) {
  return SAutoRcF_GetStringOpt(WFfolder_RcFile(folder), key, value);
}

bool WFfolder_GetBoolOptDef(WFfolder folder, StrIn key, bool fallback) {
  return WFfolder_BoolDef(WFfolder_RcFile(folder), key, fallback);
}
std::uint32_t WFfolder_GetCardOptDef(WFfolder folder, StrIn key, std::uint32_t fallback) {
  return WFfolder_CardDef(WFfolder_RcFile(folder), key, fallback);
}
std::int32_t WFfolder_GetIntOptDef(WFfolder folder, StrIn key, std::int32_t fallback) {
  return WFfolder_IntDef(WFfolder_RcFile(folder), key, fallback);
}
void WFfolder_GetStringOptDef(WFfolder folder, StrIn key, StrIn fallback, StrOut value) {
  if (!SAutoRcF_GetStringOpt(WFfolder_RcFile(folder), key, value)) Strings_Assign(fallback, value);
}

namespace {

// Runs a setter on the folder's rc and marks the folder.
template <class Set>
void SetAndMark(WFfolder folder, Set set) {
  if (folder == nullptr || folder->rc == nullptr) return;
  set(folder->rc);
  folder->modified = true;
}

}  // namespace

void WFfolder_SetBoolOpt(WFfolder folder, StrIn key, bool value) {
  SetAndMark(folder, [&](SAutoRcF rc) { SAutoRcF_SetBoolOpt(rc, key, value); });
}
void WFfolder_SetCardOpt(WFfolder folder, StrIn key, std::uint32_t value) {
  SetAndMark(folder, [&](SAutoRcF rc) { SAutoRcF_SetCardOpt(rc, key, value); });
}
void WFfolder_SetIntOpt(WFfolder folder, StrIn key, std::int32_t value) {
  SetAndMark(folder, [&](SAutoRcF rc) { SAutoRcF_SetIntOpt(rc, key, value); });
}
void WFfolder_SetStringOpt(WFfolder folder, StrIn key, StrIn value) {
  SetAndMark(folder, [&](SAutoRcF rc) { SAutoRcF_SetStringOpt(rc, key, value); });
}

void WFfolder_UnsetOpt(WFfolder folder, StrIn key) {
  if (folder != nullptr && SAutoRcF_UnsetOpt(folder->rc, key)) folder->modified = true;
}

// --- Reserved keys ----------------------------------------------------------------------------------

void WFfolder_SetErrorDir(WFfolder folder, StrIn path) {
  SetOnChange(
      folder,
      [&] {
        PathStr old;
        return SAutoRcF_GetErrordir(folder->rc, old) && Strings_Equal(old, path);
      },
      [&] { SAutoRcF_SetErrordir(folder->rc, path); });
}

void WFfolder_SetErrorMode(WFfolder folder, std::uint32_t mode) {
  SetOnChange(
      folder, [&] { return WFfolder_ErrorMode(folder) == mode; },
      [&] { SAutoRcF_SetErrorMode(folder->rc, mode); });
}

void WFfolder_SetFinalpageMode(WFfolder folder, bool on) {
  SetOnChange(
      folder, [&] { return WFfolder_FinalpageMode(folder) == on; },
      [&] { SAutoRcF_SetFinalpageMode(folder->rc, on); });
}

void WFfolder_SetJobticketMode(WFfolder folder, bool on) {
  SetOnChange(
      folder, [&] { return WFfolder_JobticketMode(folder) == on; },
      [&] { SAutoRcF_SetJobticketMode(folder->rc, on); });
}

void WFfolder_SetOverwriteMode(WFfolder folder, std::uint32_t index, bool on) {
  SetOnChange(
      folder, [&] { return WFfolder_OverwriteMode(folder, index) == on; },
      [&] { SAutoRcF_SetOverwriteMode(folder->rc, index, on); });
}

void WFfolder_SetSequenceMode(WFfolder folder, std::uint32_t mode, const SAutoRcF_Sequence& sequence) {
  SetOnChange(
      folder,
      [&] {
        SAutoRcF_Sequence old;
        const std::uint32_t oldMode = WFfolder_SequenceMode(folder, old);
        if (oldMode != mode) return false;
        return mode == 0 || (Strings_Equal(old.nameScheme, sequence.nameScheme) &&
                             old.startDelay == sequence.startDelay && old.fileTimeout == sequence.fileTimeout &&
                             old.seriesTimeout == sequence.seriesTimeout && old.descending == sequence.descending);
      },
      [&] { SAutoRcF_SetSequenceMode(folder->rc, mode, sequence); });
}

void WFfolder_SetInstallTime(WFfolder folder, StrIn time) {
  SetAndMark(folder, [&](SAutoRcF rc) { SAutoRcF_SetInstalltime(rc, time); });
}

std::uint32_t WFfolder_ErrorMode(WFfolder folder) { return SAutoRcF_GetErrorMode(WFfolder_RcFile(folder)); }
bool WFfolder_FinalpageMode(WFfolder folder) { return SAutoRcF_GetFinalpageMode(WFfolder_RcFile(folder)); }
bool WFfolder_JobticketMode(WFfolder folder) { return SAutoRcF_GetJobticketMode(WFfolder_RcFile(folder)); }
bool WFfolder_OverwriteMode(WFfolder folder, std::uint32_t index) {
  return SAutoRcF_GetOverwriteMode(WFfolder_RcFile(folder), index);
}
std::uint32_t WFfolder_SequenceMode(WFfolder folder, SAutoRcF_Sequence& sequence) {
  return SAutoRcF_GetSequenceMode(WFfolder_RcFile(folder), sequence);
}

bool WFfolder_SubdirMode(WFfolder folder) {
  const WFfolder_FolderKind kind = KindOf(folder);
  if (kind == kWFfolderStart) return WFfolder_GetBoolOptDef(folder, "SUBDIRS", false);
  return kind == 44;
}

// --- Default parameters and the rc file ------------------------------------------------------------

void WFfolder_SetDefaultParams(WFfolder folder) {
  if (folder == nullptr) return;
  if (folder->rc == nullptr) folder->rc = SAutoRcF_Create();
  const WFmodule_Kind moduleKind = WFfolder_ModuleKind(folder);
  if (moduleKind != 0) {
    WFmodule_SetDefaultParams(moduleKind, folder->rc, folder->path);
  } else {
    // A component has parameters when it names an rc file for its command.
    WFconfig_Entry component{};
    if (userDefDefaultsProc != nullptr && WFfolder_Component(folder, component) &&
        !StrIn(component.options).Empty()) {
      userDefDefaultsProc(folder->rc, component);
    }
  }
  folder->modified = true;
}

SAutoRcF WFfolder_LoadRcFile(StrIn path, WFfolder_FolderKind kind, StrOut message) {
  message.Clear();
  NameStr name;
  RcFileNameOf(kind, path, name);
  if (StrIn(name).Empty()) return SAutoRcF_Nil();
  PathStr file;
  DirAcces_IncludePath(path, name, file);
  SAutoRcF rc = SAutoRcF_Nil();
  if (SAutoRcF_Load(file, rc)) return rc;
  switch (SAutoRcF_error) {
    case 1:
      Messages_GetMsg(section, 1, message);
      break;
    case 6:
      Messages_GetMsg(section, 2, message);
      break;
    default:
      Messages_GetMsg(section, 3, message);
      break;
  }
  SPrintf_String(message, file);
  return SAutoRcF_Nil();
}

namespace {

// Where a save writes before the rc file takes the new content.
bool StagedName(WFfolder folder, StrOut file, StrOut staged) {
  WFfolder_GetRcFullName(folder, file);
  if (StrIn(file).Empty() || folder->rc == nullptr) return false;
  Strings_Concat(file, ".new", staged);
  return true;
}

}  // namespace

bool WFfolder_SaveOptions(WFfolder folder) {
  return WFfolder_StageOptions(folder) && WFfolder_CommitOptions(folder);
}

bool WFfolder_StageOptions(WFfolder folder) {
  PathStr file, staged;
  if (!StagedName(folder, file, staged)) return false;
  // The writer does not see a disk that fills up under it: the file must
  // read back as the object before it may replace anything.
  SAutoRcF back = SAutoRcF_Nil();
  const bool written = SAutoRcF_Save(staged, folder->rc) &&
                       Messages_Quietly([&] { return SAutoRcF_Load(staged, back); }) &&
                       SAutoRcF_SameContent(back, folder->rc);
  SAutoRcF_Destroy(back);
  if (!written) WFfolder_DiscardOptions(folder);
  return written;
}

bool WFfolder_CommitOptions(WFfolder folder) {
  PathStr file, staged;
  if (!StagedName(folder, file, staged)) return false;
  const bool renamed = Messages_Quietly([&] { return DirAcces_AtomicRename(staged, file); });
  if (!renamed) WFfolder_DiscardOptions(folder);
  return renamed;
}

void WFfolder_DiscardOptions(WFfolder folder) {
  PathStr file, staged;
  if (StagedName(folder, file, staged)) Messages_Quietly([&] { return DirAcces_Remove(staged); });
}

// --- Where jobs run -------------------------------------------------------------------------------

std::uint8_t WFfolder_ExecuteOn(WFfolder folder) {
  const WFmodule_Kind moduleKind = WFfolder_ModuleKind(folder);
  if (moduleKind == 0 || executeOnProc == nullptr) return 1;
  NameStr jobClass;
  WFmodule_GetJobClassName(moduleKind, jobClass);
  return executeOnProc(StrIn(jobClass));
}
