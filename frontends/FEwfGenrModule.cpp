// FEwfGenr: the pieces every dictionary-form module shares.
#include "frontends/FEwfGenrModule.h"

#include "base/Messages.h"

void FEwfGenr_WriteDefaults(AutoDict& paramDict, FEwfGenr_DefineProc define, SAutoRcF rc) {
  if (paramDict == nullptr) {
    paramDict = AutoDict_Create(kFEwfGenrDictBuckets);
    define(paramDict, false);
  }
  AutoDict_SetAllDefaults(paramDict);
  AutoDict_SetAllValues(paramDict, rc);
}

bool FEwfGenr_MakeModule(FEwfGenr_ModuleHead& head, WFmodule_Kind kind, FEwfGenr_DefineProc define,
                         StrIn dialogName, std::int32_t shellElement, std::uintptr_t client,
                         SwitchBd switchboard, SwitchBd_Callback switchboardCB) {
  if (head.frame != nullptr) return true;
  FEwfGenr_Init();
  head.dialog = Messages_Quietly([&] { return I_Create(dialogName, false); });
  if (head.dialog == nullptr) return false;
  head.dictionary = AutoDict_Create(kFEwfGenrDictBuckets);
  define(head.dictionary, true);
  head.frame = FEwfGenr_Create(head.dictionary, kind, client);
  FEwfGenr_Attach(head.frame, head.dialog, shellElement);
  if (switchboard != nullptr) head.inlet = SwitchBd_NotifyMe(switchboard, switchboardCB);
  return true;
}

void FEwfGenr_RunModule(FEwfGenr_ModuleHead& head, StrIn workflow, SAutoRcF rc, bool& modified) {
  modified = false;
  if (head.frame == nullptr) return;
  Strings_Assign(workflow, head.workflow);
  FEwfGenr_Open(head.frame, rc, workflow, modified);
}
