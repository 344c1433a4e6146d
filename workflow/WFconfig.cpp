// WFconfig: the site's user-defined components.
//
// The cache follows the file's time:
//
//   time -1, empty --(file appears / query)----------> time T, parsed list
//   time T        --(query, file's time still T)----> unchanged, not read
//   time T        --(query, file's time now U)------> time U, parsed again
//   time T        --(query, file gone)--------------> time -1, empty
//   any           --(WFconfig_SaveConfiguration)----> time -1: the next query parses
//
// WFconfig_ReloadCfg performs every transition but the save's.
#include "workflow/WFconfig.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "base/BConvert.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/StringOp.h"
#include "jobqueue/SRM.h"

std::uint8_t WFconfig_error = 0;

namespace {

constexpr char kHeaderComment[] = "Created by Workflow Manager";
constexpr char kProjectsHead[] = "$TV_PROJECTS";
// Characters escaped in the one-string form. The backslash is among them so
// that expressions such as "^[^\.]" come back unchanged.
constexpr char kStringEscapes[] = "\\:/";
constexpr std::size_t kStringFields = 19;

bool initialised = false;
char resourceName[kTextCap] = "";
WFconfig_List cache = nullptr;
std::int64_t cacheTime = -1;

// Working buffers of the one-string form: a field may double when escaped.
constexpr std::size_t kWideCap = 2 * kTextCap + 1;
using WideStr = char[kWideCap];

bool TestMode() {
  const char* test = std::getenv("TEST");
  return test != nullptr && std::strcmp(test, "Floatdeck") == 0;
}

bool EqualNoCase(StrIn a, StrIn b) {
  TextStr upper;
  Strings_Assign(a, upper);
  StringOp_UpShift(upper);
  return Strings_Equal(upper, b);
}

// The values a parsed line starts from.
void SetParseDefaults(WFconfig_Entry& entry) {
  std::memset(&entry, 0, sizeof entry);
  Strings_Assign("user", entry.shortDesc);
  Strings_Assign(TVWcfg_allImages, entry.files);
  Strings_Assign("/bin/false", entry.cmd);
  entry.highCPU = true;
  Strings_Assign("AutoUDef.pxm", entry.icon);
  Strings_Assign("AUDefStp.pxm", entry.stoppedIcon);
  entry.outs = 1;
  entry.user = -1;
  entry.group = -1;
}

// A leading "$TV_PROJECTS" becomes the projects directory.
void ReplaceProjects(StrOut value) {
  if (!DirAcces_PathStartsWith(value, kProjectsHead)) return;
  TextStr list, first;
  DirAcces_GetSpecialPath(DirAcces_TV_PROJECTS, list);
  if (!DirAcces_GetPath(list, first)) return;
  DirAcces_ReplacePathHead(value, kProjectsHead, first);
}

void ReadCard(StrIn value, std::uint32_t& field) {
  TextStr text;
  Strings_Assign(value, text);
  BConvert_StrToCard(text, field);
}

void ReadInt(StrIn value, std::int32_t& field) {
  TextStr text;
  Strings_Assign(value, text);
  BConvert_StrToInt(text, field);
}

// Puts one field of a line into the entry; unknown keys change nothing.
void SetField(WFconfig_Entry& entry, StrIn key, StrIn value) {
  const std::string_view k = key.View();
  if (k == "SHORTDESC") return Strings_Assign(value, entry.shortDesc);
  if (k == "FOLDER") return Strings_Assign(value, entry.folder), ReplaceProjects(entry.folder);
  if (k == "SUBDIRS") {
    entry.subdirs = !EqualNoCase(value, "FALSE");
    return;
  }
  if (k == "FILES") return Strings_Assign(value, entry.files);
  if (k == "CMD") return Strings_Assign(value, entry.cmd), ReplaceProjects(entry.cmd);
  if (k == "OPTIONS") return Strings_Assign(value, entry.options);
  if (k == "READABLECMD") return Strings_Assign(value, entry.readableCmd);
  if (k == "CPUUSE") {
    if (EqualNoCase(value, "LOW")) entry.highCPU = false;
    return;
  }
  if (k == "ICON") return Strings_Assign(value, entry.icon), ReplaceProjects(entry.icon);
  if (k == "STOPPEDICON") return Strings_Assign(value, entry.stoppedIcon), ReplaceProjects(entry.stoppedIcon);
  if (k == "OUTS") return ReadCard(value, entry.outs);
  if (k == "MULTIPLEFILES") {
    if (EqualNoCase(value, "TRUE")) entry.multipleFiles = true;
    return;
  }
  if (k == "PRECONDRESOURCE") return Strings_Assign(value, entry.precondResource);
  if (k == "PRECONDSCRIPT") {
    Strings_Assign(value, entry.precondScript);
    return ReplaceProjects(entry.precondScript);
  }
  if (k == "SORTEDSUBMIT") {
    if (EqualNoCase(value, "TRUE")) entry.sortedSubmit = true;
    return;
  }
  if (k == "ATONCE") return ReadCard(value, entry.atOnce);
  if (k == "SILENCE") return ReadCard(value, entry.silence);
  if (k == "USER") return ReadInt(value, entry.user);
  if (k == "GROUP") return ReadInt(value, entry.group);
}

// Parses the file at `path` and cleans the list; nil when it can't be opened.
WFconfig_List LoadFile(StrIn path) {
  if (TestMode()) std::puts("Workflow Manager: reading configuration file...");
  WFconfig_List list = nullptr;
  Messages_Quietly([&] {
    SConfigF file = SConfigF_Open("", path);
    char key[kSConfigFKeyCap];
    TextStr value;
    while (SConfigF_ReadLine(file)) {
      if (!SConfigF_NextField(file, key, value) || !Strings_Equal(key, "FOLDER")) continue;
      auto entry = std::make_unique<WFconfig_Entry>();
      SetParseDefaults(*entry);
      SetField(*entry, key, value);
      while (SConfigF_NextField(file, key, value)) SetField(*entry, key, value);
      WFconfig_AppendEntry(list, entry.release());
    }
    SConfigF_Close(file);
  });
  WFconfig_DeleteIllegalEntries(list);
  return list;
}

bool IsLegal(const WFconfig_Entry& entry) {
  if (entry.outs > kWFconfigMaxOuts) return false;
  if (entry.outs > 0) return entry.subdirs && entry.options[0] != '\0';
  return !entry.subdirs && entry.options[0] == '\0' && !entry.multipleFiles;
}

// Whether the component owns `path`: its folder, or with subdirs a parent of
// the path got by cutting one element at a time.
bool Owns(const WFconfig_Entry& entry, StrIn path) {
  const StrIn folder(entry.folder);
  if (folder.Empty()) return false;
  if (Strings_Equal(path, folder)) return true;
  if (!entry.subdirs || Strings_Pos(folder, path) != 0) return false;
  TextStr current, head, tail;
  Strings_Assign(path, current);
  const std::size_t folderLength = Strings_Length(folder);
  // Each cut removes at least the last "/", so the walk ends.
  while (Strings_Length(current) > folderLength) {
    DirAcces_ExcludePath(current, head, tail);
    Strings_Assign(head, current);
    if (Strings_Equal(current, folder)) return true;
  }
  return false;
}

// Every field is written behind a ":"; the caller drops the first one. (An
// empty first field must still count, so "is the text empty" can't decide.)
void AppendField(std::string& text, StrIn value) {
  WideStr escaped;
  Strings_Assign(value, escaped);
  StringOp_Escape(escaped, kStringEscapes);
  text += ':';
  text += StrIn(escaped).View();
}

void AppendNumber(std::string& text, std::int64_t value) { AppendField(text, std::to_string(value)); }

void AppendFlag(std::string& text, bool value) { AppendField(text, StrIn::C(value ? "TRUE" : "FALSE")); }

// The reader of the one-string form: one field after another.
class FieldReader {
 public:
  explicit FieldReader(StrIn text) { Strings_Assign(text, rest_); }
  // The next field, unescaped, into `value`.
  void Text(StrOut value) {
    WideStr token;
    StringOp_NextToken(rest_, ':', token);
    StringOp_Unescape(token);
    Strings_Assign(token, value);
  }
  bool Flag() {
    TextStr value;
    Text(value);
    return EqualNoCase(value, "TRUE");
  }
  // False when the field is not a whole number.
  bool Card(std::uint32_t& result) {
    TextStr value;
    Text(value);
    return BConvert_StrToCard(value, result) && value[0] == '\0';
  }
  bool Int(std::int32_t& result) {
    TextStr value;
    Text(value);
    return BConvert_StrToInt(value, result) && value[0] == '\0';
  }

 private:
  WideStr rest_;
};

}  // namespace

void WFconfig_Init() {
  if (initialised) return;
  initialised = true;
  DirAcces_Init();
  SConfigF_Init();
  TVWcfg_Init();
  SRM_Init();
  NameStr host;
  TextStr file;
  DirAcces_GetMachineName(host);
  WFconfig_GetCfgFilename(file);
  Strings_Concat(host, ":", resourceName);
  Strings_Concat(resourceName, file, resourceName);
  SRM_UpdateResource(resourceName);
}

// --- Components and lists ----------------------------------------------------------

WFconfig_Entry* WFconfig_CreateComponent() {
  auto* entry = new WFconfig_Entry;
  SetParseDefaults(*entry);
  entry->subdirs = true;
  entry->highCPU = false;
  entry->cmd[0] = '\0';
  return entry;
}

WFconfig_Entry* WFconfig_CopyComponent(const WFconfig_Entry* entry) {
  if (entry == nullptr) return nullptr;
  auto* copy = new WFconfig_Entry(*entry);
  copy->next = nullptr;
  return copy;
}

void WFconfig_DestroyComponent(WFconfig_Entry* entry) { delete entry; }

void WFconfig_AppendEntry(WFconfig_List& list, WFconfig_Entry* entry) {
  if (entry == nullptr) return;
  entry->next = nullptr;
  WFconfig_Entry** end = &list;
  while (*end != nullptr) end = &(*end)->next;
  *end = entry;
}

void WFconfig_DestroyList(WFconfig_List& list) {
  while (list != nullptr) {
    WFconfig_Entry* next = list->next;
    delete list;
    list = next;
  }
}

void WFconfig_DeleteIllegalEntries(WFconfig_List& list) {
  const bool test = TestMode();
  WFconfig_Entry** link = &list;
  while (*link != nullptr) {
    WFconfig_Entry* entry = *link;
    const bool legal = IsLegal(*entry);
    if (test) std::printf("%s%s\n", std::string(StrIn(entry->folder).View()).c_str(), legal ? " ok." : " illegal. Ignored!");
    if (legal) {
      link = &entry->next;
    } else {
      *link = entry->next;
      delete entry;
    }
  }
  if (test) std::fflush(stdout);
}

// --- The file ------------------------------------------------------------------------

void WFconfig_GetCfgFilename(StrOut name) {
  DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, WFconfig_cfgName, name);
}

WFconfig_List WFconfig_LoadConfiguration() {
  TextStr name;
  WFconfig_GetCfgFilename(name);
  return LoadFile(name);
}

WFconfig_List WFconfig_GetPreconfigured() {
  TextStr relative, path;
  DirAcces_IncludePath("env", WFconfig_cfgName, relative);
  const bool found = Messages_Quietly(
      [&] { return DirAcces_AccessSpecial(DirAcces_MARLLIB, relative, DirAcces_Mode::Read, path); });
  return found ? LoadFile(path) : nullptr;
}

void WFconfig_GenerateEntry(SConfigF file, const WFconfig_Entry& entry) {
  const auto put = [&](StrIn key, StrIn value) {
    if (!value.Empty()) SConfigF_PutField(file, key, value);
  };
  SConfigF_StartLine(file);
  SConfigF_PutField(file, "FOLDER", entry.folder);
  if (entry.subdirs) SConfigF_PutField(file, "SUBDIRS", "TRUE");
  put("FILES", entry.files);
  put("CMD", entry.cmd);
  put("READABLECMD", entry.readableCmd);
  put("OPTIONS", entry.options);
  put("ICON", entry.icon);
  put("STOPPEDICON", entry.stoppedIcon);
  put("SHORTDESC", entry.shortDesc);
  SConfigF_PutInt(file, "OUTS", entry.outs);
  if (!entry.highCPU) SConfigF_PutField(file, "CPUUSE", "low");
  if (entry.multipleFiles) SConfigF_PutField(file, "MULTIPLEFILES", "TRUE");
  put("PRECONDRESOURCE", entry.precondResource);
  put("PRECONDSCRIPT", entry.precondScript);
  if (entry.atOnce != 0) SConfigF_PutInt(file, "ATONCE", entry.atOnce);
  if (entry.silence != 0) SConfigF_PutInt(file, "SILENCE", entry.silence);
  if (entry.sortedSubmit) SConfigF_PutField(file, "SORTEDSUBMIT", "TRUE");
  // -1 (all bits) stands for none.
  if (static_cast<std::uint32_t>(entry.user) < UINT32_MAX) SConfigF_PutInt(file, "USER", entry.user);
  if (static_cast<std::uint32_t>(entry.group) < UINT32_MAX) SConfigF_PutInt(file, "GROUP", entry.group);
}

bool WFconfig_SaveConfiguration(WFconfig_List list) {
  WFconfig_error = 0;
  cacheTime = -1;
  TextStr name;
  WFconfig_GetCfgFilename(name);
  NameStr host;
  DirAcces_GetMachineName(host);
  const std::string temporary =
      std::string(StrIn(name).View()) + "." + std::string(StrIn(host).View()) + "-" + std::to_string(::getpid()) + ".tmp";
  const bool written = Messages_Quietly([&] {
    SConfigF file = SConfigF_Create("", temporary);
    if (file == nullptr) return false;
    SConfigF_Comment(file, kHeaderComment);
    for (const WFconfig_Entry* entry = list; entry != nullptr; entry = entry->next) WFconfig_GenerateEntry(file, *entry);
    return SConfigF_Close(file);
  });
  const bool renamed = written && Messages_Quietly([&] { return DirAcces_AtomicRename(temporary, name); });
  if (!renamed) {
    Messages_Quietly([&] { return DirAcces_Remove(temporary); });
    WFconfig_error = 1;
  }
  return renamed;
}

// --- Queries on the cached file --------------------------------------------------------

void WFconfig_ReloadCfg() {
  TextStr name;
  WFconfig_GetCfgFilename(name);
  const std::int64_t time = DirAcces_LastModified(name);
  if (time == cacheTime) return;
  WFconfig_DestroyList(cache);
  cacheTime = time;
  if (time != -1) cache = LoadFile(name);
}

bool WFconfig_GetFirstEntry(const WFconfig_Entry*& entry) {
  WFconfig_ReloadCfg();
  entry = cache;
  return entry != nullptr;
}

bool WFconfig_GetNextEntry(const WFconfig_Entry*& entry) {
  if (entry != nullptr) entry = entry->next;
  return entry != nullptr;
}

bool WFconfig_GetEntry(StrIn path, WFconfig_Entry& entry) {
  WFconfig_ReloadCfg();
  for (const WFconfig_Entry* e = cache; e != nullptr; e = e->next) {
    if (!Owns(*e, path)) continue;
    entry = *e;
    entry.next = nullptr;
    return true;
  }
  return false;
}

bool WFconfig_GetEntryByShortDesc(StrIn text, WFconfig_Entry& entry) {
  WFconfig_ReloadCfg();
  for (const WFconfig_Entry* e = cache; e != nullptr; e = e->next) {
    if (!Strings_Equal(e->shortDesc, text)) continue;
    entry = *e;
    entry.next = nullptr;
    return true;
  }
  return false;
}

// --- Derived forms ------------------------------------------------------------------------

TVWcfg_Entry* WFconfig_CreateDemonConfigEntry(const WFconfig_Entry* entry) {
  if (entry == nullptr) return nullptr;
  TVWcfg_Entry* demon = TVWcfg_CreateEntry();
  demon->subdirs = entry->subdirs;
  demon->multipleFiles = entry->multipleFiles;
  demon->atOnce = static_cast<std::int32_t>(entry->atOnce);
  demon->silence = static_cast<std::int32_t>(entry->silence);
  demon->sortedSubmit = entry->sortedSubmit;
  demon->uid = entry->user;
  demon->gid = entry->group;
  demon->highCpu = entry->highCPU;
  Strings_Assign(TVWcfg_toOmit, demon->omit);
  Strings_Assign(entry->folder, demon->folder);
  Strings_Assign(entry->cmd, demon->cmd);
  Strings_Assign(entry->readableCmd, demon->readableCmd);
  Strings_Assign(entry->options, demon->options);
  Strings_Assign(entry->files, demon->filePattern);
  Strings_Assign(entry->files, demon->files);
  Strings_Assign(entry->precondResource, demon->precondResource);
  Strings_Assign(entry->precondScript, demon->precondScript);
  return demon;
}

void WFconfig_EntryToString(const WFconfig_Entry& entry, StrOut text) {
  std::string line;
  AppendField(line, entry.shortDesc);
  AppendField(line, entry.folder);
  AppendFlag(line, entry.subdirs);
  AppendField(line, entry.files);
  AppendField(line, entry.cmd);
  AppendField(line, entry.options);
  AppendField(line, entry.readableCmd);
  AppendFlag(line, entry.highCPU);
  AppendField(line, entry.icon);
  AppendField(line, entry.stoppedIcon);
  AppendNumber(line, entry.outs);
  AppendFlag(line, entry.multipleFiles);
  AppendField(line, entry.precondResource);
  AppendField(line, entry.precondScript);
  AppendFlag(line, entry.sortedSubmit);
  AppendNumber(line, entry.atOnce);
  AppendNumber(line, entry.silence);
  AppendNumber(line, entry.user);
  AppendNumber(line, entry.group);
  Strings_Assign(line.substr(1), text);
}

bool WFconfig_StringToEntry(StrIn text, WFconfig_Entry& entry) {
  WFconfig_error = 0;
  // An empty first field is still a field, so the count alone tells a cut or
  // foreign text.
  if (StringOp_NumTokens(text, ':') < kStringFields) {
    WFconfig_error = 2;
    return false;
  }
  auto read = std::make_unique<WFconfig_Entry>();
  SetParseDefaults(*read);
  WFconfig_Entry& e = *read;
  FieldReader fields(text);
  fields.Text(e.shortDesc);
  fields.Text(e.folder);
  e.subdirs = fields.Flag();
  fields.Text(e.files);
  fields.Text(e.cmd);
  fields.Text(e.options);
  fields.Text(e.readableCmd);
  e.highCPU = fields.Flag();
  fields.Text(e.icon);
  fields.Text(e.stoppedIcon);
  bool numbers = fields.Card(e.outs);
  e.multipleFiles = fields.Flag();
  fields.Text(e.precondResource);
  fields.Text(e.precondScript);
  e.sortedSubmit = fields.Flag();
  numbers = fields.Card(e.atOnce) && numbers;
  numbers = fields.Card(e.silence) && numbers;
  numbers = fields.Int(e.user) && numbers;
  numbers = fields.Int(e.group) && numbers;
  if (!numbers) {
    WFconfig_error = 2;
    return false;
  }
  entry = e;
  return true;
}

// --- Exclusive use of the file ------------------------------------------------------------

bool WFconfig_Reserve() {
  WFconfig_Init();
  return Messages_Quietly([] { return SRM_Reserve(resourceName, true); });
}

void WFconfig_Release() {
  WFconfig_Init();
  Messages_Quietly([] { SRM_Release(resourceName); });
}
