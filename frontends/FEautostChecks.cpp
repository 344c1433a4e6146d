// FEautost: the checks of the dialog's OK, what its OK writes beside the
// dictionary, and which elements follow which values.
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "base/SRegExpr.h"
#include "distribution/RWconfig.h"
#include "frontends/FEautost.h"
#include "workflow/WFbase.h"

extern char FEautost_section[kSectionCap];

namespace {

// messages: FEautost 2-8 10 11
constexpr unsigned kOwnEndDir = 2;        // with the path
constexpr unsigned kInnerFolder = 3;      // with the path
constexpr unsigned kNoFormats = 4;
constexpr unsigned kNotAllowed = 5;       // with the formats or the character
constexpr unsigned kNoDelimiter = 6;
constexpr unsigned kNoReplacement = 7;
constexpr unsigned kSameDelimiter = 8;
constexpr unsigned kNoRemoteStarts = 10;
constexpr unsigned kUnknownServer = 11;   // with the server
// messages: WFbase 10 11
constexpr char kWFbaseSection[] = "WFbase";
constexpr unsigned kOtherStart = 10;      // with the path and the workflow
constexpr unsigned kBelowOtherStart = 11;

// The names of the hot folders inside a workflow.
constexpr char kInnerFolderName[] = "flow_.*_[0-9]+";

bool Say(StrOut message, StrIn section, unsigned number, StrIn first = "", StrIn second = "") {
  Messages_GetMsg(section, number, message);
  if (!first.Empty()) SPrintf_String(message, first);
  if (!second.Empty()) SPrintf_String(message, second);
  return false;
}

std::string WithoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

AutoDict_Parameter Param(AutoDict dictionary, std::uint32_t element) {
  return AutoDict_GetParameter(dictionary, element);
}
bool Bool(AutoDict dictionary, std::uint32_t element) { return AutoDict_GetBool(Param(dictionary, element)); }
std::int32_t Int(AutoDict dictionary, std::uint32_t element) { return AutoDict_GetInt(Param(dictionary, element)); }
std::string String(AutoDict dictionary, std::uint32_t element) {
  TextStr value;
  AutoDict_GetString(Param(dictionary, element), value);
  return StrIn(value).Str();
}

bool CheckDelimiters(AutoDict dictionary, StrOut message) {
  const std::string delimiter = String(dictionary, kFEautostDelimiter);
  const std::string replacement = String(dictionary, kFEautostReplacement);
  if (delimiter.empty()) return Say(message, FEautost_section, kNoDelimiter);
  if (replacement.empty()) return Say(message, FEautost_section, kNoReplacement);
  // A delimiter goes into file names: a slash would make a directory of it.
  for (const char* offending : {"/", " ", "\t"}) {
    if (delimiter.find(offending) != std::string::npos) return Say(message, FEautost_section, kNotAllowed, StrIn::C(offending));
  }
  if (delimiter == replacement) return Say(message, FEautost_section, kSameDelimiter);
  return true;
}

bool CheckRemoteStarts(const FEautost_Data& data, StrOut message) {
  if (data.remoteList.empty()) return Say(message, FEautost_section, kNoRemoteStarts);
  RWconfig config = WFbase_GetRemoteWatchConfig();
  for (const SAutoRcF_RemoteStart& start : data.remoteList) {
    RWbase_Server server;
    if (!RWconfig_GetServer(config, start.server, server)) {
      return Say(message, FEautost_section, kUnknownServer, start.server);
    }
  }
  return true;
}

bool ExtendAllowed(AutoDict dictionary) {
  return Bool(dictionary, kFEautostSubdirs) && !Bool(dictionary, kFEautostFinalPage) &&
         Int(dictionary, kFEautostMode) != static_cast<std::int32_t>(kFEautostJobTicket);
}

bool FinalPageFileMode(AutoDict dictionary) {
  const std::int32_t fileMode = Int(dictionary, kFEautostFileMode);
  return fileMode == 1 || fileMode == 6;
}

}  // namespace

// --- Checks -------------------------------------------------------------------------

bool FEautost_CheckStartdir(StrIn workflow, StrIn path, StrOut message) {
  message.Clear();
  // 1. Another workflow's start, or below one that watches its sub-directories.
  NameStr other;
  bool below = false;
  if (WFbase_IsWorkflowStart(path, workflow, other, below)) {
    return Say(message, kWFbaseSection, below ? kBelowOtherStart : kOtherStart, path, other);
  }
  // 2. The workflow's own end directory.
  PathStr start, end;
  FEautost_GetDefaultStartdir(workflow, start);
  DirAcces_IncludePath(start, WFbase_defaultEndDir, end);
  if (WithoutTrailingSlash(path.Str()) == WithoutTrailingSlash(StrIn(end).Str())) {
    return Say(message, FEautost_section, kOwnEndDir, path);
  }
  // 3. A name of the hot folders inside workflows.
  static SRegExpr inner = SRegExpr_Create(kInnerFolderName);
  const std::string full = WithoutTrailingSlash(path.Str());
  const std::string last = full.substr(full.find_last_of('/') + 1);
  if (SRegExpr_Match(inner, last)) return Say(message, FEautost_section, kInnerFolder, path);
  return true;
}

bool FEautost_CheckValues(AutoDict dictionary, const FEautost_Data& data, StrOut message) {
  message.Clear();
  // 1. The start directory.
  if (!FEautost_CheckStartdir(data.workflow, String(dictionary, kFEautostStartDir), message)) return false;
  // 2. The formats of file mode 4.
  if (Int(dictionary, kFEautostFileMode) == static_cast<std::int32_t>(kFEautostChosenFormats)) {
    const std::string formats = String(dictionary, kFEautostFileFormats);
    TextStr expression;
    if (formats.find_first_not_of(" \t") == std::string::npos) return Say(message, FEautost_section, kNoFormats);
    if (!FEautost_GetFormatsRegExpr(formats, expression)) {
      return Say(message, FEautost_section, kNotAllowed, formats);
    }
  }
  // 3. The extension of file names, 4. the remote starts.
  if (Bool(dictionary, kFEautostExtend) && !CheckDelimiters(dictionary, message)) return false;
  return !data.remoteStartsOn || CheckRemoteStarts(data, message);
}

bool FEautost_CheckValuesCB(AutoDict dictionary, void* client) {
  const auto* data = static_cast<const FEautost_Data*>(client);
  if (data == nullptr) return true;
  TextStr message;
  if (FEautost_CheckValues(dictionary, *data, message)) return true;
  WFbase_ShowText(message);
  return false;
}

void FEautost_SetValuesCB(SAutoRcF rc, void* client) {
  auto* data = static_cast<FEautost_Data*>(client);
  if (data == nullptr) return;
  PathStr folder;
  FEautost_GetDefaultStartdir(data->workflow, folder);
  FEautost_SetDependentValues(data->dictionary, rc, folder);
  FEautost_SaveInterval(rc, data->intervalList, data->interval);
}

// --- Dependent enabling -------------------------------------------------------------

const FEautost_Dependency FEautost_dependencies[] = {
    {kFEautostStartDir, FEautost_Rule::DefaultStartdir},
    {kFEautostFileMode, FEautost_Rule::FormatsChosen},
    {kFEautostMode, FEautost_Rule::ExtendAllowed},
    {kFEautostSubdirs, FEautost_Rule::ExtendAllowed},
    {kFEautostFinalPage, FEautost_Rule::ExtendAllowed},
    {kFEautostAutoMode, FEautost_Rule::FinalPageByAuto},
    {kFEautostExtend, FEautost_Rule::ExtendFields},
};
const std::size_t FEautost_dependencyCount = std::size(FEautost_dependencies);

void FEautost_GetEnabling(AutoDict dictionary, const FEautost_Data& data, FEautost_Enabling& enabling) {
  enabling.startDir = !data.useDefaultStartdir;
  enabling.finalPage = Bool(dictionary, kFEautostAutoMode);
  enabling.formats = Int(dictionary, kFEautostFileMode) == static_cast<std::int32_t>(kFEautostChosenFormats);
  enabling.selector = enabling.formats ? -1 : -3;
  enabling.extend = ExtendAllowed(dictionary);
  enabling.extendFields = Bool(dictionary, kFEautostExtend);
  enabling.remoteOn = !data.serverList.empty();
}

bool FEautost_ApplyRule(AutoDict dictionary, FEautost_Data& data, FEautost_Rule rule) {
  switch (rule) {
    case FEautost_Rule::DefaultStartdir: {
      PathStr fallback;
      FEautost_GetDefaultStartdir(data.workflow, fallback);
      data.useDefaultStartdir = String(dictionary, kFEautostStartDir) == StrIn(fallback).Str();
      return false;
    }
    case FEautost_Rule::ExtendAllowed:
      // Extended names need the sub-directories they are extended by.
      if (ExtendAllowed(dictionary) || !Bool(dictionary, kFEautostExtend)) return false;
      AutoDict_SetBool(Param(dictionary, kFEautostExtend), false);
      return true;
    case FEautost_Rule::FormatsChosen: {
      const bool finalPage = FinalPageFileMode(dictionary);
      if (Bool(dictionary, kFEautostFinalPage) == finalPage) return false;
      AutoDict_SetBool(Param(dictionary, kFEautostFinalPage), finalPage);
      return true;
    }
    case FEautost_Rule::FinalPageByAuto:
    case FEautost_Rule::ExtendFields:
      return false;
  }
  return false;
}
