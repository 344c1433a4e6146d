// Inesting: the table of nested classes, dialogs announced as widgets.
// A catalog names such a class by its keyword like any widget class; the
// class's creator makes the composite (a context of its own, inside the
// outer dialog), and the class's put procedures show a value in it.
#pragma once

#include <cstdint>

#include "toolkit/I.h"

struct Inesting_Class {
  std::uint32_t keyword = 0;
  I_CreateProc create = nullptr;
  std::uintptr_t createData = 0;
  I_PutBOOLEANproc putBOOLEAN = nullptr;
  I_PutINTEGERproc putINTEGER = nullptr;
  I_PutCARDINALproc putCARDINAL = nullptr;
  I_PutREALproc putREAL = nullptr;
  I_PutSTRINGproc putSTRING = nullptr;
  I_PutGenericproc putGeneric = nullptr;
  std::uint32_t genericType = 0;  // the type its Generic values have
  I_AttributeProc attributes = nullptr;
};

// The class of `keyword`, made on first use; nullptr for none.
Inesting_Class* Inesting_Enter(std::uint32_t keyword);
// The announced class of `keyword`, or nullptr.
const Inesting_Class* Inesting_Find(std::uint32_t keyword);
