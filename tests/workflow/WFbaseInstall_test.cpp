// Installing workflows built through the model's own calls: what the walk
// writes and when, the order in which rc files take effect, the start
// folder's share of the graph, and the two registration points (the start
// folder's entry, the remote watch).
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/BatchProgram.h"
#include "tests/support/TestFiles.h"
#include "workflow/WFbase.h"
#include "workflow/WFdebug.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  InitBatchTestProgram();
  WFdebug_Init();
  WFbase_SetFeedback(false);
});

std::string Projects() { return site->Path() + "/projects"; }

std::string PathOf(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return path;
}

std::string Dump(const std::string& name) {
  TextStr reason;
  WFbase workflow = WFbase_RebuildWorkflow(name, WFbase_NoAnswer, reason);
  if (workflow == nullptr) return "failed: " + StrIn(reason).Str();
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* file = ::open_memstream(&text, &size);
  WFdebug_WriteWorkflow(file, workflow);
  std::fclose(file);
  const std::string dump(text, size);
  std::free(text);
  WFbase_DestroyWorkflow(workflow);
  return dump;
}

class WFbaseInstall : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(Projects());
    fs::create_directories(Projects());
    fs::remove(site->Path() + "/env/tvwatchd.cfg");
    WFbase_RegisterStartEntryProc(nullptr);
    WFbase_RegisterRemoteWatch(WFbase_RemoteWatch{});
  }
  void TearDown() override { WFbase_DestroyWorkflow(workflow); }

  // A new folder of `kind` put between `from` and its out 1.
  WFfolder Insert(WFfolder from, WFfolder_FolderKind kind) {
    PathStr path;
    WFbase_BuildFolderPath(workflow, kind, nullptr, path);
    WFfolder folder = WFbase_CreateFolder(workflow, kind, SAutoRcF_Create(), path, false);
    WFfolder_SetOutFolder(folder, 1, WFfolder_OutFolder(from, 1));
    WFfolder_SetOutFolder(from, 1, folder);
    WFbase_SetModified(workflow, true);
    return folder;
  }

  WFbase workflow = WFbase_NilWorkflow();
};

}  // namespace

TEST_F(WFbaseInstall, WritesWhatIsModifiedOnceAndStopsItsFolders) {
  workflow = WFbase_CreateWorkflow("w", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder rename = Insert(start, 29);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow));
  EXPECT_FALSE(WFbase_Modified(workflow));
  const std::string rc = FileText(PathOf(rename) + "/.autorenmrc");
  EXPECT_NE(rc.find(": _OUTDIR_=" + PathOf(start) + "/outdir\n"), std::string::npos) << rc;
  EXPECT_NE(rc.find(": _ERRORDIR_=" + PathOf(start) + "/error\n"), std::string::npos) << rc;
  EXPECT_NE(rc.find(": _INSTALLTIME_="), std::string::npos) << rc;
  EXPECT_TRUE(fs::exists(PathOf(rename) + "/.TVWatchD_omit"));
  EXPECT_TRUE(fs::exists(PathOf(start) + "/.TVWatchD_omit"));
  EXPECT_FALSE(fs::exists(PathOf(start) + "/outdir/.TVWatchD_omit")) << "an end is never started";

  // Installed once: a second install without a change writes nothing.
  fs::remove(PathOf(rename) + "/.autorenmrc");
  EXPECT_TRUE(WFbase_InstallWorkflow(workflow));
  EXPECT_FALSE(fs::exists(PathOf(rename) + "/.autorenmrc"));
}

TEST_F(WFbaseInstall, RcFilesTakeEffectOutsFirstSoAFailureLeavesTheOldGraph) {
  workflow = WFbase_CreateWorkflow("w", false);
  WFfolder start = WFbase_StartFolder(workflow);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow));
  const std::string old = Dump("w");
  // start -> a -> b -> outdir, where b's rc can't replace what stands at
  // its name; a's rc is written and read back, but must not take effect.
  WFfolder b = Insert(start, 29);
  WFfolder a = Insert(start, 29);
  fs::create_directories(PathOf(b) + "/.autorenmrc/in-the-way");
  EXPECT_FALSE(WFbase_InstallWorkflow(workflow));
  EXPECT_EQ(Dump("w"), old);
  EXPECT_FALSE(fs::exists(PathOf(a) + "/.autorenmrc"));
  EXPECT_FALSE(fs::exists(PathOf(a) + "/.autorenmrc.new"));

  fs::remove_all(PathOf(b) + "/.autorenmrc");
  WFfolder_SetModified(a, true);
  WFfolder_SetModified(b, true);
  WFbase_SetModified(workflow, true);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow));
  EXPECT_NE(Dump("w").find("[3] RENAME: " + PathOf(b) + " --> [4]"), std::string::npos) << Dump("w");
}

TEST_F(WFbaseInstall, TheStartTakesBitmapSettingsAndBecomesAProducerOfSequences) {
  workflow = WFbase_CreateWorkflow("w", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder_SetIntOpt(start, "FILEMODE", 8);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow)) << "no bitmap proof: nothing to copy";
  WFfolder log = Insert(start, 33);
  WFfolder proof = Insert(log, 40);
  WFfolder_SetStringOpt(proof, "BITMAPNAMESCHEME", "plate.trs");
  WFfolder_SetStringOpt(proof, "FILESIGN_3", "sig");
  SAutoRcF_Sequence sequence;
  sequence.startDelay = 5.0;
  WFfolder_SetSequenceMode(log, 2, sequence);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow));
  const std::string rc = FileText(Projects() + "/workflow/w/.autostartrc");
  EXPECT_NE(rc.find(": BITMAPNAMESCHEME=plate.trs\n"), std::string::npos) << rc;
  EXPECT_NE(rc.find(": FILESIGN_3=sig\n"), std::string::npos) << rc;
  EXPECT_EQ(WFfolder_SequenceMode(start, sequence), 1u);
  EXPECT_EQ(sequence.startDelay, 5.0);
}

namespace {

std::string entered;
bool StartEntry(StrIn workflow, StrIn files, StrIn, bool subdirs, bool, bool, std::uint8_t, const TVWcfg_Activity&,
                std::int32_t interval) {
  entered = workflow.Str() + " " + files.Str() + " " + std::to_string(subdirs) + " " + std::to_string(interval);
  return true;
}

std::vector<std::string> remote;
RWconfig_Rec* Config(StrOut) { return reinterpret_cast<RWconfig_Rec*>(&remote); }
bool Update(StrIn workflow, StrIn localDir, StrIn files, const std::vector<SAutoRcF_RemoteStart>& starts,
            bool remove, StrOut error) {
  remote.push_back(workflow.Str() + (remove ? " remove" : " " + localDir.Str() + " " + files.Str()));
  for (const SAutoRcF_RemoteStart& start : starts) remote.push_back(std::string(start.server) + ":" + start.directory);
  Strings_Assign("disk full", error);
  return !remove;
}

}  // namespace

TEST_F(WFbaseInstall, TheStartEntryAndTheRemoteWatchGoThroughTheirRegisteredProcedures) {
  WFbase_RegisterStartEntryProc(StartEntry);
  WFbase_RegisterRemoteWatch(WFbase_RemoteWatch{Config, Update});
  entered.clear();
  remote.clear();
  workflow = WFbase_CreateWorkflow("w", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder_SetStringOpt(start, "SUBDIRS", "_TRUE_");
  WFfolder_SetIntOpt(start, "WATCHINTERVAL", 120);
  SAutoRcF_RemoteStart ftp;
  Strings_Assign("ftp1", ftp.server);
  Strings_Assign("/in", ftp.directory);
  SAutoRcF_SetRemoteStart(WFfolder_RcFile(start), 0, ftp);
  ASSERT_TRUE(WFbase_InstallWorkflow(workflow));
  EXPECT_EQ(entered, "w ^[^\\.] 1 120");
  const std::string path = Projects() + "/workflow/w";
  EXPECT_EQ(remote, (std::vector<std::string>{"w " + path + " ^[^\\.]", "ftp1:/in"}));

  // Removing the workflow takes its hot folders; a failure says why.
  remote.clear();
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(WFbase_UninstallWorkflow(workflow));
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(remote, (std::vector<std::string>{"w remove"}));
  EXPECT_NE(err.find("disk full"), std::string::npos) << err;
  EXPECT_FALSE(fs::exists(path));
}
