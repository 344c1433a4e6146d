// Reading workflows back from directories and rc files: joins, unknown
// directories, repairs through the answer, every refusal with its reason,
// the reduced read of the start, and the dump of what was read.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "tests/support/TestFiles.h"
#include "workflow/WFbase.h"
#include "workflow/WFdebug.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  ::setenv("LANG", "C", 1);
  ::unsetenv("LANGUAGE");
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  WFdebug_Init();
});

std::string Projects() { return site->Path() + "/projects"; }

// Paths of the folders of workflow `name` as an install lays them out.
struct Paths {
  explicit Paths(const std::string& name)
      : start(Projects() + "/workflow/" + name),
        outdir(start + "/outdir"),
        rename(Projects() + "/autofolder/autorename/flow_" + name + "_0"),
        rename2(Projects() + "/autofolder/autorename/flow_" + name + "_1"),
        duplicate(Projects() + "/autofolder/autoduplicate/flow_" + name + "_0"),
        filter(Projects() + "/autofolder/autofilter/flow_" + name + "_0") {}
  std::string start, outdir, rename, rename2, duplicate, filter;
};

using Options = std::vector<std::pair<std::string, std::string>>;

// A folder directory with an rc file of `options`.
void Folder(const std::string& dir, const char* rcName, const Options& options) {
  fs::create_directories(dir);
  std::string text;
  for (const auto& [key, value] : options) text += ": " + key + "=" + value + "\n";
  PutFile(dir + "/" + rcName, text);
}

void Start(const Paths& p, const std::string& out, Options more = {}) {
  more.insert(more.begin(), {"_OUTDIR_", out});
  Folder(p.start, ".autostartrc", more);
  fs::create_directories(p.outdir);
}
void Rename(const std::string& dir, const std::string& out) { Folder(dir, ".autorenmrc", {{"_OUTDIR_", out}}); }

// The text of message `number` of "WFbase" with `path` in its "%s".
std::string Msg(unsigned number, const std::string& path = "") {
  TextStr text;
  Messages_GetMsg("WFbase", number, text);
  if (!path.empty()) SPrintf_String(text, path);
  return std::string(StrIn(text).View());
}

// A rebuilt workflow, destroyed with the test; the reason beside it.
struct Read {
  explicit Read(const std::string& name, WFbase_AnswerProc answer = WFbase_NoAnswer)
      : workflow(WFbase_RebuildWorkflow(name, answer, reason)) {}
  ~Read() { WFbase_DestroyWorkflow(workflow); }
  std::string Reason() const { return std::string(StrIn(reason).View()); }
  TextStr reason = "old text";
  WFbase workflow;
};

std::string PathOf(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  return path;
}

std::vector<std::string> Questions;
bool Yes(StrIn question) {
  Questions.push_back(question.Str());
  return true;
}

std::string Dump(WFbase workflow) {
  std::FILE* file = std::tmpfile();
  WFdebug_WriteWorkflow(file, workflow);
  std::rewind(file);
  std::string text;
  for (int c; (c = std::fgetc(file)) != EOF;) text += static_cast<char>(c);
  std::fclose(file);
  return text;
}

}  // namespace

TEST(WFbaseRebuild, AGraphThatJoinsIsReadAsAGraph) {
  const Paths p("join");
  Start(p, p.rename, {{"MODE", "1"}});
  Rename(p.rename, p.duplicate);
  Folder(p.duplicate, ".autoduplrc", {{"_OUTDIR_", p.outdir}, {"_OUTDIR2_", p.filter}});
  Folder(p.filter, ".autofilterrc", {{"_OUTDIR_", p.outdir}});

  const Read read("join");
  ASSERT_NE(read.workflow, WFbase_NilWorkflow()) << read.Reason();
  EXPECT_EQ(read.Reason(), "");
  const WFfolder start = WFbase_StartFolder(read.workflow);
  const WFfolder duplicate = WFfolder_OutFolder(WFfolder_OutFolder(start, 1), 1);
  const WFfolder end = WFfolder_OutFolder(duplicate, 1);
  EXPECT_EQ(PathOf(duplicate), p.duplicate);
  EXPECT_EQ(WFfolder_Kind(end), kWFfolderEnd);
  EXPECT_EQ(WFfolder_RcFile(end), SAutoRcF_Nil());
  // One folder for "outdir", reached from both outs' roads.
  EXPECT_EQ(WFfolder_OutFolder(WFfolder_OutFolder(duplicate, 2), 1), end);
  WFbase_FolderList parents = WFbase_GetAnchestors(read.workflow, end);
  ASSERT_NE(parents, nullptr);
  ASSERT_NE(parents->next, nullptr);
  EXPECT_EQ(parents->next->next, nullptr);
  WFbase_DestroyFolderList(parents);

  // Read, not changed: nothing to install; options and time are there, and
  // the error directory has been made.
  EXPECT_FALSE(WFbase_Modified(read.workflow) || WFfolder_Modified(start) ||
               WFbase_IsUnknownLastModified(read.workflow));
  EXPECT_EQ(WFbase_GetStartTransferMode(read.workflow), 1);
  EXPECT_TRUE(fs::is_directory(p.start + "/error"));
}

TEST(WFbaseRebuild, UnknownDirectoriesEndAndLongerCyclesStand) {
  const Paths p("ring");
  const std::string elsewhere = site->Path() + "/elsewhere";
  fs::create_directories(elsewhere);
  Start(p, p.rename);
  Rename(p.rename, p.rename2);
  Rename(p.rename2, p.rename);
  {
    const Read read("ring");
    ASSERT_NE(read.workflow, WFbase_NilWorkflow()) << read.Reason();
    const WFfolder first = WFfolder_OutFolder(WFbase_StartFolder(read.workflow), 1);
    EXPECT_EQ(WFfolder_OutFolder(WFfolder_OutFolder(first, 1), 1), first);
  }
  // A directory of no module and no component is an end without rc.
  Rename(p.rename2, elsewhere);
  const Read read("ring");
  ASSERT_NE(read.workflow, WFbase_NilWorkflow()) << read.Reason();
  const WFfolder end = WFfolder_OutFolder(WFfolder_OutFolder(WFbase_StartFolder(read.workflow), 1), 1);
  const WFfolder last = WFfolder_OutFolder(end, 1);
  EXPECT_EQ(PathOf(last), elsewhere);
  EXPECT_EQ(WFfolder_Kind(last), kWFfolderEnd);
}

TEST(WFbaseRebuild, AMissingBranchFailsOrEndsInOutdirWhenRepaired) {
  const Paths p("broken");
  Start(p, p.rename);
  Folder(p.rename, ".autorenmrc", {{"_OUTDIR_", p.duplicate}});  // no such directory

  {
    const Read refused("broken");
    EXPECT_EQ(refused.workflow, WFbase_NilWorkflow());
    EXPECT_EQ(refused.Reason(), Msg(3, p.duplicate));
  }

  Questions.clear();
  const Read repaired("broken", Yes);
  ASSERT_NE(repaired.workflow, WFbase_NilWorkflow()) << repaired.Reason();
  ASSERT_EQ(Questions.size(), 1u);
  EXPECT_EQ(Questions[0], Msg(3, p.duplicate) + " " + Msg(8));
  const WFfolder start = WFbase_StartFolder(repaired.workflow);
  const WFfolder rename = WFfolder_OutFolder(start, 1);
  const WFfolder end = WFfolder_OutFolder(rename, 1);
  EXPECT_EQ(PathOf(end), p.outdir);
  EXPECT_EQ(WFfolder_Kind(end), kWFfolderEnd);
  // The repair is to be installed: the start, the folder whose out changed
  // (its rc names the end now) and the workflow are marked.
  EXPECT_TRUE(WFfolder_Modified(start) && WFfolder_Modified(rename) && WFbase_Modified(repaired.workflow));
  PathStr out;
  ASSERT_TRUE(WFfolder_GetOutdir(WFfolder_RcFile(rename), WFfolder_Kind(rename), 1, out));
  EXPECT_EQ(std::string(out), p.outdir);
  EXPECT_EQ(PathOf(WFfolder_OutFolder(start, 1)), p.rename);
}

TEST(WFbaseRebuild, RefusalsNameTheirReasons) {
  const Paths p("bad");
  // A start that is missing cannot be repaired into an end.
  {
    const Read missing("bad", Yes);
    EXPECT_EQ(missing.workflow, WFbase_NilWorkflow());
    EXPECT_EQ(missing.Reason(), Msg(4));
  }
  // A folder of a kind with an rc file needs one.
  Start(p, p.rename);
  fs::create_directories(p.rename);
  {
    const Read noRc("bad");
    EXPECT_EQ(noRc.workflow, WFbase_NilWorkflow());
    EXPECT_NE(noRc.Reason().find(p.rename + "/.autorenmrc"), std::string::npos) << noRc.Reason();
  }
  // The walk goes through every out and collects each reason, but reads no
  // folder once one has failed: the second missing directory is not told.
  Rename(p.rename, p.duplicate);
  Folder(p.duplicate, ".autoduplrc", {{"_OUTDIR_", p.filter}, {"_OUTDIR2_", p.start + "/gone"}});
  {
    const Read read("bad");
    EXPECT_EQ(read.workflow, WFbase_NilWorkflow());
    EXPECT_EQ(read.Reason(), Msg(3, p.filter));
  }
  // An absent out and a folder that is its own out.
  Folder(p.duplicate, ".autoduplrc", {{"_OUTDIR2_", p.duplicate}});
  const Read read("bad");
  EXPECT_EQ(read.workflow, WFbase_NilWorkflow());
  EXPECT_EQ(read.Reason(), Msg(5, p.duplicate) + " " + Msg(7, p.duplicate));
}

TEST(WFbaseRebuild, TheStartAloneForLists) {
  const Paths p("lone");
  EXPECT_EQ(WFbase_RebuildWorkflowStart("lone"), WFbase_NilWorkflow());
  Start(p, p.rename, {{"MODE", "2"}});
  WFbase workflow = WFbase_RebuildWorkflowStart("lone");
  ASSERT_NE(workflow, WFbase_NilWorkflow());
  const WFfolder start = WFbase_StartFolder(workflow);
  EXPECT_EQ(PathOf(start), p.start);
  EXPECT_EQ(WFfolder_Kind(WFfolder_OutFolder(start, 1)), kWFfolderInvisibleEnd);
  EXPECT_EQ(WFfolder_OutFolder(start, 2), WFfolder_Nil());
  EXPECT_EQ(WFbase_GetStartTransferMode(workflow), 2);
  EXPECT_FALSE(WFbase_Modified(workflow));
  WFbase_DestroyWorkflow(workflow);

  // A start that is a link to a directory that has gone.
  const Paths q("dangling");
  fs::create_directories(Projects() + "/workflow");
  fs::create_symlink(site->Path() + "/gone", q.start);
  EXPECT_EQ(WFbase_RebuildWorkflowStart("dangling"), WFbase_NilWorkflow());
}

TEST(WFbaseRebuild, TheDumpShowsWhereALinkedStartLives) {
  const Paths p("linked");
  const std::string real = site->Path() + "/realstart";
  fs::create_directories(Projects() + "/workflow");
  fs::create_directories(real + "/outdir");
  fs::create_symlink(real, p.start);
  Folder(real, ".autostartrc", {{"_OUTDIR_", p.outdir}});

  const Read read("linked");
  ASSERT_NE(read.workflow, WFbase_NilWorkflow()) << read.Reason();
  EXPECT_EQ(Dump(read.workflow),
            "\nWorkflow linked:\n"
            "[1] START: " + real + " --> [2]\n"
            "[2] END: " + p.outdir + "\n");
  EXPECT_EQ(Dump(WFbase_NilWorkflow()), "");
}
