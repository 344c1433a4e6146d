// StrVector: a vector of dynamic strings, for lists whose length or element
// size has no fixed bound. The vector owns copies of its elements; the text
// of an element stays at one address until the vector is destroyed.
#pragma once

#include <cstddef>

#include "base/Strings.h"

struct StrVector_Rec;
using StrVector = StrVector_Rec*;

// --- Create and destroy -------------------------------------------------------

// A new, empty vector; the caller owns it.
StrVector StrVector_Create();
// A new vector holding copies of v's elements; nil for nil.
StrVector StrVector_Copy(StrVector v);
// Frees v and its elements and sets v to nil; nil is accepted.
void StrVector_Destroy(StrVector& v);
// The empty handle: every routine accepts it and answers empty.
StrVector StrVector_Nil();

// --- Fill -----------------------------------------------------------------------

// Appends a copy of `element`; nothing for nil.
void StrVector_AddElement(StrVector v, StrIn element);
// A new vector of the tokens of `text` split at `delimiter` by the rules of
// StringOp_NextToken: an escaped delimiter does not split, tokens keep their
// backslashes, and the count equals StringOp_NumTokens (so "" gives one empty
// element). The caller owns the result.
StrVector StrVector_SplitString(StrIn text, char delimiter);

// --- Query ----------------------------------------------------------------------

// The number of elements; 0 for nil.
std::size_t StrVector_ElementCount(StrVector v);
// Empties `result`, then copies element `index` into it. False for nil, an
// index out of range or a result too short for the element (result stays empty).
bool StrVector_GetElement(StrVector v, std::size_t index, StrOut result);
// The element's own zero-terminated text, owned by the vector; nullptr for nil
// or an index out of range.
const char* StrVector_GetDynElement(StrVector v, std::size_t index);
// The element's own text as a readable view; empty for nil or an index out of
// range. Valid while the vector lives.
StrIn StrVector_DynElementAt(StrVector v, std::size_t index);
