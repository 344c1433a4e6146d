#include "toolkit/Classes.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "toolkit/CAttribs.h"

std::uint8_t Classes_clError = 0;

namespace {

char section[kSectionCap] = "Classes";

// Name and keyword tables (64 buckets: the class count stays small).
std::unordered_map<std::string, Classes_ClassPtr>& ByName() {
  static std::unordered_map<std::string, Classes_ClassPtr> table(64);
  return table;
}
std::unordered_map<std::string, Classes_ClassPtr>& ByKeyword() {
  static std::unordered_map<std::string, Classes_ClassPtr> table(64);
  return table;
}

// Error `code`: message code + 100, with the class named beneath.
void Fail(std::uint8_t code, StrIn className) {
  Classes_clError = code;
  TextStr text;
  Messages_GetMsg(section, 2, text);
  SPrintf_String(text, className);
  Messages_SupplyAdditionalInfo(text);
  Messages_Error(section, 100u + code);  // messages: Classes 101-105
}

// The chain from the root class down to `cls`.
std::vector<Classes_ClassPtr> Chain(Classes_ClassPtr cls) {
  std::vector<Classes_ClassPtr> chain;
  for (; cls != nullptr; cls = cls->superClass) chain.insert(chain.begin(), cls);
  return chain;
}

}  // namespace

void Classes_InitClass(Classes_ClassPtr cls) {
  if (cls->instanceSize == 0 ||
      (cls->superClass != nullptr && cls->instanceSize < cls->superClass->instanceSize)) {
    Fail(5, cls->name);
    // A class that cannot be made is a fault of the program.
    Processe_SetExitStatus(2);
    Processe_Exit();
    std::abort();
  }
  void* prototype = std::calloc(1, cls->instanceSize);
  static_cast<CObject_Rec*>(prototype)->cls = cls;
  CAttribs_MakeTable(cls, prototype);
  for (Classes_ClassPtr each : Chain(cls))
    if (each->InitClass != nullptr) each->InitClass(cls, prototype);
}

void Classes_MakeClass(Classes_ClassPtr cls, Classes_ClassPtr superClass, StrIn name, std::uint32_t instanceSize,
                       void (*initClass)(Classes_ClassPtr, void*), void (*initInstance)(void*),
                       void (*destruct)(void*), StrIn keyword) {
  cls->superClass = superClass;
  Strings_Assign(name, cls->name);
  cls->instanceSize = instanceSize;
  cls->InitClass = initClass;
  cls->InitInstance = initInstance != nullptr ? initInstance : Classes_SimpleNullMethod;
  cls->Destruct = destruct != nullptr ? destruct : Classes_SimpleNullMethod;
  Classes_InitClass(cls);
  Classes_AnnounceClass(cls, keyword);
}

void Classes_AnnounceClass(Classes_ClassPtr cls, StrIn keyword) {
  Classes_clError = 0;
  if (!ByName().try_emplace(cls->name, cls).second) Fail(1, cls->name);
  if (!keyword.Empty() && !ByKeyword().try_emplace(keyword.Str(), cls).second) Fail(2, cls->name);
}

Classes_ClassPtr Classes_GetClassByName(StrIn name) {
  Classes_clError = 0;
  const auto found = ByName().find(name.Str());
  if (found != ByName().end()) return found->second;
  Fail(3, name);
  return nullptr;
}

Classes_ClassPtr Classes_GetClassByKeyword(StrIn keyword) {
  Classes_clError = 0;
  const auto found = ByKeyword().find(keyword.Str());
  if (found != ByKeyword().end()) return found->second;
  Fail(4, keyword);
  return nullptr;
}

Classes_ClassPtr Classes_Class(const void* instance) {
  return instance != nullptr ? static_cast<const CObject_Rec*>(instance)->cls : nullptr;
}

Classes_ClassPtr Classes_SuperClass(const void* instance) {
  Classes_ClassPtr cls = Classes_Class(instance);
  return cls != nullptr ? cls->superClass : nullptr;
}

bool Classes_IsSubClass(Classes_ClassPtr cls, Classes_ClassPtr ancestor) {
  for (; cls != nullptr; cls = cls->superClass)
    if (cls == ancestor) return true;
  return false;
}

StrIn Classes_GetClassName(Classes_ClassPtr cls) { return cls != nullptr ? StrIn(cls->name) : StrIn(""); }

void* Classes_CreateAndInit(Classes_ClassPtr cls, SAttribs attrList) {
  Classes_clError = 0;
  if (cls == nullptr || cls->instanceSize == 0) {
    Fail(5, Classes_GetClassName(cls));
    return nullptr;
  }
  void* instance = std::malloc(cls->instanceSize);
  CAttribs_SetAllAttributes(cls, instance, attrList);
  for (Classes_ClassPtr each : Chain(cls))
    if (each->InitInstance != nullptr) each->InitInstance(instance);
  return instance;
}

void Classes_DeleteInstance(void*& instance) {
  if (instance == nullptr) return;
  for (Classes_ClassPtr cls = Classes_Class(instance); cls != nullptr; cls = cls->superClass)
    if (cls->Destruct != nullptr) cls->Destruct(instance);
  std::free(instance);
  instance = nullptr;
}

void Classes_SimpleNullMethod(void*) {}

void Classes_MissingMethodError(Classes_ClassPtr cls, StrIn text) {
  TextStr message;
  Messages_GetMsg(section, 5, message);
  SPrintf_String(message, text);
  SPrintf_String(message, Classes_GetClassName(cls));
  Messages_SupplyAdditionalInfo(message);
  Classes_clError = 6;
  Messages_Error(section, 106);
}
