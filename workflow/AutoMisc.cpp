// AutoMisc: hot folder directories, roots, the demon entries of folders with
// an entry of their own, checks for the front ends, installer marks.
#include "workflow/AutoMisc.h"

#include <functional>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/SWilCard.h"
#include "rules/SRename.h"
#include "watch/TVWbase.h"
#include "watch/TVWcfg.h"
#include "workflow/WFbase.h"
#include "workflow/WFtvwCfg.h"

namespace {

// messages: AutoMisc 1-17 22 30 33
char section[kSectionCap] = "AutoMisc";

constexpr unsigned kExists = 1;          // with the path
constexpr unsigned kNotMade = 2;         // with the path
constexpr unsigned kPlainFile = 3;       // question, with the path
constexpr unsigned kNotEmpty = 4;        // question, with the path
constexpr unsigned kDelete = 5;          // question, with the path
constexpr unsigned kNoNewName = 6;
constexpr unsigned kNoDeleteName = 7;
constexpr unsigned kMakeOutDir = 8;      // question, with the path
constexpr unsigned kNotExamined = 9;     // with the path
constexpr unsigned kOwnOutDir = 10;      // with the path and the folder's name
constexpr unsigned kStartDemon = 11;     // question
constexpr unsigned kDemonNotStarted = 12;
constexpr unsigned kNotRemoved = 13;     // with the path
constexpr unsigned kSchemeUnloadable = 14;  // with the file and the reason
constexpr unsigned kSchemeSuffix = 15;   // with the file
constexpr unsigned kSchemeNoSegment = 16;  // with the file
constexpr unsigned kNoMark = 17;         // with the path
constexpr unsigned kRootNotWatched = 22;  // question, with the root
constexpr unsigned kCfgNotChanged = 30;
constexpr unsigned kCfgNotLocked = 33;

constexpr char kDemonCommand[] = "TVWatchD";

bool initialised = false;
bool silent = false;
bool demonStartTried = false;
bool demonStartAllowed = true;
AutoMisc_AskProc askProc = nullptr;

void Compose(unsigned number, StrIn first, StrIn second, StrOut text) {
  Messages_GetMsg(section, number, text);
  if (!first.Empty()) SPrintf_String(text, first);
  if (!second.Empty()) SPrintf_String(text, second);
}

void Message(unsigned number, StrIn first = "", StrIn second = "") {
  TextStr text;
  Compose(number, first, second, text);
  WFbase_ShowText(text);
}

bool Ask(unsigned number, StrIn argument = "") {
  if (silent || askProc == nullptr) return true;
  TextStr question;
  Compose(number, argument, "", question);
  return askProc(StrIn(question));
}

bool StatQuietly(StrIn path, DirAcces_Stat& stat, std::uint8_t& error) {
  return Messages_Quietly([&] {
    const bool found = DirAcces_FileStatN(path, stat);
    error = DirAcces_dirError;
    return found;
  });
}

bool IsDirectory(StrIn path) {
  DirAcces_Stat stat;
  std::uint8_t error = 0;
  return StatQuietly(path, stat, error) && stat.isDirectory;
}

bool Quietly(const std::function<bool()>& call) { return Messages_Quietly(call); }

std::vector<std::string> Entries(StrIn path) {
  std::vector<std::string> names;
  Quietly([&] {
    DirAcces_DirHandle dir = DirAcces_OpenDir(path);
    for (NameStr name; DirAcces_GetDirEntry(dir, name);) names.emplace_back(StrIn(name).View());
    DirAcces_CloseDir(dir);
    return true;
  });
  return names;
}

void RemoveQuietly(StrIn path) {
  Quietly([&] { return DirAcces_Remove(path) || DirAcces_dirError == 1; });
}

// A new directory, open to every user; one that a racing process made in the
// meantime is as good.
bool MakeDirectory(StrIn path) {
  const bool made = Quietly([&] { return DirAcces_MkDir(path) || DirAcces_dirError == 4; });
  if (made) Quietly([&] { return DirAcces_ChMod(path, 0777); });
  return made;
}

// --- The demon configuration under its lock --------------------------------------------

// The configuration for a change: a missing file is an empty one.
bool LoadForChange(TVWcfg_List& list) {
  Quietly([&] {
    TVWcfg_LoadConfiguration(false, list);
    return true;
  });
  if (TVWcfg_error == 0) return true;
  PathStr name;
  TVWcfg_GetFileName(name);
  return TVWcfg_error == 1 && DirAcces_LastModified(name) < 0;
}

// Locks, loads, lets `edit` change the list (it answers whether it did, and
// may refuse with `ok` false), saves a changed list, unlocks, and then tells
// the demon. False when any of it failed.
bool ChangeConfiguration(const std::function<bool(TVWcfg_List&, bool& ok)>& edit) {
  if (!WFtvwCfg_LockConfiguration()) {
    Message(kCfgNotLocked);
    return false;
  }
  TVWcfg_List list = nullptr;
  bool ok = LoadForChange(list);
  bool saved = false;
  if (!ok) {
    Message(kCfgNotChanged);
  } else if (edit(list, ok) && ok) {
    saved = Quietly([&] { return TVWcfg_SaveConfiguration(list); });
    if (!saved) Message(kCfgNotChanged);
    ok = saved;
  }
  TVWcfg_Destroy(list);
  WFtvwCfg_UnlockConfiguration();
  if (saved) {
    WFtvwCfg_SetExpired();
    AutoMisc_NotifyDemon();
  }
  return ok;
}

void PushFront(TVWcfg_List& list, TVWcfg_Entry* entry) {
  entry->next = list;
  list = entry;
}

// Puts `value` into a text field; whether it changed.
bool Take(StrOut field, StrIn value) {
  if (Strings_Equal(field, value)) return false;
  Strings_Assign(value, field);
  return true;
}

}  // namespace

void AutoMisc_Init() {
  if (initialised) return;
  initialised = true;
  DirAcces_Init();
  SFilMisc_Init();
  TVWbase_Init();
  WFtvwCfg_Init();
  SRename_Init();
}

void AutoMisc_SetFeedback(bool feedback) { silent = !feedback; }
void AutoMisc_RegisterAskProc(AutoMisc_AskProc proc) { askProc = proc; }

// --- Directories ----------------------------------------------------------------------

bool AutoMisc_NewAutofolder(StrIn root, StrIn name) {
  if (name.Empty()) {
    Message(kNoNewName);
    return false;
  }
  PathStr path;
  DirAcces_IncludePath(root, name, path);
  if (IsDirectory(path)) {
    Message(kExists, path);
    return false;
  }
  if (!Quietly([&] { return DirAcces_MkDir(path); })) {
    Message(DirAcces_dirError == 4 ? kExists : kNotMade, path);
    return false;
  }
  Quietly([&] { return DirAcces_ChMod(path, 0777); });
  AutoMisc_PutInstallerMark(path, true);
  return true;
}

bool AutoMisc_DeleteAutofolder(StrIn root, StrIn name, StrIn rcFile) {
  if (name.Empty()) {
    Message(kNoDeleteName);
    return false;
  }
  PathStr path;
  DirAcces_IncludePath(root, name, path);
  if (!Ask(kDelete, path)) return false;
  DirAcces_Stat stat;
  std::uint8_t error = 0;
  if (!StatQuietly(path, stat, error)) return error == 1;
  // Our own files go first; what is left is someone's work.
  PathStr file;
  if (!rcFile.Empty()) {
    DirAcces_IncludePath(path, rcFile, file);
    RemoveQuietly(file);
  }
  DirAcces_IncludePath(path, TVWcfg_omitMark, file);
  RemoveQuietly(file);
  AutoMisc_RemoveAllInstallerMarks(path);
  if (Quietly([&] { return DirAcces_RmDir(path); })) return true;
  if (Entries(path).empty()) {
    Message(kNotRemoved, path);
    return false;
  }
  if (!Ask(kNotEmpty, path)) return false;
  TextStr escaped;
  SFilMisc_EscapeShMetaChars(path, escaped);
  const std::string command = "rm -rf " + StrIn(escaped).Str();
  if (Processe_ExecuteCommand(command, 0) == 0) return true;
  Message(kNotRemoved, path);
  return false;
}

bool AutoMisc_RootExists(StrIn path) {
  DirAcces_Stat stat;
  std::uint8_t error = 0;
  if (StatQuietly(path, stat, error)) {
    // 1. There already.
    if (stat.isDirectory) return true;
    // 2. A plain file in the way goes only when the user agrees.
    if (!Ask(kPlainFile, path)) return false;
    if (!Quietly([&] { return DirAcces_Remove(path); })) {
      Message(kNotMade, path);
      return false;
    }
  } else if (error != 1) {
    // 3. Something else keeps us from looking.
    Message(kNotExamined, path);
    return false;
  }
  // 4. The parent, then the directory.
  PathStr parent, last;
  DirAcces_ExcludePath(path, parent, last);
  const bool made = (StrIn(parent).Empty() || IsDirectory(parent) ||
                     Quietly([&] { return DirAcces_RecursiveMkDir(parent, 0777); })) &&
                    MakeDirectory(path);
  if (!made) Message(kNotMade, path);
  return made;
}

bool AutoMisc_GetModifyTime(StrIn path, SDateAri_Stamp& stamp) {
  const std::int64_t seconds = DirAcces_LastModified(path);
  stamp = seconds < 0 ? SDateAri_Stamp{} : SDateAri_SecondsToStamp(seconds);
  return seconds >= 0;
}

bool AutoMisc_HoldsFiles(StrIn path, bool startFolder) {
  for (const std::string& name : Entries(path)) {
    if (name[0] == '.') continue;
    if (startFolder && (name == WFbase_defaultEndDir || name == WFbase_errorDirName)) continue;
    return true;
  }
  return false;
}

// --- The demon --------------------------------------------------------------------------

bool AutoMisc_AssertRootWatched(WFmodule_Kind kind) {
  PathStr root;
  WFmodule_GetRootDir(kind, root);
  if (StrIn(root).Empty()) return false;
  return ChangeConfiguration([&](TVWcfg_List& list, bool& ok) {
    const TVWcfg_Entry* entry = TVWcfg_GetEntry(list, root);
    if (entry != nullptr && entry->subdirs) return false;
    TVWcfg_Entry* added = Ask(kRootNotWatched, root) ? WFmodule_CreateDemonConfigEntry(kind) : nullptr;
    if (added == nullptr) {
      ok = false;
      return false;
    }
    PushFront(list, added);
    return true;
  });
}

bool AutoMisc_UpdateDemonConfigEntry(WFmodule_Kind kind, StrIn path, StrIn files,
                                     StrIn omitFiles, std::uint8_t sequenceMode) {
  return ChangeConfiguration([&](TVWcfg_List& list, bool& ok) {
    TVWcfg_Entry* entry = TVWcfg_GetEntry(list, path);
    bool changed = false;
    if (entry == nullptr) {
      entry = WFmodule_CreateDemonConfigEntry(kind);
      if (entry == nullptr) {
        ok = false;
        return false;
      }
      PushFront(list, entry);
      changed = true;
    }
    changed = Take(entry->folder, path) || changed;
    changed = Take(entry->files, files) || changed;
    changed = Take(entry->omitFiles, omitFiles) || changed;
    if (entry->subdirs || entry->sequenceMode != sequenceMode) changed = true;
    entry->subdirs = false;
    entry->sequenceMode = sequenceMode;
    return changed;
  });
}

bool AutoMisc_DeleteDemonConfigEntry(StrIn path) {
  return ChangeConfiguration([&](TVWcfg_List& list, bool&) {
    bool removed = false;
    for (TVWcfg_Entry** at = &list; *at != nullptr;) {
      TVWcfg_Entry* entry = *at;
      if (!Strings_Equal(entry->folder, path)) {
        at = &entry->next;
        continue;
      }
      *at = entry->next;
      entry->next = nullptr;
      TVWcfg_DestroyEntry(entry);
      removed = true;
    }
    return removed;
  });
}

bool AutoMisc_ChangeDemonConfig(const std::function<bool(TVWcfg_List& list, bool& ok)>& edit) {
  return ChangeConfiguration(edit);
}

bool AutoMisc_NotifyDemon() {
  if (TVWbase_KillDemon(TVWbase_sigUsr1)) return true;
  // No demon to tell: start one, but try that only once in a process.
  if (!demonStartAllowed || demonStartTried || !Ask(kStartDemon)) return false;
  demonStartTried = true;
  const bool found = Quietly([] {
    return DirAcces_PathLookup("PATH", kDemonCommand, DirAcces_Mode::Execute);
  });
  const std::string command = std::string(kDemonCommand) + " </dev/null >/dev/null 2>&1 &";
  if (found && Processe_ExecuteCommand(command, 0) == 0) return true;
  Message(kDemonNotStarted);
  return false;
}

void AutoMisc_AllowDemonStart(bool allow) { demonStartAllowed = allow; }

// --- Checks for the front ends --------------------------------------------------------

bool AutoMisc_ValidOutDir(StrIn path, StrIn folder, StrIn name, bool ask) {
  if (path.Empty()) return false;
  if (!IsDirectory(path)) {
    if (!ask || !Ask(kMakeOutDir, path)) return false;
    if (!Quietly([&] { return DirAcces_RecursiveMkDir(path, 0777); })) {
      Message(kNotMade, path);
      return false;
    }
  }
  DirAcces_Stat out, own;
  std::uint8_t error = 0;
  if (StatQuietly(folder, own, error) && StatQuietly(path, out, error) &&
      out.device == own.device && out.inode == own.inode) {
    Message(kOwnOutDir, path, name);
    return false;
  }
  return true;
}

bool AutoMisc_ValidScheme(StrIn file, bool needSegment, bool ask) {
  if (file.Empty()) return true;
  NameStr suffix;
  SFilMisc_SuffixOf(file, suffix);
  if (!Strings_Equal(suffix, SRename_suffix)) {
    if (ask) Message(kSchemeSuffix, file);
    return false;
  }
  SRename scheme = SRename_Nil();
  if (!Quietly([&] { return SRename_Load(file, scheme); })) {
    TextStr reason;
    SRename_GetErrorMessage(reason);
    if (ask) Message(kSchemeUnloadable, file, reason);
    return false;
  }
  SRenamOp segment = SRename_NilSeg();
  const bool valid = !needSegment || SRename_GetFirstSeg(scheme, true, segment);
  SRename_Destroy(scheme);
  if (!valid && ask) Message(kSchemeNoSegment, file);
  return valid;
}

// --- Installer marks -------------------------------------------------------------------

bool AutoMisc_PutInstallerMark(StrIn path, bool report) {
  if (!Quietly([] { return WFtvwCfg_MultiHostHotfolder(); })) return true;
  NameStr mark;
  PathStr file;
  TVWcfg_GetLocalInstallerMark(mark);
  DirAcces_IncludePath(path, mark, file);
  const bool placed = Quietly([&] { return DirAcces_Touch(file); });
  if (!placed && report) Message(kNoMark, path);
  return placed;
}

void AutoMisc_RemoveInstallerMark(StrIn path) {
  NameStr mark;
  PathStr file;
  TVWcfg_GetLocalInstallerMark(mark);
  DirAcces_IncludePath(path, mark, file);
  RemoveQuietly(file);
}

void AutoMisc_RemoveAllInstallerMarks(StrIn path) {
  NameStr pattern;
  Strings_Assign(TVWcfg_installerMark, pattern);
  SPrintf_String(pattern, "*");
  for (const std::string& entry : Entries(path)) {
    if (!SWilCard_Match(pattern, entry)) continue;
    PathStr file;
    DirAcces_IncludePath(path, entry, file);
    RemoveQuietly(file);
  }
}
