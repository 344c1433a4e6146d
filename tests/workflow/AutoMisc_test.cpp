// Operations on hot folders: directories and what stands in their way,
// questions and their answers, the demon entries of folders with entries of
// their own, the checks for the front ends, installer marks, and starting a
// demon that doesn't answer.
#include "workflow/AutoMisc.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>

#include "base/Argument.h"
#include "tests/support/TestFiles.h"
#include "workflow/WFbase.h"
#include "workflow/WFtvwCfg.h"

namespace {

namespace fs = std::filesystem;

TempDir*& site = UsePrivateSiteForTests([] {
  fs::create_directories(site->Path() + "/bin");
  ::setenv("PATH", (site->Path() + "/bin:/usr/bin:/bin").c_str(), 1);
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  WFbase_Init();
  WFbase_SetFeedback(false);
});

std::string Projects() { return site->Path() + "/projects"; }
std::string Cfg() { return site->Path() + "/env/tvwatchd.cfg"; }
// The configuration with its long lines joined again.
std::string Lines() { return std::regex_replace(FileText(Cfg()), std::regex("\\\\\n\t"), ""); }

std::vector<std::string> asked;
bool answer = true;
bool Ask(StrIn question) {
  asked.push_back(question.Str());
  return answer;
}

class AutoMiscTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(Projects());
    fs::create_directories(Projects());
    fs::remove(Cfg());
    WFtvwCfg_Reset();
    asked.clear();
    answer = true;
    AutoMisc_SetFeedback(true);
    AutoMisc_RegisterAskProc(Ask);
  }
};

bool Mode777(const std::string& path) {
  return (fs::status(path).permissions() & fs::perms::all) == fs::perms::all;
}

}  // namespace

TEST_F(AutoMiscTest, ADemonThatDoesNotAnswerIsStartedOnce) {
  const std::string started = site->Path() + "/started";
  PutFile(site->Path() + "/bin/TVWatchD", "#!/bin/sh\necho run >> " + started + "\n");
  fs::permissions(site->Path() + "/bin/TVWatchD", fs::perms::owner_all);
  EXPECT_TRUE(AutoMisc_NotifyDemon());
  for (int i = 0; i < 500 && FileText(started).empty(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(FileText(started), "run\n");
  EXPECT_EQ(asked.size(), 1u);
  EXPECT_FALSE(AutoMisc_NotifyDemon()) << "not a second time";
  EXPECT_EQ(asked.size(), 1u);
}

TEST_F(AutoMiscTest, RootsAreMadeAndWhatStandsInTheirWayGoesOnlyWithAYes) {
  const std::string root = Projects() + "/autofolder/autorename";
  EXPECT_TRUE(AutoMisc_RootExists(root));
  EXPECT_TRUE(Mode777(root));
  EXPECT_TRUE(asked.empty());

  const std::string blocked = Projects() + "/autofolder/autofilter";
  PutFile(blocked, "someone's file");
  answer = false;
  EXPECT_FALSE(AutoMisc_RootExists(blocked));
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_NE(asked[0].find(blocked), std::string::npos) << asked[0];
  EXPECT_TRUE(fs::is_regular_file(blocked));
  AutoMisc_SetFeedback(false);  // batch: every question is a yes, and not shown
  EXPECT_TRUE(AutoMisc_RootExists(blocked));
  EXPECT_TRUE(fs::is_directory(blocked));
  EXPECT_EQ(asked.size(), 1u);

  ::testing::internal::CaptureStderr();
  PutFile(Projects() + "/plain", "");
  EXPECT_FALSE(AutoMisc_RootExists(Projects() + "/plain/root")) << "can't even be examined";
  EXPECT_FALSE(AutoMisc_NewAutofolder(root, ""));
  EXPECT_TRUE(AutoMisc_NewAutofolder(root, "flow_w_0"));
  EXPECT_TRUE(Mode777(root + "/flow_w_0"));
  EXPECT_FALSE(AutoMisc_NewAutofolder(root, "flow_w_0"));
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("The folder " + root + "/flow_w_0 exists already."), std::string::npos) << err;
}

TEST_F(AutoMiscTest, DeletingAFolderThatHoldsFilesAsksTwice) {
  const std::string root = Projects() + "/autofolder/autorename";
  ASSERT_TRUE(AutoMisc_RootExists(root) && AutoMisc_NewAutofolder(root, "f"));
  PutFile(root + "/f/.autorenmrc", "");
  PutFile(root + "/f/.TVWatchD_omit", "");
  PutFile(root + "/f/job.tif", "");
  // A "yes" to the first question, a "no" to the second: nothing of the
  // work goes.
  answer = true;
  AutoMisc_RegisterAskProc([](StrIn question) {
    asked.push_back(question.Str());
    return asked.size() == 1;
  });
  EXPECT_FALSE(AutoMisc_DeleteAutofolder(root, "f", ".autorenmrc"));
  EXPECT_EQ(asked.size(), 2u);
  EXPECT_TRUE(fs::exists(root + "/f/job.tif"));
  AutoMisc_RegisterAskProc(Ask);
  EXPECT_TRUE(AutoMisc_DeleteAutofolder(root, "f", ".autorenmrc"));
  EXPECT_FALSE(fs::exists(root + "/f"));
  EXPECT_TRUE(AutoMisc_DeleteAutofolder(root, "f", ".autorenmrc")) << "gone already";
}

TEST_F(AutoMiscTest, OwnEntriesAreChangedUnderTheLockAndSavedOnlyWhenTheyChange) {
  const std::string a = Projects() + "/autofolder/autorename/flow_w_0";
  const std::string b = Projects() + "/autofolder/autorename/flow_w_1";
  ASSERT_TRUE(AutoMisc_UpdateDemonConfigEntry(2, a, "<images>", "", 0));
  ASSERT_TRUE(AutoMisc_UpdateDemonConfigEntry(2, b, "^[^\\.]", "\\.jxk$", 2));
  std::string text = Lines();
  EXPECT_LT(text.find("FOLDER=" + b), text.find("FOLDER=" + a)) << "the newest first";
  EXPECT_NE(text.find("SEQUENCEMODE=CONSUMER"), std::string::npos) << text;
  EXPECT_NE(text.find("CMD=autorenm.sh"), std::string::npos) << text;
  const auto written = fs::last_write_time(Cfg());
  ASSERT_TRUE(AutoMisc_UpdateDemonConfigEntry(2, a, "<images>", "", 0));
  EXPECT_EQ(fs::last_write_time(Cfg()), written);
  EXPECT_EQ(Lines(), text);
  // The cache of this process sees the change at once.
  ASSERT_TRUE(AutoMisc_UpdateDemonConfigEntry(2, a, "^[^\\.]", "", 0));
  ASSERT_NE(WFtvwCfg_GetEntry(a), nullptr);
  EXPECT_STREQ(WFtvwCfg_GetEntry(a)->files, "^[^\\.]");

  // Two entries of one path (an old file's) both go.
  text = FileText(Cfg()) + "FOLDER=" + a + ":CMD=autorenm.sh\n";
  PutFile(Cfg(), text);
  ASSERT_TRUE(AutoMisc_DeleteDemonConfigEntry(a));
  EXPECT_EQ(FileText(Cfg()).find("FOLDER=" + a), std::string::npos);
  EXPECT_NE(FileText(Cfg()).find("FOLDER=" + b), std::string::npos);

  // The root of a tree kind is entered once, with a yes.
  asked.clear();
  ASSERT_TRUE(AutoMisc_AssertRootWatched(3));
  ASSERT_TRUE(AutoMisc_AssertRootWatched(3));
  ASSERT_FALSE(asked.empty());
  EXPECT_NE(asked[0].find("/autofolder/autoduplicate"), std::string::npos) << asked[0];
  EXPECT_EQ(std::count_if(asked.begin(), asked.end(),
                          [](const std::string& q) { return q.find("autoduplicate") != std::string::npos; }),
            1);
  EXPECT_NE(Lines().find("FOLDER=" + Projects() + "/autofolder/autoduplicate:SUBDIRS=TRUE"),
            std::string::npos);

}

TEST_F(AutoMiscTest, OutDirectoriesAndSchemesForTheFrontEnds) {
  const std::string own = Projects() + "/own";
  fs::create_directories(own);
  fs::create_directory_symlink(own, Projects() + "/alias");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(AutoMisc_ValidOutDir("", own, "Rename", true));
  EXPECT_FALSE(AutoMisc_ValidOutDir(Projects() + "/alias", own, "Rename", true)) << "the folder's own";
  answer = false;
  EXPECT_FALSE(AutoMisc_ValidOutDir(Projects() + "/new", own, "Rename", true));
  answer = true;
  EXPECT_FALSE(AutoMisc_ValidOutDir(Projects() + "/new", own, "Rename", false)) << "not asked";
  EXPECT_TRUE(AutoMisc_ValidOutDir(Projects() + "/new", own, "Rename", true));
  EXPECT_TRUE(fs::is_directory(Projects() + "/new"));

  const std::string data = FLOATDECK_SOURCE_DIR "/tests/data/rename/";
  EXPECT_TRUE(AutoMisc_ValidScheme("", true, true));
  EXPECT_TRUE(AutoMisc_ValidScheme(data + "separation.trs", true, true));
  EXPECT_FALSE(AutoMisc_ValidScheme(data + "separation.txt", false, true));
  EXPECT_FALSE(AutoMisc_ValidScheme(data + "bad_reference.trs", false, true));
  EXPECT_FALSE(AutoMisc_ValidScheme(data + "missing.trs", false, false));
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find(Projects() + "/alias cannot be an out directory of Rename"), std::string::npos) << err;
  EXPECT_NE(err.find("separation.txt is no rename scheme"), std::string::npos) << err;
  EXPECT_NE(err.find("bad_reference.trs cannot be loaded: "), std::string::npos) << err;
  EXPECT_EQ(err.find("missing.trs"), std::string::npos) << "asked to be quiet";
}

TEST_F(AutoMiscTest, MultiHostFoldersCarryTheirInstallersMark) {
  const std::string root = Projects() + "/autofolder/autorename";
  ASSERT_TRUE(AutoMisc_RootExists(root) && AutoMisc_NewAutofolder(root, "single"));
  EXPECT_EQ(std::distance(fs::directory_iterator(root + "/single"), fs::directory_iterator{}), 0);
  PutFile(Cfg(), "VERSION=1\nMULTIHOSTHOTFOLDER=TRUE\n");
  ASSERT_TRUE(AutoMisc_NewAutofolder(root, "multi"));
  NameStr mark;
  TVWcfg_GetLocalInstallerMark(mark);
  EXPECT_TRUE(fs::exists(root + "/multi/" + std::string(mark)));
  PutFile(root + "/multi/.InstalledBy_otherhost", "");
  AutoMisc_RemoveInstallerMark(root + "/multi");
  EXPECT_FALSE(fs::exists(root + "/multi/" + std::string(mark)));
  AutoMisc_RemoveAllInstallerMarks(root + "/multi");
  EXPECT_FALSE(fs::exists(root + "/multi/.InstalledBy_otherhost"));
}
