// The jobs known only by their records, which a file the job table lacks
// falls back to. The table's life on a real queue (waiting, running, a
// restarted server) is tested with the folder status of the manager
// (tests/manager/WFstatus_test.cpp).
#include "watch/WFjobStat.h"

#include <gtest/gtest.h>

#include "jobqueue/CCjob.h"
#include "jobqueue/CCtypes.h"

TEST(WFjobStat, AFileTheTableLacksFallsBackToTheJobsThatNameIt) {
  CCjobBase_Job job = CCjob_Create("AutoRename .autorenmrc 'c d.tif'");
  CCjobBase_SetId(job, "h-1-2-3");
  CCjob_SetDescription(job, "AutoRename: e.tif");
  WFjobStat_AddJob("/g", job);
  WFjobStat_AddFile("/g", "e.tif", WFjobStat_Running);
  CCjobBase_SetStatus(job, CCtypes_Waiting);
  EXPECT_EQ(WFjobStat_FileStatus("/g", "c d.tif"), WFjobStat_Waiting) << "by its command";
  EXPECT_EQ(WFjobStat_FileStatus("/g", "e.tif"), WFjobStat_Running) << "the table first";
  WFjobStat_DeleteFile("/g", "e.tif");
  EXPECT_EQ(WFjobStat_FileStatus("/g", "e.tif"), WFjobStat_Waiting) << "by its description";
  EXPECT_EQ(WFjobStat_FileStatus("/g", "x.tif"), WFjobStat_NotKnown);
  EXPECT_EQ(WFjobStat_FolderStatus("/g"), WFjobStat_Waiting);

  // The table holds the record itself, and a record of the same id replaces it.
  CCjobBase_SetStatus(job, CCtypes_Running);
  EXPECT_EQ(WFjobStat_FolderStatus("/g"), WFjobStat_Running);
  CCjobBase_Job again = CCjob_Create("AutoRename .autorenmrc 'c d.tif'");
  CCjobBase_SetId(again, "h-1-2-3");
  WFjobStat_AddJob("/g", again);
  CCjob_Destroy(again);
  CCjob_Destroy(job);
  EXPECT_EQ(WFjobStat_FileStatus("/g", "c d.tif"), WFjobStat_Waiting);
  EXPECT_EQ(WFjobStat_FileStatus("/g", "e.tif"), WFjobStat_NotKnown);
  WFjobStat_DeleteJob("/g", "h-1-2-3");
  EXPECT_EQ(WFjobStat_FileStatus("/g", "c d.tif"), WFjobStat_NotKnown);
  EXPECT_EQ(WFjobStat_FolderStatus("/g"), WFjobStat_NotKnown);
  EXPECT_EQ(WFjobStat_JobStatus(nullptr), WFjobStat_NotKnown);
}
