// The content side without a window: file lists (sorted by bytes, the
// names of ".readyFiles" marked, a directory read again only when it
// changed), a check folder that waits only for images and tickets, the
// pairs of colour and line work, and delete and move on files that are
// gone or whose names are odd, with ".readyFiles" kept in step.
#include "manager/WFstatusContent.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>
#include <ctime>
#include <filesystem>

#include "base/Messages.h"
#include "manager/WFstatus.h"
#include "tests/support/TestFiles.h"
#include "watch/TVWhandled.h"

namespace {

namespace fs = std::filesystem;

// The expressions of images and tickets are made at start.
const bool site = UseBuildTreeSite([] {
  Messages_UseMsgCat("FLOATDECKmsg");
  WFstatus_Init();
});

const std::string kOdd = "job09 'x\"$y\nz.tif";  // blanks, quotes, "$" and a line feed

// A new directory `name` below `tmp`.
std::string Dir(const TempDir& tmp, const std::string& name) {
  fs::create_directories(tmp.Path() + "/" + name);
  return tmp.Path() + "/" + name;
}

std::vector<std::string> Names(const WFstatus_FileList& list) {
  std::vector<std::string> names;
  for (const WFstatus_File& f : list) names.push_back(f.name);
  return names;
}

void Listed(const std::string& dir, const std::vector<std::string>& names) {
  StrVector handled = StrVector_Create();
  for (const std::string& n : names) StrVector_AddElement(handled, n);
  ASSERT_TRUE(TVWhandled_Save(dir, handled));
  StrVector_Destroy(handled);
}

std::vector<std::string> Listed(const std::string& dir) {
  StrVector names = TVWhandled_Load(dir);
  std::vector<std::string> out;
  for (std::size_t i = 0; i < StrVector_ElementCount(names); ++i) out.push_back(StrVector_DynElementAt(names, i).Str());
  StrVector_Destroy(names);
  return out;
}

// The directory's time set back by `seconds`: what is read of it stands.
void Age(const std::string& dir, int seconds = 3600) {
  const timespec old[2] = {{::time(nullptr) - seconds, 0}, {::time(nullptr) - seconds, 0}};
  ::utimensat(AT_FDCWD, dir.c_str(), old, 0);
}

TEST(WFstatusContent, ListsSortedWithTheReadyNamesAndReadsOnlyAChangedDirectory) {
  TempDir tmp;
  const std::string dir = Dir(tmp, "folder");
  WFstatus_FileList list;
  bool fresh = true;
  WFstatus_CreateFileList(dir + "/missing", list, &fresh);
  EXPECT_TRUE(list.empty());
  EXPECT_FALSE(fresh);

  for (const std::string& name : {std::string("b.tif"), std::string("B b.tif"), kOdd, std::string(".hidden")})
    PutFile(dir + "/" + name, "x");
  fs::create_directory(dir + "/sub.tif");
  Listed(dir, {"b.tif", "gone.tif"});
  Age(dir);
  WFstatus_CreateFileList(dir, list, &fresh);
  EXPECT_TRUE(fresh);
  EXPECT_EQ(Names(list), (std::vector<std::string>{"B b.tif", "b.tif", kOdd}));
  EXPECT_FALSE(list[0].listedReady);
  EXPECT_TRUE(list[1].listedReady);

  // Unchanged: taken from the cache, even a file slipped in under the old time.
  struct stat before{};
  ::stat(dir.c_str(), &before);
  PutFile(dir + "/a.tif", "x");
  const timespec same[2] = {before.st_atim, before.st_mtim};
  ::utimensat(AT_FDCWD, dir.c_str(), same, 0);
  WFstatus_CreateFileList(dir, list, &fresh);
  EXPECT_FALSE(fresh);
  EXPECT_EQ(list.size(), 3u);
  // Changed (as a new ".readyFiles" changes it): read again.
  Listed(dir, {"a.tif"});
  WFstatus_CreateFileList(dir, list, &fresh);
  EXPECT_TRUE(fresh);
  ASSERT_EQ(list.size(), 4u);
  EXPECT_EQ(std::string(list[1].name), "a.tif");
  EXPECT_TRUE(list[1].listedReady);
  EXPECT_FALSE(list[2].listedReady);
  // Read just after a change, a list is not trusted: the next call reads
  // again, so a file of the same second is not missed.
  PutFile(dir + "/c.tif", "x");
  WFstatus_CreateFileList(dir, list, &fresh);
  EXPECT_TRUE(fresh);
  WFstatus_CreateFileList(dir, list, &fresh);
  EXPECT_TRUE(fresh);
}

// A check folder waits for images and job tickets, not for what lies
// beside them.
TEST(WFstatusContent, ACheckFolderWaitsOnlyForImagesAndTickets) {
  TempDir tmp;
  const std::string dir = Dir(tmp, "check");
  EXPECT_TRUE(WFstatus_CheckListEmpty(dir + "/missing"));
  PutFile(dir + "/notes.txt", "x");
  PutFile(dir + "/.page1.ct", "x");
  EXPECT_TRUE(WFstatus_CheckListEmpty(dir));
  PutFile(dir + "/page1.lw", "x");
  EXPECT_FALSE(WFstatus_CheckListEmpty(dir));
}

TEST(WFstatusContent, PairsGoByBaseName) {
  EXPECT_EQ(WFstatus_GetBasename("page1-log.pdf"), "page1");
  EXPECT_EQ(WFstatus_GetBasename("page1.ct"), "page1");
  EXPECT_EQ(WFstatus_GetBasename("page.1.lw"), "page.1");
  EXPECT_TRUE(WFstatus_IsCoupledAHF("page1.ct", "page1.lw"));
  EXPECT_TRUE(WFstatus_IsCoupledAHF("page1.lw", "page1.tif"));
  EXPECT_FALSE(WFstatus_IsCoupledAHF("page1.ct", "page2.lw"));
  EXPECT_FALSE(WFstatus_IsCoupledAHF("page1.ct", "page1.tif"));  // two colour images
  EXPECT_FALSE(WFstatus_IsCoupledAHF("page1.lw", "page1.qlf"));  // two line work

  WFstatus_FileList files(3), partners(3);
  const char* const names[] = {"a.ct", "b.ct", "c.ct"};
  const char* const lineWork[] = {"a.lw", "b.lw", "d.lw"};
  for (int i = 0; i < 3; ++i) {
    std::strcpy(files[i].name, names[i]);
    std::strcpy(partners[i].name, lineWork[i]);
  }
  files[1].link.selected = true;
  partners[0].link.selected = true;
  EXPECT_TRUE(WFstatus_SelectPartner(files, partners));
  EXPECT_FALSE(partners[0].link.selected);
  EXPECT_TRUE(partners[1].link.selected);
  EXPECT_FALSE(partners[2].link.selected);
  EXPECT_FALSE(WFstatus_SelectPartner(files, partners));
}

// Delete and move take the names they acted on off ".readyFiles" (and no
// other); a file gone meanwhile is passed over without a failure.
TEST(WFstatusContent, DeleteAndMoveKeepTheReadyListInStep) {
  TempDir tmp;
  const std::string dir = Dir(tmp, "folder"), aside = Dir(tmp, "aside");
  for (const std::string& name : {std::string("a.tif"), std::string("b.tif"), std::string("c.tif"), kOdd})
    PutFile(dir + "/" + name, name);
  Listed(dir, {"a.tif", kOdd, "b.tif", "c.tif", "gone.tif"});
  EXPECT_TRUE(WFstatus_DeleteFiles(dir, {kOdd, "gone.tif"}));
  EXPECT_FALSE(fs::exists(dir + "/" + kOdd));
  EXPECT_EQ(Listed(dir), (std::vector<std::string>{"a.tif", "b.tif", "c.tif", "gone.tif"}));

  PutFile(aside + "/c.tif", "older");
  EXPECT_FALSE(WFstatus_MoveFiles(dir, {"a.tif", "c.tif", "gone.tif"}, aside));  // c.tif is taken there
  EXPECT_EQ(FileText(aside + "/a.tif"), "a.tif");
  EXPECT_EQ(FileText(aside + "/c.tif"), "older");
  EXPECT_EQ(FileText(dir + "/c.tif"), "c.tif");
  EXPECT_EQ(Listed(dir), (std::vector<std::string>{"b.tif", "c.tif", "gone.tif"}));
}

}  // namespace
