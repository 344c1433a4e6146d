#include "toolkit/CWGlue.h"

Classes_ClassPtr CWGlue_class = nullptr;

namespace {

void MyInitClass(Classes_ClassPtr c, void*) { static_cast<CWCore_ClassRec*>(c)->gadget = true; }

}  // namespace

void CWGlue_CreateClass() {
  if (CWGlue_class != nullptr) return;
  CWCore_CreateClass();
  CWGlue_class = new CWCore_ClassRec;
  Classes_MakeClass(CWGlue_class, CWCore_class, "WGlue", sizeof(CWCore_Rec),
                    MyInitClass, nullptr, nullptr, "GLUE");
}
