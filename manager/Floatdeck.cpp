#include "manager/Floatdeck.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Argument.h"
#include "base/BConvert.h"
#include "base/Catalog.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "base/StringOp.h"
#include "distribution/RWbase.h"
#include "distribution/WFbackup.h"
#include "distribution/WFsync.h"
#include "frontends/FEautost.h"
#include "image/SIqif.h"
#include "image/SItiff.h"
#include "manager/FloatdeckWin.h"
#include "manager/WFstatus.h"
#include "jobqueue/CCjobClass.h"
#include "rc/SrcFile.h"
#include "toolkit/I.h"
#include "toolkit/Imisc.h"
#include "toolkit/WtBase.h"
#include "workflow/WFbase.h"
#include "workflow/WFdebug.h"
#include "workflow/WFfolder.h"
#include "workflow/WFgroup.h"

std::uint8_t Floatdeck_batchMode = Floatdeck_Interactive;
char Floatdeck_wfName[kNameCap] = "";
char Floatdeck_archiveDir[kPathCap] = "";
char Floatdeck_masterInfo[kNameCap] = "";
std::int32_t Floatdeck_startupUnit = -1;
char Floatdeck_errMsg[kTextCap] = "";
char Floatdeck_thisHost[kNameCap] = "";
bool Floatdeck_privilegedUser = false;
TVWbase_DemonInfo Floatdeck_selfInfo;
TVWbase_DemonInfo Floatdeck_demonInfo;

namespace {

char section[kSectionCap] = "Floatdeck";

constexpr unsigned kUsageFirst = 50;
constexpr unsigned kUsageLast = 57;
constexpr unsigned kNotPacked = 21;      // with the workflow
constexpr unsigned kAllPacked = 22;
constexpr unsigned kPacked = 23;         // with the workflow and the archive
constexpr unsigned kPacking = 58;        // with the workflow, its number and how many
constexpr char kAll[] = "all";
// At most this much of an option is looked at.
constexpr std::size_t kOptionChars = 255;

// Rebuilds the workflow from disk, repairing nothing, and writes it to
// standard error; a failure gives the reasons instead.
bool DumpWorkflow(StrIn name) {
  WFbase_SetFeedback(false);
  WFbase workflow = WFbase_RebuildWorkflow(name, WFbase_NoAnswer, Floatdeck_errMsg);
  if (workflow == WFbase_NilWorkflow()) {
    Messages_GetMessage(section, 2);
    std::fprintf(stderr, "%s\n%s\n", Messages_message, StrIn(Floatdeck_errMsg).Str().c_str());
    return false;
  }
  WFdebug_WriteWorkflow(stderr, workflow);
  WFbase_DestroyWorkflow(workflow);
  return true;
}

// Whether the windows have a display; if not, the toolkit's reasons (with
// DISPLAY's value) go to standard error.
bool DisplayUsable() {
  Messages_IgnoreErrors(true);
  const bool open = WtBase_AssertDisplayOpen();
  Messages_IgnoreErrors(false);
  if (open) return true;
  TextStr reason;
  while (Messages_ErrorReason(reason)) std::fprintf(stderr, "%s\n", StrIn(reason).Str().c_str());
  Messages_ForgetErrorReasons();
  return false;
}

// The main window until it is closed: by its Quit command, the window
// manager or SIGTERM. "-U" has no unit selector to set.
bool RunInteractive() {
  WFbase_SetFeedback(true);
  if (!DisplayUsable() || !Floatdeck_Init(Floatdeck_wfName)) return false;
  Processe_SetExitStatus(0);
  Floatdeck_UpdateListGroup();
  I_Activate(Floatdeck_data->main);
  Floatdeck_UpdateDemonState();
  Floatdeck_StartIdleTasks(3000);
  for (;;) {
    I_MainLoop();
    if (Floatdeck_CloseApplication()) break;
    I_Activate(Floatdeck_data->main);
  }
  Floatdeck_Destroy();
  return true;
}

bool RunMode(std::uint8_t mode) {
  switch (mode) {
    case Floatdeck_Dump: return DumpWorkflow(Floatdeck_wfName);
    case Floatdeck_Pack:
      WFbase_SetFeedback(false);
      return Floatdeck_PackWorkflow(Floatdeck_wfName, Floatdeck_archiveDir, false);
    case Floatdeck_Unpack:
      WFbase_SetFeedback(false);
      return WFbackup_UnpackWorkflow(Floatdeck_wfName);
    case Floatdeck_Slave: return Floatdeck_SyncSlave(Floatdeck_masterInfo);
    default: return RunInteractive();
  }
}

}  // namespace

void Floatdeck_Main(int argc, const char* const* argv) {
  // 1. The command line is read whole before anything starts: a line that
  // only gets the usage leaves no run file. Then the modules, imports first.
  Argument_Init(argc, argv);
  const bool accepted = Floatdeck_GetParams(Floatdeck_batchMode, Floatdeck_wfName,
                                            Floatdeck_archiveDir, Floatdeck_masterInfo);
  const bool needsName =
      Floatdeck_batchMode != Floatdeck_Interactive && Floatdeck_batchMode != Floatdeck_Slave;
  const bool usable = accepted && !(needsName && Floatdeck_wfName[0] == '\0');
  if (!usable) Processe_WithoutRunFile();
  Floatdeck_InitModules();
  // 2. The program's own catalogs are searched first from now on.
  Messages_UseMsgCat("FLOATDECKmsg");
  I_UseContextCat("FLOATDECKdlg");
  // 3. This machine and this installation.
  DirAcces_GetMachineName(Floatdeck_thisHost);
  Floatdeck_privilegedUser = false;
  Floatdeck_selfInfo = TVWbase_DemonInfo{};
  DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, "", Floatdeck_selfInfo.libDir);
  DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, "", Floatdeck_selfInfo.dataDir);
  DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, "", Floatdeck_selfInfo.customerDir);
  DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, "", Floatdeck_selfInfo.projectsDir);
  Floatdeck_demonInfo = TVWbase_DemonInfo{};
  // 4. Anything that does not explicitly succeed leaves with 1.
  Processe_SetExitStatus(1);
  // 5. The usage, or the one mode.
  if (!usable) {
    Floatdeck_DisplayUsage();
  } else if (RunMode(Floatdeck_batchMode)) {
    Processe_SetExitStatus(0);
  }
  Processe_Exit();
  std::exit(Processe_GetExitStatus());
}

void Floatdeck_InitModules() {
  Processe_Init();
  Messages_Init();
  Catalog_Init();
  DirAcces_Init();
  SrcFile_Init();  // the "[global]" settings are there before anything else reads them
  SIqif_Init();    // the image drivers, before the format lists are asked for
  SItiff_Init();
  WFbase_Init();
  RWbase_Init();  // the remote watch joins every install and removal
  FEautost_Init();  // the start folder's values, first command and demon entry
  WFgroup_Init();  // workflows are listed by group from now on
  WFbackup_Init();
  WFsync_Init();
  WFdebug_Init();
  WFfolder_RegisterExecuteOnProc(CCjobClass_ExecuteOn);
  WFstatus_Init();
}

bool Floatdeck_GetParams(std::uint8_t& mode, StrOut wfName, StrOut archiveDir, StrOut masterInfo) {
  wfName.Clear();
  archiveDir.Clear();
  masterInfo.Clear();
  Floatdeck_startupUnit = -1;
  mode = Floatdeck_Interactive;
  if (Argument_Number() == 0) return true;

  char option[kOptionChars + 1];
  while (Argument_Get(option)) {
    if (option[0] != '-') {
      Argument_Unget();
      break;
    }
    // Only the first two characters count: "-print" is "-p".
    const char letter = option[1];
    if (letter == '?') return false;
    switch (letter) {
      case 'i': mode = Floatdeck_Dump; break;
      case 'p': mode = Floatdeck_Pack; break;
      case 's': mode = Floatdeck_Interactive; break;
      case 'u': mode = Floatdeck_Unpack; break;
      case 'U': {
        char unit[kNameCap];
        std::int32_t value = 0;
        if (!Argument_Get(unit)) return false;
        BConvert_StrToInt(unit, value);
        if (!BConvert_done) return false;
        Floatdeck_startupUnit = value;
        break;
      }
      case 'S':
        mode = Floatdeck_Slave;
        if (!Argument_Get(masterInfo)) return false;
        break;
      default: return false;
    }
  }
  if (Argument_Get(wfName) && mode == Floatdeck_Pack) Argument_Get(archiveDir);
  return Argument_Number() == 0;
}

void Floatdeck_DisplayUsage() {
  // messages: Floatdeck 50-57
  for (unsigned number = kUsageFirst; number <= kUsageLast; ++number) {
    Messages_GetMessage(section, number);
    std::fprintf(stderr, "%s\n", Messages_message);
  }
}

void Floatdeck_PackWorkflow_Message(unsigned number, StrIn first, StrIn second, bool interactive) {
  // messages: Floatdeck 21-23 58
  TextStr text;
  Messages_GetMsg(section, number, text);
  if (!first.Empty()) SPrintf_String(text, first);
  if (!second.Empty()) SPrintf_String(text, second);
  if (interactive) {
    Imisc_StrErrMsg(text);
  } else {
    std::fprintf(stderr, "%s\n", StrIn(text).Str().c_str());
  }
}

bool Floatdeck_PackWorkflow(StrIn name, StrIn archiveDir, bool interactive) {
  PathStr archive;
  if (!Strings_Equal(name, kAll)) {
    const bool packed = WFbackup_PackWorkflow(name, archiveDir, archive);
    Floatdeck_PackWorkflow_Message(packed ? kPacked : kNotPacked, name, packed ? StrIn(archive) : StrIn(""),
                                   interactive);
    return packed;
  }
  // Every workflow in list order; one that fails doesn't stop the others.
  WFbase_WfList list = WFbase_GetAllWorkflows("");
  std::size_t count = 0;
  for (WFbase_WfList entry = list; entry != nullptr; entry = entry->next) ++count;
  bool allPacked = true;
  std::size_t number = 0;
  while (list != nullptr) {
    WFbase_WfList entry = list;
    list = entry->next;
    if (!interactive) {
      Floatdeck_PackWorkflow_Message(kPacking, entry->name, std::to_string(++number) + "/" + std::to_string(count),
                                     false);
    }
    if (!WFbackup_PackWorkflow(entry->name, archiveDir, archive)) {
      Floatdeck_PackWorkflow_Message(kNotPacked, entry->name, "", interactive);
      allPacked = false;
    }
    entry->next = nullptr;
    WFbase_DestroyWfList(entry);
  }
  if (allPacked) Floatdeck_PackWorkflow_Message(kAllPacked, "", "", interactive);
  return allPacked;
}

bool Floatdeck_SyncSlave(StrIn masterInfo) {
  char rest[kNameCap], host[kNameCap];
  std::int32_t port = 0;
  Strings_Assign(masterInfo, rest);
  StringOp_NextToken(rest, ':', host);
  BConvert_StrToInt(rest, port);
  if (!BConvert_done || host[0] == '\0' || port <= 0 || port > 65535) {
    Floatdeck_DisplayUsage();
    return false;
  }
  return WFsync_Slave(host, static_cast<std::uint16_t>(port));
}
