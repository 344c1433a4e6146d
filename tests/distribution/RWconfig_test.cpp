// The remote watch configuration: the file as written and read back, the
// empty configuration that removes it, targets that name nobody, hot folders
// of a target kept or replaced, two editors saving at once, and failures
// told as text.
#include "distribution/RWconfig.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  ::setenv("PATH", "/usr/bin:/bin", 1);
  RWconfig_Init();
});

std::string File() { return site->Path() + "/customer/RemoteWatchDaemon.cfg"; }

RWconfig_Hotfolder Hotfolder(const std::string& server, const std::string& remote, const std::string& local) {
  RWconfig_Hotfolder h;
  Strings_Assign(server, h.serverName);
  Strings_Assign(remote, h.remoteSourceDirectory);
  Strings_Assign(local, h.localTargetDirectory);
  return h;
}

class RWconfigTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::remove(File()); }
  void TearDown() override { RWconfig_Destroy(config); }

  RWconfig Load() {
    RWconfig loaded = nullptr;
    TextStr error;
    EXPECT_TRUE(RWconfig_Load(loaded, error)) << error;
    return loaded;
  }
  // Sets the hot folders of workflow `name` and saves.
  void SetWorkflow(RWconfig c, const std::string& name, std::vector<RWconfig_Hotfolder> hotfolders) {
    RWconfig_TargetID target = RWconfig_CreateTargetID(RWconfig_workflowTarget, name);
    RWconfig_HotfolderVector vector = RWconfig_CreateHotfolderVector(16);
    for (const auto& h : hotfolders) RWconfig_AddHotfolder(vector, h);
    RWconfig_SetTargetHotfolder(c, target, vector);
    RWconfig_DestroyHotfolderVector(vector);
    RWconfig_DestroyTargetID(target);
    TextStr error;
    EXPECT_TRUE(RWconfig_Save(c, error)) << error;
  }

  RWconfig config = nullptr;
};

std::vector<std::string> Keys(RWconfig c) {
  std::vector<std::string> keys;
  RWconfig_Hotfolder h;
  for (bool more = RWconfig_IterateHotfolder(c, true, h); more; more = RWconfig_IterateHotfolder(c, false, h)) {
    NameStr key;
    RWconfig_GetHotfolderKey(h, key);
    keys.emplace_back(key);
  }
  return keys;
}

}  // namespace

TEST_F(RWconfigTest, TheFileHoldsSettingsServersAndHotfoldersAndAnEmptyOneIsRemoved) {
  config = Load();
  EXPECT_FALSE(RWconfig_IsModified(config));
  RWbase_GlobalSettings settings;
  Strings_Assign("proxy.site", settings.proxyHost);
  settings.timeout = 30;
  RWconfig_SetGlobalSettings(config, settings);
  RWbase_Server server;
  Strings_Assign("ftp1", server.name);
  Strings_Assign("ftp.example", server.hostname);
  Strings_Assign("pa\"ss", server.password);
  RWconfig_AddOrReplaceServer(config, server);
  SetWorkflow(config, "wf", {Hotfolder("ftp1", "/in", "/p/workflow/wf")});
  EXPECT_FALSE(RWconfig_IsModified(config));
  EXPECT_EQ(FileText(File()).rfind(
                "PROXY_HOST = \"proxy.site\";\nPROXY_PORT = 80;\nTIMEOUT = 30;\nWATCH_INTERVAL = 180;\n"
                "SERVER = {\n  NAME = \"ftp1\";\n  PROTOCOL = ftp;\n  NO_PROXY = false;\n", 0),
            0u);
  EXPECT_EQ((fs::status(File()).permissions() & fs::perms::all), fs::perms(0666));

  RWconfig again = Load();
  RWbase_Server read;
  ASSERT_TRUE(RWconfig_GetServer(again, "ftp1", read));
  EXPECT_TRUE(RWbase_EqualServers(read, server));
  RWconfig_GetGlobalSettings(again, settings);
  EXPECT_EQ(settings.timeout, 30);
  EXPECT_EQ(Keys(again), std::vector<std::string>{"ftp1:/in-->workflow:wf"});
  EXPECT_TRUE(RWconfig_IsServerUsed(again, "ftp1"));
  RWconfig_Destroy(again);

  // Everything taken out, the settings back to their defaults: no file.
  SetWorkflow(config, "wf", {});
  EXPECT_TRUE(fs::exists(File()));
  EXPECT_TRUE(RWconfig_RemoveServer(config, "ftp1"));
  RWconfig_SetGlobalSettings(config, RWbase_GlobalSettings{});
  TextStr error;
  EXPECT_TRUE(RWconfig_Save(config, error)) << error;
  EXPECT_FALSE(fs::exists(File()));
}

TEST_F(RWconfigTest, HotfoldersOfATargetAreReplacedOnlyWhereTheyChange) {
  config = Load();
  SetWorkflow(config, "other", {Hotfolder("a", "/1", "/o")});
  SetWorkflow(config, "wf", {Hotfolder("a", "/1", "/l"), Hotfolder("b", "/2", "/l")});
  const auto ids = [&] {
    std::vector<std::string> all;
    RWconfig_Hotfolder h;
    for (bool more = RWconfig_IterateHotfolder(config, true, h); more; more = RWconfig_IterateHotfolder(config, false, h)) {
      all.emplace_back(h.id);
    }
    return all;
  };
  const std::vector<std::string> before = ids();
  EXPECT_NE(before[1], before[2]);
  // The same again: nothing to save, the ids stay.
  SetWorkflow(config, "wf", {Hotfolder("a", "/1", "/l"), Hotfolder("b", "/2", "/l")});
  EXPECT_EQ(ids(), before);
  // One changed, one gone, one new; the other workflow's stays.
  RWconfig_Hotfolder changed = Hotfolder("a", "/1", "/l");
  changed.deleteSourceFilesAfterCopy = true;
  SetWorkflow(config, "wf", {changed, Hotfolder("c", "/3", "/l")});
  EXPECT_EQ(Keys(config), (std::vector<std::string>{"a:/1-->workflow:other", "a:/1-->workflow:wf",
                                                    "c:/3-->workflow:wf"}));
  EXPECT_EQ(ids()[0], before[0]);
  EXPECT_NE(ids()[1], before[1]);
}

TEST_F(RWconfigTest, TwoEditorsSavingAtOnceKeepBothHotfolders) {
  PutFile(File(), "WATCH_INTERVAL = 60;\n");
  std::vector<pid_t> children;
  for (const char* name : {"one", "two", "three"}) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      RWconfig c = nullptr;
      TextStr error;
      bool ok = RWconfig_Load(c, error);
      ::usleep(100000);  // all have read the same file before anyone saves
      RWconfig_TargetID target = RWconfig_CreateTargetID(RWconfig_workflowTarget, StrIn::C(name));
      RWconfig_HotfolderVector vector = RWconfig_CreateHotfolderVector(1);
      RWconfig_AddHotfolder(vector, Hotfolder("ftp", "/in", name));
      RWconfig_SetTargetHotfolder(c, target, vector);
      ok = ok && RWconfig_Save(c, error);
      ::_exit(ok ? 0 : 1);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  config = Load();
  EXPECT_EQ(Keys(config), (std::vector<std::string>{"ftp:/in-->workflow:one", "ftp:/in-->workflow:three",
                                                    "ftp:/in-->workflow:two"}));
  RWbase_GlobalSettings settings;
  RWconfig_GetGlobalSettings(config, settings);
  EXPECT_EQ(settings.watchInterval, 60);
}

TEST_F(RWconfigTest, ReadingDropsTargetsOfNobodyAndTellsWhatIsWrong) {
  PutFile(File(),
          "NEWER_KEY = { A = 1; };\n"
          "HOTFOLDER = {\n  SERVER_NAME = \"s\";\n  TARGETID = {\n    KIND = workflow;\n    NAME = \"\";\n  };\n};\n");
  config = Load();
  ASSERT_EQ(Keys(config), std::vector<std::string>{"s:-->unknown:"});
  RWconfig_Hotfolder h;
  RWconfig_IterateHotfolder(config, true, h);
  EXPECT_STREQ(h.fileRegularExpression, RWconfig_defaultExpression);

  PutFile(File(), "TIMEOUT = 10;\n\nSERVER = {\n  NAME = 7;\n};\n");
  RWconfig bad = nullptr;
  TextStr error;
  EXPECT_FALSE(RWconfig_Load(bad, error));
  EXPECT_EQ(bad, nullptr);
  EXPECT_NE(std::string(error).find(File() + " has an error in line 4"), std::string::npos) << error;
  // The object keeps what it read; the file stays as it is.
  EXPECT_FALSE(RWconfig_Reload(config, error));
  RWbase_Server server;
  Strings_Assign("x", server.name);
  RWconfig_AddOrReplaceServer(config, server);
  EXPECT_FALSE(RWconfig_Save(config, error));
  EXPECT_EQ(FileText(File()), "TIMEOUT = 10;\n\nSERVER = {\n  NAME = 7;\n};\n");

  PutFile(site->Path() + "/customer/.RemoteWatchDaemon.lck", std::to_string(::getppid()) + "\n");
  EXPECT_FALSE(RWconfig_Save(config, error));
  EXPECT_NE(std::string(error).find(".RemoteWatchDaemon.lck of the remote watch configuration was not obtained"), std::string::npos) << error;
  fs::remove(site->Path() + "/customer/.RemoteWatchDaemon.lck");
  TextStr none;
  EXPECT_FALSE(RWconfig_Save(nullptr, none));
}
