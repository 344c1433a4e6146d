#include "watch/TVWcfg.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <set>
#include <tuple>
#include <string>
#include <vector>

#include "base/BFileIO.h"
#include "base/Messages.h"
#include "tests/fuzz/TVWcfgDescribe.h"
#include "tests/support/TestFiles.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// The configuration's directory is fixed when the module starts, so the
// whole program shares one site.
const TempDir& Site() {
  static const TempDir site;
  return site;
}
std::string Projects() { return Site().Path() + "/projects"; }

const bool site = UseBuildTreeSite([] {
  Site().Make("cfg/"), Site().Make("projects/");
  ::setenv("MARLENV", (Site().Path() + "/cfg:" FLOATDECK_BINARY_DIR "/env").c_str(), 1);
  ::setenv("TV_PROJECTS", Projects().c_str(), 1);
  ::setenv("HOST", "pressroom7", 1);
  TVWcfg_Init();
});

std::string CfgFile() {
  char name[kNameCap];
  TVWcfg_GetFileName(name);
  return StrIn(name).Str();
}

std::string LockFile() {
  char name[kNameCap];
  TVWcfg_GetLockName(name);
  return StrIn(name).Str();
}

std::vector<TVWcfg_Entry*> Entries(TVWcfg_List list) {
  std::vector<TVWcfg_Entry*> entries;
  for (TVWcfg_Entry* e = list; e != nullptr; e = e->next) entries.push_back(e);
  return entries;
}

TVWcfg_List Load(bool compile = false) {
  TVWcfg_List list = nullptr;
  TVWcfg_LoadConfiguration(compile, list);
  return list;
}

class TVWcfgTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(CfgFile());
    fs::remove_all(LockFile());
  }
  void TearDown() override {
    TVWcfg_Destroy(list_);
    TVWcfg_RegisterRootDirProc(nullptr);
    EXPECT_EQ(Messages_IgnoreLevel(), 0u);
  }
  TVWcfg_List list_ = nullptr;
};

// --- The file ------------------------------------------------------------------

struct Globals {
  std::uint32_t percent, space;
  bool multiHost;
  std::int32_t uid, gid, interval;
};

// An entry as a program makes it, in the form a save keeps: values that the
// writer leaves out (an omit list without subdirs, a uid of -1 under a
// default user) are the reader's defaults already.
TVWcfg_Entry* RandomEntry(std::mt19937& random, int index, const Globals& globals) {
  const auto text = [&](std::size_t most) {
    static const std::string alphabet = "abcXYZ019 :#=/._-\\\t";
    std::string t(random() % (most + 1), 'a');
    for (char& c : t) c = alphabet[random() % alphabet.size()];
    if (!t.empty() && t.back() == '\\') t.back() = 'z';  // a backslash at a field's end escapes the next
    return t;
  };
  const auto flag = [&] { return random() % 2 == 0; };
  TVWcfg_Entry* e = TVWcfg_CreateEntry();
  Strings_Assign("/projects/wf" + std::to_string(index) + "/" + text(30), e->folder);
  e->subdirs = flag();
  Strings_Assign(e->subdirs ? "outdir,error," + text(20) : std::string(TVWcfg_toOmit), e->omit);
  Strings_Assign(text(20), e->omitCmd);
  e->interval = flag() ? -1 : 1 + static_cast<int>(random() % 600);
  if (e->interval == globals.interval) e->interval = -1;
  e->silence = e->currentSilence = static_cast<int>(random() % 100) - 5;
  for (int i = 0; i < 5; ++i) {
    bool* fields[] = {e->activity.minutes, e->activity.hours, e->activity.days, e->activity.months, e->activity.weekdays};
    const int counts[] = {60, 24, 31, 12, 7};
    if (flag())
      for (int k = 0; k < counts[i]; ++k) fields[i][k] = random() % 3 != 0;
  }
  Strings_Assign(text(60), e->filePattern);
  Strings_Assign("x" + text(60), e->files);  // empty files read back as all files
  Strings_Assign(flag() ? text(40) : "", e->omitFiles);
  e->omitEmptyFiles = flag();
  static const char* const commands[] = {"autostart.sh", "readyForCheck.sh", "AutoComb", "AutoJoin", "x:y#z"};
  Strings_Assign(StrIn::C(commands[random() % 5]), e->cmd);
  Strings_Assign(text(40), e->options);
  e->highCpu = flag();
  e->uid = flag() ? globals.uid : static_cast<int>(random() % 5000);
  e->gid = flag() ? globals.gid : static_cast<int>(random() % 5000);
  e->locked = flag();
  e->considerCTime = flag();
  e->isWebCheckRoot = flag();
  Strings_Assign(text(20), e->readableCmd);
  e->multipleFiles = flag();
  Strings_Assign(text(20), e->precondResource);
  Strings_Assign(text(20), e->precondScript);
  e->sortedSubmit = flag();
  e->atOnce = static_cast<int>(random() % 4);
  e->sequenceMode = static_cast<std::uint8_t>(random() % 3);
  for (int i = static_cast<int>(random() % 4); i > 0; --i) {
    auto* extra = new TVWcfg_ExtraField{e->extraFields, ""};
    Strings_Assign("X_" + std::to_string(i) + "=" + text(20) + "v", extra->text);
    e->extraFields = extra;
  }
  return e;
}

}  // namespace

TEST_F(TVWcfgTest, ThousandsOfFoldersComeBackFieldByField) {
  std::mt19937 random(11);
  for (const Globals globals : {Globals{0, 0, false, -1, -1, 60}, Globals{12, 4096, true, 100, 200, 15}}) {
    std::vector<std::string> written;
    for (int i = 0; i < 2500; ++i) {
      TVWcfg_Entry* e = RandomEntry(random, i, globals);
      // A line feed is written as backslash and "n" and stays so.
      if (i == 7) Strings_Assign("a\\nb", e->options);
      written.push_back(TVWcfgDescribe(*e));
      if (i == 7) Strings_Assign("a\nb", e->options);
      TVWcfg_AppendEntry(list_, e);
    }
    ASSERT_TRUE(TVWcfg_SaveConfigAndParams(list_, globals.percent, globals.space, globals.multiHost, globals.uid,
                                           globals.gid, globals.interval));
    TVWcfg_Destroy(list_);
    list_ = Load();
    ASSERT_EQ(TVWcfg_error, 0);
    EXPECT_EQ(std::tuple(TVWcfg_Version, TVWcfg_MinFreeDiscPercentage, TVWcfg_MinFreeDiscSpace,
                         TVWcfg_MultiHostHotfolder, TVWcfg_DefaultJobUID, TVWcfg_DefaultJobGID,
                         TVWcfg_DefaultWatchInterval),
              std::tuple(1, globals.percent, globals.space, globals.multiHost, globals.uid, globals.gid,
                         globals.interval));
    const std::vector<TVWcfg_Entry*> read = Entries(list_);
    ASSERT_EQ(read.size(), written.size());
    for (std::size_t i = 0; i < read.size(); ++i) ASSERT_EQ(TVWcfgDescribe(*read[i]), written[i]) << "folder " << i;
    TVWcfg_Destroy(list_);
  }
}

TEST_F(TVWcfgTest, AFolderLineStartsFromTheDemonsDefaultsANewEntryFromTheProgramsOnes) {
  TVWcfg_RegisterRootDirProc([](std::uint8_t kind, StrOut dir) {
    Strings_Assign(kind == 10 ? Projects() + "/autorip" : std::string(), dir);
  });
  const std::string long200(200, 'o');
  PutFile(CfgFile(),
      "DEFAULT_USER=5:DEFAULT_GROUP=7\n"  // a global takes its line: the group is lost
      "MULTIHOSTHOTFOLDER=true\n"
      "MIN_FREE_DISC_SPACE=lots\n"
      "FOLDER=$TV_PROJECTS/autorip\n"
      "FOLDER=/a:SUBDIRS:CMD=$TV_PROJECTS/bin/x:PRECONDSCRIPT=$TV_PROJECTS/p:CPUUSE=HIGH\n"
      "FOLDER=/b:SUBDIRS=no:CPUUSE=LoW:INTERVAL=abc:EMPTY=:UNKNOWN=v:OPTIONS=" + long200 + "\n"
      "FOLDER=/c:SUBDIRS=fAlSe:SEQUENCEMODE=consumer:LOCKED=TRUE:LOCKED=yes\n");
  list_ = Load();
  // A file from before the version key.
  EXPECT_EQ(std::tuple(TVWcfg_Version, TVWcfg_MultiHostHotfolder, TVWcfg_MinFreeDiscSpace, TVWcfg_DefaultJobUID,
                       TVWcfg_DefaultJobGID),
            std::tuple(0, true, 0u, 5, -1));
  const std::vector<TVWcfg_Entry*> e = Entries(list_);
  ASSERT_EQ(e.size(), 4u);
  EXPECT_EQ(StrIn(e[0]->folder).Str(), Projects() + "/autorip");
  EXPECT_STREQ(e[0]->cmd, "/bin/false");
  EXPECT_STREQ(e[0]->omit, TVWcfg_toOmit);
  EXPECT_STREQ(e[0]->files, "^[^\\.]");
  EXPECT_TRUE(e[0]->highCpu && e[0]->locked && !e[0]->subdirs && TVWcfg_IsAlwaysActive(e[0]->activity));
  EXPECT_EQ(std::tuple(e[0]->interval, e[0]->uid), std::tuple(-1, 5));
  EXPECT_EQ(StrIn(e[1]->cmd).Str(), Projects() + "/bin/x");
  EXPECT_EQ(StrIn(e[1]->precondScript).Str(), Projects() + "/p");
  EXPECT_TRUE(e[1]->subdirs && e[1]->highCpu && !e[1]->locked);
  EXPECT_TRUE(e[2]->subdirs && !e[2]->highCpu);
  EXPECT_EQ(e[2]->interval, -1);
  EXPECT_EQ(StrIn(e[2]->options).Str(), long200.substr(0, kNameCap));
  ASSERT_NE(e[2]->extraFields, nullptr);
  EXPECT_STREQ(e[2]->extraFields->text, "UNKNOWN=v");  // the empty field is dropped
  EXPECT_EQ(e[2]->extraFields->next, nullptr);
  EXPECT_FALSE(e[3]->subdirs || e[3]->locked);
  EXPECT_EQ(e[3]->sequenceMode, TVWcfg_seqConsumer);

  TVWcfg_Entry* fresh = TVWcfg_CreateEntry();
  EXPECT_TRUE(fresh->cmd[0] == '\0' && fresh->omit[0] == '\0' && !fresh->highCpu && !fresh->locked);
  EXPECT_EQ(fresh->uid, 5);
  Strings_Assign("/new", fresh->folder);
  TVWcfg_Entry* loaded = e[0];
  loaded->next = fresh;  // the loaded rip root and a new entry, the rest dropped
  TVWcfg_List rest = e[1];
  TVWcfg_Destroy(rest);
  ASSERT_TRUE(TVWcfg_SaveConfiguration(list_));
  const std::string saved = FileText(CfgFile());
  EXPECT_EQ(saved.find("CPUUSE"), saved.find("FOLDER=/new:FILES=^[^\\.]:CPUUSE=Low\n") + 25) << saved;
  EXPECT_EQ(saved.find("CPUUSE"), saved.rfind("CPUUSE"));

  for (const auto& [text, interval] : {std::pair{"14", 60}, std::pair{"15", 15}}) {
    PutFile(CfgFile(), std::string("DEFAULT_WATCH_INTERVAL=") + text + "\n");
    TVWcfg_Destroy(list_);
    list_ = Load();
    EXPECT_EQ(TVWcfg_DefaultWatchInterval, interval);
  }
}

TEST_F(TVWcfgTest, TheFileIsLaidOutForTheDemon) {
  TVWcfg_Entry* e = TVWcfg_CreateEntry();
  Strings_Assign("/projects/workflow/Job Ticket", e->folder);
  e->subdirs = true;
  Strings_Assign("outdir,error", e->omit);
  Strings_Assign("autostart.sh", e->cmd);
  e->interval = 30;
  e->silence = 5;
  TVWcfg_StrToActivity("0-29 6-22 * * 1-5", e->activity);
  e->uid = 100;
  e->gid = 7;
  e->sequenceMode = 9;
  TVWcfg_AppendEntry(list_, e);
  ASSERT_TRUE(TVWcfg_SaveConfigAndParams(list_, 0, 0, false, -1, -1, 60));
  EXPECT_EQ(FileText(CfgFile()),
            "#Automatically created\nVERSION=1\n#Disc space checking deactivated\n"
            "#Default = Execute jobs with ID of the current file\n"
            "FOLDER=/projects/workflow/Job Ticket:SUBDIRS=TRUE:OMIT=outdir,error:\\\n"
            "\tFILES=^[^\\.]:CMD=autostart.sh:INTERVAL=30:SILENCE=5:\\\n"
            "\tACTIVITY=0-29 6-22 * * 1-5:CPUUSE=Low:USER=100:GROUP=7:\\\n"
            "\tSEQUENCEMODE=UNKNOWN\n");
  ASSERT_TRUE(TVWcfg_SaveConfigAndParams(list_, 10, 0, true, 100, -1, 30));
  EXPECT_EQ(FileText(CfgFile()),
            "#Automatically created\nVERSION=1\nMIN_FREE_DISC_PERCENTAGE=10\nMULTIHOSTHOTFOLDER=TRUE\n"
            "#Default = Execute jobs with ID:\nDEFAULT_USER=100\nDEFAULT_WATCH_INTERVAL=30\n"
            "FOLDER=/projects/workflow/Job Ticket:SUBDIRS=TRUE:OMIT=outdir,error:\\\n"
            "\tFILES=^[^\\.]:CMD=autostart.sh:SILENCE=5:ACTIVITY=0-29 6-22 * * 1-5:\\\n"
            "\tCPUUSE=Low:GROUP=7:SEQUENCEMODE=UNKNOWN\n");
}

TEST_F(TVWcfgTest, FailedSavesLeaveTheOldFileInForce) {
  list_ = Load();
  EXPECT_EQ(TVWcfg_error, 1);  // no file: an empty table
  EXPECT_EQ(list_, nullptr);
  char text[kTextCap];
  TVWcfg_GetErrorText(text);
  EXPECT_NE(StrIn(text).View().find(CfgFile()), std::string_view::npos) << text;

  TVWcfg_AppendEntry(list_, TVWcfg_CreateEntry());
  ASSERT_TRUE(TVWcfg_SaveConfiguration(list_));
  const std::string old = FileText(CfgFile());
  const std::string temporary = CfgFile() + "." + std::to_string(::getpid());
  Strings_Assign("/changed", list_->folder);

  fs::create_directories(temporary + "/blocker");  // the new file can't be made
  EXPECT_FALSE(TVWcfg_SaveConfiguration(list_));
  EXPECT_EQ(TVWcfg_error, 2);
  fs::remove_all(temporary);

  // A file size limit spoils the new file half-way: it never replaces the old.
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{64, 64};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool saved = TVWcfg_SaveConfiguration(list_);
    ::_exit(!saved && TVWcfg_error == 2 && !fs::exists(CfgFile() + "." + std::to_string(::getpid())) ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(FileText(CfgFile()), old);
  EXPECT_EQ(Messages_ErrorCount(false), 0u);
}

// --- Activity, tokens and derived values -------------------------------------------

TEST_F(TVWcfgTest, ActivityMasksGoBothWays) {
  std::mt19937 random(3);
  for (int round = 0; round < 500; ++round) {
    TVWcfg_Activity mask, back;
    TVWcfg_InitActivity(round % 2 == 0, mask);
    for (bool* field : {mask.minutes, mask.hours, mask.days, mask.months, mask.weekdays})
      for (int k = 0; k < 7; ++k) field[k] = random() % 2 == 0;
    char text[256];
    TVWcfg_ActivityToStr(mask, text);
    TVWcfg_StrToActivity(text, back);
    ASSERT_TRUE(TVWcfg_EqualActivity(mask, back)) << text;
  }
  const auto normal = [](const char* text) {
    TVWcfg_Activity mask;
    TVWcfg_InitActivity(false, mask);
    TVWcfg_StrToActivity(StrIn::C(text), mask);
    char out[256];
    TVWcfg_ActivityToStr(mask, out);
    return std::string(out);
  };
  EXPECT_EQ(normal("* * * * *"), "* * * * *");
  EXPECT_EQ(normal("- - - - -"), "- - - - -");
  EXPECT_EQ(normal("5-5 22-3 0-3 13 0,9"), "* 0-3,22-23 1-3 12 1,7");  // wrapping ranges, clamped ends
  EXPECT_EQ(normal("1,2,3,10-12 x 31 1-1 2"), "1-3,10-12 * 31 * 2");
  EXPECT_EQ(normal("every day   always"), "* * * * *");  // never silenced by a typing error
  EXPECT_EQ(normal("0  1"), "0 1 * * *");
}

TEST_F(TVWcfgTest, TokensExpandBeforeCompilingAndTellFinalPages) {
  const auto matches = [](const char* pattern, const char* name, bool* finalPage = nullptr) {
    bool fp = false;
    SRegExpr expr = TVWcfg_GetRegExp(StrIn::C(pattern), fp);
    const bool hit = SRegExpr_Match(expr, StrIn::C(name));
    SRegExpr_Destroy(expr);
    if (finalPage != nullptr) *finalPage = fp;
    return hit;
  };
  bool finalPage = true;
  for (const char* image : {"a.qif", "a.tif", "a.sct", "a.pdf", "a.PDF", "a.lw"})
    EXPECT_TRUE(matches("<images>", image, &finalPage)) << image;
  EXPECT_FALSE(finalPage);
  for (const char* other : {"a.fp", "a.Spg", "a.qif.txt", "a.dev"}) EXPECT_FALSE(matches("<images>", other)) << other;
  for (const char* page : {"a.fp", "a.Spg", "a.qif", "a.pdf"}) EXPECT_TRUE(matches("<images+Finalpage>", page)) << page;
  for (const char* part : {"a.sct", "a.Slw", "a.ct", "a.lw", "a.hc"})
    EXPECT_FALSE(matches("<images+Finalpage>", part, &finalPage)) << part;
  EXPECT_TRUE(finalPage);
  EXPECT_FALSE(matches("\\.fp$", "a.qif", &finalPage));
  EXPECT_TRUE(finalPage);  // an expression that takes final pages makes a final-page folder
  EXPECT_TRUE(matches("^x|<image_addons>", "a.AIq"));
  EXPECT_FALSE(matches("<image_addons>", "a.qif"));

  char expanded[kTextCap];
  TVWcfg_ExpandTokens("(<jobtickets>)|(<JXK-Bitmaps>)|<jobtickets>", expanded);
  EXPECT_STREQ(expanded, "(\\.jt..?$)|(\\.(tiff?|TIFF?|bmf?)$)|\\.jt..?$");
  EXPECT_EQ(TVWcfg_GetRegExp("(", finalPage), SRegExpr_Nil());

  PutFile(CfgFile(), "FOLDER=/a:FILES=<images+Finalpage>:OMITFILES=<jobtickets>\nFOLDER=/b\n");
  list_ = Load(true);
  const std::vector<TVWcfg_Entry*> e = Entries(list_);
  EXPECT_TRUE(e[0]->finalPageMode && SRegExpr_Match(e[0]->filesRegExp, "p.fp"));
  EXPECT_TRUE(SRegExpr_Match(e[0]->omitFilesRegExp, "p.jtq"));
  EXPECT_TRUE(SRegExpr_Match(e[1]->filesRegExp, "p") && e[1]->omitFilesRegExp == SRegExpr_Nil());
}

TEST_F(TVWcfgTest, CommandWordsGiveModeKindAndPriority) {
  EXPECT_EQ(TVWcfg_DetermineMode("autostart.sh", "<JXK-Bitmaps>", 0, false), 6);
  EXPECT_EQ(TVWcfg_DetermineMode("autostart.sh", "<images>", 3, true), 7);
  EXPECT_EQ(TVWcfg_DetermineMode("autostart.sh", "<images>", 3, false), 8);
  EXPECT_EQ(TVWcfg_DetermineMode("AutoJoin", "", 3, true), 11);
  EXPECT_EQ(TVWcfg_DetermineMode("FLImport", "", 3, true), 0);
  EXPECT_EQ(TVWcfg_DetermineMode("/bin/AutoComb", "", 0, false), 0);  // the exact word only
  EXPECT_EQ(std::tuple(TVWcfg_DetermineJobKind("readyForCheck.sh"), TVWcfg_DetermineJobPriority("readyForCheck.sh"),
                       TVWcfg_DetermineJobPriority("AutoSort")),
            std::tuple(17, 1, 0));

  PutFile(CfgFile(), "FOLDER=/a:CMD=AutoSwch:ATONCE=2\n");
  list_ = Load();
  EXPECT_EQ(std::tuple(list_->mode, list_->jobKind), std::tuple(8, 16));
}

TEST_F(TVWcfgTest, HighCpuUseIsTheFirstFittingEntrys) {
  PutFile(CfgFile(),
      "FOLDER=/w/low:CPUUSE=low\n"
      "FOLDER=/w/low/deep:SUBDIRS=TRUE\n"
      "FOLDER=/w:SUBDIRS=TRUE:CPUUSE=low\n"
      "FOLDER=/x\n");
  EXPECT_FALSE(TVWcfg_HighCPUUsage("/w/low"));
  EXPECT_TRUE(TVWcfg_HighCPUUsage("/w/low/deep/er"));  // the first entry has no subdirs
  EXPECT_FALSE(TVWcfg_HighCPUUsage("/wx"));             // cut to the folder's length, no slash needed
  EXPECT_TRUE(TVWcfg_HighCPUUsage("/x"));
  EXPECT_TRUE(TVWcfg_HighCPUUsage("/elsewhere"));
}

TEST_F(TVWcfgTest, InstallerMarksAndTheLogDump) {
  char text[kNameCap];
  TVWcfg_GetLocalInstallerMark(text);
  EXPECT_STREQ(text, ".InstalledBy_pressroom7");
  TVWcfg_GetInstallerName(".InstalledBy_hostB", text);
  EXPECT_STREQ(text, "hostB");
  TVWcfg_GetInstallerName("InstalledBy_hostB", text);
  EXPECT_STREQ(text, "");

  TempDir dir;
  BFileIO_File log = BFileIO_Create(dir.Path() + "/log");
  TVWcfg_Entry* e = TVWcfg_CreateEntry();
  Strings_Assign("AutoSort", e->cmd);
  e->subdirs = true;
  e->jobPriority = 1;
  TVWcfg_DumpFolderConfig(log, *e);
  TVWcfg_DumpFolderConfig(BFileIO_Nil(), *e);
  TVWcfg_DestroyEntry(e);
  BFileIO_Close(log);
  EXPECT_EQ(FileText(dir.Path() + "/log"), "CONFIGURATION\n  SUBDIRS=TRUE\n  CMD=AutoSort\n  JOBPRIORITY=1\n\n");
}

// --- The lock ------------------------------------------------------------------------

TEST_F(TVWcfgTest, WritersInManyProcessesLoseNoEntry) {
  constexpr int kWriters = 4, kRounds = 25;
  std::vector<pid_t> children;
  for (int w = 0; w < kWriters; ++w) {
    const pid_t child = ::fork();
    if (child == 0) {
      for (int round = 0; round < kRounds; ++round) {
        while (!TVWcfg_LockConfiguration()) {
        }
        TVWcfg_List list = Load();
        TVWcfg_Entry* e = TVWcfg_CreateEntry();
        Strings_Assign("/w/" + std::to_string(w) + "-" + std::to_string(round), e->folder);
        TVWcfg_AppendEntry(list, e);
        const bool saved = TVWcfg_SaveConfiguration(list);
        TVWcfg_UnlockConfiguration();
        TVWcfg_Destroy(list);
        if (!saved) ::_exit(1);
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (pid_t child : children) {
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  list_ = Load();
  std::set<std::string> folders;
  for (const TVWcfg_Entry* e : Entries(list_)) folders.insert(e->folder);
  EXPECT_EQ(folders.size(), std::size_t{kWriters * kRounds});
  EXPECT_EQ(Entries(list_).size(), std::size_t{kWriters * kRounds});
  EXPECT_FALSE(fs::exists(LockFile()));
}

TEST_F(TVWcfgTest, ALockWhoseOwnerIsGoneIsTakenOverAtTheFirstTry) {
  // A process killed while it holds the lock.
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const char taken = TVWcfg_LockConfiguration() ? 'L' : '-';
    (void)!::write(ready[1], &taken, 1);
    ::pause();
    ::_exit(0);
  }
  char taken = 0;
  ASSERT_EQ(::read(ready[0], &taken, 1), 1);
  ASSERT_EQ(taken, 'L');
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_EQ(FileText(LockFile()), std::to_string(child));
  const auto start = Clock::now();
  ASSERT_TRUE(TVWcfg_LockConfiguration());
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(100));  // the first wait never came
  EXPECT_EQ(FileText(LockFile()), std::to_string(::getpid()));
  EXPECT_FALSE(fs::exists(LockFile() + "." + std::to_string(::getpid())));

  // An owner that exists but may not be signalled counts as gone too.
  const pid_t other = ::fork();
  if (other == 0) {
    ::chmod(Site().Path().c_str(), 0755);
    ::chmod(fs::path(LockFile()).parent_path().c_str(), 0777);
    if (::getuid() != 0 || ::setuid(65534) != 0) ::_exit(77);
    ::_exit(TVWcfg_LockConfiguration() && FileText(LockFile()) == std::to_string(::getpid()) ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(other, &status, 0), other);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) != 77) {
    EXPECT_EQ(WEXITSTATUS(status), 0);
  }
  TVWcfg_UnlockConfiguration();
  EXPECT_FALSE(fs::exists(LockFile()));
}

TEST_F(TVWcfgTest, ALiveOrUnreadableLockHoldsForSixTries) {
  ASSERT_TRUE(TVWcfg_LockConfiguration());
  for (const char* text : {"", "not a number"}) {
    if (*text != '\0') PutFile(LockFile(), text);
    const auto start = Clock::now();
    EXPECT_FALSE(TVWcfg_LockConfiguration()) << text;  // ours, and not re-entrant; or unreadable
    const auto waited = Clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(1000));
    EXPECT_LT(waited, std::chrono::milliseconds(5000));
  }
  EXPECT_EQ(FileText(LockFile()), "not a number");
  EXPECT_EQ(std::distance(fs::directory_iterator(fs::path(LockFile()).parent_path()), {}), 1);

  TVWcfg_UnlockConfiguration();
  fs::create_directories(LockFile() + "." + std::to_string(::getpid()) + "/blocker");
  EXPECT_FALSE(TVWcfg_LockConfiguration());  // no private file, no lock
  EXPECT_FALSE(fs::exists(LockFile()));
  fs::remove_all(LockFile() + "." + std::to_string(::getpid()));
}
