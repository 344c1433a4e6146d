// The checks before an install, on workflows built in memory: faults with
// their messages and marks, the first fault ending the walk, a join reached
// with two formats, and the formats that leave the kinds that make files.
#include "workflow/WFtest.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <utility>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "tests/support/TestFiles.h"

namespace {

TempDir*& site = UsePrivateSiteForTests([] {
  ::setenv("LANG", "C", 1);
  ::unsetenv("LANGUAGE");
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  Messages_Init();
  WFtest_Init();
});

using Marks = std::vector<std::pair<WFfolder, WFfolder>>;
Marks marks;                     // what the graph was asked to mark
std::vector<std::string> shown;  // what was told

using Options = std::vector<std::pair<std::string, std::string>>;
constexpr WFfolder_FolderKind kICopy = 22, kImgFork = 24, kRename = 29, kDuplicate = 31, kSwitch = 32, kSort = 44,
                              kDelete = 46, kRemoteCopy = 51;

class WFtestTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WFbase_Hooks hooks;
    hooks.show = [](StrIn text) { shown.push_back(text.Str()); };
    WFbase_RegisterHooks(hooks);
    WFtest_RegisterMarkProc([](void*, WFfolder folder, WFfolder other) { marks.emplace_back(folder, other); });
    PathStr path;
    WFbase_GetDefaultOutdir(workflow, path);
    end = WFbase_CreateFolder(workflow, kWFfolderEnd, SAutoRcF_Nil(), path, false);
  }
  void TearDown() override {
    WFtest_RegisterMarkProc(nullptr);
    WFbase_RegisterHooks(WFbase_Hooks{});
    WFbase_DestroyWorkflow(workflow);
  }

  // A folder of `kind` with `options`, sending to `outs`.
  WFfolder Add(WFfolder_FolderKind kind, const Options& options = {}, const std::vector<WFfolder>& outs = {}) {
    PathStr path;
    WFbase_BuildFolderPath(workflow, kind, nullptr, path);
    return Set(WFbase_CreateFolder(workflow, kind, SAutoRcF_Create(), path, false), options, outs);
  }
  static WFfolder Set(WFfolder folder, const Options& options, const std::vector<WFfolder>& outs = {}) {
    for (const auto& [key, value] : options) WFfolder_SetStringOpt(folder, key, value);
    for (std::size_t i = 0; i < outs.size(); ++i) WFfolder_SetOutFolder(folder, static_cast<std::uint32_t>(i + 1), outs[i]);
    return folder;
  }
  // "" when the workflow passes; else the refused folder's fault as
  // "message: text", which the marks (after the clearing one) and the one
  // text told must match.
  std::string Check(WFfolder first, WFfolder marked = nullptr, WFfolder other = nullptr) {
    Set(start, {}, {first});
    marks.clear();
    shown.clear();
    if (WFtest_CheckWorkflow(&marks, workflow)) return marks == Marks{{nullptr, nullptr}} && shown.empty() ? "" : "?";
    const WFfolder folder = WFtest_FaultyFolder();
    EXPECT_EQ(marks, (Marks{{nullptr, nullptr}, {marked != nullptr ? marked : folder, other}}));
    EXPECT_EQ(shown.size(), 1u);
    return std::to_string(WFtest_FaultMessage()) + ": " + (shown.empty() ? "" : shown[0]);
  }
  static std::string Text(unsigned number, const std::string& argument = "") {
    TextStr text;
    Messages_GetMsg("WFtest", number, text);
    if (!argument.empty()) SPrintf_String(text, argument);
    return std::to_string(number) + ": " + StrIn(text).Str();
  }
  static std::string Path(WFfolder folder) {
    PathStr path;
    WFfolder_GetPath(folder, path);
    return StrIn(path).Str();
  }

  WFbase workflow = WFbase_CreateWorkflow("w", false);
  WFfolder start = WFbase_StartFolder(workflow);
  WFfolder end = nullptr;  // an end folder at the workflow's end directory
};

TEST_F(WFtestTest, EachFaultIsToldAndMarked) {
  // A new workflow sends to its invisible end, which ends no branch.
  const WFfolder invisible = WFfolder_OutFolder(start, 1);
  EXPECT_EQ(Check(invisible), Text(1));
  EXPECT_EQ(WFtest_FaultyFolder(), invisible);
  EXPECT_EQ(Check(end), "");
  // Two folders of one directory are one folder on disk.
  const WFfolder duplicate = Add(kDuplicate, {}, {Add(kDelete), Add(kDelete)});
  EXPECT_EQ(Check(duplicate), Text(10, Path(WFfolder_OutFolder(duplicate, 1))));
  // A rename on all files behind a start that passes images only.
  const WFfolder rename = Add(kRename, {{"MODE", "1"}}, {end});
  EXPECT_EQ(Check(rename), "");
  Set(start, {{"FILEMODE", "0"}});
  EXPECT_EQ(Check(rename), Text(12));
  const WFfolder fork = Add(kImgFork, {{"MODE", "2"}}, {end});
  WFfolder_SetFinalpageMode(fork, true);
  EXPECT_EQ(Check(fork), Text(7));
  // The first out that fails ends the walk: the second isn't looked at.
  const WFfolder sort = Add(kSort, {{"MODE", "2"}}), copy = Add(kRemoteCopy, {{"TAKEOVERSUBDIRS", "_TRUE_"}});
  const WFfolder both = Add(kDuplicate, {}, {sort, copy});
  EXPECT_EQ(Check(both), Text(13));
  Set(start, {{"EXTENDFILENAMES", "_TRUE_"}});
  EXPECT_EQ(Check(both), Text(14));
  // Job tickets from the start reach a kind that takes none.
  Set(both, {}, {sort, end});
  WFbase_SetStartTransferMode(workflow, kWFbaseJobticketTransfer);
  WFbase_SetFolderMode(workflow);
  EXPECT_EQ(Check(both), Text(11, "Duplicate"));
  // Without a view nothing is marked; the fault is told all the same.
  marks.clear();
  EXPECT_FALSE(WFtest_CheckWorkflow(nullptr, workflow));
  EXPECT_TRUE(marks.empty());
  EXPECT_FALSE(WFtest_CheckWorkflow(&marks, WFbase_NilWorkflow()));
  // A front end's check of its kind refuses with its own words; none, and
  // the folder passes.
  WFtest_RegisterCheck(kWFfolderStart, [](WFbase, WFfolder, StrOut reason) {
    Strings_Assign("start refused", reason);
    return false;
  });
  EXPECT_EQ(Check(end, start), "0: start refused");
  WFtest_RegisterCheck(kWFfolderStart, nullptr);
  EXPECT_EQ(Check(end), "");
}

// A join reached on two roads with two formats is checked with both: that
// it passed with one says nothing about the other.
TEST_F(WFtestTest, AJoinIsCheckedWithTheFormatOfEachRoad) {
  const WFfolder join = Add(kICopy, {{"INREGEXPR", "\\.tif$"}}, {end});
  const WFfolder converter = Add(kICopy, {{"OUTFORMAT", ".tif"}}, {join}), plain = Add(kRename, {}, {join});
  Set(start, {{"FILEMODE", "3"}});
  // The first road brings ".tif", the second the start's ".ps": the folder
  // in front of the join is marked with it.
  EXPECT_EQ(Check(Add(kDuplicate, {}, {converter, plain}), plain, join), Text(2, ".ps"));
  EXPECT_EQ(WFtest_FaultyFolder(), join);
  // Behind a switch the format is not known: nothing to refuse.
  EXPECT_EQ(Check(Add(kDuplicate, {}, {converter, Add(kSwitch, {{"MODE", "1"}}, {plain, end})})), "");
}

TEST_F(WFtestTest, FormatsThatLeaveAFolder) {
  struct Case {
    WFfolder_FolderKind kind;
    Options options;
    std::uint32_t out;
    std::string format;
  };
  const Options rip = {{"IMGFFMT_CT", ".ct"}, {"IMGFFMT_LW", ".lw"}, {"OutputFormatCT", ".ct"}, {"OutputFormatLW", ".lw"}};
  // The kinds of two outs with a format each, and the defaults.
  const Case cases[] = {
      {kWFfolderStart, {{"FILEMODE", "4"}, {"FILEFMTS", ".tif"}}, 1, ".tif"},
      {kWFfolderStart, {{"FILEMODE", "2"}}, 1, ""},
      {3, {{"CMPLXMODE", "4"}}, 2, ".lw"},
      {3, {{"CMPLXMODE", "5"}}, 2, ".QHf"},
      {4, {{"CTLW", "3"}}, 2, ".lw"},
      {4, {{"CTLW", "3"}}, 1, ".ct"},
      {40, {{"PRINTTOFILE", "_TRUE_"}}, 1, ".qtf"},
  };
  for (const Case& c : cases) {
    const WFfolder folder = Set(c.kind == kWFfolderStart ? start : Add(c.kind, rip), c.options);
    for (std::uint32_t out = 1; out <= c.out; ++out) WFfolder_SetOutFolder(folder, out, end);
    NameStr format;
    EXPECT_EQ(WFtest_GetOutformat(folder, c.out, format), !c.format.empty()) << int{c.kind} << " out " << c.out;
    EXPECT_EQ(StrIn(format).Str(), c.format) << int{c.kind} << " out " << c.out;
  }
  // Nothing leaves through an out that isn't there.
  NameStr format = "old";
  EXPECT_FALSE(WFtest_GetOutformat(start, 2, format));
  EXPECT_EQ(StrIn(format).Str(), "");
}

}  // namespace
