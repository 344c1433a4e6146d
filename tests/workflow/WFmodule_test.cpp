#include "workflow/WFmodule.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cctype>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "base/SFilMisc.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests(WFmodule_Init);

std::string Projects() { return site->Path() + "/projects"; }

template <class Getter>
std::string Text(Getter getter, WFmodule_Kind kind) {
  PathStr text;
  getter(kind, StrOut(text));
  return text;
}

// --- The kinds, typed row by row from the product's kind documentation -----------

constexpr const char* IMG = "<images>";
constexpr const char* ALL = "^[^\\.]";
constexpr const char* PS = "\\.(ps|PS|eps|EPS|pdf|PDF)$";
constexpr const char* PDF = "\\.(pdf|PDF)$";
constexpr const char* ADDONS = "<image_addons>";

struct Expected {
  int kind;
  const char* name;
  const char* root;
  const char* rc;
  const char* cmd;
  const char* readable;
  const char* icon;
  std::uint32_t minOut, maxOut;
  const char* files;
  const char* omitFiles;
  // c high CPU, 2 two jobs, j job ticket, l cluster, f demon entry per folder
  const char* flags;
};

const Expected kKinds[] = {
    {1, "Start", "workflow", ".autostartrc", "autostart.sh", "AutoStart", "AutoStrt.pxm", 1, 1, IMG, "", "f"},
    {2, "Rename", "autofolder/autorename", ".autorenmrc", "autorenm.sh", "AutoRename", "AutoRenm.pxm", 1, 1, IMG, "", "jf"},
    {3, "Duplicate", "autofolder/autoduplicate", ".autoduplrc", "autodupl.sh", "AutoDuplicate", "AutoDupl.pxm", 2, 2, ALL, ADDONS, ""},
    {4, "Switch", "autofolder/autoswitch", ".autoswitchrc", "AutoSwch", "AutoSwitch", "AutoSwch.pxm", 2, 8, ALL, ADDONS, "j"},
    {5, "Check", "autofolder/check", ".autocheckrc", "readyForCheck.sh", "Check", "WFcheck.pxm", 1, 1, "<images>|\\.txt$", "", "j"},
    {6, "End", "", "", "", "", "AutoEnd.pxm", 0, 0, IMG, "", ""},
    {7, "Sort", "autofolder/autosort", ".autosortrc", "AutoSort", "AutoSort", "AutoSort.pxm", 0, 0, ALL, ADDONS, "j"},
    {8, "Distribute", "autofolder/autodistribute", ".autodistributerc", "AutoDist", "AutoDistribute", "AutoDist.pxm", 0, 0, ALL, ADDONS, ""},
    {9, "Delete", "autofolder/autodelete", "", "imgrm -f", "AutoDelete", "trashcan.pxm", 0, 0, ALL, "", "f"},
    {10, "Rip", "autorip", ".autoriprc", "autorip.sh", "AutoRip", "ps.pxm", 1, 2, PS, "", "c"},
    {11, "Jaws Rip", "autofolder/autojaws", ".autojawsrc", "autojaws.sh", "AutoRip", "AutoJaws.pxm", 1, 2, PS, "", "cl"},
    {12, "PelRipX", "autofolder/autopelripx", ".autopelripxrc", "autopelripx.sh", "AutoPelRipX", "AutoPelRipX.pxm", 1, 1, PS, "", "cl"},
    {13, "PelRipEP", "autofolder/autopelripep", ".autopelripeprc", "autopelripep.sh", "AutoPelRipEP", "AutoPelRipEP.pxm", 1, 1, PDF, "", "cl"},
    {14, "PS2PDF", "autofolder/autops2pdf", ".autops2pdfrc", "autops2pdf.sh", "AutoPS2PDF", "AutoDstl.pxm", 1, 1, PS, "", "cjl"},
    {15, "CT2PDF", "autofolder/autoct2pdf", ".autoct2pdfrc", "autoct2pdf.sh", "AutoCT2PDF", "AutoCT2PDF.pxm", 1, 1, IMG, "", "cl"},
    {16, "Lumtrap", "autofolder/autopdftrap", ".autopdftrap", "autopdftrap.sh", "AutoPDFTrap", "APDFTrap.pxm", 1, 1, PDF, "", "jl"},
    {17, "PS Preflight", "autofolder/autopspreflight", ".autopspreflightrc", "autoPSPreflight.sh", "AutoPSPreflight", "AutoPrfl.pxm", 1, 2, PS, "", "j"},
    {18, "PDF Preflight", "autofolder/autopdfpreflight", ".autopdfpreflightrc", "autopdfpreflight.sh", "AutoPDFPreflight", "APDFPreflight.pxm", 1, 2, PDF, "", "jl"},
    {19, "PDF Improve", "autofolder/autopdfimprove", ".autopdfpreimproverc", "autopdfimprove.sh", "AutoPDFImprove", "APDFImprove.pxm", 1, 1, PDF, "", "jl"},
    {20, "PDF Overlay", "autofolder/autopdfoverlay", ".autopdfoverlay", "autopdfoverlay.sh", "AutoPDFOverlay", "APDFOverl.pxm", 1, 1, PDF, "", ""},
    {21, "PDF SetBoxes", "autofolder/autopdfboxes", ".autopdfboxesrc", "autopdfboxes.sh", "AutoPDFBoxes", "APDFBoxe.pxm", 1, 1, PDF, "", ""},
    {22, "PDF Rotate", "autofolder/autopdfrotate", ".autopdfrotate", "autopdfrotate.sh", "AutoPDFRotate", "APDFRota.pxm", 1, 1, PDF, "", ""},
    {23, "PDF Split", "autofolder/autopdfsplit", ".autopdfsplit", "autopdfsplit.sh", "AutoPDFSplit", "APDFSpli.pxm", 1, 1, PDF, "", ""},
    {24, "PDF Cut", "autofolder/autopdfcut", ".autopdfcutrc", "autopdfcut.sh", "AutoPDFCut", "APDFCut.pxm", 1, 1, PDF, "", ""},
    {25, "PDF Paste", "autofolder/autopdfpaste", ".autopdfpasterc", "autopdfpaste.sh", "AutoPDFPaste", "APDFPaste.pxm", 1, 1, PDF, "", ""},
    {26, "PDF Rewrite", "autofolder/autopdfrewrite", ".autopdfrewriterc", "AutoPDFRewrite", "AutoPDFRewrite", "APDFRewrite.pxm", 1, 1, PDF, "", "j"},
    {27, "PDF/X Suite", "autofolder/autopdfxsuite", ".autopdfxsuiterc", "AutoPDFXSuite", "AutoPDFXSuite", "APDFXSuite.pxm", 1, 1, PDF, "", ""},
    {28, "PDF Callas Preflight", "autofolder/autopdfcallaspreflight", ".autopdfcallaspreflightrc", "AutoCallasPreflight", "AutoPDFCallasPreflight", "APDFCallasPreflight.pxm", 1, 2, PDF, "", "j"},
    {29, "ICopy", "autofolder/autoicopy", ".autoicopyrc", "autoICopy.sh", "AutoICopy", "AutoICpy.pxm", 1, 1, IMG, "", "clf"},
    {30, "Combine", "autofolder/autocombine", ".autocombinerc", "AutoComb", "AutoCombine", "AutoComb.pxm", 1, 1, IMG, "", "c2l"},
    {31, "ImgFork", "autofolder/autoimgfork", ".autoimgforkrc", "AutoImgF", "AutoImgFork", "AutoImgF.pxm", 1, 2, IMG, "", "2l"},
    {32, "Join", "autofolder/autojoin", ".autojoinrc", "AutoJoin", "AutoJoin", "AutoJoin.pxm", 1, 1, IMG, "", "cl"},
    {33, "SepMerge", "autofolder/autosepmerge", ".autosepmergerc", "AutoSMrg", "AutoSepMerge", "AutoSMrg.pxm", 1, 1, IMG, "", "2l"},
    {34, "Proof", "autofolder/autoproof", ".autoproofrc", "AutoProf", "AutoProof", "AutoProf.pxm", 1, 1, IMG, "", "2"},
    {35, "Filter", "autofolder/autofilter", ".autofilterrc", "autofilter.sh", "AutoFilter", "AutoFilt.pxm", 1, 1, IMG, "", ""},
    {36, "ICC", "autofolder/autoclrmatch", ".autoclrmatchrc", "autoClrMatch.sh", "AutoClrMatch", "AutoICC.pxm", 1, 1, IMG, "", "cl"},
    {37, "ColorXchange", "autofolder/autoclrmatch2", ".autoclrmatch2rc", "AutoICC", "AutoClrMatch", "AutoICC2.pxm", 1, 1, IMG, "^\\.deviceLink.*", "cl"},
    {38, "ColorXchange-P", "autofolder/autocolorxchange", ".autocolorxchangerc", "AutoColorX", "AutoColorXchange", "ColorXP.pxm", 1, 1, IMG, "", "cjl"},
    {39, "Label", "autofolder/autolabel", ".autolabelrc", "AutoLabel", "AutoLabel", "AutoLabel.pxm", 1, 1, IMG, "", ""},
    {40, "Log", "autofolder/autolog", ".autologrc", "AutoLog", "AutoLog", "AutoLog.pxm", 1, 1, ALL, "^Log$|<image_addons>", "j"},
    {41, "WebCheck", "autofolder/autowebcheck", ".autowebcheckrc", "AutoWebChk", "AutoWebCheck", "PelWebCheck.pxm", 2, 2, IMG, "", "cl"},
    {42, "JXK Ovw", "autofolder/autojxkpreprocess", ".autojxkpreprocessrc", "AutoJXKP", "AutoJXKPreProcess", "AutoJXKP.pxm", 1, 1, IMG, "", "j"},
    {43, "Bitmap Proof", "autofolder/autojxkbmproof", ".autojxkbmproofrc", "AutoJXKB", "Auto JXK Bitmap Proof", "AutoJXKB.pxm", 1, 1, "<JXK-Bitmaps>", "", "c2j"},
    {44, "JXK Input", "autofolder/autojxkinput", ".autojxkinputrc", "AutoJXKI", "AutoJXKInput", "AutoJXKI.pxm", 0, 0, IMG, "", ""},
    {45, "DLS Preflight", "autofolder/autodlspreflight", ".autodlspreflightrc", "autodlspre.sh", "AutoDLSPreflight", "AutoDLSP.pxm", 0, 0, PS, "", ""},
    {46, "Cut & Frame", "autofolder/autocutframe", ".autocutframe", "AutoCutF", "AutoCut&Frame", "ACutFrame.pxm", 1, 1, IMG, "", ""},
    {47, "DiffPosition", "autofolder/autodiffpos", ".autodiffposrc", "AutoDiffPos", "AutoDiffPosition", "DiffPosition.pxm", 1, 1, IMG, "", "cj"},
    {48, "Remote Copy", "autofolder/autoremotecopy", ".autoremotecopyrc", "AutoRemoteCopy", "AutoRemoteCopy", "AutoRemoteCopy.pxm", 1, 1, ALL, "", "jl"},
    {49, "Profile Tagger", "autofolder/autoprofiletagger", ".autoprofiletaggerrc", "AutoProfileTagger", "AutoProfileTagger", "AutoProfileTagger.pxm", 1, 2, PDF, "", "c"},
    {50, "CIP 3", "autofolder/autocip3", ".autocip3rc", "AutoCIP3", "AutoCIP3", "AutoCIP3.pxm", 1, 1, PDF, "", "c"},
};

std::string FullRoot(const Expected& row) {
  return row.root[0] == '\0' ? std::string() : Projects() + "/" + row.root;
}

bool Flag(const Expected& row, char flag) { return std::string(row.flags).find(flag) != std::string::npos; }

TEST(WFmoduleTable, EveryKindAnswersItsRow) {
  ASSERT_EQ(std::size(kKinds), std::size_t{kWFmoduleMaxKind});
  TVWcfg_Entry* fresh = TVWcfg_CreateEntry();
  for (const Expected& row : kKinds) {
    SCOPED_TRACE(row.kind);
    const auto kind = static_cast<WFmodule_Kind>(row.kind);
    EXPECT_EQ(Text(WFmodule_GetName, kind), row.name);
    EXPECT_EQ(Text(WFmodule_GetRootDir, kind), FullRoot(row));
    EXPECT_EQ(Text(WFmodule_GetRcFileName, kind), row.rc);
    EXPECT_EQ(Text(WFmodule_GetCmdName, kind), row.cmd);
    EXPECT_EQ(Text(WFmodule_GetReadableCmd, kind), row.readable);
    EXPECT_EQ(Text(WFmodule_GetIcon, kind), row.icon);
    std::uint32_t minimum = 99, maximum = 99;
    WFmodule_GetOutdirLimits(kind, minimum, maximum);
    EXPECT_EQ(minimum, row.minOut);
    EXPECT_EQ(maximum, row.maxOut);
    EXPECT_EQ(WFmodule_HighCPUUsage(kind), Flag(row, 'c'));
    EXPECT_EQ(WFmodule_TwoJobs(kind), Flag(row, '2'));
    EXPECT_EQ(WFmodule_AcceptsJobticket(kind), Flag(row, 'j'));
    EXPECT_EQ(WFmodule_SupportsCluster(kind), Flag(row, 'l'));
    EXPECT_EQ(WFmodule_RecursiveDemonConfigEntry(kind), !Flag(row, 'f'));

    WFmodule_ModuleInfo info;
    WFmodule_GetModuleInfo(kind, info);
    EXPECT_EQ(std::tuple(std::string(info.rootDir), std::string(info.rcFile), std::string(info.cmd),
                         std::string(info.files), std::string(info.omitFiles), std::string(info.readableCmd), info.highCpu),
              std::tuple(FullRoot(row), row.rc, row.cmd, row.files, row.omitFiles, row.readable, Flag(row, 'c')));

    // Every root tells its own kind, and every name its own.
    if (row.root[0] != '\0') {
      EXPECT_EQ(WFmodule_ModuleKindByPath(FullRoot(row)), kind);
    }
    EXPECT_EQ(WFmodule_ModuleKindByName(StrIn::C(row.name)), kind);

    std::string jobClass = "WORKFLOW-MODULE/";
    for (const char* c = row.name; *c != '\0'; ++c) jobClass += static_cast<char>(std::toupper(*c));
    EXPECT_EQ(Text(WFmodule_GetJobClassName, kind), jobClass);

    TVWcfg_Entry* entry = WFmodule_CreateDemonConfigEntry(kind);
    ASSERT_NE(entry, nullptr);
    EXPECT_TRUE(entry->subdirs);
    EXPECT_STREQ(entry->omit,
                 ".*,Network Trash Folder,TheFindByContentFolder,TheVolumeSettingsFolder,Temporary Items");
    EXPECT_EQ(std::tuple(std::string(entry->folder), std::string(entry->files), std::string(entry->omitFiles),
                         std::string(entry->cmd), std::string(entry->readableCmd), std::string(entry->options),
                         entry->highCpu),
              std::tuple(FullRoot(row), row.files, row.omitFiles, row.cmd, row.readable, row.rc, Flag(row, 'c')));
    const bool rip = row.kind == 10 || row.kind == 11;
    EXPECT_EQ(entry->locked, rip);
    EXPECT_STREQ(entry->omitCmd,
                 rip ? "dd if=%s ibs=1k count=1 2>/dev/null | grep 'PelScript (TM)'" : "");
    EXPECT_EQ(entry->atOnce, row.kind == 9 ? 10 : row.kind == 44 ? 30 : fresh->atOnce);
    EXPECT_EQ(entry->interval, fresh->interval);
    TVWcfg_DestroyEntry(entry);
  }
  TVWcfg_DestroyEntry(fresh);
  EXPECT_EQ(Text(WFmodule_GetJobClassName, 2), "WORKFLOW-MODULE/RENAME");
}

TEST(WFmoduleTable, KindsOutsideTheTableAnswerEmpty) {
  for (WFmodule_Kind kind : {WFmodule_Kind{0}, WFmodule_Kind{51}, WFmodule_Kind{255}}) {
    std::uint32_t minimum = 9, maximum = 9;
    WFmodule_GetOutdirLimits(kind, minimum, maximum);
    EXPECT_EQ(Text(WFmodule_GetName, kind) + Text(WFmodule_GetRootDir, kind) + Text(WFmodule_GetCmdName, kind), "");
    EXPECT_FALSE(minimum + maximum != 0 || WFmodule_HighCPUUsage(kind) || WFmodule_AcceptsJobticket(kind) ||
                 WFmodule_RecursiveDemonConfigEntry(kind) || WFmodule_CreateDemonConfigEntry(kind) != nullptr)
        << int{kind};
  }
  EXPECT_EQ(WFmodule_ModuleKindByName(""), 0);
  EXPECT_EQ(WFmodule_ModuleKindByName("rename"), 0);
  EXPECT_EQ(WFmodule_ModuleKindByName("Jaws Rip "), 0);
}

// --- Paths ------------------------------------------------------------------------------

TEST(WFmodulePaths, KindByPathRespectsDirectoryBoundaries) {
  const std::string a = Projects() + "/autofolder/";
  EXPECT_EQ(WFmodule_ModuleKindByPath(a + "autoclrmatch2"), 37);
  EXPECT_EQ(WFmodule_ModuleKindByPath(a + "autoclrmatch2/flow_x_1/out"), 37);
  EXPECT_EQ(WFmodule_ModuleKindByPath(a + "autoclrmatch/flow_x_1"), 36);
  EXPECT_EQ(WFmodule_ModuleKindByPath(a + "autoclrmatch3"), 0);
  EXPECT_EQ(WFmodule_ModuleKindByPath(Projects() + "/autofolder"), 0);
  EXPECT_EQ(WFmodule_ModuleKindByPath(Projects() + "/autoripper"), 0);
  EXPECT_EQ(WFmodule_ModuleKindByPath(Projects() + "/workflow/mine/out"), 1);
  EXPECT_EQ(WFmodule_ModuleKindByPath("/elsewhere/autofolder/autorename"), 0);

  EXPECT_TRUE(WFmodule_IsAutoDeleteFolder(a + "autodelete"));
  EXPECT_FALSE(WFmodule_IsAutoDeleteFolder(a + "autodelete/flow_x_1"));
  EXPECT_FALSE(WFmodule_IsAutoDeleteFolder(a + "autorename"));
}

TEST(WFmodulePaths, WorkflowNameFromPath) {
  struct Case {
    std::string path;
    bool found;
    const char* name;
    std::uint32_t number;
  };
  const std::string w = Projects() + "/workflow";
  const Case cases[] = {
      {Projects() + "/autofolder/autorename/flow_my_job_12", true, "my_job", 12},
      {"/anywhere/flow_a_b_c_7/", true, "a_b_c", 7},
      {"/x/flow_nonumber", false, "", 0},
      {"/x/flow__3", false, "", 0},
      {w + "/mine", true, "mine", 0},
      {w + "/mine/in/deeper/", true, "mine", 0},
      {w + "/mine/flow_other_4", true, "other", 4},  // the element's own name comes first
      {w, false, "", 0},
      {w + "s/mine", false, "", 0},
      {"/elsewhere/mine", false, "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    NameStr name = "stale";
    std::uint32_t number = 99;
    EXPECT_EQ(WFmodule_GetWorkflowName(c.path, name, number), c.found);
    EXPECT_STREQ(name, c.name);
    EXPECT_EQ(number, c.number);
  }
}

TEST(WFmodulePaths, OutdirsOfRipKindsComeFromTheirOwnOptions) {
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_SetOutdir(rc, "/plain1");
  SAutoRcF_SetNthOutdir(rc, 2, "/plain2");
  SAutoRcF_SetNthOutdir(rc, 8, "/plain8");
  SAutoRcF_AddOpt(rc, "OUTDIR_CT", "/ct");
  SAutoRcF_AddOpt(rc, "OUTDIR_LW", "/lw");
  SAutoRcF_AddOpt(rc, "OutputPathCT", "/jct");
  SAutoRcF_AddOpt(rc, "OutputPathLW", "/jlw");
  auto outdir = [&](WFmodule_Kind kind, std::uint32_t index) {
    PathStr path = "stale";
    const bool found = WFmodule_GetOutdir(rc, kind, index, path);
    EXPECT_EQ(found, path[0] != '\0');
    return std::string(path);
  };
  EXPECT_EQ(outdir(10, 1), "/ct");
  EXPECT_EQ(outdir(10, 2), "/lw");
  EXPECT_EQ(outdir(10, 3), "");
  EXPECT_EQ(outdir(10, 0), "");
  EXPECT_EQ(outdir(11, 1), "/jct");  // CTLW absent counts as 1
  EXPECT_EQ(outdir(11, 2), "/jlw");
  for (const auto& [card, expected] :
       {std::pair{"5", "/jlw"}, std::pair{"6", "/jlw"}, std::pair{"4", "/jct"}, std::pair{"x", "/jct"}}) {
    SAutoRcF_SetStringOpt(rc, "CTLW", StrIn::C(card));
    EXPECT_EQ(outdir(11, 1), expected) << card;
    EXPECT_EQ(outdir(11, 2), "/jlw") << card;
  }
  EXPECT_EQ(outdir(11, 3), "");
  EXPECT_EQ(outdir(2, 1), "/plain1");
  EXPECT_EQ(outdir(2, 2), "");  // beyond the maximum of 1
  EXPECT_EQ(outdir(4, 8), "/plain8");
  EXPECT_EQ(outdir(4, 9), "");
  EXPECT_EQ(outdir(4, 3), "");  // within the range but not set
  SAutoRcF_Destroy(rc);
}

TEST(WFmodulePaths, RipRootIsGivenToTheDemonTable) {
  char file[kNameCap];
  TVWcfg_GetFileName(file);
  PutFile(file, "FOLDER=" + Projects() + "/autorip\nFOLDER=" + Projects() +
                    "/autofolder/autojaws\n");
  TVWcfg_List list = nullptr;
  TVWcfg_LoadConfiguration(false, list);
  ASSERT_NE(list, nullptr);
  ASSERT_NE(list->next, nullptr);
  EXPECT_TRUE(list->locked);
  EXPECT_FALSE(list->next->locked);
  TVWcfg_Destroy(list);
  fs::remove(file);
}

// --- Foreign front ends ------------------------------------------------------------------

TEST(WFmoduleForeign, TablesAndFileNames) {
  struct Row {
    WFmodule_Kind kind;
    const char* gui;
    const char* file;
    const char* entry;
  };
  const Row rows[] = {
      {12, "PelRipX -workflowGUI -profileFileName %s", ".pelripx.rc", "PELRIPX_TMP_NAME"},
      {18, "PDFPreflight -GUI -ruleSelection %s", ".ruleSelection", "TMPRULESELECTION"},
      {19, "PDFImprove -GUI -ruleSelection %s", ".ruleSelection", "TMPRULESELECTION"},
      {27, "PDFXSuite -GUI -selection %s", ".pdfxSelection", "TMP_PDFX_SELECTION"},
  };
  const std::string folder = site->Make("projects/autofolder/autopelripx/flow_w_1") + "/";
  fs::create_directories(folder);
  for (const Row& row : rows) {
    SCOPED_TRACE(int{row.kind});
    NameStr text;
    PathStr path;
    EXPECT_TRUE(WFmodule_GetForeignGUICmd(row.kind, text));
    EXPECT_STREQ(text, row.gui);
    EXPECT_TRUE(WFmodule_GetForeignTmpRcEntry(row.kind, text));
    EXPECT_STREQ(text, row.entry);
    ASSERT_TRUE(WFmodule_GetForeignRcFilename(row.kind, folder, false, path));
    EXPECT_EQ(std::string(path), folder + row.file);
    ASSERT_TRUE(WFmodule_GetForeignRcFilename(row.kind, folder, true, path));
    EXPECT_EQ(std::string(path), folder + row.file + ".tmp");
    ASSERT_TRUE(WFmodule_GetForeignRcFilename(row.kind, folder + "missing", true, path));
    EXPECT_TRUE(SFilMisc_IsTmpName(path));
    NameStr stem;
    Strings_Assign(StrIn::C(row.file), stem);
    SFilMisc_StripExtension(stem);
    EXPECT_EQ(std::string(path).rfind(site->Path() + "/tmp/" + stem, 0), 0u) << path;
  }
  NameStr text = "stale";
  PathStr path = "stale";
  EXPECT_FALSE(WFmodule_GetForeignGUICmd(13, text) || WFmodule_GetForeignTmpRcEntry(28, text) ||
               WFmodule_GetForeignRcFilename(0, folder, true, path));
  EXPECT_EQ(text[0] + path[0], 0);
}

// --- File list ------------------------------------------------------------------------------

std::vector<std::pair<std::string, bool>> Listed(WFmodule_FileList list) {
  std::vector<std::pair<std::string, bool>> all;
  PathStr path;
  bool flag = false;
  for (bool more = WFmodule_IterateFiles(list, true, path, flag); more;
       more = WFmodule_IterateFiles(list, false, path, flag)) {
    all.emplace_back(path, flag);
  }
  return all;
}

TEST(WFmoduleFiles, OrderedUniqueWithFirstFlag) {
  WFmodule_FileList list = WFmodule_CreateFileList();
  WFmodule_AddFile(list, "/b", true);
  WFmodule_AddFile(list, "", true);
  WFmodule_AddFile(list, "/a", false);
  WFmodule_AddFile(list, "/b", false);
  EXPECT_TRUE(WFmodule_HasFile(list, "/a"));
  EXPECT_FALSE(WFmodule_HasFile(list, "/a/"));
  EXPECT_FALSE(WFmodule_HasFile(list, ""));
  using Got = std::vector<std::pair<std::string, bool>>;
  EXPECT_EQ(Listed(list), (Got{{"/b", true}, {"/a", false}}));

  // Enough long paths to outgrow the first heap block many times over.
  Got expected = Listed(list);
  for (int i = 0; i < 3000; ++i) {
    const std::string path = "/data/" + std::string(static_cast<std::size_t>(i % 900), 'x') +
                             "/" + std::to_string(i);
    WFmodule_AddFile(list, path, i % 3 == 0);
    WFmodule_AddFile(list, path, i % 3 != 0);
    expected.emplace_back(path, i % 3 == 0);
  }
  EXPECT_EQ(Listed(list), expected);
  EXPECT_TRUE(WFmodule_HasFile(list, expected[1234].first));

  WFmodule_DestroyFileList(list);
  EXPECT_EQ(list, nullptr);
  WFmodule_FileList nil = WFmodule_NilFileList();
  WFmodule_AddFile(nil, "/a", true);
  EXPECT_FALSE(WFmodule_HasFile(nil, "/a"));
  EXPECT_TRUE(Listed(nil).empty());
  WFmodule_DestroyFileList(nil);
}

// --- Front-end registration -------------------------------------------------------------------

struct Calls {
  std::string log;
  SAutoRcF rc = nullptr;
  SwitchBd switchboard = nullptr;
} calls;

void DefaultsA(SAutoRcF rc, StrIn folder) {
  calls.log += "defaultsA(" + folder.Str() + ")";
  calls.rc = rc;
}
void DialogA(StrIn workflow, StrIn folder, SAutoRcF rc, SwitchBd switchboard, bool& modified) {
  calls.log += "dialogA(" + workflow.Str() + "," + folder.Str() + ")";
  calls.rc = rc;
  calls.switchboard = switchboard;
  modified = true;
}
void FilesA(WFmodule_FileList list, SAutoRcF rc, StrIn folder) {
  calls.log += "filesA";
  calls.rc = rc;
  WFmodule_AddFile(list, folder.Str() + "/scheme", false);
}
void DefaultsB(SAutoRcF, StrIn) { calls.log += "defaultsB"; }
void DialogB(StrIn, StrIn, SAutoRcF, SwitchBd, bool&) { calls.log += "dialogB"; }

TEST(WFmoduleFrontends, RegisteredProceduresAreCalled) {
  SAutoRcF rc = SAutoRcF_Create();
  auto* board = reinterpret_cast<SwitchBd>(&calls);
  WFmodule_FileList list = WFmodule_CreateFileList();

  // No slot: nothing is called, nothing is added.
  EXPECT_EQ(WFmodule_frontend[20], nullptr);
  EXPECT_FALSE(WFmodule_Insertable(20));
  WFmodule_SetDefaultParams(20, rc, "/f");
  EXPECT_FALSE(WFmodule_EditParams(20, "w", "/f", rc, board));
  WFmodule_AddReferencedFiles(list, 12, rc, "/f");
  EXPECT_EQ(calls.log, "");
  EXPECT_TRUE(Listed(list).empty());

  WFmodule_RegisterFrontend(20, DefaultsA, DialogA, FilesA);
  ASSERT_NE(WFmodule_frontend[20], nullptr);
  EXPECT_TRUE(WFmodule_Insertable(20));
  WFmodule_SetDefaultParams(20, rc, "/f");
  EXPECT_TRUE(WFmodule_EditParams(20, "w", "/f", rc, board));
  WFmodule_AddReferencedFiles(list, 20, rc, "/f");
  EXPECT_EQ(calls.log, "defaultsA(/f)dialogA(w,/f)filesA");
  EXPECT_EQ(calls.rc, rc);
  EXPECT_EQ(calls.switchboard, board);

  // A later registration replaces the procedures in the same slot.
  WFmodule_Frontend* slot = WFmodule_frontend[20];
  WFmodule_RegisterFrontend(20, DefaultsB, DialogB, WFmodule_NoReferencedFiles);
  EXPECT_EQ(WFmodule_frontend[20], slot);
  calls.log.clear();
  WFmodule_SetDefaultParams(20, rc, "/f");
  EXPECT_FALSE(WFmodule_EditParams(20, "w", "/f", rc, board));
  EXPECT_EQ(calls.log, "defaultsBdialogB");

  // A foreign kind adds its settings file before the front end's own files.
  WFmodule_RegisterFrontend(12, DefaultsA, DialogA, FilesA);
  WFmodule_AddReferencedFiles(list, 12, rc, "/g");
  WFmodule_AddReferencedFiles(list, 20, rc, "/h");
  using Got = std::vector<std::pair<std::string, bool>>;
  EXPECT_EQ(Listed(list), (Got{{"/f/scheme", false}, {"/g/.pelripx.rc", false}, {"/g/scheme", false}}));

  // Start and the kinds insertable by rule.
  WFmodule_RegisterFrontend(1, DefaultsA, DialogA, FilesA);
  EXPECT_FALSE(WFmodule_Insertable(1));
  for (WFmodule_Kind kind : {5, 6, 9}) EXPECT_TRUE(WFmodule_Insertable(kind)) << int{kind};
  EXPECT_FALSE(WFmodule_Insertable(21));
  WFmodule_RegisterFrontend(0, DefaultsA, DialogA, FilesA);
  WFmodule_RegisterFrontend(51, DefaultsA, DialogA, FilesA);
  EXPECT_EQ(WFmodule_frontend[0], nullptr);

  WFmodule_DestroyFileList(list);
  SAutoRcF_Destroy(rc);
}

}  // namespace
