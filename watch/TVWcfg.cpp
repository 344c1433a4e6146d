// TVWcfg: entries, activity masks and what is derived from an entry. The file
// itself is read and written in TVWcfgFile.cpp, the lock lives in
// TVWcfgLock.cpp.
#include "watch/TVWcfg.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "base/BOutIn.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SConfigF.h"
#include "base/SPrintf.h"
#include "image/SImage.h"
#include "image/SIsuffix.h"

std::uint8_t TVWcfg_error = 0;
std::int32_t TVWcfg_Version = 0;
std::uint32_t TVWcfg_MinFreeDiscPercentage = 0;
std::uint32_t TVWcfg_MinFreeDiscSpace = 0;
bool TVWcfg_MultiHostHotfolder = false;
std::int32_t TVWcfg_DefaultJobUID = -1;
std::int32_t TVWcfg_DefaultJobGID = -1;
std::int32_t TVWcfg_DefaultWatchInterval = kTVWcfgDefaultWatchInterval;

namespace {

// Where the file and its lock lie, fixed at start: the demon and every copy
// of this program must agree on them for the whole run.
char fullCfgName[kNameCap] = "";
char lockName[kNameCap] = "";

// --- Activity ------------------------------------------------------------------

// One field of the text form: where it lies in the mask and the number its
// first element has in the text.
template <class Bool>
struct Field {
  Bool* values;
  std::size_t count;
  int first;
};
using ActivityField = Field<bool>;

// The fields in the order of the text form: minute, hour, day, month, weekday.
template <class Mask, class Bool = std::conditional_t<std::is_const_v<Mask>, const bool, bool>>
std::array<Field<Bool>, 5> FieldsOf(Mask& mask) {
  return {{{mask.minutes, 60, 0}, {mask.hours, 24, 0}, {mask.days, 31, 1}, {mask.months, 12, 1}, {mask.weekdays, 7, 1}}};
}

// A number of the text form; false for anything but digits.
bool Number(std::string_view text, int& number) {
  if (text.empty() || text.size() > 6) return false;
  number = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    number = number * 10 + (c - '0');
  }
  return true;
}

// Reads one field into `field`; false, the field untouched, when the text is
// no "*", "-" or list of numbers and ranges.
bool ParseActivityField(std::string_view text, const ActivityField& field) {
  const int last = field.first + static_cast<int>(field.count) - 1;
  std::array<bool, 60> set{};
  if (text == "*" || text == "-") {
    set.fill(text == "*");
  } else {
    for (std::size_t from = 0; from <= text.size();) {
      std::size_t comma = text.find(',', from);
      if (comma == std::string_view::npos) comma = text.size();
      const std::string_view item = text.substr(from, comma - from);
      const std::size_t dash = item.find('-');
      int a = 0, b = 0;
      if (!Number(item.substr(0, dash), a)) return false;
      if (dash == std::string_view::npos) b = a;
      else if (!Number(item.substr(dash + 1), b)) return false;
      a = std::clamp(a, field.first, last) - field.first;
      b = std::clamp(b, field.first, last) - field.first;
      if (dash == std::string_view::npos) {
        set[a] = true;
      } else if (a < b) {
        for (int i = a; i <= b; ++i) set[i] = true;
      } else {
        // A range that runs backwards wraps round the field's end; "5-5"
        // therefore takes the whole field.
        for (int i = a; i < static_cast<int>(field.count); ++i) set[i] = true;
        for (int i = 0; i <= b; ++i) set[i] = true;
      }
      from = comma + 1;
    }
  }
  std::copy_n(set.begin(), field.count, field.values);
  return true;
}

std::string ActivityFieldText(const Field<const bool>& field) {
  std::size_t on = 0;
  for (std::size_t i = 0; i < field.count; ++i) on += field.values[i] ? 1 : 0;
  if (on == field.count) return "*";
  if (on == 0) return "-";
  std::string text;
  for (std::size_t i = 0; i < field.count;) {
    if (!field.values[i]) {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end + 1 < field.count && field.values[end + 1]) ++end;
    if (!text.empty()) text += ',';
    text += std::to_string(i + field.first);
    if (end > i) text += "-" + std::to_string(end + field.first);
    i = end + 1;
  }
  return text;
}

// --- Tokens --------------------------------------------------------------------

std::optional<std::string> allImages, allImagesFP;

// The expression for all images from the registry's Unix file formats
// without devices: each format's expression and "|", then PDF. `leaveOut`
// names the default suffixes whose formats don't belong.
std::string BuildImagesRegExp(std::initializer_list<std::string_view> leaveOut) {
  constexpr unsigned kUnixFilesNoDevices = SImage_kNeedUnixFS | SImage_kNoDevices;
  SImage_FormatList list = SImage_GetListOfSelectedSupportedFormats(kUnixFilesNoDevices);
  if (list == nullptr) return TVWcfg_allFiles;
  std::string expr;
  for (SImage_FormatList format = list; format != nullptr; format = format->next) {
    const std::string_view suffix = StrIn(format->suffix).View();
    if (std::find(leaveOut.begin(), leaveOut.end(), suffix) != leaveOut.end()) continue;
    expr += StrIn(format->regExpr).View();
    expr += '|';
  }
  SImage_DestroyListOfSupportedFormats(list);
  return expr + TVWcfg_pdfFiles;
}

const std::string& AllImages() {
  // Final pages are made by the workflow itself; plain image folders leave them.
  if (!allImages) allImages = BuildImagesRegExp({".Spg", ".fp"});
  return *allImages;
}

const std::string& AllImagesFP() {
  // Final-page folders take the pages, not the contone and line-work parts.
  if (!allImagesFP) allImagesFP = BuildImagesRegExp({".sct", ".slw", ".Sct", ".Slw", ".ct", ".lw", ".hc"});
  return *allImagesFP;
}

std::string ImageAddons() {
  char expr[kTextCap];
  SIsuffix_GetAllSufficesRegExp(expr);
  return StrIn(expr).Str();
}

// Replaces the tokens, the earliest first. The search goes on behind each
// replacement, so an expression never expands twice.
std::string Expand(std::string_view pattern, bool& finalPage) {
  struct Token {
    std::string_view name;
    std::string (*expression)();
  };
  static const Token tokens[] = {
      {TVWcfg_allImages, [] { return AllImages(); }},
      {TVWcfg_allImagesFP, [] { return AllImagesFP(); }},
      {TVWcfg_imageAddons, ImageAddons},
      {TVWcfg_jobTickets, [] { return std::string(TVWcfg_jobTicketsRegExp); }},
      {TVWcfg_jxkBitmaps, [] { return std::string(TVWcfg_jxkBitmapsRegExp); }},
  };
  finalPage = false;
  std::string text(pattern);
  for (std::size_t from = 0;;) {
    const Token* earliest = nullptr;
    std::size_t at = std::string::npos;
    for (const Token& token : tokens) {
      const std::size_t found = text.find(token.name, from);
      if (found < at) {
        at = found;
        earliest = &token;
      }
    }
    if (earliest == nullptr) return text;
    if (earliest->name == TVWcfg_allImagesFP) finalPage = true;
    const std::string expression = earliest->expression();
    text.replace(at, earliest->name.size(), expression);
    from = at + expression.size();
  }
}

// --- Command words -------------------------------------------------------------

struct CommandValue {
  std::string_view cmd;
  std::uint8_t value;
};

constexpr CommandValue kJobKinds[] = {
    {"AutoProf", 1},        {"AutoImgF", 2},     {"autorip.sh", 3},     {"autoICopy.sh", 4},
    {"autoClrMatch.sh", 5}, {"autostart.sh", 11}, {"autorenm.sh", 12},  {"AutoComb", 13},
    {"autofilter.sh", 14},  {"autodupl.sh", 15},  {"AutoSwch", 16},     {"readyForCheck.sh", 17},
    {"AutoSort", 18},       {"autojaws.sh", 19},
};

// --- The log dump ----------------------------------------------------------------

std::string Bool(bool value) { return value ? "TRUE" : "FALSE"; }

struct DumpItem {
  const char* key;
  std::string (*value)(const TVWcfg_Entry&);
};

const DumpItem kDumpItems[] = {
    {"SUBDIRS", [](const TVWcfg_Entry& e) { return Bool(e.subdirs); }},
    {"OMIT", [](const TVWcfg_Entry& e) { return StrIn(e.omit).Str(); }},
    {"OMITCMD", [](const TVWcfg_Entry& e) { return StrIn(e.omitCmd).Str(); }},
    {"SILENCE", [](const TVWcfg_Entry& e) { return std::to_string(e.silence); }},
    {"FILES", [](const TVWcfg_Entry& e) { return StrIn(e.files).Str(); }},
    {"OMITFILES", [](const TVWcfg_Entry& e) { return StrIn(e.omitFiles).Str(); }},
    {"OMITEMPTYFILES", [](const TVWcfg_Entry& e) { return Bool(e.omitEmptyFiles); }},
    {"CMD", [](const TVWcfg_Entry& e) { return StrIn(e.cmd).Str(); }},
    {"OPTIONS", [](const TVWcfg_Entry& e) { return StrIn(e.options).Str(); }},
    {"CPUHIGH", [](const TVWcfg_Entry& e) { return Bool(e.highCpu); }},
    {"USER", [](const TVWcfg_Entry& e) { return std::to_string(e.uid); }},
    {"GROUP", [](const TVWcfg_Entry& e) { return std::to_string(e.gid); }},
    {"JOBPRIORITY", [](const TVWcfg_Entry& e) { return std::to_string(e.jobPriority); }},
    {"READABLECMD", [](const TVWcfg_Entry& e) { return StrIn(e.readableCmd).Str(); }},
    {"MODE", [](const TVWcfg_Entry& e) { return std::to_string(e.mode); }},
    {"FINALPAGEMODE", [](const TVWcfg_Entry& e) { return Bool(e.finalPageMode); }},
    {"MULTIPLEFILES", [](const TVWcfg_Entry& e) { return Bool(e.multipleFiles); }},
    {"ATONCE", [](const TVWcfg_Entry& e) { return std::to_string(e.atOnce); }},
    {"PRECONDRESOURCE", [](const TVWcfg_Entry& e) { return StrIn(e.precondResource).Str(); }},
    {"PRECONDSCRIPT", [](const TVWcfg_Entry& e) { return StrIn(e.precondScript).Str(); }},
    {"SORTEDSUBMIT", [](const TVWcfg_Entry& e) { return Bool(e.sortedSubmit); }},
    {"ISWEBCHECKROOT", [](const TVWcfg_Entry& e) { return Bool(e.isWebCheckRoot); }},
};

std::optional<std::string> localInstallerMark;

}  // namespace

// --- Start -----------------------------------------------------------------------

void TVWcfg_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  DirAcces_Init();
  Processe_Init();
  BOutIn_Init();
  SConfigF_Init();
  SImage_Init();
  char list[kTextCap], directory[kTextCap] = "";
  DirAcces_GetSpecialPath(DirAcces_MARLENV, list);
  DirAcces_GetPath(list, directory);
  DirAcces_IncludePath(directory, TVWcfg_cfgName, fullCfgName);
  Strings_Concat(fullCfgName, TVWcfg_lockSuffix, lockName);
}

void TVWcfg_GetFileName(StrOut name) {
  TVWcfg_Init();
  Strings_Assign(fullCfgName, name);
}

void TVWcfg_GetLockName(StrOut name) {
  TVWcfg_Init();
  Strings_Assign(lockName, name);
}

// --- Entries and lists -------------------------------------------------------------

TVWcfg_Entry* TVWcfg_CreateEntry() {
  TVWcfg_Entry* entry = new TVWcfg_Entry();
  entry->interval = -1;
  TVWcfg_InitActivity(true, entry->activity);
  Strings_Assign(TVWcfg_allFiles, entry->files);
  entry->uid = TVWcfg_DefaultJobUID;
  entry->gid = TVWcfg_DefaultJobGID;
  return entry;
}

void TVWcfg_DestroyEntry(TVWcfg_Entry* entry) {
  if (entry == nullptr) return;
  while (TVWcfg_ExtraField* field = entry->extraFields) {
    entry->extraFields = field->next;
    delete field;
  }
  SRegExpr_Destroy(entry->filesRegExp);
  SRegExpr_Destroy(entry->omitFilesRegExp);
  delete entry;
}

void TVWcfg_Destroy(TVWcfg_List& list) {
  while (TVWcfg_Entry* entry = list) {
    list = entry->next;
    TVWcfg_DestroyEntry(entry);
  }
}

void TVWcfg_AppendEntry(TVWcfg_List& list, TVWcfg_Entry* entry) {
  TVWcfg_Entry** end = &list;
  while (*end != nullptr) end = &(*end)->next;
  *end = entry;
}

TVWcfg_Entry* TVWcfg_GetEntry(TVWcfg_List list, StrIn folder) {
  for (TVWcfg_Entry* entry = list; entry != nullptr; entry = entry->next)
    if (Strings_Equal(entry->folder, folder)) return entry;
  return nullptr;
}

// --- Activity masks ------------------------------------------------------------------

void TVWcfg_InitActivity(bool value, TVWcfg_Activity& mask) {
  for (const ActivityField& field : FieldsOf(mask)) std::fill_n(field.values, field.count, value);
}

bool TVWcfg_EqualActivity(const TVWcfg_Activity& a, const TVWcfg_Activity& b) {
  const auto fa = FieldsOf(a), fb = FieldsOf(b);
  for (std::size_t i = 0; i < fa.size(); ++i)
    if (!std::equal(fa[i].values, fa[i].values + fa[i].count, fb[i].values)) return false;
  return true;
}

bool TVWcfg_IsAlwaysActive(const TVWcfg_Activity& mask) {
  for (const auto& field : FieldsOf(mask))
    if (std::find(field.values, field.values + field.count, false) != field.values + field.count) return false;
  return true;
}

void TVWcfg_ActivityToStr(const TVWcfg_Activity& mask, StrOut text) {
  std::string all;
  for (const auto& field : FieldsOf(mask)) {
    if (!all.empty()) all += ' ';
    all += ActivityFieldText(field);
  }
  Strings_Assign(all, text);
}

void TVWcfg_StrToActivity(StrIn text, TVWcfg_Activity& mask) {
  const std::string_view whole = text.View();
  if (whole == "* * * * *" || whole == "- - - - -") {
    TVWcfg_InitActivity(whole[0] == '*', mask);
    return;
  }
  // A field that can't be read watches always: a typing error must never
  // silence a folder.
  std::size_t at = 0;
  for (const ActivityField& field : FieldsOf(mask)) {
    while (at < whole.size() && whole[at] == ' ') ++at;
    std::size_t end = whole.find(' ', at);
    if (end == std::string_view::npos) end = whole.size();
    if (!ParseActivityField(whole.substr(at, end - at), field)) std::fill_n(field.values, field.count, true);
    at = end;
  }
}

// --- Derived values ------------------------------------------------------------------

void TVWcfg_ExpandTokens(StrIn pattern, StrOut expanded) {
  TVWcfg_Init();
  bool finalPage = false;
  Strings_Assign(Expand(pattern.View(), finalPage), expanded);
}

SRegExpr TVWcfg_GetRegExp(StrIn pattern, bool& finalPage) {
  TVWcfg_Init();
  SRegExpr expr = SRegExpr_Create(Expand(pattern.View(), finalPage));
  // An expression that takes the final-page suffixes makes a final-page folder too.
  if (SRegExpr_Match(expr, ".fp") || SRegExpr_Match(expr, ".Spg")) finalPage = true;
  return expr;
}

void TVWcfg_BuildAllImagesRegExp(StrOut expr) {
  TVWcfg_Init();
  Strings_Assign(AllImages(), expr);
}

void TVWcfg_BuildAllImagesFPRegExp(StrOut expr) {
  TVWcfg_Init();
  Strings_Assign(AllImagesFP(), expr);
}

std::uint8_t TVWcfg_DetermineMode(StrIn cmd, StrIn files, std::int32_t atOnce, bool multipleFiles) {
  static constexpr CommandValue kModes[] = {
      {"AutoComb", 1}, {"AutoImgF", 2}, {"AutoJXKP", 3}, {"AutoProf", 4},
      {"AutoSMrg", 5}, {"AutoJXKB", 6}, {"autopdfpaste.sh", 9},
  };
  const std::string_view word = cmd.View();
  for (const CommandValue& mode : kModes)
    if (word == mode.cmd) return mode.value;
  if (word == "autostart.sh" && files.View() == TVWcfg_jxkBitmaps) return 6;
  if (word == "FLImport" || word == "AutoCIP3") return 0;
  if (word == "AutoJoin") return 11;
  if (multipleFiles) return 7;
  if (atOnce != 0) return 8;
  return 0;
}

std::uint8_t TVWcfg_DetermineJobKind(StrIn cmd) {
  for (const CommandValue& kind : kJobKinds)
    if (cmd.View() == kind.cmd) return kind.value;
  return 0;
}

std::int32_t TVWcfg_DetermineJobPriority(StrIn cmd) { return cmd.View() == "readyForCheck.sh" ? 1 : 0; }

// --- Installer marks and the log ---------------------------------------------------------

void TVWcfg_GetLocalInstallerMark(StrOut mark) {
  TVWcfg_Init();
  if (!localInstallerMark) {
    char host[kNameCap], text[kNameCap];
    DirAcces_GetMachineName(host);
    Strings_Assign(TVWcfg_installerMark, text);
    SPrintf_String(text, host);
    localInstallerMark = StrIn(text).Str();
  }
  Strings_Assign(*localInstallerMark, mark);
}

void TVWcfg_GetInstallerName(StrIn fileName, StrOut host) {
  const std::string_view name = fileName.View();
  std::string_view prefix = TVWcfg_installerMark;
  prefix.remove_suffix(2);  // the host's "%s"
  if (name.substr(0, prefix.size()) == prefix) Strings_Assign(std::string(name.substr(prefix.size())), host);
  else host.Clear();
}

void TVWcfg_DumpFolderConfig(BFileIO_File log, const TVWcfg_Entry& entry) {
  if (log == nullptr) return;
  TVWcfg_Entry* fresh = TVWcfg_CreateEntry();
  std::string text = "CONFIGURATION\n";
  for (const DumpItem& item : kDumpItems) {
    const std::string value = item.value(entry);
    if (value != item.value(*fresh)) text += std::string("  ") + item.key + "=" + value + "\n";
  }
  TVWcfg_DestroyEntry(fresh);
  Messages_Quietly([&] { return BOutIn_WriteLine(log, text); });
}
