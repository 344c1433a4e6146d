// TVWcfg: loading and saving the demon's folder table.
#include <string>
#include <string_view>

#include "base/BConvert.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SConfigF.h"
#include "base/SPrintf.h"
#include "base/StringOp.h"
#include "watch/TVWcfg.h"
#include "watch/TVWsupp.h"

namespace {

char section[kSectionCap] = "TVWcfg";

constexpr char kProjectsHead[] = "$TV_PROJECTS";
constexpr std::uint8_t kRipKind = 10;

TVWcfg_RootDirProc rootDirProc = nullptr;

// What the reading of a folder line needs besides the line.
struct Reading {
  char projects[kPathCap] = "";
  char ripRoot[kPathCap] = "";
};

bool EqualNoCase(StrIn a, std::string_view b) {
  const std::string_view text = a.View();
  if (text.size() != b.size()) return false;
  for (std::size_t i = 0; i < b.size(); ++i)
    if (StringOp_Upper(text[i]) != StringOp_Upper(b[i])) return false;
  return true;
}

bool IsTrue(StrIn value) { return EqualNoCase(value, "TRUE"); }

// A whole value as a number: digits and blanks around them, nothing else.
template <class Number, class Convert>
bool ParseNumber(StrIn value, Number& number, Convert convert) {
  char text[kNameCap];
  Strings_Assign(value, text);
  Number read{};
  if (!convert(StrOut(text), read)) return false;
  for (char c : StrIn(text).View())
    if (c != ' ' && c != '\t') return false;
  number = read;
  return true;
}

bool ParseInt(StrIn value, std::int32_t& number) { return ParseNumber(value, number, BConvert_StrToInt); }
bool ParseCard(StrIn value, std::uint32_t& number) { return ParseNumber(value, number, BConvert_StrToCard); }

// A value that names a path below the projects directory by its variable.
void ProjectsPath(StrOut value, const Reading& reading, StrOut field) {
  DirAcces_ReplacePathHead(value, kProjectsHead, reading.projects);
  Strings_Assign(value, field);
}

using FieldReader = void (*)(TVWcfg_Entry& e, StrOut value, const Reading& reading);

struct FieldRule {
  std::string_view key;
  FieldReader read;
};

// The keys of a folder line and how each is read; a line may hold them in
// any order.
const FieldRule kFieldRules[] = {
    {"FOLDER", [](TVWcfg_Entry& e, StrOut v, const Reading& r) { ProjectsPath(v, r, e.folder); }},
    // Anything but "FALSE" sets it, an empty value too: hand-written files
    // say "SUBDIRS" alone.
    {"SUBDIRS", [](TVWcfg_Entry& e, StrOut v, const Reading&) { e.subdirs = !EqualNoCase(v, "FALSE"); }},
    {"OMIT", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.omit); }},
    {"FILEPATTERN", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.filePattern); }},
    {"FILES", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.files); }},
    {"OMITFILES", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.omitFiles); }},
    {"OMITEMPTYFILES", [](TVWcfg_Entry& e, StrOut v, const Reading&) { e.omitEmptyFiles = IsTrue(v); }},
    {"CMD", [](TVWcfg_Entry& e, StrOut v, const Reading& r) { ProjectsPath(v, r, e.cmd); }},
    {"READABLECMD", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.readableCmd); }},
    {"OPTIONS", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.options); }},
    {"OMITCMD", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.omitCmd); }},
    {"INTERVAL", [](TVWcfg_Entry& e, StrOut v, const Reading&) { ParseInt(v, e.interval); }},
    {"SILENCE",
     [](TVWcfg_Entry& e, StrOut v, const Reading&) {
       if (ParseInt(v, e.silence)) e.currentSilence = e.silence;
     }},
    {"ACTIVITY", [](TVWcfg_Entry& e, StrOut v, const Reading&) { TVWcfg_StrToActivity(v, e.activity); }},
    // Only "low" says anything; high use is what a folder line starts with.
    {"CPUUSE",
     [](TVWcfg_Entry& e, StrOut v, const Reading&) {
       if (EqualNoCase(v, "low")) e.highCpu = false;
     }},
    {"USER", [](TVWcfg_Entry& e, StrOut v, const Reading&) { ParseInt(v, e.uid); }},
    {"GROUP", [](TVWcfg_Entry& e, StrOut v, const Reading&) { ParseInt(v, e.gid); }},
    {"LOCKED", [](TVWcfg_Entry& e, StrOut v, const Reading&) { e.locked = IsTrue(v); }},
    {"CONSIDERCTIME", [](TVWcfg_Entry& e, StrOut v, const Reading&) { e.considerCTime = IsTrue(v); }},
    {"ISWEBCHECKROOT", [](TVWcfg_Entry& e, StrOut v, const Reading&) { e.isWebCheckRoot = IsTrue(v); }},
    {"MULTIPLEFILES", [](TVWcfg_Entry& e, StrOut v, const Reading&) { e.multipleFiles = IsTrue(v); }},
    {"PRECONDRESOURCE", [](TVWcfg_Entry& e, StrOut v, const Reading&) { Strings_Assign(v, e.precondResource); }},
    {"PRECONDSCRIPT", [](TVWcfg_Entry& e, StrOut v, const Reading& r) { ProjectsPath(v, r, e.precondScript); }},
    {"SORTEDSUBMIT", [](TVWcfg_Entry& e, StrOut v, const Reading&) { e.sortedSubmit = IsTrue(v); }},
    {"ATONCE", [](TVWcfg_Entry& e, StrOut v, const Reading&) { ParseInt(v, e.atOnce); }},
    {"SEQUENCEMODE",
     [](TVWcfg_Entry& e, StrOut v, const Reading&) {
       e.sequenceMode = EqualNoCase(v, "PRODUCER")   ? TVWcfg_seqProducer
                        : EqualNoCase(v, "CONSUMER") ? TVWcfg_seqConsumer
                                                     : TVWcfg_seqNone;
     }},
};

// An unknown field with a value is kept, at the head of the entry's list.
void KeepUnknown(TVWcfg_Entry& e, StrIn key, StrIn value) {
  if (value.Empty()) return;
  auto* field = new TVWcfg_ExtraField;
  field->next = e.extraFields;
  Strings_Concat(key, "=", field->text);
  Strings_Concat(field->text, value, field->text);
  e.extraFields = field;
}

// Step 5 to 7 of a load: the entry of a line whose first field was FOLDER.
TVWcfg_Entry* ReadFolderLine(SConfigF file, StrOut folder, bool compile, const Reading& reading) {
  TVWcfg_Entry* e = TVWcfg_CreateEntry();
  // A folder line differs from a new entry: the demon's own defaults.
  Strings_Assign(TVWcfg_toOmit, e->omit);
  Strings_Assign("/bin/false", e->cmd);
  e->highCpu = true;
  ProjectsPath(folder, reading, e->folder);
  e->locked = reading.ripRoot[0] != '\0' && Strings_Equal(e->folder, reading.ripRoot);
  char key[kNameCap];
  TextStr value;
  while (SConfigF_NextField(file, key, value)) {
    const std::string_view name = StrIn(key).View();
    const FieldRule* rule = std::begin(kFieldRules);
    while (rule != std::end(kFieldRules) && rule->key != name) ++rule;
    if (rule != std::end(kFieldRules)) rule->read(*e, StrOut(value), reading);
    else KeepUnknown(*e, key, value);
  }
  if (compile) {
    e->filesRegExp = TVWcfg_GetRegExp(e->files, e->finalPageMode);
    bool ignored = false;
    if (e->omitFiles[0] != '\0') e->omitFilesRegExp = TVWcfg_GetRegExp(e->omitFiles, ignored);
  }
  e->mode = TVWsupp_DetermineMode(e->cmd, e->files, e->atOnce, e->multipleFiles);
  e->jobKind = TVWcfg_DetermineJobKind(e->cmd);
  e->jobPriority = TVWcfg_DetermineJobPriority(e->cmd);
  return e;
}

// A global key of the first field; the rest of its line is not looked at.
void ReadGlobal(StrIn key, StrIn value) {
  const std::string_view name = key.View();
  if (name == "VERSION") {
    ParseInt(value, TVWcfg_Version);
  } else if (name == "MIN_FREE_DISC_PERCENTAGE") {
    ParseCard(value, TVWcfg_MinFreeDiscPercentage);
  } else if (name == "MIN_FREE_DISC_SPACE") {
    ParseCard(value, TVWcfg_MinFreeDiscSpace);
  } else if (name == "MULTIHOSTHOTFOLDER") {
    TVWcfg_MultiHostHotfolder = IsTrue(value);
  } else if (name == "DEFAULT_USER") {
    ParseInt(value, TVWcfg_DefaultJobUID);
  } else if (name == "DEFAULT_GROUP") {
    ParseInt(value, TVWcfg_DefaultJobGID);
  } else if (name == "DEFAULT_WATCH_INTERVAL") {
    // Shorter polls would load the file servers more than the demon may.
    std::int32_t interval = 0;
    if (ParseInt(value, interval) && interval >= kTVWcfgMinWatchInterval) TVWcfg_DefaultWatchInterval = interval;
  }
}

void PutFlag(SConfigF file, StrIn key, bool set) {
  if (set) SConfigF_PutField(file, key, "TRUE");
}

void PutText(SConfigF file, StrIn key, StrIn value) {
  if (!value.Empty()) SConfigF_PutField(file, key, value);
}

void PutNumber(SConfigF file, StrIn key, std::int32_t value, bool wanted) {
  if (wanted) SConfigF_PutInt(file, key, value);
}

// One folder line, in the order the demon's own writer keeps. `uid`, `gid`
// and `watchInterval` are the file's defaults, which need no repeating.
void WriteFolderLine(SConfigF file, const TVWcfg_Entry& e, std::int32_t uid, std::int32_t gid,
                     std::int32_t watchInterval) {
  SConfigF_PutField(file, "FOLDER", e.folder);
  PutFlag(file, "SUBDIRS", e.subdirs);
  if (e.subdirs) PutText(file, "OMIT", e.omit);
  PutText(file, "FILEPATTERN", e.filePattern);
  PutText(file, "FILES", e.files);
  PutText(file, "OMITFILES", e.omitFiles);
  PutFlag(file, "OMITEMPTYFILES", e.omitEmptyFiles);
  PutText(file, "CMD", e.cmd);
  PutText(file, "READABLECMD", e.readableCmd);
  PutText(file, "OPTIONS", e.options);
  PutText(file, "OMITCMD", e.omitCmd);
  PutNumber(file, "INTERVAL", e.interval, e.interval >= 1 && e.interval != watchInterval);
  PutNumber(file, "SILENCE", e.silence, e.silence != 0);
  if (!TVWcfg_IsAlwaysActive(e.activity)) {
    char activity[kNameCap * 2];
    TVWcfg_ActivityToStr(e.activity, activity);
    SConfigF_PutField(file, "ACTIVITY", activity);
  }
  if (!e.highCpu) SConfigF_PutField(file, "CPUUSE", "Low");
  PutNumber(file, "USER", e.uid, e.uid != -1 && e.uid != uid);
  PutNumber(file, "GROUP", e.gid, e.gid != -1 && e.gid != gid);
  PutFlag(file, "LOCKED", e.locked);
  PutFlag(file, "CONSIDERCTIME", e.considerCTime);
  PutFlag(file, "ISWEBCHECKROOT", e.isWebCheckRoot);
  PutFlag(file, "MULTIPLEFILES", e.multipleFiles);
  PutText(file, "PRECONDRESOURCE", e.precondResource);
  PutText(file, "PRECONDSCRIPT", e.precondScript);
  PutFlag(file, "SORTEDSUBMIT", e.sortedSubmit);
  PutNumber(file, "ATONCE", e.atOnce, e.atOnce != 0);
  if (e.sequenceMode != TVWcfg_seqNone) {
    const char* mode = e.sequenceMode == TVWcfg_seqProducer   ? "PRODUCER"
                       : e.sequenceMode == TVWcfg_seqConsumer ? "CONSUMER"
                                                              : "UNKNOWN";
    SConfigF_PutField(file, "SEQUENCEMODE", StrIn::C(mode));
  }
  for (const TVWcfg_ExtraField* field = e.extraFields; field != nullptr; field = field->next) {
    const std::string_view text = StrIn(field->text).View();
    const std::size_t equals = text.find('=');
    SConfigF_PutField(file, std::string(text.substr(0, equals)), std::string(text.substr(equals + 1)));
  }
  SConfigF_StartLine(file);
}

void WriteGlobals(SConfigF file, std::uint32_t minPercent, std::uint32_t minSpace, bool multiHost,
                  std::int32_t uid, std::int32_t gid, std::int32_t watchInterval) {
  // Every global key stands alone on its line: the reader takes only a
  // line's first field.
  const auto global = [file](StrIn key, std::int64_t value) {
    SConfigF_PutInt(file, key, value);
    SConfigF_StartLine(file);
  };
  SConfigF_Comment(file, "Automatically created");
  global("VERSION", 1);
  if (minPercent != 0) global("MIN_FREE_DISC_PERCENTAGE", minPercent);
  if (minSpace != 0) global("MIN_FREE_DISC_SPACE", minSpace);
  if (minPercent == 0 && minSpace == 0) SConfigF_Comment(file, "Disc space checking deactivated");
  if (multiHost) {
    SConfigF_PutField(file, "MULTIHOSTHOTFOLDER", "TRUE");
    SConfigF_StartLine(file);
  }
  SConfigF_Comment(file, StrIn::C(uid >= 0 || gid >= 0 ? "Default = Execute jobs with ID:"
                                                       : "Default = Execute jobs with ID of the current file"));
  if (uid >= 0) global("DEFAULT_USER", uid);
  if (gid >= 0) global("DEFAULT_GROUP", gid);
  if (watchInterval != kTVWcfgDefaultWatchInterval) global("DEFAULT_WATCH_INTERVAL", watchInterval);
}

}  // namespace

void TVWcfg_RegisterRootDirProc(TVWcfg_RootDirProc proc) { rootDirProc = proc; }

void TVWcfg_LoadConfiguration(bool compile, TVWcfg_List& list) {
  TVWcfg_Init();
  // 1. Nothing of an earlier load survives.
  TVWcfg_Destroy(list);
  TVWcfg_error = 0;
  TVWcfg_Version = 0;
  TVWcfg_MinFreeDiscPercentage = 0;
  TVWcfg_MinFreeDiscSpace = 0;
  TVWcfg_MultiHostHotfolder = false;
  TVWcfg_DefaultJobUID = -1;
  TVWcfg_DefaultJobGID = -1;
  TVWcfg_DefaultWatchInterval = kTVWcfgDefaultWatchInterval;
  // 2. The paths that folder lines refer to.
  Reading reading;
  char projects[kTextCap];
  DirAcces_GetSpecialPath(DirAcces_TV_PROJECTS, projects);
  DirAcces_GetPath(projects, reading.projects);
  if (rootDirProc != nullptr) rootDirProc(kRipKind, StrOut(reading.ripRoot));
  // 3. A missing file is an empty table, which the caller may well expect.
  SConfigF file = SConfigF_Open("MARLENV", TVWcfg_cfgName);
  if (file == nullptr) {
    TVWcfg_error = 1;
    return;
  }
  // 4. to 7. Line by line; the first field tells what a line is.
  TVWcfg_Entry** end = &list;
  char key[kNameCap];
  TextStr value;
  Messages_IgnoreErrors(true);  // a read failure ends the table where it happens
  while (SConfigF_ReadLine(file)) {
    if (!SConfigF_NextField(file, key, value)) continue;
    if (!Strings_Equal(key, "FOLDER")) {
      ReadGlobal(key, value);
      continue;
    }
    *end = ReadFolderLine(file, value, compile, reading);
    end = &(*end)->next;
  }
  // 8.
  SConfigF_Close(file);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
}

bool TVWcfg_SaveConfiguration(TVWcfg_List list) {
  return TVWcfg_SaveConfigAndParams(list, TVWcfg_MinFreeDiscPercentage, TVWcfg_MinFreeDiscSpace,
                                    TVWcfg_MultiHostHotfolder, TVWcfg_DefaultJobUID, TVWcfg_DefaultJobGID,
                                    TVWcfg_DefaultWatchInterval);
}

bool TVWcfg_SaveConfigAndParams(TVWcfg_List list, std::uint32_t minPercent, std::uint32_t minSpace,
                                bool multiHost, std::int32_t uid, std::int32_t gid,
                                std::int32_t watchInterval) {
  TVWcfg_Init();
  // 1. Readers never lock, so the new table is made beside the old one and
  //    replaces it in one step: they see either.
  TVWcfg_error = 0;
  char target[kNameCap], temporary[kNameCap];
  TVWcfg_GetFileName(target);
  Strings_Concat(target, ".", temporary);
  BConvert_IntToStr(temporary, Processe_GetPID(), 0);
  // 2. and 3.
  Messages_IgnoreErrors(true);
  SConfigF file = SConfigF_Create("", temporary);
  bool saved = file != nullptr;
  if (saved) {
    WriteGlobals(file, minPercent, minSpace, multiHost, uid, gid, watchInterval);
    for (const TVWcfg_Entry* e = list; e != nullptr; e = e->next) WriteFolderLine(file, *e, uid, gid, watchInterval);
    // A half-written table must never reach the demon.
    saved = SConfigF_Close(file);
    if (!saved) DirAcces_Remove(temporary);
  }
  // 4.
  saved = saved && DirAcces_AtomicRename(temporary, target);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  if (!saved) TVWcfg_error = 2;
  return saved;
}

void TVWcfg_GetErrorText(StrOut text) {
  text.Clear();
  if (TVWcfg_error == 0) return;
  char name[kNameCap];
  TVWcfg_GetFileName(name);
  Messages_GetMsg(section, TVWcfg_error, text);  // messages: TVWcfg 1-2
  SPrintf_String(text, name);
}

bool TVWcfg_HighCPUUsage(StrIn path) {
  TVWcfg_List list = nullptr;
  TVWcfg_LoadConfiguration(false, list);
  bool high = true;
  const std::string_view wanted = path.View();
  for (const TVWcfg_Entry* e = list; e != nullptr; e = e->next) {
    const std::string_view folder = StrIn(e->folder).View();
    if (wanted == folder || (e->subdirs && wanted.substr(0, folder.size()) == folder)) {
      high = e->highCpu;
      break;
    }
  }
  TVWcfg_Destroy(list);
  return high;
}
