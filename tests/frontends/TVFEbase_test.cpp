// The front ends' shared services: the command line of an outside command
// for each case of the flag IO_DEV_NULL and what a command started so does,
// a command run while the windows go on, the numbered shell job and its
// exclusive creation, and the format lists by line work.
#include "frontends/TVFEbase.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "image/SIqif.h"
#include "image/SItiff.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir*& site = UsePrivateSiteForTests([] {
  DirAcces_Init();
  SIqif_Init();
  SItiff_Init();
});

namespace fs = std::filesystem;

std::string Line(const char* command, bool wait) {
  TextStr line;
  TVFEbase_CommandLine(StrIn::C(command), wait, line);
  return StrIn(line).Str();
}

TEST(TVFEbase, WithoutTheFlagOnlyInputAndBackground) {
  ::unsetenv("TV_IO_DEV_NULL");
  EXPECT_EQ(Line("imgview a.tif", false), "imgview a.tif  </dev/null &");
  EXPECT_EQ(Line("imgview a.tif", true), "imgview a.tif  </dev/null");
  // A command that reads or writes where it says keeps it.
  EXPECT_EQ(Line("sort <list >out", true), "sort <list >out ");
}

TEST(TVFEbase, WithTheFlagOutputToTheConsole) {
  ::setenv("TV_IO_DEV_NULL", "on", 1);
  const std::string console = site->Path() + "/console";
  ::setenv("CONSOLE", console.c_str(), 1);
  EXPECT_EQ(Line("view x", false), "view x >" + console + " 2>&1 </dev/null &");
  EXPECT_EQ(Line("view x >log", true), "view x >log 2>&1 </dev/null");
  EXPECT_EQ(Line("view x 2>errors", true), "view x 2>errors </dev/null");
  // Without CONSOLE the console, or where it can't be written, nowhere.
  ::unsetenv("CONSOLE");
  const std::string line = Line("view x", true);
  EXPECT_TRUE(line == "view x >/dev/console 2>&1 </dev/null" || line == "view x >/dev/null 2>&1 </dev/null") << line;

  // A command waited for: its output and errors reach the console, and its
  // exit code is the answer.
  ::setenv("CONSOLE", console.c_str(), 1);
  EXPECT_FALSE(TVFEbase_StartACommand("sh -c 'printf \"out \"; ls /nonexistent-dir-of-the-test'", true));
  const std::string written = FileText(console);
  EXPECT_EQ(written.substr(0, 4), "out ");
  EXPECT_NE(written.find("nonexistent-dir-of-the-test"), std::string::npos) << written;
  EXPECT_TRUE(TVFEbase_StartACommand("true", true));
  ::unsetenv("TV_IO_DEV_NULL");
  ::unsetenv("CONSOLE");
}

TEST(TVFEbase, AModalCommandsOutputReachesStandardOutputLineByLine) {
  ::testing::internal::CaptureStdout();
  EXPECT_TRUE(TVFEbase_ExecCommandModal("printf 'one\\n'; sleep 0.2; printf 'two\\nend'; exit 3"));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "one\ntwo\nend");
}

TEST(TVFEbase, AShellJobIsMadeUnderAFreeNumberAndNeverThroughALink) {
  const std::string dir = site->Path() + "/jobs";
  fs::create_directories(dir);
  // Number 1 is taken, and under number 2 someone planted a link to a file
  // of ours: both are passed over, the link's target stays untouched.
  PutFile(dir + "/sepjob_001.bat", "mine");
  PutFile(site->Path() + "/victim", "precious");
  fs::create_symlink(site->Path() + "/victim", dir + "/sepjob_002.bat");
  TVFEbase_SH sh = TVFEbase_CreateSH(dir, "sepjobs-of-today");
  ASSERT_NE(sh, nullptr);
  PathStr name;
  TVFEbase_GetSHName(sh, name);
  EXPECT_EQ(StrIn(name).Str(), dir + "/sepjob_003.bat");
  EXPECT_EQ(FileText(site->Path() + "/victim"), "precious");
  EXPECT_EQ(FileText(dir + "/sepjob_001.bat"), "mine");

  // Started, it runs in its directory and removes itself, also one made
  // in a directory named relative to where the program runs.
  EXPECT_TRUE(TVFEbase_AppendCommand(sh, "pwd > ran; echo \"$TERMLINE\" >> ran"));
  EXPECT_TRUE(TVFEbase_StartAndDestroySH(sh));
  EXPECT_EQ(sh, nullptr);
  const fs::path before = fs::current_path();
  fs::current_path(site->Path());
  TVFEbase_SH relative = TVFEbase_CreateSH("jobs", "rel");
  fs::current_path(before);
  EXPECT_TRUE(TVFEbase_StartAndDestroySH(relative));
  const auto left = [&] { return fs::exists(dir + "/sepjob_003.bat") || fs::exists(dir + "/rel_001.bat"); };
  for (int i = 0; i < 250 && left(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_FALSE(left());
  EXPECT_EQ(FileText(dir + "/ran"), fs::canonical(dir).string() + "\nnull\n");

  // One destroyed unrun goes; a nil job is error 1, a directory that isn't
  // there error 2.
  sh = TVFEbase_CreateSH(dir, "x");
  TVFEbase_GetSHName(sh, name);
  EXPECT_EQ(StrIn(name).Str(), dir + "/x_001.bat");
  TVFEbase_DestroySH(sh);
  EXPECT_FALSE(fs::exists(dir + "/x_001.bat"));
  Messages_Quietly([&] { return TVFEbase_AppendCommand(sh, "true"); });
  EXPECT_EQ(TVFEbase_error, 1);
  EXPECT_EQ(Messages_Quietly([] { return TVFEbase_CreateSH("/nonexistent-dir-of-the-test", "x"); }), nullptr);
  EXPECT_EQ(TVFEbase_error, 2);
}

TEST(TVFEbase, FormatListsByLineWorkAndSmallHelpers) {
  // The two lists part the supported formats by what their drivers say;
  // continuous tone has ".qif" preselected.
  SImage_FormatList all = SImage_GetListOfSupportedFormats();
  std::size_t count = 0;
  for (SImage_FormatList e = all; e != nullptr; e = e->next) ++count;
  SImage_DestroyListOfSupportedFormats(all);
  for (const bool lineWork : {true, false}) {
    SImage_FormatList list = TVFEbase_SubsetList(lineWork);
    for (SImage_FormatList e = list; e != nullptr; e = e->next, --count) {
      const bool lw = std::string(e->suffix) != ".dev" &&
                      (SImage_InquireCapabilities("dummy" + std::string(e->suffix), 0) & SImage_kCapLinework) != 0;
      EXPECT_EQ(lw, lineWork) << e->suffix;
      EXPECT_EQ(e->preselected, std::string(e->suffix) == (lineWork ? ".qlf" : ".qif")) << e->suffix;
    }
    SImage_DestroyListOfSupportedFormats(list);
  }
  EXPECT_EQ(count, 0u) << "every format is in one of the lists";
  SImage_FormatList contone = TVFEbase_GetListOfCTformats();
  EXPECT_NE(SImage_FindSupportedFormat(contone, ".qif"), nullptr);
  SImage_DestroyListOfSupportedFormats(contone);

  TextStr text;
  ::setenv("BACKPIX", "  ", 1);
  TVFEbase_PrefixBACKPIX("view", text);
  EXPECT_EQ(StrIn(text).Str(), "view");
  ::setenv("BACKPIX", "/my pix", 1);
  TVFEbase_PrefixBACKPIX("view", text);
  EXPECT_EQ(StrIn(text).Str(), "BACKPIX=/my\\ pix; export BACKPIX; view");
  ::unsetenv("BACKPIX");
  TVFEbase_GetReleaseNotesName(2, text);
  EXPECT_EQ(StrIn(text).Str(), "releas2");
  TVFEbase_GetReleaseNotesName(4, text);
  EXPECT_EQ(StrIn(text).Str(), "");
}

}  // namespace
