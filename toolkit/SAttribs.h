// SAttribs: attribute lists, what a creator hands to a new object. A list is
// a chain of nodes (identifier, size, bytes); the list owns its copies of the
// bytes. The empty list is nullptr.
#pragma once

#include <cstdint>

#include "base/Strings.h"

struct SAttribs_Node {
  SAttribs_Node* next = nullptr;
  std::uint32_t id = 0;
  std::uint32_t size = 0;
  std::uint8_t* bytes = nullptr;
};
using SAttribs = SAttribs_Node*;

// Puts a copy of `size` bytes under `id` at the front of the list; a value of
// the same identifier already in the list is replaced.
void SAttribs_Add(SAttribs& list, std::uint32_t id, const void* bytes, std::uint32_t size);
// The same by name (interned), and the usual value forms: a BOOLEAN is one
// byte, INTEGER and CARDINAL four, a text its bytes with the terminator.
void SAttribs_AddByName(SAttribs& list, StrIn name, const void* bytes, std::uint32_t size);
void SAttribs_AddBool(SAttribs& list, StrIn name, bool value);
void SAttribs_AddInt(SAttribs& list, StrIn name, std::int32_t value);
void SAttribs_AddString(SAttribs& list, StrIn name, StrIn text);
// The node of `id`, nullptr when there is none.
const SAttribs_Node* SAttribs_Find(SAttribs list, std::uint32_t id);
// Adds to `own` a copy of every node of `more` whose identifier `own` lacks:
// own attributes win.
void SAttribs_SupplementAttrList(SAttribs& own, SAttribs more);
// Frees the list and sets it to nullptr; nullptr is accepted.
void SAttribs_Destroy(SAttribs& list);
