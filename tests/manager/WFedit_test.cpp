// A folder's parameters edited from the graph, without a display: a front
// end that only writes its answer stands for the dialog. What the graph
// makes of the answer: new outs get invisible ends, outs taken away go with
// the branches only they reach, and which changes ask for a new layout.
#include "manager/WFedit.h"

#include <gtest/gtest.h>

#include <string>

#include "base/DirAcces.h"
#include "tests/support/TestFiles.h"

namespace {

constexpr WFfolder_FolderKind kRip = 10, kRename = 29, kSort = 44;

// The dialog's answer: the option to write and whether OK was pressed.
std::string answerKey, answerValue;
bool answerOk = false;

void Answer(StrIn, StrIn, SAutoRcF rc, SwitchBd, bool& modified) {
  modified = answerOk;
  if (answerOk) SAutoRcF_SetStringOpt(rc, StrIn(answerKey), StrIn(answerValue));
}

void Init() {
  DirAcces_Init();
  for (WFfolder_FolderKind kind : {kWFfolderStart, kRip, kRename})
    WFmodule_RegisterFrontend(WFfolder_FolderToModuleKind(kind), nullptr, Answer, WFmodule_NoReferencedFiles);
}
TempDir*& site = UsePrivateSiteForTests(Init);

class EditParams : public ::testing::Test {
 protected:
  void TearDown() override { WFbase_DestroyWorkflow(workflow_); }
  WFfolder Add(WFfolder_FolderKind kind, WFfolder from, std::uint32_t out = 1) {
    PathStr path;
    WFbase_BuildFolderPath(workflow_, kind, nullptr, path);
    const WFfolder folder = WFbase_CreateFolder(workflow_, kind, SAutoRcF_Create(), path, false);
    WFfolder_SetOutFolder(from, out, folder);
    return folder;
  }
  bool Edit(WFfolder folder, const std::string& key, const std::string& value, bool ok, bool& structure) {
    answerKey = key;
    answerValue = value;
    answerOk = ok;
    return WFedit_EditParams(workflow_, folder, structure);
  }
  WFbase workflow_ = WFbase_CreateWorkflow("editparams", false);
  WFfolder start_ = WFbase_StartFolder(workflow_);
};

TEST_F(EditParams, OutsFollowTheModeAndBranchesGoWithThem) {
  // start -> rip -> rename; the rip's mode 1 gives it a second out.
  const WFfolder rip = Add(kRip, start_), rename = Add(kRename, rip);
  bool structure = true;
  EXPECT_FALSE(Edit(rip, "MODE", "1", false, structure)) << "Cancel";
  EXPECT_FALSE(structure);
  EXPECT_EQ(WFfolder_OutFolder(rip, 2), nullptr);

  EXPECT_TRUE(Edit(rip, "MODE", "1", true, structure));
  EXPECT_TRUE(structure);
  EXPECT_EQ(WFfolder_OutFolder(rip, 1), rename);
  EXPECT_TRUE(WFfolder_InvisibleEnd(WFfolder_OutFolder(rip, 2)));

  // A branch on out 2 (rename -> sort) and a sort also reached from out 1:
  // back to one out, the branch's rename goes, the shared sort stays.
  const WFfolder lone = Add(kRename, rip, 2), shared = Add(kSort, rename);
  WFfolder_SetOutFolder(lone, 1, shared);
  EXPECT_TRUE(Edit(rip, "MODE", "0", true, structure));
  EXPECT_TRUE(structure);
  EXPECT_EQ(WFfolder_OutFolder(rip, 2), nullptr);
  EXPECT_EQ(WFfolder_OutFolder(rename, 1), shared);
  WFfolder removed = WFbase_TakeFolderToRemove(workflow_);
  EXPECT_EQ(removed, lone);
  WFfolder_Destroy(removed);
  EXPECT_EQ(WFbase_TakeFolderToRemove(workflow_), nullptr);

  // A rename folder's changes always lay the graph out anew; an option of
  // the rip that changes neither outs nor modes does not.
  EXPECT_TRUE(Edit(rename, "SCHEME", "x", true, structure));
  EXPECT_TRUE(structure);
  EXPECT_TRUE(Edit(rip, "RESOLUTION", "600", true, structure));
  EXPECT_FALSE(structure);
  EXPECT_TRUE(WFbase_Modified(workflow_) && WFfolder_Modified(rip));
}

TEST_F(EditParams, TheStartFolderChangesTheLayoutWithItsModes) {
  bool structure = true;
  EXPECT_TRUE(Edit(start_, "COMMENT", "x", true, structure));
  EXPECT_FALSE(structure);
  EXPECT_TRUE(Edit(start_, "AUTOMODE", "1", true, structure));
  EXPECT_TRUE(structure);
  EXPECT_TRUE(Edit(start_, "MODE", "1", true, structure));
  EXPECT_TRUE(structure);
  EXPECT_FALSE(WFedit_EditParams(workflow_, nullptr, structure));
  EXPECT_FALSE(WFedit_EditParams(nullptr, start_, structure));
}

}  // namespace
