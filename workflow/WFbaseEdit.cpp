// WFbase: a folder's parameter dialog. The kinds' front ends are reached
// through the table of WFmodule; three dialogs stand outside it and come in
// through hooks of their own.
#include "base/DirAcces.h"
#include "workflow/WFbase.h"
#include "workflow/WFfolder.h"
#include "workflow/WFmodule.h"

namespace {

// The folder kind of an end folder with parameters of its own.
constexpr WFfolder_FolderKind kEndWithParams = 43;
// The module kind whose dialog also sees the start folder's rc.
constexpr WFmodule_Kind kWithStartRc = 7;

WFbase_EditHooks hooks;

// The dialog the folder opens; false when it has none.
bool RunDialog(WFbase workflow, WFfolder folder, StrIn workflowName, StrIn folderName, SAutoRcF rc) {
  bool modified = false;
  if (WFfolder_Kind(folder) == kEndWithParams) {
    if (hooks.endFolder == nullptr) return false;
    hooks.endFolder(workflowName, folderName, rc, WFbase_switchboard, modified);
  } else if (WFfolder_UserDef(folder)) {
    if (hooks.component == nullptr) return false;
    hooks.component(workflowName, folderName, rc, WFbase_switchboard, modified);
  } else if (WFfolder_ModuleKind(folder) == kWithStartRc) {
    if (hooks.withStart == nullptr) return false;
    hooks.withStart(workflowName, folderName, rc, WFfolder_RcFile(WFbase_StartFolder(workflow)),
                    WFbase_switchboard, modified);
  } else {
    modified = WFmodule_EditParams(WFfolder_ModuleKind(folder), workflowName, folderName, rc,
                                   WFbase_switchboard);
  }
  return modified;
}

}  // namespace

void WFbase_RegisterEditHooks(const WFbase_EditHooks& editHooks) { hooks = editHooks; }

bool WFbase_EditParams(WFbase workflow, WFfolder folder) {
  const SAutoRcF rc = WFfolder_RcFile(folder);
  if (workflow == nullptr || rc == nullptr) return false;
  PathStr path, head;
  NameStr folderName, workflowName;
  WFfolder_GetPath(folder, path);
  DirAcces_ExcludePath(path, head, folderName);
  WFbase_GetName(workflow, workflowName);
  WFfolder_SetUsedOutsOpts(folder);
  const bool modified = RunDialog(workflow, folder, workflowName, folderName, rc);
  WFfolder_UnsetUsedOutsOpts(folder);
  if (modified) {
    WFbase_SetModified(workflow, true);
    WFfolder_SetModified(folder, true);
  }
  return modified;
}
