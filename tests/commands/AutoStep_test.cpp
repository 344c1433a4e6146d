// The module commands run as a job of the queue runs them: "sh -c" on the
// command text in the folder, the file names quoted, on folders and rc files
// that the install tool made. What arrives where, with which name; what a
// failure leaves in the error directory; and that a step killed at any point
// and run again delivers each file exactly once.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <regex>

#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

const std::string kBin = std::string(FLOATDECK_BINARY_DIR) + "/bin/";

// Names that a shell, a record line or a careless split would change.
const std::vector<std::string> kOddNames = {"plain_07.tif", "two  blanks_07.tif", "it's \"q\"_07.tif",
                                            "$HOME `x`_07.tif", "line\nfeed_07.tif", "tab\there\\_07.tif"};

// A word for the shell that stands for `text` whatever it holds.
std::string Quote(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// The names in `dir`, sorted; dot names too.
std::vector<std::string> Names(const std::string& dir) {
  std::vector<std::string> names;
  if (fs::is_directory(dir))
    for (const auto& entry : fs::directory_iterator(dir)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

using Names_t = std::vector<std::string>;

class AutoStep : public ::testing::Test {
 protected:
  TempDir site;
  const std::string projects = site.Path() + "/projects";
  const std::string start = projects + "/workflow/t";
  const std::string outdir = start + "/outdir";
  const std::string errors = start + "/error";
  const std::string ren = projects + "/autofolder/autorename/flow_t_0";
  const std::string dup = projects + "/autofolder/autoduplicate/flow_t_0";
  const std::string chk = projects + "/autofolder/check/flow_t_0";
  const std::string sw = projects + "/autofolder/autoswitch/flow_t_0";
  const std::string log = projects + "/autofolder/autolog/flow_t_0";
  const std::string srt = projects + "/autofolder/autosort/flow_t_0";

  void SetUp() override {
    for (const char* dir : {"projects", "customer", "env", "dat", "tmp"}) fs::create_directories(site.Path() + "/" + dir);
    // "ab_07.tif" becomes "AB-08.tif"; a name without "_NN.tif" doesn't fit.
    PutFile(site.Path() + "/s.trs",
            "V2 [NAME1]1-60\"_\"[NUM1]<1-99>2\".tif\"\n=> [1]^\"-\"[3]INC(1)\".tif\"\nEXAMPLE \"ab\\|_\\|07\\|.tif\"\n");
    // The switch sends names that begin with "PLAIN" to its first out.
    PutFile(site.Path() + "/p.trs", "V2 \"PLAIN\"[CHARS]1-60\nEXAMPLE \"PLAIN\\|-08.tif\"\n");
  }

  std::vector<std::pair<std::string, std::string>> Env(std::vector<std::pair<std::string, std::string>> more = {}) const {
    std::vector<std::pair<std::string, std::string>> env = {
        {"TV_PROJECTS", projects},  {"TV_CUSTOMER", site.Path() + "/customer"},
        {"MARLENV", site.Path() + "/env:" FLOATDECK_BINARY_DIR "/env"}, {"MARLDAT", site.Path() + "/dat"},
        {"MARLLIB", ""},            {"TMP", site.Path() + "/tmp"},
        {"LANGUAGE", ""},           {"LANG", "C"},
        {"PATH", kBin + ":/usr/bin:/bin"}, {"TV_STEP_FAULT", ""}, {"CCJOB_ID", ""},
        {"TV_NO_RUN_FILE", ""}};
    env.insert(env.end(), more.begin(), more.end());
    return env;
  }
  void Install(const std::string& text) {
    PutFile(site.Path() + "/wf.txt", text);
    // The steps are run by hand here: no demon may take the files.
    const RunResult r = RunProgram({kBin + "wfinstall", "-n", site.Path() + "/wf.txt"}, Env());
    ASSERT_EQ(r.status, 0) << r.err;
  }
  void InstallRoad() {
    Install("workflow t\n"
            "start     in   -> ren\n"
            "rename    ren  -> dup  SCHEME=" + site.Path() + "/s.trs\n"
            "duplicate dup  -> chk srt\n"
            "check     chk  -> sw\n"
            "switch    sw   -> lg outdir SCHEME=" + site.Path() + "/p.trs\n"
            "log       lg   -> outdir\n"
            "sort      srt\n");
  }
  // `command` (the command word and rc file, as the demon's entry has them)
  // on `files`, in `dir`, as the worker runs a job's command text.
  RunResult Step(const std::string& dir, const std::string& command, const std::vector<std::string>& files,
                 std::vector<std::pair<std::string, std::string>> more = {}) {
    std::string text = command;
    for (const std::string& file : files) text += " " + Quote(file);
    return RunProgram({"/bin/sh", "-c", "cd " + Quote(dir) + " && eval \"$0\"", text}, Env(more));
  }
  // Step, which must end with status 0.
  void StepOk(const std::string& dir, const std::string& command, const std::vector<std::string>& files) {
    const RunResult r = Step(dir, command, files);
    ASSERT_EQ(r.status, 0) << r.err;
  }
  // The names in `dir` that are neither dot files nor rc files.
  Names_t Files(const std::string& dir) {
    Names_t files;
    for (const std::string& name : Names(dir))
      if (name[0] != '.' || name.find(".fdstep") != std::string::npos || name.find(".tmp") != std::string::npos)
        if (name.rfind(".auto", 0) != 0 && name != ".TVWatchD_omit" && name != ".readyFiles") files.push_back(name);
    return files;
  }
};

std::string Renamed(std::string name) {  // what s.trs makes of "x_07.tif"
  name.replace(name.size() - 7, 3, "-08");
  for (std::size_t i = 0; i + 7 < name.size(); ++i)
    if (name[i] >= 'a' && name[i] <= 'z') name[i] = static_cast<char>(name[i] - 'a' + 'A');
  return name;
}

TEST_F(AutoStep, OddNamesTravelTheWholeRoadRenamedDuplicatedSwitchedLoggedAndSorted) {
  InstallRoad();
  for (const std::string& name : kOddNames) PutFile(start + "/" + name, "content of " + name);

  RunResult r = Step(start, "autostart.sh .autostartrc", kOddNames);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Files(start), Names_t({"error", "outdir"}));
  r = Step(ren, "autorenm.sh .autorenmrc", kOddNames);
  ASSERT_EQ(r.status, 0) << r.err;
  Names_t renamed;
  for (const std::string& name : kOddNames) renamed.push_back(Renamed(name));
  std::sort(renamed.begin(), renamed.end());
  ASSERT_EQ(Files(dup), renamed);

  r = Step(dup, "autodupl.sh .autoduplrc", renamed);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Files(dup), Names_t());
  EXPECT_EQ(Files(chk), renamed);
  EXPECT_EQ(Files(srt), renamed);
  for (const std::string& name : kOddNames) EXPECT_EQ(FileText(srt + "/" + Renamed(name)), "content of " + name);

  // The check passes everything on; the switch sends "PLAIN..." through the
  // log, the others straight to the end.
  StepOk(chk, "readyForCheck.sh .autocheckrc", renamed);
  StepOk(sw, "AutoSwch .autoswitchrc", renamed);
  EXPECT_EQ(Files(log), Names_t({"PLAIN-08.tif"}));
  StepOk(log, "AutoLog .autologrc", {"PLAIN-08.tif"});
  EXPECT_EQ(Files(log), Names_t({"Log"}));
  EXPECT_TRUE(std::regex_search(FileText(log + "/Log"), std::regex("^[ 0-9][0-9]-[A-Z][a-z]{2}-[0-9]{4}  [ 0-9][0-9]:[0-9]{2}:[0-9]{2}  23  PLAIN-08.tif\n$"))) << FileText(log + "/Log");
  EXPECT_EQ(Files(outdir), renamed);

  // The sort files each by its suffix; a file in a sorted directory stays.
  StepOk(srt, "AutoSort .autosortrc", renamed);
  EXPECT_EQ(Files(srt), Names_t({"tif"}));
  EXPECT_EQ(Files(srt + "/tif"), renamed);
  StepOk(srt + "/tif", "AutoSort .autosortrc", {renamed[0]});
  EXPECT_EQ(Files(srt + "/tif"), renamed);
}

TEST_F(AutoStep, AFailedFileLiesInTheErrorDirectoryWithItsErrFile) {
  InstallRoad();
  for (const std::string name : {"nomatch.tif", "good_01.tif"}) PutFile(ren + "/" + name, name);
  RunResult r = Step(ren, "autorenm.sh .autorenmrc", {"nomatch.tif", "good_01.tif"}, {{"CCJOB_ID", "h-1-2-3"}});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("nomatch.tif does not fit the rename scheme"), std::string::npos) << r.err;
  EXPECT_EQ(Files(dup), Names_t({"GOOD-02.tif"}));
  const Names_t failed = Files(errors);
  ASSERT_EQ(failed.size(), 2u);
  EXPECT_TRUE(std::regex_match(failed[0], std::regex("[0-9]{14}_nomatch\\.tif")));
  EXPECT_EQ(failed[1], failed[0] + ".err");
  EXPECT_EQ(FileText(errors + "/" + failed[0]), "nomatch.tif");
  EXPECT_EQ(FileText(errors + "/" + failed[1]),
            ren + "\nnomatch.tif does not fit the rename scheme " + site.Path() + "/s.trs.\nJob h-1-2-3\n");

  // The same name failing again in the same second takes the next stamp.
  PutFile(ren + "/nomatch.tif", "again");
  EXPECT_EQ(Step(ren, "autorenm.sh .autorenmrc", {"nomatch.tif"}).status, 1);
  EXPECT_EQ(Files(errors).size(), 4u);

  // A kind without its engine fails every file, for good; a taken name in
  // an out is a failure too, and the file there stays.
  Install("workflow e\nstart in -> flt\nfilter flt -> outdir\n");
  const std::string flt = projects + "/autofolder/autofilter/flow_e_0";
  PutFile(flt + "/x.tif", "x");
  PutFile(projects + "/workflow/e/in.tif", "new");
  PutFile(flt + "/in.tif", "old");
  r = Step(flt, "autofilter.sh .autofilterrc", {"x.tif"});
  EXPECT_EQ(r.status, 1);
  r = Step(projects + "/workflow/e", "autostart.sh .autostartrc", {"in.tif"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(FileText(flt + "/in.tif"), "old");
  const Names_t e = Files(projects + "/workflow/e/error");
  ASSERT_EQ(e.size(), 4u);
  // The stamps may lie in different seconds: the .err files by their names.
  const auto errOf = [&](const std::string& name) {
    for (const std::string& file : e)
      if (file.ends_with("_" + name + ".err")) return FileText(projects + "/workflow/e/error/" + file);
    return std::string("no .err file for ") + name;
  };
  EXPECT_NE(errOf("in.tif").find("A file " + flt + "/in.tif is there already."), std::string::npos);
  EXPECT_EQ(errOf("x.tif"), flt + "\nThe step Filter needs an engine for raster images, which this installation does not have: "
                                  "the file was not processed.\nNO RETRY\n");
}

// Runs `step` with the fault point n = 1, 2, ... until a run is not killed;
// after every killed run the file must be whole in its folder or placed
// wholly, and a rerun must end as the undisturbed run ends.
using Env_t = std::vector<std::pair<std::string, std::string>>;
void KillAtEveryPoint(const std::function<void()>& prepare, const std::function<RunResult(Env_t)>& step,
                      const std::function<void(const std::string&, const RunResult&)>& check) {
  for (int n = 1;; ++n) {
    prepare();
    const RunResult killed = step({{"TV_STEP_FAULT", std::to_string(n)}});
    if (killed.status != 128 + SIGKILL) {
      ASSERT_GT(n, 2) << "the step passes fault points";
      check("undisturbed", killed);
      return;
    }
    const RunResult rerun = step({});
    check("killed at point " + std::to_string(n), rerun);
  }
}

TEST_F(AutoStep, AStepKilledAtAnyPointAndRunAgainDeliversEachFileOnce) {
  InstallRoad();
  const std::string shm = "/dev/shm/floatdeck-step-" + std::to_string(::getpid());
  fs::create_directories(shm);
  struct Cleanup {
    std::string dir;
    ~Cleanup() { fs::remove_all(dir); }
  } cleanup{shm};
  Install("workflow c\nstart in -> dist MODE=2\ndistribute dist DISTDIR_0=" + shm + "\n");
  const std::string copyStart = projects + "/workflow/c";
  const std::string dist = projects + "/autofolder/autodistribute/flow_c_0";

  struct Case {
    std::string what, dir, command, file;
    std::vector<std::string> places;  // where the file must be, each once, after the run
    bool keep;                        // the file stays in its folder too
  };
  const std::vector<Case> cases = {
      {"duplicate", dup, "autodupl.sh .autoduplrc", "A B_01.tif", {chk, srt}, false},
      {"copying start", copyStart, "autostart.sh .autostartrc", "c'1.tif", {dist}, true},
      {"move into another file system", dist, "AutoDist .autodistributerc", "m\n1.tif", {shm}, false},
      {"failure", ren, "autorenm.sh .autorenmrc", "no match.tif", {errors}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string content(100000, 'x');
    auto clear = [&] {
      for (const std::string& dir : c.places)
        for (const std::string& name : Files(dir)) fs::remove(dir + "/" + name);
      for (const std::string& name : Files(c.dir)) fs::remove(c.dir + "/" + name);
    };
    KillAtEveryPoint(
        [&] { clear(); PutFile(c.dir + "/" + c.file, content); },
        [&](Env_t env) { return Step(c.dir, c.command, {c.file}, env); },
        [&](const std::string& when, const RunResult& r) {
          SCOPED_TRACE(when);
          EXPECT_EQ(r.status, c.places[0] == errors ? 1 : 0) << r.err;
          EXPECT_EQ(Files(c.dir), c.keep ? Names_t({"." + c.file + ".fdstep", c.file}) : Names_t()) << "nothing left behind";
          for (const std::string& dir : c.places) {
            const Names_t there = Files(dir);
            ASSERT_EQ(there.size(), dir == errors ? 2u : 1u) << dir;
            EXPECT_EQ(FileText(dir + "/" + there[0]), content);
          }
        });
  }
}

TEST_F(AutoStep, TwoRunsOnOneFileDeliverItOnce) {
  InstallRoad();
  for (int round = 0; round < 20; ++round) {
    const std::string name = Quote("f" + std::to_string(round) + ".tif");
    PutFile(dup + "/f" + std::to_string(round) + ".tif", std::string(200000, 'd'));
    const std::string run = "autodupl.sh .autoduplrc " + name;
    const RunResult r = Step(dup, run + " & p=$!; " + run + "; s=$?; wait $p; exit $((s | $?))", {});
    EXPECT_EQ(r.status, 0) << r.err;
  }
  EXPECT_EQ(Files(dup), Names_t());
  EXPECT_EQ(Files(chk).size(), 20u);
  EXPECT_EQ(Files(srt).size(), 20u);
}

TEST_F(AutoStep, StartFolderModesTicketsAndSubdirectories) {
  Install("workflow t\nstart in -> outdir MODE=3 SUBDIRS=_TRUE_ EXTENDDELIMITER=+\n");
  // The start's dialog extends no names of job tickets; the step still does
  // what an rc of an older install asks.
  std::string rc = FileText(start + "/.autostartrc");
  rc.replace(rc.find("EXTENDFILENAMES=_FALSE_"), 23, "EXTENDFILENAMES=_TRUE_");
  PutFile(start + "/.autostartrc", rc);
  fs::create_directories(start + "/job+a/b");
  PutFile(start + "/job+a/b/p.tif", "p");
  PutFile(start + "/t.jtq", "ticket");
  // The demon of a tree runs the command in the file's own directory.
  StepOk(start + "/job+a/b", "autostart.sh .autostartrc", {"p.tif"});
  StepOk(start, "autostart.sh .autostartrc", {"t.jtq"});
  EXPECT_EQ(Files(outdir), Names_t({"job-a+b+p.jtt", "t.jtq"}));
  EXPECT_EQ(FileText(outdir + "/job-a+b+p.jtt"),
            "#T Tavrin-1.0 workflow ticket file\nIMAGEREFERENCE=" + start + "/job+a/b/p.tif\n");
  EXPECT_EQ(Files(start + "/job+a/b"), Names_t({".p.tif.fdstep", "p.tif"})) << "the image stays, marked done";
  // A second run on the same image (the demon forgot it) changes nothing.
  fs::remove(outdir + "/job-a+b+p.jtt");
  StepOk(start + "/job+a/b", "autostart.sh .autostartrc", {"p.tif"});
  EXPECT_EQ(Files(outdir), Names_t({"t.jtq"}));
}

TEST_F(AutoStep, EachKindFollowsItsRcFile) {
  PutFile(site.Path() + "/x.trs", "V2 \"x\"[CHARS]1-60\nEXAMPLE \"x\\|y\"\n");
  PutFile(site.Path() + "/n.trs", "V2 [NAME1]1-20\"-\"[CHARS]1-20\nEXAMPLE \"A\\|-\\|02.tif\"\n");
  Install("workflow k\n"
          "start  in  -> ren MODE=1\n"
          "rename ren -> sw  MODE=3 SCHEMECOUNT=2 SCHEME_0=" + site.Path() + "/x.trs SCHEME_1=" + site.Path() +
          "/s.trs NOMATCHMODE=1\n"
          "switch sw  -> srt outdir MODE=2 IMAGEFORMATS=\".tif .pdf\"\n"
          "sort   srt MODE=1 SCHEME=" + site.Path() + "/n.trs\n");
  const std::string in = projects + "/workflow/k", renK = projects + "/autofolder/autorename/flow_k_0";
  const std::string swK = projects + "/autofolder/autoswitch/flow_k_0", srtK = projects + "/autofolder/autosort/flow_k_0";
  const Names_t files = {"a_01.tif", "other.PDF", "z.txt"};
  for (const std::string& name : files) PutFile(in + "/" + name, name);

  StepOk(in, "autostart.sh .autostartrc", files);
  for (const std::string& name : files) EXPECT_TRUE(fs::exists(in + "/" + name)) << "a linking start keeps its files";
  EXPECT_EQ(fs::read_symlink(renK + "/a_01.tif"), in + "/a_01.tif");
  // The second scheme renames; a name that fits none passes unchanged.
  StepOk(renK, "autorenm.sh .autorenmrc", files);
  EXPECT_EQ(Files(swK), Names_t({"A-02.tif", "other.PDF", "z.txt"}));
  // By format: the suffixes in any case go to out 1, the rest to out 2.
  StepOk(swK, "AutoSwch .autoswitchrc", {"A-02.tif", "other.PDF", "z.txt"});
  EXPECT_EQ(Files(srtK), Names_t({"A-02.tif", "other.PDF"}));
  EXPECT_EQ(Files(projects + "/workflow/k/outdir"), Names_t({"z.txt"}));
  // Sorted by the NAME1 segment; a name the scheme doesn't fit fails.
  const RunResult r = Step(srtK, "AutoSort .autosortrc", {"A-02.tif", "other.PDF"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(Files(srtK), Names_t({"A"}));
  EXPECT_EQ(FileText(srtK + "/A/A-02.tif"), "a_01.tif") << "the link's file";
  EXPECT_EQ(Files(projects + "/workflow/k/error").size(), 2u);
}

TEST_F(AutoStep, WithoutItsRcFileAFileFailsAndWithoutAnErrorDirectoryItStays) {
  InstallRoad();
  PutFile(ren + "/.autorenmrc", ": SCHEME=x\nnot an option\n");
  PutFile(ren + "/a_01.tif", "a");
  RunResult r = Step(ren, "autorenm.sh .autorenmrc", {"a_01.tif"});
  EXPECT_EQ(r.status, 1);
  const Names_t failed = Files(errors);
  ASSERT_EQ(failed.size(), 2u);
  EXPECT_EQ(FileText(errors + "/" + failed[1]), ren + "\nThe rc file " + ren + "/.autorenmrc is damaged.\n");

  // A folder of no workflow has no error directory: the file stays.
  const std::string loose = site.Make("loose/f");
  PutFile(loose, "f");
  PutFile(site.Path() + "/loose/.autocheckrc", ": _OUTDIR_=" + site.Path() + "/nowhere\n");
  r = Step(site.Path() + "/loose", "readyForCheck.sh .autocheckrc", {"f"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("The out directory " + site.Path() + "/nowhere is missing."), std::string::npos) << r.err;
  EXPECT_EQ(Files(site.Path() + "/loose"), Names_t({"f"}));

  // A stopped installation runs no step.
  PutFile(site.Path() + "/dat/stopped", "");
  PutFile(dup + "/d", "d");
  r = Step(dup, "autodupl.sh .autoduplrc", {"d"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(Files(dup), Names_t({"d"}));
}

TEST_F(AutoStep, DeleteAndDistributeEnds) {
  const std::string a = site.Make("a/x"), b = site.Make("b/x");
  fs::remove(a);
  fs::remove(b);
  PutFile(site.Path() + "/a/old", "");
  Install("workflow d\nstart in -> dist\ndistribute dist DISTDIR_0=" + site.Path() + "/a DISTDIR_1=" + site.Path() + "/b\n");
  const std::string dist = projects + "/autofolder/autodistribute/flow_d_0";
  PutFile(dist + "/one", "1");
  PutFile(dist + "/two", "2");
  StepOk(dist, "AutoDist .autodistributerc", {"one", "two"});
  EXPECT_EQ(Names(site.Path() + "/a"), Names_t({"old", "two"})) << "each to the directory holding fewest files";
  EXPECT_EQ(Names(site.Path() + "/b"), Names_t({"one"}));

  const std::string trash = projects + "/autofolder/autodelete";
  fs::create_directories(trash);
  PutFile(trash + "/gone me", "");
  StepOk(trash, "imgrm -f", {"gone me", "never there"});
  EXPECT_EQ(Names(trash), Names_t());
}

TEST_F(AutoStep, InstallPutsEveryCommandOfTheTableBesideTheProgram) {
  TempDir prefix;
  const RunResult r = RunProgram({CMAKE_COMMAND, "--install", FLOATDECK_BINARY_DIR, "--prefix", prefix.Path()}, {});
  ASSERT_EQ(r.status, 0) << r.err;
  for (const char* command : {"autostart.sh", "autorenm.sh", "AutoSwch", "imgrm", "autorip.sh", "AutoCIP3"}) {
    EXPECT_EQ(fs::read_symlink(prefix.Path() + "/bin/" + command), "AutoStep") << command;
    EXPECT_EQ(fs::read_symlink(kBin + command), "AutoStep") << command;
  }
  EXPECT_EQ(RunProgram({prefix.Path() + "/bin/autorenm.sh"}, Env()).status, 1) << "no file: usage";
}

}  // namespace
