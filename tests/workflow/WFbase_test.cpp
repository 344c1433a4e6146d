// Workflows: listing with groups on real trees, folder numbering and paths,
// creation and copy, removal with its refusals, spreading of modes, messages
// in batch mode, locks, installer hosts and sync options.
#include "workflow/WFbase.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "tests/support/TestFiles.h"
#include "workflow/WFtvwCfg.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  WFbase_Init();
});

std::string Projects() { return site->Path() + "/projects"; }
std::string Root() { return Projects() + "/workflow"; }
std::string Start(const std::string& name) { return Root() + "/" + name; }

std::vector<std::string> Names(WFbase_WfList list) {
  std::vector<std::string> names;
  for (WFbase_WfList entry = list; entry != nullptr; entry = entry->next) names.emplace_back(entry->name);
  WFbase_DestroyWfList(list);
  return names;
}

std::string PathOf(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return path;
}

// Each test starts from an empty projects tree and no hooks.
class WFbaseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(Projects());
    fs::create_directories(Projects());
    WFbase_RegisterHooks(WFbase_Hooks{});
    WFbase_SetFeedback(true);
  }
  void TearDown() override { WFbase_DestroyWorkflow(workflow); }

  // A folder of `kind` in `workflow` at its next path, with a fresh rc.
  WFfolder Step(WFfolder_FolderKind kind) {
    PathStr path;
    WFbase_BuildFolderPath(workflow, kind, nullptr, path);
    return WFbase_CreateFolder(workflow, kind, SAutoRcF_Create(), path, false);
  }

  WFbase workflow = WFbase_NilWorkflow();
};

// --- Listing ---------------------------------------------------------------------------

bool Groups(StrIn workflow, StrOut group) {
  const std::string name = workflow.Str();
  if (name == "a" || name == "b") Strings_Assign("print", group);
  else if (name == "B") Strings_Assign("proof", group);
  else return false;
  return true;
}

TEST_F(WFbaseTest, ListsWorkflowsInByteOrderByGroup) {
  EXPECT_TRUE(Names(WFbase_GetAllWorkflows("")).empty()) << "missing root";
  for (const char* name : {"b", "a", "B", "_x", ".hidden"}) fs::create_directories(Start(name));
  fs::create_directories(Projects() + "/elsewhere");
  fs::create_directory_symlink(Projects() + "/elsewhere", Start("l"));
  fs::create_directory_symlink(Projects() + "/gone", Start("d"));
  PutFile(Start("plain"), "not a workflow");

  using V = std::vector<std::string>;
  EXPECT_EQ(Names(WFbase_GetAllWorkflows("")), (V{"B", "_x", "a", "b", "l"}));
  // Without the groups module nobody has a group.
  EXPECT_EQ(Names(WFbase_GetAllWorkflows(WFbase_withoutGroup)), (V{"B", "_x", "a", "b", "l"}));
  EXPECT_TRUE(Names(WFbase_GetAllWorkflows("print")).empty());
  WFbase_RegisterGroupProc(Groups);
  EXPECT_EQ(Names(WFbase_GetAllWorkflows("print")), (V{"a", "b"}));
  EXPECT_EQ(Names(WFbase_GetAllWorkflows("proof")), (V{"B"}));
  EXPECT_EQ(Names(WFbase_GetAllWorkflows(WFbase_withoutGroup)), (V{"_x", "l"}));
  EXPECT_EQ(Names(WFbase_GetAllWorkflows("")), (V{"B", "_x", "a", "b", "l"}));
  // Starts take links even when dangling, and no group.
  EXPECT_EQ(Names(WFbase_GetAllWorkflowstarts()), (V{"B", "_x", "a", "b", "d", "l"}));
}

TEST_F(WFbaseTest, ListsWorkflowsContainingAKindOncePerFolder) {
  PathStr root;
  WFfolder_GetRootDir(29, root);
  for (const char* folder : {"flow_b_0", "flow_a_3", "flow_a_0", "stray"}) {
    fs::create_directories(std::string(root) + "/" + folder);
  }
  EXPECT_EQ(Names(WFbase_GetAllWorkflowsContaining(29)), (std::vector<std::string>{"a", "a", "b"}));
  EXPECT_TRUE(Names(WFbase_GetAllWorkflowsContaining(30)).empty());
}

// --- Numbering and paths ----------------------------------------------------------------

TEST_F(WFbaseTest, FolderNumbersNeverGoBackAndSurviveUnderscores) {
  workflow = WFbase_NewWorkflow("my_flow");
  WFfolder first = Step(29);
  WFfolder second = Step(29);
  EXPECT_EQ(fs::path(PathOf(first)).filename(), "flow_my_flow_0");
  EXPECT_EQ(fs::path(PathOf(second)).filename(), "flow_my_flow_1");
  WFbase_AddFolderToRemove(workflow, first);
  EXPECT_EQ(fs::path(PathOf(Step(29))).filename(), "flow_my_flow_2");
  // Each kind counts on its own; a folder read from disk moves the counter too.
  EXPECT_EQ(fs::path(PathOf(Step(30))).filename(), "flow_my_flow_0");
  PathStr path;
  WFbase_BuildFolderPathExt(workflow, 30, nullptr, 7, path);
  WFbase_CreateFolder(workflow, 30, SAutoRcF_Nil(), path, true);
  WFbase_BuildFolderPath(workflow, 30, nullptr, path);
  EXPECT_EQ(fs::path(std::string(path)).filename(), "flow_my_flow_8");

  std::uint32_t number = 99;
  WFbase_SplitFolderPath("my_flow", "/x/flow_my_flow_12", number);
  EXPECT_EQ(number, 12u);
  WFbase_SplitFolderPath("my", "/x/flow_my_flow_12", number);
  EXPECT_EQ(number, 0u) << "the full name decides";
  WFbase_SplitFolderPath("my_flow", "/flow_my_flow_3/x", number);
  EXPECT_EQ(number, 0u) << "only the last element counts";
}

TEST_F(WFbaseTest, FolderPathsByKindAndAfterRenaming) {
  workflow = WFbase_NewWorkflow("w");
  PathStr path, moved;
  WFbase_BuildFolderPathExt(workflow, kWFfolderStart, nullptr, 0, path);
  EXPECT_EQ(std::string(path), Start("w"));
  WFbase_BuildFolderPathExt(workflow, kWFfolderEnd, nullptr, 4, path);
  EXPECT_EQ(std::string(path), Start("w") + "/outdir");
  WFbase_BuildFolderPathExt(workflow, 46, nullptr, 4, path);
  PathStr root;
  WFfolder_GetRootDir(46, root);
  EXPECT_EQ(std::string(path), std::string(root));
  WFconfig_Entry component{};
  Strings_Assign("/site/stamp", component.folder);
  WFbase_BuildFolderPathExt(workflow, kWFfolderUserDef, &component, 2, path);
  EXPECT_EQ(std::string(path), "/site/stamp/flow_w_2");

  WFbase_RebuildFolderPath(Start("w"), "w", "v", kWFfolderStart, moved);
  EXPECT_EQ(std::string(moved), Start("v"));
  WFbase_RebuildFolderPath(Start("w") + "/outdir", "w", "v", kWFfolderEnd, moved);
  EXPECT_EQ(std::string(moved), Start("v") + "/outdir");
  WFbase_RebuildFolderPath("/data/out", "w", "v", kWFfolderEnd, moved);
  EXPECT_EQ(std::string(moved), "/data/out");
  WFbase_RebuildFolderPath("/r/flow_w_5", "w", "v", 29, moved);
  EXPECT_EQ(std::string(moved), "/r/flow_v_5");
}

// --- Create and copy ------------------------------------------------------------------------

TEST_F(WFbaseTest, NewWorkflowHasOneOutToTheInvisibleEnd) {
  workflow = WFbase_CreateWorkflow("fresh", true);
  ASSERT_NE(workflow, nullptr);
  // Installed: the start directory with its rc, end and error directories.
  EXPECT_TRUE(fs::is_regular_file(Start("fresh") + "/.autostartrc"));
  EXPECT_TRUE(fs::is_directory(Start("fresh") + "/outdir"));
  EXPECT_TRUE(fs::is_directory(Start("fresh") + "/error"));
  // A start directory in the way: message 2, the workflow all the same.
  WFbase other = WFbase_NilWorkflow();
  ::testing::internal::CaptureStderr();
  other = WFbase_CreateWorkflow("fresh", true);
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find(Start("fresh")), std::string::npos) << err;
  EXPECT_NE(other, nullptr);
  WFbase_DestroyWorkflow(other);
  WFfolder start = WFbase_StartFolder(workflow);
  ASSERT_NE(start, nullptr);
  EXPECT_TRUE(WFbase_Modified(workflow));
  WFfolder end = WFfolder_OutFolder(start, 1);
  EXPECT_EQ(WFfolder_Kind(end), kWFfolderInvisibleEnd);
  EXPECT_EQ(WFfolder_OutFolder(start, 2), nullptr);
  EXPECT_EQ(PathOf(end), Start("fresh") + "/outdir");
  PathStr dir;
  ASSERT_TRUE(WFfolder_GetStringOpt(start, WFbase_optStartDir, dir));
  EXPECT_EQ(std::string(dir), Start("fresh"));
  WFbase_FolderList all = WFbase_GetAllFolders(workflow);
  EXPECT_EQ(all->folder, start);
  EXPECT_EQ(all->next->number, 2u);
  EXPECT_EQ(all->next->next, nullptr);
  WFbase_DestroyFolderList(all);
}

TEST_F(WFbaseTest, CopyUnderANewNameMovesPathsAndKeepsJoins) {
  workflow = WFbase_CreateWorkflow("old", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder end = WFfolder_OutFolder(start, 1);
  // start -> a -> (b, end), b -> end: the end is met twice.
  WFfolder a = Step(4);
  WFfolder b = Step(29);
  WFfolder_SetOutFolder(start, 1, a);
  WFfolder_SetOutFolder(a, 1, b);
  WFfolder_SetOutFolder(a, 2, end);
  WFfolder_SetOutFolder(b, 1, end);
  WFbase_SetModified(workflow, false);

  WFbase copy = WFbase_CopyWorkflowExt(workflow, "new");
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(WFbase_Modified(copy));
  WFfolder newStart = WFbase_StartFolder(copy);
  EXPECT_EQ(PathOf(newStart), Start("new"));
  WFfolder newA = WFfolder_OutFolder(newStart, 1);
  WFfolder newB = WFfolder_OutFolder(newA, 1);
  EXPECT_EQ(fs::path(PathOf(newB)).filename(), "flow_new_0");
  EXPECT_EQ(WFfolder_OutFolder(newA, 2), WFfolder_OutFolder(newB, 1));
  EXPECT_EQ(PathOf(WFfolder_OutFolder(newB, 1)), Start("new") + "/outdir");
  PathStr out;
  ASSERT_TRUE(WFfolder_GetOutPath(newA, 1, out));
  EXPECT_EQ(std::string(out), PathOf(newB));
  // The original is untouched.
  EXPECT_EQ(fs::path(PathOf(b)).filename(), "flow_old_0");
  EXPECT_FALSE(WFbase_Modified(workflow));
  WFbase_DestroyWorkflow(copy);
}

// --- Removal ----------------------------------------------------------------------------------

TEST_F(WFbaseTest, UninstallRemovesDirectoriesButNotWhatALinkPointsTo) {
  workflow = WFbase_CreateWorkflow("gone", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder step = Step(29);
  WFfolder_SetOutFolder(step, 1, WFfolder_OutFolder(start, 1));
  WFfolder_SetOutFolder(start, 1, step);
  // The start is a link to a directory of someone else's.
  const std::string target = Projects() + "/shared";
  fs::create_directories(target + "/keep");
  PathStr rcName;
  WFfolder_GetRcFileName(start, rcName);
  PutFile(target + "/" + std::string(rcName), "");
  fs::create_directories(Root());
  fs::create_directory_symlink(target, Start("gone"));
  const std::string stepPath = PathOf(step);
  fs::create_directories(stepPath);
  ASSERT_TRUE(WFbase_InstallDefaultSubdirs(workflow));
  EXPECT_TRUE(fs::is_directory(target + "/outdir"));
  EXPECT_TRUE(WFbase_InstallDefaultSubdirs(workflow)) << "existing ones are fine";

  EXPECT_TRUE(WFbase_UninstallWorkflow(workflow));
  EXPECT_EQ(workflow, nullptr);
  EXPECT_FALSE(fs::exists(fs::symlink_status(Start("gone"))));
  EXPECT_FALSE(fs::exists(stepPath));
  EXPECT_TRUE(fs::is_directory(target + "/keep"));
  EXPECT_FALSE(fs::exists(target + "/" + std::string(rcName)));
  EXPECT_FALSE(fs::exists(target + "/outdir"));
  EXPECT_FALSE(fs::exists(target + "/error"));
}

TEST_F(WFbaseTest, RemovalRefusesTheSiteRootsAndPassesOverMissingFolders) {
  workflow = WFbase_NewWorkflow("r");
  fs::create_directories(Root());
  for (const std::string& path : {Projects(), Projects() + "/", Root(), site->Path() + "/customer"}) {
    WFfolder folder = WFbase_CreateFolder(workflow, 29, SAutoRcF_Nil(), path, true);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(WFbase_RemoveHotfolder(workflow, folder)) << path;
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find(path), std::string::npos) << err;
    EXPECT_TRUE(fs::is_directory(path));
  }
  WFfolder missing = WFbase_CreateFolder(workflow, 29, SAutoRcF_Nil(), Projects() + "/none", true);
  EXPECT_TRUE(WFbase_RemoveHotfolder(workflow, missing));
  // A name the shell would read is still one word.
  const std::string odd = Projects() + "/a \"b\" $HOME `x`";
  fs::create_directories(odd + "/sub");
  WFfolder quoted = WFbase_CreateFolder(workflow, 29, SAutoRcF_Nil(), odd, true);
  EXPECT_TRUE(WFbase_RemoveHotfolder(workflow, quoted));
  EXPECT_FALSE(fs::exists(odd));
  EXPECT_TRUE(fs::is_directory(Projects()));
}

// --- Modes -----------------------------------------------------------------------------------

TEST_F(WFbaseTest, FinalPageAndJobTicketModesRunDownToTheirStops) {
  workflow = WFbase_CreateWorkflow("m", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder end = WFfolder_OutFolder(start, 1);
  // start -> rename -(1)-> check -> join -> end
  //                 -(2)-> fpStop -> after -> join
  WFfolder rename = Step(4);
  WFfolder check = Step(kWFfolderCheck);
  WFfolder fpStop = Step(22);
  WFfolder after = Step(29);
  WFfolder join = Step(30);
  WFfolder_SetOutFolder(start, 1, rename);
  WFfolder_SetOutFolder(rename, 1, check);
  WFfolder_SetOutFolder(rename, 2, fpStop);
  WFfolder_SetOutFolder(check, 1, join);
  WFfolder_SetOutFolder(fpStop, 1, after);
  WFfolder_SetOutFolder(after, 1, join);
  WFfolder_SetOutFolder(join, 1, end);
  WFfolder_SetFinalpageMode(start, true);
  WFfolder_SetOverwriteMode(after, 1, true);
  TextStr key;
  WFbase_BuildOverwriteOptName(PathOf(end), key);
  WFfolder_SetBoolOpt(start, key, true);
  WFbase_SetModified(workflow, false);

  WFbase_SetFolderMode(workflow);
  EXPECT_TRUE(WFbase_Modified(workflow));
  EXPECT_TRUE(WFfolder_FinalpageMode(rename));
  EXPECT_TRUE(WFfolder_FinalpageMode(fpStop)) << "the stop takes the mode itself";
  EXPECT_FALSE(WFfolder_FinalpageMode(after));
  // 'join' is met first on with final page, then from 'after' without:
  // a second road never switches a folder off.
  EXPECT_TRUE(WFfolder_FinalpageMode(join));
  EXPECT_TRUE(WFfolder_OverwriteMode(start, 1) == false);
  EXPECT_TRUE(WFfolder_OverwriteMode(rename, 1)) << "an out to the check folder";
  EXPECT_FALSE(WFfolder_OverwriteMode(rename, 2));
  EXPECT_FALSE(WFfolder_OverwriteMode(after, 1)) << "an out to a plain step";
  EXPECT_TRUE(WFfolder_OverwriteMode(join, 1)) << "the end allows it";

  // Nothing changes a second time.
  WFbase_SetModified(workflow, false);
  WFbase_SetFolderMode(workflow);
  EXPECT_FALSE(WFbase_Modified(workflow));

  // Job tickets end at kind 39 and switch final pages off behind the start.
  WFfolder ticketStop = Step(39);
  WFfolder behind = Step(30);
  WFfolder_SetOutFolder(start, 1, ticketStop);
  WFfolder_SetOutFolder(ticketStop, 1, behind);
  WFfolder_SetOutFolder(behind, 1, end);
  WFfolder_SetJobticketMode(start, true);
  WFbase_SetFolderMode(workflow);
  EXPECT_TRUE(WFfolder_JobticketMode(ticketStop));
  EXPECT_FALSE(WFfolder_FinalpageMode(ticketStop));
  EXPECT_FALSE(WFfolder_JobticketMode(behind));
}

TEST_F(WFbaseTest, AutoModeDerivesTheFileModeFromTheFirstStep) {
  workflow = WFbase_CreateWorkflow("f", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder end = WFfolder_OutFolder(start, 1);
  WFfolder_SetBoolOpt(start, WFbase_optAutoMode, true);
  const auto fileMode = [&](WFfolder_FolderKind kind) {
    WFfolder first = Step(kind);
    WFfolder_SetOutFolder(first, 1, end);
    WFfolder_SetOutFolder(start, 1, first);
    WFbase_SetFolderMode(workflow);
    return WFfolder_GetCardOptDef(start, WFbase_optFileMode, 99);
  };
  EXPECT_EQ(fileMode(40), 8u);
  EXPECT_EQ(fileMode(47), 9u);
  WFfolder_SetJobticketMode(start, true);
  const std::uint32_t plain = fileMode(4);
  EXPECT_TRUE(plain == 5u || plain == 6u || plain == 10u) << plain;
}

TEST_F(WFbaseTest, ReportIdReachesEveryFolderWithAnRcOnce) {
  workflow = WFbase_CreateWorkflow("id", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder step = Step(29);
  WFfolder_SetOutFolder(step, 1, WFfolder_OutFolder(start, 1));
  WFfolder_SetOutFolder(start, 1, step);
  WFbase_SetReportID(workflow, "R-7", 3);
  NameStr id;
  ASSERT_TRUE(SAutoRcF_GetReportID(WFfolder_RcFile(step), id));
  EXPECT_STREQ(id, "R-7");
  EXPECT_EQ(SAutoRcF_GetReportAddon(WFfolder_RcFile(start)), 3);
  WFfolder_SetModified(step, false);
  WFbase_SetModified(workflow, false);
  WFbase_SetReportID(workflow, "R-7", 3);
  EXPECT_FALSE(WFbase_Modified(workflow));
  EXPECT_FALSE(WFfolder_Modified(step));
}

// --- Messages --------------------------------------------------------------------------------

std::string shown;
void Show(StrIn text) { shown = text.Str(); }

TEST_F(WFbaseTest, MessagesGoToTheBoxOrInBatchModeToStandardError) {
  WFbase_Hooks hooks;
  hooks.show = Show;
  WFbase_RegisterHooks(hooks);
  shown.clear();
  ::testing::internal::CaptureStderr();
  WFbase_Message("WFbase", 1, "/some/folder");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_NE(shown.find("/some/folder"), std::string::npos) << shown;
  EXPECT_EQ(shown.find("%s"), std::string::npos);

  shown.clear();
  WFbase_SetFeedback(false);
  EXPECT_TRUE(WFbase_silent);
  ::testing::internal::CaptureStderr();
  WFbase_Message("WFbase", 1, "/batch/folder");
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(shown.empty());
  EXPECT_NE(err.find("/batch/folder"), std::string::npos) << err;
  EXPECT_EQ(err.back(), '\n');
}

TEST_F(WFbaseTest, StartDirectoryInUseIsRefused) {
  fs::create_directories(Start("one"));
  fs::create_directories(Projects() + "/dir");
  fs::create_directory_symlink(Projects() + "/dir", Start("two"));
  NameStr other;
  bool below = true;
  EXPECT_TRUE(WFbase_IsWorkflowStart(Start("one"), "mine", other, below));
  EXPECT_STREQ(other, "one");
  EXPECT_FALSE(below);
  EXPECT_TRUE(WFbase_IsWorkflowStart(Projects() + "/dir/", "mine", other, below));
  EXPECT_STREQ(other, "two");
  EXPECT_FALSE(WFbase_IsWorkflowStart(Projects() + "/dir", "two", other, below));
  EXPECT_FALSE(WFbase_IsWorkflowStart(Projects() + "/free", "mine", other, below));

  workflow = WFbase_NewWorkflow("mine");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(WFbase_SetStartDir(workflow, Projects() + "/free", true)) << "no start folder";
  WFbase_DestroyWorkflow(workflow);
  workflow = WFbase_CreateWorkflow("mine", false);
  WFbase_SetModified(workflow, false);
  EXPECT_FALSE(WFbase_SetStartDir(workflow, Projects() + "/dir", true));
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find(Projects() + "/dir"), std::string::npos) << err;
  EXPECT_NE(err.find("two"), std::string::npos) << err;
  EXPECT_FALSE(WFbase_Modified(workflow));
  EXPECT_TRUE(WFbase_SetStartDir(workflow, Projects() + "/free", false));
  EXPECT_TRUE(WFbase_Modified(workflow));
}

// --- State on disk ------------------------------------------------------------------------------

// Writes the start rc of `name` from the workflow's start folder.
void SaveStart(WFbase workflow, const std::string& name) {
  fs::create_directories(Start(name));
  PathStr file;
  WFfolder_GetRcFullName(WFbase_StartFolder(workflow), file);
  ASSERT_TRUE(SAutoRcF_Save(file, WFfolder_RcFile(WFbase_StartFolder(workflow))));
}

TEST_F(WFbaseTest, LocksAndTheTimeOfTheStartRc) {
  EXPECT_FALSE(WFbase_WorkflowLockedByName("nowhere"));
  workflow = WFbase_CreateWorkflow("lk", false);
  WFbase_SetModified(workflow, false);
  WFbase_LockWorkflow(workflow, true);
  EXPECT_TRUE(WFbase_WorkflowLocked(workflow));
  EXPECT_TRUE(WFbase_Modified(workflow));
  EXPECT_FALSE(WFbase_WorkflowLockedByName("lk"));
  SaveStart(workflow, "lk");
  EXPECT_TRUE(WFbase_WorkflowLockedByName("lk"));

  EXPECT_TRUE(WFbase_IsUnknownLastModified(workflow));
  PathStr file;
  WFfolder_GetRcFullName(WFbase_StartFolder(workflow), file);
  EXPECT_FALSE(WFbase_WorkflowModified(workflow)) << "unknown time: never changed";
  WFbase_SetWorkflowLastModified(workflow);
  EXPECT_FALSE(WFbase_IsUnknownLastModified(workflow));
  EXPECT_FALSE(WFbase_WorkflowModified(workflow));
  DirAcces_ChTimes(file, 1000, 1000);
  EXPECT_TRUE(WFbase_WorkflowModified(workflow));
  WFbase_SetUnknownLastModified(workflow);
  EXPECT_FALSE(WFbase_WorkflowModified(workflow));
}

TEST_F(WFbaseTest, InstallerHostsWithAndWithoutMultiHostFolders) {
  const std::string dir = Projects() + "/hot";
  fs::create_directories(dir);
  NameStr host, here;
  DirAcces_GetMachineName(here);
  WFbase_GetInstallerHost(dir, host);
  EXPECT_STREQ(host, here);
  EXPECT_TRUE(WFbase_LocalFolder(dir));

  PutFile(site->Path() + "/env/tvwatchd.cfg", "VERSION=1\nMULTIHOSTHOTFOLDER=TRUE\n");
  WFtvwCfg_Reset();
  WFbase_GetInstallerHost(dir, host);
  EXPECT_STREQ(host, "") << "no mark";
  EXPECT_FALSE(WFbase_LocalFolder(dir));
  PutFile(dir + "/.InstalledBy_" + std::string(here), "");
  WFbase_GetInstallerHost(dir, host);
  EXPECT_STREQ(host, here);
  EXPECT_TRUE(WFbase_LocalFolder(dir));
  PutFile(dir + "/.InstalledBy_otherhost", "");
  WFbase_GetInstallerHost(dir, host);
  EXPECT_STREQ(host, "") << "two marks";
  fs::remove(site->Path() + "/env/tvwatchd.cfg");
  WFtvwCfg_Reset();
}

TEST_F(WFbaseTest, SyncOptionsOnDiskWithoutBuildingTheWorkflow) {
  EXPECT_FALSE(WFbase_SetSyncOpts("nowhere", true, "h1"));
  workflow = WFbase_CreateWorkflow("s", false);
  SaveStart(workflow, "s");
  EXPECT_TRUE(WFbase_SetSyncOpts("s", true, "h1 h2"));
  WFbase_UpdateSyncOpts(workflow);
  WFbase_Options options;
  WFbase_GetOptions(workflow, options);
  EXPECT_TRUE(options.doSync);
  EXPECT_STREQ(options.syncSlaves, "h1 h2");
  bool doSync = false;
  char slaves[kWFbaseSlavesCap];
  WFbase_GetSyncOptsRC(WFfolder_RcFile(WFbase_StartFolder(workflow)), doSync, slaves);
  EXPECT_TRUE(doSync);

  // No slaves: no sync, whatever is asked.
  EXPECT_TRUE(WFbase_SetSyncOpts("s", true, ""));
  WFbase_UpdateSyncOpts(workflow);
  WFbase_GetOptions(workflow, options);
  EXPECT_FALSE(options.doSync);
  SAutoRcF rc = SAutoRcF_Create();
  EXPECT_FALSE(WFbase_SetSyncOptsRC(rc, true, "")) << "nothing to change";
  EXPECT_TRUE(WFbase_SetSyncOptsRC(rc, true, "h"));
  EXPECT_FALSE(WFbase_SetSyncOptsRC(rc, true, "h"));
  SAutoRcF_Destroy(rc);
}

}  // namespace
