// The start folder's front end without a display: defaults and the first
// command, the file modes, the checks of OK, the watch interval, remote
// starts, and the start's demon entry.
#include "frontends/FEautost.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <type_traits>

#include "distribution/RWconfig.h"
#include "image/SImage.h"
#include "image/SIqif.h"
#include "image/SItiff.h"
#include "tests/support/BatchProgram.h"
#include "tests/support/TestFiles.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbase.h"
#include "workflow/WFtest.h"
#include "workflow/WFtvwCfg.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  InitBatchTestProgram();
  SIqif_Init();
  SItiff_Init();
  FEautost_Init();
  WFbase_SetFeedback(false);
  AutoMisc_SetFeedback(false);
  AutoMisc_AllowDemonStart(false);
});

std::string Projects() { return site->Path() + "/projects"; }
std::string Root() { return Projects() + "/workflow"; }
std::string Cfg() { return site->Path() + "/env/tvwatchd.cfg"; }

std::string Opt(SAutoRcF rc, const char* key) {
  TextStr value;
  return SAutoRcF_GetOpt(rc, StrIn::C(key), value) ? StrIn(value).Str() : "<absent>";
}
std::string Cmd(SAutoRcF rc) {
  TextStr command;
  SAutoRcF_GetFirstCmd(rc, command);
  return StrIn(command).Str();
}

// A remote watch configuration in memory with the servers given.
RWconfig servers = nullptr;
RWconfig_Rec* Servers(StrOut) { return servers; }
void UseServers(std::initializer_list<std::pair<const char*, const char*>> list) {
  RWconfig_Destroy(servers);
  TextStr error;
  ASSERT_TRUE(RWconfig_Load(servers, error)) << error;
  for (const auto& [name, directory] : list) {
    RWbase_Server server;
    Strings_Assign(StrIn::C(name), server.name);
    Strings_Assign(StrIn::C(directory), server.defaultRemoteDirectory);
    RWconfig_AddOrReplaceServer(servers, server);
  }
  WFbase_RegisterRemoteWatch(WFbase_RemoteWatch{Servers, nullptr});
}

class FEautostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(Projects());
    fs::create_directories(Root());
    fs::remove(Cfg());
    WFtvwCfg_Reset();
    rc = SAutoRcF_Create();
    UseServers({});
  }
  void TearDown() override { SAutoRcF_Destroy(rc); }
  // The start parameters of workflow "w" through OK; the message when refused.
  std::string Apply() {
    TextStr message;
    FEautost_ApplyParams("w", rc, Root() + "/w", message);
    return StrIn(message).Str();
  }
  SAutoRcF rc = nullptr;
};

TEST_F(FEautostTest, DefaultsAndTheFirstCommandOfEveryTransferAndFileMode) {
  FEautost_SetDefaultParams(rc, Root() + "/w");
  EXPECT_EQ(Opt(rc, "MODE"), "0");
  EXPECT_EQ(Opt(rc, "FILEMODE"), "0");
  EXPECT_EQ(Opt(rc, "AUTOMODE"), "_TRUE_");
  EXPECT_EQ(Opt(rc, "EXTENDDELIMITER"), "_");
  EXPECT_EQ(Opt(rc, "STARTDIR"), Root() + "/w");
  EXPECT_EQ(Cmd(rc), "imgmv");

  // Outside the dictionary a missing file mode is "any file".
  SAutoRcF bare = SAutoRcF_Create();
  FEautost_SetTransferMode(bare, "/x", 0);
  EXPECT_EQ(Cmd(bare), "mv");
  SAutoRcF_Destroy(bare);

  const char* const any[] = {"mv", "ln", "cp"};
  const char* const images[] = {"imgmv", "imgln", "imgcp"};
  for (std::uint32_t mode = 0; mode < 3; ++mode) {
    for (std::uint32_t fileMode : {0u, 1u, 2u, 4u, 10u}) {
      FEautost_SetFileMode(rc, "/x", fileMode);
      FEautost_SetTransferMode(rc, "/x", mode);
      EXPECT_EQ(Cmd(rc), fileMode == 2 ? any[mode] : images[mode]) << mode << " " << fileMode;
      EXPECT_EQ(Opt(rc, "_JOBTICKETMODE_"), "_FALSE_");
    }
  }
  SAutoRcF_SetIntOpt(rc, "MODE", 7);
  EXPECT_EQ(FEautost_GetTransferMode(rc), 0) << "4 and more count as move";

  // The error mode survives only a copy.
  SAutoRcF_SetErrorMode(rc, 1);
  FEautost_SetTransferMode(rc, "/x", 2);
  EXPECT_EQ(SAutoRcF_GetErrorMode(rc), 1u);
  FEautost_SetTransferMode(rc, "/x", 3);
  EXPECT_EQ(SAutoRcF_GetErrorMode(rc), 0u);
  EXPECT_EQ(Opt(rc, "_JOBTICKETMODE_"), "_TRUE_");
}

TEST_F(FEautostTest, TheJobTicketCommandNamesTheFolderExactlyForTheShell) {
  const std::string folder = site->Path() + "/in box/it's \"$HOME\" \\ `x`;&";
  FEautost_SetTransferMode(rc, folder, 3);
  const std::string command = Cmd(rc);
  ASSERT_EQ(command.rfind("jobticket.sh -p ", 0), 0u) << command;
  // The shell reads the command; a stand-in prints the argument it got.
  fs::create_directories(site->Path() + "/bin");
  PutFile(site->Path() + "/bin/jobticket.sh", "#!/bin/sh\nprintf '%s' \"$2\"\n");
  fs::permissions(site->Path() + "/bin/jobticket.sh", fs::perms::owner_all);
  const RunResult run = RunProgram({"/bin/sh", "-c", command}, {{"PATH", site->Path() + "/bin:/usr/bin:/bin"}});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, folder);
  // A copied workflow's command follows the new path.
  FEautost_SetFolderPath(rc, "/new");
  EXPECT_EQ(Cmd(rc), "jobticket.sh -p /new");
}

TEST_F(FEautostTest, TheModelsHooksKeepTheFirstCommandInStep) {
  WFbase workflow = WFbase_CreateWorkflow("w", false);
  SAutoRcF start = WFfolder_RcFile(WFbase_StartFolder(workflow));
  EXPECT_EQ(Cmd(start), "imgmv");
  WFbase_SetStartTransferMode(workflow, 1);
  EXPECT_EQ(Cmd(start), "imgln");
  WFbase_SetStartTransferMode(workflow, 3);
  EXPECT_EQ(Cmd(start), "jobticket.sh -p " + Root() + "/w");
  WFbase_DestroyWorkflow(workflow);
}

// The workflow check refuses a start that OK would refuse, with OK's words.
TEST_F(FEautostTest, TheWorkflowCheckRefusesWhatOKRefuses) {
  WFbase workflow = WFbase_CreateWorkflow("w", false);
  const WFfolder start = WFbase_StartFolder(workflow);
  WFfolder_SetStringOpt(start, "STARTDIR", site->Path() + "/flow_x_12");
  EXPECT_FALSE(WFtest_CheckWorkflow(nullptr, workflow));
  EXPECT_EQ(WFtest_FaultyFolder(), start);
  TextStr message;
  EXPECT_FALSE(FEautost_CheckFolder(workflow, start, message));
  EXPECT_NE(StrIn(message).Str().find("flow_x_12 is named like a hot folder"), std::string::npos) << message;
  // A good start passes; the walk goes on to the unfinished branch.
  WFfolder_SetStringOpt(start, "STARTDIR", site->Path() + "/flow_x");
  EXPECT_FALSE(WFtest_CheckWorkflow(nullptr, workflow));
  EXPECT_NE(WFtest_FaultyFolder(), start);
  WFbase_DestroyWorkflow(workflow);
}

TEST_F(FEautostTest, ChosenFormatsGiveTheirExpressionOrRefuseOK) {
  SImage_FormatList list = SImage_GetListOfSupportedFormats();
  const std::string tif = SImage_FindSupportedFormat(list, ".tif")->regExpr;
  const std::string qif = SImage_FindSupportedFormat(list, ".qif")->regExpr;
  SImage_DestroyListOfSupportedFormats(list);

  SAutoRcF_SetIntOpt(rc, "FILEMODE", 4);
  SAutoRcF_SetBoolOpt(rc, "AUTOMODE", false);
  SAutoRcF_SetStringOpt(rc, "FILEFMTS", ".tif .qif");
  EXPECT_EQ(Apply(), "");
  EXPECT_EQ(Opt(rc, "FILESREGEXP"), tif + "|" + qif);
  EXPECT_EQ(Cmd(rc), "imgmv");

  // One unknown suffix: refused, and nothing written.
  SAutoRcF_SetStringOpt(rc, "FILEFMTS", ".tif .nope");
  SAutoRcF before = SAutoRcF_Copy(rc);
  EXPECT_NE(Apply().find("\".tif .nope\""), std::string::npos);
  EXPECT_TRUE(SAutoRcF_SameContent(rc, before));
  SAutoRcF_SetStringOpt(rc, "FILEFMTS", "  ");
  SAutoRcF_Destroy(before);
  before = SAutoRcF_Copy(rc);
  EXPECT_EQ(Apply(), "File mode \"chosen formats\" needs at least one format.");
  EXPECT_TRUE(SAutoRcF_SameContent(rc, before));
  SAutoRcF_Destroy(before);
}

TEST_F(FEautostTest, TheChecksOfOKInTheirOrder) {
  // Workflow "other" starts in a directory elsewhere and watches below it.
  const std::string elsewhere = site->Path() + "/elsewhere";
  fs::create_directories(elsewhere + "/sub");
  fs::create_directory_symlink(elsewhere, Root() + "/other");
  TVWcfg_Activity always;
  TVWcfg_InitActivity(true, always);
  ASSERT_TRUE(FEautost_UpdateTVWcfg("other", "^[^\\.]", "", true, false, false, 0, always, 60));

  TextStr message;
  EXPECT_FALSE(FEautost_CheckStartdir("w", elsewhere, message));
  EXPECT_EQ(StrIn(message).Str(), "The directory " + elsewhere + " is already the start directory of workflow other.");
  EXPECT_FALSE(FEautost_CheckStartdir("w", elsewhere + "/sub", message));
  EXPECT_NE(StrIn(message).Str().find("lies below the start directory of workflow other"), std::string::npos);
  EXPECT_TRUE(FEautost_CheckStartdir("other", elsewhere, message)) << "its own start";
  EXPECT_FALSE(FEautost_CheckStartdir("w", Root() + "/w/outdir/", message));
  EXPECT_NE(StrIn(message).Str().find("own end directory"), std::string::npos) << message;
  EXPECT_FALSE(FEautost_CheckStartdir("w", site->Path() + "/flow_x_12", message));
  EXPECT_NE(StrIn(message).Str().find("flow_x_12 is named like a hot folder"), std::string::npos) << message;
  EXPECT_TRUE(FEautost_CheckStartdir("w", site->Path() + "/flow_x", message)) << message;

  // The delimiters of extended names: a slash is named before a blank.
  SAutoRcF_SetBoolOpt(rc, "SUBDIRS", true);
  SAutoRcF_SetBoolOpt(rc, "EXTENDFILENAMES", true);
  const std::pair<const char*, const char*> refused[] = {
      {"", "Extending file names needs a delimiter."},
      {"a /", "\"/\" cannot be used here"},
      {"a b", "\" \" cannot be used here"},
      {"-", "The delimiter and its replacement must differ."}};
  for (const auto& [delimiter, words] : refused) {
    SAutoRcF_SetStringOpt(rc, "EXTENDDELIMITER", StrIn::C(delimiter));
    EXPECT_NE(Apply().find(words), std::string::npos) << "\"" << delimiter << "\": " << Apply();
  }
  SAutoRcF_SetStringOpt(rc, "EXTENDDELIMITER", "+");
  EXPECT_EQ(Apply(), "");
  // Without sub-directories there is nothing to extend by.
  SAutoRcF_SetBoolOpt(rc, "SUBDIRS", false);
  EXPECT_EQ(Apply(), "");
  EXPECT_EQ(Opt(rc, "EXTENDFILENAMES"), "_FALSE_");
}

TEST_F(FEautostTest, TheDependentElementsFollowTheirValues) {
  AutoDict dictionary = AutoDict_Create(32);
  FEautost_DefineParameters(dictionary, false);
  const auto set = [&](std::uint32_t element, auto value) {
    if constexpr (std::is_same_v<decltype(value), bool>) {
      AutoDict_SetBool(AutoDict_GetParameter(dictionary, element), value);
    } else {
      AutoDict_SetInt(AutoDict_GetParameter(dictionary, element), value);
    }
  };
  FEautost_Data data;
  UseServers({{"ftp1", ""}});
  FEautost_LoadRemoteStarts(data, rc);
  set(kFEautostSubdirs, true);
  set(kFEautostExtend, true);
  set(kFEautostAutoMode, false);
  set(kFEautostFileMode, 4);
  FEautost_Enabling on;
  FEautost_GetEnabling(dictionary, data, on);
  EXPECT_TRUE(on.extend && on.extendFields && on.formats && on.remoteOn);
  EXPECT_EQ(on.selector, -1);
  EXPECT_FALSE(on.finalPage || on.startDir);
  EXPECT_FALSE(FEautost_ApplyRule(dictionary, data, FEautost_Rule::ExtendAllowed));

  // Job tickets can't extend names: switched off and cleared.
  set(kFEautostMode, 3);
  FEautost_GetEnabling(dictionary, data, on);
  EXPECT_FALSE(on.extend);
  EXPECT_TRUE(FEautost_ApplyRule(dictionary, data, FEautost_Rule::ExtendAllowed));
  EXPECT_FALSE(AutoDict_GetBool(AutoDict_GetParameter(dictionary, kFEautostExtend)));
  // File mode 6 means final pages; the formats button goes.
  set(kFEautostFileMode, 6);
  EXPECT_TRUE(FEautost_ApplyRule(dictionary, data, FEautost_Rule::FormatsChosen));
  EXPECT_TRUE(AutoDict_GetBool(AutoDict_GetParameter(dictionary, kFEautostFinalPage)));
  FEautost_GetEnabling(dictionary, data, on);
  EXPECT_EQ(on.selector, -3);
  AutoDict_Destroy(dictionary);
}

TEST_F(FEautostTest, TheIntervalListChoosesWithItsAsymmetry) {
  FEautost_Intervals list;
  FEautost_FillIntervals(list);
  ASSERT_EQ(list.size(), 8u);
  const std::int32_t d = TVWcfg_DefaultWatchInterval;
  EXPECT_EQ(StrIn(list[2].label).Str(), "every " + std::to_string(3 * d) + " seconds");
  for (std::int32_t i = 0; i < 8; ++i) EXPECT_EQ(FEautost_FindInterval(list, d * (i + 1)), i);
  EXPECT_EQ(FEautost_FindInterval(list, 1), 0) << "below the first";
  EXPECT_EQ(FEautost_FindInterval(list, d + d / 4), 0) << "closer to the first";
  EXPECT_EQ(FEautost_FindInterval(list, d + d / 2), 1) << "a tie walks on";
  EXPECT_EQ(FEautost_FindInterval(list, 7 * d + d / 2 + 1), -1) << "closer to the last: nothing";
  EXPECT_EQ(FEautost_FindInterval(list, 7 * d + d / 2 - 1), 6);
  EXPECT_EQ(FEautost_FindInterval(list, 100 * d), -1);

  // Three times the default is kept through OK; the default and nothing go.
  SAutoRcF_SetIntOpt(rc, "WATCHINTERVAL", 3 * d);
  std::int32_t stored = 0;
  ASSERT_TRUE(SAutoRcF_GetIntOpt(rc, "WATCHINTERVAL", stored));
  const std::int32_t chosen = FEautost_FindInterval(list, stored);
  EXPECT_EQ(chosen, 2);
  FEautost_SaveInterval(rc, list, chosen);
  EXPECT_EQ(Opt(rc, "WATCHINTERVAL"), std::to_string(3 * d));
  FEautost_SaveInterval(rc, list, 0);
  EXPECT_EQ(Opt(rc, "WATCHINTERVAL"), "<absent>");
  SAutoRcF_SetIntOpt(rc, "WATCHINTERVAL", 8 * d - 1);
  FEautost_SaveInterval(rc, list, FEautost_FindInterval(list, 8 * d - 1));
  EXPECT_EQ(Opt(rc, "WATCHINTERVAL"), "<absent>");
}

TEST_F(FEautostTest, RemoteStartsAreRenumberedOrDroppedWithoutServers) {
  UseServers({{"ftp1", "/pub/in"}, {"ftp2", "/drop"}});
  for (std::uint32_t i = 0; i < 3; ++i) {
    SAutoRcF_RemoteStart start;
    Strings_Assign(i == 1 ? StrIn("ftp2") : StrIn("ftp1"), start.server);
    Strings_Assign(i == 0 ? StrIn("/pub/in") : StrIn("/mine" + std::to_string(i)), start.directory);
    start.deleteFiles = i == 2;
    SAutoRcF_SetRemoteStart(rc, i, start);
  }
  FEautost_Data data;
  FEautost_LoadRemoteStarts(data, rc);
  ASSERT_EQ(data.remoteList.size(), 3u);
  EXPECT_TRUE(data.remoteStartsOn);
  EXPECT_EQ(std::string(data.serverList[0].name), "ftp1");
  EXPECT_FALSE(FEautost_SaveRemoteStarts(data, rc)) << "nothing changed";
  FEautost_DeleteRemoteStarts(data, {1});
  ASSERT_TRUE(FEautost_SaveRemoteStarts(data, rc));
  EXPECT_EQ(Opt(rc, "REMOTESTART_0/SERVERDIR"), "") << "the server's own directory";
  EXPECT_EQ(Opt(rc, "REMOTESTART_1/SERVERNAME"), "ftp1");
  EXPECT_EQ(Opt(rc, "REMOTESTART_1/SERVERDIR"), "/mine2");
  EXPECT_EQ(Opt(rc, "REMOTESTART_1/DELETEFILES"), "_TRUE_");
  EXPECT_EQ(Opt(rc, "REMOTESTART_2/SERVERNAME"), "<absent>");

  // An unknown server, and remote starts on without any, refuse OK.
  FEautost_AddRemoteStart(data, "ftp9");
  TextStr message;
  AutoDict dictionary = AutoDict_Create(32);
  FEautost_DefineParameters(dictionary, false);
  Strings_Assign(StrIn("w"), data.workflow);
  EXPECT_FALSE(FEautost_CheckValues(dictionary, data, message));
  EXPECT_EQ(StrIn(message).Str(), "The server ftp9 is not configured for the remote watch.");
  FEautost_DeleteRemoteStarts(data, {0, 1, 2});
  EXPECT_FALSE(FEautost_CheckValues(dictionary, data, message));
  EXPECT_EQ(StrIn(message).Str(), "Remote starts are switched on, but none is given.");
  AutoDict_Destroy(dictionary);

  // No server configured at all: dropped at once, whatever OK or Cancel.
  UseServers({});
  FEautost_LoadRemoteStarts(data, rc);
  EXPECT_FALSE(data.remoteStartsOn);
  EXPECT_TRUE(FEautost_SaveRemoteStarts(data, rc));
  EXPECT_EQ(Opt(rc, "REMOTESTART_0/SERVERNAME"), "<absent>");
  EXPECT_EQ(SAutoRcF_RemoteStartCount(rc), 0u);
}

TEST_F(FEautostTest, TheStartsDemonEntry) {
  TVWcfg_Activity always;
  TVWcfg_InitActivity(true, always);
  ASSERT_TRUE(FEautost_UpdateTVWcfg("a", "<images>", "", false, false, false, 0, always, TVWcfg_DefaultWatchInterval));
  ASSERT_TRUE(FEautost_UpdateTVWcfg("b", "^[^\\.]", "\\.jxk$", true, true, true, 2, always, 180));
  TVWcfg_List list = nullptr;
  TVWcfg_LoadConfiguration(false, list);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(std::string(list->folder), Root() + "/b") << "a new entry at the head";
  const TVWcfg_Entry* b = list;
  EXPECT_TRUE(b->subdirs && b->omitEmptyFiles && b->considerCTime);
  EXPECT_EQ(b->interval, 180);
  EXPECT_EQ(b->sequenceMode, 2);
  EXPECT_EQ(std::string(b->omit), std::string("outdir,error,") + TVWcfg_toOmit);
  EXPECT_EQ(std::string(b->files), "^[^\\.]");
  EXPECT_EQ(std::string(b->cmd), FEautost_moduleInfo.cmd);
  const TVWcfg_Entry* a = TVWcfg_GetEntry(list, Root() + "/a");
  ASSERT_NE(a, nullptr);
  EXPECT_FALSE(a->subdirs || a->omitEmptyFiles || a->considerCTime);
  EXPECT_EQ(a->interval, -1) << "the demon's default";
  TVWcfg_Destroy(list);

  // The entry found is changed in place.
  ASSERT_TRUE(FEautost_UpdateTVWcfg("a", "<jobtickets>", "", true, false, false, 0, always, 120));
  TVWcfg_LoadConfiguration(false, list);
  EXPECT_EQ(std::string(list->folder), Root() + "/b");
  a = TVWcfg_GetEntry(list, Root() + "/a");
  EXPECT_EQ(std::string(a->files), "<jobtickets>");
  EXPECT_TRUE(a->subdirs);
  TVWcfg_Destroy(list);

  // Removing the workflow removes every line of its key.
  PutFile(Cfg(), FileText(Cfg()) + "FOLDER=" + Root() + "/a:CMD=autostart.sh\n");
  ASSERT_TRUE(FEautost_DeleteInTVWcfg("a"));
  EXPECT_EQ(FileText(Cfg()).find("FOLDER=" + Root() + "/a:"), std::string::npos);
  EXPECT_NE(FileText(Cfg()).find("FOLDER=" + Root() + "/b"), std::string::npos);

  // Locked by another process: message 33, and the file as it was.
  const std::string text = FileText(Cfg());
  PutFile(Cfg() + ".LCK", std::to_string(::getppid()) + "\n");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(FEautost_UpdateTVWcfg("c", "<images>", "", false, false, false, 0, always, 60));
  const std::string err = ::testing::internal::GetCapturedStderr();
  fs::remove(Cfg() + ".LCK");
  EXPECT_NE(err.find("locked by another program"), std::string::npos) << err;
  EXPECT_EQ(FileText(Cfg()), text);
}

}  // namespace
