// CObject: the root class "Object" and the attribute operations every object
// has. The attribute operations set `ok` to tell whether the class knows the
// attribute.
#pragma once

#include "toolkit/CAttribs.h"
#include "toolkit/Classes.h"

extern Classes_ClassPtr CObject_class;

// Makes the root class; runs once.
void CObject_CreateClass();

// Copies an object into another of the same class (abstract here).
void CObject_Copy(void* from, void* to);
void CObject_SetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok);
void CObject_SetAttrByName(void* object, StrIn name, const void* bytes, std::uint32_t size, bool& ok);
void CObject_GetAttr(void* object, std::uint32_t id, void* bytes, std::uint32_t size, bool& ok);
void CObject_GetAttrByName(void* object, StrIn name, void* bytes, std::uint32_t size, bool& ok);

// The inherited operations, for subclasses that override them.
void CObject_MySetAttr(void* object, std::uint32_t id, const void* bytes, std::uint32_t size, bool& ok);
void CObject_MyGetAttr(void* object, std::uint32_t id, void* bytes, std::uint32_t size, bool& ok);
