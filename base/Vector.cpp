#include "base/Vector.h"

#include "base/SDynArr.h"

// A vector is a dynamic array whose records are one word each.
struct Vector_Rec {
  SDynArr words;
};

Vector Vector_Nil() { return nullptr; }

Vector Vector_Create(std::size_t initialSize) {
  return new Vector_Rec{SDynArr_Create(sizeof(std::uintptr_t), initialSize)};
}

void Vector_Destroy(Vector& v) {
  if (v != nullptr) SDynArr_Destroy(v->words);
  delete v;
  v = nullptr;
}

void Vector_Append(Vector v, std::uintptr_t element) {
  if (v != nullptr) SDynArr_Append(v->words, &element);
}

void Vector_Put(Vector v, std::size_t index, std::uintptr_t element) {
  if (v != nullptr) SDynArr_Put(v->words, index, &element);
}

bool Vector_Remove(Vector v, std::size_t index) { return v != nullptr && SDynArr_Remove(v->words, index); }

void Vector_SetCount(Vector v, std::size_t count) {
  if (v != nullptr) SDynArr_SetCount(v->words, count);
}

std::size_t Vector_Count(Vector v) { return v == nullptr ? 0 : SDynArr_Count(v->words); }

std::uintptr_t Vector_Get(Vector v, std::size_t index) {
  std::uintptr_t element = 0;
  if (v != nullptr) SDynArr_Get(v->words, index, &element);
  return element;
}

std::size_t Vector_Find(Vector v, std::uintptr_t element) {
  const std::size_t count = Vector_Count(v);
  std::size_t index = 0;
  while (index < count && Vector_Get(v, index) != element) ++index;
  return index;
}
