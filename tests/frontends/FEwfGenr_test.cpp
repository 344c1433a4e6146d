// The front-end frame without a display: a dictionary-form module's
// defaults, the enum maps, the transfer from an rc with the parameters'
// callbacks, and a folder's parameter dialog reached through the workflow.
#include "frontends/FEwfGenr.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "tests/frontends/FEtestModule.h"
#include "tests/support/TestFiles.h"
#include "workflow/WFbase.h"

namespace {

TempDir*& site = UsePrivateSiteForTests([] {
  ::unsetenv("DISPLAY");
  WFbase_Init();
  FEtest_Register();
});

std::string Opt(SAutoRcF rc, const char* key) {
  TextStr value;
  return SAutoRcF_GetStringOpt(rc, StrIn::C(key), value) ? StrIn(value).Str() : "<none>";
}

TEST(FEwfGenrDefaults, DeclaredParametersGetTheirDefaultsWithoutADisplay) {
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_SetStringOpt(rc, "COUNT", "17");
  SAutoRcF_SetStringOpt(rc, "OTHER", "stays");
  WFmodule_SetDefaultParams(kFEtestKind, rc, "/projects/f");
  EXPECT_EQ(Opt(rc, "ENABLED"), "_TRUE_");
  EXPECT_EQ(Opt(rc, "CHOICE"), "1");
  EXPECT_EQ(Opt(rc, "COUNT"), "3");
  EXPECT_EQ(Opt(rc, "FACTOR"), "1.50000000");
  EXPECT_EQ(Opt(rc, "FOLDER"), "");
  EXPECT_EQ(Opt(rc, "RCONLY"), "kept");
  EXPECT_EQ(Opt(rc, "OTHER"), "stays");
  // The defaults' dictionary is made once and set back to its defaults
  // each time, whatever values it held.
  AutoDict first = FEtest_paramDict;
  AutoDict_SetInt(AutoDict_GetParameter(first, kFEtestCount), 40);
  SAutoRcF other = SAutoRcF_Create();
  WFmodule_SetDefaultParams(kFEtestKind, other, "/projects/g");
  EXPECT_EQ(FEtest_paramDict, first);
  EXPECT_EQ(Opt(other, "COUNT"), "3");
  EXPECT_EQ(FEtest_data, nullptr);  // no dialog was made for it
  SAutoRcF_Destroy(rc);
  SAutoRcF_Destroy(other);
}

TEST(FEwfGenrFrame, StartsEmptyAndMapsEnumsBothWays) {
  AutoDict d = AutoDict_Create(8);
  AutoDict_DefineCard(d, "CHOICE", 11, 0);
  FEwfGenr frame = FEwfGenr_Create(d, kFEtestKind, 0);
  EXPECT_EQ(FEwfGenr_Dialog(frame), nullptr);
  EXPECT_FALSE(FEwfGenr_Modified(frame));
  EXPECT_FALSE(FEwfGenr_Confirmed(frame));
  EXPECT_EQ(FEwfGenr_Dictionary(frame), d);
  // Without a map values pass unchanged.
  EXPECT_EQ(FEwfGenr_Map(frame, 11, 2), 2u);
  EXPECT_EQ(FEwfGenr_Unmap(frame, 11, 2), 2u);
  const std::uint32_t map[] = {5, 6, 6, 7};
  FEwfGenr_RegisterEnumMap(frame, 11, 3, map);
  EXPECT_EQ(FEwfGenr_Map(frame, 11, 0), 5u);
  EXPECT_EQ(FEwfGenr_Map(frame, 11, 3), 7u);
  EXPECT_EQ(FEwfGenr_Map(frame, 11, 4), 4u);      // beyond the map
  EXPECT_EQ(FEwfGenr_Unmap(frame, 11, 6), 1u);    // the first index that holds it
  EXPECT_EQ(FEwfGenr_Unmap(frame, 11, 9), 9u);    // held by none
  EXPECT_EQ(FEwfGenr_Map(frame, 12, 0), 0u);      // another element has no map
  // A later map replaces the earlier, with its own length.
  const std::uint32_t shorter[] = {9};
  FEwfGenr_RegisterEnumMap(frame, 11, 0, shorter);
  EXPECT_EQ(FEwfGenr_Map(frame, 11, 0), 9u);
  EXPECT_EQ(FEwfGenr_Map(frame, 11, 1), 1u);
  FEwfGenr_Destroy(frame);
  EXPECT_EQ(frame, nullptr);
  AutoDict_Destroy(d);
}

std::string seen;
void NoteParameter(AutoDict_Parameter p, std::uintptr_t) {
  NameStr name;
  AutoDict_GetName(p, name);
  seen += StrIn(name).Str() + " ";
}
void NoteGet(SAutoRcF, std::uintptr_t client) { seen += "get" + std::to_string(client); }

TEST(FEwfGenrFrame, ReadingRunsTheParametersCallbacksWithoutCountingAChange) {
  AutoDict d = AutoDict_Create(8);
  AutoDict_DefineInt(d, "A", 1, 10);
  AutoDict_DefineString(d, "B", 2, "b");
  AutoDict_DefineBool(d, "C", 3, false);
  FEwfGenr frame = FEwfGenr_Create(d, kFEtestKind, 7);
  FEwfGenr_RegisterParameterCB(frame, 1, NoteParameter);
  FEwfGenr_RegisterParameterCB(frame, 3, NoteParameter);
  FEwfGenr_RegisterGetValuesCB(frame, NoteGet);
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_SetStringOpt(rc, "A", "12x");  // the wrong form: the default
  SAutoRcF_SetStringOpt(rc, "B", "given");
  FEwfGenr_GetValuesFromRcFile(frame, rc, false);
  EXPECT_EQ(seen, "A C get7");
  EXPECT_FALSE(FEwfGenr_Modified(frame));
  EXPECT_EQ(AutoDict_GetInt(AutoDict_GetParameter(d, 1)), 10);
  TextStr b;
  AutoDict_GetString(AutoDict_GetParameter(d, 2), b);
  EXPECT_STREQ(b, "given");
  seen.clear();
  FEwfGenr_GetValuesFromRcFile(frame, rc, true);
  EXPECT_EQ(seen, "get7");
  // A change by the program runs the callback and counts.
  seen.clear();
  FEwfGenr_ParameterModified(frame, AutoDict_GetParameter(d, 3));
  EXPECT_EQ(seen, "C ");
  EXPECT_TRUE(FEwfGenr_Modified(frame));
  FEwfGenr_Destroy(frame);
  SAutoRcF_Destroy(rc);
  AutoDict_Destroy(d);
}

// --- The workflow's side ------------------------------------------------------------------

struct Edit {
  std::string log;
  std::string usedOuts;
  bool answer = false;
};
Edit edit;

void Dialog(StrIn workflow, StrIn folder, SAutoRcF rc, SwitchBd board, bool& modified) {
  edit.log += "dialog(" + workflow.Str() + "," + folder.Str() + ")";
  edit.usedOuts = Opt(rc, "_USED_OUTS_COUNT");
  EXPECT_EQ(board, WFbase_switchboard);
  modified = edit.answer;
}
void EndDialog(StrIn, StrIn folder, SAutoRcF, SwitchBd, bool& modified) {
  edit.log += "end(" + folder.Str() + ")";
  modified = edit.answer;
}
void WithStart(StrIn, StrIn, SAutoRcF, SAutoRcF start, SwitchBd, bool& modified) {
  edit.log += "withStart(" + Opt(start, "STARTDIR").substr(0, 1) + ")";
  modified = edit.answer;
}

TEST(WFbaseEditParams, RunsTheFoldersDialogWithItsOutsKnownAndMarksAnAcceptedChange) {
  WFmodule_RegisterFrontend(22, nullptr, Dialog, WFmodule_NoReferencedFiles);
  WFbase workflow = WFbase_CreateWorkflow("edited", false);
  const std::string root = site->Path() + "/projects";
  WFfolder folder = WFbase_CreateFolder(workflow, WFfolder_ModuleToFolderKind(22), SAutoRcF_Create(),
                                        root + "/rotate/edited_22", false);
  WFfolder search = WFbase_CreateFolder(workflow, WFfolder_ModuleToFolderKind(7), SAutoRcF_Create(),
                                        root + "/search/edited_7", false);
  WFfolder_SetOutFolder(folder, 1, search);
  WFbase_SetModified(workflow, false);
  WFfolder_SetModified(folder, false);

  // Cancelled: nothing marked, the used-outs options gone again.
  EXPECT_FALSE(WFbase_EditParams(workflow, folder));
  EXPECT_EQ(edit.log, "dialog(edited,edited_22)");
  EXPECT_EQ(edit.usedOuts, "1");
  EXPECT_EQ(Opt(WFfolder_RcFile(folder), "_USED_OUTS_COUNT"), "<none>");
  EXPECT_FALSE(WFbase_Modified(workflow));
  EXPECT_FALSE(WFfolder_Modified(folder));
  // Accepted: the workflow and the folder are to be written.
  edit.answer = true;
  EXPECT_TRUE(WFbase_EditParams(workflow, folder));
  EXPECT_TRUE(WFbase_Modified(workflow));
  EXPECT_TRUE(WFfolder_Modified(folder));

  // The dialogs outside the table: none until their hooks are there.
  WFfolder endFolder = WFbase_CreateFolder(workflow, 43, SAutoRcF_Create(), root + "/end43", false);
  edit.log.clear();
  EXPECT_FALSE(WFbase_EditParams(workflow, endFolder));
  EXPECT_FALSE(WFbase_EditParams(workflow, search));
  EXPECT_EQ(edit.log, "");
  WFbase_RegisterEditHooks({EndDialog, nullptr, WithStart});
  EXPECT_TRUE(WFbase_EditParams(workflow, endFolder));
  EXPECT_TRUE(WFbase_EditParams(workflow, search));
  EXPECT_EQ(edit.log, "end(end43)withStart(/)");
  WFbase_RegisterEditHooks({});
  WFbase_DestroyWorkflow(workflow);
}

}  // namespace
