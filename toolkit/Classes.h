// Classes: classes as plain records, without help from the language.
//
// A class record holds its superclass, its name, the size of its instances
// and a table of operations; a subclass's record starts with its superclass's
// fields and appends its own. An instance is a block of memory whose first
// word points to its class. A class is made at program start by running the
// InitClass of every class from the root down over the new record, so that
// each class has a complete table of operations and attributes of its own.
//
// How a class CWFoo is made:
//   CWFoo_CreateClass: return if made; allocate the record; make the
//   superclass; store superclass, name, instanceSize, CWFoo_MyInitClass,
//   CWFoo_MyInit, CWFoo_MyDestruct; Classes_InitClass;
//   Classes_AnnounceClass(class, keyword).
//   CWFoo_MyInitClass(class, prototype): store the operations that differ
//   (the inherited one is fetched from the superclass's record at run time),
//   define attributes with the address of their field in the prototype.
//
// Failures are messages of "Classes", code + 100, with message 2 (the
// class's name) beneath: 1 name in use, 2 keyword in use, 3 no class of that
// name, 4 no class of that keyword, 5 not instantiable, 6 missing operation.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "toolkit/SAttribs.h"

struct Classes_ClassRec;
using Classes_ClassPtr = Classes_ClassRec*;
struct CAttribs_Table;

// Every instance starts with this.
struct CObject_Rec {
  Classes_ClassPtr cls = nullptr;
  std::uintptr_t objectData = 0;  // CObject's own; widget classes leave it alone
};

struct Classes_ClassRec {
  Classes_ClassPtr superClass = nullptr;  // nullptr for the root class "Object"
  char name[64] = {};
  std::uint32_t instanceSize = 0;  // 0: cannot be instantiated
  void (*InitClass)(Classes_ClassPtr cls, void* prototype) = nullptr;
  void (*InitInstance)(void* instance) = nullptr;
  void (*Destruct)(void* instance) = nullptr;
  // The operations of CObject.
  void (*Copy)(void* from, void* to) = nullptr;
  void (*SetAttr)(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok) = nullptr;
  void (*GetAttr)(void* object, std::uint32_t id, void* bytes, std::uint32_t size, bool& ok) = nullptr;
  CAttribs_Table* attrManData = nullptr;
};

// 0 after a success, else the code of the last failure.
extern std::uint8_t Classes_clError;

// --- Making classes ------------------------------------------------------------------

// Makes the class's attribute table and prototype and runs every InitClass
// from the root down. An instanceSize of 0 or below the superclass's is fatal.
void Classes_InitClass(Classes_ClassPtr cls);
// The body of every CWFoo_CreateClass: fills the new record `cls` (superclass,
// name cut at 64 characters, instance size, the three procedures; nil ones
// do nothing), makes it (Classes_InitClass) and announces it under `keyword`.
void Classes_MakeClass(Classes_ClassPtr cls, Classes_ClassPtr superClass, StrIn name, std::uint32_t instanceSize,
                       void (*initClass)(Classes_ClassPtr, void*), void (*initInstance)(void*),
                       void (*destruct)(void*), StrIn keyword);
// Enters the class under its name and `keyword` (empty: none). A name or
// keyword in use is error 1 or 2; the first entry stays.
void Classes_AnnounceClass(Classes_ClassPtr cls, StrIn keyword);

// --- Finding classes ------------------------------------------------------------------

// nullptr with error 3 or 4 when there is none.
Classes_ClassPtr Classes_GetClassByName(StrIn name);
Classes_ClassPtr Classes_GetClassByKeyword(StrIn keyword);
Classes_ClassPtr Classes_Class(const void* instance);
Classes_ClassPtr Classes_SuperClass(const void* instance);
// A class is a subclass of itself; nil is a subclass of nothing.
bool Classes_IsSubClass(Classes_ClassPtr cls, Classes_ClassPtr ancestor);
StrIn Classes_GetClassName(Classes_ClassPtr cls);

// --- Instances ------------------------------------------------------------------------

// A new instance: the prototype's values, then the attributes of `attrList`
// the class knows (others are skipped), then InitInstance from the root
// down. nullptr with error 5 for a class that cannot be instantiated.
void* Classes_CreateAndInit(Classes_ClassPtr cls, SAttribs attrList);
// Runs Destruct from the instance's class up to the root, frees the block
// and sets `instance` to nullptr; nullptr is accepted.
void Classes_DeleteInstance(void*& instance);

// --- Helpers of class writers -----------------------------------------------------------

// An operation that does nothing.
void Classes_SimpleNullMethod(void* instance);
// What an abstract operation calls: message 5 with the class and `text`
// beneath, then error 6.
void Classes_MissingMethodError(Classes_ClassPtr cls, StrIn text);
