// A dictionary-form front end of the frame's tests, written as a module of
// the system would be: five parameters in the dialog "FEtest_Params"
// (tests/data/dialogs/FETESTdlg.dlg), one kept in the rc only, and a
// folder chosen by the directory box. Registered for module kind 40.
#pragma once

#include <cstdint>

#include "frontends/FEwfGenrModule.h"

inline constexpr WFmodule_Kind kFEtestKind = 40;
// The elements (and identifiers) of the parameters.
inline constexpr std::uint32_t kFEtestEnabled = 10, kFEtestChoice = 11, kFEtestCount = 12, kFEtestFactor = 13,
                               kFEtestFolder = 14, kFEtestBrowse = 15, kFEtestRcOnly = 99;
// How the dialog shows the choices 0, 1, 2.
inline constexpr std::uint32_t kFEtestChoiceMap[] = {5, 6, 7};

struct FEtest_Data {
  FEwfGenr_ModuleHead head;
  int checks = 0;  // OKs the check saw
};
extern FEtest_Data* FEtest_data;
extern AutoDict FEtest_paramDict;

// Enters the module's three procedures in the kind table.
void FEtest_Register();
void FEtest_SetDefaultParams(SAutoRcF rc, StrIn folder);
void FEtest_FrontEndWF(StrIn workflow, StrIn folder, SAutoRcF rc, SwitchBd switchboard, bool& modified);
