// CWGlue: "WGlue" (keyword "GLUE"), a gadget that only takes up room: its
// geometry is what its creator gives ("hDim", "vDim").
#pragma once

#include "toolkit/CWCore.h"

extern Classes_ClassPtr CWGlue_class;

void CWGlue_CreateClass();
