// Preconditions (files, scripts, and resources of the real RMserver),
// restrictions and clean-up commands: their text forms and their evaluation.
#include "jobqueue/CCprecond.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "jobqueue/CCcleanup.h"
#include "jobqueue/CCrestrict.h"
#include "jobqueue/CCtypes.h"
#include "jobqueue/SClient.h"
#include "jobqueue/SRM.h"
#include "jobqueue/SRMproto.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir* site = nullptr;
int rm = -1;

class Site : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    ::unsetenv("CCJOB_EMPLOYER");
    ChooseRMserverPort();
    static const char* const args[] = {program_invocation_name};
    Argument_Init(1, args);
    Messages_Init();
    rm = StartRMserver();
  }
  void TearDown() override {
    SRM_Disconnect();
    StopRMserver(rm);
    delete site;
  }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new Site);

struct List {
  CCprecond_List list = CCprecond_Create();
  ~List() { CCprecond_Destroy(list); }
};

// Another process's hold on a resource, as the manager sees it.
bool ReservedElsewhere(const std::string& name, bool reserve) {
  static SProtocol protocol = SRMproto_Protocol();
  static SClient conn = SClient_Connect("127.0.0.1", 3000, 0, protocol, nullptr);
  char host[kNameCap];
  DirAcces_GetMachineName(host);
  SReqObj params = SReqObj_CreateArray();
  SReqObj_Append(params, SReqObj_CreateString(StrIn(host).View()));
  SReqObj_Append(params, SReqObj_CreateInteger(1));  // pid 1: not us
  if (reserve) SReqObj_Append(params, SReqObj_CreateBoolean(false));
  SReqObj_Append(params, SReqObj_CreateString(name));
  SReqObj results = nullptr;
  const bool sent = SClient_Send(conn, reserve ? SRMproto_RESERVE : SRMproto_FREE, params, reserve ? &results : nullptr);
  const bool granted = sent && (!reserve || SReqObj_GetBoolean(SReqObj_Element(results, 0)));
  SReqObj_Destroy(results);
  // A free has no answer: a reservation behind it makes sure it was taken.
  return reserve ? granted : ReservedElsewhere("settle-other", true);
}

// Releases travel without an answer: one reservation behind them on our own
// line makes sure the manager has taken them before another client asks.
void Settle() {
  ASSERT_TRUE(SRM_Reserve("settle", false));
  SRM_Release("settle");
}

}  // namespace

TEST(CCprecond, TextForms) {
  List l;
  EXPECT_TRUE(CCprecond_ParsePrecondition(l.list, "file /a b/c"));
  EXPECT_TRUE(CCprecond_ParsePrecondition(l.list, "resource  1   lock x"));
  EXPECT_TRUE(CCprecond_ParsePrecondition(l.list, "script test -f x"));
  for (const char* bad : {"", "file", "file ", "resource 2 x", "resource x", "disk /a", "resource 1"})
    EXPECT_FALSE(CCprecond_ParsePrecondition(l.list, bad)) << bad;
  EXPECT_EQ(CCprecond_Count(l.list), 3U);
  CCprecond_Entry e = nullptr;
  std::string all;
  for (bool first = true; CCprecond_IteratePreconditions(l.list, first, e); first = false)
    all += CCprecond_PreconditionToString(e) + "|";
  EXPECT_EQ(all, "file /a b/c|resource 1 lock x|script test -f x|");

  CCrestrict_List r = CCrestrict_Create();
  EXPECT_TRUE(CCrestrict_ParseRestriction(r, "executionLimit 2 a\\ b"));
  for (const char* bad : {"executionLimit x a", "executionLimit 2", "limit 2 a", "executionLimit 2 a b"})
    EXPECT_FALSE(CCrestrict_ParseRestriction(r, bad)) << bad;
  EXPECT_EQ(CCrestrict_RestrictionToString(r, 0), "executionLimit 2 a\\ b");
  CCrestrict_Destroy(r);

  CCcleanup_List c = CCcleanup_Create();
  EXPECT_TRUE(CCcleanup_ParseCommand(c, "done,failed move /a\\ b /c"));
  EXPECT_TRUE(CCcleanup_ParseCommand(c, "done remove /x"));
  EXPECT_FALSE(CCcleanup_ParseCommand(c, "done copy /a /b"));
  EXPECT_FALSE(CCcleanup_ParseCommand(c, "done remove"));
  EXPECT_EQ(CCcleanup_CommandToString(c, 0), "done,failed move /a\\ b /c");
  CCcleanup_Destroy(c);
}

TEST(CCprecond, FilesAndScriptsInTheJobsDirectory) {
  const std::string dir = site->Make("work/x");
  std::filesystem::create_directories(dir);
  PutFile(dir + "/in put", "");
  List l;
  CCprecond_AddPrecondition(l.list, CCprecond_File, "in put");
  CCprecond_AddPrecondition(l.list, CCprecond_Script, "test -f 'in put' && echo ran >> count");
  char before[kPathCap], after[kPathCap];
  DirAcces_CanonicalCurrentDir(before);
  EXPECT_TRUE(CCprecond_Check(l.list, dir, nullptr, false));
  DirAcces_CanonicalCurrentDir(after);
  EXPECT_STREQ(before, after) << "the check goes back where it was";
  EXPECT_FALSE(CCprecond_Check(l.list, site->Path(), nullptr, false));  // "in put" is not there

  // A failing script runs once per pass with a fail table, on every check without one.
  List failing;
  CCprecond_AddPrecondition(failing.list, CCprecond_Script, "echo ran >> count; false");
  CCprecond_FailTable table = CCprecond_CreateFailTable();
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(CCprecond_Check(failing.list, dir, table, true));
  CCprecond_DestroyFailTable(table);
  EXPECT_EQ(FileText(dir + "/count"), "ran\nran\n");
  for (int i = 0; i < 2; ++i) EXPECT_FALSE(CCprecond_Check(failing.list, dir, nullptr, true));
  EXPECT_EQ(FileText(dir + "/count"), "ran\nran\nran\nran\n");
  // A directory that can't be entered fails the scripts.
  EXPECT_FALSE(CCprecond_Check(l.list, site->Path() + "/missing", nullptr, true));
}

TEST(CCprecond, ResourcesAreHeldOnlyByACheckThatHolds) {
  ASSERT_GT(rm, 0);
  List l;
  CCprecond_AddPrecondition(l.list, CCprecond_Resource, "res-a");
  CCprecond_AddPrecondition(l.list, CCprecond_Resource, "res-b");
  ASSERT_TRUE(ReservedElsewhere("res-b", true));
  // The check reserves res-a, fails on res-b and gives res-a back.
  EXPECT_FALSE(CCprecond_Check(l.list, "", nullptr, false));
  Settle();
  EXPECT_TRUE(ReservedElsewhere("res-a", true)) << "res-a was kept by a failed check";
  ReservedElsewhere("res-a", false);
  ReservedElsewhere("res-b", false);
  // Now it holds both, until they are given back.
  EXPECT_TRUE(CCprecond_Check(l.list, "", nullptr, false));
  EXPECT_FALSE(ReservedElsewhere("res-b", true));
  CCprecond_ReleaseResources(l.list, false);
  Settle();
  EXPECT_TRUE(ReservedElsewhere("res-b", true));
  ReservedElsewhere("res-b", false);

  // A failed resource is not asked for again in the same pass.
  ASSERT_TRUE(ReservedElsewhere("res-c", true));
  List c;
  CCprecond_AddPrecondition(c.list, CCprecond_Resource, "res-c");
  CCprecond_FailTable table = CCprecond_CreateFailTable();
  EXPECT_FALSE(CCprecond_Check(c.list, "", table, false));
  ReservedElsewhere("res-c", false);
  EXPECT_FALSE(CCprecond_Check(c.list, "", table, false)) << "the fail table answers";
  EXPECT_TRUE(CCprecond_Check(c.list, "", nullptr, false));
  CCprecond_DestroyFailTable(table);
  CCprecond_ReleaseResources(c.list, false);

  // An inherited resource counts as held; it is given back only when asked to.
  List inherited;
  CCprecond_AddInheritedResource(inherited.list, "res-i");
  CCprecond_UseResources(inherited.list, false);
  EXPECT_TRUE(CCprecond_Check(inherited.list, "", nullptr, false));
  CCprecond_ReleaseResources(inherited.list, false);
  EXPECT_FALSE(ReservedElsewhere("res-i", true));
  CCprecond_ReleaseResources(inherited.list, true);
  Settle();
  EXPECT_TRUE(ReservedElsewhere("res-i", true));
  ReservedElsewhere("res-i", false);
}

TEST(CCrestrict, LimitsCountTheJobsEntered) {
  CCrestrict_Table table = CCrestrict_CreateTable();
  CCrestrict_List two = CCrestrict_Create();
  CCrestrict_AddExecutionLimit(two, 2, "rip");
  EXPECT_TRUE(CCrestrict_Check(two, table));
  CCrestrict_Enter(two, "j1", table);
  CCrestrict_Enter(two, "j1", table);  // once per job
  EXPECT_TRUE(CCrestrict_Check(two, table));
  CCrestrict_Enter(two, "j2", table);
  EXPECT_FALSE(CCrestrict_Check(two, table));
  EXPECT_EQ(CCrestrict_Running(table, "rip"), 2U);
  CCrestrict_Delete(two, "j1", table);
  EXPECT_TRUE(CCrestrict_Check(two, table));
  CCrestrict_Destroy(two);
  CCrestrict_DestroyTable(table);
}

TEST(CCcleanup, CommandsRunForTheirStates) {
  const std::string dir = site->Make("cleanup/");
  PutFile(dir + "a", "a");
  PutFile(dir + "b", "b");
  PutFile(dir + "c", "c");
  CCcleanup_List list = CCcleanup_Create();
  CCcleanup_AddCommand(list, 1U << CCtypes_Done, CCcleanup_Remove, dir + "a", "");
  CCcleanup_AddCommand(list, 1U << CCtypes_Done | 1U << CCtypes_Failed, CCcleanup_Move, dir + "b", dir + "moved");
  CCcleanup_AddCommand(list, 1U << CCtypes_Failed, CCcleanup_Shell, "echo failed >> '" + dir + "log'", "");
  CCcleanup_AddCommand(list, 1U << CCtypes_Failed, CCcleanup_Move, dir + "c", "");  // one file: nothing
  CCcleanup_AddCommand(list, 1U << CCtypes_Failed, CCcleanup_Remove, dir + "missing", "");  // silent
  CCcleanup_Cleanup(list, CCtypes_Failed);
  EXPECT_TRUE(std::filesystem::exists(dir + "a"));
  EXPECT_TRUE(std::filesystem::exists(dir + "moved"));
  EXPECT_TRUE(std::filesystem::exists(dir + "c"));
  EXPECT_EQ(FileText(dir + "log"), "failed\n");
  CCcleanup_Cleanup(list, CCtypes_Done);
  EXPECT_FALSE(std::filesystem::exists(dir + "a"));
  CCcleanup_Destroy(list);
}
