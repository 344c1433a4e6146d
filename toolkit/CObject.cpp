#include "toolkit/CObject.h"

#include "base/SIdPool.h"

Classes_ClassPtr CObject_class = nullptr;

namespace {

void MyCopy(void*, void* to) { Classes_MissingMethodError(Classes_Class(to), "Object.Copy"); }

// Frees the heap copies of all string attributes: every class's strings.
void MyDestruct(void* object) { CAttribs_FreeAllStrings(Classes_Class(object), object); }

void MyInitClass(Classes_ClassPtr cls, void*) {
  cls->Copy = MyCopy;
  cls->SetAttr = CObject_MySetAttr;
  cls->GetAttr = CObject_MyGetAttr;
}

}  // namespace

void CObject_CreateClass() {
  if (CObject_class != nullptr) return;
  CObject_class = new Classes_ClassRec;
  Classes_MakeClass(CObject_class, nullptr, "Object", sizeof(CObject_Rec), MyInitClass, nullptr, MyDestruct, "");
}

void CObject_Copy(void* from, void* to) { Classes_Class(from)->Copy(from, to); }

void CObject_SetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  Classes_Class(object)->SetAttr(object, id, bytes, size, ok);
}

void CObject_SetAttrByName(void* object, StrIn name, const void* bytes, std::uint32_t size, bool& ok) {
  CObject_SetAttr(object, SIdPool_EnterId(name), bytes, size, ok);
}

void CObject_GetAttr(void* object, std::uint32_t id, void* bytes, std::uint32_t size, bool& ok) {
  Classes_Class(object)->GetAttr(object, id, bytes, size, ok);
}

void CObject_GetAttrByName(void* object, StrIn name, void* bytes, std::uint32_t size, bool& ok) {
  CObject_GetAttr(object, SIdPool_EnterId(name), bytes, size, ok);
}

void CObject_MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) {
  ok = CAttribs_Store(Classes_Class(object), object, id, bytes, size);
}

void CObject_MyGetAttr(void* object, std::uint32_t id, void* bytes, std::uint32_t size, bool& ok) {
  ok = CAttribs_Fetch(Classes_Class(object), object, id, bytes, size);
}
