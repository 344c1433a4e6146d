// FEautost: the start folder's parameters, its first command and its watch
// interval; registration at start-up and the install tool's entry.
#include "frontends/FEautost.h"

#include <cstdlib>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/StringOp.h"
#include "image/SImage.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbase.h"
#include "workflow/WFtest.h"

FEautost_Data* FEautost_data = nullptr;
AutoDict FEautost_paramDict = nullptr;
WFmodule_ModuleInfo FEautost_moduleInfo{};
char FEautost_section[kSectionCap] = "FEautost";

namespace {

// messages: FEautost 12
constexpr unsigned kIntervalLabel = 12;  // with the seconds

constexpr WFmodule_Kind kStartKind = 1;
constexpr std::size_t kBuckets = 32;

constexpr char kFileFormats[] = "FILEFMTS";
constexpr char kFilesRegExp[] = "FILESREGEXP";
constexpr char kWatchInterval[] = "WATCHINTERVAL";

// The first commands by transfer mode: for any file, and for the others.
constexpr const char* kAnyFileCmds[] = {"mv", "ln", "cp"};
constexpr const char* kImageCmds[] = {"imgmv", "imgln", "imgcp"};
constexpr char kJobTicketCmd[] = "jobticket.sh -p %s";

std::uint32_t IntOpt(SAutoRcF rc, StrIn key, std::int32_t fallback) {
  std::int32_t value = fallback;
  if (!SAutoRcF_GetIntOpt(rc, key, value)) value = fallback;
  return static_cast<std::uint32_t>(value);
}

std::uint32_t StoredFileMode(SAutoRcF rc) { return IntOpt(rc, WFbase_optFileMode, kFEautostAnyFile); }

void StoreCmd(SAutoRcF rc, std::uint32_t transferMode, std::uint32_t fileMode, StrIn folder) {
  TextStr command;
  FEautost_BuildCmd(transferMode, fileMode, folder, command);
  SAutoRcF_SetFirstCmd(rc, command);
}

AutoDict_Parameter Param(AutoDict dictionary, std::uint32_t element) {
  return AutoDict_GetParameter(dictionary, element);
}

// The check of the start directory in the running dialog: silent, the
// dialog's OK tells why.
bool StartdirCheck(AutoDict_Parameter parameter) {
  if (FEautost_data == nullptr) return true;
  PathStr path;
  TextStr message;
  AutoDict_GetString(parameter, path);
  return FEautost_CheckStartdir(FEautost_data->workflow, path, message);
}

// The parameters with `folder` as the start directory and its default.
AutoDict DefaultsFor(StrIn folder) {
  AutoDict dictionary = AutoDict_Create(kBuckets);
  FEautost_DefineParameters(dictionary, false);
  AutoDict_Parameter startDir = Param(dictionary, kFEautostStartDir);
  AutoDict_SetString(startDir, folder);
  AutoDict_SetValueAsDefault(startDir);
  return dictionary;
}

}  // namespace

void FEautost_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  DirAcces_Init();
  SImage_Init();
  AutoDict_Init();
  WFbase_Init();
  AutoMisc_Init();
  Messages_UseMsgCat("FEAUTOSTmsg");
  WFmodule_GetModuleInfo(kStartKind, FEautost_moduleInfo);
  WFmodule_RegisterFrontend(kStartKind, FEautost_SetDefaultParams, FEautost_FrontEnd, WFmodule_NoReferencedFiles);
  WFbase_RegisterStartFolderHooks(FEautost_SetFolderPath, FEautost_SetTransferMode, FEautost_SetFileMode);
  WFbase_RegisterStartEntryProc(FEautost_UpdateTVWcfg);
  WFtest_RegisterCheck(kStartKind, FEautost_CheckFolder);
}

// --- Parameters ---------------------------------------------------------------------

void FEautost_DefineParameters(AutoDict dictionary, bool checks) {
  AutoDict_DefineString(dictionary, WFbase_optStartDir, kFEautostStartDir, "");
  AutoDict_DefineString(dictionary, kFileFormats, kFEautostFileFormats, "");
  AutoDict_DefineInt(dictionary, WFbase_optMode, kFEautostMode, kFEautostMove);
  AutoDict_DefineBool(dictionary, "SUBDIRS", kFEautostSubdirs, false);
  AutoDict_DefineBool(dictionary, "OMITEMPTYFILES", kFEautostOmitEmpty, false);
  AutoDict_DefineBool(dictionary, "CONSIDERCTIME", kFEautostCTime, false);
  AutoDict_DefineBool(dictionary, WFbase_optAutoMode, kFEautostAutoMode, true);
  AutoDict_DefineInt(dictionary, WFbase_optFileMode, kFEautostFileMode, 0);
  AutoDict_DefineBool(dictionary, "_FINALPAGEMODE_", kFEautostFinalPage, false);
  AutoDict_DefineBool(dictionary, "EXTENDFILENAMES", kFEautostExtend, false);
  AutoDict_DefineCard(dictionary, "EXTENDMODE", kFEautostExtendMode, 0);
  AutoDict_DefineString(dictionary, "EXTENDDELIMITER", kFEautostDelimiter, "_");
  AutoDict_DefineString(dictionary, "EXTENDDELIMREPLACEMENT", kFEautostReplacement, "-");
  // A directory box (6) and a box of several formats (5) on the buttons of 2.
  AutoDict_DefineSelection(dictionary, 6, kFEautostStartDir, kFEautostSelector, 0);
  AutoDict_DefineSelection(dictionary, 5, kFEautostFileFormats, kFEautostSelector, 1);
  if (checks) AutoDict_DefineCheckCB(dictionary, kFEautostStartDir, StartdirCheck);
}

void FEautost_SetDefaultParams(SAutoRcF rc, StrIn folder) {
  if (FEautost_paramDict == nullptr) {
    FEautost_paramDict = AutoDict_Create(kBuckets);
    FEautost_DefineParameters(FEautost_paramDict, false);
  }
  AutoDict_SetAllDefaults(FEautost_paramDict);
  AutoDict_SetString(Param(FEautost_paramDict, kFEautostStartDir), folder);
  AutoDict_SetAllValues(FEautost_paramDict, rc);
  FEautost_SetDependentValues(FEautost_paramDict, rc, folder);
}

void FEautost_SetDependentValues(AutoDict dictionary, SAutoRcF rc, StrIn folder) {
  FEautost_SetTransferMode(rc, folder, static_cast<std::uint32_t>(AutoDict_GetInt(Param(dictionary, kFEautostMode))));
  if (AutoDict_GetInt(Param(dictionary, kFEautostFileMode)) != static_cast<std::int32_t>(kFEautostChosenFormats)) {
    return;
  }
  TextStr formats, expression;
  AutoDict_GetString(Param(dictionary, kFEautostFileFormats), formats);
  if (FEautost_GetFormatsRegExpr(formats, expression)) SAutoRcF_SetStringOpt(rc, kFilesRegExp, expression);
}

void FEautost_GetDefaultStartdir(StrIn workflow, StrOut path) {
  PathStr root;
  WFmodule_GetRootDir(kStartKind, root);
  DirAcces_IncludePath(root, workflow, path);
}

// --- Transfer and file mode ---------------------------------------------------------

void FEautost_BuildCmd(std::uint32_t transferMode, std::uint32_t fileMode, StrIn folder, StrOut command) {
  if (transferMode == kFEautostJobTicket) {
    TextStr escaped;
    SFilMisc_EscapeShMetaChars(folder, escaped);
    Strings_Assign(kJobTicketCmd, command);
    SPrintf_String(command, escaped);
    return;
  }
  if (transferMode > kFEautostJobTicket) transferMode = kFEautostMove;
  const auto& commands = fileMode == kFEautostAnyFile ? kAnyFileCmds : kImageCmds;
  Strings_Assign(StrIn::C(commands[transferMode]), command);
}

void FEautost_SetTransferMode(SAutoRcF rc, StrIn folder, std::uint32_t mode) {
  SAutoRcF_SetJobticketMode(rc, mode == kFEautostJobTicket);
  SAutoRcF_SetIntOpt(rc, WFbase_optMode, static_cast<std::int32_t>(mode));
  if (mode != kFEautostCopy) SAutoRcF_SetErrorMode(rc, 0);
  StoreCmd(rc, mode, StoredFileMode(rc), folder);
}

void FEautost_SetFileMode(SAutoRcF rc, StrIn folder, std::uint32_t fileMode) {
  SAutoRcF_SetIntOpt(rc, WFbase_optFileMode, static_cast<std::int32_t>(fileMode));
  StoreCmd(rc, FEautost_GetTransferMode(rc), fileMode, folder);
}

void FEautost_SetFolderPath(SAutoRcF rc, StrIn folder) {
  StoreCmd(rc, FEautost_GetTransferMode(rc), StoredFileMode(rc), folder);
}

std::uint8_t FEautost_GetTransferMode(SAutoRcF rc) {
  const std::uint32_t mode = IntOpt(rc, WFbase_optMode, kFEautostMove);
  return static_cast<std::uint8_t>(mode > kFEautostJobTicket ? kFEautostMove : mode);
}

bool FEautost_GetFormatsRegExpr(StrIn formats, StrOut expression) {
  expression.Clear();
  SImage_FormatList list = SImage_GetListOfSupportedFormats();
  TextStr rest, word;
  Strings_Assign(formats, rest);
  std::string joined;
  bool known = true;
  for (StringOp_NextWord(rest, word); known && !StrIn(word).Empty(); StringOp_NextWord(rest, word)) {
    const SImage_FormatListEntry* format = SImage_FindSupportedFormat(list, word);
    known = format != nullptr;
    if (known) joined += (joined.empty() ? "" : "|") + StrIn(format->regExpr).Str();
  }
  SImage_DestroyListOfSupportedFormats(list);
  if (!known || joined.empty()) return false;
  Strings_Assign(joined, expression);
  return true;
}

// --- Watch interval -----------------------------------------------------------------

void FEautost_FillIntervals(FEautost_Intervals& list) {
  list.clear();
  for (std::uint32_t index = 0; index < kFEautostIntervals; ++index) {
    FEautost_Interval entry;
    entry.seconds = TVWcfg_DefaultWatchInterval * static_cast<std::int32_t>(index + 1);
    entry.index = index;
    Messages_GetMsg(FEautost_section, kIntervalLabel, entry.label);
    SPrintf_Int(entry.label, entry.seconds);
    list.push_back(entry);
  }
}

std::int32_t FEautost_FindInterval(const FEautost_Intervals& list, std::int32_t seconds) {
  for (std::size_t i = 0; i < list.size(); ++i) {
    // 1. An exact hit, 2. below the first entry.
    if (list[i].seconds == seconds) return static_cast<std::int32_t>(i);
    if (i == 0) {
      if (seconds < list[0].seconds) return 0;
      continue;
    }
    // 3. The previous entry when it is strictly closer; a tie walks on.
    const std::int64_t toPrevious = std::llabs(std::int64_t{seconds} - list[i - 1].seconds);
    const std::int64_t toThis = std::llabs(std::int64_t{seconds} - list[i].seconds);
    if (toPrevious < toThis) return static_cast<std::int32_t>(i - 1);
  }
  // 4. Past the end: nothing.
  return -1;
}

void FEautost_SaveInterval(SAutoRcF rc, const FEautost_Intervals& list, std::int32_t chosen) {
  const bool valid = chosen >= 0 && static_cast<std::size_t>(chosen) < list.size();
  if (valid && list[static_cast<std::size_t>(chosen)].seconds != TVWcfg_DefaultWatchInterval) {
    SAutoRcF_SetIntOpt(rc, kWatchInterval, list[static_cast<std::size_t>(chosen)].seconds);
  } else {
    SAutoRcF_UnsetOpt(rc, kWatchInterval);
  }
}

// --- Batch --------------------------------------------------------------------------

namespace {

// The values of rc as the dialog reads them and what its callbacks make of
// them. `described`: remote starts a description names are kept, to be
// refused by name without servers rather than dropped as the dialog drops
// them, and written back numbered from 0 as OK writes them.
AutoDict ReadAsTheDialog(StrIn workflow, SAutoRcF rc, bool described, FEautost_Data& data) {
  PathStr startDir;
  FEautost_GetDefaultStartdir(workflow, startDir);
  AutoDict dictionary = DefaultsFor(startDir);
  AutoDict_GetAllValues(dictionary, rc, false);
  Strings_Assign(workflow, data.workflow);
  FEautost_LoadRemoteStarts(data, rc);
  if (described) {
    data.remoteStartsOn = !data.remoteList.empty();
    data.remoteChanged = data.remoteStartsOn;
  }
  for (std::size_t i = 0; i < FEautost_dependencyCount; ++i) {
    FEautost_ApplyRule(dictionary, data, FEautost_dependencies[i].rule);
  }
  return dictionary;
}

}  // namespace

bool FEautost_ApplyParams(StrIn workflow, SAutoRcF rc, StrIn folder, StrOut message) {
  message.Clear();
  FEautost_Data data;
  AutoDict dictionary = ReadAsTheDialog(workflow, rc, true, data);
  // OK: the checks, then everything written.
  const bool accepted = FEautost_CheckValues(dictionary, data, message);
  if (accepted) {
    AutoDict_SetAllValues(dictionary, rc);
    FEautost_SetDependentValues(dictionary, rc, folder);
    FEautost_SaveRemoteStarts(data, rc);
  }
  AutoDict_Destroy(dictionary);
  return accepted;
}

bool FEautost_CheckFolder(WFbase workflow, WFfolder folder, StrOut message) {
  NameStr name;
  WFbase_GetName(workflow, name);
  FEautost_Data data;
  AutoDict dictionary = ReadAsTheDialog(name, WFfolder_RcFile(folder), false, data);
  const bool accepted = FEautost_CheckValues(dictionary, data, message);
  AutoDict_Destroy(dictionary);
  return accepted;
}
