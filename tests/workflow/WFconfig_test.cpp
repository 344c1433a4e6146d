// The site's user-defined components: loading and cleaning, the cache that
// follows the file's time, lookups, writing, the one-string form, and the
// reservation of the file against the real RMserver on a loopback port.
#include "workflow/WFconfig.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Utility.h"
#include "jobqueue/SRM.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir* site = nullptr;

// A directory of the site, made with its parents.
std::string Dir(const std::string& relative) {
  const std::string path = site->Path() + "/" + relative;
  std::filesystem::create_directories(path);
  return path;
}
int server = -1;
std::string cfg;

class Site : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    cfg = site->Path() + "/customer/floatdeck.cfg";
    ::unsetenv("CCJOB_EMPLOYER");
    ::unsetenv("TV_RMSERVER_USE_SCIPC_SERVICES");
    ::unsetenv("TEST");
    ChooseRMserverPort();
    static const char* const args[] = {program_invocation_name};
    Argument_Init(1, args);
    Messages_Init();
    WFconfig_Init();
  }
  void TearDown() override {
    SRM_Disconnect();
    StopRMserver(server);
    delete site;
  }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new Site);

// The file with `text`, dated `time` so that the cache sees exactly the
// changes a test means.
void PutCfg(const std::string& text, std::int64_t time) {
  PutFile(cfg, text);
  ASSERT_TRUE(DirAcces_ChTimes(cfg, time, time));
}

std::vector<std::string> Folders(WFconfig_List list) {
  std::vector<std::string> folders;
  for (const WFconfig_Entry* e = list; e != nullptr; e = e->next) folders.emplace_back(e->folder);
  return folders;
}

std::vector<std::string> CachedFolders() {
  std::vector<std::string> folders;
  const WFconfig_Entry* e = nullptr;
  for (bool more = WFconfig_GetFirstEntry(e); more; more = WFconfig_GetNextEntry(e)) folders.emplace_back(e->folder);
  return folders;
}

TEST(WFconfig, LoadKeepsOnlyLegalComponentsWithTheirValues) {
  const std::string projects = ::getenv("TV_PROJECTS");
  PutCfg(
      "#Created by Workflow Manager\n"
      "FOLDER=/p/one:SUBDIRS=true:OPTIONS=-rc:CPUUSE=HIGH:OUTS=abc:NEWKEY=1\n"
      "CMD=/bin/x:FOLDER=/p/notfirst\n"
      "FOLDER=/p/three:SUBDIRS=TRUE:OPTIONS=-rc:OUTS=3\n"
      "FOLDER=/p/flat:SUBDIRS=TRUE:OUTS=0\n"
      "FOLDER=/p/nooptions:SUBDIRS=TRUE:OUTS=1\n"
      "FOLDER=/p/multi:OUTS=0:MULTIPLEFILES=true\n"
      "FOLDER=$TV_PROJECTS/end:SUBDIRS=FaLsE:OUTS=0:CPUUSE=Low:CMD=$TV_PROJECTS/bin/run:SORTEDSUBMIT=TRUE:"
      "SHORTDESC=a-long-short-text:USER=12:GROUP=-3:ATONCE=4:SILENCE=x\n",
      1000000);
  ::setenv("TEST", "Floatdeck", 1);
  ::testing::internal::CaptureStdout();
  WFconfig_List list = WFconfig_LoadConfiguration();
  const std::string told = ::testing::internal::GetCapturedStdout();
  ::unsetenv("TEST");

  EXPECT_EQ(Folders(list), (std::vector<std::string>{"/p/one", projects + "/end"}));
  EXPECT_NE(told.find("reading configuration file"), std::string::npos);
  EXPECT_NE(told.find("/p/one ok.\n"), std::string::npos);
  EXPECT_NE(told.find("/p/three illegal. Ignored!\n"), std::string::npos);
  EXPECT_EQ(told.find("notfirst"), std::string::npos);

  const WFconfig_Entry& one = *list;
  EXPECT_TRUE(one.subdirs && one.highCPU);
  EXPECT_EQ(one.outs, 1u);  // not a number: the default stays
  EXPECT_STREQ(one.cmd, "/bin/false");

  const WFconfig_Entry& end = *list->next;
  EXPECT_FALSE(end.subdirs || end.highCPU);
  EXPECT_EQ(std::string(end.cmd), projects + "/bin/run");
  EXPECT_EQ(StrIn(end.shortDesc).Str(), "a-long-sho");  // cut at its 10 bytes, unterminated
  EXPECT_TRUE(end.sortedSubmit && end.user == 12 && end.group == -3 && end.atOnce == 4u && end.silence == 0u);
  WFconfig_DestroyList(list);

  // The preconfigured components come from "env" below MARLLIB, cleaned alike.
  PutFile(Dir("lib/env") + "/floatdeck.cfg",
          "FOLDER=/pre/a:OUTS=0\nFOLDER=/pre/b:OUTS=0:OPTIONS=x\n");
  list = WFconfig_GetPreconfigured();
  EXPECT_EQ(Folders(list), std::vector<std::string>{"/pre/a"});
  WFconfig_DestroyList(list);
}

TEST(WFconfig, CacheFollowsTheFilesTime) {
  PutCfg("FOLDER=/c/a:OUTS=0\n", 2000000);
  EXPECT_EQ(CachedFolders(), std::vector<std::string>{"/c/a"});
  // Same time, other content: the file is not read again.
  PutCfg("FOLDER=/c/b:OUTS=0\n", 2000000);
  EXPECT_EQ(CachedFolders(), std::vector<std::string>{"/c/a"});
  WFconfig_Entry found;
  EXPECT_TRUE(WFconfig_GetEntry("/c/a", found));
  ASSERT_TRUE(DirAcces_ChTimes(cfg, 2000001, 2000001));
  EXPECT_EQ(CachedFolders(), std::vector<std::string>{"/c/b"});
  EXPECT_FALSE(WFconfig_GetEntry("/c/a", found));
  ASSERT_TRUE(DirAcces_Remove(cfg));
  EXPECT_TRUE(CachedFolders().empty());
  EXPECT_FALSE(WFconfig_GetEntryByShortDesc("user", found));

  // A save forces the next query to read, even within the same second.
  PutCfg("FOLDER=/c/old:OUTS=0\n", 2000002);
  EXPECT_EQ(CachedFolders(), std::vector<std::string>{"/c/old"});
  WFconfig_List list = WFconfig_CreateComponent();
  Strings_Assign("/c/new", list->folder);
  Strings_Assign("-o", list->options);
  ASSERT_TRUE(WFconfig_SaveConfiguration(list));
  ASSERT_TRUE(DirAcces_ChTimes(cfg, 2000002, 2000002));
  EXPECT_EQ(CachedFolders(), std::vector<std::string>{"/c/new"});
  WFconfig_DestroyList(list);
}

TEST(WFconfig, LookupByPathAndShortDesc) {
  PutCfg(
      "FOLDER=/w/flat:OUTS=0:SHORTDESC=Flat\n"
      "FOLDER=/w/tree:SUBDIRS=TRUE:OPTIONS=-o:SHORTDESC=Tree\n"
      "FOLDER=/w/tree/inner:SUBDIRS=TRUE:OPTIONS=-o:SHORTDESC=Inner\n"
      "FOLDER=/w/t:SUBDIRS=TRUE:OPTIONS=-o:SHORTDESC=Tree\n",
      3000000);
  const auto owner = [](const char* path) {
    WFconfig_Entry entry;
    entry.shortDesc[0] = '\0';
    return WFconfig_GetEntry(StrIn::C(path), entry) ? std::string(entry.shortDesc) : std::string("-");
  };
  EXPECT_EQ(owner("/w/flat"), "Flat");
  EXPECT_EQ(owner("/w/flat/job"), "-");         // no subdirs: only the folder itself
  EXPECT_EQ(owner("/w/tree/wf/in"), "Tree");
  EXPECT_EQ(owner("/w/tree/inner/x"), "Tree");  // the first owner in the file wins
  EXPECT_EQ(owner("/w/treetop/x"), "-");        // a leading text that is no parent
  EXPECT_EQ(owner("/w/t/x"), "Tree");
  EXPECT_EQ(owner("/w"), "-");

  WFconfig_Entry entry;
  ASSERT_TRUE(WFconfig_GetEntryByShortDesc("Tree", entry));
  EXPECT_STREQ(entry.folder, "/w/tree");
  EXPECT_EQ(entry.next, nullptr);
  EXPECT_FALSE(WFconfig_GetEntryByShortDesc("tree", entry));
}

TEST(WFconfig, SaveWritesFieldsInOrderAndLoadsBack) {
  WFconfig_List list = nullptr;
  WFconfig_Entry* full = WFconfig_CreateComponent();
  Strings_Assign("/s/full", full->folder);
  Strings_Assign("^[^\\.]", full->files);
  Strings_Assign("run.sh", full->cmd);
  Strings_Assign("Runner", full->readableCmd);
  Strings_Assign("-rc:x", full->options);
  Strings_Assign("Full", full->shortDesc);
  full->outs = 2;
  full->multipleFiles = full->sortedSubmit = true;
  Strings_Assign("res", full->precondResource);
  Strings_Assign("pre.sh", full->precondScript);
  full->atOnce = 3;
  full->silence = 9;
  full->user = 100;
  full->group = 0;
  WFconfig_AppendEntry(list, full);
  WFconfig_Entry* bare = WFconfig_CreateComponent();
  Strings_Assign("/s/bare", bare->folder);
  bare->subdirs = false;
  bare->highCPU = true;
  bare->outs = 0;
  bare->icon[0] = bare->stoppedIcon[0] = bare->shortDesc[0] = bare->files[0] = '\0';
  WFconfig_AppendEntry(list, bare);
  ASSERT_TRUE(WFconfig_SaveConfiguration(list));

  // The order of the fields, whatever the file layer's wrapping.
  std::string written = FileText(cfg);
  for (std::size_t wrap; (wrap = written.find("\\\n\t")) != std::string::npos;) written.erase(wrap, 3);
  EXPECT_EQ(written,
            "#Created by Workflow Manager\n"
            "FOLDER=/s/full:SUBDIRS=TRUE:FILES=^[^\\.]:CMD=run.sh:READABLECMD=Runner:OPTIONS=-rc\\:x:"
            "ICON=AutoUDef.pxm:STOPPEDICON=AUDefStp.pxm:SHORTDESC=Full:OUTS=2:CPUUSE=low:MULTIPLEFILES=TRUE:"
            "PRECONDRESOURCE=res:PRECONDSCRIPT=pre.sh:ATONCE=3:SILENCE=9:SORTEDSUBMIT=TRUE:USER=100:GROUP=0\n"
            "FOLDER=/s/bare:OUTS=0\n");

  WFconfig_List loaded = WFconfig_LoadConfiguration();
  ASSERT_EQ(Folders(loaded), (std::vector<std::string>{"/s/full", "/s/bare"}));
  TextStr saved, back;
  WFconfig_EntryToString(*full, saved);
  WFconfig_EntryToString(*loaded, back);
  EXPECT_STREQ(saved, back);
  WFconfig_DestroyList(loaded);

  // A site directory that does not exist: false, the error kept, nothing left.
  ::setenv("TV_CUSTOMER", (site->Path() + "/missing").c_str(), 1);
  EXPECT_FALSE(WFconfig_SaveConfiguration(list));
  EXPECT_EQ(WFconfig_error, 1);
  ::setenv("TV_CUSTOMER", (site->Path() + "/customer").c_str(), 1);
  WFconfig_DestroyList(list);
}

TEST(WFconfig, ComponentsCopiesAndDemonEntries) {
  WFconfig_Entry* blank = WFconfig_CreateComponent();
  Strings_Assign("/d/x", blank->folder);
  Strings_Assign("<jobtickets>", blank->files);
  Strings_Assign("-rc", blank->options);
  blank->atOnce = 2;
  blank->user = 7;
  WFconfig_List list = nullptr;
  WFconfig_AppendEntry(list, blank);
  WFconfig_AppendEntry(list, WFconfig_CreateComponent());
  WFconfig_Entry* copy = WFconfig_CopyComponent(list);
  EXPECT_EQ(copy->next, nullptr);
  EXPECT_STREQ(copy->folder, "/d/x");
  EXPECT_EQ(WFconfig_CopyComponent(nullptr), nullptr);

  EXPECT_EQ(WFconfig_CreateDemonConfigEntry(nullptr), nullptr);
  TVWcfg_Entry* demon = WFconfig_CreateDemonConfigEntry(copy);
  EXPECT_STREQ(demon->filePattern, "<jobtickets>");
  EXPECT_STREQ(demon->omit, TVWcfg_toOmit);
  EXPECT_TRUE(demon->subdirs && !demon->highCpu && demon->atOnce == 2 && demon->uid == 7 && demon->gid == -1);
  TVWcfg_DestroyEntry(demon);
  WFconfig_DestroyComponent(copy);
  WFconfig_DestroyList(list);
  EXPECT_EQ(list, nullptr);
}

TEST(WFconfig, OneStringFormRoundTrip) {
  WFconfig_Entry* entry = WFconfig_CreateComponent();
  Strings_Assign("a:b/c", entry->shortDesc);
  Strings_Assign("/x:y/z\\", entry->folder);
  Strings_Assign("\\.(tif|TIF)$", entry->files);
  Strings_Assign("", entry->icon);
  Strings_Assign("host:/res", entry->precondResource);
  entry->outs = 2;
  entry->group = -5;
  entry->sortedSubmit = true;
  TextStr text;
  WFconfig_EntryToString(*entry, text);
  EXPECT_EQ(std::string(text).rfind("a\\:b\\/c:\\/x\\:y\\/z\\\\:TRUE:", 0), 0u) << text;

  WFconfig_Entry back;
  back.mark = true;
  ASSERT_TRUE(WFconfig_StringToEntry(text, back));
  TextStr again;
  WFconfig_EntryToString(back, again);
  EXPECT_STREQ(text, again);
  EXPECT_STREQ(back.folder, "/x:y/z\\");
  EXPECT_FALSE(back.mark);

  // An empty first field is still a field.
  WFconfig_Entry unnamed = back;
  unnamed.shortDesc[0] = '\0';
  TextStr unnamedText;
  WFconfig_EntryToString(unnamed, unnamedText);
  EXPECT_EQ(unnamedText[0], ':');
  WFconfig_Entry unnamedBack;
  EXPECT_TRUE(WFconfig_StringToEntry(unnamedText, unnamedBack));
  EXPECT_STREQ(unnamedBack.folder, "/x:y/z\\");

  // Too few fields, or a number that is none: false, the entry untouched.
  for (const std::string& bad : {std::string("a:b:c"), std::string(text).replace(std::string(text).find(":2:"), 3, ":two:")}) {
    EXPECT_FALSE(WFconfig_StringToEntry(bad, back)) << bad;
    EXPECT_EQ(WFconfig_error, 2);
    EXPECT_STREQ(back.folder, "/x:y/z\\");
  }
  WFconfig_DestroyComponent(entry);
}

// Whether another process of this host gets the file now.
bool OtherProcessGetsIt() {
  const pid_t child = ::fork();
  if (child == 0) {
    SRM_Disconnect();
    ::_exit(WFconfig_Reserve() ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(WFconfig, ReserveAndReleaseOnTheResourceManager) {
  server = StartRMserver();
  ASSERT_GT(server, 0) << "RMserver did not come up";

  ASSERT_TRUE(WFconfig_Reserve());
  EXPECT_FALSE(OtherProcessGetsIt());
  WFconfig_Release();
  SRM_QueryInUse("settle");  // the release travels without an answer
  EXPECT_TRUE(OtherProcessGetsIt());
  // Its reservation dies with it, once the server has seen its connection
  // close; that news may come a moment after the process has gone.
  bool again = false;
  for (int i = 0; i < 100 && !(again = WFconfig_Reserve()); ++i) Utility_Delay(20);
  EXPECT_TRUE(again);
  WFconfig_Release();
}

}  // namespace
