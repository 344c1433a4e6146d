// WX11Prop: atoms, properties, the window manager's hints and selections.
#pragma once

#include "toolkit/WX11Disp.h"

// Enters `atom` as the number of `name` in the atom cache, which InternAtom
// and GetAtomName consult before asking the server.
void WX11Prop_RememberAtom(StrIn name, W_Atom atom);
// Forgets the cache (the display went away).
void WX11Prop_DisplayClosed();
