// The program as a user runs it: its command line, exit status and the words
// it writes, in a private site.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/TestFiles.h"

namespace {

const std::string kProgram = std::string(FLOATDECK_BINARY_DIR) + "/bin/Floatdeck";

class FloatdeckCli : public ::testing::Test {
 protected:
  TempDir site;

  RunResult Run(const std::vector<std::string>& args,
                std::vector<std::pair<std::string, std::string>> env = {}) {
    std::vector<std::string> argv{kProgram};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<std::pair<std::string, std::string>> base{
        {"TV_CUSTOMER", site.Path()}, {"MARLENV", ""},   {"MARLLIB", ""},   {"LANGUAGE", ""},
        {"LANG", "C"},                {"DEBUG", ""},     {"MARLDAT", site.Path()}};
    base.insert(base.end(), env.begin(), env.end());
    return RunProgram(argv, base);
  }
};

std::size_t Lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

// A site with the sample workflow made by the demo's own script, which runs
// the install tool.
class WorkflowDump : public FloatdeckCli {
 protected:
  const std::string projects = site.Path() + "/projects";
  const std::string start = projects + "/workflow/sample";
  const std::string rename = projects + "/autofolder/autorename/flow_sample_0";
  const std::string duplicate = projects + "/autofolder/autoduplicate/flow_sample_0";
  const std::string filter = projects + "/autofolder/autofilter/flow_sample_0";

  void SetUp() override {
    const RunResult made =
        RunProgram({"/bin/bash", FLOATDECK_SOURCE_DIR "/scripts/sample-workflow.sh", projects},
                   {{"FLOATDECK_BIN", FLOATDECK_BINARY_DIR "/bin"}, {"TV_CUSTOMER", site.Path()},
                    {"MARLENV", site.Path() + ":" FLOATDECK_BINARY_DIR "/env"},
                    {"MARLDAT", site.Path()}, {"TMP", site.Path()}, {"PATH", "/usr/bin:/bin"}});
    ASSERT_EQ(made.status, 0) << made.err;
    ASSERT_EQ(made.out, "Workflow sample installed.\n");
  }
  RunResult Dump(const std::string& name) { return Run({"-i", name}, {{"TV_PROJECTS", projects}}); }
};

}  // namespace

TEST_F(FloatdeckCli, RefusedCommandLinesShowTheUsage) {
  const std::vector<std::vector<std::string>> cases = {
      {"-?"}, {"-i"}, {"-p", "wf", "dir", "extra"}, {"-i", "wf", "dir"}, {"-x"}, {"-S"},
      {"-S", "nocolon"}, {"-u"},
  };
  for (const auto& args : cases) {
    const RunResult r = Run(args);
    EXPECT_EQ(r.status, 1) << args[0];
    EXPECT_EQ(r.out, "") << args[0];
    EXPECT_EQ(Lines(r.err), 8u) << r.err;
    EXPECT_EQ(r.err.rfind("Usage: Floatdeck", 0), 0u) << r.err;
  }
}

TEST_F(FloatdeckCli, UsageFollowsTheLanguage) {
  const RunResult r = Run({"-?"}, {{"LANG", "de_DE.UTF-8"}});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(Lines(r.err), 8u);
  EXPECT_EQ(r.err.rfind("Aufruf: Floatdeck", 0), 0u) << r.err;
}

TEST_F(FloatdeckCli, ModesNotYetBuiltSayWhichAndFail) {
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"-p", "all"}, {"-S", "master:9912"}}) {
    const RunResult r = Run(args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "The mode " + args[0] + " is not available in this version of the program.\n");
  }
}

TEST_F(FloatdeckCli, MissingCatalogEndsWithACrashReport) {
  TempDir empty;
  const RunResult r = Run({"-?"}, {{"MARLENV", empty.Path()}});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find("FLOATDECKmsg.srf'"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("(Catalog,    1)"), std::string::npos) << r.err;
}

TEST_F(FloatdeckCli, SiteControlFiles) {
  TempDir dat;
  // A run file stands while the program runs and is gone after an orderly exit.
  const RunResult usage = Run({"-?"}, {{"MARLDAT", dat.Path()}, {"TV_NO_RUN_FILE", ""}});
  EXPECT_EQ(usage.status, 1);
  EXPECT_TRUE(std::filesystem::is_empty(dat.Path()));

  WriteBytes(dat.Make("stopped"), {});
  const RunResult stopped = Run({"-i", "wf"}, {{"MARLDAT", dat.Path()}, {"TV_NO_RUN_FILE", ""}});
  EXPECT_EQ(stopped.status, 0);
  EXPECT_EQ(stopped.err, "*** Tavrin software is currently disabled using a stopped file\n");

  const RunResult unwritable = Run({"-?"}, {{"MARLDAT", dat.Path() + "/stopped/sub"}, {"TV_NO_RUN_FILE", ""}});
  EXPECT_EQ(unwritable.status, 1);
  EXPECT_EQ(unwritable.err, "*** Fatal: Can't write to directory $MARLDAT==" + dat.Path() + "/stopped/sub\n");
}

TEST_F(WorkflowDump, TheSampleShowsEachFolderOnceInDepthFirstOrder) {
  const RunResult r = Dump("sample");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "\nWorkflow sample:\n"
                   "[1] START: " + start + " --> [2]\n"
                   "[2] RENAME: " + rename + " --> [3]\n"
                   "[3] DUPLICATE: " + duplicate + " --> [4], [5]\n"
                   "[4] END: " + start + "/outdir\n"
                   "[5] FILTER: " + filter + " --> [4]\n");
}

TEST_F(WorkflowDump, AFailedRebuildSaysWhyAndFails) {
  const std::string failed = "The workflow could not be rebuilt from its folders:\n";
  std::filesystem::remove_all(filter);
  const RunResult missing = Dump("sample");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out, "");
  EXPECT_EQ(missing.err, failed + "The folder " + filter + " does not exist or cannot be used.\n");

  PutFile(duplicate + "/.autoduplrc", ": _OUTDIR_=" + start + "/outdir\n: _OUTDIR2_=" + duplicate + "\n");
  const RunResult ownOut = Dump("sample");
  EXPECT_EQ(ownOut.status, 1);
  EXPECT_EQ(ownOut.err, failed + "The folder " + duplicate + " names itself as its out directory.\n");

  const RunResult unknown = Dump("nosuch");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err, failed + "The folder " + projects + "/workflow/nosuch does not exist or cannot be used.\n");
}
