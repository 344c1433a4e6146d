// WFmodule: the kind table and the queries that answer from it. The file
// list lives in WFmoduleFiles.cpp.
#include "workflow/WFmodule.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>

#include "base/DirAcces.h"
#include "base/SFilMisc.h"
#include "base/StringOp.h"
#include "jobqueue/CCjobClass.h"
#include "jobqueue/CCtypes.h"

WFmodule_Frontend* WFmodule_frontend[kWFmoduleMaxKind + 1] = {};

namespace {

bool initialised = false;

struct Row {
  const char* name;
  const char* root;  // below the projects directory
  const char* rcFile;
  const char* cmd;
  const char* readableCmd;
  const char* icon;
};

// Indexed by kind; row 0 is "no kind".
constexpr Row kRows[kWFmoduleMaxKind + 1] = {
    {"", "", "", "", "", ""},
    {"Start", "workflow", ".autostartrc", "autostart.sh", "AutoStart", "AutoStrt.pxm"},
    {"Rename", "autofolder/autorename", ".autorenmrc", "autorenm.sh", "AutoRename", "AutoRenm.pxm"},
    {"Duplicate", "autofolder/autoduplicate", ".autoduplrc", "autodupl.sh", "AutoDuplicate", "AutoDupl.pxm"},
    {"Switch", "autofolder/autoswitch", ".autoswitchrc", "AutoSwch", "AutoSwitch", "AutoSwch.pxm"},
    {"Check", "autofolder/check", ".autocheckrc", "readyForCheck.sh", "Check", "WFcheck.pxm"},
    {"End", "", "", "", "", "AutoEnd.pxm"},
    {"Sort", "autofolder/autosort", ".autosortrc", "AutoSort", "AutoSort", "AutoSort.pxm"},
    {"Distribute", "autofolder/autodistribute", ".autodistributerc", "AutoDist", "AutoDistribute", "AutoDist.pxm"},
    {"Delete", "autofolder/autodelete", "", "imgrm -f", "AutoDelete", "trashcan.pxm"},
    {"Rip", "autorip", ".autoriprc", "autorip.sh", "AutoRip", "ps.pxm"},
    {"Jaws Rip", "autofolder/autojaws", ".autojawsrc", "autojaws.sh", "AutoRip", "AutoJaws.pxm"},
    {"PelRipX", "autofolder/autopelripx", ".autopelripxrc", "autopelripx.sh", "AutoPelRipX", "AutoPelRipX.pxm"},
    {"PelRipEP", "autofolder/autopelripep", ".autopelripeprc", "autopelripep.sh", "AutoPelRipEP", "AutoPelRipEP.pxm"},
    {"PS2PDF", "autofolder/autops2pdf", ".autops2pdfrc", "autops2pdf.sh", "AutoPS2PDF", "AutoDstl.pxm"},
    {"CT2PDF", "autofolder/autoct2pdf", ".autoct2pdfrc", "autoct2pdf.sh", "AutoCT2PDF", "AutoCT2PDF.pxm"},
    {"Lumtrap", "autofolder/autopdftrap", ".autopdftrap", "autopdftrap.sh", "AutoPDFTrap", "APDFTrap.pxm"},
    {"PS Preflight", "autofolder/autopspreflight", ".autopspreflightrc", "autoPSPreflight.sh", "AutoPSPreflight", "AutoPrfl.pxm"},
    {"PDF Preflight", "autofolder/autopdfpreflight", ".autopdfpreflightrc", "autopdfpreflight.sh", "AutoPDFPreflight", "APDFPreflight.pxm"},
    // Command, root and rc file of this kind disagree by design.
    {"PDF Improve", "autofolder/autopdfimprove", ".autopdfpreimproverc", "autopdfimprove.sh", "AutoPDFImprove", "APDFImprove.pxm"},
    {"PDF Overlay", "autofolder/autopdfoverlay", ".autopdfoverlay", "autopdfoverlay.sh", "AutoPDFOverlay", "APDFOverl.pxm"},
    {"PDF SetBoxes", "autofolder/autopdfboxes", ".autopdfboxesrc", "autopdfboxes.sh", "AutoPDFBoxes", "APDFBoxe.pxm"},
    {"PDF Rotate", "autofolder/autopdfrotate", ".autopdfrotate", "autopdfrotate.sh", "AutoPDFRotate", "APDFRota.pxm"},
    {"PDF Split", "autofolder/autopdfsplit", ".autopdfsplit", "autopdfsplit.sh", "AutoPDFSplit", "APDFSpli.pxm"},
    {"PDF Cut", "autofolder/autopdfcut", ".autopdfcutrc", "autopdfcut.sh", "AutoPDFCut", "APDFCut.pxm"},
    {"PDF Paste", "autofolder/autopdfpaste", ".autopdfpasterc", "autopdfpaste.sh", "AutoPDFPaste", "APDFPaste.pxm"},
    {"PDF Rewrite", "autofolder/autopdfrewrite", ".autopdfrewriterc", "AutoPDFRewrite", "AutoPDFRewrite", "APDFRewrite.pxm"},
    {"PDF/X Suite", "autofolder/autopdfxsuite", ".autopdfxsuiterc", "AutoPDFXSuite", "AutoPDFXSuite", "APDFXSuite.pxm"},
    {"PDF Callas Preflight", "autofolder/autopdfcallaspreflight", ".autopdfcallaspreflightrc", "AutoCallasPreflight", "AutoPDFCallasPreflight", "APDFCallasPreflight.pxm"},
    {"ICopy", "autofolder/autoicopy", ".autoicopyrc", "autoICopy.sh", "AutoICopy", "AutoICpy.pxm"},
    {"Combine", "autofolder/autocombine", ".autocombinerc", "AutoComb", "AutoCombine", "AutoComb.pxm"},
    {"ImgFork", "autofolder/autoimgfork", ".autoimgforkrc", "AutoImgF", "AutoImgFork", "AutoImgF.pxm"},
    {"Join", "autofolder/autojoin", ".autojoinrc", "AutoJoin", "AutoJoin", "AutoJoin.pxm"},
    {"SepMerge", "autofolder/autosepmerge", ".autosepmergerc", "AutoSMrg", "AutoSepMerge", "AutoSMrg.pxm"},
    {"Proof", "autofolder/autoproof", ".autoproofrc", "AutoProf", "AutoProof", "AutoProf.pxm"},
    {"Filter", "autofolder/autofilter", ".autofilterrc", "autofilter.sh", "AutoFilter", "AutoFilt.pxm"},
    // 36 and 37 show one command in the queue, as do 10 and 11.
    {"ICC", "autofolder/autoclrmatch", ".autoclrmatchrc", "autoClrMatch.sh", "AutoClrMatch", "AutoICC.pxm"},
    {"ColorXchange", "autofolder/autoclrmatch2", ".autoclrmatch2rc", "AutoICC", "AutoClrMatch", "AutoICC2.pxm"},
    {"ColorXchange-P", "autofolder/autocolorxchange", ".autocolorxchangerc", "AutoColorX", "AutoColorXchange", "ColorXP.pxm"},
    {"Label", "autofolder/autolabel", ".autolabelrc", "AutoLabel", "AutoLabel", "AutoLabel.pxm"},
    {"Log", "autofolder/autolog", ".autologrc", "AutoLog", "AutoLog", "AutoLog.pxm"},
    {"WebCheck", "autofolder/autowebcheck", ".autowebcheckrc", "AutoWebChk", "AutoWebCheck", "PelWebCheck.pxm"},
    {"JXK Ovw", "autofolder/autojxkpreprocess", ".autojxkpreprocessrc", "AutoJXKP", "AutoJXKPreProcess", "AutoJXKP.pxm"},
    {"Bitmap Proof", "autofolder/autojxkbmproof", ".autojxkbmproofrc", "AutoJXKB", "Auto JXK Bitmap Proof", "AutoJXKB.pxm"},
    {"JXK Input", "autofolder/autojxkinput", ".autojxkinputrc", "AutoJXKI", "AutoJXKInput", "AutoJXKI.pxm"},
    {"DLS Preflight", "autofolder/autodlspreflight", ".autodlspreflightrc", "autodlspre.sh", "AutoDLSPreflight", "AutoDLSP.pxm"},
    {"Cut & Frame", "autofolder/autocutframe", ".autocutframe", "AutoCutF", "AutoCut&Frame", "ACutFrame.pxm"},
    {"DiffPosition", "autofolder/autodiffpos", ".autodiffposrc", "AutoDiffPos", "AutoDiffPosition", "DiffPosition.pxm"},
    {"Remote Copy", "autofolder/autoremotecopy", ".autoremotecopyrc", "AutoRemoteCopy", "AutoRemoteCopy", "AutoRemoteCopy.pxm"},
    {"Profile Tagger", "autofolder/autoprofiletagger", ".autoprofiletaggerrc", "AutoProfileTagger", "AutoProfileTagger", "AutoProfileTagger.pxm"},
    {"CIP 3", "autofolder/autocip3", ".autocip3rc", "AutoCIP3", "AutoCIP3", "AutoCIP3.pxm"},
};

bool Known(WFmodule_Kind kind) { return kind >= 1 && kind <= kWFmoduleMaxKind; }

// A set of kinds as 64 bits.
struct KindSet {
  std::uint64_t bits = 0;
  constexpr KindSet(std::initializer_list<int> kinds) {
    for (int kind : kinds) bits |= std::uint64_t{1} << kind;
  }
  bool Has(WFmodule_Kind kind) const { return Known(kind) && (bits >> kind & 1) != 0; }
};

constexpr KindSet kHighCpu{10, 11, 12, 13, 14, 15, 29, 30, 32, 36, 37, 38, 41, 43, 47, 49, 50};
constexpr KindSet kTwoJobs{30, 31, 33, 34, 43};
constexpr KindSet kJobticket{2, 4, 5, 7, 14, 16, 17, 18, 19, 26, 28, 38, 40, 42, 43, 47, 48};
constexpr KindSet kCluster{11, 12, 13, 14, 15, 16, 18, 19, 29, 30, 31, 32, 33, 36, 37, 38, 41, 48};
constexpr KindSet kEntryPerFolder{1, 2, 9, 29};
constexpr KindSet kInsertableByRule{5, 6, 9};

struct Limits {
  std::uint32_t minimum, maximum;
};

Limits OutLimits(WFmodule_Kind kind) {
  if (!Known(kind)) return {0, 0};
  if (KindSet{3, 41}.Has(kind)) return {2, 2};
  if (kind == 4) return {2, kWFmoduleMaxOuts};
  if (KindSet{6, 7, 8, 9, 44, 45}.Has(kind)) return {0, 0};
  if (KindSet{10, 11, 17, 18, 28, 31, 49}.Has(kind)) return {1, 2};
  return {1, 1};
}

constexpr char kAllFiles[] = "^[^\\.]";

struct Expressions {
  const char* files;
  const char* omitFiles;
};

Expressions FileExpressions(WFmodule_Kind kind) {
  if (!Known(kind)) return {"", ""};
  if (KindSet{3, 4, 7, 8}.Has(kind)) return {kAllFiles, TVWcfg_imageAddons};
  if (kind == 5) return {"<images>|\\.txt$", ""};
  if (KindSet{9, 48}.Has(kind)) return {kAllFiles, ""};
  if (KindSet{10, 11, 12, 14, 17, 45}.Has(kind)) return {TVWcfg_psFiles, ""};
  if (KindSet{13, 16, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 49, 50}.Has(kind)) {
    return {TVWcfg_pdfFiles, ""};
  }
  if (kind == 37) return {TVWcfg_allImages, "^\\.deviceLink.*"};
  if (kind == 40) return {kAllFiles, "^Log$|<image_addons>"};
  if (kind == 43) return {TVWcfg_jxkBitmaps, ""};
  return {TVWcfg_allImages, ""};
}

struct Foreign {
  WFmodule_Kind kind;
  const char* guiCmd;
  const char* rcFile;
  const char* tmpRcEntry;
};

constexpr Foreign kForeign[] = {
    {12, "PelRipX -workflowGUI -profileFileName %s", ".pelripx.rc", "PELRIPX_TMP_NAME"},
    {18, "PDFPreflight -GUI -ruleSelection %s", ".ruleSelection", "TMPRULESELECTION"},
    {19, "PDFImprove -GUI -ruleSelection %s", ".ruleSelection", "TMPRULESELECTION"},
    {27, "PDFXSuite -GUI -selection %s", ".pdfxSelection", "TMP_PDFX_SELECTION"},
};

const Foreign* FindForeign(WFmodule_Kind kind) {
  for (const Foreign& entry : kForeign) {
    if (entry.kind == kind) return &entry;
  }
  return nullptr;
}

// Slots handed out by WFmodule_RegisterFrontend; they live as long as the
// process.
std::array<WFmodule_Frontend, kWFmoduleMaxKind + 1> frontendSlots{};

void Answer(WFmodule_Kind kind, const char* Row::*field, StrOut text) {
  Strings_Assign(StrIn::C(Known(kind) ? kRows[kind].*field : ""), text);
}

}  // namespace

void WFmodule_Init() {
  if (initialised) return;
  initialised = true;
  DirAcces_Init();
  SFilMisc_Init();
  SAutoRcF_Init();
  TVWcfg_Init();
  TVWcfg_RegisterRootDirProc(WFmodule_GetRootDir);
  // The modules that can run on the cluster do so unless the site's class file says otherwise.
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    if (!WFmodule_SupportsCluster(kind)) continue;
    NameStr jobClass;
    WFmodule_GetJobClassName(kind, jobClass);
    CCjobClass_AddDefaultClass(jobClass, CCtypes_Cluster);
  }
}

// --- The kind table -----------------------------------------------------------

void WFmodule_GetName(WFmodule_Kind kind, StrOut name) { Answer(kind, &Row::name, name); }

void WFmodule_GetRootDir(WFmodule_Kind kind, StrOut path) {
  if (!Known(kind) || kRows[kind].root[0] == '\0') {
    path.Clear();
    return;
  }
  DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, StrIn::C(kRows[kind].root), path);
}

void WFmodule_GetRcFileName(WFmodule_Kind kind, StrOut name) { Answer(kind, &Row::rcFile, name); }
void WFmodule_GetCmdName(WFmodule_Kind kind, StrOut name) { Answer(kind, &Row::cmd, name); }
void WFmodule_GetReadableCmd(WFmodule_Kind kind, StrOut name) {
  Answer(kind, &Row::readableCmd, name);
}
void WFmodule_GetIcon(WFmodule_Kind kind, StrOut name) { Answer(kind, &Row::icon, name); }

void WFmodule_GetFileRegExpr(WFmodule_Kind kind, StrOut files, StrOut omitFiles) {
  const Expressions expressions = FileExpressions(kind);
  Strings_Assign(StrIn::C(expressions.files), files);
  Strings_Assign(StrIn::C(expressions.omitFiles), omitFiles);
}

void WFmodule_GetModuleInfo(WFmodule_Kind kind, WFmodule_ModuleInfo& info) {
  WFmodule_GetRootDir(kind, info.rootDir);
  WFmodule_GetRcFileName(kind, info.rcFile);
  WFmodule_GetCmdName(kind, info.cmd);
  WFmodule_GetFileRegExpr(kind, info.files, info.omitFiles);
  WFmodule_GetReadableCmd(kind, info.readableCmd);
  info.highCpu = WFmodule_HighCPUUsage(kind);
}

// --- Properties -----------------------------------------------------------------

bool WFmodule_HighCPUUsage(WFmodule_Kind kind) { return kHighCpu.Has(kind); }
bool WFmodule_TwoJobs(WFmodule_Kind kind) { return kTwoJobs.Has(kind); }
bool WFmodule_AcceptsJobticket(WFmodule_Kind kind) { return kJobticket.Has(kind); }
bool WFmodule_SupportsCluster(WFmodule_Kind kind) { return kCluster.Has(kind); }

bool WFmodule_RecursiveDemonConfigEntry(WFmodule_Kind kind) {
  return Known(kind) && !kEntryPerFolder.Has(kind);
}

bool WFmodule_Insertable(WFmodule_Kind kind) {
  if (!Known(kind) || kind < 2) return false;
  return kInsertableByRule.Has(kind) || WFmodule_frontend[kind] != nullptr;
}

void WFmodule_GetOutdirLimits(WFmodule_Kind kind, std::uint32_t& minimum, std::uint32_t& maximum) {
  const Limits limits = OutLimits(kind);
  minimum = limits.minimum;
  maximum = limits.maximum;
}

// --- Paths and names -------------------------------------------------------------

bool WFmodule_GetOutdir(SAutoRcF rc, WFmodule_Kind kind, std::uint32_t index, StrOut path) {
  path.Clear();
  if (index < 1 || index > OutLimits(kind).maximum) return false;
  bool found = false;
  if (kind == 10) {
    found = SAutoRcF_GetOpt(rc, index == 1 ? "OUTDIR_CT" : "OUTDIR_LW", path);
  } else if (kind == 11) {
    bool lineWork = true;
    if (index == 1) {
      std::uint32_t card = 1;  // the card option's default
      if (!SAutoRcF_GetCardOpt(rc, "CTLW", card)) card = 1;
      lineWork = card == 5 || card == 6;
    }
    found = SAutoRcF_GetOpt(rc, lineWork ? "OutputPathLW" : "OutputPathCT", path);
  } else {
    found = SAutoRcF_GetNthOutdir(rc, index, path);
  }
  if (!found || StrIn(path).Empty()) {
    path.Clear();
    return false;
  }
  return true;
}

WFmodule_Kind WFmodule_ModuleKindByPath(StrIn path) {
  PathStr root;
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    WFmodule_GetRootDir(kind, root);
    if (root[0] != '\0' && DirAcces_PathStartsWith(path, root)) return kind;
  }
  return kWFmoduleNoKind;
}

WFmodule_Kind WFmodule_ModuleKindByName(StrIn name) {
  for (WFmodule_Kind kind = 1; kind <= kWFmoduleMaxKind; ++kind) {
    if (Strings_Equal(name, StrIn::C(kRows[kind].name))) return kind;
  }
  return kWFmoduleNoKind;
}

bool WFmodule_IsAutoDeleteFolder(StrIn path) {
  PathStr root;
  WFmodule_GetRootDir(9, root);
  return Strings_Equal(path, root);
}

void WFmodule_GetJobClassName(WFmodule_Kind kind, StrOut name) {
  if (!Known(kind)) {
    name.Clear();
    return;
  }
  std::string text = "WORKFLOW-MODULE/";
  for (const char* c = kRows[kind].name; *c != '\0'; ++c) text += StringOp_Upper(*c);
  Strings_Assign(text, name);
}

bool WFmodule_GetWorkflowName(StrIn path, StrOut name, std::uint32_t& number) {
  name.Clear();
  number = 0;
  std::string full = path.Str();
  while (full.size() > 1 && full.back() == '/') full.pop_back();
  const std::size_t slash = full.rfind('/');
  const std::string last = slash == std::string::npos ? full : full.substr(slash + 1);

  constexpr std::string_view kFlow = "flow_";
  if (last.starts_with(kFlow)) {
    const std::string rest = last.substr(kFlow.size());
    const std::size_t divide = rest.rfind('_');
    if (divide == std::string::npos) return false;
    std::uint64_t value = 0;
    for (char c : rest.substr(divide + 1)) {
      if (c < '0' || c > '9') {
        value = 0;
        break;
      }
      value = std::min<std::uint64_t>(value * 10 + static_cast<std::uint64_t>(c - '0'), UINT32_MAX);
    }
    Strings_Assign(rest.substr(0, divide), name);
    if (StrIn(name).Empty()) return false;
    number = static_cast<std::uint32_t>(value);
    return true;
  }

  PathStr root;
  WFmodule_GetRootDir(1, root);
  if (root[0] == '\0' || !DirAcces_PathStartsWith(full, root)) return false;
  PathStr current, head;
  NameStr tail;
  Strings_Assign(full, current);
  while (!Strings_Equal(current, root)) {
    DirAcces_ExcludePath(current, head, tail);
    if (Strings_Equal(head, root)) {
      Strings_Assign(tail, name);
      return !StrIn(name).Empty();
    }
    if (head[0] == '\0') break;
    Strings_Assign(head, current);
  }
  return false;
}

// --- The demon --------------------------------------------------------------------

TVWcfg_Entry* WFmodule_CreateDemonConfigEntry(WFmodule_Kind kind) {
  if (!Known(kind)) return nullptr;
  TVWcfg_Entry* entry = TVWcfg_CreateEntry();
  WFmodule_GetRootDir(kind, entry->folder);
  entry->subdirs = true;
  Strings_Assign(TVWcfg_toOmit, entry->omit);
  WFmodule_GetFileRegExpr(kind, entry->files, entry->omitFiles);
  WFmodule_GetCmdName(kind, entry->cmd);
  WFmodule_GetReadableCmd(kind, entry->readableCmd);
  WFmodule_GetRcFileName(kind, entry->options);
  entry->highCpu = WFmodule_HighCPUUsage(kind);
  if (kind == 9) entry->atOnce = 10;
  if (kind == 44) entry->atOnce = 30;
  if (kind == 10 || kind == 11) {
    // A rip folder passes over files that its own interpreter wrote.
    Strings_Assign("dd if=%s ibs=1k count=1 2>/dev/null | grep 'PelScript (TM)'", entry->omitCmd);
    entry->locked = true;
  }
  return entry;
}

// --- Foreign front ends ------------------------------------------------------------

bool WFmodule_GetForeignGUICmd(WFmodule_Kind kind, StrOut cmd) {
  const Foreign* foreign = FindForeign(kind);
  Strings_Assign(StrIn::C(foreign != nullptr ? foreign->guiCmd : ""), cmd);
  return foreign != nullptr;
}

bool WFmodule_GetForeignRcFilename(WFmodule_Kind kind, StrIn folder, bool temporary, StrOut path) {
  const Foreign* foreign = FindForeign(kind);
  if (foreign == nullptr) {
    path.Clear();
    return false;
  }
  if (temporary && !DirAcces_Access(folder, DirAcces_Mode::Exists)) {
    return SFilMisc_CreateTmpName(StrIn::C(foreign->rcFile), path);
  }
  DirAcces_IncludePath(folder, StrIn::C(foreign->rcFile), path);
  if (temporary && !SFilMisc_RequireExtension(path, ".tmp")) {
    path.Clear();
    return false;
  }
  return true;
}

bool WFmodule_GetForeignTmpRcEntry(WFmodule_Kind kind, StrOut entry) {
  const Foreign* foreign = FindForeign(kind);
  Strings_Assign(StrIn::C(foreign != nullptr ? foreign->tmpRcEntry : ""), entry);
  return foreign != nullptr;
}

// --- Front ends ------------------------------------------------------------------------

void WFmodule_RegisterFrontend(WFmodule_Kind kind, WFmodule_SetDefaultParamsProc setDefaultParams,
                               WFmodule_FrontEndProc frontEnd,
                               WFmodule_AddReferencedFilesProc addReferencedFiles) {
  if (!Known(kind)) return;
  WFmodule_Frontend& slot = frontendSlots[kind];
  slot.setDefaultParams = setDefaultParams;
  slot.frontEnd = frontEnd;
  slot.addReferencedFiles = addReferencedFiles;
  WFmodule_frontend[kind] = &slot;
}

void WFmodule_SetDefaultParams(WFmodule_Kind kind, SAutoRcF rc, StrIn folder) {
  if (!Known(kind) || WFmodule_frontend[kind] == nullptr) return;
  if (WFmodule_frontend[kind]->setDefaultParams != nullptr) {
    WFmodule_frontend[kind]->setDefaultParams(rc, folder);
  }
}

bool WFmodule_EditParams(WFmodule_Kind kind, StrIn workflow, StrIn folder, SAutoRcF rc,
                         SwitchBd switchboard) {
  if (!Known(kind) || WFmodule_frontend[kind] == nullptr) return false;
  if (WFmodule_frontend[kind]->frontEnd == nullptr) return false;
  bool modified = false;
  WFmodule_frontend[kind]->frontEnd(workflow, folder, rc, switchboard, modified);
  return modified;
}

void WFmodule_AddReferencedFiles(WFmodule_FileList list, WFmodule_Kind kind, SAutoRcF rc,
                                 StrIn folder) {
  if (!Known(kind) || WFmodule_frontend[kind] == nullptr) return;
  PathStr foreign;
  if (WFmodule_GetForeignRcFilename(kind, folder, false, foreign)) {
    WFmodule_AddFile(list, foreign, false);
  }
  if (WFmodule_frontend[kind]->addReferencedFiles != nullptr) {
    WFmodule_frontend[kind]->addReferencedFiles(list, rc, folder);
  }
}

void WFmodule_NoReferencedFiles(WFmodule_FileList, SAutoRcF, StrIn) {}
