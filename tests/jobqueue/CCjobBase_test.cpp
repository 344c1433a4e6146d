// The job record: its text as other programs write it, the text written and
// read back, what is derived from the fields, ids and the job's files.
#include "jobqueue/CCjobBase.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "base/Argument.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "jobqueue/CCjob.h"
#include "jobqueue/CCtypes.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir*& site = UsePrivateSiteForTests([] {
  ::setenv("HOST", "here", 1);
  ::unsetenv("TV_NFS_PREFIX_BEHAVIOUR");
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  Messages_Init();
  DirAcces_Init();
});

struct Job {
  CCjobBase_Job job;
  explicit Job(CCjobBase_Job j) : job(j) {}
  ~Job() { CCjobBase_Destroy(job); }
  operator CCjobBase_Job() const { return job; }
};

std::string Id(CCjobBase_Job job) {
  char id[kNameCap];
  CCjobBase_GetId(job, id);
  return StrIn(id).Str();
}

std::string Precondition(CCjobBase_Job job, std::size_t index) {
  CCprecond_Entry e = nullptr;
  for (bool first = true; CCprecond_IteratePreconditions(CCjobBase_GetPreconditions(job), first, e); first = false)
    if (index-- == 0) return CCprecond_PreconditionToString(e);
  return "";
}

}  // namespace

TEST(CCjobBase, AJobTextWrittenByHandIsReadFieldByField) {
  const std::string text =
      "TYPE=Inline STATUS=waitingForPrecond PRIORITY=7 EXECUTE_ON=cluster CPU_USAGE=low ID=h-1-2-3 "
      "EMPLOYER_HOST=there WORK_DIR=/jobs/a\\ b DESC=two\\ words\\ and\\ a\\ \\\\ SUBMITTER_NAME=TVWatchD "
      "SUBMITTER_ADDONS=/in\\\\\\ x\\ \\ 1 ERRORFILENAME=/e/h-1-2-3.err PROGRESSFILENAME=/p/h-1-2-3.progress "
      "TIMEOUT=2.50000000 UID=100 GID=200 PRECONDITION=file\\ /in/a\\ b PRECONDITION=resource\\ 1\\ lock "
      "PRECONDITION=script\\ test\\ -d\\ x RESTRICTION=executionLimit\\ 2\\ rip\\\\\\ queue "
      "CLEANUPCMD=done,failed\\ move\\ /a\\ /b UNKNOWN_KEY=x INLINE_CMD=run\\ --fast\\ /in/a\\\\\\ b";
  Job job(CCjobBase_CreateFromString(text));
  ASSERT_NE(job.job, nullptr);
  EXPECT_EQ(CCjobBase_GetJobType(job), CCjobBase_InlineJob);
  EXPECT_EQ(CCjobBase_GetStatus(job), CCtypes_WaitingForPrecond);
  EXPECT_EQ(CCjobBase_GetPriority(job), 7U);
  EXPECT_EQ(CCjobBase_GetExecuteOn(job), CCtypes_Cluster);
  EXPECT_EQ(CCjobBase_GetCpuUsage(job), CCtypes_CpuLow);
  EXPECT_EQ(Id(job), "h-1-2-3");
  EXPECT_EQ(CCjobBase_GetEmployerHost(job), "there");
  EXPECT_EQ(CCjobBase_GetWorkDir(job), "/jobs/a b");
  EXPECT_EQ(CCjobBase_GetDescriptionField(job), "two words and a \\");
  EXPECT_EQ(CCjobBase_GetSubmitterName(job), "TVWatchD");
  EXPECT_EQ(CCjobBase_GetSubmitterAddons(job), "/in\\ x  1");  // the addons keep their own escapes
  EXPECT_EQ(CCjobBase_GetErrorFilenameField(job), "/e/h-1-2-3.err");
  EXPECT_EQ(CCjobBase_GetProgressFilenameField(job), "/p/h-1-2-3.progress");
  EXPECT_DOUBLE_EQ(CCjobBase_GetTimeout(job), 2.5);
  EXPECT_EQ(CCjobBase_GetUid(job), 100);
  EXPECT_EQ(CCjobBase_GetGid(job), 200);
  EXPECT_EQ(Precondition(job, 0), "file /in/a b");
  EXPECT_EQ(Precondition(job, 1), "resource 1 lock");
  EXPECT_EQ(Precondition(job, 2), "script test -d x");
  EXPECT_EQ(CCrestrict_RestrictionToString(CCjobBase_GetRestrictions(job), 0), "executionLimit 2 rip\\ queue");
  EXPECT_EQ(CCcleanup_CommandToString(CCjobBase_GetCleanupCommands(job), 0), "done,failed move /a /b");
  EXPECT_EQ(CCjobBase_GetInlineCmd(job), "run --fast /in/a\\ b");
  EXPECT_EQ(CCjobBase_GetCommand(job), "run --fast /in/a\\ b");
}

TEST(CCjobBase, EveryJobWrittenIsReadBackTheSame) {
  Job rip(CCjob_CreatePelRipXJob("/in/a b.pdf", "/out/dir\\"));
  CCjobBase_SetId(rip, "h-1-2-3");
  CCjobBase_SetDescription(rip, "line one\nline two");
  CCjobBase_SetSubmitterName(rip, "me");
  CCjobBase_SetUid(rip, 5);
  CCjobBase_SetGid(rip, 6);
  CCjobBase_SetTimeout(rip, 0.25);
  CCjob_AddFilePrecondition(rip, "rel ative");
  CCjob_InheritResource(rip, "lock a");
  CCjob_AddExecutionLimit(rip, 3, "rips");
  CCjob_AddCleanupShellCmd(rip, 1U << CCtypes_Failed, "echo failed >> /log");
  CCjob_AddCleanupRemoveCmd(rip, 1U << CCtypes_Done, "/tmp/x y");
  CCjobBase_SetFlow(rip, "flow one");
  CCjobBase_SetStage(rip, 3);
  Job script(CCjobBase_Create(CCjobBase_ScriptJob));
  CCjobBase_SetScriptFilename(script, "/bin/step one.sh");
  CCjobBase_SetWorkDir(script, "/work");
  Job bare(CCjob_Create("true"));
  for (CCjobBase_Job job : {rip.job, script.job, bare.job}) {
    const std::string text = CCjobBase_JobToString(job);
    EXPECT_EQ(text.rfind("TYPE=", 0), 0U) << text;
    EXPECT_EQ(text.find("  "), std::string::npos) << "no empty parameter: " << text;
    Job back(CCjobBase_CreateFromString(text));
    EXPECT_EQ(CCjobBase_JobToString(back), text);
    Job copy(CCjobBase_Copy(back));
    EXPECT_EQ(CCjobBase_JobToString(copy), text);
  }
  Job back(CCjobBase_CreateFromString(CCjobBase_JobToString(rip)));
  EXPECT_EQ(CCjobBase_GetFlow(back), "flow one");
  EXPECT_EQ(CCjobBase_GetStage(back), 3U);
  // A value ending in a backslash is written with the backslash doubled.
  EXPECT_NE(CCjobBase_JobToString(rip).find("DST_PATH=/out/dir\\\\ "), std::string::npos);
  // The script job names its file as source too, and its working directory as destination.
  EXPECT_NE(CCjobBase_JobToString(script).find("SRC_FILENAME=/bin/step\\ one.sh DST_PATH=/work"), std::string::npos);
}

TEST(CCjobBase, OptionalParametersAndOlderWriters) {
  Job job(CCjob_Create("x"));
  CCjobBase_SetUid(job, 10);  // a uid without a gid writes neither
  EXPECT_EQ(CCjobBase_JobToString(job), "TYPE=Inline STATUS=unknown PRIORITY=0 EXECUTE_ON=local CPU_USAGE=high INLINE_CMD=x");
  Job zero(CCjobBase_CreateFromString("TYPE=Inline TIMEOUT=0.00000000 PRIORITY=x2 INLINE_CMD=x"));
  EXPECT_EQ(CCjobBase_JobToString(zero), "TYPE=Inline STATUS=unknown PRIORITY=0 EXECUTE_ON=local CPU_USAGE=high INLINE_CMD=x");
  // The older script job names its file and directory only as source and destination.
  Job old(CCjobBase_CreateFromString("TYPE=Script SRC_FILENAME=/s.sh DST_PATH=/w"));
  EXPECT_EQ(CCjobBase_GetScriptFilename(old), "/s.sh");
  EXPECT_EQ(CCjobBase_GetWorkDir(old), "/w");
  // Keys of another type are passed over; no TYPE first, no job.
  Job other(CCjobBase_CreateFromString("TYPE=Script INLINE_CMD=x PDF_FILENAME=y"));
  EXPECT_EQ(CCjobBase_GetCommand(other), "");
  EXPECT_EQ(CCjobBase_CreateFromString("ID=x TYPE=Inline"), nullptr);
  EXPECT_EQ(CCjobBase_CreateFromString(""), nullptr);
  // A text cut in the middle keeps what came before the cut.
  Job cut(CCjobBase_CreateFromString("TYPE=Inline PRIORITY=4 ID=a-b-c-d DESC="));
  EXPECT_EQ(CCjobBase_GetPriority(cut), 4U);
  EXPECT_EQ(Id(cut), "a-b-c-d");
  Job stop(CCjobBase_CreateFromString("TYPE=Inline PRIORITY=4 garbage ID=a-b-c-d"));
  EXPECT_EQ(Id(stop), "");
}

TEST(CCjobBase, CommandsDescriptionsTypesAndMatching) {
  Job rip(CCjob_CreatePelRipXJob("/in/a b.pdf", "/out"));
  EXPECT_EQ(CCjobBase_GetCommand(rip),
            "PelRipX -noGUI -noJobQueue -profileInInput -outputPathCT /out -outputPathLW /out /in/a\\ b.pdf");
  EXPECT_EQ(CCjobBase_GetDescription(rip), "PelRipX: /in/a b.pdf");
  EXPECT_FALSE(CCjobBase_SetJobType(rip, CCjobBase_ScriptJob));
  EXPECT_TRUE(CCjobBase_SetJobType(rip, CCjobBase_PelRipXJob));
  EXPECT_TRUE(CCjobBase_SetJobType(rip, CCjobBase_InlineJob));
  EXPECT_EQ(CCjobBase_GetInlineCmd(rip), "PelRipX -noGUI -noJobQueue -profileInInput -outputPathCT /out -outputPathLW "
                                         "/out /in/a\\ b.pdf");

  Job job(CCjob_Create("cmd"));
  CCjobBase_SetId(job, "h-1-2-3");
  CCjob_SetSubmitter(job, "TVWatchD", "/wf/in 0 1 a.pdf");
  CCjobBase_SetStatus(job, CCtypes_Running);
  Job pattern(CCjobBase_Create(CCjobBase_UnknownJob));
  EXPECT_TRUE(CCjobBase_Match(nullptr, job));
  EXPECT_FALSE(CCjobBase_Match(pattern, nullptr));
  EXPECT_TRUE(CCjobBase_Match(pattern, job));
  CCjobBase_SetSubmitterAddons(pattern, "<contains>a.pdf");
  EXPECT_TRUE(CCjobBase_Match(pattern, job));
  CCjobBase_SetSubmitterName(pattern, "TVWatch");
  EXPECT_FALSE(CCjobBase_Match(pattern, job));
  CCjobBase_SetSubmitterName(pattern, "TVWatchD");
  CCjobBase_SetStatus(pattern, CCtypes_Waiting);
  EXPECT_FALSE(CCjobBase_Match(pattern, job));
  CCjobBase_SetStatus(pattern, CCtypes_Unknown);
  Job typed(CCjob_Create("<contains>md"));
  EXPECT_TRUE(CCjobBase_Match(typed, job));
  CCjobBase_SetInlineCmd(typed, "other");
  EXPECT_FALSE(CCjobBase_Match(typed, job));
}

TEST(CCjobBase, IdsErrorFilesAndPathsOfOtherHosts) {
  char a[kNameCap], b[kNameCap], decoded[kNameCap];
  CCjobBase_GenerateId(a);
  CCjobBase_GenerateId(b);
  EXPECT_NE(std::string(a), std::string(b));
  EXPECT_EQ(std::string(a).rfind("here-", 0), 0U);
  Job job(CCjob_Create("x"));
  CCjobBase_SetId(job, a);
  CCjobBase_GenerateErrorFilename(job);
  CCjobBase_GenerateProgressFilename(job);
  EXPECT_EQ(CCjobBase_GetErrorFilenameField(job), site->Path() + "/dat/cluster-error/" + a + ".err");
  EXPECT_EQ(CCjobBase_GetProgressFilenameField(job), site->Path() + "/dat/cluster-progress/" + a + ".progress");
  EXPECT_TRUE(std::filesystem::is_directory(site->Path() + "/dat/cluster-error"));
  CCjobBase_SetErrorFilename(job, "/kept.err");
  CCjobBase_GenerateErrorFilename(job);  // set already: stays
  EXPECT_EQ(CCjobBase_GetErrorFilenameField(job), "/kept.err");
  EXPECT_TRUE(CCjobBase_DecodeErrorFilename(site->Path() + "/dat/cluster-error/" + a + ".err", decoded));
  EXPECT_EQ(std::string(decoded), a);
  EXPECT_FALSE(CCjobBase_DecodeErrorFilename("/x/a-b-c.err", decoded));
  EXPECT_FALSE(CCjobBase_DecodeErrorFilename("/x/a-b-c-d.error", decoded));
  EXPECT_STREQ(decoded, "");

  // With the flag set, the paths of a job from another host are seen through /nfs.
  CCjobBase_SetWorkDir(job, "/w");
  CCjobBase_SetEmployerHost(job, "there");
  char path[kPathCap];
  CCjobBase_GetWorkDirectory(job, path);
  EXPECT_STREQ(path, "/w");
  ::setenv("TV_NFS_PREFIX_BEHAVIOUR", "on", 1);
  CCjobBase_GetWorkDirectory(job, path);
  EXPECT_STREQ(path, "/nfsthere/w");
  CCjobBase_SetEmployerHost(job, "here");
  CCjobBase_GetWorkDirectory(job, path);
  EXPECT_STREQ(path, "/w");
  ::unsetenv("TV_NFS_PREFIX_BEHAVIOUR");
}

TEST(CCjobBase, CountedReferences) {
  CCjobBase_Job job = CCjob_Create("x");
  CCjobBase_Job other = job;
  CCjobBase_IncRef(job);
  EXPECT_EQ(CCjobBase_RefCount(job), 2);
  CCjobBase_Destroy(other);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(CCjobBase_RefCount(job), 1);
  CCjobBase_Destroy(job);
  CCjobBase_Destroy(job);  // nil is fine
}

TEST(CCtypes, WordsAndSets) {
  char text[kNameCap];
  CCtypes_JobStatusSetToString(1U << CCtypes_Done | 1U << CCtypes_Waiting, text);
  EXPECT_STREQ(text, "waiting,done");
  EXPECT_EQ(CCtypes_StringToJobStatusSet("waiting,bogus,done"), 1U << CCtypes_Done | 1U << CCtypes_Waiting | 1U);
  EXPECT_EQ(CCtypes_StringToCpuUsage("unknown"), CCtypes_CpuHigh);
  CCtypes_CpuUsageToString(5, text);
  EXPECT_STREQ(text, "unknown");
  CCtypes_NodeTypeToString(0, text);
  EXPECT_STREQ(text, "???");
  CCtypes_CancelReasonToString(4, text);
  EXPECT_STREQ(text, "???");
  EXPECT_EQ(CCtypes_LineUnescape(CCtypes_LineEscape("a%0A\nb\r%")), "a%0A\nb\r%");
  EXPECT_EQ(CCtypes_LineEscape("a\nb").find('\n'), std::string::npos);
}
