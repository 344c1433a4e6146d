// The jobs of the demon and its commands: what a job carries from its
// classic record and its folder.
#include "workflow/BEwfBase.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "base/DirAcces.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/TestFiles.h"
#include "watch/TVWbase.h"
#include "workflow/WFmodule.h"

TEST(BEwfBase, AJobCarriesItsFolderItsFilesAndTheJobThatMadeIt) {
  TempDir site;
  UsePrivateSite(site.Path());
  WFmodule_Init();
  ::setenv("CCJOB_ID", "host-1-2-3", 1);
  CCjob_ClassicJob record;
  Strings_Assign("autorenm.sh", record.program);
  record.arguments = {".autorenmrc", "'a b.tif'"};
  const std::string rename = site.Path() + "/projects/autofolder/autorename/flow_x_0";
  Strings_Assign(rename, record.workDir);
  StrVector files = StrVector_Create();
  StrVector_AddElement(files, "a b.tif");

  CCjobBase_Job job = BEwfBase_CreateJob(record, files, false);
  TextStr first, second;
  EXPECT_EQ(CCjobBase_GetCommand(job), "autorenm.sh .autorenmrc 'a b.tif'");
  EXPECT_EQ(CCjobBase_GetSubmitterName(job), TVWbase_demonName);
  EXPECT_EQ(CCjobBase_GetCpuUsage(job), CCtypes_CpuLow);
  EXPECT_EQ(CCjobBase_GetExecuteOn(job), CCtypes_Local) << "renaming is no job for the cluster";
  NameStr host;
  DirAcces_GetMachineName(host);
  EXPECT_EQ(CCjobBase_GetEmployerHost(job), StrIn(host).View());
  TVWbase_FileList list = nullptr;
  ASSERT_TRUE(TVWbase_DecodeJobAddons(std::string(CCjobBase_GetSubmitterAddons(job)), first, second, list));
  EXPECT_EQ(StrIn(first).Str(), rename);
  EXPECT_EQ(StrIn(second).Str(), "host-1-2-3");
  ASSERT_EQ(StrVector_ElementCount(list), 1U);
  EXPECT_EQ(StrVector_DynElementAt(list, 0).Str(), "a\\ b.tif");
  TVWbase_DestroyFileList(list);
  CCjobBase_Destroy(job);

  // A folder of a kind that runs on the cluster, of high CPU use.
  Strings_Assign(site.Path() + "/projects/autofolder/autojaws/flow_x_0", record.workDir);
  job = BEwfBase_CreateJob(record, files, true);
  EXPECT_EQ(CCjobBase_GetExecuteOn(job), CCtypes_Cluster);
  EXPECT_EQ(CCjobBase_GetCpuUsage(job), CCtypes_CpuHigh);
  CCjobBase_Destroy(job);
  StrVector_Destroy(files);
  ::unsetenv("CCJOB_ID");
}
