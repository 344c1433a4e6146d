#include "base/DirAcces.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>

#include "base/Argument.h"
#include "base/Messages.h"
#include "tests/support/TestFiles.h"

namespace {

std::string Join(const char* head, const char* tail) {
  char result[kPathCap];
  DirAcces_IncludePath(StrIn::C(head), StrIn::C(tail), result);
  return result;
}

std::string Env(const char* name) {
  char value[kTextCap];
  DirAcces_EnvVar(StrIn::C(name), value);
  return value;
}

}  // namespace

TEST(DirAccesPaths, IncludePathPutsExactlyOneSlash) {
  for (const auto& [head, tail] : {std::pair{"a/", "/b"}, {"a ", "b"}, {"a", "/b"}}) EXPECT_EQ(Join(head, tail), "a/b");
  EXPECT_EQ(Join("", "b"), "b");
  EXPECT_EQ(Join("", "/b"), "/b");
  EXPECT_EQ(Join("/", "b"), "/b");
}

TEST(DirAccesPaths, ListsAreTakenApartElementByElement) {
  char list[kTextCap] = "/one::/three", element[kPathCap];
  std::vector<std::string> seen;
  while (DirAcces_GetPath(list, element)) seen.push_back(element);
  EXPECT_EQ(seen, (std::vector<std::string>{"/one", "", "/three"}));
  ::setenv("TV_PROJECTS", "/first:/second", 1);
  DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, "workflow", element);
  EXPECT_STREQ(element, "/first/workflow");
  DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, "", element);  // the element itself
  EXPECT_STREQ(element, "/first");
}

TEST(DirAccesEnvironment, ComputedDefaultsAreStoredForChildren) {
  TempDir dist;
  const std::string program = dist.Make("bin/prog");
  ::mkdir((dist.Path() + "/dat").c_str(), 0777);
  WriteBytes(program, {'#', '!', '\n'});
  ::chmod(program.c_str(), 0755);
  const char* argv[] = {program.c_str()};
  Argument_Init(1, argv);
  for (const char* name : {"MARLLIB", "MARLENV", "TV_CUSTOMER", "TV_NODE", "MARLDAT", "TAVRIN_DISTRIBUTION"})
    ::unsetenv(name);

  EXPECT_EQ(Env("MARLLIB"), dist.Path());
  EXPECT_STREQ(::getenv("TAVRIN_DISTRIBUTION"), dist.Path().c_str());
  const std::string customer = Env("TV_CUSTOMER");
  EXPECT_TRUE(customer == "/etc/opt/tavrin" || customer == "/opt/tavrin/customer" || customer == "/customer");
  EXPECT_EQ(Env("MARLENV"), customer + ":" + dist.Path() + "/env");
  EXPECT_EQ(Env("TV_NODE"), customer);
  EXPECT_STREQ(::getenv("MARLENV"), (customer + ":" + dist.Path() + "/env").c_str());
  EXPECT_EQ(Env("NOT_A_SPECIAL_VARIABLE"), "");
  EXPECT_EQ(::getenv("NOT_A_SPECIAL_VARIABLE"), nullptr);

  ::setenv("MARLENV", "/set/by/user", 1);  // a set variable is taken as it stands
  EXPECT_EQ(Env("MARLENV"), "/set/by/user");
  for (const char* name : {"MARLLIB", "MARLENV", "TV_CUSTOMER", "TV_NODE"}) ::unsetenv(name);
}

TEST(DirAccesEnvironment, UnwritableMarldatEndsTheProcess) {
  EXPECT_EXIT(
      {
        ::setenv("MARLDAT", "/nonexistent/dat:/tmp", 1);
        char value[kTextCap];
        DirAcces_EnvVar("MARLDAT", value);
      },
      ::testing::ExitedWithCode(1), "\\*\\*\\* Fatal: Can't write to directory \\$MARLDAT==/nonexistent/dat:/tmp");
}

TEST(DirAccesLookup, PathLookupSearchesTheListAndReportsFailure) {
  TempDir a, b, site;
  WriteBytes(b.Make("sub/file"), {'x'});
  WriteCatalog(site.Make("eng/marlerr.srf"), {{"DirAcces", {{1, "not found along $%s: %s"}}}});
  ::setenv("MARLENV", site.Path().c_str(), 1);
  Messages_UseMsgCat("marlerr");
  ::setenv("TEST_LIST", (a.Path() + ":" + b.Path()).c_str(), 1);
  EXPECT_TRUE(DirAcces_PathLookup("TEST_LIST", "sub/file", DirAcces_Mode::Read));
  EXPECT_EQ(std::string(DirAcces_effName), b.Path() + "/sub/file");

  Messages_IgnoreErrors(true);
  EXPECT_FALSE(DirAcces_PathLookup("TEST_LIST", "sub/none", DirAcces_Mode::Read));
  Messages_IgnoreErrors(false);
  EXPECT_EQ(DirAcces_dirError, 7);
  char reason[kTextCap];
  std::vector<std::string> reasons;
  while (Messages_ErrorReason(reason)) reasons.push_back(reason);
  ASSERT_EQ(reasons.size(), 3u);  // error, code, the lookup
  EXPECT_EQ(reasons[1], "    DirAcces.Error : code = 7");
  EXPECT_EQ(reasons[2], "    not found along $TEST_LIST: sub/none");
  ::unsetenv("TEST_LIST");
}

TEST(DirAccesFlags, VariablesWinOverFlagFiles) {
  TempDir customer;
  ::setenv("TV_CUSTOMER", customer.Path().c_str(), 1);
  ::unsetenv("TV_MYFLAG");
  EXPECT_FALSE(DirAcces_CheckFlag("MYFLAG"));
  DirAcces_SetFlag("MYFLAG", true);  // no variable: the file is made
  EXPECT_TRUE(DirAcces_CheckFlag("MYFLAG"));
  ::setenv("TV_MYFLAG", "OFF", 1);
  EXPECT_FALSE(DirAcces_CheckFlag("MYFLAG"));  // even though the file exists
  ::setenv("TV_MYFLAG", "1", 1);
  EXPECT_TRUE(DirAcces_CheckFlag("MYFLAG"));
  DirAcces_SetFlag("MYFLAG", false);  // a set variable is changed, the file stays
  EXPECT_STREQ(::getenv("TV_MYFLAG"), "off");
  ::unsetenv("TV_MYFLAG");
  EXPECT_TRUE(DirAcces_CheckFlag("MYFLAG"));
  DirAcces_SetFlag("MYFLAG", false);
  EXPECT_FALSE(DirAcces_CheckFlag("MYFLAG"));

  std::int32_t number = 0;
  EXPECT_FALSE(DirAcces_CheckIntFlag("LEVEL", 7, number));
  EXPECT_EQ(number, 7);
  WriteBytes(customer.Path() + "/LEVEL", {' ', '4', '2', '\n'});
  EXPECT_TRUE(DirAcces_CheckIntFlag("LEVEL", 7, number));
  EXPECT_EQ(number, 42);
  ::setenv("TV_LEVEL", "9", 1);
  EXPECT_TRUE(DirAcces_CheckIntFlag("LEVEL", 7, number));
  EXPECT_EQ(number, 9);
  ::unsetenv("TV_LEVEL");
  char text[kNameCap];
  EXPECT_FALSE(DirAcces_CheckStringFlag("MODE", "plain", text));
  EXPECT_STREQ(text, "plain");
  ::unsetenv("TV_CUSTOMER");
}

TEST(DirAccesPaths, HeadsAndTails) {
  char head[kPathCap], tail[kPathCap];
  DirAcces_ExcludePath("/a/b /c", head, tail);
  EXPECT_STREQ(head, "/a/b");  // blanks before the slash left out
  EXPECT_STREQ(tail, "c");
  DirAcces_ExcludePath("plain", head, tail);
  EXPECT_STREQ(head, "");
  EXPECT_STREQ(tail, "plain");
  DirAcces_GetPathHead("a/b/c", head);
  EXPECT_STREQ(head, "a");
  char path[kPathCap] = "a//b/c";
  DirAcces_CutPathHead(path);
  EXPECT_STREQ(path, "b/c");
  char moved[kPathCap] = "/projects/workflow/x";
  EXPECT_FALSE(DirAcces_ReplacePathHead(moved, "/projects/work", "/p"));  // not followed by "/"
  EXPECT_TRUE(DirAcces_ReplacePathHead(moved, "/projects", "/p"));
  EXPECT_STREQ(moved, "/p/workflow/x");
}

TEST(DirAccesFiles, RenameCopyAndDirectories) {
  TempDir dir;
  const std::string a = dir.Make("a"), b = dir.Make("b"), sub = dir.Path() + "/x/y/z";
  WriteBytes(a, {'1'});
  WriteBytes(b, {'2'});
  Messages_IgnoreErrors(true);
  EXPECT_FALSE(DirAcces_Rename(a, b));  // the target exists
  EXPECT_EQ(DirAcces_dirError, 2);
  EXPECT_TRUE(DirAcces_AtomicRename(a, b));  // replaces it
  EXPECT_EQ(DirAcces_LastModified(a), -1);
  EXPECT_GT(DirAcces_LastModified(b), 0);

  EXPECT_TRUE(DirAcces_RecursiveMkDir(sub, 0750));
  EXPECT_TRUE(DirAcces_RecursiveMkDir(sub, 0));  // existing: no failure
  EXPECT_FALSE(DirAcces_MkDir(sub));
  EXPECT_EQ(DirAcces_dirError, 4);
  DirAcces_Stat stat;
  ASSERT_TRUE(DirAcces_FileStatN(dir.Path() + "/x/y", stat));
  EXPECT_TRUE(stat.isDirectory);
  EXPECT_EQ(stat.mode, 0750u);

  EXPECT_TRUE(DirAcces_Copy(b, sub));  // a directory target gets the source's name
  EXPECT_TRUE(DirAcces_FileStatN(sub + "/b", stat));
  EXPECT_EQ(stat.size, 1u);
  EXPECT_FALSE(DirAcces_Copy(b, b));
  EXPECT_EQ(DirAcces_dirError, 2);
  EXPECT_FALSE(DirAcces_Copy(sub, dir.Path() + "/c"));  // a directory is no source
  EXPECT_FALSE(DirAcces_Remove(dir.Path() + "/missing"));
  EXPECT_EQ(DirAcces_dirError, 1);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  EXPECT_EQ(Messages_ErrorCount(false), 0u);

  std::vector<std::string> names;
  char name[kNameCap];
  DirAcces_DirHandle handle = DirAcces_OpenDir(dir.Path());
  while (DirAcces_GetDirEntry(handle, name)) names.push_back(name);
  DirAcces_CloseDir(handle);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"b", "x"}));
  char found[kPathCap];
  EXPECT_TRUE(DirAcces_AccessICASE(dir.Path() + "/X", DirAcces_Mode::Exists, found));
  EXPECT_EQ(std::string(found), dir.Path() + "/x");
}
