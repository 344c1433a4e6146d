// Starting an outside command from a window: the command line for each
// case of the flag IO_DEV_NULL, and what a command started so does.
#include "frontends/TVFEbase.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "base/DirAcces.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir*& site = UsePrivateSiteForTests(DirAcces_Init);

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

}  // namespace
