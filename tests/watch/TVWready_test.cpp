// The ready-file list: handed to a stand-in demon (a process that a
// "SIGUSR2" ends, so the test sees that the signal came), taken by the
// demon's side, and its lock.
#include "watch/TVWready.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/TestFiles.h"
#include "tests/watch/FakeDemon.h"
#include "watch/TVWbase.h"

namespace {

class TVWready : public ::testing::Test {
 protected:
  TempDir site;
  std::string dat = site.Path() + "/dat";
  void SetUp() override {
    UsePrivateSite(site.Path());
    TVWbase_Reset();
  }
  TVWready_FileList List(const std::vector<std::string>& paths) {
    TVWready_FileList list = TVWready_CreateFileList();
    for (const std::string& p : paths) TVWready_AddFile(list, p);
    return list;
  }
  std::vector<std::string> Taken() {
    TVWready_FileList list = nullptr;
    TVWready_GetReadyFiles(list);
    std::vector<std::string> paths;
    PathStr path;
    for (bool more = TVWready_GetFirstFile(list, path); more; more = TVWready_GetNextFile(list, path))
      paths.push_back(StrIn(path).Str());
    TVWready_DestroyFileList(list);
    return paths;
  }
};

int DeadProcess() {
  const int pid = ::fork();
  if (pid == 0) ::_exit(0);
  ::waitpid(pid, nullptr, 0);
  return pid;
}

}  // namespace

TEST_F(TVWready, TheListReachesTheDemonAndIsTakenOnce) {
  TVWready_FileList list = List({"/hot folder/a b.tif", "/hot folder/c.tif"});
  EXPECT_FALSE(TVWready_SendReadyFiles(list)) << "no demon runs";
  EXPECT_FALSE(std::filesystem::exists(dat + "/" + TVWready_listName));
  EXPECT_TRUE(TVWready_SendReadyFiles(TVWready_NilFileList()));
  {
    FakeDemon demon;
    TVWbase_Reset();
    ASSERT_TRUE(TVWready_SendReadyFiles(list));
    EXPECT_EQ(demon.Await(), SIGUSR2);
  }
  EXPECT_EQ(FileText(dat + "/" + TVWready_listName), "/hot folder/a b.tif\n/hot folder/c.tif\n");
  EXPECT_FALSE(std::filesystem::exists(dat + "/" + TVWready_lockName));
  EXPECT_EQ(Taken(), (std::vector<std::string>{"/hot folder/a b.tif", "/hot folder/c.tif"}));
  EXPECT_TRUE(Taken().empty()) << "the list is taken once";
  TVWready_DestroyFileList(list);
}

TEST_F(TVWready, FilesDeclaredReadyLandInTheirTargetDirectory) {
  FakeDemon demon;
  TVWbase_Reset();
  TVWready_FileList list = List({"/made/here/one.tif", "two.tif"});
  ASSERT_TRUE(TVWready_InformFilesReady(list, "/next folder"));
  TVWready_DestroyFileList(list);
  EXPECT_EQ(Taken(), (std::vector<std::string>{"/next folder/one.tif", "/next folder/two.tif"}));
}

TEST_F(TVWready, ALockIsTakenOverFromTheDeadOnly) {
  const std::string lock = dat + "/" + TVWready_lockName;
  PutFile(lock, std::to_string(DeadProcess()) + "\n");
  ASSERT_TRUE(TVWready_Lock(dat));
  EXPECT_EQ(FileText(lock), std::to_string(::getpid()) + "\n");
  TVWready_UnLock(dat);
  EXPECT_FALSE(std::filesystem::exists(lock));

  FakeDemon live;  // a process of this user that lives
  PutFile(lock, std::to_string(live.Pid()) + "\n");
  EXPECT_FALSE(TVWready_Lock(dat));
  EXPECT_EQ(FileText(lock), std::to_string(live.Pid()) + "\n");
}
