// Vector: a growing array of machine words with a nil handle, and its typed
// forms IntVector (integers) and AdrVector (addresses). A typed form is the
// same vector under a handle of its own, so an address vector can't be passed
// where integers are expected; elements are kept as words either way.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

struct Vector_Rec;
using Vector = Vector_Rec*;

// --- Create and destroy ------------------------------------------------------

// The empty handle: every routine accepts it and answers empty.
Vector Vector_Nil();
// A new, empty vector with room for `initialSize` elements before it first
// grows. The caller owns it.
Vector Vector_Create(std::size_t initialSize);
// Frees the vector and sets it to nil; nil is accepted. Elements that are
// addresses stay their owners'.
void Vector_Destroy(Vector& v);

// --- Change ------------------------------------------------------------------

// Appends `element`; nothing for nil.
void Vector_Append(Vector v, std::uintptr_t element);
// Sets the element at `index`, first growing the vector with zeros when index
// lies past the end. Nothing for nil.
void Vector_Put(Vector v, std::size_t index, std::uintptr_t element);
// Removes the element at `index`; the later ones move down. False when out of
// range or nil.
bool Vector_Remove(Vector v, std::size_t index);
// Cuts the vector to `count` elements, or grows it with zeros.
void Vector_SetCount(Vector v, std::size_t count);

// --- Query -------------------------------------------------------------------

// The number of elements; 0 for nil.
std::size_t Vector_Count(Vector v);
// The element at `index`; 0 for nil or an index out of range.
std::uintptr_t Vector_Get(Vector v, std::size_t index);
// The index of the first element equal to `element`, or Vector_Count(v) when
// there is none.
std::size_t Vector_Find(Vector v, std::uintptr_t element);

// --- Typed forms -------------------------------------------------------------

// Each function converts handle and element and calls its Vector namesake,
// whose contract it has.
template <class Element>
struct Vector_Typed {
  static_assert(sizeof(Element) == sizeof(std::uintptr_t), "an element is kept as one word");
  struct Rec;  // never defined: it only gives the handle its own type
  using Handle = Rec*;

  static Handle Nil() { return nullptr; }
  static Handle Create(std::size_t initialSize) { return reinterpret_cast<Handle>(Vector_Create(initialSize)); }
  static void Destroy(Handle& v) {
    Vector plain = Plain(v);
    Vector_Destroy(plain);
    v = nullptr;
  }
  static void Append(Handle v, Element element) { Vector_Append(Plain(v), Word(element)); }
  static void Put(Handle v, std::size_t index, Element element) { Vector_Put(Plain(v), index, Word(element)); }
  static bool Remove(Handle v, std::size_t index) { return Vector_Remove(Plain(v), index); }
  static void SetCount(Handle v, std::size_t count) { Vector_SetCount(Plain(v), count); }
  static std::size_t Count(Handle v) { return Vector_Count(Plain(v)); }
  static Element Get(Handle v, std::size_t index) { return std::bit_cast<Element>(Vector_Get(Plain(v), index)); }
  static std::size_t Find(Handle v, Element element) { return Vector_Find(Plain(v), Word(element)); }

 private:
  static Vector Plain(Handle v) { return reinterpret_cast<Vector>(v); }
  static std::uintptr_t Word(Element element) { return std::bit_cast<std::uintptr_t>(element); }
};

// IntVector: a vector of word-sized integers (window ids, counts).
using IntVector = Vector_Typed<std::intptr_t>::Handle;
inline constexpr auto IntVector_Nil = Vector_Typed<std::intptr_t>::Nil;
inline constexpr auto IntVector_Create = Vector_Typed<std::intptr_t>::Create;
inline constexpr auto IntVector_Destroy = Vector_Typed<std::intptr_t>::Destroy;
inline constexpr auto IntVector_Append = Vector_Typed<std::intptr_t>::Append;
inline constexpr auto IntVector_Put = Vector_Typed<std::intptr_t>::Put;
inline constexpr auto IntVector_Remove = Vector_Typed<std::intptr_t>::Remove;
inline constexpr auto IntVector_SetCount = Vector_Typed<std::intptr_t>::SetCount;
inline constexpr auto IntVector_Count = Vector_Typed<std::intptr_t>::Count;
inline constexpr auto IntVector_Get = Vector_Typed<std::intptr_t>::Get;
inline constexpr auto IntVector_Find = Vector_Typed<std::intptr_t>::Find;

// AdrVector: a vector of addresses it does not own.
using AdrVector = Vector_Typed<void*>::Handle;
inline constexpr auto AdrVector_Nil = Vector_Typed<void*>::Nil;
inline constexpr auto AdrVector_Create = Vector_Typed<void*>::Create;
inline constexpr auto AdrVector_Destroy = Vector_Typed<void*>::Destroy;
inline constexpr auto AdrVector_Append = Vector_Typed<void*>::Append;
inline constexpr auto AdrVector_Put = Vector_Typed<void*>::Put;
inline constexpr auto AdrVector_Remove = Vector_Typed<void*>::Remove;
inline constexpr auto AdrVector_SetCount = Vector_Typed<void*>::SetCount;
inline constexpr auto AdrVector_Count = Vector_Typed<void*>::Count;
inline constexpr auto AdrVector_Get = Vector_Typed<void*>::Get;
inline constexpr auto AdrVector_Find = Vector_Typed<void*>::Find;
