// The main window's smaller dialogs: packing workflows into archives, the
// watch demon (starting it, and what it and this program are), the About
// box.
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/Utility.h"
#include "distribution/WFbackup.h"
#include "frontends/TVFEbase.h"
#include "manager/Floatdeck.h"
#include "manager/FloatdeckWin.h"
#include "toolkit/Imisc.h"

namespace {

char section[kSectionCap] = "Floatdeck";

constexpr unsigned kDemonNotStarted = 10;
constexpr char kVersion[] = "1.0";  // of this program, shown beside the demon's

Floatdeck_Data& D() { return *Floatdeck_data; }

// A child dialog of the main window, made on first need with its buttons'
// procedure.
I_Context Dialog(I_Context& dialog, const char* name, I_INTEGERproc buttons) {
  if (dialog == nullptr) {
    dialog = I_CreateChild(D().main, StrIn::C(name), false);
    if (dialog != nullptr) I_SetINTEGERcallback(dialog, 1, buttons, 0);
  }
  return dialog;
}

// The pack dialog: 1 packs the workflow shown (all with value 2) into the
// directory of value 3, 2 cancels.
void PackButtons(I_Context dialog, std::int32_t, std::int32_t value, std::uintptr_t) {
  I_Deactivate(dialog);
  if (value != 1) return;
  NameStr name;
  if (I_GetBOOLEAN(dialog, 2)) Strings_Assign("all", name);
  else WFbase_GetName(D().current, name);
  PathStr directory;
  I_GetSTRING(dialog, 3, directory);
  Floatdeck_PackWorkflow(name, directory, true);
}

void DemonButtons(I_Context dialog, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (value == Floatdeck_cmdStartDemon) Floatdeck_StartDemon();
  else I_Deactivate(dialog);
}

void PutInfo(I_Context dialog, std::int32_t first, const TVWbase_DemonInfo& info) {
  I_PutSTRING(dialog, first, info.libDir);
  I_PutSTRING(dialog, first + 2, info.dataDir);
  I_PutSTRING(dialog, first + 4, info.customerDir);
  I_PutSTRING(dialog, first + 6, info.projectsDir);
}

}  // namespace

void Floatdeck_OpenPackDialog() {
  if (!Floatdeck_IsPrivilegedUser()) return;
  I_Context dialog = Dialog(D().packDialog, "Floatdeck_Pack", PackButtons);
  if (dialog == nullptr) return;
  PathStr backups;
  WFbackup_GetBackupDir(backups);
  I_PutSTRING(dialog, 3, backups);
  I_PutBOOLEAN(dialog, 2, D().current == nullptr);
  I_Activate(dialog);
}

// The demon of this installation, not whichever one PATH finds first: an
// operator who starts the manager by its full path gets the demon beside it.
bool Floatdeck_StartDemon() {
  PathStr demon;
  TextStr command;
  DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, "bin/TVWatchD", demon);
  SFilMisc_EscapeShMetaChars(demon, command);
  const bool started = TVFEbase_StartACommand(command, false);
  Utility_Delay(1000);
  Floatdeck_UpdateDemonState();
  if (!started || I_GetINTEGER(D().main, Floatdeck_kDemon) == 0) {
    Imisc_ErrMsg(section, kDemonNotStarted);  // messages: Floatdeck 10
    return false;
  }
  return true;
}

void Floatdeck_ShowDemonInfo() {
  if (Dialog(D().demonDialog, "Floatdeck_Demon", DemonButtons) == nullptr) return;
  Floatdeck_RefreshDemonInfo();
  I_Activate(D().demonDialog);
}

// Own values at the even numbers, the demon's beside them: 2, 3 the
// version or process; 4, 5 the programs; 6, 7 the data; 8, 9 the site; 10,
// 11 the projects.
void Floatdeck_RefreshDemonInfo() {
  I_Context dialog = D().demonDialog;
  if (dialog == nullptr) return;
  const TVWbase_DemonInfo& demon = Floatdeck_demonInfo;
  I_PutSTRING(dialog, 2, kVersion);
  TextStr process;
  if (demon.pid > 0) {
    Messages_GetMsg(section, 62, process);  // messages: Floatdeck 62
    SPrintf_Int(process, demon.pid);
    SPrintf_Int(process, demon.port);
    SPrintf_String(process, demon.host[0] != '\0' ? StrIn(demon.host) : StrIn(Floatdeck_thisHost));
  }
  I_PutSTRING(dialog, 3, process);
  PutInfo(dialog, 4, Floatdeck_selfInfo);
  PutInfo(dialog, 5, demon);
}

void Floatdeck_About() {
  I_Context about = I_CreateChild(D().main, "_about", false);
  if (about == nullptr) return;
  I_PutSTRING(about, 4, kVersion);
  I_Activate(about);
  I_Dialog(about);
  I_Destroy(about);
}
