// Job classes: the defaults, the class file the administrator edits, and
// the rule of NFS sites.
#include "jobqueue/CCjobClass.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "base/Argument.h"
#include "base/Messages.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir* site = nullptr;

class Site : public ::testing::Environment {
 public:
  void SetUp() override {
    site = new TempDir;
    UsePrivateSite(site->Path());
    ::unsetenv("TV_NFS_PREFIX_BEHAVIOUR");
    ::unsetenv("TV_CLUSTER_DO_NOT_USE");
    static const char* const args[] = {program_invocation_name};
    Argument_Init(1, args);
    Messages_Init();
  }
  void TearDown() override { delete site; }
};
const auto* const environment = ::testing::AddGlobalTestEnvironment(new Site);

// Replaces the class file, a second later than it was, so that it is read again.
void Edit(const std::string& text) {
  const std::string path = site->Path() + "/customer/CCjobClasses.cfg";
  const auto before = std::filesystem::last_write_time(path);
  PutFile(path, text);
  std::filesystem::last_write_time(path, before + std::chrono::seconds(2));
}

}  // namespace

TEST(CCjobClass, DefaultsTheFileAndItsChanges) {
  CCjobClass_AddDefaultClass("WORKFLOW-MODULE/RIP", CCtypes_Cluster);
  EXPECT_EQ(CCjobClass_ExecuteOn("WORKFLOW-MODULE/RIP"), CCtypes_Cluster);
  EXPECT_EQ(CCjobClass_ExecuteOn("JEXON9000/FILLCACHE/ZEMBLA"), CCtypes_Cluster);
  EXPECT_EQ(CCjobClass_ExecuteOn("NO/SUCH/CLASS"), CCtypes_Local);
  // A site without a class file gets one to edit, with the defaults.
  const std::string file = FileText(site->Path() + "/customer/CCjobClasses.cfg");
  EXPECT_NE(file.find("VERSION = 4;"), std::string::npos) << file;
  EXPECT_NE(file.find("NAME = \"WORKFLOW-MODULE/RIP\";\n  EXECUTE_ON = cluster;"), std::string::npos) << file;

  // What the administrator writes counts; what he leaves out keeps its default.
  Edit("VERSION = 4;\nJOBCLASS = { NAME = \"WORKFLOW-MODULE/RIP\"; EXECUTE_ON = local; };\n"
       "JOBCLASS = { NAME = \"MY/CLASS\"; EXECUTE_ON = cluster; };\n");
  EXPECT_EQ(CCjobClass_ExecuteOn("WORKFLOW-MODULE/RIP"), CCtypes_Local);
  EXPECT_EQ(CCjobClass_ExecuteOn("MY/CLASS"), CCtypes_Cluster);
  EXPECT_EQ(CCjobClass_ExecuteOn("WEBCHECK/PREPRINT/SPLIT"), CCtypes_Cluster);
  // A damaged file leaves the defaults for what it could not say.
  Edit("VERSION = 4;\nJOBCLASS = { NAME = \"MY/CLASS\"; EXECUTE_ON = nowhere; };\n");
  EXPECT_EQ(CCjobClass_ExecuteOn("WORKFLOW-MODULE/RIP"), CCtypes_Cluster);
  EXPECT_EQ(CCjobClass_ExecuteOn("MY/CLASS"), CCtypes_Local);

  // On NFS sites only the fill-cache classes may leave the host.
  ::setenv("TV_NFS_PREFIX_BEHAVIOUR", "on", 1);
  EXPECT_EQ(CCjobClass_ExecuteOn("WEBCHECK/PREPRINT/SPLIT"), CCtypes_Local);
  EXPECT_EQ(CCjobClass_ExecuteOn("JEXON9000/FILLCACHE/BOOKLET"), CCtypes_Cluster);
  ::unsetenv("TV_NFS_PREFIX_BEHAVIOUR");
}
