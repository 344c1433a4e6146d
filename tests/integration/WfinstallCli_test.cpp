// The install tool as an operator runs it, in a private site: what lands on
// disk, in the demon's configuration and in the remote watch configuration,
// what a second install rewrites, removals and their refusals, many installs
// at once, and installs that fail part way.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>

#include "tests/support/Services.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

const std::string kBin = std::string(FLOATDECK_BINARY_DIR) + "/bin/";

const std::string kSample =
    "workflow sample\n"
    "start     in    -> ren\n"
    "rename    ren   -> dup\n"
    "duplicate dup   -> outdir filt   # out 1, out 2\n"
    "filter    filt  -> outdir\n";
// A remote start under number 3: written back as number 0.
const std::string kRemote = "start in -> ren REMOTESTART_3/SERVERNAME=ftp1 REMOTESTART_3/SERVERDIR=/in\n";

// `text` with its line that begins like `line` replaced by `line`.
std::string With(std::string text, const std::string& line) {
  const std::size_t at = text.find("\n" + line.substr(0, line.find(' ')));
  const std::size_t end = text.find('\n', at + 1);
  return text.replace(at + 1, end - at, line);
}

class Wfinstall : public ::testing::Test {
 protected:
  TempDir site;
  const std::string projects = site.Path() + "/projects";
  const std::string start = projects + "/workflow/sample";
  const std::string rename = projects + "/autofolder/autorename/flow_sample_0";
  const std::string duplicate = projects + "/autofolder/autoduplicate/flow_sample_0";
  const std::string filter = projects + "/autofolder/autofilter/flow_sample_0";

  // Installing starts the watch demon, and the demon the queue: on ports of
  // this test's own, and ended with it.
  void SetUp() override {
    for (const char* dir : {"projects", "customer", "env", "dat", "tmp"}) fs::create_directories(site.Path() + "/" + dir);
    for (const char* port : {"TV_CCSERVER_PORT", "TV_CCWORKER_PORT", "TV_RMSERVER_PORT"}) ChoosePort(port);
    // The server the remote starts of the descriptions name.
    PutFile(site.Path() + "/customer/RemoteWatchDaemon.cfg",
            "SERVER = {\n  NAME = \"ftp1\";\n  PROTOCOL = ftp;\n  NO_PROXY = false;\n};\n");
  }
  void TearDown() override { StopSiteServices(site.Path() + "/dat"); }

  std::vector<std::pair<std::string, std::string>> Env() const {
    return {{"TV_PROJECTS", projects},
            {"TV_CUSTOMER", site.Path() + "/customer"},
            {"MARLENV", site.Path() + "/env:" FLOATDECK_BINARY_DIR "/env"},
            {"MARLDAT", site.Path() + "/dat"},
            {"MARLLIB", ""},
            {"TMP", site.Path() + "/tmp"},
            {"LANGUAGE", ""},
            {"LANG", "C"},
            {"PATH", "/usr/bin:/bin"}};
  }
  RunResult Tool(std::vector<std::string> args) {
    args.insert(args.begin(), kBin + "wfinstall");
    return RunProgram(args, Env());
  }
  RunResult Install(const std::string& text, std::vector<std::string> extra = {}) {
    PutFile(site.Path() + "/wf.txt", text);
    extra.push_back(site.Path() + "/wf.txt");
    return Tool(extra);
  }
  std::string Dump(const std::string& name = "sample") {
    const RunResult r = RunProgram({kBin + "Floatdeck", "-i", name}, Env());
    return r.status == 0 ? r.err : "failed: " + r.err;
  }
  // The demon's entries: folder -> the line's fields, wrapped lines joined.
  std::map<std::string, std::string> Entries() const {
    const std::string text = std::regex_replace(FileText(site.Path() + "/env/tvwatchd.cfg"),
                                                std::regex("\\\\\n\t"), "");
    std::map<std::string, std::string> entries;
    std::smatch m;
    for (auto at = text.cbegin(); std::regex_search(at, text.cend(), m, std::regex("FOLDER=([^:\n]*)(.*)\n"));
         at = m.suffix().first) {
      entries[m[1]] = m[2];
    }
    return entries;
  }
  std::string RemoteWatch() const { return FileText(site.Path() + "/customer/RemoteWatchDaemon.cfg"); }
  // The demon's configuration and everything below the projects directory
  // with its content: what a refused install must leave as it was.
  std::map<std::string, std::string> Everything() const {
    std::map<std::string, std::string> files = {{"cfg", FileText(site.Path() + "/env/tvwatchd.cfg")}};
    for (const auto& entry : fs::recursive_directory_iterator(projects)) {
      files[entry.path()] = entry.is_regular_file() ? FileText(entry.path()) : "";
    }
    return files;
  }
  // Every file below the projects directory with its time, all set back to
  // one old time first, so that what a run writes shows without waiting.
  std::map<std::string, fs::file_time_type> AgeFiles() {
    std::map<std::string, fs::file_time_type> times;
    for (const auto& entry : fs::recursive_directory_iterator(projects)) {
      if (!entry.is_regular_file()) continue;
      const utimbuf old{1000000, 1000000};
      ::utime(entry.path().c_str(), &old);
      times[entry.path()] = fs::last_write_time(entry.path());
    }
    return times;
  }
  std::vector<std::string> Rewritten(const std::map<std::string, fs::file_time_type>& before) {
    std::vector<std::string> changed;
    for (const auto& [path, time] : before) {
      if (!fs::exists(path) || fs::last_write_time(path) != time) changed.push_back(path);
    }
    return changed;
  }
  std::string FiveLines() const {
    return "\nWorkflow sample:\n"
           "[1] START: " + start + " --> [2]\n"
           "[2] RENAME: " + rename + " --> [3]\n"
           "[3] DUPLICATE: " + duplicate + " --> [4], [5]\n"
           "[4] END: " + start + "/outdir\n"
           "[5] FILTER: " + filter + " --> [4]\n";
  }
};

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST_F(Wfinstall, InstallsTheDescribedWorkflowWithItsDemonAndRemoteWatchEntries) {
  const RunResult r = Install(With(kSample, kRemote));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "Workflow sample installed.\n");
  EXPECT_EQ(Dump(), FiveLines());
  for (const std::string& dir : {start, rename, duplicate, filter}) {
    EXPECT_TRUE(fs::exists(dir + "/.TVWatchD_omit")) << dir << ": a new workflow starts stopped";
  }
  EXPECT_TRUE(Has(FileText(rename + "/.autorenmrc"), ": _DESCRIPTION_=ren\n"));

  // Start and rename have entries of their own, duplicate and filter their
  // module's tree; the end has none.
  const auto entries = Entries();
  ASSERT_EQ(entries.size(), 4u) << FileText(site.Path() + "/env/tvwatchd.cfg");
  // The start takes what its first step takes: images, for the rename.
  EXPECT_TRUE(Has(entries.at(start), ":FILES=<images>:CMD=autostart.sh:READABLECMD=AutoStart:OPTIONS=.autostartrc"))
      << entries.at(start);
  EXPECT_FALSE(Has(entries.at(start), "SUBDIRS"));
  EXPECT_TRUE(Has(entries.at(rename), ":FILES=<images>:CMD=autorenm.sh:READABLECMD=AutoRename:OPTIONS=.autorenmrc"));
  EXPECT_TRUE(Has(entries.at(projects + "/autofolder/autoduplicate"),
                  ":SUBDIRS=TRUE:OMIT=.*,Network Trash Folder"));
  EXPECT_TRUE(Has(entries.at(projects + "/autofolder/autofilter"), ":CMD=autofilter.sh:"));

  // One remote hot folder on the workflow's behalf, feeding the start folder.
  const std::string rw = RemoteWatch();
  EXPECT_TRUE(Has(rw, "SERVER_NAME = \"ftp1\";\n  REMOTE_SOURCE_DIRECTORY = \"/in\";\n"
                      "  LOCAL_TARGET_DIRECTORY = \"" + start + "\";\n"
                      "  FILE_REGULAR_EXPRESSION = \".+\\\\..*$\";\n"
                      "  DELETE_SOURCE_FILES_AFTER_COPY = false;\n"
                      "  TARGETID = {\n    KIND = workflow;\n    NAME = \"sample\";\n  };\n")) << rw;

  const std::string rc = FileText(start + "/.autostartrc");
  EXPECT_TRUE(Has(rc, ": REMOTESTART_0/SERVERNAME=ftp1\n") && !Has(rc, "REMOTESTART_3")) << rc;

  // Without remote starts the hot folder goes; the server stays.
  ASSERT_EQ(Install(kSample).status, 0);
  EXPECT_FALSE(Has(RemoteWatch(), "HOTFOLDER")) << RemoteWatch();
  EXPECT_TRUE(Has(RemoteWatch(), "NAME = \"ftp1\";")) << RemoteWatch();
}

TEST_F(Wfinstall, ASecondInstallRewritesOnlyWhatChanged) {
  ASSERT_EQ(Install(kSample).status, 0);
  const std::string config = FileText(site.Path() + "/env/tvwatchd.cfg");
  auto before = AgeFiles();
  const RunResult same = Install(kSample);
  EXPECT_EQ(same.status, 0) << same.err;
  EXPECT_EQ(same.out, "Workflow sample is installed as described; nothing was to change.\n");
  EXPECT_TRUE(Rewritten(before).empty());
  EXPECT_EQ(FileText(site.Path() + "/env/tvwatchd.cfg"), config);

  // A rename that works on any file: its rc, its stop mark and its entry;
  // the start follows it to any file (its automatic file mode), so it is
  // changed and stopped too.
  before = AgeFiles();
  ASSERT_EQ(Install(With(kSample, "rename ren -> dup MODE=1\n")).status, 0);
  std::vector<std::string> rewritten = Rewritten(before);
  std::sort(rewritten.begin(), rewritten.end());
  EXPECT_EQ(rewritten, (std::vector<std::string>{rename + "/.TVWatchD_omit", rename + "/.autorenmrc",
                                                 start + "/.TVWatchD_omit", start + "/.autostartrc"}));
  EXPECT_EQ(FileText(start + "/.autostartrc").substr(0, 3), "mv\n");
  EXPECT_TRUE(Has(Entries().at(rename), ":FILES=^[^\\.]:CMD=autorenm.sh:"));
  EXPECT_EQ(Dump(), FiveLines());
}

TEST_F(Wfinstall, FoldersTakenOutAreDeletedUnlessTheyHoldFiles) {
  ASSERT_EQ(Install(kSample).status, 0);
  const std::string without =
      "workflow sample\nstart in -> dup\nduplicate dup -> outdir filt\nfilter filt -> outdir\n";
  PutFile(rename + "/job.tif", "work in progress");
  const auto before = AgeFiles();
  const RunResult refused = Install(without);
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(Has(refused.err, rename + " still holds files")) << refused.err;
  EXPECT_TRUE(Rewritten(before).empty()) << "nothing is written";
  EXPECT_EQ(Dump(), FiveLines());

  const RunResult forced = Install(without, {"-f"});
  ASSERT_EQ(forced.status, 0) << forced.err;
  EXPECT_FALSE(fs::exists(rename));
  EXPECT_EQ(Entries().count(rename), 0u);
  EXPECT_TRUE(Has(Dump(), "[1] START: " + start + " --> [2]\n[2] DUPLICATE: "));

  // Removing the workflow: its end directory holds a result.
  PutFile(start + "/outdir/result.tif", "done");
  EXPECT_EQ(Tool({"-r", "sample"}).status, 1);
  EXPECT_TRUE(fs::exists(start + "/outdir/result.tif"));
  const RunResult removed = Tool({"-f", "-r", "sample"});
  EXPECT_EQ(removed.status, 0) << removed.err;
  EXPECT_EQ(removed.out, "Workflow sample removed.\n");
  EXPECT_FALSE(fs::exists(start));
  EXPECT_FALSE(fs::exists(duplicate));
  EXPECT_EQ(Entries().count(start), 0u);
  EXPECT_EQ(Tool({"-r", "sample"}).status, 1) << "gone";
}

TEST_F(Wfinstall, KindsThatKeepTheirOutsUnderOwnNamesInstallOnceAndReadBack) {
  const std::string every =
      "workflow every\n"
      "start s -> sw MODE=2 STARTDIR=\"" + site.Path() + "/hot folder\"\n"
      "switch sw -> j r MODE=3 OUTDIRCOUNT=2 INKRANGES=\"0,50,100\"\n"
      "\"Jaws Rip\" j -> outdir\n"
      "rip r -> outdir p CMPLXMODE=4\n"
      "\"PDF Preflight\" p -> outdir outdir MODE=1\n";
  const RunResult first = Install(every);
  ASSERT_EQ(first.status, 0) << first.err;
  const std::string dump = Dump("every");
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 8) << dump;
  EXPECT_TRUE(Has(dump, "[1] START: " + site.Path() + "/hot folder --> [2]")) << dump;
  const RunResult again = Install(every);
  EXPECT_TRUE(Has(again.out, "nothing was to change")) << again.out << again.err;
}

TEST_F(Wfinstall, BadDescriptionsNameTheirLineAndWriteNothing) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"start s -> x\n", "line 1: No folder of the description is named x."},
      {"workflow w\n\nstart s -> outdir\nsorter x\n", "line 4: There is no folder kind \"sorter\"."},
      {"start s -> a\nrename a -> b\nrename b -> a\n", "line 3: The folder b closes a loop"},
  };
  for (const auto& [text, fault] : cases) {
    const RunResult r = Install(text, {"-w", "bad"});
    EXPECT_EQ(r.status, 1) << text;
    EXPECT_TRUE(Has(r.err, site.Path() + "/wf.txt, " + fault)) << r.err;
    EXPECT_EQ(r.out, "");
  }
  EXPECT_TRUE(fs::is_empty(projects));
  EXPECT_EQ(Install("start s -> outdir\n").status, 1) << "no name";
  const RunResult check = Install(kSample, {"-c"});
  EXPECT_EQ(check.status, 0) << check.err;
  EXPECT_TRUE(fs::is_empty(projects));
  EXPECT_EQ(Tool({"-x"}).status, 1);
}

// The checks of a workflow refuse before anything is written, with their
// message and the folder's line; -c checks the same.
TEST_F(Wfinstall, TheChecksRefuseAWorkflowBeforeAnythingIsWritten) {
  struct Case {
    std::string text, message, line;  // message and line empty: it passes
    std::string notTold = {};
  };
  const std::string twice = "The Duplicate folder sends its files twice to ";
  const std::string extended = "The Sort folder sorts by extended file names, but the start folder does not extend "
                               "them (EXTENDFILENAMES).";
  const std::string format = "The ICopy folder's input expression does not take the files of format .ps that "
                             "reach it.";
  const std::string subdirs = "The Remote Copy folder takes over sub-directories only in job ticket mode.";
  const Case cases[] = {
      {"start s -> d\nduplicate d -> outdir outdir\n", twice, "line 2: The folder d"},
      {"start s -> d\nduplicate d -> e outdir\nend e\n", twice, "line 2: The folder d"},
      {"start s -> x\nsort x MODE=2\n", extended, "line 2: The folder x"},
      {"start s -> x SUBDIRS=_TRUE_ EXTENDFILENAMES=_TRUE_\nsort x MODE=2\n", "", ""},
      // Without sub-directories there is nothing to extend names by.
      {"start s -> x EXTENDFILENAMES=_TRUE_\nsort x MODE=2\n", extended, "line 2: The folder x"},
      {"start s -> i FILEMODE=3\nicopy i -> outdir INREGEXPR=\\.tif$\n", format, "line 2: The folder i"},
      {"start s -> w FILEMODE=3\nswitch w -> i outdir MODE=1\nicopy i -> outdir INREGEXPR=\\.tif$\n", "", ""},
      {"start s -> i FILEMODE=3\nicopy i -> outdir INREGEXPR=\\.ps$\n", "", ""},
      {"start s -> r\n\"remote copy\" r -> outdir TAKEOVERSUBDIRS=_TRUE_\n", subdirs, "line 2: The folder r"},
      {"start s -> r MODE=3\n\"remote copy\" r -> outdir TAKEOVERSUBDIRS=_TRUE_\n", "", ""},
      // After the first out that fails, the second is not looked at.
      {"start s -> d\nduplicate d -> x r\nsort x MODE=2\n\"remote copy\" r -> outdir TAKEOVERSUBDIRS=_TRUE_\n",
       extended, "line 3: The folder x", subdirs},
  };
  int n = 0;
  for (const Case& c : cases) {
    const std::string name = "c" + std::to_string(n++);
    const auto before = Everything();
    const RunResult check = Install(c.text, {"-c", "-w", name});
    const RunResult install = Install(c.text, {"-n", "-w", name});
    if (c.message.empty()) {
      EXPECT_EQ(check.status, 0) << c.text << check.err;
      EXPECT_EQ(install.status, 0) << c.text << install.err;
      EXPECT_TRUE(fs::exists(projects + "/workflow/" + name));
      continue;
    }
    for (const RunResult& r : {check, install}) {
      EXPECT_EQ(r.status, 1) << c.text;
      EXPECT_EQ(r.out, "");
      EXPECT_TRUE(Has(r.err, c.message)) << c.text << r.err;
      EXPECT_TRUE(Has(r.err, site.Path() + "/wf.txt, " + c.line + " does not pass the checks")) << r.err;
      EXPECT_TRUE(c.notTold.empty() || !Has(r.err, c.notTold)) << r.err;
    }
    EXPECT_EQ(Everything(), before) << c.text;
  }
}

TEST_F(Wfinstall, TenProcessesInstallingAtOnceLoseNoDemonEntry) {
  PutFile(site.Path() + "/wf.txt", With(kSample, kRemote));
  std::vector<pid_t> children;
  for (int n = 0; n < 10; ++n) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      const RunResult r = Tool({"-w", "wf" + std::to_string(n), site.Path() + "/wf.txt"});
      if (r.status != 0) std::fprintf(stderr, "%s", r.err.c_str());
      ::_exit(r.status);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  const auto entries = Entries();
  EXPECT_EQ(entries.size(), 22u) << "ten starts, ten renames, two trees";
  for (int n = 0; n < 10; ++n) {
    const std::string name = "wf" + std::to_string(n);
    EXPECT_EQ(entries.count(projects + "/workflow/" + name), 1u) << name;
    EXPECT_EQ(entries.count(projects + "/autofolder/autorename/flow_" + name + "_0"), 1u) << name;
    const std::string dump = Dump(name);
    EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 7) << dump;
  }
  // Every workflow's remote hot folder is there too.
  const std::string rw = RemoteWatch();
  for (int n = 0; n < 10; ++n) EXPECT_TRUE(Has(rw, "NAME = \"wf" + std::to_string(n) + "\";")) << n;
}

// Each failure stops the install part way; a rebuild then finds the old
// graph, and the next install (the cause removed) completes it.
TEST_F(Wfinstall, AnInstallThatFailsPartWayLeavesARebuildableWorkflow) {
  ASSERT_EQ(Install(kSample).status, 0);
  const std::string grown = With(kSample, "filter filt -> big\n") + "filter big -> outdir NOTE=" +
                            std::string(2000, 'x') + "\n";
  const auto noStaging = [&] {
    for (const auto& entry : fs::recursive_directory_iterator(projects)) {
      if (entry.path().extension() == ".new") return false;
    }
    return true;
  };

  // A full disk: the new folder's rc, the largest file, can't be written.
  PutFile(site.Path() + "/wf.txt", grown);
  const RunResult full = RunProgram(
      {"/bin/bash", "-c", "ulimit -f 1; trap '' XFSZ; exec " + kBin + "wfinstall " + site.Path() + "/wf.txt"},
      Env());
  EXPECT_EQ(full.status, 1) << full.err;
  EXPECT_TRUE(Has(full.err, "not installed completely")) << full.err;
  EXPECT_EQ(Dump(), FiveLines());
  EXPECT_TRUE(noStaging());

  // A directory that can't be made: the rip root leads through a plain file.
  PutFile(site.Path() + "/plain", "");
  fs::create_directory_symlink(site.Path() + "/plain/rip", projects + "/autorip");
  const RunResult unmade = Install(With(kSample, "filter filt -> r\n") + "rip r -> outdir\n");
  EXPECT_EQ(unmade.status, 1);
  EXPECT_TRUE(Has(unmade.err, "The directory " + projects + "/autorip cannot be examined.")) << unmade.err;
  EXPECT_EQ(Dump(), FiveLines());
  EXPECT_TRUE(noStaging());

  // The demon's configuration locked by another live process: the folders
  // are installed, the entry of the new one waits for the next run.
  const std::string renamed = projects + "/autofolder/autorename/flow_sample_1";
  PutFile(site.Path() + "/env/tvwatchd.cfg.LCK", std::to_string(::getpid()) + "\n");
  const RunResult locked = Install(With(kSample, "filter filt -> r2\n") + "rename r2 -> outdir\n");
  EXPECT_EQ(locked.status, 1);
  EXPECT_TRUE(Has(locked.err, "locked")) << locked.err;
  const std::string six = Dump();
  EXPECT_TRUE(Has(six, "[6] RENAME: " + renamed + " --> [4]\n")) << six;
  EXPECT_EQ(Entries().count(renamed), 0u);
  fs::remove(site.Path() + "/env/tvwatchd.cfg.LCK");
  const RunResult repaired = Install(With(kSample, "filter filt -> r2\n") + "rename r2 -> outdir\n");
  EXPECT_EQ(repaired.status, 0) << repaired.err;
  EXPECT_TRUE(Has(repaired.out, "nothing was to change"));
  EXPECT_EQ(Entries().count(renamed), 1u);
  EXPECT_EQ(Dump(), six);

  // The directory the full disk left behind is used now.
  ASSERT_EQ(Install(grown).status, 0);
  EXPECT_TRUE(Has(Dump(), "FILTER: " + projects + "/autofolder/autofilter/flow_sample_1 --> [4]\n"));
  EXPECT_FALSE(fs::exists(renamed));
}

// The start folder's parameters reach its rc as its dialog's OK gives them:
// the first command follows transfer and file mode, chosen formats give
// their expression, and what OK refuses is refused with the start's line.
TEST_F(Wfinstall, TheStartFolderGetsItsFrontEndsValuesAndChecks) {
  const auto firstLine = [&](const std::string& name) {
    const std::string rc = FileText(projects + "/workflow/" + name + "/.autostartrc");
    return rc.substr(0, rc.find('\n'));
  };
  const auto install = [&](const std::string& name, const std::string& start) {
    const RunResult r = Install("workflow " + name + "\n" + start + "\nrename ren -> outdir\n", {"-n"});
    EXPECT_EQ(r.status, 0) << start << r.err;
  };
  install("a", "start in -> ren");
  EXPECT_EQ(firstLine("a"), "imgmv");
  EXPECT_TRUE(Has(FileText(projects + "/workflow/a/.autostartrc"), ": AUTOMODE=_TRUE_\n"));
  EXPECT_TRUE(Has(Entries().at(projects + "/workflow/a"), ":FILES=<images>:")) << Entries().at(projects + "/workflow/a");
  install("a", "start in -> ren MODE=1 FILEMODE=2");
  EXPECT_EQ(firstLine("a"), "ln");
  EXPECT_TRUE(Has(FileText(projects + "/workflow/a/.autostartrc"), ": AUTOMODE=_FALSE_\n"));
  install("a", "start in -> ren FILEMODE=2 AUTOMODE=_TRUE_");
  EXPECT_EQ(firstLine("a"), "imgmv") << "the workflow chooses images for the rename";
  install("a", "start in -> ren MODE=3");
  EXPECT_EQ(firstLine("a"), "jobticket.sh -p " + projects + "/workflow/a");
  install("b", "start in -> ren FILEMODE=4 FILEFMTS=\".tif .qif\"");
  EXPECT_EQ(firstLine("b"), "imgmv");
  EXPECT_TRUE(Has(FileText(projects + "/workflow/b/.autostartrc"), ": FILESREGEXP=")) << firstLine("b");
  EXPECT_TRUE(Has(Entries().at(projects + "/workflow/b"), "tif")) << Entries().at(projects + "/workflow/b");

  const std::pair<std::string, std::string> refused[] = {
      {"FILEMODE=4", "File mode \"chosen formats\" needs at least one format."},
      {"FILEMODE=4 FILEFMTS=\".tif .nope\"", "\".tif .nope\" cannot be used here"},
      {"SUBDIRS=_TRUE_ EXTENDFILENAMES=_TRUE_ EXTENDDELIMITER=/", "\"/\" cannot be used here"},
      {"STARTDIR=" + site.Path() + "/flow_x_12", site.Path() + "/flow_x_12 is named like a hot folder"},
      {"STARTDIR=" + projects + "/workflow/b", "is already the start directory of workflow b."},
      {"STARTDIR=" + projects + "/workflow/a/outdir", "is the workflow's own end directory"},
      {"REMOTESTART_0/SERVERNAME=ftp9 REMOTESTART_0/SERVERDIR=/in", "The server ftp9 is not configured"},
  };
  for (const auto& [params, words] : refused) {
    const auto before = Everything();
    const RunResult r = Install("workflow a\n\nstart in -> ren " + params + "\nrename ren -> outdir\n", {"-n"});
    EXPECT_EQ(r.status, 1) << params;
    EXPECT_TRUE(Has(r.err, site.Path() + "/wf.txt, line 3: ")) << r.err;
    // Said once: the refusal ends the install before the workflow's check,
    // which would say it again.
    EXPECT_EQ(r.err.find(words), r.err.rfind(words)) << r.err;
    EXPECT_TRUE(Has(r.err, words)) << r.err;
    EXPECT_EQ(Everything(), before) << params;
  }
}
