#include "workflow/WFtvwCfg.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "tests/support/TestFiles.h"
#include "watch/TVWbase.h"

namespace {

namespace fs = std::filesystem;

const TempDir& Site() {
  static const TempDir site;
  return site;
}
std::string Projects() { return Site().Path() + "/projects"; }

const bool site = UseBuildTreeSite([] {
  for (const char* dir : {"cfg/", "projects/", "customer/", "dat/"}) Site().Make(dir);
  ::setenv("MARLENV", (Site().Path() + "/cfg:" FLOATDECK_BINARY_DIR "/env").c_str(), 1);
  ::setenv("TV_PROJECTS", Projects().c_str(), 1);
  ::setenv("TV_CUSTOMER", (Site().Path() + "/customer").c_str(), 1);
  ::setenv("MARLDAT", (Site().Path() + "/dat").c_str(), 1);
  ::setenv("HOST", "pressroom7", 1);
  WFtvwCfg_Init();
});

std::string CfgFile() { return Site().Path() + "/cfg/tvwatchd.cfg"; }
std::string LockFile() { return CfgFile() + ".LCK"; }

std::string Root(WFfolder_FolderKind kind) {
  char root[kPathCap];
  WFfolder_GetRootDir(kind, root);
  return StrIn(root).Str();
}

std::vector<std::string> Folders(TVWcfg_List list) {
  std::vector<std::string> folders;
  for (TVWcfg_Entry* e = list; e != nullptr; e = e->next) folders.push_back(e->folder);
  return folders;
}

// The file as another process would read it.
std::vector<std::string> FileFolders() {
  TVWcfg_List list = nullptr;
  Messages_Quietly([&] { TVWcfg_LoadConfiguration(false, list); });
  std::vector<std::string> folders = Folders(list);
  TVWcfg_Destroy(list);
  return folders;
}

std::vector<unsigned> messages;

struct Folder {
  Folder(WFfolder_FolderKind kind, const std::string& path) : handle(WFfolder_Create(kind, path, SAutoRcF_Create())) {}
  ~Folder() { WFfolder_Destroy(handle); }
  WFfolder handle;
};

// A folder kind whose module is watched as one tree and that may have a
// subentry: the sort module's.
WFfolder_FolderKind TreeKind() { return WFfolder_ModuleToFolderKind(WFmodule_ModuleKindByName("Sort")); }

class WFtvwCfgTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove(CfgFile());
    fs::remove(LockFile());
    WFtvwCfg_Reset();
    messages.clear();
    WFtvwCfg_RegisterMessageProc([](StrIn, unsigned number, StrIn) { messages.push_back(number); });
  }
  void TearDown() override {
    WFtvwCfg_RegisterMessageProc(nullptr);
    WFtvwCfg_RegisterStartFoldersProc(nullptr);
    EXPECT_FALSE(fs::exists(LockFile()));
    EXPECT_EQ(Messages_IgnoreLevel(), 0u);
  }
  // A file holding the tree entry of TreeKind(), at version 1.
  void WriteTree(const std::string& omit = "") {
    PutFile(CfgFile(), "VERSION=1\nFOLDER=" + Root(TreeKind()) + ":SUBDIRS=TRUE:OMIT=" + omit +
                           ":FILES=<images>:CMD=autorenm.sh\n");
  }
};

TEST_F(WFtvwCfgTest, OmitListsAndStandardNames) {
  EXPECT_TRUE(WFtvwCfg_MyOmitDir("outdir,error", "error"));
  EXPECT_FALSE(WFtvwCfg_MyOmitDir("outdir,error", "err"));
  EXPECT_TRUE(WFtvwCfg_MyOmitDir("tmp*,x", "tmp12"));
  EXPECT_FALSE(WFtvwCfg_MyOmitDir("", "anything"));
  EXPECT_TRUE(WFtvwCfg_NoHotfolder(".hidden"));
  EXPECT_TRUE(WFtvwCfg_NoHotfolder("Temporary Items"));
  EXPECT_FALSE(WFtvwCfg_NoHotfolder("Temporary"));
  EXPECT_FALSE(WFtvwCfg_NoHotfolder("jobs"));

  TVWcfg_Entry* e = TVWcfg_CreateEntry();
  Strings_Assign("/p/tree", e->folder);
  Strings_Assign("a,b,a,ab", e->omit);
  EXPECT_TRUE(WFtvwCfg_DeleteInOmit(*e, "a"));
  EXPECT_STREQ(e->omit, "b,ab");
  EXPECT_FALSE(WFtvwCfg_DeleteInOmit(*e, "c"));
  Strings_Assign(Root(kWFfolderStart), e->folder);
  Strings_Assign("outdir,error", e->omit);
  EXPECT_FALSE(WFtvwCfg_DeleteInOmit(*e, "outdir"));
  EXPECT_STREQ(e->omit, "outdir,error");
  EXPECT_TRUE(WFtvwCfg_DeleteInOmit(*e, "error"));
  EXPECT_STREQ(e->omit, "outdir");
  TVWcfg_DestroyEntry(e);
}

TEST_F(WFtvwCfgTest, LookupWithAndWithoutParent) {
  TVWcfg_List list = nullptr;
  TVWcfg_Entry* own = TVWcfg_CreateEntry();
  Strings_Assign("/r/a/own", own->folder);
  TVWcfg_Entry* tree = TVWcfg_CreateEntry();
  Strings_Assign("/r", tree->folder);
  Strings_Assign("skip,tmp*", tree->omit);
  tree->subdirs = true;
  TVWcfg_AppendEntry(list, own);
  TVWcfg_AppendEntry(list, tree);

  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r/a/own", false), own);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r/a/own", true), tree);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r/a/b", false), tree);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r/skip", false), nullptr);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r/tmp3", false), nullptr);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r/skip", true), tree);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r", false), tree);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/r", true), nullptr);
  EXPECT_EQ(WFtvwCfg_MyGetEntry(list, "/rx/a", false), nullptr);
  TVWcfg_Destroy(list);
}

TEST_F(WFtvwCfgTest, FilePatternsOfSubentries) {
  char files[kTextCap], omit[kTextCap];
  WFtvwCfg_BuildFilesRegExpr(false, true, false, files);
  EXPECT_STREQ(files, "<images>|<jobtickets>");
  WFtvwCfg_BuildFilesRegExpr(true, false, false, files);
  EXPECT_STREQ(files, "<images+Finalpage>");
  WFtvwCfg_BuildFilesRegExpr(true, true, true, files);
  EXPECT_STREQ(files, "<jobtickets>");
  Folder check(kWFfolderCheck, Root(kWFfolderCheck) + "/c");
  WFtvwCfg_GetFileRegExpr(check.handle, true, false, files, omit);
  EXPECT_STREQ(files, "<images+Finalpage>|\\.txt$");
  WFtvwCfg_GetFileRegExpr(check.handle, false, true, files, omit);
  EXPECT_STREQ(files, "<jobtickets>|\\.txt$|\\-log\\.pdf$");
  EXPECT_STREQ(omit, "");
}

TEST_F(WFtvwCfgTest, AddingTwoFoldersPutsTheLaterFirst) {
  Folder a(kWFfolderStart, Root(kWFfolderStart) + "/alpha");
  Folder b(kWFfolderStart, Root(kWFfolderStart) + "/beta");
  ASSERT_TRUE(WFtvwCfg_Add(a.handle));
  ASSERT_TRUE(WFtvwCfg_Add(b.handle));
  EXPECT_EQ(FileFolders(), (std::vector<std::string>{Root(kWFfolderStart) + "/beta", Root(kWFfolderStart) + "/alpha"}));
  // A folder inside a watched tree is watched already; the file stays.
  WriteTree();
  const std::string before = FileText(CfgFile());
  Folder inner(TreeKind(), Root(TreeKind()) + "/in");
  EXPECT_TRUE(WFtvwCfg_Add(inner.handle));
  EXPECT_EQ(FileText(CfgFile()), before);
  EXPECT_FALSE(WFtvwCfg_Add(WFfolder_Nil()));
}

TEST_F(WFtvwCfgTest, ReloadFollowsTheFile) {
  WriteTree();
  ASSERT_NE(WFtvwCfg_GetEntry(Root(TreeKind()) + "/x"), nullptr);
  WFtvwCfg_CfgFileID id;
  WFtvwCfg_GetCfgFileID(id);
  EXPECT_GT(id.mtime, 0);
  // Same second, same size, another process: not noticed.
  const auto written = fs::last_write_time(CfgFile());
  std::string other = FileText(CfgFile());
  other.replace(other.find("autorenm"), 8, "autorenx");
  PutFile(CfgFile(), other);
  fs::last_write_time(CfgFile(), written);
  EXPECT_STREQ(WFtvwCfg_GetList()->cmd, "autorenm.sh");
  // Gone: the list empties; back: it is loaded again.
  fs::remove(CfgFile());
  EXPECT_EQ(WFtvwCfg_GetList(), nullptr);
  WFtvwCfg_GetCfgFileID(id);
  EXPECT_EQ(id.mtime, -1);
  PutFile(CfgFile(), other);
  ASSERT_NE(WFtvwCfg_GetList(), nullptr);
  EXPECT_STREQ(WFtvwCfg_GetList()->cmd, "autorenx.sh");
}

TEST_F(WFtvwCfgTest, SubentryDecisionTable) {
  WriteTree("keep");
  const std::string tree = Root(TreeKind()), path = tree + "/late";
  Folder folder(TreeKind(), path);
  ASSERT_FALSE(WFtvwCfg_SubentryImpossible(folder.handle));

  // No own entry, not needed: nothing.
  EXPECT_TRUE(WFtvwCfg_UpdateSubentry(folder.handle));
  EXPECT_EQ(FileFolders(), std::vector<std::string>{tree});

  // Needed: split off at the head, the name omitted once, also when asked twice.
  WFfolder_SetFinalpageMode(folder.handle, true);
  ASSERT_TRUE(WFtvwCfg_UpdateSubentry(folder.handle) && WFtvwCfg_UpdateSubentry(folder.handle));
  EXPECT_EQ(FileFolders(), (std::vector<std::string>{path, tree}));
  EXPECT_STREQ(WFtvwCfg_GetParentEntry(path)->omit, "keep,late");
  TVWcfg_Entry* own = WFtvwCfg_GetEntry(path);
  ASSERT_NE(own, nullptr);
  EXPECT_FALSE(own->subdirs);
  EXPECT_STREQ(own->files, "<images+Finalpage>");
  EXPECT_STREQ(own->cmd, "autorenm.sh");

  // Still needed, other modes: the patterns follow.
  WFfolder_SetJobticketMode(folder.handle, true);
  ASSERT_TRUE(WFtvwCfg_UpdateSubentry(folder.handle));
  EXPECT_STREQ(WFtvwCfg_GetEntry(path)->files, "<jobtickets>");

  // No longer needed: the tree takes the folder back.
  WFfolder_SetFinalpageMode(folder.handle, false);
  WFfolder_SetJobticketMode(folder.handle, false);
  ASSERT_TRUE(WFtvwCfg_UpdateSubentry(folder.handle));
  EXPECT_EQ(FileFolders(), std::vector<std::string>{tree});
  EXPECT_STREQ(WFtvwCfg_GetEntry(tree)->omit, "keep");
  EXPECT_EQ(WFtvwCfg_GetEntry(path), WFtvwCfg_GetEntry(tree));

  // Delete the subentry: entry gone, name out of the omit list.
  WFfolder_SetFinalpageMode(folder.handle, true);
  ASSERT_TRUE(WFtvwCfg_UpdateSubentry(folder.handle));
  ASSERT_TRUE(WFtvwCfg_DeleteSubentry(folder.handle));
  EXPECT_EQ(FileFolders(), std::vector<std::string>{tree});
  EXPECT_STREQ(WFtvwCfg_GetEntry(tree)->omit, "keep");

  // Neither own nor parent: the folder's own entry is added.
  Folder start(kWFfolderStart, Root(kWFfolderStart) + "/wf");
  EXPECT_TRUE(WFtvwCfg_SubentryImpossible(start.handle));
  Folder loose(TreeKind(), Projects() + "/elsewhere/x");
  fs::remove(CfgFile());
  ASSERT_TRUE(WFtvwCfg_UpdateSubentry(loose.handle));
  EXPECT_EQ(FileFolders().size(), 1u);
  EXPECT_TRUE(messages.empty());
}

// --- Telling the demon ---------------------------------------------------------------

// What the demon saw: one entry per signal, whether the lock was held then.
std::vector<bool> signalsSeen;

void OnReload(int) { signalsSeen.push_back(fs::exists(LockFile())); }

// Runs inside a process that calls itself "TVWatchD" (see the test below):
// it publishes itself as the demon and watches its own signals.
TEST_F(WFtvwCfgTest, DISABLED_AsDemon) {
  PutFile(Projects() + "/.tvwatchd.info", std::to_string(::getpid()) + "\n-1\n");
  Processe_InstallSignalHandler(TVWbase_sigUsr1, OnReload);
  Folder a(kWFfolderStart, Root(kWFfolderStart) + "/alpha");
  Folder b(kWFfolderStart, Root(kWFfolderStart) + "/beta");

  // A successful save: told once, after the lock was given back.
  ASSERT_TRUE(WFtvwCfg_Add(a.handle));
  EXPECT_EQ(signalsSeen, std::vector<bool>{false});

  // A failed save: the file can't be replaced, nobody is told.
  const std::string temporary = CfgFile() + "." + std::to_string(::getpid());
  fs::create_directory(temporary);
  EXPECT_FALSE(WFtvwCfg_Add(b.handle));
  EXPECT_EQ(signalsSeen.size(), 1u);
  fs::remove(temporary);

  // Nothing to change: nothing saved, nobody told.
  EXPECT_TRUE(WFtvwCfg_Add(a.handle));
  const std::size_t told = signalsSeen.size();
  EXPECT_EQ(told, 1u);
  Folder none(TreeKind(), Root(TreeKind()) + "/n");

  // The lock held by a live process: message 3, no change, nobody told.
  PutFile(LockFile(), std::to_string(::getppid()) + "\n");
  EXPECT_FALSE(WFtvwCfg_Add(b.handle));
  EXPECT_FALSE(WFtvwCfg_UpdateSubentry(none.handle));
  EXPECT_EQ(messages, std::vector<unsigned>{3});
  EXPECT_EQ(signalsSeen.size(), told);
  fs::remove(LockFile());
  EXPECT_EQ(FileFolders(), std::vector<std::string>{Root(kWFfolderStart) + "/alpha"});
  fs::remove(Projects() + "/.tvwatchd.info");
}

TEST_F(WFtvwCfgTest, DemonIsToldOnlyAfterASuccessfulSave) {
  // The child must carry the demon's name in its command line: exec it by hand.
  const int pid = ::fork();
  if (pid == 0) {
    const char* args[] = {"/opt/bin/TVWatchD", "--gtest_also_run_disabled_tests",
                          "--gtest_filter=*DISABLED_AsDemon", nullptr};
    ::execv("/proc/self/exe", const_cast<char* const*>(args));
    ::_exit(127);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
