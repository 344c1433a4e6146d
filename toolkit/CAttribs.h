// CAttribs: the attributes of a class. Each class has a table from attribute
// identifier to the place of the field in its instances; the prototype
// instance holds the defaults. A string attribute's field is a CAttribs_String
// that owns a heap copy; while empty it points to CAttribs_nullString.
// An unknown attribute is message 1 of "CAttribs" with its name beneath.
#pragma once

#include <cstdint>

#include "base/Strings.h"
#include "toolkit/Classes.h"

struct CAttribs_String {
  char* text;
  std::uint32_t length;
};
extern char CAttribs_nullString[1];

// --- Defining ----------------------------------------------------------------------

// Defines `name` for `cls` at `field`, an address inside the class's
// prototype, of highBound + 1 bytes; defining a name again overwrites it.
// Returns the identifier.
std::uint32_t CAttribs_DefAttr(Classes_ClassPtr cls, StrIn name, std::uint32_t highBound, void* field);
// A string attribute of at most highBound + 1 bytes; the field becomes empty.
std::uint32_t CAttribs_DefStrAttr(Classes_ClassPtr cls, StrIn name, std::uint32_t highBound,
                                  CAttribs_String* field);
// Changes the prototype's value (ignored for strings), or reads it.
void CAttribs_SetDefault(Classes_ClassPtr cls, std::uint32_t id, const void* bytes, std::uint32_t size);
void CAttribs_GetDefault(Classes_ClassPtr cls, std::uint32_t id, void* bytes, std::uint32_t size);
// Where the attribute lives; false (and error 1) for an unknown one.
bool CAttribs_GetAttrInfo(Classes_ClassPtr cls, std::uint32_t id, std::uint32_t& offset, std::uint32_t& size,
                          bool& isString);

// --- Strings -----------------------------------------------------------------------

// Frees the old copy and stores a copy of `bytes` up to its terminator or
// `bound` bytes; an empty text leaves the shared empty string.
void CAttribs_SetString(CAttribs_String& field, const void* bytes, std::uint32_t bound);
void CAttribs_FreeString(CAttribs_String& field);
// The text of a string field.
StrIn CAttribs_Text(const CAttribs_String& field);

// --- Instances --------------------------------------------------------------------------

// The class's table and prototype are made (Classes_InitClass).
void CAttribs_MakeTable(Classes_ClassPtr cls, void* prototype);
void* CAttribs_Prototype(Classes_ClassPtr cls);
// Copies the prototype over `instance`, then the values of the list the class
// knows: plain values cut at the attribute's size (a shorter one followed by
// a zero byte), strings as copies.
void CAttribs_SetAllAttributes(Classes_ClassPtr cls, void* instance, SAttribs list);
// Stores one value; false when the class does not know `id`.
bool CAttribs_Store(Classes_ClassPtr cls, void* instance, std::uint32_t id, const void* bytes,
                    std::uint32_t size);
// Reads one value into `bytes` (at most `size`); false when unknown.
bool CAttribs_Fetch(Classes_ClassPtr cls, const void* instance, std::uint32_t id, void* bytes,
                    std::uint32_t size);
// Frees the heap copies of every string attribute of `instance`.
void CAttribs_FreeAllStrings(Classes_ClassPtr cls, void* instance);
