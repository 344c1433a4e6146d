// SLnkList: list operations on records that begin with a link field. A record
// joins lists by having an SLnkList_Link as its first member (the record must
// be standard-layout, so the record and its link share one address); a list
// is the address of its first link, nullptr when empty. The routines relink
// records, never allocate or free them: the records stay their owner's.
//
// The routines that add records take an equality mode: kKeep adds beside an
// equal record, kReplace puts the new record in the place of the first equal
// one, kRefuse leaves the new record out. What is left out (replaced records,
// refused ones) comes back to the caller as a list, in the order it was left.
#pragma once

#include <cstddef>

struct SLnkList_Link {
  SLnkList_Link* next = nullptr;
};

// Negative when `a` goes before `b`, positive when after, 0 when they are
// equal. nullptr is the comparison that finds all records equal.
using SLnkList_Compare = int (*)(const SLnkList_Link* a, const SLnkList_Link* b);

enum class SLnkList_Equal { kKeep, kReplace, kRefuse };

// --- Query -------------------------------------------------------------------

// The number of records.
std::size_t SLnkList_Count(const SLnkList_Link* list);
// The first record equal to `probe`, or nullptr.
SLnkList_Link* SLnkList_Find(SLnkList_Link* list, const SLnkList_Link* probe, SLnkList_Compare compare);

// --- Add ---------------------------------------------------------------------

// Adds `record` at the end. Returns what was left out.
SLnkList_Link* SLnkList_Append(SLnkList_Link*& list, SLnkList_Link* record, SLnkList_Compare compare,
                               SLnkList_Equal mode);
// Adds `record` at the front. Returns what was left out.
SLnkList_Link* SLnkList_Prepend(SLnkList_Link*& list, SLnkList_Link* record, SLnkList_Compare compare,
                                SLnkList_Equal mode);
// Adds `record` to a sorted list behind the records not greater than it.
// Returns what was left out.
SLnkList_Link* SLnkList_Insert(SLnkList_Link*& list, SLnkList_Link* record, SLnkList_Compare compare,
                               SLnkList_Equal mode);
// Merges the sorted list `other` into the sorted `list`, as if its records
// were inserted one after another; `other` is used up. Returns what was left
// out.
SLnkList_Link* SLnkList_Merge(SLnkList_Link*& list, SLnkList_Link* other, SLnkList_Compare compare,
                              SLnkList_Equal mode);

// --- Rearrange ---------------------------------------------------------------

// Sorts the list, equal records keeping their order; the list is that of
// inserting the records one after another into an empty list. Returns what
// was left out, in no fixed order.
SLnkList_Link* SLnkList_Sort(SLnkList_Link*& list, SLnkList_Compare compare, SLnkList_Equal mode);
// Unlinks `record` (by address). False when it was not in the list.
bool SLnkList_Remove(SLnkList_Link*& list, SLnkList_Link* record);
// Turns the list round.
void SLnkList_Reverse(SLnkList_Link*& list);
