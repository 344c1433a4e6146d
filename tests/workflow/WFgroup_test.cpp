// Groups of workflows: the file's form, the dialog's changes, the workflow
// lists by group, and several processes changing the file at once.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/TestFiles.h"
#include "workflow/WFbase.h"
#include "workflow/WFgroup.h"

namespace {

TempDir*& site = UsePrivateSiteForTests(WFgroup_Init);

std::string File() { return site->Path() + "/customer/floatdeck.groups"; }

std::string GroupOf(const std::string& workflow) {
  NameStr group;
  WFgroup_GetGroup(workflow, group);
  return group;
}

std::vector<std::string> Names(WFgroup_List list) {
  std::vector<std::string> names;
  for (WFgroup_Group* group = WFgroup_GetFirstGroup(list); group != nullptr; group = group->next) {
    names.push_back(group->name + std::string("/") + std::to_string(group->count));
  }
  return names;
}

std::vector<std::string> Listed(const std::string& group) {
  std::vector<std::string> names;
  WFbase_WfList list = WFbase_GetAllWorkflows(group);
  for (WFbase_WfList entry = list; entry != nullptr; entry = entry->next) names.push_back(entry->name);
  WFbase_DestroyWfList(list);
  return names;
}

// Runs `body` in a child process; its exit status.
template <class Body>
pid_t Child(Body body) {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(body() ? 0 : 1);
  return pid;
}

int Wait(pid_t pid) {
  int status = -1;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class WFgroupTest : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::remove(File()); }
};

}  // namespace

TEST_F(WFgroupTest, EscapedNamesSurviveTheFileAndEachWorkflowHasOneGroup) {
  PutFile(File(), "b\\:x:w\\,1,w\\\\2\n:lost\na\\nz:\nb\\:x:w3\n");
  EXPECT_TRUE(WFgroup_Active());
  WFgroup_List list = WFgroup_LoadGroupList();
  EXPECT_EQ(Names(list), (std::vector<std::string>{"a\nz/0", "b:x/3"}));  // sorted, the twice-named once
  WFgroup_DestroyGroupList(list);
  EXPECT_EQ(GroupOf("w,1"), "b:x");
  EXPECT_EQ(GroupOf("w\\2"), "b:x");
  EXPECT_EQ(GroupOf("lost"), "");

  // Moving a workflow takes it out of its old group; an unknown group
  // takes it out of any.
  EXPECT_TRUE(WFgroup_SetGroup("w3", "a\nz"));
  EXPECT_TRUE(WFgroup_SetGroup("w,1", "nosuch"));
  EXPECT_EQ(FileText(File()), "a\\nz:w3\nb\\:x:w\\\\2\n");
  EXPECT_EQ(GroupOf("w,1"), "");

  // A new group goes in front until the next read sorts it.
  EXPECT_TRUE(WFgroup_AssertGroup("0 first"));
  EXPECT_TRUE(WFgroup_AssertGroup(""));
  EXPECT_EQ(FileText(File()).substr(0, 8), "0 first:");
  EXPECT_EQ(std::filesystem::status(File()).permissions(), std::filesystem::perms(0666));
}

TEST_F(WFgroupTest, TheDialogRenamesAndDeletesGroups) {
  PutFile(File(), "old:a,b\ngone:c\nkept:d\n");
  WFgroup_List list = WFgroup_LoadGroupList();
  Strings_Assign("new", WFgroup_GetGroupByName(list, "old")->name);
  WFgroup_GetGroupByName(list, "gone")->selected = true;
  WFgroup_DeleteAllSelected(list);
  // Meanwhile another user moves a workflow: a save builds on it.
  PutFile(File(), "old:a,b,e\ngone:c\nkept:d\n");
  ASSERT_TRUE(WFgroup_SaveGroupList(list));
  EXPECT_STREQ(WFgroup_GetGroupByName(list, "new")->oldName, "new");
  WFgroup_DestroyGroupList(list);
  EXPECT_EQ(GroupOf("a"), "new");
  EXPECT_EQ(GroupOf("e"), "new");
  EXPECT_EQ(GroupOf("c"), "");
  EXPECT_EQ(GroupOf("d"), "kept");
}

TEST_F(WFgroupTest, WorkflowListsFollowTheGroups) {
  for (const char* name : {"w1", "w2", "w3"}) site->Make(std::string("projects/workflow/") + name + "/outdir");
  PutFile(File(), "g:w2,w3\nh:\n");
  EXPECT_EQ(Listed(""), (std::vector<std::string>{"w1", "w2", "w3"}));
  EXPECT_EQ(Listed("g"), (std::vector<std::string>{"w2", "w3"}));
  EXPECT_EQ(Listed(WFbase_withoutGroup), std::vector<std::string>{"w1"});
  EXPECT_TRUE(Listed("h").empty());
}

TEST_F(WFgroupTest, ProcessesChangingAtOnceLoseNoChange) {
  WFgroup_AssertGroup("g");
  std::vector<pid_t> children;
  for (int writer = 0; writer < 3; ++writer) {
    children.push_back(Child([writer] {
      bool ok = true;
      for (int n = 0; n < 20; ++n) ok = WFgroup_SetGroup("w" + std::to_string(writer) + "_" + std::to_string(n), "g") && ok;
      return ok;
    }));
  }
  for (pid_t pid : children) EXPECT_EQ(Wait(pid), 0);
  WFgroup_List list = WFgroup_LoadGroupList();
  EXPECT_EQ(Names(list), std::vector<std::string>{"g/60"});
  WFgroup_DestroyGroupList(list);
}

TEST_F(WFgroupTest, AFileHeldByAnotherRefusesTheChange) {
  WFgroup_AssertGroup("g");
  int locked[2], release[2];
  ASSERT_EQ(::pipe(locked), 0);
  ASSERT_EQ(::pipe(release), 0);
  const pid_t holder = Child([&] {
    int file = WFgroup_OpenAndLock(false);
    char signal = file >= 0 ? 'y' : 'n';
    const bool told = ::write(locked[1], &signal, 1) == 1;
    const bool released = ::read(release[0], &signal, 1) == 1;
    WFgroup_CloseAndUnlock(file);
    return told && released;
  });
  char answer = 0;
  ASSERT_EQ(::read(locked[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  WFgroup_List list = WFgroup_LoadGroupList();
  WFgroup_InsertGroup(list, "h");
  EXPECT_FALSE(WFgroup_SaveGroupList(list));
  EXPECT_FALSE(WFgroup_SetGroup("w", "g"));
  ASSERT_EQ(::write(release[1], "x", 1), 1);
  EXPECT_EQ(Wait(holder), 0);
  EXPECT_TRUE(WFgroup_SaveGroupList(list));
  WFgroup_DestroyGroupList(list);
  for (int fd : {locked[0], locked[1], release[0], release[1]}) ::close(fd);
}
