// WFedit: the changes edit mode makes to a workflow's graph. The graph view
// (WFshow) calls them for the user's gestures; they change the workflow in
// memory only and mark it modified: the workflow's install writes the
// folders' files.
#pragma once

#include "workflow/WFbase.h"
#include "workflow/WFfolder.h"

// Runs the parameter dialog of `folder` (WFbase_EditParams) and brings the
// graph in line with what was accepted: outs the folder no longer has are
// cut off with the branches behind them that nothing else reaches, new
// outs get invisible ends, and a changed mode is spread along the
// workflow. True when values were changed and accepted. `structureChanged`
// tells the caller to lay the graph out anew: the outs changed, or for the
// start folder the transfer mode, "AUTOMODE", final-page or job ticket
// mode, for a final-page creation (kind 23), rename (29) or print-to-file
// (40) folder any change, for kind 52 its "PARAMSET". False, nothing done,
// for a nil workflow or folder.
bool WFedit_EditParams(WFbase workflow, WFfolder folder, bool& structureChanged);
