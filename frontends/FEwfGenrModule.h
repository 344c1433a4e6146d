// FEwfGenr: what a dictionary-form module is written with, so that such a
// module is a short file. Its own record begins with FEwfGenr_ModuleHead and
// is held in a module-level "<module>_data" (nil until the first dialog);
// beside it a second dictionary "<module>_paramDict" (nil until first
// needed) serves the defaults, with no dialog behind it, and a
// WFmodule_ModuleInfo "moduleInfo" filled at start-up. A module provides
// DefineParameters, Create, SetDefaultParams, FrontEndWF and, where it needs
// them, GetValuesCB, SetValuesCB, CheckValuesCB, a ...CB per dependent
// parameter, SwitchboardCB (FEwfGenr_CancelOnChange) and UpdateView.
#pragma once

#include "frontends/FEwfGenr.h"

// The beginning of a dictionary-form module's record.
struct FEwfGenr_ModuleHead {
  I_Context dialog = nullptr;
  FEwfGenr frame = nullptr;
  AutoDict dictionary = nullptr;
  char workflow[kNameCap] = "";  // of the dialog running
  SwitchBd_Inlet inlet = nullptr;
};

// Declares the module's parameters and selections; with `withChecks` also
// the checks of the values (the defaults need none).
using FEwfGenr_DefineProc = void (*)(AutoDict dictionary, bool withChecks);

// The bucket count of a module's dictionaries.
inline constexpr std::size_t kFEwfGenrDictBuckets = 64;

// SetDefaultParams of the dictionary form, also without a display: makes
// `paramDict` on first use, sets every default and writes every value into
// rc. The module adds its dependent values after it.
void FEwfGenr_WriteDefaults(AutoDict& paramDict, FEwfGenr_DefineProc define, SAutoRcF rc);

// The module's first dialog: its dictionary (with checks), the dialog
// `dialogName`, the frame attached with the title on `shellElement`, and
// `switchboardCB` on `switchboard` unless that is nil. Nothing when the
// head has a frame already; false when the dialog can't be made (no
// display, no such dialog), with nothing kept.
bool FEwfGenr_MakeModule(FEwfGenr_ModuleHead& head, WFmodule_Kind kind, FEwfGenr_DefineProc define,
                         StrIn dialogName, std::int32_t shellElement, std::uintptr_t client,
                         SwitchBd switchboard, SwitchBd_Callback switchboardCB);
// The dialog run of a FrontEndWF on a made module: the workflow's name kept
// in the head, then FEwfGenr_Open. `modified` false without a frame.
void FEwfGenr_RunModule(FEwfGenr_ModuleHead& head, StrIn workflow, SAutoRcF rc, bool& modified);
