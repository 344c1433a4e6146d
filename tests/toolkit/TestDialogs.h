// The environment of the dialog layer's gui tests: the build tree's site
// with the tests' own dialog catalog "ITESTdlg" (from tests/data/dialogs,
// asked before the installation's catalogs) and a private X server.
#pragma once

// Registers both; `announce` (may be nil) runs before the catalog is opened,
// for the types and nested classes its dialogs use. Returns true, for use
// as a namespace-scope initialiser.
bool UseTestDialogs(void (*announce)() = nullptr);
