#include "toolkit/CWGlue.h"

Classes_ClassPtr CWGlue_class = nullptr;

void CWGlue_CreateClass() {
  if (CWGlue_class != nullptr) return;
  CWCore_CreateClass();
  auto* cls = new CWCore_ClassRec;
  cls->superClass = CWCore_class;
  Strings_Assign("WGlue", cls->name);
  cls->instanceSize = sizeof(CWCore_Rec);
  cls->InitClass = [](Classes_ClassPtr c, void*) { static_cast<CWCore_ClassRec*>(c)->gadget = true; };
  cls->InitInstance = Classes_SimpleNullMethod;
  cls->Destruct = Classes_SimpleNullMethod;
  CWGlue_class = cls;
  Classes_InitClass(cls);
  Classes_AnnounceClass(cls, "GLUE");
}
