// The X11 implementations of the W procedures: W_<Name> is filled with
// WX11<module>_<Name>. The contracts stand with the list in W.h.
#pragma once

#include "toolkit/W.h"

#define WX11_DECLARE_PROCEDURE(module, result, name, params) result WX11##module##_##name params;
W_PROCEDURES(WX11_DECLARE_PROCEDURE)
#undef WX11_DECLARE_PROCEDURE
