// WtGallery: every icon of the installation at 1:1 in one window, shown by
// the demo program (wtdemo -g) for the gallery of the documentation: each
// module kind's icon with its disabled ("@") form and the kind's name, then
// the graph's extras, the workflow table's icons, the lamps and the window
// icon with their file names.
#pragma once

#include "toolkit/WtTypes.h"

// Makes the window, not yet shown; Wt_Initialize must have run. Its texts
// are section "wtdemo" of the catalog "WTDEMOmsg".
Widget WtGallery_Build();
