#include "tests/frontends/FEtestModule.h"

#include "toolkit/Imisc.h"

FEtest_Data* FEtest_data = nullptr;
AutoDict FEtest_paramDict = nullptr;

namespace {

void DefineParameters(AutoDict d, bool withChecks) {
  AutoDict_DefineBool(d, "ENABLED", kFEtestEnabled, true);
  AutoDict_DefineCard(d, "CHOICE", kFEtestChoice, 1);
  AutoDict_DefineInt(d, "COUNT", kFEtestCount, 3);
  AutoDict_DefineReal(d, "FACTOR", kFEtestFactor, 1.5);
  AutoDict_DefineString(d, "FOLDER", kFEtestFolder, "");
  AutoDict_DefineString(d, "RCONLY", kFEtestRcOnly, "kept");
  AutoDict_DefineSelection(d, 6, kFEtestFolder, static_cast<std::int32_t>(kFEtestBrowse), 1);
  if (withChecks) AutoDict_DefineCheckCB(d, kFEtestCount, [](AutoDict_Parameter p) { return AutoDict_GetInt(p) < 1000; });
}

// A negative count is refused, with the dialog left open.
bool CheckValuesCB(AutoDict d, std::uintptr_t) {
  ++FEtest_data->checks;
  if (AutoDict_GetInt(AutoDict_GetParameter(d, kFEtestCount)) >= 0) return true;
  Imisc_StrErrMsg("The count must not be negative.");
  return false;
}

void SwitchboardCB(std::uintptr_t message) { FEwfGenr_CancelOnChange(FEtest_data->head.frame, message); }

}  // namespace

void FEtest_SetDefaultParams(SAutoRcF rc, StrIn) { FEwfGenr_WriteDefaults(FEtest_paramDict, DefineParameters, rc); }

void FEtest_FrontEndWF(StrIn workflow, StrIn, SAutoRcF rc, SwitchBd switchboard, bool& modified) {
  modified = false;
  if (FEtest_data == nullptr) FEtest_data = new FEtest_Data;
  FEwfGenr_ModuleHead& head = FEtest_data->head;
  if (head.frame == nullptr) {
    if (!FEwfGenr_MakeModule(head, kFEtestKind, DefineParameters, "FEtest_Params", -1,
                             reinterpret_cast<std::uintptr_t>(FEtest_data), switchboard, SwitchboardCB)) {
      return;
    }
    FEwfGenr_RegisterCheckValuesCB(head.frame, CheckValuesCB);
    FEwfGenr_RegisterEnumMap(head.frame, kFEtestChoice, 2, kFEtestChoiceMap);
  }
  FEwfGenr_RunModule(head, workflow, rc, modified);
}

void FEtest_Register() {
  WFmodule_RegisterFrontend(kFEtestKind, FEtest_SetDefaultParams, FEtest_FrontEndWF, WFmodule_NoReferencedFiles);
}
