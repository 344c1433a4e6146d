// The program as a user runs it: its command line, exit status and the words
// it writes, in a private site.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/Services.h"
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
  const std::string filter = projects + "/autofolder/autoswitch/flow_sample_0";
  const std::string passed = projects + "/autofolder/autosort/flow_sample_0";
  const std::string rejected = projects + "/autofolder/autosort/flow_sample_1";

  // Installing starts the watch demon, and the demon the queue: on ports of
  // this test's own, and ended with it.
  void SetUp() override {
    for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT", "TV_RMSERVER_PORT"}) ChoosePort(port);
    const RunResult made =
        RunProgram({"/bin/bash", FLOATDECK_SOURCE_DIR "/scripts/sample-workflow.sh", projects},
                   {{"FLOATDECK_BIN", FLOATDECK_BINARY_DIR "/bin"}, {"TV_CUSTOMER", site.Path()},
                    {"MARLENV", site.Path() + ":" FLOATDECK_BINARY_DIR "/env"},
                    {"MARLDAT", site.Path()}, {"TMP", site.Path()}, {"PATH", "/usr/bin:/bin"}});
    ASSERT_EQ(made.status, 0) << made.err;
    ASSERT_EQ(made.out, "Workflow sample installed.\n");
  }
  void TearDown() override { StopSiteServices(site.Path()); }
  RunResult Dump(const std::string& name) { return Run({"-i", name}, {{"TV_PROJECTS", projects}}); }
  RunResult Install(const std::vector<std::string>& args) {
    std::vector<std::string> argv{FLOATDECK_BINARY_DIR "/bin/wfinstall"};
    argv.insert(argv.end(), args.begin(), args.end());
    return RunProgram(argv, {{"TV_CUSTOMER", site.Path()}, {"TV_PROJECTS", projects}, {"MARLDAT", site.Path()},
                             {"MARLENV", site.Path() + ":" FLOATDECK_BINARY_DIR "/env"}, {"TMP", site.Path()}});
  }
  // The demon's entries, each joined from its lines, in sorted order.
  std::vector<std::string> DemonEntries() {
    std::vector<std::string> entries;
    const std::string text = FileText(site.Path() + "/tvwatchd.cfg");
    for (std::size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
      const std::string line = text.substr(at, end - at);
      if (line.rfind("FOLDER=", 0) == 0) entries.push_back(line);
      else if (line.rfind("\t", 0) == 0 && !entries.empty()) entries.back() += line;
    }
    std::sort(entries.begin(), entries.end());
    return entries;
  }
  std::vector<std::string> RcFiles() {
    return {FileText(start + "/.autostartrc"), FileText(rename + "/.autorenmrc"),
            FileText(duplicate + "/.autoduplrc"), FileText(filter + "/.autoswitchrc"),
            FileText(passed + "/.autosortrc"),   FileText(rejected + "/.autosortrc")};
  }
};

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

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

TEST_F(FloatdeckCli, SlaveWithoutMasterFails) {
  // Nobody listens on port 1: the slave cannot connect and fails quietly.
  const RunResult r = Run({"-S", "127.0.0.1:1"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  // A port outside 1..65535 is no port.
  const RunResult zero = Run({"-S", "master:0"});
  EXPECT_EQ(zero.status, 1);
  EXPECT_EQ(zero.err.rfind("Usage: Floatdeck", 0), 0u) << zero.err;
}

TEST_F(FloatdeckCli, MissingCatalogEndsWithACrashReport) {
  TempDir empty;
  const RunResult r = Run({"-?"}, {{"MARLENV", empty.Path()}});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  // The first catalog the program opens is named (a front end's, at start-up).
  EXPECT_NE(r.err.find("msg.srf'"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("(Catalog,    1)"), std::string::npos) << r.err;
}

TEST_F(FloatdeckCli, SiteControlFiles) {
  // That no run file outlives an orderly exit is held by ProgramUsage_test.
  TempDir dat;
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
                   "[5] SWITCH: " + filter + " --> [6], [7]\n"
                   "[6] SORT: " + passed + "\n"
                   "[7] SORT: " + rejected + "\n");
}

TEST_F(WorkflowDump, AFailedRebuildSaysWhyAndFails) {
  const std::string failed = "The workflow could not be rebuilt from its folders\n";
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

TEST_F(WorkflowDump, PackedRemovedAndUnpackedTheSampleIsAsBefore) {
  const std::string dump = Dump("sample").err;
  const auto rcFiles = RcFiles();
  const auto entries = DemonEntries();
  ASSERT_EQ(entries.size(), 5u);
  const RunResult packed = Run({"-p", "sample"}, {{"TV_PROJECTS", projects}, {"TMP", site.Path()}});
  EXPECT_EQ(packed.status, 0);
  EXPECT_EQ(packed.err, "\nThe workflow sample has been packed into " + projects + "/wfbackup/sample.tar.\n");
  ASSERT_EQ(Install({"-r", "sample"}).status, 0);
  ASSERT_FALSE(std::filesystem::exists(start));

  const RunResult unpacked = Run({"-u", "sample"}, {{"TV_PROJECTS", projects}, {"TMP", site.Path()}});
  EXPECT_EQ(unpacked.status, 0) << unpacked.err;
  EXPECT_EQ(unpacked.out, "");
  EXPECT_EQ(Dump("sample").err, dump);
  EXPECT_EQ(RcFiles(), rcFiles);
  EXPECT_EQ(DemonEntries(), entries);
  const RunResult again = Run({"-u", "sample"}, {{"TV_PROJECTS", projects}, {"TMP", site.Path()}});
  EXPECT_EQ(again.status, 1);
  EXPECT_EQ(again.err, "\nThe workflow sample exists already and is not overwritten.\n");
}

TEST_F(WorkflowDump, AllWorkflowsMoveToAnotherProjectsTreeWithTheirGroups) {
  ASSERT_EQ(Install({"-w", "second", FLOATDECK_SOURCE_DIR "/scripts/sample.wf"}).status, 0);
  PutFile(site.Path() + "/floatdeck.groups", "one\\:two:sample\nthree:second\n");
  TempDir archives, other;
  const RunResult packed = Run({"-p", "all", archives.Path()}, {{"TV_PROJECTS", projects}, {"TMP", site.Path()}});
  EXPECT_EQ(packed.status, 0);
  EXPECT_EQ(packed.err, "Packing the workflow sample (1/2).\n\nPacking the workflow second (2/2).\n\n"
                        "All workflows have been packed.\n");

  const std::string elsewhere = other.Path() + "/projects";  // an empty tree
  std::filesystem::create_directory(elsewhere);
  for (const char* name : {"sample", "second"}) {
    const RunResult r = Run({"-u", archives.Path() + "/" + name + ".tar"},
                            {{"TV_PROJECTS", elsewhere}, {"TV_CUSTOMER", other.Path()}, {"TMP", other.Path()}});
    EXPECT_EQ(r.status, 0) << r.err;
  }
  for (const char* name : {"sample", "second"}) {
    const RunResult there = Run({"-i", name}, {{"TV_PROJECTS", elsewhere}, {"TV_CUSTOMER", other.Path()}});
    EXPECT_EQ(there.err, Replaced(Dump(name).err, projects, elsewhere));
  }
  const std::string groups = FileText(other.Path() + "/floatdeck.groups");
  EXPECT_TRUE(groups == "one\\:two:sample\nthree:second\n" || groups == "three:second\none\\:two:sample\n") << groups;
}
