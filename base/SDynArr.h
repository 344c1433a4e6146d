// SDynArr: a dynamic array of fixed-size records, kept as raw bytes. The
// records lie side by side; growing may move them, so an address from
// SDynArr_At is good until the next call that changes the count.
#pragma once

#include <cstddef>

struct SDynArr_Rec;
using SDynArr = SDynArr_Rec*;

// --- Create and destroy ------------------------------------------------------

// The empty handle: every routine accepts it and answers empty.
SDynArr SDynArr_Nil();
// A new, empty array of records of `recordSize` bytes, with room for
// `initialCount` of them; nil for a record size of 0. The caller owns it.
SDynArr SDynArr_Create(std::size_t recordSize, std::size_t initialCount);
// Frees the array and sets it to nil; nil is accepted.
void SDynArr_Destroy(SDynArr& array);

// --- Change ------------------------------------------------------------------

// Appends a copy of `record` (zero bytes for nullptr); its index, or 0 for nil.
std::size_t SDynArr_Append(SDynArr array, const void* record);
// Copies `record` (zero bytes for nullptr) to `index`, first growing the array
// with zeroed records when index lies past the end. Nothing for nil.
void SDynArr_Put(SDynArr array, std::size_t index, const void* record);
// Removes the record at `index`; the later ones move down. False when out of
// range or nil.
bool SDynArr_Remove(SDynArr array, std::size_t index);
// Cuts the array to `count` records, or grows it with zeroed ones.
void SDynArr_SetCount(SDynArr array, std::size_t count);

// --- Query -------------------------------------------------------------------

// The number of records; 0 for nil.
std::size_t SDynArr_Count(SDynArr array);
// The size of one record; 0 for nil.
std::size_t SDynArr_RecordSize(SDynArr array);
// The record's own bytes, owned by the array (see above for how long);
// nullptr for nil or an index out of range.
void* SDynArr_At(SDynArr array, std::size_t index);
// Copies the record at `index` into `record`, which holds RecordSize bytes.
// False, leaving `record` as it was, when out of range or nil.
bool SDynArr_Get(SDynArr array, std::size_t index, void* record);
