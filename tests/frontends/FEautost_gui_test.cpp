// The start folder's dialog on a private X server, answered through the GUI
// log's replay as an operator would answer it: its title, Cancel, a start
// directory refused on OK with the dialog kept open, a new transfer mode
// with its first command, the dependent values and dropped remote starts;
// remote starts edited in their table, replayed and by the keyboard.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/SIdPool.h"
#include "distribution/RWconfig.h"
#include "frontends/FEautost.h"
#include "frontends/FEwfGenr.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/XUser.h"
#include "tests/toolkit/XvfbServer.h"
#include "toolkit/CWShell.h"
#include "toolkit/CWTable.h"
#include "toolkit/IReplay.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbase.h"
// Xlib last: its macros would hide names of the headers above.
#include <X11/keysym.h>

namespace {

namespace fs = std::filesystem;

void Init() {
  static const char* const args[] = {program_invocation_name};
  Argument_Init(1, args);
  Messages_Init();
  I_Init();
  FEautost_Init();
  WFbase_SetFeedback(false);
  AutoMisc_SetFeedback(false);
  AutoMisc_AllowDemonStart(false);
}
TempDir*& site = UsePrivateSiteForTests(Init);
const bool xvfb = UseXvfb();

SwitchBd Board() {
  static SwitchBd board = SwitchBd_Create();
  return board;
}

std::string Root() { return site->Path() + "/projects/workflow"; }

class StartDialog : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(Root());
    rc_ = SAutoRcF_Create();
    FEautost_SetDefaultParams(rc_, Root() + "/flowA");
  }
  void TearDown() override { SAutoRcF_Destroy(rc_); }
  std::string Saved() {
    EXPECT_TRUE(SAutoRcF_Save(dir_.Path() + "/out.rc", rc_));
    return FileText(dir_.Path() + "/out.rc");
  }
  // Runs the dialog with the replay `lines` as the operator.
  bool Edit(const std::string& lines) {
    PutFile(dir_.Path() + "/replay.log", lines);
    EXPECT_TRUE(IReplay_Start(dir_.Path() + "/replay.log", 5000));
    const bool modified = WFmodule_EditParams(1, "flowA", "start", rc_, Board());
    IReplay_Stop();
    return modified;
  }
  std::string Opt(const char* key) {
    TextStr value;
    return SAutoRcF_GetOpt(rc_, StrIn::C(key), value) ? StrIn(value).Str() : "<absent>";
  }
  std::string Cmd() {
    TextStr command;
    SAutoRcF_GetFirstCmd(rc_, command);
    return StrIn(command).Str();
  }
  SAutoRcF rc_ = nullptr;
  TempDir dir_;
};

TEST_F(StartDialog, OpensWithItsTitleAndCancelLeavesTheRcByteIdentical) {
  const std::string before = Saved();
  EXPECT_FALSE(Edit("AOBJ FEautost 4 3\nAOBJ FEautost 6 TRUE\nAOBJ FEautost 22 5\nAOBJ FEautost 1 0\n"));
  EXPECT_EQ(Saved(), before);
  ASSERT_NE(FEautost_Dialog(), nullptr);
  // The title: message 10 of the frame's section with the kind and the workflow.
  char title[256] = "";
  I_GetReprAttr(FEautost_Dialog(), -1, SIdPool_EnterId("title"), title, sizeof title);
  NameStr kindName;
  WFmodule_GetName(1, kindName);
  EXPECT_EQ(std::string(title), StrIn(kindName).Str() + " - flowA");
}

TEST_F(StartDialog, ARefusedStartDirectoryKeepsTheDialogOpenWithItsEdits) {
  // The inner hot folder's name is refused; the edits stay and a good name
  // is then taken with them.
  const std::string refused = dir_.Path() + "/flow_x_12", taken = dir_.Path() + "/flow_x";
  EXPECT_TRUE(Edit("AOBJ FEautost 11 FALSE\nAOBJ FEautost 13 TRUE\nAOBJ FEautost 3 \"" + refused +
                   "\"\nAOBJ FEautost 1 1\nAOBJ FEautost 3 \"" + taken + "\"\nAOBJ FEautost 1 1\nAOBJ FEautost 1 0\n"));
  EXPECT_EQ(Opt("STARTDIR"), taken);
  EXPECT_EQ(Opt("CONSIDERCTIME"), "_TRUE_");
}

TEST_F(StartDialog, OkWithANewTransferModeWritesItsFirstCommandAndInterval) {
  EXPECT_EQ(Cmd(), "imgmv");
  EXPECT_TRUE(Edit("AOBJ FEautost 4 2\nAOBJ FEautost 22 2\nAOBJ FEautost 1 1\n"));
  EXPECT_EQ(Opt("MODE"), "2");
  EXPECT_EQ(Cmd(), "imgcp");
  EXPECT_EQ(Opt("WATCHINTERVAL"), std::to_string(3 * TVWcfg_DefaultWatchInterval));
  // The interval chosen is preselected the next time and survives OK.
  EXPECT_FALSE(Edit("AOBJ FEautost 1 1\n"));
  EXPECT_EQ(I_GetINTEGER(FEautost_Dialog(), 22), 2);
  EXPECT_EQ(Opt("WATCHINTERVAL"), std::to_string(3 * TVWcfg_DefaultWatchInterval));
  // Any file in job-ticket mode: the ticket command with the folder path.
  EXPECT_TRUE(Edit("AOBJ FEautost 8 2\nAOBJ FEautost 4 3\nAOBJ FEautost 1 1\n"));
  EXPECT_EQ(Opt("FILEMODE"), "2");
  EXPECT_EQ(Cmd().rfind("jobticket.sh -p ", 0), 0u) << Cmd();
}

TEST_F(StartDialog, DependentValuesAndDroppedRemoteStartsReachTheRc) {
  // Sub-directories switched off under the dialog clear extended names.
  EXPECT_TRUE(Edit("AOBJ FEautost 6 TRUE\nAOBJ FEautost 14 TRUE\nAOBJ FEautost 6 FALSE\nAOBJ FEautost 1 1\n"));
  EXPECT_EQ(Opt("SUBDIRS"), "_FALSE_");
  EXPECT_EQ(Opt("EXTENDFILENAMES"), "_FALSE_");
  // With no server configured, a remote start goes even on Cancel.
  SAutoRcF_RemoteStart start;
  Strings_Assign("press1", start.server);
  Strings_Assign("/in", start.directory);
  SAutoRcF_SetRemoteStart(rc_, 0, start);
  EXPECT_TRUE(Edit("AOBJ FEautost 1 0\n"));
  EXPECT_EQ(SAutoRcF_RemoteStartCount(rc_), 0u);
}

RWconfig servers = nullptr;
RWconfig_Rec* Servers(StrOut) { return servers; }

// The operator's keys, sent while the dialog runs: a double click on the
// second directory, a character typed, Return; then Escape cancels.
void TypeIntoSecondDirectory(std::uintptr_t) {
  I_Context dialog = FEautost_Dialog();
  Widget table = dialog != nullptr ? I_AccessWidget(dialog, 19) : nullptr;
  Regions_Rect cell;
  if (table == nullptr || !static_cast<CWShell>(I_AccessWidget(dialog, 111))->exposed ||
      !CWTable_CellPlace(table, 1, 1, cell)) {
    I_ScheduleTask(50, TypeIntoSecondDirectory, 0);
    return;
  }
  XUser user;
  for (int click = 0; click < 2; ++click) user.ClickAt(table, cell.x + cell.width / 2, cell.y + cell.height / 2);
  user.Type("2");
  user.Press(XK_Return);
  user.Press(XK_Escape);
}

TEST_F(StartDialog, RemoteStartsEditedInTheirTableAreKeptEvenOnCancel) {
  // Two remote starts of the server press1, which the remote watch knows.
  TextStr error;
  ASSERT_TRUE(servers != nullptr || RWconfig_Load(servers, error)) << error;
  SAutoRcF_RemoteStart start;
  Strings_Assign("press1", start.server);
  RWbase_Server press1;
  Strings_Assign(start.server, press1.name);
  RWconfig_AddOrReplaceServer(servers, press1);
  WFbase_RegisterRemoteWatch(WFbase_RemoteWatch{Servers, nullptr});
  for (std::uint32_t i = 0; i < 2; ++i) {
    Strings_Assign(StrIn::C(i == 0 ? "/a" : "/hot"), start.directory);
    SAutoRcF_SetRemoteStart(rc_, i, start);
  }
  const auto saved = [&](std::uint32_t index) {
    SAutoRcF_GetRemoteStart(rc_, index, start);
    return StrIn(start.directory).Str() + (start.deleteFiles ? " delete" : "");
  };
  // Replayed, the second row of press1 by its number; then by the keys.
  EXPECT_TRUE(Edit("COMMAND FEautost 19 CELL press1 2 1 /hot2\nCOMMAND FEautost 19 CELL press1 1 2 1\n"
                   "AOBJ FEautost 1 1\n"));
  EXPECT_EQ(saved(0) + ", " + saved(1), "/a delete, /hot2");
  I_ScheduleTask(50, TypeIntoSecondDirectory, 0);
  EXPECT_TRUE(WFmodule_EditParams(1, "flowA", "start", rc_, Board()));
  EXPECT_EQ(saved(0) + ", " + saved(1), "/a delete, /hot22");
  WFbase_RegisterRemoteWatch(WFbase_RemoteWatch{});
}

}  // namespace
