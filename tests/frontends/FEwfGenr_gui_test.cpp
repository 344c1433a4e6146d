// The front-end frame on a private X server, with the test module FEtest
// answered through the GUI log's replay as an operator would answer it:
// Cancel, OK with and without changes, an enum value beyond the map, a
// refusing check, a switchboard message under the open dialog and the
// directory box of a selection.
#include "frontends/FEwfGenr.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "base/SIdPool.h"
#include "tests/frontends/FEtestModule.h"
#include "tests/support/TestFiles.h"
#include "tests/toolkit/TestDialogs.h"
#include "toolkit/IReplay.h"
#include "workflow/WFbase.h"

namespace {

namespace fs = std::filesystem;

const bool registered = UseTestDialogs([] {
  I_UseContextCat("FETESTdlg");
  FEtest_Register();
});

// The workflow switchboard of these tests.
SwitchBd Board() {
  static SwitchBd board = SwitchBd_Create();
  return board;
}

class FrontEnd : public ::testing::Test {
 protected:
  // The rc of `text`, as a folder's is loaded.
  SAutoRcF Rc(const std::string& text) {
    PutFile(dir_.Path() + "/in.rc", text);
    SAutoRcF rc = SAutoRcF_Nil();
    EXPECT_TRUE(SAutoRcF_Load(dir_.Path() + "/in.rc", rc));
    return rc;
  }
  std::string Saved(SAutoRcF rc) {
    EXPECT_TRUE(SAutoRcF_Save(dir_.Path() + "/out.rc", rc));
    return FileText(dir_.Path() + "/out.rc");
  }
  // Runs the dialog on rc with the replay `lines` as the operator.
  bool Edit(SAutoRcF rc, const std::string& lines) {
    PutFile(dir_.Path() + "/replay.log", lines);
    EXPECT_TRUE(IReplay_Start(dir_.Path() + "/replay.log", 5000));
    const bool modified = WFmodule_EditParams(kFEtestKind, "flowA", "test_1", rc, Board());
    IReplay_Stop();
    return modified;
  }
  static std::string Opt(SAutoRcF rc, const char* key) {
    TextStr value;
    return SAutoRcF_GetStringOpt(rc, StrIn::C(key), value) ? StrIn(value).Str() : "<none>";
  }
  static FEwfGenr Frame() { return FEtest_data->head.frame; }
  TempDir dir_;
};

constexpr char kRcText[] = "imgmv\n: COUNT=7\n: ENABLED=_FALSE_\n: OTHER=x\n";

TEST_F(FrontEnd, CancelAfterChangesReportsFalseAndLeavesTheRcAsItWas) {
  SAutoRcF rc = Rc(kRcText);
  const std::string before = Saved(rc);
  EXPECT_FALSE(Edit(rc, "AOBJ FEtest_Params 12 9\nAOBJ FEtest_Params 10 TRUE\n"
                        "AOBJ FEtest_Params 14 \"/elsewhere\"\nAOBJ FEtest_Params 1 0\n"));
  EXPECT_TRUE(FEwfGenr_Modified(Frame()));  // the changes were seen
  EXPECT_FALSE(FEwfGenr_Confirmed(Frame()));
  EXPECT_EQ(Saved(rc), before);
  // The window's title names the kind and the workflow.
  char title[128] = "";
  I_GetReprAttr(FEwfGenr_Dialog(Frame()), -1, SIdPool_EnterId("title"), title, sizeof title);
  NameStr kindName;
  WFmodule_GetName(kFEtestKind, kindName);
  EXPECT_EQ(std::string(title), StrIn(kindName).Str() + " - flowA");
  SAutoRcF_Destroy(rc);
}

TEST_F(FrontEnd, OkWithoutChangeWritesEveryDeclaredParameterAndReportsFalse) {
  SAutoRcF rc = Rc(kRcText);
  EXPECT_FALSE(Edit(rc, "AOBJ FEtest_Params 1 1\n"));
  EXPECT_TRUE(FEwfGenr_Confirmed(Frame()));
  EXPECT_EQ(Opt(rc, "COUNT"), "7");
  EXPECT_EQ(Opt(rc, "ENABLED"), "_FALSE_");
  EXPECT_EQ(Opt(rc, "CHOICE"), "1");
  EXPECT_EQ(Opt(rc, "FACTOR"), "1.50000000");
  EXPECT_EQ(Opt(rc, "FOLDER"), "");
  EXPECT_EQ(Opt(rc, "RCONLY"), "kept");
  EXPECT_EQ(Opt(rc, "OTHER"), "x");
  // With a change, OK reports it and writes it.
  EXPECT_TRUE(Edit(rc, "AOBJ FEtest_Params 13 2.25\nAOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(Opt(rc, "FACTOR"), "2.25000000");
  SAutoRcF_Destroy(rc);
}

TEST_F(FrontEnd, EnumValuesGoThroughTheMapAndValuesBeyondItPassUnchanged) {
  SAutoRcF rc = Rc("imgmv\n: CHOICE=2\n");
  EXPECT_FALSE(Edit(rc, "AOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(I_GetCARDINAL(FEwfGenr_Dialog(Frame()), kFEtestChoice), 7u);
  // Beyond the map, both ways.
  SAutoRcF_SetStringOpt(rc, "CHOICE", "9");
  EXPECT_FALSE(Edit(rc, "AOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(I_GetCARDINAL(FEwfGenr_Dialog(Frame()), kFEtestChoice), 9u);
  EXPECT_EQ(Opt(rc, "CHOICE"), "9");
  // A shown value comes back as its index, one that no entry holds as it is.
  EXPECT_TRUE(Edit(rc, "AOBJ FEtest_Params 11 6\nAOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(Opt(rc, "CHOICE"), "1");
  EXPECT_TRUE(Edit(rc, "AOBJ FEtest_Params 11 8\nAOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(Opt(rc, "CHOICE"), "8");
  SAutoRcF_Destroy(rc);
}

TEST_F(FrontEnd, ARefusedOkKeepsTheDialogOpenWithItsEdits) {
  SAutoRcF rc = Rc(kRcText);
  EXPECT_TRUE(Edit(rc, "AOBJ FEtest_Params 10 TRUE\nAOBJ FEtest_Params 12 -1\nAOBJ FEtest_Params 1 1\n"
                       "AOBJ _errmsg 2 1\nAOBJ FEtest_Params 12 4\nAOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(Opt(rc, "COUNT"), "4");
  EXPECT_EQ(Opt(rc, "ENABLED"), "_TRUE_");
  SAutoRcF_Destroy(rc);
}

TEST_F(FrontEnd, AttachOnAnAttachedFrameDoesNothing) {
  SAutoRcF rc = Rc(kRcText);
  Edit(rc, "AOBJ FEtest_Params 1 0\n");
  I_Context other = I_Create("FEtest_Params", false);
  const I_Context dialog = FEwfGenr_Dialog(Frame());
  FEwfGenr_Attach(Frame(), other, 5);
  EXPECT_EQ(FEwfGenr_Dialog(Frame()), dialog);
  // The other dialog got no callbacks: a value given there changes nothing.
  I_Destroy(other);
  EXPECT_TRUE(Edit(rc, "AOBJ FEtest_Params 12 8\nAOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(Opt(rc, "COUNT"), "8");
  SAutoRcF_Destroy(rc);
}

std::string changed;
void NoteChange(AutoDict_Parameter p, std::uintptr_t) { changed += std::to_string(AutoDict_GetAObjId(p)) + " "; }

TEST_F(FrontEnd, ValuesSetByTheProgramCountWhereTheDialogShowedOthers) {
  SAutoRcF rc = Rc(kRcText);
  Edit(rc, "AOBJ FEtest_Params 1 0\n");
  FEwfGenr frame = Frame();
  for (std::uint32_t element : {kFEtestCount, kFEtestFactor, kFEtestRcOnly}) {
    FEwfGenr_RegisterParameterCB(frame, element, NoteChange);
  }
  // A count that differs, a factor within 1e-8 of the one shown, and a
  // parameter without an element.
  AutoDict given = AutoDict_Create(8);
  AutoDict_DefineInt(given, "COUNT", kFEtestCount, 21);
  AutoDict_DefineReal(given, "FACTOR", kFEtestFactor, 1.5 + 1e-9);
  AutoDict_DefineString(given, "RCONLY", kFEtestRcOnly, "other");
  FEwfGenr_SetAllParameters(frame, given);
  EXPECT_EQ(changed, "12 ");
  EXPECT_EQ(I_GetINTEGER(FEwfGenr_Dialog(frame), kFEtestCount), 21);
  for (std::uint32_t element : {kFEtestCount, kFEtestFactor, kFEtestRcOnly}) {
    FEwfGenr_RegisterParameterCB(frame, element, nullptr);
  }
  AutoDict_Destroy(given);
  SAutoRcF_Destroy(rc);
}

void Announce(std::uintptr_t data) { SwitchBd_WallMessage(Board(), data); }

TEST_F(FrontEnd, AChangeOfTheWorkflowOrTheModeClosesTheOpenDialog) {
  SAutoRcF rc = Rc(kRcText);
  const std::string before = Saved(rc);
  for (const char* message : {WFbase_msgWorkflowChanged, WFbase_msgModeChanged}) {
    // An edit is made, then the message comes while the dialog is open.
    I_ScheduleTask(400, Announce, reinterpret_cast<std::uintptr_t>(message));
    EXPECT_FALSE(Edit(rc, "AOBJ FEtest_Params 12 11\nWAIT 5000\nAOBJ FEtest_Params 1 1\n")) << message;
    EXPECT_FALSE(I_Active(FEwfGenr_Dialog(Frame())));
    EXPECT_EQ(Saved(rc), before);
  }
  SAutoRcF_Destroy(rc);
}

TEST_F(FrontEnd, ASelectionStoresTheChosenDirectory) {
  fs::create_directories(dir_.Path() + "/jobs/incoming");
  SAutoRcF rc = Rc("imgmv\n: FOLDER=" + dir_.Path() + "/jobs\n");
  EXPECT_TRUE(Edit(rc, "AOBJ FEtest_Params 15 1\nAOBJ IFileSel_Box 6 \"incoming\"\nAOBJ IFileSel_Box 1 1\n"
                       "AOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(Opt(rc, "FOLDER"), dir_.Path() + "/jobs/incoming");
  TextStr shown;
  I_GetSTRING(FEwfGenr_Dialog(Frame()), kFEtestFolder, shown);
  EXPECT_EQ(StrIn(shown).Str(), dir_.Path() + "/jobs/incoming");
  // Cancel in the box keeps the value.
  EXPECT_FALSE(Edit(rc, "AOBJ FEtest_Params 15 1\nAOBJ IFileSel_Box 1 0\nAOBJ FEtest_Params 1 1\n"));
  EXPECT_EQ(Opt(rc, "FOLDER"), dir_.Path() + "/jobs/incoming");
  SAutoRcF_Destroy(rc);
}

}  // namespace
